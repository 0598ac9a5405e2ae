#include "palm/image/cy_image.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using palm_share::CYImage;

std::vector<unsigned char> ramp(int n) {
    std::vector<unsigned char> v(n);
    for (int i = 0; i < n; ++i)
        v[i] = static_cast<unsigned char>(i * 7 + 3);
    return v;
}

TEST(CYImage, DefaultIsEmptyAndInvalid) {
    CYImage img;
    EXPECT_FALSE(img.IsValid());
    EXPECT_EQ(img.GetBuffer(), nullptr);
    EXPECT_EQ(img.GetWidth(), 0);
    EXPECT_EQ(img.GetHeight(), 0);
    EXPECT_FALSE(img.IsAttached());
}

TEST(CYImage, SizeConstructorCopiesOrZeroes) {
    std::vector<unsigned char> src = ramp(12);
    CYImage a(4, 3, src.data());
    ASSERT_TRUE(a.IsValid());
    EXPECT_EQ(a.GetSize(), 12);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(a.GetBuffer()[i], src[i]);
    CYImage b(4, 3, nullptr);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(b.GetBuffer()[i], 0);
}

TEST(CYImage, NonPositiveSizeGivesEmptyImage) {
    CYImage a(0, 5, nullptr);
    CYImage b(-3, 2, nullptr);
    CYImage c(70000, 70000, nullptr);  // more pixels than an int counts
    EXPECT_FALSE(a.IsValid());
    EXPECT_FALSE(b.IsValid());
    EXPECT_FALSE(c.IsValid());
}

TEST(CYImage, CopyConstructorCopiesPixels) {
    std::vector<unsigned char> src = ramp(6);
    CYImage a(3, 2, src.data());
    CYImage b(a);
    ASSERT_TRUE(b.IsValid());
    EXPECT_NE(b.GetBuffer(), a.GetBuffer());
    EXPECT_EQ(b.GetBuffer()[5], src[5]);
    EXPECT_FALSE(b.IsAttached());
}

TEST(CYImage, AssigningFromEmptyImageLeavesDestinationAsItWas) {
    std::vector<unsigned char> src = ramp(6);
    CYImage a(3, 2, src.data());
    unsigned char* before = a.GetBuffer();
    CYImage empty;
    a = empty;
    EXPECT_EQ(a.GetBuffer(), before);
    EXPECT_EQ(a.GetWidth(), 3);
    EXPECT_EQ(a.GetHeight(), 2);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(a.GetBuffer()[i], src[i]);
}

TEST(CYImage, SelfAssignmentChangesNothing) {
    std::vector<unsigned char> src = ramp(6);
    CYImage a(3, 2, src.data());
    unsigned char* before = a.GetBuffer();
    CYImage& ref = a;
    a = ref;
    EXPECT_EQ(a.GetBuffer(), before);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(a.GetBuffer()[i], src[i]);
}

TEST(CYImage, AssignmentWithEqualPixelCountReusesBlockAndTakesShape) {
    std::vector<unsigned char> src = ramp(200);
    CYImage wide(20, 10, nullptr);
    unsigned char* block = wide.GetBuffer();
    CYImage tall(10, 20, src.data());
    wide = tall;
    EXPECT_EQ(wide.GetBuffer(), block);
    EXPECT_EQ(wide.GetWidth(), 10);
    EXPECT_EQ(wide.GetHeight(), 20);
    EXPECT_EQ(wide.GetBuffer()[199], src[199]);
}

TEST(CYImage, AssignmentWithOtherPixelCountTakesNewBlock) {
    std::vector<unsigned char> src = ramp(12);
    CYImage a(2, 2, nullptr);
    CYImage b(4, 3, src.data());
    a = b;
    EXPECT_EQ(a.GetWidth(), 4);
    EXPECT_EQ(a.GetHeight(), 3);
    EXPECT_NE(a.GetBuffer(), b.GetBuffer());
    EXPECT_EQ(a.GetBuffer()[11], src[11]);
}

TEST(CYImage, AssignmentFromAttachedImageSharesThePointer) {
    std::vector<unsigned char> camera = ramp(12);
    CYImage cam;
    cam.attach(4, 3, camera.data());
    CYImage copy;
    copy = cam;
    EXPECT_TRUE(copy.IsAttached());
    EXPECT_EQ(copy.GetBuffer(), camera.data());
    camera[0] = 99;
    EXPECT_EQ(copy.GetBuffer()[0], 99);
}

TEST(CYImage, AssignmentFromAttachedImageLeavesOwnedBlockBehind) {
    std::vector<unsigned char> camera = ramp(4);
    CYImage owner(2, 2, nullptr);
    unsigned char* own = owner.GetBuffer();
    CYImage cam;
    cam.attach(2, 2, camera.data());
    owner = cam;
    EXPECT_EQ(owner.GetBuffer(), camera.data());
    EXPECT_TRUE(owner.IsAttached());
    delete[] own;  // the image no longer frees it
}

