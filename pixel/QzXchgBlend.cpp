// The exchange's blend operations: QZXCHG_BLEND_OPERATIONS per variant, one
// table per exchange width. An operation is added by one line in
// operations() below; the entries left null answer E_NOTIMPL.
#include <array>

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

template <int W>
constexpr Table operations() {
    Table t{};
    t[QZXCHG_BLEND_TOWARD_SOURCE] = &towardSource<W>;
    return t;
}

// [variant][width]. The second variant (flag 64) shares the feathering mix.
constexpr Table kTables[2][3] = {
    {operations<0>(), operations<1>(), operations<2>()},
    {operations<0>(), operations<1>(), operations<2>()},
};

}  // namespace

QzXchgBlendFn blendFunction(int32_t variant, int32_t width, int32_t op) {
    if (variant < 0 || variant > 1 || width < 0 || width > 2 || op < 0 || op >= QZXCHG_BLEND_OPERATIONS)
        return nullptr;
    return kTables[variant][width][op];
}

}  // namespace qz::xchg
