#include "palm/image/frame_info.h"

#include <gtest/gtest.h>

#include <vector>

#include "palm/image/image_pair.h"

namespace {

using palm_share::image_pair;
using palm_share::palm_image;
using palm_struct::frame_info;

TEST(CropResults, NewRecordIsNotLocated) {
    palm_struct::_crop_results r;
    EXPECT_EQ(r.palm_offset_x, -10000);
    EXPECT_EQ(r.palm_offset_y, -10000);
    EXPECT_EQ(r.area_percent, 0.0);
    EXPECT_EQ(r.nir_key[1].x, 0);
}

TEST(FrameInfo, CopyOfAttachedFrameSharesCameraBuffers) {
    std::vector<unsigned char> vl(16, 1), nir(16, 2);
    frame_info f;
    f.vl.attach(4, 4, vl.data());
    f.nir.attach(4, 4, nir.data());
    f.crop.rotate_angle = 0.25;
    f.crop.nir_key[0].x = 7;

    frame_info copy(f);
    EXPECT_EQ(copy.vl.GetBuffer(), vl.data());
    EXPECT_EQ(copy.nir.GetBuffer(), nir.data());
    EXPECT_TRUE(copy.vl.IsAttached());
    EXPECT_EQ(copy.crop.rotate_angle, 0.25);
    EXPECT_EQ(copy.crop.nir_key[0].x, 7);

    // What later happens to the camera buffers shows in the copy.
    vl[5] = 200;
    nir[6] = 201;
    EXPECT_EQ(copy.vl.GetBuffer()[5], 200);
    EXPECT_EQ(copy.nir.GetBuffer()[6], 201);
}

TEST(FrameInfo, CopyOfOwningFrameIsDeep) {
    frame_info f;
    f.vl.Create(4, 4, static_cast<unsigned char>(3));
    f.nir.Create(4, 4, static_cast<unsigned char>(4));
    frame_info copy;
    copy = f;
    f.vl.GetBuffer()[0] = 99;
    EXPECT_EQ(copy.vl.GetBuffer()[0], 3);
    EXPECT_EQ(copy.nir.GetBuffer()[0], 4);
    EXPECT_FALSE(copy.vl.IsAttached());
}

TEST(FrameInfo, CropIsWritableThroughConstReference) {
    frame_info f;
    const frame_info& ref = f;
    ref.crop.area_percent = 55.5;
    EXPECT_EQ(f.crop.area_percent, 55.5);
}

TEST(ImagePair, VisibleLightComesFirst) {
    image_pair p;
    p.vl.Create(2, 2, static_cast<unsigned char>(1));
    p.nir.Create(3, 3, static_cast<unsigned char>(2));
    image_pair q = p;
    EXPECT_EQ(q.vl.GetWidth(), 2);
    EXPECT_EQ(q.nir.GetWidth(), 3);
    EXPECT_NE(q.vl.GetBuffer(), p.vl.GetBuffer());
}

}  // namespace
