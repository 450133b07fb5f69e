#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <numeric>
#include <vector>

#include "QzDib.h"

namespace {

using Px = std::array<uint8_t, 4>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1};

Px fade(Px d, Px s, double wd, double ws) {
    EXPECT_EQ(QzDibWeightedCrossFade(d.data(), &one, 4, nullptr, wd, s.data(), &one, 4, nullptr, ws, 4), S_OK);
    return d;
}

TEST(QzDibWeightedCrossFade, BytesRoundInFourteenBits) {
    // (d * 8192 + s * 8192 + 8192) >> 14: 1 and 2 give 2, 0 and 1 give 1, 255 and 254 give 255.
    EXPECT_EQ(fade(Px{1, 0, 255, 7}, Px{2, 1, 254, 7}, 0.5, 0.5), (Px{2, 1, 255, 7}));
    // 0.3 and 0.7 truncate to 4915 and 11468 (sum 16383):
    // (10 * 4915 + 20 * 11468 + 8192) >> 14 = 17; 255 and 255 stay 255.
    EXPECT_EQ(fade(Px{10, 255, 0, 0}, Px{20, 255, 0, 0}, 0.3, 0.7), (Px{17, 255, 0, 0}));
}

TEST(QzDibWeightedCrossFade, WeightsAboveOneClampAt255) {
    // 1.0 and 0.5 on 255, 255: 383 clamps to 255 instead of wrapping to 127.
    EXPECT_EQ(fade(Px{255, 100, 0, 0}, Px{255, 50, 0, 0}, 1.0, 0.5), (Px{255, 125, 0, 0}));
    // 0.75 and 0.75: (200 * 12288 * 2 + 8192) >> 14 = 300 -> 255; 100 and 50 give 113.
    EXPECT_EQ(fade(Px{200, 100, 0, 0}, Px{200, 50, 0, 0}, 0.75, 0.75), (Px{255, 113, 0, 0}));
}

TEST(QzDibWeightedCrossFade, FloatsClampOnlyAboveOne) {
    Pf d{0.5f, 1.0f, 0.5f, 0.0f}, s{0.25f, 1.0f, 0.5f, 0.0f};
    ASSERT_EQ(QzDibWeightedCrossFade(d.data(), &one, 16, nullptr, 0.5, s.data(), &one, 16, nullptr, 1.0, 16), S_OK);
    EXPECT_EQ(d, (Pf{0.5f, 1.0f, 0.75f, 0.0f}));
    d = {0.5f, 0, 0, 0};
    s = {0.5f, 0, 0, 0};
    ASSERT_EQ(QzDibWeightedCrossFade(d.data(), &one, 16, nullptr, -1.0, s.data(), &one, 16, nullptr, 0.0, 16), S_OK);
    EXPECT_EQ(d[0], -0.5f);
}

TEST(QzDibWeightedCrossFade, PairsClippedRectanglesWithOffsetOrigins) {
    // A 4 x 3 destination whose bounds are columns 2-3 of rows 1-2, and a
    // 2 x 2 source.
    std::vector<uint8_t> d(4 * 3 * 4, 0), s(2 * 2 * 4, 100);
    RECT dstBounds{2, 1, 4, 3}, srcBounds{0, 0, 2, 2};
    ASSERT_EQ(QzDibWeightedCrossFade(d.data(), &dstBounds, 16, nullptr, 0.0, s.data(), &srcBounds, 8, nullptr, 1.0, 4),
              S_OK);
    for (int32_t y = 0; y < 3; ++y) {
        for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(d[y * 16 + x * 4], (x >= 2 && y >= 1) ? 100 : 0) << x << "," << y;
    }
}

TEST(QzDibWeightedCrossFade, MisuseWritesNothing) {
    Px d{1, 2, 3, 4}, s{};
    RECT wide{0, 0, 2, 1};
    EXPECT_EQ(QzDibWeightedCrossFade(d.data(), nullptr, 4, nullptr, 1, s.data(), &one, 4, nullptr, 1, 4), E_POINTER);
    EXPECT_EQ(QzDibWeightedCrossFade(d.data(), &one, 4, nullptr, 1, nullptr, &one, 4, nullptr, 1, 4), E_POINTER);
    EXPECT_EQ(QzDibWeightedCrossFade(d.data(), &one, 4, &one, 0, s.data(), &one, 4, &wide, 1, 4), E_INVALIDARG);
    EXPECT_EQ(d, (Px{1, 2, 3, 4}));
}

