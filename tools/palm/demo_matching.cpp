// The demo's matching part: noisy probes of enrolled users and probes of
// strangers, one-to-one and one-to-many, on the serial and parallel
// partitions of the store section.
#include <cstdio>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "demo_sections.h"
#include "palm/service/palm_service.h"
#include "sim/synthetic_records.h"

namespace palm_tool {

namespace {

struct probe_set {
    std::vector<std::string> texts;
    std::vector<int> owners;  // user index, -1 for a stranger
};

probe_set make_probes(demo_state const& state, int enrolled, int strangers) {
    std::mt19937 rng(state.seed + 1);
    probe_set set;
    for (int k = 0; k < enrolled; ++k) {
        int const owner = static_cast<int>(rng() % static_cast<unsigned>(state.users));
        // A new capture: every code bit flipped with probability 0.08.
        set.texts.push_back(palm_test::feature_text(palm_test::noisy_probe(
            state.templates[static_cast<std::size_t>(owner)], 1, 0.08, rng)));
        set.owners.push_back(owner);
    }
    for (int k = 0; k < strangers; ++k) {
        set.texts.push_back(palm_test::feature_text(palm_test::random_record(1, rng)));
        set.owners.push_back(-1);
    }
    return set;
}

}  // namespace

int demo_matching(demo_state& state) {
    std::cout << "== server matching\n";
    int const enrolled_probes = 100, stranger_probes = 50;
    probe_set const probes = make_probes(state, enrolled_probes, stranger_probes);
    int failures = 0;

    // One-to-one: each probe against its claimed user's stored template.
    {
        demo_clock clock;
        int accepted = 0, false_accepts = 0;
        for (std::size_t k = 0; k < probes.texts.size(); ++k) {
            int const claimed =
                probes.owners[k] >= 0 ? probes.owners[k] : static_cast<int>(k) % state.users;
            bool const ok = match_1v1_in_memory(state.serial_id, probes.texts[k].c_str(), "",
                                                demo_user_name(claimed).c_str());
            if (ok && probes.owners[k] >= 0)
                ++accepted;
            if (ok && probes.owners[k] < 0)
                ++false_accepts;
        }
        double const ms = clock.ms();
        std::printf(
            "match_1v1_in_memory: %d of %d genuine accepted, %d of %d impostors accepted, "
            "%.3f ms per call\n",
            accepted, enrolled_probes, false_accepts, stranger_probes,
            ms / static_cast<double>(probes.texts.size()));
        failures += accepted == enrolled_probes && false_accepts == 0 ? 0 : 1;
    }

    // One-to-many on both partitions.
    for (int id : {state.serial_id, state.parallel_id}) {
        demo_clock clock;
        int correct = 0, wrong = 0, strangers_rejected = 0;
        for (std::size_t k = 0; k < probes.texts.size(); ++k) {
            bool const found = match_1vN(id, probes.texts[k].c_str(), "");
            std::string const name = match_1vN_get_identify_user_name(id);
            if (probes.owners[k] >= 0) {
                if (found && name == demo_user_name(probes.owners[k]))
                    ++correct;
                else
                    ++wrong;
            } else if (!found) {
                ++strangers_rejected;
            }
        }
        double const ms = clock.ms();
        std::printf(
            "match_1vN on %s partition of %d users: %d of %d enrolled identified, %d wrong, "
            "%d of %d strangers rejected, %.2f ms per probe\n",
            id == state.parallel_id ? "parallel" : "serial", state.users, correct, enrolled_probes,
            wrong, strangers_rejected, stranger_probes,
            ms / static_cast<double>(probes.texts.size()));
        failures += correct == enrolled_probes && strangers_rejected == stranger_probes ? 0 : 1;
    }
    return failures;
}

}  // namespace palm_tool
