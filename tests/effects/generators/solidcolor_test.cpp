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

// Blue lands in the first component in memory in both orders, so an RGBA
// clip shows red and blue swapped and a BGRA clip shows the colour.
TEST_F(SolidColorTest, FillsWithThePremultipliedColourBlueFirst) {
    auto inst = generatorOf(*plugin, 7, 3);
    inst->setValueText("Color", "1,0.5,0.25,0.5");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        // Bytes: trunc(b * 255 * a) = 31, trunc(63.75) = 63, trunc(127.5) = 127.
        const Rgba memory = v.depth == Depth::Byte ? Rgba{31, 63, 127, 127} : Rgba{0.125f, 0.25f, 0.5f, 0.5f};
        const Rgba shown = v.order == PixelOrder::BGRA ? Rgba{memory[2], memory[1], memory[0], memory[3]} : memory;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 7; ++x) ASSERT_EQ(pixelAt(out, x, y), shown) << x << "," << y;
    }
}

}  // namespace
