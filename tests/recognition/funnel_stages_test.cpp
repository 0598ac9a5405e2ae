// The stages of an identification taken one by one: the coarse lists of
// several shards that split a gallery's users, merged by (distance, order in
// the gallery), the fine and verify stages on the shards that own the
// candidates, and the selection over all verdicts must give exactly what one
// parallel partition holding the same users in the same order gives, step by
// step and in the end.
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/thread/locks.hpp>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "palm/recognition/candidate_selection.h"
#include "palm/recognition/coarse_stage.h"
#include "palm/recognition/fine_verify_stage.h"
#include "palm/recognition/gallery_shard.h"
#include "palm/recognition/rcg_environment.h"
#include "palm/recognition/rcg_partition_def.h"
#include "recognition/identification_transcription.h"
#include "sim/synthetic_records.h"

namespace {

using palm_recognition::candidate_verdict;
using palm_recognition::gallery_shard;
using palm_recognition::rcg_environment;
using palm_recognition::rcg_partition_def;
typedef rcg_partition_def::cell_type cell_type;
typedef boost::shared_lock<boost::shared_mutex> shared_lock;
typedef boost::unique_lock<boost::shared_mutex> exclusive_lock;

const int WHOLE = 1;

struct funnel_coverage {
    int searches = 0;
    int cross_shard_lists = 0;  // merged lists holding users of several shards
    int truncated_lists = 0;    // more than 50 users offered to the merge
    int tied_slots = 0;
    int fine_improved = 0;
    int candidates = 0;
    int identified = 0;
    int later_cell_identified = 0;
    int repushed = 0;
    int deleted = 0;
    int pushed_after_delete = 0;
    bool probe_cells[6] = {};
    bool policies[6] = {};
};

// The gallery's search of one probe cell: what the merged list held, and
// the verdicts in its order.
struct composed_search {
    std::vector<std::tuple<double, int, int, std::string> > merged;  // distance, rank, shard, user
    std::vector<candidate_verdict> verdicts;
    int offered = 0;
    int chosen = -1;
};

composed_search compose(std::vector<std::unique_ptr<gallery_shard> > const& shards,
                        std::map<std::string, int> const& rank, cell_type const& cell) {
    composed_search out;
    for (std::size_t s = 0; s < shards.size(); ++s) {
        std::vector<gallery_shard::coarse_user> list;
        EXPECT_TRUE(shards[s]->coarse(cell, list));
        out.offered += static_cast<int>(list.size());
        for (auto const& e : list)
            out.merged.emplace_back(e.distance, rank.at(e.user), static_cast<int>(s), e.user);
    }
    std::sort(out.merged.begin(), out.merged.end(), [](auto const& a, auto const& b) {
        return std::get<0>(a) < std::get<0>(b) ||
               (std::get<0>(a) == std::get<0>(b) && std::get<1>(a) < std::get<1>(b));
    });
    if (out.merged.size() > static_cast<std::size_t>(rcg_partition_def::FINE_CANDIDATES))
        out.merged.resize(rcg_partition_def::FINE_CANDIDATES);
    out.verdicts.resize(out.merged.size());
    for (std::size_t s = 0; s < shards.size(); ++s) {
        std::vector<std::size_t> mine;
        std::vector<std::string> names;
        for (std::size_t j = 0; j < out.merged.size(); ++j) {
            if (std::get<2>(out.merged[j]) == static_cast<int>(s)) {
                mine.push_back(j);
                names.push_back(std::get<3>(out.merged[j]));
            }
        }
        if (mine.empty())
            continue;
        std::vector<candidate_verdict> const v = shards[s]->fine(cell, names);
        EXPECT_EQ(mine.size(), v.size());
        for (std::size_t k = 0; k < mine.size() && k < v.size(); ++k)
            out.verdicts[mine[k]] = v[k];
    }
    out.chosen = palm_recognition::select_candidate(out.verdicts);
    return out;
}

// A gallery split over shards beside one parallel partition of all its
// users, filled by the same pushes and deletes.
class sharded_gallery {
  public:
    sharded_gallery(unsigned seed, int shards, int policy, unsigned whole_workers)
        : rng_(seed), owner_rng_(seed * 7 + 1) {
        rcg_partition_def::pin_worker_count(whole_workers);
        bool const created = env_.create_partition(WHOLE, true);
        rcg_partition_def::pin_worker_count(0);
        EXPECT_TRUE(created);
        EXPECT_TRUE(env_.set_match_policy(WHOLE, policy));
        for (int s = 0; s < shards; ++s)
            shards_.emplace_back(new gallery_shard(policy, 1 + static_cast<unsigned>(s) % 4));
    }

