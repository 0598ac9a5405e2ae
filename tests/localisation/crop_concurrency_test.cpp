// Crops on several threads at once: each thread has its own working images,
// so every thread gets exactly what a single thread gets.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "palm/localisation/palm_crop.h"
#include "sim/synthetic_camera.h"

using palm_share::image_pair;
using palm_struct::_crop_results;

TEST(CropConcurrency, ThreadsGetTheSingleThreadResults) {
    palm_test::ensure_lens_tables();
    const int kFrames = 4;
    std::vector<palm_test::camera_frame> frames;
    for (int i = 0; i < kFrames; ++i)
        frames.push_back(palm_test::render_frame_pair(
            300 + i, palm_test::random_usable_pose(i, palm_test::difficulty::easy)));
    std::vector<image_pair> expect(kFrames);
    std::vector<int> expect_code(kFrames);
    for (int i = 0; i < kFrames; ++i) {
        std::vector<image_pair> out;
        _crop_results res;
        expect_code[i] = palm_algorithm::get_crop_inst()->Crop(frames[i].frames, out, res);
        ASSERT_EQ(0, expect_code[i]);
        expect[i] = out[0];
    }
    std::vector<int> mismatches(2, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) {
                for (int k = 0; k < kFrames; ++k) {
                    int const i = (k + t) % kFrames;
                    std::vector<image_pair> out;
                    _crop_results res;
                    int const code =
                        palm_algorithm::get_crop_inst()->Crop(frames[i].frames, out, res);
                    if (code != expect_code[i] ||
                        std::memcmp(out[0].vl.GetBuffer(), expect[i].vl.GetBuffer(), 110 * 110) !=
                            0 ||
                        std::memcmp(out[0].nir.GetBuffer(), expect[i].nir.GetBuffer(), 110 * 110) !=
                            0)
                        ++mismatches[t];
                }
            }
        });
    }
    for (std::thread& th : threads)
        th.join();
    EXPECT_EQ(0, mismatches[0]);
    EXPECT_EQ(0, mismatches[1]);
}
