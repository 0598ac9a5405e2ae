// The differential test of identification on workers, small enough for
// ThreadSanitizer: the workers' lists must reach the calling thread whole,
// also while other threads search other partitions and environments.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "recognition/identification_transcription.h"

TEST(IdentificationDifferentialConcurrency, SearchOnWorkersEqualsItsTranscription) {
    palm_test::differential_coverage coverage;
    palm_test::run_differential_cases(7000, 4, 300, coverage);
    EXPECT_GT(coverage.searches, 40);
    EXPECT_GT(coverage.tied_slots, 20);
}

TEST(IdentificationDifferentialConcurrency, SearchesOnSeveralThreadsAtOnceEachEqualTheirs) {
    std::vector<palm_test::differential_coverage> coverage(3);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < coverage.size(); ++t)
        threads.emplace_back([t, &coverage] {
            palm_test::run_differential_cases(8000 + 100 * t, 2, 120, coverage[t]);
        });
    for (auto& t : threads)
        t.join();
    for (auto const& c : coverage)
        EXPECT_GT(c.searches, 10);
}

TEST(IdentificationDifferentialConcurrency, ThreadsTakingTurnsOnOnePartitionGetTheTranscribedName) {
    palm_recognition::rcg_environment env;
    ASSERT_TRUE(env.create_partition(1, true));
    palm_test::random_identification_case c(77, 300);
    auto const enrolled = c.fill(env, {1});
    std::vector<palm_feature::user_palm_feature> probes;
    std::vector<std::string> names;
    for (int i = 0; i < 8; ++i) {
        probes.push_back(c.probe(enrolled));
        names.push_back(palm_test::transcribed_name(*env.find_partition(1), probes.back(), true));
    }
    std::vector<int> wrong(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 6; ++round) {
                std::size_t const i = static_cast<std::size_t>((t + round) % 8);
                bool const found = env.match_1vN(1, palm_test::feature_text(probes[i]).c_str(), "");
                if (found != !names[i].empty() || names[i] != env.get_identify_user_name(1))
                    ++wrong[static_cast<std::size_t>(t)];
            }
        });
    }
    for (auto& t : threads)
        t.join();
    for (int w : wrong)
        EXPECT_EQ(0, w);
}
