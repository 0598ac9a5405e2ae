// One code prepared for many comparisons at DEGREE_ALL, as identification
// compares one probe with the codes of every user. Comparing the probe at
// translation (dr, dc) with a code is comparing the code at (-dr, -dc) with
// the probe, with the same overlap; so the probe is moved once, for every
// translation of the star, and each comparison then combines the other code
// as it is stored with these prepared rows. The distance is the one that
// CPalmMatch::match(probe, other, DEGREE_ALL) gives, bit for bit.
#ifndef PALM_MATCHING_MATCH_PROBE_H_
#define PALM_MATCHING_MATCH_PROBE_H_

#include <cstdint>

#include "palm/matching/match_counter.h"
#include "palm/matching/match_translation.h"

namespace palm_algorithm {

class match_probe {
  public:
    // Prepared for the fastest way this processor has.
    match_probe();
    // Prepared for a chosen way, which the processor must support: avx512
    // and neon run the prepared rows on 512-bit or 128-bit registers, table runs them one word at
    // a time (the plain formulation), popcnt and avx2 use the matcher's own
    // counters on the unprepared code.
    explicit match_probe(match_path path);

    // Takes a 384-byte code as the probe.
    void reset(const unsigned char* code);

    // Differing bits at each translation of the star between the probe and
    // `other` (384 bytes), in the order of g_match_translations.
    void counts(const unsigned char* other, int counts[MATCH_TRANSLATIONS]) const;

    // match(probe, other, DEGREE_ALL).
    float distance(const unsigned char* other) const;

  private:
    match_path path_;
    // The probe itself, for the unprepared counters.
    alignas(64) uint32_t code_[MATCH_PLANES * MATCH_ROWS];
    // Row q of plane p, translation t: the probe's row q - dr moved by -dc
    // columns, zero where that row is off the grid.
    alignas(64) uint32_t moved_[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS];
    // Row q, translation t: the bits of the other code's row q that have a
    // partner in the probe.
    alignas(64) uint32_t partner_[MATCH_TRANSLATIONS][MATCH_ROWS];
};

#if PALM_ARCH_X86
// Counts of the prepared rows against one code with 512-bit registers; the
// processor must support the avx512 path.
void match_probe_counts_avx512(const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
                               const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS],
                               const unsigned char* other, int counts[MATCH_TRANSLATIONS]);

float match_probe_distance_avx512(
    const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
    const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS], const unsigned char* other);
// match_all_distance by the vector formulation of the avx512 path.
float match_all_distance_avx512(const int counts[MATCH_TRANSLATIONS]);
#endif

#if PALM_ARCH_AARCH64
// Counts of the prepared rows against one code with 128-bit registers.
void match_probe_counts_neon(const uint32_t moved[MATCH_TRANSLATIONS][MATCH_PLANES * MATCH_ROWS],
                             const uint32_t partner[MATCH_TRANSLATIONS][MATCH_ROWS],
                             const unsigned char* other, int counts[MATCH_TRANSLATIONS]);
#endif

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_MATCH_PROBE_H_
