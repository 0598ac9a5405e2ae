#include "sim/synthetic_board.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "palm/localisation/lens_mapping.h"
#include "palm/localisation/palm_crop.h"
#include "sim/plane_homography.h"

using palm_struct::_point;
using palm_struct::calib_data;
using palm_struct::cp_single;

namespace palm_test {

const double BOARD_ACROSS[8] = {-0.63, -0.45, -0.27, -0.09, 0.09, 0.27, 0.45, 0.63};
const double BOARD_DOWN[8] = {-0.9, -0.64, -0.38, -0.12, 0.12, 0.38, 0.64, 0.9};

board_layout standard_board() {
    board_layout b;
    std::copy(BOARD_ACROSS, BOARD_ACROSS + 8, b.across);
    std::copy(BOARD_DOWN, BOARD_DOWN + 8, b.down);
    return b;
}

namespace {

// Wavelength of the bent edges, normalised units.
const double kWaveStep = 0.3;
const double kTwoPi = 6.283185307179586;

const int kWidth = 640;
const int kHeight = 480;

// Share of [lo, hi] on which the count of edges at or below the position is
// odd: the bright side of one axis of the chequer.
double odd_share(const double* edges, double lo, double hi) {
    if (!(hi > lo)) {
        int below = 0;
        for (int i = 0; i < 8; ++i)
            below += edges[i] <= lo ? 1 : 0;
        return below % 2;
    }
    double covered = 0;
    double from = lo;
    int below = 0;
    for (int i = 0; i < 8; ++i)
        below += edges[i] <= lo ? 1 : 0;
    for (int i = 0; i < 8; ++i) {
        if (edges[i] <= lo)
            continue;
        double const to = std::min(edges[i], hi);
        if (below % 2)
            covered += to - from;
        if (edges[i] >= hi) {
            from = hi;
            break;
        }
        from = to;
        ++below;
    }
    if (from < hi && below % 2)
        covered += hi - from;
    return covered / (hi - lo);
}

_point<double> raw_to_normalised(const cp_single& cp, double x, double y) {
    _point<double> n{0, 0};
    palm_algorithm::MappingBackward(_point<double>{x - cp.center_x, y - cp.center_y}, n, cp);
    return {n.x / cp.focal_x, n.y / cp.focal_y};
}

// One camera's frame: where each raw pixel lies on the board.
std::vector<float> shade(const calib_data& c, bool nir, const board_options& o) {
    const cp_single& cp = nir ? c.nir : c.vl;
    const board_layout& board = nir ? o.nir_board : o.vl_board;
    // Board (normalised NIR) position of each raw pixel centre, with a
    // one-pixel margin for the footprints.
    int const W = kWidth + 2, H = kHeight + 2;
    std::vector<_point<double>> pos(std::size_t(W) * H);
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            _point<double> p = raw_to_normalised(cp, x - 1, y - 1);
            if (!nir)
                p = apply_inverse_homography(c.nir_to_vl, p);
            pos[std::size_t(y) * W + x] = p;
        }
    }
    std::vector<float> img(std::size_t(kWidth) * kHeight);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            auto at = [&](int dx, int dy) { return pos[std::size_t(y + 1 + dy) * W + x + 1 + dx]; };
            _point<double> const p = at(0, 0);
            _point<double> const l = at(-1, 0), r = at(1, 0), u = at(0, -1), d = at(0, 1);
            // The pixel's footprint on the board, as a box along its axes.
            double const wa = std::fabs(r.x - l.x) * 0.5 + std::fabs(d.x - u.x) * 0.5;
            double const wb = std::fabs(r.y - l.y) * 0.5 + std::fabs(d.y - u.y) * 0.5;
            double const ax = p.x - board.wave * std::sin(kTwoPi * p.y / kWaveStep);
            double const by = p.y - board.wave * std::sin(kTwoPi * p.x / kWaveStep);
            double const alpha = odd_share(board.down, ax - wa / 2, ax + wa / 2);
            double const beta = odd_share(board.across, by - wb / 2, by + wb / 2);
            double const bright = alpha * (1 - beta) + beta * (1 - alpha);
            img[std::size_t(y) * kWidth + x] = float(o.dark + (o.bright - o.dark) * bright);
        }
    }
    return img;
}

void gaussian_blur(std::vector<float>& img, double sigma) {
    int const radius = int(std::ceil(3 * sigma));
    std::vector<double> k(2 * radius + 1);
    double sum = 0;
    for (int i = -radius; i <= radius; ++i)
        sum += k[i + radius] = std::exp(-0.5 * i * i / (sigma * sigma));
    for (double& v : k)
        v /= sum;
    std::vector<float> tmp(img.size());
    for (int pass = 0; pass < 2; ++pass) {
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                double s = 0;
                for (int i = -radius; i <= radius; ++i) {
                    int xx = pass == 0 ? std::clamp(x + i, 0, kWidth - 1) : x;
                    int yy = pass == 1 ? std::clamp(y + i, 0, kHeight - 1) : y;
                    s += k[i + radius] * img[std::size_t(yy) * kWidth + xx];
                }
                tmp[std::size_t(y) * kWidth + x] = float(s);
            }
        }
        img.swap(tmp);
    }
}

palm_share::palm_image finish(std::vector<float> img, const board_options& o, std::uint32_t seed) {
    if (o.blur > 0)
        gaussian_blur(img, o.blur);
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    palm_share::palm_image out(kWidth, kHeight);
    double const cx = kWidth / 2.0, cy = kHeight / 2.0;
    double const rmax2 = cx * cx + cy * cy;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            double v = img[std::size_t(y) * kWidth + x];
            // Light falls off toward the corners and a little toward the left.
            double const r2 = ((x - cx) * (x - cx) + (y - cy) * (y - cy)) / rmax2;
            v *= 1.0 - o.light * (0.8 * r2 + 0.2 * (1.0 - double(x) / kWidth));
            if (o.noise > 0)
                v += o.noise * noise(rng);
            out[y][x] = static_cast<unsigned char>(std::clamp(std::lround(v), 0L, 255L));
        }
    }
    return out;
}

}  // namespace

board_frames render_board(const calib_data* calib, const board_options& options) {
    calib_data const c = calib ? *calib : palm_algorithm::default_calib_data();
    board_frames f;
    f.nir = finish(shade(c, true, options), options, options.seed);
    f.vl = finish(shade(c, false, options), options, options.seed * 2654435761u + 1);
    return f;
}

_point<double> board_crossing_nir_normalised(int h, int v) {
    return {BOARD_DOWN[v], BOARD_ACROSS[h]};
}

_point<double> nir_to_vl_normalised(const calib_data& calib, _point<double> p) {
    return apply_homography(calib.nir_to_vl, p);
}

_point<double> normalised_to_raw(const cp_single& cp, _point<double> p) {
    _point<double> raw{0, 0};
    palm_algorithm::MappingForward(_point<double>{p.x * cp.focal_x, p.y * cp.focal_y}, raw, cp);
    return {raw.x + cp.center_x, raw.y + cp.center_y};
}

}  // namespace palm_test
