// Entry of the palm tool: finds the sub-command named by the first argument.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "command.h"

namespace palm_tool {

namespace {
std::vector<command>& registry() {
    static std::vector<command> all;
    return all;
}
}  // namespace

bool register_command(char const* name, char const* usage, command_fn run) {
    registry().push_back(command{name, usage, run});
    return true;
}

std::vector<command> const& commands() {
    return registry();
}

int fail(std::string const& message) {
    std::cerr << "palm: " << message << "\n";
    return 2;
}

}  // namespace palm_tool

namespace {
void print_usage(std::ostream& out) {
    out << "usage: palm COMMAND [ARGS...]\n\ncommands:\n";
    for (auto const& c : palm_tool::commands())
        out << c.usage << "\n";
}
}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        print_usage(std::cerr);
        return 2;
    }
    std::string const name = argv[1];
    if (name == "help" || name == "--help" || name == "-h") {
        print_usage(std::cout);
        return 0;
    }
    std::vector<std::string> args(argv + 1, argv + argc);
    for (auto const& c : palm_tool::commands()) {
        if (c.name == name)
            return c.run(args);
    }
    std::cerr << "palm: unknown command '" << name << "'\n";
    print_usage(std::cerr);
    return 2;
}
