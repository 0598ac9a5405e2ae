// A shard answers the stages of identifications on several threads while
// users come, change and go: the users under search keep their answers.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "palm/recognition/candidate_selection.h"
#include "palm/recognition/gallery_shard.h"
#include "sim/random_codes.h"
#include "sim/synthetic_records.h"

namespace {

using palm_recognition::gallery_shard;

// The shard's stages composed for one probe: the first cell whose verdicts
// select somebody.
std::string staged_identify(gallery_shard const& s, palm_feature::user_palm_feature const& probe) {
    for (auto const& cell : probe.cells) {
        std::vector<gallery_shard::coarse_user> list;
        if (!s.coarse(cell, list))
            return "coarse failed";
        std::vector<std::string> names;
        for (auto const& e : list)
            names.push_back(e.user);
        int const chosen = palm_recognition::select_candidate(s.fine(cell, names));
        if (chosen >= 0)
            return names[static_cast<std::size_t>(chosen)];
    }
    return "";
}

TEST(GalleryShardConcurrency, StagesAndIdentificationsBesidePushesAndDeletes) {
    gallery_shard shard(1, 2);
    std::mt19937 rng(21);
    std::vector<palm_feature::user_palm_feature> probes;
    std::vector<std::string> want;
    for (int u = 0; u < 60; ++u) {
        auto const r = palm_test::random_record(25, rng);
        std::string const name = "user " + std::to_string(u);
        ASSERT_TRUE(shard.push(name.c_str(), palm_test::feature_text(r).c_str()));
        if (u % 4 == 0) {
            palm_feature::user_palm_feature p;
            p.cells.resize(1);
            palm_test::noisy_copy(r[10].first, p.cells[0].first, 0.02, rng);
            palm_test::noisy_copy(r[10].second, p.cells[0].second, 0.02, rng);
            probes.push_back(p);
            want.push_back(name);
        }
    }
    probes.push_back(palm_test::random_record(2, rng));
    want.push_back("");
    std::vector<std::string> texts;
    for (auto const& p : probes)
        texts.push_back(palm_test::feature_text(p));
    for (std::size_t i = 0; i < probes.size(); ++i) {
        std::string name;
        shard.identify(texts[i].c_str(), name);
        ASSERT_EQ(want[i], name);
    }
    std::vector<std::string> strangers;
    for (int i = 0; i < 12; ++i)
        strangers.push_back(palm_test::feature_text(palm_test::random_record(25, rng)));

    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 6; ++round) {
                for (std::size_t i = 0; i < probes.size(); ++i) {
                    std::string name;
                    if ((round + t) % 2 == 0)
                        shard.identify(texts[i].c_str(), name);
                    else
                        name = staged_identify(shard, probes[i]);
                    if (name != want[i])
                        ++wrong;
                }
            }
        });
    }
    threads.emplace_back([&] {
        for (int round = 0; round < 4; ++round) {
            for (std::size_t i = 0; i < strangers.size(); ++i) {
                std::string const name = "stranger " + std::to_string(i);
                if (!shard.push(name.c_str(), strangers[(i + round) % strangers.size()].c_str()))
                    ++wrong;
                if ((i + round) % 3 == 0 && !shard.erase(name.c_str()))
                    ++wrong;
            }
        }
    });
    threads.emplace_back([&] {
        for (int round = 0; round < 200; ++round) {
            if (shard.policy() != 1 || shard.size() < 60 || shard.users().size() < 60 ||
                shard.memory_bytes() == 0)
                ++wrong;
        }
    });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(0, wrong.load());
}

}  // namespace
