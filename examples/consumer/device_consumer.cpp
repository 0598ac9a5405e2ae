// Codes two 110x110 regions of one synthetic palm (a slightly moved second
// capture) and a third of another palm, matches them, and writes the first
// palm's record as feature text for the server consumer.
//   device_consumer OUT_TEXT_FILE
#include <palm/extraction/i_feature_extractor.h>
#include <palm/feature/crypt_feature.h>
#include <palm/feature/user_palm_feature.h>
#include <palm/image/palm_image.h>
#include <palm/matching/i_feature_match.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

// A region of oriented lines, as a palm print shows them; `seed` chooses the
// palm and `shift` moves it by whole pixels.
palm_share::palm_image region(int seed, int shift) {
    palm_share::palm_image img(110, 110);
    unsigned char* p = img.GetBuffer();
    for (int y = 0; y < 110; ++y)
        for (int x = 0; x < 110; ++x) {
            double const u = x + shift, v = y;
            double const a = std::sin(0.21 * u + 0.13 * v * (seed % 5 + 1) + seed);
            double const b = std::sin(0.05 * u * (seed % 3 + 1) - 0.17 * v + 2.0 * seed);
            p[y * 110 + x] = static_cast<unsigned char>(128 + 60 * a + 50 * b);
        }
    return img;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: device_consumer OUT_TEXT_FILE\n");
        return 2;
    }
    palm_algorithm::i_feature_extractor* coder = palm_algorithm::get_extractor_inst();
    palm_algorithm::i_feature_match* matcher = palm_algorithm::get_feature_match_inst();
    palm_feature::single_feature first, again, other;
    if (!coder->extract(region(3, 0), first) || !coder->extract(region(3, 1), again) ||
        !coder->extract(region(8, 0), other)) {
        std::fprintf(stderr, "coding failed\n");
        return 1;
    }
    float const same = matcher->match(first, again, palm_algorithm::i_feature_match::DEGREE_ALL);
    float const different =
        matcher->match(first, other, palm_algorithm::i_feature_match::DEGREE_ALL);
    std::printf("same palm %.4f, different palms %.4f\n", same, different);

    palm_feature::user_palm_feature record;
    palm_feature::palm_cell<palm_feature::single_feature> cell;
    cell.first = first;
    cell.second = again;
    record.add(cell);
    std::string text, digest;
    if (!crypt_feature(record, text, digest))
        return 1;
    std::ofstream(argv[1]) << text;
    std::printf("feature text of %zu characters, md5 %s\n", text.size(), digest.c_str());
    return same < different ? 0 : 1;
}
