#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "QzDib.h"
#include "qz_test_dib.h"

namespace {

using qztest::TestDib;
using Bgra = std::array<uint8_t, 4>;
using Floats = std::array<float, 4>;
using Words = std::array<uint16_t, 4>;

// The pixel at (x, y) as QzDibGetPixel answers it, and a QzDibSetPixel.
Words got(TestDib& d, int32_t x, int32_t y) {
    tQZPIXEL64 p{};
    EXPECT_EQ(QzDibGetPixel(d.header(), nullptr, 0, x, y, &p), S_OK);
    return Words{p.b, p.g, p.r, p.a};
}
void set(TestDib& d, int32_t x, int32_t y, tQZPIXEL64 p) {
    EXPECT_EQ(QzDibSetPixel(d.header(), nullptr, 0, x, y, &p), S_OK);
}

TEST(QzDibSet, ScalesAndTruncatesWithoutAClamp) {
    TestDib bytes(QzPixelRGB32, 1, 1);
    ASSERT_EQ(QzDibSet(bytes.header(), nullptr, nullptr, 0, 0.5f, 1.0f, 2.0f, 0.0f, 3), S_OK);
    // Red 127.5 truncates; blue 510 keeps its low byte.
    EXPECT_EQ(bytes.get<Bgra>(0, 0), (Bgra{254, 255, 127, 0}));
    ASSERT_EQ(QzDibSet(bytes.header(), nullptr, nullptr, 0, -0.5f, 0.0f, 0.0f, 1.0f, 3), S_OK);
    EXPECT_EQ(bytes.get<Bgra>(0, 0)[2], 129) << "-127 as a byte";

    TestDib wide(QzPixelRGBA64, 1, 1);
    ASSERT_EQ(QzDibSet(wide.header(), nullptr, nullptr, 0, 0.5f, 1.0f, 0.0f, 0.25f, 3), S_OK);
    EXPECT_EQ(wide.get<Words>(0, 0), (Words{0, 65535, 32767, 16383}));

    TestDib ten(QzPixelRGB10, 1, 1);
    ASSERT_EQ(QzDibSet(ten.header(), nullptr, nullptr, 0, 0.5f, 1.0f, 0.0f, 1.0f, 3), S_OK);
    EXPECT_EQ(ten.get<uint32_t>(0, 0), (3u << 30) | (511u << 20) | (1023u << 10));

    TestDib floats(QzPixelRGBA128, 1, 1);
    ASSERT_EQ(QzDibSet(floats.header(), nullptr, nullptr, 0, 2.0f, -0.5f, 0.1f, 1.0f, 3), S_OK);
    EXPECT_EQ(floats.get<Floats>(0, 0), (Floats{0.1f, -0.5f, 2.0f, 1.0f}));
}

TEST(QzDibSet, FillsTheClippedTopDownRectangle) {
    TestDib d(QzPixelRGB32, 6, 2);
    const RECT topRight{1, 0, 9, 1};
    ASSERT_EQ(QzDibSet(d.header(), d.bits(), &topRight, d.stride(), 1.0f, 1.0f, 1.0f, 1.0f, 3), S_OK);
    // The top row is the last in memory; a group of four and a tail of one.
    std::vector<uint8_t> expected(48, 0);
    std::memset(expected.data() + 24 + 4, 255, 20);
    EXPECT_EQ(std::memcmp(d.bits(), expected.data(), 48), 0);

    const RECT empty{2, 1, 2, 2};
    EXPECT_EQ(QzDibSet(d.header(), nullptr, &empty, 0, 0, 0, 0, 0, 3), S_OK);
    EXPECT_EQ(QzDibSet(nullptr, nullptr, nullptr, 0, 0, 0, 0, 0, 3), E_POINTER);
    TestDib yuv(QzPixelNV12, 2, 2);
    EXPECT_EQ(QzDibSet(yuv.header(), nullptr, nullptr, 0, 0, 0, 0, 0, 3), E_NOTIMPL);

    // Palette images take the nearest entry.
    TestDib pal(QzPixelPal4, 3, 1, {{0, 0, 0, 0}, {255, 0, 0, 0}, {0, 0, 255, 0}});
    ASSERT_EQ(QzDibSet(pal.header(), nullptr, nullptr, 0, 0.9f, 0.1f, 0.2f, 1.0f, 3), S_OK);
    EXPECT_EQ(pal.row(0)[0], 0x22);
    EXPECT_EQ(pal.row(0)[1] & 0xF0, 0x20);
}

TEST(QzDibFillRect, TakesBlueFirstColoursAndTruncatesSubPixelRectangles) {
    TestDib d(QzPixelRGB32, 3, 1);
    const float colour[4] = {0.0f, 0.2f, 1.0f, 1.0f};
    const RECT r{16384, 0, 3 * 16384 - 1, 16384};
    ASSERT_EQ(QzDibFillRect(d.header(), nullptr, &r, 0, colour, 3 | QZCOPY_SUBPIXEL), S_OK);
    EXPECT_EQ(d.get<Bgra>(0, 0), (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(d.get<Bgra>(1, 0), (Bgra{0, 51, 255, 255}));
    EXPECT_EQ(d.get<Bgra>(2, 0), (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(QzDibFillRect(d.header(), nullptr, &r, 0, nullptr, 3), E_POINTER);
}

TEST(QzDibFadeToColor, StrengthIsARatioOfWhichFullReachesTheColour) {
    TestDib d(QzPixelRGB32, 1, 1);
    const QZDIBPIXEL colour{1.0f, 0.0f, 0.5f, 0.0f};
    d.put<Bgra>(0, 0, Bgra{0, 100, 200, 255});
    ASSERT_EQ(QzDibFadeToColor(d.header(), nullptr, nullptr, 0, &colour, 1, 2, 0), S_OK);
    // Weight 32768: each step toward the colour truncates toward zero.
    EXPECT_EQ(d.get<Bgra>(0, 0), (Bgra{127, 50, 164, 128}));
    ASSERT_EQ(QzDibFadeToColor(d.header(), nullptr, nullptr, 0, &colour, 7, 5, 0), S_OK);
    EXPECT_EQ(d.get<Bgra>(0, 0), (Bgra{255, 0, 127, 0})) << "strengths above 1 clamp";
    d.put<Bgra>(0, 0, Bgra{1, 2, 3, 4});
    ASSERT_EQ(QzDibFadeToColor(d.header(), nullptr, nullptr, 0, &colour, -1, 2, 0), S_OK);
    EXPECT_EQ(d.get<Bgra>(0, 0), (Bgra{1, 2, 3, 4}));

    TestDib f(QzPixelRGBA128, 1, 1);
    ASSERT_EQ(QzDibFadeToColor(f.header(), nullptr, nullptr, 0, &colour, 1, 4, 0), S_OK);
    EXPECT_EQ(f.get<Floats>(0, 0), (Floats{0.25f, 0.0f, 0.125f, 0.0f}));

    TestDib rgb(QzPixelRGB24, 1, 1);
    EXPECT_EQ(QzDibFadeToColor(rgb.header(), nullptr, nullptr, 0, &colour, 1, 1, 0), E_NOTIMPL);
    EXPECT_EQ(QzDibFadeToColor(d.header(), nullptr, nullptr, 0, &colour, 1, 0, 0), E_INVALIDARG) << "zero ratio";
    EXPECT_EQ(QzDibFadeToColor(d.header(), nullptr, nullptr, 0, nullptr, 1, 1, 0), E_POINTER);
}

TEST(QzDibFadeToColor, PartlyCoveredPixelsTakeTheirShare) {
    TestDib d(QzPixelRGB32, 3, 2);
    const QZDIBPIXEL white{1.0f, 1.0f, 1.0f, 1.0f};
    // Half of column 0, all of column 1, a quarter of row 0 and all of row 1.
    const RECT r{8192, 12288, 2 * 16384, 2 * 16384};
    ASSERT_EQ(QzDibFadeToColor(d.header(), nullptr, &r, 0, &white, 1, 1, QZCOPY_SUBPIXEL), S_OK);
    EXPECT_EQ(d.get<Bgra>(0, 0)[0], 31);  // 255 * 8192 * 4096 / 2^28 = 255 / 8
    EXPECT_EQ(d.get<Bgra>(1, 0)[0], 63);
    EXPECT_EQ(d.get<Bgra>(0, 1)[0], 127);
    EXPECT_EQ(d.get<Bgra>(1, 1)[0], 255);
    EXPECT_EQ(d.get<Bgra>(2, 1)[0], 0);
    // Without the flag the rectangle is in whole pixels.
    const RECT last{2, 1, 3, 2};
    ASSERT_EQ(QzDibFadeToColor(d.header(), nullptr, &last, 0, &white, 1, 1, 0), S_OK);
    EXPECT_EQ(d.get<Bgra>(2, 1)[0], 255);
    EXPECT_EQ(d.get<Bgra>(2, 0)[0], 0);
}

TEST(QzDibGetSetPixel, GoThroughTheWordFormWithExactByteWidening) {
    TestDib d(QzPixelRGB32, 2, 2);
    d.put<Bgra>(1, 0, Bgra{0x12, 0xFF, 0x00, 0x80});
    EXPECT_EQ(got(d, 1, 0), (Words{0x1212, 0xFFFF, 0, 0x8080}));

    TestDib f(QzPixelRGBA128, 1, 1);
    f.put<Floats>(0, 0, Floats{0.5f, 2.0f, -1.0f, 1.0f});
    EXPECT_EQ(got(f, 0, 0), (Words{32768, 65535, 0, 65535}));

    TestDib pal(QzPixelPal4, 2, 1, {{0, 0, 0, 0}, {10, 20, 30, 0}});
    pal.row(0)[0] = 0x01;
    EXPECT_EQ(got(pal, 1, 0), (Words{10 * 257, 20 * 257, 30 * 257, 65535}));

    // Writes go through the word form for every type.
    set(d, 0, 1, {0x1234, 0xFFFF, 0x00FF, 0x8000});
    EXPECT_EQ(std::memcmp(d.bits(), "\x12\xFF\x00\x80", 4), 0) << "row 1 of 2 is the first in memory";

    TestDib rgb555(QzPixelRGB555, 1, 1);
    set(rgb555, 0, 0, {65535, 0, 0, 65535});  // blue
    EXPECT_EQ(rgb555.get<uint16_t>(0, 0), 0x801F);

    TestDib grey(QzPixelGray16, 1, 1);
    set(grey, 0, 0, {0, 0, 65535, 65535});  // red
    EXPECT_EQ(grey.get<uint16_t>(0, 0), 19595) << "BT.601 luma";

    TestDib pal8(QzPixelPal8, 1, 1, {{0, 0, 0, 0}, {255, 255, 255, 0}});
    set(pal8, 0, 0, {60000, 60000, 60000, 65535});
    EXPECT_EQ(pal8.row(0)[0], 1);
}

TEST(QzDibSetPixel, OutsideTheImageGetAndSetAnswerDifferently) {
    TestDib d(QzPixelRGB32, 2, 2), yuv(QzPixelNV12, 2, 2);
    tQZPIXEL64 p{};
    for (const auto& [x, y] : {std::pair{2, 0}, std::pair{0, 2}, std::pair{-1, 0}, std::pair{0, -1}}) {
        EXPECT_EQ(QzDibGetPixel(d.header(), nullptr, 0, x, y, &p), E_NOTIMPL);
        EXPECT_EQ(QzDibSetPixel(d.header(), nullptr, 0, x, y, &p), E_INVALIDARG);
    }
    EXPECT_EQ(QzDibGetPixel(yuv.header(), nullptr, 0, 0, 0, &p), E_NOTIMPL);
    EXPECT_EQ(QzDibSetPixel(yuv.header(), nullptr, 0, 0, 0, &p), E_NOTIMPL);
    EXPECT_EQ(QzDibGetPixel(d.header(), nullptr, 0, 0, 0, nullptr), E_POINTER);
    EXPECT_EQ(QzDibSetPixel(nullptr, nullptr, 0, 0, 0, &p), E_POINTER);
}

}  // namespace
