#include <gtest/gtest.h>

#include <limits>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

class CheckerboardTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:checkerboard");

    // Black, white and the even mix in the variant's own depth.
    static Rgba grey(const Variant& v, float level) {
        const float c = v.depth == Depth::Byte ? (level == 0.5f ? 127.0f : level * 255.0f) : level;
        return {c, c, c, v.depth == Depth::Byte ? 255.0f : 1.0f};
    }
};

TEST_F(CheckerboardTest, DescribesItsParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Checkerboard");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1240);
    const auto& inContext = plugin->describeInContext("generator");
    EXPECT_EQ(inContext.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{DB10DAB1-5247-4194-B666-E076AD51BE19}"}));
    EXPECT_EQ(inContext.clip(kOfxImageEffectOutputClipName)->props().getInt(kOfxImageEffectPropSupportsTiles), 0);

    constexpr double kMax = std::numeric_limits<double>::max();
    const std::vector<double> unbounded{-kMax, kMax, -kMax, kMax, -kMax, kMax, -kMax, kMax};
    const std::vector<double> unit{0, 1};
    const std::vector<double> tile{0.001, 1};
    auto group = [](const char* name, const char* label) {
        return ParamRow{name, label, name, "Group", "null", {}, {}, {}, "", {}, false};
    };
    auto dbl = [](const char* name, const char* label, const char* script, const char* def,
                  const std::vector<double>& range, const char* parent) {
        return ParamRow{name, label, script, "Double", def, range, range, 0.1, parent, {}};
    };
    auto boolean = [](const char* name, const char* label, const char* script, const char* parent) {
        return ParamRow{name, label, script, "Boolean", "true", {}, {}, {}, parent, {}};
    };
    expectParamTable(
        *plugin, "generator",
        {
            group("TileDimensions", "Tile dimensions"),
            dbl("TileDimensionsWidth", "Width", "tiledimensionswidth", "0.1", tile, "TileDimensions"),
            dbl("TileDimensionsHeight", "Height", "tiledimensionsheight", "0.1", tile, "TileDimensions"),
            boolean("TileDimensionsSquare", "Square", "tiledimensionssquare", "TileDimensions"),
            group("EdgeBlending", "Edge blending"),
            dbl("EdgeBlendingHorizontal", "Horizontal", "edgeblendinghorizontal", "0", unit, "EdgeBlending"),
            dbl("EdgeBlendingVertical", "Vertical", "edgeblendingvertical", "0", unit, "EdgeBlending"),
            boolean("EdgeBlendingProportional", "Proportional", "edgeblendingproportional", "EdgeBlending"),
            {"Color1", "Color 1", "color1", "RGBA", "[0,0,0,1]", unbounded, unbounded, {}, "", {}},
            {"Color2", "Color 2", "color2", "RGBA", "[1,1,1,1]", unbounded, unbounded, {}, "", {}},
            group("GridOffset", "Grid offset"),
            dbl("GridOffsetX", "X", "gridoffsetx", "0", unit, "GridOffset"),
            dbl("GridOffsetY", "Y", "gridoffsety", "0", unit, "GridOffset"),
        });
}

// 0.001 of 640 is 0.64 pixels, widened to one pixel (and the height
// likewise): every pixel is a tile. Each row lies in a vertical soft band
// with weight 0, so pixel (x, y) takes Color1 where x + (479 - y) is odd.
TEST_F(CheckerboardTest, SmallestTilesAreOnePixel) {
    auto inst = generatorOf(*plugin, 640, 480);
    inst->setValueText("TileDimensionsWidth", "0.001");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        for (int y : {0, 1, 2, 478, 479})
            for (int x : {0, 1, 2, 638, 639})
                ASSERT_EQ(pixelAt(out, x, y), grey(v, ((x + 479 - y) & 1) ? 0.0f : 1.0f)) << x << "," << y;
    }
}

// Tiles of 10.5 pixels on 512: tile edges pass through the centres of
// column 10 and of the row 10.5 pixels below the top, which both take the
// even mix of the two colours. The grid starts at the picture's top left.
TEST_F(CheckerboardTest, HardEdgesTakeTheEvenMixAtPixelCentres) {
    auto inst = generatorOf(*plugin, 512, 512);
    inst->setValueText("TileDimensionsWidth", "0.0205078125");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        const Rgba black = grey(v, 0.0f), white = grey(v, 1.0f), mix = grey(v, 0.5f);
        // The top row: tile 0 in Color1, the edge, tile 1 in Color2; the next
        // edge (21) lies between pixels.
        EXPECT_EQ(pixelAt(out, 0, 511), black);
        EXPECT_EQ(pixelAt(out, 9, 511), black);
        EXPECT_EQ(pixelAt(out, 10, 511), mix);
        EXPECT_EQ(pixelAt(out, 11, 511), white);
        EXPECT_EQ(pixelAt(out, 20, 511), white);
        EXPECT_EQ(pixelAt(out, 21, 511), black);
        // The row on the edge is the even mix throughout; below it tile row 1
        // starts with Color2.
        EXPECT_EQ(pixelAt(out, 0, 501), mix);
        EXPECT_EQ(pixelAt(out, 10, 501), mix);
        EXPECT_EQ(pixelAt(out, 0, 500), white);
        EXPECT_EQ(pixelAt(out, 0, 492), white);
        // Note: the row whose centre sits on the inner edge of the band
        // above the next tile edge (weight 0) takes the other colour pair.
        EXPECT_EQ(pixelAt(out, 0, 491), black);
        EXPECT_EQ(pixelAt(out, 0, 490), black);
    }
}

