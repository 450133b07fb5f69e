// Host-owned images in the two layouts the host renders: 8-bit or 32-bit
// float, four channels, in RGBA or BGRA storage order.
//
// Rows follow OFX: y goes up, and row y lies at data() + (y - bounds.y1) *
// rowBytes(). With positive row bytes the bottom row comes first in memory;
// with negative row bytes (a test option) the top row does, and data() points
// at the last row of the allocation. Row bytes may carry padding beyond the
// pixels (another test option). Pixels start zero (transparent black).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace ofxhost {

enum class Depth { Byte, Float };
enum class PixelOrder { RGBA, BGRA };

const char* depthName(Depth d);       // "byte", "float"
const char* orderName(PixelOrder o);  // "rgba", "bgra"

struct RectI {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    int width() const { return x2 - x1; }
    int height() const { return y2 - y1; }
    bool empty() const { return x2 <= x1 || y2 <= y1; }
    bool operator==(const RectI&) const = default;
};

// Memory layout of rows. rowPadding is added to each row, in bytes (a multiple
// of 4, at least 0); negativeRowBytes stores the rows top row first.
struct Layout {
    int rowPadding = 0;
    bool negativeRowBytes = false;
    bool operator==(const Layout&) const = default;
};

class ImageBuffer {
public:
    ImageBuffer(RectI bounds, Depth depth, PixelOrder order, Layout layout = {});
    ImageBuffer(int width, int height, Depth depth, PixelOrder order, Layout layout = {})
        : ImageBuffer(RectI{0, 0, width, height}, depth, order, layout) {}
    ImageBuffer(ImageBuffer&&) noexcept = default;
    ImageBuffer& operator=(ImageBuffer&&) noexcept = default;

    RectI bounds() const { return bounds_; }
    int width() const { return bounds_.width(); }
    int height() const { return bounds_.height(); }
    Depth depth() const { return depth_; }
    PixelOrder order() const { return order_; }
    Layout layout() const { return layout_; }
    int pixelBytes() const { return depth_ == Depth::Byte ? 4 : 16; }
    std::ptrdiff_t rowBytes() const { return rowBytes_; }
    std::size_t pixelCount() const { return std::size_t(width()) * std::size_t(height()); }

    // The OFX data pointer: pixel (bounds.x1, bounds.y1).
    void* data() { return data_; }
    const void* data() const { return data_; }
    // Start of row y (bounds.y1 <= y < bounds.y2).
    std::byte* row(int y) { return data_ + std::ptrdiff_t(y - bounds_.y1) * rowBytes_; }
    const std::byte* row(int y) const { return data_ + std::ptrdiff_t(y - bounds_.y1) * rowBytes_; }
    // Address of pixel (x, y), or null outside the bounds.
    void* pixelAddress(int x, int y);
    const void* pixelAddress(int x, int y) const;

    // Storage index of colour channel c (0 red, 1 green, 2 blue, 3 alpha).
    int storageIndex(int c) const { return (order_ == PixelOrder::BGRA && c != 3) ? 2 - c : c; }

    // Typed access by colour channel; the depth must match (checked).
    std::uint8_t byteAt(int x, int y, int c) const;
    float floatAt(int x, int y, int c) const;
    void setByte(int x, int y, int c, std::uint8_t v);
    void setFloat(int x, int y, int c, float v);
    // Any depth, as normalised floats (bytes / 255) in R, G, B, A order.
    std::array<float, 4> rgba(int x, int y) const;

    ImageBuffer clone() const { return converted(depth_, order_, layout_); }
    // Same pixels in another depth, order or layout. Equal depths copy the
    // stored values untouched; byte to float divides by 255; float to byte
    // clamps to [0, 1] and rounds to nearest.
    ImageBuffer converted(Depth depth, PixelOrder order, Layout layout = {}) const;
    // The image resampled, nearest pixel, to width x height.
    ImageBuffer resized(int width, int height) const;

    // True when both have the same bounds, depth and pixel values (padding and
    // row order aside); the order may differ, channels are compared by colour.
    bool samePixels(const ImageBuffer& other) const;

    // A noisy, premultiplied test frame: deterministic for a seed.
    static ImageBuffer testFrame(int width, int height, Depth depth, PixelOrder order, std::uint32_t seed = 1,
                                 Layout layout = {});

private:
    struct Free {
        void operator()(std::byte* p) const;
    };

    RectI bounds_;
    Depth depth_;
    PixelOrder order_;
    Layout layout_;
    std::ptrdiff_t rowBytes_ = 0;
    std::unique_ptr<std::byte, Free> storage_;
    std::byte* data_ = nullptr;
};

}  // namespace ofxhost
