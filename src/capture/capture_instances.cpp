// The process-wide exposure judge and guidance objects with their
// accessors.
#include "palm/capture/cmos_judge.h"
#include "palm/capture/user_interactive.h"

namespace palm_algorithm {

namespace {

cmos_judge g_cmos_judge;
user_interactive g_user_interactive;

}  // namespace

i_cmos_judge* get_cmos_judge_inst() {
    return &g_cmos_judge;
}

void release_cmos_judge_inst() {}

i_user_interactive_interface* get_interactive_inst() {
    return &g_user_interactive;
}

}  // namespace palm_algorithm
