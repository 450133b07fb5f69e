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

const Settings kInvert{{"InvertLuminance", "true"}};

class LABAdjustTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:labadjust");

    Rgba renderOne(const Rgba& in, const Settings& settings, Depth depth, PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage({in}, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        return pixelAt(renderVariant(*inst, {depth, order}), 0, 0);
    }
};

TEST_F(LABAdjustTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO LAB Adjust");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1078);
    EXPECT_TRUE(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID).empty());
    expectParamTable(
        *plugin, "filter",
        {{"Lightness", "Lightness", "lightness", "Double", "1", {0, 2}, {0, 2}, 0.1, "", {}, true},
         {"lightness", "Channel a", "channela", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
         {"Channelb", "Channel b", "channelb", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
         {"InvertLuminance", "Invert Luminance", "invertluminance", "Boolean", "false", {}, {}, {}, "", {}, true},
         {"Desaturate", "Desaturate", "desaturate", "Double", "0", {0, 1}, {0, 1}, 0.001, "", {}, true}});
}

TEST_F(LABAdjustTest, BytePixelsConvertOnTheStoredBytesAndClampToAlpha) {
    struct Case {
        Settings settings;
        Rgba in, out;
    };
    const Case cases[] = {
        {{}, {255, 255, 255, 255}, {255, 255, 255, 255}},
        // Inverting against 95.58 rather than 100: black becomes a light
        // grey, white falls below black and clamps.
        {kInvert, {0, 0, 0, 255}, {242, 242, 242, 255}},
        {kInvert, {255, 255, 255, 255}, {0, 0, 0, 255}},
        {{{"Desaturate", "1"}}, {200, 100, 50, 255}, {128, 128, 128, 255}},
        {{{"lightness", "0.5"}}, {100, 100, 100, 255}, {171, 58, 101, 255}},
        // No division by alpha: the doubled lightness of the premultiplied
        // bytes is held to alpha 100 where it passes it.
        {{{"Lightness", "2"}}, {90, 40, 20, 100}, {100, 93, 69, 100}},
    };
    for (const Case& c : cases)
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
            EXPECT_EQ(renderOne(c.in, c.settings, Depth::Byte, order), c.out);
}

TEST_F(LABAdjustTest, FloatPixelsFollowTheAlphaRule) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // White inverts to L -4.42: below black, unclamped.
        EXPECT_EQ(renderOne({1.0f, 1.0f, 1.0f, 1.0f}, kInvert, Depth::Float, order),
                  (Rgba{-0.06320405006408691f, -0.06322777271270752f, -0.06310003250837326f, 1.0f}));
        EXPECT_EQ(renderOne({0.0f, 0.0f, 0.0f, 1.0f}, kInvert, Depth::Float, order),
                  (Rgba{0.9500011801719666f, 0.9500320553779602f, 0.9499309062957764f, 1.0f}));
        // No alpha, no colour.
        EXPECT_EQ(renderOne({0.5f, 0.25f, 0.75f, 0.0f}, kInvert, Depth::Float, order), (Rgba{0, 0, 0, 0}));
        EXPECT_EQ(renderOne({0.5f, 0.25f, 0.75f, 1e-6f}, {}, Depth::Float, order), (Rgba{0, 0, 0, 0}));
        // Alpha above 1: the colour as it stands, alpha written as 1.
        EXPECT_EQ(renderOne({0.5f, 0.25f, 0.125f, 2.0f}, kInvert, Depth::Float, order),
                  (Rgba{0.797019898891449f, 0.5061768293380737f, 0.36546194553375244f, 1.0f}));
        // Alpha 0.5: the same colour premultiplied, unpremultiplied around
        // the change and multiplied back.
        EXPECT_EQ(renderOne({0.25f, 0.125f, 0.0625f, 0.5f}, kInvert, Depth::Float, order),
                  (Rgba{0.3985099494457245f, 0.25308841466903687f, 0.18273097276687622f, 0.5f}));
    }
}

// L*a*b* weighs red, green and blue differently, and the a and b axes run
// between colours: both only come out alike if each order reads red as red.
TEST_F(LABAdjustTest, BothPixelOrdersGiveOnePicture) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(31, 13, Depth::Float, PixelOrder::RGBA, 11));
    const Settings shifted{{"Lightness", "1.2"},       {"lightness", "0.3"},   {"Channelb", "-0.4"},
                           {"InvertLuminance", "true"}, {"Desaturate", "0.25"}};
    for (const Settings& settings : {Settings{}, shifted}) {
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        const std::string what = settings.empty() ? "defaults" : "inverted with both axes shifted";
        expectOnePicture(*inst, Depth::Byte, what);
        expectOnePicture(*inst, Depth::Float, what);
    }
}

}  // namespace
