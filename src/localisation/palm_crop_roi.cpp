// Region geometry of the crop object: the square built on the key points in
// each camera's normal plane, its checks, the resampling through the lens
// tables, the tilted views, and where the palm lies in the frame.
#include <cmath>
#include <cstdint>

#include "palm/image/angle_helpers.h"
#include "palm/localisation/palm_crop.h"
#include "palm/localisation/rounding.h"

using palm_share::CYImage;
using palm_share::palm_image;
using palm_struct::_crop_results;
using palm_struct::_point;
using palm_struct::cp_single;

namespace palm_algorithm {

namespace {

// 0.13 in Q15, truncated.
const std::int32_t OFFSET_RATIO_Q15 = 4259;
// 1.5 in Q14.
const std::int32_t EDGE_SHIFT_Q14 = 24576;
const double ONE_OVER_109 = 0.009174311926605505;
const int STEP_DIVISOR = 109;

// Arithmetic shift right by n plus bit n-1 of m.
std::int32_t round_shift(std::int32_t m, int n) {
    return (m >> n) + ((m >> (n - 1)) & 1);
}

// Products kept on 32 bits, wrapping as the fixed-point design does.
std::int32_t mul32(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

std::int32_t sign_extend_18(std::int32_t v) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v) << 14) >> 14;
}

// x << P_BLI without shifting a negative value.
int to_q10(int v) {
    return v * (1 << CPalmCrop::P_BLI);
}

// Raw position of a normal position, then the pixel there.
unsigned char sample(const CYImage& src, int x, int y, bool nir) {
    _point<int> raw{0, 0};
    CPalmCrop::MappingForward(_point<int>{x, y}, raw, nir);
    return src.Interpolation(raw.x, raw.y, CPalmCrop::P_LUT);
}

}  // namespace

void CPalmCrop::FindROICorner(_point<int>* key, _point<int>* corner) {
    _point<int> const p0 = key[0];
    _point<int> const p1 = key[1];
    double const angle = palm_share::GetRotateAngle(p0, p1);
    double const dx = p0.x - p1.x;
    double const dy = p0.y - p1.y;
    std::int32_t const d = static_cast<std::int32_t>(std::sqrt(dx * dx + dy * dy) + 0.5);
    if (d == 0)
        return;
    std::int32_t const c = static_cast<std::int32_t>(std::cos(angle) * 32768);
    std::int32_t const s = static_cast<std::int32_t>(std::sin(angle) * 32768);
    std::int32_t const o = round_shift(mul32(OFFSET_RATIO_Q15, d), 15);
    std::int32_t const ox = round_shift(mul32(o, c), 15);
    std::int32_t const oy = round_shift(mul32(o, s), 15);
    std::int32_t const ax = p0.x - ox, ay = p0.y + oy;
    std::int32_t const bx = p1.x + ox, by = p1.y - oy;
    std::int32_t const sx = round_shift(mul32(EDGE_SHIFT_Q14, oy), 14);
    std::int32_t const sy = round_shift(mul32(EDGE_SHIFT_Q14, -ox), 14);
    corner[0] = _point<int>{ax - sx, ay + sy};
    corner[1] = _point<int>{bx - sx, by + sy};
    std::int32_t const u = sign_extend_18(corner[0].x - corner[1].x);
    std::int32_t const v = sign_extend_18(corner[0].y - corner[1].y);
    corner[2] = _point<int>{corner[0].x - v, corner[0].y + u};
    corner[3] = _point<int>{corner[1].x - v, corner[1].y + u};
}

void CPalmCrop::FindROICornerBoth(const _point<int>& key0, const _point<int>& key1,
                                  _crop_results& res) {
    res.nir_key[0] = key0;
    res.nir_key[1] = key1;
    for (int i = 0; i < 2; ++i)
        Distort2Normal(res.nir_key[i], res.nir_key_normal[i], true);
    for (int i = 0; i < 2; ++i)
        NIR2VL_Normal(res.nir_key_normal[i], res.vl_key_normal[i]);
    for (int i = 0; i < 2; ++i)
        Normal2Distort(res.vl_key_normal[i], res.vl_key[i], false);
    // The VL square is built on the VL key points, not mapped from the NIR one.
    FindROICorner(res.nir_key_normal, res.nir_corner_normal);
    FindROICorner(res.vl_key_normal, res.vl_corner_normal);
    for (int i = 0; i < 4; ++i)
        Normal2Distort(res.nir_corner_normal[i], res.nir_corner[i], true);
    for (int i = 0; i < 4; ++i)
        Normal2Distort(res.vl_corner_normal[i], res.vl_corner[i], false);
}

