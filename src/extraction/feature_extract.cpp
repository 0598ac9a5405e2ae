#include "palm/extraction/feature_extract.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

#include "palm/extraction/anigauss_fast.h"

namespace palm_algorithm {

using palm_feature::single_feature;
using palm_share::CYImage;
using palm_share::palm_image;

namespace {

const int kPlane = CPalmExtract::PADDING_IMG_WIDTH * CPalmExtract::PADDING_IMG_HEIGHT;
const int kSamples = CPalmExtract::GRID_SIZE * CPalmExtract::GRID_SIZE;
const int kPlaneBytes = 4 * CPalmExtract::GRID_SIZE;

// Bits of planes 0, 1, 2 for orientations 0 to 5 (0, 30, ..., 150 degrees):
// a ring in which neighbours, 5 and 0 included, differ in one bit.
const int kOrientationCode[6] = {0b000, 0b001, 0b011, 0b111, 0b110, 0b100};

bool is_region(const CYImage& image) {
    return image.IsValid() && image.GetWidth() == CPalmExtract::SUB_IMG_WIDTH &&
           image.GetHeight() == CPalmExtract::SUB_IMG_HEIGHT;
}

// Work areas of one coding: the padded image and one response plane for
// each orientation.
struct work_buffers {
    int src[kPlane];
    int dest[CPalmExtract::ORIENT_NUM * kPlane];
};

// Pads, centres and scales the region, and runs the six filters.
void filter_region(CPalmExtract& extractor, const CYImage& image, work_buffers& work) {
    extractor.Padding(image, work.src);
    // Grey level centred on 128, with 10 fractional bits.
    for (int i = 0; i < kPlane; ++i)
        work.src[i] = (work.src[i] - 128) * 1024;
    // anigauss(src, dest + k * plane, 128, 128, k, ORDER_V, ORDER_U) for each
    // orientation k, on the widest path the processor offers.
    palm_share::anigauss_six(work.src, work.dest, CPalmExtract::PADDING_IMG_WIDTH,
                             CPalmExtract::PADDING_IMG_HEIGHT, CPalmExtract::ORDER_V,
                             CPalmExtract::ORDER_U);
}

// Writes the code of every grid sample; if `strongest` is given, also the
// winning response of each sample, in grid order.
void code_responses(const int* dest, single_feature& feature, int* strongest) {
    feature.Clear();
    uint32_t words[3][CPalmExtract::GRID_SIZE] = {};
    for (int i = 0; i < CPalmExtract::GRID_SIZE; ++i) {
        const int row = CPalmExtract::CODING_START_POS + CPalmExtract::CODING_STEP * i;
        for (int j = 0; j < CPalmExtract::GRID_SIZE; ++j) {
            const int col = CPalmExtract::CODING_START_POS + CPalmExtract::CODING_STEP * j;
            const int at = row * CPalmExtract::PADDING_IMG_WIDTH + col;
            // The largest signed response wins; on a tie the smaller k.
            int best = 0;
            int best_value = dest[at];
            for (int k = 1; k < CPalmExtract::ORIENT_NUM; ++k) {
                if (dest[k * kPlane + at] > best_value) {
                    best_value = dest[k * kPlane + at];
                    best = k;
                }
            }
            const int code = kOrientationCode[best];
            const uint32_t bit = 1u << (31 - j);
            for (int p = 0; p < 3; ++p) {
                if (code & (4 >> p))
                    words[p][i] |= bit;
            }
            if (strongest != nullptr)
                strongest[i * CPalmExtract::GRID_SIZE + j] = best_value;
        }
    }
    // Row words in host byte order.
    for (int p = 0; p < 3; ++p)
        std::memcpy(feature.data + p * kPlaneBytes, words[p], kPlaneBytes);
}

}  // namespace

int orientation_code(int k) {
    return k >= 0 && k < 6 ? kOrientationCode[k] : -1;
}

void CPalmExtract::Padding(const CYImage& image, int* dest) {
    if (dest == nullptr || !is_region(image))
        return;
    const int W = PADDING_IMG_WIDTH, H = PADDING_IMG_HEIGHT;
    const int w = SUB_IMG_WIDTH, h = SUB_IMG_HEIGHT;
    const unsigned char* src = image.GetBuffer();
    for (int r = 0; r < h; ++r) {
        const unsigned char* s = src + r * w;
        int* d = dest + r * W;
        for (int c = 0; c < w; ++c)
            d[c] = s[c];
        for (int c = w; c < W; ++c)
            d[c] = s[w - 1];
    }
    // Rows below repeat the last image row, corner included.
    for (int r = h; r < H; ++r)
        std::memcpy(dest + r * W, dest + (h - 1) * W, sizeof(int) * W);
}

bool CPalmExtract::extract(const palm_image& image, single_feature& feature) {
    if (!is_region(image) || !feature.IsValid())
        return false;
    // The work areas stay from call to call, one set for each thread, so that
    // coding costs no allocation and threads do not share them.
    static thread_local std::unique_ptr<work_buffers> work;
    if (!work)
        work.reset(new work_buffers());
    filter_region(*this, image, *work);
    code_responses(work->dest, feature, nullptr);
    return true;
}

bool CPalmExtract::extract_test(const palm_image& image, single_feature& feature,
                                std::vector<std::pair<int, int>>& responses) {
    if (!is_region(image) || !feature.IsValid())
        return false;
    if (responses.size() < static_cast<size_t>(kSamples))
        return false;
    std::unique_ptr<work_buffers> work(new (std::nothrow) work_buffers());
    if (!work)
        return false;
    filter_region(*this, image, *work);
    int strongest[kSamples];
    code_responses(work->dest, feature, strongest);
    work.reset();

    for (int i = 0; i < GRID_SIZE; ++i) {
        for (int j = 0; j < GRID_SIZE; ++j) {
            const bool ring = i < 2 || i >= GRID_SIZE - 2 || j < 2 || j >= GRID_SIZE - 2;
            const int n = i * GRID_SIZE + j;
            responses[n] = std::make_pair(ring ? RING_RESPONSE : strongest[n], n);
        }
    }
    std::sort(responses.begin(), responses.end(), std::greater<std::pair<int, int>>());
    return true;
}

}  // namespace palm_algorithm
