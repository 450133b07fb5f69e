#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "QzDib.h"

namespace {

using Px = std::array<uint8_t, 4>;

Px blendByte(Px d, Px s, double alpha) {
    RECT b{0, 0, 1, 1};
    EXPECT_EQ(QzDibAbsoluteAlphaValueBlend(d.data(), &b, 4, nullptr, s.data(), &b, 4, nullptr, 4, alpha), S_OK);
    return d;
}

TEST(QzDibAbsoluteAlphaValueBlend, FullStrengthStopsOneShortOfTheSource) {
    EXPECT_EQ(blendByte({0, 0, 0, 0}, {255, 255, 255, 255}, 1.0), (Px{254, 254, 254, 254}));
    EXPECT_EQ(blendByte({255, 255, 255, 255}, {0, 0, 0, 0}, 1.0), (Px{1, 1, 1, 1}));
}

TEST(QzDibAbsoluteAlphaValueBlend, ZeroStrengthLeavesTheDestination) {
    EXPECT_EQ(blendByte({10, 200, 37, 255}, {250, 0, 99, 0}, 0.0), (Px{10, 200, 37, 255}));
}

TEST(QzDibAbsoluteAlphaValueBlend, StrengthBytesRoundWithTheBias) {
    // 0.5 * 255 = 127.5 becomes 128: (255 - 0) * 128 / 256 = 127.
    EXPECT_EQ(blendByte({0, 0, 0, 0}, {255, 255, 255, 255}, 0.5)[0], 127);
    // Downward mixes truncate toward the destination: 100 + (-100 * 128) / 256 = 50.
    EXPECT_EQ(blendByte({100, 0, 0, 0}, {0, 0, 0, 0}, 0.5)[0], 50);
    // 3 + (0 - 3) * 128 / 256 = 3 - 1 (-384 / 256 truncates to -1).
    EXPECT_EQ(blendByte({3, 0, 0, 0}, {0, 0, 0, 0}, 0.5)[0], 2);
    // 0.25 * 255 = 63.75 rounds to 64.
    EXPECT_EQ(blendByte({0, 0, 0, 0}, {200, 0, 0, 0}, 0.25)[0], 50);
}

TEST(QzDibAbsoluteAlphaValueBlend, OnlyTheLowByteOfTheStrengthCounts) {
    // 256 / 255 gives a strength of 256, whose low byte is 0.
    EXPECT_EQ(blendByte({10, 0, 0, 0}, {200, 0, 0, 0}, 256.0 / 255.0)[0], 10);
}

TEST(QzDibAbsoluteAlphaValueBlend, FloatMixesInSinglePrecisionWithoutClamp) {
    std::array<float, 4> d{0.0f, 1.0f, -0.5f, 2.0f}, s{1.0f, 0.0f, 0.5f, 0.0f};
    RECT b{0, 0, 1, 1};
    ASSERT_EQ(QzDibAbsoluteAlphaValueBlend(d.data(), &b, 16, nullptr, s.data(), &b, 16, nullptr, 16, 0.25), S_OK);
    EXPECT_EQ(d, (std::array<float, 4>{0.25f, 0.75f, -0.25f, 1.5f}));
}

TEST(QzDibAbsoluteAlphaValueBlend, MismatchedRectanglesFailWithoutWriting) {
    Px d{1, 2, 3, 4}, s{9, 9, 9, 9};
    RECT b{0, 0, 1, 1}, r{0, 0, 2, 1};
    EXPECT_EQ(QzDibAbsoluteAlphaValueBlend(d.data(), &b, 4, &b, s.data(), &b, 4, &r, 4, 1.0), E_INVALIDARG);
    EXPECT_EQ(d, (Px{1, 2, 3, 4}));
}

}  // namespace