    void push(std::string const& name, palm_feature::user_palm_feature const& record) {
        std::string const text = palm_test::feature_text(record);
        auto const it = owner_.find(name);
        int const s =
            it != owner_.end() ? it->second : static_cast<int>(owner_rng_() % shards_.size());
        owner_[name] = s;
        ASSERT_TRUE(env_.push_template(name.c_str(), text.c_str()));
        env_.assign_user_to_partition(WHOLE, name.c_str());
        ASSERT_TRUE(shards_[static_cast<std::size_t>(s)]->push(name.c_str(), text.c_str()));
        if (std::find(sequence_.begin(), sequence_.end(), name) == sequence_.end())
            sequence_.push_back(name);
    }

    void erase(std::string const& name) {
        auto const it = owner_.find(name);
        ASSERT_TRUE(it != owner_.end());
        ASSERT_TRUE(env_.delete_template(name.c_str()));
        ASSERT_TRUE(shards_[static_cast<std::size_t>(it->second)]->erase(name.c_str()));
        owner_.erase(it);
        sequence_.erase(std::find(sequence_.begin(), sequence_.end(), name));
    }

    bool holds(std::string const& name) const { return owner_.count(name) != 0; }

    // The partition holds the users in the gallery's order, and each shard
    // holds its own in that order too.
    void check_order() {
        rank_.clear();
        for (std::size_t i = 0; i < sequence_.size(); ++i)
            rank_[sequence_[i]] = static_cast<int>(i);
        rcg_partition_def* const whole = env_.find_partition(WHOLE);
        std::vector<std::string const*> const users = whole->users_snapshot();
        ASSERT_EQ(sequence_.size(), users.size());
        for (std::size_t i = 0; i < users.size(); ++i)
            ASSERT_EQ(sequence_[i], *users[i]);
        std::size_t total = 0;
        for (auto const& shard : shards_) {
            std::vector<std::string> const mine = shard->users();
            total += mine.size();
            for (std::size_t i = 1; i < mine.size(); ++i)
                ASSERT_LT(rank_.at(mine[i - 1]), rank_.at(mine[i]));
        }
        ASSERT_EQ(sequence_.size(), total);
    }

