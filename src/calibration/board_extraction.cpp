#include "palm/calibration/board_extraction.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace palm_calib {

namespace {

bool same_size(const palm_image& a, const palm_image& b) {
    return a.IsValid() && b.IsValid() && a.GetWidth() == b.GetWidth() &&
           a.GetHeight() == b.GetHeight();
}

void erase_label(palm_image& img, int label) {
    unsigned char* p = img.GetBuffer();
    for (int i = 0; i < img.GetSize(); ++i) {
        if (p[i] == label)
            p[i] = 0;
    }
}

// Rows (across = true) or columns spanned by the non-zero pixels; false when
// there are none.
bool nonzero_extent(const palm_image& img, bool rows, int& lo, int& hi) {
    lo = rows ? img.GetHeight() : img.GetWidth();
    hi = -1;
    for (int y = 0; y < img.GetHeight(); ++y) {
        const unsigned char* row = img[y];
        for (int x = 0; x < img.GetWidth(); ++x) {
            if (row[x] == 0)
                continue;
            int const v = rows ? y : x;
            lo = std::min(lo, v);
            hi = std::max(hi, v);
        }
    }
    return hi >= 0;
}

// Deletes each kept curve of `img` that has a pixel whose row lies outside
// [lo, hi]. Both directions test the row: that is the rule for down-curves too.
int delete_curves_outside_rows(palm_image& img, int lo, int hi, int& count,
                               std::vector<int>& keep) {
    std::vector<char> outside(keep.size() + 1, 0);
    for (int y = 0; y < img.GetHeight(); ++y) {
        if (y >= lo && y <= hi)
            continue;
        const unsigned char* row = img[y];
        for (int x = 0; x < img.GetWidth(); ++x) {
            int const label = row[x];
            if (label != 0 && std::size_t(label) <= keep.size())
                outside[label] = 1;
        }
    }
    int deleted = 0;
    for (std::size_t i = 0; i < keep.size(); ++i) {
        if (keep[i] && outside[i + 1]) {
            keep[i] = 0;
            --count;
            erase_label(img, int(i + 1));
            deleted = 1;
        }
    }
    return deleted;
}

// Renumbers the kept labels 1, 2, ... by ascending mean row or column.
void reorder_labels(palm_image& img, const std::vector<int>& keep, bool by_row) {
    if (!img.IsValid())
        return;
    std::size_t const n = keep.size();
    std::vector<long long> sum(n + 1, 0), count(n + 1, 0);
    for (int y = 0; y < img.GetHeight(); ++y) {
        const unsigned char* row = img[y];
        for (int x = 0; x < img.GetWidth(); ++x) {
            std::size_t const label = row[x];
            if (label == 0 || label > n)
                continue;
            sum[label] += by_row ? y : x;
            ++count[label];
        }
    }
    std::vector<int> order;
    std::vector<long long> mean;
    for (std::size_t i = 0; i < n; ++i) {
        if (!keep[i])
            continue;
        order.push_back(int(i + 1));
        mean.push_back(count[i + 1] > 0 ? sum[i + 1] / count[i + 1] : 0);
    }
    // Exchange whenever an earlier entry has the greater mean.
    for (std::size_t i = 0; i < order.size(); ++i) {
        for (std::size_t j = i + 1; j < order.size(); ++j) {
            if (mean[i] > mean[j]) {
                std::swap(mean[i], mean[j]);
                std::swap(order[i], order[j]);
            }
        }
    }
    std::vector<unsigned char> relabel(256, 0);
    for (std::size_t k = 0; k < order.size(); ++k)
        relabel[order[k]] = static_cast<unsigned char>(k + 1);
    unsigned char* p = img.GetBuffer();
    for (int i = 0; i < img.GetSize(); ++i)
        p[i] = relabel[p[i]];
}

}  // namespace

void GrayStretch(palm_image& img) {
    if (!img.IsValid())
        return;
    unsigned char* p = img.GetBuffer();
    int const n = img.GetSize();
    int lo = 255, hi = 0;
    for (int i = 0; i < n; ++i) {
        lo = std::min(lo, int(p[i]));
        hi = std::max(hi, int(p[i]));
    }
    if (lo == hi)
        return;
    for (int i = 0; i < n; ++i)
        p[i] = static_cast<unsigned char>((p[i] - lo) * 255 / (hi - lo));
}

