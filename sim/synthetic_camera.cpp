#include "sim/synthetic_camera.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <mutex>
#include <random>
#include <vector>

#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"
#include "sim/plane_homography.h"

using palm_struct::_point;
using palm_struct::calib_data;
using palm_struct::cp_single;

namespace palm_test {

namespace {

const int kWidth = 640;
const int kHeight = 480;
const int kHalfWidth = kWidth / 2;
const int kHalfHeight = kHeight / 2;
const double kPi = 3.14159265358979323846;
const double kDeg = kPi / 180.0;
// Raw positions are mapped to the normal plane on a grid of this step and
// interpolated in between: the lens model is smooth at that scale.
const int kGridStep = 4;
const int kGridW = kWidth / kGridStep + 1;
const int kGridH = kHeight / kGridStep + 1;
// Focal length of the tilt model, pixels.
const double kTiltFocal = 300.0;

// Nominal hand, in hand units (raw pixels at scale 1), palm centre at the
// origin, fingers toward +y.
const double kPalmHalfWidth = 88.0;
const double kPalmTop = -95.0;
const double kPalmBottom = 85.0;
const double kWristHalfWidth = 84.0;
const double kFingerRadius = 14.0;
const double kFingerBaseY = 73.0;
const double kFingerX[4] = {-72.0, -24.0, 24.0, 72.0};
const double kNotchX[3] = {-48.0, 0.0, 48.0};
const double kNotchRadius = 10.0;
// Where the crop's outline sample of a web lies against the rim of the
// notch, raw pixels. The outline is the layer of hand pixels at half
// resolution that touch the background. The edge-preserving clean-up of
// the mask clears the hand's outermost layer (a pixel on the rim has more
// than a quarter of its disc in the dark), so the layer traced is the
// second one, whose pixel centres lie one to two half-resolution pixels
// inside the rim: 1.5 on average, 3 raw pixels.
const double kInnerBoundary = 3.0;
// The radius smoothing window runs from 10 samples before the sample it
// writes to 8 after it, so it is centred one sample behind: the lowest
// smoothed radius is reported one outline step (a half-resolution pixel,
// 2 raw pixels) further along the walk than the lowest radius itself.
const double kWalkAhead = 2.0;
// Rays cast from the hand's centroid to find the part of the hand seen
// from it, and their step in half-resolution pixels.
const int kCentreRays = 720;
const double kRayStep = 0.5;

// Share of the common lines in the print against that in the vein image.
const double kPrintShare = 0.6;

// Texture of lines over the palm, hand units.
const int kTexX0 = -170, kTexY0 = -180, kTexW = 340, kTexH = 440;

struct line {
    double x0, y0, x1, y1, x2, y2, width, depth;
};

struct hand_model {
    int side;  // +1: thumb on the right of the screen, -1: on the left
    double finger_length[4];
    double finger_angle[4];  // radians, toward +x positive
    double thumb_angle;
    double nir_level, vl_level;
    std::vector<float> vein;  // darkening, kTexW x kTexH
    std::vector<float> print;
    // Where this hand has the lines all hands share, against the common
    // layout, hand units.
    double common_dx, common_dy;
};

// The lines every hand has alike: the main creases and vein trunks.
struct common_lines {
    std::vector<float> vein;
    std::vector<float> print;
};

struct lens_grid {
    bool valid = false;
    calib_data calib;
    std::vector<_point<double>> nir;  // raw NIR -> NIR normal
    std::vector<_point<double>> vl;   // raw VL -> NIR normal
};

double clamp01(double v) {
    return v < 0 ? 0 : (v > 1 ? 1 : v);
}

double segment_distance(double px, double py, double ax, double ay, double bx, double by) {
    double const vx = bx - ax, vy = by - ay;
    double const len2 = vx * vx + vy * vy;
    double t = len2 > 0 ? ((px - ax) * vx + (py - ay) * vy) / len2 : 0.0;
    t = std::min(1.0, std::max(0.0, t));
    double const dx = px - (ax + t * vx), dy = py - (ay + t * vy);
    return std::sqrt(dx * dx + dy * dy);
}

double box_distance(double px, double py, double x0, double y0, double x1, double y1) {
    double const cx = (x0 + x1) / 2, cy = (y0 + y1) / 2;
    double const qx = std::fabs(px - cx) - (x1 - x0) / 2;
    double const qy = std::fabs(py - cy) - (y1 - y0) / 2;
    double const ox = std::max(qx, 0.0), oy = std::max(qy, 0.0);
    return std::sqrt(ox * ox + oy * oy) + std::min(std::max(qx, qy), 0.0);
}

_point<double> finger_tip(const hand_model& h, int i) {
    return {kFingerX[i] + h.finger_length[i] * std::sin(h.finger_angle[i]),
            kFingerBaseY + h.finger_length[i] * std::cos(h.finger_angle[i])};
}

// Signed distance to the hand outline, hand units, negative inside. x is
// already mirrored so that the thumb lies toward +x.
double hand_distance(const hand_model& h, double x, double y) {
    double palm = box_distance(x, y, -kPalmHalfWidth, kPalmTop, kPalmHalfWidth, kPalmBottom);
    for (double nx : kNotchX) {
        double const notch =
            (y < kFingerBaseY ? std::hypot(x - nx, y - kFingerBaseY) : std::fabs(x - nx)) -
            kNotchRadius;
        palm = std::max(palm, -notch);
    }
    double d = palm;
    d = std::min(d, box_distance(x, y, -kWristHalfWidth, -2000.0, kWristHalfWidth, kPalmTop + 40));
    for (int i = 0; i < 4; ++i) {
        _point<double> const tip = finger_tip(h, i);
        d = std::min(
            d, segment_distance(x, y, kFingerX[i], kFingerBaseY, tip.x, tip.y) - kFingerRadius);
    }
    double const tx = 70.0 + 105.0 * std::sin(h.thumb_angle);
    double const ty = -30.0 + 105.0 * std::cos(h.thumb_angle);
    d = std::min(d, segment_distance(x, y, 70.0, -75.0, tx, ty) - 21.0);
    return d;
}

line random_line(std::mt19937& rng, double min_len, double max_len, double min_w, double max_w,
                 double min_d, double max_d) {
    std::uniform_real_distribution<double> px(-80.0, 80.0), py(-90.0, 80.0), ang(0.0, kPi);
    std::uniform_real_distribution<double> len(min_len, max_len), bend(-0.25, 0.25);
    std::uniform_real_distribution<double> wid(min_w, max_w), dep(min_d, max_d);
    double const cx = px(rng), cy = py(rng), a = ang(rng), l = len(rng);
    double const ux = std::cos(a), uy = std::sin(a), b = bend(rng) * l;
    line r;
    r.x0 = cx - ux * l / 2;
    r.y0 = cy - uy * l / 2;
    r.x2 = cx + ux * l / 2;
    r.y2 = cy + uy * l / 2;
    r.x1 = cx - uy * b;
    r.y1 = cy + ux * b;
    r.width = wid(rng);
    r.depth = dep(rng);
    return r;
}

// Lines add up their darkening, or with `deepest` the darkest one counts.
std::vector<float> draw_lines(const std::vector<line>& lines, bool deepest) {
    const int segments = 16;
    std::vector<float> tex(static_cast<std::size_t>(kTexW) * kTexH, 0.0f);
    for (const line& l : lines) {
        double px[segments + 1], py[segments + 1];
        double minx = 1e9, maxx = -1e9, miny = 1e9, maxy = -1e9;
        for (int i = 0; i <= segments; ++i) {
            double const t = static_cast<double>(i) / segments, s = 1 - t;
            px[i] = s * s * l.x0 + 2 * s * t * l.x1 + t * t * l.x2 - kTexX0;
            py[i] = s * s * l.y0 + 2 * s * t * l.y1 + t * t * l.y2 - kTexY0;
            minx = std::min(minx, px[i]);
            maxx = std::max(maxx, px[i]);
            miny = std::min(miny, py[i]);
            maxy = std::max(maxy, py[i]);
        }
        double const reach = 3 * l.width;
        int const x0 = std::max(0, static_cast<int>(minx - reach));
        int const x1 = std::min(kTexW - 1, static_cast<int>(maxx + reach) + 1);
        int const y0 = std::max(0, static_cast<int>(miny - reach));
        int const y1 = std::min(kTexH - 1, static_cast<int>(maxy + reach) + 1);
        // Distance to the curve, segment by segment over each one's own box.
        int const bw = x1 - x0 + 1, bh = y1 - y0 + 1;
        std::vector<double> dist(static_cast<std::size_t>(bw) * bh, 1e9);
        for (int i = 0; i < segments; ++i) {
            int const sx0 = std::max(x0, static_cast<int>(std::min(px[i], px[i + 1]) - reach));
            int const sx1 = std::min(x1, static_cast<int>(std::max(px[i], px[i + 1]) + reach) + 1);
            int const sy0 = std::max(y0, static_cast<int>(std::min(py[i], py[i + 1]) - reach));
            int const sy1 = std::min(y1, static_cast<int>(std::max(py[i], py[i + 1]) + reach) + 1);
            for (int y = sy0; y <= sy1; ++y) {
                for (int x = sx0; x <= sx1; ++x) {
                    double& d = dist[static_cast<std::size_t>(y - y0) * bw + (x - x0)];
                    d = std::min(d, segment_distance(x, y, px[i], py[i], px[i + 1], py[i + 1]));
                }
            }
        }
        for (int y = y0; y <= y1; ++y) {
            for (int x = x0; x <= x1; ++x) {
                double const d = dist[static_cast<std::size_t>(y - y0) * bw + (x - x0)];
                if (d < reach) {
                    float const v =
                        static_cast<float>(l.depth * std::exp(-d * d / (2 * l.width * l.width)));
                    float& t = tex[static_cast<std::size_t>(y) * kTexW + x];
                    t = deepest ? std::max(t, v) : t + v;
                }
            }
        }
    }
    return tex;
}

hand_model make_hand(std::uint32_t identity) {
    std::mt19937 rng(identity * 2654435761u + 12345u);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    hand_model h;
    h.side = (identity & 1) ? -1 : 1;
    double const lengths[4] = {95.0, 125.0, 135.0, 120.0};
    double const angles[4] = {-12.0, -4.0, 3.0, 9.0};
    for (int i = 0; i < 4; ++i) {
        h.finger_length[i] = lengths[i] * (1.0 + 0.08 * u(rng));
        h.finger_angle[i] = (angles[i] + 1.5 * u(rng)) * kDeg;
    }
    h.thumb_angle = (55.0 + 8.0 * u(rng)) * kDeg;
    h.nir_level = 175.0 + 15.0 * u(rng);
    h.vl_level = 155.0 + 15.0 * u(rng);
    // Lines a few pixels wide and well above the sensor noise, so that they
    // survive the resampling to the region and fill it at the coder's scale.
    // A vein network of one light, its crossings no darker than one vein:
    // the mask's clean-up takes darker spots inside the hand for edges.
    std::vector<line> veins, prints;
    int const vein_count = 20 + static_cast<int>(rng() % 5);
    for (int i = 0; i < vein_count; ++i)
        veins.push_back(random_line(rng, 60, 160, 3.5, 6.0, 8, 12));
    // Three principal lines and many creases.
    for (int i = 0; i < 3; ++i)
        prints.push_back(random_line(rng, 90, 160, 2.5, 3.5, 40, 70));
    int const wrinkles = 45 + static_cast<int>(rng() % 11);
    for (int i = 0; i < wrinkles; ++i)
        prints.push_back(random_line(rng, 15, 50, 1.5, 2.5, 18, 32));
    h.vein = draw_lines(veins, true);
    h.print = draw_lines(prints, false);
    std::mt19937 place(identity * 3266489917u + 777u);
    h.common_dx = 1.5 * u(place);
    h.common_dy = 1.5 * u(place);
    return h;
}

common_lines const& shared_lines() {
    static common_lines const lines = [] {
        std::mt19937 rng(20240917u);
        std::vector<line> veins, prints;
        for (int i = 0; i < 10; ++i)
            veins.push_back(random_line(rng, 80, 160, 4.0, 6.0, 8, 12));
        for (int i = 0; i < 3; ++i)
            prints.push_back(random_line(rng, 110, 160, 2.5, 3.5, 40, 70));
        for (int i = 0; i < 20; ++i)
            prints.push_back(random_line(rng, 15, 50, 1.5, 2.5, 18, 32));
        return common_lines{draw_lines(veins, true), draw_lines(prints, false)};
    }();
    return lines;
}

double texture(const std::vector<float>& tex, double x, double y) {
    double const fx = x - kTexX0, fy = y - kTexY0;
    if (fx < 0 || fy < 0 || fx >= kTexW - 1 || fy >= kTexH - 1)
        return 0.0;
    int const ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    double const ax = fx - ix, ay = fy - iy;
    const float* p = &tex[static_cast<std::size_t>(iy) * kTexW + ix];
    return (1 - ay) * ((1 - ax) * p[0] + ax * p[1]) +
           ay * ((1 - ax) * p[kTexW] + ax * p[kTexW + 1]);
}

// VL normal to NIR normal: the inverse of the NIR-to-VL homography.
_point<double> vl_to_nir_normal(const calib_data& c, double x, double y) {
    double const p = (x - c.vl.center_x) / c.vl.focal_x;
    double const q = (y - c.vl.center_y) / c.vl.focal_y;
    _point<double> const n = apply_inverse_homography(c.nir_to_vl, _point<double>{p, q});
    double const a = n.x, b = n.y;
    return {c.nir.center_x + a * c.nir.focal_x, c.nir.center_y + b * c.nir.focal_y};
}

_point<double> raw_to_normal(const cp_single& cp, double x, double y) {
    _point<double> out{0, 0};
    palm_algorithm::MappingBackward(_point<double>{x - cp.center_x, y - cp.center_y}, out, cp);
    return {out.x + cp.center_x, out.y + cp.center_y};
}

const lens_grid& grid_for(const calib_data& calib) {
    static std::mutex mutex;
    static lens_grid grid;
    std::lock_guard<std::mutex> lock(mutex);
    bool const same =
        grid.valid && std::memcmp(&grid.calib.nir, &calib.nir, sizeof(cp_single)) == 0 &&
        std::memcmp(&grid.calib.vl, &calib.vl, sizeof(cp_single)) == 0 &&
        std::memcmp(grid.calib.nir_to_vl, calib.nir_to_vl, sizeof(calib.nir_to_vl)) == 0;
    if (same)
        return grid;
    grid.calib = calib;
    grid.nir.assign(static_cast<std::size_t>(kGridW) * kGridH, _point<double>{0, 0});
    grid.vl = grid.nir;
    for (int gy = 0; gy < kGridH; ++gy) {
        for (int gx = 0; gx < kGridW; ++gx) {
            std::size_t const i = static_cast<std::size_t>(gy) * kGridW + gx;
            double const x = gx * kGridStep, y = gy * kGridStep;
            grid.nir[i] = raw_to_normal(calib.nir, x, y);
            _point<double> const v = raw_to_normal(calib.vl, x, y);
            grid.vl[i] = vl_to_nir_normal(calib, v.x, v.y);
        }
    }
    grid.valid = true;
    return grid;
}

struct pose_transform {
    double cx, cy;  // lens centre of the NIR camera
    double ox, oy;  // palm centre, normal plane
    double c, s;    // rotation
    double scale;
    double tx_c, tx_s, ty_c, ty_s;
    int side;

