// Identification, one-to-one matching and store changes from many threads at
// once. Run under ThreadSanitizer this must report nothing; on its own it
// checks that every answer is still the right one.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "palm/recognition/rcg_environment.h"
#include "sim/synthetic_records.h"

using palm_feature::user_palm_feature;
using palm_recognition::rcg_environment;

namespace {

std::string text(user_palm_feature const& r) {
    return palm_test::feature_text(r);
}

}  // namespace

TEST(IdentificationConcurrency, ReadersAndWritersTogether) {
    rcg_environment env;
    std::mt19937 rng(99);
    int const users = 40;
    std::vector<user_palm_feature> templates;
    ASSERT_TRUE(env.create_partition(1, true));
    ASSERT_TRUE(env.create_partition(2, false));
    ASSERT_TRUE(env.create_partition(3, true));
    for (int i = 0; i < users; ++i) {
        templates.push_back(palm_test::random_record(10, rng));
        std::string const name = "user-" + std::to_string(i);
        ASSERT_TRUE(env.push_template(name.c_str(), text(templates.back()).c_str()));
        for (int p = 1; p <= 3; ++p)
            env.assign_user_to_partition(p, name.c_str());
    }
    std::vector<std::string> probes, enrolled_texts;
    for (int i = 0; i < users; ++i) {
        probes.push_back(text(palm_test::noisy_probe(templates[i], 1, 0.05, rng)));
        enrolled_texts.push_back(text(templates[i]));
    }

    std::atomic<int> wrong{0};
    std::atomic<int> identified{0};
    auto identifier = [&](int partition, int offset) {
        for (int round = 0; round < 12; ++round) {
            int const i = (offset + round * 3) % users;
            if (env.match_1vN(partition, probes[i].c_str(), "")) {
                ++identified;
                if (std::string(env.get_identify_user_name(partition)) !=
                    "user-" + std::to_string(i))
                    ++wrong;
            }
        }
    };
    auto one_to_one = [&](int offset) {
        for (int round = 0; round < 12; ++round) {
            int const i = (offset + round) % users;
            std::string const name = "user-" + std::to_string(i);
            if (!env.match_1v1(2, probes[i].c_str(), "", enrolled_texts[i].c_str()))
                ++wrong;
            env.match_1v1_in_lib(1, probes[i].c_str(), "", name.c_str());
        }
    };
    auto writer = [&]() {
        std::mt19937 local(7);
        for (int round = 0; round < 20; ++round) {
            std::string const name = "churn-" + std::to_string(round % 4);
            std::string const t = text(palm_test::random_record(5, local));
            env.push_template(name.c_str(), t.c_str());
            env.assign_user_to_partition(1 + round % 3, name.c_str());
            env.set_match_policy(1 + round % 3, 1);
            if (round % 3 == 2)
                env.delete_template(name.c_str());
            env.remove_user_from_partition(2, "churn-0");
            if (round == 10) {
                env.create_partition(4, true);
                env.delete_partition(4);
            }
        }
    };

    std::vector<std::thread> threads;
    threads.emplace_back(identifier, 1, 0);
    threads.emplace_back(identifier, 1, 1);
    threads.emplace_back(identifier, 2, 2);
    threads.emplace_back(identifier, 3, 5);
    threads.emplace_back(one_to_one, 0);
    threads.emplace_back(one_to_one, 20);
    threads.emplace_back(writer);
    for (auto& t : threads)
        t.join();

    EXPECT_EQ(0, wrong.load());
    EXPECT_EQ(48, identified.load());  // every enrolled probe is found
    // The store is consistent afterwards: every enrolled user is still there.
    for (int i = 0; i < users; ++i)
        EXPECT_TRUE(
            env.match_1v1_in_lib(1, probes[i].c_str(), "", ("user-" + std::to_string(i)).c_str()));
}

TEST(IdentificationConcurrency, ManyThreadsOnOnePartitionEachGetTheirOwnName) {
    rcg_environment env;
    std::mt19937 rng(5);
    ASSERT_TRUE(env.create_partition(1, true));
    std::vector<std::string> probes;
    for (int i = 0; i < 6; ++i) {
        auto const r = palm_test::random_record(5, rng);
        std::string const name = "n" + std::to_string(i);
        ASSERT_TRUE(env.push_template(name.c_str(), text(r).c_str()));
        env.assign_user_to_partition(1, name.c_str());
        probes.push_back(text(palm_test::noisy_probe(r, 1, 0.05, rng)));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 5; ++round) {
                if (!env.match_1vN(1, probes[t].c_str(), ""))
                    ++wrong;
                std::this_thread::yield();
                if (std::string(env.get_identify_user_name(1)) != "n" + std::to_string(t))
                    ++wrong;
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(0, wrong.load());
}
