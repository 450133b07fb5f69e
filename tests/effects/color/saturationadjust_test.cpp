#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
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

// The defined arithmetic, pixel by pixel, for the vector rows to be held
// to: the five knots of the curve, the measure, the matrix. Colours in
// red, green, blue order; bytes 0..255.
struct Curve {
    double amount, center, spread, low, high;
};

Rgba saturated(const Curve& k, const Rgba& in, bool bytes) {
    const double x[5] = {0.0, std::max(0.0, k.center - k.spread / 2), k.center, std::min(1.0, k.center + k.spread / 2),
                         1.0};
    const float y[5] = {float(k.low), float(k.low), float(k.amount), float(k.high), float(k.high)};
    const double blue = in[2], green = in[1], red = in[0];
    const double luma = 0.299 * red + 0.587 * green + 0.114 * blue;
    const double dg = luma - green, dr = luma - red, db = luma - blue;
    const double d = std::sqrt(dg * dg + dr * dr + db * db) / std::sqrt(bytes ? 55902.447675 : 0.859707);
    int i = 1;
    while (i < 4 && !(x[i] > d)) ++i;
    const double t = x[i] == x[i - 1] ? 0.0 : (d - x[i - 1]) / (x[i] - x[i - 1]);
    const double t2 = t * t, t3 = t2 * t;
    const double s = (2.0 * t3 - 3.0 * t2 + 1.0) * y[i - 1] + (3.0 * t2 - 2.0 * t3) * y[i] + 1.0;
    const double r = 1.0 - s;
    const double out[3] = {(r * 0.299 + s) * red + r * 0.587 * green + r * 0.114 * blue,
                           (r * 0.587 + s) * green + r * 0.299 * red + r * 0.114 * blue,
                           (r * 0.114 + s) * blue + r * 0.299 * red + r * 0.587 * green};
    Rgba result = in;
    for (int c = 0; c < 3; ++c)
        result[c] = bytes ? float(static_cast<uint8_t>(out[c] < 0.0 ? 0.0 : (out[c] > in[3] ? in[3] : out[c])))
                          : float(out[c]);
    return result;
}

bool samePixel(const Rgba& a, const Rgba& b) {
    for (int c = 0; c < 4; ++c)
        if (std::memcmp(&a[c], &b[c], sizeof(float)) != 0 && !(std::isnan(a[c]) && std::isnan(b[c]))) return false;
    return true;
}

// Every byte value in each colour against random alphas (colours above
// alpha too), or random floats, some far out of range, with NaN and the
// infinities mixed in. The width leaves a remainder after the vector steps.
ofxhost::ImageBuffer sweep(Depth depth, uint32_t seed) {
    constexpr int kWidth = 258, kHeight = 256;
    ofxhost::ImageBuffer image(kWidth, kHeight, depth, PixelOrder::RGBA);
    std::mt19937 rng(seed);
    const float specials[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(), -0.0f, 1e30f, -3.0f, 7.0f};
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (depth == Depth::Byte) {
                const uint8_t v[4] = {uint8_t(x), uint8_t(y), uint8_t(rng()), uint8_t(rng() % 4 == 0 ? 255 : rng())};
                for (int c = 0; c < 4; ++c) image.setByte(x, y, c, v[c]);
            } else {
                for (int c = 0; c < 4; ++c) {
                    const uint32_t r = rng();
                    image.setFloat(x, y, c, r % 32 == 0 ? specials[(r >> 8) % std::size(specials)]
                                                        : float(r >> 8) / float(1 << 24) * 1.5f - 0.25f);
                }
            }
        }
    }
    return image;
}

class SaturationAdjustTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:saturationadjust");

    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, const Settings& settings, Depth depth,
                                PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        return renderVariant(*inst, {depth, order});
    }
};

const Settings kAllGrey{{"Amount", "-1"}, {"Low", "-1"}, {"High", "-1"}};

