// Entry of the palm tool: finds the sub-command named by the first argument
// and lets CLI11 parse the rest.
#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "command.h"

namespace palm_tool {

namespace {
std::vector<command>& registry() {
    static std::vector<command> all;
    return all;
}

std::string const version_text = "palm " PALM_VERSION;
}  // namespace

bool register_command(char const* name, char const* synopsis, char const* summary,
                      char const* example, setup_fn setup) {
    registry().push_back(command{name, synopsis, summary, example, setup});
    return true;
}

std::vector<command> const& commands() {
    return registry();
}

int fail(std::string const& message) {
    std::cerr << "palm: " << message << "\n";
    return 2;
}

int fail_usage(command const& c, std::string const& reason) {
    if (reason.empty())
        return fail("usage: " + c.synopsis);
    return fail(reason + " (usage: " + c.synopsis + ")");
}

int run_command(command const& c, std::vector<std::string> const& args) {
    CLI::App app{c.summary, "palm " + c.name};
    app.footer("Example:\n  " + c.example + "\n");
    app.set_help_flag("-h,--help", "print this help and exit");
    runner const run = c.setup(app);
    // CLI11 parses a reversed list, the last argument first.
    std::vector<std::string> rest(args.rbegin(), args.rend() - 1);
    try {
        app.parse(rest);
    } catch (CLI::CallForHelp const&) {
        // "palm cluster bench --help" shows the options of bench.
        CLI::App const* shown = &app;
        for (CLI::App const* sub : app.get_subcommands())
            shown = sub;
        std::string text = shown->help();
        std::string const usage = "Usage: " + shown->get_name();
        std::string::size_type const at = text.find(usage);
        if (shown != &app && at != std::string::npos)
            text.replace(at, usage.size(), "Usage: " + app.get_name() + " " + shown->get_name());
        std::cout << text;
        return 0;
    } catch (CLI::RequiredError const& e) {
        // A missing positional argument is a wrong count; a missing option
        // is named.
        std::string const what = e.what();
        if (what.find("--") == std::string::npos)
            return fail_usage(c);
        return fail_usage(c, what);
    } catch (CLI::ExtrasError const& e) {
        std::string const what = e.what();
        if (what.find(" -") == std::string::npos)
            return fail_usage(c);
        return fail_usage(c, what);
    } catch (CLI::ParseError const& e) {
        return fail_usage(c, e.what());
    }
    return run();
}

}  // namespace palm_tool

namespace {
void print_usage(std::ostream& out) {
    out << "usage: palm COMMAND [ARGS...]    (palm COMMAND --help for its options)\n\ncommands:\n";
    for (auto const& c : palm_tool::commands()) {
        // One line per form, so that each reads as it is typed.
        std::string::size_type start = 0;
        for (;;) {
            std::string::size_type const bar = c.synopsis.find(" | ", start);
            out << "  " << c.synopsis.substr(start, bar - start) << "\n";
            if (bar == std::string::npos)
                break;
            start = bar + 3;
        }
        out << "      " << c.summary << "\n";
    }
    out << "  palm --version\n      print the version\n";
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
    if (name == "--version" || name == "version") {
        std::cout << palm_tool::version_text << "\n";
        return 0;
    }
    std::vector<std::string> args(argv + 1, argv + argc);
    for (auto const& c : palm_tool::commands()) {
        if (c.name == name)
            return palm_tool::run_command(c, args);
    }
    std::cerr << "palm: unknown command '" << name << "'\n";
    print_usage(std::cerr);
    return 2;
}
