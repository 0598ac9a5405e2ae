// How the stages of an identification reach the codes of a stored template,
// whatever object the store keeps it in: the print code of a cell, and its
// vein code as a feature for the matcher.
#ifndef PALM_RECOGNITION_TEMPLATE_CODES_H_
#define PALM_RECOGNITION_TEMPLATE_CODES_H_

#include <cstring>

#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/recognition/sweep_slot.h"

namespace palm_recognition {

inline unsigned char const* print_code(palm_feature::user_palm_feature const& t, int k) {
    return t[k].first.data;
}

// The vein code of cell k; a store that holds bare codes copies it into
// `scratch`, a record hands out its own.
inline palm_feature::single_feature const& vein_feature(palm_feature::user_palm_feature const& t,
                                                        int k,
                                                        palm_feature::single_feature& /*scratch*/) {
    return t[k].second;
}

inline unsigned char const* print_code(sweep_slot const& t, int k) {
    return t.print(k);
}

inline palm_feature::single_feature const& vein_feature(sweep_slot const& t, int k,
                                                        palm_feature::single_feature& scratch) {
    std::memcpy(scratch.data, t.vein(k), sweep_slot::CODE_BYTES);
    return scratch;
}

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_TEMPLATE_CODES_H_
