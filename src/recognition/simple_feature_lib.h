// The server's template store: every user's decoded template once, under an
// interned name. The address of a name string is the user's identity
// everywhere else (partitions, identification results), so inner loops never
// compare strings.
#ifndef PALM_RECOGNITION_SIMPLE_FEATURE_LIB_H_
#define PALM_RECOGNITION_SIMPLE_FEATURE_LIB_H_

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "palm/feature/user_palm_feature.h"
#include "palm/recognition/code_arena.h"
#include "palm/recognition/sweep_slot.h"

namespace palm_recognition {

class simple_feature_lib {
  public:
    simple_feature_lib();
    ~simple_feature_lib();
    simple_feature_lib(simple_feature_lib const&) = delete;
    simple_feature_lib& operator=(simple_feature_lib const&) = delete;

    // The interned name equal to `user` byte for byte, or null. A null user
    // is never known.
    std::string const* find_name(char const* user) const;
    // find_name, adding a heap copy at the end of `names` when absent.
    std::string const* intern_name(char const* user);
    // Removes the name from `names` (keeping the order of the rest), erases
    // its template if any and frees the string.
    void erase_name(std::string const* name);
    // Erases every template and every name.
    void clear();

    // The template stored under an interned name, or null when it has none.
    sweep_slot const* find_template(std::string const* name) const;
    // The template of an interned name as a record of its own, for the
    // comparisons that work on records; false, and `out` untouched, when the
    // name has no template.
    bool copy_template(std::string const* name, palm_feature::user_palm_feature& out) const;
    // Replaces the template of an interned name as a whole with a copy of
    // the record's codes; a pointer that is not one of `names` is ignored.
    // Throws std::bad_alloc, with the old template in place, when no memory
    // is left.
    void store_template(std::string const* name, palm_feature::user_palm_feature const& record);
    // Names that have a template.
    std::size_t template_count() const { return templates_; }

    // The sweep slot of an interned name, or null for a pointer that is not
    // one of `names`. It lives as long as the name and always describes the
    // name's current template; it changes only where templates change.
    sweep_slot const* find_slot(std::string const* name) const;

    // Bytes of code storage taken from the system, and of codes held; the
    // part of the storage that is mapped directly rather than taken from the
    // heap, which the heap's statistics do not count.
    std::size_t code_slab_bytes() const { return codes_.slab_bytes(); }
    std::size_t code_bytes() const { return codes_.run_bytes(); }
    std::size_t code_mapped_bytes() const { return codes_.mapped_bytes(); }

    // Every known name in order of first appearance. May hold names that have
    // no template (assigned to a partition before their template came).
    std::vector<std::string const*> names;

  private:
    void release_codes(sweep_slot& slot);

    // Index beside `names` so that a lookup need not scan; names are distinct,
    // so it finds exactly what a scan from the front would find. Each entry
    // holds the name's sweep slot; entries never move.
    std::unordered_map<std::string_view, sweep_slot> index_;
    code_arena codes_;
    std::size_t templates_ = 0;
    // Guards `names` and the index: assigning a user to a partition may add a
    // name while other callers hold the environment lock only shared.
    mutable std::mutex names_mutex_;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_SIMPLE_FEATURE_LIB_H_
