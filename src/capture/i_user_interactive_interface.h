// i_user_interactive_interface: a picture of where the person's hand is,
// for the person to align with. The application hands over a template of a
// palm outline once and asks for an overlay after each frame. The process
// has one such object, reached by get_interactive_inst(); there is no
// release.
#ifndef PALM_CAPTURE_I_USER_INTERACTIVE_INTERFACE_H_
#define PALM_CAPTURE_I_USER_INTERACTIVE_INTERFACE_H_

#include "palm/capture/card_rect.h"
#include "palm/i_debug_interface.h"
#include "palm/image/crop_results.h"
#include "palm/image/palm_image.h"
#include "palm/palm_export.h"

namespace palm_algorithm {

class PALM_EXPORT i_user_interactive_interface : public i_debug_interface {
  public:
    ~i_user_interactive_interface() override {}
    // Keeps the template and makes a black canvas of width by height;
    // false for a template that is not a valid image or a canvas that
    // cannot be made.
    virtual bool init(const palm_share::palm_image& card, int width, int height) = 0;
    // Renders the template as the frame's record places it; returns the
    // canvas's pixels, valid up to the next call, or null when nothing was
    // drawn. rect receives the part of the canvas that holds the drawing.
    virtual unsigned char* gen_interactive(const palm_struct::_crop_results& res,
                                           palm_struct::_card_rect& rect) = 0;
};

PALM_EXPORT i_user_interactive_interface* get_interactive_inst();

}  // namespace palm_algorithm

#endif  // PALM_CAPTURE_I_USER_INTERACTIVE_INTERFACE_H_
