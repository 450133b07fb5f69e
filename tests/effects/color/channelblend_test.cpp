#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <random>
#include <string>

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
            rows.push_back({name, label, name, "Double", t == g ? "1" : "0", {-255, 255}, {-10, 10}, 1.0, group, {}});
        }
    }
    expectParamTable(*plugin, "filter", rows);
}

// The output is claimed unbounded, as by the other filters; the host crops it.
TEST_F(ChannelBlendTest, RegionOfDefinitionIsUnbounded) {
    auto inst = filterOn(*plugin, rowImage({{10, 20, 30, 255}}, Depth::Byte));
    OfxRectD rod{};
    ASSERT_EQ(inst->regionOfDefinition(0.0, 1.0, rod), kOfxStatOK);
    EXPECT_EQ(rod.x1, -2147483648.0);
    EXPECT_EQ(rod.y1, -2147483648.0);
    EXPECT_EQ(rod.x2, 2147483647.0);
    EXPECT_EQ(rod.y2, 2147483647.0);
}

// The group named after a colour writes that colour and each weight reads
// the colour in its name, in both pixel orders. Offsets are in full-scale
// units; colour is held to the alpha. The floats are exact bytes (64, 128,
// 255 once converted).
TEST_F(ChannelBlendTest, GroupsAndWeightsActOnTheColoursTheyName) {
    auto inst = filterOn(*plugin, rowImage({{0.25f, 0.5f, 1.0f, 1.0f}, {0.25f, 0.5f, 0.5f, 0.5f}}, Depth::Float));
    // Red from half the green, green lifted by a quarter, blue from red and
    // half the blue.
    inst->setValueText("RED weight R", "0");
    inst->setValueText("RED weight G", "0.5");
    inst->setValueText("GREEN weight Offset", "0.25");
    inst->setValueText("BLUE weight R", "1");
    inst->setValueText("BLUE weight B", "0.5");
    // Bytes: green 128 + 63.75 and blue 64 + 127.5 truncate to 191; below
    // full alpha green is held to 128.
    expectFourVariants(*inst, {rowImage({{64, 191, 191, 255}, {64, 128, 128, 128}}, Depth::Byte),
                               rowImage({{0.25f, 0.75f, 0.75f, 1.0f}, {0.25f, 0.5f, 0.5f, 0.5f}}, Depth::Float)});
}

TEST_F(ChannelBlendTest, BytesTruncateAndHoldColourToAlpha) {
    const Values values{{"RED weight R", "0"}, {"RED weight B", "5"}, {"GREEN weight Offset", "0.1"}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // Red: 5 * 30, to the alpha; green: 20 + 25.5, truncated.
        const auto out = render({{10, 20, 30, 255}, {10, 20, 30, 100}}, Depth::Byte, order, values);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{150, 45, 30, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{100, 45, 30, 100}));
    }
}

// Alpha first: 1.5 a, held to 1; then colour to 0..alpha.
TEST_F(ChannelBlendTest, AlphaIsComputedFirstAndHeldToOne) {
    const Values values{{"ALPHA weight A", "1.5"}, {"RED weight R", "4"}, {"GREEN weight Offset", "-1"}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        const auto out =
            render({{0.25f, 0.5f, 0.125f, 0.5f}, {0.25f, 0.5f, 0.125f, 1.0f}}, Depth::Float, order, values);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.75f, 0, 0.125f, 0.75f}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{1.0f, 0, 0.125f, 1.0f}));
    }
}

