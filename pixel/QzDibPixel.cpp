// Single pixels of a descriptor through the exchange's u16 form.
#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzXchg.h"

namespace {

// Flags 19: quality mode 3 with the u16 form, so every type answers in four
// u16 and bytes widen exactly (b * 257).
constexpr uint32_t kPixelFlags = 19;

bool inside(const BITMAPINFOHEADER& h, int32_t x, int32_t y) {
    return x >= 0 && y >= 0 && x < h.biWidth && y < h.biHeight;
}

uint8_t* rowOf(const BITMAPINFOHEADER& h, const void* bits, int32_t stride, int32_t y) {
    return qz::imageRow(h, qz::bitsOf(&h, bits), qz::strideOf(&h, stride), y);
}

}  // namespace

extern "C" HRESULT QzDibGetPixel(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t x, int32_t y,
                                 tQZPIXEL64* outPixel) {
    if (!header || !outPixel) return E_POINTER;
    const QzPixelType type = QzGetPixelType(header);
    if (!qz::isExchangeType(type) || !inside(*header, x, y)) return E_NOTIMPL;
    QzXCHG e;
    const HRESULT hr = QzXCHGGetFunctionPointers(type, type, kPixelFlags, &e, QZXCHG_NO_BLEND, 0.0, 0.0);
    if (hr < 0) return hr;
    if (qz::isPaletteType(type)) QzXCHGSetSourcePalette(&e, qz::paletteOf(*header), qz::paletteEntries(*header));
    e.read(&e, rowOf(*header, bits, stride, y), x, outPixel);
    return S_OK;
}

extern "C" HRESULT QzDibSetPixel(const BITMAPINFOHEADER* header, void* bits, int32_t stride, int32_t x, int32_t y,
                                 const tQZPIXEL64* pixel) {
    if (!header || !pixel) return E_POINTER;
    const QzPixelType type = QzGetPixelType(header);
    if (!qz::isExchangeType(type)) return E_NOTIMPL;
    if (!inside(*header, x, y)) return E_INVALIDARG;
    QzXCHG e;
    const HRESULT hr = QzXCHGGetFunctionPointers(type, type, kPixelFlags, &e, QZXCHG_NO_BLEND, 0.0, 0.0);
    if (hr < 0) return hr;
    qz::QuantizerPtr quantizer;
    if (const HRESULT qhr = qz::quantizerFor(header, type, quantizer); qhr < 0) return qhr;
    e.quantizer = quantizer.get();
    e.write(&e, rowOf(*header, bits, stride, y), x, pixel);
    return S_OK;
}
