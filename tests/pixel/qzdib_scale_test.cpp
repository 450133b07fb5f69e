#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "QzDib.h"
#include "qz_test_dib.h"
#include "qz_test_image.h"

namespace {

using qztest::Image;
using qztest::TestDib;
using Bgra = std::array<uint8_t, 4>;

using ScaleFn = HRESULT (*)(void*, const SIZE*, int32_t, const RECT*, const void*, const SIZE*, int32_t, const RECT*,
                            int32_t, uint32_t, void*);

template <typename T>
HRESULT scale(ScaleFn fn, Image<T>& dst, const RECT* dstRect, Image<T>& src, const RECT* srcRect) {
    const SIZE ds{dst.w, dst.h}, ss{src.w, src.h};
    return fn(dst.px.data(), &ds, dst.stride(), dstRect, src.px.data(), &ss, src.stride(), srcRect, Image<T>::bpp, 0,
              nullptr);
}

template <typename T>
std::vector<T> channel0(Image<T>& img) {
    std::vector<T> v;
    for (int32_t y = 0; y < img.h; ++y)
        for (int32_t x = 0; x < img.w; ++x) v.push_back(img.at(x, y, 0));
    return v;
}

TEST(QzDibScale, RefusesMisuseAndScalesNothingUnderOnePixel) {
    Image<uint8_t> src(2, 2, 7), dst(2, 2, 1);
    const SIZE sz{2, 2};
    EXPECT_EQ(QzDibScale_Bilinear(nullptr, &sz, 8, nullptr, src.px.data(), &sz, 8, nullptr, 4, 0, nullptr), E_POINTER);
    EXPECT_EQ(QzDibScale_BiCubic(dst.px.data(), &sz, 8, nullptr, src.px.data(), &sz, 8, nullptr, 8, 0, nullptr),
              E_INVALIDARG);
    const RECT huge{0, 0, 200000, 1};  // past what 1/16384 units can hold
    EXPECT_EQ(scale(QzDibScale_Bilinear, dst, nullptr, src, &huge), E_INVALIDARG);
    const RECT sliver{0, 0, 16383, 32768};
    EXPECT_EQ(scale(QzDibScale_BilinearSubPixel, dst, nullptr, src, &sliver), S_OK);
    EXPECT_EQ(scale(QzDibScale_BiCubicSubPixel, dst, nullptr, src, &sliver), S_OK);
    EXPECT_EQ(dst.px, std::vector<uint8_t>(16, 1));
}

TEST(QzDibScale, OneToOneIsAnExactCopy) {
    Image<float> src(3, 2, 0.0f), dst(2, 2, -1.0f);
    for (size_t i = 0; i < src.px.size(); ++i) src.px[i] = 0.1f * static_cast<float>(i) - 0.5f;
    const RECT s{1, 0, 3, 2};
    for (ScaleFn fn : {QzDibScale_Bilinear, QzDibScale_BiCubic}) {
        ASSERT_EQ(scale(fn, dst, nullptr, src, &s), S_OK);
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t x = 0; x < 2; ++x)
                for (int c = 0; c < 4; ++c) EXPECT_EQ(dst.at(x, y, c), src.at(x + 1, y, c));
    }
}

TEST(QzDibScale, DownScaleIsTheExactAreaAverage) {
    // 2:1, 2 x 2 boxes: 46 / 4 = 11.5 rounds up, 1 / 4 to 0, 1019 / 4 to 255.
    Image<uint8_t> src(6, 2, 0), half(3, 1, 9);
    const uint8_t box[3][4] = {{10, 11, 12, 13}, {0, 0, 0, 1}, {255, 255, 255, 254}};
    for (int32_t b = 0; b < 3; ++b)
        for (int32_t i = 0; i < 4; ++i) src.at(2 * b + i % 2, i / 2, 0) = box[b][i];
    ASSERT_EQ(scale(QzDibScale_Bilinear, half, nullptr, src, nullptr), S_OK);
    EXPECT_EQ(channel0(half), (std::vector<uint8_t>{12, 0, 255}));

    // 3:2 on both axes: the middle row and column count half to each side,
    // and the sum is divided by 1.5 * 1.5.
    Image<uint8_t> nine(3, 3, 0), four(2, 2, 0);
    const uint8_t v[9] = {91, 18, 30, 0, 36, 60, 9, 45, 255};
    for (int32_t i = 0; i < 9; ++i) nine.at(i % 3, i / 3, 0) = v[i];
    ASSERT_EQ(scale(QzDibScale_BiCubic, four, nullptr, nine, nullptr), S_OK);
    // (91 + 9 + 0 + 9) / 2.25 = 48.4; (30 + 9 + 30 + 9) / 2.25 = 34.7;
    // (9 + 22.5 + 0 + 9) / 2.25 = 18; (255 + 22.5 + 30 + 9) / 2.25 = 140.7.
    EXPECT_EQ(channel0(four), (std::vector<uint8_t>{48, 35, 18, 141}));

    // Floats are not clamped: (2 - 1 + 3 + 0.5) / 4 and a negative mean.
    Image<float> f(2, 2, -0.5f), one(1, 1, 0.0f);
    f.at(0, 0, 0) = 2.0f, f.at(1, 0, 0) = -1.0f, f.at(0, 1, 0) = 3.0f, f.at(1, 1, 0) = 0.5f;
    ASSERT_EQ(scale(QzDibScale_Bilinear, one, nullptr, f, nullptr), S_OK);
    EXPECT_EQ(one.px, (std::vector<float>{1.125f, -0.5f, -0.5f, -0.5f}));
}

