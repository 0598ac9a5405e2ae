// Thinning of edge bands to one-pixel curves, a variant of the two
// sub-iteration scheme of Zhang and Suen.
#include <vector>

#include "palm/calibration/board_extraction.h"

namespace palm_calib {

namespace {

bool interior(const palm_image& img, int x, int y) {
    return img.IsValid() && x >= 1 && y >= 1 && x < img.GetWidth() - 1 && y < img.GetHeight() - 1;
}

// The eight neighbours clockwise from the one above.
void neighbours(const palm_image& img, int x, int y, bool n[8]) {
    const unsigned char* up = img[y - 1];
    const unsigned char* mid = img[y];
    const unsigned char* down = img[y + 1];
    n[0] = up[x] != 0;
    n[1] = up[x + 1] != 0;
    n[2] = mid[x + 1] != 0;
    n[3] = down[x + 1] != 0;
    n[4] = down[x] != 0;
    n[5] = down[x - 1] != 0;
    n[6] = mid[x - 1] != 0;
    n[7] = up[x - 1] != 0;
}

}  // namespace

int PT(const palm_image& img, int x, int y) {
    if (!interior(img, x, y))
        return 0;
    bool n[8];
    neighbours(img, x, y, n);
    int t = 0;
    for (int i = 0; i < 8; ++i) {
        if (!n[i] && n[(i + 1) % 8])
            ++t;
    }
    return t;
}

int PN(const palm_image& img, int x, int y) {
    if (!interior(img, x, y))
        return 0;
    bool n[8];
    neighbours(img, x, y, n);
    int c = 0;
    for (bool b : n)
        c += b ? 1 : 0;
    return c;
}

void Thinning(palm_image& img) {
    if (!img.IsValid())
        return;
    int const w = img.GetWidth(), h = img.GetHeight();
    std::vector<unsigned char*> erase;
    for (;;) {
        bool any = false;
        for (int step = 0; step < 2; ++step) {
            erase.clear();
            int const least = step == 0 ? 2 : 3;
            for (int y = 1; y < h - 1; ++y) {
                for (int x = 1; x < w - 1; ++x) {
                    if (img[y][x] == 0)
                        continue;
                    if (PT(img, x, y) != 1)
                        continue;
                    int const pn = PN(img, x, y);
                    if (pn < least || pn > 6)
                        continue;
                    bool const E = img[y][x + 1] != 0, S = img[y + 1][x] != 0;
                    bool const W = img[y][x - 1] != 0, N = img[y - 1][x] != 0;
                    bool const keep = step == 0 ? (E && S && (W || N)) : (W && N && (E || S));
                    if (!keep)
                        erase.push_back(&img[y][x]);
                }
            }
            for (unsigned char* p : erase)
                *p = 0;
            if (!erase.empty())
                any = true;
        }
        if (!any)
            break;
    }
}

}  // namespace palm_calib
