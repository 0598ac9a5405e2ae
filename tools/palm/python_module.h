// Commands whose work is done by the Python package palm (evaluate, cluster,
// a part of demo) run it with the interpreter the package was built for. The
// package installed beside this program comes first, then the one of the
// build tree this program was built in, then the interpreter's own.
#ifndef PALM_TOOLS_PALM_PYTHON_MODULE_H_
#define PALM_TOOLS_PALM_PYTHON_MODULE_H_

#include <string>
#include <vector>

namespace palm_tool {

// Replaces this process by "python3 -m MODULE ARGS...": returns only on
// failure, with the tool's exit code and message.
int exec_python_module(std::string const& module, std::vector<std::string> const& args);

// Runs "python3 -m MODULE ARGS..." as a child sharing this program's output
// and waits for it. Its exit status, or -1 with `why` set when it could not
// run or was killed.
int run_python_module(std::string const& module, std::vector<std::string> const& args,
                      std::string& why);

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_PYTHON_MODULE_H_
