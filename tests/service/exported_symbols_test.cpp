// What libpalm.so exports is a decision, not an accident of the build.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "support/shell.h"

namespace {

std::set<std::string> defined_dynamic_symbols(bool demangle) {
    int status = 0;
    std::string const out =
        palm_test::run_command(std::string("nm -D --defined-only ") + (demangle ? "-C " : "") +
                                   "'" + PALM_SHARED_LIBRARY_PATH + "' | cut -c20-",
                               "", &status);
    EXPECT_EQ(0, status);
    std::set<std::string> names;
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line))
        if (!line.empty())
            names.insert(line);
    return names;
}

}  // namespace

TEST(ExportedSymbols, TheFourteenCFunctionsUnderTheirPlainNames) {
    auto const names = defined_dynamic_symbols(false);
    for (char const* f :
         {"create_partition", "delete_partition", "clear_partitions", "set_match_policy",
          "push_template", "delete_template", "clear_templates", "assign_user_to_partition",
          "remove_user_from_partition", "match_1v1", "match_1v1_in_memory", "match_1vN",
          "match_1vN_get_identify_user_name", "match_1vN_reset_identify_process"})
        EXPECT_EQ(1u, names.count(f)) << f;
}

TEST(ExportedSymbols, DeviceApiIsExportedAndInternalsAreHidden) {
    auto const names = defined_dynamic_symbols(true);
    auto exported = [&](std::string const& prefix) {
        for (auto const& n : names)
            if (n.compare(0, prefix.size(), prefix) == 0)
                return true;
        return false;
    };
    EXPECT_TRUE(exported("palm_feature::unpack_feature("));
    EXPECT_TRUE(exported("palm_feature::user_palm_feature::read("));
    EXPECT_TRUE(exported("crypt_feature("));
    EXPECT_TRUE(exported("palm_algorithm::get_feature_match_inst()"));
    EXPECT_TRUE(exported("palm_workflow::create_feature_login()"));
    // The server's internals stay inside the library.
    EXPECT_FALSE(exported("palm_recognition::"));
    EXPECT_FALSE(exported("palm_feature::feature_block_pool"));
}
