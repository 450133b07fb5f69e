#include <gtest/gtest.h>

#include <map>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

using Settings = std::map<std::string, std::string>;

const char* const kEffect = "talvo.effects:brightnessandcontrast";

class BrightnessAndContrastTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kEffect);

    std::vector<Rgba> renderRow(const std::vector<Rgba>& in, const Settings& settings, Depth depth,
                                PixelOrder order) {
        auto inst = filterOn(*plugin, rowImage(in, depth, order));
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        const auto out = renderVariant(*inst, {depth, order});
        std::vector<Rgba> pixels;
        for (int x = 0; x < out.width(); ++x) pixels.push_back(pixelAt(out, x, 0));
        return pixels;
    }
};

TEST_F(BrightnessAndContrastTest, DeclarationAndParameterTable) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Brightness and Contrast");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Color");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1640);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              std::vector<std::string>{"{EC9C4A02-E360-11D1-9AA9-00A0C99B12C5}"});
    const std::string out = "GroupOutput";
    expectParamTable(
        *plugin, "filter",
        {{"Brightness", "Brightness", "Brightness", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
         {"Contrast", "Contrast", "Contrast", "Double", "0", {-1, 1}, {-1, 1}, 0.1, "", {}, true},
         {"ContrastCenter", "Contrast center", "ContrastCenter", "Double", "0.5", {0, 1}, {0, 1}, 0.1, "", {}, true},
         {"Group", "Group", "Group", "Group", "null", {}, {}, {}, "", {}, false},
         {"GroupInput", "GroupInput", "GroupInput", "Group", "null", {}, {}, {}, "", {}, false},
         {"GroupOutput", "GroupOutput", "GroupOutput", "Group", "null", {}, {}, {}, "", {}, false},
         {"Percent", "Percent", "Percent", "Double", "0.01", {0, 0.5}, {0, 0.5}, 0.01, out, {}, false},
         {"Min", "Min", "Min", "Double", "0.058823529411764705", {0, 0.99}, {0, 0.99}, 0.1, out, {}, false},
         {"Max", "Max", "Max", "Double", "0.9215686274509803", {0.01, 1}, {0.1, 1}, 0.1, out, {}, false},
         {"ReferenceMode", "ReferenceMode", "ReferenceMode", "Choice", "1", {}, {}, {}, out,
          {"RM_CurrentFrame", "RM_CurrentMedia", "RM_EachFrameIndependently"}, false},
         {"DoAnalysis", "DoAnalysis", "DoAnalysis", "PushButton", "null", {}, {}, {}, out, {}, false}});
}

// The byte path looks each colour up in one table of
// ((i / 255 + B - P) * K' + P) * 255, truncated, and holds it to alpha.
TEST_F(BrightnessAndContrastTest, ByteTableValues) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // B 0.5, P 0.5: i + 127.5, so 100 -> 227, 0 -> 127, 127 -> 254; the
        // colours are then held to alpha 150 and alpha is kept.
        EXPECT_EQ(renderRow({{100, 0, 200, 150}, {127, 128, 60, 255}}, {{"Brightness", "0.5"}}, Depth::Byte, order),
                  (std::vector<Rgba>{{150, 127, 150, 150}, {254, 255, 187, 255}}));
        // C -0.5 flattens around P by K' = 0.5 after the lift:
        // ((200 / 255 - 0.7) * 0.5 + 0.5) * 255 = 138.25, (-0.35 + 0.5) * 255 = 38.25.
        EXPECT_EQ(renderRow({{200, 40, 0, 255}}, {{"Brightness", "-0.2"}, {"Contrast", "-0.5"}}, Depth::Byte, order),
                  (std::vector<Rgba>{{138, 58, 38, 255}}));
        // Note: K' = 1 / (1.0000001 - 0.5) is just below 2, so level 100
        // around P 0 becomes 199, not 200.
        EXPECT_EQ(renderRow({{100, 60, 128, 255}}, {{"Contrast", "0.5"}, {"ContrastCenter", "0"}}, Depth::Byte, order),
                  (std::vector<Rgba>{{199, 119, 255, 255}}));
        // At C 1, K' = 1 / 2^-23: a hard threshold between 127 and 128.
        EXPECT_EQ(renderRow({{127, 128, 0, 255}}, {{"Contrast", "1"}}, Depth::Byte, order),
                  (std::vector<Rgba>{{0, 255, 0, 255}}));
    }
}