TEST_F(SaturationAdjustTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Saturation Adjust");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1600);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{1C494FD1-BE2B-48DA-9273-5A004DC57CE8}"}));
    expectParamTable(*plugin, "filter",
                     {{"Amount", "Amount", "amount", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
                      {"Center", "Center", "center", "Double", "0.5", {0, 1}, {0, 1}, 0.1, "", {}, true},
                      {"Spread", "Spread", "spread", "Double", "0.5", {0.01, 1}, {0.01, 1}, 0.1, "", {}, true},
                      {"Low", "Low", "low", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
                      {"High", "High", "high", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true}});
}

// With the whole curve at -1 every colour becomes the luma
// 0.299 r + 0.587 g + 0.114 b; at +1 it becomes 2c - luma.
TEST_F(SaturationAdjustTest, MatrixOnStoredColoursWithByteClampToAlpha) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // Luma 124.2 truncates to 124.
        auto out = render({{200, 100, 50, 255}}, kAllGrey, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{124, 124, 124, 255}));
        // Luma 52.67 of the premultiplied bytes: 127.33 is held to alpha,
        // 27.33 truncates, -12.67 stops at 0.
        out = render({{90, 40, 20, 100}}, {{"Amount", "1"}, {"Low", "1"}, {"High", "1"}}, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{100, 27, 0, 100}));

        out = render({{0.5f, 0.25f, 0.125f, 0.5f}}, kAllGrey, Depth::Float, order);
        const float luma = static_cast<float>(0.299 * 0.5 + 0.587 * 0.25 + 0.114 * 0.125);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{luma, luma, luma, 0.5f}));
    }
}

TEST_F(SaturationAdjustTest, CurvePicksTheChangeBySaturation) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // Defaults change nothing, bit for bit.
        for (Depth depth : {Depth::Byte, Depth::Float}) {
            const auto source = ofxhost::ImageBuffer::testFrame(13, 5, depth, order, 9);
            auto inst = filterOn(*plugin, source);
            EXPECT_TRUE(renderVariant(*inst, {depth, order}).samePixels(source));
        }
        // Pure red measures 0.883, past Center + Spread / 2 = 0.75: High
        // applies and it goes to its luma 76.245. A near grey measures 0.035,
        // below 0.25: Low (0) keeps it exactly.
        auto out = render({{255, 0, 0, 255}, {110, 100, 100, 255}}, {{"High", "-1"}}, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{76, 76, 76, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{110, 100, 100, 255}));

        // Center 0, Spread 0.01: the first segment has zero length and Low
        // reaches no pixel, not even an exact grey.
        const Settings emptyFirst{{"Center", "0"}, {"Spread", "0.01"}, {"Low", "-1"}};
        out = render({{100, 100, 100, 255}, {110, 100, 100, 255}}, emptyFirst, Depth::Byte, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{100, 100, 100, 255}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{110, 100, 100, 255}));
        out = render({{0.6f, 0.5f, 0.5f, 1.0f}}, emptyFirst, Depth::Float, order);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.6f, 0.5f, 0.5f, 1.0f}));

        // Center 1: the last segment has zero length; an over-range red
        // measures 1.77 and takes High there (t = 0) rather than a NaN.
        out = render({{2.0f, 0.0f, 0.0f, 1.0f}}, {{"Center", "1"}, {"High", "-1"}}, Depth::Float, order);
        const float luma = static_cast<float>(0.299 * 2.0);
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{luma, luma, luma, 1.0f}));
    }
}

// The vector rows against the arithmetic written out above: the defaults,
// a shaped curve, and curves whose first or last segment has no length.
TEST_F(SaturationAdjustTest, EveryPixelFollowsThePlainArithmetic) {
    const Curve cases[] = {{0, 0.5, 0.5, 0, 0},     {0.7, 0.3, 0.4, -0.5, 0.8},   {-1, 0, 0.01, 0.6, -0.3},
                           {0.25, 1, 1, -1, 1},     {1, 0.5, 1, -1, -0.2}};
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const auto source = sweep(depth, 3);
        for (const Curve& k : cases) {
            for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
                auto inst = filterOn(*plugin, source);
                const std::pair<const char*, double> values[] = {
                    {"Amount", k.amount}, {"Center", k.center}, {"Spread", k.spread}, {"Low", k.low}, {"High", k.high}};
                for (const auto& [name, value] : values) inst->setValueText(name, std::to_string(value));
                const auto out = renderVariant(*inst, {depth, order});
                for (int y = 0; y < source.height(); ++y) {
                    for (int x = 0; x < source.width(); ++x) {
                        ASSERT_TRUE(samePixel(pixelAt(out, x, y),
                                              saturated(k, pixelAt(source, x, y), depth == Depth::Byte)))
                            << ofxhost::depthName(depth) << " " << ofxhost::orderName(order) << " amount " << k.amount
                            << " at " << x << "," << y;
                    }
                }
            }
        }
    }
}

}  // namespace
