#include "palm/localisation/lens_mapping.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "palm/calibration/geometry.h"
#include "palm/localisation/palm_crop.h"
#include "support/shell.h"

using palm_algorithm::CPalmCrop;
using palm_struct::_point;
using palm_struct::calib_data;
using palm_struct::cp_single;
using namespace palm_geometry;

namespace {

cp_single const& nir() {
    return CPalmCrop::_calibPara.nir;
}

struct tables_reset : ::testing::Test {
    void SetUp() override {
        palm_algorithm::set_calib_para(palm_algorithm::default_calib_data(), false);
        CPalmCrop::ReleaseMappingTable();
    }
    void TearDown() override { CPalmCrop::ReleaseMappingTable(); }
};

}  // namespace

TEST(LensMapping, DefaultRecordHoldsTheDeviceCalibration) {
    calib_data const d = palm_algorithm::default_calib_data();
    EXPECT_EQ(303.84606067996, d.nir.center_x);
    EXPECT_EQ(461.52829244026026, d.vl.bottom.y);
    EXPECT_EQ(0.580822024241732, d.nir_to_vl[8]);
    EXPECT_TRUE(d.calibrated);
    EXPECT_EQ(0.566984591687591, CPalmCrop::_calibPara.nir_to_vl[0]);
}

TEST(LensMapping, LensCentreMapsToTheCrossingOfTheAxes) {
    SLine l1, l2;
    CalcLine(nir().left, nir().right, l1);
    CalcLine(nir().top, nir().bottom, l2);
    _point<double> expected{0, 0};
    LineLineIntersectPoint(l1, l2, expected);
    _point<double> out{99, 99};
    palm_algorithm::MappingForward(_point<double>{0, 0}, out, nir());
    EXPECT_EQ(expected.x, out.x);
    EXPECT_EQ(expected.y, out.y);
    EXPECT_NE(0.0, out.x);  // close to the centre, not exactly on it
    EXPECT_LT(std::fabs(out.x), 0.1);
}

TEST(LensMapping, PointOnTheVerticalAxisTakesTheCircleAndLineBranch) {
    cp_single const& cp = nir();
    double const y = 120;
    double const u = cp.focal_y * std::atan(y / cp.focal_y) / Dist(cp.top, cp.bottom);
    _point<double> const py{u * (cp.bottom.x - cp.top.x), u * (cp.bottom.y - cp.top.y)};
    SLine l2;
    CalcLine(cp.top, cp.bottom, l2);
    SCircle k1;
    CalcCircle(cp.left, cp.right, py, k1);
    _point<double> a{0, 0}, b{0, 0};
    CircleLineIntersectPoint(k1, l2, a, b);
    _point<double> const in{0, y};
    _point<double> const expected = Dist(a, in) < Dist(b, in) ? a : b;
    _point<double> out{0, 0};
    palm_algorithm::MappingForward(in, out, cp);
    EXPECT_EQ(expected.x, out.x);
    EXPECT_EQ(expected.y, out.y);
}

TEST(LensMapping, CopiesOutsideTheNamespaceAreIdentical) {
    _point<double> a{0, 0}, b{0, 0};
    ::MappingForward(_point<double>{37.5, -80.25}, a, nir());
    palm_algorithm::MappingForward(_point<double>{37.5, -80.25}, b, nir());
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    ::MappingBackward(a, b, nir());
    _point<double> c{0, 0};
    palm_algorithm::MappingBackward(a, c, nir());
    EXPECT_EQ(b.x, c.x);
    EXPECT_EQ(b.y, c.y);
}

TEST(LensMapping, BackwardUndoesForwardAcrossTheUsableField) {
    for (cp_single const* cp : {&CPalmCrop::_calibPara.nir, &CPalmCrop::_calibPara.vl}) {
        double worst = 0;
        for (double x = -300; x <= 300; x += 12.5) {
            for (double y = -230; y <= 230; y += 11.5) {
                _point<double> raw{0, 0}, back{0, 0};
                palm_algorithm::MappingForward(_point<double>{x, y}, raw, *cp);
                palm_algorithm::MappingBackward(raw, back, *cp);
                worst = std::max(worst, std::max(std::fabs(back.x - x), std::fabs(back.y - y)));
            }
        }
        EXPECT_LT(worst, 0.01);
    }
}

TEST(LensMapping, BarrelDistortionPullsCornersInwards) {
    _point<double> raw{0, 0};
    palm_algorithm::MappingForward(_point<double>{250, 200}, raw, nir());
    EXPECT_LT(raw.x, 250);
    EXPECT_LT(raw.y, 200);
    EXPECT_GT(raw.x, 150);
}

