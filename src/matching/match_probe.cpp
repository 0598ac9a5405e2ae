#include "palm/matching/match_probe.h"

#include <bitset>
#include <cstring>

#include "palm/matching/feature_match.h"

namespace palm_algorithm {

match_probe::match_probe() : match_probe(best_match_path()) {}

match_probe::match_probe(match_path path) : path_(path) {
    std::memset(code_, 0, sizeof code_);
    std::memset(moved_, 0, sizeof moved_);
    std::memset(partner_, 0, sizeof partner_);
}

void match_probe::reset(const unsigned char* code) {
    std::memcpy(code_, code, sizeof code_);
    if (path_ != match_path::avx512 && path_ != match_path::neon && path_ != match_path::table)
        return;
    for (int t = 0; t < MATCH_TRANSLATIONS; ++t) {
        const int dr = g_match_translations[t].dr;
        const int dc = g_match_translations[t].dc;
        for (int q = 0; q < MATCH_ROWS; ++q) {
            const int r = q - dr;
            const bool on_grid = r >= 0 && r < MATCH_ROWS;
            partner_[t][q] = on_grid ? match_column_mask(-dc) : 0u;
            for (int p = 0; p < MATCH_PLANES; ++p)
                moved_[t][p * MATCH_ROWS + q] =
                    on_grid ? match_shift_row(code_[p * MATCH_ROWS + r], -dc) : 0u;
        }
    }
}

void match_probe::counts(const unsigned char* other, int counts[MATCH_TRANSLATIONS]) const {
    switch (path_) {
#if PALM_ARCH_X86
        case match_path::avx512:
            match_probe_counts_avx512(moved_, partner_, other, counts);
            return;
        case match_path::popcnt:
        case match_path::avx2:
            get_match_counter(path_)->all(reinterpret_cast<const unsigned char*>(code_), other,
                                          counts);
            return;
#endif
#if PALM_ARCH_AARCH64
        case match_path::neon:
            match_probe_counts_neon(moved_, partner_, other, counts);
            return;
#endif
        default:
            break;
    }
    uint32_t words[MATCH_PLANES * MATCH_ROWS];
    std::memcpy(words, other, sizeof words);
    for (int t = 0; t < MATCH_TRANSLATIONS; ++t) {
        int count = 0;
        for (int p = 0; p < MATCH_PLANES; ++p)
            for (int q = 0; q < MATCH_ROWS; ++q)
                count += static_cast<int>(
                    std::bitset<32>((moved_[t][p * MATCH_ROWS + q] ^ words[p * MATCH_ROWS + q]) &
                                    partner_[t][q])
                        .count());
        counts[t] = count;
    }
}

float match_probe::distance(const unsigned char* other) const {
#if PALM_ARCH_X86
    if (path_ == match_path::avx512)
        return match_probe_distance_avx512(moved_, partner_, other);
#endif
    int c[MATCH_TRANSLATIONS];
    counts(other, c);
    return match_all_distance(c);
}

}  // namespace palm_algorithm
