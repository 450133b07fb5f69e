#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

// The defined arithmetic of one pixel, written out plainly: blue, green,
// red as c0, c1, c2, the weight of a mean level by the range, and the
// sliders by colour as each depth assigns them.
// Note: the sliders are held as the floats the arithmetic takes. Rounding
// doubles to floats just before widening them again is a pattern that
// GCC 12 at -O2 may drop when it vectorises, which made a reference wrong.
struct Settings {
    float red, green, blue;
    int type;
    bool preserve;
};

double weightAt(int type, double level) {
    if (type == 2) return 1.0 - level * level;
    if (type == 1) return 1.0 - 2.0 * (2.0 * (level - 0.5) * (level - 0.5));
    return 1.0 - (1.0 - level) * (1.0 - level);
}

// Nearest, ties to even, after the 1.5e-8 bias: the library's rounding.
int biasedRound(double v) { return static_cast<int>(std::nearbyint(v + 1.5e-8)); }

// Bytes: each slider shifts the colour of its name.
std::array<int, 3> balancedBytes(const Settings& s, int blue, int green, int red) {
    const double level = static_cast<double>((blue + green + red) / 3) / 255.0;
    const double w = weightAt(s.type, level);
    const float u[3] = {s.blue, s.green, s.red};
    const int c[3] = {blue, green, red};
    int whole[3], half[3];
    for (int k = 0; k < 3; ++k) {
        whole[k] = biasedRound(u[k] * w * 255.0);
        half[k] = biasedRound(u[k] * w * 255.0 * 0.5);
    }
    std::array<int, 3> out{};
    for (int k = 0; k < 3; ++k) {
        int offset = whole[k];
        if (s.preserve) offset -= half[(k + 1) % 3] + half[(k + 2) % 3];
        out[k] = std::min(255, std::max(0, c[k] + offset));
    }
    return out;
}

// Floats: Red shifts c0 (blue) and Blue shifts c2 (red).
std::array<float, 3> balancedFloats(const Settings& s, float blue, float green, float red) {
    const float level = (blue + green + red) / 3.0f;
    const double w = weightAt(s.type, level);
    const float u[3] = {s.red, s.green, s.blue};
    const float c[3] = {blue, green, red};
    double d[3];
    for (int k = 0; k < 3; ++k) d[k] = u[k] * w;
    std::array<float, 3> out{};
    for (int k = 0; k < 3; ++k) {
        // Each loses the halves of the other two, the lower index first.
        const int first = k == 0 ? 1 : 0, second = k == 2 ? 1 : 2;
        const double offset = s.preserve ? d[k] - d[first] / 2 - d[second] / 2 : d[k];
        out[k] = static_cast<float>(c[k] + offset);
    }
    return out;
}

const Settings kSampled[] = {
    {0.5f, -0.5f, 0.5f, 0, true},       {-0.5f, 0.5f, -0.5f, 1, true},    {0.37f, -0.123f, 0.251f, 2, true},
    {0.37f, -0.123f, 0.251f, 0, false}, {-0.29f, 0.41f, 0.07f, 1, false}, {0.5f, 0.5f, 0.5f, 2, false},
};

// Frames of four widths, so that every remainder of the four-pixel steps
// is met, over random colours and every sum of the three (0 to 765, in the
// first rows), against the plain formula.
TEST_F(ColorBalanceTest, EveryPixelFollowsThePlainFormula) {
    constexpr int kHeight = 13;
    std::mt19937 random(1060);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_real_distribution<float> value(-0.5f, 1.5f);
    for (int width : {61, 62, 63, 64}) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            ofxhost::ImageBuffer bytes(width, kHeight, Depth::Byte, order);
            ofxhost::ImageBuffer floats(width, kHeight, Depth::Float, order);
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < width; ++x) {
                    for (int c = 0; c < 4; ++c) {
                        bytes.setByte(x, y, c, static_cast<uint8_t>(byte(random)));
                        floats.setFloat(x, y, c, value(random));
                    }
                    // Red, green and blue summing to `sum`, while sums last.
                    const int sum = y * width + x;
                    if (sum > 765) continue;
                    bytes.setByte(x, y, 0, static_cast<uint8_t>(std::min(255, sum)));
                    bytes.setByte(x, y, 1, static_cast<uint8_t>(std::clamp(sum - 255, 0, 255)));
                    bytes.setByte(x, y, 2, static_cast<uint8_t>(std::max(0, sum - 510)));
                }
            }
            // Two pixels (blue, green, red) whose green comes out near 0 in
            // shadows under the third sliders: there the order in which the
            // halves are taken away shows in the float.
            const float nearZero[2][3] = {{0x1.a50b8p-3f, 0x1.737a4p-2f, 0x1.496fp-1f},
                                          {0x1.9541p-4f, 0x1.8a17cp-2f, 0x1.0a514p-1f}};
            for (int x = 0; x < 2; ++x)
                for (int k = 0; k < 3; ++k) floats.setFloat(x, 0, 2 - k, nearZero[x][k]);
            for (const Settings& s : kSampled) {
                SCOPED_TRACE(std::to_string(width) + " " + ofxhost::orderName(order) + " type " +
                             std::to_string(s.type) + (s.preserve ? " preserved" : ""));
                for (const auto* source : {&bytes, &floats}) {
                    auto inst = filterOn(*plugin, *source);
                    inst->setValueText("Red", std::to_string(s.red).c_str());
                    inst->setValueText("Green", std::to_string(s.green).c_str());
                    inst->setValueText("Blue", std::to_string(s.blue).c_str());
                    inst->setValueText("Type", std::to_string(s.type).c_str());
                    inst->setValueText("PreserveLuminosity", s.preserve ? "true" : "false");
                    const auto out = renderVariant(*inst, {source->depth(), order});
                    for (int y = 0; y < kHeight; ++y) {
                        for (int x = 0; x < width; ++x) {
                            Rgba want;
                            if (source->depth() == Depth::Byte) {
                                const auto c = balancedBytes(s, source->byteAt(x, y, 2), source->byteAt(x, y, 1),
                                                             source->byteAt(x, y, 0));
                                want = {float(c[2]), float(c[1]), float(c[0]), float(source->byteAt(x, y, 3))};
                            } else {
                                const auto c = balancedFloats(s, source->floatAt(x, y, 2), source->floatAt(x, y, 1),
                                                              source->floatAt(x, y, 0));
                                want = {c[2], c[1], c[0], source->floatAt(x, y, 3)};
                            }
                            ASSERT_EQ(pixelAt(out, x, y), want)
                                << ofxhost::depthName(source->depth()) << " " << x << "," << y;
                        }
                    }
                }
            }
        }
    }
}

}  // namespace
