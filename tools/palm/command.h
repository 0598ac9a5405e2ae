// The palm tool is a set of sub-commands. Each one lives in its own file and
// registers itself here at start-up, so adding a command touches no other file.
//
// A command declares its arguments on a CLI11 parser and hands back the
// function that does the work once they are parsed:
//
//   palm_tool::runner setup_extract(CLI::App& app) {
//       auto opt = std::make_shared<extract_options>();
//       app.add_option("ROI", opt->roi, "110x110 region")->required();
//       return [opt] { return run_extract(*opt); };
//   }
//   PALM_COMMAND("extract", "palm extract ROI OUT | palm extract --hex ROI",
//                "code a 110x110 region into a 384-byte palm code",
//                "palm extract roi.png code.bin", setup_extract);
#ifndef PALM_TOOLS_PALM_COMMAND_H_
#define PALM_TOOLS_PALM_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace palm_tool {

// Runs a parsed command and returns the process exit code.
using runner = std::function<int()>;
// Declares a command's options on `app` and returns its runner.
using setup_fn = runner (*)(CLI::App& app);

struct command {
    std::string name;      // first word after "palm", e.g. "text"
    std::string synopsis;  // "palm text encode [-o TEXT_FILE] FILE... | ...", shown on errors
    std::string summary;   // one line for "palm help" and "palm NAME --help"
    std::string example;   // one command line shown by "palm NAME --help"
    setup_fn setup;
};

bool register_command(char const* name, char const* synopsis, char const* summary,
                      char const* example, setup_fn setup);
std::vector<command> const& commands();

// Prints "palm: " and the message to stderr and returns the exit code 2, so
// that a command can write `return fail("...")`.
int fail(std::string const& message);

// The same for a command line that does not fit the command: every such
// error, whatever the command, reads "palm: usage: SYNOPSIS" when arguments
// are missing or too many, and names the argument with the synopsis
// otherwise.
int fail_usage(command const& c, std::string const& reason = std::string());

// Parses the arguments of one command (args[0] is its name) and runs it.
int run_command(command const& c, std::vector<std::string> const& args);

}  // namespace palm_tool

#define PALM_TOOL_CONCAT2(a, b) a##b
#define PALM_TOOL_CONCAT(a, b) PALM_TOOL_CONCAT2(a, b)
#define PALM_COMMAND(name, synopsis, summary, example, setup)                \
    static bool const PALM_TOOL_CONCAT(palm_command_registered_, __LINE__) = \
        ::palm_tool::register_command(name, synopsis, summary, example, setup)

#endif  // PALM_TOOLS_PALM_COMMAND_H_
