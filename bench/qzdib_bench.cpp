// The first and last primitives of every render, on a UHD frame, beside a
// memcpy of the same frame measured in the same run ("memcpy_Mpx/s"), so the
// two rates compare on a noisy machine.
#include <benchmark/benchmark.h>

#include <vector>

#include "BenchFrame.h"
#include "QzDib.h"

namespace {

using bench::kHeight;
using bench::kWidth;

template <int BytesPerPixel>
struct Frames {
    std::vector<uint8_t> src = std::vector<uint8_t>(size_t(kWidth) * kHeight * BytesPerPixel, 77);
    std::vector<uint8_t> dst = std::vector<uint8_t>(size_t(kWidth) * kHeight * BytesPerPixel, 200);
    RECT bounds{0, 0, kWidth, kHeight};
    int32_t stride = kWidth * BytesPerPixel;
};

template <int BytesPerPixel>
void BM_AbsoluteAlphaValueBlend(benchmark::State& state) {
    Frames<BytesPerPixel> f;
    for (auto _ : state) {
        QzDibAbsoluteAlphaValueBlend(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride,
                                     nullptr, BytesPerPixel, 0.5);
        benchmark::DoNotOptimize(f.dst.data());
    }
    bench::reportFrameRate(state, f.dst.size());
}

template <int BytesPerPixel>
void BM_CopyUnscaled(benchmark::State& state) {
    Frames<BytesPerPixel> f;
    for (auto _ : state) {
        QzDibCopyUnscaled(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride, nullptr,
                          BytesPerPixel);
        benchmark::DoNotOptimize(f.dst.data());
    }
    bench::reportFrameRate(state, f.dst.size());
}

BENCHMARK_TEMPLATE(BM_AbsoluteAlphaValueBlend, 4)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_AbsoluteAlphaValueBlend, 16)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_CopyUnscaled, 4)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_CopyUnscaled, 16)->Unit(benchmark::kMillisecond);

}  // namespace
