#include <gtest/gtest.h>

#include <vector>

#include "QzDib.h"
#include "qz_test_image.h"

namespace {

using qztest::Image;

template <typename T>
HRESULT blur(Image<T>& dst, Image<T>& src) {
    return QzDibBlur(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds, src.stride(),
                     nullptr, Image<T>::bpp);
}

template <typename T>
HRESULT convolve(Image<T>& dst, Image<T>& src, const int32_t* kernel, int32_t divisor) {
    return QzDib3x3Convolution(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds,
                               src.stride(), nullptr, Image<T>::bpp, kernel, divisor);
}

TEST(QzDibBlur, OnePixelIsItself) {
    Image<uint8_t> src(1, 1, 0), dst(1, 1, 0);
    src.px = {1, 77, 200, 255};
    ASSERT_EQ(blur(dst, src), S_OK);
    EXPECT_EQ(dst.px, src.px);
    Image<float> fsrc(1, 1, 0.3f), fdst(1, 1, 0.0f);
    ASSERT_EQ(blur(fdst, fsrc), S_OK);
    EXPECT_EQ(fdst.px, fsrc.px);
}

TEST(QzDibBlur, ReplicatesEdgesAndTruncates) {
    Image<uint8_t> src(3, 1, 0), dst(3, 1, 0);
    src.at(1, 0, 2) = 16;
    src.at(2, 0, 2) = 32;
    ASSERT_EQ(blur(dst, src), S_OK);
    EXPECT_EQ(dst.at(0, 0, 2), 4);
    EXPECT_EQ(dst.at(1, 0, 2), 16);
    EXPECT_EQ(dst.at(2, 0, 2), 28);

    Image<uint8_t> ones(2, 1, 0), out(2, 1, 9);
    ones.at(1, 0, 0) = 1;
    ASSERT_EQ(blur(out, ones), S_OK);
    EXPECT_EQ(out.at(1, 0, 0), 0) << "12/16 truncates to 0";
}

TEST(QzDib3x3Convolution, SharpenKeepsFlatAreasAndClampsBytes) {
    const int32_t sharpen[9] = {-1, -2, -1, -2, 13, -2, -1, -2, -1};
    Image<uint8_t> flat(4, 3, 90), out(4, 3, 0);
    ASSERT_EQ(convolve(out, flat, sharpen, 1), S_OK);
    for (uint8_t v : out.px) ASSERT_EQ(v, 90);

    Image<uint8_t> spot(3, 3, 0), sharp(3, 3, 0);
    for (int c = 0; c < 4; ++c) spot.at(1, 1, c) = 100;
    ASSERT_EQ(convolve(sharp, spot, sharpen, 1), S_OK);
    EXPECT_EQ(sharp.at(1, 1, 0), 255);
    EXPECT_EQ(sharp.at(1, 1, 3), 255) << "bytes clamp on all four channels";
    EXPECT_EQ(sharp.at(0, 1, 0), 0);
}

TEST(QzDib3x3Convolution, DivisionTruncatesTowardZero) {
    const int32_t up[9] = {0, 0, 0, 0, 3, 0, 0, 0, 0};
    Image<uint8_t> src(1, 1, 5), dst(1, 1, 0);
    ASSERT_EQ(convolve(dst, src, up, 2), S_OK);
    EXPECT_EQ(dst.at(0, 0, 0), 7);
    const int32_t down[9] = {0, 0, 0, 0, -1, 0, 0, 0, 0};
    src.at(0, 0, 1) = 3;
    ASSERT_EQ(convolve(dst, src, down, -2), S_OK);
    EXPECT_EQ(dst.at(0, 0, 1), 1) << "-3 / -2 is 1";
}

TEST(QzDib3x3Convolution, FloatColourUnclampedAlphaClamped) {
    const int32_t sharpen[9] = {-1, -2, -1, -2, 13, -2, -1, -2, -1};
    Image<float> spot(3, 3, 0.0f), out(3, 3, 0.0f);
    for (int c = 0; c < 4; ++c) spot.at(1, 1, c) = 1.0f;
    ASSERT_EQ(convolve(out, spot, sharpen, 1), S_OK);
    EXPECT_EQ(out.at(1, 1, 0), 13.0f);
    EXPECT_EQ(out.at(1, 1, 3), 1.0f);
    EXPECT_EQ(out.at(0, 1, 2), -2.0f);
    EXPECT_EQ(out.at(0, 1, 3), 0.0f);
}

TEST(QzDib3x3Convolution, MisuseWritesNothing) {
    const int32_t kernel[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
    Image<uint8_t> src(2, 2, 5), dst(2, 2, 9);
    EXPECT_EQ(convolve(dst, src, kernel, 0), E_INVALIDARG);
    EXPECT_EQ(convolve(dst, src, nullptr, 1), E_POINTER);
    for (uint8_t v : dst.px) ASSERT_EQ(v, 9);
}

}  // namespace
