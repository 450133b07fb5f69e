#include <array>
#include <cstdint>
#include <type_traits>

#include "QzDib.h"

namespace {

// The four ways a sample meets a table. Float indices are truncated and
// not clamped: the caller keeps float samples within 0 to 1.
struct BytesThroughByteTable {
    using Sample = uint8_t;
    const uint8_t* table;
    uint8_t operator()(uint8_t v) const { return table[v]; }
};

// A byte widens exactly to 16 bits (v * 257) and comes back as the high
// byte of the entry, as bytes travel through 16-bit form elsewhere.
struct BytesThroughWordTable {
    using Sample = uint8_t;
    const uint16_t* table;
    uint8_t operator()(uint8_t v) const { return static_cast<uint8_t>(table[v * 257] >> 8); }
};

struct FloatsThroughByteTable {
    using Sample = float;
    const uint8_t* table;
    float operator()(float v) const { return table[static_cast<int32_t>(v * 255.0f)] * 0.003921569f; }
};

struct FloatsThroughWordTable {
    using Sample = float;
    const uint16_t* table;
    float operator()(float v) const { return table[static_cast<int32_t>(v * 65535.0f)] * 1.5259022e-5f; }
};

// Calls f with the table reader for this depth and table width, as a type.
template <typename F>
void withReader(int32_t bytesPerPixel, int32_t byteTable, F f) {
    if (bytesPerPixel == 4) {
        if (byteTable) {
            f(std::type_identity<BytesThroughByteTable>{});
        } else {
            f(std::type_identity<BytesThroughWordTable>{});
        }
    } else if (byteTable) {
        f(std::type_identity<FloatsThroughByteTable>{});
    } else {
        f(std::type_identity<FloatsThroughWordTable>{});
    }
}

template <typename Reader>
Reader makeReader(const void* table) {
    using Entry = std::remove_cv_t<std::remove_pointer_t<decltype(Reader::table)>>;
    return Reader{static_cast<const Entry*>(table)};
}

template <int32_t kChannels, typename Reader>
void mapPixels(uint8_t* row, int32_t w, int32_t h, int32_t stride, const Reader& read) {
    using T = typename Reader::Sample;
    for (int32_t y = 0; y < h; ++y, row += stride) {
        auto* px = reinterpret_cast<T*>(row);
        for (int32_t x = 0; x < w * 4; x += 4) {
            for (int32_t c = 0; c < kChannels; ++c) px[x + c] = read(px[x + c]);
        }
    }
}

// Row by row, one channel after the other, so that a channel without a
// table costs nothing per pixel.
template <typename Reader>
void mapChannels(uint8_t* row, int32_t w, int32_t h, int32_t stride, const std::array<const void*, 4>& tables) {
    using T = typename Reader::Sample;
    for (int32_t y = 0; y < h; ++y, row += stride) {
        auto* px = reinterpret_cast<T*>(row);
        for (int32_t c = 0; c < 4; ++c) {
            if (!tables[c]) continue;
            const Reader read = makeReader<Reader>(tables[c]);
            for (int32_t x = c; x < w * 4; x += 4) px[x] = read(px[x]);
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibSingleLUT(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                  int32_t bytesPerPixel, const void* lut, int32_t byteTable, int32_t includeAlpha,
                                  int32_t /*mode*/) {
    if (!dst || !lut) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    withReader(bytesPerPixel, byteTable, [&](auto tag) {
        const auto read = makeReader<typename decltype(tag)::type>(lut);
        if (includeAlpha) {
            mapPixels<4>(d, w, h, stride, read);
        } else {
            mapPixels<3>(d, w, h, stride, read);
        }
    });
    return hr;
}

extern "C" HRESULT QzDibPerChannelLUT(void* dst, const RECT* bounds, int32_t stride, const RECT* rect,
                                      int32_t bytesPerPixel, const void* lutB, const void* lutG, const void* lutR,
                                      const void* lutA, int32_t byteTable) {
    if (!dst) return E_POINTER;
    int32_t w = 0, h = 0;
    uint8_t* d = nullptr;
    const HRESULT hr = QzDibPrepareSet(&w, &h, &d, dst, bounds, stride, rect, bytesPerPixel);
    if (hr < 0 || w <= 0 || h <= 0) return hr;
    const std::array<const void*, 4> tables{lutB, lutG, lutR, lutA};
    withReader(bytesPerPixel, byteTable,
               [&](auto tag) { mapChannels<typename decltype(tag)::type>(d, w, h, stride, tables); });
    return hr;
}
