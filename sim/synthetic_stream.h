// A synthetic capture stream: a person presenting one hand to the device,
// frame by frame, as the enrolment and login workflows receive it. First no
// hand, then the hand entering, held too far left and too far right, too
// small (too far from the camera), and at last held in place with a jitter of
// a pixel or two and a degree or two. Every frame has sensor noise of its
// own. Login frames show the same hand on another day: another resting place,
// other jitter, light and noise.
#ifndef PALM_SIM_SYNTHETIC_STREAM_H_
#define PALM_SIM_SYNTHETIC_STREAM_H_

#include <cstdint>
#include <string>

#include "palm/image/image_pair.h"
#include "sim/synthetic_camera.h"

namespace palm_test {

class capture_stream {
  public:
    // Size of the hand that fills the prompt rectangle of the device well
    // enough for its pre-check (about 55 % of it).
    static constexpr double DEVICE_SCALE = 1.42;
    static constexpr int MIN_FRAMES = 40;
    static constexpr int MAX_FRAMES = 80;

    // `hand` 1 or 0 (first or second hand of `identity`); `day` varies the
    // resting place, light and noise, and with difficulty `d` the skin's
    // stretch, tilt and focus. `frames` is held within 40 to 80.
    capture_stream(std::uint32_t identity, int hand, std::uint32_t day, int frames,
                   difficulty d = DEFAULT_DIFFICULTY);

    int size() const { return frames_; }
    // The pose of frame i, and whether a hand is in the picture at all.
    camera_pose pose(int i) const;
    bool has_hand(int i) const;
    // "none", "entering", "left", "right", "small" or "held".
    char const* phase(int i) const;
    // Index of the first held frame.
    int first_held() const { return 5 * lead_; }
    // Renders frame i (640 x 480, VL first).
    palm_share::image_pair frame(int i) const;

    // The palm the camera renders for this identity and hand.
    static std::uint32_t palm_identity(std::uint32_t identity, int hand);

  private:
    std::uint32_t identity_;
    int hand_;
    std::uint32_t day_;
    int frames_;
    int lead_;  // frames of each phase before the hand is held
    camera_pose rest_;
    double gain_;
    difficulty difficulty_;
};

// One login frame: the same hand on day `day`, frame `index` of that day.
palm_share::image_pair login_frame(std::uint32_t identity, int hand, std::uint32_t day, int index,
                                   difficulty d = DEFAULT_DIFFICULTY);

}  // namespace palm_test

#endif  // PALM_SIM_SYNTHETIC_STREAM_H_