    // Each probe cell as the partition searches it and as the gallery does.
    void expect_same(palm_feature::user_palm_feature const& probe, funnel_coverage& coverage,
                     std::string const& what) {
        rcg_partition_def* const whole = env_.find_partition(WHOLE);
        std::string want;
        for (std::size_t c = 0; c < probe.cells.size(); ++c) {
            cell_type const& cell = probe.cells[c];
            rcg_partition_def::search_trace trace;
            std::vector<palm_recognition::coarse_entry> coarse;
            {
                shared_lock store(env_.mutex);
                exclusive_lock search(whole->mutex);
                ASSERT_TRUE(palm_recognition::coarse_stage(*whole, cell, coarse));
                whole->lib_match(cell, true, &trace);
            }
            composed_search const got = compose(shards_, rank_, cell);
            std::string const at = what + " cell " + std::to_string(c);
            ++coverage.searches;
            if (got.offered > rcg_partition_def::FINE_CANDIDATES)
                ++coverage.truncated_lists;
            ASSERT_EQ(trace.list.size(), got.merged.size()) << at;
            ASSERT_EQ(coarse.size(), got.merged.size()) << at;
            std::vector<rcg_partition_def::CANDINATE_INFO> accepted;
            bool several = false;
            for (std::size_t j = 0; j < got.merged.size(); ++j) {
                auto const& m = got.merged[j];
                candidate_verdict const& v = got.verdicts[j];
                ASSERT_EQ(coarse[j].distance, std::get<0>(m)) << at << " slot " << j;
                ASSERT_EQ(coarse[j].order, std::get<1>(m)) << at << " slot " << j;
                ASSERT_EQ(*coarse[j].user, std::get<3>(m)) << at << " slot " << j;
                ASSERT_EQ(trace.list[j].second, std::get<1>(m)) << at << " slot " << j;
                ASSERT_EQ(static_cast<float>(trace.list[j].first), v.print_dist) << at;
                ASSERT_EQ(trace.cells[j], v.cell) << at << " slot " << j;
                if (v.accepted)
                    accepted.push_back({v.print_dist, v.vein_dist, std::get<1>(m)});
                several = several || std::get<2>(m) != std::get<2>(got.merged[0]);
                if (j > 0 && std::get<0>(m) == std::get<0>(got.merged[j - 1]))
                    ++coverage.tied_slots;
                if (v.cell % 5 != 0)
                    ++coverage.fine_improved;
            }
            coverage.cross_shard_lists += several;
            ASSERT_EQ(trace.candidates.size(), accepted.size()) << at;
            for (std::size_t k = 0; k < accepted.size(); ++k) {
                ASSERT_EQ(trace.candidates[k].print_dist, accepted[k].print_dist) << at;
                ASSERT_EQ(trace.candidates[k].vein_dist, accepted[k].vein_dist) << at;
                ASSERT_EQ(trace.candidates[k].user_index, accepted[k].user_index) << at;
            }
            coverage.candidates += static_cast<int>(accepted.size());
            std::string const chosen =
                got.chosen < 0 ? "" : std::get<3>(got.merged[static_cast<std::size_t>(got.chosen)]);
            ASSERT_EQ(trace.chosen == nullptr ? std::string() : *trace.chosen, chosen) << at;
            if (!chosen.empty()) {
                want = chosen;
                coverage.later_cell_identified += c > 0;
                break;
            }
        }
        std::string const text = palm_test::feature_text(probe);
        bool const found = env_.match_1vN(WHOLE, text.c_str(), "");
        EXPECT_EQ(!want.empty(), found) << what;
        EXPECT_EQ(want, env_.get_identify_user_name(WHOLE)) << what;
        coverage.identified += found;
    }

    std::mt19937& rng() { return rng_; }
    std::vector<std::string> const& sequence() const { return sequence_; }

