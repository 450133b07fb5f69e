#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "QzDib.h"

namespace {

constexpr double kByte = 0.00392156862745098;

QZHSL hslOf(uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255) {
    QZRGBA px{b, g, r, a};
    QZHSL hsl;
    QZRGBA_To_QZHSL(&hsl, &px);
    return hsl;
}

// Red first, for reading.
using Bytes = std::array<uint8_t, 4>;
using Floats = std::array<float, 4>;
using Doubles = std::array<double, 4>;
template <class Pixel>
auto rgba(const Pixel& p) {
    return std::array{p.r, p.g, p.b, p.a};
}
Doubles hsla(const QZHSL& c) { return {c.h, c.s, c.l, c.a}; }

Bytes bytesOf(double h, double s, double l, double a) {
    QZHSL hsl{h, s, l, a};
    QZRGBA px{1, 2, 3, 4};
    QZHSL_To_QZRGBA(&px, &hsl);
    return rgba(px);
}

TEST(QzHsl, GreysHaveNoHueAndRedWinsTies) {
    EXPECT_EQ(hsla(hslOf(0, 0, 0)), (Doubles{0.0, 0.0, 0.0, 255 * kByte}));
    EXPECT_EQ(hsla(hslOf(128, 128, 128, 132)), (Doubles{0.0, 0.0, 128 * kByte, 132 * kByte}))
        << "8-bit alpha is scaled like the colour";
    // Green and blue both minimal: the first branch, ((mx - b) / d + 5) / 6.
    EXPECT_EQ(hslOf(255, 0, 0).h, 1.0);
    const QZHSL c = hslOf(200, 100, 50);
    EXPECT_DOUBLE_EQ(c.h, 1.0 / 18.0);
    EXPECT_DOUBLE_EQ(c.s, 0.6);  // lightness under 0.5: 150 / (200 + 50)
    EXPECT_DOUBLE_EQ(c.l, 0.49019607843137253);
}

TEST(QzHsl, InverseTruncatesWrapsHueOneAndWritesOnlyAlphaPastIt) {
    EXPECT_EQ(bytesOf(0.0, 1.0, 0.5, 1.0), (Bytes{255, 0, 0, 255}));
    EXPECT_EQ(bytesOf(1.0, 1.0, 0.5, 1.0), (Bytes{255, 0, 0, 255})) << "sextant 6 is sextant 0";
    // 30 degrees: green is 0.5 * 255 = 127.5, truncated.
    EXPECT_EQ(bytesOf(1.0 / 12.0, 1.0, 0.5, 0.5), (Bytes{255, 127, 0, 127}));
    // A round trip loses a level where the scale lands under the level.
    EXPECT_EQ(bytesOf(0.0, 0.0, 132 * kByte, 132 * kByte), (Bytes{131, 131, 131, 131}));
    const QZHSL c = hslOf(200, 100, 50);
    EXPECT_EQ(bytesOf(c.h, c.s, c.l, 1.0), (Bytes{200, 100, 49, 255}));
    // Past the sixth sextant only alpha is written.
    EXPECT_EQ(bytesOf(1.2, 1.0, 0.5, 1.0), (Bytes{3, 2, 1, 255}));
    // Just under 7/6 is still sextant 6.
    // Alpha is clamped; zero value gives black with alpha.
    EXPECT_EQ(bytesOf(0.0, 1.0, 0.0, 2.0), (Bytes{0, 0, 0, 255}));
    // The float inverse zeroes colour without value but keeps alpha.
    QZHSL dark{0.3, 1.0, -0.25, 0.5};
    QZDIBPIXEL out{9.0f, 9.0f, 9.0f, 9.0f};
    QZHSL_To_QZDIBPIXEL(&out, &dark);
    EXPECT_EQ(rgba(out), (Floats{0.0f, 0.0f, 0.0f, 0.5f}));
}

QZHSL tolerantHsl(float b, float g, float r) {
    QZDIBPIXEL px{b, g, r, 1.0f};
    QZHSL hsl;
    QZDIBPIXEL_To_QZHSL_Float(&hsl, &px);
    return hsl;
}

TEST(QzHslFloat, WhiteIsNudgedAndOutOfRangePixelsRoundTrip) {
    // Max and min sum to exactly 2: the maximum (blue, on a tie) becomes
    // 1 + 1e-6 in the working copy, and saturation comes out non-zero.
    EXPECT_EQ(hsla(tolerantHsl(1.0f, 1.0f, 1.0f)), (Doubles{0.6666666666666666, 1.0, 1.0000004999999987, 1.0}));

    struct Case {
        float b, g, r;
        double h, s, l, sAfter;
    };
    const Case cases[] = {
        {1.25f, 0.75f, 1.5f, 0.8888888888888888, 3.0, 1.125, -3.0},     // lightness above 1
        {0.125f, 0.25f, -0.5f, 0.4722222222222222, 3.0, -0.125, -3.0},  // below 0
        {0.5f, -1.0f, 2.0f, 0.9166666666666666, 3.0, 0.5, 3.0},         // in range, wide
        {0.25f, 0.5f, 1.0f, 0.05555555555555556, 1.0, 0.625, 1.0},
    };
    for (const Case& c : cases) {
        QZHSL hsl = tolerantHsl(c.b, c.g, c.r);
        EXPECT_EQ(hsla(hsl), (Doubles{c.h, c.s, c.l, 1.0}));
        QZDIBPIXEL back{};
        QZHSL_To_QZDIBPIXEL_Float(&back, &hsl);
        EXPECT_EQ(rgba(back), (Floats{c.r, c.g, c.b, 1.0f}));
        EXPECT_EQ(hsl.s, c.sAfter) << "the inverse writes the saturation it used back";
    }
}

uint32_t rgbWord(uint32_t r, uint32_t g, uint32_t b) { return r | g << 8 | b << 16; }
uint32_t hslWord(uint32_t h, uint32_t s, uint32_t l) { return h | s << 8 | l << 16; }

TEST(QzRGBtoHSL, HandComputedWords) {
    EXPECT_EQ(QzRGBtoHSL(rgbWord(128, 128, 128)), hslWord(160, 0, 120)) << "greys have hue 160";
    EXPECT_EQ(QzRGBtoHSL(rgbWord(255, 0, 0)), hslWord(0, 240, 120));
    // L = (250 * 240 + 256) >> 9 = 117; S = (150 * 240 + 125) / 250 = 144;
    // gd = (100 * 40 + 75) / 150 = 27, bd = (150 * 40 + 75) / 150 = 40.
    EXPECT_EQ(QzRGBtoHSL(rgbWord(200, 100, 50)), hslWord(13, 144, 117));
    // Light: den = 512 - 455 = 57, S = (55 * 240 + 28) / 57 = 232 (510 would give 240).
    EXPECT_EQ(QzRGBtoHSL(rgbWord(255, 255, 200)), hslWord(40, 232, 213));
    // A negative hue wraps: bd - gd = 24 - 40 + 240.
    EXPECT_EQ(QzRGBtoHSL(rgbWord(255, 0, 100)), hslWord(224, 240, 120));
    EXPECT_EQ(QzRGBtoHSL(0xFF000000u | rgbWord(1, 1, 1)), QzRGBtoHSL(rgbWord(1, 1, 1))) << "the top byte is ignored";
}

TEST(QzHSLtoRGB, HandComputedWordsAndTheKeptSlip) {
    EXPECT_EQ(QzHSLtoRGB(hslWord(0, 0, 120)), rgbWord(127, 127, 127));  // 120 * 255 / 240
    EXPECT_EQ(QzHSLtoRGB(hslWord(0, 240, 120)), rgbWord(255, 0, 0));
    // Rising edge: green (240 * 20 + 20) / 40 = 120, then (120 * 255 + 120) / 240 = 128.
    EXPECT_EQ(QzHSLtoRGB(hslWord(20, 240, 120)), rgbWord(255, 128, 0));
    // Falling edge: (240 * 160 - 140 + 20) / 40 = 957, (957 * 255 + 120) / 240
    // = 1017, whose low byte is 249.
    EXPECT_EQ(QzHSLtoRGB(hslWord(140, 240, 120)), rgbWord(0, 249, 255));
    // So a light yellow does not come back: red sits on the falling edge.
    EXPECT_EQ(QzHSLtoRGB(QzRGBtoHSL(rgbWord(255, 255, 200))), rgbWord(161, 254, 199));
    // Blue of a hue below 80 wraps unsigned and reads the low level.
    EXPECT_EQ(QzHSLtoRGB(hslWord(224, 240, 120)), rgbWord(255, 0, 248));
}

QZLAB labOf(uint8_t r, uint8_t g, uint8_t b) {
    QZRGBA px{b, g, r, 7};
    QZLAB lab;
    QZRGBA_To_QZLAB(&lab, &px);
    return lab;
}

TEST(QzLab, WhiteAndBlackAndRed) {
    const QZLAB white = labOf(255, 255, 255);
    EXPECT_EQ(white.L, 100.0);
    // The printed white point leaves a trace of colour in white.
    EXPECT_DOUBLE_EQ(white.a, 0.00526049995830391);
    EXPECT_DOUBLE_EQ(white.b, -0.010408184525267927);
    const QZLAB red = labOf(255, 0, 0);
    EXPECT_DOUBLE_EQ(red.L, 53.23288178584245);
    EXPECT_DOUBLE_EQ(red.a, 80.10930952982204);
    EXPECT_DOUBLE_EQ(red.b, 67.22006831026425);
}

TEST(QzLab, InverseUsesTheSinglePrecisionWhite) {
    QZRGBA px{1, 2, 3, 4};
    const QZLAB white{100.0, 0.0, 0.0};
    QZLAB_To_QZRGBA(&px, &white);
    // Blue comes out at 0.99993: truncation gives 254. Alpha is not written.
    EXPECT_EQ(rgba(px), (Bytes{255, 255, 254, 4}));

    QZDIBPIXEL f{0, 0, 0, 0.5f};
    QZLAB_To_QZDIBPIXEL_Float(&f, &white);
    EXPECT_FLOAT_EQ(f.b, 0.999927237198594f);
    EXPECT_EQ(f.a, 0.5f);

    // Out of gamut: bytes clamp, floats do not.
    const QZLAB vivid{50.0, 100.0, 0.0};
    QZLAB_To_QZRGBA(&px, &vivid);
    EXPECT_EQ(rgba(px), (Bytes{255, 0, 123, 4}));
    QZLAB_To_QZDIBPIXEL_Float(&f, &vivid);
    EXPECT_FLOAT_EQ(f.r, 1.0076013955236591f);
    EXPECT_FLOAT_EQ(f.g, -0.8386879790719062f);
}

TEST(QzDibHSLAdjust, RotatesHueAndClampsSaturationAndLightness) {
    // Two pixels: red (alpha 132) and the colour 200, 100, 50.
    std::array<QZRGBA, 2> img{QZRGBA{0, 0, 255, 132}, QZRGBA{50, 100, 200, 255}};
    RECT bounds{0, 0, 2, 1};
    QZHSL third{1.0 / 3.0, 0.0, 0.0, 0.9};
    ASSERT_EQ(QzDibHSLAdjust(img.data(), &bounds, 8, nullptr, 4, &third), S_OK);
    // Red's hue 1.0 + 1/3 wraps to 1/3: green. Alpha keeps its byte.
    EXPECT_EQ(rgba(img[0]), (Bytes{0, 255, 0, 132}));

    QZHSL grey{0.0, -2.0, 0.0, 0.0};
    RECT second{1, 0, 2, 1};
    ASSERT_EQ(QzDibHSLAdjust(img.data(), &bounds, 8, &second, 4, &grey), S_OK);
    EXPECT_EQ(img[0].g, 255) << "outside the rectangle";
    EXPECT_EQ(img[1].r, img[1].g);
    EXPECT_EQ(img[1].g, img[1].b);
}

TEST(QzDibHSLAdjust, FloatPixelsAndMisuse) {
    std::array<QZRGBAFLOAT, 1> img{QZRGBAFLOAT{0.0f, 0.0f, 1.0f, 0.5f}};
    RECT bounds{0, 0, 1, 1};
    QZHSL half{-0.5, 0.0, 0.0, 0.0};
    ASSERT_EQ(QzDibHSLAdjust(img.data(), &bounds, 16, nullptr, 16, &half), S_OK);
    EXPECT_EQ(rgba(img[0]), (Floats{0.0f, 1.0f, 1.0f, 0.5f})) << "hue 1.0 - 0.5: cyan";

    EXPECT_EQ(QzDibHSLAdjust(img.data(), &bounds, 16, nullptr, 16, nullptr), E_POINTER);
    RECT outside{5, 5, 6, 6};
    EXPECT_EQ(QzDibHSLAdjust(nullptr, &bounds, 16, &outside, 16, &half), S_OK);
}

}  // namespace
