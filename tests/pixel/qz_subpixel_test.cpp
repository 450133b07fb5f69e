#include <gtest/gtest.h>

#include "QzDib.h"
#include "qz_test_image.h"

static bool operator==(const tQZPIXEL32& a, const tQZPIXEL32& b) {
    return a.b == b.b && a.g == b.g && a.r == b.r && a.a == b.a;
}

namespace {

constexpr int32_t kOne = QZ_SUBPIXEL_ONE;

// A 3 x 2 byte image whose channels differ, so that a swapped neighbour or
// weight shows.
qztest::Image<uint8_t> corners() {
    qztest::Image<uint8_t> img(3, 2, 0);
    const uint8_t values[2][3] = {{0, 100, 200}, {40, 140, 255}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 4; ++c) img.at(x, y, c) = static_cast<uint8_t>(values[y][x] - c * (values[y][x] / 8));
    return img;
}

}  // namespace

TEST(QzPrepareSubpixelParam, StepsClipsAndRefusesSlivers) {
    uint8_t dst[4] = {}, src[4] = {};
    const SIZE dstSize{100, 50}, srcSize{200, 100};
    QzSubpixelParam p{};
    ASSERT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, nullptr, src, &srcSize, 800, nullptr), 1);
    EXPECT_EQ(p.stepX, 2 * kOne);
    EXPECT_EQ(p.stepY, 2 * kOne);
    EXPECT_EQ(p.srcRect.right, 200 * kOne);
    EXPECT_EQ(p.dstRect.bottom, 50 * kOne);

    // The source hangs 10 pixels off the left: the destination loses the
    // 5 pixels that would have shown it, and the mapping stays put.
    const RECT s{-10 * kOne, 0, 190 * kOne, 100 * kOne};
    ASSERT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, nullptr, src, &srcSize, 800, &s), 1);
    EXPECT_EQ(p.srcRect.left, 0);
    EXPECT_EQ(p.dstRect.left, 5 * kOne);
    EXPECT_EQ(p.stepX, 2 * kOne);

    // A destination partly off the right edge takes the source back with it.
    const RECT d{50 * kOne, 0, 150 * kOne, 50 * kOne};
    ASSERT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, &d, src, &srcSize, 800, nullptr), 1);
    EXPECT_EQ(p.dstRect.right, 100 * kOne);
    EXPECT_EQ(p.srcRect.right, 100 * kOne);

    const RECT thinSource{0, 0, kOne - 1, 100 * kOne};
    EXPECT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, nullptr, src, &srcSize, 800, &thinSource), 0);
    const RECT thinDest{0, 0, 1023, 50 * kOne};
    EXPECT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, &thinDest, src, &srcSize, 800, nullptr), 0);
    const RECT outside{-300 * kOne, 0, -200 * kOne, kOne};
    EXPECT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, nullptr, src, &srcSize, 800, &outside), 0);
    EXPECT_EQ(QzPrepareSubpixelParam(&p, nullptr, &dstSize, 400, nullptr, src, &srcSize, 800, nullptr), 0);
    // A destination spanning the whole coordinate range must not overflow;
    // the part inside the image then shows less than a source pixel.
    const RECT farFlung{INT32_MIN, 0, INT32_MAX, kOne};
    EXPECT_EQ(QzPrepareSubpixelParam(&p, dst, &dstSize, 400, &farFlung, src, &srcSize, 800, nullptr), 0);
}

TEST(QzGetSubPixel, FastFormWeightsAndRounds) {
    auto img = corners();
    tQZPIXEL32 out{};
    QzGetSubPixel32Fast(&out, &img.at(0, 0, 0), img.stride(), 0, 0);
    EXPECT_EQ(out, (tQZPIXEL32{img.at(0, 0, 0), img.at(0, 0, 1), img.at(0, 0, 2), img.at(0, 0, 3)}));
    // Half way both ways: (0 + 100 + 40 + 140) / 4 = 70 exactly, and for
    // channel 1 (0 + 88 + 35 + 123) / 4 = 61.5, which rounds up.
    QzGetSubPixel32Fast(&out, &img.at(0, 0, 0), img.stride(), 8192, 8192);
    EXPECT_EQ(out.b, 70);
    EXPECT_EQ(out.g, 62);
    // The largest fractions still lean on the far pixel without reaching it.
    QzGetSubPixel32Fast(&out, &img.at(1, 0, 0), img.stride(), kOne - 1, kOne - 1);
    EXPECT_EQ(out.b, 255);

    qztest::Image<float> f(2, 2, 0.0f);
    f.at(1, 0, 0) = 1.0f;
    f.at(1, 1, 0) = 3.0f;
    tQZPIXEL128 o{};
    QzGetSubPixel128Fast(&o, reinterpret_cast<const uint8_t*>(&f.at(0, 0, 0)), f.stride(), 8192, 8192);
    EXPECT_FLOAT_EQ(o.b, 1.0f);
}

TEST(QzGetSubPixel, SafeFormAtTheEdgesAndOutside) {
    auto img = corners();
    tQZPIXEL32 out{};
    const uint8_t* base = img.px.data();
    // Last column: a vertical mix only, (200 * 8192 + 255 * 8192 + 8192) >> 14 = 228.
    ASSERT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), 2 * kOne + 5000, kOne / 2), 1);
    EXPECT_EQ(out.b, 228);
    // Last row: a horizontal mix only, (40 * 12288 + 140 * 4096 + 8192) >> 14 = 65.
    ASSERT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), kOne / 4, kOne + 9000), 1);
    EXPECT_EQ(out.b, 65);
    // The last pixel is returned as it is, whatever the fraction.
    ASSERT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), 3 * kOne - 1, 2 * kOne - 1), 1);
    EXPECT_EQ(out, (tQZPIXEL32{img.at(2, 1, 0), img.at(2, 1, 1), img.at(2, 1, 2), img.at(2, 1, 3)}));
    // Inside, the safe form is the fast one.
    tQZPIXEL32 fast{};
    QzGetSubPixel32Fast(&fast, base, img.stride(), 3000, 7000);
    ASSERT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), 3000, 7000), 1);
    EXPECT_EQ(out, fast);

    const tQZPIXEL32 untouched{1, 2, 3, 4};
    out = untouched;
    EXPECT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), -1, 0), 0);
    EXPECT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), 3 * kOne, 0), 0);
    EXPECT_EQ(QzGetSubPixel32Safe(&out, base, 3, 2, img.stride(), 0, 2 * kOne), 0);
    EXPECT_EQ(out, untouched);

    qztest::Image<float> f(2, 2, 0.0f);
    f.at(1, 0, 3) = 1.0f;
    f.at(1, 1, 3) = 2.0f;
    tQZPIXEL128 o{};
    ASSERT_EQ(
        QzGetSubPixel128Safe(&o, reinterpret_cast<const uint8_t*>(f.px.data()), 2, 2, f.stride(), kOne + 100, kOne / 4),
        1);
    EXPECT_FLOAT_EQ(o.a, 1.25f);
}
