#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include "palm/extraction/anigauss.h"
#include "palm/extraction/feature_extract.h"
#include "sim/synthetic_palm.h"

namespace {

using palm_algorithm::CPalmExtract;
using palm_feature::single_feature;
using palm_share::palm_image;

// Orientation code of grid sample (i, j) as bits of planes 0, 1, 2.
int code_at(const single_feature& f, int i, int j) {
    int c = 0;
    for (int p = 0; p < 3; ++p) {
        uint32_t w;
        std::memcpy(&w, f.data + p * 128 + 4 * i, 4);
        c = (c << 1) | ((w >> (31 - j)) & 1);
    }
    return c;
}

std::vector<unsigned char> bytes(const single_feature& f) {
    return std::vector<unsigned char>(f.data, f.data + palm_feature::FEATURE_DATA_SIZE);
}

void fill_pattern(single_feature& f) {
    for (int i = 0; i < palm_feature::FEATURE_DATA_SIZE; ++i)
        f.data[i] = static_cast<unsigned char>(i);
}

palm_image uniform(int w, int h, unsigned char v) {
    palm_image img;
    img.Create(w, h, v);
    return img;
}

TEST(Extract, ConstantsOfTheCoder) {
    EXPECT_EQ(CPalmExtract::SUB_IMG_WIDTH, 110);
    EXPECT_EQ(CPalmExtract::PADDING_IMG_WIDTH, 128);
    EXPECT_EQ(CPalmExtract::CODING_START_POS, 18);
    EXPECT_EQ(CPalmExtract::CODING_STOP_POS, 112);
    EXPECT_EQ(CPalmExtract::CODING_STEP, 3);
    EXPECT_EQ(CPalmExtract::ORIENT_NUM, 6);
    EXPECT_EQ((CPalmExtract::CODING_STOP_POS - CPalmExtract::CODING_START_POS +
               CPalmExtract::CODING_STEP - 1) /
                  CPalmExtract::CODING_STEP,
              32);
}

TEST(Extract, WrongSizeIsRefusedAndFeatureKept) {
    CPalmExtract ex;
    single_feature f;
    fill_pattern(f);
    const std::vector<unsigned char> before = bytes(f);
    EXPECT_FALSE(ex.extract(uniform(110, 109, 50), f));
    EXPECT_FALSE(ex.extract(uniform(109, 110, 50), f));
    EXPECT_FALSE(ex.extract(palm_image(), f));
    std::vector<std::pair<int, int>> resp(1024);
    EXPECT_FALSE(ex.extract_test(uniform(109, 110, 50), f, resp));
    EXPECT_EQ(bytes(f), before);
}

TEST(Extract, FeatureWithoutBlockIsRefused) {
    CPalmExtract ex;
    single_feature f;
    unsigned char* block = f.data;
    f.data = nullptr;
    std::vector<std::pair<int, int>> resp(1024);
    EXPECT_FALSE(ex.extract(uniform(110, 110, 50), f));
    EXPECT_FALSE(ex.extract_test(uniform(110, 110, 50), f, resp));
    f.data = block;
}

TEST(Extract, Grey128GivesAllZeroCode) {
    CPalmExtract ex;
    single_feature f;
    fill_pattern(f);
    ASSERT_TRUE(ex.extract(uniform(110, 110, 128), f));
    EXPECT_EQ(bytes(f), std::vector<unsigned char>(384, 0));
}

TEST(Extract, OtherUniformGreyGivesNoUniformCode) {
    CPalmExtract ex;
    single_feature f, g;
    ASSERT_TRUE(ex.extract(uniform(110, 110, 200), f));
    ASSERT_TRUE(ex.extract(uniform(110, 110, 200), g));
    EXPECT_EQ(bytes(f), bytes(g));
    int counts[8] = {0};
    for (int i = 0; i < 32; ++i) {
        for (int j = 0; j < 32; ++j)
            ++counts[code_at(f, i, j)];
    }
    int used = 0;
    for (int c : counts)
        used += c > 0;
    EXPECT_GT(used, 1);
}

// Orientation of every grid sample that lies on the line.
std::vector<int> codes_on_line(const single_feature& f, double degrees, double cx, double cy) {
    const double a = degrees * 3.14159265358979323846 / 180.0;
    std::vector<int> codes;
    for (int i = 0; i < 32; ++i) {
        for (int j = 0; j < 32; ++j) {
            const int row = 18 + 3 * i, col = 18 + 3 * j;
            if (row >= 110 || col >= 110)
                continue;
            if (std::fabs((col - cx) * std::sin(a) + (row - cy) * std::cos(a)) < 0.8) {
                codes.push_back(code_at(f, i, j));
            }
        }
    }
    return codes;
}

TEST(Extract, LinesGiveTheirOrientation) {
    // Orientation k stands for a line at 30k degrees; its code bits.
    const int expected[6] = {0b000, 0b001, 0b011, 0b111, 0b110, 0b100};
    CPalmExtract ex;
    for (int k = 0; k < 6; ++k) {
        single_feature f;
        ASSERT_TRUE(ex.extract(palm_test::line_roi(30.0 * k, 54, 54), f));
        const std::vector<int> codes = codes_on_line(f, 30.0 * k, 54, 54);
        ASSERT_GE(codes.size(), 15u) << k;
        for (int c : codes)
            EXPECT_EQ(c, expected[k]) << "line at " << 30 * k << " degrees";
    }
}

TEST(Extract, HorizontalLineLandsInItsGridRow) {
    // Row 54 is grid row 12; the line's samples have orientation 0 there
    // while the vertical line of the same position gives 3 in column 12.
    CPalmExtract ex;
    single_feature h, v;
    ASSERT_TRUE(ex.extract(palm_test::line_roi(0, 54, 54), h));
    ASSERT_TRUE(ex.extract(palm_test::line_roi(90, 54, 54), v));
    for (int j = 2; j < 30; ++j)
        EXPECT_EQ(code_at(h, 12, j), 0) << j;
    for (int i = 2; i < 30; ++i)
        EXPECT_EQ(code_at(v, i, 12), 0b111) << i;
}

TEST(Extract, IsReproducibleAndEqualToTestVariant) {
    std::mt19937 rng(11);
    palm_test::synthetic_palm palm = palm_test::make_palm(rng);
    palm_image roi = palm_test::render_roi(palm, 0, 0, 2.0, rng);
    CPalmExtract ex;
    single_feature a, b, c;
    ASSERT_TRUE(ex.extract(roi, a));
    ASSERT_TRUE(ex.extract(roi, b));
    std::vector<std::pair<int, int>> resp(1024);
    ASSERT_TRUE(ex.extract_test(roi, c, resp));
    EXPECT_EQ(bytes(a), bytes(b));
    EXPECT_EQ(bytes(a), bytes(c));
    // Nothing stays from one call to the next.
    single_feature other, again;
    ASSERT_TRUE(ex.extract(uniform(110, 110, 30), other));
    ASSERT_TRUE(ex.extract(roi, again));
    EXPECT_EQ(bytes(a), bytes(again));
    // The process-wide extractor codes the same.
    single_feature d;
    ASSERT_TRUE(palm_algorithm::get_extractor_inst()->extract(roi, d));
    EXPECT_EQ(bytes(a), bytes(d));
}

TEST(ExtractTest, RingSamplesStandLastAndTheRestDescend) {
    std::mt19937 rng(12);
    palm_image roi = palm_test::render_roi(palm_test::make_palm(rng), 0, 0, 2.0, rng);
    CPalmExtract ex;
    single_feature f;
    std::vector<std::pair<int, int>> resp(1024, std::make_pair(7, 7));
    ASSERT_TRUE(ex.extract_test(roi, f, resp));
    int ring = 0;
    for (const auto& r : resp)
        ring += r.first == CPalmExtract::RING_RESPONSE;
    EXPECT_EQ(ring, 240);
    for (int n = 784; n < 1024; ++n)
        EXPECT_EQ(resp[n].first, -100000) << n;
    for (int n = 0; n < 784; ++n)
        EXPECT_GT(resp[n].first, -100000) << n;
    for (int n = 1; n < 1024; ++n)
        EXPECT_TRUE(resp[n - 1] >= resp[n]) << n;
    // Every sample once; the ring by descending index.
    std::vector<int> seen(1024, 0);
    for (const auto& r : resp)
        ++seen[r.second];
    EXPECT_EQ(seen, std::vector<int>(1024, 1));
    EXPECT_EQ(resp[784].second, 1023);
    EXPECT_EQ(resp[1023].second, 0);
}

TEST(ExtractTest, InteriorResponsesAreTheWinningOnes) {
    // A horizontal line: its samples respond strongest and lead the ranking.
    CPalmExtract ex;
    single_feature f;
    std::vector<std::pair<int, int>> resp(1024);
    ASSERT_TRUE(ex.extract_test(palm_test::line_roi(0, 54, 54), f, resp));
    EXPECT_EQ(resp[0].second / 32, 12);
    EXPECT_GT(resp[0].first, 0);
}

TEST(ExtractTest, LongerVectorIsSortedWhole) {
    CPalmExtract ex;
    single_feature f;
    std::vector<std::pair<int, int>> resp(1030, std::make_pair(1 << 30, -1));
    ASSERT_TRUE(ex.extract_test(uniform(110, 110, 128), f, resp));
    // The six spare elements keep their values and sort to the front.
    for (int n = 0; n < 6; ++n)
        EXPECT_EQ(resp[n], std::make_pair(1 << 30, -1));
    EXPECT_EQ(resp.size(), 1030u);
}

TEST(ExtractTest, ShortVectorIsRefused) {
    CPalmExtract ex;
    single_feature f;
    fill_pattern(f);
    const std::vector<unsigned char> before = bytes(f);
    std::vector<std::pair<int, int>> resp(1023, std::make_pair(3, 3));
    EXPECT_FALSE(ex.extract_test(uniform(110, 110, 90), f, resp));
    EXPECT_EQ(bytes(f), before);
    EXPECT_EQ(resp[0], std::make_pair(3, 3));
}

TEST(Padding, ReplicatesLastRowAndColumnToTheRightAndBelow) {
    palm_image img(110, 110);
    for (int r = 0; r < 110; ++r) {
        for (int c = 0; c < 110; ++c)
            img.GetBuffer()[r * 110 + c] = static_cast<unsigned char>(r + 2 * c);
    }
    std::vector<int> dest(128 * 128, -1);
    CPalmExtract ex;
    ex.Padding(img, dest.data());
    auto at = [&](int r, int c) { return dest[r * 128 + c]; };
    EXPECT_EQ(at(0, 0), 0);
    EXPECT_EQ(at(5, 7), (5 + 14) & 255);
    EXPECT_EQ(at(109, 109), (109 + 218) & 255);
    EXPECT_EQ(at(120, 30), (109 + 60) & 255);  // below: row 109
    EXPECT_EQ(at(30, 120), (30 + 218) & 255);  // right: column 109
    EXPECT_EQ(at(127, 127), (109 + 218) & 255);
    EXPECT_EQ(at(115, 110), (109 + 218) & 255);
}

TEST(Padding, BadArgumentsWriteNothing) {
    std::vector<int> dest(128 * 128, -1);
    CPalmExtract ex;
    ex.Padding(uniform(100, 110, 5), dest.data());
    EXPECT_EQ(dest, std::vector<int>(128 * 128, -1));
    ex.Padding(uniform(110, 110, 5), nullptr);
}

TEST(OrientationCode, NeighboursDifferInOneBitAndDistanceIsCircular) {
    for (int a = 0; a < 6; ++a) {
        for (int b = 0; b < 6; ++b) {
            const int bits = __builtin_popcount(palm_algorithm::orientation_code(a) ^
                                                palm_algorithm::orientation_code(b));
            const int d = std::abs(a - b);
            EXPECT_EQ(bits, std::min(d, 6 - d)) << a << "," << b;
        }
    }
    EXPECT_EQ(palm_algorithm::orientation_code(6), -1);
}

TEST(ExtractorInstance, IsOneObjectAndReleaseDoesNothing) {
    palm_algorithm::i_feature_extractor* a = palm_algorithm::get_extractor_inst();
    palm_algorithm::release_extractor_inst();
    EXPECT_NE(a, nullptr);
    EXPECT_EQ(a, palm_algorithm::get_extractor_inst());
    EXPECT_NE(dynamic_cast<CPalmExtract*>(a), nullptr);
    a->get_last_error(nullptr);
}

}  // namespace