TEST(CYImage, AttachTakesBufferWithoutCopy) {
    std::vector<unsigned char> camera = ramp(6);
    CYImage img(5, 5, nullptr);
    img.attach(3, 2, camera.data());
    EXPECT_TRUE(img.IsAttached());
    EXPECT_EQ(img.GetBuffer(), camera.data());
    EXPECT_EQ(img.GetWidth(), 3);
    EXPECT_EQ(img.GetHeight(), 2);
}

TEST(CYImage, AttachWithNullBufferKeepsOldContent) {
    std::vector<unsigned char> src = ramp(6);
    CYImage img(3, 2, src.data());
    unsigned char* before = img.GetBuffer();
    img.attach(8, 8, nullptr);
    EXPECT_FALSE(img.IsAttached());
    EXPECT_EQ(img.GetBuffer(), before);
    EXPECT_EQ(img.GetWidth(), 3);
    EXPECT_EQ(img.GetBuffer()[4], src[4]);
}

TEST(CYImage, AttachedImageIgnoresSetDataButWritesThroughOthers) {
    std::vector<unsigned char> camera(6, 10);
    CYImage img;
    img.attach(3, 2, camera.data());
    img.SetData(77);
    for (unsigned char v : camera)
        EXPECT_EQ(v, 10);

    std::vector<unsigned char> src = ramp(6);
    img.Set_Buffer(src.data());
    EXPECT_EQ(camera[5], src[5]);

    img.FillRow(0, 200);
    EXPECT_EQ(camera[0], 200);
    EXPECT_EQ(camera[2], 200);

    img.Threshold(100);
    EXPECT_EQ(camera[0], 255);
    EXPECT_EQ(camera[3], src[3] > 100 ? 255 : 0);
}

TEST(CYImage, CreateWithSameCountKeepsAndZeroesBlock) {
    std::vector<unsigned char> src = ramp(6);
    CYImage img(3, 2, src.data());
    unsigned char* block = img.GetBuffer();
    EXPECT_TRUE(img.Create(2, 3, static_cast<const unsigned char*>(nullptr)));
    EXPECT_EQ(img.GetBuffer(), block);
    EXPECT_EQ(img.GetWidth(), 2);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(img.GetBuffer()[i], 0);
}

TEST(CYImage, CreateCopiesSource) {
    std::vector<unsigned char> src = ramp(20);
    CYImage img;
    EXPECT_TRUE(img.Create(5, 4, src.data()));
    EXPECT_EQ(img.GetBuffer()[19], src[19]);
}

TEST(CYImage, CreateWithBadSizeFailsAndEmpties) {
    CYImage img(3, 3, nullptr);
    EXPECT_FALSE(img.Create(0, 3, static_cast<const unsigned char*>(nullptr)));
    EXPECT_EQ(img.GetWidth(), 0);
    EXPECT_EQ(img.GetHeight(), 0);
    EXPECT_FALSE(img.IsValid());
    EXPECT_FALSE(img.Create(-1, 4, static_cast<unsigned char>(9)));
    EXPECT_FALSE(img.IsValid());
}

TEST(CYImage, CreateWithValueFillsNewBlock) {
    CYImage img(2, 2, nullptr);
    EXPECT_TRUE(img.Create(3, 3, static_cast<unsigned char>(42)));
    EXPECT_EQ(img.GetSize(), 9);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(img.GetBuffer()[i], 42);
}

TEST(CYImage, CreateOnAttachedImageOverwritesForeignBlockOfSameCount) {
    std::vector<unsigned char> camera = ramp(4);
    CYImage img;
    img.attach(2, 2, camera.data());
    EXPECT_TRUE(img.Create(4, 1, static_cast<const unsigned char*>(nullptr)));
    EXPECT_EQ(img.GetBuffer(), camera.data());
    for (unsigned char v : camera)
        EXPECT_EQ(v, 0);
    EXPECT_TRUE(img.IsAttached());
}

TEST(CYImage, RowAccess) {
    std::vector<unsigned char> src = ramp(12);
    CYImage img(4, 3, src.data());
    EXPECT_EQ(img.GetRowBuffer(2), img.GetBuffer() + 8);
    EXPECT_EQ(img[1], img.GetBuffer() + 4);
    EXPECT_EQ(img[-1], nullptr);
    EXPECT_EQ(img[3], nullptr);
    const CYImage& c = img;
    EXPECT_EQ(c[2], img.GetBuffer() + 8);
    EXPECT_EQ(c[3], nullptr);
}

TEST(CYImage, RowAccessOnInvalidImageIsNull) {
    CYImage img;
    EXPECT_EQ(img.GetRowBuffer(0), nullptr);
    EXPECT_EQ(img[0], nullptr);
}

