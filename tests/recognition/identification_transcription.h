// One-to-many identification written out plainly, step by step as the
// search is defined, with none of the library's shortcuts: a vector of
// distances and one of best cells for every user, a sort of the whole list,
// then the fine stage, the verify stage and the selection. The differential
// tests hold the library's search against it.
#ifndef PALM_TESTS_RECOGNITION_IDENTIFICATION_TRANSCRIPTION_H_
#define PALM_TESTS_RECOGNITION_IDENTIFICATION_TRANSCRIPTION_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/thread/locks.hpp>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "palm/matching/i_feature_match.h"
#include "palm/recognition/decision.h"
#include "palm/recognition/rcg_environment.h"
#include "palm/recognition/rcg_partition_def.h"
#include "sim/random_codes.h"
#include "sim/synthetic_records.h"

namespace palm_test {

using cell_type = palm_recognition::rcg_partition_def::cell_type;
using trace_type = palm_recognition::rcg_partition_def::search_trace;

// How the library's search and the transcription compared over a run of
// cases, so that a run can show it met the situations it is meant to test.
struct differential_coverage {
    int searches = 0;
    int tied_slots = 0;          // neighbours in a list with equal distances
    int templateless_slots = 0;  // slots (0.0, 0) of users without a template
    int fine_improved = 0;       // slots whose user's best cell is not a sampled one
    int candidates = 0;
    int identified = 0;
};

// Holds the library's search of one probe cell against the transcription:
// the list (distances and user indices), the cell each slot's user won with,
// the candidates and the chosen user. The caller holds the partition's lock.
inline void expect_same_search(palm_recognition::rcg_partition_def const& partition,
                               cell_type const& cell, bool parallel,
                               differential_coverage& coverage, std::string const& what);

// The template of a user as a record of its own, in `record`; null when the
// user has none.
inline palm_feature::user_palm_feature const* stored_record(
    palm_recognition::rcg_partition_def const& partition, std::string const* user,
    palm_feature::user_palm_feature& record) {
    return partition.lib.copy_template(user, record) ? &record : nullptr;
}

// One probe cell against the users of a partition. `parallel` chooses the
// stride rule of the search on the workers.
inline trace_type transcribed_lib_match(palm_recognition::rcg_partition_def const& partition,
                                        cell_type const& probe, bool parallel) {
    trace_type out;
    std::vector<std::string const*> const& users = partition.users;
    std::size_t const n = users.size();
    if (n == 0)
        return out;
    palm_algorithm::i_feature_match* const matcher = palm_algorithm::get_feature_match_inst();
    auto const all = palm_algorithm::i_feature_match::DEGREE_ALL;
    std::vector<std::pair<double, int> > distances(n);
    std::vector<int> best_cells(n, 0);
    palm_feature::user_palm_feature record;

    for (std::size_t i = 0; i < n; ++i) {
        palm_feature::user_palm_feature const* const t = stored_record(partition, users[i], record);
        if (t == nullptr)
            continue;
        int const cells = t->size();
        int s;
        if (parallel)
            s = cells > 9 && cells % 5 == 0 ? 5 : 1;
        else
            s = cells % 5 > 1 ? 5 : 1;
        float d = 1.0f;
        for (int k = 0; k < cells; k += s) {
            float const e = matcher->match(probe.first, (*t)[k].first, all);
            if (d > e) {
                best_cells[i] = k;
                d = e;
            }
        }
        distances[i] = std::make_pair(static_cast<double>(d), static_cast<int>(i));
    }

    std::sort(distances.begin(), distances.end());
    std::size_t const k = std::min<std::size_t>(n, 50);
    for (std::size_t j = 0; j < k; ++j) {
        int const i = distances[j].second;
        palm_feature::user_palm_feature const* const t = stored_record(partition, users[i], record);
        if (t == nullptr)
            continue;
        int const cells = t->size();
        if (!(cells > 9 && cells % 5 == 0))
            continue;
        for (int b = 0; b < cells; b += 5) {
            for (int c = b + 1; c <= b + 4; ++c) {
                double const e = matcher->match(probe.first, (*t)[c].first, all);
                if (e < distances[j].first) {
                    distances[j].first = e;
                    best_cells[i] = c;
                }
            }
        }
    }

    for (std::size_t j = 0; j < k; ++j) {
        int const i = distances[j].second;
        if (!(distances[j].first < partition.print_limit))
            continue;
        palm_feature::user_palm_feature const* const t = stored_record(partition, users[i], record);
        if (t == nullptr)
            continue;
        float const f = matcher->match(probe.second, (*t)[best_cells[i]].second, all);
        if (!(partition.vein_limit > f))
            continue;
        std::pair<float, float> const d(static_cast<float>(distances[j].first), f);
        if (palm_recognition::decision(d, partition.print_limit, partition.vein_limit,
                                       partition.bias))
            out.candidates.push_back(
                palm_recognition::rcg_partition_def::CANDINATE_INFO{d.first, f, i});
    }
    for (std::size_t j = 0; j < k; ++j) {
        out.list.push_back(distances[j]);
        out.cells.push_back(best_cells[static_cast<std::size_t>(distances[j].second)]);
    }

    float best = 2.0f;
    int index = -1;
    for (auto const& c : out.candidates) {
        float const q = c.print_dist * c.print_dist + c.vein_dist * c.vein_dist;
        if (q < best) {
            best = q;
            index = c.user_index;
        }
    }
    // Policy 5 can accept pairs of 1.0 and 1.0, which select nobody.
    out.chosen = index < 0 ? nullptr : users[static_cast<std::size_t>(index)];
    return out;
}

inline void expect_same_search(palm_recognition::rcg_partition_def const& partition,
                               cell_type const& cell, bool parallel,
                               differential_coverage& coverage, std::string const& what) {
    trace_type got;
    partition.lib_match(cell, parallel, &got);
    trace_type const want = transcribed_lib_match(partition, cell, parallel);
    ++coverage.searches;
    ASSERT_EQ(want.list.size(), got.list.size()) << what;
    for (std::size_t j = 0; j < want.list.size(); ++j) {
        ASSERT_EQ(want.list[j].first, got.list[j].first) << what << " slot " << j;
        ASSERT_EQ(want.list[j].second, got.list[j].second) << what << " slot " << j;
        ASSERT_EQ(want.cells[j], got.cells[j]) << what << " slot " << j;
        if (j > 0 && want.list[j].first == want.list[j - 1].first)
            ++coverage.tied_slots;
        if (want.list[j].first == 0.0 && want.list[j].second == 0)
            ++coverage.templateless_slots;
        if (want.cells[j] % 5 != 0)
            ++coverage.fine_improved;
    }
    ASSERT_EQ(want.candidates.size(), got.candidates.size()) << what;
    for (std::size_t c = 0; c < want.candidates.size(); ++c) {
        ASSERT_EQ(want.candidates[c].print_dist, got.candidates[c].print_dist) << what;
        ASSERT_EQ(want.candidates[c].vein_dist, got.candidates[c].vein_dist) << what;
        ASSERT_EQ(want.candidates[c].user_index, got.candidates[c].user_index) << what;
    }
    coverage.candidates += static_cast<int>(want.candidates.size());
    ASSERT_EQ(want.chosen, got.chosen) << what;
    if (want.chosen != nullptr)
        ++coverage.identified;
}

// A store and partitions filled at random, so that distances tie often: many
// cells are drawn from a small set of shared codes, some users have no
// template, and some probes are noisy copies of enrolled cells.
class random_identification_case {
  public:
    random_identification_case(unsigned seed, int max_users) : rng_(seed) {
        int const codes = 6 + static_cast<int>(rng_() % 20);
        for (int i = 0; i < codes; ++i) {
            palm_feature::single_feature f;
            if (i == 0)
                std::fill(f.data, f.data + palm_feature::FEATURE_DATA_SIZE, 0);
            else if (i == 1)
                std::fill(f.data, f.data + palm_feature::FEATURE_DATA_SIZE, 0xff);
            else
                random_code(f, rng_);
            shared_.push_back(f);
        }
        // Sizes spread evenly over the scale, small and large alike.
        double const scale = std::uniform_real_distribution<double>(0.0, 1.0)(rng_);
        users_ = std::max(1, static_cast<int>(std::pow(static_cast<double>(max_users), scale)));
    }