    // Hand units to NIR normal.
    _point<double> forward(double hx, double hy) const {
        double const x = hx * side * scale, y = hy * scale;
        double u = ox + c * x - s * y - cx;
        double v = oy + s * x + c * y - cy;
        double const d1 = 1 + v * tx_s / kTiltFocal;
        u = u / d1;
        v = v * tx_c / d1;
        double const d2 = 1 + u * ty_s / kTiltFocal;
        u = u * ty_c / d2;
        v = v / d2;
        return {u + cx, v + cy};
    }
    // NIR normal to hand units.
    _point<double> backward(double nx, double ny) const {
        double u = nx - cx, v = ny - cy;
        double uu = u / (ty_c - u * ty_s / kTiltFocal);
        v = v * (1 + uu * ty_s / kTiltFocal);
        u = uu;
        double vv = v / (tx_c - v * tx_s / kTiltFocal);
        u = u * (1 + vv * tx_s / kTiltFocal);
        v = vv;
        double const x = u + cx - ox, y = v + cy - oy;
        double const hx = (c * x + s * y) / scale, hy = (-s * x + c * y) / scale;
        return {hx * side, hy};
    }
};

_point<double> grid_lookup(const std::vector<_point<double>>& g, int x, int y) {
    int const gx = std::min(x / kGridStep, kGridW - 2), gy = std::min(y / kGridStep, kGridH - 2);
    double const ax = (x - gx * kGridStep) / static_cast<double>(kGridStep);
    double const ay = (y - gy * kGridStep) / static_cast<double>(kGridStep);
    const _point<double>* p = &g[static_cast<std::size_t>(gy) * kGridW + gx];
    const _point<double>* q = p + kGridW;
    return {(1 - ay) * ((1 - ax) * p[0].x + ax * p[1].x) + ay * ((1 - ax) * q[0].x + ax * q[1].x),
            (1 - ay) * ((1 - ax) * p[0].y + ax * p[1].y) + ay * ((1 - ax) * q[0].y + ax * q[1].y)};
}

// Cheap sensor noise: a sum of four uniform draws, near Gaussian.
struct noise_source {
    std::uint32_t state;
    double next() {
        double sum = 0;
        for (int i = 0; i < 4; ++i) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            sum += (state & 0xffff) / 65535.0;
        }
        return (sum - 2.0) * 1.7320508075688772;  // unit variance
    }
};

// The centre of the palm as the crop measures radii from it: the centroid of
// the part of the hand that straight rays from the whole hand's centroid
// reach without leaving it, which leaves out most of the fingers and the
// thumb. Half-resolution silhouette in, raw frame position out. The
// outermost ring of the half-resolution image is never hand, as in the
// crop's masks, so a wrist leaving the frame ends one row inside it.
_point<double> palm_centre(const std::vector<unsigned char>& silhouette) {
    auto hand = [&](int x, int y) {
        return x > 0 && y > 0 && x < kHalfWidth - 1 && y < kHalfHeight - 1 &&
               silhouette[static_cast<std::size_t>(y) * kHalfWidth + x] != 0;
    };
    double sx = 0, sy = 0, n = 0;
    for (int y = 0; y < kHalfHeight; ++y)
        for (int x = 0; x < kHalfWidth; ++x)
            if (hand(x, y)) {
                sx += x;
                sy += y;
                n += 1;
            }
    if (n == 0)
        return {0, 0};
    double const cx = sx / n, cy = sy / n;
    std::vector<unsigned char> seen(silhouette.size(), 0);
    for (int r = 0; r < kCentreRays; ++r) {
        double const a = 2 * kPi * r / kCentreRays;
        double const dx = std::cos(a) * kRayStep, dy = std::sin(a) * kRayStep;
        for (int k = 1;; ++k) {
            int const x = static_cast<int>(std::lround(cx + k * dx));
            int const y = static_cast<int>(std::lround(cy + k * dy));
            if (!hand(x, y))
                break;
            seen[static_cast<std::size_t>(y) * kHalfWidth + x] = 1;
        }
    }
    sx = sy = n = 0;
    for (int y = 0; y < kHalfHeight; ++y)
        for (int x = 0; x < kHalfWidth; ++x)
            if (seen[static_cast<std::size_t>(y) * kHalfWidth + x]) {
                sx += x;
                sy += y;
                n += 1;
            }
    if (n == 0)  // the hand's centroid lies off the hand
        return {2 * cx, 2 * cy};
    return {2 * sx / n, 2 * sy / n};
}

// Beyond this distance from the outline (hand units) a whole block of
// pixels lies on one side of it.
const double kBlockMargin = 6.0;

// Skin stretch: the palm's surface slides over the hand by a smooth field of
// a few long waves, its outline staying where it is.
struct stretch_field {
    double amplitude = 0;
    double kx[3][2], ky[3][2], phase[3][2];

