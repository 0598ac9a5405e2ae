#include "sim/synthetic_stream.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace palm_test {

namespace {

std::uint32_t mix(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    std::uint32_t h = a * 2654435761u;
    h ^= b + 0x9e3779b9u + (h << 6);
    h ^= c * 2246822519u;
    h ^= h >> 15;
    h *= 2246822519u;
    h ^= h >> 13;
    return h;
}

// Brightness of the day's light, applied to both images after rendering.
void apply_gain(palm_share::palm_image& image, double gain) {
    unsigned char* p = image.GetBuffer();
    int const n = image.GetSize();
    for (int i = 0; i < n; ++i) {
        double const v = p[i] * gain + 0.5;
        p[i] = static_cast<unsigned char>(v > 255.0 ? 255.0 : v);
    }
}

// A frame of the device with nothing in front of it: dark sensor noise.
palm_share::image_pair empty_frame(std::uint32_t seed) {
    palm_share::image_pair pair;
    pair.vl = palm_share::palm_image(640, 480);
    pair.nir = palm_share::palm_image(640, 480);
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> dark(4, 14);
    unsigned char* vl = pair.vl.GetBuffer();
    unsigned char* nir = pair.nir.GetBuffer();
    for (int i = 0; i < 640 * 480; ++i) {
        vl[i] = static_cast<unsigned char>(dark(rng));
        nir[i] = static_cast<unsigned char>(dark(rng));
    }
    return pair;
}

}  // namespace

std::uint32_t capture_stream::palm_identity(std::uint32_t identity, int hand) {
    return hand == 1 ? identity : mix(identity, 0x5eed1u, 77u) | 0x80000000u;
}

capture_stream::capture_stream(std::uint32_t identity, int hand, std::uint32_t day, int frames,
                               difficulty d)
    : identity_(identity),
      hand_(hand == 1 ? 1 : 0),
      day_(day),
      frames_(std::min(MAX_FRAMES, std::max(MIN_FRAMES, frames))),
      lead_(std::min(3, std::max(1, (frames_ - 35) / 5))),
      gain_(1.0),
      difficulty_(d) {
    std::mt19937 rng(mix(identity_, static_cast<std::uint32_t>(hand_), day_));
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    rest_.offset_x = 12.0 * u(rng);
    rest_.offset_y = 10.0 * u(rng);
    rest_.rotation = 3.0 * u(rng);
    rest_.scale = DEVICE_SCALE + 0.03 * u(rng);
    rest_.tilt_x = 2.0 * u(rng);
    rest_.tilt_y = 2.0 * u(rng);
    gain_ = 1.0 + 0.08 * u(rng);
}

char const* capture_stream::phase(int i) const {
    static char const* const NAMES[] = {"none", "entering", "left", "right", "small"};
    int const k = i / lead_;
    return k < 5 ? NAMES[k] : "held";
}

bool capture_stream::has_hand(int i) const {
    return i >= lead_;
}

camera_pose capture_stream::pose(int i) const {
    camera_pose p = rest_;
    std::mt19937 rng(mix(identity_ ^ 0xa5a5a5a5u, static_cast<std::uint32_t>(i * 2 + hand_), day_));
    std::uniform_real_distribution<double> jitter(-1.0, 1.0);
    p.offset_x += 1.5 * jitter(rng);
    p.offset_y += 1.5 * jitter(rng);
    p.rotation += 1.5 * jitter(rng);
    p.tilt_x += 1.0 * jitter(rng);
    p.tilt_y += 1.0 * jitter(rng);
    p.noise_seed = mix(identity_, static_cast<std::uint32_t>(i), day_ + 1000u);
    p.noise = 3.0;
    vary_pose(p, difficulty_, mix(identity_, static_cast<std::uint32_t>(hand_), day_ + 2000u),
              p.noise_seed);
    int const k = i / lead_;
    int const step = i % lead_;
    switch (k) {
        case 1:  // entering from the right, its key points partly outside
            p.offset_x += 330.0 - 60.0 * step;
            break;
        case 2:
            p.offset_x -= 150.0;
            break;
        case 3:
            p.offset_x += 150.0;
            break;
        case 4:  // held too far from the camera
            p.scale = 1.0;
            break;
        default:
            break;
    }
    return p;
}

palm_share::image_pair capture_stream::frame(int i) const {
    if (!has_hand(i))
        return empty_frame(mix(identity_, static_cast<std::uint32_t>(i), day_ + 7u));
    palm_share::image_pair pair =
        render_frame_pair(palm_identity(identity_, hand_), pose(i)).frames;
    apply_gain(pair.vl, gain_);
    apply_gain(pair.nir, gain_);
    return pair;
}

palm_share::image_pair login_frame(std::uint32_t identity, int hand, std::uint32_t day, int index,
                                   difficulty d) {
    // A stream of that day, held: its frames past the lead are the hand at
    // rest with that day's place, jitter, light and noise.
    capture_stream const stream(identity, hand, day + 0x10000u, capture_stream::MAX_FRAMES, d);
    return stream.frame(stream.first_held() + (index % (capture_stream::MAX_FRAMES - 15)));
}

}  // namespace palm_test
