#include "palm/recognition/simple_feature_lib.h"

#include <algorithm>
#include <utility>

#include "palm/feature/feature_block_pool.h"

namespace palm_recognition {

simple_feature_lib::simple_feature_lib() {}

simple_feature_lib::~simple_feature_lib() { clear(); }

std::string const* simple_feature_lib::find_name(char const* user) const {
    if (user == nullptr) return nullptr;
    std::lock_guard<std::mutex> lock(names_mutex_);
    auto const it = index_.find(std::string_view(user));
    return it == index_.end() ? nullptr : it->second;
}

std::string const* simple_feature_lib::intern_name(char const* user) {
    if (user == nullptr) return nullptr;
    std::lock_guard<std::mutex> lock(names_mutex_);
    std::string_view const key(user);
    auto const it = index_.find(key);
    if (it != index_.end()) return it->second;
    std::string const* name = new std::string(key);
    names.push_back(name);
    index_.emplace(std::string_view(*name), name);
    return name;
}

void simple_feature_lib::erase_name(std::string const* name) {
    features.erase(name);
    {
        std::lock_guard<std::mutex> lock(names_mutex_);
        auto const slot = std::find(names.begin(), names.end(), name);
        if (slot == names.end()) return;
        index_.erase(std::string_view(*name));
        names.erase(slot);
    }
    delete name;
}

void simple_feature_lib::clear() {
    features.clear();
    std::lock_guard<std::mutex> lock(names_mutex_);
    index_.clear();
    for (std::string const* name : names) delete name;
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
}

}  // namespace palm_recognition
