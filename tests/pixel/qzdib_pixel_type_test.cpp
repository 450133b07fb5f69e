#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "QzDib.h"

namespace {

// A descriptor with room for three masks behind it.
struct Desc {
    BITMAPINFOHEADER h{};
    uint32_t masks[3]{};
};

Desc desc(uint32_t compression, uint16_t bits, uint32_t r = 0, uint32_t g = 0, uint32_t b = 0) {
    Desc d;
    d.h.biSize = 40;
    d.h.biWidth = 4;
    d.h.biHeight = 2;
    d.h.biPlanes = 1;
    d.h.biBitCount = bits;
    d.h.biCompression = compression;
    d.masks[0] = r;
    d.masks[1] = g;
    d.masks[2] = b;
    return d;
}

QzPixelType typeOf(const Desc& d) { return QzGetPixelType(&d.h); }

TEST(QzGetPixelType, PlainAndOwnCodes) {
    EXPECT_EQ(typeOf(desc(BI_RGB, 1)), QzPixelMono1);
    EXPECT_EQ(typeOf(desc(BI_RGB, 8)), QzPixelPal8);
    EXPECT_EQ(typeOf(desc(BI_RGB, 2)), QzPixelUnknown);
    EXPECT_EQ(typeOf(desc(BI_RGB, 16)), QzPixelRGB555) << "16-bit BI_RGB is never 5-6-5";
    EXPECT_EQ(typeOf(desc(BI_RGB, 32)), QzPixelRGB32);
    EXPECT_EQ(typeOf(desc(QZ_COMPRESSION_QZDB, 24)), QzPixelRGB24);
    EXPECT_EQ(typeOf(desc(QZ_COMPRESSION_QZDB, 32)), QzPixelRGBA32);
    EXPECT_EQ(typeOf(desc(QZ_COMPRESSION_QZDB, 128)), QzPixelRGBA128);
    EXPECT_EQ(typeOf(desc(QZ_COMPRESSION_QZDB, 16)), QzPixelUnknown);
    EXPECT_EQ(typeOf(desc(QZ_COMPRESSION_QZGS, 2)), QzPixelGray2);
    EXPECT_EQ(typeOf(desc(QZ_COMPRESSION_QZGS, 32)), QzPixelGray32);
    EXPECT_EQ(typeOf(desc(QZ_FOURCC('v', '2', '1', '0'), 7)), QzPixelv210) << "a FourCC wins over the bit count";
    EXPECT_EQ(typeOf(desc(QZ_FOURCC('a', 'b', 'c', 'd'), 32)), QzPixelUnknown);
    EXPECT_EQ(QzGetPixelType(nullptr), QzPixelUnknown);
}

TEST(QzGetPixelType, BitfieldsCountTheMaskBits) {
    EXPECT_EQ(typeOf(desc(BI_BITFIELDS, 16, 0x7C00, 0x03E0, 0x001F)), QzPixelRGB555);
    EXPECT_EQ(typeOf(desc(BI_BITFIELDS, 16, 0xF800, 0x07E0, 0x001F)), QzPixelRGB565);
    EXPECT_EQ(typeOf(desc(BI_BITFIELDS, 32, 0xFF0000, 0xFF00, 0xFF)), QzPixelRGB32);
    EXPECT_EQ(typeOf(desc(BI_BITFIELDS, 32, 0x3FF00000, 0xFFC00, 0x3FF)), QzPixelRGB10);
    EXPECT_EQ(typeOf(desc(BI_BITFIELDS, 32, 0xF800, 0x07E0, 0x001F)), QzPixelUnknown);
    EXPECT_EQ(typeOf(desc(BI_BITFIELDS, 24, 0xFF0000, 0xFF00, 0xFF)), QzPixelUnknown);
}

TEST(QzPixelTypeToBitAttribs, BuildsDescriptorsThatReadBack) {
    for (QzPixelType t : {16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 34, 64, 68, 78}) {
        Desc d;
        d.h.biSize = 40;
        const int32_t bits = QzPixelTypeToBitAttribs(t, &d.h.biCompression, nullptr, 0, d.masks);
        ASSERT_GT(bits, 0) << t;
        d.h.biBitCount = static_cast<uint16_t>(bits);
        const QzPixelType expected = t == QzPixelRGB10Alt ? QzPixelRGB10 : t;
        EXPECT_EQ(typeOf(d), expected) << t;
    }
    uint32_t compression = 99;
    EXPECT_EQ(QzPixelTypeToBitAttribs(33, &compression, nullptr, 0, nullptr), 0);
    EXPECT_EQ(QzPixelTypeToBitAttribs(0, &compression, nullptr, 0, nullptr), 0);
    EXPECT_EQ(compression, 99u);
}

TEST(QzPixelTypeToBitAttribs, MediaRecordNeedsRoom) {
    uint8_t record[64];
    std::memset(record, 0xAB, sizeof record);
    uint32_t compression;
    EXPECT_EQ(QzPixelTypeToBitAttribs(QzPixelRGB32, &compression, record, 63, nullptr), 0);
    EXPECT_EQ(record[0], 0xAB) << "nothing written when the record is too small";

    int32_t range;
    ASSERT_EQ(QzPixelTypeToBitAttribs(QzPixelGray8, &compression, record, 64, nullptr), 8);
    std::memcpy(&range, record + 4, 4);
    EXPECT_EQ(range, 4096) << "grey types carry their own sample range";
    ASSERT_EQ(QzPixelTypeToBitAttribs(QzPixelRGBA128, &compression, record, 64, nullptr), 128);
    std::memcpy(&range, record + 4, 4);
    EXPECT_EQ(range, -1);
}

TEST(QzGetPixelBitsPerChannel, TableAndBitsPerPixel) {
    uint8_t bits[4];
    EXPECT_EQ(QzGetPixelBitsPerChannel(QzPixelGray1, bits), 1);
    EXPECT_EQ(QzGetPixelBitsPerChannel(QzPixelPal4, bits), 4);
    EXPECT_EQ(QzGetPixelBitsPerChannel(QzPixelRGB565, bits), 16);
    EXPECT_EQ((std::vector<int>{bits[0], bits[1], bits[2], bits[3]}), (std::vector<int>{5, 6, 5, 0}));
    EXPECT_EQ(QzGetPixelBitsPerChannel(QzPixelRGB10Alt, bits), 32);
    std::memset(bits, 7, 4);
    EXPECT_EQ(QzGetPixelBitsPerChannel(QzPixelNV12, bits), 0) << "YUV types have no channel layout";
    EXPECT_EQ((std::vector<int>{bits[0], bits[1], bits[2], bits[3]}), (std::vector<int>{0, 0, 0, 0}));
    EXPECT_EQ(QzGetPixelBitsPerChannel(33, bits), 0);
}

TEST(QzDibBitsFromHeader, OffsetRules) {
    auto offset = [](Desc d) { return QzDibBitsFromHeader(&d.h) - reinterpret_cast<uint8_t*>(&d.h); };
    EXPECT_EQ(offset(desc(BI_BITFIELDS, 16)), 52);
    Desc fourcc = desc(QZ_COMPRESSION_QZDB, 32);
    fourcc.h.biClrUsed = 3;
    EXPECT_EQ(offset(fourcc), 52) << "biSize + 4 * biClrUsed";
    Desc used = desc(BI_RGB, 8);
    used.h.biClrUsed = 255;
    EXPECT_EQ(offset(used), 40 + 4 * 255);
    EXPECT_EQ(offset(desc(BI_RGB, 8)), 40 + 4 * 256) << "a foreign descriptor with no count has the full table";
    EXPECT_EQ(offset(desc(BI_RGB, 4)), 40 + 4 * 16);
    EXPECT_EQ(offset(desc(BI_RGB, 24)), 40);
    EXPECT_EQ(QzDibBitsFromHeader(nullptr), nullptr);
}

TEST(QzDibNaturalStride, DwordAlignedRows) {
    Desc d = desc(BI_RGB, 24);
    d.h.biWidth = 1;
    EXPECT_EQ(QzDibNaturalStride(&d.h), 4);
    d.h.biWidth = 3;
    EXPECT_EQ(QzDibNaturalStride(&d.h), 12);
    d = desc(BI_RGB, 1);
    d.h.biWidth = 33;
    EXPECT_EQ(QzDibNaturalStride(&d.h), 8);
    d = desc(QZ_COMPRESSION_QZDB, 128);
    d.h.biWidth = 5;
    EXPECT_EQ(QzDibNaturalStride(&d.h), 80);
}

TEST(GetByteOffsetFromChannelEnum, FourAndSixteenBytePixels) {
    EXPECT_EQ(GetByteOffsetFromChannelEnum(QzChannelAlpha, 4), 3);
    EXPECT_EQ(GetByteOffsetFromChannelEnum(QzChannelRed, 16), 8);
    EXPECT_EQ(GetByteOffsetFromChannelEnum(4, 16), 0) << "an unknown channel is the first";
}

}  // namespace
