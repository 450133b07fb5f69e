// What every frame benchmark shares: the UHD frame size and the memcpy
// rate of a frame measured in the same run, so that figures compare across
// noisy machines.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstring>
#include <vector>

namespace bench {

constexpr int kWidth = 3840;
constexpr int kHeight = 2160;

inline double memcpyRate(size_t bytes) {
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

// Megapixels per second of the frames processed, beside memcpy's.
inline void reportFrameRate(benchmark::State& state, size_t frameBytes) {
    const double pixels = double(kWidth) * kHeight * state.iterations();
    state.counters["Mpx/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsRate);
    state.counters["memcpy_Mpx/s"] = memcpyRate(frameBytes) / 1e6;
}

}  // namespace bench
