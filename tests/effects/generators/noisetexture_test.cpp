#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

constexpr Variant kFloatRGBA{Depth::Float, PixelOrder::RGBA};

bool sameImage(const ofxhost::ImageBuffer& a, const ofxhost::ImageBuffer& b) {
    if (a.width() != b.width() || a.height() != b.height() || a.depth() != b.depth()) return false;
    const size_t rowBytes = static_cast<size_t>(a.width()) * a.pixelBytes();
    for (int y = 0; y < a.height(); ++y)
        if (std::memcmp(a.row(a.bounds().y1 + y), b.row(b.bounds().y1 + y), rowBytes) != 0) return false;
    return true;
}

class NoiseTextureTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, "talvo.effects:noisetexture");
};

TEST_F(NoiseTextureTest, DescribesItsParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Noise Texture");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1220);
    const auto& inContext = plugin->describeInContext("generator");
    EXPECT_EQ(inContext.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{2CCDA29D-FBD5-4E5D-AA1B-B82EA7FBED51}"}));
    EXPECT_EQ(inContext.clip(kOfxImageEffectOutputClipName)->props().getInt(kOfxImageEffectPropSupportsTiles), 0);

    constexpr double kMax = std::numeric_limits<double>::max();
    const std::vector<double> unbounded{-kMax, kMax, -kMax, kMax, -kMax, kMax, -kMax, kMax};
    auto group = [](const char* name, const char* label) {
        return ParamRow{name, label, name, "Group", "null", {}, {}, {}, "", {}, false};
    };
    auto slider = [](const char* name, const char* label, const char* script, const char* def, double lo, double hi,
                     const char* parent) {
        return ParamRow{name, label, script, "Double", def, {lo, hi}, {lo, hi}, 0.1, parent, {}};
    };
    expectParamTable(
        *plugin, "generator",
        {
            {"NoiseStyle", "Noise style", "noisestyle", "Choice", "0", {}, {}, {}, "",
             {"Fractal - smooth", "Fractal - turbulent", "Marble - light grain", "Marble - heavy grain",
              "Jagged lines", "Contours", "Rings"}},
            slider("NumberOfLayers", "Number of layers", "numberoflayers", "1", 1, 5, ""),
            {"Swapcolors", "Swap colors", "swapcolors", "Boolean", "false", {}, {}, {}, "", {}},
            {"Color1", "Color 1", "color1", "RGBA", "[0,0,0,1]", unbounded, unbounded, {}, "", {}},
            {"Color2", "Color 2", "color2", "RGBA", "[1,1,1,1]", unbounded, unbounded, {}, "", {}},
            group("Frequency", "Frequency"),
            slider("FrequencyX", "X", "frequencyx", "10", 0.001, 30, "Frequency"),
            slider("FrequencyY", "Y", "frequencyy", "10", 0.001, 30, "Frequency"),
            group("Offset", "Offset"),
            slider("OffsetX", "X", "offsetx", "0", -5, 5, "Offset"),
            slider("OffsetY", "Y", "offsety", "0", -5, 5, "Offset"),
            slider("OffsetprogressinDegrees", "Progress (in degrees)", "offsetprogressindegrees", "0", 0, 10,
                   "Offset"),
            group("NoiseParameters", "Noise parameters"),
            slider("NoiseParametersMin", "Min", "noiseparametersmin", "0", 0, 1, "NoiseParameters"),
            slider("NoiseParametersMax", "Max", "noiseparametersmax", "1", 0, 1, "NoiseParameters"),
            slider("NoiseParametersBias", "Bias", "noiseparametersbias", "0", -1, 1, "NoiseParameters"),
            slider("NoiseParametersAmplitude", "Amplitude", "noiseparametersamplitude", "1", 0, 10,
                   "NoiseParameters"),
            slider("NoiseParametersGrainAmplitudeFalloff", "Grain (amplitude falloff)",
                   "noiseparametersgrainamplitudefalloff", "0.5", 0, 1, "NoiseParameters"),
        });
}

// Layer weights show through renders whose weights coincide: the weights
// and their sum fix the image.
TEST_F(NoiseTextureTest, LayerWeightsAndTheCutOff) {
    auto inst = generatorOf(*plugin, 96, 40);
    auto render = [&](const char* layers, const char* falloff) {
        inst->setValueText("NumberOfLayers", layers);
        inst->setValueText("NoiseParametersGrainAmplitudeFalloff", falloff);
        return renderVariant(*inst, kFloatRGBA);
    };
    const auto one = render("1", "0");
    // A whole count fades its last layer out: 1 and grain 0.5 weigh 1, 0.
    EXPECT_TRUE(sameImage(render("1", "0.5"), one));
    // 1.5 and grain 0.5 weigh 1, 0.25, as 2 and grain 0.25 (1, 0.25, 0) do.
    const auto quarter = render("1.5", "0.5");
    EXPECT_FALSE(sameImage(quarter, one));
    EXPECT_TRUE(sameImage(render("2", "0.25"), quarter));
    // Grain 0 leaves the first layer alone; the fraction is lost.
    EXPECT_TRUE(sameImage(render("1.5", "0"), one));
    // A weight of exactly 0.01 is not above the cut-off: neither drawn nor
    // counted in the sum.
    EXPECT_TRUE(sameImage(render("1.5", "0.02"), one));
    EXPECT_FALSE(sameImage(render("1.5", "0.04"), one));
}

// Min equal to Max: k = 0 and base = 0.25 * 65536 + 0.5, rounded with the
// idiom's bias to t = 16385. E0 = (0.5, 0.25, 0, 0.5) and E1 = (0, 0, 1, 1)
// premultiplied, mixed at f = 16385 / 65536: red is red in both orders.
TEST_F(NoiseTextureTest, MinEqualToMaxGivesTheConstantMix) {
    auto inst = generatorOf(*plugin, 50, 20);
    inst->setValueText("NoiseParametersMin", "0.25");
    inst->setValueText("NoiseParametersMax", "0.25");
    inst->setValueText("Color1", "1,0.5,0,0.5");
    inst->setValueText("Color2", "0,0,1,1");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        const Rgba want = v.depth == Depth::Byte ? Rgba{96, 48, 64, 159}
                                                 : Rgba{0.37499237060546875f, 0.18749618530273438f,
                                                        0.2500152587890625f, 0.6250076293945312f};
        for (int y : {0, 10, 19})
            for (int x : {0, 31, 49}) EXPECT_EQ(pixelAt(out, x, y), want) << x << "," << y;
    }
}

