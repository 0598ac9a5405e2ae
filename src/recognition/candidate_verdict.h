// What the fine and verify stages of an identification made of one user of
// the list, in a form that can travel: a search spread over several
// partitions collects these from the partitions that hold the users and
// selects among them as one partition would.
#ifndef PALM_RECOGNITION_CANDIDATE_VERDICT_H_
#define PALM_RECOGNITION_CANDIDATE_VERDICT_H_

namespace palm_recognition {

struct candidate_verdict {
    bool accepted;     // passed the verify stage and the partition's decision
    float print_dist;  // after the fine stage
    float vein_dist;   // of the print's best cell; 1.0 when the vein was not compared
    int cell;          // the template cell of the print distance; -1 without a template
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_CANDIDATE_VERDICT_H_
