// The first and last primitives of every render, on a UHD frame, beside a
// memcpy of the same frame measured in the same run ("memcpy_Mpx/s"), so the
// two rates compare on a noisy machine.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <vector>

#include "QzDib.h"

namespace {

constexpr int kWidth = 3840;
constexpr int kHeight = 2160;

template <int BytesPerPixel>
struct Frames {
    std::vector<uint8_t> src = std::vector<uint8_t>(size_t(kWidth) * kHeight * BytesPerPixel, 77);
    std::vector<uint8_t> dst = std::vector<uint8_t>(size_t(kWidth) * kHeight * BytesPerPixel, 200);
    RECT bounds{0, 0, kWidth, kHeight};
    int32_t stride = kWidth * BytesPerPixel;
};

double memcpyRate(size_t bytes) {
    std::vector<uint8_t> a(bytes, 1), b(bytes);
    const auto start = std::chrono::steady_clock::now();
    constexpr int kRuns = 5;
    for (int i = 0; i < kRuns; ++i) {
        std::memcpy(b.data(), a.data(), bytes);
        benchmark::DoNotOptimize(b.data());
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return kRuns * double(kWidth) * kHeight / seconds;
}

template <int BytesPerPixel>
void BM_AbsoluteAlphaValueBlend(benchmark::State& state) {
    Frames<BytesPerPixel> f;
    for (auto _ : state) {
        QzDibAbsoluteAlphaValueBlend(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride,
                                     nullptr, BytesPerPixel, 0.5);
        benchmark::DoNotOptimize(f.dst.data());
    }
    const double pixels = double(kWidth) * kHeight * state.iterations();
    state.counters["Mpx/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
    state.counters["memcpy_Mpx/s"] = memcpyRate(f.dst.size()) / 1e6;
}

template <int BytesPerPixel>
void BM_CopyUnscaled(benchmark::State& state) {
    Frames<BytesPerPixel> f;
    for (auto _ : state) {
        QzDibCopyUnscaled(f.dst.data(), &f.bounds, f.stride, nullptr, f.src.data(), &f.bounds, f.stride, nullptr,
                          BytesPerPixel);
        benchmark::DoNotOptimize(f.dst.data());
    }
    const double pixels = double(kWidth) * kHeight * state.iterations();
    state.counters["Mpx/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
    state.counters["memcpy_Mpx/s"] = memcpyRate(f.dst.size()) / 1e6;
}

BENCHMARK_TEMPLATE(BM_AbsoluteAlphaValueBlend, 4)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_AbsoluteAlphaValueBlend, 16)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_CopyUnscaled, 4)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_CopyUnscaled, 16)->Unit(benchmark::kMillisecond);

}  // namespace