    stretch_field(double a, std::uint32_t seed) : amplitude(a) {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<double> angle(0.0, 2 * kPi), wave(90.0, 220.0);
        for (int i = 0; i < 3; ++i) {
            for (int k = 0; k < 2; ++k) {
                double const a2 = angle(rng), w = 2 * kPi / wave(rng);
                kx[i][k] = w * std::cos(a2);
                ky[i][k] = w * std::sin(a2);
                phase[i][k] = angle(rng);
            }
        }
    }
    _point<double> apply(_point<double> p) const {
        if (amplitude <= 0)
            return p;
        double dx = 0, dy = 0;
        for (int i = 0; i < 3; ++i) {
            dx += std::sin(kx[i][0] * p.x + ky[i][0] * p.y + phase[i][0]);
            dy += std::sin(kx[i][1] * p.x + ky[i][1] * p.y + phase[i][1]);
        }
        // Three unit waves reach about 2 together.
        return {p.x + amplitude * dx / 2, p.y + amplitude * dy / 2};
    }
};

// Uneven light beyond the lamp's usual fall-off: a slope across the frame
// and a dimmer patch, fixed for a session.
struct shading {
    double depth = 0;
    double gx = 0, gy = 0, sx = 0, sy = 0;

    shading(double d, std::uint32_t seed) : depth(d) {
        std::mt19937 rng(seed ^ 0x9e3779b9u);
        std::uniform_real_distribution<double> angle(0.0, 2 * kPi), u(-1.0, 1.0);
        double const a = angle(rng);
        gx = std::cos(a);
        gy = std::sin(a);
        sx = 0.6 * u(rng);
        sy = 0.6 * u(rng);
    }
    double factor(double rx, double ry) const {
        if (depth <= 0)
            return 1.0;
        double const d2 = (rx - sx) * (rx - sx) + (ry - sy) * (ry - sy);
        return 1.0 + depth * (0.8 * (gx * rx + gy * ry) - 0.6 * std::exp(-d2 / 0.18));
    }
};

// Defocus: a separable Gaussian of `sigma` pixels over a 640 x 480 plane.
void defocus(std::vector<double>& plane, double sigma) {
    if (sigma <= 0)
        return;
    int const r = static_cast<int>(std::ceil(3 * sigma));
    std::vector<double> k(static_cast<std::size_t>(2 * r + 1));
    double sum = 0;
    for (int i = -r; i <= r; ++i)
        sum += k[static_cast<std::size_t>(i + r)] = std::exp(-i * i / (2 * sigma * sigma));
    for (double& w : k)
        w /= sum;
    std::vector<double> tmp(plane.size());
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            double v = 0;
            for (int i = -r; i <= r; ++i) {
                int const xx = std::min(kWidth - 1, std::max(0, x + i));
                v += k[static_cast<std::size_t>(i + r)] *
                     plane[static_cast<std::size_t>(y) * kWidth + xx];
            }
            tmp[static_cast<std::size_t>(y) * kWidth + x] = v;
        }
    }
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            double v = 0;
            for (int i = -r; i <= r; ++i) {
                int const yy = std::min(kHeight - 1, std::max(0, y + i));
                v += k[static_cast<std::size_t>(i + r)] *
                     tmp[static_cast<std::size_t>(yy) * kWidth + x];
            }
            plane[static_cast<std::size_t>(y) * kWidth + x] = v;
        }
    }
}