TEST_F(BrightnessAndContrastTest, FloatPassesUnderTheAlphaRule) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // K = 1 / (1.000001 - 0.5) = 1.999996; a lift of 1e-7 is within
        // 1e-6 of zero and its pass is skipped, 2e-6 is not.
        const Settings half{{"Contrast", "0.5"}, {"ContrastCenter", "0"}};
        Settings tinyLift = half;
        tinyLift["Brightness"] = "1e-7";
        EXPECT_EQ(renderRow({{0.25f, 0.5f, -1.0f, 1.0f}}, tinyLift, Depth::Float, order),
                  (std::vector<Rgba>{{0.499999046f, 0.999998093f, -1.99999619f, 1.0f}}));
        Settings smallLift = half;
        smallLift["Brightness"] = "2e-6";
        EXPECT_EQ(renderRow({{0.25f, 0.0f, 0.0f, 1.0f}}, smallLift, Depth::Float, order)[0][0],
                  (0.25f + 2e-6f) * (1.0f / (1.000001f - 0.5f)));
        // Note: at C 1 the float path's K is 1 / (1.000001 - 1) = 2^20, and
        // nothing is clamped.
        EXPECT_EQ(renderRow({{0.25f, 0.5f, 0.75f, 1.0f}}, {{"Contrast", "1"}}, Depth::Float, order),
                  (std::vector<Rgba>{{-262143.5f, 0.5f, 262144.5f, 1.0f}}));
        // Each pass unpremultiplies by alpha 0.5 and multiplies back; alpha
        // at 1e-6 clears the pixel, alpha above 1 is written as 1.
        EXPECT_EQ(renderRow({{0.2f, 0.1f, 0.4f, 0.5f}, {0.3f, 0.3f, 0.3f, 1e-6f}, {0.3f, 0.6f, 0.9f, 2.0f}},
                            {{"Brightness", "0.1"}, {"Contrast", "-0.5"}}, Depth::Float, order),
                  (std::vector<Rgba>{{0.25f, 0.2f, 0.350000024f, 0.5f},
                                     {0.0f, 0.0f, 0.0f, 0.0f},
                                     {0.45f, 0.6f, 0.75f, 1.0f}}));
    }
}

// Three byte frames with known levels; transparent black is not counted,
// and (8, 8, 8, 51) unpremultiplies to level 40.
const std::vector<Rgba> kFrames[] = {
    {{30, 30, 30, 255}, {60, 60, 60, 255}, {220, 220, 220, 255}, {0, 0, 0, 0}},
    {{8, 8, 8, 51}, {100, 100, 100, 255}, {200, 200, 200, 255}, {0, 0, 0, 0}},
    {{0, 0, 0, 255}, {90, 90, 90, 255}, {255, 255, 255, 255}, {120, 120, 120, 255}},
};

// The written values for levels l and h mapped onto Min 15 and Max 235, in
// float: centre t0, lift t0 - l, and contrast 1 - 1 / s above s = 1, s - 1
// below.
struct Correction {
    double brightness, contrast, center;
};
Correction correctionFor(int low, int high) {
    const float t0 = static_cast<float>(15.0 / 255.0), t1 = static_cast<float>(235.0 / 255.0);
    const float l = static_cast<float>(low) / 255.0f, h = static_cast<float>(high) / 255.0f;
    const float s = (t1 - t0) / (h - l);
    return {t0 - l, s > 1.0f ? 1.0f - 1.0f / s : s - 1.0f, t0};
}

class BrightnessAndContrastAnalysis : public BrightnessAndContrastTest {
protected:
    std::unique_ptr<ofxhost::Instance> inst = plugin->createInstance("filter");
    std::vector<double> progress;
    std::vector<std::string> labels;
    int cancelAt = 0;
    int lastFrame = 3;

    void SetUp() override {
        inst->setProjectSize(4, 1);
        inst->connect("Source", [this](double t) -> std::shared_ptr<const ofxhost::ImageBuffer> {
            if (t < 1 || t > lastFrame) return nullptr;
            return std::make_shared<const ofxhost::ImageBuffer>(rowImage(kFrames[int(t) - 1], Depth::Byte));
        });
        inst->setFrameRange(1, 3);
        ofxhost::RenderOptions options;
        inst->setRenderOptions(options);
        inst->watchProgress([this](const ofxhost::ProgressEvent& e) {
            if (e.kind == ofxhost::ProgressEvent::Kind::Start) labels.push_back(e.label);
            if (e.kind != ofxhost::ProgressEvent::Kind::Update) return true;
            progress.push_back(e.progress);
            return int(progress.size()) != cancelAt;
        });
    }

    void expectValuesAt(double time, const Correction& want) {
        EXPECT_EQ(inst->value("Brightness", time).n[0], want.brightness) << time;
        EXPECT_EQ(inst->value("Contrast", time).n[0], want.contrast) << time;
        EXPECT_EQ(inst->value("ContrastCenter", time).n[0], want.center) << time;
    }
    std::vector<double> keys(const char* name) { return inst->param(name).keyTimes(); }
};

