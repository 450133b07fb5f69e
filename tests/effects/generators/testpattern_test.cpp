#include <gtest/gtest.h>

#include <cstdint>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

const char* const kTestPattern = "talvo.effects:testpattern";

// A sample: a position as fractions of the frame from its top left, and
// the 8-bit studio-range codes expected there.
struct Sample {
    double u, v;
    uint8_t r, g, b;
};

struct PatternSamples {
    int choice;
    std::vector<Sample> samples;
};

// Points well inside their regions, so that they hold at any frame size.
const std::vector<PatternSamples> kSamples{
    {0, {{1 / 14.0, 0.5, 184, 184, 184}, {3 / 14.0, 0.1, 184, 184, 32}, {13 / 14.0, 0.9, 32, 32, 184}}},
    {1, {{1 / 16.0, 0.5, 235, 235, 235}, {3 / 16.0, 0.5, 180, 180, 16}, {15 / 16.0, 0.5, 16, 16, 16}}},
    {2, {{3 / 16.0, 0.5, 235, 235, 16}, {13 / 16.0, 0.5, 16, 16, 235}}},
    {3, {{0.02, 0.5, 235, 235, 235}, {0.2, 0.5, 16, 16, 16}, {0.375, 0.5, 12, 12, 12}, {0.625, 0.5, 20, 20, 20},
         {0.375, 0.15, 16, 16, 16}}},
    {5, {{1 / 14.0, 0.3, 184, 184, 184}, {13 / 14.0, 0.3, 32, 32, 184}, {1 / 14.0, 0.7, 32, 32, 184},
         {13 / 14.0, 0.7, 184, 184, 184}, {0.09, 0.9, 1, 44, 81}, {0.27, 0.9, 235, 235, 235}, {0.45, 0.9, 60, 4, 107},
         {0.65, 0.9, 32, 32, 32}, {0.738, 0.9, 24, 24, 24}, {0.833, 0.9, 41, 41, 41}}},
    {6, {{1 / 14.0, 0.3, 180, 180, 180}, {1 / 14.0, 0.7, 16, 16, 180}, {0.09, 0.9, 1, 28, 64}, {0.45, 0.9, 43, 1, 91},
         {0.738, 0.9, 12, 12, 12}, {0.833, 0.9, 20, 20, 20}}},
    {7, {{0.5, 0.5, 16, 16, 16}, {0.02, 0.5, 235, 235, 235}, {0.5, 0.98, 235, 235, 235}}},
    {8, {{0.98, 0.5, 235, 235, 16}, {0.5, 0.02, 235, 235, 16}, {0.5, 0.5, 16, 16, 16}}},
};

class TestPatternTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kTestPattern);
};

TEST_F(TestPatternTest, DescribesItsChoices) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Test Pattern");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1920);
    EXPECT_EQ(plugin->describeInContext("generator").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{C55DDAF9-B236-11d2-BAD4-00C04F8EDC09}"}));
    expectParamTable(*plugin, "generator",
                     {{"TestPatternType", "Test pattern type", "testpatterntype", "Choice", "0", {}, {}, {}, "",
                       {"Color bars (NTSC)", "Color bars (PAL)", "Color bars (PAL)", "Pluge and porches", "Ramp",
                        "SMPTE bars (NTSC)", "SMPTE bars (PAL)", "White porches", "Yellow porches"}}});
}