struct capture_look {
    stretch_field stretch;
    shading shade;
    double blur;
    double shared;
};

void render(palm_share::palm_image& image, const std::vector<_point<double>>& grid,
            const pose_transform& pose, const hand_model& hand, const std::vector<float>& lines,
            const std::vector<float>& common, double level, double background, noise_source& rng,
            double noise, double light_x, double light_y, const capture_look& look,
            std::vector<unsigned char>* silhouette) {
    image.Create(kWidth, kHeight, static_cast<unsigned char>(0));
    unsigned char* out = image.GetBuffer();
    if (silhouette)
        silhouette->assign(static_cast<std::size_t>(kHalfWidth) * kHalfHeight, 0);
    // Hand positions on the lens grid; the pose is as smooth as the lens,
    // so pixels between the nodes are interpolated as well. The skin's
    // texture is looked up through the stretch, the outline without it.
    std::vector<_point<double>> hand_grid(grid.size());
    std::vector<_point<double>> skin_grid(grid.size());
    for (std::size_t i = 0; i < grid.size(); ++i) {
        hand_grid[i] = pose.backward(grid[i].x, grid[i].y);
        skin_grid[i] = look.stretch.apply(hand_grid[i]);
    }
    std::vector<double> plane(static_cast<std::size_t>(kWidth) * kHeight);
    for (int by = 0; by < kHeight; by += kGridStep) {
        for (int bx = 0; bx < kWidth; bx += kGridStep) {
            _point<double> const hc =
                grid_lookup(hand_grid, bx + kGridStep / 2, by + kGridStep / 2);
            double const dc = hand_distance(hand, hc.x, hc.y);
            bool const outside = dc > kBlockMargin / pose.scale;
            bool const inside = dc < -kBlockMargin / pose.scale;
            for (int y = by; y < by + kGridStep; ++y) {
                for (int x = bx; x < bx + kGridStep; ++x) {
                    double v = background;
                    if (!outside) {
                        _point<double> const hpt = grid_lookup(hand_grid, x, y);
                        double const alpha =
                            inside ? 1.0
                                   : clamp01(0.5 - hand_distance(hand, hpt.x, hpt.y) * pose.scale);
                        if (alpha > 0) {
                            _point<double> const spt =
                                look.stretch.amplitude > 0 ? grid_lookup(skin_grid, x, y) : hpt;
                            double dark = texture(lines, spt.x, spt.y);
                            if (look.shared > 0)
                                dark = (1 - look.shared) * dark +
                                       look.shared * texture(common, spt.x + hand.common_dx,
                                                             spt.y + hand.common_dy);
                            double const skin = level - dark;
                            v = background + alpha * (skin - background);
                        }
                        // The pixels the half-resolution image is decimated
                        // to, where more than half of the pixel is hand.
                        if (silhouette && alpha > 0.5 && x % 2 == 0 && y % 2 == 0)
                            (*silhouette)[static_cast<std::size_t>(y / 2) * kHalfWidth + x / 2] = 1;
                    }
                    double const rx = (x - 320.0) / 400.0, ry = (y - 240.0) / 400.0;
                    double const light =
                        1.0 - 0.3 * (rx * rx + ry * ry) + light_x * rx + light_y * ry;
                    plane[static_cast<std::size_t>(y) * kWidth + x] =
                        v * light * look.shade.factor(rx, ry);
                }
            }
        }
    }
    defocus(plane, look.blur);
    // Noise in the same block order as the picture was drawn, so that a
    // frame without the added variation stays as it always was.
    for (int by = 0; by < kHeight; by += kGridStep) {
        for (int bx = 0; bx < kWidth; bx += kGridStep) {
            for (int y = by; y < by + kGridStep; ++y) {
                for (int x = bx; x < bx + kGridStep; ++x) {
                    double v = plane[static_cast<std::size_t>(y) * kWidth + x] +
                               (noise > 0 ? noise * rng.next() : 0.0);
                    v = std::min(255.0, std::max(0.0, std::round(v)));
                    out[y * kWidth + x] = static_cast<unsigned char>(v);
                }
            }
        }
    }
}

}  // namespace

