#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "QzDib.h"

// RECT lives in the global namespace, so its comparison must too to be
// found by the assertions; static keeps it to this file.
static bool operator==(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

static std::ostream& operator<<(std::ostream& os, const RECT& r) {
    return os << "{" << r.left << "," << r.top << "," << r.right << "," << r.bottom << "}";
}

namespace {

BITMAPINFOHEADER header(QzPixelType type, int32_t width, int32_t height) {
    BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = static_cast<uint16_t>(QzPixelTypeToBitAttribs(type, &h.biCompression, nullptr, 0, nullptr));
    return h;
}

TEST(QzDibPrepareSet, ClipsAndAddresses) {
    auto* base = reinterpret_cast<uint8_t*>(0x10000);
    const RECT bounds{2, 3, 12, 13};
    int32_t w = -1, h = -1;
    uint8_t* d = nullptr;
    EXPECT_EQ(QzDibPrepareSet(&w, &h, &d, base, nullptr, 100, nullptr, 4), E_POINTER);

    const RECT rect{0, 10, 5, 20};
    ASSERT_EQ(QzDibPrepareSet(&w, &h, &d, base, &bounds, 100, &rect, 4), S_OK);
    EXPECT_EQ(w, 3);
    EXPECT_EQ(h, 3);
    EXPECT_EQ(d - base, 10 * 100 + 2 * 4) << "addresses are absolute: bounds do not move the origin";

    ASSERT_EQ(QzDibPrepareSet(&w, &h, &d, base, &bounds, 100, nullptr, 16), S_OK);
    EXPECT_EQ(w, 10);
    EXPECT_EQ(d - base, 3 * 100 + 2 * 16);
}

TEST(QzDibPrepareSet, EmptyClipLeavesOutputsAlone) {
    const RECT bounds{0, 0, 4, 4};
    const RECT outside{4, 0, 8, 4};
    int32_t w = -7, h = -7;
    uint8_t* d = reinterpret_cast<uint8_t*>(0x1);
    EXPECT_EQ(QzDibPrepareSet(&w, &h, &d, nullptr, &bounds, 16, &outside, 4), S_OK);
    EXPECT_EQ(w, -7) << "callers clear the outputs themselves";
    EXPECT_EQ(d, reinterpret_cast<uint8_t*>(0x1));
}

TEST(QzDibPrepareTransform, GivesTheClippedRectangles) {
    auto* base = reinterpret_cast<uint8_t*>(0x10000);
    const RECT dstBounds{0, 0, 10, 10}, srcBounds{0, 0, 10, 10};
    const RECT dstRect{-2, 0, 8, 5}, srcRect{0, 0, 10, 5};
    RECT outSrc{9, 9, 9, 9}, outDst{9, 9, 9, 9};
    int32_t w, h;
    uint8_t *s, *d;
    ASSERT_EQ(QzDibPrepareTransform(&outSrc, &w, &h, &s, &d, base, &dstBounds, 40, &dstRect, base, &srcBounds, 40,
                                    &srcRect, 4, &outDst),
              S_OK);
    EXPECT_EQ(w, 8);
    EXPECT_EQ(h, 5);
    EXPECT_EQ(outDst, (RECT{0, 0, 8, 5}));
    EXPECT_EQ(outSrc, (RECT{2, 0, 10, 5})) << "the destination's cut is taken from the source";
    EXPECT_EQ(s - base, 8);
    EXPECT_EQ(d - base, 0);

    // Without the last argument it is QzDibPrepareCopy plus the source.
    ASSERT_EQ(QzDibPrepareTransform(&outSrc, &w, &h, &s, &d, base, &dstBounds, 40, &dstRect, base, &srcBounds, 40,
                                    &srcRect, 4, nullptr),
              S_OK);
    EXPECT_EQ(outSrc, (RECT{2, 0, 10, 5}));

    const RECT wrongSize{0, 0, 3, 3};
    EXPECT_EQ(QzDibPrepareTransform(&outSrc, &w, &h, &s, &d, base, &dstBounds, 40, &wrongSize, base, &srcBounds, 40,
                                    &srcRect, 4, &outDst),
              E_INVALIDARG);
    EXPECT_EQ(w, 0);
}

TEST(QzDibPrepareRects, CutsThePartnerInProportion) {
    const BITMAPINFOHEADER dst = header(QzPixelRGB32, 100, 100);
    const BITMAPINFOHEADER src = header(QzPixelRGB32, 200, 100);
    RECT d, s, margins;
    const RECT dstRect{-10, 0, 90, 50}, srcRect{0, 0, 200, 50};
    ASSERT_EQ(QzDibPrepareRects(&dst, &d, &dstRect, &src, &s, &srcRect, &margins), S_OK);
    EXPECT_EQ(d, (RECT{0, 0, 90, 50}));
    EXPECT_EQ(s, (RECT{20, 0, 200, 50})) << "10 of 100 cut from the destination is 20 of 200 from the source";
    EXPECT_EQ(margins, (RECT{20, 0, 0, 0}));

    // A source running past its image cuts the destination; the cut of 1 of 3
    // scaled to a partner of 2 truncates to nothing.
    const BITMAPINFOHEADER small = header(QzPixelRGB32, 2, 2);
    const RECT srcPast{0, 0, 3, 2}, dstTwo{0, 0, 2, 2};
    ASSERT_EQ(QzDibPrepareRects(&small, &d, &dstTwo, &small, &s, &srcPast, &margins), S_OK);
    EXPECT_EQ(s, (RECT{0, 0, 2, 2}));
    EXPECT_EQ(d, (RECT{0, 0, 2, 2}));
    EXPECT_EQ(margins, (RECT{0, 0, 1, 0}));
}

TEST(QzDibPrepareRects, DefaultsAndDisjointRectangles) {
    const BITMAPINFOHEADER dst = header(QzPixelRGB32, 8, 6);
    const BITMAPINFOHEADER src = header(QzPixelRGB32, 4, 3);
    RECT d, s, margins{1, 1, 1, 1};
    ASSERT_EQ(QzDibPrepareRects(&dst, &d, nullptr, &src, &s, nullptr, &margins), S_OK);
    EXPECT_EQ(d, (RECT{0, 0, 8, 6}));
    EXPECT_EQ(s, (RECT{0, 0, 4, 3}));
    EXPECT_EQ(margins, (RECT{0, 0, 0, 0})) << "no source rectangle, no margins";

    const RECT away{20, 20, 24, 23};
    ASSERT_EQ(QzDibPrepareRects(&dst, &d, &away, &src, &s, nullptr, nullptr), S_OK);
    EXPECT_EQ(d, (RECT{0, 0, 0, 0}));
    EXPECT_EQ(s, (RECT{0, 0, 0, 0}));
    EXPECT_EQ(QzDibPrepareRects(nullptr, &d, nullptr, &src, &s, nullptr, nullptr), E_POINTER);
}

TEST(DibPreparePluginParam, TypesAndSizes) {
    BITMAPINFOHEADER a = header(QzPixelRGB32, 4, 3);
    BITMAPINFOHEADER b = header(QzPixelRGBA32, 4, 3);
    BITMAPINFOHEADER f = header(QzPixelRGBA128, 4, 3);
    BITMAPINFOHEADER p = header(QzPixelPal8, 4, 3);
    QzDibPluginParam param{};
    int32_t isFloat = -1, empty = -1;
    EXPECT_EQ(DibPreparePluginParam(nullptr, &a, nullptr, nullptr, 0, &a, nullptr, nullptr, 0, 0, &isFloat, &empty),
              E_POINTER);
    EXPECT_EQ(DibPreparePluginParam(&param, &a, nullptr, nullptr, 0, &b, nullptr, nullptr, 0, 0, &isFloat, &empty),
              E_INVALIDARG)
        << "one pixel type on both sides";
    EXPECT_EQ(DibPreparePluginParam(&param, &p, nullptr, nullptr, 0, &p, nullptr, nullptr, 0, 0, &isFloat, &empty),
              E_INVALIDARG);
    ASSERT_EQ(DibPreparePluginParam(&param, &f, nullptr, nullptr, 0, &f, nullptr, nullptr, 0, 7, &isFloat, &empty),
              S_OK);
    EXPECT_EQ(isFloat, 1);
    EXPECT_EQ(empty, 0);
    EXPECT_EQ(param.flags, 7u);
    EXPECT_EQ(param.dst.stride, 64) << "a zero stride is filled in";

    const RECT small{0, 0, 2, 2};
    EXPECT_EQ(DibPreparePluginParam(&param, &a, nullptr, &small, 0, &a, nullptr, nullptr, 0, 0, &isFloat, &empty),
              E_INVALIDARG);
    const RECT outside{10, 10, 12, 12};
    ASSERT_EQ(DibPreparePluginParam(&param, &a, nullptr, &outside, 0, &a, nullptr, &small, 0, 0, &isFloat, &empty),
              S_OK);
    EXPECT_EQ(empty, 1);
}

TEST(DibPreparePluginParam, FirstRowIsTheLowestInMemory) {
    std::vector<uint8_t> bits(16 * 3);
    BITMAPINFOHEADER h = header(QzPixelRGB32, 4, 3);
    QzDibPluginParam param{};
    const RECT topRow{1, 0, 3, 1};
    ASSERT_EQ(
        DibPreparePluginParam(&param, &h, bits.data(), &topRow, 0, &h, bits.data(), &topRow, 0, 0, nullptr, nullptr),
        S_OK);
    EXPECT_EQ(param.dst.firstRow - bits.data(), 2 * 16) << "image row 0 is the last row stored";
    EXPECT_EQ(param.dst.bitOffset, 32);
    EXPECT_EQ(param.dst.width, 2);
    EXPECT_EQ(param.src.height, 1);
    EXPECT_EQ(param.src.header, &h);
}

}  // namespace