int CPalmCrop::CheckROICorner(int width, int height, const _crop_results& res) {
    int const ncx = round_half_away(_calibPara.nir.center_x);
    int const ncy = round_half_away(_calibPara.nir.center_y);
    int const vcx = round_half_away(_calibPara.vl.center_x);
    int const vcy = round_half_away(_calibPara.vl.center_y);
    auto check = [&](const _point<int>& p, int cx, int cy) {
        if (p.x < 0 || p.x >= width || p.y < 0 || p.y >= height)
            return 9;
        long long const dx = p.x - cx;
        long long const dy = p.y - cy;
        if (dx * dx + dy * dy >= static_cast<long long>(ROI_RADIUS) * ROI_RADIUS)
            return 10;
        return 0;
    };
    for (int i = 0; i < 4; ++i) {
        int code = check(res.nir_corner[i], ncx, ncy);
        if (code != 0)
            return code;
        code = check(res.vl_corner[i], vcx, vcy);
        if (code != 0)
            return code;
    }
    return 0;
}

int CPalmCrop::GetCropSize(const _point<int>& a, const _point<int>& b) {
    double const dx = static_cast<double>(a.x) - b.x;
    double const dy = static_cast<double>(a.y) - b.y;
    return static_cast<int>(std::sqrt(dx * dx + dy * dy) + 0.5);
}

void CPalmCrop::GetCropStep(int size, double angle, int& step_cos, int& step_sin) {
    double const s = size * ONE_OVER_109;
    step_cos = static_cast<int>(std::cos(angle) * s);
    step_sin = static_cast<int>(std::sin(angle) * s);
}

void CPalmCrop::CropRectify(const CYImage& src, CYImage& dst, bool nir, const _crop_results& res) {
    if (!dst.Create(SUB_IMG_WIDTH, SUB_IMG_HEIGHT, static_cast<unsigned char>(0)))
        return;
    const _point<int>* corner = nir ? res.nir_corner_normal : res.vl_corner_normal;
    _point<int> const c0 = corner[0];
    _point<int> const c1 = corner[1];
    double const angle = palm_share::GetRotateAngle(c0, c1);
    int const size = GetCropSize(_point<int>{to_q10(c0.x), to_q10(c0.y)},
                                 _point<int>{to_q10(c1.x), to_q10(c1.y)});
    int step_cos = 0, step_sin = 0;
    GetCropStep(size, angle, step_cos, step_sin);
    int const x0 = to_q10(c0.x);
    int const y0 = to_q10(c0.y);
    for (int i = 0; i < SUB_IMG_HEIGHT; ++i) {
        unsigned char* row = dst[i];
        for (int j = 0; j < SUB_IMG_WIDTH; ++j) {
            int const x = (x0 - step_sin * i + step_cos * j) >> P_BLI;
            int const y = (y0 - step_cos * i - step_sin * j) >> P_BLI;
            row[j] = sample(src, x, y, nir);
        }
    }
}

bool CPalmCrop::CropRectify_General(const palm_image& src, palm_image& dst, _point<int>* corner,
                                    bool nir) {
    if (!dst.Create(SUB_IMG_WIDTH, SUB_IMG_HEIGHT, static_cast<unsigned char>(0)))
        return false;
    _point<int> const c0 = corner[0], c1 = corner[1], c2 = corner[2], c3 = corner[3];
    for (int i = 0; i < SUB_IMG_HEIGHT; ++i) {
        int const lx = to_q10(c0.x) - to_q10(i * (c0.x - c2.x)) / STEP_DIVISOR;
        int const ly = to_q10(c0.y) - to_q10(i * (c0.y - c2.y)) / STEP_DIVISOR;
        int const rx = to_q10(c1.x) - to_q10(i * (c1.x - c3.x)) / STEP_DIVISOR;
        int const ry = to_q10(c1.y) - to_q10(i * (c1.y - c3.y)) / STEP_DIVISOR;
        unsigned char* row = dst[i];
        for (int j = 0; j < SUB_IMG_WIDTH; ++j) {
            int const x = ((j * (rx - lx)) / STEP_DIVISOR + lx) >> P_BLI;
            int const y = ((j * (ry - ly)) / STEP_DIVISOR + ly) >> P_BLI;
            row[j] = sample(src, x, y, nir);
        }
    }
    return true;
}

