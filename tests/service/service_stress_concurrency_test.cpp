// Random operations on the exported C functions from eight threads for a
// bounded time, then a check that the store is consistent: every name that
// was pushed and not deleted still matches its latest template, and no
// deleted name matches anything. Also run under ThreadSanitizer, so the sizes
// stay small.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "palm/service/palm_service.h"
#include "sim/synthetic_records.h"

namespace {

const int THREADS = 8;
const int OWN_NAMES = 5;
const int VERSIONS = 2;
const int SHARED_NAMES = 4;
const double SECONDS = 2.0;

// Always present: every thread's own names can be checked against them.
const int STABLE_SERIAL = 7100;
const int STABLE_PARALLEL = 7101;
const int STABLE[2] = {STABLE_SERIAL, STABLE_PARALLEL};
// Created and deleted by any thread at any time.
const int CHURN_FIRST = 7110;
const int CHURN_COUNT = 4;

struct own_name {
    std::string name;
    std::string texts[VERSIONS];
    int version = -1;                   // the template stored now, -1 for none
    bool known = false;                 // in the store's name list (pushed or assigned)
    bool assigned[2] = {false, false};  // to STABLE[0], STABLE[1]
};

struct worker_state {
    std::vector<own_name> names;
    std::vector<std::string> failures;
    long operations = 0;
};

void fail(worker_state& w, std::string const& what) {
    if (w.failures.size() < 20)
        w.failures.push_back(what);
}

std::string text_of(int cells, std::mt19937& rng) {
    return palm_test::feature_text(palm_test::random_record(cells, rng));
}

void run_worker(int id, worker_state& w, std::vector<std::string> const& shared_names,
                std::vector<std::string> const& shared_texts, std::atomic<bool> const& stop) {
    std::mt19937 rng(1000u + static_cast<unsigned>(id));
    auto pick = [&rng](int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); };
    while (!stop.load(std::memory_order_relaxed)) {
        own_name& own = w.names[pick(OWN_NAMES)];
        int const s = pick(2);
        int const churn = CHURN_FIRST + pick(CHURN_COUNT);
        switch (pick(12)) {
            case 0: {  // push a (new) template under an own name
                int const v = pick(VERSIONS);
                if (!push_template(own.name.c_str(), own.texts[v].c_str()))
                    fail(w, "push " + own.name);
                own.version = v;
                own.known = true;
                break;
            }
            case 1: {  // delete an own name: true exactly when it was known
                bool const was = delete_template(own.name.c_str());
                if (was != own.known)
                    fail(w, "delete result of " + own.name);
                own.version = -1;
                own.known = false;
                own.assigned[0] = own.assigned[1] = false;
                break;
            }
            case 2: {  // assign to a stable partition: true exactly when new there
                bool const added = assign_user_to_partition(STABLE[s], own.name.c_str());
                if (added == own.assigned[s])
                    fail(w, "assign result of " + own.name);
                own.assigned[s] = true;
                own.known = true;
                break;
            }
            case 3:
                remove_user_from_partition(STABLE[s], own.name.c_str());
                own.assigned[s] = false;
                break;
            case 4:  // assignments to partitions that may come and go
                if (assign_user_to_partition(churn, own.name.c_str()))
                    own.known = true;
                if (pick(2) == 0)
                    remove_user_from_partition(churn, own.name.c_str());
                break;
            case 5: {  // one to one against the store
                int const v = pick(VERSIONS);
                bool const expected = own.version == v;
                if (match_1v1_in_memory(STABLE[s], own.texts[v].c_str(), "", own.name.c_str()) !=
                    expected)
                    fail(w, "match_1v1_in_memory of " + own.name);
                break;
            }
            case 6: {  // one to one of two texts
                own_name const& other = w.names[pick(OWN_NAMES)];
                int const v = pick(VERSIONS);
                bool const same = &other == &own;
                if (match_1v1(STABLE[s], own.texts[v].c_str(), "", other.texts[v].c_str()) != same)
                    fail(w, "match_1v1 of " + own.name);
                match_1v1(churn, own.texts[v].c_str(), "", other.texts[v].c_str());
                break;
            }
            case 7: {  // one to many: an own template is found when it is there
                int const v = pick(VERSIONS);
                bool const found = match_1vN(STABLE[s], own.texts[v].c_str(), "");
                std::string const name = match_1vN_get_identify_user_name(STABLE[s]);
                bool const expected = own.version == v && own.assigned[s];
                if (found != expected)
                    fail(w, "match_1vN of " + own.name);
                if (found && name != own.name)
                    fail(w, "identified " + name + " for " + own.name);
                if (!found && !name.empty())
                    fail(w, "a name after a failed match_1vN");
                if (pick(2) == 0) {
                    match_1vN_reset_identify_process(STABLE[s]);
                    if (*match_1vN_get_identify_user_name(STABLE[s]) != 0)
                        fail(w, "reset kept a name");
                }
                break;
            }
            case 8:
                if (match_1vN(churn, own.texts[pick(VERSIONS)].c_str(), ""))
                    match_1vN_get_identify_user_name(churn);
                break;
            case 9: {  // policies: in range on a partition that exists
                // Policy 5 accepts any pair of distances, so it goes to the churn
                // partitions only: the stable ones must keep telling hands apart.
                int const policy = pick(7);
                if (policy != 5 && set_match_policy(STABLE[s], policy) != (policy < 5))
                    fail(w, "set_match_policy");
                set_match_policy(churn, policy);
                break;
            }
            case 10:
                if (pick(2) == 0)
                    create_partition(churn, pick(2));
                else
                    delete_partition(churn);
                break;
            case 11: {  // names every thread pushes and deletes
                int const k = pick(SHARED_NAMES);
                char const* name = shared_names[k].c_str();
                switch (pick(4)) {
                    case 0:
                        if (!push_template(name, shared_texts[k].c_str()))
                            fail(w, "push shared");
                        break;
                    case 1:
                        delete_template(name);
                        break;
                    case 2:
                        assign_user_to_partition(STABLE[s], name);
                        break;
                    default:
                        if (match_1vN(STABLE[s], shared_texts[k].c_str(), "") &&
                            match_1vN_get_identify_user_name(STABLE[s]) != shared_names[k])
                            fail(w, "a shared text identified someone else");
                        break;
                }
                break;
            }
        }
        ++w.operations;
    }
}

}  // namespace

