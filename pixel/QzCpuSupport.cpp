// Processor feature detection for the vector variants of the pixel loops,
// and the process-wide mask through which tests and users can switch those
// variants off.
#include <algorithm>
#include <atomic>
#include <thread>

#include "QzDib.h"

namespace {

struct Detection {
    uint32_t features;
    int32_t processors;
};

uint32_t detectFeatures() {
    uint32_t f = 0;
#if defined(__x86_64__) || defined(__i386__)
    // These tests include the operating system's side: the AVX family is
    // reported only where the OS saves the wide registers.
    __builtin_cpu_init();
    if (__builtin_cpu_supports("sse2")) f |= QZCPU_SSE2;
    if (__builtin_cpu_supports("sse4.1")) f |= QZCPU_SSE41;
    if (__builtin_cpu_supports("avx2")) f |= QZCPU_AVX2;
    if (__builtin_cpu_supports("ssse3")) f |= QZCPU_SSSE3;
    if (__builtin_cpu_supports("sse4.2")) f |= QZCPU_SSE42;
    if (__builtin_cpu_supports("avx")) f |= QZCPU_AVX;
    if (__builtin_cpu_supports("fma")) f |= QZCPU_FMA;
    if (__builtin_cpu_supports("avx512f")) f |= QZCPU_AVX512F;
#endif
    return f;
}

// Once per process; the first caller detects, any others wait for it.
const Detection& detection() {
    static const Detection d{detectFeatures(), static_cast<int32_t>(std::max(1u, std::thread::hardware_concurrency()))};
    return d;
}

// Relaxed: a dispatcher reading a mask being changed may pick either
// variant, and both give the same results.
std::atomic<uint32_t> gAllowed{0xFFFFFFFFu};

uint32_t selected(uint32_t mask) { return mask ? mask : 0xFFFFFFFFu; }

uint32_t cpuClass(uint32_t usable) {
    if (usable & QZCPU_AVX2) return QZCPU_CLASS_AVX2;
    if (usable & QZCPU_SSE41) return QZCPU_CLASS_SSE41;
    if (usable & QZCPU_SSE2) return QZCPU_CLASS_SSE2;
    return 0;
}

}  // namespace

extern "C" uint32_t QzGetCPUSupport(uint32_t mask) {
    const uint32_t usable = detection().features & gAllowed.load(std::memory_order_relaxed);
    return (selected(mask) & usable) | cpuClass(usable);
}

extern "C" void QzAllowCPUSupport(uint32_t bits) {
    gAllowed.fetch_or(bits & QZCPU_ALLOWABLE, std::memory_order_relaxed);
}

extern "C" void QzDisallowCPUSupport(uint32_t bits) {
    gAllowed.fetch_and(~(bits & QZCPU_ALLOWABLE), std::memory_order_relaxed);
}

extern "C" void QzOnlyAllowCPUSupport(uint32_t bits) {
    gAllowed.store(bits & QZCPU_ALLOWABLE, std::memory_order_relaxed);
}

extern "C" void QzSetCPUClassBySupport(void) { gAllowed.store(detection().features, std::memory_order_relaxed); }

extern "C" uint32_t QzGetOSSupport(uint32_t mask) { return selected(mask) & detection().features; }

extern "C" int32_t QzGetProcessorCount(void) { return detection().processors; }
