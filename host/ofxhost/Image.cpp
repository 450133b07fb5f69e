#include "ofxhost/Image.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "ofxhost/Status.h"

namespace ofxhost {

const char* depthName(Depth d) { return d == Depth::Byte ? "byte" : "float"; }
const char* orderName(PixelOrder o) { return o == PixelOrder::RGBA ? "rgba" : "bgra"; }

void ImageBuffer::Free::operator()(std::byte* p) const { std::free(p); }

ImageBuffer::ImageBuffer(RectI bounds, Depth depth, PixelOrder order, Layout layout)
    : bounds_(bounds), depth_(depth), order_(order), layout_(layout) {
    if (bounds.width() < 0 || bounds.height() < 0)
        throw Error("image", "negative size " + std::to_string(bounds.width()) + "x" + std::to_string(bounds.height()));
    if (layout.rowPadding < 0 || layout.rowPadding % 4 != 0)
        throw Error("image",
                    "row padding " + std::to_string(layout.rowPadding) + " is not a non-negative multiple of 4");
    const std::size_t rowSize = std::size_t(bounds.width()) * pixelBytes() + layout.rowPadding;
    const std::size_t total = rowSize * std::size_t(bounds.height());
    // 64-byte alignment keeps every row start of a padded float image aligned
    // for vector loads; aligned_alloc wants a multiple of the alignment.
    const std::size_t alloc = std::max<std::size_t>(64, (total + 63) / 64 * 64);
    storage_.reset(static_cast<std::byte*>(std::aligned_alloc(64, alloc)));
    if (!storage_) throw std::bad_alloc();
    std::memset(storage_.get(), 0, alloc);
    rowBytes_ = static_cast<std::ptrdiff_t>(rowSize);
    data_ = storage_.get();
    if (layout.negativeRowBytes) {
        rowBytes_ = -rowBytes_;
        if (bounds.height() > 0) data_ += rowSize * (bounds.height() - 1);
    }
}

void* ImageBuffer::pixelAddress(int x, int y) {
    return const_cast<void*>(static_cast<const ImageBuffer*>(this)->pixelAddress(x, y));
}

const void* ImageBuffer::pixelAddress(int x, int y) const {
    if (x < bounds_.x1 || x >= bounds_.x2 || y < bounds_.y1 || y >= bounds_.y2) return nullptr;
    return row(y) + std::ptrdiff_t(x - bounds_.x1) * pixelBytes();
}

namespace {

void requireDepth(const ImageBuffer& img, Depth d) {
    if (img.depth() != d)
        throw Error("image",
                    std::string("pixel access as ") + depthName(d) + " on a " + depthName(img.depth()) + " image");
}

template <class T>
T* channelAddress(const ImageBuffer& img, int x, int y, int c) {
    if (c < 0 || c > 3) throw Error("image", "channel " + std::to_string(c) + " out of range");
    auto* p = static_cast<const T*>(img.pixelAddress(x, y));
    if (!p) throw Error("image", "pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") outside the bounds");
    return const_cast<T*>(p) + img.storageIndex(c);
}

std::uint8_t toByte(float v) {
    if (!(v > 0.0f)) return 0;
    if (v >= 1.0f) return 255;
    return static_cast<std::uint8_t>(std::lround(v * 255.0f));
}

}  // namespace

std::uint8_t ImageBuffer::byteAt(int x, int y, int c) const {
    requireDepth(*this, Depth::Byte);
    return *channelAddress<std::uint8_t>(*this, x, y, c);
}

float ImageBuffer::floatAt(int x, int y, int c) const {
    requireDepth(*this, Depth::Float);
    return *channelAddress<float>(*this, x, y, c);
}

void ImageBuffer::setByte(int x, int y, int c, std::uint8_t v) {
    requireDepth(*this, Depth::Byte);
    *channelAddress<std::uint8_t>(*this, x, y, c) = v;
}

void ImageBuffer::setFloat(int x, int y, int c, float v) {
    requireDepth(*this, Depth::Float);
    *channelAddress<float>(*this, x, y, c) = v;
}

std::array<float, 4> ImageBuffer::rgba(int x, int y) const {
    std::array<float, 4> out{};
    for (int c = 0; c < 4; ++c) out[c] = depth_ == Depth::Byte ? byteAt(x, y, c) / 255.0f : floatAt(x, y, c);
    return out;
}

ImageBuffer ImageBuffer::converted(Depth depth, PixelOrder order, Layout layout) const {
    ImageBuffer out(bounds_, depth, order, layout);
    const int w = width();
    const std::size_t packed = std::size_t(w) * pixelBytes();
    int map[4];
    for (int c = 0; c < 4; ++c) map[out.storageIndex(c)] = storageIndex(c);
    for (int y = bounds_.y1; y < bounds_.y2; ++y) {
        const std::byte* src = row(y);
        std::byte* dst = out.row(y);
        if (depth == depth_ && order == order_) {
            std::memcpy(dst, src, packed);
            continue;
        }
        for (int x = 0; x < w; ++x) {
            for (int k = 0; k < 4; ++k) {
                const int s = map[k];
                if (depth_ == Depth::Byte && depth == Depth::Byte)
                    reinterpret_cast<std::uint8_t*>(dst)[x * 4 + k] =
                        reinterpret_cast<const std::uint8_t*>(src)[x * 4 + s];
                else if (depth_ == Depth::Byte)
                    reinterpret_cast<float*>(dst)[x * 4 + k] =
                        reinterpret_cast<const std::uint8_t*>(src)[x * 4 + s] / 255.0f;
                else if (depth == Depth::Byte)
                    reinterpret_cast<std::uint8_t*>(dst)[x * 4 + k] =
                        toByte(reinterpret_cast<const float*>(src)[x * 4 + s]);
                else
                    reinterpret_cast<float*>(dst)[x * 4 + k] = reinterpret_cast<const float*>(src)[x * 4 + s];
            }
        }
    }
    return out;
}

ImageBuffer ImageBuffer::resized(int w, int h) const {
    ImageBuffer out(RectI{0, 0, w, h}, depth_, order_, layout_);
    if (width() == 0 || height() == 0) return out;
    const int pb = pixelBytes();
    for (int y = 0; y < h; ++y) {
        // The source pixel under the centre of each output pixel.
        const int sy = bounds_.y1 + int((2 * std::int64_t(y) + 1) * height() / (2 * std::int64_t(h)));
        const std::byte* src = row(sy);
        std::byte* dst = out.row(y);
        for (int x = 0; x < w; ++x) {
            const int sx = int((2 * std::int64_t(x) + 1) * width() / (2 * std::int64_t(w)));
            std::memcpy(dst + std::ptrdiff_t(x) * pb, src + std::ptrdiff_t(sx) * pb, pb);
        }
    }
    return out;
}

bool ImageBuffer::samePixels(const ImageBuffer& o) const {
    if (o.bounds_ != bounds_ || o.depth_ != depth_) return false;
    for (int y = bounds_.y1; y < bounds_.y2; ++y)
        for (int x = bounds_.x1; x < bounds_.x2; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth_ == Depth::Byte) {
                    if (byteAt(x, y, c) != o.byteAt(x, y, c)) return false;
                } else {
                    const float a = floatAt(x, y, c), b = o.floatAt(x, y, c);
                    if (std::memcmp(&a, &b, sizeof a) != 0) return false;
                }
            }
    return true;
}