void HoriVertEdge(const palm_image& src, palm_image& hori, palm_image& vert) {
    if (!same_size(src, hori) || !same_size(src, vert))
        return;
    int const w = src.GetWidth(), h = src.GetHeight();
    for (int y = 1; y < h - 1; ++y) {
        const unsigned char* up = src[y - 1];
        const unsigned char* mid = src[y];
        const unsigned char* down = src[y + 1];
        unsigned char* ho = hori[y];
        unsigned char* ve = vert[y];
        for (int x = 1; x < w - 1; ++x) {
            int const R =
                std::abs((up[x - 1] + up[x] + up[x + 1]) - (down[x - 1] + down[x] + down[x + 1]));
            int const K = std::abs((up[x - 1] + mid[x - 1] + down[x - 1]) -
                                   (up[x + 1] + mid[x + 1] + down[x + 1]));
            unsigned char a = 0, b = 0;
            if (R == K && R >= board_constants::EDGE_THRESHOLD) {
                a = b = 255;
            } else if (R > K && R >= board_constants::EDGE_THRESHOLD) {
                a = 255;
            } else if (K > R && K >= board_constants::EDGE_THRESHOLD) {
                b = 255;
            }
            ho[x] = a;
            ve[x] = b;
        }
    }
}

void RemoveSmallRegion(palm_image& img) {
    if (!img.IsValid())
        return;
    int const w = img.GetWidth(), h = img.GetHeight();
    int const limit = board_constants::MIN_REGION;
    unsigned char* p = img.GetBuffer();
    // A visit mark per start: pixels seen from one start can be reached
    // again from a later one.
    std::vector<int> seen(std::size_t(w) * h, -1);
    std::vector<int> region;
    region.reserve(limit);
    for (int start = 0; start < w * h; ++start) {
        if (p[start] == 0)
            continue;
        region.clear();
        region.push_back(start);
        seen[start] = start;
        bool large = false;
        for (std::size_t k = 0; k < region.size() && !large; ++k) {
            int const x = region[k] % w, y = region[k] / w;
            for (int dy = -1; dy <= 1 && !large; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    int const nx = x + dx, ny = y + dy;
                    if (nx < 0 || ny < 0 || nx >= w || ny >= h)
                        continue;
                    int const i = ny * w + nx;
                    if (p[i] == 0 || seen[i] == start)
                        continue;
                    seen[i] = start;
                    region.push_back(i);
                    if (int(region.size()) >= limit) {
                        large = true;
                        break;
                    }
                }
            }
        }
        if (!large) {
            for (int i : region)
                p[i] = 0;
        }
    }
}

void Dilate(palm_image& img, int width, int height) {
    if (!img.IsValid() || width < 1 || height < 1)
        return;
    palm_image const copy(img);
    int const w = img.GetWidth(), h = img.GetHeight();
    int const hw = width / 2, hh = height / 2;
    for (int y = hh; y < h - hh; ++y) {
        for (int x = hw; x < w - hw; ++x) {
            if (copy[y][x] != 0)
                continue;
            unsigned char found = 0;
            for (int r = y - hh; r < y - hh + height && found == 0; ++r) {
                if (r >= h)
                    break;
                const unsigned char* row = copy[r];
                for (int c = x - hw; c < x - hw + width; ++c) {
                    if (c < w && row[c] != 0) {
                        found = row[c];
                        break;
                    }
                }
            }
            img[y][x] = found;
        }
    }
}

int LabelRegion(const palm_image& src, palm_image& labels) {
    if (!same_size(src, labels))
        return 0;
    int const w = src.GetWidth(), h = src.GetHeight();
    labels.SetData(0);
    const unsigned char* s = src.GetBuffer();
    unsigned char* l = labels.GetBuffer();
    std::vector<int> queue(std::size_t(w) * h);
    int count = 0;
    for (int start = 0; start < w * h; ++start) {
        if (s[start] == 0 || l[start] != 0)
            continue;
        if (++count > board_constants::MAX_REGIONS)
            return 0;
        std::size_t head = 0, tail = 0;
        queue[tail++] = start;
        l[start] = static_cast<unsigned char>(count);
        while (head < tail) {
            int const x = queue[head] % w, y = queue[head] / w;
            ++head;
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    int const nx = x + dx, ny = y + dy;
                    if (nx < 0 || ny < 0 || nx >= w || ny >= h)
                        continue;
                    int const i = ny * w + nx;
                    if (s[i] == 0 || l[i] != 0)
                        continue;
                    if (tail == queue.size())
                        return 0;
                    l[i] = static_cast<unsigned char>(count);
                    queue[tail++] = i;
                }
            }
        }
    }
    return count;
}

int DeleteExtraHoriLine(palm_image& hori, const palm_image& vert, int& count,
                        std::vector<int>& keep) {
    int lo, hi;
    if (!same_size(hori, vert) || !nonzero_extent(vert, true, lo, hi))
        return 0;
    return delete_curves_outside_rows(hori, lo, hi, count, keep);
}

