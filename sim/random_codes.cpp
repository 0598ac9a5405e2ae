#include "sim/random_codes.h"

#include <cstring>

namespace palm_test {

void random_code(palm_feature::single_feature& f, std::mt19937& rng) {
    for (int i = 0; i < palm_feature::FEATURE_DATA_SIZE; i += 4) {
        uint32_t const v = rng();
        std::memcpy(f.data + i, &v, 4);
    }
}

void noisy_copy(palm_feature::single_feature const& src, palm_feature::single_feature& dst,
                double p, std::mt19937& rng) {
    dst = src;
    std::bernoulli_distribution flip(p);
    for (int i = 0; i < palm_feature::FEATURE_DATA_SIZE; ++i)
        for (int b = 0; b < 8; ++b)
            if (flip(rng))
                dst.data[i] ^= static_cast<unsigned char>(1u << b);
}

}  // namespace palm_test
