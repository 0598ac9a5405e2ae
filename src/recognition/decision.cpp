#include "palm/recognition/decision.h"

namespace palm_recognition {

bool decision(std::pair<float, float> const& d, float print_limit, float vein_limit, float bias) {
    float const margin = (-d.first - d.second) + bias;
    if (!(margin > 0.0f))
        return false;
    if (!(d.first <= print_limit))
        return false;
    return d.second <= vein_limit;
}

}  // namespace palm_recognition
