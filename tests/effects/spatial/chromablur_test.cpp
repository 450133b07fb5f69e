#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "OpenCLParity.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

const char* const kChroma = "talvo.effects:chromablur";

// The three box widths closest to a Gaussian of deviation s, written out
// from the textbook construction.
std::array<int, 3> widthsFor(int s) {
    const double ideal = std::sqrt(12.0 * s * s / 3 + 1);
    int wl = static_cast<int>(std::floor(ideal));
    if (wl % 2 == 0) wl -= 1;
    const double mIdeal = (12.0 * s * s - 3.0 * wl * wl - 12.0 * wl - 9.0) / (-4.0 * wl - 4.0);
    const int m = static_cast<int>(std::lround(mIdeal));
    return {0 < m ? wl : wl + 2, 1 < m ? wl : wl + 2, 2 < m ? wl : wl + 2};
}

using Plane = std::vector<std::vector<float>>;  // [y][x]

// One box of half-width r along the rows (or the columns), edges repeated,
// as a running sum: it starts as the mean window one before the first
// sample.
Plane box(const Plane& in, int r, bool alongRows) {
    const int h = static_cast<int>(in.size()), w = static_cast<int>(in[0].size());
    const float factor = 1.0f / static_cast<float>(2 * r + 1);
    Plane out = in;
    const int n = alongRows ? w : h, lines = alongRows ? h : w;
    for (int line = 0; line < lines; ++line) {
        auto at = [&](int k) { return alongRows ? in[line][k] : in[k][line]; };
        auto put = [&](int k, float v) { (alongRows ? out[line][k] : out[k][line]) = v; };
        float sum = static_cast<float>(r + 1) * at(0);
        for (int j = 0; j < r; ++j) sum += at(std::min(j, n - 1));
        for (int k = 0; k < n; ++k) {
            sum += at(std::min(k + r, n - 1)) - at(std::max(k - r - 1, 0));
            put(k, sum * factor);
        }
    }
    return out;
}

// The whole effect, from its description: red-first colours, U and V blurred
// by three boxes (each a row pass then a column pass), back from the
// source's luma; bytes held to 0..255 and truncated. Pixel aspect 1.
ofxhost::ImageBuffer chromaReference(const ofxhost::ImageBuffer& src, double horizontal, double vertical) {
    const int w = src.width(), h = src.height();
    const bool bytes = src.depth() == Depth::Byte;
    auto colour = [&](int x, int y, int c) {
        return bytes ? static_cast<float>(src.byteAt(x, y, c)) : src.floatAt(x, y, c);
    };
    Plane u(h, std::vector<float>(w)), v = u;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const float r = colour(x, y, 0), g = colour(x, y, 1), b = colour(x, y, 2);
            u[y][x] = -0.14713f * r - 0.28886f * g + 0.436f * b;
            v[y][x] = 0.615f * r - 0.51499f * g - 0.10001f * b;
        }
    const auto hw = widthsFor(static_cast<int>(horizontal + 1.5));
    const auto vw = widthsFor(static_cast<int>(vertical + 1.5));
    for (int i = 0; i < 3; ++i) {
        u = box(box(u, (hw[i] - 1) / 2, true), (vw[i] - 1) / 2, false);
        v = box(box(v, (hw[i] - 1) / 2, true), (vw[i] - 1) / 2, false);
    }
    ofxhost::ImageBuffer out = src.clone();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const float r = colour(x, y, 0), g = colour(x, y, 1), b = colour(x, y, 2);
            const float luma = 0.299f * r + 0.587f * g + 0.114f * b;
            const float rgb[3] = {luma + 1.13983f * v[y][x], luma - 0.39465f * u[y][x] - 0.5806f * v[y][x],
                                  luma + 2.03211f * u[y][x]};
            for (int c = 0; c < 3; ++c) {
                if (bytes)
                    out.setByte(x, y, c, static_cast<uint8_t>(std::clamp(rgb[c], 0.0f, 255.0f)));
                else
                    out.setFloat(x, y, c, rgb[c]);
            }
        }
    return out;
}

class ChromaBlurTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kChroma);
};

TEST_F(ChromaBlurTest, DeclaresItsGroupGuidAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Chroma Blur");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Utility");
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{BA0529A7-3E80-4383-89D0-608A403E19DA}"}));
    expectParamTable(
        *plugin, "filter",
        {{"HorizontalPixels", "HorizontalPixels", "HorizontalPixels", "Double", "0", {0, 100}, {0, 10}, 0.1, "", {}},
         {"VerticalPixels", "VerticalPixels", "VerticalPixels", "Double", "0", {0, 100}, {0, 10}, 0.1, "", {}}});
}

