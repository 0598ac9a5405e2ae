// The exposure judge's measurement: sum and maximum of the 29 by 29 pixel
// window at the centre of both frames, walked in one pass a window row at a
// time. Sums and maxima are exact integers, so every path gives the same
// numbers; the paths differ only in the processor instructions they need.
#ifndef PALM_CAPTURE_CMOS_WINDOW_H_
#define PALM_CAPTURE_CMOS_WINDOW_H_

#include "palm/cpu_arch.h"

namespace palm_algorithm {

// Side of the window: twice the judge's half width, plus the centre.
const int CMOS_WINDOW_SIDE = 29;

enum class window_path {
    plain,  // one pixel at a time; the reference
    sse2,   // one 16-byte register per half row of each frame
    avx2,   // the half rows of both frames side by side in one 32-byte register
    neon,   // one 16-byte register per half row of each frame, on aarch64
};

// What one frame's window holds.
struct window_stats {
    unsigned int sum;
    unsigned char max;
};

// high and low point at the top-left pixel of the window in each frame;
// each frame has its own row stride.
using window_pass_fn = void (*)(const unsigned char* high, int high_stride,
                                const unsigned char* low, int low_stride, window_stats& high_out,
                                window_stats& low_out);

// Whether this processor can run the path; plain always can, SSE2 on every
// x86-64 and NEON on every aarch64 processor.
bool window_path_supported(window_path path);

// The fastest path this processor supports, chosen once.
window_path best_window_path();

// The pass of a path; the plain pass for a path this processor lacks.
window_pass_fn get_window_pass(window_path path);

void window_pass_plain(const unsigned char* high, int high_stride, const unsigned char* low,
                       int low_stride, window_stats& high_out, window_stats& low_out);
#if PALM_ARCH_X86
void window_pass_sse2(const unsigned char* high, int high_stride, const unsigned char* low,
                      int low_stride, window_stats& high_out, window_stats& low_out);
void window_pass_avx2(const unsigned char* high, int high_stride, const unsigned char* low,
                      int low_stride, window_stats& high_out, window_stats& low_out);
#endif
#if PALM_ARCH_AARCH64
void window_pass_neon(const unsigned char* high, int high_stride, const unsigned char* low,
                      int low_stride, window_stats& high_out, window_stats& low_out);
#endif

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_CMOS_WINDOW_H_