namespace {

// The code through the reference filters, sample by sample as described.
std::vector<unsigned char> reference_code(const palm_image& roi) {
    CPalmExtract ex;
    std::vector<int> src(128 * 128), dest(6 * 128 * 128);
    ex.Padding(roi, src.data());
    for (int& v : src)
        v = (v - 128) * 1024;
    for (int k = 0; k < 6; ++k) {
        palm_share::anigauss(src.data(), dest.data() + k * 16384, 128, 128, k, 2, 0);
    }
    const int pattern[6] = {0b000, 0b001, 0b011, 0b111, 0b110, 0b100};
    uint32_t words[3][32] = {};
    for (int i = 0; i < 32; ++i) {
        for (int j = 0; j < 32; ++j) {
            const int at = (18 + 3 * i) * 128 + 18 + 3 * j;
            int best = 0;
            for (int k = 1; k < 6; ++k) {
                if (dest[k * 16384 + at] > dest[best * 16384 + at])
                    best = k;
            }
            for (int p = 0; p < 3; ++p) {
                if (pattern[best] & (4 >> p))
                    words[p][i] |= 1u << (31 - j);
            }
        }
    }
    std::vector<unsigned char> out(384);
    std::memcpy(out.data(), words, 384);
    return out;
}

TEST(Extract, EqualsCodeThroughReferenceFilters) {
    std::mt19937 rng(21);
    CPalmExtract ex;
    for (int n = 0; n < 3; ++n) {
        palm_image roi = palm_test::render_roi(palm_test::make_palm(rng), 0, 0, 3.0, rng);
        single_feature f;
        ASSERT_TRUE(ex.extract(roi, f));
        EXPECT_EQ(bytes(f), reference_code(roi)) << n;
    }
    single_feature g;
    ASSERT_TRUE(ex.extract(uniform(110, 110, 200), g));
    EXPECT_EQ(bytes(g), reference_code(uniform(110, 110, 200)));
}

}  // namespace
