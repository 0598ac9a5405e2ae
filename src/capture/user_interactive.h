// User guidance: the template of a palm outline turned by the palm's angle,
// scaled by how much of the prompt rectangle the palm fills and moved by
// the palm's offset, rendered into a screen-sized canvas. All of the
// rendering is integer: sine, cosine and reciprocal scale come from the
// guidance tables the region geometry keeps, and a row of the canvas is
// walked by additions alone.
#ifndef PALM_CAPTURE_USER_INTERACTIVE_H_
#define PALM_CAPTURE_USER_INTERACTIVE_H_

#include "palm/capture/card_rect.h"
#include "palm/capture/i_user_interactive_interface.h"
#include "palm/image/crop_results.h"
#include "palm/image/palm_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

// How a canvas pixel is sampled from the template; both give the same
// pixels.
enum class render_path {
    plain,   // each pixel's position multiplied out and read through Interpolation
    direct,  // positions stepped along the row, the template read in place
};

class PALM_EXPORT user_interactive : public i_user_interactive_interface {
  public:
    // Key points closer than this (squared distance) are no hand.
    static constexpr int MIN_KEY_DISTANCE_SQ = 2500;

    explicit user_interactive(render_path path = render_path::direct);

    bool init(const palm_share::palm_image& card, int width, int height) override;
    unsigned char* gen_interactive(const palm_struct::_crop_results& res,
                                   palm_struct::_card_rect& rect) override;
    // Draws the template turned by `angle` degrees (-90 to 90), at `scale`
    // percent (50 to 200), moved by dx to the right and dy up, over the
    // canvas as it stands. False, with nothing drawn, for an angle or scale
    // out of range.
    bool Transform(int angle, int scale, int dx, int dy, palm_struct::_card_rect& rect);

    const palm_share::palm_image& get_card() const { return card; }
    const palm_share::palm_image& get_canvas() const { return canvas; }

  private:
    void render_plain(int s, int c, int q, int dx, int dy, const palm_struct::_card_rect& rect);
    void render_direct(int s, int c, int q, int dx, int dy, const palm_struct::_card_rect& rect);

    palm_share::palm_image card;
    palm_share::palm_image canvas;
    render_path path;
};

// Degrees or percent to the int the guidance draws with: half away from
// zero, then truncated. A value no int holds, or not a number, gives
// INT_MIN, which every range test of Transform refuses.
PALM_EXPORT int guidance_round(double value);

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_USER_INTERACTIVE_H_
