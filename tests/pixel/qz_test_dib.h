// Hand-built descriptors for the converting copy's tests: a header, its
// masks or palette, and the bits, in one block as a Windows DIB has them.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "QzDib.h"

namespace qztest {

class TestDib {
public:
    TestDib(QzPixelType type, int32_t width, int32_t height, const std::vector<RGBQUAD>& palette = {}) {
        BITMAPINFOHEADER h{};
        h.biSize = 40;
        h.biWidth = width;
        h.biHeight = height;
        h.biPlanes = 1;
        uint32_t masks[3] = {};
        switch (type) {
            case QzPixelMono1: set(h, BI_RGB, 1); break;
            case QzPixelGray1: set(h, QZ_COMPRESSION_QZGS, 1); break;
            case QzPixelGray2: set(h, QZ_COMPRESSION_QZGS, 2); break;
            case QzPixelGray4: set(h, QZ_COMPRESSION_QZGS, 4); break;
            case QzPixelGray8: set(h, QZ_COMPRESSION_QZGS, 8); break;
            case QzPixelGray16: set(h, QZ_COMPRESSION_QZGS, 16); break;
            case QzPixelGray32: set(h, QZ_COMPRESSION_QZGS, 32); break;
            case QzPixelPal4: set(h, BI_RGB, 4); break;
            case QzPixelPal8: set(h, BI_RGB, 8); break;
            case QzPixelRGB555: set(h, BI_RGB, 16); break;
            case QzPixelRGB565:
                set(h, BI_BITFIELDS, 16);
                masks[0] = 0xF800, masks[1] = 0x07E0, masks[2] = 0x001F;
                break;
            case QzPixelRGB24: set(h, BI_RGB, 24); break;
            case QzPixelRGB32: set(h, BI_RGB, 32); break;
            case QzPixelRGBA32: set(h, QZ_COMPRESSION_QZDB, 32); break;
            case QzPixelRGB10:
                set(h, BI_BITFIELDS, 32);
                masks[0] = 0x3FF00000, masks[1] = 0x000FFC00, masks[2] = 0x000003FF;
                break;
            case QzPixelRGBA64: set(h, QZ_COMPRESSION_QZDB, 64); break;
            case QzPixelRGBA128: set(h, QZ_COMPRESSION_QZDB, 128); break;
            default: set(h, QZ_FOURCC('N', 'V', '1', '2'), 12); break;
        }
        h.biClrUsed = static_cast<uint32_t>(palette.size());
        stride_ = static_cast<int32_t>(((h.biBitCount * width + 31) >> 3) & ~3);
        const size_t headerBytes = h.biCompression == BI_BITFIELDS ? 52 : 40 + 4 * palette.size();
        h.biSizeImage = static_cast<uint32_t>(stride_ * height);
        storage_.assign((headerBytes + h.biSizeImage + 15) / 16 + 1, Block{});
        std::memcpy(base(), &h, sizeof h);
        if (h.biCompression == BI_BITFIELDS) std::memcpy(base() + 40, masks, sizeof masks);
        if (!palette.empty()) std::memcpy(base() + 40, palette.data(), 4 * palette.size());
        bitsOffset_ = headerBytes;
    }

    const BITMAPINFOHEADER* header() const { return reinterpret_cast<const BITMAPINFOHEADER*>(base()); }
    uint8_t* bits() { return base() + bitsOffset_; }
    int32_t stride() const { return stride_; }
    // Image row y, counted from the top: the bits are stored bottom-up.
    uint8_t* row(int32_t y) { return bits() + (header()->biHeight - 1 - y) * stride_; }

    template <class T>
    T get(int32_t x, int32_t y) {
        T v;
        std::memcpy(&v, row(y) + x * sizeof(T), sizeof v);
        return v;
    }
    template <class T>
    void put(int32_t x, int32_t y, const T& v) {
        std::memcpy(row(y) + x * sizeof(T), &v, sizeof v);
    }

private:
    struct alignas(16) Block {
        uint8_t b[16];
    };
    static void set(BITMAPINFOHEADER& h, uint32_t compression, uint16_t bitCount) {
        h.biCompression = compression;
        h.biBitCount = bitCount;
    }
    uint8_t* base() { return reinterpret_cast<uint8_t*>(storage_.data()); }
    const uint8_t* base() const { return reinterpret_cast<const uint8_t*>(storage_.data()); }

    std::vector<Block> storage_;
    size_t bitsOffset_ = 0;
    int32_t stride_ = 0;
};

}  // namespace qztest
