// A descriptor and its bits in one block, as a Windows DIB has them: the
// header, its masks or palette, then bottom-up rows.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "QzDib.h"

namespace qztest {

class TestDib {
public:
    TestDib(QzPixelType type, int32_t width, int32_t height, const std::vector<RGBQUAD>& palette = {}) {
        storage_.resize(70);  // room for a header and a full palette
        uint32_t headerBytes = 0, imageBytes = 0;
        const auto entries = static_cast<int32_t>(palette.size());
        EXPECT_EQ(QzDibInfo(&headerBytes, &imageBytes, header(), type, width, height, palette.data(), entries), S_OK);
        storage_.resize((headerBytes + imageBytes + 15) / 16 + 1);
        bitsOffset_ = headerBytes;
        stride_ = QzDibNaturalStride(header());
    }

    BITMAPINFOHEADER* header() { return reinterpret_cast<BITMAPINFOHEADER*>(storage_.data()); }
    uint8_t* bits() { return reinterpret_cast<uint8_t*>(storage_.data()) + bitsOffset_; }
    float* floats() { return reinterpret_cast<float*>(bits()); }
    std::vector<uint8_t> image() { return {bits(), bits() + header()->biSizeImage}; }
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
    std::vector<Block> storage_;
    size_t bitsOffset_ = 0;
    int32_t stride_ = 0;
};

}  // namespace qztest
