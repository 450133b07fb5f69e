// The Gaussian blurs: a horizontal pass into a float bitmap, then a
// vertical pass from it into the destination. Because the source is wholly
// read before the first destination write, source and destination may be
// the same memory. Every form takes the vector form where the processor
// has it (QzGaussianVector.h); its results are the same.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "QzDib.h"
#include "QzGaussian.h"
#include "QzGaussianVector.h"
#include "QzPrepared.h"
#include "QzRect.h"

namespace {

struct DibDeleter {
    void operator()(BITMAPINFOHEADER* dib) const { QzDibFree(dib, 0); }
};

inline void store(uint8_t& d, double v) {
    // Round to nearest, ties to even, then clamp.
    const double r = std::nearbyint(v);
    d = static_cast<uint8_t>(r < 0.0 ? 0.0 : (r > 255.0 ? 255.0 : r));
}

inline void store(float& d, double v) { d = static_cast<float>(v); }

// C channels per pass (4: the whole pixel, 1: one channel). Samples of a
// pixel are four elements apart in both depths; srcChannel and dstChannel
// are element offsets within the pixel.
template <int C, typename Src, typename Dst>
HRESULT blur(uint8_t* dst, int32_t dstStride, int dstChannel, const uint8_t* src, int32_t srcStride, int srcChannel,
             int32_t w, int32_t h, double hRadius, double vRadius) {
    const qz::GaussianCoefficients gh = qz::gaussianCoefficients(qz::gaussianSigma(hRadius));
    const qz::GaussianCoefficients gv = qz::gaussianCoefficients(qz::gaussianSigma(vRadius));
    if (qz::gaussianVectorSelected())
        return qz::gaussianBlurVector<C, Src, Dst>(dst, dstStride, dstChannel, src, srcStride, srcChannel, w, h, gh,
                                                   gv);

    BITMAPINFOHEADER* raw = nullptr;
    const HRESULT hr = QzDibAlloc(&raw, C == 4 ? QzPixelRGBA128 : QzPixelGray32, w, h, nullptr, 0, 0,
                                  reinterpret_cast<uintptr_t>(__builtin_return_address(0)));
    if (hr < 0) return hr;
    const std::unique_ptr<BITMAPINFOHEADER, DibDeleter> dib(raw);
    auto* pass = reinterpret_cast<float*>(QzDibBitsFromHeader(raw));

    const size_t lineLength = 4 * static_cast<size_t>(std::max(w, h));
    const std::unique_ptr<double[]> yp(new (std::nothrow) double[lineLength]);
    const std::unique_ptr<double[]> ym(new (std::nothrow) double[lineLength]);
    // Without scratch lines the call ends quietly with the destination as
    // it was.
    if (!yp || !ym) return S_OK;

    for (int32_t y = 0; y < h; ++y) {
        const auto* row = reinterpret_cast<const Src*>(src + static_cast<intptr_t>(y) * srcStride) + srcChannel;
        qz::gaussianLine<C>(row, 4, w, gh, yp.get(), ym.get());
        float* out = pass + static_cast<size_t>(y) * w * C;
        for (int32_t i = 0; i < w * C; ++i) out[i] = static_cast<float>(yp[i] + ym[i]);
    }

    for (int32_t x = 0; x < w; ++x) {
        qz::gaussianLine<C>(pass + static_cast<size_t>(x) * C, static_cast<std::ptrdiff_t>(w) * C, h, gv, yp.get(),
                            ym.get());
        for (int32_t y = 0; y < h; ++y) {
            Dst* out = reinterpret_cast<Dst*>(dst + static_cast<intptr_t>(y) * dstStride) + x * 4 + dstChannel;
            for (int c = 0; c < C; ++c) store(out[c], yp[y * C + c] + ym[y * C + c]);
        }
    }
    return S_OK;
}

using qz::Prepared;

// dstBytesPerPixel differs from the source's only for the float output of
// byte images.
Prepared prepare(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect, const void* src,
                 const RECT* srcBounds, int32_t srcStride, const RECT* srcRect, int32_t bytesPerPixel,
                 int32_t dstBytesPerPixel) {
    Prepared p;
    RECT dc;
    p.hr = QzDibPrepareTransform(nullptr, &p.w, &p.h, &p.src, &p.dst, dst, dstBounds, dstStride, dstRect, src,
                                 srcBounds, srcStride, srcRect, bytesPerPixel, &dc);
    if (p.hr >= 0 && p.w > 0) p.dst = static_cast<uint8_t*>(dst) + qz::byteOffset(dc, dstStride, dstBytesPerPixel);
    return p;
}

int channelElement(QzChannel channel, int32_t bytesPerPixel) {
    const int32_t offset = GetByteOffsetFromChannelEnum(channel, bytesPerPixel);
    return bytesPerPixel == 4 ? offset : offset / 4;
}

}  // namespace

extern "C" HRESULT QzDibGaussianBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                     const void* src, const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                     double hRadius, double vRadius, int32_t bytesPerPixel) {
    const Prepared p =
        prepare(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel, bytesPerPixel);
    if (p.empty()) return p.hr;
    if (bytesPerPixel == 4)
        return blur<4, uint8_t, uint8_t>(p.dst, dstStride, 0, p.src, srcStride, 0, p.w, p.h, hRadius, vRadius);
    return blur<4, float, float>(p.dst, dstStride, 0, p.src, srcStride, 0, p.w, p.h, hRadius, vRadius);
}

// On byte images the result is kept in float, on the 0 to 255 scale and
// unclamped, in a destination of 16-byte pixels.
extern "C" HRESULT QzDibGaussianBlur_Float(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                           const void* src, const RECT* srcBounds, int32_t srcStride,
                                           const RECT* srcRect, double hRadius, double vRadius, int32_t bytesPerPixel) {
    if (bytesPerPixel != 4)
        return QzDibGaussianBlur(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, hRadius,
                                 vRadius, bytesPerPixel);
    const Prepared p =
        prepare(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel, 16);
    if (p.empty()) return p.hr;
    return blur<4, uint8_t, float>(p.dst, dstStride, 0, p.src, srcStride, 0, p.w, p.h, hRadius, vRadius);
}

extern "C" HRESULT QzDibGaussianChannelToChannelBlur(void* dst, const RECT* dstBounds, int32_t dstStride,
                                                     const RECT* dstRect, QzChannel dstChannel, const void* src,
                                                     const RECT* srcBounds, int32_t srcStride, const RECT* srcRect,
                                                     QzChannel srcChannel, double hRadius, double vRadius,
                                                     int32_t bytesPerPixel) {
    const Prepared p =
        prepare(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel, bytesPerPixel);
    if (p.empty()) return p.hr;
    const int d = channelElement(dstChannel, bytesPerPixel);
    const int s = channelElement(srcChannel, bytesPerPixel);
    if (bytesPerPixel == 4)
        return blur<1, uint8_t, uint8_t>(p.dst, dstStride, d, p.src, srcStride, s, p.w, p.h, hRadius, vRadius);
    return blur<1, float, float>(p.dst, dstStride, d, p.src, srcStride, s, p.w, p.h, hRadius, vRadius);
}

extern "C" HRESULT QzDibGaussianChannelBlur(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                            const void* src, const RECT* srcBounds, int32_t srcStride,
                                            const RECT* srcRect, double hRadius, double vRadius, QzChannel channel,
                                            int32_t bytesPerPixel) {
    return QzDibGaussianChannelToChannelBlur(dst, dstBounds, dstStride, dstRect, channel, src, srcBounds, srcStride,
                                             srcRect, channel, hRadius, vRadius, bytesPerPixel);
}
