// Resolving a row of pieces into the destination.
//
// Weighting. A row's pieces are swept left to right. At each pixel the
// pieces over it are taken latest drawn first, and each claims those of the
// pixel's 1024 sub-samples that its mask covers and no piece before it has
// claimed; a piece covering the pixel whole claims all that are left
// without building a mask. A piece weighs its claim times its opacity,
// w = claim * opacity >> 10. The pixel's colour is the pieces' texels
// weighted by their shares, sum(texel * w) / sum(w) (truncating in the
// integer forms), laid over the destination by blend operation 1 at weight
// sum(w) * 64: 65536 for a pixel covered whole at full opacity. So a pixel
// split between two abutting polygons takes both colours by their shares
// and none of the background, and a pixel on an outer edge keeps the
// background by the share left uncovered.
#include <algorithm>
#include <cstddef>

#include "A_Buffer.h"

namespace {

constexpr int32_t kOne = 16384;

template <int W>
struct Forms;
template <>
struct Forms<0> {
    using Pixel = tQZPIXEL32;
    using Sum = uint32_t;
};
template <>
struct Forms<1> {
    using Pixel = tQZPIXEL64;
    using Sum = uint32_t;
};
template <>
struct Forms<2> {
    using Pixel = tQZPIXEL128;
    using Sum = float;
};

bool interiorAt(const tA_BUFFER_ITEM& p, int32_t col) {
    return p.state > 0xFFFFFFFEu && col >= p.span.interiorFirst && col < p.span.interiorEnd;
}

tA_BUFFER_ITEM* mergeByFirst(tA_BUFFER_ITEM* a, tA_BUFFER_ITEM* b) {
    tA_BUFFER_ITEM* out = nullptr;
    tA_BUFFER_ITEM** tail = &out;
    while (a && b) {
        tA_BUFFER_ITEM*& taken = b->span.first < a->span.first ? b : a;
        *tail = taken;
        tail = &taken->next;
        taken = taken->next;
    }
    *tail = a ? a : b;
    return out;
}

// A stable merge sort of a row's list by first column: no allocation, and
// the recursion is as deep as log2 of the pool.
tA_BUFFER_ITEM* sortByFirst(tA_BUFFER_ITEM* list) {
    if (!list || !list->next) return list;
    tA_BUFFER_ITEM *slow = list, *fast = list->next;
    while (fast && fast->next) {
        slow = slow->next;
        fast = fast->next->next;
    }
    tA_BUFFER_ITEM* second = slow->next;
    slow->next = nullptr;
    return mergeByFirst(sortByFirst(list), sortByFirst(second));
}

// One row's sweep in exchange form W: source texels arrive through `src`,
// the destination is read, blended and written through `dst`.
template <int W>
class Resolver {
public:
    using Pixel = typename Forms<W>::Pixel;
    using Sum = typename Forms<W>::Sum;

    Resolver(const A_Buffer& buffer, QzXCHG& src, QzXCHG& dst, const tA_BUFFER_PARAM& param)
        : m_buffer(buffer), m_src(src), m_dst(dst), m_param(param) {}

