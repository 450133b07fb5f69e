// QzDibChannelBlur: the soft alpha of a drop shadow, by shrinking the
// source's alpha and stretching it back. The result is premultiplied black
// carrying that alpha, ready to be laid under an image.
#include <algorithm>
#include <new>
#include <vector>

#include "QzDib.h"
#include "QzPrepared.h"

namespace {

constexpr int32_t kOne = 16384;
constexpr int kAlpha = 3;

// The interpolating step from the first shrunken sample to the last, one
// sample per output pixel; a single output pixel takes the first sample.
int32_t stretchStep(int32_t shrunk, int32_t out) {
    return out > 1 ? static_cast<int32_t>(((int64_t{shrunk} << 14) - kOne) / (out - 1)) : 0;
}

// For each output position, the shrunken sample to its left or above and
// the fraction toward the next one; the last sample is its own neighbour.
struct Taps {
    std::vector<int32_t> index, next, fraction;
    Taps(int32_t shrunk, int32_t out) : index(out), next(out), fraction(out) {
        const int32_t step = stretchStep(shrunk, out);
        for (int32_t i = 0; i < out; ++i) {
            const int64_t pos = int64_t{i} * step;
            index[i] = std::min(static_cast<int32_t>(pos >> 14), shrunk - 1);
            next[i] = std::min(index[i] + 1, shrunk - 1);
            fraction[i] = static_cast<int32_t>(pos & (kOne - 1));
        }
    }
};

// The two-way mix of the converting copy's interpolating read: each weight
// truncated to 1/16384, the weighted sum shifted back.
uint8_t mixTwoWay(const uint8_t* top, const uint8_t* bottom, int32_t x0, int32_t x1, int32_t fx, int32_t fy) {
    const int32_t w00 = (kOne - fx) * (kOne - fy) / kOne, w10 = (kOne - fy) * fx / kOne;
    const int32_t w01 = (kOne - fx) * fy / kOne, w11 = fx * fy / kOne;
    return static_cast<uint8_t>((top[x0] * w00 + top[x1] * w10 + bottom[x0] * w01 + bottom[x1] * w11) >> 14);
}

float mixTwoWay(const float* top, const float* bottom, int32_t x0, int32_t x1, int32_t fx, int32_t fy) {
    const float wx = static_cast<float>(fx) * 6.1035156e-5f, wy = static_cast<float>(fy) * 6.1035156e-5f;
    const float upper = top[x0] + (top[x1] - top[x0]) * wx;
    const float lower = bottom[x0] + (bottom[x1] - bottom[x0]) * wx;
    return upper + (lower - upper) * wy;
}

template <typename T>
void channelBlur(const qz::Prepared& p, int32_t dstStride, int32_t srcStride, int32_t sw, int32_t sh,
                 std::vector<T>& shrunk, const Taps& tx, const Taps& ty) {
    // Nearest samples at a step of trunc(size / shrunkenSize * 16384).
    const auto reduceStep = [](int32_t size, int32_t to) {
        return static_cast<int64_t>(static_cast<double>(size) / to * 16384.0);
    };
    const int64_t stepX = reduceStep(p.w, sw), stepY = reduceStep(p.h, sh);
    for (int32_t y = 0; y < sh; ++y) {
        const auto* row = reinterpret_cast<const T*>(p.src + static_cast<intptr_t>((y * stepY) >> 14) * srcStride);
        for (int32_t x = 0; x < sw; ++x) shrunk[size_t(y) * sw + x] = row[((x * stepX) >> 14) * 4 + kAlpha];
    }
    for (int32_t y = 0; y < p.h; ++y) {
        const T* top = shrunk.data() + size_t(ty.index[y]) * sw;
        const T* bottom = shrunk.data() + size_t(ty.next[y]) * sw;
        T* out = reinterpret_cast<T*>(p.dst + static_cast<intptr_t>(y) * dstStride);
        for (int32_t x = 0; x < p.w; ++x) {
            // Black over the whole rectangle, its alpha the stretched one.
            out[x * 4 + 0] = out[x * 4 + 1] = out[x * 4 + 2] = T(0);
            out[x * 4 + kAlpha] = mixTwoWay(top, bottom, tx.index[x], tx.next[x], tx.fraction[x], ty.fraction[y]);
        }
    }
}

}  // namespace

extern "C" HRESULT QzDibChannelBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                    const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                    int32_t bytesPerPixel, double reduction) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const double k = 1.0 - std::clamp(reduction, 0.0, 1.0);
    const int32_t sw = std::max(2, static_cast<int32_t>(p.w * k));
    const int32_t sh = std::max(2, static_cast<int32_t>(p.h * k));
    // Scratch first: without it the destination is left as it was.
    try {
        const Taps tx(sw, p.w), ty(sh, p.h);
        if (bytesPerPixel == 4) {
            std::vector<uint8_t> shrunk(size_t(sw) * sh);
            channelBlur(p, dstStride, srcStride, sw, sh, shrunk, tx, ty);
        } else {
            std::vector<float> shrunk(size_t(sw) * sh);
            channelBlur(p, dstStride, srcStride, sw, sh, shrunk, tx, ty);
        }
    } catch (const std::bad_alloc&) {
        return S_OK;
    }
    return S_OK;
}
