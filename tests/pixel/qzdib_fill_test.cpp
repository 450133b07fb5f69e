#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "QzDib.h"

namespace {

TEST(QzDibSetUnscaled, BytesAreBlueFirstTruncatedAndClamped) {
    std::array<uint8_t, 8> px{};
    RECT b{0, 0, 2, 1};
    // r 1.0, g 0.5 (127.5 truncates), b 0.0, a 0.2 (51).
    ASSERT_EQ(QzDibSetUnscaled(px.data(), &b, 8, nullptr, 4, 1.0, 0.5, 0.0, 0.2), S_OK);
    EXPECT_EQ(px, (std::array<uint8_t, 8>{0, 127, 255, 51, 0, 127, 255, 51}));
    // Out of range on both sides clamps rather than wrapping.
    ASSERT_EQ(QzDibSetUnscaled(px.data(), &b, 8, nullptr, 4, 2.0, -1.0, 300.0, -0.001), S_OK);
    EXPECT_EQ(px, (std::array<uint8_t, 8>{255, 0, 255, 0, 255, 0, 255, 0}));
}

TEST(QzDibSetUnscaled, FloatsAreStoredUnclamped) {
    std::array<float, 4> px{};
    RECT b{0, 0, 1, 1};
    ASSERT_EQ(QzDibSetUnscaled(px.data(), &b, 16, nullptr, 16, 2.0, -0.5, 0.25, 1.5), S_OK);
    EXPECT_EQ(px, (std::array<float, 4>{0.25f, -0.5f, 2.0f, 1.5f}));
}

// An 8 x 5 image whose bounds start at (2, 1): the base pointer stands for
// (0, 0), so the bytes before the bounds are never touched.
TEST(QzDibSetUnscaled, ClipsToBoundsWithAnOffsetOrigin) {
    constexpr int32_t stride = 8 * 4;
    std::vector<uint8_t> img(5 * stride, 0);
    RECT bounds{2, 1, 6, 4}, rect{4, 2, 9, 3};
    ASSERT_EQ(QzDibSetUnscaled(img.data(), &bounds, stride, &rect, 4, 1.0, 1.0, 1.0, 1.0), S_OK);
    for (int32_t y = 0; y < 5; ++y) {
        for (int32_t x = 0; x < 8; ++x) {
            const bool inside = y == 2 && (x == 4 || x == 5);
            EXPECT_EQ(img[y * stride + x * 4], inside ? 255 : 0) << x << "," << y;
        }
    }
}

TEST(QzDibSetUnscaled, MisuseAndEmptyClips) {
    std::array<uint8_t, 4> px{1, 2, 3, 4};
    RECT b{0, 0, 1, 1}, outside{5, 5, 6, 6}, inverted{1, 1, 0, 0};
    EXPECT_EQ(QzDibSetUnscaled(px.data(), nullptr, 4, nullptr, 4, 1, 1, 1, 1), E_POINTER);
    EXPECT_EQ(QzDibSetUnscaled(nullptr, &b, 4, nullptr, 4, 1, 1, 1, 1), E_POINTER);
    EXPECT_EQ(QzDibSetUnscaled(px.data(), &b, 4, &outside, 4, 1, 1, 1, 1), S_OK);
    EXPECT_EQ(QzDibSetUnscaled(px.data(), &b, 4, &inverted, 4, 1, 1, 1, 1), S_OK);
    EXPECT_EQ(px, (std::array<uint8_t, 4>{1, 2, 3, 4}));
}

}  // namespace
