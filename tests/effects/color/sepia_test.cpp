#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

// The defined arithmetic, pixel by pixel, for the vector rows to be held
// to: colours in red, green, blue order, bytes 0..255.
struct Settings {
    double red, green, blue, strength, falloff;
};

int truncated(double v) { return (v > -2147483649.0 && v < 2147483648.0) ? static_cast<int>(v) : INT32_MIN; }
double unitClamp(double v) { return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0; }
int mixed(int d, int s, int k) { return static_cast<uint8_t>(d + ((s - d) * k) / 256); }

Rgba sepiaOfBytes(const Settings& s, const Rgba& in) {
    const int c[3] = {int(in[0]), int(in[1]), int(in[2])};
    const int g = (c[0] + c[1] + c[2]) / 3;
    const double q = s.strength * 1.5, level = (s.strength - 0.3333333333333333) * 1.5;
    const double tint[3] = {s.red, s.green, s.blue};
    const bool middle = s.strength <= 0.6666666666666666;
    const int base = middle ? truncated(level * 255.0) & 0xFF : truncated(unitClamp(level) * 255.0);
    const int weight = static_cast<uint8_t>(std::clamp(base - g * s.falloff, 0.0, 255.0));
    Rgba out = in;
    for (int i = 0; i < 3; ++i) {
        int v;
        if (s.strength <= 0.3333333333333333) {
            v = mixed(c[i], g, truncated(q * 255.0));
        } else {
            const int partial = middle ? mixed(c[i], g, truncated(unitClamp(q) * 255.0)) : g;
            v = mixed(partial, truncated(tint[i] * 255.0) & 0xFF, weight);
        }
        out[i] = float(std::min(v, int(in[3])));
    }
    return out;
}

Rgba sepiaOfFloats(const Settings& s, const Rgba& in) {
    const float a = in[3];
    if (a <= 1e-6) return {0, 0, 0, 0};
    const bool partial = a < 1.0f;
    float u[3];
    for (int i = 0; i < 3; ++i) u[i] = partial ? in[i] / a : in[i];
    const double g = (double(u[2]) + u[1] + u[0]) / 3.0;
    const double q = s.strength * 1.5, level = (s.strength - 0.3333333333333333) * 1.5;
    const double t = unitClamp(unitClamp(g) * -s.falloff + level);
    const double tint[3] = {s.red, s.green, s.blue};
    Rgba out{0, 0, 0, partial ? a : 1.0f};
    for (int i = 0; i < 3; ++i) {
        double v;
        if (s.strength <= 0.3333333333333333) {
            v = (g - u[i]) * q + u[i];
        } else if (s.strength <= 0.6666666666666666) {
            const double m = (g - u[i]) * q + u[i];
            v = (tint[i] - m) * t + m;
        } else {
            v = (tint[i] - g) * t + g;
        }
        out[i] = partial ? float(v) * a : float(v);
    }
    return out;
}

bool samePixel(const Rgba& a, const Rgba& b) {
    for (int c = 0; c < 4; ++c)
        if (std::memcmp(&a[c], &b[c], sizeof(float)) != 0 && !(std::isnan(a[c]) && std::isnan(b[c]))) return false;
    return true;
}

// Every byte value in each colour against random alphas (colours above
// alpha too), or random floats with the awkward ones mixed in: NaN, the
// infinities, alphas of 0, 1e-6 and its float neighbours, 1 and beyond.
// The width leaves a remainder after the vector steps.
ofxhost::ImageBuffer sweep(Depth depth, uint32_t seed) {
    constexpr int kWidth = 259, kHeight = 256;
    ofxhost::ImageBuffer image(kWidth, kHeight, depth, PixelOrder::RGBA);
    std::mt19937 rng(seed);
    const float floor = 1e-6f;
    const float specials[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(), 0.0f, -0.0f, 1.0f, 2.0f, -1.0f, floor,
                              std::nextafter(floor, 0.0f), std::nextafter(floor, 1.0f), 1e-30f};
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (depth == Depth::Byte) {
                image.setByte(x, y, 0, uint8_t(x));
                image.setByte(x, y, 1, uint8_t(y));
                image.setByte(x, y, 2, uint8_t(rng()));
                image.setByte(x, y, 3, uint8_t(rng() % 4 == 0 ? 255 : rng()));
            } else {
                for (int c = 0; c < 4; ++c) {
                    const uint32_t r = rng();
                    image.setFloat(x, y, c, r % 16 == 0 ? specials[(r >> 8) % std::size(specials)]
                                                        : float(r >> 8) / float(1 << 24) * 1.5f - 0.25f);
                }
            }
        }
    }
    return image;
}

class SepiaTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:sepia");

    // Renders one row in the given depth and order, after setting the
    // parameters as name and text pairs.
    ofxhost::ImageBuffer render(const std::vector<Rgba>& in, Depth depth, PixelOrder order,
                                const std::vector<std::pair<const char*, const char*>>& values) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, text] : values) inst->setValueText(name, text);
        return renderVariant(*inst, {depth, order});
    }
};

TEST_F(SepiaTest, DescribesItsDeclarationAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Sepia");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1740);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{7F21572F-453A-11D3-80A7-00C04F60C0FA}"}));
    // The colour declares no limits, so it keeps the host's unbounded ones.
    constexpr double kMax = std::numeric_limits<double>::max();
    const std::vector<double> unbounded{-kMax, kMax, -kMax, kMax, -kMax, kMax};
    expectParamTable(*plugin, "filter",
                     {
                         {"Color", "Color", "color", "RGB", "[0.6509803921568628,0.6509803921568628,0]", unbounded,
                          unbounded, {}, "", {}},
                         {"BlendingStrength", "Blending strength", "blendingstrength", "Double", "0", {0, 1}, {0, 1},
                          0.1, "", {}},
                         {"BlendingFalloff", "Blending falloff", "blendingfalloff", "Double", "0", {0, 1}, {0, 1},
                          0.1, "", {}},
                     });
}

// Each zone on bytes, worked by hand with the tint 255, 127, 0. The same
// colours come out of both orders: the tint goes to the colour it names.
TEST_F(SepiaTest, BytePixelsInEachZone) {
    const std::vector<Rgba> in{{200, 100, 30, 255}, {0, 0, 255, 255}, {60, 30, 0, 255}, {255, 255, 255, 255},
                               {20, 20, 20, 40}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // Exactly 1/3: desaturation only, k = trunc(0.5 * 255) = 127, grey 110.
        auto out = render(in, Depth::Byte, order, {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.3333333333333333"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{156, 104, 69, 255}));

        // Exactly 2/3 is still the middle zone: k = 255 (not the full grey),
        // tint weight 127. Grey 85; X = 84, 84, 86.
        out = render(in, Depth::Byte, order, {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.6666666666666666"}});
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{168, 105, 44, 255}));

        // Middle zone with falloff 1: k = 191, tint weight 63 - grey, so
        // white takes no tint at all.
        out = render(in, Depth::Byte, order,
                     {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.5"}, {"BlendingFalloff", "1"}});
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{65, 42, 20, 255}));
        EXPECT_EQ(pixelAt(out, 3, 0), (Rgba{255, 255, 255, 255}));

        // Full grey and tint, weight 255 - grey / 2. The last pixel's tint
        // exceeds its alpha and is patched back to it.
        out = render(in, Depth::Byte, order,
                     {{"Color", "1,0.5,0"}, {"BlendingStrength", "1"}, {"BlendingFalloff", "0.5"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{223, 123, 25, 255}));
        EXPECT_EQ(pixelAt(out, 4, 0), (Rgba{40, 40, 1, 40}));
    }
}

TEST_F(SepiaTest, FloatPixelsFollowTheAlphaRule) {
    const std::vector<Rgba> in{{0.75f, 0.5f, 0.25f, 1.0f}, {0.375f, 0.25f, 0.125f, 0.5f}, {1.5f, 1.0f, 0.5f, 2.0f},
                               {0.5f, 0.5f, 0.5f, 1e-7f}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        SCOPED_TRACE(order == PixelOrder::RGBA ? "RGBA" : "BGRA");
        // 1/3: half way to the grey; unpremultiplied below alpha 1, alpha
        // above 1 written as 1, no colour at or below alpha 1e-6.
        auto out = render(in, Depth::Float, order, {{"BlendingStrength", "0.3333333333333333"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.625f, 0.5f, 0.375f, 1.0f}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{0.3125f, 0.25f, 0.1875f, 0.5f}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{1.25f, 1.0f, 0.75f, 1.0f}));
        EXPECT_EQ(pixelAt(out, 3, 0), (Rgba{0, 0, 0, 0}));

        // Middle zone: q = 0.75, tint weight 0.25.
        out = render(in, Depth::Float, order, {{"Color", "1,0.5,0"}, {"BlendingStrength", "0.5"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.671875f, 0.5f, 0.328125f, 1.0f}));

        // Full zone: tint weight 1 - grey * 0.5 = 0.75 on grey 0.5.
        out = render(in, Depth::Float, order,
                     {{"Color", "1,0.5,0"}, {"BlendingStrength", "1"}, {"BlendingFalloff", "0.5"}});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.875f, 0.5f, 0.125f, 1.0f}));
    }
}

