#include "palm/capture/cmos_window.h"

#include <initializer_list>

namespace palm_algorithm {

void window_pass_plain(const unsigned char* high, int high_stride, const unsigned char* low,
                       int low_stride, window_stats& high_out, window_stats& low_out) {
    high_out = window_stats{0, 0};
    low_out = window_stats{0, 0};
    for (int r = 0; r < CMOS_WINDOW_SIDE; ++r) {
        const unsigned char* h = high + static_cast<long>(r) * high_stride;
        const unsigned char* l = low + static_cast<long>(r) * low_stride;
        for (int c = 0; c < CMOS_WINDOW_SIDE; ++c) {
            high_out.sum += h[c];
            low_out.sum += l[c];
            if (h[c] > high_out.max)
                high_out.max = h[c];
            if (l[c] > low_out.max)
                low_out.max = l[c];
        }
    }
}

bool window_path_supported(window_path path) {
#if PALM_ARCH_X86
    // Detection may run before the run-time library's own constructors.
    __builtin_cpu_init();
#endif
    switch (path) {
        case window_path::plain:
            return true;
#if PALM_ARCH_X86
        case window_path::sse2:
            return true;
        case window_path::avx2:
            return __builtin_cpu_supports("avx2");
#endif
#if PALM_ARCH_AARCH64
        case window_path::neon:
            return true;
#endif
        default:
            break;
    }
    return false;
}

window_path best_window_path() {
    static window_path const best = [] {
        for (window_path p : {window_path::avx2, window_path::sse2, window_path::neon})
            if (window_path_supported(p))
                return p;
        return window_path::plain;
    }();
    return best;
}

window_pass_fn get_window_pass(window_path path) {
    if (!window_path_supported(path))
        return window_pass_plain;
    switch (path) {
#if PALM_ARCH_X86
        case window_path::sse2:
            return window_pass_sse2;
        case window_path::avx2:
            return window_pass_avx2;
#endif
#if PALM_ARCH_AARCH64
        case window_path::neon:
            return window_pass_neon;
#endif
        default:
            break;
    }
    return window_pass_plain;
}

}  // namespace palm_algorithm
