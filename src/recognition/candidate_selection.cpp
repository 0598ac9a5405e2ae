#include "palm/recognition/candidate_selection.h"

namespace palm_recognition {

int select_candidate(std::vector<candidate_verdict> const& verdicts) {
    candidate_selection selection;
    for (std::size_t i = 0; i < verdicts.size(); ++i)
        if (verdicts[i].accepted)
            selection.offer(verdicts[i].print_dist, verdicts[i].vein_dist, static_cast<int>(i));
    return selection.index();
}

}  // namespace palm_recognition
