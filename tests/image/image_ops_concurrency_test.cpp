// The morphology steps keep their scratch image per thread: threads working
// on images of different sizes at once get what one thread alone gets.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "palm/image/palm_image.h"

namespace {

using palm_share::palm_image;

palm_image block_image(int w, int h) {
    palm_image img(w, h);
    for (int y = h / 4; y < 3 * h / 4; ++y) {
        for (int x = w / 4; x < 3 * w / 4; ++x)
            img.GetBuffer()[y * w + x] = 255;
    }
    img.GetBuffer()[w + 1] = 255;  // a speck for the opening to remove
    return img;
}

std::vector<unsigned char> open_close(int w, int h) {
    palm_image img = block_image(w, h);
    img.OpenImage_3_3();
    img.CloseImage_3_3();
    return std::vector<unsigned char>(img.GetBuffer(), img.GetBuffer() + img.GetSize());
}

TEST(ImageOpsConcurrency, ThreadsWithOtherSizesDoNotDisturbEachOther) {
    const int sizes[4][2] = {{40, 30}, {64, 48}, {33, 21}, {80, 60}};
    std::vector<std::vector<unsigned char>> alone;
    for (const auto& s : sizes)
        alone.push_back(open_close(s[0], s[1]));
    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) {
                if (open_close(sizes[t][0], sizes[t][1]) != alone[t])
                    ++mismatches[t];
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
