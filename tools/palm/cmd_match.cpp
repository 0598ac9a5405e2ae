// "palm match A B": the distance between two palm codes at each degree.
#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "palm/feature/crypt_feature.h"
#include "palm/feature/single_feature.h"
#include "palm/feature/user_palm_feature.h"
#include "palm/matching/i_feature_match.h"
#include "palm/service/palm_service.h"

namespace {

using palm_algorithm::i_feature_match;
using palm_feature::single_feature;

// Reads a raw palm code: a file of exactly FEATURE_DATA_SIZE bytes. On
// failure `error` says why and the code is left as it was.
bool read_raw_feature(std::string const& path, single_feature& code, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot open '" + path + "'";
        return false;
    }
    std::vector<char> bytes;
    try {
        bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    } catch (std::exception const&) {  // e.g. the path is a folder
        in.setstate(std::ios::badbit);
    }
    if (in.bad()) {
        error = "cannot read '" + path + "'";
        return false;
    }
    if (bytes.size() != palm_feature::FEATURE_DATA_SIZE) {
        error = "'" + path + "' holds " + std::to_string(bytes.size()) +
                " bytes; a raw feature has " + std::to_string(palm_feature::FEATURE_DATA_SIZE);
        return false;
    }
    std::copy(bytes.begin(), bytes.end(), code.data);
    return true;
}

// One line per degree: its name and the distance with nine significant
// digits, enough to tell any two floats apart.
void print_distances(single_feature const& first, single_feature const& second) {
    struct degree_name {
        i_feature_match::Match_Degree degree;
        char const* name;
    };
    static degree_name const degrees[] = {{i_feature_match::DEGREE_LIGHT, "light"},
                                          {i_feature_match::DEGREE_HEAVY, "heavy"},
                                          {i_feature_match::DEGREE_ALL, "all"}};
    i_feature_match* matcher = palm_algorithm::get_feature_match_inst();
    for (degree_name const& d : degrees)
        std::printf("%s %.9g\n", d.name, matcher->match(first, second, d.degree));
    palm_algorithm::release_feature_match_inst();
}

// Size of a regular file, or -1.
long long file_size(std::string const& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return -1;
    return static_cast<long long>(st.st_size);
}

// Both arguments are raw code files.
int match_raw_files(std::string const& first_path, std::string const& second_path) {
    single_feature first, second;
    std::string error;
    if (!read_raw_feature(first_path, first, error) ||
        !read_raw_feature(second_path, second, error))
        return palm_tool::fail(error);
    print_distances(first, second);
    return 0;
}

// Both arguments are record files: the pair of cells that the server's
// one-to-one comparison would take (A's cells outer, the smallest print
// distance at degree all, the earlier pair on a tie), its distances at every
// degree, and the server's decision under `policy`.
int match_record_files(std::string const& first_path, std::string const& second_path, int policy) {
    palm_feature::user_palm_feature a, b;
    if (!a.load(first_path))
        return palm_tool::fail("'" + first_path + "' is neither a raw feature nor a record file");
    if (!b.load(second_path))
        return palm_tool::fail("'" + second_path + "' is neither a raw feature nor a record file");
    i_feature_match* matcher = palm_algorithm::get_feature_match_inst();
    float best = 1.0f;
    int best_a = -1, best_b = -1;
    for (int i = 0; i < a.size(); ++i)
        for (int j = 0; j < b.size(); ++j) {
            float const d = matcher->match(a[i].first, b[j].first, i_feature_match::DEGREE_ALL);
            if (best > d) {
                best = d;
                best_a = i;
                best_b = j;
            }
        }
    std::printf("cells %d %d\n", a.size(), b.size());
    if (best_a < 0) {
        std::printf("best none\n");
    } else {
        std::printf("best %d %d\n", best_a, best_b);
        std::printf("print:\n");
        print_distances(a[best_a].first, b[best_b].first);
        std::printf("vein:\n");
        print_distances(a[best_a].second, b[best_b].second);
    }

    // The decision is the server's own, through a private partition.
    std::string text_a, text_b, digest;
    if (!crypt_feature(a, text_a, digest) || !crypt_feature(b, text_b, digest))
        return palm_tool::fail("cannot encode the records");
    int const partition = INT_MIN + 20;
    create_partition(partition, 0);
    bool const policy_ok = set_match_policy(partition, policy);
    bool const accepted = policy_ok && match_1v1(partition, text_a.c_str(), "", text_b.c_str());
    delete_partition(partition);
    if (!policy_ok)
        return palm_tool::fail("policy must be 0 to 5");
    std::printf("policy %d %s\n", policy, accepted ? "accept" : "reject");
    return 0;
}

struct match_options {
    std::vector<std::string> files;
    std::string policy = "1";
};

int run_match(match_options const& opt) {
    std::vector<std::string> const& files = opt.files;
    char* end = nullptr;
    long const v = std::strtol(opt.policy.c_str(), &end, 10);
    if (opt.policy.empty() || *end != '\0' || v < 0 || v > 5)
        return palm_tool::fail("policy must be 0 to 5");
    int const policy = static_cast<int>(v);
    if (files.size() != 2)
        return palm_tool::fail("usage: palm match A B [--policy N]");
    bool const records = file_size(files[0]) > palm_feature::FEATURE_DATA_SIZE &&
                         file_size(files[1]) > palm_feature::FEATURE_DATA_SIZE;
    if (records)
        return match_record_files(files[0], files[1], policy);
    return match_raw_files(files[0], files[1]);
}

palm_tool::runner setup_match(CLI::App& app) {
    auto opt = std::make_shared<match_options>();
    app.add_option("FILES", opt->files, "A B: two raw 384-byte codes or two record files");
    app.add_option("--policy", opt->policy, "match policy 0 to 5 of the server's decision (1)");
    return [opt] { return run_match(*opt); };
}

}  // namespace

PALM_COMMAND("match", "palm match A B [--policy N]",
             "distance of two raw 384-byte palm codes at degrees light, heavy and all; for two "
             "record files also the best pair and the server's decision",
             "palm match alice.rec probe.rec --policy 1", setup_match);
