#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>

#include "QzDib.h"

namespace {

using Px2 = std::array<uint8_t, 8>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1}, two{0, 0, 2, 1};

TEST(QzDibPremultiply, BytesDivideExactlyBy255AndFloatsDoNotClamp) {
    // 255 * 128 / 255 = 128; 1 * 128 / 255 = 0; 100 * 128 / 255 = 50;
    // 1 * 254 / 255 = 0; 255 * 254 / 255 = 254; 254 * 254 / 255 = 253.
    Px2 px{255, 1, 100, 128, 1, 255, 254, 254};
    ASSERT_EQ(QzDibPremultiply(px.data(), &two, 8, nullptr, 4), S_OK);
    EXPECT_EQ(px, (Px2{128, 0, 50, 128, 0, 254, 253, 254}));
    // Floats multiply without a clamp.
    Pf f{0.5f, 1.0f, 2.0f, 0.5f};
    ASSERT_EQ(QzDibPremultiply(f.data(), &one, 16, nullptr, 16), S_OK);
    EXPECT_EQ(f, (Pf{0.25f, 0.5f, 1.0f, 0.5f}));
}

TEST(QzDibPatchPreMultiplied, ColourIsHeldToAlpha) {
    Px2 px{200, 50, 100, 100, 255, 255, 255, 0};
    ASSERT_EQ(QzDibPatchPreMultiplied(px.data(), &two, 8, nullptr, 4), S_OK);
    EXPECT_EQ(px, (Px2{100, 50, 100, 100, 0, 0, 0, 0}));
    Pf f{1.5f, 0.25f, -1.0f, 0.5f};
    ASSERT_EQ(QzDibPatchPreMultiplied(f.data(), &one, 16, nullptr, 16), S_OK);
    EXPECT_EQ(f, (Pf{0.5f, 0.25f, -1.0f, 0.5f}));
}

TEST(QzDibPrepAlpha, OpaqueAndPremultiplyModesWithinTheBounds) {
    // Bounds of 1 x 1: the second pixel lies outside and stays.
    RECT r{0, 0, 2, 1};
    Px2 px{10, 20, 30, 40, 10, 20, 30, 40};
    ASSERT_EQ(QzDibPrepAlpha(px.data(), 1, 1, 8, &r, -1, nullptr, 4, 0, 0), S_OK);
    EXPECT_EQ(px, (Px2{10, 20, 30, 255, 10, 20, 30, 40}));
    Pf f{0.5f, 0.5f, 0.5f, 0.25f};
    ASSERT_EQ(QzDibPrepAlpha(f.data(), 1, 1, 16, nullptr, 0, nullptr, 16, 0, 0), S_OK);
    EXPECT_EQ(f, (Pf{0.5f, 0.5f, 0.5f, 1.0f}));
    px = {255, 1, 100, 128, 0, 0, 0, 0};
    ASSERT_EQ(QzDibPrepAlpha(px.data(), 2, 1, 8, nullptr, 1, nullptr, 4, 0, 0), S_OK);
    EXPECT_EQ(px, (Px2{128, 0, 50, 128, 0, 0, 0, 0}));
}

TEST(QzDibPrepAlphaImage, ByteMatteIsRemovedAndClampedToAlpha) {
    const float matte[3] = {1.0f, 0.5f, 0.0f};  // 255, 127, 0
    // Alpha 128: (255 * 128 >> 8) + 200 - 255 = 72; (127 * 128 >> 8) + 150 - 127 = 86; 40.
    // Alpha 100: 99 + 10 - 255 < 0 -> 0; 49 + 255 - 127 = 177 -> 100; 200 -> 100.
    const Px2 in{200, 150, 40, 128, 10, 255, 200, 100}, out{72, 86, 40, 128, 0, 100, 100, 100};
    Px2 px = in;
    ASSERT_EQ(QzDibPrepAlphaImage(px.data(), &two, 8, nullptr, 0, matte, 4, 0, 0), S_OK);
    EXPECT_EQ(px, out);
    px = in;  // mode 3, straight, removes the matte the same way
    ASSERT_EQ(QzDibPrepAlpha(px.data(), 2, 1, 8, nullptr, 3, matte, 4, 0, 0), S_OK);
    EXPECT_EQ(px, out);
}

