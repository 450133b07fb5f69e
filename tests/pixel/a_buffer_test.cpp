#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "A_Buffer.h"
#include "qz_test_dib.h"

namespace {

using qztest::TestDib;

std::unique_ptr<A_Buffer> ready() {
    auto buffer = std::make_unique<A_Buffer>();
    EXPECT_NE(buffer->Init(), 0);
    return buffer;
}

tA_BUFFER_PARAM frame(TestDib& dst, const std::vector<TestDib*>& sources, float level = 1.0f) {
    tA_BUFFER_PARAM p{};
    p.destination = {dst.header(), nullptr, 0, 0, 0};
    p.sourceCount = static_cast<int32_t>(sources.size());
    for (size_t i = 0; i < sources.size(); ++i) p.sources[i] = {sources[i]->header(), nullptr, 0, 0, 0};
    p.level = level;
    return p;
}

void fill(TestDib& dib, uint8_t v) {
    for (int32_t y = 0; y < dib.header()->biHeight; ++y)
        for (int32_t x = 0; x < dib.header()->biWidth; ++x) dib.put(x, y, QZRGBA{v, v, v, v});
}

// Texture coordinates equal to the position: an exact copy of the source.
QZ3DVERTEX at(float x, float y) { return QZ3DVERTEX{x, y, x, y}; }

int32_t quad(A_Buffer& b, float x0, float y0, float x1, float y1, int32_t source = 0) {
    const QZ3DVERTEX v[4] = {at(x0, y0), at(x1, y0), at(x1, y1), at(x0, y1)};
    const QZ3DPOLY poly{v, 4, source};
    return b.DrawPoly(&poly, 1.0, 1.0);
}

uint8_t blue(TestDib& dib, int32_t x, int32_t y) { return dib.get<QZRGBA>(x, y).b; }

TEST(A_Buffer, SubPixelMasksAndBitCounts) {
    auto buffer = ready();
    SUBPIXELMASK mask;
    std::fill(std::begin(mask.rows), std::end(mask.rows), 0xFFFFFFFFu);
    EXPECT_EQ(buffer->CountBits(mask), 1024);

    // Both crossings on the pixel's right edge: x >> 9 is 32 and no word is
    // stored, so what was there stays.
    std::fill(std::begin(mask.rows), std::end(mask.rows), 0x5A5A5A5Au);
    A_Buffer::GetSubPixelCoverage(SCANLINESTEP{0, 16384, 16384, 16384, 16384, 16384}, mask);
    EXPECT_TRUE(std::all_of(std::begin(mask.rows), std::end(mask.rows), [](uint32_t w) { return w == 0x5A5A5A5Au; }));

    // A vertical span over the left half: the XOR of two ramps.
    A_Buffer::GetSubPixelCoverage(SCANLINESTEP{0, 16384, 0, 0, 8192, 8192}, mask);
    EXPECT_EQ(mask.rows[31], 0xFFFF0000u);
    EXPECT_EQ(buffer->CountBits(mask), 512);

    // The diagonal x = 16384 - y as the right crossing: dx = -16384 / 32, the
    // first sub-row corrected by 512 * dx / 16384 = -16, so sub-row s keeps
    // 31 - s sub-columns: 496 in all.
    A_Buffer::GetSubPixelCoverage(SCANLINESTEP{0, 16384, 0, 0, 16384, 0}, mask);
    EXPECT_EQ(mask.rows[0], 0xFFFFFFFEu);
    EXPECT_EQ(mask.rows[30], 0x80000000u);
    EXPECT_EQ(mask.rows[31], 0u);
    EXPECT_EQ(buffer->CountBits(mask), 496);

    // A step from line 1000: sub-row 0 is cleared, and the correction is
    // (512 - 1000 % 512) * dx / 16384 = 24 with dx = 16384, not 24 * 32, so
    // sub-row 1 stays whole. Sub-rows the crossing passes beyond the pixel
    // keep their words.
    std::fill(std::begin(mask.rows), std::end(mask.rows), 0x5A5A5A5Au);
    A_Buffer::GetSubPixelCoverage(SCANLINESTEP{1000, 16384, 0, 31 * 16384, 1 << 20, 1 << 20}, mask);
    EXPECT_EQ(mask.rows[0], 0u);
    EXPECT_EQ(mask.rows[1], 0xFFFFFFFFu);
    EXPECT_EQ(mask.rows[2], 0x5A5A5A5Au);
}

TEST(A_Buffer, CoverageWeightsTexelsOverTheDestination) {
    auto buffer = ready();
    TestDib dst(QzPixelRGB32, 8, 4), texture(QzPixelRGB32, 8, 4), solid(QzPixelRGB32, 8, 4), other(QzPixelRGB32, 8, 4);
    fill(dst, 0);
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 8; ++x) texture.put(x, y, QZRGBA{uint8_t(10 * x + y), uint8_t(y), 7, 255});
    fill(solid, 200);
    fill(other, 100);
    const tA_BUFFER_PARAM p = frame(dst, {&texture, &solid, &other});
    ASSERT_NE(buffer->BeginFrame(&p), 0);

