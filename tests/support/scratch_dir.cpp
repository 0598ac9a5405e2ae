#include "support/scratch_dir.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace palm_test {

scratch_dir::scratch_dir() {
    char cwd[PATH_MAX];
    if (getcwd(cwd, sizeof cwd) == nullptr)
        throw std::runtime_error("getcwd failed");
    previous_ = cwd;
    char const* const tmp = std::getenv("TMPDIR");
    std::string pattern =
        std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/palm_XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
    if (chdir(path_.c_str()) != 0)
        throw std::runtime_error("chdir failed");
}

scratch_dir::~scratch_dir() {
    if (chdir(previous_.c_str()) != 0)
        return;
    if (DIR* const dir = opendir(path_.c_str())) {
        while (dirent* const entry = readdir(dir)) {
            std::string const name = entry->d_name;
            if (name != "." && name != "..")
                std::remove((path_ + "/" + name).c_str());
        }
        closedir(dir);
    }
    rmdir(path_.c_str());
}

std::string scratch_dir::read(std::string const& name) const {
    std::ifstream in(path_ + "/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool scratch_dir::exists(std::string const& name) const {
    struct stat st;
    return stat((path_ + "/" + name).c_str(), &st) == 0;
}

}  // namespace palm_test
