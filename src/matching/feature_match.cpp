#include "palm/matching/feature_match.h"

#include <cstring>

namespace palm_algorithm {

const int g_piOverlapSize[MATCH_TRANSLATIONS] = {3072,                                            //
                                                 2976, 2883, 2976, 2883, 2976, 2883, 2976, 2883,  //
                                                 2880, 2700, 2880, 2700, 2880, 2700, 2880, 2700,  //
                                                 2784, 2523, 2784, 2523, 2784, 2523, 2784, 2523};

namespace {

// Single-precision reciprocals of the overlap sizes that some translations
// multiply by instead of dividing. A product and a quotient can differ in
// the last place; which one a translation uses is part of its result.
constexpr float RECIPROCAL_3072 = 0.00032552084f;
constexpr float RECIPROCAL_2523 = 0.00039635354f;
constexpr float RECIPROCAL_2784 = 0.0003591954f;

inline void keep_smaller(float& best, float distance) {
    if (distance < best)
        best = distance;
}

inline float scaled(int count, float reciprocal) {
    return static_cast<float>(count) * reciprocal;
}

inline float divided(int count, int index) {
    return static_cast<float>(count) / static_cast<float>(g_piOverlapSize[index]);
}

float light_distance(const int counts[MATCH_TRANSLATIONS]) {
    float best = 1.0f;
    keep_smaller(best, scaled(counts[0], RECIPROCAL_3072));
    for (int i : {18, 20, 22, 24})
        keep_smaller(best, scaled(counts[i], RECIPROCAL_2523));
    return best;
}

float heavy_distance(const int counts[MATCH_TRANSLATIONS]) {
    float best = 1.0f;
    for (int i = 1; i <= 16; ++i)
        keep_smaller(best, divided(counts[i], i));
    for (int i : {17, 19, 21, 23})
        keep_smaller(best, scaled(counts[i], RECIPROCAL_2784));
    return best;
}

}  // namespace

// Rounding to single precision never reverses an order, so the smallest of
// the rounded quotients is the rounding of the smallest exact quotient. That
// one is found by comparing fractions exactly in integers, and only it is
// divided. The centre keeps its own product, as Match_Reference does.
float match_all_distance(const int counts[MATCH_TRANSLATIONS]) {
    long long best_count = counts[1];
    long long best_overlap = g_piOverlapSize[1];
    for (int i = 2; i < MATCH_TRANSLATIONS; ++i) {
        // Selects rather than branches: which quotient is smallest is
        // unpredictable.
        bool const smaller = counts[i] * best_overlap < best_count * g_piOverlapSize[i];
        best_count = smaller ? counts[i] : best_count;
        best_overlap = smaller ? g_piOverlapSize[i] : best_overlap;
    }
    float best = 1.0f;
    keep_smaller(best, scaled(counts[0], RECIPROCAL_3072));
    keep_smaller(best, static_cast<float>(best_count) / static_cast<float>(best_overlap));
    return best;
}

namespace {

bool known_degree(i_feature_match::Match_Degree degree) {
    return degree == i_feature_match::DEGREE_LIGHT || degree == i_feature_match::DEGREE_HEAVY ||
           degree == i_feature_match::DEGREE_ALL;
}

}  // namespace

CPalmMatch::CPalmMatch() {
    m_byBitCount[0] = 0;
    for (unsigned i = 1; i < 65536; ++i) {
        unsigned char steps = 0;
        for (unsigned v = i; v != 0; v &= v - 1)
            ++steps;
        m_byBitCount[i] = steps;
    }
}

float CPalmMatch::match(const palm_feature::single_feature& first,
                        const palm_feature::single_feature& second, Match_Degree degree) {
    return Match_On(best_match_path(), first, second, degree);
}

float CPalmMatch::Match_Light(const palm_feature::single_feature& first,
                              const palm_feature::single_feature& second) const {
    return Match_On(best_match_path(), first, second, DEGREE_LIGHT);
}

float CPalmMatch::Match_Heavy(const palm_feature::single_feature& first,
                              const palm_feature::single_feature& second) const {
    return Match_On(best_match_path(), first, second, DEGREE_HEAVY);
}

float CPalmMatch::Match_All(const palm_feature::single_feature& first,
                            const palm_feature::single_feature& second) const {
    return Match_On(best_match_path(), first, second, DEGREE_ALL);
}

float CPalmMatch::Match_On(match_path path, const palm_feature::single_feature& first,
                           const palm_feature::single_feature& second, Match_Degree degree) const {
    if (!known_degree(degree))
        return 1.0f;
    const match_counter* counter = get_match_counter(path);
    if (counter == nullptr)
        return Match_Reference(first, second, degree);
    int counts[MATCH_TRANSLATIONS] = {};
    switch (degree) {
        case DEGREE_LIGHT:
            counter->light(first.data, second.data, counts);
            return light_distance(counts);
        case DEGREE_HEAVY:
            counter->heavy(first.data, second.data, counts);
            return heavy_distance(counts);
        case DEGREE_ALL:
            counter->all(first.data, second.data, counts);
            return match_all_distance(counts);
    }
    return 1.0f;
}

int CPalmMatch::table_pop(uint32_t word) const {
    return m_byBitCount[word & 0xffff] + m_byBitCount[word >> 16];
}

// Rows outer and planes inner, one 32-bit row word at a time: the second
// code's word is shifted by the column offset, exclusive-ored with the first
// code's word, and the bits without a partner are masked off.
int CPalmMatch::table_count(const uint32_t* const first[MATCH_PLANES],
                            const uint32_t* const second[MATCH_PLANES], int dr, int dc) const {
    const uint32_t mask = dc < 0 ? 0xffffffffu >> -dc : dc > 0 ? 0xffffffffu << dc : 0xffffffffu;
    int count = 0;
    for (int r = 0; r < MATCH_ROWS; ++r) {
        if (r + dr < 0 || r + dr >= MATCH_ROWS)
            continue;
        for (int p = 0; p < MATCH_PLANES; ++p) {
            uint32_t word = second[p][r + dr];
            if (dc < 0)
                word >>= -dc;
            if (dc > 0)
                word <<= dc;
            count += table_pop((first[p][r] ^ word) & mask);
        }
    }
    return count;
}

float CPalmMatch::Match_Reference(const palm_feature::single_feature& first,
                                  const palm_feature::single_feature& second,
                                  Match_Degree degree) const {
    // The plane addresses live in this call alone, so concurrent calls
    // cannot mix each other's codes.
    uint32_t words1[MATCH_PLANES * MATCH_ROWS];
    uint32_t words2[MATCH_PLANES * MATCH_ROWS];
    std::memcpy(words1, first.data, sizeof words1);
    std::memcpy(words2, second.data, sizeof words2);
    const uint32_t* const pdwPlane1[MATCH_PLANES] = {words1, words1 + 32, words1 + 64};
    const uint32_t* const pdwPlane2[MATCH_PLANES] = {words2, words2 + 32, words2 + 64};

    // The eight directions around the centre, axial and diagonal alternating.
    static const int directions[8][2] = {{1, 0},  {1, -1}, {0, -1}, {-1, -1},
                                         {-1, 0}, {-1, 1}, {0, 1},  {1, 1}};
    auto count = [&](int s, int j) {
        return table_count(pdwPlane1, pdwPlane2, s * directions[j][0], s * directions[j][1]);
    };

    float best = 1.0f;
    switch (degree) {
        case DEGREE_LIGHT:
            keep_smaller(best, scaled(table_count(pdwPlane1, pdwPlane2, 0, 0), RECIPROCAL_3072));
            for (int j = 1; j < 8; j += 2)
                keep_smaller(best, scaled(count(3, j), RECIPROCAL_2523));
            return best;
        case DEGREE_HEAVY:
            for (int s = 1; s <= 2; ++s)
                for (int j = 0; j < 8; ++j)
                    keep_smaller(best, divided(count(s, j), 8 * (s - 1) + j + 1));
            for (int j = 0; j < 8; j += 2)
                keep_smaller(best, scaled(count(3, j), RECIPROCAL_2784));
            return best;
        case DEGREE_ALL:
            keep_smaller(best, scaled(table_count(pdwPlane1, pdwPlane2, 0, 0), RECIPROCAL_3072));
            for (int s = 1; s <= 3; ++s)
                for (int j = 0; j < 8; ++j)
                    keep_smaller(best, divided(count(s, j), 8 * (s - 1) + j + 1));
            return best;
    }
    return 1.0f;
}

}  // namespace palm_algorithm
