// Descriptor builders, bitmap allocation with its diagnostic counters, and
// the sizes of the YUV layouts.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "QzDib.h"

namespace {

// Live bitmaps and their image bytes, for leak reports only. Relaxed
// atomics: nothing is ordered by them, they just must not tear or race
// when bitmaps come and go on several threads.
std::atomic<int64_t> gLiveBitmaps{0};
std::atomic<int64_t> gLiveBytes{0};

constexpr uint64_t kMaxBytes = std::numeric_limits<uint32_t>::max();

bool isRawCompression(uint32_t c) {
    return c == BI_RGB || c == BI_BITFIELDS || c == QZ_COMPRESSION_QZDB || c == QZ_COMPRESSION_QZGS;
}

// Everything a builder writes, worked out before anything is written.
struct Layout {
    BITMAPINFOHEADER header;
    uint32_t masks[3];
    uint32_t headerBytes;  // header plus masks or palette: where the bits start
};

HRESULT describe(Layout& out, QzPixelType type, int32_t width, int32_t height, int32_t paletteEntries) {
    uint32_t compression = 0;
    const int32_t bitCount = QzPixelTypeToBitAttribs(type, &compression, nullptr, 0, out.masks);
    if (bitCount == 0 || width < 0 || height < 0) return E_INVALIDARG;

    uint32_t imageBytes = 0;
    if (!isRawCompression(compression)) {
        const HRESULT hr = QzYUVImageBytesAndOffsets(type, width, height, &imageBytes, nullptr);
        if (hr < 0) return hr;
    } else {
        // Note: the natural stride's product is 32-bit and masked, as in
        // QzDibNaturalStride; only the image size is checked for overflow.
        const uint32_t rowBits = static_cast<uint32_t>(bitCount) * static_cast<uint32_t>(width);
        const uint32_t stride = ((rowBits + 31) >> 3) & 0x1FFFFFFC;
        const uint64_t bytes = uint64_t{stride} * static_cast<uint64_t>(height);
        if (bytes > kMaxBytes) return E_INVALIDARG;
        imageBytes = static_cast<uint32_t>(bytes);
    }

    uint64_t clrUsed = 0;
    if (compression != BI_BITFIELDS) {
        clrUsed = paletteEntries > 0 ? static_cast<uint64_t>(paletteEntries) : 0;
        // Note: one less than the table size, (1 << bitCount) - 1, grey types
        // included. Readers count a biClrUsed of 0 as the full table, so the
        // two disagree by one entry; the stored descriptors depend on it. A
        // palette pointer with no entries is no palette.
        if (clrUsed == 0 && bitCount < 9) clrUsed = (uint64_t{1} << bitCount) - 1;
    }
    // Note: 52 is a constant (header and three masks), not biSize + 12.
    const uint64_t headerBytes = compression == BI_BITFIELDS ? 52 : 40 + 4 * clrUsed;
    if (headerBytes + imageBytes > kMaxBytes) return E_INVALIDARG;

    BITMAPINFOHEADER& h = out.header;
    h.biSize = 40;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = static_cast<uint16_t>(bitCount);
    h.biCompression = compression;
    h.biSizeImage = imageBytes;
    h.biXPelsPerMeter = 0;
    h.biClrUsed = static_cast<uint32_t>(clrUsed);
    h.biClrImportant = 0;
    out.headerBytes = static_cast<uint32_t>(headerBytes);
    return S_OK;
}

// Writes the header fields, then the masks or the given palette behind it.
// biYPelsPerMeter is never read and is left as the caller had it.
void store(BITMAPINFOHEADER* dst, const Layout& l, const RGBQUAD* palette, int32_t paletteEntries) {
    const BITMAPINFOHEADER& s = l.header;
    dst->biSize = s.biSize;
    dst->biWidth = s.biWidth;
    dst->biHeight = s.biHeight;
    dst->biPlanes = s.biPlanes;
    dst->biBitCount = s.biBitCount;
    dst->biCompression = s.biCompression;
    dst->biSizeImage = s.biSizeImage;
    dst->biXPelsPerMeter = s.biXPelsPerMeter;
    dst->biClrUsed = s.biClrUsed;
    dst->biClrImportant = s.biClrImportant;
    auto* behind = reinterpret_cast<uint8_t*>(dst) + sizeof(BITMAPINFOHEADER);
    if (l.header.biCompression == BI_BITFIELDS) {
        std::memcpy(behind, l.masks, sizeof l.masks);
    } else if (palette && paletteEntries > 0) {
        std::memcpy(behind, palette, static_cast<size_t>(paletteEntries) * sizeof(RGBQUAD));
    }
}

// The planes of each YUV layout, in storage order, from a width and height.
struct Planes {
    uint64_t size[3];
};

bool yuvPlanes(Planes& p, QzPixelType type, uint64_t w, uint64_t h) {
    const uint64_t evenW = (w + 1) & ~uint64_t{1};  // packed 4:2:2 stores pixel pairs
    const uint64_t halfW = (w + 1) / 2, halfH = (h + 1) / 2, quarterW = (w + 3) / 4;
    switch (type) {
        case QzPixelUYVY:
        case QzPixelYUYV: p = {{evenW * 2 * h, 0, 0}}; return true;
        case QzPixelY210: p = {{evenW * 4 * h, 0, 0}}; return true;
        case QzPixelv210: p = {{(w + 47) / 48 * 128 * h, 0, 0}}; return true;
        case QzPixelY41B: p = {{w * h, quarterW * h, quarterW * h}}; return true;
        case QzPixelI420:
        case QzPixelYV12: p = {{w * h, halfW * halfH, halfW * halfH}}; return true;
        case QzPixelNV12: p = {{w * h, halfW * 2 * halfH, 0}}; return true;
        case QzPixelYV16: p = {{w * h, halfW * h, halfW * h}}; return true;
        case QzPixelP010: p = {{w * 2 * h, halfW * 4 * halfH, 0}}; return true;
        case QzPixelPL10: p = {{w * 2 * h, halfW * 2 * halfH, halfW * 2 * halfH}}; return true;
        case QzPixelP210:
        case QzPixelP216: p = {{w * 2 * h, halfW * 4 * h, 0}}; return true;
        case QzPixelP410: p = {{w * 2 * h, w * 4 * h, 0}}; return true;
        case QzPixelA410: p = {{w * 2 * h, w * 4 * h, w * 2 * h}}; return true;
        default: return false;
    }
}

}  // namespace

