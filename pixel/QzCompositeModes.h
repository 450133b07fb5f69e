// The composite modes as per-pixel operators on four samples of bytes, u16
// or floats (not exported), shared by the exchange's blend operations and
// the compositing row loops. The table of formulas is in QzDibComposite.h.
#pragma once

#include <algorithm>
#include <cstdint>

#include "QzDibComposite.h"

namespace qz::composite {

// Integer samples: each formula is a numerator over kOne with one
// truncating division, then clamped to the sample range.
template <class C, class Wide, int64_t One>
struct IntArith {
    using Sample = C;
    using V = Wide;
    static constexpr V kOne = One;
    static V norm(V n) { return n / kOne; }
    static C store(V v) { return static_cast<C>(std::clamp<V>(v, 0, kOne)); }
    // d + ((r - d) * w) / 65536, truncating toward zero like the library's
    // other mixes; w of 65536 lands on r.
    static C mix(C d, C r, V w) { return static_cast<C>(d + ((V{r} - d) * w) / 65536); }
    static V weight(uint32_t w) { return static_cast<V>(std::min<uint32_t>(w, 65536)); }
};

struct FloatArith {
    using Sample = float;
    using V = float;
    static constexpr V kOne = 1.0f;
    static V norm(V n) { return n; }
    static float store(V v) { return v; }
    static float mix(float d, float r, V w) { return d + (r - d) * w; }
    static V weight(uint32_t w) { return static_cast<float>(std::min<uint32_t>(w, 65536)) * (1.0f / 65536.0f); }
};

template <class C>
struct ArithOf;
template <>
struct ArithOf<uint8_t> {
    using type = IntArith<uint8_t, int32_t, 255>;
};
template <>
struct ArithOf<uint16_t> {
    using type = IntArith<uint16_t, int64_t, 65535>;
};
template <>
struct ArithOf<float> {
    using type = FloatArith;
};

// One colour channel of mode M.
template <uint32_t M, class A>
typename A::V color(typename A::V s, typename A::V d, typename A::V sa, typename A::V da) {
    using V = typename A::V;
    constexpr V one = A::kOne;
    if constexpr (M == QZCOMPOSITE_OVER) {
        return A::norm(s * one + d * (one - sa));
    } else if constexpr (M == QZCOMPOSITE_UNDER) {
        return A::norm(d * one + s * (one - da));
    } else if constexpr (M == QZCOMPOSITE_IN) {
        return A::norm(s * da);
    } else if constexpr (M == QZCOMPOSITE_OUT) {
        return A::norm(s * (one - da));
    } else if constexpr (M == QZCOMPOSITE_ATOP) {
        return A::norm(s * da + d * (one - sa));
    } else if constexpr (M == QZCOMPOSITE_XOR) {
        return A::norm(s * (one - da) + d * (one - sa));
    } else if constexpr (M == QZCOMPOSITE_PLUS) {
        return std::min(one, s + d);
    } else if constexpr (M == QZCOMPOSITE_MULTIPLY) {
        return A::norm(s * d + s * (one - da) + d * (one - sa));
    } else if constexpr (M == QZCOMPOSITE_SCREEN) {
        return A::norm((s + d) * one - s * d);
    } else if constexpr (M == QZCOMPOSITE_OVERLAY) {
        const V x = 2 * d <= da ? 2 * s * d : sa * da - 2 * (da - d) * (sa - s);
        return A::norm(s * (one - da) + d * (one - sa) + x);
    } else if constexpr (M == QZCOMPOSITE_DARKEN) {
        return A::norm((s + d) * one - std::max(s * da, d * sa));
    } else if constexpr (M == QZCOMPOSITE_LIGHTEN) {
        return A::norm((s + d) * one - std::min(s * da, d * sa));
    } else if constexpr (M == QZCOMPOSITE_DIFFERENCE) {
        return A::norm((s + d) * one - 2 * std::min(s * da, d * sa));
    } else {
        static_assert(M == QZCOMPOSITE_SUBTRACT);
        return std::max(V{0}, d - s);
    }
}

// The alpha of mode M.
template <uint32_t M, class A>
typename A::V alpha(typename A::V sa, typename A::V da) {
    using V = typename A::V;
    constexpr V one = A::kOne;
    if constexpr (M == QZCOMPOSITE_OVER) {
        return A::norm(sa * one + da * (one - sa));
    } else if constexpr (M == QZCOMPOSITE_UNDER) {
        return A::norm(da * one + sa * (one - da));
    } else if constexpr (M == QZCOMPOSITE_IN) {
        return A::norm(sa * da);
    } else if constexpr (M == QZCOMPOSITE_OUT) {
        return A::norm(sa * (one - da));
    } else if constexpr (M == QZCOMPOSITE_ATOP || M == QZCOMPOSITE_SUBTRACT) {
        return da;
    } else if constexpr (M == QZCOMPOSITE_XOR) {
        return A::norm(sa * (one - da) + da * (one - sa));
    } else if constexpr (M == QZCOMPOSITE_PLUS) {
        return std::min(one, sa + da);
    } else {
        static_assert(M >= QZCOMPOSITE_MULTIPLY && M <= QZCOMPOSITE_DIFFERENCE);
        return A::norm((sa + da) * one - sa * da);
    }
}

// d = mode M of s over d, four samples blue first with alpha last. Both
// alphas are read before anything is written, so d may alias s.
template <uint32_t M, class C>
inline void compose(C* d, const C* s) {
    using A = typename ArithOf<C>::type;
    using V = typename A::V;
    const V sa = s[3], da = d[3];
    for (int c = 0; c < 3; ++c) d[c] = A::store(color<M, A>(s[c], d[c], sa, da));
    d[3] = A::store(alpha<M, A>(sa, da));
}

// d moves toward r by weight in 1/65536 (65536 and above: r itself).
template <class C>
inline void mixToward(C* d, const C* r, uint32_t weight) {
    using A = typename ArithOf<C>::type;
    const auto w = A::weight(weight);
    for (int c = 0; c < 4; ++c) d[c] = A::mix(d[c], r[c], w);
}

// Mode M at a strength: the pixel takes the share weight / 65536 of the
// mode's result.
template <uint32_t M, class C>
inline void composeWeighted(C* d, const C* s, uint32_t weight) {
    C r[4] = {d[0], d[1], d[2], d[3]};
    compose<M>(r, s);
    mixToward(d, r, weight);
}

// The check that opens every compositing entry.
inline HRESULT checkProps(const QzDibCompositeProps* props) {
    if (!props) return E_POINTER;
    if (props->mode == QZCOMPOSITE_CALLER) return props->blend ? S_OK : E_INVALIDARG;
    return props->mode < QZCOMPOSITE_MODES ? S_OK : E_NOTIMPL;
}

}  // namespace qz::composite
