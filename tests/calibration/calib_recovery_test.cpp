// The calibration recovers the lenses and the homography a synthetic board
// was rendered through: the default calibration and perturbed ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "palm/calibration/board_extraction.h"
#include "palm/calibration/calib_estimation.h"
#include "palm/calibration/lm_optimize.h"
#include "palm/calibration/single_frame_calib_calc.h"
#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"
#include "sim/synthetic_board.h"
#include "sim/synthetic_camera.h"
#include "support/emulation.h"

using palm_algorithm::CPalmCrop;
using palm_struct::_point;
using palm_struct::calib_data;
using palm_struct::cp_single;
using palm_struct::matrix;

namespace {

// The sanitizer builds and emulation run a few of the lenses and hands; the
// plain build runs them all.
#if defined(__SANITIZE_ADDRESS__)
const bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
const bool kSanitized = true;
#else
const bool kSanitized = palm_test::under_emulation();
#endif
#else
const bool kSanitized = palm_test::under_emulation();
#endif
const std::uint32_t kPerturbedLenses = kSanitized ? 2 : 5;
const int kHandsPerLens = kSanitized ? 3 : 12;

double dist(_point<double> a, _point<double> b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

// Scales a lens about its centre and moves the centre; the focal scales
// follow the vanishing points as the calibration derives them.
cp_single perturb_lens(cp_single cp, double dx, double dy, double sx, double sy) {
    cp.center_x += dx;
    cp.center_y += dy;
    cp.left = {cp.left.x * sx, cp.left.y * sx};
    cp.right = {cp.right.x * sx, cp.right.y * sx};
    cp.top = {cp.top.x * sy, cp.top.y * sy};
    cp.bottom = {cp.bottom.x * sy, cp.bottom.y * sy};
    cp.focal_x = dist(cp.left, cp.right) * palm_calib::INV_PI;
    cp.focal_y = dist(cp.top, cp.bottom) * palm_calib::INV_PI;
    return cp;
}

calib_data perturbed_calibration(std::uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    calib_data c = palm_algorithm::default_calib_data();
    c.nir = perturb_lens(c.nir, 15 * u(rng), 15 * u(rng), 1 + 0.08 * u(rng), 1 + 0.08 * u(rng));
    c.vl = perturb_lens(c.vl, 15 * u(rng), 15 * u(rng), 1 + 0.08 * u(rng), 1 + 0.08 * u(rng));
    // A slightly different homography: the VL plane scaled and shifted. A
    // turn is left out: the board would then stand turned in the VL plane,
    // and a turned board cannot be told from a turned lens, so the
    // calibration gives the turn to the VL lens and not to the homography.
    double const sx = 1 + 0.02 * u(rng), sy = 1 + 0.02 * u(rng);
    double const tx = 0.03 * u(rng), ty = 0.03 * u(rng);
    double const m[9] = {sx, 0, tx, 0, sy, ty, 0, 0, 1};
    double h[9];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            h[i * 3 + j] = 0;
            for (int k = 0; k < 3; ++k)
                h[i * 3 + j] += m[i * 3 + k] * c.nir_to_vl[k * 3 + j];
        }
    }
    std::copy(h, h + 9, c.nir_to_vl);
    return c;
}

struct recovery {
    double centre = 0;      // pixels, worse camera
    double focal = 0;       // relative, worse axis and camera
    double homography = 0;  // normalised units, worst crossing
    double table = 0;       // pixels, worst grid point of either camera's table
};

