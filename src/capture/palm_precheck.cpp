#include "palm/capture/palm_precheck.h"

#include <cstdlib>

#include "palm/workflow/enroll_debug_log.h"

using palm_share::palm_image;
using palm_struct::_crop_results;
using palm_workflow::enroll_debug_log;

namespace palm_algorithm {

double CPalmPreCheck::area_percent(const palm_image& image) {
    palm_image local(image.GetWidth(), image.GetHeight(), image.GetBuffer());
    local.AdaptiveThreshold();
    int const width = local.GetWidth();
    int const height = local.GetHeight();
    double const ratio = local.GetWhiteRatio();
    int const white = static_cast<int>(ratio * static_cast<double>(width * height));
    int const rect = std::abs(PROMPT_RECT.right - PROMPT_RECT.left) *
                     std::abs(PROMPT_RECT.bottom - PROMPT_RECT.top);
    return white * 100.0 / rect;
}

palm_position CPalmPreCheck::verdict(double percent) {
    if (percent > MAX_AREA_PERCENT)
        return POS_TOO_LARGE;
    if (percent < MIN_AREA_PERCENT)
        return POS_TOO_SMALL;
    return POS_OK;
}

palm_position CPalmPreCheck::PreCheck(const palm_image& image, _crop_results& res) {
    res.area_percent = area_percent(image);
    return verdict(res.area_percent);
}

palm_position CPalmPreCheck::PreCheck_siti_enroll(const palm_image& image, _crop_results& res,
                                                  std::string& log) {
    res.area_percent = area_percent(image);
    palm_position const pos = verdict(res.area_percent);
    if (pos == POS_OK)
        return pos;
    log +=
        pos == POS_TOO_LARGE ? enroll_debug_log::PALM_TOO_LARGE : enroll_debug_log::PALM_TOO_SMALL;
    log += enroll_debug_log::fixed5(res.area_percent);
    enroll_debug_log::write_line(log);
    return pos;
}

}  // namespace palm_algorithm
