// Assembling an exchange block: flags, width, the functions of both sides,
// the gamma curve and the blend operation.
#include <algorithm>
#include <cstring>

#include "QzDib.h"
#include "QzXchg.h"

using namespace qz::xchg;

namespace qz {
namespace {

bool offersByteForm(QzPixelType t) {
    return t == QzPixelPal8 || t == QzPixelRGB24 || t == QzPixelRGB32 || t == QzPixelRGBA32;
}

// The u16 >> shift that indexes a curve or scale table from the u16 form of
// a side with this many bits per channel: 8 keeps a byte side's bytes
// exact, 6 a 10-bit side's samples; wider sides settle for 2048 steps.
int32_t curveShiftFor(QzPixelType t) {
    uint8_t bits[4];
    QzGetPixelBitsPerChannel(t, bits);
    const uint8_t widest = *std::max_element(bits, bits + 4);
    if (widest <= 8) return 8;
    return widest <= 10 ? 6 : 5;
}

}  // namespace

uint32_t effectiveFlags(uint32_t flags) {
    // Every quality mode keeps the feather, sub-pixel and bi-cubic bits and
    // bits 4-8, then sets its own read and blend bits.
    static constexpr uint32_t kModeBits[5] = {0, 0x180, 0x1C0, 0x1E0, 0x1F0};
    const uint32_t mode = flags & QZCOPY_MODE_MASK;
    if (mode < 1 || mode > 4) return flags;
    return (flags & 0x7FFF1F0u) | kModeBits[mode];
}

int32_t exchangeWidth(QzPixelType src, QzPixelType dst, uint32_t flags) {
    if (flags & QZCOPY_WORD_FORM) return 1;
    if (src == QzPixelRGBA128 && dst == QzPixelRGBA128) return 2;
    if (offersByteForm(src) && offersByteForm(dst)) return 0;
    return 1;
}

}  // namespace qz

extern "C" HRESULT QzXCHGGetFunctionPointers(QzPixelType srcType, QzPixelType dstType, uint32_t flags, QzXCHG* exchange,
                                             int32_t blendOp, double dstGamma, double srcGamma) {
    if (!exchange) return E_POINTER;
    if (!qz::isExchangeType(srcType) || !qz::isExchangeType(dstType)) return E_INVALIDARG;
    if (blendOp != QZXCHG_NO_BLEND && (blendOp < 0 || blendOp >= QZXCHG_BLEND_OPERATIONS)) return E_INVALIDARG;

    const uint32_t effective = qz::effectiveFlags(flags);
    const int32_t width = qz::exchangeWidth(srcType, dstType, effective);
    QzXchgBlendFn blend = nullptr;
    if (blendOp != QZXCHG_NO_BLEND) {
        blend = blendFunction((effective & QZCOPY_BLEND_VARIANT) ? 1 : 0, width, blendOp);
        if (!blend) return E_NOTIMPL;
    }

    std::memset(exchange, 0, sizeof *exchange);
    QzXCHG& e = *exchange;
    e.flags = effective;
    e.srcType = srcType;
    e.dstType = dstType;
    e.width = width;
    e.blend = blend;
    QzXCHGSetSourcePalette(&e, nullptr, 0);

    // Only a float side meeting a non-float one is curved; two float sides
    // share one encoding.
    const bool srcFloat = qz::isFloatType(srcType), dstFloat = qz::isFloatType(dstType);
    const bool curve = width == 1 && srcFloat != dstFloat && curveApplies(dstGamma, srcGamma);
    if (curve) {
        const double exponent = curveExponent(dstGamma, srcGamma);
        fillCurve(e.curveFromFloat, 2049, exponent);
        e.curveShift = qz::curveShiftFor(srcFloat ? dstType : srcType);
        fillCurve(e.curveToFloat, 65536 >> e.curveShift, exponent);
    }
    const FloatRead readMode = curve && srcFloat ? FloatRead::Curve : FloatRead::Plain;
    FloatWrite writeMode = FloatWrite::Exact;
    if (curve && dstFloat)
        writeMode = FloatWrite::Curve;
    else if (qz::curveShiftFor(srcType) == 8)
        writeMode = FloatWrite::ByteTable;

    const int32_t variant = (effective & QZCOPY_EXACT_READ) ? 1 : 0;
    const ReadSet reads = readSet(srcType, width, variant, readMode);
    const PairReadSet pairs = pairReadSet(srcType, width, readMode);
    const WriteSet writes = writeSet(dstType, width, writeMode);
    e.read = reads.read;
    e.read4 = reads.read4;
    e.readH = pairs.readH;
    e.readV = pairs.readV;
    e.readHV = pairs.readHV;
    e.write = writes.write;
    e.write4 = writes.write4;
    return S_OK;
}

extern "C" void QzXCHGSetSourcePalette(QzXCHG* exchange, const RGBQUAD* palette, int32_t count) {
    if (!exchange) return;
    const int32_t n = palette ? std::clamp(count, 0, 256) : 0;
    for (int32_t i = 0; i < 256; ++i) {
        tQZPIXEL32& p = exchange->palette[i];
        if (i < n)
            p = tQZPIXEL32{palette[i].rgbBlue, palette[i].rgbGreen, palette[i].rgbRed, 255};
        else
            p = tQZPIXEL32{0, 0, 0, 255};
    }
}