// Worst distance between the raw positions the tables of `got` give for a
// grid of normal-plane points and those of the true model.
double table_error(const calib_data& truth, const calib_data& got) {
    calib_data const saved = CPalmCrop::_calibPara;
    CPalmCrop::set_calib_para(got, true);
    double worst = 0;
    for (int y = 0; y < 480; y += 16) {
        for (int x = 0; x < 640; x += 16) {
            for (int cam = 0; cam < 2; ++cam) {
                const cp_single& cp = cam == 0 ? truth.nir : truth.vl;
                _point<double> raw{0, 0};
                palm_algorithm::MappingForward(_point<double>{x - cp.center_x, y - cp.center_y},
                                               raw, cp);
                std::size_t const i = std::size_t(y) * 640 + x;
                double const tx = (cam == 0 ? CPalmCrop::piMapNIRx : CPalmCrop::piMapVLx)[i] / 64.0;
                double const ty = (cam == 0 ? CPalmCrop::piMapNIRy : CPalmCrop::piMapVLy)[i] / 64.0;
                worst = std::max(worst, dist({tx, ty}, {raw.x + cp.center_x, raw.y + cp.center_y}));
            }
        }
    }
    CPalmCrop::set_calib_para(saved, true);
    return worst;
}

recovery compare(const calib_data& truth, const calib_data& got) {
    recovery r;
    for (int cam = 0; cam < 2; ++cam) {
        const cp_single& t = cam == 0 ? truth.nir : truth.vl;
        const cp_single& g = cam == 0 ? got.nir : got.vl;
        r.centre = std::max(r.centre, dist({t.center_x, t.center_y}, {g.center_x, g.center_y}));
        r.focal = std::max(r.focal, std::fabs(g.focal_x / t.focal_x - 1));
        r.focal = std::max(r.focal, std::fabs(g.focal_y / t.focal_y - 1));
    }
    calib_data with_true_h = truth;
    calib_data with_got_h = truth;
    std::copy(got.nir_to_vl, got.nir_to_vl + 9, with_got_h.nir_to_vl);
    for (int h = 0; h < 8; ++h) {
        for (int v = 0; v < 8; ++v) {
            _point<double> const q = palm_test::board_crossing_nir_normalised(h, v);
            r.homography =
                std::max(r.homography, dist(palm_test::nir_to_vl_normalised(with_true_h, q),
                                            palm_test::nir_to_vl_normalised(with_got_h, q)));
        }
    }
    r.table = table_error(truth, got);
    return r;
}

void print(const char* what, const calib_data& truth, const calib_data& got, const recovery& r) {
    std::printf(
        "%s: nir centre (%.2f, %.2f) -> (%.2f, %.2f) focal (%.2f, %.2f) -> (%.2f, %.2f); vl centre "
        "(%.2f, %.2f) -> (%.2f, %.2f) focal (%.2f, %.2f) -> (%.2f, %.2f)\n  worst: centre %.3f px, "
        "focal %.4f %%, homography %.5f, tables %.3f px\n",
        what, truth.nir.center_x, truth.nir.center_y, got.nir.center_x, got.nir.center_y,
        truth.nir.focal_x, truth.nir.focal_y, got.nir.focal_x, got.nir.focal_y, truth.vl.center_x,
        truth.vl.center_y, got.vl.center_x, got.vl.center_y, truth.vl.focal_x, truth.vl.focal_y,
        got.vl.focal_x, got.vl.focal_y, r.centre, 100 * r.focal, r.homography, r.table);
}

void expect_recovered(const char* what, const calib_data& truth,
                      const palm_test::board_options& o) {
    palm_test::board_frames const f = palm_test::render_board(&truth, o);
    palm_algorithm::single_frame_calib_calc calc;
    calib_data got;
    ASSERT_EQ(0, calc.calib_calc(f.nir, f.vl, got)) << what;
    recovery const r = compare(truth, got);
    print(what, truth, got, r);
    EXPECT_LE(r.centre, 3.0) << what;
    EXPECT_LE(r.focal, 0.01) << what;
    EXPECT_LE(r.homography, 0.01) << what;
    EXPECT_LE(r.table, 3.0) << what;
}

}  // namespace

TEST(CalibRecovery, DefaultCalibration) {
    expect_recovered("default", palm_algorithm::default_calib_data(), palm_test::board_options());
}

TEST(CalibRecovery, PerturbedLenses) {
    for (std::uint32_t seed = 1; seed <= kPerturbedLenses; ++seed) {
        char what[32];
        std::snprintf(what, sizeof what, "perturbed %u", seed);
        expect_recovered(what, perturbed_calibration(seed), palm_test::board_options());
    }
}

