#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "QzDib.h"
#include "qz_test_dib.h"

// The exchange pixels are plain C records; compare them byte for byte.
static bool operator==(const tQZPIXEL32& a, const tQZPIXEL32& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
static bool operator==(const tQZPIXEL64& a, const tQZPIXEL64& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

namespace {

// Exchange blocks are large; keep them off the test's stack.
std::unique_ptr<QzXCHG> exchange(QzPixelType src, QzPixelType dst, uint32_t flags, double dstGamma = 0.0,
                                 double srcGamma = 0.0, int32_t blendOp = QZXCHG_NO_BLEND) {
    auto x = std::make_unique<QzXCHG>();
    EXPECT_EQ(QzXCHGGetFunctionPointers(src, dst, flags, x.get(), blendOp, dstGamma, srcGamma), S_OK);
    return x;
}

template <class P>
P read(const QzXCHG& x, const void* row, int32_t col = 0) {
    P p{};
    x.read(&x, static_cast<const uint8_t*>(row), col, &p);
    return p;
}

TEST(QzXCHGGetFunctionPointers, QualityModesRewriteTheFlagsWord) {
    EXPECT_EQ(exchange(28, 28, 1)->flags, 0x180u);
    EXPECT_EQ(exchange(28, 28, 2)->flags, 0x1C0u);
    EXPECT_EQ(exchange(28, 28, 3)->flags, 0x1E0u);
    EXPECT_EQ(exchange(28, 28, 4)->flags, 0x1F0u);
    // Bits 9-11 and 27 up do not survive a mode.
    EXPECT_EQ(exchange(28, 28, 0xFFFFFFF1u)->flags, 0x07FFF1F0u);
    // Mode 0 and modes above 4 keep the word.
    EXPECT_EQ(exchange(28, 28, 0x1234560)->flags, 0x1234560u);
    EXPECT_EQ(exchange(28, 28, 0x25)->flags, 0x25u);
}

TEST(QzXCHGGetFunctionPointers, WidthFollowsBothTypesAndFlag16) {
    EXPECT_EQ(exchange(28, 29, 0)->width, 0);
    EXPECT_EQ(exchange(28, 32, 0)->width, 1) << "one side without the byte form";
    EXPECT_EQ(exchange(20, 28, 0)->width, 1) << "grey bytes do not offer the byte form";
    EXPECT_EQ(exchange(32, 32, 0)->width, 2);
    EXPECT_EQ(exchange(28, 28, 4)->width, 1) << "mode 4 sets flag 16";
    EXPECT_EQ(exchange(22, 32, 0)->width, 1) << "only type 32 offers floats";
}

TEST(QzXCHGGetFunctionPointers, RejectsMisuse) {
    QzXCHG* none = nullptr;
    EXPECT_EQ(QzXCHGGetFunctionPointers(28, 28, 3, none, QZXCHG_NO_BLEND, 0, 0), E_POINTER);
    auto x = std::make_unique<QzXCHG>();
    for (QzPixelType bad : {0, 15, 33, 35, 64}) {
        EXPECT_EQ(QzXCHGGetFunctionPointers(bad, 28, 3, x.get(), QZXCHG_NO_BLEND, 0, 0), E_INVALIDARG) << bad;
        EXPECT_EQ(QzXCHGGetFunctionPointers(28, bad, 3, x.get(), QZXCHG_NO_BLEND, 0, 0), E_INVALIDARG) << bad;
    }
    EXPECT_EQ(QzXCHGGetFunctionPointers(28, 28, 3, x.get(), 20, 0, 0), E_INVALIDARG);
    // Compositing operations are not provided yet.
    EXPECT_EQ(QzXCHGGetFunctionPointers(28, 28, 3, x.get(), 0, 0, 0), E_NOTIMPL);
    EXPECT_EQ(QzXCHGGetFunctionPointers(28, 28, 3, x.get(), QZXCHG_BLEND_TOWARD_SOURCE, 0, 0), S_OK);
    EXPECT_NE(x->blend, nullptr);
    EXPECT_EQ(exchange(28, 28, 3)->blend, nullptr);
}

TEST(QzXchgByteWidening, BothVariantsRoundTripEveryByte) {
    const auto shifted = exchange(28, 28, 0x10);
    const auto exact = exchange(28, 28, 0x30);
    for (uint32_t b = 0; b < 256; ++b) {
        const uint8_t in[4] = {static_cast<uint8_t>(b), static_cast<uint8_t>(255 - b), 0, 255};
        const auto s = read<tQZPIXEL64>(*shifted, in);
        const auto e = read<tQZPIXEL64>(*exact, in);
        ASSERT_EQ(s.b, b << 8);
        ASSERT_EQ(e.b, b * 257);
        uint8_t outS[4] = {}, outE[4] = {};
        shifted->write(shifted.get(), outS, 0, &s);
        exact->write(exact.get(), outE, 0, &e);
        ASSERT_EQ(std::memcmp(outS, in, 4), 0) << b;
        ASSERT_EQ(std::memcmp(outE, in, 4), 0) << b;
    }
}

TEST(QzXchgInterpolation, ByteReadsTruncateEachWeight) {
    auto x = exchange(28, 28, 3);
    ASSERT_EQ(x->width, 0);
    const uint8_t nearRow[8] = {10, 200, 0, 255, 20, 100, 255, 255};
    const uint8_t farRow[8] = {30, 0, 0, 255, 41, 50, 255, 0};
    const auto at = [&](int32_t fx, int32_t fy) {
        x->fx = fx;
        x->fy = fy;
        tQZPIXEL32 p{};
        x->readHV(x.get(), nearRow, farRow, 0, &p);
        return p;
    };
    // All weights 4096: a truncated quarter of the sum.
    EXPECT_EQ(at(8192, 8192), (tQZPIXEL32{25, 87, 127, 191}));
    // Weights 0, 0, 16382, 0: 16383 * 16383 / 16384 loses its fraction.
    EXPECT_EQ(at(1, 16383), (tQZPIXEL32{29, 0, 0, 254}));
    // Weights 9299, 4084, 2084, 915, summing to 16382.
    EXPECT_EQ(at(5000, 3000), (tQZPIXEL32{16, 141, 77, 240}));

    // One-way reads: 20 * 16383 / 16384 + 10 / 16384; (200 * 12288 + 0 * 4096) / 16384.
    tQZPIXEL32 p{};
    x->fx = 16383;
    x->readH(x.get(), nearRow, farRow, 0, &p);
    EXPECT_EQ(p.b, 19);
    x->fy = 4096;
    x->readV(x.get(), nearRow, farRow, 0, &p);
    EXPECT_EQ(p.g, 150);
}

TEST(QzXchgInterpolation, WordFormFarRowBorrowsTheNearByte) {
    for (uint32_t flags : {0x10u, 0x30u}) {
        auto x = exchange(28, 31, flags);
        ASSERT_EQ(x->width, 1);
        const uint8_t dark[8] = {0, 0, 0, 0, 0, 0, 0, 0};
        const uint8_t light[8] = {255, 255, 255, 255, 255, 255, 255, 255};
        tQZPIXEL64 p{};
        // Near 0, far 255: the far sample is 255 << 8 + 0 = 65280, not 65535.
        x->fy = 16383;
        x->readV(x.get(), dark, light, 0, &p);
        EXPECT_EQ(p.b, 65276u) << flags;
        // Near 255 (65535), far 0 (0 << 8 + 255).
        x->fy = 8192;
        x->readV(x.get(), light, dark, 0, &p);
        EXPECT_EQ(p.b, 32895u) << flags;
        // Within the near row both samples widen by 257.
        const uint8_t ramp[8] = {255, 0, 0, 0, 0, 0, 0, 0};
        x->fx = 8192;
        x->readH(x.get(), ramp, ramp, 0, &p);
        EXPECT_EQ(p.b, 32767u) << flags;
    }
}

TEST(QzXchgInterpolation, FloatFormIsPlainBilinear) {
    auto x = exchange(32, 32, 3);
    ASSERT_EQ(x->width, 2);
    const float nearRow[8] = {0.0f, 1.0f, 2.0f, 1.0f, 1.0f, 1.0f, 2.0f, 1.0f};
    const float farRow[8] = {0.0f, 0.0f, -2.0f, 1.0f, 1.0f, 0.0f, -2.0f, 1.0f};
    x->fx = 4096;
    x->fy = 8192;
    tQZPIXEL128 p{};
    x->readHV(x.get(), reinterpret_cast<const uint8_t*>(nearRow), reinterpret_cast<const uint8_t*>(farRow), 0, &p);
    EXPECT_FLOAT_EQ(p.b, 0.25f);
    EXPECT_FLOAT_EQ(p.r, 0.0f) << "floats are not clamped";
}

TEST(QzXchgPixels, PackedWordTypesWidenByReplication) {
    const uint16_t rgb555 = 0x8000 | (31 << 10) | (16 << 5) | 1;
    EXPECT_EQ(read<tQZPIXEL64>(*exchange(25, 31, 3), &rgb555), (tQZPIXEL64{2114, 33825, 65535, 65535}));
    const uint16_t noAlpha = rgb555 & 0x7FFF;
    EXPECT_EQ(read<tQZPIXEL64>(*exchange(25, 31, 3), &noAlpha).a, 0) << "bit 15 is the alpha of 5-5-5";
    const uint16_t rgb565 = (31 << 11) | (32 << 5);
    EXPECT_EQ(read<tQZPIXEL64>(*exchange(26, 31, 3), &rgb565), (tQZPIXEL64{0, 33288, 65535, 65535}));
    const uint32_t rgb10 = (1u << 30) | (1023u << 20) | (512u << 10) | 1u;
    EXPECT_EQ(read<tQZPIXEL64>(*exchange(30, 31, 3), &rgb10), (tQZPIXEL64{64, 32800, 65535, 21845}));
    EXPECT_EQ(read<tQZPIXEL64>(*exchange(34, 31, 3), &rgb10), (tQZPIXEL64{64, 32800, 65535, 21845})) << "34 is 30";
}

TEST(QzXchgPixels, GreyAndPaletteTypesPackFirstPixelHigh) {
    const uint8_t grey4 = 0xA5;
    auto g4 = exchange(19, 31, 3);
    EXPECT_EQ(read<tQZPIXEL64>(*g4, &grey4, 0), (tQZPIXEL64{43690, 43690, 43690, 65535}));  // 10 * 17 * 257
    EXPECT_EQ(read<tQZPIXEL64>(*g4, &grey4, 1).b, 21845u);                                  // 5 * 17 * 257

    auto pal = exchange(23, 28, 3);
    const RGBQUAD entries[3] = {{0, 0, 0, 0}, {1, 2, 3, 0}, {40, 50, 60, 0}};
    QzXCHGSetSourcePalette(pal.get(), entries, 3);
    const uint8_t indices = 0x21;
    EXPECT_EQ(read<tQZPIXEL64>(*pal, &indices, 0), (tQZPIXEL64{40 * 257, 50 * 257, 60 * 257, 65535}));
    EXPECT_EQ(read<tQZPIXEL64>(*pal, &indices, 1), (tQZPIXEL64{257, 2 * 257, 3 * 257, 65535}));
    EXPECT_EQ(pal->palette[3], (tQZPIXEL32{0, 0, 0, 255})) << "entries past the count are opaque black";

    // Grey destinations keep the BT.601 luma and leave the neighbour alone.
    auto toGrey2 = exchange(31, 18, 3);
    uint8_t packed = 0xFF;
    const tQZPIXEL64 red{0, 0, 65535, 65535};
    toGrey2->write(toGrey2.get(), &packed, 1, &red);
    EXPECT_EQ(packed, 0xC0 | (1 << 4) | 0x0F);  // luma 76 >> 6 = 1 in the second slot
}

TEST(QzXchgGamma, OnlyAFloatSideMeetingAnotherRunsTheCurve) {
    const float quarter[4] = {0.25f, 0.25f, 0.25f, 0.25f};
    // Encoded for gamma 1, re-encoded for gamma 2: v^0.5. Alpha is linear.
    const auto curved = read<tQZPIXEL64>(*exchange(32, 28, 3, 2.0, 1.0), quarter);
    EXPECT_EQ(curved.b, 32768u);
    EXPECT_EQ(curved.a, 16384u);
    // Gammas clamp to 4.0: 0.0625^(1 / 4) = 0.5.
    const float sixteenth[4] = {0.0625f, 0, 0, 0};
    EXPECT_EQ(read<tQZPIXEL64>(*exchange(32, 28, 3, 8.0, 1.0), sixteenth).b, 32768u);

    // Toward float: a byte side indexes a 256-entry curve.
    auto toFloat = exchange(28, 32, 3, 1.0, 2.0);
    const tQZPIXEL64 word{128 * 257, 0, 0, 65535};
    tQZPIXEL128 f{};
    toFloat->write(toFloat.get(), reinterpret_cast<uint8_t*>(&f), 0, &word);
    EXPECT_EQ(f.b, static_cast<float>(std::pow(128.0 / 255.0, 2.0)));
}

TEST(QzXchgBlend, TowardSourceTruncatesTowardZero) {
    auto bytes = exchange(28, 28, 3, 0, 0, QZXCHG_BLEND_TOWARD_SOURCE);
    tQZPIXEL32 d{100, 3, 0, 255};
    const tQZPIXEL32 s{0, 0, 255, 0};
    bytes->blend(bytes.get(), &d, &s, 32768);
    EXPECT_EQ(d, (tQZPIXEL32{50, 2, 127, 128}));

    auto words = exchange(28, 28, 0x13, 0, 0, QZXCHG_BLEND_TOWARD_SOURCE);
    ASSERT_EQ(words->width, 1);
    tQZPIXEL64 w{0, 0, 0, 0};
    const tQZPIXEL64 top{65535, 65535, 65535, 65535};
    words->blend(words.get(), &w, &top, 65535);
    EXPECT_EQ(w.b, 65534u);
    words->blend(words.get(), &w, &top, 65536);
    EXPECT_EQ(w.b, 65535u);
}

TEST(QzXchgBlend, AtLevelReachesTheSourceAtFullLevelAndWeight) {
    auto bytes = exchange(28, 28, 3, 0, 0, QZXCHG_BLEND_AT_LEVEL);
    bytes->level8 = ~static_cast<uint32_t>(1.0f * 255.0f);
    tQZPIXEL32 d{0, 200, 10, 0};
    const tQZPIXEL32 s{255, 0, 10, 255};
    bytes->blend(bytes.get(), &d, &s, 65536);
    EXPECT_EQ(d, s);
    // Half level at half weight: put 127 widens to 127, w = 127 * 32768 >> 16 = 63.
    bytes->level8 = ~static_cast<uint32_t>(0.5f * 255.0f);
    d = {0, 200, 10, 0};
    bytes->blend(bytes.get(), &d, &s, 32768);
    EXPECT_EQ(d, (tQZPIXEL32{62, 151, 10, 62}));
}

TEST(QzColorQuantizer, PicksTheNearestPaletteEntry) {
    qztest::TestDib pal(QzPixelPal8, 1, 1, {{0, 0, 0, 0}, {0, 0, 255, 0}, {0, 255, 0, 0}, {255, 255, 255, 0}});
    QzColorQuantizer* q = nullptr;
    ASSERT_EQ(QzDibCreateColorQuantizer(&q, pal.header()), S_OK);
    EXPECT_EQ(QzColorQuantizerIndex(q, 20, 30, 200), 1);
    EXPECT_EQ(QzColorQuantizerIndex(q, 40, 40, 40), 0);
    QzDibFreeColorQuantizer(q);
}

}  // namespace