    // Row 0: a whole texel copy at full level lands exactly.
    EXPECT_EQ(quad(*buffer, 2, 0, 5, 1), 1);
    // Row 1: x from 0.5 to 3 over solid 200: pixel 0 half covered (512, weight
    // 32768, 200 * 128 / 256), pixel 3 untouched.
    EXPECT_EQ(quad(*buffer, 0.5f, 1, 3, 2, 1), 1);
    // Row 2: the lower-left half of pixel 0 alone (496 sub-samples: 200 * 124
    // / 256), and pixel 2 split between two abutting triangles, 200 over 496
    // and 100 over 528 of the later one: (200 * 496 + 100 * 528) / 1024, and
    // none of the background.
    const QZ3DTRIANGLE edge{{at(0, 2), at(1, 2), at(0, 3)}, 1};
    const QZ3DTRIANGLE a{{at(2, 2), at(3, 2), at(2, 3)}, 1}, b{{at(3, 2), at(3, 3), at(2, 3)}, 2};
    EXPECT_EQ(buffer->DrawTriangle(&edge), 1);
    EXPECT_EQ(buffer->DrawTriangle(&a), 1);
    EXPECT_EQ(buffer->DrawTriangle(&b), 1);
    // Row 3: a large triangle covers pixel 5 whole, over an earlier one there.
    const QZ3DTRIANGLE under{{at(5, 3), at(6, 3), at(5, 4)}, 2};
    const QZ3DTRIANGLE over{{at(4, 3), at(8, 3), at(4, 7)}, 0};
    EXPECT_EQ(buffer->DrawTriangle(&under), 1);
    EXPECT_EQ(buffer->DrawTriangle(&over), 1);
    buffer->EndFrame();

    for (int32_t x = 2; x < 5; ++x) EXPECT_EQ(dst.get<uint32_t>(x, 0), texture.get<uint32_t>(x, 0)) << x;
    EXPECT_EQ(blue(dst, 1, 0), 0);
    EXPECT_EQ(blue(dst, 0, 1), 100);
    EXPECT_EQ(blue(dst, 1, 1), 200);
    EXPECT_EQ(blue(dst, 3, 1), 0);
    EXPECT_EQ(blue(dst, 0, 2), 96);
    EXPECT_EQ(blue(dst, 2, 2), 148);
    for (int32_t x = 4; x < 7; ++x) EXPECT_EQ(dst.get<uint32_t>(x, 3), texture.get<uint32_t>(x, 3)) << x;
}

TEST(A_Buffer, LevelsAndFloatTexturesOverBytes) {
    // Half level on bytes: put 127, so 200 * 127 / 256.
    auto buffer = ready();
    TestDib dst(QzPixelRGB32, 2, 1), solid(QzPixelRGB32, 2, 1);
    fill(dst, 0);
    fill(solid, 200);
    tA_BUFFER_PARAM p = frame(dst, {&solid}, 0.5f);
    ASSERT_NE(buffer->BeginFrame(&p), 0);
    quad(*buffer, 0, 0, 2, 1);
    buffer->EndFrame();
    EXPECT_EQ(blue(dst, 1, 0), 99);

    TestDib fsrc(QzPixelRGBA128, 2, 1);
    fsrc.put(0, 0, QZRGBAFLOAT{0.75f, 0.5f, 1.0f, 1.0f});
    // A float texture over bytes meets in the u16 form: 0.75 is 49151, high byte 191.
    p = frame(dst, {&fsrc});
    ASSERT_NE(buffer->BeginFrame(&p), 0);
    quad(*buffer, 0, 0, 1, 1);
    buffer->EndFrame();
    EXPECT_EQ(blue(dst, 0, 0), 191);
}

