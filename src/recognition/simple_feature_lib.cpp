#include "palm/recognition/simple_feature_lib.h"

#include <algorithm>
#include <cstring>

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

sweep_slot const* simple_feature_lib::find_template(std::string const* name) const {
    sweep_slot const* const slot = find_slot(name);
    return slot != nullptr && slot->stored ? slot : nullptr;
}

bool simple_feature_lib::copy_template(std::string const* name,
                                       palm_feature::user_palm_feature& out) const {
    sweep_slot const* const t = find_template(name);
    if (t == nullptr)
        return false;
    out.cells.resize(static_cast<std::size_t>(t->cells));
    for (int k = 0; k < t->cells; ++k) {
        std::memcpy(out[k].first.data, t->print(k), sweep_slot::CODE_BYTES);
        std::memcpy(out[k].second.data, t->vein(k), sweep_slot::CODE_BYTES);
    }
    return true;
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
    try {
        names.push_back(name);
        try {
            sweep_slot slot;
            slot.name = name;
            index_.emplace(std::string_view(*name), slot);
        } catch (...) {
            names.pop_back();
            throw;
        }
    } catch (...) {
        delete name;
        throw;
    }
    return name;
}

void simple_feature_lib::erase_name(std::string const* name) {
    {
        std::lock_guard<std::mutex> lock(names_mutex_);
        auto const slot = std::find(names.begin(), names.end(), name);
        if (slot == names.end())
            return;
        auto const entry = index_.find(std::string_view(*name));
        if (entry->second.stored)
            --templates_;
        release_codes(entry->second);
        index_.erase(entry);
        names.erase(slot);
    }
    delete name;
}

void simple_feature_lib::clear() {
    std::lock_guard<std::mutex> lock(names_mutex_);
    index_.clear();
    codes_.clear();
    templates_ = 0;
    for (std::string const* name : names)
        delete name;
    names.clear();
}

void simple_feature_lib::store_template(std::string const* name,
                                        palm_feature::user_palm_feature const& record) {
    if (name == nullptr)
        return;
    std::lock_guard<std::mutex> lock(names_mutex_);
    auto const it = index_.find(std::string_view(*name));
    if (it == index_.end() || it->second.name != name)
        return;
    sweep_slot& slot = it->second;

    sweep_slot fresh;
    fresh.name = name;
    fresh.stored = true;
    fresh.cells = record.size();
    if (sweep_samples_every_fifth(fresh.cells))
        fresh.sampled = (fresh.cells + 4) / 5;
    // A template of the size of the old one takes its runs, so that
    // re-pushing a population leaves every code where it was. Otherwise the
    // new runs come first, so that a failure leaves the old template whole.
    bool const in_place = slot.stored && slot.cells == fresh.cells;
    if (in_place) {
        fresh.sampled_prints = slot.sampled_prints;
        fresh.codes = slot.codes;
    } else if (fresh.sampled > 0)
        fresh.sampled_prints = codes_.allocate(fresh.sampled);
    if (!in_place && fresh.other_codes() > 0) {
        try {
            fresh.codes = codes_.allocate(fresh.other_codes());
        } catch (...) {
            codes_.release(fresh.sampled_prints, fresh.sampled);
            throw;
        }
    }
    // A feature without a block (only a record built by hand can have one)
    // reads as zeros.
    auto put = [](unsigned char const* to, palm_feature::single_feature const& f) {
        unsigned char* const out = const_cast<unsigned char*>(to);
        if (f.IsValid())
            std::memcpy(out, f.data, sweep_slot::CODE_BYTES);
        else
            std::memset(out, 0, sweep_slot::CODE_BYTES);
    };
    for (int k = 0; k < fresh.cells; ++k) {
        put(fresh.print(k), record[k].first);
        put(fresh.vein(k), record[k].second);
    }

    if (!slot.stored)
        ++templates_;
    if (!in_place)
        release_codes(slot);
    slot = fresh;
}

void simple_feature_lib::release_codes(sweep_slot& slot) {
    codes_.release(slot.sampled_prints, slot.sampled);
    codes_.release(slot.codes, slot.other_codes());
    std::string const* const name = slot.name;
    slot = sweep_slot();
    slot.name = name;
}

}  // namespace palm_recognition