    void run(tA_BUFFER_ITEM* list, int32_t row) {
        uint32_t rank = 0;
        for (tA_BUFFER_ITEM* p = list; p; p = p->next) {
            p->rank = rank++;  // the list runs newest first
            p->link = nullptr;
        }
        const tA_BUFFER_IMAGE& d = m_param.destination;
        m_dstRow = static_cast<uint8_t*>(d.bits) + static_cast<std::ptrdiff_t>(d.header->biHeight - row - 1) * d.stride;

        tA_BUFFER_ITEM* pending = sortByFirst(list);
        tA_BUFFER_ITEM* active = nullptr;  // by rank, latest drawn first
        int32_t col = INT32_MIN;
        while (pending || active) {
            if (!active) col = std::max(col, pending->span.first);
            while (pending && pending->span.first <= col) {
                tA_BUFFER_ITEM* p = pending;
                pending = p->next;
                tA_BUFFER_ITEM** at = &active;
                while (*at && (*at)->rank < p->rank) at = &(*at)->next;
                p->next = *at;
                *at = p;
            }
            const tA_BUFFER_ITEM& top = *active;
            if (!top.next && interiorAt(top, col)) {
                // A run of whole pixels of one piece needs no masks.
                const int32_t end =
                    std::min({top.span.interiorEnd, top.span.last + 1, pending ? pending->span.first : INT32_MAX});
                const uint32_t weight = uint32_t{top.opacity} * 64;
                for (; col < end; ++col) lay(col, sample(top, col), weight);
            } else {
                resolvePixel(active, col);
                ++col;
            }
            for (tA_BUFFER_ITEM** at = &active; *at;) {
                if ((*at)->span.last < col)
                    *at = (*at)->next;
                else
                    at = &(*at)->next;
            }
        }
    }

private:
    void resolvePixel(const tA_BUFFER_ITEM* active, int32_t col) {
        SUBPIXELMASK taken{};
        int32_t used = 0;
        uint32_t total = 0;
        int32_t contributors = 0;
        Sum sum[4]{};
        Pixel only{};
        for (const tA_BUFFER_ITEM* p = active; p && used < 1024; p = p->next) {
            int32_t claim;
            if (interiorAt(*p, col)) {
                claim = 1024 - used;
                used = 1024;
            } else {
                SUBPIXELMASK mine{}, fresh;
                coverage(*p, col, mine);
                for (int32_t i = 0; i < 32; ++i) {
                    fresh.rows[i] = mine.rows[i] & ~taken.rows[i];
                    taken.rows[i] |= mine.rows[i];
                }
                claim = m_buffer.CountBits(fresh);
                used += claim;
            }
            const uint32_t w = (static_cast<uint32_t>(claim) * p->opacity) >> 10;
            if (!w) continue;
            only = sample(*p, col);
            const Sum sw = static_cast<Sum>(w);
            sum[0] += only.b * sw;
            sum[1] += only.g * sw;
            sum[2] += only.r * sw;
            sum[3] += only.a * sw;
            total += w;
            ++contributors;
        }
        if (!total) return;
        if (contributors > 1) {
            using C = decltype(only.b);
            const Sum t = static_cast<Sum>(total);
            only = Pixel{static_cast<C>(sum[0] / t), static_cast<C>(sum[1] / t), static_cast<C>(sum[2] / t),
                         static_cast<C>(sum[3] / t)};
        }
        lay(col, only, total * 64);
    }

    // The piece's sub-samples in pixel `col`, band by band.
    static void coverage(const tA_BUFFER_ITEM& p, int32_t col, SUBPIXELMASK& mask) {
        for (int32_t i = 0; i < p.bandCount; ++i) {
            const SCANLINESTEP band{p.y[i], p.y[i + 1], p.x[i][0], p.x[i][1], p.x[i][2], p.x[i][3]};
            const SCANLINESTEP step = CScanlineIntersect::ClipToPixelBoundries(band, col);
            if (p.bandCount == 1) {
                A_Buffer::GetSubPixelCoverage(step, mask);
                return;
            }
            SUBPIXELMASK part{};
            A_Buffer::GetSubPixelCoverage(step, part);
            for (int32_t s = 0; s < 32; ++s) mask.rows[s] |= part.rows[s];
        }
    }

    const uint8_t* sourceRow(const tA_BUFFER_IMAGE& s, int32_t y) const {
        return static_cast<const uint8_t*>(s.bits) + static_cast<std::ptrdiff_t>(s.header->biHeight - 1 - y) * s.stride;
    }

    // The texel under column `col`, read at its 14-bit fractions. At a zero
    // fraction the read that does not reach the neighbour is used: the
    // results are the same, and the last column and row are never read past.
    Pixel sample(const tA_BUFFER_ITEM& p, int32_t col) {
        const tA_BUFFER_IMAGE& s = m_param.sources[p.source];
        const int64_t k = int64_t{col} - p.span.first;
        const int64_t maxU = int64_t{s.header->biWidth - 1} * kOne, maxV = int64_t{s.header->biHeight - 1} * kOne;
        const int64_t u = std::clamp((int64_t{p.span.u} * 1024 + k * p.span.du) >> 10, int64_t{0}, maxU);
        const int64_t v = std::clamp((int64_t{p.span.v} * 1024 + k * p.span.dv) >> 10, int64_t{0}, maxV);
        const auto x = static_cast<int32_t>(u >> 14), y = static_cast<int32_t>(v >> 14);
        m_src.fx = static_cast<int32_t>(u & (kOne - 1));
        m_src.fy = static_cast<int32_t>(v & (kOne - 1));
        const uint8_t* near = sourceRow(s, y);
        Pixel out;
        if (m_src.fx && m_src.fy)
            m_src.readHV(&m_src, near, sourceRow(s, y + 1), x, &out);
        else if (m_src.fx)
            m_src.readH(&m_src, near, near, x, &out);
        else if (m_src.fy)
            m_src.readV(&m_src, near, sourceRow(s, y + 1), x, &out);
        else
            m_src.read(&m_src, near, x, &out);
        if (p.shade != 65536) shadeBy(out, p.shade);
        return out;
    }

