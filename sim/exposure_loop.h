// The device's capture loop with the exposure judge: each frame pair is
// taken with the register values the judge gave after the one before.
#ifndef PALM_SIM_EXPOSURE_LOOP_H_
#define PALM_SIM_EXPOSURE_LOOP_H_

#include <cstdint>
#include <vector>

#include "palm/capture/cmos_judge.h"
#include "sim/exposure_camera.h"

namespace palm_test {

// One frame of the loop: the registers it was taken with, the brightness
// of its centre windows, and what the judge made of it.
struct exposure_step {
    unsigned short li_reg;  // in force for this frame
    unsigned short ir_reg;
    int b_li;  // centre window, mean
    int b_ir;
    bool li_changed;
    bool ir_changed;
    unsigned short new_li_reg;  // for the next frame
    unsigned short new_ir_reg;
};

// Takes `frames` frame pairs of `scene`, judging each; frame i draws its
// noise from first_seed + i.
std::vector<exposure_step> run_exposure_loop(palm_algorithm::cmos_judge& judge,
                                             exposure_camera& camera, const exposure_scene& scene,
                                             int frames, std::uint32_t first_seed);

// How often a register went back to the value it had just left: a swing
// of the loop, which a steady scene must never show.
int register_swings(const std::vector<exposure_step>& steps);

// How many frames of the loop changed a register.
int register_changes(const std::vector<exposure_step>& steps);

}  // namespace palm_test

#endif  // PALM_SIM_EXPOSURE_LOOP_H_
