#include "sim/capture_difficulty.h"

#include <random>

#include "sim/synthetic_camera.h"

namespace palm_test {

namespace {

struct level {
    double tilt;      // degrees added to the tilt at rest, either way, each axis
    double stretch;   // pixels
    double blur_min;  // sigma range, raw pixels
    double blur_max;
    double shade;
    double noise;  // grey levels
    double shared;
};

// Tuned so that the realistic level's distances, measured through crop,
// coding and matching, match those of real near-infrared captures.
const level LEVELS[] = {
    {0, 0, 0, 0, 0, 0, 0},
    {6.0, 4.0, 0.3, 0.8, 0.25, 2.2, 0.40},
    {9.0, 6.0, 0.6, 1.6, 0.40, 3.5, 0.45},
};

}  // namespace

char const* difficulty_name(difficulty d) {
    switch (d) {
        case difficulty::easy:
            return "easy";
        case difficulty::hard:
            return "hard";
        default:
            return "realistic";
    }
}

char const* difficulty_names() {
    return "easy, realistic or hard";
}

bool parse_difficulty(std::string const& name, difficulty& out) {
    for (difficulty d : {difficulty::easy, difficulty::realistic, difficulty::hard}) {
        if (name == difficulty_name(d)) {
            out = d;
            return true;
        }
    }
    return false;
}

void vary_pose(camera_pose& pose, difficulty d, std::uint32_t session, std::uint32_t frame) {
    if (d == difficulty::easy)
        return;
    level const& l = LEVELS[d == difficulty::hard ? 2 : 1];
    std::mt19937 day(session * 2246822519u + 0x632be5abu);
    std::mt19937 now(frame * 3266489917u + 0x85ebca6bu);
    std::uniform_real_distribution<double> u(-1.0, 1.0), v(0.0, 1.0);
    pose.tilt_x += l.tilt * u(day);
    pose.tilt_y += l.tilt * u(day);
    double const s = v(day);  // mostly slight, now and then strong
    pose.stretch = l.stretch * s * s;
    pose.stretch_seed = static_cast<std::uint32_t>(day());
    pose.shade = l.shade * (0.5 + 0.5 * v(day));
    pose.shared = l.shared;
    pose.blur = l.blur_min + (l.blur_max - l.blur_min) * v(now);
    // Sensor gain, and so noise, follows the room's light.
    pose.noise = l.noise * (0.85 + 0.3 * v(day));
}

}  // namespace palm_test
