// The library's rounding idiom. Adding 6755399441055744.0 (1.5 * 2^52) to a
// double of moderate size leaves its integer part, rounded to nearest with
// ties to even, in the low 32 bits of the mantissa. The 1.5e-8 bias is added
// first, so an exact half such as 126.5 rounds up to 127 rather than to the
// even 126; the bias is part of the defined results.
#pragma once

#include <cstdint>
#include <cstring>

namespace qz {

inline int32_t roundBiased(double v) {
    double t = (v + 1.5e-8) + 6755399441055744.0;
    uint64_t bits;
    std::memcpy(&bits, &t, sizeof bits);
    return static_cast<int32_t>(static_cast<uint32_t>(bits));
}

// Truncation toward zero as the processor's conversion does it: a value
// outside the 32-bit range (or NaN) gives 0x80000000.
inline int32_t truncToInt32(double v) {
    return (v > -2147483649.0 && v < 2147483648.0) ? static_cast<int32_t>(v) : INT32_MIN;
}

// The library's 8-bit mix of d toward s at strength a (0 to 255): the
// division truncates toward zero, so full strength stops one short of s.
inline uint8_t mix256(int32_t d, int32_t s, int32_t a) { return static_cast<uint8_t>(d + ((s - d) * a) / 256); }

inline double clampUnit(double v) { return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0; }

}  // namespace qz
