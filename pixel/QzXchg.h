// The pixel exchange's parts, shared by the sources that assemble an
// exchange block and those that drive one (not exported).
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "QzDib.h"

// The inverse colour map of a palette: the entry for the top five bits of
// red, green and blue.
struct QzColorQuantizer {
    uint8_t cells[32 * 32 * 32];
};

namespace qz {

inline uint8_t quantize(const QzColorQuantizer& q, uint8_t b, uint8_t g, uint8_t r) {
    return q.cells[(static_cast<uint32_t>(r >> 3) << 10) | (static_cast<uint32_t>(g >> 3) << 5) | (b >> 3)];
}

struct QuantizerDeleter {
    void operator()(QzColorQuantizer* q) const { QzDibFreeColorQuantizer(q); }
};
using QuantizerPtr = std::unique_ptr<QzColorQuantizer, QuantizerDeleter>;

// The palette directly behind a descriptor's header, and its size:
// biClrUsed entries, or the full table when that is 0 (or too large).
inline const RGBQUAD* paletteOf(const BITMAPINFOHEADER& h) {
    return reinterpret_cast<const RGBQUAD*>(reinterpret_cast<const uint8_t*>(&h) + h.biSize);
}
inline int32_t paletteEntries(const BITMAPINFOHEADER& h) {
    const uint32_t full = h.biBitCount <= 8 ? 1u << h.biBitCount : 256u;
    return static_cast<int32_t>(h.biClrUsed != 0 && h.biClrUsed < full ? h.biClrUsed : full);
}

inline bool isExchangeType(QzPixelType t) { return t >= QzPixelMono1 && t <= QzPixelRGB10Alt && t != 33; }
inline bool isFloatType(QzPixelType t) { return t == QzPixelRGBA128 || t == QzPixelGray32; }
inline bool isPaletteType(QzPixelType t) { return t == QzPixelMono1 || t == QzPixelPal4 || t == QzPixelPal8; }

// The quantizer a palette destination's writes need; none for other types.
// Fails with E_OUTOFMEMORY before anything is written.
inline HRESULT quantizerFor(const BITMAPINFOHEADER* header, QzPixelType type, QuantizerPtr& out) {
    if (!isPaletteType(type)) return S_OK;
    QzColorQuantizer* q = nullptr;
    const HRESULT hr = QzDibCreateColorQuantizer(&q, header);
    if (hr < 0) return hr;
    out.reset(q);
    return S_OK;
}

// The flags word after the quality-mode rewrite.
uint32_t effectiveFlags(uint32_t flags);
// The exchange width of a pair under effective flags: 0, 1 or 2.
int32_t exchangeWidth(QzPixelType src, QzPixelType dst, uint32_t flags);

namespace xchg {

// How a float side meets the u16 form.
enum class FloatRead { Plain, Curve };
enum class FloatWrite {
    ByteTable,  // u16 >> 8 through the process-wide 1/255 table
    Exact,      // u16 / 65535
    Curve       // colour through the block's curve, alpha exact
};

struct ReadSet {
    QzXchgReadFn read = nullptr;
    QzXchgReadFn read4 = nullptr;
};
struct PairReadSet {
    QzXchgPairReadFn readH = nullptr;
    QzXchgPairReadFn readV = nullptr;
    QzXchgPairReadFn readHV = nullptr;
};
struct WriteSet {
    QzXchgWriteFn write = nullptr;
    QzXchgWriteFn write4 = nullptr;
};

// The functions of one type at one width; empty where the type does not
// offer the width. `variant` is 1 for the exact byte expansion.
ReadSet readSet(QzPixelType type, int32_t width, int32_t variant, FloatRead mode);
PairReadSet pairReadSet(QzPixelType type, int32_t width, FloatRead mode);
WriteSet writeSet(QzPixelType type, int32_t width, FloatWrite mode);

// Blend operation `op` of a variant at a width; null where not provided.
QzXchgBlendFn blendFunction(int32_t variant, int32_t width, int32_t op);

// ---- Gamma ----

// 0 means 2.2222222222222223; the result is clamped to 0.5..4.0.
double normalisedGamma(double gamma);
// True unless dstGamma / srcGamma (normalised) lies within 0.999..1.001.
bool curveApplies(double dstGamma, double srcGamma);
// The power that takes a value encoded for srcGamma to dstGamma.
double curveExponent(double dstGamma, double srcGamma);
// table[i] = (i / (n - 1)) ^ exponent, for n entries.
void fillCurve(float* table, int32_t n, double exponent);
// The curve from a float in 0..1, linear between the 2049 points of table.
float curveAt(const float* table2049, float v);

// i * 0.003921569f: the plain 1/255 scale of every byte-to-float path.
extern const std::array<float, 256> kByteToFloat;

}  // namespace xchg
}  // namespace qz