namespace {

// Mean offset of the skeleton pixels of each curve of one family from its
// true curve, pixels, along y for the across family and x for the down
// family; entry 0 is the mean over all curves.
std::vector<double> leans(const palm_share::palm_image& labels, const cp_single& cp, bool across) {
    std::vector<double> out(9, 0.0);
    double all = 0;
    int n_all = 0;
    _point<double> const a{cp.center_x + (across ? cp.left.x : cp.top.x),
                           cp.center_y + (across ? cp.left.y : cp.top.y)};
    _point<double> const b{cp.center_x + (across ? cp.right.x : cp.bottom.x),
                           cp.center_y + (across ? cp.right.y : cp.bottom.y)};
    for (int k = 1; k <= 8; ++k) {
        _point<double> const q = across ? _point<double>{0, palm_test::BOARD_ACROSS[k - 1]}
                                        : _point<double>{palm_test::BOARD_DOWN[k - 1], 0};
        palm_struct::SCircle c{0, 0, 0};
        palm_geometry::CalcCircle(a, b, palm_test::normalised_to_raw(cp, q), c);
        double sum = 0;
        int n = 0;
        for (int y = 0; y < labels.GetHeight(); ++y) {
            for (int x = 0; x < labels.GetWidth(); ++x) {
                if (labels[y][x] != k)
                    continue;
                double const along = across ? x - c.x : y - c.y;
                double const off = std::sqrt(c.r * c.r - along * along);
                double const pos = across ? y : x;
                double const centre = across ? c.y : c.x;
                double const on = std::fabs(centre + off - pos) < std::fabs(centre - off - pos)
                                      ? centre + off
                                      : centre - off;
                sum += pos - on;
                ++n;
            }
        }
        out[k] = n ? sum / n : 0;
        all += sum;
        n_all += n;
    }
    out[0] = n_all ? all / n_all : 0;
    return out;
}

// The lens of one camera from its skeletons, with the pixels of each curve
// first moved back by that curve's lean (or by none).
cp_single fit_moved(const palm_share::palm_image& hori, const palm_share::palm_image& vert,
                    const std::vector<double>* lean_h, const std::vector<double>* lean_v) {
    matrix<double> fitted[2];
    for (int family = 0; family < 2; ++family) {
        const palm_share::palm_image& labels = family == 0 ? hori : vert;
        const std::vector<double>* lean = family == 0 ? lean_h : lean_v;
        int flags[8];
        matrix<double> p, points, counts;
        palm_calib::EstimateInitPara(labels, flags, 8, p);
        palm_calib::GetCurveData(labels, flags, 8, points, counts);
        unsigned i = 0, c = 0;
        for (int k = 1; k <= 8 && lean; ++k) {
            if (!flags[k - 1])
                continue;
            for (unsigned end = i + unsigned(counts.data[c++]); i < end; ++i)
                points[family == 0 ? 1 : 0][i] -= (*lean)[k];
        }
        palm_calib::LM_Optimize(points, counts, p, fitted[family], 1e-6, 1e-6, 1000);
    }
    cp_single cp;
    palm_calib::CalcIntrinsicPara(fitted[0], fitted[1], cp);
    return cp;
}

}  // namespace

