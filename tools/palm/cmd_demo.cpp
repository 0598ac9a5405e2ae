// "palm demo": an end-to-end session on synthetic data, through the same C
// functions a server uses.
#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "command.h"
#include "demo_sections.h"
#include "palm/service/palm_service.h"
#include "sim/synthetic_records.h"

namespace palm_tool {

demo_clock::demo_clock() : start_(std::chrono::steady_clock::now()) {}

double demo_clock::ms() const {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
        .count();
}

std::string demo_user_name(int i) {
    char name[32];
    std::snprintf(name, sizeof(name), "user-%05d", i);
    return name;
}

// Pushes the enrolled users' templates and groups them into partitions.
int demo_server_store(demo_state& state) {
    std::cout << "== server store\n";
    std::mt19937 rng(state.seed);
    state.templates.reserve(static_cast<std::size_t>(state.users));
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(state.users));
    for (int i = 0; i < state.users; ++i) {
        state.templates.push_back(palm_test::random_record(state.cells, rng));
        texts.push_back(palm_test::feature_text(state.templates.back()));
    }
    std::cout << "templates: " << state.users << " users x " << state.cells << " cells, text of "
              << texts[0].size() << " characters each\n";

    demo_clock push_clock;
    int stored = 0;
    for (int i = 0; i < state.users; ++i)
        stored += push_template(demo_user_name(i).c_str(), texts[i].c_str()) ? 1 : 0;
    double const push_ms = push_clock.ms();
    std::printf("push_template: %d of %d stored in %.1f ms (%.1f us per template)\n", stored,
                state.users, push_ms, 1000.0 * push_ms / state.users);

    // A refused text changes nothing.
    bool const refused = !push_template("intruder", "not a feature text");
    std::cout << "malformed text refused: " << (refused ? "yes" : "NO") << "\n";

    create_partition(state.serial_id, 0);
    create_partition(state.parallel_id, 1);
    demo_clock assign_clock;
    int assigned = 0;
    for (int i = 0; i < state.users; ++i) {
        assigned += assign_user_to_partition(state.serial_id, demo_user_name(i).c_str()) ? 1 : 0;
        assigned += assign_user_to_partition(state.parallel_id, demo_user_name(i).c_str()) ? 1 : 0;
    }
    std::printf("partitions %d (serial) and %d (parallel): %d assignments in %.1f ms\n",
                state.serial_id, state.parallel_id, assigned, assign_clock.ms());
    set_match_policy(state.serial_id, 1);
    set_match_policy(state.parallel_id, 1);

    // Replace one template and delete another, as a service would.
    bool const replaced = push_template(demo_user_name(1).c_str(), texts[1].c_str());
    std::string const gone = "leaver";
    push_template(gone.c_str(), texts[0].c_str());
    assign_user_to_partition(state.serial_id, gone.c_str());
    bool const deleted = delete_template(gone.c_str());
    bool const deleted_again = delete_template(gone.c_str());
    std::cout << "template replaced: " << (replaced ? "yes" : "NO")
              << "; deleted: " << (deleted ? "yes" : "NO")
              << "; second delete refused: " << (!deleted_again ? "yes" : "NO") << "\n";
    return stored == state.users && refused && replaced && deleted && !deleted_again ? 0 : 1;
}

namespace {

int run_demo(demo_state state) {
    if (state.users < 2 || state.cells < 1 || state.cells > 133)
        return fail("demo needs --users of at least 2 and --cells from 1 to 133");

    demo_clock total;
    int failures = 0;
    for (auto const& section : demo_sections())
        failures += section(state);
    delete_partition(state.serial_id);
    delete_partition(state.parallel_id);
    clear_templates();
    std::printf("demo finished in %.1f ms: %s\n", total.ms(),
                failures == 0 ? "all good" : "FAILED");
    return failures == 0 ? 0 : 1;
}

}  // namespace

std::vector<demo_section> const& demo_sections() {
    static std::vector<demo_section> const all = {demo_server_store, demo_matching, demo_frames,
                                                  demo_device,       demo_capture,  demo_cluster};
    return all;
}

}  // namespace palm_tool

namespace {

palm_tool::runner setup_demo(CLI::App& app) {
    auto state = std::make_shared<palm_tool::demo_state>();
    app.add_option("--users", state->users, "users on the server (3000)");
    app.add_option("--cells", state->cells, "cells of each template, 1 to 133 (25)");
    app.add_option("--seed", state->seed, "seed of the synthetic data (2026)");
    return [state] { return palm_tool::run_demo(*state); };
}

}  // namespace

PALM_COMMAND("demo", "palm demo [--users N] [--cells N] [--seed N]",
             "end-to-end session on synthetic data", "palm demo --users 1000", setup_demo);
