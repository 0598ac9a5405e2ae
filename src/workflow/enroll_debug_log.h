// The text file in which the second enrolment path leaves one line for each
// rejected frame. The name is relative, so the line lands in the working
// directory; the messages are GBK bytes, written here as byte strings so that
// no source encoding or locale can change them.
#ifndef PALM_WORKFLOW_ENROLL_DEBUG_LOG_H_
#define PALM_WORKFLOW_ENROLL_DEBUG_LOG_H_

#include <string>

#include "palm/localisation/palm_position.h"
#include "palm/palm_export.h"

namespace palm_workflow {

struct PALM_EXPORT enroll_debug_log {
    // One file name, backslash included, opened relative to the working
    // directory.
    static char const* const FILE_NAME;

    static char const* const PALM_TOO_LARGE;   // "手掌太大:"
    static char const* const PALM_TOO_SMALL;   // "手掌太小:"
    static char const* const CROP_FAILED;      // "切割失败:"
    static char const* const ANGLE_TOO_LARGE;  // "角度太大:"
    static char const* const PALM_TOO_RIGHT;   // "手掌太靠右:"
    static char const* const PALM_TOO_LEFT;    // "手掌太靠左:"
    static char const* const PALM_TOO_HIGH;    // "手掌太靠上:"
    static char const* const PALM_TOO_LOW;     // "手掌太靠下:"
    static char const* const PALM_INVALID;     // "无效手掌:"
    static char const* const FRAME_LIMIT;      // "超过最大数:"

    // The message of a palm position that is not POS_OK: right, left, up,
    // down, and "invalid" for any other value.
    static char const* position_text(palm_algorithm::palm_position pos);
    // Appends `line` and a newline to the file, opened for this line alone
    // so that an outside reader only ever sees whole lines.
    static void write_line(std::string const& line);
    // `value` by "%.5f" and by "%d".
    static std::string fixed5(double value);
    static std::string decimal(int value);
};

}  // namespace palm_workflow

#endif  // PALM_WORKFLOW_ENROLL_DEBUG_LOG_H_
