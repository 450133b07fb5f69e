#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "QzDib.h"

namespace {

using Px = std::array<uint8_t, 4>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1};

// One pixel of either kind; its size is its stride.
template <class P>
P over(P d, P s, const double* color = nullptr) {
    const int32_t n = sizeof(P);
    EXPECT_EQ(QzDibOver(d.data(), &one, n, nullptr, s.data(), &one, n, nullptr, n, color), S_OK);
    return d;
}

template <class P>
P under(P d, P s) {
    const int32_t n = sizeof(P);
    EXPECT_EQ(QzDibUnder(d.data(), &one, n, nullptr, s.data(), &one, n, nullptr, n), S_OK);
    return d;
}

TEST(QzDibOver, SourceAlphaMixesAndOpaqueStopsOneShort) {
    // 255 * 255 / 256 = 254, alpha included.
    EXPECT_EQ(over(Px{0, 0, 0, 0}, Px{255, 255, 255, 255}), (Px{254, 254, 254, 254}));
    EXPECT_EQ(over(Px{255, 255, 255, 255}, Px{0, 0, 0, 255}), (Px{1, 1, 1, 255}));
    // sa 128: 100 * 128 / 256 = 50; 100 - 50 = 50; 50 + 75 = 125;
    // 255 + (-127 * 128) / 256 = 255 - 63 (truncated toward zero).
    EXPECT_EQ(over(Px{0, 100, 50, 255}, Px{100, 0, 200, 128}), (Px{50, 50, 125, 192}));
    EXPECT_EQ(over(Pf{0.0f, 0.0f, 1.0f, 1.0f}, Pf{1.0f, 0.5f, 0.0f, 0.5f}), (Pf{0.5f, 0.25f, 0.5f, 0.75f}));
}

TEST(QzDibOver, MatteIsTakenOutAndClamped) {
    // Matte blue 1.0, green 0.5, red 2.0 -> 255, 127 (truncated), 255.
    const double matte[3] = {1.0, 0.5, 2.0};
    // ((255 - 10) * 128) / 256 + 200 - 255 + 10 = 122 - 45 = 77;
    // ((127 - 20) * 128) / 256 + 150 - 127 + 20 = 53 + 43 = 96;
    // ((255 - 30) * 128) / 256 + 255 - 255 + 30 = 112 + 30 = 142; alpha stays.
    EXPECT_EQ(over(Px{10, 20, 30, 40}, Px{200, 150, 255, 128}, matte), (Px{77, 96, 142, 40}));
    // -255 clamps to 0, 378 to 255.
    EXPECT_EQ(over(Px{0, 250, 0, 99}, Px{0, 255, 0, 0}, matte), (Px{0, 255, 0, 99}));

    // A float matte is held to the unit range.
    const double unit[3] = {0.5, -1.0, 2.0};  // held to 0.5, 0, 1
    // 0.25 + 0.75 - 0.5 + 0.25 * 0.5; 0.5 + 0.25 - 0 - 0.5 * 0.5; 0 + 1 - 1 + 1 * 0.5.
    EXPECT_EQ(over(Pf{0.25f, 0.5f, 0.0f, 0.25f}, Pf{0.75f, 0.25f, 1.0f, 0.5f}, unit), (Pf{0.625f, 0.5f, 0.5f, 0.25f}));
    // 1.5 clamps to 1, -1 to 0.
    EXPECT_EQ(over(Pf{1.0f, 0.0f, 0.0f, 0.75f}, Pf{1.0f, 0.0f, 0.0f, 0.0f}, unit), (Pf{1.0f, 0.0f, 0.0f, 0.75f}));
}

TEST(QzDibUnder, DestinationAlphaChoosesBetweenSourceAndDestination) {
    EXPECT_EQ(under(Px{9, 8, 7, 0}, Px{100, 150, 200, 250}), (Px{100, 150, 200, 250}));
    EXPECT_EQ(under(Pf{0.9f, 0.8f, 0.7f, 0.0f}, Pf{0.1f, 0.2f, 0.3f, 0.4f}), (Pf{0.1f, 0.2f, 0.3f, 0.4f}));
    // da 255: 254 of the way back to the destination, alpha too.
    EXPECT_EQ(under(Px{255, 0, 0, 255}, Px{0, 255, 0, 0}), (Px{254, 1, 0, 254}));
    // da 128: 100 * 128 / 256 = 50; alpha 64 + (64 * 128) / 256 = 96.
    EXPECT_EQ(under(Px{100, 0, 0, 128}, Px{0, 0, 0, 64}), (Px{50, 0, 0, 96}));
    EXPECT_EQ(under(Pf{0.5f, 0.0f, 1.0f, 0.5f}, Pf{1.0f, 1.0f, 0.0f, 1.0f}), (Pf{0.75f, 0.5f, 0.5f, 0.75f}));
}

TEST(QzDibOverUnder, ClipToTheDestinationBounds) {
    // A 3 x 1 destination whose bounds begin at column 1; the source is 2 x 1.
    std::vector<uint8_t> d(12, 0), s{255, 255, 255, 255, 255, 255, 255, 255};
    RECT dstBounds{1, 0, 3, 1}, srcBounds{0, 0, 2, 1};
    ASSERT_EQ(QzDibOver(d.data(), &dstBounds, 12, nullptr, s.data(), &srcBounds, 8, nullptr, 4, nullptr), S_OK);
    EXPECT_EQ(d, (std::vector<uint8_t>{0, 0, 0, 0, 254, 254, 254, 254, 254, 254, 254, 254}));
}

TEST(QzDibOverUnder, MisuseWritesNothing) {
    Px d{1, 2, 3, 4}, s{9, 9, 9, 255};
    RECT wide{0, 0, 2, 1};
    EXPECT_EQ(QzDibOver(d.data(), &one, 4, nullptr, nullptr, &one, 4, nullptr, 4, nullptr), E_POINTER);
    EXPECT_EQ(QzDibOver(d.data(), &one, 4, nullptr, s.data(), nullptr, 4, nullptr, 4, nullptr), E_POINTER);
    EXPECT_EQ(QzDibUnder(nullptr, &one, 4, nullptr, s.data(), &one, 4, nullptr, 4), E_POINTER);
    EXPECT_EQ(QzDibUnder(d.data(), &one, 4, &one, s.data(), &one, 4, &wide, 4), E_INVALIDARG);
    EXPECT_EQ(d, (Px{1, 2, 3, 4}));
}

}  // namespace