ImageBuffer ImageBuffer::testFrame(int w, int h, Depth depth, PixelOrder order, std::uint32_t seed, Layout layout) {
    ImageBuffer img(RectI{0, 0, w, h}, depth, order, layout);
    // xorshift32: cheap, deterministic across platforms.
    std::uint32_t s = seed ? seed : 0x9e3779b9u;
    auto next = [&s] {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return s;
    };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const std::uint32_t r = next();
            // A smooth ramp under the noise, so that blurs and keys see structure.
            const int a = 128 + int((x * 127) / std::max(1, w - 1)) - int(r >> 30);
            const std::uint8_t alpha = static_cast<std::uint8_t>(std::clamp(a, 0, 255));
            std::uint8_t v[4] = {0, 0, 0, alpha};
            for (int c = 0; c < 3; ++c) {
                const int base = ((c == 0 ? x : c == 1 ? y : x + y) * 255) / std::max(1, w + h);
                const int noisy = std::clamp(base + int((r >> (c * 8)) & 63) - 32, 0, 255);
                v[c] = static_cast<std::uint8_t>(noisy * alpha / 255);  // premultiplied
            }
            for (int c = 0; c < 4; ++c) {
                if (depth == Depth::Byte)
                    img.setByte(x, y, c, v[c]);
                else
                    img.setFloat(x, y, c, v[c] / 255.0f);
            }
        }
    return img;
}

}  // namespace ofxhost
