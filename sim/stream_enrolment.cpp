#include "sim/stream_enrolment.h"

namespace palm_test {

stream_enrolment enrol_from_stream(palm_workflow::i_feature_enroll& enroll,
                                   capture_stream const& stream) {
    stream_enrolment out;
    enroll.reset();
    for (int i = 0; i < stream.size(); ++i) {
        palm_share::image_pair const pair = stream.frame(i);
        palm_struct::frame_info f;
        f.vl = pair.vl;
        f.nir = pair.nir;
        palm_algorithm::palm_position pos = palm_algorithm::POS_OK;
        if (enroll.enrolling(f, pos))
            out.changes.push_back(i);
        out.frames = i + 1;
        if (enroll.get_stage() == 3 || enroll.get_stage() == -1)
            break;
    }
    out.stage = enroll.get_stage();
    if (palm_feature::user_palm_feature const* r = enroll.get_features()) {
        out.features = *r;
        out.has_features = true;
    }
    return out;
}

}  // namespace palm_test
