#include "support/shell.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace palm_test {

std::string temp_file(std::string const& name) {
    char const* dir = std::getenv("TMPDIR");
    std::string base = dir && *dir ? dir : "/tmp";
    return base + "/palm_test_" + std::to_string(::getpid()) + "_" + name;
}

bool write_file(std::string const& path, std::string const& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return out.good();
}

std::string read_file(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string run_command(std::string const& command, std::string const& input, int* status) {
    std::string const in_path = temp_file("cmd_in");
    std::string const out_path = temp_file("cmd_out");
    write_file(in_path, input);
    std::string const full = "(" + command + ") < '" + in_path + "' > '" + out_path + "'";
    int const rc = std::system(full.c_str());
    if (status)
        *status = rc == -1 ? -1 : WEXITSTATUS(rc);
    std::string out = read_file(out_path);
    std::remove(in_path.c_str());
    std::remove(out_path.c_str());
    return out;
}

}  // namespace palm_test
