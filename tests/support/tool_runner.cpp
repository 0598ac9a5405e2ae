#include "support/tool_runner.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>

#include "support/shell.h"

namespace palm_test {

tool_result run_tool(std::string const& tool, std::string const& arguments) {
    std::string const out_path = temp_file("tool_out");
    std::string const err_path = temp_file("tool_err");
    std::string const command =
        "'" + tool + "' " + arguments + " > '" + out_path + "' 2> '" + err_path + "' < /dev/null";
    int const rc = std::system(command.c_str());
    tool_result result;
    result.status = rc == -1 ? -1 : WEXITSTATUS(rc);
    result.out = read_file(out_path);
    result.err = read_file(err_path);
    std::remove(out_path.c_str());
    std::remove(err_path.c_str());
    return result;
}

}  // namespace palm_test