TEST_F(BrightnessAndContrastAnalysis, CurrentFrameAndCurrentMediaWriteValuesInOneEditBlock) {
    inst->setValueText("ReferenceMode", "RM_CurrentFrame");
    inst->press("DoAnalysis", 2.0);
    // Frame 2 spans 40..200: s = 220 / 160 = 1.375 stretches, so
    // C = 1 - 1 / 1.375 = 0.2727 and B = (15 - 40) / 255.
    expectValuesAt(2.0, correctionFor(40, 200));
    EXPECT_NEAR(inst->value("Contrast", 0).n[0], 0.272727, 1e-6);
    EXPECT_NEAR(inst->value("Brightness", 0).n[0], -25.0 / 255.0, 1e-7);
    EXPECT_EQ(labels, std::vector<std::string>{"AnalysisPhase"});
    EXPECT_EQ(progress, std::vector<double>{1.0});
    EXPECT_TRUE(keys("Brightness").empty());

    // The whole media: the darkest low (0) and brightest high (255) of the
    // frames; s = 220 / 255 compresses, so C = s - 1.
    inst->setValueText("ReferenceMode", "RM_CurrentMedia");
    inst->press("DoAnalysis", 2.0);
    expectValuesAt(7.0, correctionFor(0, 255));
    EXPECT_NEAR(inst->value("Contrast", 0).n[0], 220.0 / 255.0 - 1.0, 1e-6);
    EXPECT_EQ(progress, (std::vector<double>{1.0, 1.0 / 3.0, 2.0 / 3.0, 1.0}));
    const auto blocks = inst->params().editBlocks();
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_EQ(blocks[1].label, "DoAnalysis");
    EXPECT_EQ(blocks[1].changed, (std::vector<std::string>{"Brightness", "Contrast", "ContrastCenter"}));
    EXPECT_FALSE(inst->progressOpen());
    EXPECT_EQ(inst->liveImageCount(), 0u);

    // The percentile variant cuts 40% of frame 1's three visible pixels
    // (1.2 pixels) at each end: both levels land on 60, and s stays 1 (C 0).
    inst->setValueText("ReferenceMode", "RM_CurrentFrame");
    inst->setValueText("Percent", "0.4");
    inst->press("DoAnalysis", 1.0);
    EXPECT_EQ(inst->value("Contrast", 0).n[0], 0.0);
    EXPECT_EQ(inst->value("Brightness", 0).n[0], static_cast<float>(15.0 / 255.0) - 60.0f / 255.0f);
}

TEST_F(BrightnessAndContrastAnalysis, EachFrameWritesKeysThatTheRenderFollows) {
    inst->setValueText("ReferenceMode", "RM_EachFrameIndependently");
    inst->setValueText("Contrast", "0.9", 9.0);
    inst->press("DoAnalysis", 1.0);
    EXPECT_EQ(keys("Contrast"), (std::vector<double>{1, 2, 3})) << "the key at 9 is cleared";
    EXPECT_EQ(keys("Brightness"), (std::vector<double>{1, 2, 3}));
    expectValuesAt(1.0, correctionFor(30, 220));
    expectValuesAt(2.0, correctionFor(40, 200));
    expectValuesAt(3.0, correctionFor(0, 255));
    EXPECT_TRUE(inst->params().editBlocks().empty());

    // Rendered in float, each frame's low (pixel 0) and high (pixel 2) land
    // on 15 and 235; the float path's 1.000001 keeps a stretched top about
    // 1e-6 short.
    ofxhost::RenderOptions options;
    options.depth = Depth::Float;
    for (int t = 1; t <= 3; ++t) {
        auto out = inst->makeOutput(options);
        ASSERT_EQ(inst->render(t, options, out), kOfxStatOK);
        EXPECT_NEAR(out.floatAt(0, 0, 0) / out.floatAt(0, 0, 3), 15.0 / 255.0, 1e-6) << t;
        EXPECT_NEAR(out.floatAt(2, 0, 1), 235.0 / 255.0, 5e-6) << t;
    }

    // A cancel at the second frame keeps the two frames measured; a missing
    // frame ends the loop there.
    progress.clear();
    cancelAt = 2;
    inst->press("DoAnalysis", 1.0);
    EXPECT_EQ(keys("ContrastCenter"), (std::vector<double>{1, 2}));
    cancelAt = 0;
    lastFrame = 1;
    inst->press("DoAnalysis", 1.0);
    EXPECT_EQ(keys("Brightness"), (std::vector<double>{1}));
}

}  // namespace