// A fresh Sepia changes nothing: bit-exact on bytes, and on floats wherever
// the alpha round trip is exact.
TEST_F(SepiaTest, StrengthZeroIsTheIdentity) {
    const auto source = ofxhost::ImageBuffer::testFrame(17, 5, Depth::Byte, PixelOrder::RGBA, 7);
    auto inst = filterOn(*plugin, source);
    for (const auto& variant : {kAllVariants[0], kAllVariants[1]})
        EXPECT_TRUE(renderVariant(*inst, variant).samePixels(source)) << variantName(variant);

    const std::vector<Rgba> in{{0.3f, 0.7f, 0.1f, 1.0f}, {0.2f, 0.4f, 0.1f, 0.5f}};
    const auto out = render(in, Depth::Float, PixelOrder::BGRA, {});
    EXPECT_EQ(pixelAt(out, 0, 0), in[0]);
    EXPECT_EQ(pixelAt(out, 1, 0), in[1]);
}

// The vector rows against the arithmetic written out above, in every zone
// and both orders, over every byte value and over awkward floats.
TEST_F(SepiaTest, EveryPixelFollowsThePlainArithmetic) {
    const Settings cases[] = {
        {0.65, 0.65, 0.0, 0.0, 0.0},      {0.9, 0.35, 0.1, 0.25, 0.0},  {1.0, 0.5, 0.0, 0.3333333333333333, 0.5},
        {0.9, 0.35, 0.1, 0.5, 0.3},       {-0.2, 1.3, 0.6, 0.6666666666666666, 1.0},
        {0.9, 0.35, 0.1, 0.9, 0.2},       {1.0, 0.0, 0.5, 1.0, 0.0},
    };
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const auto source = sweep(depth, 5);
        for (const Settings& s : cases) {
            for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
                auto inst = filterOn(*plugin, source);
                char text[3][80];
                std::snprintf(text[0], sizeof text[0], "%.17g,%.17g,%.17g", s.red, s.green, s.blue);
                std::snprintf(text[1], sizeof text[1], "%.17g", s.strength);
                std::snprintf(text[2], sizeof text[2], "%.17g", s.falloff);
                inst->setValueText("Color", text[0]);
                inst->setValueText("BlendingStrength", text[1]);
                inst->setValueText("BlendingFalloff", text[2]);
                const auto out = renderVariant(*inst, {depth, order});
                for (int y = 0; y < source.height(); ++y) {
                    for (int x = 0; x < source.width(); ++x) {
                        const Rgba in = pixelAt(source, x, y);
                        const Rgba want = depth == Depth::Byte ? sepiaOfBytes(s, in) : sepiaOfFloats(s, in);
                        ASSERT_TRUE(samePixel(pixelAt(out, x, y), want))
                            << ofxhost::depthName(depth) << " " << ofxhost::orderName(order) << " strength "
                            << s.strength << " at " << x << "," << y;
                    }
                }
            }
        }
    }
}

}  // namespace
