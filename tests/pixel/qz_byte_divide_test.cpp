#include <gtest/gtest.h>

#include "QzByteDivide.h"

namespace {

// Every numerator an 8-bit unpremultiply can produce, and then some.
TEST(ByteDivider, MatchesIntegerDivisionForEverySixteenBitNumerator) {
    const qz::ByteDivider divider;
    for (uint32_t d = 1; d < 256; ++d) {
        for (uint32_t n = 0; n < 65536; ++n) {
            ASSERT_EQ(divider.divide(n, d), n / d) << n << " / " << d;
        }
    }
}

}  // namespace
