#include "palm/recognition/simple_feature_lib.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "palm/feature/feature_block_pool.h"

namespace palm_recognition {

simple_feature_lib::simple_feature_lib() {}

simple_feature_lib::~simple_feature_lib() {
    clear();
}

std::string const* simple_feature_lib::find_name(char const* user) const {
    if (user == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(names_mutex_);
    auto const it = index_.find(std::string_view(user));
    return it == index_.end() ? nullptr : it->second.name;
}

sweep_slot const* simple_feature_lib::find_slot(std::string const* name) const {
    if (name == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(names_mutex_);
    auto const it = index_.find(std::string_view(*name));
    return it == index_.end() || it->second.name != name ? nullptr : &it->second;
}

std::string const* simple_feature_lib::intern_name(char const* user) {
    if (user == nullptr)
        return nullptr;
    std::lock_guard<std::mutex> lock(names_mutex_);
    std::string_view const key(user);
    auto const it = index_.find(key);
    if (it != index_.end())
        return it->second.name;
    std::string const* name = new std::string(key);
    names.push_back(name);
    sweep_slot slot;
    slot.name = name;
    index_.emplace(std::string_view(*name), slot);
    return name;
}

void simple_feature_lib::erase_name(std::string const* name) {
    features.erase(name);
    {
        std::lock_guard<std::mutex> lock(names_mutex_);
        auto const slot = std::find(names.begin(), names.end(), name);
        if (slot == names.end())
            return;
        auto const entry = index_.find(std::string_view(*name));
        release_samples(entry->second);
        index_.erase(entry);
        names.erase(slot);
    }
    delete name;
}

void simple_feature_lib::clear() {
    features.clear();
    std::lock_guard<std::mutex> lock(names_mutex_);
    for (auto& entry : index_)
        release_samples(entry.second);
    index_.clear();
    samples_.clear();
    for (std::string const* name : names)
        delete name;
    names.clear();
}

void simple_feature_lib::store_template(std::string const* name,
                                        palm_feature::user_palm_feature& record) {
    palm_feature::user_palm_feature& entry = features[name];
    // The old template goes as a whole; the new cells take over the record's
    // blocks, which then move into the header-free pool.
    entry.cells.swap(record.cells);
    entry.cells.shrink_to_fit();
    for (auto& cell : entry.cells) {
        palm_feature::feature_block_pool::adopt(cell.first);
        palm_feature::feature_block_pool::adopt(cell.second);
    }

    std::lock_guard<std::mutex> lock(names_mutex_);
    auto const it = index_.find(std::string_view(*name));
    if (it == index_.end() || it->second.name != name)
        return;
    sweep_slot& slot = it->second;
    release_samples(slot);
    slot.record = &entry;
    slot.cells = entry.size();
    bool has_codes = true;
    for (int k = 0; k < slot.cells; k += 5)
        has_codes = has_codes && entry[k].first.data != nullptr;
    if (has_codes && sweep_samples_every_fifth(slot.cells)) {
        int const sampled = (slot.cells + 4) / 5;
        unsigned char* run = samples_.allocate(sampled);
        for (int k = 0; k < sampled; ++k)
            std::memcpy(run + k * print_sample_arena::CODE_BYTES, entry[5 * k].first.data,
                        print_sample_arena::CODE_BYTES);
        slot.sampled_prints = run;
        slot.sampled = sampled;
    }
}

void simple_feature_lib::release_samples(sweep_slot& slot) {
    samples_.release(const_cast<unsigned char*>(slot.sampled_prints), slot.sampled);
    slot.sampled_prints = nullptr;
    slot.sampled = 0;
    slot.record = nullptr;
    slot.cells = 0;
}

}  // namespace palm_recognition
