#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <vector>

#include "QzDib.h"

namespace {

using Px = std::array<uint8_t, 4>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1};

// Cross-fades one pixel of either kind; its size is its stride.
template <class P>
P fade(P d, P s, double wd, double ws) {
    const int32_t n = sizeof(P);
    EXPECT_EQ(QzDibWeightedCrossFade(d.data(), &one, n, nullptr, wd, s.data(), &one, n, nullptr, ws, n), S_OK);
    return d;
}

TEST(QzDibWeightedCrossFade, BytesRoundInFourteenBitsAndClampAt255) {
    // (d * 8192 + s * 8192 + 8192) >> 14: 1 and 2 give 2, 0 and 1 give 1, 255 and 254 give 255.
    EXPECT_EQ(fade(Px{1, 0, 255, 7}, Px{2, 1, 254, 7}, 0.5, 0.5), (Px{2, 1, 255, 7}));
    // 0.3 and 0.7 truncate to 4915 and 11468 (sum 16383):
    // (10 * 4915 + 20 * 11468 + 8192) >> 14 = 17; 255 and 255 stay 255.
    EXPECT_EQ(fade(Px{10, 255, 0, 0}, Px{20, 255, 0, 0}, 0.3, 0.7), (Px{17, 255, 0, 0}));
    // Weights above one clamp: 1.0 and 0.5 on 255, 255: 383 clamps to 255 instead of wrapping to 127.
    EXPECT_EQ(fade(Px{255, 100, 0, 0}, Px{255, 50, 0, 0}, 1.0, 0.5), (Px{255, 125, 0, 0}));
    // 0.75 and 0.75: (200 * 12288 * 2 + 8192) >> 14 = 300 -> 255; 100 and 50 give 113.
    EXPECT_EQ(fade(Px{200, 100, 0, 0}, Px{200, 50, 0, 0}, 0.75, 0.75), (Px{255, 113, 0, 0}));
}

TEST(QzDibWeightedCrossFade, FloatsClampOnlyAboveOne) {
    EXPECT_EQ(fade(Pf{0.5f, 1.0f, 0.5f, 0.0f}, Pf{0.25f, 1.0f, 0.5f, 0.0f}, 0.5, 1.0), (Pf{0.5f, 1.0f, 0.75f, 0.0f}));
    EXPECT_EQ(fade(Pf{0.5f, 0, 0, 0}, Pf{0.5f, 0, 0, 0}, -1.0, 0.0)[0], -0.5f);
}

TEST(QzDibWeightedCrossFade, PairsClippedRectanglesWithOffsetOrigins) {
    // A 4 x 3 destination whose bounds are columns 2-3 of rows 1-2, and a
    // 2 x 2 source.
    std::vector<uint8_t> d(4 * 3 * 4, 0), s(2 * 2 * 4, 100);
    RECT dstBounds{2, 1, 4, 3}, srcBounds{0, 0, 2, 2};
    ASSERT_EQ(QzDibWeightedCrossFade(d.data(), &dstBounds, 16, nullptr, 0.0, s.data(), &srcBounds, 8, nullptr, 1.0, 4),
              S_OK);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 4; ++x) EXPECT_EQ(d[y * 16 + x * 4], (x >= 2 && y >= 1) ? 100 : 0) << x << "," << y;
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
    std::vector<uint8_t> identity8 = std::vector<uint8_t>(256), inverse8 = std::vector<uint8_t>(256);
    std::vector<uint16_t> identity16 = std::vector<uint16_t>(65536), inverse16 = std::vector<uint16_t>(65536);
    Tables() {
        std::iota(identity8.begin(), identity8.end(), uint8_t{0});
        std::iota(identity16.begin(), identity16.end(), uint16_t{0});
        std::reverse_copy(identity8.begin(), identity8.end(), inverse8.begin());
        std::reverse_copy(identity16.begin(), identity16.end(), inverse16.begin());
    }
};

// Runs one pixel of either kind through a table.
template <class P>
P lut(P px, const void* table, int32_t byteTable, int32_t includeAlpha, int32_t mode = 0) {
    const int32_t n = sizeof(P);
    EXPECT_EQ(QzDibSingleLUT(px.data(), &one, n, nullptr, n, table, byteTable, includeAlpha, mode), S_OK);
    return px;
}

TEST(QzDibSingleLUT, BytesIndexWithExactWideningAndAlphaOnlyOnRequest) {
    const Tables t;
    EXPECT_EQ(lut(Px{0, 1, 200, 10}, t.inverse8.data(), 1, 0), (Px{255, 254, 55, 10}));
    EXPECT_EQ(lut(Px{0, 1, 200, 10}, t.inverse8.data(), 1, 1, 1), (Px{255, 254, 55, 245}));
    // Through a word table, entry b * 257, high byte: 0 -> 65535 -> 255,
    // 1 -> 65278 -> 254, 255 -> 0.
    EXPECT_EQ(lut(Px{0, 1, 255, 128}, t.inverse16.data(), 0, 1), (Px{255, 254, 0, 127}));
}

TEST(QzDibSingleLUT, FloatIndicesTruncate) {
    const Tables t;
    // 0.1f * 255 = 25.5000004 reads entry 25, not 26; 0.5 -> 127; 1.0 -> 255.
    EXPECT_EQ(lut(Pf{0.1f, 0.5f, 1.0f, 0.1f}, t.identity8.data(), 1, 0),
              (Pf{25 * 0.003921569f, 127 * 0.003921569f, 255 * 0.003921569f, 0.1f}));
    // 0.5 * 65535 = 32767.5 reads entry 32767; 0 reads 0.
    EXPECT_EQ(lut(Pf{0.5f, 0.0f, 1.0f, 0.5f}, t.identity16.data(), 0, 1),
              (Pf{32767 * 1.5259022e-5f, 0.0f, 65535 * 1.5259022e-5f, 32767 * 1.5259022e-5f}));
}

TEST(QzDibPerChannelLUT, NullTablesLeaveTheirChannels) {
    const Tables t;
    Px px{10, 20, 30, 40};
    ASSERT_EQ(
        QzDibPerChannelLUT(px.data(), &one, 4, nullptr, 4, nullptr, nullptr, t.inverse8.data(), t.inverse8.data(), 1),
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
