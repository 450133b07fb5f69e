#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "QzDib.h"
#include "qz_test_dib.h"

namespace {

using qztest::TestDib;
using Bgra = std::array<uint8_t, 4>;

HRESULT linearize(TestDib& d, TestDib& s, int32_t curve, double gamma = 0.0, const RECT* dr = nullptr,
                  const RECT* sr = nullptr) {
    return QzDibLinearize_QZRGBAFLOAT_From_RGBA(d.header(), nullptr, dr, 0, s.header(), nullptr, sr, 0, curve, gamma);
}

float linearized(int32_t curve, uint8_t byte, double gamma = 0.0) {
    TestDib src(QzPixelRGB32, 1, 1), dst(QzPixelRGBA128, 1, 1);
    src.put(0, 0, Bgra{byte, byte, byte, byte});
    EXPECT_EQ(linearize(dst, src, curve, gamma), S_OK);
    for (int i = 1; i < 4; ++i) EXPECT_EQ(dst.floats()[i], dst.floats()[0]) << "alpha goes through the curve too";
    return dst.floats()[0];
}

TEST(QzDibLinearize, DecodesEachCurveThroughItsTable) {
    EXPECT_FLOAT_EQ(linearized(QzTransferGamma22, 128), 0.2161831110715866f);
    EXPECT_FLOAT_EQ(linearized(QzTransferGamma28, 128), 0.14516951143741608f);
    EXPECT_FLOAT_EQ(linearized(QzTransferRec709, 10), 0.00871459674090147f);  // linear segment, x / 4.5
    EXPECT_FLOAT_EQ(linearized(QzTransferRec709, 200), 0.6153886914253235f);
    EXPECT_FLOAT_EQ(linearized(QzTransferSMPTE240M, 20), 0.019607843831181526f);  // x * 0.25
    EXPECT_FLOAT_EQ(linearized(QzTransferSMPTE240M, 200), 0.6191503405570984f);
    EXPECT_EQ(linearized(QzTransferLinear, 132), 0.5176470875740051f);
    EXPECT_EQ(linearized(QzTransferLinear, 255), 1.0f);
    EXPECT_FLOAT_EQ(linearized(QzTransferPower, 64, 2.0), 0.5009794235229492f);  // x ^ (1 / 2)
    EXPECT_EQ(linearized(QzTransferPower, 64, 0.0), 0.250980406999588f) << "gamma 0 counts as 1";
}

TEST(QzDibLinearize, WalksBottomUpRowsOfTheRectangle) {
    // 2 x 2, RGBA32 source; the image's top row is memory row 1.
    TestDib src(QzPixelRGBA32, 2, 2), dst(QzPixelRGBA128, 2, 2);
    std::memset(src.bits(), 255, 16);
    src.put(0, 0, Bgra{});
    for (int i = 0; i < 16; ++i) dst.floats()[i] = -1.0f;
    RECT topLeft{0, 0, 1, 1};
    ASSERT_EQ(linearize(dst, src, QzTransferLinear, 0.0, &topLeft, &topLeft), S_OK);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(dst.floats()[i], i >= 8 && i < 12 ? 0.0f : -1.0f) << i;
}

TEST(QzDibLinearize, WrongTypesAndSizesLeaveTheImage) {
    TestDib src(QzPixelRGB32, 2, 1), dst(QzPixelRGBA128, 2, 1), rgb24(QzPixelRGB24, 2, 1);
    const std::vector<uint8_t> before = dst.image();
    EXPECT_EQ(linearize(dst, rgb24, 0), E_INVALIDARG);
    EXPECT_EQ(linearize(dst, dst, 0), E_INVALIDARG) << "a float source";
    EXPECT_EQ(linearize(src, src, 0), E_INVALIDARG);
    RECT one{0, 0, 1, 1}, two{0, 0, 2, 1}, outside{5, 0, 6, 1};
    EXPECT_EQ(linearize(dst, src, 0, 0.0, &one, &two), E_INVALIDARG);
    EXPECT_EQ(linearize(dst, src, 6), E_INVALIDARG) << "no such curve";
    EXPECT_EQ(linearize(dst, src, 0, 0.0, &outside, &outside), S_OK);
    EXPECT_EQ(dst.image(), before);
    EXPECT_EQ(
        QzDibLinearize_QZRGBAFLOAT_From_RGBA(nullptr, nullptr, nullptr, 0, src.header(), nullptr, nullptr, 0, 0, 0.0),
        E_POINTER);
}

// Encodes one float pixel of four equal channels.
float encoded(int32_t curve, float c, bool table, double gamma = 0.0) {
    TestDib d(QzPixelRGBA128, 1, 1);
    for (int i = 0; i < 4; ++i) d.floats()[i] = c;
    EXPECT_EQ(QzDibApplyTransferFunc_QZRGBAFLOAT(d.header(), nullptr, nullptr, 0, curve, gamma, table ? 1 : 0), S_OK);
    for (int i = 1; i < 4; ++i) EXPECT_EQ(d.floats()[i], d.floats()[0]) << "alpha is encoded too";
    return d.floats()[0];
}

TEST(QzDibApplyTransferFunc, ExactModeEvaluatesTheCurve) {
    EXPECT_FLOAT_EQ(encoded(QzTransferGamma22, 0.5f, false), 0.7320428490638733f);
    EXPECT_FLOAT_EQ(encoded(QzTransferGamma22, 0.501f, false), 0.732701301574707f);
    EXPECT_FLOAT_EQ(encoded(QzTransferGamma28, 0.5f, false), 0.7807092070579529f);
    EXPECT_FLOAT_EQ(encoded(QzTransferRec709, 0.01f, false), 0.044999998062849045f);  // x * 4.5
    EXPECT_FLOAT_EQ(encoded(QzTransferRec709, 0.5f, false), 0.7055150866508484f);
    EXPECT_FLOAT_EQ(encoded(QzTransferSMPTE240M, 0.02f, false), 0.07999999821186066f);  // x * 4
    EXPECT_FLOAT_EQ(encoded(QzTransferSMPTE240M, 0.5f, false), 0.7021656036376953f);
    EXPECT_EQ(encoded(QzTransferPower, 0.25f, false, 0.5), 0.0625f);
    EXPECT_EQ(encoded(QzTransferLinear, 0.3f, false), 0.3f);
}

TEST(QzDibApplyTransferFunc, TableModeQuantizesTo256Levels) {
    // 0.5 and 0.501 both index trunc(c * 255) = 127, the entry of 127 / 255.
    EXPECT_EQ(encoded(QzTransferGamma22, 0.5f, true), 0.7307496070861816f);
    EXPECT_EQ(encoded(QzTransferGamma22, 0.501f, true), 0.7307496070861816f);
    EXPECT_FLOAT_EQ(encoded(QzTransferRec709, 0.01f, true), 0.03529411926865578f);     // index 2
    EXPECT_FLOAT_EQ(encoded(QzTransferPower, 0.25f, true, 0.5), 0.0610380619764328f);  // index 63
    // The index is clamped, so out-of-range values take the end entries.
    EXPECT_EQ(encoded(QzTransferGamma22, 2.0f, true), 1.0f);
    EXPECT_EQ(encoded(QzTransferGamma22, -1.0f, true), 0.0f);
    EXPECT_EQ(encoded(QzTransferGamma22, std::nanf(""), true), 0.0f);
}

TEST(QzDibApplyTransferFunc, WorksOnTheRectangleOnlyAndRefusesOtherTypes) {
    TestDib d(QzPixelRGBA128, 2, 2);
    for (int i = 0; i < 16; ++i) d.floats()[i] = 0.25f;
    RECT bottomRight{1, 1, 2, 2};  // memory row 0, column 1
    ASSERT_EQ(QzDibApplyTransferFunc_QZRGBAFLOAT(d.header(), nullptr, &bottomRight, 0, QzTransferPower, 0.5, 0), S_OK);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(d.floats()[i], i >= 4 && i < 8 ? 0.0625f : 0.25f) << i;

    TestDib bytes(QzPixelRGBA32, 2, 2);
    std::memset(bytes.bits(), 77, 16);
    const std::vector<uint8_t> before = bytes.image();
    EXPECT_EQ(QzDibApplyTransferFunc_QZRGBAFLOAT(bytes.header(), nullptr, nullptr, 0, 0, 0.0, 1), E_INVALIDARG);
    EXPECT_EQ(bytes.image(), before);
    EXPECT_EQ(QzDibApplyTransferFunc_QZRGBAFLOAT(d.header(), nullptr, nullptr, 0, -1, 0.0, 1), E_INVALIDARG);
    EXPECT_EQ(QzDibApplyTransferFunc_QZRGBAFLOAT(nullptr, nullptr, nullptr, 0, 0, 0.0, 1), E_POINTER);
    RECT outside{2, 0, 3, 1};
    EXPECT_EQ(QzDibApplyTransferFunc_QZRGBAFLOAT(d.header(), nullptr, &outside, 0, 0, 0.0, 1), S_OK);
}

}  // namespace
