// In-place rearrangement of descriptor-view bitmaps: flipping rows,
// mirroring columns and swapping red with blue, through a table of
// functions by pixel type.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "QzDescriptorView.h"
#include "QzDib.h"
#include "QzRect.h"

using namespace qz;

namespace {

// The rectangle's rows in memory: row is the start of its lowest memory row
// (descriptor rows are bottom-up), columns are pixels.
struct Region {
    uint8_t* row;
    int32_t stride;
    int32_t rows;
    int32_t left;
    int32_t width;

    uint8_t* at(int32_t i) const { return row + static_cast<ptrdiff_t>(i) * stride; }
};

using RegionOp = void (*)(const Region&);

// Whole-byte pixels: the rectangle's span of each row pair trades places.
template <int Bytes>
void flipRowsBytes(const Region& r) {
    const size_t offset = static_cast<size_t>(r.left) * Bytes;
    const size_t span = static_cast<size_t>(r.width) * Bytes;
    for (int32_t i = 0, j = r.rows - 1; i < j; ++i, --j) {
        uint8_t* a = r.at(i) + offset;
        std::swap_ranges(a, a + span, r.at(j) + offset);
    }
}

// Four-bit pixels, the left one of each byte in the high nibble: an odd
// edge shares its byte with a pixel outside the rectangle, so it trades
// only its nibble.
void flipRowsNibbles(const Region& r) {
    const int32_t right = r.left + r.width;
    const int32_t firstWhole = (r.left + 1) / 2, endWhole = right / 2;
    const auto swapNibble = [](uint8_t& a, uint8_t& b, uint8_t mask) {
        const uint8_t t = a;
        a = static_cast<uint8_t>((a & ~mask) | (b & mask));
        b = static_cast<uint8_t>((b & ~mask) | (t & mask));
    };
    for (int32_t i = 0, j = r.rows - 1; i < j; ++i, --j) {
        uint8_t* a = r.at(i);
        uint8_t* b = r.at(j);
        if (r.left & 1) swapNibble(a[r.left / 2], b[r.left / 2], 0x0F);
        if (endWhole > firstWhole) std::swap_ranges(a + firstWhole, a + endWhole, b + firstWhole);
        if (right & 1) swapNibble(a[right / 2], b[right / 2], 0xF0);
    }
}

template <int Bytes>
void mirrorColumns(const Region& r) {
    using Pixel = std::array<uint8_t, Bytes>;
    for (int32_t y = 0; y < r.rows; ++y) {
        uint8_t* p = r.at(y) + static_cast<size_t>(r.left) * Bytes;
        for (int32_t i = 0, j = r.width - 1; i < j; ++i, --j) {
            Pixel a, b;
            std::memcpy(a.data(), p + static_cast<size_t>(i) * Bytes, Bytes);
            std::memcpy(b.data(), p + static_cast<size_t>(j) * Bytes, Bytes);
            std::memcpy(p + static_cast<size_t>(i) * Bytes, b.data(), Bytes);
            std::memcpy(p + static_cast<size_t>(j) * Bytes, a.data(), Bytes);
        }
    }
}

// Channels stored blue, green, red(, alpha), each Channel bytes wide.
template <int Bytes, int Channel>
void swapRBChannels(const Region& r) {
    for (int32_t y = 0; y < r.rows; ++y) {
        uint8_t* p = r.at(y) + static_cast<size_t>(r.left) * Bytes;
        for (int32_t x = 0; x < r.width; ++x, p += Bytes) std::swap_ranges(p, p + Channel, p + 2 * Channel);
    }
}

// Packed pixels: Swap exchanges the red and blue fields of one word.
template <typename Word, Word (*Swap)(Word)>
void swapRBPacked(const Region& r) {
    for (int32_t y = 0; y < r.rows; ++y) {
        uint8_t* p = r.at(y) + static_cast<size_t>(r.left) * sizeof(Word);
        for (int32_t x = 0; x < r.width; ++x, p += sizeof(Word)) {
            Word w;
            std::memcpy(&w, p, sizeof w);
            w = Swap(w);
            std::memcpy(p, &w, sizeof w);
        }
    }
}

// 5-5-5: red in bits 10-14, blue in 0-4, bit 15 kept.
uint16_t swap555(uint16_t w) { return static_cast<uint16_t>((w & 0x83E0) | ((w >> 10) & 0x1F) | ((w & 0x1F) << 10)); }
// 5-6-5: red in bits 11-15, blue in 0-4.
uint16_t swap565(uint16_t w) { return static_cast<uint16_t>((w & 0x07E0) | (w >> 11) | ((w & 0x1F) << 11)); }
// 10-10-10: red in bits 20-29, blue in 0-9, the two top bits kept.
uint32_t swap101010(uint32_t w) { return (w & 0xC00FFC00u) | ((w >> 20) & 0x3FF) | ((w & 0x3FF) << 20); }

struct Entry {
    RegionOp flipRows;
    RegionOp mirror;  // columns are mirrored for 24, 32 and 128 bits only
    RegionOp swapRB;
};

constexpr QzPixelType kFirstType = QzPixelPal4;
// Types 23 to 34; 33 is no type. A null function is E_NOTIMPL.
constexpr Entry kEntries[] = {
    {flipRowsNibbles, nullptr, nullptr},                                       // 23 Pal4
    {flipRowsBytes<1>, nullptr, nullptr},                                      // 24 Pal8
    {flipRowsBytes<2>, nullptr, swapRBPacked<uint16_t, swap555>},              // 25 RGB555
    {flipRowsBytes<2>, nullptr, swapRBPacked<uint16_t, swap565>},              // 26 RGB565
    {flipRowsBytes<3>, mirrorColumns<3>, swapRBChannels<3, 1>},                // 27 RGB24
    {flipRowsBytes<4>, mirrorColumns<4>, swapRBChannels<4, 1>},                // 28 RGB32
    {flipRowsBytes<4>, mirrorColumns<4>, swapRBChannels<4, 1>},                // 29 RGBA32
    {flipRowsBytes<4>, mirrorColumns<4>, swapRBPacked<uint32_t, swap101010>},  // 30 RGB10
    {flipRowsBytes<8>, nullptr, swapRBChannels<8, 2>},                         // 31 RGBA64
    {flipRowsBytes<16>, mirrorColumns<16>, swapRBChannels<16, 4>},             // 32 RGBA128
    {nullptr, nullptr, nullptr},                                               // 33
    {flipRowsBytes<4>, mirrorColumns<4>, swapRBPacked<uint32_t, swap101010>},  // 34 RGB10Alt
};

const Entry* entryOf(const BITMAPINFOHEADER* header) {
    const QzPixelType type = QzGetPixelType(header);
    const int32_t index = type - kFirstType;
    if (index < 0 || index >= static_cast<int32_t>(std::size(kEntries))) return nullptr;
    return &kEntries[index];
}

// Clips the rectangle (default: the whole image) to the image; false when
// nothing is left.
bool regionOf(Region& out, const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride) {
    const RECT image{0, 0, header->biWidth, header->biHeight};
    const RECT r = intersect(rect ? *rect : image, image);
    if (isEmpty(r)) return false;
    out.stride = qz::strideOf(header, stride);
    uint8_t* base = qz::bitsOf(header, bits);
    out.row = base + static_cast<ptrdiff_t>(header->biHeight - r.bottom) * out.stride;
    out.rows = height(r);
    out.left = r.left;
    out.width = width(r);
    return true;
}

}  // namespace

extern "C" HRESULT QzDibFlip(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride,
                             int32_t mirrorColumns, int32_t flipRows) {
    if (!header) return E_POINTER;
    const Entry* e = entryOf(header);
    if (!e || !e->flipRows || (mirrorColumns && !e->mirror)) return E_NOTIMPL;
    Region r;
    if (!regionOf(r, header, bits, rect, stride)) return S_OK;
    if (flipRows) e->flipRows(r);
    if (mirrorColumns) e->mirror(r);
    return S_OK;
}

extern "C" HRESULT QzDibSwapRB(const BITMAPINFOHEADER* header, void* bits, const RECT* rect, int32_t stride) {
    if (!header) return E_POINTER;
    const Entry* e = entryOf(header);
    if (!e || !e->swapRB) return E_NOTIMPL;
    Region r;
    if (!regionOf(r, header, bits, rect, stride)) return S_OK;
    e->swapRB(r);
    return S_OK;
}