    static void shadeBy(Pixel& px, uint32_t shade) {
        using C = decltype(px.b);
        if constexpr (W == 2) {
            const float f = static_cast<float>(shade) * (1.0f / 65536.0f);
            px.b *= f;
            px.g *= f;
            px.r *= f;
        } else {
            px.b = static_cast<C>((px.b * shade) >> 16);
            px.g = static_cast<C>((px.g * shade) >> 16);
            px.r = static_cast<C>((px.r * shade) >> 16);
        }
    }

    void lay(int32_t col, const Pixel& colour, uint32_t weight) {
        Pixel d;
        m_dst.read(&m_dst, m_dstRow, col, &d);
        m_dst.blend(&m_dst, &d, &colour, weight);
        m_dst.write(&m_dst, m_dstRow, col, &d);
    }

    const A_Buffer& m_buffer;
    QzXCHG& m_src;
    QzXCHG& m_dst;
    const tA_BUFFER_PARAM& m_param;
    uint8_t* m_dstRow = nullptr;
};

}  // namespace

void A_Buffer::GetSubPixelCoverage(const SCANLINESTEP& step, SUBPIXELMASK& mask) {
    const int32_t y0 = std::clamp(step.y0, 0, kOne), y1 = std::clamp(step.y1, 0, kOne);
    // 512 units per sub-row. A step that reaches the row's bottom line ends
    // on sub-row 32, which only sets the pace of x.
    const int32_t first = y0 >> 9, last = y1 >> 9, subRows = last - first + 1;
    for (int32_t s = 0; s < first; ++s) mask.rows[s] = 0;
    const int32_t ends[2][2] = {{step.xl0, step.xl1}, {step.xr0, step.xr1}};
    for (int32_t k = 0; k < 2; ++k) {
        const int32_t dx = subRows > 1 ? (ends[k][1] - ends[k][0]) / (subRows - 1) : 0;
        // Note: the part-row correction scales by 6.1035156e-5 (1/16384) and
        // not by 1/512, so it moves x by 1/32 of the share of dx that the
        // first sub-row's remainder calls for; masks depend on it.
        int32_t x = ends[k][0] + static_cast<int32_t>(static_cast<float>((y0 & ~0x1FF) - y0 + 512) *
                                                      static_cast<float>(dx) * 6.1035156e-5f);
        for (int32_t s = first; s <= std::min(last, 31); ++s, x += dx) {
            const int32_t sub = std::max(x, 0) >> 9;
            if (sub >= 32) continue;  // the crossing lies on or beyond the pixel's right edge
            const uint32_t ramp = 0xFFFFFFFFu >> sub;
            if (k == 0)
                mask.rows[s] = ramp;
            else
                mask.rows[s] ^= ramp;
        }
    }
}

int32_t A_Buffer::CountBits(const SUBPIXELMASK& mask) const {
    int32_t n = 0;
    for (const uint32_t word : mask.rows) n += m_bitCount[word & 0xFFFF] + m_bitCount[word >> 16];
    return n;
}

void A_Buffer::DrawScanLine(int32_t row) {
    if (!m_param.state.drawing || row < 0 || row >= m_param.state.rows || !m_rows[row]) return;
    tA_BUFFER_ITEM* list = m_rows[row];
    m_rows[row] = nullptr;
    switch (m_dstToDst.width) {
        case 0: Resolver<0>(*this, m_srcToDst, m_dstToDst, m_param).run(list, row); break;
        case 1: Resolver<1>(*this, m_srcToDst, m_dstToDst, m_param).run(list, row); break;
        default: Resolver<2>(*this, m_srcToDst, m_dstToDst, m_param).run(list, row); break;
    }
}
