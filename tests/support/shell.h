// Runs a shell command for tests that compare against standard tools.
#ifndef PALM_TESTS_SUPPORT_SHELL_H_
#define PALM_TESTS_SUPPORT_SHELL_H_

#include <string>

namespace palm_test {

// Runs `command` with `input` on its standard input and returns its standard
// output; `status` receives the exit status (-1 when it could not run).
std::string run_command(std::string const& command, std::string const& input, int* status);

// A file name in the test temporary folder, unique to this process.
std::string temp_file(std::string const& name);

// Writes bytes to a file; false on failure.
bool write_file(std::string const& path, std::string const& bytes);

// The whole file, or an empty string.
std::string read_file(std::string const& path);

}  // namespace palm_test

#endif  // PALM_TESTS_SUPPORT_SHELL_H_
