#include <gtest/gtest.h>

#include <limits>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

class SolidColorTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:solidcolor");

    // A frame of one colour, given in colour order in the depth's own scale.
    static ofxhost::ImageBuffer filled(int width, int height, const Rgba& colour, Depth depth) {
        ofxhost::ImageBuffer image(width, height, depth, PixelOrder::RGBA);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < 4; ++c) {
                    if (depth == Depth::Byte)
                        image.setByte(x, y, c, static_cast<uint8_t>(colour[c]));
                    else
                        image.setFloat(x, y, c, colour[c]);
                }
        return image;
    }

    // Fills a 7 x 3 frame with the colour and expects the references in
    // every variant.
    void expectFill(const char* colour, const Rgba& bytes, const Rgba& floats) {
        auto inst = generatorOf(*plugin, 7, 3);
        inst->setValueText("Color", colour);
        expectFourVariants(*inst, {filled(7, 3, bytes, Depth::Byte), filled(7, 3, floats, Depth::Float)});
    }
};

TEST_F(SolidColorTest, DescribesAGeneratorWithOneColour) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Solid Color");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO");
    EXPECT_EQ(props.getStrings(kOfxImageEffectPropSupportedContexts),
              (std::vector<std::string>{kOfxImageEffectContextGenerator}));
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1310);
    const auto& inContext = plugin->describeInContext("generator");
    EXPECT_EQ(inContext.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{D9DD0DFC-274F-45A7-B874-3D2BCFA61FE9}"}));
    ASSERT_EQ(inContext.clips().size(), 1u);
    const auto& output = inContext.clips()[0]->props();
    EXPECT_EQ(output.getInt(kOfxImageEffectPropSupportsTiles), 0);
    EXPECT_EQ(output.getString(kOfxImageClipPropFieldExtraction), kOfxImageFieldBoth);

    constexpr double kMax = std::numeric_limits<double>::max();
    const std::vector<double> unbounded{-kMax, kMax, -kMax, kMax, -kMax, kMax, -kMax, kMax};
    expectParamTable(*plugin, "generator",
                     {{"Color", "Color", "color", "RGBA", "[0,0,0,0]", unbounded, unbounded, {}, "", {}}});
}

// Orange is orange in both orders: red 255, green trunc(0.5 * 255) = 127,
// no blue.
TEST_F(SolidColorTest, ColoursKeepTheirNamesInBothOrders) {
    expectFill("1,0.5,0,1", {255, 127, 0, 255}, {1.0f, 0.5f, 0.0f, 1.0f});
    expectFill("0,0,1,1", {0, 0, 255, 255}, {0.0f, 0.0f, 1.0f, 1.0f});
}

// Premultiplied, the byte products in double truncated: red trunc(127.5) =
// 127, green trunc(63.75) = 63, blue trunc(31.875) = 31, alpha 127.
TEST_F(SolidColorTest, FillsWithThePremultipliedColour) {
    expectFill("1,0.5,0.25,0.5", {127, 63, 31, 127}, {0.5f, 0.25f, 0.125f, 0.5f});
}

// Components beyond 0..1 keep the low byte of their truncation: red
// trunc(2 * 255 * 0.75) = 382 shows as 126, green trunc(-95.625) = -95 as
// 161; floats keep them.
TEST_F(SolidColorTest, OutOfRangeComponentsWrapInBytes) {
    expectFill("2,-0.5,1,0.75", {126, 161, 191, 191}, {1.5f, -0.375f, 0.75f, 0.75f});
}

TEST_F(SolidColorTest, OneAndTheSamePictureInBothOrders) {
    auto inst = generatorOf(*plugin, 9, 4);
    for (const char* colour : {"", "1,0.5,0.25,0.5", "0.9,0.1,0.3,1"}) {
        if (*colour) inst->setValueText("Color", colour);
        for (Depth depth : {Depth::Byte, Depth::Float}) expectOnePicture(*inst, depth, colour);
    }
}

}  // namespace
