#include "sim/synthetic_records.h"

#include <sstream>

#include "palm/feature/crypt_feature.h"
#include "sim/random_codes.h"

namespace palm_test {

palm_feature::user_palm_feature random_record(int cells, std::mt19937& rng) {
    palm_feature::user_palm_feature record;
    record.cells.resize(static_cast<std::size_t>(cells));
    for (auto& cell : record.cells) {
        random_code(cell.first, rng);
        random_code(cell.second, rng);
    }
    return record;
}

palm_feature::user_palm_feature noisy_probe(palm_feature::user_palm_feature const& enrolled,
                                            int cells, double noise, std::mt19937& rng) {
    palm_feature::user_palm_feature probe;
    probe.cells.resize(static_cast<std::size_t>(cells));
    for (int i = 0; i < cells; ++i) {
        auto const& source = enrolled[i % enrolled.size()];
        noisy_copy(source.first, probe[i].first, noise, rng);
        noisy_copy(source.second, probe[i].second, noise, rng);
    }
    return probe;
}

std::string feature_text(palm_feature::user_palm_feature const& record) {
    std::string text, digest;
    crypt_feature(record, text, digest);
    return text;
}

std::vector<std::string> random_texts(int count, int cells, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        texts.push_back(feature_text(random_record(cells, rng)));
    return texts;
}

std::string stream_bytes(palm_feature::user_palm_feature const& record) {
    std::ostringstream out;
    record.write(out);
    return out.str();
}

}  // namespace palm_test
