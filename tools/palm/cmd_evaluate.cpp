// "palm evaluate DATASET_DIR [--out DIR]" and "palm evaluate --synthetic N":
// accuracy on a dataset of regions. The evaluation is the Python module
// palm.evaluate; this command checks nothing itself and hands its arguments
// over to it, so that both ways of calling it behave alike.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "command.h"

namespace {

struct evaluate_options {
    std::string dataset;
    std::string out;
    std::string synthetic;
    std::string captures;
    std::string jobs;
    bool quiet = false;
};

#ifdef PALM_PYTHON
bool is_dir(std::string const& path) {
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
#endif

int run_evaluate(evaluate_options const& opt) {
#ifndef PALM_PYTHON
    (void)opt;
    return palm_tool::fail("evaluate needs the Python module palm, which this build left out");
#else
    // The package installed beside this program comes first, then the one
    // of the build tree this program was built in, then the interpreter's own.
    std::string path;
    for (std::string const& dir :
         {program_dir() + "/../lib/python3/dist-packages", std::string(PALM_PYTHON_BUILD_DIR)}) {
        if (is_dir(dir))
            path += (path.empty() ? "" : ":") + dir;
    }
    if (char const* old = std::getenv("PYTHONPATH"))
        path += (path.empty() || *old == '\0' ? "" : ":") + std::string(old);
    if (!path.empty())
        setenv("PYTHONPATH", path.c_str(), 1);

    std::vector<std::string> args = {PALM_PYTHON, "-m", "palm.evaluate"};
    if (!opt.dataset.empty())
        args.push_back(opt.dataset);
    char const* const names[] = {"--out", "--synthetic", "--captures", "--jobs"};
    std::string const* const values[] = {&opt.out, &opt.synthetic, &opt.captures, &opt.jobs};
    for (int i = 0; i < 4; ++i) {
        if (!values[i]->empty()) {
            args.push_back(names[i]);
            args.push_back(*values[i]);
        }
    }
    if (opt.quiet)
        args.push_back("--quiet");
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(&a[0]);
    argv.push_back(nullptr);
    execv(PALM_PYTHON, argv.data());
    return palm_tool::fail(std::string("cannot run ") + PALM_PYTHON + ": " + std::strerror(errno));
#endif
}

palm_tool::runner setup_evaluate(CLI::App& app) {
    auto opt = std::make_shared<evaluate_options>();
    app.add_option("DATASET_DIR", opt->dataset,
                   "folder with print/ID/NAME.EXT and vein/ID/NAME.EXT regions");
    app.add_option("--out", opt->out,
                   "folder for summary.json, pairs.csv, det.png and the histograms (evaluation)");
    app.add_option("--synthetic", opt->synthetic, "evaluate N synthetic palms instead");
    app.add_option("--captures", opt->captures, "captures of each synthetic palm (6)");
    app.add_option("--jobs", opt->jobs, "threads (all cores)");
    app.add_flag("--quiet", opt->quiet, "no progress bar");
    return [opt] { return run_evaluate(*opt); };
}

}  // namespace

PALM_COMMAND("evaluate",
             "palm evaluate DATASET_DIR [--out DIR] | palm evaluate --synthetic N [--out DIR]",
             "error rates, EER and DET curve of print and vein on a dataset of regions",
             "palm evaluate palms --out results", setup_evaluate);
