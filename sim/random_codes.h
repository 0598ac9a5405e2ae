// Synthetic palm codes and records for tests, benchmarks and the demo.
#ifndef PALM_SIM_RANDOM_CODES_H_
#define PALM_SIM_RANDOM_CODES_H_

#include <cstdint>
#include <random>

#include "palm/feature/palm_cell.h"
#include "palm/feature/single_feature.h"

namespace palm_test {

// Fills a code with uniformly random bits.
void random_code(palm_feature::single_feature& f, std::mt19937& rng);

// Copies `src` to `dst` and flips each bit with probability `p`, which models
// a second capture of the same palm.
void noisy_copy(palm_feature::single_feature const& src, palm_feature::single_feature& dst,
                double p, std::mt19937& rng);

}  // namespace palm_test

#endif  // PALM_SIM_RANDOM_CODES_H_
