// The exchange's blend operations: QZXCHG_BLEND_OPERATIONS per variant, one
// table per exchange width. An operation is added by one line in
// operations() below; the entries left null answer E_NOTIMPL.
#include <array>

#include "QzCompositeModes.h"
#include "QzXchgCodecs.h"

namespace qz::xchg {
namespace {

using Table = std::array<QzXchgBlendFn, QZXCHG_BLEND_OPERATIONS>;

// Operation 3: pixel += (src - pixel) * weight / 65536, truncating toward
// zero like the library's other mixes. At weight 65536 the result is src.
template <int W>
void towardSource(const QzXCHG*, void* pixel, const void* src, uint32_t weight) {
    auto& d = *static_cast<Form<W>*>(pixel);
    const auto& s = *static_cast<const Form<W>*>(src);
    if constexpr (W == 2) {
        const float w = static_cast<float>(weight) * (1.0f / 65536.0f);
        d = {d.b + (s.b - d.b) * w, d.g + (s.g - d.g) * w, d.r + (s.r - d.r) * w, d.a + (s.a - d.a) * w};
    } else {
        using Channel = decltype(d.b);
        const auto m = [weight](int64_t dv, int64_t sv) {
            return static_cast<Channel>(dv + ((sv - dv) * weight) / 65536);
        };
        d = {m(d.b, s.b), m(d.g, s.g), m(d.r, s.r), m(d.a, s.a)};
    }
}

// Operation 1. The inverted level is turned into the share of the source,
// widened so that full level is one whole (256, 65536, 1.0) and full level
// at full weight lands on src rather than one short of it.
template <int W>
void atLevel(const QzXCHG* x, void* pixel, const void* src, uint32_t weight) {
    auto& d = *static_cast<Form<W>*>(pixel);
    const auto& s = *static_cast<const Form<W>*>(src);
    if constexpr (W == 2) {
        const float w = (1.0f - x->levelFloat) * static_cast<float>(weight) * (1.0f / 65536.0f);
        d = {d.b + (s.b - d.b) * w, d.g + (s.g - d.g) * w, d.r + (s.r - d.r) * w, d.a + (s.a - d.a) * w};
    } else {
        using Channel = decltype(d.b);
        constexpr int64_t kOne = W == 0 ? 256 : 65536;
        const int64_t put = (kOne - 1) - (W == 0 ? (x->level8 & 0xFF) : (x->level16 & 0xFFFF));
        const int64_t w = ((put + (put >> (W == 0 ? 7 : 15))) * weight) >> 16;
        const auto m = [w](int64_t dv, int64_t sv) { return static_cast<Channel>(dv + ((sv - dv) * w) / kOne); };
        d = {m(d.b, s.b), m(d.g, s.g), m(d.r, s.r), m(d.a, s.a)};
    }
}

// Operations 4 to 17: composite mode M at the strength `weight`, the
// pixel taking that share of the mode's result.
template <int W, uint32_t M>
void compositeMode(const QzXCHG*, void* pixel, const void* src, uint32_t weight) {
    auto& d = *static_cast<Form<W>*>(pixel);
    const auto& s = *static_cast<const Form<W>*>(src);
    qz::composite::composeWeighted<M>(&d.b, &s.b, weight);
}

template <int W>
constexpr Table operations() {
    Table t{};
    t[QZXCHG_BLEND_AT_LEVEL] = &atLevel<W>;
    t[QZXCHG_BLEND_TOWARD_SOURCE] = &towardSource<W>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_OVER] = &compositeMode<W, QZCOMPOSITE_OVER>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_UNDER] = &compositeMode<W, QZCOMPOSITE_UNDER>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_IN] = &compositeMode<W, QZCOMPOSITE_IN>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_OUT] = &compositeMode<W, QZCOMPOSITE_OUT>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_ATOP] = &compositeMode<W, QZCOMPOSITE_ATOP>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_XOR] = &compositeMode<W, QZCOMPOSITE_XOR>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_PLUS] = &compositeMode<W, QZCOMPOSITE_PLUS>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_MULTIPLY] = &compositeMode<W, QZCOMPOSITE_MULTIPLY>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_SCREEN] = &compositeMode<W, QZCOMPOSITE_SCREEN>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_OVERLAY] = &compositeMode<W, QZCOMPOSITE_OVERLAY>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_DARKEN] = &compositeMode<W, QZCOMPOSITE_DARKEN>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_LIGHTEN] = &compositeMode<W, QZCOMPOSITE_LIGHTEN>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_DIFFERENCE] = &compositeMode<W, QZCOMPOSITE_DIFFERENCE>;
    t[QZXCHG_BLEND_COMPOSITE_FIRST + QZCOMPOSITE_SUBTRACT] = &compositeMode<W, QZCOMPOSITE_SUBTRACT>;
    return t;
}

// [variant][width]. The second variant (flag 64) shares every operation.
constexpr Table kTables[2][3] = {
    {operations<0>(), operations<1>(), operations<2>()},
    {operations<0>(), operations<1>(), operations<2>()},
};

}  // namespace

QzXchgBlendFn blendFunction(int32_t variant, int32_t width, int32_t op) {
    if (variant < 0 || variant > 1 || width < 0 || width > 2 || op < 0 || op >= QZXCHG_BLEND_OPERATIONS) return nullptr;
    return kTables[variant][width][op];
}

}  // namespace qz::xchg
