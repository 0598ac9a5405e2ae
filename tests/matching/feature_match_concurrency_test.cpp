// Identification runs the matcher on several threads at once; no call may
// see another call's codes.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "palm/matching/feature_match.h"
#include "sim/code_patterns.h"

using palm_algorithm::i_feature_match;
using palm_feature::single_feature;

namespace {

constexpr int THREADS = 4;
constexpr int PAIRS_PER_THREAD = 50;
constexpr int ROUNDS = 20;

struct work {
    std::vector<single_feature> first;
    std::vector<single_feature> second;
    std::vector<float> expected;  // three degrees per pair, from one thread
    int mismatches = 0;
};

}  // namespace

TEST(FeatureMatchConcurrency, ThreadsOnDifferentPairsGetTheirSingleThreadResults) {
    i_feature_match* matcher = palm_algorithm::get_feature_match_inst();
    std::vector<work> works(THREADS);
    for (int t = 0; t < THREADS; ++t) {
        work& w = works[t];
        w.first.resize(PAIRS_PER_THREAD);
        w.second.resize(PAIRS_PER_THREAD);
        for (int i = 0; i < PAIRS_PER_THREAD; ++i) {
            palm_test::varied_pair(1000u * t + i, w.first[i], w.second[i]);
            for (int d = 0; d < 3; ++d)
                w.expected.push_back(matcher->match(w.first[i], w.second[i],
                                                    static_cast<i_feature_match::Match_Degree>(d)));
        }
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([matcher, &w = works[t]] {
            for (int round = 0; round < ROUNDS; ++round)
                for (int i = 0; i < PAIRS_PER_THREAD; ++i)
                    for (int d = 0; d < 3; ++d) {
                        float const got = matcher->match(
                            w.first[i], w.second[i], static_cast<i_feature_match::Match_Degree>(d));
                        w.mismatches += std::memcmp(&got, &w.expected[3 * i + d], sizeof got) != 0;
                    }
        });
    for (std::thread& t : threads)
        t.join();
    for (int t = 0; t < THREADS; ++t)
        EXPECT_EQ(0, works[t].mismatches) << "thread " << t;
}

TEST(FeatureMatchConcurrency, ReferencePathIsSafeOnThreadsToo) {
    palm_algorithm::CPalmMatch const& matcher = palm_algorithm::g_match_inst;
    std::vector<work> works(THREADS);
    for (int t = 0; t < THREADS; ++t) {
        work& w = works[t];
        w.first.resize(10);
        w.second.resize(10);
        for (int i = 0; i < 10; ++i) {
            palm_test::varied_pair(5000u * t + i, w.first[i], w.second[i]);
            w.expected.push_back(
                matcher.Match_Reference(w.first[i], w.second[i], i_feature_match::DEGREE_ALL));
        }
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < THREADS; ++t)
        threads.emplace_back([&matcher, &w = works[t]] {
            for (int round = 0; round < 5; ++round)
                for (int i = 0; i < 10; ++i) {
                    float const got = matcher.Match_Reference(w.first[i], w.second[i],
                                                              i_feature_match::DEGREE_ALL);
                    w.mismatches += std::memcmp(&got, &w.expected[i], sizeof got) != 0;
                }
        });
    for (std::thread& t : threads)
        t.join();
    for (int t = 0; t < THREADS; ++t)
        EXPECT_EQ(0, works[t].mismatches) << "thread " << t;
}
