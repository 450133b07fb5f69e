#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"
#include "ofxhost/Uplift.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

const char* const kInvert = "talvo.effects:invert";

// The defined 8-bit inversion of one premultiplied colour.
int invertByte(int c, int a) {
    if (a == 255) return 255 - c;
    if (a == 0) return 0;
    const int u = std::min(255, c * 255 / a);
    return ((255 - u) * a) >> 8;
}

// The toolkit's 8-bit mix toward the source at strength byte k.
int mixByte(int d, int s, int k) { return d + ((s - d) * k) / 256; }

class InvertTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kInvert);
};
using InvertDescribe = InvertTest;
using InvertRender = InvertTest;

TEST_F(InvertDescribe, DeclaresItselfAsEveryEffectDoes) {
    const auto& props = plugin->describe().props();
    for (const char* label : {kOfxPropLabel, kOfxPropShortLabel, kOfxPropLongLabel})
        EXPECT_EQ(props.getString(label), "TALVO Invert") << label;
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getStrings(kOfxImageEffectPropSupportedContexts),
              (std::vector<std::string>{kOfxImageEffectContextFilter}));
    EXPECT_EQ(props.getStrings(kOfxImageEffectPropSupportedPixelDepths),
              (std::vector<std::string>{kOfxBitDepthByte, kOfxBitDepthFloat, kOfxBitDepthByteBGR, kOfxBitDepthFloatBGR}));
    EXPECT_EQ(props.getString(kOfxPropTalvoHelpFile), "ondu1.ofx.chm");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1910);
    EXPECT_EQ(props.getInt(kOfxImageEffectPropSupportsTiles), 1);
    EXPECT_EQ(props.getInt(kOfxImageEffectPropSupportsMultiResolution), 1);
    EXPECT_EQ(props.getInt(kOfxImageEffectPluginPropSingleInstance), 0);
    EXPECT_EQ(props.getInt(kOfxImageEffectPluginPropHostFrameThreading), 0);
    // The host offers no OpenCL program suite, so the effect cannot say yes.
    EXPECT_EQ(props.getString(kOfxImageEffectPropOpenCLSupported), "false");
}

TEST_F(InvertDescribe, FilterContextHasTheClipsBlendAmountAndUpliftGUID) {
    auto& desc = plugin->describeInContext("filter");
    ASSERT_EQ(desc.clips().size(), 2u);
    EXPECT_EQ(desc.clips()[0]->name(), "Source");
    EXPECT_EQ(desc.clips()[1]->name(), "Output");
    for (const auto& clip : desc.clips()) {
        EXPECT_EQ(clip->props().getStrings(kOfxImageEffectPropSupportedComponents),
                  (std::vector<std::string>{kOfxImageComponentRGBA}));
        EXPECT_EQ(clip->props().getString(kOfxImageClipPropFieldExtraction), kOfxImageFieldBoth);
    }
    EXPECT_EQ(desc.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{C3062BE7-E69D-11D1-9AA9-00A0C99B12C5}"}));

    expectParamTable(*plugin, "filter",
                     {{"BlendAmount", "Blend amount", "blendamount", "Double", "1", {0, 1}, {0, 1}, 0.1, "", {}, true}});
    const auto& p = desc.params().find("BlendAmount")->props();
    EXPECT_EQ(p.getInt(kOfxParamPropDigits), 3);
    EXPECT_EQ(p.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeScale);

    const ofxhost::Param* page = desc.params().find("Controls");
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->props().getStrings(kOfxParamPropPageChild), (std::vector<std::string>{"BlendAmount"}));
}

