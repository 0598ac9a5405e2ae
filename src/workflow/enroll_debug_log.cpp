#include "palm/workflow/enroll_debug_log.h"

#include <cstdio>

namespace palm_workflow {

char const* const enroll_debug_log::FILE_NAME = "D:\\error_flage3.txt";

char const* const enroll_debug_log::PALM_TOO_LARGE =
    "\xca\xd6\xd5\xc6\xcc\xab\xb4\xf3"
    ":";
char const* const enroll_debug_log::PALM_TOO_SMALL =
    "\xca\xd6\xd5\xc6\xcc\xab\xd0\xa1"
    ":";
char const* const enroll_debug_log::CROP_FAILED =
    "\xc7\xd0\xb8\xee\xca\xa7\xb0\xdc"
    ":";
char const* const enroll_debug_log::ANGLE_TOO_LARGE =
    "\xbd\xc7\xb6\xc8\xcc\xab\xb4\xf3"
    ":";
char const* const enroll_debug_log::PALM_TOO_RIGHT =
    "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xd3\xd2"
    ":";
char const* const enroll_debug_log::PALM_TOO_LEFT =
    "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xd7\xf3"
    ":";
char const* const enroll_debug_log::PALM_TOO_HIGH =
    "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xc9\xcf"
    ":";
char const* const enroll_debug_log::PALM_TOO_LOW =
    "\xca\xd6\xd5\xc6\xcc\xab\xbf\xbf\xcf\xc2"
    ":";
char const* const enroll_debug_log::PALM_INVALID =
    "\xce\xde\xd0\xa7\xca\xd6\xd5\xc6"
    ":";
char const* const enroll_debug_log::FRAME_LIMIT =
    "\xb3\xac\xb9\xfd\xd7\xee\xb4\xf3\xca\xfd"
    ":";

char const* enroll_debug_log::position_text(palm_algorithm::palm_position pos) {
    switch (pos) {
        case palm_algorithm::POS_RIGHT:
            return PALM_TOO_RIGHT;
        case palm_algorithm::POS_LEFT:
            return PALM_TOO_LEFT;
        case palm_algorithm::POS_UP:
            return PALM_TOO_HIGH;
        case palm_algorithm::POS_DOWN:
            return PALM_TOO_LOW;
        default:
            return PALM_INVALID;
    }
}

void enroll_debug_log::write_line(std::string const& line) {
    std::FILE* const file = std::fopen(FILE_NAME, "a+");
    // A file that can't be opened costs the line and nothing else.
    if (file == nullptr)
        return;
    std::fprintf(file, "%s\n", line.c_str());
    std::fclose(file);
}

std::string enroll_debug_log::fixed5(double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, "%.5f", value);
    return buffer;
}

std::string enroll_debug_log::decimal(int value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%d", value);
    return buffer;
}

}  // namespace palm_workflow
