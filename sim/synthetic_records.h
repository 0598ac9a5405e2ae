// Synthetic templates and probes: records of random codes, their feature
// texts, and noisy second captures of the same hand.
#ifndef PALM_SIM_SYNTHETIC_RECORDS_H_
#define PALM_SIM_SYNTHETIC_RECORDS_H_

#include <random>
#include <string>
#include <vector>

#include "palm/feature/user_palm_feature.h"

namespace palm_test {

// A record of `cells` cells of uniformly random codes.
palm_feature::user_palm_feature random_record(int cells, std::mt19937& rng);

// A record of `cells` cells, each a copy of a cell of `enrolled` (taken in
// turn) with every bit flipped with probability `noise`: a new capture of the
// same hand.
palm_feature::user_palm_feature noisy_probe(palm_feature::user_palm_feature const& enrolled,
                                            int cells, double noise, std::mt19937& rng);

// The feature text of a record (empty for a record without cells).
std::string feature_text(palm_feature::user_palm_feature const& record);

// `count` feature texts of random records of `cells` cells each.
std::vector<std::string> random_texts(int count, int cells, unsigned seed);

// The stream form of a record, as write() gives it.
std::string stream_bytes(palm_feature::user_palm_feature const& record);

}  // namespace palm_test

#endif  // PALM_SIM_SYNTHETIC_RECORDS_H_
