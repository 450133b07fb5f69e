#include <gtest/gtest.h>

#include <map>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

using Settings = std::map<std::string, std::string>;

class HSLAdjustTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:hsladjust");

    Rgba renderOne(const Rgba& in, const Settings& settings, Depth depth, PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage({in}, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        return pixelAt(renderVariant(*inst, {depth, order}), 0, 0);
    }
};

TEST_F(HSLAdjustTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO HSL Adjust");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1680);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{B432972D-E08D-11D2-BF8A-006097C9EBF7}"}));
    expectParamTable(*plugin, "filter",
                     {{"Output", "Add to hue", "Add to hue", "Double", "0", {0, 1}, {0, 1}, 0.1, "", {}, true},
                      {"Saturation", "Saturation", "saturation", "Double", "1", {0, 2}, {0, 2}, 0.1, "", {}, true},
                      {"Luminance", "Luminance", "luminance", "Double", "1", {0, 2}, {0, 2}, 0.1, "", {}, true}});
}

TEST_F(HSLAdjustTest, BytePixelsGoThroughTheTruncatingPair) {
    struct Case {
        Settings settings;
        Rgba in, out;
    };
    const Case cases[] = {
        // Pure red reads as hue 1.0. A quarter turn lands in sextant 1.
        {{{"Output", "0.25"}}, {255, 0, 0, 255}, {127, 255, 0, 255}},
        {{{"Output", "0.5"}}, {255, 0, 0, 255}, {0, 255, 255, 255}},
        // 1.0 + 0 stays at 1.0 and 1.0 + 1 comes down to 1.0: sextant 6 is red.
        {{{"Output", "0"}}, {255, 0, 0, 255}, {255, 0, 0, 255}},
        {{{"Output", "1"}}, {255, 0, 0, 255}, {255, 0, 0, 255}},
        // Alpha 132 scales to just under its level and comes back as 131;
        // the colour is held to it.
        {{{"Output", "0.5"}}, {132, 0, 0, 132}, {0, 131, 131, 131}},
        // Lightness is clamped to 1 before the colour is held to alpha.
        {{{"Luminance", "2"}}, {60, 60, 60, 100}, {100, 100, 100, 100}},
        {{{"Saturation", "0"}}, {200, 100, 50, 255}, {125, 125, 125, 255}},
        // The defaults are not an identity: blue truncates one level down.
        {{}, {200, 100, 50, 255}, {200, 100, 49, 255}},
    };
    for (const Case& c : cases)
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
            EXPECT_EQ(renderOne(c.in, c.settings, Depth::Byte, order), c.out);
}

TEST_F(HSLAdjustTest, FloatPixelsWrapTheHueAndKeepAlpha) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        EXPECT_EQ(renderOne({1.0f, 0.0f, 0.0f, 1.0f}, {{"Output", "0.25"}}, Depth::Float, order),
                  (Rgba{0.5f, 1.0f, 0.0f, 1.0f}));
        // A full turn is the same hue as none.
        const Rgba teal{0.2f, 0.6f, 0.4f, 1.0f};
        EXPECT_EQ(renderOne(teal, {{"Output", "1"}}, Depth::Float, order), teal);
        // Hue 0.5 + 0.75 wraps to 0.25; the colours are not unpremultiplied
        // and alpha passes unchanged.
        EXPECT_EQ(renderOne({0.25f, 0.5f, 0.5f, 0.5f}, {{"Output", "0.75"}}, Depth::Float, order),
                  (Rgba{0.375f, 0.5f, 0.25f, 0.5f}));
        // Lightness (0.2 + 0.6) / 2 in double, without saturation.
        const float l = static_cast<float>((static_cast<double>(0.2f) + static_cast<double>(0.6f)) * 0.5);
        EXPECT_EQ(renderOne(teal, {{"Saturation", "0"}}, Depth::Float, order), (Rgba{l, l, l, 1.0f}));
    }
}

// Pure red turned half way is cyan in every variant: red is found where the
// pixel order puts it. In float its hue is 6 * (1/6 in double), a tie that
// rounds to exactly 1; with a half added it wraps to 0.5, which lands on the
// start of the cyan sextant with no rise: 0, 1, 1 exactly.
TEST_F(HSLAdjustTest, HalfTurnOfRedIsCyanInEveryVariant) {
    auto inst = filterOn(*plugin, rowImage({{1.0f, 0.0f, 0.0f, 1.0f}}, Depth::Float));
    inst->setValueText("Output", "0.5");
    expectFourVariants(*inst, {rowImage({{0, 255, 255, 255}}, Depth::Byte),
                               rowImage({{0.0f, 1.0f, 1.0f, 1.0f}}, Depth::Float)});
}

TEST_F(HSLAdjustTest, BothPixelOrdersGiveOnePicture) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(31, 13, Depth::Float, PixelOrder::RGBA, 11));
    for (const Settings& settings :
         {Settings{}, Settings{{"Output", "0.3"}, {"Saturation", "1.4"}, {"Luminance", "0.8"}}}) {
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        const std::string what = settings.empty() ? "defaults" : "turned, saturated and darkened";
        expectOnePicture(*inst, Depth::Byte, what);
        expectOnePicture(*inst, Depth::Float, what);
    }
}

}  // namespace
