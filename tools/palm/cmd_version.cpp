// "palm version": prints the tool's version.
#include <iostream>

#include "command.h"

namespace {
int run_version(std::vector<std::string> const&) {
    std::cout << "palm 0.1.0\n";
    return 0;
}
}  // namespace

PALM_COMMAND("version", "  version                        print the version", run_version);
