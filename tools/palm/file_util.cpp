#include "file_util.h"

#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <iterator>

namespace palm_tool {

bool read_whole_file(std::string const& path, std::string& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

bool write_whole_file(std::string const& path, std::string const& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out)
        return false;
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    return out.good();
}

bool make_dir(std::string const& path) {
    return mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

}  // namespace palm_tool
