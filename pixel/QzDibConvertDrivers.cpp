// The drivers of QzDibCopy: the plain one (same size or scaled) and the
// feathering one, both moving pixels through exchange blocks.
#include <algorithm>

#include "QzDibConvertBlock.h"
#include "QzXchg.h"

namespace qz {
namespace {

// Room for four exchange pixels of the widest form.
struct alignas(16) PixelBuffer {
    unsigned char bytes[4 * sizeof(tQZPIXEL128)];
};

int32_t formBytes(const QzXCHG& x) { return 4 << x.width; }

// The plain read in the shape of the interpolating ones.
void readOwnPixel(const QzXCHG* x, const uint8_t* row, const uint8_t*, int32_t col, void* out) {
    x->read(x, row, col, out);
}

struct Steps {
    int64_t x;
    int64_t y;
    bool interpolate;
};

// Modes 3 and up interpolate along the block's steps; below, the copy
// takes the nearest sample at (srcSize << 14) / dstSize.
Steps stepsOf(const CopyBlock& b) {
    if (!b.scaling) return Steps{16384, 16384, false};
    if (b.mode >= 3) return Steps{b.stepX, b.stepY, true};
    return Steps{(static_cast<int64_t>(width(b.src.rect)) << 14) / width(b.dst.rect),
                 (static_cast<int64_t>(height(b.src.rect)) << 14) / height(b.dst.rect), false};
}

// The reads of one destination row: the one for every column but the last,
// and the last column's, which never looks right of itself. A source of
// one column or row cannot interpolate across it.
struct RowReads {
    QzXchgPairReadFn inner;
    QzXchgPairReadFn last;
};

RowReads rowReads(const QzXCHG& x, bool horizontal, bool vertical) {
    if (vertical) return RowReads{horizontal ? x.readHV : x.readV, x.readV};
    return RowReads{horizontal ? x.readH : &readOwnPixel, &readOwnPixel};
}

// Destination row j of a scaled copy: its source row and the row below,
// the reads that mix them, and the row fraction set in the exchange. A
// source of one column or one row falls back to the non-interpolating
// read, and the last row reads only its own row.
struct ScaledRow {
    int32_t sy;
    const uint8_t* in;
    const uint8_t* far;
    uint8_t* out;
    RowReads reads;
};

ScaledRow scaledRow(const CopyBlock& b, QzXCHG& x, const Steps& st, int32_t j) {
    const bool horizontal = st.interpolate && width(b.src.rect) > 1;
    const bool vertical = st.interpolate && height(b.src.rect) > 1;
    const int64_t y = j * st.y;
    const int32_t sy = b.src.rect.top + static_cast<int32_t>(y >> 14);
    const bool rowPair = vertical && j < height(b.dst.rect) - 1;
    const uint8_t* in = b.src.row(sy);
    x.fy = static_cast<int32_t>(y & 0x3FFF);
    return ScaledRow{sy, in, rowPair ? b.src.row(sy + 1) : in, b.dst.row(b.dst.rect.top + j),
                     rowReads(x, horizontal, rowPair)};
}

void copySameSize(const CopyBlock& b, const QzXCHG& x) {
    const int32_t w = width(b.dst.rect), h = height(b.dst.rect);
    const int32_t sx = b.src.rect.left, dx = b.dst.rect.left;
    PixelBuffer buf;
    for (int32_t j = 0; j < h; ++j) {
        const uint8_t* in = b.src.row(b.src.rect.top + j);
        uint8_t* out = b.dst.row(b.dst.rect.top + j);
        int32_t i = 0;
        for (; i + 4 <= w; i += 4) {
            x.read4(&x, in, sx + i, buf.bytes);
            x.write4(&x, out, dx + i, buf.bytes);
        }
        for (; i < w; ++i) {
            x.read(&x, in, sx + i, buf.bytes);
            x.write(&x, out, dx + i, buf.bytes);
        }
    }
}

void copyScaled(const CopyBlock& b, QzXCHG& x) {
    const Steps st = stepsOf(b);
    const int32_t dw = width(b.dst.rect), dh = height(b.dst.rect), n = formBytes(x);
    const int32_t sx = b.src.rect.left, dx = b.dst.rect.left;
    PixelBuffer buf;
    for (int32_t j = 0; j < dh; ++j) {
        const ScaledRow r = scaledRow(b, x, st, j);

        int64_t pos = 0;
        int32_t i = 0;
        const int32_t inner = dw - 1;
        for (; i + 4 <= inner; i += 4) {
            for (int32_t k = 0; k < 4; ++k, pos += st.x) {
                x.fx = static_cast<int32_t>(pos & 0x3FFF);
                r.reads.inner(&x, r.in, r.far, sx + static_cast<int32_t>(pos >> 14), buf.bytes + k * n);
            }
            x.write4(&x, r.out, dx + i, buf.bytes);
        }
        for (; i < inner; ++i, pos += st.x) {
            x.fx = static_cast<int32_t>(pos & 0x3FFF);
            r.reads.inner(&x, r.in, r.far, sx + static_cast<int32_t>(pos >> 14), buf.bytes);
            x.write(&x, r.out, dx + i, buf.bytes);
        }
        x.fx = static_cast<int32_t>(pos & 0x3FFF);
        r.reads.last(&x, r.in, r.far, sx + static_cast<int32_t>(pos >> 14), buf.bytes);
        x.write(&x, r.out, dx + inner, buf.bytes);
    }
}

// The feather depth of a pixel at 1-based distance d from an edge: d
// within the width, else 0.
int64_t depthAt(int64_t d, int64_t feather) { return d <= feather ? d : 0; }

}  // namespace

HRESULT makeExchange(QzXCHG& exchange, const CopySide& from, const CopySide& to, const CopyBlock& block,
                     int32_t blendOp, double toGamma, double fromGamma) {
    const HRESULT hr =
        QzXCHGGetFunctionPointers(from.type, to.type, block.flags, &exchange, blendOp, toGamma, fromGamma);
    if (hr < 0) return hr;
    if (isPaletteType(from.type))
        QzXCHGSetSourcePalette(&exchange, paletteOf(*from.header), paletteEntries(*from.header));
    exchange.quantizer = block.quantizer;
    return S_OK;
}

HRESULT runPlainDriver(const CopyBlock& b) {
    if (!b.scaling && runDirectConversion(b)) return S_OK;
    QzXCHG x;
    const HRESULT hr = makeExchange(x, b.src, b.dst, b, QZXCHG_NO_BLEND, b.dstGamma, b.srcGamma);
    if (hr < 0) return hr;
    if (b.scaling)
        copyScaled(b, x);
    else
        copySameSize(b, x);
    return S_OK;
}

HRESULT runFeatherDriver(const CopyBlock& b) {
    // Forward: source to destination. Back: the destination read in the
    // same exchange form (and gamma encoding) as the source pixels, and the
    // mix toward them.
    QzXCHG x, back;
    HRESULT hr = makeExchange(x, b.src, b.dst, b, QZXCHG_NO_BLEND, b.dstGamma, b.srcGamma);
    if (hr >= 0) hr = makeExchange(back, b.dst, b.src, b, QZXCHG_BLEND_TOWARD_SOURCE, b.srcGamma, b.dstGamma);
    if (hr < 0) return hr;

    const Steps st = stepsOf(b);
    // The width counts destination pixels; distances are measured in source
    // pixels from the source image's edges.
    int64_t feather = QZCOPY_FEATHER_WIDTH(b.flags);
    if (b.scaling) feather = std::max(st.x, st.y) * feather / 16384;
    const auto step = static_cast<uint32_t>(65535 / (feather + 1));
    const bool top = b.flags & QZCOPY_FEATHER_TOP, bottom = b.flags & QZCOPY_FEATHER_BOTTOM;
    const bool left = b.flags & QZCOPY_FEATHER_LEFT, right = b.flags & QZCOPY_FEATHER_RIGHT;

    const int32_t dw = width(b.dst.rect), dh = height(b.dst.rect);
    PixelBuffer s, d;
    for (int32_t j = 0; j < dh; ++j) {
        const ScaledRow r = scaledRow(b, x, st, j);
        int64_t rowDepth = 0;
        if (top) rowDepth = depthAt(r.sy + 1, feather);
        if (bottom) rowDepth = std::max(rowDepth, depthAt(b.src.imageHeight() - r.sy, feather));

        int64_t pos = 0;
        for (int32_t i = 0; i < dw; ++i, pos += st.x) {
            const int32_t px = b.src.rect.left + static_cast<int32_t>(pos >> 14);
            x.fx = static_cast<int32_t>(pos & 0x3FFF);
            (i < dw - 1 ? r.reads.inner : r.reads.last)(&x, r.in, r.far, px, s.bytes);
            int64_t k = rowDepth;
            if (left) k = std::max(k, depthAt(px + 1, feather));
            if (right) k = std::max(k, depthAt(b.src.imageWidth() - px, feather));
            if (k == 0) {
                x.write(&x, r.out, b.dst.rect.left + i, s.bytes);
            } else {
                back.read(&back, r.out, b.dst.rect.left + i, d.bytes);
                back.blend(&back, d.bytes, s.bytes, step * static_cast<uint32_t>(k));
                x.write(&x, r.out, b.dst.rect.left + i, d.bytes);
            }
        }
    }
    return S_OK;
}

}  // namespace qz
