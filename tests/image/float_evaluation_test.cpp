// Every processor must give the same codes, crops and records, so the build
// may not fuse a product and a sum into one rounding: compilers for aarch64
// do so by default, x86-64 ones only where FMA is enabled.
#include <gtest/gtest.h>

namespace {

// a * b = 1 + 2^-11 + 2^-24 exactly; rounded to float it is 1 + 2^-11 (a tie,
// to even), so a * b + c is 0 when the product is rounded first and 2^-24
// when it is fused.
TEST(FloatEvaluation, ProductAndSumAreRoundedSeparatelyInSinglePrecision) {
    volatile float const a = 1.0f + 0x1p-12f;
    volatile float const b = 1.0f + 0x1p-12f;
    volatile float const c = -(1.0f + 0x1p-11f);
    float const r = a * b + c;
    EXPECT_EQ(0.0f, r);
}

// a * b = 1 + 2^-26 + 2^-54 exactly, which rounds to 1 + 2^-26 in double.
TEST(FloatEvaluation, ProductAndSumAreRoundedSeparatelyInDoublePrecision) {
    volatile double const a = 1.0 + 0x1p-27;
    volatile double const b = 1.0 + 0x1p-27;
    volatile double const c = -(1.0 + 0x1p-26);
    double const r = a * b + c;
    EXPECT_EQ(0.0, r);
}

}  // namespace