  private:
    std::mt19937 rng_;
    std::mt19937 owner_rng_;
    rcg_environment env_;
    std::vector<std::unique_ptr<gallery_shard> > shards_;
    std::map<std::string, int> owner_;
    std::vector<std::string> sequence_;
    std::map<std::string, int> rank_;
};

void run_sharded_case(unsigned seed, funnel_coverage& coverage) {
    palm_test::random_identification_case c(seed, 400);
    int const policy = static_cast<int>(seed % 6);
    int const shards = 2 + static_cast<int>(seed % 4);
    unsigned const workers[] = {1, 3, 7, 2};
    sharded_gallery g(seed, shards, policy, workers[seed % 4]);
    coverage.policies[policy] = true;
    std::vector<palm_feature::user_palm_feature> enrolled;
    std::map<std::string, palm_feature::user_palm_feature> records;
    std::vector<std::string> deleted;
    for (int u = 0; u < c.users(); ++u) {
        std::string const name = "u" + std::to_string(u);
        int const cells = c.rng()() % 3 == 0 ? 25 : 1 + static_cast<int>(c.rng()() % 30);
        auto r = c.record(cells);
        // Some users are copies of another: their distances tie everywhere.
        if (!enrolled.empty() && c.rng()() % 8 == 0)
            r = enrolled[c.rng()() % enrolled.size()];
        enrolled.push_back(r);
        records[name] = r;
        g.push(name, r);
        if (::testing::Test::HasFatalFailure())
            return;
        unsigned const event = c.rng()() % 25;
        if (event == 0 && u > 0) {  // an earlier user pushes again and keeps its place
            std::string const again = "u" + std::to_string(c.rng()() % static_cast<unsigned>(u));
            if (g.holds(again)) {
                auto const other = c.record(1 + static_cast<int>(c.rng()() % 30));
                enrolled.push_back(other);
                g.push(again, other);
                ++coverage.repushed;
            }
        } else if (event == 1 && u > 0) {  // an earlier user leaves
            std::string const gone = "u" + std::to_string(c.rng()() % static_cast<unsigned>(u));
            if (g.holds(gone)) {
                g.erase(gone);
                deleted.push_back(gone);
                ++coverage.deleted;
            }
        } else if (event == 2 && !deleted.empty()) {  // and comes back at the end
            std::string const back = deleted.back();
            deleted.pop_back();
            if (!g.holds(back)) {
                g.push(back, records[back]);
                ++coverage.pushed_after_delete;
            }
        }
        if (::testing::Test::HasFatalFailure())
            return;
    }
    g.check_order();
    if (::testing::Test::HasFatalFailure())
        return;
    for (int round = 0; round < 4; ++round) {
        auto const probe = c.probe(enrolled);
        coverage.probe_cells[probe.size()] = true;
        g.expect_same(probe, coverage,
                      "seed " + std::to_string(seed) + " users " +
                          std::to_string(g.sequence().size()) + " shards " +
                          std::to_string(shards) + " policy " + std::to_string(policy));
        if (::testing::Test::HasFatalFailure())
            return;
    }
}

TEST(FunnelStages, ShardsComposedEqualOneParallelPartition) {
    funnel_coverage coverage;
    for (unsigned seed = 5000; seed < 5048; ++seed) {
        run_sharded_case(seed, coverage);
        if (HasFatalFailure())
            return;
    }
    // The cases must have met what they are meant to test.
    EXPECT_GT(coverage.searches, 250);
    EXPECT_GT(coverage.cross_shard_lists, 150);
    EXPECT_GT(coverage.truncated_lists, 50);
    EXPECT_GT(coverage.tied_slots, 200);
    EXPECT_GT(coverage.fine_improved, 100);
    EXPECT_GT(coverage.candidates, 300);
    EXPECT_GT(coverage.identified, 80);
    EXPECT_GT(coverage.later_cell_identified, 20);
    EXPECT_GT(coverage.repushed, 40);
    EXPECT_GT(coverage.deleted, 50);
    EXPECT_GT(coverage.pushed_after_delete, 20);
    for (int cells = 1; cells <= 5; ++cells)
        EXPECT_TRUE(coverage.probe_cells[cells]) << cells;
    for (int policy = 0; policy < 6; ++policy)
        EXPECT_TRUE(coverage.policies[policy]) << policy;
}

// One partition alone, on the calling thread or on workers: its coarse list,
// the verdicts of that list's users and the selection give its own answer.
TEST(FunnelStages, OnePartitionComposedEqualsItsOwnSearch) {
    int identified = 0;
    for (unsigned seed = 7000; seed < 7020; ++seed) {
        palm_test::random_identification_case c(seed, 300);
        rcg_environment env;
        ASSERT_TRUE(env.create_partition(0, false));
        ASSERT_TRUE(env.create_partition(1, true));
        int const policy = static_cast<int>(seed % 6);
        std::vector<palm_feature::user_palm_feature> enrolled;
        for (int u = 0; u < c.users(); ++u) {
            auto const r = c.record(c.rng()() % 2 == 0 ? 25 : 1 + static_cast<int>(c.rng()() % 30));
            enrolled.push_back(r);
            std::string const name = "u" + std::to_string(u);
            ASSERT_TRUE(env.push_template(name.c_str(), palm_test::feature_text(r).c_str()));
            for (int id : {0, 1})
                ASSERT_TRUE(env.assign_user_to_partition(id, name.c_str()));
        }
        for (int id : {0, 1}) {
            ASSERT_TRUE(env.set_match_policy(id, policy));
            rcg_partition_def const& p = *env.find_partition(id);
            for (int round = 0; round < 3; ++round) {
                auto const probe = c.probe(enrolled);
                std::string want;
                for (cell_type const& cell : probe.cells) {
                    std::vector<palm_recognition::coarse_entry> list;
                    std::vector<candidate_verdict> verdicts;
                    {
                        shared_lock store(env.mutex);
                        exclusive_lock search(p.mutex);
                        ASSERT_TRUE(palm_recognition::coarse_stage(p, cell, list));
                        std::vector<std::string const*> names;
                        for (auto const& e : list)
                            names.push_back(e.user);
                        verdicts = palm_recognition::fine_and_verify(p, cell, names);
                    }
                    ASSERT_TRUE(std::is_sorted(list.begin(), list.end()));
                    int const chosen = palm_recognition::select_candidate(verdicts);
                    if (chosen >= 0) {
                        want = *list[static_cast<std::size_t>(chosen)].user;
                        break;
                    }
                }
                std::string const text = palm_test::feature_text(probe);
                EXPECT_EQ(!want.empty(), env.match_1vN(id, text.c_str(), "")) << seed;
                EXPECT_EQ(want, env.get_identify_user_name(id)) << seed << " partition " << id;
                identified += !want.empty();
            }
        }
    }
    EXPECT_GT(identified, 10);
}

TEST(FunnelStages, OneShardComposedEqualsItsOwnIdentification) {
    std::mt19937 rng(11);
    palm_test::random_identification_case c(12, 200);
    std::vector<std::unique_ptr<gallery_shard> > one;
    one.emplace_back(new gallery_shard(1, 2));
    std::vector<palm_feature::user_palm_feature> enrolled;
    std::map<std::string, int> rank;
    for (int u = 0; u < 120; ++u) {
        auto const r = c.record(25);
        enrolled.push_back(r);
        std::string const name = "user " + std::to_string(u);
        ASSERT_TRUE(one[0]->push(name.c_str(), palm_test::feature_text(r).c_str()));
        rank[name] = u;
    }
    int identified = 0;
    for (int round = 0; round < 20; ++round) {
        auto const probe = c.probe(enrolled);
        std::string want;
        for (cell_type const& cell : probe.cells) {
            composed_search const got = compose(one, rank, cell);
            if (got.chosen >= 0) {
                want = std::get<3>(got.merged[static_cast<std::size_t>(got.chosen)]);
                break;
            }
        }
        std::string name;
        EXPECT_EQ(!want.empty(), one[0]->identify(palm_test::feature_text(probe).c_str(), name));
        EXPECT_EQ(want, name);
        identified += !want.empty();
    }
    EXPECT_GT(identified, 3);
}

TEST(FunnelStages, SelectionTakesTheSmallestSquareAndTheEarlierOnATie) {
    using palm_recognition::select_candidate;
    EXPECT_EQ(-1, select_candidate({}));
    EXPECT_EQ(-1, select_candidate({{false, 0.1f, 0.1f, 0}}));
    EXPECT_EQ(0, select_candidate({{true, 0.3f, 0.2f, 0}, {true, 0.2f, 0.3f, 5}}));
    EXPECT_EQ(1, select_candidate({{true, 0.3f, 0.2f, 0}, {true, 0.2f, 0.2f, 5}}));
    EXPECT_EQ(2, select_candidate(
                     {{true, 0.3f, 0.2f, 0}, {false, 0.0f, 0.0f, 5}, {true, 0.1f, 0.1f, 1}}));
    // Only policy 5 accepts (1.0, 1.0), and nothing is chosen from it.
    EXPECT_EQ(-1, select_candidate({{true, 1.0f, 1.0f, 0}}));
}

TEST(FunnelStages, EmptyPartitionGivesEmptyListsAndUnknownUsersNoVerdict) {
    rcg_environment env;
    ASSERT_TRUE(env.create_partition(3, true));
    rcg_partition_def const& p = *env.find_partition(3);
    std::mt19937 rng(5);
    auto const probe = palm_test::random_record(1, rng);
    std::vector<palm_recognition::coarse_entry> list{{0.5, 1, nullptr}};
    {
        exclusive_lock search(p.mutex);
        ASSERT_TRUE(palm_recognition::coarse_stage(p, probe[0], list));
        EXPECT_TRUE(list.empty());
        auto const v = palm_recognition::fine_and_verify(p, probe[0], {nullptr});
        ASSERT_EQ(1u, v.size());
        EXPECT_FALSE(v[0].accepted);
        EXPECT_EQ(1.0f, v[0].print_dist);
        EXPECT_EQ(1.0f, v[0].vein_dist);
        EXPECT_EQ(-1, v[0].cell);
        EXPECT_TRUE(palm_recognition::fine_and_verify(p, probe[0], {}).empty());
    }
}

TEST(GalleryShard, RefusesBadInputWithoutStoringAnything) {
    EXPECT_THROW(gallery_shard(-1), std::invalid_argument);
    EXPECT_THROW(gallery_shard(6), std::invalid_argument);
    gallery_shard s(2, 1);
    EXPECT_EQ(2, s.policy());
    std::mt19937 rng(9);
    auto const record = palm_test::random_record(5, rng);
    std::string const text = palm_test::feature_text(record);
    std::string const longer = text + std::string(200000, 'A');
    for (char const* bad :
         {static_cast<char const*>(nullptr), "", "short", "not base64 ***", longer.c_str()}) {
        EXPECT_FALSE(s.push("u", bad));
        palm_feature::user_palm_feature probe;
        EXPECT_FALSE(gallery_shard::decode(bad, probe));
        std::string name = "stale";
        EXPECT_FALSE(s.identify(bad, name));
        EXPECT_EQ("", name);
        EXPECT_FALSE(s.verify("u", bad));
    }
    EXPECT_FALSE(s.push(nullptr, text.c_str()));
    EXPECT_FALSE(s.push("", text.c_str()));
    EXPECT_EQ(0u, s.size());
    EXPECT_TRUE(s.users().empty());
    EXPECT_EQ(0u, s.memory_bytes());

    std::vector<gallery_shard::coarse_user> list;
    EXPECT_TRUE(s.coarse(record[0], list));
    EXPECT_TRUE(list.empty());

    ASSERT_TRUE(s.push("u", text.c_str()));
    EXPECT_FALSE(s.push("u", "garbage"));  // the stored template stays
    EXPECT_TRUE(s.verify("u", text.c_str()));
    EXPECT_FALSE(s.verify(nullptr, text.c_str()));
    EXPECT_FALSE(s.verify("nobody", text.c_str()));
    EXPECT_FALSE(s.erase(nullptr));
    EXPECT_FALSE(s.erase(""));
    EXPECT_FALSE(s.erase("nobody"));
    EXPECT_FALSE(s.set_match_policy(-1));
    EXPECT_FALSE(s.set_match_policy(6));
    EXPECT_EQ(2, s.policy());
    EXPECT_GT(s.memory_bytes(), 5u * 2 * 384);

    // Unknown names, and a name that only begins like a known one.
    auto const v = s.fine(record[0], {"nobody", std::string("u\0x", 3), "", "u"});
    ASSERT_EQ(4u, v.size());
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(v[i].accepted) << i;
        EXPECT_EQ(-1, v[i].cell) << i;
        EXPECT_EQ(1.0f, v[i].print_dist) << i;
        EXPECT_EQ(1.0f, v[i].vein_dist) << i;
    }
    EXPECT_TRUE(v[3].accepted);
    EXPECT_EQ(0.0f, v[3].print_dist);
    EXPECT_EQ(0.0f, v[3].vein_dist);
    EXPECT_EQ(0, v[3].cell);
    EXPECT_TRUE(s.fine(record[0], {}).empty());

