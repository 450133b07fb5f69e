// PMBlend_DUALALPHACH: merging two premultiplied 8-bit rows by both alphas.
#include <algorithm>

#include "QzByteDivide.h"
#include "QzDibComposite.h"

namespace {

// floor(n / 255) as (n * ceil(2^40 / 255)) >> 40. The product overshoots
// n / 255 by n * 254 / (255 * 2^40), less than the 1/255 by which any
// fraction of n / 255 falls short of the next integer while n * 254 < 2^40;
// every n below 2^31 qualifies and keeps the product within 64 bits. The
// products here reach 255 * 765 (k grows large when the mean alpha is
// small), past the 16 bits that qz::ByteDivider covers.
constexpr uint64_t kReciprocal255 = 4311810306u;
inline uint32_t divide255(uint32_t n) { return static_cast<uint32_t>((n * kReciprocal255) >> 40); }

}  // namespace

extern "C" void PMBlend_DUALALPHACH(uint8_t* dst, const uint8_t* src, int32_t count) {
    if (!dst || !src) return;
    static const qz::ByteDivider divider;
    for (int32_t i = 0; i < count; ++i, dst += 4, src += 4) {
        const int32_t sa = src[3], da = dst[3];
        // The union of the two coverages; it never exceeds 255.
        const int32_t oa = sa - (da * sa) / 255 + da;
        if (oa == 0) continue;
        // Note: (da + sa) >> 1 is 0 when one alpha is 1 and the other 0,
        // while oa is 1. The divisor is then taken as 1, so k is 255 and
        // the colour keeps its mixed value unscaled.
        const int32_t mean = (da + sa) >> 1;
        const uint32_t k = divider.divide(static_cast<uint32_t>(oa * 255), static_cast<uint32_t>(mean ? mean : 1));
        for (int c = 0; c < 3; ++c) {
            const int32_t d = dst[c];
            const int32_t t = oa * (src[c] - d) + 128;
            // Note: read as d + (((t >> 8) + t) >> 8), the rounded divide by
            // 255 of the difference added to d; the precedence of the plain
            // text would shift d away with it. The shifts of a negative t
            // are arithmetic, flooring.
            const int32_t m = std::clamp(d + (((t >> 8) + t) >> 8), 0, 255);
            // Note: m is clamped first, so m * k is never negative and the
            // division needs no sign fix. k reaches 512 at sa 255, da 0 (and
            // more at tiny alphas), so the quotient can pass 255: it is
            // saturated rather than left to wrap in the byte.
            dst[c] = static_cast<uint8_t>(std::min<uint32_t>(divide255(static_cast<uint32_t>(m) * k), 255));
        }
        dst[3] = static_cast<uint8_t>(oa);
    }
}
