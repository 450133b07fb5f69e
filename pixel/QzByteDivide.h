// Exact integer division by a byte without a divide instruction, for the
// per-pixel unpremultiply of 8-bit colours (c * 255 / a).
//
// For a numerator below 2^16 and a divisor d in 1..255, floor(n / d) equals
// (n * ceil(2^32 / d)) >> 32: the reciprocal's rounding error adds less than
// 2^-16 to n / d, while a fraction of n / d is always at least 1/255 short of
// the next integer, so the floor never moves.
#pragma once

#include <cstdint>

namespace qz {

class ByteDivider {
public:
    ByteDivider() {
        reciprocal_[0] = 0;
        for (uint64_t d = 1; d < 256; ++d) reciprocal_[d] = ((uint64_t{1} << 32) + d - 1) / d;
    }

    // floor(n / d) for n < 65536 and d in 1..255.
    uint32_t divide(uint32_t n, uint32_t d) const { return static_cast<uint32_t>((n * reciprocal_[d]) >> 32); }

private:
    // 64 bits wide: the reciprocal of 1 is 2^32.
    uint64_t reciprocal_[256];
};

}  // namespace qz
