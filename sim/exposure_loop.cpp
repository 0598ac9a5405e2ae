#include "sim/exposure_loop.h"

namespace palm_test {

std::vector<exposure_step> run_exposure_loop(palm_algorithm::cmos_judge& judge,
                                             exposure_camera& camera, const exposure_scene& scene,
                                             int frames, std::uint32_t first_seed) {
    std::vector<exposure_step> steps;
    for (int i = 0; i < frames; ++i) {
        exposure_step s{};
        s.li_reg = judge.get_li_reg();
        s.ir_reg = judge.get_ir_reg();
        const palm_share::image_pair pair =
            camera.capture(scene, s.li_reg, s.ir_reg, first_seed + static_cast<std::uint32_t>(i));
        const unsigned short b = judge.Get_Image_Brightness(pair.nir, pair.vl, false);
        s.b_ir = b >> 8;
        s.b_li = b & 0xff;
        judge.Cmos_Judge(pair.nir, pair.vl, false, s.li_changed, s.ir_changed);
        s.new_li_reg = judge.get_li_reg();
        s.new_ir_reg = judge.get_ir_reg();
        steps.push_back(s);
    }
    return steps;
}

namespace {

int swings_of(const std::vector<unsigned short>& values) {
    int swings = 0;
    // Values after each change; a swing is a change back to the value
    // before the last change.
    std::vector<unsigned short> seen;
    for (unsigned short v : values)
        if (seen.empty() || seen.back() != v)
            seen.push_back(v);
    for (std::size_t i = 2; i < seen.size(); ++i)
        swings += seen[i] == seen[i - 2] ? 1 : 0;
    return swings;
}

}  // namespace

int register_swings(const std::vector<exposure_step>& steps) {
    std::vector<unsigned short> li, ir;
    for (const exposure_step& s : steps) {
        li.push_back(s.li_reg);
        ir.push_back(s.ir_reg);
    }
    if (!steps.empty()) {
        li.push_back(steps.back().new_li_reg);
        ir.push_back(steps.back().new_ir_reg);
    }
    return swings_of(li) + swings_of(ir);
}

int register_changes(const std::vector<exposure_step>& steps) {
    int n = 0;
    for (const exposure_step& s : steps)
        n += (s.new_li_reg != s.li_reg || s.new_ir_reg != s.ir_reg) ? 1 : 0;
    return n;
}

}  // namespace palm_test
