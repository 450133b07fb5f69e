#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "QzDib.h"

namespace {

struct Prepared {
    HRESULT hr;
    int32_t w, h;
    intptr_t srcOffset, dstOffset;
};

// Runs the preparation over two 4-byte-per-pixel buffers based at address
// 0x10000 so that offsets read back as plain numbers.
Prepared prepare(RECT dstBounds, const RECT* dstRect, RECT srcBounds, const RECT* srcRect, int32_t stride = 100) {
    auto* base = reinterpret_cast<uint8_t*>(0x10000);
    int32_t w = -1, h = -1;
    uint8_t *s = base, *d = base;
    const HRESULT hr =
        QzDibPrepareCopy(&w, &h, &s, &d, base, &dstBounds, stride, dstRect, base, &srcBounds, stride, srcRect, 4);
    return Prepared{hr, w, h, s ? s - base : -1, d ? d - base : -1};
}

TEST(QzDibPrepareCopy, RequiresOutputsAndBounds) {
    RECT b{0, 0, 4, 4};
    int32_t w, h;
    uint8_t *s, *d;
    uint8_t px[64] = {};
    EXPECT_EQ(QzDibPrepareCopy(nullptr, &h, &s, &d, px, &b, 16, nullptr, px, &b, 16, nullptr, 4), E_POINTER);
    EXPECT_EQ(QzDibPrepareCopy(&w, &h, &s, &d, px, nullptr, 16, nullptr, px, &b, 16, nullptr, 4), E_POINTER);
    w = 7;
    s = px;
    EXPECT_EQ(QzDibPrepareCopy(&w, &h, &s, &d, px, &b, 16, nullptr, px, nullptr, 16, nullptr, 4), E_POINTER);
    EXPECT_EQ(w, 0) << "outputs are cleared before the bounds are checked";
    EXPECT_EQ(s, nullptr);
}

TEST(QzDibPrepareCopy, UnequalRectanglesAreInvalid) {
    RECT d{0, 0, 10, 10}, s{0, 0, 10, 9};
    EXPECT_EQ(prepare({0, 0, 20, 20}, &d, {0, 0, 20, 20}, &s).hr, E_INVALIDARG);
}

TEST(QzDibPrepareCopy, InsideBothGivesAddressesOfTheCorners) {
    RECT d{2, 3, 6, 5}, s{1, 1, 5, 3};
    const Prepared p = prepare({0, 0, 10, 10}, &d, {0, 0, 10, 10}, &s);
    EXPECT_EQ(p.hr, S_OK);
    EXPECT_EQ(p.w, 4);
    EXPECT_EQ(p.h, 2);
    EXPECT_EQ(p.dstOffset, 3 * 100 + 2 * 4);
    EXPECT_EQ(p.srcOffset, 1 * 100 + 1 * 4);
}

TEST(QzDibPrepareCopy, ClipToNothingIsSuccessWithZeroOutputs) {
    RECT d{20, 20, 30, 30}, s{0, 0, 10, 10};
    const Prepared p = prepare({0, 0, 10, 10}, &d, {0, 0, 10, 10}, &s);
    EXPECT_EQ(p.hr, S_OK);
    EXPECT_EQ(p.w, 0);
    EXPECT_EQ(p.h, 0);
    EXPECT_EQ(p.srcOffset, -1);
}

TEST(QzDibPrepareCopy, SourceHalfOutsideIsInvalidUnlessDestinationClipsAlike) {
    RECT r{5, 0, 15, 10};
    // The source is cut to 5 x 10 while the destination keeps 10 x 10.
    EXPECT_EQ(prepare({0, 0, 20, 20}, &r, {0, 0, 10, 10}, &r).hr, E_INVALIDARG);
    // Both cut the same way: equal sizes, a plain 5 x 10 copy.
    const Prepared p = prepare({0, 0, 10, 10}, &r, {0, 0, 10, 10}, &r);
    EXPECT_EQ(p.hr, S_OK);
    EXPECT_EQ(p.w, 5);
    EXPECT_EQ(p.h, 10);
}

TEST(QzDibPrepareCopy, EqualClippedSizesPassEvenWhenClippedOnOppositeSides) {
    RECT d{-2, 0, 8, 4}, s{2, 0, 12, 4};
    const Prepared p = prepare({0, 0, 8, 4}, &d, {0, 0, 10, 4}, &s);
    EXPECT_EQ(p.hr, S_OK);
    EXPECT_EQ(p.w, 8);
    EXPECT_EQ(p.dstOffset, 0);
    EXPECT_EQ(p.srcOffset, 2 * 4) << "the source is read from its own clipped corner";
}

TEST(QzDibPrepareCopy, SourceClippedOnItsLeftShiftsByTheClip) {
    // The destination is cut on its right to 3 pixels, the source on its
    // left to 4: the clipped source is laid on the destination rectangle's
    // corner, so destination x = 5 reads source x = 0, not x = -2.
    RECT d{5, 0, 11, 1}, s{-2, 0, 4, 1};
    const Prepared p = prepare({0, 0, 8, 1}, &d, {0, 0, 10, 1}, &s);
    EXPECT_EQ(p.hr, S_OK);
    EXPECT_EQ(p.w, 3);
    EXPECT_EQ(p.dstOffset, 5 * 4);
    EXPECT_EQ(p.srcOffset, 0);
}

TEST(QzDibCopyUnscaled, CopiesRowsWithTheirOwnStrides) {
    std::vector<uint8_t> src(3 * 20), dst(3 * 24, 0xEE);
    std::iota(src.begin(), src.end(), 0);
    RECT sb{0, 0, 5, 3}, db{0, 0, 6, 3}, r{1, 1, 3, 3};
    ASSERT_EQ(QzDibCopyUnscaled(dst.data(), &db, 24, &r, src.data(), &sb, 20, &r, 4), S_OK);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 6; ++x) {
            for (int c = 0; c < 4; ++c) {
                const bool inside = y >= 1 && x >= 1 && x < 3;
                const uint8_t want = inside ? src[y * 20 + x * 4 + c] : 0xEE;
                EXPECT_EQ(dst[y * 24 + x * 4 + c], want) << x << "," << y << "," << c;
            }
        }
    }
}

TEST(QzDibCopyUnscaled, NegativeStrideWalksUpward) {
    // Two rows stored bottom-up: row 0 at the end of the buffer.
    std::vector<float> src = {1, 1, 1, 1, 0, 0, 0, 0}, dst(8, -1.0f);
    RECT b{0, 0, 1, 2};
    ASSERT_EQ(QzDibCopyUnscaled(dst.data() + 4, &b, -16, nullptr, src.data() + 4, &b, -16, nullptr, 16), S_OK);
    EXPECT_EQ(dst, src);
}

}  // namespace
