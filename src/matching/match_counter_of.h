// Builds a match_counter from one count function per translation, so that a
// counting path only says how it counts at one translation. Prepared is the
// path's own form of the two codes, made once per comparison from their
// bytes; Count<I>::run(prepared) is the number of differing bits at
// translation I of the star.
#ifndef PALM_MATCHING_MATCH_COUNTER_OF_H_
#define PALM_MATCHING_MATCH_COUNTER_OF_H_

#include <utility>

#include "palm/matching/match_counter.h"

namespace palm_algorithm {

template <typename Prepared, template <int> class Count>
class match_counter_of {
  public:
    static constexpr match_counter counter() {
        return {fill<light_translations>, fill<heavy_translations>, fill<all_translations>};
    }

  private:
    template <typename Set>
    static void fill(const unsigned char* a, const unsigned char* b,
                     int counts[MATCH_TRANSLATIONS]) {
        const Prepared prepared(a, b);
        fill_each(prepared, counts, Set());
    }

    template <int... I>
    static void fill_each(const Prepared& prepared, int counts[MATCH_TRANSLATIONS],
                          std::integer_sequence<int, I...>) {
        ((counts[I] = Count<I>::run(prepared)), ...);
    }
};

}  // namespace palm_algorithm

#endif  // PALM_MATCHING_MATCH_COUNTER_OF_H_
