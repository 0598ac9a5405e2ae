#include "palm/matching/match_counter.h"

namespace palm_algorithm {

bool match_path_supported(match_path path) {
#if PALM_ARCH_X86
    // Detection may run before the run-time library's own constructors.
    __builtin_cpu_init();
#endif
    switch (path) {
        case match_path::table:
            return true;
#if PALM_ARCH_X86
        case match_path::popcnt:
            return __builtin_cpu_supports("popcnt");
        case match_path::avx2:
            return __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("avx2");
        case match_path::avx512:
            return __builtin_cpu_supports("popcnt") && __builtin_cpu_supports("avx512f") &&
                   __builtin_cpu_supports("avx512vpopcntdq");
#endif
#if PALM_ARCH_AARCH64
        // Advanced SIMD is part of every 64-bit ARM processor.
        case match_path::neon:
            return true;
#endif
        default:
            break;
    }
    return false;
}

match_path best_match_path() {
    static match_path const best = [] {
        for (match_path p :
             {match_path::avx512, match_path::avx2, match_path::neon, match_path::popcnt})
            if (match_path_supported(p))
                return p;
        return match_path::table;
    }();
    return best;
}

const match_counter* get_match_counter(match_path path) {
    switch (path) {
#if PALM_ARCH_X86
        case match_path::popcnt:
            return &g_popcnt_match_counter;
        case match_path::avx2:
            return &g_avx2_match_counter;
        case match_path::avx512:
            return &g_avx512_match_counter;
#endif
#if PALM_ARCH_AARCH64
        case match_path::neon:
            return &g_neon_match_counter;
#endif
        default:
            break;
    }
    return nullptr;
}

}  // namespace palm_algorithm