// Hand-computed pixels of the byte path, including the unpremultiply clamp
// and the shift of the re-premultiplication.
TEST_F(InvertRender, BytePixelsFollowTheTableAndTheShift) {
    const std::vector<Rgba> in{{254, 0, 100, 254}, {0, 10, 128, 128}, {30, 60, 90, 255}, {77, 1, 2, 0}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        auto inst = filterOn(*plugin, rowImage(in, Depth::Byte, order));
        inst->setValueText("BlendAmount", "1");
        const auto out = renderVariant(*inst, {Depth::Byte, order});
        // a = 254, c = 254: u = 255, table[255] = 0. c = 100: u = 100, (155 * 254) >> 8 = 153.
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0, 253, 153, 254}));
        // a = 128, c = 0: u = 0, table[0] = 255, (255 * 128) >> 8 = 127.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{127, 118, 0, 128}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{225, 195, 165, 255}));
        EXPECT_EQ(pixelAt(out, 3, 0), (Rgba{0, 0, 0, 0}));
    }
}

TEST_F(InvertRender, FloatPixelsUnpremultiplyWithoutClamp) {
    const std::vector<Rgba> in{{0.5f, 0.25f, 1.5f, 1.0f}, {0.5f, 0.0f, 1.0f, 1e-7f}, {0.25f, 0.5f, 0.6f, 0.5f},
                               {0.3f, 0.3f, 0.3f, -0.5f}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        auto inst = filterOn(*plugin, rowImage(in, Depth::Float, order));
        const auto out = renderVariant(*inst, {Depth::Float, order});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0.5f, 0.75f, -0.5f, 1.0f}));
        // Alpha below 1e-6 reads as no colour: each channel becomes (1 - 0) * a.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{1e-7f, 1e-7f, 1e-7f, 1e-7f}));
        const float a = 0.5f;
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{(1.0f - 0.25f / a) * a, (1.0f - 0.5f / a) * a, (1.0f - 0.6f / a) * a, a}));
        EXPECT_EQ(pixelAt(out, 3, 0), (Rgba{-0.5f, -0.5f, -0.5f, -0.5f}));
    }
}

// BlendAmount mixes the source back through the toolkit's blend with
// 1 - BlendAmount: 0 is the source up to the byte mix's last step.
TEST_F(InvertRender, BlendAmountMixesTheSourceBackWithTheByteRounding) {
    const auto source = ofxhost::ImageBuffer::testFrame(17, 9, Depth::Byte, PixelOrder::RGBA, 3);
    auto inst = filterOn(*plugin, source);
    for (const auto& [blend, strength] : {std::pair{"0", 255}, std::pair{"0.5", 128}}) {
        inst->setValueText("BlendAmount", blend);
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const auto out = renderVariant(*inst, {Depth::Byte, order});
            for (int y = 0; y < 9; ++y) {
                for (int x = 0; x < 17; ++x) {
                    const Rgba s = pixelAt(source, x, y);
                    const int a = static_cast<int>(s[3]);
                    for (int c = 0; c < 4; ++c) {
                        const int inverted = c == 3 ? a : invertByte(static_cast<int>(s[c]), a);
                        ASSERT_EQ(out.byteAt(x, y, c), mixByte(inverted, static_cast<int>(s[c]), strength))
                            << "blend " << blend << " at " << x << "," << y << " channel " << c;
                    }
                }
            }
        }
    }
}

TEST_F(InvertRender, FloatBlendUsesTheSinglePrecisionMix) {
    const std::vector<Rgba> in{{0.1f, 0.7f, 0.3f, 1.0f}};
    auto inst = filterOn(*plugin, rowImage(in, Depth::Float));
    inst->setValueText("BlendAmount", "0.25");
    const auto out = renderVariant(*inst, {Depth::Float, PixelOrder::RGBA});
    const float w = static_cast<float>(1.0 - 0.25);
    for (int c = 0; c < 3; ++c) {
        const float d = 1.0f - in[0][c];
        EXPECT_EQ(out.floatAt(0, 0, c), (in[0][c] - d) * w + d);
    }
}