TEST(CYImage, FillRowAndColumnIgnoreOutsideIndices) {
    CYImage img(3, 3, nullptr);
    img.FillRow(3, 5);
    img.FillRow(-1, 5);
    img.FillColumn(3, 5);
    img.FillColumn(-1, 5);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(img.GetBuffer()[i], 0);
    img.FillColumn(1, 8);
    EXPECT_EQ(img.GetBuffer()[1], 8);
    EXPECT_EQ(img.GetBuffer()[4], 8);
    EXPECT_EQ(img.GetBuffer()[7], 8);
    EXPECT_EQ(img.GetBuffer()[0], 0);
}

TEST(CYImage, SetBufferIgnoresNullAndInvalid) {
    CYImage img(2, 2, nullptr);
    img.Set_Buffer(nullptr);
    EXPECT_EQ(img.GetBuffer()[0], 0);
    CYImage empty;
    unsigned char px[4] = {1, 2, 3, 4};
    empty.Set_Buffer(px);
    EXPECT_FALSE(empty.IsValid());
}

TEST(CYImage, MeanRoundsHalfUp) {
    unsigned char one[1] = {77};
    EXPECT_EQ(CYImage(1, 1, one).Mean(), 77);
    unsigned char two[2] = {0, 1};
    EXPECT_EQ(CYImage(2, 1, two).Mean(), 1);  // (1 + 1) / 2
    unsigned char three[3] = {0, 0, 1};
    EXPECT_EQ(CYImage(3, 1, three).Mean(), 0);  // (1 + 1) / 3
    EXPECT_EQ(CYImage().Mean(), 0);
}

TEST(CYImage, ThresholdIsStrict) {
    unsigned char px[4] = {99, 100, 101, 255};
    CYImage img(4, 1, px);
    img.Threshold(100);
    EXPECT_EQ(img.GetBuffer()[0], 0);
    EXPECT_EQ(img.GetBuffer()[1], 0);
    EXPECT_EQ(img.GetBuffer()[2], 255);
    EXPECT_EQ(img.GetBuffer()[3], 255);
}

TEST(CYImage, WhiteRatioCountsOnly255) {
    unsigned char px[4] = {255, 254, 255, 0};
    CYImage img(4, 1, px);
    EXPECT_DOUBLE_EQ(img.GetWhiteRatio(), 0.5);
    EXPECT_EQ(CYImage().GetWhiteRatio(), 0.0);
}

class Interpolation : public ::testing::Test {
  protected:
    // 4 x 3 image, p(x, y) = 10 * y + 20 * x + 5
    void SetUp() override {
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 4; ++x)
                px[y * 4 + x] = static_cast<unsigned char>(10 * y + 20 * x + 5);
        }
        img = CYImage(4, 3, px);
    }
    unsigned char px[12];
    CYImage img;
};

TEST_F(Interpolation, OriginReturnsFirstPixel) {
    EXPECT_EQ(img.Interpolation(0, 0, 6), px[0]);
}

TEST_F(Interpolation, WholePositionsReadPixels) {
    EXPECT_EQ(img.Interpolation(2 << 6, 1 << 6, 6), px[1 * 4 + 2]);
}

TEST_F(Interpolation, OutsideGivesZero) {
    EXPECT_EQ(img.Interpolation((4 << 6) + 1, 0, 6), 0);
    EXPECT_EQ(img.Interpolation(0, (3 << 6) + 1, 6), 0);
    EXPECT_EQ(img.Interpolation(-1, 0, 6), 0);
    EXPECT_EQ(img.Interpolation(0, -1, 6), 0);
    EXPECT_EQ(CYImage().Interpolation(0, 0, 6), 0);
}

TEST_F(Interpolation, RightEdgeReadsStartOfNextRow) {
    EXPECT_EQ(img.Interpolation(4 << 6, 0, 6), px[4]);
}

TEST_F(Interpolation, HorizontalFractionTruncates) {
    // x = 0.5: (32 * 5 + 32 * 25) >> 6 = 15
    EXPECT_EQ(img.Interpolation(32, 0, 6), 15);
    // x = 0.25: (48 * 5 + 16 * 25) >> 6 = 10
    EXPECT_EQ(img.Interpolation(16, 0, 6), 10);
}

TEST_F(Interpolation, VerticalFraction) {
    // y = 0.75: (16 * 5 + 48 * 15) >> 6 = 12
    EXPECT_EQ(img.Interpolation(0, 48, 6), 12);
}

TEST_F(Interpolation, BothFractionsCutAfterEachStep) {
    unsigned char q[4] = {0, 3, 1, 0};
    CYImage small(2, 2, q);
    // fy = 0.5: L = (32 * 0 + 32 * 1) >> 6 = 0, R = (32 * 3 + 0) >> 6 = 1;
    // fx = 0.5: (32 * 0 + 32 * 1) >> 6 = 0.
    EXPECT_EQ(small.Interpolation(32, 32, 6), 0);
}

}  // namespace