TEST(QzDibPrepAlphaImage, NoMatteOrANonPositiveOneOnlyClamps) {
    const float zeroSum[3] = {-1.0f, 0.5f, 0.5f};
    Px2 px{200, 50, 10, 100, 0, 0, 0, 0};
    ASSERT_EQ(QzDibPrepAlphaImage(px.data(), &two, 8, nullptr, 0, nullptr, 4, 0, 0), S_OK);
    EXPECT_EQ(px, (Px2{100, 50, 10, 100, 0, 0, 0, 0}));
    Pf f{0.75f, -0.5f, 0.25f, 0.5f};
    ASSERT_EQ(QzDibPrepAlphaImage(f.data(), &one, 16, nullptr, 0, zeroSum, 16, 2.0, 1.0), S_OK);
    EXPECT_EQ(f, (Pf{0.5f, -0.5f, 0.25f, 0.5f}));
}

TEST(QzDibPrepAlphaImage, FloatWithEqualGammasWorksDirectlyAndUnclamped) {
    const float matte[3] = {0.5f, 0.25f, 0.0f};
    // a * m + (c - m): 0.25 + 0.25; 0.125 + 0.25; 0 + 0.25.
    Pf f{0.75f, 0.5f, 0.25f, 0.5f};
    ASSERT_EQ(QzDibPrepAlphaImage(f.data(), &one, 16, nullptr, 0, matte, 16, 2.2, 2.2), S_OK);
    EXPECT_EQ(f, (Pf{0.5f, 0.375f, 0.25f, 0.5f}));
    // A zero gamma stands for 1 / 0.45; nothing is clamped: 0.25 - 0.5 = -0.25.
    f = {0.0f, 0.5f, 0.25f, 0.5f};
    ASSERT_EQ(QzDibPrepAlphaImage(f.data(), &one, 16, nullptr, 0, matte, 16, 0.0, 1.0 / 0.45), S_OK);
    EXPECT_EQ(f, (Pf{-0.25f, 0.375f, 0.25f, 0.5f}));
}

TEST(QzDibPrepAlphaImage, FloatGammaRatioRemovesTheMatteInThePowerSpace) {
    const float matte[3] = {0.5f, 0.5f, 0.5f};
    // Ratio gammaA / gammaB = 2: sqrt(1 - 0.5 + 0.5 * 0.5^2) = sqrt(0.625).
    Pf f{1.0f, 1.0f, 1.0f, 0.5f};
    ASSERT_EQ(QzDibPrepAlphaImage(f.data(), &one, 16, nullptr, 0, matte, 16, 2.0, 1.0), S_OK);
    EXPECT_NEAR(f[0], std::sqrt(0.625), 1e-3);
    EXPECT_EQ(f[3], 0.5f);
    // The other way round: (1 - 0.5 + 0.5 * sqrt(0.5))^2.
    f = {1.0f, 1.0f, 1.0f, 0.5f};
    ASSERT_EQ(QzDibPrepAlphaImage(f.data(), &one, 16, nullptr, 0, matte, 16, 1.0, 2.0), S_OK);
    EXPECT_NEAR(f[0], std::pow(0.5 + 0.5 * std::sqrt(0.5), 2.0), 1e-3);
    // Transparent pixels lose their colour, opaque ones are left alone.
    std::array<float, 8> g{0.3f, 0.4f, 0.5f, 0.0f, 0.3f, 0.9f, 2.0f, 1.0f};
    ASSERT_EQ(QzDibPrepAlphaImage(g.data(), &two, 32, nullptr, 0, matte, 16, 2.0, 1.0), S_OK);
    EXPECT_EQ(g, (std::array<float, 8>{0, 0, 0, 0, 0.3f, 0.9f, 2.0f, 1.0f}));
}

TEST(QzDibAlpha, MisuseAndUnknownModesWriteNothing) {
    Px2 px{200, 0, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(QzDibPrepAlphaImage(px.data(), nullptr, 8, nullptr, 0, nullptr, 4, 0, 0), E_POINTER);
    EXPECT_EQ(QzDibPrepAlphaImage(nullptr, &two, 8, nullptr, 0, nullptr, 4, 0, 0), E_POINTER);
    EXPECT_EQ(QzDibPremultiply(px.data(), nullptr, 8, nullptr, 4), E_POINTER);
    EXPECT_EQ(QzDibPatchPreMultiplied(nullptr, &two, 8, nullptr, 4), E_POINTER);
    EXPECT_EQ(QzDibPrepAlpha(px.data(), 0, 0, 8, nullptr, 1, nullptr, 4, 0, 0), S_OK);
    // Modes outside -1 to 3 are not implemented.
    EXPECT_EQ(QzDibPrepAlpha(px.data(), 2, 1, 8, nullptr, 4, nullptr, 4, 0, 0), E_NOTIMPL);
    EXPECT_EQ(QzDibPrepAlpha(px.data(), 2, 1, 8, nullptr, -2, nullptr, 4, 0, 0), E_NOTIMPL);
    EXPECT_EQ(px, (Px2{200, 0, 0, 1, 0, 0, 0, 0}));
}

}  // namespace
