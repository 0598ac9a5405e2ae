// 32-bit fixed-point steps of the feature filters. Arithmetic wraps modulo
// 2^32 as the filters require; it is done on uint32_t, where the wrap is
// defined, and converted back.
#ifndef PALM_EXTRACTION_FIXED_POINT_H_
#define PALM_EXTRACTION_FIXED_POINT_H_

#include <cstdint>

namespace palm_share {
namespace fixed {

inline int32_t wrap(uint32_t v) {
    return static_cast<int32_t>(v);
}

inline int32_t add(int32_t a, int32_t b) {
    return wrap(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t sub(int32_t a, int32_t b) {
    return wrap(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t sum(int32_t a) {
    return a;
}

template <typename... Rest>
inline int32_t sum(int32_t a, Rest... rest) {
    return add(a, sum(rest...));
}

// The low 32 bits of a * b, rounded from 12 fractional bits to nearest,
// halves upward, by an arithmetic shift.
inline int32_t mul_round(int32_t a, int32_t b) {
    const int32_t p = wrap(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
    return (p >> 12) + ((p >> 11) & 1);
}

}  // namespace fixed
}  // namespace palm_share

#endif  // PALM_EXTRACTION_FIXED_POINT_H_
