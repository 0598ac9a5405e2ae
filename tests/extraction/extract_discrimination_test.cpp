// The code tells palms apart: two views of one palm, moved by a pixel or two
// and with sensor noise, lie far closer in Hamming distance than views of
// different palms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "palm/extraction/feature_extract.h"
#include "sim/synthetic_palm.h"

namespace {

using palm_feature::single_feature;

// Smallest fraction of differing bits of two 3 x 32 x 32-bit codes over
// translations of up to three grid steps, counted on the overlap.
double code_distance(const single_feature& a, const single_feature& b) {
    uint32_t wa[3][32], wb[3][32];
    std::memcpy(wa, a.data, sizeof(wa));
    std::memcpy(wb, b.data, sizeof(wb));
    double best = 1.0;
    for (int dy = -3; dy <= 3; ++dy) {
        for (int dx = -3; dx <= 3; ++dx) {
            // Columns kept on both sides after a shift of dx.
            const uint32_t cols = dx >= 0 ? (0xffffffffu << dx) : (0xffffffffu >> -dx);
            int differ = 0, total = 0;
            for (int p = 0; p < 3; ++p) {
                for (int r = 0; r < 32; ++r) {
                    const int rb = r + dy;
                    if (rb < 0 || rb >= 32)
                        continue;
                    // Column c of a against column c + dx of b.
                    const uint32_t shifted = dx >= 0 ? (wb[p][rb] << dx) : (wb[p][rb] >> -dx);
                    differ += __builtin_popcount((wa[p][r] ^ shifted) & cols);
                    total += __builtin_popcount(cols);
                }
            }
            best = std::min(best, static_cast<double>(differ) / total);
        }
    }
    return best;
}

struct stats {
    double mean = 0, min = 1, max = 0;
    int n = 0;
    void add(double v) {
        mean = (mean * n + v) / (n + 1);
        ++n;
        min = std::min(min, v);
        max = std::max(max, v);
    }
};

TEST(ExtractDiscrimination, SamePalmFarBelowDifferentPalms) {
    const int palms = 8, views = 3;
    std::mt19937 rng(2024);
    std::uniform_real_distribution<double> shift(-2.0, 2.0);
    palm_algorithm::CPalmExtract ex;
    std::vector<std::vector<single_feature>> codes(palms, std::vector<single_feature>(views));
    for (int p = 0; p < palms; ++p) {
        const palm_test::synthetic_palm palm = palm_test::make_palm(rng);
        for (int v = 0; v < views; ++v) {
            const double dx = v == 0 ? 0.0 : shift(rng), dy = v == 0 ? 0.0 : shift(rng);
            ASSERT_TRUE(ex.extract(palm_test::render_roi(palm, dx, dy, 3.0, rng), codes[p][v]));
        }
    }
    stats genuine, impostor;
    for (int p = 0; p < palms; ++p) {
        for (int v = 0; v < views; ++v) {
            for (int w = v + 1; w < views; ++w)
                genuine.add(code_distance(codes[p][v], codes[p][w]));
        }
        for (int q = p + 1; q < palms; ++q) {
            for (int v = 0; v < views; ++v)
                impostor.add(code_distance(codes[p][v], codes[q][v]));
        }
    }
    std::printf("same palm:       n=%d mean=%.4f min=%.4f max=%.4f\n", genuine.n, genuine.mean,
                genuine.min, genuine.max);
    std::printf("different palms: n=%d mean=%.4f min=%.4f max=%.4f\n", impostor.n, impostor.mean,
                impostor.min, impostor.max);
    EXPECT_LT(genuine.max, impostor.min);
    EXPECT_LT(genuine.mean + 0.1, impostor.mean);
    // Unrelated codes stand near a half before the search over shifts.
    EXPECT_GT(impostor.mean, 0.3);
}

TEST(ExtractDiscrimination, DistanceOfACodeToItselfIsZero) {
    std::mt19937 rng(3);
    single_feature f;
    palm_algorithm::CPalmExtract ex;
    ASSERT_TRUE(ex.extract(palm_test::render_roi(palm_test::make_palm(rng), 0, 0, 0, rng), f));
    EXPECT_EQ(code_distance(f, f), 0.0);
}

}  // namespace
