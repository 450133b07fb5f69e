#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <random>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

using Settings = std::map<std::string, std::string>;

// The defined conversions and change on bytes, pixel by pixel, with the C
// library's pow: what the vector rows, which do without it, must give.
// Colours in red, green, blue order, 0..255.
struct Change {
    double lightness, a, b;  // the sliders
    bool invert;
    double desaturate;
};

double decoded(double c) { return c > 0.04045 ? std::pow((c + 0.055) / 1.055, 2.4) : c / 12.92; }
double encoded(double c) { return c > 0.0031308 ? std::pow(c, 0.4166666666666667) * 1.055 - 0.055 : c * 12.92; }
double forward(double t) {
    return t > 0.008856 ? std::pow(t, 0.3333333333333333) : t * 7.7870001792907715 + 0.13793103448275862;
}
double inverse(double t) {
    const double cube = std::pow(t, 3.0);
    return cube > 0.008856 ? cube : (t - 0.13793103448275862) / 7.787;
}
uint8_t byteOf(double c) { return !(c > 0.0) ? 0 : (c >= 1.0 ? 255 : static_cast<uint8_t>(c * 255.0)); }

Rgba adjustedBytes(const Change& k, const Rgba& in) {
    const double r = decoded(in[0] * 0.00392156862745098), g = decoded(in[1] * 0.00392156862745098),
                 b = decoded(in[2] * 0.00392156862745098);
    const double fx = forward((0.4124 * r + 0.3576 * g + 0.1805 * b) / 0.95047);
    const double fy = forward(0.2126 * r + 0.7152 * g + 0.0722 * b);
    const double fz = forward((0.0193 * r + 0.1192 * g + 0.9505 * b) / 1.08883);
    const double chroma = 1.0 - k.desaturate;
    const double lightness = (k.invert ? 95.5806655883789 - (116.0 * fy - 16.0) : 116.0 * fy - 16.0) * k.lightness;
    const double a = (500.0 * (fx - fy) + k.a * 100.0) * chroma;
    const double bb = (200.0 * (fy - fz) + k.b * 100.0) * chroma;
    const double y2 = (lightness + 16.0) / 116.0;
    const double x = inverse(a / 500.0 + y2) * 0.950469970703125, y = inverse(y2),
                 z = inverse(y2 - bb / 200.0) * 1.0888299942016602;
    const uint8_t out[3] = {byteOf(encoded(3.2406 * x - 1.5372 * y - 0.4986 * z)),
                            byteOf(encoded(1.8758 * y - 0.9689 * x + 0.0415 * z)),
                            byteOf(encoded(0.0557 * x - 0.204 * y + 1.057 * z))};
    return {float(std::min(out[0], uint8_t(in[3]))), float(std::min(out[1], uint8_t(in[3]))),
            float(std::min(out[2], uint8_t(in[3]))), in[3]};
}

const Settings kInvert{{"InvertLuminance", "true"}};

class LABAdjustTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:labadjust");

    Rgba renderOne(const Rgba& in, const Settings& settings, Depth depth, PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage({in}, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        return pixelAt(renderVariant(*inst, {depth, order}), 0, 0);
    }
};

