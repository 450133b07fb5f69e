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

// Red moves red on bytes, but blue on floats; both orders agree in colour.
TEST_F(ColorBalanceTest, RedMovesRedOnBytesAndBlueOnFloats) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        const Values red{{"Red", "0.5"}, {"PreserveLuminosity", "false"}};
        // Mean 130 / 255: midtone weight 0.99961553..., shift 127.45 -> 127.
        // No clamp to alpha, and the source's alpha.
        auto out = render({{100, 130, 160, 255}, {100, 130, 160, 120}}, Depth::Byte, order, red);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{227, 130, 160, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{227, 130, 160, 120}));

        // Mean 0.5: weight 1. The output's alpha stays as the host gave it.
        out = render({{0.25f, 0.5f, 0.75f, 1.0f}}, Depth::Float, order, red, 0.25f);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.25f, 0.5f, 1.25f, 0.25f}));
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
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{-0.125f, 0.5f, 1.125f, 0.0f}));
    }
}

}  // namespace
