// The recursive Gaussian on a UHD frame at three radii, in every form of
// the call (whole pixels of bytes or floats, in place, bytes into floats,
// one channel of bytes or floats): its cost should not depend on the
// radius. Beside it, in the same run, the plain form held against the
// vector form, OpenCV's separable cv::GaussianBlur on the same frame (and
// on one plane of its size, the work of a one-channel blur) with the same
// standard deviation, single-threaded as ours is, whose cost grows with the
// kernel, and a memcpy of the frame ("memcpy_Mpx/s") to compare across
// machines. Figures and what limits them: bench/README.md.
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

// The forms of the call, each on a UHD frame of four-element pixels.
enum Form { kWhole, kInPlace, kBytesToFloats, kChannel };

template <typename T, Form form>
void BM_QzDibGaussian(benchmark::State& state) {
    Frame<T> f;
    const double radius = static_cast<double>(state.range(0));
    constexpr int32_t bpp = 4 * sizeof(T);
    std::vector<float> floats(form == kBytesToFloats ? f.src.size() : 0);
    const int32_t floatStride = kWidth * 16;
    for (auto _ : state) {
        switch (form) {
            case kWhole:
                QzDibGaussianBlur(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride,
                                  nullptr, radius, radius, bpp);
                break;
            case kInPlace:
                // The same frame blurred again each time: the cost does not
                // depend on the content.
                QzDibGaussianBlur(f.dst.data(), &f.bounds, f.stride, nullptr, f.dst.data(), &f.bounds, f.stride,
                                  nullptr, radius, radius, bpp);
                break;
            case kBytesToFloats:
                QzDibGaussianBlur_Float(floats.data(), &f.bounds, floatStride, nullptr, f.src.data(), &f.bounds,
                                        f.stride, nullptr, radius, radius, bpp);
                break;
            case kChannel:
                QzDibGaussianChannelBlur(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride,
                                         nullptr, radius, radius, QzChannelAlpha, bpp);
                break;
        }
        benchmark::DoNotOptimize(f.dst.data());
        benchmark::DoNotOptimize(floats.data());
    }
    bench::reportFrameRate(state, f.dst.size() * sizeof(T));
}

// The same call held to the plain form, the one processors without the
// vector form run.
template <typename T, Form form>
void BM_QzDibGaussianPlain(benchmark::State& state) {
    qz::gaussianPlainOnly = true;
    BM_QzDibGaussian<T, form>(state);
    qz::gaussianPlainOnly = false;
}

#ifdef ONDU1_BENCH_OPENCV
// Channels 4: the whole frame; 1: one plane of the frame's size, the work
// of a one-channel blur.
template <typename T, int channels>
void BM_OpenCVGaussianBlur(benchmark::State& state) {
    cv::setNumThreads(1);
    Frame<T> f;
    const int type = CV_MAKETYPE(sizeof(T) == 1 ? CV_8U : CV_32F, channels);
    const cv::Mat src(kHeight, kWidth, type, f.src.data());
    cv::Mat dst(kHeight, kWidth, type, f.dst.data());
    const double sigma = qz::gaussianSigma(static_cast<double>(state.range(0)));
    for (auto _ : state) {
        cv::GaussianBlur(src, dst, cv::Size(0, 0), sigma, sigma, cv::BORDER_REPLICATE);
        benchmark::DoNotOptimize(f.dst.data());
    }
    bench::reportFrameRate(state, f.dst.size() * sizeof(T));
}
#define QZ_OPENCV_CASE(T, channels) \
    BENCHMARK_TEMPLATE(BM_OpenCVGaussianBlur, T, channels)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond)
QZ_OPENCV_CASE(uint8_t, 4);
QZ_OPENCV_CASE(float, 4);
QZ_OPENCV_CASE(uint8_t, 1);
QZ_OPENCV_CASE(float, 1);
#endif

#define QZ_GAUSSIAN_CASE(Bench, T, form) \
    BENCHMARK_TEMPLATE(Bench, T, form)->Arg(2)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond)
QZ_GAUSSIAN_CASE(BM_QzDibGaussian, uint8_t, kWhole);
QZ_GAUSSIAN_CASE(BM_QzDibGaussian, float, kWhole);
QZ_GAUSSIAN_CASE(BM_QzDibGaussian, uint8_t, kInPlace);
QZ_GAUSSIAN_CASE(BM_QzDibGaussian, uint8_t, kBytesToFloats);
QZ_GAUSSIAN_CASE(BM_QzDibGaussian, uint8_t, kChannel);
QZ_GAUSSIAN_CASE(BM_QzDibGaussian, float, kChannel);
QZ_GAUSSIAN_CASE(BM_QzDibGaussianPlain, uint8_t, kWhole);
QZ_GAUSSIAN_CASE(BM_QzDibGaussianPlain, float, kWhole);
QZ_GAUSSIAN_CASE(BM_QzDibGaussianPlain, uint8_t, kInPlace);
QZ_GAUSSIAN_CASE(BM_QzDibGaussianPlain, uint8_t, kBytesToFloats);
QZ_GAUSSIAN_CASE(BM_QzDibGaussianPlain, uint8_t, kChannel);
QZ_GAUSSIAN_CASE(BM_QzDibGaussianPlain, float, kChannel);

}  // namespace
