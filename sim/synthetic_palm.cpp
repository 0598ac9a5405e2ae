#include "sim/synthetic_palm.h"

#include <algorithm>
#include <cmath>

namespace palm_test {

namespace {

const int kSide = 110;
const int kSegments = 24;
const double kPi = 3.14159265358979323846;

double dist_to_segment(double px, double py, double ax, double ay, double bx, double by) {
    const double vx = bx - ax, vy = by - ay;
    const double len2 = vx * vx + vy * vy;
    double t = len2 > 0 ? ((px - ax) * vx + (py - ay) * vy) / len2 : 0.0;
    t = std::min(1.0, std::max(0.0, t));
    const double dx = px - (ax + t * vx), dy = py - (ay + t * vy);
    return std::sqrt(dx * dx + dy * dy);
}

palm_line random_line(std::mt19937& rng, double min_len, double max_len, double min_w, double max_w,
                      double min_d, double max_d) {
    std::uniform_real_distribution<double> pos(-15.0, 125.0);
    std::uniform_real_distribution<double> ang(0.0, kPi);
    std::uniform_real_distribution<double> len(min_len, max_len);
    std::uniform_real_distribution<double> bend(-0.25, 0.25);
    std::uniform_real_distribution<double> wid(min_w, max_w);
    std::uniform_real_distribution<double> dep(min_d, max_d);
    const double cx = pos(rng), cy = pos(rng), a = ang(rng), l = len(rng);
    const double ux = std::cos(a), uy = std::sin(a);
    const double b = bend(rng) * l;
    palm_line line;
    line.x0 = cx - ux * l / 2;
    line.y0 = cy - uy * l / 2;
    line.x2 = cx + ux * l / 2;
    line.y2 = cy + uy * l / 2;
    line.x1 = cx - uy * b;  // pulled sideways: a gentle bend
    line.y1 = cy + ux * b;
    line.width = wid(rng);
    line.depth = dep(rng);
    return line;
}

}  // namespace

synthetic_palm make_palm(std::mt19937& rng) {
    synthetic_palm palm;
    std::uniform_real_distribution<double> ground(140.0, 180.0);
    std::uniform_real_distribution<double> slope(-0.15, 0.15);
    palm.ground = ground(rng);
    palm.slope_x = slope(rng);
    palm.slope_y = slope(rng);
    for (int i = 0; i < 3; ++i)
        palm.lines.push_back(random_line(rng, 80, 140, 1.8, 2.8, 40, 70));
    const int wrinkles = std::uniform_int_distribution<int>(15, 25)(rng);
    for (int i = 0; i < wrinkles; ++i) {
        palm.lines.push_back(random_line(rng, 15, 50, 0.8, 1.5, 12, 30));
    }
    return palm;
}

palm_share::palm_image render_roi(const synthetic_palm& palm, double dx, double dy, double noise,
                                  std::mt19937& rng) {
    std::vector<double> img(kSide * kSide);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            img[y * kSide + x] =
                palm.ground + palm.slope_x * (x - 55 - dx) + palm.slope_y * (y - 55 - dy);
        }
    }
    for (const palm_line& l : palm.lines) {
        double px[kSegments + 1], py[kSegments + 1];
        double minx = 1e9, maxx = -1e9, miny = 1e9, maxy = -1e9;
        for (int i = 0; i <= kSegments; ++i) {
            const double t = static_cast<double>(i) / kSegments, s = 1 - t;
            px[i] = s * s * l.x0 + 2 * s * t * l.x1 + t * t * l.x2 + dx;
            py[i] = s * s * l.y0 + 2 * s * t * l.y1 + t * t * l.y2 + dy;
            minx = std::min(minx, px[i]);
            maxx = std::max(maxx, px[i]);
            miny = std::min(miny, py[i]);
            maxy = std::max(maxy, py[i]);
        }
        const double reach = 4 * l.width;
        const int x0 = std::max(0, static_cast<int>(std::floor(minx - reach)));
        const int x1 = std::min(kSide - 1, static_cast<int>(std::ceil(maxx + reach)));
        const int y0 = std::max(0, static_cast<int>(std::floor(miny - reach)));
        const int y1 = std::min(kSide - 1, static_cast<int>(std::ceil(maxy + reach)));
        for (int y = y0; y <= y1; ++y) {
            for (int x = x0; x <= x1; ++x) {
                double d = 1e9;
                for (int i = 0; i < kSegments; ++i) {
                    d = std::min(d, dist_to_segment(x, y, px[i], py[i], px[i + 1], py[i + 1]));
                }
                if (d < reach) {
                    img[y * kSide + x] -= l.depth * std::exp(-d * d / (2 * l.width * l.width));
                }
            }
        }
    }
    std::normal_distribution<double> gauss(0.0, noise > 0 ? noise : 1.0);
    palm_share::palm_image out(kSide, kSide);
    for (int i = 0; i < kSide * kSide; ++i) {
        double v = img[i] + (noise > 0 ? gauss(rng) : 0.0);
        v = std::min(255.0, std::max(0.0, std::round(v)));
        out.GetBuffer()[i] = static_cast<unsigned char>(v);
    }
    return out;
}

palm_share::palm_image line_roi(double degrees, double cx, double cy, double half_width) {
    const double a = degrees * kPi / 180.0;
    palm_share::palm_image out(kSide, kSide);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            // Rows run downward, so the direction (cos a, -sin a) rises to
            // the right on screen.
            const double dist = std::fabs((x - cx) * std::sin(a) + (y - cy) * std::cos(a));
            out.GetBuffer()[y * kSide + x] = dist < half_width ? 60 : 190;
        }
    }
    return out;
}

}  // namespace palm_test
