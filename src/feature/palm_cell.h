// One capture of a hand: the print code (visible light) and the vein code
// (near infrared) taken at the same moment.
#ifndef PALM_FEATURE_PALM_CELL_H_
#define PALM_FEATURE_PALM_CELL_H_

namespace palm_feature {

template <typename T>
class palm_cell {
  public:
    T first;   // print, from the visible-light image
    T second;  // vein, from the near-infrared image
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_PALM_CELL_H_
