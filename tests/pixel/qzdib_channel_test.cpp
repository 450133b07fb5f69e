#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "QzDib.h"

namespace {

using Px2 = std::array<uint8_t, 8>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1}, two{0, 0, 2, 1};

Px2 setByte(QzChannel channel, double value) {
    Px2 px{};
    EXPECT_EQ(QzDibChannelSet(px.data(), &two, 8, nullptr, 4, channel, value), S_OK);
    return px;
}

TEST(QzDibChannelSet, BytesKeepTheLowByteAlphaSaturatesStrayChannelsMeanBlue) {
    EXPECT_EQ(setByte(QzChannelRed, 0.5), (Px2{0, 0, 127, 0, 0, 0, 127, 0}));
    // 2.0 * 255 = 510: colour keeps 254, alpha saturates at 255.
    EXPECT_EQ(setByte(QzChannelBlue, 2.0), (Px2{254, 0, 0, 0, 254, 0, 0, 0}));
    EXPECT_EQ(setByte(QzChannelAlpha, 2.0), (Px2{0, 0, 0, 255, 0, 0, 0, 255}));
    EXPECT_EQ(setByte(QzChannelAlpha, 1.0), (Px2{0, 0, 0, 255, 0, 0, 0, 255}));
    // trunc(-127.5) = -127, low byte 129.
    EXPECT_EQ(setByte(QzChannelGreen, -0.5), (Px2{0, 129, 0, 0, 0, 129, 0, 0}));
    // A channel out of range means blue; floats take the value as it is.
    EXPECT_EQ(setByte(7, 1.0), (Px2{255, 0, 0, 0, 255, 0, 0, 0}));
    Pf f{};
    ASSERT_EQ(QzDibChannelSet(f.data(), &one, 16, nullptr, 16, 9, 0.3), S_OK);
    EXPECT_EQ(f, (Pf{0.3f, 0, 0, 0}));
    ASSERT_EQ(QzDibChannelSet(f.data(), &one, 16, nullptr, 16, QzChannelGreen, 1.5), S_OK);
    EXPECT_EQ(f, (Pf{0.3f, 1.5f, 0, 0}));
}

TEST(QzDibChannelCopyUnscaled, MovesOneChannelAndKeepsTheRest) {
    Px2 d{1, 2, 3, 4, 5, 6, 7, 8}, s{10, 20, 30, 40, 50, 60, 70, 80};
    ASSERT_EQ(QzDibChannelCopyUnscaled(d.data(), &two, 8, nullptr, QzChannelAlpha, s.data(), &two, 8, nullptr,
                                       QzChannelRed, 4),
              S_OK);
    EXPECT_EQ(d, (Px2{1, 2, 3, 30, 5, 6, 7, 70}));
    Pf df{1, 2, 3, 4}, sf{10, 20, 30, 40};
    ASSERT_EQ(QzDibChannelCopyUnscaled(df.data(), &one, 16, nullptr, QzChannelBlue, sf.data(), &one, 16, nullptr,
                                       QzChannelAlpha, 16),
              S_OK);
    EXPECT_EQ(df, (Pf{40, 2, 3, 4}));
}

// Count their calls in the context; addOne writes the source sample plus
// one, invert flips a byte, swapEnds exchanges a pixel's first and last
// samples from the source.
void addOne(uint8_t* dst, const uint8_t* src, void* calls) {
    ++*static_cast<int*>(calls);
    *dst = static_cast<uint8_t>(*src + 1);
}

void invert(uint8_t* channel, void* calls) {
    ++*static_cast<int*>(calls);
    *channel = static_cast<uint8_t>(255 - *channel);
}

void swapEnds(uint8_t* dst, const uint8_t* src, void* calls) {
    ++*static_cast<int*>(calls);
    dst[0] = src[3];
    dst[3] = src[0];
}

TEST(QzDibChannelCallbacks, CalledOncePerClippedPixelAtTheChannels) {
    // A rect one column wider than the destination bounds: two calls, not three.
    std::array<uint8_t, 12> d{}, s{0, 0, 10, 0, 0, 0, 20, 0, 0, 0, 30, 0};
    RECT bounds{0, 0, 2, 1}, rect{0, 0, 3, 1}, srcBounds{0, 0, 3, 1};
    int calls = 0;
    ASSERT_EQ(QzDibChannelOp(d.data(), &bounds, 12, &rect, QzChannelGreen, s.data(), &srcBounds, 12, &rect,
                             QzChannelRed, 4, addOne, &calls),
              S_OK);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(d, (std::array<uint8_t, 12>{0, 11, 0, 0, 0, 21, 0, 0, 0, 0, 0, 0}));

    Px2 px{1, 2, 3, 4, 5, 6, 7, 8};
    ASSERT_EQ(QzDibChannelInPlaceOp(px.data(), &two, 8, nullptr, 4, QzChannelAlpha, invert, &calls), S_OK);
    EXPECT_EQ(px, (Px2{1, 2, 3, 251, 5, 6, 7, 247}));

    Px2 blended{};
    ASSERT_EQ(QzDibCustomBlend(blended.data(), &two, 8, nullptr, px.data(), &two, 8, nullptr, 4, swapEnds, &calls),
              S_OK);
    EXPECT_EQ(blended, (Px2{251, 0, 0, 1, 247, 0, 0, 5}));
    EXPECT_EQ(calls, 6);
}

TEST(QzDibChannelOps, MisuseWritesNothing) {
    Px2 d{1, 2, 3, 4, 5, 6, 7, 8}, s{};
    int calls = 0;
    EXPECT_EQ(QzDibCustomBlend(d.data(), &two, 8, nullptr, s.data(), &two, 8, nullptr, 4, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(QzDibCustomBlend(d.data(), &two, 16, nullptr, s.data(), &two, 16, nullptr, 8, swapEnds, &calls),
              E_NOTIMPL);
    EXPECT_EQ(QzDibChannelOp(d.data(), &two, 8, nullptr, 0, s.data(), &two, 8, nullptr, 0, 4, nullptr, nullptr),
              E_POINTER);
    EXPECT_EQ(QzDibChannelInPlaceOp(d.data(), &two, 8, nullptr, 4, 0, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(QzDibChannelInPlaceOp(d.data(), nullptr, 8, nullptr, 4, 0, invert, &calls), E_POINTER);
    EXPECT_EQ(QzDibChannelSet(d.data(), nullptr, 8, nullptr, 4, 0, 1.0), E_POINTER);
    EXPECT_EQ(QzDibChannelCopyUnscaled(d.data(), &two, 8, nullptr, 0, s.data(), &one, 4, nullptr, 0, 4), E_INVALIDARG);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(d, (Px2{1, 2, 3, 4, 5, 6, 7, 8}));
}

}  // namespace
