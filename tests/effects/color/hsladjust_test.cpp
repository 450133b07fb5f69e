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

// The defined conversions and change, pixel by pixel, for the vector rows
// to be held to. Colours in red, green, blue order; bytes 0..255.
struct Change {
    double hue, saturation, luminance;
};

constexpr double kByteScale = 0.00392156862745098;
constexpr double kSixth = 0.16666666666666666;
constexpr double kNudge = double(1e-6f);

double hueOf(double r, double g, double b, double mx, double mn, double k) {
    if (r == mx) return g == mn ? ((mx - b) * k + 5.0) * kSixth : (1.0 - (mx - g) * k) * kSixth;
    if (g == mx) return b == mn ? ((mx - r) * k + 1.0) * kSixth : (3.0 - (mx - b) * k) * kSixth;
    return r == mn ? ((mx - g) * k + 3.0) * kSixth : (5.0 - (mx - r) * k) * kSixth;
}

// The colour of a sextant, or false past 6, at or below -1 and for NaN.
bool sextant(double (&c)[3], double h, double v, double m, double t) {
    const double sext = std::trunc(h * 6.0);
    if (!(sext > -1.0 && sext <= 6.0)) return false;
    const double p = t + m, q = v - t;
    const double table[7][3] = {{v, p, m}, {q, v, m}, {m, v, p}, {m, q, v}, {p, m, v}, {v, m, q}, {v, p, m}};
    std::copy_n(table[static_cast<int>(sext)], 3, c);
    return true;
}

double fraction(double h) { return h * 6.0 - std::trunc(h * 6.0); }

uint8_t truncByte(double v) { return !(v > 0.0) ? 0 : (v >= 255.0 ? 255 : static_cast<uint8_t>(v)); }

Rgba adjustedBytes(const Change& k, const Rgba& in) {
    const double r = in[0] * kByteScale, g = in[1] * kByteScale, b = in[2] * kByteScale;
    const double mx = std::max(std::max(r, g), b), mn = std::min(std::min(r, g), b);
    double l = (mn + mx) * 0.5, h = 0.0, s = 0.0;
    if (l > 0.0 && mx - mn > 0.0) {
        const double d = mx - mn;
        s = l <= 0.5 ? d / (mn + mx) : d / (2.0 - mx - mn);
        h = hueOf(r, g, b, mx, mn, 1.0 / d);
    }
    h += k.hue;
    if (h > 1.0) h -= 1.0;
    s = std::clamp(s * k.saturation, 0.0, 1.0);
    l = std::clamp(l * k.luminance, 0.0, 1.0);
    const double v = l <= 0.5 ? (s + 1.0) * l : (l + s) - l * s;
    const uint8_t alpha = truncByte(in[3] * kByteScale * 255.0);
    Rgba out{in[0], in[1], in[2], float(alpha)};
    double c[3];
    if (v <= 0.0) {
        out[0] = out[1] = out[2] = 0;
    } else if (sextant(c, h, v, l + l - v, ((v - (l + l - v)) / v) * v * fraction(h))) {
        for (int i = 0; i < 3; ++i) out[i] = truncByte(c[i] * 255.0);
    }
    for (int i = 0; i < 3; ++i) out[i] = std::min(out[i], out[3]);
    return out;
}

Rgba adjustedFloats(const Change& k, const Rgba& in) {
    double r = in[0], g = in[1], b = in[2];
    double mx = std::max(std::max(r, g), b), mn = std::min(std::min(r, g), b);
    double sum = mn + mx;
    if ((sum > 1.9999990000000025 && sum < 2.0) || (sum >= 2.0 && sum < 2.0000009999999975)) {
        mx += sum < 2.0 ? -kNudge : kNudge;
        (r > g && r > b ? r : g > b ? g : b) = mx;
    }
    sum = mn + mx;
    if ((sum > -kNudge && sum < 0.0) || (sum >= 0.0 && sum < kNudge)) {
        mn += sum < 0.0 ? -kNudge : kNudge;
        (g > r && b > r ? r : b > g ? g : b) = mn;
    }
    const double d = mx - mn;
    double l = (mn + mx) * 0.5, s = d, h = 0.0;
    if (!(-kNudge <= d && d < kNudge)) {
        s = l <= 0.5 ? d / (mn + mx) : d / (2.0 - mx - mn);
        if (l < 0.0 || l > 1.0) s = -s;
        h = hueOf(r, g, b, mx, mn, 1.0 / d);
    }
    h += k.hue;
    h -= std::trunc(h);
    s *= k.saturation;
    l *= k.luminance;
    if ((l <= 0.5 && l < 0.0) || (l > 0.5 && l > 1.0)) s = -s;
    const double v = l <= 0.5 ? (s + 1.0) * l : l + s - l * s;
    const double m = l + l - v;
    Rgba out = in;
    double c[3];
    if (sextant(c, h, v, m, fraction(h) * (v - m)))
        for (int i = 0; i < 3; ++i) out[i] = float(c[i]);
    return out;
}

