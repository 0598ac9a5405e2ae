// "palm evaluate DATASET_DIR [--out DIR]" and "palm evaluate --synthetic N
// [--difficulty D]":
// accuracy on a dataset of regions. The evaluation is the Python module
// palm.evaluate; this command checks nothing itself and hands its arguments
// over to it, so that both ways of calling it behave alike.
#include <memory>
#include <string>
#include <vector>

#include "command.h"
#include "python_module.h"

namespace {

struct evaluate_options {
    std::string dataset;
    std::string out;
    std::string synthetic;
    std::string captures;
    std::string jobs;
    std::string difficulty;
    bool quiet = false;
};

int run_evaluate(evaluate_options const& opt) {
    std::vector<std::string> args;
    if (!opt.dataset.empty())
        args.push_back(opt.dataset);
    char const* const names[] = {"--out", "--synthetic", "--captures", "--jobs", "--difficulty"};
    std::string const* const values[] = {&opt.out, &opt.synthetic, &opt.captures, &opt.jobs,
                                         &opt.difficulty};
    for (int i = 0; i < 5; ++i) {
        if (!values[i]->empty()) {
            args.push_back(names[i]);
            args.push_back(*values[i]);
        }
    }
    if (opt.quiet)
        args.push_back("--quiet");
    return palm_tool::exec_python_module("palm.evaluate", args);
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
    app.add_option("--difficulty", opt->difficulty,
                   "how much synthetic captures vary: easy, realistic (default) or hard");
    app.add_flag("--quiet", opt->quiet, "no progress bar");
    return [opt] { return run_evaluate(*opt); };
}

}  // namespace

PALM_COMMAND("evaluate",
             "palm evaluate DATASET_DIR [--out DIR] | palm evaluate --synthetic N "
             "[--difficulty D] [--out DIR]",
             "error rates, EER and DET curve of print and vein on a dataset of regions, or on "
             "synthetic captures of --difficulty easy, realistic (default) or hard",
             "palm evaluate palms --out results", setup_evaluate);
