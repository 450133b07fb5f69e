// The recursive Gaussian on a UHD frame at three radii: its cost should not
// depend on the radius. Beside it, in the same run, the plain form held
// against the vector form, OpenCV's separable cv::GaussianBlur on the same
// frame with the same standard deviation (single-threaded, as ours is),
// whose cost grows with the kernel, and a memcpy of the frame
// ("memcpy_Mpx/s") to compare across machines.
//
// One run on a shared two-core AMD EPYC (Zen 5) machine, medians of three,
// milliseconds per frame:
//
//                    radius 2   radius 20   radius 200
//   bytes   vector        166         164          162
//           plain         954         931          934
//           OpenCV         18         112         2271
//   floats  vector        198         194          196
//           plain         938         926         1066
//           OpenCV         42         355         6677
#include <benchmark/benchmark.h>

#include <vector>

#ifdef ONDU1_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include "BenchFrame.h"
#include "QzDib.h"
#include "QzGaussian.h"
#include "QzGaussianVector.h"

namespace {

using bench::kHeight;
using bench::kWidth;

template <typename T>
struct Frame {
    std::vector<T> src, dst;
    RECT bounds{0, 0, kWidth, kHeight};
    int32_t stride = kWidth * 4 * sizeof(T);
    Frame() : src(size_t(kWidth) * kHeight * 4), dst(src.size()) {
        for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<T>((i * 7919) % 251);
    }
};

template <typename T>
void BM_QzDibGaussianBlur(benchmark::State& state) {
    Frame<T> f;
    const double radius = static_cast<double>(state.range(0));
    for (auto _ : state) {
        QzDibGaussianBlur(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride, nullptr,
                          radius, radius, 4 * sizeof(T));
        benchmark::DoNotOptimize(f.dst.data());
    }
    bench::reportFrameRate(state, f.dst.size() * sizeof(T));
}

// The same call held to the plain form, the one processors without the
// vector form run.
template <typename T>
void BM_QzDibGaussianBlurPlain(benchmark::State& state) {
    qz::gaussianPlainOnly = true;
    BM_QzDibGaussianBlur<T>(state);
    qz::gaussianPlainOnly = false;
}

#ifdef ONDU1_BENCH_OPENCV
template <typename T>
void BM_OpenCVGaussianBlur(benchmark::State& state) {
    cv::setNumThreads(1);
    Frame<T> f;
    const int type = sizeof(T) == 1 ? CV_8UC4 : CV_32FC4;
    const cv::Mat src(kHeight, kWidth, type, f.src.data());
    cv::Mat dst(kHeight, kWidth, type, f.dst.data());
    const double sigma = qz::gaussianSigma(static_cast<double>(state.range(0)));
    for (auto _ : state) {
        cv::GaussianBlur(src, dst, cv::Size(0, 0), sigma, sigma, cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(f.dst.data());
    }
    bench::reportFrameRate(state, f.dst.size() * sizeof(T));
}
BENCHMARK_TEMPLATE(BM_OpenCVGaussianBlur, uint8_t)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_OpenCVGaussianBlur, float)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);
#endif

BENCHMARK_TEMPLATE(BM_QzDibGaussianBlur, uint8_t)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_QzDibGaussianBlur, float)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_QzDibGaussianBlurPlain, uint8_t)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_QzDibGaussianBlurPlain, float)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