    std::string name;
    EXPECT_TRUE(s.identify(text.c_str(), name));
    EXPECT_EQ("u", name);
    EXPECT_TRUE(s.erase("u"));
    EXPECT_FALSE(s.identify(text.c_str(), name));
    EXPECT_EQ("", name);
    EXPECT_EQ(0u, s.size());
}

TEST(GalleryShard, KeepsTheOrderOfFirstPushes) {
    gallery_shard s(1, 2);
    std::mt19937 rng(3);
    std::vector<std::string> texts;
    for (int i = 0; i < 4; ++i)
        texts.push_back(palm_test::feature_text(palm_test::random_record(5, rng)));
    ASSERT_TRUE(s.push("b", texts[0].c_str()));
    ASSERT_TRUE(s.push("a", texts[1].c_str()));
    ASSERT_TRUE(s.push("c", texts[2].c_str()));
    ASSERT_TRUE(s.push("b", texts[3].c_str()));  // keeps its place
    EXPECT_EQ((std::vector<std::string>{"b", "a", "c"}), s.users());
    ASSERT_TRUE(s.erase("a"));
    ASSERT_TRUE(s.push("a", texts[1].c_str()));  // back at the end
    EXPECT_EQ((std::vector<std::string>{"b", "c", "a"}), s.users());
    EXPECT_EQ(3u, s.size());
    std::string name;
    EXPECT_TRUE(s.identify(texts[3].c_str(), name));
    EXPECT_EQ("b", name);
    EXPECT_FALSE(s.identify(texts[0].c_str(), name));  // replaced
}

}  // namespace
