#include <gtest/gtest.h>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

using Values = std::vector<std::pair<const char*, const char*>>;

class ChannelBlendTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:channelblend");

    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, Depth depth, PixelOrder order, const Values& values) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, text] : values) inst->setValueText(name, text);
        return renderVariant(*inst, {depth, order});
    }
};

TEST_F(ChannelBlendTest, DescribesItsDeclarationAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Channel Blend");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Utility");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1230);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{0BC15B73-83B9-11D4-9F67-00485481BD31}"}));

    std::vector<ParamRow> rows{{"Normalize", "Normalize", "Normalize", "Boolean", "false", {}, {}, {}, "", {}}};
    const char* groups[] = {"RED", "GREEN", "BLUE", "ALPHA"};
    const char* outputs[] = {"Red Output", "Green Output", "Blue Output", "Alpha Output"};
    const char* terms[] = {"R", "G", "B", "A", "Offset"};
    const char* colours[] = {"Red", "Green", "Blue", "Alpha"};
    for (int g = 0; g < 4; ++g) {
        const std::string group = std::string("Group ") + groups[g];
        rows.push_back({group, outputs[g], group, "Group", "null", {}, {}, {}, "", {}, false});
        for (int t = 0; t < 5; ++t) {
            // Only the first group spells "channel" in lower case.
            const std::string label =
                t == 4 ? "Offset" : std::string(colours[t]) + (g == 0 ? " channel weighting" : " Channel Weighting");
            const std::string name = std::string(groups[g]) + " weight " + terms[t];
            rows.push_back({name, label, name, "Double", t == g ? "1" : "0", {-255, 255}, {-10, 10}, {}, group, {}});
        }
    }
    expectParamTable(*plugin, "filter", rows);
}

// The group named red reads and writes the first component in memory: red
// on RGBA, blue on BGRA. Offsets are in full-scale units; colour is held to
// the alpha.
TEST_F(ChannelBlendTest, GroupsGoByMemoryPosition) {
    const Values values{{"RED weight R", "0"}, {"RED weight B", "5"}, {"GREEN weight Offset", "0.1"}};
    const std::vector<Rgba> bytes{{10, 20, 30, 255}, {10, 20, 30, 100}};
    // Green: 20 + 25.5, truncated.
    auto out = render(bytes, Depth::Byte, PixelOrder::RGBA, values);
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{150, 45, 30, 255}));
    EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{100, 45, 30, 100}));
    out = render(bytes, Depth::Byte, PixelOrder::BGRA, values);
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{10, 45, 50, 255}));
    EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{10, 45, 50, 100}));

    // Alpha first: 1.5 a, held to 1; then colour to 0..alpha.
    const Values floatValues{{"ALPHA weight A", "1.5"}, {"RED weight R", "4"}, {"GREEN weight Offset", "-1"}};
    const std::vector<Rgba> floats{{0.25f, 0.5f, 0.125f, 0.5f}, {0.25f, 0.5f, 0.125f, 1.0f}};
    out = render(floats, Depth::Float, PixelOrder::RGBA, floatValues);
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.75f, 0, 0.125f, 0.75f}));
    EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{1.0f, 0, 0.125f, 1.0f}));
    out = render(floats, Depth::Float, PixelOrder::BGRA, floatValues);
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.25f, 0, 0.5f, 0.75f}));
    EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0.25f, 0, 0.5f, 1.0f}));
}

// A group summing above 0 is divided by its sum; one summing below stays
// as it is (all negative: it gives 0, where normalised it would be positive).
TEST_F(ChannelBlendTest, NormalizeOnlyGroupsWithAPositiveSum) {
    const Values values{{"Normalize", "true"},        {"RED weight R", "2"},        {"RED weight G", "2"},
                        {"GREEN weight R", "-1"},     {"GREEN weight G", "-1"},     {"GREEN weight B", "-1"},
                        {"GREEN weight A", "-1"},     {"GREEN weight Offset", "-1"}};
    const std::vector<Rgba> in{{10, 20, 30, 255}};
    EXPECT_EQ(pixelAt(render(in, Depth::Byte, PixelOrder::RGBA, values), 0, 0), (Rgba{15, 0, 30, 255}));
    EXPECT_EQ(pixelAt(render(in, Depth::Byte, PixelOrder::BGRA, values), 0, 0), (Rgba{10, 0, 25, 255}));
}

TEST_F(ChannelBlendTest, AlphaGroupAtZeroClearsTheFrame) {
    const auto source = ofxhost::ImageBuffer::testFrame(13, 4, Depth::Float, PixelOrder::RGBA, 5);
    auto inst = filterOn(*plugin, source);
    inst->setValueText("ALPHA weight A", "0");
    for (const auto& variant : kAllVariants) {
        const auto out = renderVariant(*inst, variant);
        for (int y = 0; y < out.height(); ++y)
            for (int x = 0; x < out.width(); ++x)
                ASSERT_EQ(pixelAt(out, x, y), (Rgba{0, 0, 0, 0})) << variantName(variant) << " " << x << "," << y;
    }
}

}  // namespace
