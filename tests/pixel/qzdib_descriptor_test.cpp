#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "QzDib.h"

namespace {

// Room for a header and a full 8-bit palette behind it.
struct Block {
    BITMAPINFOHEADER h{};
    uint32_t behind[256]{};
};

struct DibFree {
    void operator()(BITMAPINFOHEADER* d) const { QzDibFree(d, 0); }
};
using DibPtr = std::unique_ptr<BITMAPINFOHEADER, DibFree>;

DibPtr alloc(QzPixelType type, int32_t w, int32_t h, const RGBQUAD* palette = nullptr, int32_t entries = 0) {
    BITMAPINFOHEADER* d = nullptr;
    EXPECT_EQ(QzDibAlloc(&d, type, w, h, palette, entries, QZDIBALLOC_ZERO, 0), S_OK);
    return DibPtr(d);
}

uint32_t headerBytes(QzPixelType type, const RGBQUAD* palette = nullptr, int32_t entries = 0) {
    Block b;
    uint32_t n = 0;
    EXPECT_EQ(QzDibInfo(&n, nullptr, &b.h, type, 4, 2, palette, entries), S_OK);
    return n;
}

TEST(QzDibInfo, FillsTheHeaderFields) {
    Block b;
    b.h.biYPelsPerMeter = 77;  // never read, never written
    uint32_t hdr = 0, img = 0;
    ASSERT_EQ(QzDibInfo(&hdr, &img, &b.h, QzPixelRGB24, 5, 3, nullptr, 0), S_OK);
    // Rows of (24 * 5 + 31) >> 3 = 18, masked to 16.
    const BITMAPINFOHEADER rgb{40, 5, 3, 1, 24, BI_RGB, 48, 0, 77, 0, 0};
    EXPECT_EQ(std::memcmp(&b.h, &rgb, sizeof rgb), 0);
    EXPECT_EQ(img, 48u);
    EXPECT_EQ(hdr, 40u);

    // Planar types take their plane sizes and their FourCC.
    ASSERT_EQ(QzDibInfo(nullptr, &img, &b.h, QzPixelI420, 4, 4, nullptr, 0), S_OK);
    const BITMAPINFOHEADER yuv{40, 4, 4, 1, 12, QZ_FOURCC('I', '4', '2', '0'), 24, 0, 77, 0, 0};
    EXPECT_EQ(std::memcmp(&b.h, &yuv, sizeof yuv), 0);
}

TEST(QzDibInfo, PaletteCountIsOneShortOfTheTable) {
    EXPECT_EQ(headerBytes(QzPixelPal8), 40u + 4 * 255);
    EXPECT_EQ(headerBytes(QzPixelGray8), 40u + 4 * 255) << "grey types too";
    EXPECT_EQ(headerBytes(QzPixelPal8, nullptr, -5), 40u + 4 * 255) << "a negative count is none";
    EXPECT_EQ(headerBytes(QzPixelRGB32), 40u);

    const RGBQUAD pal[2] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
    Block b;
    ASSERT_EQ(QzDibInfo(nullptr, nullptr, &b.h, QzPixelPal8, 4, 2, pal, 2), S_OK);
    EXPECT_EQ(b.h.biClrUsed, 2u);
    EXPECT_EQ(std::memcmp(b.behind, pal, sizeof pal), 0);
    EXPECT_EQ(b.behind[2], 0u);
    EXPECT_EQ(headerBytes(QzPixelRGB32, pal, 2), 48u) << "a count is kept even past 8 bits";
}

TEST(QzDibInfo, BitfieldTypesStoreMasksAndTakeFiftyTwoBytes) {
    const RGBQUAD pal[2] = {};
    for (QzPixelType t : {QzPixelRGB565, QzPixelRGB10, QzPixelRGB10Alt}) {
        Block b;
        uint32_t hdr = 0;
        ASSERT_EQ(QzDibInfo(&hdr, nullptr, &b.h, t, 4, 2, pal, 2), S_OK);
        EXPECT_EQ(hdr, 52u);
        EXPECT_EQ(b.h.biClrUsed, 0u) << "masks, never a palette";
        EXPECT_EQ(b.h.biCompression, BI_BITFIELDS);
        EXPECT_EQ(QzDibBitsFromHeader(&b.h) - reinterpret_cast<uint8_t*>(&b.h), 52);
    }
    Block b;
    ASSERT_EQ(QzDibInfo(nullptr, nullptr, &b.h, QzPixelRGB565, 4, 2, nullptr, 0), S_OK);
    const uint32_t masks[3] = {0xF800, 0x07E0, 0x001F};
    EXPECT_EQ(std::memcmp(b.behind, masks, sizeof masks), 0);
    EXPECT_EQ(QzGetPixelType(&b.h), QzPixelRGB565);
    ASSERT_EQ(QzDibInfo(nullptr, nullptr, &b.h, QzPixelRGB10Alt, 4, 2, nullptr, 0), S_OK);
    EXPECT_EQ(QzGetPixelType(&b.h), QzPixelRGB10);
}

TEST(QzDibInfo, RefusesBadArguments) {
    Block b;
    EXPECT_EQ(QzDibInfo(nullptr, nullptr, nullptr, QzPixelRGB32, 4, 2, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(QzVideo_InitBitmapInfo(nullptr, QzPixelRGB32, 4, 2, nullptr, 0, nullptr), E_INVALIDARG);
    for (QzPixelType t : {0, 15, 33, 35, 63, 79})
        EXPECT_EQ(QzDibInfo(nullptr, nullptr, &b.h, t, 4, 2, nullptr, 0), E_INVALIDARG) << t;
    EXPECT_EQ(QzDibInfo(nullptr, nullptr, &b.h, QzPixelRGB32, -1, 2, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(QzDibInfo(nullptr, nullptr, &b.h, QzPixelRGBA128, 65536, 65536, nullptr, 0), E_INVALIDARG)
        << "more than 32 bits of image bytes";
}

TEST(QzDibAlloc, BitsFollowTheHeaderWhereReadersLookForThem) {
    DibPtr pal = alloc(QzPixelPal8, 3, 2);
    ASSERT_TRUE(pal);
    EXPECT_EQ(QzDibBitsFromHeader(pal.get()) - reinterpret_cast<uint8_t*>(pal.get()), 40 + 4 * 255);

    DibPtr rgba = alloc(QzPixelRGBA32, 3, 2);
    ASSERT_TRUE(rgba);
    EXPECT_EQ(rgba->biSizeImage, 24u);
    const uint8_t* bits = QzDibBitsFromHeader(rgba.get());
    EXPECT_EQ(bits - reinterpret_cast<uint8_t*>(rgba.get()), 40);
    for (int i = 0; i < 24; ++i) ASSERT_EQ(bits[i], 0) << "zero-filled on request";

    BITMAPINFOHEADER* out = reinterpret_cast<BITMAPINFOHEADER*>(1);
    EXPECT_EQ(QzDibAlloc(&out, 33, 3, 2, nullptr, 0, 0, 0), E_INVALIDARG);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(QzDibAlloc(nullptr, QzPixelRGB32, 3, 2, nullptr, 0, 0, 0), E_POINTER);
}

TEST(QzDibAlloc, CountersFollowAllocationAndRelease) {
    int64_t bitmaps0 = 0, bytes0 = 0;
    QzDibAllocCounters(&bitmaps0, &bytes0);
    {
        DibPtr a = alloc(QzPixelRGBA128, 4, 4);
        DibPtr b = alloc(QzPixelRGB24, 5, 3);
        BITMAPINFOHEADER* untracked = nullptr;
        ASSERT_EQ(QzDibAlloc(&untracked, QzPixelRGB32, 1, 1, nullptr, 0, QZDIBALLOC_UNTRACKED, 0x1234), S_OK);
        int64_t bitmaps = 0, bytes = 0;
        QzDibAllocCounters(&bitmaps, &bytes);
        EXPECT_EQ(bitmaps - bitmaps0, 3);
        EXPECT_EQ(bytes - bytes0, 256 + 48 + 4);
        EXPECT_EQ(QzDibFree(untracked, QZDIBALLOC_UNTRACKED), S_OK);
    }
    int64_t bitmaps1 = 0, bytes1 = 0;
    QzDibAllocCounters(&bitmaps1, &bytes1);
    EXPECT_EQ(bitmaps1, bitmaps0);
    EXPECT_EQ(bytes1, bytes0);
}

TEST(QzYUVImageBytesAndOffsets, UsualLayoutsOfEachFourCC) {
    struct Case {
        QzPixelType type;
        int32_t w, h;
        uint32_t bytes;
        std::array<uint32_t, 3> offsets;
    };
    const Case cases[] = {
        {QzPixelI420, 4, 4, 24, {0, 16, 20}}, {QzPixelI420, 5, 3, 27, {0, 15, 21}},  // chroma 3 x 2, rounded up
        {QzPixelNV12, 4, 2, 12, {0, 8, 0}},   {QzPixelY41B, 8, 1, 12, {0, 8, 10}},
        {QzPixelUYVY, 3, 2, 16, {0, 0, 0}},    // pixel pairs: width 4
        {QzPixelv210, 49, 1, 256, {0, 0, 0}},  // rows of 128-byte groups
        {QzPixelP010, 4, 2, 24, {0, 16, 0}},  {QzPixelPL10, 4, 2, 24, {0, 16, 20}},
        {QzPixelA410, 2, 1, 16, {0, 4, 12}},
    };
    for (const Case& c : cases) {
        uint32_t bytes = 0;
        std::array<uint32_t, 3> offsets{9, 9, 9};
        ASSERT_EQ(QzYUVImageBytesAndOffsets(c.type, c.w, c.h, &bytes, offsets.data()), S_OK) << c.type;
        EXPECT_EQ(bytes, c.bytes) << c.type << " " << c.w << "x" << c.h;
        EXPECT_EQ(offsets, c.offsets) << c.type;
    }
    uint32_t bytes = 0;
    EXPECT_EQ(QzYUVImageBytesAndOffsets(QzPixelRGB32, 4, 4, &bytes, nullptr), E_INVALIDARG);
    EXPECT_EQ(QzYUVImageBytesAndOffsets(QzPixelA410, 65536, 65536, &bytes, nullptr), E_INVALIDARG);
}

// Calls fn with a buffer of size characters of 'x', followed by one more
// 'x' and a terminator so that an unwritten buffer reads back as "x...".
std::string text(HRESULT* hr, auto fn, int32_t size = 32) {
    std::vector<char> buf(static_cast<size_t>(size) + 2, 'x');
    buf.back() = '\0';
    *hr = fn(buf.data(), size);
    return std::string(buf.data());
}

TEST(QzVideoText, FormatNamesAndFourCCs) {
    HRESULT hr;
    const auto format = [](uint32_t c) { return [c](char* t, int32_t n) { return QzVideo_GetFormatText(c, t, n); }; };
    EXPECT_EQ(text(&hr, format(BI_RGB)), "RGB");
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(text(&hr, format(0x00103141u)), "A1?\?") << "unprintable bytes";

    EXPECT_EQ(text(&hr, format(BI_BITFIELDS), 4), "RGB");
    EXPECT_EQ(hr, E_INVALIDARG) << "cut to fit";
    EXPECT_EQ(text(&hr, format(BI_RGB), 0), "x");
    EXPECT_EQ(hr, E_INVALIDARG);
    EXPECT_EQ(QzVideo_GetFormatText(BI_RGB, nullptr, 8), E_POINTER);

    const BITMAPINFOHEADER h{40, 640, 480, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    EXPECT_EQ(text(&hr, [&h](char* t, int32_t n) { return QzVideo_GetAttribsText(&h, t, n); }), "640x480x32");
    EXPECT_EQ(QzVideo_GetAttribsText(nullptr, nullptr, 0), E_POINTER);
}

TEST(QzVideoText, IsCompressed) {
    Block b;
    b.h.biCompression = QZ_COMPRESSION_QZGS, b.h.biBitCount = 3;  // a raw code with no type
    EXPECT_NE(QzVideo_IsCompressed(&b.h), 0);
    b.h.biCompression = BI_RGB, b.h.biBitCount = 32;
    EXPECT_EQ(QzVideo_IsCompressed(&b.h), 0);
    EXPECT_NE(QzVideo_IsCompressed(nullptr), 0);
}

TEST(QzVideoPalette, SwapsRedAndBlueAndClearsTheFourthByte) {
    std::array<RGBQUAD, 2> pal{RGBQUAD{1, 2, 3, 9}, RGBQUAD{10, 20, 30, 40}};
    std::array<RGBQUAD, 2> out{};
    QzVideo_PaletteRGBAFromEntry(out.data(), pal.data(), 2);
    const uint8_t swappedBoth[8] = {3, 2, 1, 0, 30, 20, 10, 0};
    EXPECT_EQ(std::memcmp(out.data(), swappedBoth, 8), 0);
}

// Bytes of memory row y of a DIB, and the first n of them as a list.
uint8_t* row(BITMAPINFOHEADER* d, int32_t y) { return QzDibBitsFromHeader(d) + y * QzDibNaturalStride(d); }
std::vector<uint8_t> rowBytes(BITMAPINFOHEADER* d, int32_t y, int n) { return {row(d, y), row(d, y) + n}; }

TEST(QzDibFlip, RowsSwapInImageSpaceAndPixelsMirrorWhole) {
    DibPtr d = alloc(QzPixelRGB32, 2, 3);
    for (int y = 0; y < 3; ++y)
        for (int i = 0; i < 8; ++i) row(d.get(), y)[i] = static_cast<uint8_t>(y * 10 + i);
    // Image rows 0 and 1 of column 0: memory rows 2 and 1.
    RECT r{0, 0, 1, 2};
    ASSERT_EQ(QzDibFlip(d.get(), nullptr, &r, 0, 0, 1), S_OK);
    EXPECT_EQ(row(d.get(), 2)[0], 10);
    EXPECT_EQ(row(d.get(), 1)[3], 23);
    EXPECT_EQ(row(d.get(), 2)[4], 24) << "column 1 stays";
    EXPECT_EQ(row(d.get(), 0)[0], 0) << "memory row 0 stays";

    ASSERT_EQ(QzDibFlip(d.get(), nullptr, nullptr, 0, 1, 0), S_OK);
    EXPECT_EQ(row(d.get(), 0)[0], 4) << "pixels exchange whole";
    EXPECT_EQ(row(d.get(), 0)[7], 3);

    // 24- and 128-bit pixels exchange whole too.
    DibPtr rgb = alloc(QzPixelRGB24, 3, 1);
    for (int i = 0; i < 9; ++i) row(rgb.get(), 0)[i] = static_cast<uint8_t>(i);
    ASSERT_EQ(QzDibFlip(rgb.get(), nullptr, nullptr, 0, 1, 0), S_OK);
    EXPECT_EQ(rowBytes(rgb.get(), 0, 9), (std::vector<uint8_t>{6, 7, 8, 3, 4, 5, 0, 1, 2}));
}

TEST(QzDibFlip, FourBitRowsTradeOnlyTheirOwnNibbles) {
    DibPtr d = alloc(QzPixelPal4, 4, 2);
    row(d.get(), 0)[0] = 0x12, row(d.get(), 0)[1] = 0x34, row(d.get(), 1)[0] = 0xAB, row(d.get(), 1)[1] = 0xCD;
    RECT r{1, 0, 3, 2};  // pixels 1 and 2: the low nibble of byte 0, the high of byte 1
    ASSERT_EQ(QzDibFlip(d.get(), nullptr, &r, 0, 0, 1), S_OK);
    EXPECT_EQ(rowBytes(d.get(), 0, 2), (std::vector<uint8_t>{0x1B, 0xC4}));
    EXPECT_EQ(rowBytes(d.get(), 1, 2), (std::vector<uint8_t>{0xA2, 0x3D}));
}

TEST(QzDibFlip, TypesWithoutAFunctionAreNotImplemented) {
    DibPtr pal = alloc(QzPixelPal8, 2, 1), grey = alloc(QzPixelGray8, 2, 1), wide = alloc(QzPixelRGBA64, 2, 1);
    row(pal.get(), 0)[0] = 5;
    EXPECT_EQ(QzDibFlip(pal.get(), nullptr, nullptr, 0, 1, 0), E_NOTIMPL) << "8-bit pixels do not mirror";
    EXPECT_EQ(row(pal.get(), 0)[0], 5);
    EXPECT_EQ(QzDibFlip(wide.get(), nullptr, nullptr, 0, 1, 0), E_NOTIMPL);
    EXPECT_EQ(QzDibFlip(wide.get(), nullptr, nullptr, 0, 0, 1), S_OK);
    EXPECT_EQ(QzDibFlip(grey.get(), nullptr, nullptr, 0, 0, 1), E_NOTIMPL);
    EXPECT_EQ(QzDibFlip(nullptr, nullptr, nullptr, 0, 0, 1), E_POINTER);
}

// Swaps one pixel of a 1 x 1 image of the type; Pixel is its memory form.
template <typename Pixel>
Pixel swapped(QzPixelType type, Pixel in) {
    DibPtr d = alloc(type, 1, 1);
    std::memcpy(row(d.get(), 0), &in, sizeof in);
    EXPECT_EQ(QzDibSwapRB(d.get(), nullptr, nullptr, 0), S_OK);
    Pixel out;
    std::memcpy(&out, row(d.get(), 0), sizeof out);
    return out;
}

TEST(QzDibSwapRB, EachLayoutExchangesItsRedAndBlueFields) {
    using B4 = std::array<uint8_t, 4>;
    EXPECT_EQ(swapped(QzPixelRGBA32, B4{1, 2, 3, 4}), (B4{3, 2, 1, 4}));
    EXPECT_EQ(swapped<uint16_t>(QzPixelRGB565, 0xF800), 0x001F);
    EXPECT_EQ(swapped<uint16_t>(QzPixelRGB555, 0xFC00), 0x801F) << "the top bit stays";
    EXPECT_EQ(swapped<uint32_t>(QzPixelRGB10, 0xC0000000u | 0x3FFu << 20 | 0x155u << 10 | 0x001u),
              0xC0000000u | 0x001u << 20 | 0x155u << 10 | 0x3FFu);

    DibPtr pal = alloc(QzPixelPal8, 1, 1);
    EXPECT_EQ(QzDibSwapRB(pal.get(), nullptr, nullptr, 0), E_NOTIMPL);
    EXPECT_EQ(QzDibSwapRB(nullptr, nullptr, nullptr, 0), E_POINTER);
}

}  // namespace
