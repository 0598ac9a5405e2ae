// The accept rule of the server side over a pair of distances (print, vein).
#ifndef PALM_RECOGNITION_DECISION_H_
#define PALM_RECOGNITION_DECISION_H_

#include <utility>

namespace palm_recognition {

// Each distance has its own inclusive limit, and their sum must stay strictly
// below `bias`. All in single precision, in this order: the sum test first.
bool decision(std::pair<float, float> const& d, float print_limit, float vein_limit, float bias);

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_DECISION_H_
