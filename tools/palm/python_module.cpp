#include "python_module.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "command.h"

namespace palm_tool {

namespace {

#ifdef PALM_PYTHON
bool holds_package(std::string const& path) {
    return !path.empty() && access((path + "/palm/__init__.py").c_str(), R_OK) == 0;
}

// The folder of this program, from /proc/self/exe.
std::string program_dir() {
    std::vector<char> path(4096);
    ssize_t const n = readlink("/proc/self/exe", path.data(), path.size() - 1);
    if (n <= 0)
        return ".";
    std::string const exe(path.data(), static_cast<std::size_t>(n));
    return exe.substr(0, exe.find_last_of('/'));
}

void set_python_path() {
    std::string path;
    for (std::string const& dir :
         {program_dir() + "/../lib/python3/dist-packages", std::string(PALM_PYTHON_BUILD_DIR)}) {
        if (holds_package(dir))
            path += (path.empty() ? "" : ":") + dir;
    }
    if (char const* old = std::getenv("PYTHONPATH"))
        path += (path.empty() || *old == '\0' ? "" : ":") + std::string(old);
    if (!path.empty())
        setenv("PYTHONPATH", path.c_str(), 1);
}

// Only async-signal-safe calls between fork and exec: the argument vector is
// built before.
struct python_argv {
    std::vector<std::string> args;
    std::vector<char*> argv;

    python_argv(std::string const& module, std::vector<std::string> const& rest)
        : args{PALM_PYTHON, "-m", module} {
        args.insert(args.end(), rest.begin(), rest.end());
        for (std::string& a : args)
            argv.push_back(&a[0]);
        argv.push_back(nullptr);
    }
};
#endif

#ifndef PALM_PYTHON
std::string left_out(std::string const& module) {
    return "this build left out the Python module palm, which " + module + " needs";
}
#endif

}  // namespace

int exec_python_module(std::string const& module, std::vector<std::string> const& args) {
#ifndef PALM_PYTHON
    (void)args;
    return fail(left_out(module));
#else
    set_python_path();
    python_argv call(module, args);
    std::cout.flush();
    std::fflush(stdout);
    execv(PALM_PYTHON, call.argv.data());
    return fail(std::string("cannot run ") + PALM_PYTHON + ": " + std::strerror(errno));
#endif
}

int run_python_module(std::string const& module, std::vector<std::string> const& args,
                      std::string& why) {
#ifndef PALM_PYTHON
    (void)args;
    why = left_out(module);
    return -1;
#else
    set_python_path();
    python_argv call(module, args);
    std::cout.flush();
    std::fflush(stdout);
    pid_t const child = fork();
    if (child < 0) {
        why = std::string("cannot start ") + PALM_PYTHON + ": " + std::strerror(errno);
        return -1;
    }
    if (child == 0) {
        execv(PALM_PYTHON, call.argv.data());
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            why = std::string("lost ") + PALM_PYTHON + ": " + std::strerror(errno);
            return -1;
        }
    }
    if (WIFSIGNALED(status)) {
        why = std::string(PALM_PYTHON) + " killed by signal " + std::to_string(WTERMSIG(status));
        return -1;
    }
    int const code = WEXITSTATUS(status);
    if (code == 127) {
        why = std::string("cannot run ") + PALM_PYTHON;
        return -1;
    }
    return code;
#endif
}

}  // namespace palm_tool