TEST(LensMapping, IntegerMappingsRoundHalfAwayFromZero) {
    _point<int> out{0, 0};
    CPalmCrop::MappingForward(_point<int>{400, 300}, out, nir(), 6);
    _point<double> raw{0, 0};
    palm_algorithm::MappingForward(_point<double>{400 - nir().center_x, 300 - nir().center_y}, raw,
                                   nir());
    EXPECT_EQ(static_cast<int>(std::round((raw.x + nir().center_x) * 64)), out.x);
    EXPECT_EQ(static_cast<int>(std::round((raw.y + nir().center_y) * 64)), out.y);
    _point<int> n{0, 0}, back{0, 0};
    CPalmCrop::Normal2Distort(_point<int>{400, 300}, n, true);
    CPalmCrop::Distort2Normal(n, back, true);
    EXPECT_NEAR(400, back.x, 1);
    EXPECT_NEAR(300, back.y, 1);
}

TEST(LensMapping, NirToVlUsesTheHomography) {
    _point<int> out{0, 0};
    CPalmCrop::NIR2VL_Normal(_point<int>{320, 240}, out);
    calib_data const& c = CPalmCrop::_calibPara;
    double const* h = c.nir_to_vl;
    double const a = (320 - c.nir.center_x) / c.nir.focal_x;
    double const b = (240 - c.nir.center_y) / c.nir.focal_y;
    double const den = h[6] * a + h[7] * b + h[8];
    EXPECT_EQ(static_cast<int>(
                  std::round(c.vl.center_x + (h[0] * a + h[1] * b + h[2]) / den * c.vl.focal_x)),
              out.x);
    EXPECT_EQ(static_cast<int>(
                  std::round(c.vl.center_y + (h[3] * a + h[4] * b + h[5]) / den * c.vl.focal_y)),
              out.y);
}

TEST_F(tables_reset, SetCalibParaCopiesParametersOnly) {
    calib_data d = palm_algorithm::default_calib_data();
    d.nir.center_x = 300;
    d.calibrated = false;
    d.reserved[0] = 7;
    palm_algorithm::set_calib_para(d, false);
    EXPECT_EQ(300.0, CPalmCrop::_calibPara.nir.center_x);
    EXPECT_TRUE(CPalmCrop::_calibPara.calibrated);
    EXPECT_EQ(0, CPalmCrop::_calibPara.reserved[0]);
    EXPECT_EQ(nullptr, CPalmCrop::piMapNIRx);  // the tables do not follow by themselves
}

TEST_F(tables_reset, GeneratedTablesHoldTheMappingInSixtyFourths) {
    CPalmCrop::GenerateMappingTable();
    ASSERT_NE(nullptr, CPalmCrop::piMapNIRx);
    EXPECT_EQ(CPalmCrop::piMapNIRx + 640 * 480, CPalmCrop::piMapNIRy);
    EXPECT_EQ(CPalmCrop::piMapNIRx + 2 * 640 * 480, CPalmCrop::piMapVLx);
    for (bool is_nir : {true, false}) {
        for (auto p : {_point<int>{0, 0}, _point<int>{320, 240}, _point<int>{639, 479},
                       _point<int>{100, 400}}) {
            _point<int> direct{0, 0}, looked{0, 0};
            CPalmCrop::MappingForward(
                p, direct, is_nir ? CPalmCrop::_calibPara.nir : CPalmCrop::_calibPara.vl, 6);
            CPalmCrop::MappingForward(p, looked, is_nir);
            EXPECT_EQ(direct.x & 0xffff, looked.x);
            EXPECT_EQ(direct.y & 0xffff, looked.y);
        }
    }
}

TEST_F(tables_reset, LookUpLimitsAreInclusiveOnePastTheTable) {
    CPalmCrop::GenerateMappingTable();
    _point<int> edge{0, 0}, next_row{0, 0};
    CPalmCrop::MappingForward(_point<int>{640, 0}, edge, true);
    CPalmCrop::MappingForward(_point<int>{0, 1}, next_row, true);
    EXPECT_EQ(next_row.x, edge.x);
    EXPECT_EQ(next_row.y, edge.y);
    _point<int> out{0, 0};
    CPalmCrop::MappingForward(_point<int>{-1, 0}, out, true);
    EXPECT_EQ(-1, out.x);
    EXPECT_EQ(0, out.y);
    CPalmCrop::MappingForward(_point<int>{0, 481}, out, false);
    EXPECT_EQ(0, out.x);
    EXPECT_EQ(481, out.y);
    // y = 480 reads past the last table; harmless, and the answer is defined.
    CPalmCrop::MappingForward(_point<int>{640, 480}, out, false);
    CPalmCrop::MappingForward(_point<int>{640, 480}, out, true);
}

