// One part of a gallery spread over several processes: a store of its own
// with one partition that holds every user pushed to it, in the order of
// their first push. It answers the stages of an identification separately,
// so that the gallery can merge the coarse lists of all its parts, send each
// candidate to the part that owns it, and select among the verdicts as a
// single partition of all the users would.
#ifndef PALM_RECOGNITION_GALLERY_SHARD_H_
#define PALM_RECOGNITION_GALLERY_SHARD_H_

#include <cstddef>
#include <string>
#include <vector>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/recognition/candidate_verdict.h"
#include "palm/recognition/rcg_environment.h"

namespace palm_recognition {

class gallery_shard {
  public:
    typedef palm_feature::palm_cell<palm_feature::single_feature> cell_type;

    // A user of the coarse list, with its name copied out of the store.
    struct coarse_user {
        double distance;
        int order;  // index among the shard's users
        std::string user;
    };

    // A parallel partition with `workers` threads (0: one per processor)
    // under `policy`; std::invalid_argument for a policy outside 0..5.
    explicit gallery_shard(int policy, unsigned workers = 0);
    gallery_shard(gallery_shard const&) = delete;
    gallery_shard& operator=(gallery_shard const&) = delete;

    // Stores the template and, for a new user, appends it to the users. False,
    // with nothing stored, for a null or empty user or a text that does not
    // decode.
    bool push(char const* user, char const* text);
    // Forgets the user; false when it is unknown.
    bool erase(char const* user);
    // False for a policy outside 0..5.
    bool set_match_policy(int policy);
    int policy() const;

    std::size_t size() const;
    std::vector<std::string> users() const;
    // An estimate of the bytes that the shard's users take: the store's code
    // storage, names and the partition's lists.
    std::size_t memory_bytes() const;

    // Decodes a probe; false for a null text or one that does not decode.
    static bool decode(char const* text, palm_feature::user_palm_feature& probe);

    // The coarse stage of one probe cell; false when it could not run.
    bool coarse(cell_type const& probe, std::vector<coarse_user>& out) const;
    // The fine and verify stages of one probe cell for the named users, in
    // order; a name the shard does not hold gets {false, 1.0, 1.0, -1}.
    std::vector<candidate_verdict> fine(cell_type const& probe,
                                        std::vector<std::string> const& users) const;
    // Both: the coarse list, and `verdicts` for its users in its order, under
    // one hold of the store. A verdict depends only on the probe and the
    // user's template, so a gallery merging such lists needs no second call.
    bool coarse_fine(cell_type const& probe, std::vector<coarse_user>& out,
                     std::vector<candidate_verdict>& verdicts) const;

    // One to one against a stored user under the shard's policy.
    bool verify(char const* user, char const* text) const;
    // The partition's own identification; `name` gets the user or "".
    bool identify(char const* text, std::string& name);

  private:
    static const int PARTITION = 0;
    rcg_environment env_;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_GALLERY_SHARD_H_