// Amplitude 0 and Bias 0: k = 0 and base = 0.5, which the idiom's bias
// rounds up to t = 1. Bytes show E0, white after the swap, exactly; floats
// keep 1 / 65536 of E1.
TEST_F(NoiseTextureTest, SwappedColoursWithNoAmplitudeGiveTheFirst) {
    auto inst = generatorOf(*plugin, 40, 10);
    inst->setValueText("Swapcolors", "true");
    inst->setValueText("NoiseParametersAmplitude", "0");
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        const float c = v.depth == Depth::Byte ? 255.0f : 0.9999847412109375f;
        const float a = v.depth == Depth::Byte ? 255.0f : 1.0f;
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{c, c, c, a}));
        EXPECT_EQ(pixelAt(out, 39, 9), (Rgba{c, c, c, a}));
    }
}

// The top left pixel lies on a lattice point in x and y at progress 0; the
// quarter added to z keeps its noise off zero (which would give t = 32769).
// Its value, 0.339093537927 after the spread, gives t = 43880.
TEST_F(NoiseTextureTest, ProgressZeroStillYieldsNoise) {
    auto inst = generatorOf(*plugin, 64, 36);
    for (const Variant& v : kAllVariants) {
        SCOPED_TRACE(variantName(v));
        const auto out = renderVariant(*inst, v);
        const float level = v.depth == Depth::Byte ? 171.0f : 0.6695556640625f;
        const float a = v.depth == Depth::Byte ? 255.0f : 1.0f;
        EXPECT_EQ(pixelAt(out, 0, 35), (Rgba{level, level, level, a}));
        EXPECT_NE(pixelAt(out, 32, 35), pixelAt(out, 0, 35));
    }
}

