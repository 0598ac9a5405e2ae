// Palm codes with a known shape for matcher tests and benchmarks: single
// samples, constant and sparse codes, smooth patch codes, and copies moved
// across the grid. A sample is addressed as (plane, row, column), column 0
// being the most significant bit of its row word.
#ifndef PALM_SIM_CODE_PATTERNS_H_
#define PALM_SIM_CODE_PATTERNS_H_

#include <random>

#include "palm/feature/single_feature.h"
#include "sim/random_codes.h"

namespace palm_test {

enum { CODE_PLANES = 3, CODE_ROWS = 32, CODE_COLUMNS = 32 };

bool code_bit(palm_feature::single_feature const& f, int plane, int row, int column);
void set_code_bit(palm_feature::single_feature& f, int plane, int row, int column, bool value);

// Every byte of the code set to `byte` (0x00 all zero, 0xff all one).
void fill_code(palm_feature::single_feature& f, unsigned char byte);

// Each bit set with probability p.
void sparse_code(palm_feature::single_feature& f, double p, std::mt19937& rng);

// A code with structure, like a real palm's: the grid is cut into square
// patches of `patch` samples, and all samples of a patch share one random
// three-bit value.
void patch_code(palm_feature::single_feature& f, int patch, std::mt19937& rng);

// dst(r + down, c + right) = src(r, c) where both lie on the grid; the
// samples that nothing moves onto are random, or zero without a generator.
// dst must be another record than src.
void moved_code(palm_feature::single_feature const& src, palm_feature::single_feature& dst,
                int down, int right, std::mt19937* rng);

// Inverts `count` distinct samples' bits chosen at random among the rows
// first_row .. end_row - 1 and columns first_column .. end_column - 1 of
// all planes.
void flip_bits(palm_feature::single_feature& f, int count, int first_row, int end_row,
               int first_column, int end_column, std::mt19937& rng);

// A pair of codes of a kind drawn by `seed`: unrelated, noisy copies,
// copies moved by up to 4 samples, constant, sparse, dense and patch codes
// against each other, each with a few bits inverted or not. The same seed
// gives the same pair.
void varied_pair(unsigned seed, palm_feature::single_feature& a, palm_feature::single_feature& b);

}  // namespace palm_test

#endif  // PALM_SIM_CODE_PATTERNS_H_