// The family's hosts get the effect from version 18 (the main host) and 17
// (the two others); older ones see no context to offer it in.
TEST(ChromaBlurHosts, FamilyHostsBelowTheirVersionGetNoContext) {
    struct Case {
        const char* host;
        int major;
        bool offered;
    };
    for (const Case& c :
         {Case{"talvo.effects.talvo", 17, false}, Case{"talvo.effects.talvo", 18, true},
          Case{"talvo.effects.talvo.harbor.pe", 16, false}, Case{"talvo.effects.talvo.harbor.pe", 17, true},
          Case{"talvo.effects.talvo.harbor.hd", 16, false}, Case{"talvo.effects.talvo.harbor.hd", 17, true}}) {
        ofxhost::HostConfig config;
        config.name = c.host;
        config.versionMajor = c.major;
        EXPECT_EQ(loadEffect(quietHost(config), kChroma)->contexts().empty(), !c.offered) << c.host << " " << c.major;
    }
}

// By hand: 12 s^2 / 3 + 1 = 4 s^2 + 1 lies between (2s)^2 and (2s + 1)^2,
// so the lower width is 2s - 1 and m = -12 s / -8 s = 1.5 rounds to 2; at
// s = 0 the width is 1 and m = -24 / -8 = 3.
TEST(ChromaBlurBoxes, WidthsForAFewDeviations) {
    EXPECT_EQ(widthsFor(0), (std::array<int, 3>{1, 1, 1}));
    EXPECT_EQ(widthsFor(1), (std::array<int, 3>{1, 1, 3}));
    EXPECT_EQ(widthsFor(2), (std::array<int, 3>{3, 3, 5}));
    EXPECT_EQ(widthsFor(4), (std::array<int, 3>{7, 7, 9}));
    EXPECT_EQ(widthsFor(101), (std::array<int, 3>{201, 201, 203}));
}

// The spreads truncate after adding 1.5: at 0 the boxes reach one pixel to
// each side (half-widths 0, 0, 1), so a lone red pixel on black tints its
// neighbours (by a third of its chroma) and nothing two away; 0.49 is the
// same; 0.5 gives a deviation of 2, half-widths 1, 1, 2, a reach of four
// pixels (a 45th of the chroma, red 3 at the edge). Black has no chroma, so
// anything lit beside the pixel came from it.
TEST_F(ChromaBlurTest, SpreadsTruncateAfterTheOffset) {
    std::vector<Rgba> row(15, Rgba{0, 0, 0, 255});
    row[7] = Rgba{250, 0, 0, 255};
    auto inst = filterOn(*plugin, rowImage(row, Depth::Byte));
    auto changed = [&](const ofxhost::ImageBuffer& out, int x) {
        return out.byteAt(x, 0, 0) != 0 || out.byteAt(x, 0, 1) != 0 || out.byteAt(x, 0, 2) != 0;
    };
    const auto atZero = renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_TRUE(changed(atZero, 6));
    EXPECT_TRUE(changed(atZero, 8));
    EXPECT_FALSE(changed(atZero, 5));
    EXPECT_FALSE(changed(atZero, 9));
    inst->setValueText("HorizontalPixels", "0.49");
    EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA}), atZero), "");
    inst->setValueText("HorizontalPixels", "0.5");
    const auto wider = renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_TRUE(changed(wider, 3));
    EXPECT_TRUE(changed(wider, 11));
    EXPECT_FALSE(changed(wider, 2));
    EXPECT_FALSE(changed(wider, 12));
    // The vertical spread does not reach along a row.
    inst->setValueText("HorizontalPixels", "0");
    inst->setValueText("VerticalPixels", "5");
    const auto tall = renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_TRUE(changed(tall, 6));
    EXPECT_FALSE(changed(tall, 5));
    EXPECT_FALSE(changed(tall, 9));
}

TEST_F(ChromaBlurTest, SpreadsInEveryVariant) {
    const auto source = ofxhost::ImageBuffer::testFrame(23, 17, Depth::Float, PixelOrder::RGBA, 6);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto inst = filterOn(*plugin, source);
    // The last: boxes far wider than the window.
    for (auto [h, v] : {std::pair{0.0, 0.0}, std::pair{2.7, 0.0}, std::pair{1.0, 6.2}, std::pair{40.0, 100.0}}) {
        inst->setValueText("HorizontalPixels", std::to_string(h));
        inst->setValueText("VerticalPixels", std::to_string(v));
        SCOPED_TRACE(std::to_string(h) + " " + std::to_string(v));
        expectFourVariants(*inst, {chromaReference(bytes, h, v), chromaReference(source, h, v)});
    }
}