struct Tables {
    std::array<uint8_t, 256> identity8, inverse8;
    std::vector<uint16_t> identity16 = std::vector<uint16_t>(65536), inverse16 = std::vector<uint16_t>(65536);
    Tables() {
        for (int i = 0; i < 256; ++i) {
            identity8[i] = static_cast<uint8_t>(i);
            inverse8[i] = static_cast<uint8_t>(255 - i);
        }
        std::iota(identity16.begin(), identity16.end(), uint16_t{0});
        for (int i = 0; i < 65536; ++i) inverse16[i] = static_cast<uint16_t>(65535 - i);
    }
};

TEST(QzDibSingleLUT, BytesIndexDirectlyAndAlphaOnlyOnRequest) {
    const Tables t;
    Px px{0, 1, 200, 10};
    ASSERT_EQ(QzDibSingleLUT(px.data(), &one, 4, nullptr, 4, t.inverse8.data(), 1, 0, 0), S_OK);
    EXPECT_EQ(px, (Px{255, 254, 55, 10}));
    ASSERT_EQ(QzDibSingleLUT(px.data(), &one, 4, nullptr, 4, t.inverse8.data(), 1, 1, 1), S_OK);
    EXPECT_EQ(px, (Px{0, 1, 200, 245}));
}

TEST(QzDibSingleLUT, BytesThroughAWordTableUseTheExactWidening) {
    // Entry b * 257, high byte: 0 -> 65535 -> 255, 1 -> 65278 -> 254, 255 -> 0.
    const Tables t;
    Px px{0, 1, 255, 128};
    ASSERT_EQ(QzDibSingleLUT(px.data(), &one, 4, nullptr, 4, t.inverse16.data(), 0, 1, 0), S_OK);
    EXPECT_EQ(px, (Px{255, 254, 0, 127}));
}

TEST(QzDibSingleLUT, FloatIndicesTruncate) {
    const Tables t;
    // 0.1f * 255 = 25.5000004 reads entry 25, not 26; 0.5 -> 127; 1.0 -> 255.
    Pf px{0.1f, 0.5f, 1.0f, 0.1f};
    ASSERT_EQ(QzDibSingleLUT(px.data(), &one, 16, nullptr, 16, t.identity8.data(), 1, 0, 0), S_OK);
    EXPECT_EQ(px, (Pf{25 * 0.003921569f, 127 * 0.003921569f, 255 * 0.003921569f, 0.1f}));
    // 0.5 * 65535 = 32767.5 reads entry 32767; 0 reads 0.
    px = {0.5f, 0.0f, 1.0f, 0.5f};
    ASSERT_EQ(QzDibSingleLUT(px.data(), &one, 16, nullptr, 16, t.identity16.data(), 0, 1, 0), S_OK);
    EXPECT_EQ(px, (Pf{32767 * 1.5259022e-5f, 0.0f, 65535 * 1.5259022e-5f, 32767 * 1.5259022e-5f}));
}

TEST(QzDibPerChannelLUT, NullTablesLeaveTheirChannels) {
    const Tables t;
    Px px{10, 20, 30, 40};
    ASSERT_EQ(QzDibPerChannelLUT(px.data(), &one, 4, nullptr, 4, nullptr, nullptr, t.inverse8.data(),
                                 t.inverse8.data(), 1),
              S_OK);
    EXPECT_EQ(px, (Px{10, 20, 225, 215}));
    ASSERT_EQ(QzDibPerChannelLUT(px.data(), &one, 4, nullptr, 4, nullptr, nullptr, nullptr, nullptr, 1), S_OK);
    EXPECT_EQ(px, (Px{10, 20, 225, 215}));
}

TEST(QzDibLUT, MisuseAndClipping) {
    const Tables t;
    std::array<uint8_t, 8> px{1, 2, 3, 4, 5, 6, 7, 8};
    RECT bounds{1, 0, 2, 1};
    EXPECT_EQ(QzDibSingleLUT(px.data(), &bounds, 8, nullptr, 4, nullptr, 1, 1, 0), E_POINTER);
    EXPECT_EQ(QzDibSingleLUT(px.data(), nullptr, 8, nullptr, 4, t.inverse8.data(), 1, 1, 0), E_POINTER);
    EXPECT_EQ(QzDibPerChannelLUT(nullptr, &bounds, 8, nullptr, 4, t.inverse8.data(), nullptr, nullptr, nullptr, 1),
              E_POINTER);
    // Only the second pixel lies within the bounds.
    ASSERT_EQ(QzDibSingleLUT(px.data(), &bounds, 8, nullptr, 4, t.inverse8.data(), 1, 1, 0), S_OK);
    EXPECT_EQ(px, (std::array<uint8_t, 8>{1, 2, 3, 4, 250, 249, 248, 247}));
}

}  // namespace
