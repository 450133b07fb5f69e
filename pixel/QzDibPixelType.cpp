// Pixel types: from a descriptor to a type, from a type to its layout.
#include <cstring>

#include "QzDib.h"

namespace {

struct TypeLayout {
    QzPixelType type;
    uint32_t compression;
    uint16_t bitCount;
    uint8_t channelBits[4];  // red, green, blue, alpha
};

constexpr uint32_t kRGB565Masks[3] = {0xF800, 0x07E0, 0x001F};
constexpr uint32_t kRGB10Masks[3] = {0x3FF00000, 0x000FFC00, 0x000003FF};

// Note: the YUV types' bit counts are nominal; their sizes come from the
// plane layout, not from biBitCount.
constexpr TypeLayout kLayouts[] = {
    {QzPixelMono1, BI_RGB, 1, {0, 0, 0, 1}},
    {QzPixelGray1, QZ_COMPRESSION_QZGS, 1, {0, 0, 0, 1}},
    {QzPixelGray2, QZ_COMPRESSION_QZGS, 2, {0, 0, 0, 2}},
    {QzPixelGray4, QZ_COMPRESSION_QZGS, 4, {0, 0, 0, 4}},
    {QzPixelGray8, QZ_COMPRESSION_QZGS, 8, {0, 0, 0, 8}},
    {QzPixelGray16, QZ_COMPRESSION_QZGS, 16, {0, 0, 0, 16}},
    {QzPixelGray32, QZ_COMPRESSION_QZGS, 32, {0, 0, 0, 32}},
    {QzPixelPal4, BI_RGB, 4, {8, 8, 8, 0}},
    {QzPixelPal8, BI_RGB, 8, {8, 8, 8, 0}},
    {QzPixelRGB555, BI_RGB, 16, {5, 5, 5, 1}},
    {QzPixelRGB565, BI_BITFIELDS, 16, {5, 6, 5, 0}},
    {QzPixelRGB24, BI_RGB, 24, {8, 8, 8, 0}},
    {QzPixelRGB32, BI_RGB, 32, {8, 8, 8, 8}},
    {QzPixelRGBA32, QZ_COMPRESSION_QZDB, 32, {8, 8, 8, 8}},
    {QzPixelRGB10, BI_BITFIELDS, 32, {10, 10, 10, 2}},
    {QzPixelRGBA64, QZ_COMPRESSION_QZDB, 64, {16, 16, 16, 16}},
    {QzPixelRGBA128, QZ_COMPRESSION_QZDB, 128, {32, 32, 32, 32}},
    // Builds the descriptor of QzPixelRGB10, and so reads back as it.
    {QzPixelRGB10Alt, BI_BITFIELDS, 32, {10, 10, 10, 2}},
    {QzPixelUYVY, QZ_FOURCC('U', 'Y', 'V', 'Y'), 16, {}},
    {QzPixelYUYV, QZ_FOURCC('Y', 'U', 'Y', 'V'), 16, {}},
    {QzPixelY41B, QZ_FOURCC('Y', '4', '1', 'B'), 12, {}},
    {QzPixelI420, QZ_FOURCC('I', '4', '2', '0'), 12, {}},
    {QzPixelv210, QZ_FOURCC('v', '2', '1', '0'), 20, {}},
    {QzPixelP010, QZ_FOURCC('P', '0', '1', '0'), 15, {}},
    {QzPixelPL10, QZ_FOURCC('P', 'L', '1', '0'), 15, {}},
    {QzPixelP210, QZ_FOURCC('P', '2', '1', '0'), 20, {}},
    {QzPixelP216, QZ_FOURCC('P', '2', '1', '6'), 20, {}},
    {QzPixelY210, QZ_FOURCC('Y', '2', '1', '0'), 20, {}},
    {QzPixelP410, QZ_FOURCC('P', '4', '1', '0'), 30, {}},
    {QzPixelNV12, QZ_FOURCC('N', 'V', '1', '2'), 12, {}},
    {QzPixelYV12, QZ_FOURCC('Y', 'V', '1', '2'), 12, {}},
    {QzPixelYV16, QZ_FOURCC('Y', 'V', '1', '6'), 16, {}},
    {QzPixelA410, QZ_FOURCC('A', '4', '1', '0'), 46, {}},
};

const TypeLayout* layoutOf(QzPixelType type) {
    for (const auto& l : kLayouts)
        if (l.type == type) return &l;
    return nullptr;
}

bool isYuv(const TypeLayout& l) { return l.type >= QzPixelUYVY; }

QzPixelType typeFromBitfields(const BITMAPINFOHEADER& h) {
    uint32_t masks[3];
    std::memcpy(masks, reinterpret_cast<const uint8_t*>(&h) + sizeof h, sizeof masks);
    const int r = __builtin_popcount(masks[0]);
    const int g = __builtin_popcount(masks[1]);
    const int b = __builtin_popcount(masks[2]);
    if (h.biBitCount == 16) {
        if (r == 5 && g == 5 && b == 5) return QzPixelRGB555;
        if (r == 5 && g == 6 && b == 5) return QzPixelRGB565;
    } else if (h.biBitCount == 32) {
        if (r == 8 && g == 8 && b == 8) return QzPixelRGB32;
        if (r == 10 && g == 10 && b == 10) return QzPixelRGB10;
    }
    return QzPixelUnknown;
}

}  // namespace