bool samePixel(const Rgba& a, const Rgba& b) {
    for (int c = 0; c < 4; ++c)
        if (std::memcmp(&a[c], &b[c], sizeof(float)) != 0 && !(std::isnan(a[c]) && std::isnan(b[c]))) return false;
    return true;
}

// Every byte value in each colour against random alphas, with greys, or
// random floats in and out of range with the sums of 0 and 2 that the float
// pair nudges, NaN and the infinities. The width leaves a remainder after
// the vector steps.
ofxhost::ImageBuffer sweep(Depth depth, uint32_t seed) {
    constexpr int kWidth = 257, kHeight = 256;
    ofxhost::ImageBuffer image(kWidth, kHeight, depth, PixelOrder::RGBA);
    std::mt19937 rng(seed);
    const float specials[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(), 0.0f, -0.0f, 1.0f, 2.0f, -1.0f,
                              1.0f - 4e-7f, 1.0f + 4e-7f, 4e-7f, -4e-7f};
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (depth == Depth::Byte) {
                const uint8_t grey = uint8_t(rng());
                const bool flat = rng() % 8 == 0;
                const uint8_t v[4] = {uint8_t(x), flat ? uint8_t(x) : uint8_t(y), flat ? uint8_t(x) : grey,
                                      uint8_t(rng() % 4 == 0 ? 255 : rng())};
                for (int c = 0; c < 4; ++c) image.setByte(x, y, c, v[c]);
            } else {
                for (int c = 0; c < 4; ++c) {
                    const uint32_t r = rng();
                    image.setFloat(x, y, c, r % 8 == 0 ? specials[(r >> 8) % std::size(specials)]
                                                       : float(r >> 8) / float(1 << 24) * 1.5f - 0.25f);
                }
            }
        }
    }
    return image;
}

class HSLAdjustTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:hsladjust");

    Rgba renderOne(const Rgba& in, const Settings& settings, Depth depth, PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage({in}, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        return pixelAt(renderVariant(*inst, {depth, order}), 0, 0);
    }
};

TEST_F(HSLAdjustTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO HSL Adjust");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1680);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{B432972D-E08D-11D2-BF8A-006097C9EBF7}"}));
    expectParamTable(*plugin, "filter",
                     {{"Output", "Add to hue", "Add to hue", "Double", "0", {0, 1}, {0, 1}, 0.1, "", {}, true},
                      {"Saturation", "Saturation", "saturation", "Double", "1", {0, 2}, {0, 2}, 0.1, "", {}, true},
                      {"Luminance", "Luminance", "luminance", "Double", "1", {0, 2}, {0, 2}, 0.1, "", {}, true}});
}

