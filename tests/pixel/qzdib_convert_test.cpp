#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include "QzDib.h"
#include "qz_test_dib.h"

namespace {

using qztest::TestDib;
using Bgra = std::array<uint8_t, 4>;
using Floats = std::array<float, 4>;

HRESULT copy(TestDib& dst, TestDib& src, uint32_t flags, const RECT* dstRect = nullptr, const RECT* srcRect = nullptr,
             double dstGamma = 0.0, double srcGamma = 0.0) {
    return QzDibCopy(dst.header(), nullptr, dstRect, 0, src.header(), nullptr, srcRect, 0, flags, dstGamma, srcGamma);
}

std::vector<uint8_t> channel(TestDib& d, int32_t c) {
    std::vector<uint8_t> v;
    for (int32_t y = 0; y < d.header()->biHeight; ++y)
        for (int32_t x = 0; x < d.header()->biWidth; ++x) v.push_back(d.get<Bgra>(x, y)[c]);
    return v;
}

TEST(QzDibCopy, BytesToFloatAndBackIsExactWithoutACurve) {
    TestDib src(QzPixelRGB32, 16, 16), mid(QzPixelRGBA128, 16, 16), back(QzPixelRGB32, 16, 16);
    for (int32_t i = 0; i < 256; ++i) {
        const auto b = static_cast<uint8_t>(i);
        src.put<Bgra>(i % 16, i / 16, Bgra{b, static_cast<uint8_t>(255 - b), static_cast<uint8_t>(b ^ 0x55), b});
    }
    ASSERT_EQ(copy(mid, src, 3), S_OK);
    EXPECT_EQ(mid.get<Floats>(5, 0)[0], 5.0f * 0.003921569f) << "the plain 1/255 scale";
    // Equal gammas, spelled differently, are no curve either.
    ASSERT_EQ(copy(back, mid, 3, nullptr, nullptr, 2.2222222222222223, 0.0), S_OK);
    for (int32_t y = 0; y < 16; ++y)
        for (int32_t x = 0; x < 16; ++x) ASSERT_EQ(back.get<Bgra>(x, y), src.get<Bgra>(x, y)) << x << "," << y;
}

TEST(QzDibCopy, CurvesRunOnlyForUnequalGammasAndSpareAlpha) {
    TestDib src(QzPixelRGBA128, 2, 1), dst(QzPixelRGBA128, 2, 1);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    src.put<Floats>(0, 0, Floats{0.5f, -0.5f, 1.5f, 0.5f});
    src.put<Floats>(1, 0, Floats{nan, 3e38f, -0.0f, 2.0f});
    ASSERT_EQ(copy(dst, src, 3), S_OK);
    EXPECT_EQ(std::memcmp(dst.row(0), src.row(0), 32), 0) << "gammas 0 and 0: a plain copy, bit for bit";

    // Encoded for gamma 2, re-encoded for gamma 1: v^2, colour clamped
    // into the curve, alpha untouched.
    ASSERT_EQ(copy(dst, src, 3, nullptr, nullptr, 1.0, 2.0), S_OK);
    EXPECT_EQ(dst.get<Floats>(0, 0), (Floats{0.25f, 0.0f, 1.0f, 0.5f}));
}

TEST(QzDibCopy, FloatToBytesRoundsFromMode3AndTruncatesBelow) {
    TestDib src(QzPixelRGBA128, 1, 1), dst(QzPixelRGB32, 1, 1);
    src.put<Floats>(0, 0, Floats{0.5f, 1.7f, -1.0f, 0.5f});
    ASSERT_EQ(copy(dst, src, 3), S_OK);
    EXPECT_EQ(dst.get<Bgra>(0, 0), (Bgra{128, 255, 0, 128}));
    ASSERT_EQ(copy(dst, src, 1), S_OK);
    EXPECT_EQ(dst.get<Bgra>(0, 0), (Bgra{127, 255, 0, 127}));
    // A curve goes through 4096 steps: 0.25 is step 1024, and
    // (1024 / 4095)^0.5 * 255 = 127.52 rounds to 128.
    src.put<Floats>(0, 0, Floats{0.25f, 0.0f, 1.0f, 0.25f});
    ASSERT_EQ(copy(dst, src, 1, nullptr, nullptr, 2.0, 1.0), S_OK);
    EXPECT_EQ(dst.get<Bgra>(0, 0), (Bgra{128, 0, 255, 63}));
}

TEST(QzDibCopy, DirectPairsOf24And10Bits) {
    TestDib rgb(QzPixelRGB24, 2, 1), bgra(QzPixelRGB32, 2, 1);
    rgb.row(0)[0] = 1, rgb.row(0)[1] = 2, rgb.row(0)[2] = 3, rgb.row(0)[3] = 4;
    ASSERT_EQ(copy(bgra, rgb, 3), S_OK);
    EXPECT_EQ(bgra.get<Bgra>(0, 0), (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(bgra.get<Bgra>(1, 0)[0], 4);

    TestDib f(QzPixelRGBA128, 1, 1), ten(QzPixelRGB10, 1, 1);
    f.put<Floats>(0, 0, Floats{1.0f, 0.5f, 0.0f, 1.0f});
    ASSERT_EQ(copy(ten, f, 3), S_OK);
    EXPECT_EQ(ten.get<uint32_t>(0, 0), (3u << 30) | (512u << 10) | 1023u);
}

TEST(QzDibCopy, RectanglesAreTopDownOverBottomUpRows) {
    TestDib src(QzPixelRGB32, 2, 2), dst(QzPixelRGB32, 2, 2);
    src.put<Bgra>(0, 0, Bgra{1, 1, 1, 1});
    src.put<Bgra>(1, 0, Bgra{2, 2, 2, 2});
    src.put<Bgra>(0, 1, Bgra{3, 3, 3, 3});
    const RECT top{0, 0, 2, 1}, bottom{0, 1, 2, 2};
    ASSERT_EQ(copy(dst, src, 3, &bottom, &top), S_OK);
    // The source's top row is its last memory row; the destination's bottom
    // row is its first.
    EXPECT_EQ(std::memcmp(dst.bits(), src.bits() + src.stride(), 8), 0);
    EXPECT_EQ(dst.get<Bgra>(1, 1), (Bgra{2, 2, 2, 2}));
    EXPECT_EQ(dst.get<Bgra>(0, 0), (Bgra{0, 0, 0, 0}));
}

TEST(QzDibCopy, BadParametersWriteNothing) {
    TestDib src(QzPixelRGB32, 2, 2), dst(QzPixelRGB32, 2, 2), yuv(QzPixelNV12, 2, 2);
    src.put<Bgra>(0, 0, Bgra{9, 9, 9, 9});
    const RECT negative{-1, 0, 1, 1}, empty{1, 1, 1, 2}, fine{0, 0, 1, 1};
    // Below mode 3 every copy builds the block, which refuses these; from
    // mode 3 rectangles of different sizes go to the scaler, which clips.
    EXPECT_EQ(copy(dst, src, 2, &negative, &fine), QZ_E_BADCOPYPARAMS);
    EXPECT_EQ(copy(dst, src, 2, &empty, &fine), QZ_E_BADCOPYPARAMS);
    EXPECT_EQ(copy(dst, src, 3, &empty, &fine), S_OK);
    EXPECT_EQ(copy(dst, yuv, 3), QZ_E_BADCOPYPARAMS);
    EXPECT_EQ(QzDibCopy(nullptr, nullptr, nullptr, 0, src.header(), nullptr, nullptr, 0, 3, 0, 0), E_POINTER);
    // The whole source onto the left half of pixel 0: its mean 9 / 4 at
    // half coverage over the 0 there, 1.125, rounds to 1.
    const RECT half{0, 0, 8192, 16384};
    EXPECT_EQ(copy(dst, src, 3 | QZCOPY_SUBPIXEL, &half, nullptr), S_OK);
    EXPECT_EQ(channel(dst, 0), (std::vector<uint8_t>{1, 0, 0, 0}));
    // Whole sub-pixel rectangles are plain ones; a rectangle off the image
    // clips to nothing, which is success.
    const RECT one{0, 0, 16384, 16384};
    EXPECT_EQ(copy(dst, src, 3 | QZCOPY_SUBPIXEL, &one, &one), S_OK);
    EXPECT_EQ(dst.get<Bgra>(0, 0), (Bgra{9, 9, 9, 9}));
}

TEST(QzDibCopy, ScalingInterpolatesFromMode3AndStepsToTheNearestBelow) {
    TestDib src(QzPixelRGB32, 2, 1), dst(QzPixelRGB32, 3, 1);
    src.put<Bgra>(0, 0, Bgra{10, 0, 0, 255});
    src.put<Bgra>(1, 0, Bgra{21, 100, 255, 255});
    // Mode 3 goes to the bi-linear scaler: the centres map to source 0
    // and 1 (clamped) at the ends and to 0 + 8191 / 16384 in the middle,
    // mixed with rounding: 10 + 11 * 0.49994 gives 15, 255 * 0.49994 127.
    ASSERT_EQ(copy(dst, src, 3), S_OK);
    EXPECT_EQ(dst.get<Bgra>(1, 0), (Bgra{15, 50, 127, 255}));
    EXPECT_EQ(channel(dst, 0), (std::vector<uint8_t>{10, 15, 21}));
    // Step (2 << 14) / 3 = 10922: samples 0, 0, 1.
    ASSERT_EQ(copy(dst, src, 2), S_OK);
    EXPECT_EQ(channel(dst, 0), (std::vector<uint8_t>{10, 10, 21}));
}

TEST(QzDibCopy, ScalingTwoWaysAndTheLastRowAndColumn) {
    TestDib src(QzPixelRGB32, 2, 2), dst(QzPixelRGB32, 3, 3);
    src.put<Bgra>(1, 0, Bgra{100, 0, 0, 0});
    src.put<Bgra>(0, 1, Bgra{200, 0, 0, 0});
    src.put<Bgra>(1, 1, Bgra{255, 0, 0, 0});
    ASSERT_EQ(copy(dst, src, 3), S_OK);
    // The bi-linear scaler samples at 0, 8191 / 16384 and 1 (clamped) on
    // both axes and rounds: the centre is (0 + 100 + 200 + 255) / 4 less a
    // little, 139; the last column and row mix only along the other axis.
    EXPECT_EQ(channel(dst, 0), (std::vector<uint8_t>{0, 50, 100, 100, 139, 177, 200, 227, 255}));

    // Three to four: step 12288 puts the centres at source -0.125, 0.625,
    // 1.375 and 2.125; the ends clamp to pixels 0 and 2, never looking past.
    TestDib three(QzPixelRGB32, 3, 1), four(QzPixelRGB32, 4, 1);
    three.put<Bgra>(1, 0, Bgra{100, 0, 0, 0});
    three.put<Bgra>(2, 0, Bgra{200, 0, 0, 0});
    ASSERT_EQ(copy(four, three, 3), S_OK);
    EXPECT_EQ(channel(four, 0), (std::vector<uint8_t>{0, 63, 138, 200}));
}

TEST(QzDibCopy, OnePixelDestinationsAndSourcesDoNotDivideOrOverrun) {
    TestDib wide(QzPixelRGB32, 4, 3), dot(QzPixelRGB32, 1, 1);
    for (int32_t x = 0; x < 4; ++x) wide.put<Bgra>(x, 0, Bgra{static_cast<uint8_t>(10 * (x + 1)), 0, 0, 0});
    for (uint32_t mode : {1u, 3u}) {
        ASSERT_EQ(copy(dot, wide, mode), S_OK) << mode;
        // Mode 3 takes the area mean of all twelve pixels, 100 / 12.
        EXPECT_EQ(dot.get<Bgra>(0, 0)[0], mode == 3 ? 8 : 10) << mode;
    }
}

TEST(QzDibCopy, PaletteSidesReadAndQuantizeThroughTheirPalettes) {
    const std::vector<RGBQUAD> palette = {{0, 0, 0, 0}, {0, 0, 255, 0}, {0, 255, 0, 0}, {255, 255, 255, 0}};
    TestDib src(QzPixelRGB32, 3, 1), pal(QzPixelPal8, 3, 1, palette), back(QzPixelRGB24, 3, 1);
    src.put<Bgra>(0, 0, Bgra{20, 30, 200, 255});
    src.put<Bgra>(1, 0, Bgra{10, 140, 90, 255});
    src.put<Bgra>(2, 0, Bgra{250, 250, 240, 255});
    ASSERT_EQ(copy(pal, src, 3), S_OK);
    EXPECT_EQ(std::vector<uint8_t>(pal.row(0), pal.row(0) + 3), (std::vector<uint8_t>{1, 2, 3}));
    ASSERT_EQ(copy(back, pal, 3), S_OK);
    const uint8_t expected[9] = {0, 0, 255, 0, 255, 0, 255, 255, 255};
    EXPECT_EQ(std::memcmp(back.row(0), expected, 9), 0);
}

TEST(QzDibCopy, FeatheringMixesSelectedEdgesOfTheSourceImage) {
    TestDib src(QzPixelRGB32, 8, 1), dst(QzPixelRGB32, 8, 1);
    for (int32_t x = 0; x < 8; ++x) src.put<Bgra>(x, 0, Bgra{255, 255, 255, 255});
    // Width 2: step 65535 / 3 = 21845; the edge pixel takes 21845 / 65536
    // of the source, the next 43690 / 65536, truncated.
    ASSERT_EQ(copy(dst, src, 3 | QZCOPY_FEATHER_LEFT | (2u << 16)), S_OK);
    EXPECT_EQ(channel(dst, 0), (std::vector<uint8_t>{84, 169, 255, 255, 255, 255, 255, 255}));

    // Distances count from the source image's edge, not the rectangle's.
    TestDib part(QzPixelRGB32, 4, 1);
    const RECT inner{1, 0, 5, 1};
    ASSERT_EQ(copy(part, src, 3 | QZCOPY_FEATHER_LEFT | (2u << 16), nullptr, &inner), S_OK);
    EXPECT_EQ(channel(part, 0), (std::vector<uint8_t>{169, 255, 255, 255}));

    // Corners take the larger depth: row 0 lies 1 deep in the top edge,
    // column 1 2 deep in the left one.
    TestDib square(QzPixelRGB32, 3, 3), out(QzPixelRGB32, 3, 3);
    for (int32_t i = 0; i < 9; ++i) square.put<Bgra>(i % 3, i / 3, Bgra{255, 0, 0, 0});
    ASSERT_EQ(copy(out, square, 3 | QZCOPY_FEATHER_TOP | QZCOPY_FEATHER_LEFT | (2u << 16)), S_OK);
    EXPECT_EQ(channel(out, 0), (std::vector<uint8_t>{84, 169, 84, 169, 169, 169, 84, 169, 255}));
}

}  // namespace