// The same codes at two frame sizes, in every depth and order: pixelAt reads
// by colour, so equal values in both orders mean each colour landed in its
// own component.
TEST_F(TestPatternTest, SampledLevelsAtTwoFrameSizes) {
    for (const auto& [width, height] : {std::pair{720, 486}, std::pair{1920, 1080}}) {
        auto inst = generatorOf(*plugin, width, height);
        for (const PatternSamples& pattern : kSamples) {
            inst->setValueText("TestPatternType", std::to_string(pattern.choice));
            for (const Variant& variant : kAllVariants) {
                const auto out = renderVariant(*inst, variant);
                for (const Sample& s : pattern.samples) {
                    SCOPED_TRACE(variantName(variant) + " " + std::to_string(width) + " pattern " +
                                 std::to_string(pattern.choice) + " at " + std::to_string(s.u) + "," +
                                 std::to_string(s.v));
                    // A float pixel is its code / 255.
                    auto level = [&](uint8_t code) {
                        return variant.depth == Depth::Byte ? code : static_cast<float>(code / 255.0);
                    };
                    const int x = static_cast<int>(s.u * width);
                    const int y = height - 1 - static_cast<int>(s.v * height);
                    EXPECT_EQ(pixelAt(out, x, y),
                              (Rgba{level(s.r), level(s.g), level(s.b), variant.depth == Depth::Byte ? 255.0f : 1.0f}));
                }
            }
        }
    }
}

// Black at the first column, white at the last; bytes round the code and
// floats keep the exact fraction. Every row is the same.
TEST_F(TestPatternTest, RampRunsAcrossTheWidth) {
    auto inst = generatorOf(*plugin, 439, 3);
    inst->setValueText("TestPatternType", "4");
    const auto bytes = renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA});
    const auto floats = renderVariant(*inst, {Depth::Float, PixelOrder::RGBA});
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(pixelAt(bytes, 0, y), (Rgba{16, 16, 16, 255}));
        EXPECT_EQ(pixelAt(bytes, 438, y), (Rgba{235, 235, 235, 255}));
        // 16 + 219 * 1 / 438 = 16.5 rounds up; 16 + 219 * 219 / 438 = 125.5 likewise.
        EXPECT_EQ(pixelAt(bytes, 1, y)[0], 17);
        EXPECT_EQ(pixelAt(bytes, 219, y)[0], 126);
        EXPECT_EQ(pixelAt(floats, 219, y)[0], static_cast<float>(125.5 / 255.0));
    }
}

// The whole frame is one picture in both orders (the default, the colour
// bars and every other pattern), and agrees between the depths where the
// levels are codes.
TEST_F(TestPatternTest, OnePictureInBothOrdersAndBothDepths) {
    auto inst = generatorOf(*plugin, 333, 201);
    for (Depth depth : {Depth::Byte, Depth::Float}) expectOnePicture(*inst, depth, "default");
    for (int choice = 0; choice < 9; ++choice) {
        SCOPED_TRACE(choice);
        inst->setValueText("TestPatternType", std::to_string(choice));
        for (Depth depth : {Depth::Byte, Depth::Float}) expectOnePicture(*inst, depth, std::to_string(choice));
        if (choice != 4) {
            const auto bytes = renderVariant(*inst, kAllVariants[0]);
            const auto floats = renderVariant(*inst, kAllVariants[3]);
            EXPECT_TRUE(floats.converted(Depth::Byte, PixelOrder::RGBA).samePixels(bytes));
        }
    }
}

// Each thread draws the first row of each band in its rows and copies it
// down; positions come from the whole window, so every split of 101 rows
// gives the picture of one thread.
TEST_F(TestPatternTest, AnyNumberOfThreadsDrawsTheOneThreadPicture) {
    auto render = [](unsigned threads, int choice, const Variant& v) {
        ofxhost::HostConfig config;
        config.threads = threads;
        auto plugin = loadEffect(quietHost(config), kTestPattern);
        auto inst = generatorOf(*plugin, 97, 101);
        inst->setValueText("TestPatternType", std::to_string(choice));
        return renderVariant(*inst, v);
    };
    for (int choice : {3, 5}) {
        for (const Variant& v : {kAllVariants[1], kAllVariants[2]}) {
            const auto one = render(1, choice, v);
            for (unsigned threads : {2u, 7u})
                EXPECT_EQ(firstDifference(render(threads, choice, v), one), "")
                    << choice << " " << variantName(v) << " on " << threads;
        }
    }
}

}  // namespace