TEST(A_Buffer, ClipsToTheImageAndTheRowLimitAndWrapsThePool) {
    auto buffer = ready();
    TestDib tall(QzPixelRGB32, 2, 9000), solid(QzPixelRGB32, 2, 1);
    fill(tall, 0);
    fill(solid, 200);
    const tA_BUFFER_PARAM p = frame(tall, {&solid});
    ASSERT_NE(buffer->BeginFrame(&p), 0);
    // Wider than the image on both sides and taller: one piece per row below
    // 8192. The pool holds 4000, so the first 4192 rows' pieces are lost.
    EXPECT_EQ(quad(*buffer, -3.5f, -2, 5.5f, 9500), 8192);
    buffer->EndFrame();
    for (int32_t y : {0, 4191, 4192, 8191, 8192, 8999}) {
        const uint8_t want = y >= 4192 && y < 8192 ? 200 : 0;
        EXPECT_EQ(blue(tall, 0, y), want) << y;
        EXPECT_EQ(blue(tall, 1, y), want) << y;
    }

    // Many pieces on one row: the pool wraps inside one list, the latest
    // drawn piece stays on top.
    TestDib dst(QzPixelRGB32, 1, 1), other(QzPixelRGB32, 1, 1);
    fill(dst, 0);
    fill(other, 100);
    const tA_BUFFER_PARAM q = frame(dst, {&solid, &other});
    ASSERT_NE(buffer->BeginFrame(&q), 0);
    for (int32_t i = 0; i < 4100; ++i) quad(*buffer, 0, 0, 1, 1, i == 4099 ? 1 : 0);
    buffer->EndFrame();
    EXPECT_EQ(blue(dst, 0, 0), 100);
}

TEST(A_Buffer, RefusesMisuse) {
    auto idle = std::make_unique<A_Buffer>();
    TestDib dst(QzPixelRGB32, 2, 2), bytes(QzPixelRGB32, 2, 2), floats(QzPixelRGBA128, 2, 2);
    tA_BUFFER_PARAM p = frame(dst, {&bytes, &floats});
    EXPECT_EQ(idle->BeginFrame(&p), 0);  // no Init: no pool

    auto buffer = ready();
    EXPECT_EQ(buffer->BeginFrame(nullptr), 0);
    EXPECT_EQ(buffer->BeginFrame(&p), 0);  // sources of two types
    p = frame(dst, {&bytes});
    p.sourceCount = 0;
    EXPECT_EQ(buffer->BeginFrame(&p), 0);
    // Nothing draws after a refused frame.
    EXPECT_EQ(quad(*buffer, 0, 0, 2, 2), 0);

    p = frame(dst, {&bytes});
    ASSERT_NE(buffer->BeginFrame(&p), 0);
    const QZ3DVERTEX line[3] = {at(0, 0), at(1, 1), at(2, 2)};
    const QZ3DPOLY degenerate{line, 3, 0}, badSource{line, 3, 1};
    EXPECT_EQ(buffer->DrawPoly(&degenerate, 1.0, 1.0), 0);
    EXPECT_EQ(buffer->DrawPoly(&badSource, 1.0, 1.0), 0);
    EXPECT_EQ(buffer->DrawPoly(nullptr, 1.0, 1.0), 0);
    EXPECT_EQ(buffer->DrawTriangle(nullptr), 0);
    EXPECT_EQ(quad(*buffer, 5, 0, 9, 2), 0);  // wholly right of the image
    buffer->EndFrame();
    buffer->Cleanup();
    EXPECT_EQ(buffer->BeginFrame(&p), 0);
}

}  // namespace