TEST(ServiceStress, RandomOperationsFromEightThreadsLeaveAConsistentStore) {
    ASSERT_TRUE(create_partition(STABLE_SERIAL, 0));
    ASSERT_TRUE(create_partition(STABLE_PARALLEL, 1));

    std::mt19937 rng(77);
    std::vector<worker_state> workers(THREADS);
    for (int t = 0; t < THREADS; ++t) {
        workers[t].names.resize(OWN_NAMES);
        for (int k = 0; k < OWN_NAMES; ++k) {
            own_name& own = workers[t].names[k];
            own.name = "stress-" + std::to_string(t) + "-" + std::to_string(k);
            for (int v = 0; v < VERSIONS; ++v)
                own.texts[v] = text_of(1 + (k + v) % 2, rng);
        }
    }
    std::vector<std::string> shared_names, shared_texts;
    for (int k = 0; k < SHARED_NAMES; ++k) {
        shared_names.push_back("stress-shared-" + std::to_string(k));
        shared_texts.push_back(text_of(1, rng));
    }

    std::atomic<bool> stop(false);
    auto const start = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back(run_worker, t, std::ref(workers[t]), std::cref(shared_names),
                             std::cref(shared_texts), std::cref(stop));
    std::this_thread::sleep_for(std::chrono::duration<double>(SECONDS));
    stop = true;
    for (auto& thread : threads)
        thread.join();
    double const elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

    long operations = 0;
    for (auto const& w : workers) {
        operations += w.operations;
        for (auto const& f : w.failures)
            ADD_FAILURE() << f;
    }
    std::printf("service stress: %ld operations, %d threads, %.2f s\n", operations, THREADS,
                elapsed);
    EXPECT_GT(operations, THREADS);

    // The store afterwards, from one thread.
    int present = 0;
    for (auto const& w : workers) {
        for (auto const& own : w.names) {
            for (int v = 0; v < VERSIONS; ++v) {
                bool const expected = own.version == v;
                EXPECT_EQ(expected, match_1v1_in_memory(STABLE_SERIAL, own.texts[v].c_str(), "",
                                                        own.name.c_str()))
                    << own.name << " version " << v;
                for (int s = 0; s < 2; ++s) {
                    bool const found = match_1vN(STABLE[s], own.texts[v].c_str(), "");
                    EXPECT_EQ(expected && own.assigned[s], found)
                        << own.name << " in " << STABLE[s];
                    if (found) {
                        EXPECT_EQ(own.name, match_1vN_get_identify_user_name(STABLE[s]));
                    }
                }
            }
            if (own.version >= 0)
                ++present;
            EXPECT_EQ(own.known, delete_template(own.name.c_str())) << own.name;
        }
    }
    std::printf("service stress: %d of %d own names held a template at the end\n", present,
                THREADS * OWN_NAMES);
    for (auto const& name : shared_names)
        delete_template(name.c_str());
    for (int id = CHURN_FIRST; id < CHURN_FIRST + CHURN_COUNT; ++id)
        delete_partition(id);
    EXPECT_TRUE(delete_partition(STABLE_SERIAL));
    EXPECT_TRUE(delete_partition(STABLE_PARALLEL));
}
