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

namespace {

Px relativeByte(Px d, Px s, double alpha) {
    RECT b{0, 0, 1, 1};
    EXPECT_EQ(QzDibRelativeAlphaValueBlend(d.data(), &b, 4, nullptr, s.data(), &b, 4, nullptr, 4, alpha), S_OK);
    return d;
}

TEST(QzDibRelativeAlphaValueBlend, SourceAlphaScalesTheStrength) {
    // w = (128 * 255) >> 8 = 127; 200 * 127 / 256 = 99, 100 -> 49, 50 -> 24, 128 -> 63.
    EXPECT_EQ(relativeByte({0, 0, 0, 0}, {200, 100, 50, 128}, 1.0), (Px{99, 49, 24, 63}));
    // w = 254: 255 + (-255 * 254) / 256 = 255 - 253.
    EXPECT_EQ(relativeByte({255, 255, 255, 255}, {0, 0, 0, 255}, 1.0), (Px{2, 2, 2, 255}));
    // A transparent source changes nothing.
    EXPECT_EQ(relativeByte({10, 20, 30, 40}, {250, 250, 250, 0}, 1.0), (Px{10, 20, 30, 40}));
}

TEST(QzDibRelativeAlphaValueBlend, StrengthByteIsTruncatedAndKeepsItsLowByte) {
    // 0.5 gives 127 here (the absolute blend rounds to 128): w = 126, 255 * 126 / 256 = 125.
    EXPECT_EQ(relativeByte({0, 0, 0, 0}, {255, 0, 0, 255}, 0.5)[0], 125);
    // 2.0 gives 510, low byte 254: w = 253, 255 * 253 / 256 = 252.
    EXPECT_EQ(relativeByte({0, 0, 0, 0}, {255, 0, 0, 255}, 2.0)[0], 252);
}

TEST(QzDibRelativeAlphaValueBlend, FloatPathWorksOnTruncatedIntegers) {
    using Pf = std::array<float, 4>;
    RECT b{0, 0, 1, 1};
    // Everything below 1 truncates to 0: the image comes out black.
    Pf d{0.5f, 0.9f, 0.1f, 0.7f}, s{0.3f, 0.2f, 0.9f, 1.0f};
    ASSERT_EQ(QzDibRelativeAlphaValueBlend(d.data(), &b, 16, nullptr, s.data(), &b, 16, nullptr, 16, 1.0), S_OK);
    EXPECT_EQ(d, (Pf{0, 0, 0, 0}));
    // w = 200: (90 * 200) / 256 + 10 = 80; (10 - 300) * 200 / 256 + 300 = 74;
    // (-7 * 200) / 256 + 7 = 2; 200 * 200 / 256 = 156.
    d = {10.0f, 300.5f, 7.9f, 0.0f};
    s = {100.0f, 10.9f, 0.0f, 200.0f};
    ASSERT_EQ(QzDibRelativeAlphaValueBlend(d.data(), &b, 16, nullptr, s.data(), &b, 16, nullptr, 16, 1.0), S_OK);
    EXPECT_EQ(d, (Pf{80, 74, 2, 156}));
    // With w = 0 the destination comes back as the low byte of its integer.
    d = {300.5f, 255.9f, -1.5f, 1.0f};
    s = {0, 0, 0, 0};
    ASSERT_EQ(QzDibRelativeAlphaValueBlend(d.data(), &b, 16, nullptr, s.data(), &b, 16, nullptr, 16, 1.0), S_OK);
    EXPECT_EQ(d, (Pf{44, 255, 255, 1}));
}

TEST(QzDibRelativeAlphaValueBlend, MisuseLeavesTheDestination) {
    Px d{1, 2, 3, 4}, s{9, 9, 9, 255};
    RECT b{0, 0, 1, 1}, wide{0, 0, 2, 1};
    EXPECT_EQ(QzDibRelativeAlphaValueBlend(d.data(), &b, 4, nullptr, nullptr, &b, 4, nullptr, 4, 1.0), E_POINTER);
    EXPECT_EQ(QzDibRelativeAlphaValueBlend(d.data(), nullptr, 4, nullptr, s.data(), &b, 4, nullptr, 4, 1.0), E_POINTER);
    EXPECT_EQ(QzDibRelativeAlphaValueBlend(d.data(), &b, 4, &b, s.data(), &b, 4, &wide, 4, 1.0), E_INVALIDARG);
    EXPECT_EQ(d, (Px{1, 2, 3, 4}));
}

}  // namespace