namespace {

// One tilt of 10 degrees about the horizontal (about_x) or the vertical axis
// through the lens centre. Along the pivot line the coordinate is scaled;
// across it, D is the distance from the pivot line.
void tilt_point(const _point<int>& in, _point<int>& out, int sign, const cp_single& cp,
                bool about_x, bool to_standard) {
    double const d = about_x ? in.y - cp.center_y : in.x - cp.center_x;
    if (d == 0) {
        out = in;
        return;
    }
    double const t = d * CPalmCrop::SIN_AFFINE * sign;
    double const along_centre = about_x ? cp.center_x : cp.center_y;
    double const along = about_x ? in.x : in.y;
    double const along_focal = about_x ? cp.focal_x : cp.focal_y;
    double const across_centre = about_x ? cp.center_y : cp.center_x;
    double const across_focal = about_x ? cp.focal_y : cp.focal_x;
    double new_along, new_across;
    if (to_standard) {
        new_along = along_centre + (along - along_centre) * along_focal / (t + along_focal);
        new_across = across_centre + across_focal * CPalmCrop::COS_AFFINE * d / (t + across_focal);
    } else {
        double const a = along_focal * CPalmCrop::COS_AFFINE;
        double const b = across_focal * CPalmCrop::COS_AFFINE;
        new_along = along_centre + (along - along_centre) * a / (a - t);
        new_across = across_centre + d * b / (b - t);
    }
    out.x = round_half_away(about_x ? new_along : new_across);
    out.y = round_half_away(about_x ? new_across : new_along);
}

}  // namespace

void CPalmCrop::Incline2Standard_X(const _point<int>& in, _point<int>& out, int sign,
                                   const cp_single& cp) {
    tilt_point(in, out, sign, cp, true, true);
}

void CPalmCrop::Standard2Incline_X(const _point<int>& in, _point<int>& out, int sign,
                                   const cp_single& cp) {
    tilt_point(in, out, sign, cp, true, false);
}

void CPalmCrop::Incline2Standard_Y(const _point<int>& in, _point<int>& out, int sign,
                                   const cp_single& cp) {
    tilt_point(in, out, sign, cp, false, true);
}

void CPalmCrop::Standard2Incline_Y(const _point<int>& in, _point<int>& out, int sign,
                                   const cp_single& cp) {
    tilt_point(in, out, sign, cp, false, false);
}

void CPalmCrop::AffineTransform(const palm_image& src, std::vector<palm_image>& out, bool nir,
                                const _crop_results& res) {
    const _point<int>* k = nir ? res.nir_key_normal : res.vl_key_normal;
    const cp_single& cp = nir ? _calibPara.nir : _calibPara.vl;
    typedef void (*tilt)(const _point<int>&, _point<int>&, int, const cp_single&);
    struct view {
        tilt to_standard;
        tilt to_incline;
        int sign;
    };
    view const views[4] = {{Incline2Standard_X, Standard2Incline_X, 1},
                           {Incline2Standard_X, Standard2Incline_X, -1},
                           {Incline2Standard_Y, Standard2Incline_Y, 1},
                           {Incline2Standard_Y, Standard2Incline_Y, -1}};
    // Kept across the views: a degenerate key pair leaves the previous square.
    _point<int> corner[4] = {};
    for (const view& v : views) {
        _point<int> key[2];
        v.to_standard(k[0], key[0], v.sign, cp);
        v.to_standard(k[1], key[1], v.sign, cp);
        FindROICorner(key, corner);
        _point<int> tilted[4];
        for (int i = 0; i < 4; ++i)
            v.to_incline(corner[i], tilted[i], v.sign, cp);
        palm_image image;
        CropRectify_General(src, image, tilted, nir);
        out.push_back(image);
    }
}

void CPalmCrop::GetPalmCenter(_crop_results& res, int half_width, int half_height) {
    int vx = 0, vy = 0, nx = 0, ny = 0;
    for (int i = 0; i < 4; ++i) {
        vx += res.vl_corner[i].x;
        vy += res.vl_corner[i].y;
        nx += res.nir_corner[i].x;
        ny += res.nir_corner[i].y;
    }
    res.palm_offset_x = ((vx / 4 - half_width) + (nx / 4 - half_width)) / 2;
    res.palm_offset_y = ((vy / 4 - half_height) + (ny / 4 - half_height)) / 2;
}

palm_position CPalmCrop::GetPalmPos(const _crop_results& res) {
    long long const x = res.palm_offset_x;
    long long const y = res.palm_offset_y;
    if (std::sqrt(static_cast<double>(x * x + y * y)) <= MAX_DIST_TO_CENTER)
        return POS_OK;
    if (x >= 0 && y >= 0)
        return x < y ? POS_UP : POS_RIGHT;
    if (x >= 0 && y < 0)
        return x < -y ? POS_DOWN : POS_RIGHT;
    if (x < 0 && y >= 0)
        return y > -x ? POS_UP : POS_LEFT;
    if (x < 0 && y < 0)
        return -x < -y ? POS_DOWN : POS_LEFT;
    return POS_UNKNOWN;
}

}  // namespace palm_algorithm