// Thinning keeps the upper or left side of a two-pixel edge band, so each
// skeleton leans up or left by a fraction of a pixel; the vanishing points
// lie far outside the frame and magnify that into the lens centre. Moving
// each curve back by its measured mean lean removes a good part of the
// centre error.
TEST(CalibRecovery, ThinningLeanAndItsShareOfTheCentreError) {
    calib_data const truth = palm_algorithm::default_calib_data();
    palm_test::board_frames const f = palm_test::render_board(&truth, palm_test::board_options());
    palm_share::palm_image src(f.nir);
    palm_calib::GrayStretch(src);
    palm_share::palm_image h(640, 480), v(640, 480);
    matrix<double> points(64, 2);
    ASSERT_EQ(1, palm_calib::ExtractCurveAndPoints(src, h, v, points));
    std::vector<double> const lean_h = leans(h, truth.nir, true);
    std::vector<double> const lean_v = leans(v, truth.nir, false);
    cp_single const as_is = fit_moved(h, v, nullptr, nullptr);
    cp_single const moved = fit_moved(h, v, &lean_h, &lean_v);
    _point<double> const centre{truth.nir.center_x, truth.nir.center_y};
    double const error = dist({as_is.center_x, as_is.center_y}, centre);
    double const left = dist({moved.center_x, moved.center_y}, centre);
    std::printf("thinning lean per curve, across (y):");
    for (int k = 1; k <= 8; ++k)
        std::printf(" %.2f", lean_h[k]);
    std::printf("; down (x):");
    for (int k = 1; k <= 8; ++k)
        std::printf(" %.2f", lean_v[k]);
    std::printf(
        "\nNIR centre error %.3f px, %.3f px once each curve is moved back by its lean: %.0f %% "
        "of the error comes from the lean\n",
        error, left, 100 * (error - left) / error);
    for (int k = 1; k <= 8; ++k) {
        EXPECT_LT(lean_h[k], 0.0) << k;
        EXPECT_GT(lean_h[k], -0.7) << k;
        EXPECT_LT(lean_v[k], 0.0) << k;
        EXPECT_GT(lean_v[k], -0.7) << k;
    }
    // The rest comes from the lean changing along each curve with the
    // sub-pixel phase of its edge, and from the pixel grid.
    EXPECT_LT(left, 0.75 * error);
}

// The crop finds the webs of synthetic hands rendered through a lens once
// the device runs on the calibration recovered from a board seen through
// that lens, as it does on the default one.
TEST(CalibRecovery, CropRunsOnTheRecoveredLens) {
    calib_data const saved = CPalmCrop::_calibPara;
    int const frames = kHandsPerLens;
    for (std::uint32_t seed : {0u, 2u, 4u}) {
        calib_data const truth =
            seed == 0 ? palm_algorithm::default_calib_data() : perturbed_calibration(seed);
        palm_test::board_frames const f =
            palm_test::render_board(&truth, palm_test::board_options());
        palm_algorithm::single_frame_calib_calc calc;
        calib_data got;
        ASSERT_EQ(0, calc.calib_calc(f.nir, f.vl, got));
        CPalmCrop::set_calib_para(got, true);
        int succeeded = 0, located = 0;
        double worst = 0;
        for (int i = 0; i < frames; ++i) {
            palm_test::camera_frame const hand = palm_test::render_frame_pair(
                40 + i, palm_test::random_usable_pose(i, palm_test::difficulty::easy), &truth);
            std::vector<palm_share::image_pair> out;
            palm_struct::_crop_results res;
            if (palm_algorithm::get_crop_inst()->Crop(hand.frames, out, res) != 0)
                continue;
            ++succeeded;
            double e = 0;
            for (int k = 0; k < 2; ++k)
                e = std::max(
                    e, dist({double(res.nir_key[k].x), double(res.nir_key[k].y)}, hand.nir_key[k]));
            worst = std::max(worst, e);
            located += e <= 4.0 ? 1 : 0;
        }
        std::printf("lens %u: crop succeeded on %d of %d hands, %d within 4 px, worst %.2f px\n",
                    seed, succeeded, frames, located, worst);
        EXPECT_GE(succeeded, frames - 1) << seed;
        EXPECT_EQ(succeeded, located) << seed;
    }
    CPalmCrop::set_calib_para(saved, true);
}

TEST(CalibRecovery, BlurUnevenLightAndNoise) {
    palm_test::board_options o;
    o.blur = 0.8;
    o.light = 0.35;
    o.noise = 2.5;
    o.seed = 11;
    expect_recovered("default, blurred, uneven, noisy", palm_algorithm::default_calib_data(), o);
    if (kSanitized)
        return;
    o.seed = 12;
    expect_recovered("perturbed 3, blurred, uneven, noisy", perturbed_calibration(3), o);
}
