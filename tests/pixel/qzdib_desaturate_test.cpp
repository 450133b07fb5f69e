#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "QzDib.h"

namespace {

using Px2 = std::array<uint8_t, 8>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1}, two{0, 0, 2, 1};

TEST(QzDibDesaturate, AverageTruncatesAndHoldsBytesWithinAlpha) {
    // 70 / 3 = 23; 270 / 3 = 90, held to alpha 50.
    Px2 px{10, 20, 40, 255, 90, 90, 90, 50};
    ASSERT_EQ(QzDibDesaturate(px.data(), &two, 8, nullptr, 4, 0), S_OK);
    EXPECT_EQ(px, (Px2{23, 23, 23, 255, 50, 50, 50, 50}));
    Pf f{0.25f, 0.5f, 1.5f, 0.5f};
    ASSERT_EQ(QzDibDesaturate(f.data(), &one, 16, nullptr, 16, 0), S_OK);
    EXPECT_EQ(f, (Pf{0.75f, 0.75f, 0.75f, 0.5f})) << "floats are not clamped";
}

TEST(QzDibDesaturate, HslGreyIsTheLightness) {
    // Lightness is the mean of the extremes, not of all three: (0.25 + 0.75) / 2.
    Pf f{0.25f, 0.3f, 0.75f, 0.5f};
    ASSERT_EQ(QzDibDesaturate(f.data(), &one, 16, nullptr, 16, 1), S_OK);
    EXPECT_EQ(f, (Pf{0.5f, 0.5f, 0.5f, 0.5f}));
    // (0 + 255) / 2 / 255 comes back as 127.5 truncated; then held to alpha 100.
    Px2 px{0, 17, 255, 255, 0, 17, 255, 100};
    ASSERT_EQ(QzDibDesaturate(px.data(), &two, 8, nullptr, 4, 1), S_OK);
    EXPECT_EQ(px, (Px2{127, 127, 127, 255, 100, 100, 100, 100}));
    // Alpha makes the round trip as well: 33 / 255 * 255 truncates to 32,
    // and the colour is held to the alpha that came back.
    px = {0, 17, 255, 33, 0, 0, 0, 0};
    ASSERT_EQ(QzDibDesaturate(px.data(), &two, 8, nullptr, 4, 1), S_OK);
    EXPECT_EQ(px, (Px2{32, 32, 32, 32, 0, 0, 0, 0}));
}

TEST(QzDibBlendWithColor, MixesTowardTheColourAtItsClampedAlpha) {
    // Colour 255, 0, 127 at alpha 127 (0.5 * 255 truncated):
    // 0 + 255 * 127 / 256 = 126; 200 - 200 * 127 / 256 = 101; 127 stays.
    const double color[4] = {1.0, 0.0, 0.5, 0.5};
    Px2 px{0, 200, 127, 77, 255, 255, 255, 255};
    ASSERT_EQ(QzDibBlendWithColor(px.data(), &two, 8, nullptr, 4, color), S_OK);
    EXPECT_EQ(px, (Px2{126, 101, 127, 77, 255, 129, 192, 255}));

    // A float colour is clamped to the unit range.
    const double wide[4] = {2.0, -1.0, 0.5, 0.5};  // 1, 0, 0.5 at 0.5
    Pf f{0.0f, 1.0f, 0.25f, 0.75f};
    ASSERT_EQ(QzDibBlendWithColor(f.data(), &one, 16, nullptr, 16, wide), S_OK);
    EXPECT_EQ(f, (Pf{0.5f, 0.5f, 0.375f, 0.75f}));
    const double solid[4] = {0.25, 0.5, 0.75, 3.0};  // alpha held to 1: the colour itself
    ASSERT_EQ(QzDibBlendWithColor(f.data(), &one, 16, nullptr, 16, solid), S_OK);
    EXPECT_EQ(f, (Pf{0.25f, 0.5f, 0.75f, 0.75f}));
}

TEST(QzDibBlendWithColor, MisuseWritesNothing) {
    const double color[4] = {1, 1, 1, 1};
    Px2 px{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(QzDibBlendWithColor(px.data(), &two, 8, nullptr, 4, nullptr), E_POINTER);
    EXPECT_EQ(QzDibBlendWithColor(px.data(), nullptr, 8, nullptr, 4, color), E_POINTER);
    EXPECT_EQ(QzDibDesaturate(nullptr, &two, 8, nullptr, 4, 0), E_POINTER);
    EXPECT_EQ(px, (Px2{1, 2, 3, 4, 5, 6, 7, 8}));
}

}  // namespace
