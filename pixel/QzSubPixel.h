// The four-neighbour sample of the sub-pixel samplers and the scalers (not
// exported). The pixel at `a` mixes with its right neighbour `n` bytes on
// and with the pixel at `b` below it, at fractions fx, fy of 0 to 16383.
// Bytes: weights in 1/2^24 (each product of two 14-bit fractions loses four
// bits), the sum rounded with 0x800000. Floats: the same four weights in
// single precision, unshifted.
#pragma once

#include <cstdint>

namespace qz {

inline void sampleFour(uint8_t* o, const uint8_t* a, const uint8_t* b, intptr_t n, uint32_t fx, uint32_t fy) {
    constexpr uint32_t kOne = 16384;
    const uint32_t w10 = ((kOne - fy) * fx) >> 4, w11 = (fx * fy) >> 4;
    const uint32_t w01 = ((kOne - fx) * fy) >> 4, w00 = ((kOne - fy) * (kOne - fx)) >> 4;
    for (int c = 0; c < 4; ++c)
        o[c] = static_cast<uint8_t>((a[c] * w00 + a[c + n] * w10 + b[c] * w01 + b[c + n] * w11 + 0x800000u) >> 24);
}

inline void sampleFour(float* o, const uint8_t* a, const uint8_t* b, intptr_t n, uint32_t fx, uint32_t fy) {
    const float wx = static_cast<float>(fx) * 6.1035156e-5f, wy = static_cast<float>(fy) * 6.1035156e-5f;
    const float w10 = (1.0f - wy) * wx, w11 = wx * wy, w01 = (1.0f - wx) * wy, w00 = (1.0f - wy) * (1.0f - wx);
    const auto* p = reinterpret_cast<const float*>(a);
    const auto* q = reinterpret_cast<const float*>(b);
    const intptr_t m = n / static_cast<intptr_t>(sizeof(float));
    for (int c = 0; c < 4; ++c) o[c] = p[c] * w00 + p[c + m] * w10 + q[c] * w01 + q[c + m] * w11;
}

}  // namespace qz
