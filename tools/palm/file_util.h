// Small file helpers shared by the tool's commands.
#ifndef PALM_TOOLS_PALM_FILE_UTIL_H_
#define PALM_TOOLS_PALM_FILE_UTIL_H_

#include <string>

namespace palm_tool {

// Reads a whole file; false when it cannot be opened or read.
bool read_whole_file(std::string const& path, std::string& bytes);
// Writes a whole file; false on any failure.
bool write_whole_file(std::string const& path, std::string const& bytes);
// Creates a folder unless it exists; false when it can be neither.
bool make_dir(std::string const& path);

}  // namespace palm_tool

#endif  // PALM_TOOLS_PALM_FILE_UTIL_H_