TEST(QzDibScale, UpScaleKeepsConstantsAndRampsAndClampsOvershootOnBytesOnly) {
    for (ScaleFn fn : {QzDibScale_Bilinear, QzDibScale_BiCubic}) {
        Image<uint8_t> flat(3, 2, 77), big(7, 5, 0);
        ASSERT_EQ(scale(fn, big, nullptr, flat, nullptr), S_OK);
        EXPECT_EQ(big.px, std::vector<uint8_t>(big.px.size(), 77));

        // A two-pixel ramp: the ends clamp to the source's ends, between
        // them the values never fall back.
        Image<uint8_t> ramp(2, 1, 0), wide(9, 1, 0);
        ramp.at(1, 0, 0) = 255;
        ASSERT_EQ(scale(fn, wide, nullptr, ramp, nullptr), S_OK);
        const std::vector<uint8_t> r = channel0(wide);
        EXPECT_EQ(r.front(), 0);
        EXPECT_EQ(r.back(), 255);
        for (size_t i = 1; i < r.size(); ++i) EXPECT_LE(r[i - 1], r[i]) << i;
    }

    // 0, 0, 1, 1 doubled: pixel 5 samples 2.25, where the cubic's first
    // weight, -0.0703125, makes 1.0703125; pixel 2 samples 0.75 and dips
    // to -0.0703125. Bytes clamp both.
    Image<float> edge(4, 1, 0.0f), twice(8, 1, 0.5f);
    edge.at(2, 0, 0) = edge.at(3, 0, 0) = 1.0f;
    ASSERT_EQ(scale(QzDibScale_BiCubic, twice, nullptr, edge, nullptr), S_OK);
    EXPECT_EQ(twice.at(5, 0, 0), 1.0703125f);
    EXPECT_EQ(twice.at(2, 0, 0), -0.0703125f);
    Image<uint8_t> edgeB(4, 1, 0), twiceB(8, 1, 9);
    edgeB.at(2, 0, 0) = edgeB.at(3, 0, 0) = 255;
    ASSERT_EQ(scale(QzDibScale_BiCubic, twiceB, nullptr, edgeB, nullptr), S_OK);
    EXPECT_EQ(twiceB.at(5, 0, 0), 255);
    EXPECT_EQ(twiceB.at(2, 0, 0), 0);
}

TEST(QzDibScale, FractionalCopiesBlendTheirEdgePixels) {
    // Two pixels laid half a pixel to the right over 100s: the edge pixels
    // take half the source and keep half of what they held, the middle one
    // mixes the two sources.
    TestDib src(QzPixelRGB32, 2, 1), dst(QzPixelRGB32, 3, 1);
    src.put<Bgra>(0, 0, Bgra{0, 0, 0, 255});
    src.put<Bgra>(1, 0, Bgra{200, 200, 200, 255});
    for (int32_t x = 0; x < 3; ++x) dst.put<Bgra>(x, 0, Bgra{100, 100, 100, 99});
    const RECT shifted{8192, 0, 8192 + 2 * 16384, 16384};
    ASSERT_EQ(
        QzDibCopy(dst.header(), nullptr, &shifted, 0, src.header(), nullptr, nullptr, 0, 3 | QZCOPY_SUBPIXEL, 0, 0),
        S_OK);
    EXPECT_EQ(dst.get<Bgra>(0, 0), (Bgra{50, 50, 50, 177}));
    EXPECT_EQ(dst.get<Bgra>(1, 0), (Bgra{100, 100, 100, 255}));
    EXPECT_EQ(dst.get<Bgra>(2, 0), (Bgra{150, 150, 150, 177}));
}

}  // namespace
