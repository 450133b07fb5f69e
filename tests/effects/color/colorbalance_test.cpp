#include <gtest/gtest.h>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

using Values = std::vector<std::pair<const char*, const char*>>;

class ColorBalanceTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:colorbalance");

    // Renders one row into an output whose alpha the test fills with
    // `outputAlpha` beforehand, so that what the effect leaves is visible.
    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, Depth depth, PixelOrder order, const Values& values,
                                float outputAlpha = 0.0f) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, text] : values) inst->setValueText(name, text);
        ofxhost::RenderOptions options;
        options.depth = depth;
        options.order = order;
        auto out = inst->makeOutput(options);
        if (depth == Depth::Float)
            for (int x = 0; x < out.width(); ++x) out.setFloat(x, 0, 3, outputAlpha);
        EXPECT_EQ(inst->render(0.0, options, out), kOfxStatOK);
        return out;
    }
};

TEST_F(ColorBalanceTest, DescribesItsDeclarationAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Color Balance");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1060);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{C3062BEC-E69D-11D1-9AA9-00A0C99B12C5}"}));
    expectParamTable(*plugin, "filter",
                     {
                         {"Red", "Red", "red", "Double", "0", {-0.5, 0.5}, {-0.5, 0.5}, 0.1, "", {}},
                         {"Green", "Green", "green", "Double", "0", {-0.5, 0.5}, {-0.5, 0.5}, 0.1, "", {}},
                         {"Blue", "Blue", "blue", "Double", "0", {-0.5, 0.5}, {-0.5, 0.5}, 0.1, "", {}},
                         {"Type", "Type", "type", "Choice", "1", {}, {}, {}, "", {"Highlights", "Midtones", "Shadow"}},
                         {"PreserveLuminosity", "Preserve luminosity", "preserveluminosity", "Boolean", "true", {},
                          {}, {}, "", {}},
                     });
}

// Bytes give each slider its own colour, floats give Red to blue (and Blue
// to red) as on blue-first memory, where the formula is written; each
// slider moves the same colour in both pixel orders. The row's floats are
// exact bytes (64, 128, 191 once converted).
TEST_F(ColorBalanceTest, EachSliderMovesOneColourInEveryVariant) {
    auto inst = filterOn(*plugin, rowImage({{0.25f, 0.5f, 0.75f, 1.0f}}, Depth::Float));
    inst->setValueText("Red", "0.5");
    inst->setValueText("PreserveLuminosity", "false");
    // Bytes: mean 383 / 3 = 127, midtone weight 1 - 4 (127 / 255 - 0.5)^2
    // = 0.99998462, shift 127.498 -> 127 on red. Floats: mean 0.5 exactly,
    // weight 1, blue takes 0.5. Neither clamps, nor looks at alpha.
    expectFourVariants(*inst, {rowImage({{191, 128, 191, 255}}, Depth::Byte),
                               rowImage({{0.25f, 0.5f, 1.25f, 1.0f}}, Depth::Float)});
    inst->setValueText("Red", "0");
    inst->setValueText("Blue", "-0.5");
    expectFourVariants(*inst, {rowImage({{64, 128, 64, 255}}, Depth::Byte),
                               rowImage({{-0.25f, 0.5f, 0.75f, 1.0f}}, Depth::Float)});
}

// Bytes copy the source pixel, floats leave alpha out of the formula: both
// take the source's alpha, whatever the host's output held.
TEST_F(ColorBalanceTest, AlphaIsTheSources) {
    const Values red{{"Red", "0.5"}, {"PreserveLuminosity", "false"}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // Mean 130 / 255: shift 127.45 -> 127. No clamp to alpha.
        auto out = render({{100, 130, 160, 255}, {100, 130, 160, 120}}, Depth::Byte, order, red);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{227, 130, 160, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{227, 130, 160, 120}));

        out = render({{0.25f, 0.5f, 0.75f, 1.0f}, {0.25f, 0.5f, 0.75f, 0.5f}, {0.25f, 0.5f, 0.75f, 2.0f}},
                     Depth::Float, order, red, 0.25f);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.25f, 0.5f, 1.25f, 1.0f}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0.25f, 0.5f, 1.25f, 0.5f}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{0.25f, 0.5f, 1.25f, 2.0f}));
    }
}

TEST_F(ColorBalanceTest, PreservedLuminosityAndByteRounding) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // Shadows at mean 100 / 255: w = 0.84621299...; shifts 107.89 and
        // 53.95 round to 108 and 54, their halves to 54 and 27.
        auto out = render({{100, 100, 100, 255}}, Depth::Byte, order,
                          {{"Red", "0.5"}, {"Green", "0.25"}, {"Type", "2"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{181, 100, 19, 255}));

        // Highlights on white: -127.5 rounds up to -127 (the bias, not ties
        // to even).
        out = render({{255, 255, 255, 255}}, Depth::Byte, order,
                     {{"Red", "-0.5"}, {"Type", "0"}, {"PreserveLuminosity", "false"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{128, 255, 255, 255}));

        // Floats, unclamped: blue takes 0.5 - 0.125, red loses 0.25 + 0.125.
        out = render({{0.25f, 0.5f, 0.75f, 1.0f}}, Depth::Float, order, {{"Red", "0.5"}, {"Green", "0.25"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{-0.125f, 0.5f, 1.125f, 1.0f}));
    }
}

TEST_F(ColorBalanceTest, DrawsOnePictureInBothOrders) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(23, 11, Depth::Float, PixelOrder::RGBA, 7));
    for (Depth depth : {Depth::Byte, Depth::Float}) expectOnePicture(*inst, depth, "defaults");
    const Values settings[] = {
        {{"Red", "0.3"}, {"Green", "-0.15"}, {"Blue", "0.45"}, {"Type", "2"}},
        {{"Red", "-0.5"}, {"Green", "0.2"}, {"Blue", "0.1"}, {"Type", "0"}, {"PreserveLuminosity", "false"}},
    };
    for (const Values& values : settings) {
        for (const auto& [name, text] : values) inst->setValueText(name, text);
        for (Depth depth : {Depth::Byte, Depth::Float}) expectOnePicture(*inst, depth, "balanced");
    }
}

}  // namespace