TEST_F(HSLAdjustTest, BytePixelsGoThroughTheTruncatingPair) {
    struct Case {
        Settings settings;
        Rgba in, out;
    };
    const Case cases[] = {
        // Pure red reads as hue 1.0. A quarter turn lands in sextant 1.
        {{{"Output", "0.25"}}, {255, 0, 0, 255}, {127, 255, 0, 255}},
        {{{"Output", "0.5"}}, {255, 0, 0, 255}, {0, 255, 255, 255}},
        // 1.0 + 0 stays at 1.0 and 1.0 + 1 comes down to 1.0: sextant 6 is red.
        {{{"Output", "0"}}, {255, 0, 0, 255}, {255, 0, 0, 255}},
        {{{"Output", "1"}}, {255, 0, 0, 255}, {255, 0, 0, 255}},
        // Alpha 132 scales to just under its level and comes back as 131;
        // the colour is held to it.
        {{{"Output", "0.5"}}, {132, 0, 0, 132}, {0, 131, 131, 131}},
        // Lightness is clamped to 1 before the colour is held to alpha.
        {{{"Luminance", "2"}}, {60, 60, 60, 100}, {100, 100, 100, 100}},
        {{{"Saturation", "0"}}, {200, 100, 50, 255}, {125, 125, 125, 255}},
        // The defaults are not an identity: blue truncates one level down.
        {{}, {200, 100, 50, 255}, {200, 100, 49, 255}},
    };
    for (const Case& c : cases)
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
            EXPECT_EQ(renderOne(c.in, c.settings, Depth::Byte, order), c.out);
}

TEST_F(HSLAdjustTest, FloatPixelsWrapTheHueAndKeepAlpha) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        EXPECT_EQ(renderOne({1.0f, 0.0f, 0.0f, 1.0f}, {{"Output", "0.25"}}, Depth::Float, order),
                  (Rgba{0.5f, 1.0f, 0.0f, 1.0f}));
        // A full turn is the same hue as none.
        const Rgba teal{0.2f, 0.6f, 0.4f, 1.0f};
        EXPECT_EQ(renderOne(teal, {{"Output", "1"}}, Depth::Float, order), teal);
        // Hue 0.5 + 0.75 wraps to 0.25; the colours are not unpremultiplied
        // and alpha passes unchanged.
        EXPECT_EQ(renderOne({0.25f, 0.5f, 0.5f, 0.5f}, {{"Output", "0.75"}}, Depth::Float, order),
                  (Rgba{0.375f, 0.5f, 0.25f, 0.5f}));
        // Lightness (0.2 + 0.6) / 2 in double, without saturation.
        const float l = static_cast<float>((static_cast<double>(0.2f) + static_cast<double>(0.6f)) * 0.5);
        EXPECT_EQ(renderOne(teal, {{"Saturation", "0"}}, Depth::Float, order), (Rgba{l, l, l, 1.0f}));
    }
}

// Pure red turned half way is cyan in every variant: red is found where the
// pixel order puts it. In float its hue is 6 * (1/6 in double), a tie that
// rounds to exactly 1; with a half added it wraps to 0.5, which lands on the
// start of the cyan sextant with no rise: 0, 1, 1 exactly.
TEST_F(HSLAdjustTest, HalfTurnOfRedIsCyanInEveryVariant) {
    auto inst = filterOn(*plugin, rowImage({{1.0f, 0.0f, 0.0f, 1.0f}}, Depth::Float));
    inst->setValueText("Output", "0.5");
    expectFourVariants(*inst, {rowImage({{0, 255, 255, 255}}, Depth::Byte),
                               rowImage({{0.0f, 1.0f, 1.0f, 1.0f}}, Depth::Float)});
}

// The vector rows against the conversions written out above.
TEST_F(HSLAdjustTest, EveryPixelFollowsThePlainConversions) {
    const Change cases[] = {{0, 1, 1}, {0.3, 1.4, 0.8}, {1, 0, 2}, {0.75, 2, 0.5}, {0.5, 0.6, 0}};
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const auto source = sweep(depth, 9);
        for (const Change& k : cases) {
            for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
                auto inst = filterOn(*plugin, source);
                inst->setValueText("Output", std::to_string(k.hue));
                inst->setValueText("Saturation", std::to_string(k.saturation));
                inst->setValueText("Luminance", std::to_string(k.luminance));
                const auto out = renderVariant(*inst, {depth, order});
                for (int y = 0; y < source.height(); ++y) {
                    for (int x = 0; x < source.width(); ++x) {
                        const Rgba in = pixelAt(source, x, y);
                        const Rgba want = depth == Depth::Byte ? adjustedBytes(k, in) : adjustedFloats(k, in);
                        ASSERT_TRUE(samePixel(pixelAt(out, x, y), want))
                            << ofxhost::depthName(depth) << " " << ofxhost::orderName(order) << " hue " << k.hue
                            << " at " << x << "," << y;
                    }
                }
            }
        }
    }
}

}  // namespace
