#include <gtest/gtest.h>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

class BlackAndWhiteTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:blackandwhite");

    // Renders one row with the blend amount in the given depth and order.
    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, const char* blend, Depth depth, PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        inst->setValueText("BlendAmount", blend);
        return renderVariant(*inst, {depth, order});
    }
};

TEST_F(BlackAndWhiteTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Black and White");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1900);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{E87674D5-E8F2-11D1-9AA9-00A0C99B12C5}"}));
    expectParamTable(*plugin, "filter",
                     {{"BlendAmount", "Blend amount", "blendamount", "Double", "1", {0, 1}, {0, 1}, 0.1, "", {}, true}});
}

// Grey = sum / 3 clamped to alpha; k = round(255 * (1 - blend)); each colour
// becomes (c - grey) * k / 256 + grey, truncated toward zero.
TEST_F(BlackAndWhiteTest, BytePixelsMixTowardTheGreyWithTheByteArithmetic) {
    const std::vector<Rgba> in{{30, 60, 91, 255}, {200, 10, 30, 50}};
    struct Case {
        const char* blend;
        Rgba first, second;
    };
    const Case cases[] = {
        // k = 0: all grey. The second pixel's grey of 80 is held to its alpha.
        {"1", {60, 60, 60, 255}, {50, 50, 50, 50}},
        // k = 128: -30 * 128 / 256 = -15; 31 * 128 / 256 = 15.
        {"0.5", {45, 60, 75, 255}, {125, 30, 40, 50}},
        // k = 191: -5730 / 256 truncates to -22 (not -23), 5921 / 256 to 23.
        {"0.25", {38, 60, 83, 255}, {161, 21, 36, 50}},
        // Just above the f32 cut-off k = 255 still mixes: one short of the source.
        {"1e-6", {31, 60, 90, 255}, {199, 11, 31, 50}},
    };
    for (const Case& c : cases) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const auto out = render(in, c.blend, Depth::Byte, order);
            EXPECT_EQ(pixelAt(out, 0, 0), c.first) << c.blend;
            EXPECT_EQ(pixelAt(out, 1, 0), c.second) << c.blend;
        }
    }
}

TEST_F(BlackAndWhiteTest, FloatPixelsSumBlueFirstAndLeaveAlphaAlone) {
    // Float sums of these three differ in the last bit with the order of
    // addition: the grey is blue + green, then red, in both storage orders.
    const float r = 0.1f, g = 0.2f, b = 0.35f;
    float sum = b + g;
    sum += r;
    const float grey = static_cast<float>(sum / 3.0);
    auto mixed = [&](float c) { return static_cast<float>((static_cast<double>(c) - grey) * 0.75 + grey); };
    const std::vector<Rgba> in{{r, g, b, 1.0f}, {0.5f, 0.25f, 0.75f, 0.0f}, {0.5f, 0.25f, 0.75f, 2.0f}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        auto out = render(in, "0.25", Depth::Float, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{mixed(r), mixed(g), mixed(b), 1.0f}));
        // Alpha 0: the grey is held to 0 but the source colour keeps its 0.75.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0.375f, 0.1875f, 0.5625f, 0.0f}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{0.5f, 0.3125f, 0.6875f, 2.0f}));

        out = render(in, "1", Depth::Float, order);
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0.0f, 0.0f, 0.0f, 0.0f}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{0.5f, 0.5f, 0.5f, 2.0f}));
    }
}

TEST_F(BlackAndWhiteTest, BlendAtOrBelowTheCutOffIsABitExactCopy) {
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const auto source = ofxhost::ImageBuffer::testFrame(17, 9, depth, PixelOrder::RGBA, 5);
        auto inst = filterOn(*plugin, source);
        for (const char* blend : {"0", "9e-7"}) {
            inst->setValueText("BlendAmount", blend);
            for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
                EXPECT_TRUE(renderVariant(*inst, {depth, order}).samePixels(source)) << blend;
        }
    }
}

}  // namespace
