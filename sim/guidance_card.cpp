#include "sim/guidance_card.h"

#include <algorithm>
#include <vector>

#include "sim/synthetic_camera.h"

namespace palm_test {

palm_share::palm_image make_guidance_card(unsigned identity, double zoom, int line) {
    camera_pose pose;
    pose.noise = 0;
    const palm_share::palm_image nir = render_frame_pair(identity, pose).frames.nir;
    const int w = nir.GetWidth(), h = nir.GetHeight();
    // Hand against background: the background renders near 18, the hand
    // near 175.
    auto hand = [&](int x, int y) { return x >= 0 && y >= 0 && x < w && y < h && nir[y][x] > 90; };
    int x0 = w, y0 = h, x1 = -1, y1 = -1;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (hand(x, y)) {
                x0 = std::min(x0, x);
                y0 = std::min(y0, y);
                x1 = std::max(x1, x);
                y1 = std::max(y1, y);
            }
    palm_share::palm_image card;
    if (x1 < 0 || zoom <= 0)
        return card;
    const int cw = static_cast<int>((x1 - x0 + 1) * zoom),
              ch = static_cast<int>((y1 - y0 + 1) * zoom);
    card.Create(cw, ch, static_cast<unsigned char>(0));
    // A card pixel is on the outline when the hand pixel it samples lies
    // within `line` frame pixels of the background, or of the box's edge.
    const int reach = std::max(1, static_cast<int>(line / zoom + 0.5));
    for (int y = 0; y < ch; ++y) {
        for (int x = 0; x < cw; ++x) {
            const int fx = x0 + static_cast<int>(x / zoom), fy = y0 + static_cast<int>(y / zoom);
            if (!hand(fx, fy))
                continue;
            bool edge = false;
            for (int dy = -reach; dy <= reach && !edge; ++dy)
                for (int dx = -reach; dx <= reach && !edge; ++dx)
                    edge = !hand(fx + dx, fy + dy) && fy + dy >= 0;
            if (edge)
                card[y][x] = 255;
        }
    }
    return card;
}

}  // namespace palm_test
