// The wide-register path of the six filters against the reference filters,
// bit for bit.
#include "palm/extraction/anigauss_fast.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "palm/extraction/anigauss.h"

namespace {

using namespace palm_share;

std::vector<int> random_image(int w, int h, int amplitude, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> v(-amplitude, amplitude);
    std::vector<int> img(static_cast<size_t>(w) * h);
    for (int& x : img)
        x = v(rng);
    return img;
}

void expect_same(const std::vector<int>& src, int w, int h, int orderv, int orderu) {
    const size_t plane = static_cast<size_t>(w) * h;
    std::vector<int> ref(6 * plane, 7), fast(6 * plane, 9);
    anigauss_six_reference(src.data(), ref.data(), w, h, orderv, orderu);
#if PALM_ARCH_X86
    if (!anigauss_six_avx2(src.data(), fast.data(), w, h, orderv, orderu)) {
        GTEST_SKIP() << "no AVX2 on this processor";
    }
#elif PALM_ARCH_AARCH64
    anigauss_six_neon(src.data(), fast.data(), w, h, orderv, orderu);
#else
    anigauss_six(src.data(), fast.data(), w, h, orderv, orderu);
#endif
    for (int k = 0; k < 6; ++k) {
        const bool same = std::equal(ref.begin() + k * plane, ref.begin() + (k + 1) * plane,
                                     fast.begin() + k * plane);
        EXPECT_TRUE(same) << "orientation " << k << ", " << w << " x " << h;
    }
}

TEST(AnigaussFast, EqualsReferenceOnTheCoderSize) {
    // Full grey range with 10 fractional bits: the end-of-line products wrap.
    expect_same(random_image(128, 128, 128 * 1024, 1), 128, 128, 2, 0);
}

TEST(AnigaussFast, EqualsReferenceOnOddSizes) {
    const int sizes[][2] = {{1, 1},  {7, 3},   {8, 8},   {9, 17},
                            {16, 5}, {33, 29}, {40, 64}, {130, 12}};
    unsigned seed = 10;
    for (const auto& s : sizes)
        expect_same(random_image(s[0], s[1], 131072, ++seed), s[0], s[1], 2, 0);
}

TEST(AnigaussFast, EqualsReferenceForOtherDerivativeOrders) {
    expect_same(random_image(24, 20, 131072, 3), 24, 20, 0, 0);
    expect_same(random_image(24, 20, 131072, 4), 24, 20, 1, 1);
}

TEST(AnigaussFast, EqualsReferenceOnExtremeValues) {
    std::vector<int> img(48 * 40);
    std::mt19937 rng(5);
    for (int& v : img)
        v = (rng() & 1) ? 2147483647 : (-2147483647 - 1);
    expect_same(img, 48, 40, 2, 0);
}

TEST(AnigaussFast, DispatcherGivesReferenceResults) {
    const std::vector<int> src = random_image(64, 48, 131072, 6);
    std::vector<int> a(6 * 64 * 48), b(6 * 64 * 48);
    anigauss_six(src.data(), a.data(), 64, 48, 2, 0);
    anigauss_six_reference(src.data(), b.data(), 64, 48, 2, 0);
    EXPECT_EQ(a, b);
}

TEST(AnigaussFast, BadArgumentsWriteNothing) {
    std::vector<int> src(16, 1), dst(6 * 16, 3);
    anigauss_six(nullptr, dst.data(), 4, 4, 2, 0);
    anigauss_six(src.data(), dst.data(), 0, 4, 2, 0);
    anigauss_six(src.data(), dst.data(), 4, -2, 2, 0);
    anigauss_six(src.data(), nullptr, 4, 4, 2, 0);
    EXPECT_EQ(dst, std::vector<int>(6 * 16, 3));
}

}  // namespace
