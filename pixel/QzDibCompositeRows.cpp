// QzDibCompositeUnscaled: whole-pixel compositing, rows over an OpenMP team.
#include <array>
#include <utility>

#include "QzCompositeModes.h"
#include "QzPrepared.h"

namespace {

// Fewer pixels than this are composited on the calling thread.
constexpr int64_t kForkPixels = 8192;

// One row of w pixels. The row function is chosen once per call, so the
// pixel loops carry no test of depth or mode.
using RowFn = void (*)(uint8_t* d, const uint8_t* s, int32_t w, QzCompositeBlendFn fn);

template <uint32_t M, class C>
void modeRow(uint8_t* d, const uint8_t* s, int32_t w, QzCompositeBlendFn) {
    auto* dp = reinterpret_cast<C*>(d);
    const auto* sp = reinterpret_cast<const C*>(s);
    for (int32_t x = 0; x < w * 4; x += 4) qz::composite::compose<M>(dp + x, sp + x);
}

template <int32_t Bytes>
void callerRow(uint8_t* d, const uint8_t* s, int32_t w, QzCompositeBlendFn fn) {
    for (int32_t x = 0; x < w; ++x, d += Bytes, s += Bytes) fn(d, s, Bytes);
}

template <class C, uint32_t... M>
constexpr std::array<RowFn, sizeof...(M)> modeRows(std::integer_sequence<uint32_t, M...>) {
    return {&modeRow<M, C>...};
}

using Modes = std::make_integer_sequence<uint32_t, QZCOMPOSITE_MODES>;
constexpr auto kByteRows = modeRows<uint8_t>(Modes{});
constexpr auto kFloatRows = modeRows<float>(Modes{});

RowFn rowFor(uint32_t mode, bool bytes) {
    if (mode == QZCOMPOSITE_CALLER) return bytes ? &callerRow<4> : &callerRow<16>;
    return bytes ? kByteRows[mode] : kFloatRows[mode];
}

}  // namespace

extern "C" HRESULT QzDibCompositeUnscaled(void* dst, const RECT* dstBounds, int32_t dstStride, const RECT* dstRect,
                                          const void* src, const RECT* srcBounds, int32_t srcStride,
                                          const RECT* srcRect, int32_t bytesPerPixel,
                                          const QzDibCompositeProps* props) {
    const HRESULT hr = qz::composite::checkProps(props);
    if (hr < 0) return hr;
    if (bytesPerPixel != 4 && bytesPerPixel != 16) return E_NOTIMPL;
    const qz::Prepared p =
        qz::prepareCopy(dst, dstBounds, dstStride, dstRect, src, srcBounds, srcStride, srcRect, bytesPerPixel);
    if (p.empty()) return p.hr;
    const RowFn row = rowFor(props->mode, bytesPerPixel == 4);
    const QzCompositeBlendFn fn = props->blend;
    // Waking a team costs more than a few thousand pixels take.
    const bool fork = static_cast<int64_t>(p.w) * p.h >= kForkPixels;
#pragma omp parallel for schedule(static) if (fork)
    for (int32_t y = 0; y < p.h; ++y)
        row(p.dst + static_cast<intptr_t>(y) * dstStride, p.src + static_cast<intptr_t>(y) * srcStride, p.w, fn);
    return p.hr;
}
