// Writes synthetic feature texts for the Java client test and the example:
//   make_feature_texts DIR [USERS]
// DIR/templates/user-NNN.txt  a template of 5 cells of random codes
// DIR/probes/user-NNN.txt     one noisy new capture of that hand (1 cell)
// DIR/stranger.txt            a probe of nobody enrolled
// The texts come from the library's own encoder, so the Java side sees exactly
// what an enrolment device would send.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>

#include "sim/synthetic_records.h"

namespace {

bool write_text(std::string const& path, std::string const& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    return static_cast<bool>(out);
}

bool make_dir(std::string const& path) {
    return mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: make_feature_texts DIR [USERS]\n");
        return 2;
    }
    std::string const dir = argv[1];
    int const users = argc == 3 ? std::atoi(argv[2]) : 20;
    if (users < 1 || users > 999) {
        std::fprintf(stderr, "make_feature_texts: USERS must be 1 to 999\n");
        return 2;
    }
    if (!make_dir(dir) || !make_dir(dir + "/templates") || !make_dir(dir + "/probes")) {
        std::fprintf(stderr, "make_feature_texts: cannot create '%s'\n", dir.c_str());
        return 1;
    }
    std::mt19937 rng(20261121u);
    for (int i = 0; i < users; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "user-%03d.txt", i);
        auto const enrolled = palm_test::random_record(5, rng);
        auto const probe = palm_test::noisy_probe(enrolled, 1, 0.05, rng);
        if (!write_text(dir + "/templates/" + name, palm_test::feature_text(enrolled)) ||
            !write_text(dir + "/probes/" + name, palm_test::feature_text(probe))) {
            std::fprintf(stderr, "make_feature_texts: cannot write into '%s'\n", dir.c_str());
            return 1;
        }
    }
    if (!write_text(dir + "/stranger.txt",
                    palm_test::feature_text(palm_test::random_record(1, rng))))
        return 1;
    std::printf("%d templates, %d probes and a stranger in %s\n", users, users, dir.c_str());
    return 0;
}
