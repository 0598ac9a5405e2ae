// The window pass: every path this processor runs gives the sums and maxima
// of the plain reference loop.
#include "palm/capture/cmos_window.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using palm_algorithm::window_path;
using palm_algorithm::window_stats;

namespace {

const int kSide = palm_algorithm::CMOS_WINDOW_SIDE;

struct frame {
    int stride;
    std::vector<unsigned char> pixels;  // exactly the window's rows, no slack after the last
};

frame random_frame(std::mt19937& rng, int stride, int pattern) {
    frame f{stride,
            std::vector<unsigned char>(static_cast<std::size_t>(stride) * (kSide - 1) + kSide)};
    std::uniform_int_distribution<int> byte(0, 255);
    for (auto& p : f.pixels) {
        switch (pattern) {
            case 0:
                p = static_cast<unsigned char>(byte(rng));
                break;
            case 1:
                p = 255;
                break;
            case 2:
                p = 0;
                break;
            default:
                p = static_cast<unsigned char>(byte(rng) & 0x0f);
                break;
        }
    }
    return f;
}

void expect_same(const window_stats& a, const window_stats& b, const char* what) {
    EXPECT_EQ(a.sum, b.sum) << what;
    EXPECT_EQ(a.max, b.max) << what;
}

TEST(CmosWindow, PlainLoopSumsAndMaximaOfTheWindow) {
    std::vector<unsigned char> high(40 * 30, 0), low(30 * 29, 1);
    high[0] = 3;
    high[28] = 200;          // end of the first row
    high[29] = 255;          // outside the window
    high[28 * 40 + 28] = 7;  // last pixel
    low[14 * 30 + 14] = 9;
    window_stats h, l;
    palm_algorithm::window_pass_plain(high.data(), 40, low.data(), 30, h, l);
    EXPECT_EQ(210u, h.sum);
    EXPECT_EQ(200, h.max);
    EXPECT_EQ(840u + 9u, l.sum);
    EXPECT_EQ(9, l.max);
}

TEST(CmosWindow, EveryPathEqualsThePlainLoop) {
    std::mt19937 rng(11);
    for (window_path path : {window_path::sse2, window_path::avx2, window_path::neon}) {
        if (!palm_algorithm::window_path_supported(path))
            continue;
        palm_algorithm::window_pass_fn const pass = palm_algorithm::get_window_pass(path);
        for (int trial = 0; trial < 400; ++trial) {
            const int pattern = trial % 4;
            const frame high = random_frame(rng, kSide + trial % 37, pattern);
            const frame low =
                random_frame(rng, kSide + (trial * 7) % 53, (pattern + trial / 4) % 4);
            window_stats ph, pl, vh, vl;
            palm_algorithm::window_pass_plain(high.pixels.data(), high.stride, low.pixels.data(),
                                              low.stride, ph, pl);
            pass(high.pixels.data(), high.stride, low.pixels.data(), low.stride, vh, vl);
            expect_same(ph, vh, "high");
            expect_same(pl, vl, "low");
        }
    }
}

TEST(CmosWindow, FullWindowOfWhiteSumsWithoutOverflow) {
    std::vector<unsigned char> white(kSide * kSide, 255);
    for (window_path path :
         {window_path::plain, window_path::sse2, window_path::avx2, window_path::neon}) {
        window_stats h, l;
        palm_algorithm::get_window_pass(path)(white.data(), kSide, white.data(), kSide, h, l);
        EXPECT_EQ(841u * 255u, h.sum);
        EXPECT_EQ(255, h.max);
        EXPECT_EQ(841u * 255u, l.sum);
    }
}

TEST(CmosWindow, SharedBytesOfTheTwoReadsCountOnce) {
    // Columns 13 to 15 are read by both halves of a row.
    std::vector<unsigned char> high(kSide * kSide, 0), low(kSide * kSide, 0);
    for (int r = 0; r < kSide; ++r)
        for (int c = 13; c <= 15; ++c)
            high[r * kSide + c] = 1;
    low[kSide * kSide - 1] = 77;
    for (window_path path :
         {window_path::plain, window_path::sse2, window_path::avx2, window_path::neon}) {
        window_stats h, l;
        palm_algorithm::get_window_pass(path)(high.data(), kSide, low.data(), kSide, h, l);
        EXPECT_EQ(3u * kSide, h.sum);
        EXPECT_EQ(1, h.max);
        EXPECT_EQ(77u, l.sum);
        EXPECT_EQ(77, l.max);
    }
}

TEST(CmosWindow, BestPathIsSupported) {
    EXPECT_TRUE(palm_algorithm::window_path_supported(palm_algorithm::best_window_path()));
    EXPECT_TRUE(palm_algorithm::window_path_supported(window_path::plain));
#if PALM_ARCH_X86
    EXPECT_TRUE(palm_algorithm::window_path_supported(window_path::sse2));
    EXPECT_FALSE(palm_algorithm::window_path_supported(window_path::neon));
#elif PALM_ARCH_AARCH64
    EXPECT_TRUE(palm_algorithm::window_path_supported(window_path::neon));
    EXPECT_FALSE(palm_algorithm::window_path_supported(window_path::sse2));
    EXPECT_FALSE(palm_algorithm::window_path_supported(window_path::avx2));
    EXPECT_EQ(window_path::neon, palm_algorithm::best_window_path());
#endif
    EXPECT_NE(window_path::plain, palm_algorithm::best_window_path());
}

}  // namespace