TEST_F(tables_reset, NegativeRawCoordinatesWrapModulo65536) {
    // A camera whose centre lies left of the frame maps x = 0 to a negative
    // raw coordinate.
    calib_data d = palm_algorithm::default_calib_data();
    d.nir.center_x = -50;
    palm_algorithm::set_calib_para(d, true);
    _point<int> direct{0, 0}, looked{0, 0};
    CPalmCrop::MappingForward(_point<int>{0, 240}, direct, d.nir, 6);
    ASSERT_LT(direct.x, 0);
    CPalmCrop::MappingForward(_point<int>{0, 240}, looked, true);
    EXPECT_EQ(direct.x + 65536, looked.x);
    palm_algorithm::set_calib_para(palm_algorithm::default_calib_data(), false);
}

TEST_F(tables_reset, StoreBeforeAnyTableIsFalseAndCreatesNoFile) {
    std::string const path = palm_test::temp_file("no_table.map");
    unsigned char const tag[8] = {'p', 'a', 'l', 'm', 't', 'a', 'g', '1'};
    EXPECT_FALSE(palm_algorithm::store_calib_mapping_file(path, tag));
    EXPECT_FALSE(std::ifstream(path).good());
}

TEST_F(tables_reset, MappingFileRoundTrip) {
    unsigned char const tag[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::string const path = palm_test::temp_file("round.map");
    CPalmCrop::GenerateMappingTable();
    std::vector<std::uint16_t> const before(CPalmCrop::piMapNIRx,
                                            CPalmCrop::piMapNIRx + 4 * 640 * 480);
    ASSERT_TRUE(palm_algorithm::store_calib_mapping_file(path, tag));
    std::string const bytes = palm_test::read_file(path);
    ASSERT_EQ(2457608u, bytes.size());
    EXPECT_EQ(0, std::memcmp(bytes.data(), tag, 8));
    CPalmCrop::ReleaseMappingTable();
    ASSERT_TRUE(palm_algorithm::load_calib_mapping_file(path, tag));
    ASSERT_NE(nullptr, CPalmCrop::piMapNIRx);
    EXPECT_EQ(0, std::memcmp(before.data(), CPalmCrop::piMapNIRx, 2457600));
    std::remove(path.c_str());
}

TEST_F(tables_reset, WrongTagIsRefusedAndAllocatesNothing) {
    unsigned char const tag[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    unsigned char const other[8] = {1, 2, 3, 4, 5, 6, 7, 9};
    std::string const path = palm_test::temp_file("tag.map");
    CPalmCrop::GenerateMappingTable();
    ASSERT_TRUE(palm_algorithm::store_calib_mapping_file(path, tag));
    CPalmCrop::ReleaseMappingTable();
    EXPECT_FALSE(palm_algorithm::load_calib_mapping_file(path, other));
    EXPECT_EQ(nullptr, CPalmCrop::piMapNIRx);
    // With tables present a wrong tag leaves them unchanged.
    CPalmCrop::AllocateMappingTable();
    CPalmCrop::piMapVLy[5] = 4242;
    EXPECT_FALSE(palm_algorithm::load_calib_mapping_file(path, other));
    EXPECT_EQ(4242, CPalmCrop::piMapVLy[5]);
    std::remove(path.c_str());
}

TEST_F(tables_reset, TruncatedFileWithTheRightTagFailsAfterPartlyFilling) {
    unsigned char const tag[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    std::string const path = palm_test::temp_file("short.map");
    std::string bytes(reinterpret_cast<char const*>(tag), 8);
    bytes += std::string(1000, '\x01');
    ASSERT_TRUE(palm_test::write_file(path, bytes));
    EXPECT_FALSE(palm_algorithm::load_calib_mapping_file(path, tag));
    ASSERT_NE(nullptr, CPalmCrop::piMapNIRx);
    EXPECT_EQ(0x0101, CPalmCrop::piMapNIRx[0]);
    EXPECT_EQ(0x0101, CPalmCrop::piMapNIRx[499]);
    std::remove(path.c_str());
}

TEST_F(tables_reset, MissingFileAndNullTagAreRefused) {
    unsigned char const tag[8] = {0};
    EXPECT_FALSE(palm_algorithm::load_calib_mapping_file("/nonexistent/palm.map", tag));
    EXPECT_FALSE(palm_algorithm::load_calib_mapping_file("/nonexistent/palm.map", nullptr));
    CPalmCrop::AllocateMappingTable();
    EXPECT_FALSE(palm_algorithm::store_calib_mapping_file("/nonexistent/dir/palm.map", tag));
    EXPECT_FALSE(palm_algorithm::store_calib_mapping_file(palm_test::temp_file("x.map"), nullptr));
}

TEST(LensMappingDestructor, CropObjectReleasesTheTables) {
    CPalmCrop::AllocateMappingTable();
    { CPalmCrop crop; }
    EXPECT_EQ(nullptr, CPalmCrop::piMapNIRx);
    EXPECT_EQ(nullptr, CPalmCrop::piMapVLy);
}
