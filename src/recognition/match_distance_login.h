// Accept limits of the server side: one row per match policy, each row the
// print limit, the vein limit and the bias of the sum.
#ifndef PALM_RECOGNITION_MATCH_DISTANCE_LOGIN_H_
#define PALM_RECOGNITION_MATCH_DISTANCE_LOGIN_H_

namespace palm_recognition {

// Rows 0 to 4 are tuned. Row 5 is not: its values lift every limit out of
// reach, so that any pair of real distances is accepted under policy 5.
// They are kept as they are, bit for bit.
const int MATCH_POLICY_COUNT = 6;
const float MATCH_DISTANCE_LOGIN[MATCH_POLICY_COUNT][3] = {
    {0.35f, 0.34f, 0.622f},   {0.36f, 0.35f, 0.592f}, {0.342f, 0.324f, 0.562f},
    {0.352f, 0.346f, 0.644f}, {0.36f, 0.35f, 0.65f},  {1.8970002e31f, 3.4353064e21f, 1.7259787e25f},
};

// The policy of a new partition.
const int DEFAULT_MATCH_POLICY = 1;

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_MATCH_DISTANCE_LOGIN_H_
