// The fixed 3 x 3 filters. The edge rule is replicate, taken at the edges
// of the rectangle: nothing outside it is read. src and dst must not
// overlap, since each output pixel reads its neighbours' originals.
#include <algorithm>

#include "QzDib.h"
#include "QzPrepared.h"

namespace {

// Calls op(samples, channel) for each channel of each pixel, the nine
// samples row by row.
template <typename T, typename Op>
void convolve(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t w, int32_t h,
              const Op& op) {
    const auto row = [&](int32_t y) { return reinterpret_cast<const T*>(src + static_cast<intptr_t>(y) * srcStride); };
    for (int32_t y = 0; y < h; ++y) {
        const T* rows[3] = {row(std::max(y - 1, 0)), row(y), row(std::min(y + 1, h - 1))};
        T* out = reinterpret_cast<T*>(dst + static_cast<intptr_t>(y) * dstStride);
        for (int32_t x = 0; x < w; ++x) {
            const int32_t cols[3] = {std::max(x - 1, 0) * 4, x * 4, std::min(x + 1, w - 1) * 4};
            for (int c = 0; c < 4; ++c) {
                T p[9];
                for (int i = 0; i < 9; ++i) p[i] = rows[i / 3][cols[i % 3] + c];
                out[x * 4 + c] = op(p, c);
            }
        }
    }
}

constexpr int kBlurKernel[9] = {1, 2, 1, 2, 4, 2, 1, 2, 1};

}  // namespace

extern "C" HRESULT QzDibBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                             const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel) {
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4) {
        // Note: the weighted sum is shifted, so the blur truncates.
        convolve<uint8_t>(p.dst, dstStride, p.src, srcStride, p.w, p.h, [](const uint8_t* s, int) {
            int sum = 0;
            for (int i = 0; i < 9; ++i) sum += kBlurKernel[i] * s[i];
            return static_cast<uint8_t>(sum >> 4);
        });
    } else {
        // The float sum runs row by row, left to right.
        convolve<float>(p.dst, dstStride, p.src, srcStride, p.w, p.h, [](const float* s, int) {
            float sum = 0.0f;
            for (int i = 0; i < 9; ++i) sum += static_cast<float>(kBlurKernel[i]) * s[i];
            return sum * 0.0625f;
        });
    }
    return S_OK;
}

// A divisor of 0 is refused with E_INVALIDARG before anything is written,
// rather than trapping the host on an integer division.
extern "C" HRESULT QzDib3x3Convolution(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                       const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                       int32_t bytesPerPixel, const int32_t* kernel, int32_t divisor) {
    if (!kernel) return E_POINTER;
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (divisor == 0) return E_INVALIDARG;
    if (bytesPerPixel == 4) {
        convolve<uint8_t>(p.dst, dstStride, p.src, srcStride, p.w, p.h, [&](const uint8_t* s, int) {
            int32_t sum = 0;
            for (int i = 0; i < 9; ++i) sum += kernel[i] * s[i];
            const int32_t v = sum / divisor;
            return static_cast<uint8_t>(std::clamp(v, 0, 255));
        });
    } else {
        float weights[9];
        for (int i = 0; i < 9; ++i) weights[i] = static_cast<float>(kernel[i]) / static_cast<float>(divisor);
        // Note: colour is left unclamped, so a sharpening kernel may go
        // below 0 or above 1; alpha alone is kept within 0 to 1.
        convolve<float>(p.dst, dstStride, p.src, srcStride, p.w, p.h, [&](const float* s, int c) {
            float sum = 0.0f;
            for (int i = 0; i < 9; ++i) sum += weights[i] * s[i];
            return c == 3 ? std::clamp(sum, 0.0f, 1.0f) : sum;
        });
    }
    return S_OK;
}