// An opaque row whose byte values are exact in float too, so that one
// source serves both depths: 1 - c in float, the table's complement in bytes.
TEST_F(InvertRender, OpaqueReferencesHoldInEveryVariant) {
    const std::vector<Rgba> bytes{{0, 51, 255, 255}, {30, 60, 90, 255}};
    std::vector<Rgba> floats;
    for (const Rgba& p : bytes) floats.push_back({p[0] / 255.0f, p[1] / 255.0f, p[2] / 255.0f, 1.0f});
    auto inst = filterOn(*plugin, rowImage(floats, Depth::Float));
    const auto byteReference = rowImage({{255, 204, 0, 255}, {225, 195, 165, 255}}, Depth::Byte);
    const auto floatReference = rowImage({{1.0f, 1.0f - 0.2f, 0.0f, 1.0f},
                                          {1.0f - 30 / 255.0f, 1.0f - 60 / 255.0f, 1.0f - 90 / 255.0f, 1.0f}},
                                         Depth::Float);
    expectFourVariants(*inst, {byteReference, floatReference});
}

// The keys of the older Invert, one double each, through the host's
// keyframe-uplift action.
TEST_F(InvertTest, UpliftTakesOverOneDoublePerKey) {
    const auto key = [](double time, double value, const char* interpolation) {
        ofxhost::UpliftKey k;
        k.time = time;
        k.interpolation = interpolation;
        k.record.resize(sizeof value);
        std::memcpy(k.record.data(), &value, sizeof value);
        return k;
    };
    const auto source = rowImage({{1, 2, 3, 255}}, Depth::Byte);
    auto still = filterOn(*plugin, source);
    still->uplift({{key(0.0, 0.25, kOfxTalvoKeyframeInterpolationLinear)}, {}});
    EXPECT_EQ(still->value("BlendAmount", 7.0).n[0], 0.25);
    EXPECT_TRUE(still->param("BlendAmount").keyTimes().empty());

    auto animated = filterOn(*plugin, source);
    ofxhost::UpliftKey shortKey = key(5.0, 0.9, kOfxTalvoKeyframeInterpolationLinear);
    shortKey.record.resize(4);
    animated->uplift({{key(0.0, 0.2, kOfxTalvoKeyframeInterpolationLinear), shortKey,
                       key(10.0, 0.8, kOfxTalvoKeyframeInterpolationHold), key(20.0, 0.5, "NoSuchInterpolation")},
                      {}});
    ofxhost::Param& blend = animated->param("BlendAmount");
    EXPECT_EQ(blend.keyTimes(), (std::vector<double>{0.0, 10.0, 20.0})) << "the short key is passed over";
    EXPECT_DOUBLE_EQ(animated->value("BlendAmount", 5.0).n[0], 0.5);
    int interpolation = -1;
    ASSERT_EQ(blend.keyInterpolation(10.0, interpolation), kOfxStatOK);
    EXPECT_EQ(interpolation, kOfxTalvoInterpolationHold);
    ASSERT_EQ(blend.keyInterpolation(20.0, interpolation), kOfxStatOK);
    EXPECT_EQ(interpolation, kOfxTalvoInterpolationUnknown) << "an unknown name keeps the host's default";

    auto wrongFirst = filterOn(*plugin, source);
    shortKey.time = 0.0;
    wrongFirst->uplift({{shortKey, key(3.0, 0.1, kOfxTalvoKeyframeInterpolationLinear)}, {}});
    EXPECT_EQ(wrongFirst->value("BlendAmount", 3.0).n[0], 1.0);
}

TEST_F(InvertRender, RenderWindowLimitsTheWrite) {
    const std::vector<Rgba> in(6, Rgba{10, 20, 30, 255});
    auto inst = filterOn(*plugin, rowImage(in, Depth::Byte));
    ofxhost::RenderOptions options;
    options.window = ofxhost::RectI{2, 0, 4, 1};
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    for (int x = 0; x < 6; ++x) {
        const bool inside = x >= 2 && x < 4;
        EXPECT_EQ(out.byteAt(x, 0, 0), inside ? 245 : 0) << x;
    }
}

}  // namespace