// A group summing above 0 is divided by its sum; one summing below stays
// as it is (all negative: it gives 0, where normalised it would be positive).
TEST_F(ChannelBlendTest, NormalizeOnlyGroupsWithAPositiveSum) {
    const Values values{{"Normalize", "true"},        {"RED weight R", "2"},        {"RED weight G", "2"},
                        {"GREEN weight R", "-1"},     {"GREEN weight G", "-1"},     {"GREEN weight B", "-1"},
                        {"GREEN weight A", "-1"},     {"GREEN weight Offset", "-1"}};
    const std::vector<Rgba> in{{10, 20, 30, 255}};
    EXPECT_EQ(pixelAt(render(in, Depth::Byte, PixelOrder::RGBA, values), 0, 0), (Rgba{15, 0, 30, 255}));
    EXPECT_EQ(pixelAt(render(in, Depth::Byte, PixelOrder::BGRA, values), 0, 0), (Rgba{15, 0, 30, 255}));
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

// The defined arithmetic of one pixel, written out plainly: w[g] holds the
// group writing colour g (red, green, blue, alpha), its weights of red,
// green, blue and alpha, then the offset; normalising is left to the caller.
using Weights = std::array<std::array<double, 5>, 4>;

// A double as text that reads back as the same double.
std::string exactText(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", v);
    return text;
}

template <class T>
std::array<T, 4> blended(const Weights& w, const std::array<T, 4>& c, double full) {
    double v[4];
    for (int g = 0; g < 4; ++g)
        v[g] = double(c[0]) * w[g][0] + double(c[1]) * w[g][1] + double(c[2]) * w[g][2] + double(c[3]) * w[g][3] +
               w[g][4] * full;
    const double a = v[3] < 0.0 ? 0.0 : (v[3] <= full ? v[3] : full);
    std::array<T, 4> out{};
    for (int g = 0; g < 3; ++g) out[g] = static_cast<T>(v[g] < 0.0 ? 0.0 : (v[g] <= a ? v[g] : a));
    out[3] = static_cast<T>(a);
    return out;
}

// Random frames of eight widths, so that every remainder of the four- and
// eight-pixel steps is met, rendered whole and in a window that starts at
// an odd column; random weights and offsets, normalised and not, against
// the plain formula. The weights are hundredths, eighths (whole multiples
// of a power of two, which bytes may sum on integers) or whole numbers up
// to the range's ends. Outside the window the output stays untouched.
TEST_F(ChannelBlendTest, EveryPixelFollowsThePlainFormula) {
    constexpr int kHeight = 9;
    const char* const groups[] = {"RED", "GREEN", "BLUE", "ALPHA"};
    const char* const terms[] = {"R", "G", "B", "A", "Offset"};
    const char* const kinds[] = {"hundredths", "eighths", "whole"};
    const double wholes[] = {-255, -1, 0, 1, 2, 255};
    std::mt19937 random(1230);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_real_distribution<float> value(-0.25f, 1.25f);
    std::uniform_int_distribution<int> hundredths(-250, 250);
    std::uniform_int_distribution<int> eighths(-24, 24);
    std::uniform_int_distribution<int> pick(0, 5);
    for (int width = 29; width <= 36; ++width) {
        for (int kind = 0; kind < 3; ++kind) {
            const bool normalize = width % 2 == 1;
            const auto draw = [&] {
                return kind == 0 ? hundredths(random) / 100.0
                                 : (kind == 1 ? eighths(random) / 8.0 : wholes[pick(random)]);
            };
            // Alpha near the source's, a sixteenth of a draw away, so that
            // the colours are seldom all held to an alpha of 0.
            Weights w;
            for (int g = 0; g < 4; ++g)
                for (int t = 0; t < 5; ++t) w[g][t] = g < 3 ? draw() : (t == 3 ? 1.0 : 0.0) + draw() / 16;
            for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
                ofxhost::ImageBuffer bytes(width, kHeight, Depth::Byte, order);
                ofxhost::ImageBuffer floats(width, kHeight, Depth::Float, order);
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < width; ++x) {
                        for (int c = 0; c < 4; ++c) {
                            bytes.setByte(x, y, c, static_cast<uint8_t>(byte(random)));
                            floats.setFloat(x, y, c, value(random));
                        }
                    }
                }
                Weights used = w;
                for (auto& group : used) {
                    const double sum = group[0] + group[1] + group[2] + group[3] + group[4];
                    if (normalize && sum > 0.0)
                        for (double& term : group) term /= sum;
                }
                for (const auto* source : {&bytes, &floats}) {
                    const bool isBytes = source->depth() == Depth::Byte;
                    SCOPED_TRACE(std::to_string(width) + " " + kinds[kind] + " " + ofxhost::depthName(source->depth()) +
                                 " " + ofxhost::orderName(order) + (normalize ? " normalised" : ""));
                    auto inst = filterOn(*plugin, *source);
                    inst->setValueText("Normalize", normalize ? "true" : "false");
                    for (int g = 0; g < 4; ++g)
                        for (int t = 0; t < 5; ++t)
                            inst->setValueText(std::string(groups[g]) + " weight " + terms[t], exactText(w[g][t]));
                    const auto want = [&](int x, int y) -> Rgba {
                        if (isBytes) {
                            std::array<int, 4> c;
                            for (int k = 0; k < 4; ++k) c[k] = source->byteAt(x, y, k);
                            const auto out = blended(used, c, 255.0);
                            return {float(out[0]), float(out[1]), float(out[2]), float(out[3])};
                        }
                        std::array<float, 4> c;
                        for (int k = 0; k < 4; ++k) c[k] = source->floatAt(x, y, k);
                        return blended(used, c, 1.0);
                    };
                    const ofxhost::RectI window{3, 1, width - 2, kHeight - 1};
                    for (bool entire : {true, false}) {
                        ofxhost::RenderOptions options;
                        options.depth = source->depth();
                        options.order = order;
                        if (!entire) options.window = window;
                        auto out = inst->makeOutput(options);
                        ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
                        for (int y = 0; y < kHeight; ++y) {
                            for (int x = 0; x < width; ++x) {
                                const bool inside =
                                    entire || (x >= window.x1 && x < window.x2 && y >= window.y1 && y < window.y2);
                                ASSERT_EQ(pixelAt(out, x, y), inside ? want(x, y) : Rgba{})
                                    << (entire ? "entire " : "window ") << x << "," << y;
                            }
                        }
                    }
                }
            }
        }
    }
}

}  // namespace
