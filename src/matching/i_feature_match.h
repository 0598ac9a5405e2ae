// The palm code matcher as a device application and the recognition service
// see it: one distance between two codes of the same light, from 0.0 (equal)
// to 1.0, at a chosen breadth of translation search.
#ifndef PALM_MATCHING_I_FEATURE_MATCH_H_
#define PALM_MATCHING_I_FEATURE_MATCH_H_

#include "palm/feature/single_feature.h"
#include "palm/i_debug_interface.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_feature_match : public i_debug_interface {
  public:
    // The underlying type is fixed so that any integer a caller passes is a
    // valid value of the type; unknown ones are answered with 1.0.
    enum Match_Degree : int { DEGREE_LIGHT = 0, DEGREE_HEAVY = 1, DEGREE_ALL = 2 };

    virtual float match(const palm_feature::single_feature& first,
                        const palm_feature::single_feature& second, Match_Degree degree) = 0;
};

// The process-wide matcher. Callers never free it; the release does nothing.
PALM_EXPORT i_feature_match* get_feature_match_inst();
PALM_EXPORT void release_feature_match_inst();

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_I_FEATURE_MATCH_H_