    int users() const { return users_; }
    std::mt19937& rng() { return rng_; }

    // A code: shared (ties), a noisy copy of a shared one, or fresh.
    void code(palm_feature::single_feature& f) {
        unsigned const kind = rng_() % 10;
        if (kind < 5)
            f = shared_[rng_() % shared_.size()];
        else if (kind < 7)
            noisy_copy(shared_[rng_() % shared_.size()], f, 0.03, rng_);
        else
            random_code(f, rng_);
    }

    palm_feature::user_palm_feature record(int cells) {
        palm_feature::user_palm_feature r;
        r.cells.resize(static_cast<std::size_t>(cells));
        for (auto& c : r.cells) {
            code(c.first);
            code(c.second);
        }
        return r;
    }

    // Fills the environment's partitions `ids` with the case's users: most
    // with a template of 1 to 30 cells (a fifth of them 25), some assigned
    // before their template comes, some never given one, some replaced or
    // deleted afterwards.
    std::vector<palm_feature::user_palm_feature> fill(palm_recognition::rcg_environment& env,
                                                      std::vector<int> const& ids) {
        std::vector<palm_feature::user_palm_feature> enrolled;
        std::vector<std::string> late;
        late_records_.clear();
        for (int u = 0; u < users_; ++u) {
            std::string const name = "u" + std::to_string(u);
            unsigned const kind = rng_() % 20;
            if (kind == 0) {  // never a template
                for (int id : ids)
                    env.assign_user_to_partition(id, name.c_str());
                continue;
            }
            int const cells = rng_() % 5 == 0 ? 25 : 1 + static_cast<int>(rng_() % 30);
            palm_feature::user_palm_feature r = record(cells);
            enrolled.push_back(r);
            if (kind == 1) {  // assigned first, template later
                for (int id : ids)
                    env.assign_user_to_partition(id, name.c_str());
                late.push_back(name);
                late_records_.push_back(r);
                continue;
            }
            env.store_template(env.intern_name(name.c_str()), r);
            for (int id : ids)
                env.assign_user_to_partition(id, name.c_str());
            if (kind == 2) {  // replaced by another template
                palm_feature::user_palm_feature again =
                    this->record(1 + static_cast<int>(rng_() % 30));
                enrolled.back() = again;
                env.store_template(env.find_name(name.c_str()), again);
            }
        }
        for (std::size_t i = 0; i < late.size(); ++i)
            env.store_template(env.find_name(late[i].c_str()), late_records_[i]);
        // A few users leave altogether.
        for (int u = 0; u < users_ / 50; ++u)
            env.delete_template(("u" + std::to_string(rng_() % users_)).c_str());
        return enrolled;
    }

