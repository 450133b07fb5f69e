#include <gtest/gtest.h>

#include "QzDib.h"
#include "qz_test_image.h"

namespace {

using qztest::Image;

template <typename T>
HRESULT channelBlur(Image<T>& dst, const Image<T>& src, double reduction) {
    return QzDibChannelBlur(dst.px.data(), &dst.bounds, dst.stride(), nullptr, src.px.data(), &src.bounds, src.stride(),
                            nullptr, Image<T>::bpp, reduction);
}

}  // namespace

TEST(QzDibChannelBlur, SoftensAnAlphaEdgeIntoBlack) {
    Image<uint8_t> src(8, 1, 90), dst(8, 1, 7);
    for (int x = 0; x < 8; ++x) src.at(x, 0, 3) = x < 4 ? 0 : 255;
    ASSERT_EQ(channelBlur(dst, src, 0.5), S_OK);
    // Shrunk to 0, 0, 255, 255 and stretched back at a step of 49152 / 7:
    // the edge spreads over two pixels, 255 * 4679 >> 14 and 255 * 11700 >> 14.
    const uint8_t expected[8] = {0, 0, 0, 72, 182, 255, 255, 255};
    for (int x = 0; x < 8; ++x) {
        EXPECT_EQ(dst.at(x, 0, 3), expected[x]) << x;
        for (int c = 0; c < 3; ++c) EXPECT_EQ(dst.at(x, 0, c), 0);
    }
}

TEST(QzDibChannelBlur, NoReductionCopiesAlphaExactly) {
    Image<uint8_t> src(5, 3, 0), dst(5, 3, 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) src.at(x, y, 3) = static_cast<uint8_t>(x * 50 + y);
    ASSERT_EQ(channelBlur(dst, src, 0.0), S_OK);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) EXPECT_EQ(dst.at(x, y, 3), src.at(x, y, 3));

    Image<float> fsrc(1, 1, 0.25f), fdst(1, 1, 9.0f);
    ASSERT_EQ(channelBlur(fdst, fsrc, 1.0), S_OK) << "a single pixel still shrinks to 2 x 2";
    EXPECT_EQ(fdst.at(0, 0, 3), 0.25f);
    EXPECT_EQ(fdst.at(0, 0, 0), 0.0f);
}

TEST(QzDibChannelBlur, MisuseLeavesTheDestination) {
    Image<uint8_t> src(2, 2, 5), dst(2, 2, 9);
    EXPECT_EQ(QzDibChannelBlur(dst.px.data(), &dst.bounds, dst.stride(), nullptr, nullptr, &src.bounds, src.stride(),
                               nullptr, 4, 0.5),
              E_POINTER);
    const RECT empty{1, 1, 1, 1};
    EXPECT_EQ(QzDibChannelBlur(dst.px.data(), &dst.bounds, dst.stride(), &empty, src.px.data(), &src.bounds,
                               src.stride(), &empty, 4, 0.5),
              S_OK);
    for (uint8_t v : dst.px) ASSERT_EQ(v, 9);
}
