// The crop of one 640 x 480 frame pair (target: 5 ms or less), its steps, and
// one frame pair from the camera to two codes.
//   build/bench/bench_crop
#include <benchmark/benchmark.h>

#include <vector>

#include "palm/extraction/i_feature_extractor.h"
#include "palm/localisation/palm_crop.h"
#include "sim/synthetic_camera.h"

namespace {

using palm_algorithm::CPalmCrop;

const palm_test::camera_frame& frame() {
    static palm_test::camera_frame const f = [] {
        CPalmCrop::GenerateMappingTable();
        palm_test::camera_pose pose;
        pose.offset_x = 8;
        pose.rotation = 5;
        return palm_test::render_frame_pair(42, pose);
    }();
    return f;
}

void BM_Crop(benchmark::State& state) {
    const palm_test::camera_frame& f = frame();
    int code = 0;
    for (auto _ : state) {
        std::vector<palm_share::image_pair> out;
        palm_struct::_crop_results res;
        code = palm_algorithm::get_crop_inst()->Crop(f.frames, out, res);
        benchmark::DoNotOptimize(out.data());
    }
    if (code != 0)
        state.SkipWithError("the frame pair was not located");
}
BENCHMARK(BM_Crop)->Unit(benchmark::kMillisecond);

void BM_CropRectifyOneRegion(benchmark::State& state) {
    const palm_test::camera_frame& f = frame();
    std::vector<palm_share::image_pair> out;
    palm_struct::_crop_results res;
    palm_algorithm::get_crop_inst()->Crop(f.frames, out, res);
    palm_share::palm_image roi;
    for (auto _ : state) {
        CPalmCrop::CropRectify(f.frames.nir, roi, true, res);
        benchmark::DoNotOptimize(roi.GetBuffer());
    }
}
BENCHMARK(BM_CropRectifyOneRegion)->Unit(benchmark::kMicrosecond);

void BM_AffineTransformFourViews(benchmark::State& state) {
    const palm_test::camera_frame& f = frame();
    std::vector<palm_share::image_pair> out;
    palm_struct::_crop_results res;
    palm_algorithm::get_crop_inst()->Crop(f.frames, out, res);
    for (auto _ : state) {
        std::vector<palm_share::palm_image> views;
        palm_algorithm::get_crop_inst()->AffineTransform(f.frames.nir, views, true, res);
        benchmark::DoNotOptimize(views.data());
    }
}
BENCHMARK(BM_AffineTransformFourViews)->Unit(benchmark::kMicrosecond);

// What a device does per capture: crop, then code both regions.
void BM_FramePairToTwoCodes(benchmark::State& state) {
    const palm_test::camera_frame& f = frame();
    palm_algorithm::i_feature_extractor* coder = palm_algorithm::get_extractor_inst();
    palm_feature::single_feature print, vein;
    for (auto _ : state) {
        std::vector<palm_share::image_pair> out;
        palm_struct::_crop_results res;
        if (palm_algorithm::get_crop_inst()->Crop(f.frames, out, res) != 0) {
            state.SkipWithError("the frame pair was not located");
            break;
        }
        coder->extract(out[0].vl, print);
        coder->extract(out[0].nir, vein);
        benchmark::DoNotOptimize(print.data);
        benchmark::DoNotOptimize(vein.data);
    }
}
BENCHMARK(BM_FramePairToTwoCodes)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
