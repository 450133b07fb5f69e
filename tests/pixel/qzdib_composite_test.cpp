#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "QzDib.h"
#include "QzDibComposite.h"
#include "qz_test_dib.h"
#include "qz_test_image.h"

namespace {

using Px = std::array<uint8_t, 4>;
using Pf = std::array<float, 4>;

RECT one{0, 0, 1, 1};

template <class P>
P composite(P d, const P& s, uint32_t mode) {
    const QzDibCompositeProps props{sizeof props, mode, nullptr};
    const int32_t n = sizeof(P);
    EXPECT_EQ(QzDibCompositeUnscaled(d.data(), &one, n, nullptr, s.data(), &one, n, nullptr, n, &props), S_OK);
    return d;
}

Px pmBlend(Px d, const Px& s) {
    PMBlend_DUALALPHACH(d.data(), s.data(), 1);
    return d;
}

TEST(PMBlendDualAlpha, HandValuesGuardsAndSaturation) {
    // sa = da = 128: oa = 128 - 16384 / 255 + 128 = 192, k = 192 * 255 / 128 = 382.
    // Blue: t = 192 * 30 + 128 = 5888, m = 20 + ((23 + 5888) >> 8) = 43, 43 * 382 / 255 = 64.
    // Green: t = -9472, m = 60 + ((-37 - 9472) >> 8) = 22, 22 * 382 / 255 = 32.
    // Red: m = 175, 175 * 382 / 255 = 262 saturates.
    EXPECT_EQ(pmBlend({20, 60, 100, 128}, {50, 10, 200, 128}), (Px{64, 32, 255, 192}));
    // sa 255, da 0: k = 65025 / 127 = 512; 100 -> 200, 200 -> 401 saturates.
    EXPECT_EQ(pmBlend({0, 0, 0, 0}, {100, 200, 0, 255}), (Px{200, 255, 0, 255}));
    // One alpha 1, the other 0: the mean is 0, taken as 1, so k = 255 and
    // c = m: t = -200 + 128, m = 200 + ((-1 - 72) >> 8) = 199.
    EXPECT_EQ(pmBlend({200, 0, 0, 0}, {0, 0, 0, 1}), (Px{199, 0, 0, 1}));
    // Both alphas 0 leave the pixel; the count bounds the row.
    std::array<uint8_t, 12> row{9, 8, 7, 0, 1, 1, 1, 1, 5, 5, 5, 5};
    const std::array<uint8_t, 12> src{100, 100, 100, 0, 0, 0, 0, 255, 0, 0, 0, 255};
    PMBlend_DUALALPHACH(row.data(), src.data(), 2);
    EXPECT_EQ(row, (std::array<uint8_t, 12>{9, 8, 7, 0, 0, 0, 0, 255, 5, 5, 5, 5}));
    PMBlend_DUALALPHACH(nullptr, src.data(), 1);
}

TEST(QzDibCompositeModes, EachModeOnBytesFloatsAndTheExchange) {
    // S = (60, 100, 0 | 128) over D = (40, 150, 30 | 200); overlay takes its
    // first branch on blue (80 <= 200), its second on green. For instance
    // over blue: (60 * 255 + 40 * 127) / 255 = 79; overlay green: (100 * 55
    // + 150 * 127 + 128 * 200 - 2 * 50 * 28) / 255 = 185.
    const Px sb{60, 100, 0, 128}, db{40, 150, 30, 200};
    const Pf sf{0.25f, 0.5f, 0.0f, 0.5f}, df{0.5f, 0.25f, 0.75f, 0.75f};
    const std::array<std::pair<Px, Pf>, QZCOMPOSITE_MODES> expected{{
        {{79, 174, 14, 227}, {0.5f, 0.625f, 0.375f, 0.875f}},     // over
        {{52, 171, 30, 227}, {0.5625f, 0.375f, 0.75f, 0.875f}},   // under
        {{47, 78, 0, 100}, {0.1875f, 0.375f, 0.0f, 0.375f}},      // in
        {{12, 21, 0, 27}, {0.0625f, 0.125f, 0.0f, 0.125f}},       // out
        {{66, 153, 14, 200}, {0.4375f, 0.5f, 0.375f, 0.75f}},     // atop
        {{32, 96, 14, 127}, {0.3125f, 0.25f, 0.375f, 0.5f}},      // xor
        {{100, 250, 30, 255}, {0.75f, 0.75f, 0.75f, 1.0f}},       // plus
        {{42, 155, 14, 227}, {0.4375f, 0.375f, 0.375f, 0.875f}},  // multiply
        {{90, 191, 30, 227}, {0.625f, 0.625f, 0.75f, 0.875f}},    // screen
        {{51, 185, 14, 227}, {0.5625f, 0.5f, 0.75f, 0.875f}},     // overlay
        {{52, 171, 14, 227}, {0.5f, 0.375f, 0.375f, 0.875f}},     // darken
        {{79, 174, 30, 227}, {0.5625f, 0.625f, 0.75f, 0.875f}},   // lighten
        {{59, 99, 30, 227}, {0.375f, 0.5f, 0.75f, 0.875f}},       // difference
        {{0, 50, 30, 200}, {0.25f, 0.0f, 0.75f, 0.75f}},          // subtract
    }};
    auto bytes = std::make_unique<QzXCHG>(), floats = std::make_unique<QzXCHG>();
    for (uint32_t m = 0; m < QZCOMPOSITE_MODES; ++m) {
        EXPECT_EQ(composite(db, sb, m), expected[m].first) << m;
        EXPECT_EQ(composite(df, sf, m), expected[m].second) << m;
        const int32_t op = QZXCHG_BLEND_COMPOSITE_FIRST + static_cast<int32_t>(m);
        ASSERT_EQ(QzXCHGGetFunctionPointers(28, 29, 3 | QZCOPY_BLEND_VARIANT, bytes.get(), op, 0, 0), S_OK);
        ASSERT_EQ(QzXCHGGetFunctionPointers(32, 32, 0, floats.get(), op, 0, 0), S_OK);
        Px xb = db;
        bytes->blend(bytes.get(), xb.data(), sb.data(), 65536);
        EXPECT_EQ(xb, expected[m].first) << m;
        Pf xf = df;
        floats->blend(floats.get(), xf.data(), sf.data(), 65536);
        EXPECT_EQ(xf, expected[m].second) << m;
    }
    // Half strength: over gives 79; 40 + (39 * 32768) / 65536 = 59.
    ASSERT_EQ(QzXCHGGetFunctionPointers(28, 28, 3, bytes.get(), QZXCHG_BLEND_COMPOSITE_FIRST, 0, 0), S_OK);
    Px half = db;
    bytes->blend(bytes.get(), half.data(), sb.data(), 32768);
    EXPECT_EQ(half, (Px{59, 162, 22, 213}));
    // The u16 form divides by 65535: 1000 + 65535 * 32767 / 65535.
    ASSERT_EQ(QzXCHGGetFunctionPointers(28, 28, 0x13, bytes.get(), QZXCHG_BLEND_COMPOSITE_FIRST, 0, 0), S_OK);
    tQZPIXEL64 w{65535, 0, 0, 65535};
    const tQZPIXEL64 ws{1000, 0, 0, 32768};
    bytes->blend(bytes.get(), &w, &ws, 65536);
    EXPECT_EQ(w.b, 33767u);
    EXPECT_EQ(w.a, 65535u);
    EXPECT_EQ(QzXCHGGetFunctionPointers(28, 28, 3, bytes.get(), QZXCHG_BLEND_COMPOSITE_FIRST + 14, 0, 0), E_NOTIMPL);
}

std::atomic<int> gCalls{0};
void addOne(void* d, const void* s, int32_t bytesPerPixel) {
    ++gCalls;
    if (bytesPerPixel == 4) static_cast<uint8_t*>(d)[0] = static_cast<const uint8_t*>(s)[0] + 1;
}

TEST(QzDibComposite, CallerFunctionAndMisuse) {
    qztest::Image<uint8_t> d(3, 2, 0), s(3, 2, 7);
    const QzDibCompositeProps caller{sizeof caller, QZCOMPOSITE_CALLER, &addOne};
    ASSERT_EQ(QzDibCompositeUnscaled(d.px.data(), &d.bounds, d.stride(), nullptr, s.px.data(), &s.bounds, s.stride(),
                                     nullptr, 4, &caller),
              S_OK);
    EXPECT_EQ(gCalls.load(), 6);
    for (int32_t i = 0; i < 6; ++i) EXPECT_EQ(d.px[size_t(i) * 4], 8) << i;

    const QzDibCompositeProps noFn{sizeof noFn, QZCOMPOSITE_CALLER, nullptr};
    const QzDibCompositeProps bad{sizeof bad, QZCOMPOSITE_MODES, nullptr};
    const QzDibCompositeProps over{sizeof over, QZCOMPOSITE_OVER, nullptr};
    const auto unscaled = [&](const QzDibCompositeProps* p, int32_t bpp, const RECT* rect = nullptr) {
        return QzDibCompositeUnscaled(d.px.data(), &d.bounds, d.stride(), rect, s.px.data(), &s.bounds, s.stride(),
                                      rect, bpp, p);
    };
    EXPECT_EQ(unscaled(nullptr, 4), E_POINTER);
    EXPECT_EQ(unscaled(&noFn, 4), E_INVALIDARG);
    EXPECT_EQ(unscaled(&bad, 4), E_NOTIMPL);
    EXPECT_EQ(unscaled(&over, 8), E_NOTIMPL);

    qztest::TestDib b8(QzPixelRGBA32, 2, 2), b24(QzPixelRGB24, 2, 2), f(QzPixelRGBA128, 2, 2);
    EXPECT_EQ(QzDibComposite(b8.header(), nullptr, nullptr, 0, f.header(), nullptr, nullptr, 0, &over, 0),
              E_INVALIDARG);
    EXPECT_EQ(QzDibComposite(nullptr, nullptr, nullptr, 0, b8.header(), nullptr, nullptr, 0, &over, 0), E_POINTER);
    EXPECT_EQ(d.px[0], 8) << "nothing written by a refused call";
}

TEST(QzDibComposite, BottomUpDescriptorsInWholeAndSubPixelUnits) {
    // Whole pixels; the same in 1/16384 (divided back); a source stretched
    // to twice its width, which goes the sub-pixel way.
    constexpr int32_t u = QZ_SUBPIXEL_ONE;
    const struct {
        uint32_t flags;
        RECT dr;
        int32_t x0, x1;
    } cases[] = {{0, {1, 1, 2, 3}, 1, 2}, {QZCOPY_SUBPIXEL, {u, u, 2 * u, 3 * u}, 1, 2}, {0, {0, 1, 2, 3}, 0, 2}};
    const QzDibCompositeProps over{sizeof over, QZCOMPOSITE_OVER, nullptr};
    for (const auto& c : cases) {
        qztest::TestDib dst(QzPixelRGB32, 3, 3), src(QzPixelRGBA32, 1, 2);
        std::fill(dst.bits(), dst.bits() + dst.header()->biSizeImage, 0);
        src.put(0, 0, Px{0, 0, 255, 255});
        src.put(0, 1, Px{0, 255, 0, 255});
        ASSERT_EQ(QzDibComposite(dst.header(), nullptr, &c.dr, 0, src.header(), nullptr, nullptr, 0, &over, c.flags),
                  S_OK);
        for (int32_t x = c.x0; x < c.x1; ++x) {
            EXPECT_EQ(dst.get<Px>(x, 0), (Px{0, 0, 0, 0})) << x;
            EXPECT_EQ(dst.get<Px>(x, 1), (Px{0, 0, 255, 255})) << x;
            EXPECT_EQ(dst.get<Px>(x, 2), (Px{0, 255, 0, 255})) << x;
        }
        EXPECT_EQ(dst.get<Px>(2, 1), (Px{0, 0, 0, 0}));
    }
}

TEST(QzDibCompositeSP, HalfPixelEdgesTakeHalfWeight) {
    // The source's three pixels land on [0.5, 3.5) of a 4-pixel row.
    const SIZE dstSize{4, 1}, srcSize{3, 1};
    const RECT dr{QZ_SUBPIXEL_ONE / 2, 0, 7 * QZ_SUBPIXEL_ONE / 2, QZ_SUBPIXEL_ONE};
    const QzDibCompositeProps over{sizeof over, QZCOMPOSITE_OVER, nullptr};
    qztest::Image<uint8_t> d(4, 1, 0), s(3, 1, 0);
    for (int32_t x = 0; x < 3; ++x)
        for (int c = 0; c < 4; ++c) s.at(x, 0, c) = static_cast<uint8_t>(100 * (c % 2) + 100);
    ASSERT_EQ(
        QzDibCompositeSP(d.px.data(), &dstSize, d.stride(), &dr, s.px.data(), &srcSize, s.stride(), nullptr, 4, &over),
        S_OK);
    EXPECT_EQ(d.px, (std::vector<uint8_t>{50, 100, 50, 100, 100, 200, 100, 200, 100, 200, 100, 200, 50, 100, 50, 100}));
    // Under one source pixel scales nothing.
    const RECT sliver{0, 0, QZ_SUBPIXEL_ONE / 2, QZ_SUBPIXEL_ONE};
    EXPECT_EQ(QzDibCompositeSP(d.px.data(), &dstSize, d.stride(), nullptr, s.px.data(), &srcSize, s.stride(), &sliver,
                               4, &over),
              S_OK);
    EXPECT_EQ(d.px[0], 50);
}

TEST(QzDibCompositeUnscaled, ThreadsGiveTheSameImageAsOne) {
    // Large enough for the rows to be shared out.
    qztest::Image<uint8_t> s(131, 67, 0), a(131, 67, 0);
    std::mt19937 rng(7);
    for (auto& v : s.px) v = static_cast<uint8_t>(rng());
    for (auto& v : a.px) v = static_cast<uint8_t>(rng());
    qztest::Image<uint8_t> b = a;
    const QzDibCompositeProps overlay{sizeof overlay, QZCOMPOSITE_OVERLAY, nullptr};
    const int saved = omp_get_max_threads();
    omp_set_num_threads(1);
    ASSERT_EQ(QzDibCompositeUnscaled(a.px.data(), &a.bounds, a.stride(), nullptr, s.px.data(), &s.bounds, s.stride(),
                                     nullptr, 4, &overlay),
              S_OK);
    omp_set_num_threads(4);
    ASSERT_EQ(QzDibCompositeUnscaled(b.px.data(), &b.bounds, b.stride(), nullptr, s.px.data(), &s.bounds, s.stride(),
                                     nullptr, 4, &overlay),
              S_OK);
    omp_set_num_threads(saved);
    EXPECT_EQ(a.px, b.px);
}

}  // namespace
