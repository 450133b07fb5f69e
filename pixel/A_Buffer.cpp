// The A-buffer's life: tables, the item pool and the frame's set-up and
// end. Drawing is in A_BufferDraw.cpp, resolving rows in
// A_BufferScanLine.cpp.
#include "A_Buffer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>

#include "QzDescriptorView.h"
#include "QzXchg.h"

namespace {

// Both exchanges interpolate (mode 3) and widen bytes exactly (32).
constexpr uint32_t kExchangeFlags = 35;

// Clamped to 0..1; NaN reads as 0.
float unitLevel(float level) { return level > 0.0f ? (level < 1.0f ? level : 1.0f) : 0.0f; }

// The level of blend operation 1, held inverted as the share of the pixel
// that stays, in every form the block may blend in.
void setLevel(QzXCHG& exchange, float level) {
    exchange.level16 = ~static_cast<uint32_t>(level * 65535.0f);
    exchange.level8 = ~static_cast<uint32_t>(level * 255.0f);
    exchange.levelFloat = 1.0f - level;
    exchange.level14 = static_cast<int32_t>(level * 16384.0f);
}

void completeImage(tA_BUFFER_IMAGE& image) {
    image.bits = qz::bitsOf(image.header, image.bits);
    image.stride = qz::strideOf(image.header, image.stride);
    image.bitsPerPixel = image.header->biBitCount;
    image.bytesPerPixel = static_cast<uint16_t>(image.header->biBitCount / 8);
}

}  // namespace

A_Buffer::A_Buffer()
    : m_rows{},
      m_param{},
      m_srcToDst{},
      m_dstToDst{},
      m_bitCount{},
      m_root{},
      m_nextItem(0),
      m_quantizer(nullptr, &QzDibFreeColorQuantizer) {}

A_Buffer::~A_Buffer() = default;

int32_t A_Buffer::Init() {
    for (uint32_t i = 0; i < 65536; ++i) m_bitCount[i] = static_cast<uint8_t>(std::popcount(i));
    for (int32_t i = 0; i < 1024; ++i) m_root[i] = static_cast<int32_t>(std::pow(i * 0.0009765625, 0.5) * 1024.0);
    std::fill(std::begin(m_rows), std::end(m_rows), nullptr);
    m_param.state = {};
    m_nextItem = 0;
    try {
        m_pool = std::make_unique<tA_BUFFER_ITEM[]>(kPoolItems);  // value-initialised: zero-filled
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 1;
}

int32_t A_Buffer::BeginFrame(const tA_BUFFER_PARAM* param) {
    m_param.state = {};
    m_quantizer.reset();
    m_srcToDst.quantizer = m_dstToDst.quantizer = nullptr;
    if (!param || !m_pool || !param->destination.header || !param->sources[0].header) return 0;
    if (param->sourceCount < 1 || param->sourceCount > A_BUFFER_MAX_SOURCES) return 0;

    // One exchange serves every source, so they must share a pixel type, and
    // each must have a texel to sample.
    const QzPixelType srcType = QzGetPixelType(param->sources[0].header);
    for (int32_t i = 0; i < param->sourceCount; ++i) {
        const BITMAPINFOHEADER* h = param->sources[i].header;
        if (!h || QzGetPixelType(h) != srcType || h->biWidth < 1 || h->biHeight < 1) return 0;
    }
    const BITMAPINFOHEADER* dstHeader = param->destination.header;
    const QzPixelType dstType = QzGetPixelType(dstHeader);
    if (QzXCHGGetFunctionPointers(srcType, dstType, kExchangeFlags, &m_srcToDst, QZXCHG_BLEND_AT_LEVEL, 0.0, 0.0) < 0)
        return 0;
    if (QzXCHGGetFunctionPointers(dstType, dstType, kExchangeFlags, &m_dstToDst, QZXCHG_BLEND_AT_LEVEL, 0.0, 0.0) < 0)
        return 0;
    // Note: texels arrive in the form of the source-to-destination exchange
    // and are blended in that of the destination-to-destination one. The
    // two differ only for mixed depths, where the first is the u16 form, so
    // the second is then made in the u16 form too.
    if (m_dstToDst.width != m_srcToDst.width &&
        QzXCHGGetFunctionPointers(dstType, dstType, kExchangeFlags | QZCOPY_WORD_FORM, &m_dstToDst,
                                  QZXCHG_BLEND_AT_LEVEL, 0.0, 0.0) < 0)
        return 0;

    qz::QuantizerPtr quantizer;
    if (qz::quantizerFor(dstHeader, dstType, quantizer) < 0) return 0;
    m_quantizer.reset(quantizer.release());
    m_srcToDst.quantizer = m_dstToDst.quantizer = m_quantizer.get();
    // Palette sources share the first source's palette: one exchange holds one.
    if (qz::isPaletteType(srcType))
        QzXCHGSetSourcePalette(&m_srcToDst, qz::paletteOf(*param->sources[0].header),
                               qz::paletteEntries(*param->sources[0].header));
    if (qz::isPaletteType(dstType))
        QzXCHGSetSourcePalette(&m_dstToDst, qz::paletteOf(*dstHeader), qz::paletteEntries(*dstHeader));

    const float level = unitLevel(param->level);
    setLevel(m_srcToDst, level);
    setLevel(m_dstToDst, level);

    m_param = *param;
    m_param.level = level;
    completeImage(m_param.destination);
    for (int32_t i = 0; i < m_param.sourceCount; ++i) completeImage(m_param.sources[i]);

    std::fill(std::begin(m_rows), std::end(m_rows), nullptr);
    m_nextItem = 0;
    m_param.state.drawing = 1;
    m_param.state.rows = std::clamp(dstHeader->biHeight, 0, kMaxRows);
    m_param.state.width = std::max(dstHeader->biWidth, 0);
    return 1;
}

tA_BUFFER_ITEM* A_Buffer::TakeItem(int32_t row) {
    tA_BUFFER_ITEM* item = &m_pool[m_nextItem];
    // Once this frame has used the whole pool the item is its oldest piece,
    // and so the tail of its row's newest-first list: cut it off there.
    // Pieces lost this way are the price of a bounded pool.
    if (m_param.state.itemsUsed >= static_cast<uint32_t>(kPoolItems) && item->link) *item->link = nullptr;
    m_nextItem = m_nextItem + 1 == kPoolItems ? 0 : m_nextItem + 1;
    if (m_param.state.itemsUsed != UINT32_MAX) ++m_param.state.itemsUsed;

    item->next = m_rows[row];
    if (item->next) item->next->link = &item->next;
    item->link = &m_rows[row];
    m_rows[row] = item;
    return item;
}

void A_Buffer::EndFrame() {
    if (m_param.state.drawing) {
        for (int32_t row = 0; row < m_param.state.rows; ++row)
            if (m_rows[row]) DrawScanLine(row);
    }
    m_param.state.drawing = 0;
    m_srcToDst.quantizer = m_dstToDst.quantizer = nullptr;
    m_quantizer.reset();
}

void A_Buffer::FreeListItems() {
    m_param.state.drawing = 0;
    std::fill(std::begin(m_rows), std::end(m_rows), nullptr);
    m_pool.reset();
    m_nextItem = 0;
}

void A_Buffer::Cleanup() {
    FreeListItems();
    m_srcToDst.quantizer = m_dstToDst.quantizer = nullptr;
    m_quantizer.reset();
}