extern "C" HRESULT QzVideo_InitBitmapInfo(BITMAPINFOHEADER* header, QzPixelType type, int32_t width, int32_t height,
                                          const RGBQUAD* palette, int32_t paletteEntries, uint32_t* outImageBytes) {
    if (!header) return E_INVALIDARG;
    Layout l;
    const HRESULT hr = describe(l, type, width, height, paletteEntries);
    if (hr < 0) return hr;
    store(header, l, palette, paletteEntries);
    if (outImageBytes) *outImageBytes = l.header.biSizeImage;
    return S_OK;
}

extern "C" HRESULT QzDibInfo(uint32_t* outHeaderBytes, uint32_t* outImageBytes, BITMAPINFOHEADER* header,
                             QzPixelType type, int32_t width, int32_t height, const RGBQUAD* palette,
                             int32_t paletteEntries) {
    if (!header) return E_INVALIDARG;
    Layout l;
    const HRESULT hr = describe(l, type, width, height, paletteEntries);
    if (hr < 0) return hr;
    store(header, l, palette, paletteEntries);
    if (outHeaderBytes) *outHeaderBytes = l.headerBytes;
    if (outImageBytes) *outImageBytes = l.header.biSizeImage;
    return S_OK;
}

// The block is plain malloc memory, so that any holder of the pointer may
// release it through QzDibFree. The tag would name the block in a debug
// heap; this build has none, so it and flag bit 31 change nothing.
extern "C" HRESULT QzDibAlloc(BITMAPINFOHEADER** outDib, QzPixelType type, int32_t width, int32_t height,
                              const RGBQUAD* palette, int32_t paletteEntries, uint32_t flags,
                              [[maybe_unused]] uintptr_t tag) {
    if (!outDib) return E_POINTER;
    *outDib = nullptr;
    Layout l;
    const HRESULT hr = describe(l, type, width, height, paletteEntries);
    if (hr < 0) return hr;
    const size_t total = size_t{l.headerBytes} + l.header.biSizeImage;
    void* block = (flags & QZDIBALLOC_ZERO) ? std::calloc(1, total) : std::malloc(total);
    if (!block) return E_OUTOFMEMORY;
    // The header, masks and palette area are always cleared: a palette
    // counted but not given reads as black, not as leftovers.
    std::memset(block, 0, l.headerBytes);
    auto* dib = static_cast<BITMAPINFOHEADER*>(block);
    store(dib, l, palette, paletteEntries);
    gLiveBitmaps.fetch_add(1, std::memory_order_relaxed);
    gLiveBytes.fetch_add(l.header.biSizeImage, std::memory_order_relaxed);
    *outDib = dib;
    return S_OK;
}