TEST_F(LABAdjustTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO LAB Adjust");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1078);
    EXPECT_TRUE(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID).empty());
    expectParamTable(
        *plugin, "filter",
        {{"Lightness", "Lightness", "lightness", "Double", "1", {0, 2}, {0, 2}, 0.1, "", {}, true},
         {"lightness", "Channel a", "channela", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
         {"Channelb", "Channel b", "channelb", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
         {"InvertLuminance", "Invert Luminance", "invertluminance", "Boolean", "false", {}, {}, {}, "", {}, true},
         {"Desaturate", "Desaturate", "desaturate", "Double", "0", {0, 1}, {0, 1}, 0.001, "", {}, true}});
}

TEST_F(LABAdjustTest, BytePixelsConvertOnTheStoredBytesAndClampToAlpha) {
    struct Case {
        Settings settings;
        Rgba in, out;
    };
    const Case cases[] = {
        {{}, {255, 255, 255, 255}, {255, 255, 255, 255}},
        // Inverting against 95.58 rather than 100: black becomes a light
        // grey, white falls below black and clamps.
        {kInvert, {0, 0, 0, 255}, {242, 242, 242, 255}},
        {kInvert, {255, 255, 255, 255}, {0, 0, 0, 255}},
        {{{"Desaturate", "1"}}, {200, 100, 50, 255}, {128, 128, 128, 255}},
        {{{"lightness", "0.5"}}, {100, 100, 100, 255}, {171, 58, 101, 255}},
        // No division by alpha: the doubled lightness of the premultiplied
        // bytes is held to alpha 100 where it passes it.
        {{{"Lightness", "2"}}, {90, 40, 20, 100}, {100, 93, 69, 100}},
    };
    for (const Case& c : cases)
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
            EXPECT_EQ(renderOne(c.in, c.settings, Depth::Byte, order), c.out);
}

TEST_F(LABAdjustTest, FloatPixelsFollowTheAlphaRule) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // White inverts to L -4.42: below black, unclamped.
        EXPECT_EQ(renderOne({1.0f, 1.0f, 1.0f, 1.0f}, kInvert, Depth::Float, order),
                  (Rgba{-0.06320405006408691f, -0.06322777271270752f, -0.06310003250837326f, 1.0f}));
        EXPECT_EQ(renderOne({0.0f, 0.0f, 0.0f, 1.0f}, kInvert, Depth::Float, order),
                  (Rgba{0.9500011801719666f, 0.9500320553779602f, 0.9499309062957764f, 1.0f}));
        // No alpha, no colour.
        EXPECT_EQ(renderOne({0.5f, 0.25f, 0.75f, 0.0f}, kInvert, Depth::Float, order), (Rgba{0, 0, 0, 0}));
        EXPECT_EQ(renderOne({0.5f, 0.25f, 0.75f, 1e-6f}, {}, Depth::Float, order), (Rgba{0, 0, 0, 0}));
        // Alpha above 1: the colour as it stands, alpha written as 1.
        EXPECT_EQ(renderOne({0.5f, 0.25f, 0.125f, 2.0f}, kInvert, Depth::Float, order),
                  (Rgba{0.797019898891449f, 0.5061768293380737f, 0.36546194553375244f, 1.0f}));
        // Alpha 0.5: the same colour premultiplied, unpremultiplied around
        // the change and multiplied back.
        EXPECT_EQ(renderOne({0.25f, 0.125f, 0.0625f, 0.5f}, kInvert, Depth::Float, order),
                  (Rgba{0.3985099494457245f, 0.25308841466903687f, 0.18273097276687622f, 0.5f}));
    }
}

// The byte rows convert without pow and check their own margins; over every
// byte value in each colour, under settings to the ends of their ranges,
// every pixel must still be the exact conversion's.
TEST_F(LABAdjustTest, EveryBytePixelIsTheExactConversion) {
    constexpr int kWidth = 259, kHeight = 256;
    ofxhost::ImageBuffer source(kWidth, kHeight, Depth::Byte, PixelOrder::RGBA);
    std::mt19937 rng(4);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const uint8_t v[4] = {uint8_t(x), uint8_t(y), uint8_t(rng()), uint8_t(rng() % 4 == 0 ? 255 : rng())};
            for (int c = 0; c < 4; ++c) source.setByte(x, y, c, v[c]);
        }
    }
    const Change cases[] = {{1, 0, 0, false, 0},    {2, 1, -1, false, 0},    {1.5, 0.25, -0.5, false, 0.25},
                            {0.75, -0.125, 0.375, true, 0}, {0, 0, 0, false, 0}, {2, -1, 1, true, 1}};
    for (const Change& k : cases) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            auto inst = filterOn(*plugin, source);
            inst->setValueText("Lightness", std::to_string(k.lightness));
            inst->setValueText("lightness", std::to_string(k.a));
            inst->setValueText("Channelb", std::to_string(k.b));
            inst->setValueText("InvertLuminance", k.invert ? "true" : "false");
            inst->setValueText("Desaturate", std::to_string(k.desaturate));
            const auto out = renderVariant(*inst, {Depth::Byte, order});
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x)
                    ASSERT_EQ(pixelAt(out, x, y), adjustedBytes(k, pixelAt(source, x, y)))
                        << ofxhost::orderName(order) << " lightness " << k.lightness << " at " << x << "," << y;
        }
    }
}

}  // namespace
