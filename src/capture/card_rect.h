// _card_rect: the part of the guidance canvas that holds the drawing; right
// and bottom are one past the last pixel.
#ifndef PALM_CAPTURE_CARD_RECT_H_
#define PALM_CAPTURE_CARD_RECT_H_

namespace palm_struct {

struct _card_rect {
    int left;
    int top;
    int right;
    int bottom;
};

}  // namespace palm_struct

#endif  // PALM_CAPTURE_CARD_RECT_H_
