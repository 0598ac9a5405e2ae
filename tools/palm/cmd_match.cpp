// "palm match A B": the distance between two palm codes at each degree.
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "algorithm/i_feature_match.h"
#include "command.h"
#include "feature/single_feature.h"

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

int run_match(std::vector<std::string> const& args) {
    if (args.size() != 3)
        return palm_tool::fail("usage: palm match A B");
    return match_raw_files(args[1], args[2]);
}

}  // namespace

PALM_COMMAND("match",
             "  match A B                      distance of two raw 384-byte palm codes at\n"
             "                                 degrees light, heavy and all",
             run_match);