extern "C" HRESULT QzDibFree(BITMAPINFOHEADER* dib, [[maybe_unused]] uint32_t flags) {
    if (!dib) return S_OK;
    gLiveBitmaps.fetch_sub(1, std::memory_order_relaxed);
    gLiveBytes.fetch_sub(dib->biSizeImage, std::memory_order_relaxed);
    std::free(dib);
    return S_OK;
}

extern "C" void QzDibAllocCounters(int64_t* outLiveBitmaps, int64_t* outLiveBytes) {
    if (outLiveBitmaps) *outLiveBitmaps = gLiveBitmaps.load(std::memory_order_relaxed);
    if (outLiveBytes) *outLiveBytes = gLiveBytes.load(std::memory_order_relaxed);
}

// The YUV layouts are the usual ones of each FourCC, planes packed with no
// row padding. Width w, height h; cw = ceil(w / 2), ch = ceil(h / 2).
//
//   type  planes (storage order)      bytes per plane
//   UYVY  one, packed 4:2:2           2 * even(w) * h
//   YUYV  one, packed 4:2:2           2 * even(w) * h
//   Y210  one, packed 4:2:2, 16-bit   4 * even(w) * h
//   v210  one, 6 pixels per 16 bytes  128 * ceil(w / 48) * h (rows of 128)
//   Y41B  Y, U, V (4:1:1)             w * h, then ceil(w / 4) * h twice
//   I420  Y, U, V (4:2:0)             w * h, then cw * ch twice
//   YV12  Y, V, U (4:2:0)             as I420
//   NV12  Y, interleaved UV (4:2:0)   w * h, 2 * cw * ch
//   YV16  Y, V, U (4:2:2)             w * h, then cw * h twice
//   P010  Y, UV (4:2:0, 16-bit)       2 * w * h, 4 * cw * ch
//   PL10  Y, U, V (4:2:0, 16-bit)     2 * w * h, then 2 * cw * ch twice
//   P210  Y, UV (4:2:2, 16-bit)       2 * w * h, 4 * cw * h
//   P216  as P210
//   P410  Y, UV (4:4:4, 16-bit)       2 * w * h, 4 * w * h
//   A410  Y, UV, A (4:4:4, 16-bit)    2 * w * h, 4 * w * h, 2 * w * h
//
// outPlaneOffsets receives the offsets of the three planes from the first
// (so the first is 0); a plane the layout does not have gets 0.
extern "C" HRESULT QzYUVImageBytesAndOffsets(QzPixelType type, int32_t width, int32_t height, uint32_t* outImageBytes,
                                             uint32_t outPlaneOffsets[3]) {
    Planes p;
    if (width < 0 || height < 0 || !yuvPlanes(p, type, static_cast<uint64_t>(width), static_cast<uint64_t>(height)))
        return E_INVALIDARG;
    const uint64_t total = p.size[0] + p.size[1] + p.size[2];
    if (total > kMaxBytes) return E_INVALIDARG;
    if (outImageBytes) *outImageBytes = static_cast<uint32_t>(total);
    if (outPlaneOffsets) {
        outPlaneOffsets[0] = 0;
        outPlaneOffsets[1] = p.size[1] ? static_cast<uint32_t>(p.size[0]) : 0;
        outPlaneOffsets[2] = p.size[2] ? static_cast<uint32_t>(p.size[0] + p.size[1]) : 0;
    }
    return S_OK;
}
