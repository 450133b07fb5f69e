#include <gtest/gtest.h>

#include <limits>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

class SepiaTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:sepia");

    // Renders one row in the given depth and order, after setting the
    // parameters as name and text pairs.
    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, Depth depth, PixelOrder order,
                                const std::vector<std::pair<const char*, const char*>>& values) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, text] : values) inst->setValueText(name, text);
        return renderVariant(*inst, {depth, order});
    }
};

TEST_F(SepiaTest, DescribesItsDeclarationAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Sepia");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1740);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{7F21572F-453A-11D3-80A7-00C04F60C0FA}"}));
    // The colour declares no limits, so it keeps the host's unbounded ones.
    constexpr double kMax = std::numeric_limits<double>::max();
    const std::vector<double> unbounded{-kMax, kMax, -kMax, kMax, -kMax, kMax};
    expectParamTable(*plugin, "filter",
                     {
                         {"Color", "Color", "color", "RGB", "[0.6509803921568628,0.6509803921568628,0]", unbounded,
                          unbounded, {}, "", {}},
                         {"BlendingStrength", "Blending strength", "blendingstrength", "Double", "0", {0, 1}, {0, 1},
                          0.1, "", {}},
                         {"BlendingFalloff", "Blending falloff", "blendingfalloff", "Double", "0", {0, 1}, {0, 1},
                          0.1, "", {}},
                     });
}

// Each zone on bytes, worked by hand with the tint 255, 127, 0. The same
// colours come out of both orders: the tint goes to the colour it names.
TEST_F(SepiaTest, BytePixelsInEachZone) {
    const std::vector<Rgba> in{{200, 100, 30, 255}, {0, 0, 255, 255}, {60, 30, 0, 255}, {255, 255, 255, 255},
                               {20, 20, 20, 40}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // Exactly 1/3: desaturation only, k = trunc(0.5 * 255) = 127, grey 110.
        auto out = render(in, Depth::Byte, order, {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.3333333333333333"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{156, 104, 69, 255}));

        // Exactly 2/3 is still the middle zone: k = 255 (not the full grey),
        // tint weight 127. Grey 85; X = 84, 84, 86.
        out = render(in, Depth::Byte, order, {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.6666666666666666"}});
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{168, 105, 44, 255}));

        // Middle zone with falloff 1: k = 191, tint weight 63 - grey, so
        // white takes no tint at all.
        out = render(in, Depth::Byte, order,
                     {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.5"}, {"BlendingFalloff", "1"}});
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{65, 42, 20, 255}));
        EXPECT_EQ(pixelAt(out, 3, 0), (Rgba{255, 255, 255, 255}));

        // Full grey and tint, weight 255 - grey / 2. The last pixel's tint
        // exceeds its alpha and is patched back to it.
        out = render(in, Depth::Byte, order,
                     {{"Color", "1,0.5,0"}, {"BlendingStrength", "1"}, {"BlendingFalloff", "0.5"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{223, 123, 25, 255}));
        EXPECT_EQ(pixelAt(out, 4, 0), (Rgba{40, 40, 1, 40}));
    }
}

TEST_F(SepiaTest, FloatPixelsFollowTheAlphaRule) {
    const std::vector<Rgba> in{{0.75f, 0.5f, 0.25f, 1.0f}, {0.375f, 0.25f, 0.125f, 0.5f}, {1.5f, 1.0f, 0.5f, 2.0f},
                               {0.5f, 0.5f, 0.5f, 1e-7f}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // 1/3: half way to the grey; unpremultiplied below alpha 1, alpha
        // above 1 written as 1, no colour at or below alpha 1e-6.
        auto out = render(in, Depth::Float, order, {{"BlendingStrength", "0.3333333333333333"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.625f, 0.5f, 0.375f, 1.0f}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0.3125f, 0.25f, 0.1875f, 0.5f}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{1.25f, 1.0f, 0.75f, 1.0f}));
        EXPECT_EQ(pixelAt(out, 3, 0), (Rgba{0, 0, 0, 0}));

        // Middle zone: q = 0.75, tint weight 0.25.
        out = render(in, Depth::Float, order, {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.5"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.671875f, 0.5f, 0.328125f, 1.0f}));

        // Full zone: tint weight 1 - grey * 0.5 = 0.75 on grey 0.5.
        out = render(in, Depth::Float, order,
                     {{"Color", "1,0.5,0"}, {"BlendingStrength", "1"}, {"BlendingFalloff", "0.5"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.875f, 0.5f, 0.125f, 1.0f}));
    }
}

// A fresh Sepia changes nothing: bit-exact on bytes, and on floats wherever
// the alpha round trip is exact.
TEST_F(SepiaTest, StrengthZeroIsTheIdentity) {
    const auto source = ofxhost::ImageBuffer::testFrame(17, 5, Depth::Byte, PixelOrder::RGBA, 7);
    auto inst = filterOn(*plugin, source);
    for (const auto& variant : {kAllVariants[0], kAllVariants[1]})
        EXPECT_TRUE(renderVariant(*inst, variant).samePixels(source)) << variantName(variant);

    const std::vector<Rgba> in{{0.3f, 0.7f, 0.1f, 1.0f}, {0.2f, 0.4f, 0.1f, 0.5f}};
    const auto out = render(in, Depth::Float, PixelOrder::BGRA, {});
    EXPECT_EQ(pixelAt(out, 0, 0), in[0]);
    EXPECT_EQ(pixelAt(out, 1, 0), in[1]);
}

// The defaults, then each zone with a tint whose three colours differ, so
// that a tint put on the wrong component shows.
TEST_F(SepiaTest, BothPixelOrdersGiveOnePicture) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(31, 13, Depth::Float, PixelOrder::RGBA, 11));
    struct Case {
        const char* what;
        std::vector<std::pair<const char*, const char*>> values;
    };
    const Case cases[] = {
        {"defaults", {}},
        {"desaturation only", {{"Color", "0.9,0.35,0.1"}, {"BlendingStrength", "0.25"}}},
        {"partial grey and tint", {{"BlendingStrength", "0.5"}, {"BlendingFalloff", "0.3"}}},
        {"full grey and tint", {{"BlendingStrength", "0.9"}, {"BlendingFalloff", "0.2"}}},
    };
    for (const Case& c : cases) {
        for (const auto& [name, text] : c.values) inst->setValueText(name, text);
        expectOnePicture(*inst, Depth::Byte, c.what);
        expectOnePicture(*inst, Depth::Float, c.what);
    }
}

}  // namespace