camera_frame render_frame_pair(std::uint32_t identity, const camera_pose& pose,
                               const calib_data* calib) {
    static std::mutex hand_mutex;
    static std::uint32_t cached_identity = 0;
    static bool cached = false;
    static hand_model cached_hand;
    calib_data const c = calib ? *calib : palm_algorithm::default_calib_data();
    const lens_grid& grid = grid_for(c);
    hand_model hand;
    {
        std::lock_guard<std::mutex> lock(hand_mutex);
        if (!cached || cached_identity != identity) {
            cached_hand = make_hand(identity);
            cached_identity = identity;
            cached = true;
        }
        hand = cached_hand;
    }

    pose_transform t;
    t.cx = c.nir.center_x;
    t.cy = c.nir.center_y;
    t.ox = c.nir.center_x + pose.offset_x;
    t.oy = c.nir.center_y + pose.offset_y;
    t.c = std::cos(pose.rotation * kDeg);
    t.s = std::sin(pose.rotation * kDeg);
    t.scale = pose.scale;
    t.tx_c = std::cos(pose.tilt_x * kDeg);
    t.tx_s = std::sin(pose.tilt_x * kDeg);
    t.ty_c = std::cos(pose.tilt_y * kDeg);
    t.ty_s = std::sin(pose.tilt_y * kDeg);
    t.side = hand.side;

    std::mt19937 light_rng(pose.noise_seed);
    std::uniform_real_distribution<double> light(-0.1, 0.1);
    double const lx = light(light_rng), ly = light(light_rng);
    noise_source rng{pose.noise_seed * 2654435761u | 1u};
    camera_frame f;
    std::vector<unsigned char> silhouette;
    capture_look const look{stretch_field(pose.stretch, pose.stretch_seed),
                            shading(pose.shade, pose.stretch_seed), pose.blur,
                            std::min(1.0, std::max(0.0, pose.shared))};
    common_lines const& common = shared_lines();
    render(f.frames.nir, grid.nir, t, hand, hand.vein, common.vein, hand.nir_level, 18.0, rng,
           pose.noise, lx, ly, look, &silhouette);
    // Creases differ more between hands than vein trunks do.
    capture_look print_look = look;
    print_look.shared *= kPrintShare;
    render(f.frames.vl, grid.vl, t, hand, hand.print, common.print, hand.vl_level, 35.0, rng,
           pose.noise, lx, ly, print_look, nullptr);

    // The webs. The crop takes a web where the radius of the hand's outline,
    // measured from the palm centre, is lowest: on the rim of a notch, the
    // point nearest the palm centre, that is toward it from the centre of
    // the notch's round end. Then the outline sample the crop reports lies
    // kInnerBoundary inside the rim and kWalkAhead along the walk, which
    // runs left to right below the centre. Positions in hand units carry
    // the mirror of the hand; in hand units the palm is centred on x = 0,
    // so the screen-left web is at x = -48 whichever side the thumb is on.
    auto to_raw = [&](double hx, double hy) {
        _point<double> const n = t.forward(hx * hand.side, hy);
        _point<double> r{0, 0};
        palm_algorithm::MappingForward(_point<double>{n.x - c.nir.center_x, n.y - c.nir.center_y},
                                       r, c.nir);
        return _point<double>{r.x + c.nir.center_x, r.y + c.nir.center_y};
    };
    _point<double> const centre = palm_centre(silhouette);
    for (int k = 0; k < 2; ++k) {
        double const nx = (k == 0 ? kNotchX[0] : kNotchX[2]) * hand.side;
        _point<double> const notch = to_raw(nx, kFingerBaseY);
        _point<double> const rim = to_raw(nx, kFingerBaseY - kNotchRadius);
        double const r = std::hypot(rim.x - notch.x, rim.y - notch.y);
        double const dx = centre.x - notch.x, dy = centre.y - notch.y;
        double const len = std::hypot(dx, dy);
        double const ux = dx / len, uy = dy / len;
        double const inside = r + kInnerBoundary;
        f.nir_key[k] = {notch.x + inside * ux - kWalkAhead * uy,
                        notch.y + inside * uy + kWalkAhead * ux};
    }
    if (f.nir_key[0].x > f.nir_key[1].x)
        std::swap(f.nir_key[0], f.nir_key[1]);
    return f;
}

camera_pose random_usable_pose(std::uint32_t seed, difficulty d) {
    std::mt19937 rng(seed * 747796405u + 2891336453u);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    camera_pose p;
    p.offset_x = 25.0 * u(rng);
    p.offset_y = 20.0 * u(rng);
    p.rotation = 12.0 * u(rng);
    p.scale = 1.0 + 0.08 * u(rng);
    p.tilt_x = 4.0 * u(rng);
    p.tilt_y = 4.0 * u(rng);
    p.noise_seed = seed + 1;
    p.noise = 3.0;
    vary_pose(p, d, seed, seed);
    return p;
}

void ensure_lens_tables() {
    if (palm_algorithm::CPalmCrop::piMapNIRx == nullptr)
        palm_algorithm::CPalmCrop::GenerateMappingTable();
}

}  // namespace palm_test