    // A probe of 1 to 5 cells: noisy copies of enrolled cells, shared codes
    // or fresh ones.
    palm_feature::user_palm_feature probe(
        std::vector<palm_feature::user_palm_feature> const& enrolled) {
        palm_feature::user_palm_feature p;
        int const cells = 1 + static_cast<int>(rng_() % 5);
        for (int c = 0; c < cells; ++c) {
            cell_type cell;
            unsigned const kind = rng_() % 3;
            if (kind == 0 && !enrolled.empty()) {
                auto const& r = enrolled[rng_() % enrolled.size()];
                auto const& from = r[static_cast<int>(rng_() % r.size())];
                noisy_copy(from.first, cell.first, 0.02 * (rng_() % 4), rng_);
                noisy_copy(from.second, cell.second, 0.02 * (rng_() % 4), rng_);
            } else {
                code(cell.first);
                code(cell.second);
            }
            p.cells.push_back(cell);
        }
        return p;
    }

  private:
    std::mt19937 rng_;
    std::vector<palm_feature::single_feature> shared_;
    std::vector<palm_feature::user_palm_feature> late_records_;
    int users_;
};

// Partitions of every case: on the calling thread, on the default pool, and
// on pools of three and seven workers, so that several sweepers' lists meet.
const int SERIAL = 1, PARALLEL = 2, THREE_WORKERS = 3, SEVEN_WORKERS = 7;

// The name that match_1vN must give: the first probe cell that identifies
// somebody, by the transcription.
inline std::string transcribed_name(palm_recognition::rcg_partition_def const& p,
                                    palm_feature::user_palm_feature const& probe, bool parallel) {
    for (auto const& cell : probe.cells) {
        auto const trace = transcribed_lib_match(p, cell, parallel);
        if (trace.chosen != nullptr)
            return *trace.chosen;
    }
    return "";
}

// Runs `cases` random cases from `first_seed`, three probes each, through
// every partition, comparing each probe cell's search and each name.
inline void run_differential_cases(unsigned first_seed, int cases, int max_users,
                                   differential_coverage& coverage) {
    for (int n = 0; n < cases; ++n) {
        unsigned const seed = first_seed + static_cast<unsigned>(n);
        palm_recognition::rcg_environment env;
        ASSERT_TRUE(env.create_partition(SERIAL, false));
        ASSERT_TRUE(env.create_partition(PARALLEL, true));
        palm_recognition::rcg_partition_def::pin_worker_count(3);
        ASSERT_TRUE(env.create_partition(THREE_WORKERS, true));
        palm_recognition::rcg_partition_def::pin_worker_count(7);
        ASSERT_TRUE(env.create_partition(SEVEN_WORKERS, true));
        palm_recognition::rcg_partition_def::pin_worker_count(0);

        random_identification_case c(seed, max_users);
        auto const enrolled = c.fill(env, {SERIAL, PARALLEL, THREE_WORKERS, SEVEN_WORKERS});
        int const policy = static_cast<int>(c.rng()() % 6);
        for (int id : {SERIAL, PARALLEL, THREE_WORKERS, SEVEN_WORKERS})
            ASSERT_TRUE(env.set_match_policy(id, policy));

        for (int round = 0; round < 3; ++round) {
            auto const probe = c.probe(enrolled);
            for (int id : {SERIAL, PARALLEL, THREE_WORKERS, SEVEN_WORKERS}) {
                palm_recognition::rcg_partition_def* const p = env.find_partition(id);
                bool const parallel = id != SERIAL;
                std::string const what = "seed " + std::to_string(seed) + " users " +
                                         std::to_string(c.users()) + " partition " +
                                         std::to_string(id) + " policy " + std::to_string(policy);
                {
                    boost::unique_lock<boost::shared_mutex> lock(p->mutex);
                    for (auto const& cell : probe.cells)
                        expect_same_search(*p, cell, parallel, coverage, what);
                }
                if (::testing::Test::HasFatalFailure())
                    return;
                std::string const want = transcribed_name(*p, probe, parallel);
                bool const found = env.match_1vN(id, feature_text(probe).c_str(), "");
                EXPECT_EQ(!want.empty(), found) << what;
                EXPECT_EQ(want, env.get_identify_user_name(id)) << what;
            }
        }
    }
}

}  // namespace palm_test

#endif  // PALM_TESTS_RECOGNITION_IDENTIFICATION_TRANSCRIPTION_H_