// Every style, in all four variants: bytes are the float mix rounded, and
// BGRA shows the same colours as RGBA. The weights t at two
// pixels (x 17, y 5 and x 60, y 20 counted from the top) come from a plain
// evaluation of the noise point by point and of each style's shaping; blue
// runs from 0 to 1 with the weight.
TEST_F(NoiseTextureTest, VariantsAgreeInEveryStyle) {
    constexpr int kWeights[7][2] = {{41822, 30043}, {18107, 5452}, {49239, 9815}, {24058, 6342},
                                    {64691, 20557}, {39032, 48239}, {54532, 3590}};
    auto inst = generatorOf(*plugin, 72, 24);
    inst->setValueText("Color1", "1,0,0,1");
    inst->setValueText("Color2", "0,0.5,1,1");
    for (int style = 0; style < 7; ++style) {
        SCOPED_TRACE(style);
        inst->setValueText("NoiseStyle", std::to_string(style));
        const auto reference = renderVariant(*inst, kFloatRGBA);
        EXPECT_EQ(pixelAt(reference, 17, 18)[2], kWeights[style][0] / 65536.0f);
        EXPECT_EQ(pixelAt(reference, 60, 3)[2], kWeights[style][1] / 65536.0f);
        for (const Variant& v : kAllVariants) {
            const auto out = renderVariant(*inst, v);
            for (int y = 0; y < 24; ++y)
                for (int x = 0; x < 72; ++x) {
                    const Rgba want = pixelAt(reference, x, y);
                    const Rgba got = pixelAt(out, x, y);
                    for (int c = 0; c < 4; ++c) {
                        if (v.depth == Depth::Byte)
                            ASSERT_LE(std::fabs(got[c] - want[c] * 255.0f), 0.501f) << x << "," << y << " " << c;
                        else
                            ASSERT_EQ(got[c], want[c]) << x << "," << y << " " << c;
                    }
                }
        }
    }
}

// No seed and no state: an instance rendering twice draws the same frame.
TEST_F(NoiseTextureTest, SameParametersGiveTheSameImage) {
    auto inst = generatorOf(*plugin, 128, 72);
    inst->setValueText("NoiseStyle", "3");
    inst->setValueText("NumberOfLayers", "2.5");
    inst->setValueText("OffsetprogressinDegrees", "4.2");
    const auto first = renderVariant(*inst, kFloatRGBA);
    EXPECT_TRUE(sameImage(renderVariant(*inst, kFloatRGBA), first));
}

// Settings with every part of the sum at work: several layers, the last
// faded in, offsets, progress, and translucent colours that are not grey.
void colourful(ofxhost::Instance& inst, int style) {
    inst.setValueText("NoiseStyle", std::to_string(style));
    inst.setValueText("NumberOfLayers", "3.5");
    inst.setValueText("NoiseParametersGrainAmplitudeFalloff", "0.75");
    inst.setValueText("FrequencyX", "6.5");
    inst.setValueText("FrequencyY", "12.25");
    inst.setValueText("OffsetX", "-0.75");
    inst.setValueText("OffsetY", "1.5");
    inst.setValueText("OffsetprogressinDegrees", "2.5");
    inst.setValueText("Color1", "1,0.5,0.25,0.75");
    inst.setValueText("Color2", "0.125,0.875,0.5,1");
}

TEST_F(NoiseTextureTest, OneAndTheSamePictureInBothOrders) {
    auto inst = generatorOf(*plugin, 53, 31);
    for (Depth depth : {Depth::Byte, Depth::Float}) expectOnePicture(*inst, depth, "defaults");
    for (int style = 0; style < 7; ++style) {
        colourful(*inst, style);
        inst->setValueText("Swapcolors", style % 2 ? "true" : "false");
        for (Depth depth : {Depth::Byte, Depth::Float})
            expectOnePicture(*inst, depth, "style " + std::to_string(style));
    }
}

// The host's threads draw bands of rows. The noise is summed incrementally
// along each row from the row's own place in the whole window, so every
// split gives the picture of one thread, to the bit, in every style. 67 rows
// split unevenly over each count, and a band may be a single row.
TEST_F(NoiseTextureTest, AnyNumberOfThreadsDrawsTheOneThreadPicture) {
    struct Threaded {
        std::shared_ptr<ofxhost::Plugin> plugin;
        std::unique_ptr<ofxhost::Instance> inst;
    };
    auto make = [](unsigned threads) {
        ofxhost::HostConfig config;
        config.threads = threads;
        Threaded t{loadEffect(quietHost(config), "talvo.effects:noisetexture"), nullptr};
        t.inst = generatorOf(*t.plugin, 83, 67);
        return t;
    };
    Threaded one = make(1);
    std::vector<Threaded> many;
    for (unsigned threads : {2u, 3u, 8u, 67u}) many.push_back(make(threads));
    for (int style = 0; style < 7; ++style) {
        colourful(*one.inst, style);
        for (Threaded& t : many) colourful(*t.inst, style);
        for (const Variant& v : {kAllVariants[1], kAllVariants[2]}) {
            const auto reference = renderVariant(*one.inst, v);
            for (size_t i = 0; i < many.size(); ++i)
                EXPECT_EQ(firstDifference(renderVariant(*many[i].inst, v), reference), "")
                    << "style " << style << " " << variantName(v) << " on host " << i;
        }
    }
}

}  // namespace
