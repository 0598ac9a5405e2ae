// How hard the synthetic captures are. Real hands stretch their skin, tilt,
// blur out of the focal plane, catch uneven light and sensor noise, and share
// the broad layout of their creases and vein trunks with other hands; the
// levels above "easy" add all of that, so that genuine and impostor
// distances overlap as they do on a real device.
//
//   easy       the camera's plain frames: the hand's pose, slight noise and
//              light; genuine and impostor distances stay far apart
//   realistic  distances like real near-infrared hands through crop, coding
//              and matching: vein genuine mean about 0.27 reaching 0.40,
//              impostor mean about 0.44 reaching down to 0.41
//   hard       a careless user in poor light: the distributions overlap more
#ifndef PALM_SIM_CAPTURE_DIFFICULTY_H_
#define PALM_SIM_CAPTURE_DIFFICULTY_H_

#include <cstdint>
#include <string>

namespace palm_test {

struct camera_pose;

enum class difficulty { easy, realistic, hard };

const difficulty DEFAULT_DIFFICULTY = difficulty::realistic;

// "easy", "realistic", "hard".
char const* difficulty_name(difficulty d);
// False, leaving `out` as it was, for any other name.
bool parse_difficulty(std::string const& name, difficulty& out);
// "easy, realistic or hard", for messages.
char const* difficulty_names();

// Adds the variation of level `d` to `pose`. What stays for a session (the
// skin's stretch, the tilt at rest, the light of the room) is drawn from
// `session`; what changes frame by frame (focus, noise) from `frame`.
void vary_pose(camera_pose& pose, difficulty d, std::uint32_t session, std::uint32_t frame);

}  // namespace palm_test

#endif  // PALM_SIM_CAPTURE_DIFFICULTY_H_
