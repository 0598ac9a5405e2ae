// Finger webs of the crop object: smoothing of the polar profile, its local
// minima, and the choice of the two key points among them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "palm/localisation/palm_crop.h"

using palm_struct::_point;
using palm_struct::_position;

namespace palm_algorithm {

namespace {

// 10 degrees with pi taken as 3.14159265359.
const double TEN_DEGREES = 0.17453292519944444;
const double RAD_TO_DEG = 57.29577951307855;
const double ONE_NINETEENTH = 0.05263157894736842;
const double KEY_LENGTH_TOLERANCE = 5.0;
const int THIN_INDEX_DISTANCE = 9;

// State of a profile sample against its two neighbours.
int sample_state(double a, double b, double c) {
    if (a < b && c < b)
        return 3;
    if (a > b && c > b)
        return -3;
    if (a == b && b == c)
        return 0;
    if (a < b && c > b)
        return 1;
    if (a > b && c < b)
        return -1;
    if (a < b && c == b)
        return 2;
    if (a == b && b > c)
        return 2;
    if (a == b && b < c)
        return -2;
    if (a > b && c == b)
        return -2;
    return 0;
}

// Deletes the shallower of two neighbouring valleys.
void delete_shallower(valley_info& a, valley_info& b) {
    if (a.pos.radius < b.pos.radius)
        b.valley = 0;
    else
        a.valley = 0;
}

double sample_distance(const _position& a, const _position& b) {
    double const dx = a.x - b.x;
    double const dy = a.y - b.y;
    return std::sqrt(dx * dx + dy * dy);
}

// Ascending by score, then by index.
void sort_pairs(std::vector<std::pair<double, int>>& pairs) {
    std::sort(pairs.begin(), pairs.end());
}

}  // namespace

void CPalmCrop::MeanFilter(std::vector<_position>& edge) {
    int const n = static_cast<int>(edge.size());
    if (n <= 2 * MEAN_FILTER_LENGTH - 1)
        return;
    std::vector<double> r(edge.size());
    for (int i = 0; i < n; ++i)
        r[i] = edge[i].radius;
    // The window is off-centre by one: 10 samples before, 8 after.
    int const before = MEAN_FILTER_CENTER;
    int const after = MEAN_FILTER_LENGTH - MEAN_FILTER_CENTER - 1;
    for (int i = before; i <= n - 1 - after; ++i) {
        double sum = 0.0;
        for (int k = i - before; k <= i + after; ++k)
            sum += r[k];
        edge[i].radius = sum * ONE_NINETEENTH;
    }
}

void CPalmCrop::FindValley(const std::vector<_position>& filtered,
                           const std::vector<_position>& origin, std::vector<valley_info>& out) {
    int const n = static_cast<int>(filtered.size());
    if (n < 2 || origin.size() < filtered.size())
        return;
    std::vector<int> state(filtered.size(), 0);
    state[0] = 3;
    state[n - 1] = 3;
    for (int i = 1; i <= n - 2; ++i)
        state[i] = sample_state(filtered[i - 1].radius, filtered[i].radius, filtered[i + 1].radius);
    std::vector<int> e;
    for (int i = 0; i < n; ++i) {
        int const s = state[i];
        if (s == 3 || s == -3 || s == 2 || s == -2)
            e.push_back(i);
    }
    int const m = static_cast<int>(e.size());
    if (m - 1 < 2)
        return;
    for (int k = 1; k <= m - 2; ++k) {
        int const cur = e[k];
        int const prev = e[k - 1];
        int index;
        if (state[cur] == -3)
            index = cur;
        else if (state[cur] == -2 && state[prev] == -2)
            index = (cur + prev) / 2;
        else
            continue;
        int left = e[1];
        for (int j = k; j >= 1; --j) {
            if (state[e[j]] == 3) {
                left = e[j];
                break;
            }
            if (state[e[j]] == 2 && state[e[j - 1]] == 2) {
                left = (e[j] + e[j - 1]) / 2;
                break;
            }
        }
        int right = e[m - 2];
        for (int j = k; j <= m - 2; ++j) {
            if (state[e[j]] == 3) {
                right = e[j];
                break;
            }
            if (state[e[j]] == 2 && state[e[j + 1]] == 2) {
                right = (e[j] + e[j + 1]) / 2;
                break;
            }
        }
        // A flat-bottomed valley still stores the sample of the plateau's far end.
        out.push_back(valley_info{index, left, right, origin[cur]});
    }
}

int CPalmCrop::FindKeyPoint(std::vector<valley_info>& valleys, _point<int>& key0, _point<int>& key1,
                            const _point<int>& centre) {
    if (valleys.empty())
        return 0;
    for (std::size_t i = 0; i + 1 < valleys.size(); ++i) {
        valley_info& a = valleys[i];
        valley_info& b = valleys[i + 1];
        if (std::abs(a.valley - b.valley) <= THIN_INDEX_DISTANCE)
            delete_shallower(a, b);
        if (std::fabs(a.pos.angle - b.pos.angle) < TEN_DEGREES)
            delete_shallower(a, b);
    }
    std::vector<valley_info> kept;
    for (const valley_info& v : valleys)
        if (v.valley != 0)
            kept.push_back(v);
    if (static_cast<int>(kept.size()) < MIN_KEYPOINT_NUMBER)
        return 0;

    valleys.clear();
    for (const valley_info& v : kept) {
        double const degrees = v.pos.angle * RAD_TO_DEG;
        if (std::abs(v.right_peak - v.left_peak) > THRES_KEY_POINT_PEAK &&
            degrees >= THRES_KEY_POINT_ANGLE && degrees < 360)
            valleys.push_back(v);
    }
    int const count = static_cast<int>(valleys.size());
    if (count < MIN_KEYPOINT_NUMBER)
        return 0;

    // The five deepest neighbouring valleys; the earliest on a tie.
    double best = 1e6;
    int start = 0;
    for (int s = 0; s <= count - 5; ++s) {
        double sum = 0.0;
        for (int k = s; k < s + 5; ++k)
            sum += valleys[k].pos.radius;
        if (sum < best) {
            best = sum;
            start = s;
        }
    }
    const valley_info* t = &valleys[start];

    double d[4];
    for (int k = 0; k < 4; ++k)
        d[k] = std::fabs(t[k].pos.angle - t[k + 1].pos.angle);
    std::vector<std::pair<double, int>> angular;
    for (int k = 0; k < 3; ++k)
        angular.emplace_back(std::fabs(d[k] - d[k + 1]), k);
    sort_pairs(angular);
    int const triple[2] = {angular[0].second, angular[1].second};

    std::vector<std::pair<double, int>> lengths;
    for (int k = 0; k < 2; ++k) {
        int const p = triple[k];
        double const l = std::fabs(sample_distance(t[p].pos, t[p + 1].pos) -
                                   sample_distance(t[p + 2].pos, t[p + 1].pos));
        lengths.emplace_back(l, k);
    }
    sort_pairs(lengths);
    int const first = triple[lengths[0].second];
    int const second = triple[lengths[1].second];
    int chosen;
    if (std::fabs(lengths[0].first - lengths[1].first) > KEY_LENGTH_TOLERANCE) {
        chosen = first;
    } else {
        int const xa = t[first + 1].pos.x;
        int const xb = t[second + 1].pos.x;
        chosen = std::abs(xa - centre.x) < std::abs(xb - centre.x) ? first : second;
    }
    key0 = _point<int>{t[chosen].pos.x, t[chosen].pos.y};
    key1 = _point<int>{t[chosen + 2].pos.x, t[chosen + 2].pos.y};
    return 1;
}

}  // namespace palm_algorithm
