// CPalmMatch: the distance between two palm codes as the smallest fraction of
// differing code bits over a star of small translations (no rotation). The
// production path counts bits with the widest instructions the processor
// has; Match_Reference keeps the 16-bit look-up table formulation, which
// every path must reproduce bit for bit.
#ifndef PALM_MATCHING_FEATURE_MATCH_H_
#define PALM_MATCHING_FEATURE_MATCH_H_

#include <cstdint>

#include "palm/matching/i_feature_match.h"
#include "palm/matching/match_counter.h"

namespace palm_algorithm {

// Code bits two codes have in common at each translation of the star, in
// the order of g_match_translations: 3 x 32 x (32 - s) for an axial shift
// of s, 3 x (32 - s)^2 for a diagonal one.
extern const int g_piOverlapSize[MATCH_TRANSLATIONS];

// The DEGREE_ALL distance of the counts at every translation of the star:
// the centre's count times the single-precision reciprocal of 3072, each
// other count divided by its overlap in single precision, and the smallest
// of these and 1.0. Equal bit for bit to taking each quotient in turn, with a
// single division.
float match_all_distance(const int counts[MATCH_TRANSLATIONS]);

class CPalmMatch : public i_feature_match {
  public:
    CPalmMatch();

    // Light: the centre and the four diagonals of length 3. Heavy: all of
    // lengths 1 and 2 and the four axial of length 3, without the centre.
    // All: the whole star. Any other degree is answered with 1.0.
    float match(const palm_feature::single_feature& first,
                const palm_feature::single_feature& second, Match_Degree degree) override;

    float Match_Light(const palm_feature::single_feature& first,
                      const palm_feature::single_feature& second) const;
    float Match_Heavy(const palm_feature::single_feature& first,
                      const palm_feature::single_feature& second) const;
    float Match_All(const palm_feature::single_feature& first,
                    const palm_feature::single_feature& second) const;

    // The same distance through the look-up table, one row word at a time.
    float Match_Reference(const palm_feature::single_feature& first,
                          const palm_feature::single_feature& second, Match_Degree degree) const;

    // The distance by a chosen path, which the processor must support
    // (match_path_supported); the table path is Match_Reference.
    float Match_On(match_path path, const palm_feature::single_feature& first,
                   const palm_feature::single_feature& second, Match_Degree degree) const;

    // Number of set bits of each 16-bit value.
    unsigned char m_byBitCount[65536];

  private:
    int table_pop(uint32_t word) const;
    int table_count(const uint32_t* const first[MATCH_PLANES],
                    const uint32_t* const second[MATCH_PLANES], int dr, int dc) const;
};

extern CPalmMatch g_match_inst;

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_FEATURE_MATCH_H_