extern "C" QzPixelType QzGetPixelType(const BITMAPINFOHEADER* header) {
    if (!header) return QzPixelUnknown;
    const BITMAPINFOHEADER& h = *header;
    switch (h.biCompression) {
        case BI_RGB:
            switch (h.biBitCount) {
                case 1: return QzPixelMono1;
                case 4: return QzPixelPal4;
                case 8: return QzPixelPal8;
                // Note: 16-bit BI_RGB is always 5-5-5; 5-6-5 needs masks.
                case 16: return QzPixelRGB555;
                case 24: return QzPixelRGB24;
                case 32: return QzPixelRGB32;
                default: return QzPixelUnknown;
            }
        case BI_BITFIELDS: return typeFromBitfields(h);
        case QZ_COMPRESSION_QZDB:
            switch (h.biBitCount) {
                case 24: return QzPixelRGB24;  // the one plain type this code yields
                case 32: return QzPixelRGBA32;
                case 64: return QzPixelRGBA64;
                case 128: return QzPixelRGBA128;
                default: return QzPixelUnknown;
            }
        case QZ_COMPRESSION_QZGS:
            switch (h.biBitCount) {
                case 1: return QzPixelGray1;
                case 2: return QzPixelGray2;
                case 4: return QzPixelGray4;
                case 8: return QzPixelGray8;
                case 16: return QzPixelGray16;
                case 32: return QzPixelGray32;
                default: return QzPixelUnknown;
            }
        default:
            for (const auto& l : kLayouts)
                if (isYuv(l) && l.compression == h.biCompression) return l.type;
            return QzPixelUnknown;
    }
}

extern "C" int32_t QzGetPixelBitsPerChannel(QzPixelType type, uint8_t outBits[4]) {
    const TypeLayout* l = layoutOf(type);
    const bool known = l && !isYuv(*l);
    if (outBits) {
        for (int i = 0; i < 4; ++i) outBits[i] = known ? l->channelBits[i] : 0;
    }
    return known ? l->bitCount : 0;
}

extern "C" int32_t QzPixelTypeToBitAttribs(QzPixelType type, uint32_t* outCompression, void* outMediaRecord,
                                           int32_t mediaRecordSize, uint32_t* outMasks) {
    const TypeLayout* l = layoutOf(type);
    if (!l) return 0;
    if (outMediaRecord && mediaRecordSize < 64) return 0;
    if (outCompression) *outCompression = l->compression;
    if (outMasks) {
        const uint32_t* masks = nullptr;
        if (l->compression == BI_BITFIELDS) masks = l->bitCount == 16 ? kRGB565Masks : kRGB10Masks;
        for (int i = 0; i < 3; ++i) outMasks[i] = masks ? masks[i] : 0;
    }
    if (outMediaRecord) {
        // A fixed media record: size, range of the sample values (4096 for
        // grey), two reserved words, the nominal 0 to 1 scale.
        const bool grey = l->compression == QZ_COMPRESSION_QZGS;
        auto* p = static_cast<uint8_t*>(outMediaRecord);
        std::memset(p, 0, 64);
        const uint32_t size = 64;
        const int32_t range = grey ? 4096 : -1;
        const uint32_t zero = 0;
        const int32_t minusOne = -1;
        const double lo = 0.0, hi = 1.0;
        std::memcpy(p, &size, 4);
        std::memcpy(p + 4, &range, 4);
        std::memcpy(p + 8, &zero, 4);
        std::memcpy(p + 12, &minusOne, 4);
        std::memcpy(p + 16, &lo, 8);
        std::memcpy(p + 24, &hi, 8);
    }
    return l->bitCount;
}

extern "C" uint8_t* QzDibBitsFromHeader(const BITMAPINFOHEADER* header) {
    if (!header) return nullptr;
    const BITMAPINFOHEADER& h = *header;
    uint32_t offset = h.biSize;
    if (h.biCompression == BI_BITFIELDS) {
        offset = 52;  // Note: a constant, not biSize + 12.
    } else if (h.biCompression != BI_RGB || h.biClrUsed != 0) {
        offset = h.biSize + 4 * h.biClrUsed;
    } else if (h.biBitCount >= 1 && h.biBitCount <= 8) {
        offset = h.biSize + 4 * (1u << h.biBitCount);
    }
    return const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(header)) + offset;
}

extern "C" int32_t QzDibNaturalStride(const BITMAPINFOHEADER* header) {
    if (!header) return 0;
    // Note: width times bit count is a 32-bit product, and the mask is the
    // toolkit's own (it also drops the top bits).
    const uint32_t bits = static_cast<uint32_t>(header->biBitCount) * static_cast<uint32_t>(header->biWidth);
    return static_cast<int32_t>(((bits + 31) >> 3) & 0x1FFFFFFC);
}

extern "C" int32_t GetByteOffsetFromChannelEnum(QzChannel channel, int32_t bytesPerPixel) {
    if (channel > QzChannelAlpha) return 0;
    return static_cast<int32_t>(channel) * (bytesPerPixel / 4);
}
