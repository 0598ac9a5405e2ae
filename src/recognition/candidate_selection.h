// The last step of an identification: among the users accepted, the one of
// the smallest squared distance.
#ifndef PALM_RECOGNITION_CANDIDATE_SELECTION_H_
#define PALM_RECOGNITION_CANDIDATE_SELECTION_H_

#include <vector>

#include "palm/recognition/candidate_verdict.h"

namespace palm_recognition {

// Candidates are offered in list order. The squares are summed in single
// precision from a start of 2.0, and a tie keeps the earlier candidate, so a
// pair of 1.0 and 1.0 (only policy 5 accepts one) is never chosen.
class candidate_selection {
  public:
    void offer(float print_dist, float vein_dist, int index) {
        float const q = print_dist * print_dist + vein_dist * vein_dist;
        if (q < best_) {
            best_ = q;
            index_ = index;
        }
    }
    // The index offered with the winner, or -1 when none was chosen.
    int index() const { return index_; }

  private:
    float best_ = 2.0f;
    int index_ = -1;
};

// The position in `verdicts` of the accepted one chosen, or -1.
int select_candidate(std::vector<candidate_verdict> const& verdicts);

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_CANDIDATE_SELECTION_H_
