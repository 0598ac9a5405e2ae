// The coder's work areas belong to each thread: threads coding at once get
// what one thread alone gets.
#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

#include "palm/extraction/feature_extract.h"
#include "sim/synthetic_palm.h"

namespace {

TEST(ExtractConcurrency, ThreadsCodeAsOneThreadAlone) {
    std::mt19937 rng(5);
    std::vector<palm_share::palm_image> rois;
    for (int i = 0; i < 4; ++i)
        rois.push_back(palm_test::render_roi(palm_test::make_palm(rng), 0, 0, 1.0, rng));
    palm_algorithm::i_feature_extractor* ex = palm_algorithm::get_extractor_inst();
    std::vector<std::vector<unsigned char>> alone(4);
    for (int i = 0; i < 4; ++i) {
        palm_feature::single_feature f;
        ASSERT_TRUE(ex->extract(rois[i], f));
        alone[i].assign(f.data, f.data + 384);
    }
    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) {
                palm_feature::single_feature f;
                ex->extract(rois[(t + round) % 4], f);
                if (std::vector<unsigned char>(f.data, f.data + 384) != alone[(t + round) % 4]) {
                    ++mismatches[t];
                }
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