// Full horizontal blending: the soft bands of a tile's two edges meet and
// no pixel of a row keeps a pure colour.
TEST_F(CheckerboardTest, FullHorizontalBlendLeavesNoClearPixel) {
    auto inst = generatorOf(*plugin, 512, 64);
    inst->setValueText("EdgeBlendingProportional", "false");
    inst->setValueText("TileDimensionsWidth", "0.01953125");
    inst->setValueText("EdgeBlendingHorizontal", "1");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        const float full = v.depth == Depth::Byte ? 255.0f : 1.0f;
        for (int x = 0; x < 512; ++x) {
            const float c = pixelAt(out, x, 63)[0];
            ASSERT_TRUE(c > 0.0f && c < full) << x;
        }
        // Column 0: 4.5 pixels from the band's end at 5, scale 32768 / 5,
        // w = trunc(4.5 * 6553.6 + 0.5) = 29491 of white.
        EXPECT_EQ(pixelAt(out, 0, 63)[0], v.depth == Depth::Byte ? 114.0f : 29491.0f / 65536.0f);
    }
}

// Each colour is premultiplied by its own alpha, and keeps its name in both
// orders: orange is red 255, green trunc(0.5 * 255) = 127, no blue.
TEST_F(CheckerboardTest, ColoursArePremultipliedAndKeepTheirNames) {
    auto inst = generatorOf(*plugin, 100, 100);
    inst->setValueText("Color1", "1,0.5,0,1");
    inst->setValueText("Color2", "1,1,1,0");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        const Rgba orange = v.depth == Depth::Byte ? Rgba{255, 127, 0, 255} : Rgba{1.0f, 0.5f, 0.0f, 1.0f};
        EXPECT_EQ(pixelAt(out, 5, 99), orange);
        EXPECT_EQ(pixelAt(out, 15, 99), (Rgba{0, 0, 0, 0}));
        EXPECT_EQ(pixelAt(out, 5, 89), (Rgba{0, 0, 0, 0}));
    }
}

// The settings of the picture tests below: soft bands both ways that differ,
// an offset grid, and translucent colours that are not grey.
void colourful(ofxhost::Instance& inst) {
    inst.setValueText("TileDimensionsSquare", "false");
    inst.setValueText("EdgeBlendingProportional", "false");
    inst.setValueText("TileDimensionsWidth", "0.13");
    inst.setValueText("TileDimensionsHeight", "0.21");
    inst.setValueText("EdgeBlendingHorizontal", "0.3");
    inst.setValueText("EdgeBlendingVertical", "0.7");
    inst.setValueText("GridOffsetX", "0.37");
    inst.setValueText("GridOffsetY", "0.21");
    inst.setValueText("Color1", "0.9,0.2,0.4,0.6");
    inst.setValueText("Color2", "0.1,0.8,0.3,0.35");
}

// The host's threads draw bands of rows; each row follows from its place in
// the whole window, so every split gives the picture of one thread, to the
// bit. 101 rows split unevenly over each count.
TEST_F(CheckerboardTest, AnyNumberOfThreadsDrawsTheOneThreadPicture) {
    auto render = [](unsigned threads, const Variant& v) {
        ofxhost::HostConfig config;
        config.threads = threads;
        auto plugin = loadEffect(quietHost(config), "talvo.effects:checkerboard");
        auto inst = generatorOf(*plugin, 97, 101);
        colourful(*inst);
        return renderVariant(*inst, v);
    };
    for (const Variant& v : {kAllVariants[1], kAllVariants[2]}) {
        const auto one = render(1, v);
        for (unsigned threads : {2u, 3u, 8u})
            EXPECT_EQ(firstDifference(render(threads, v), one), "") << variantName(v) << " on " << threads;
    }
}

TEST_F(CheckerboardTest, SwitchesLinkAndLockTheSecondValue) {
    auto inst = generatorOf(*plugin, 64, 64);
    auto value = [&](const char* name) { return inst->value(name, 0.0).n[0]; };
    auto enabled = [&](const char* name) { return inst->param(name).props().getInt(kOfxParamPropEnabled) != 0; };

    inst->setValueText("TileDimensionsWidth", "0.25");
    inst->setValueText("EdgeBlendingHorizontal", "0.4");
    EXPECT_EQ(value("TileDimensionsHeight"), 0.25);
    EXPECT_EQ(value("EdgeBlendingVertical"), 0.4);
    EXPECT_FALSE(enabled("TileDimensionsHeight"));
    EXPECT_FALSE(enabled("EdgeBlendingVertical"));

    // Clearing a switch keeps the copied value and unlocks it.
    inst->setValueText("TileDimensionsSquare", "false");
    inst->setValueText("TileDimensionsWidth", "0.5");
    EXPECT_EQ(value("TileDimensionsHeight"), 0.25);
    EXPECT_TRUE(enabled("TileDimensionsHeight"));
    inst->setValueText("EdgeBlendingProportional", "false");
    inst->setValueText("EdgeBlendingHorizontal", "0.1");
    EXPECT_EQ(value("EdgeBlendingVertical"), 0.4);
    EXPECT_TRUE(enabled("EdgeBlendingVertical"));
}

}  // namespace
