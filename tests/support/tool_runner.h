// Runs the real palm tool from tests.
#ifndef PALM_TESTS_SUPPORT_TOOL_RUNNER_H_
#define PALM_TESTS_SUPPORT_TOOL_RUNNER_H_

#include <string>

namespace palm_test {

struct tool_result {
    int status;       // exit status
    std::string out;  // standard output
    std::string err;  // standard error
};

// Runs `tool` with the arguments (a shell-quoted string).
tool_result run_tool(std::string const& tool, std::string const& arguments);

}  // namespace palm_test

#endif  // PALM_TESTS_SUPPORT_TOOL_RUNNER_H_