int DeleteExtraVertLine(const palm_image& hori, palm_image& vert, int& count,
                        std::vector<int>& keep) {
    int lo, hi;
    if (!same_size(hori, vert) || !nonzero_extent(hori, false, lo, hi))
        return 0;
    return delete_curves_outside_rows(vert, lo, hi, count, keep);
}

void ReorderHoriLabel(palm_image& hori, std::vector<int> keep) {
    reorder_labels(hori, keep, true);
}

void ReorderVertLabel(palm_image& vert, std::vector<int> keep) {
    reorder_labels(vert, keep, false);
}

int CurveGrouping(const palm_image& hori_edge, const palm_image& vert_edge, palm_image& hori,
                  palm_image& vert) {
    int const need = board_constants::CURVES;
    int const H = LabelRegion(hori_edge, hori);
    int const V = LabelRegion(vert_edge, vert);
    if (H < need || V < need)
        return 0;
    std::vector<int> keep_h(H, 1), keep_v(V, 1);
    std::vector<unsigned char> table(std::size_t(V) * H);
    int const n = hori.GetSize();
    for (;;) {
        std::fill(table.begin(), table.end(), 0);
        const unsigned char* hp = hori.GetBuffer();
        const unsigned char* vp = vert.GetBuffer();
        for (int i = 0; i < n; ++i) {
            if (hp[i] != 0 && vp[i] != 0)
                table[std::size_t(vp[i] - 1) * H + (hp[i] - 1)] = 1;
        }
        bool changed = false;
        // A curve that crosses fewer than eight of the other direction is
        // no part of the board: erase it. Counts the good ones.
        auto sift = [&](std::vector<int>& keep, int others, palm_image& img, auto crossing) {
            int good = 0;
            for (int i = 0; i < int(keep.size()); ++i) {
                if (!keep[i])
                    continue;
                int crossings = 0;
                for (int j = 0; j < others; ++j)
                    crossings += crossing(i, j);
                if (crossings > need - 1) {
                    ++good;
                } else {
                    keep[i] = 0;
                    erase_label(img, i + 1);
                    changed = true;
                }
            }
            return good;
        };
        int good_h =
            sift(keep_h, V, hori, [&](int h, int v) { return table[std::size_t(v) * H + h]; });
        if (good_h < need)
            break;
        int good_v =
            sift(keep_v, H, vert, [&](int v, int h) { return table[std::size_t(v) * H + h]; });
        if (good_v < need)
            break;
        if (changed)
            continue;
        if (good_h == need && good_v == need)
            break;
        int const deleted_h = DeleteExtraHoriLine(hori, vert, good_h, keep_h);
        int const deleted_v = DeleteExtraVertLine(hori, vert, good_v, keep_v);
        if (!deleted_h && !deleted_v)
            break;
    }
    // Erases what is not kept; true when exactly eight are.
    auto settle = [need](const std::vector<int>& keep, palm_image& img) {
        int kept = 0;
        for (std::size_t i = 0; i < keep.size(); ++i) {
            if (keep[i]) {
                ++kept;
            } else {
                erase_label(img, int(i + 1));
            }
        }
        return kept == need;
    };
    if (!settle(keep_h, hori) || !settle(keep_v, vert))
        return 0;
    ReorderHoriLabel(hori, keep_h);
    ReorderVertLabel(vert, keep_v);
    return 1;
}

int ExtractCurveAndPoints(const palm_image& src, palm_image& hori, palm_image& vert,
                          matrix<double>& points) {
    if (!same_size(src, hori) || !same_size(src, vert))
        return 0;
    if (points.rows != unsigned(board_constants::CROSSINGS) || points.cols != 2 ||
        points.data == nullptr) {
        return 0;
    }
    int const w = src.GetWidth(), h = src.GetHeight();
    palm_image A(w, h), B(w, h);
    A.SetData(0);
    B.SetData(0);
    HoriVertEdge(src, A, B);
    RemoveSmallRegion(A);
    RemoveSmallRegion(B);
    palm_image C(A), D(B);
    Dilate(C, 7, 3);
    Dilate(D, 3, 7);
    if (!CurveGrouping(C, D, hori, vert))
        return 0;
    if (!GetCrossPoint(hori, vert, points))
        return 0;
    matrix<double> const init(points);
    RefineCrossPoint(src, init, points);
    Thinning(A);
    Thinning(B);
    unsigned char* hp = hori.GetBuffer();
    unsigned char* vp = vert.GetBuffer();
    const unsigned char* ap = A.GetBuffer();
    const unsigned char* bp = B.GetBuffer();
    for (int i = 0; i < w * h; ++i) {
        hp[i] = static_cast<unsigned char>(hp[i] & ap[i]);
        vp[i] = static_cast<unsigned char>(vp[i] & bp[i]);
    }
    return 1;
}

}  // namespace palm_calib
