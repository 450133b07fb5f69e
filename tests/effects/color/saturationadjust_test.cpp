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

class SaturationAdjustTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:saturationadjust");

    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, const Settings& settings, Depth depth,
                                PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        return renderVariant(*inst, {depth, order});
    }
};

const Settings kAllGrey{{"Amount", "-1"}, {"Low", "-1"}, {"High", "-1"}};

TEST_F(SaturationAdjustTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Saturation Adjust");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1600);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{1C494FD1-BE2B-48DA-9273-5A004DC57CE8}"}));
    expectParamTable(*plugin, "filter",
                     {{"Amount", "Amount", "amount", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
                      {"Center", "Center", "center", "Double", "0.5", {0, 1}, {0, 1}, 0.1, "", {}, true},
                      {"Spread", "Spread", "spread", "Double", "0.5", {0.01, 1}, {0.01, 1}, 0.1, "", {}, true},
                      {"Low", "Low", "low", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
                      {"High", "High", "high", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true}});
}

// With the whole curve at -1 every colour becomes the luma
// 0.299 r + 0.587 g + 0.114 b; at +1 it becomes 2c - luma.
TEST_F(SaturationAdjustTest, MatrixOnStoredColoursWithByteClampToAlpha) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // Luma 124.2 truncates to 124.
        auto out = render({{200, 100, 50, 255}}, kAllGrey, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{124, 124, 124, 255}));
        // Luma 52.67 of the premultiplied bytes: 127.33 is held to alpha,
        // 27.33 truncates, -12.67 stops at 0.
        out = render({{90, 40, 20, 100}}, {{"Amount", "1"}, {"Low", "1"}, {"High", "1"}}, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{100, 27, 0, 100}));

        out = render({{0.5f, 0.25f, 0.125f, 0.5f}}, kAllGrey, Depth::Float, order);
        const float luma = static_cast<float>(0.299 * 0.5 + 0.587 * 0.25 + 0.114 * 0.125);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{luma, luma, luma, 0.5f}));
    }
}

TEST_F(SaturationAdjustTest, CurvePicksTheChangeBySaturation) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // Defaults change nothing, bit for bit.
        for (Depth depth : {Depth::Byte, Depth::Float}) {
            const auto source = ofxhost::ImageBuffer::testFrame(13, 5, depth, order, 9);
            auto inst = filterOn(*plugin, source);
            EXPECT_TRUE(renderVariant(*inst, {depth, order}).samePixels(source));
        }
        // Pure red measures 0.883, past Center + Spread / 2 = 0.75: High
        // applies and it goes to its luma 76.245. A near grey measures 0.035,
        // below 0.25: Low (0) keeps it exactly.
        auto out = render({{255, 0, 0, 255}, {110, 100, 100, 255}}, {{"High", "-1"}}, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{76, 76, 76, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{110, 100, 100, 255}));

        // Center 0, Spread 0.01: the first segment has zero length and Low
        // reaches no pixel, not even an exact grey.
        const Settings emptyFirst{{"Center", "0"}, {"Spread", "0.01"}, {"Low", "-1"}};
        out = render({{100, 100, 100, 255}, {110, 100, 100, 255}}, emptyFirst, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{100, 100, 100, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{110, 100, 100, 255}));
        out = render({{0.6f, 0.5f, 0.5f, 1.0f}}, emptyFirst, Depth::Float, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.6f, 0.5f, 0.5f, 1.0f}));

        // Center 1: the last segment has zero length; an over-range red
        // measures 1.77 and takes High there (t = 0) rather than a NaN.
        out = render({{2.0f, 0.0f, 0.0f, 1.0f}}, {{"Center", "1"}, {"High", "-1"}}, Depth::Float, order);
        const float luma = static_cast<float>(0.299 * 2.0);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{luma, luma, luma, 1.0f}));
    }
}

// The luma weights name colours: red's 0.299 must go to red in both orders.
TEST_F(SaturationAdjustTest, BothPixelOrdersGiveOnePicture) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(31, 13, Depth::Float, PixelOrder::RGBA, 11));
    for (const Settings& settings :
         {Settings{},
          Settings{{"Amount", "0.7"}, {"Center", "0.3"}, {"Spread", "0.4"}, {"Low", "-0.5"}, {"High", "0.8"}}}) {
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        const std::string what = settings.empty() ? "defaults" : "a shaped curve";
        expectOnePicture(*inst, Depth::Byte, what);
        expectOnePicture(*inst, Depth::Float, what);
    }
}

}  // namespace
