// The palm tool is a set of sub-commands. Each one lives in its own file and
// registers itself here at start-up, so adding a command touches no other file.
#ifndef PALM_TOOLS_PALM_COMMAND_H_
#define PALM_TOOLS_PALM_COMMAND_H_

#include <string>
#include <vector>

namespace palm_tool {

// A sub-command receives its own arguments (argv[0] is the command name) and
// returns the process exit code.
using command_fn = int (*)(std::vector<std::string> const& args);

struct command {
    std::string name;   // first word after "palm", e.g. "text"
    std::string usage;  // one or more lines shown by "palm help"
    command_fn run;
};

bool register_command(char const* name, char const* usage, command_fn run);
std::vector<command> const& commands();

// Prints "palm: " and the message to stderr and returns the exit code 2, so
// that a command can write `return fail("...")`.
int fail(std::string const& message);

}  // namespace palm_tool

#define PALM_TOOL_CONCAT2(a, b) a##b
#define PALM_TOOL_CONCAT(a, b) PALM_TOOL_CONCAT2(a, b)
#define PALM_COMMAND(name, usage, fn)                                        \
    static bool const PALM_TOOL_CONCAT(palm_command_registered_, __LINE__) = \
        ::palm_tool::register_command(name, usage, fn)

#endif  // PALM_TOOLS_PALM_COMMAND_H_
