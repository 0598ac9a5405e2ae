// The parts of "palm demo", run in order on one shared state.
#ifndef PALM_TOOLS_PALM_DEMO_SECTIONS_H_
#define PALM_TOOLS_PALM_DEMO_SECTIONS_H_

#include <chrono>
#include <string>
#include <vector>

#include "palm/feature/user_palm_feature.h"

namespace palm_tool {

struct demo_state {
    int users = 3000;
    int cells = 25;
    unsigned seed = 2026;
    int serial_id = 1;
    int parallel_id = 2;
    std::vector<palm_feature::user_palm_feature> templates;  // index i is demo_user_name(i)
};

// A section prints its part of the session and returns the number of its
// checks that failed.
using demo_section = int (*)(demo_state& state);
std::vector<demo_section> const& demo_sections();

int demo_server_store(demo_state& state);
int demo_matching(demo_state& state);
int demo_frames(demo_state& state);
int demo_device(demo_state& state);
int demo_capture(demo_state& state);
int demo_cluster(demo_state& state);

std::string demo_user_name(int i);

class demo_clock {
  public:
    demo_clock();
    double ms() const;

  private:
    std::chrono::steady_clock::time_point start_;
};

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_DEMO_SECTIONS_H_