// Grey has no chroma: U and V are within 1e-5 of the luma of 0 (the blue
// weights of U sum to 1e-5), so only the bytes' truncation shows.
TEST_F(ChromaBlurTest, GreyIsUnchangedUpToRounding) {
    std::vector<Rgba> greys;
    for (int i = 0; i < 16; ++i) greys.push_back(Rgba{17.0f * i, 17.0f * i, 17.0f * i, 255});
    auto inst = filterOn(*plugin, rowImage(greys, Depth::Byte));
    inst->setValueText("HorizontalPixels", "3");
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = renderVariant(*inst, {Depth::Byte, order});
        for (int x = 0; x < 16; ++x)
            for (int c = 0; c < 3; ++c) EXPECT_NEAR(out.byteAt(x, 0, c), 17 * x, 1) << x << " " << c;
    }
    std::vector<Rgba> floats;
    for (int i = 0; i < 16; ++i) floats.push_back(Rgba{i / 15.0f, i / 15.0f, i / 15.0f, 1.0f});
    auto fl = filterOn(*plugin, rowImage(floats, Depth::Float));
    fl->setValueText("HorizontalPixels", "3");
    const auto out = renderVariant(*fl, {Depth::Float, PixelOrder::BGRA});
    for (int x = 0; x < 16; ++x)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(out.floatAt(x, 0, c), x / 15.0f, 2e-5f) << x << " " << c;
}

// Black stays black to the bit, alpha 0 stays 0 and does not hold the
// colours (there is no premultiplication to respect), one pixel keeps its
// own colour up to rounding, and colours out of range are held in bytes.
TEST_F(ChromaBlurTest, ZerosAlphaZeroAndOnePixel) {
    auto black = filterOn(*plugin, rowImage({{0, 0, 0, 0}, {0, 0, 0, 255}, {0, 0, 0, 0}}, Depth::Byte));
    black->setValueText("HorizontalPixels", "4");
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = renderVariant(*black, {Depth::Byte, order});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0, 0, 0, 0}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0, 0, 0, 255}));
    }

    const auto clear = rowImage({{200, 30, 90, 0}, {10, 220, 40, 0}}, Depth::Byte);
    auto transparent = filterOn(*plugin, clear);
    transparent->setValueText("HorizontalPixels", "2");
    const auto out = renderVariant(*transparent, {Depth::Byte, PixelOrder::BGRA});
    EXPECT_EQ(firstDifference(out, chromaReference(clear, 2, 0)), "");
    EXPECT_EQ(out.byteAt(0, 0, 3), 0);
    EXPECT_GT(out.byteAt(0, 0, 1), 30) << "green drawn toward its neighbour's";

    // Strong red against strong green: red's chroma spreads and the
    // neighbour's red runs past 255 or below 0 before the hold.
    const auto loud = rowImage({{255, 0, 0, 255}, {0, 255, 0, 255}, {255, 0, 255, 255}}, Depth::Byte);
    auto held = filterOn(*plugin, loud);
    held->setValueText("HorizontalPixels", "6");
    EXPECT_EQ(firstDifference(renderVariant(*held, {Depth::Byte, PixelOrder::RGBA}), chromaReference(loud, 6, 0)), "");

    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const Rgba colour = depth == Depth::Byte ? Rgba{180, 60, 20, 128} : Rgba{0.7f, 0.25f, 0.1f, 0.5f};
        auto one = filterOn(*plugin, rowImage({colour}, depth));
        one->setValueText("HorizontalPixels", "9");
        one->setValueText("VerticalPixels", "3");
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const Rgba got = pixelAt(renderVariant(*one, {depth, order}), 0, 0);
            // The return weights invert the forward ones only to about 1e-5.
            const float slack = depth == Depth::Byte ? 1.0f : 5e-5f;
            for (int c = 0; c < 3; ++c) EXPECT_NEAR(got[c], colour[c], slack) << c;
            EXPECT_EQ(got[3], colour[3]);
        }
    }
}

TEST_F(ChromaBlurTest, OnePictureInEitherOrder) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(21, 13, Depth::Float, PixelOrder::RGBA, 4));
    expectOnePicture(*inst, Depth::Byte, "defaults");
    expectOnePicture(*inst, Depth::Float, "defaults");
    inst->setValueText("HorizontalPixels", "4.2");
    inst->setValueText("VerticalPixels", "1.5");
    expectOnePicture(*inst, Depth::Byte, "4.2 x 1.5");
    expectOnePicture(*inst, Depth::Float, "4.2 x 1.5");
}

// The kernels run the processor's single-precision operations in its
// order, so floats agree to the bit too.
class ChromaBlurOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(ChromaBlurOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    const Variant variant = GetParam();
    auto plugin = loadEffect(openCLHost(), kChroma);
    for (const char* settings : {"0;0", "2.7;0", "3;1.5", "100;100"}) {
        auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
        const std::string s = settings;
        inst->setValueText("HorizontalPixels", s.substr(0, s.find(';')));
        inst->setValueText("VerticalPixels", s.substr(s.find(';') + 1));
        expectOpenCLParity(*inst, variant, settings, 0.0);
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, ChromaBlurOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
