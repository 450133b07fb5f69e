#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "OpenCLParity.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

// A parameter value as the effect reads it (no conversion of the text form).
ofxhost::ParamValue number(double v) {
    ofxhost::ParamValue value;
    value.n[0] = v;
    return value;
}

const char* const kQuick = "talvo.effects:quickblur";

// The 1-2-1 by 1-2-1 blur of a whole picture with its edge pixels repeated,
// then the toolkit's mix toward the source at weight w = 1 - amount: bytes
// d + ((s - d) * k) / 256 with k = round(w * 255), floats (s - d) * w + d.
ofxhost::ImageBuffer quickReference(const ofxhost::ImageBuffer& src, double amount) {
    const int w = src.width(), h = src.height();
    const bool bytes = src.depth() == Depth::Byte;
    const float weight = static_cast<float>(1.0 - amount);
    const int k = static_cast<int>(std::nearbyint(static_cast<double>(weight * 255.0f) + 1.5e-8)) & 0xFF;
    ofxhost::ImageBuffer out = src.clone();
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const int ys[3] = {std::max(y - 1, 0), y, std::min(y + 1, h - 1)};
            const int xs[3] = {std::max(x - 1, 0), x, std::min(x + 1, w - 1)};
            for (int c = 0; c < 4; ++c) {
                if (bytes) {
                    int sum = 0;
                    for (int i = 0; i < 9; ++i)
                        sum += (i == 4 ? 4 : i % 2 ? 2 : 1) * src.byteAt(xs[i % 3], ys[i / 3], c);
                    const int d = sum >> 4, s = src.byteAt(x, y, c);
                    out.setByte(x, y, c, static_cast<uint8_t>(d + ((s - d) * k) / 256));
                } else {
                    float sum = 0.0f;
                    for (int i = 0; i < 9; ++i)
                        sum += static_cast<float>(i == 4 ? 4 : i % 2 ? 2 : 1) * src.floatAt(xs[i % 3], ys[i / 3], c);
                    const float d = sum * 0.0625f, s = src.floatAt(x, y, c);
                    out.setFloat(x, y, c, (s - d) * weight + d);
                }
            }
        }
    }
    return out;
}

class QuickBlurTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kQuick);
};

TEST_F(QuickBlurTest, DeclaresItsGroupGuidAndAmount) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Quick Blur");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Blur");
    auto& desc = plugin->describeInContext("filter");
    EXPECT_EQ(desc.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{B1DA9C5D-CF1A-11D1-9AA7-00A0C99B12C5}"}));
    expectParamTable(
        *plugin, "filter",
        {{"BlendAmount", "Blend amount", "blendamount", "Double", "0", {0, 1}, {0, 1}, 0.1, "", {}, true}});
}

// By hand, on a 3 x 3 byte picture with one lit centre: the centre keeps
// 4/16 of itself, edges 2/16, corners 1/16, all truncated.
TEST_F(QuickBlurTest, FullAmountIsTheOneTwoOneFilter) {
    ofxhost::ImageBuffer image(3, 3, Depth::Byte, PixelOrder::RGBA);
    for (int c = 0; c < 4; ++c) image.setByte(1, 1, c, 200);
    auto inst = filterOn(*plugin, image);
    inst->setValueText("BlendAmount", "1");
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = renderVariant(*inst, {Depth::Byte, order});
        EXPECT_EQ(pixelAt(out, 1, 1), (Rgba{50, 50, 50, 50}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{25, 25, 25, 25}));
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{12, 12, 12, 12})) << "200 / 16 truncates";
    }
    // A corner of a 2 x 2 picture repeats itself beyond the edges: the lit
    // corner weighs 1 + 2 + 2 + 4 = 9 in its own sum (144 * 160 / 16 / 16 is
    // 90), and 1 in the opposite corner's (10).
    ofxhost::ImageBuffer corner(2, 2, Depth::Byte, PixelOrder::RGBA);
    for (int c = 0; c < 4; ++c) corner.setByte(0, 0, c, 160);
    auto cornered = filterOn(*plugin, corner);
    cornered->setValueText("BlendAmount", "1");
    const auto out = renderVariant(*cornered, {Depth::Byte, PixelOrder::BGRA});
    EXPECT_EQ(out.byteAt(0, 0, 0), 90);
    EXPECT_EQ(out.byteAt(1, 1, 0), 10);
}

TEST_F(QuickBlurTest, AmountsInEveryVariant) {
    const auto source = ofxhost::ImageBuffer::testFrame(19, 11, Depth::Float, PixelOrder::RGBA, 8);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto inst = filterOn(*plugin, source);
    for (double amount : {1.0, 0.5, 0.3}) {
        inst->setValue("BlendAmount", number(amount));
        SCOPED_TRACE(amount);
        expectFourVariants(*inst, {quickReference(bytes, amount), quickReference(source, amount)});
    }
    // Half: the byte strength is 128 (127.5 to even), so d 0 and s 100 give 50.
    ofxhost::ImageBuffer dot(3, 1, Depth::Byte, PixelOrder::RGBA);
    dot.setByte(1, 0, 0, 100);
    auto half = filterOn(*plugin, dot);
    half->setValueText("BlendAmount", "0.5");
    // A one-row picture repeats its row above and below: the dot weighs
    // 2 + 4 + 2 in its own sum, so the blur gives 50 there.
    EXPECT_EQ(renderVariant(*half, {Depth::Byte, PixelOrder::RGBA}).byteAt(1, 0, 0), 50 + ((100 - 50) * 128) / 256);
}

// The default, 0, and anything within 1e-6 of it in single precision copy
// the source to the bit; just above, the mix runs and, at its full byte
// strength, stops one short of the source.
TEST_F(QuickBlurTest, AmountsWithinOneMillionthCopy) {
    const auto source = ofxhost::ImageBuffer::testFrame(12, 7, Depth::Float, PixelOrder::RGBA, 5);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto inst = filterOn(*plugin, source);
    expectFourVariants(*inst, {bytes, source});
    inst->setValue("BlendAmount", number(1e-6));
    expectFourVariants(*inst, {bytes, source});
    inst->setValue("BlendAmount", number(1.2e-6));
    const auto out = renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_EQ(firstDifference(out, quickReference(bytes, 1.2e-6)), "");
    EXPECT_NE(firstDifference(out, bytes), "");
}

// The rows are split over the host's threads, but each band reads its
// neighbours' rows: the picture is the same with any number of threads,
// and the edges that repeat are those of the render window.
TEST_F(QuickBlurTest, ThePictureDoesNotDependOnTheThreads) {
    const auto source = ofxhost::ImageBuffer::testFrame(9, 40, Depth::Byte, PixelOrder::RGBA, 12);
    const auto want = quickReference(source, 1.0);
    for (unsigned threads : {1u, 3u, 7u, 64u}) {
        ofxhost::HostConfig config;
        config.threads = threads;
        auto inst = filterOn(*loadEffect(quietHost(config), kQuick), source);
        inst->setValueText("BlendAmount", "1");
        EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA}), want), "") << threads;
    }

    auto inst = filterOn(*plugin, source);
    inst->setValueText("BlendAmount", "1");
    ofxhost::RenderOptions options;
    options.window = ofxhost::RectI{2, 5, 7, 30};
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    ofxhost::ImageBuffer crop(5, 25, Depth::Byte, PixelOrder::RGBA);
    for (int y = 0; y < 25; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 4; ++c) crop.setByte(x, y, c, source.byteAt(x + 2, y + 5, c));
    const auto cropped = quickReference(crop, 1.0);
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 9; ++x) {
            const bool inside = x >= 2 && x < 7 && y >= 5 && y < 30;
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(out.byteAt(x, y, c), inside ? cropped.byteAt(x - 2, y - 5, c) : 0) << x << "," << y;
        }
    }
}

TEST_F(QuickBlurTest, OnePixelAndOnePicture) {
    auto one = filterOn(*plugin, rowImage({{0.25f, 0.5f, 2.0f, 1.0f}}, Depth::Float));
    one->setValueText("BlendAmount", "1");
    EXPECT_EQ(pixelAt(renderVariant(*one, {Depth::Float, PixelOrder::BGRA}), 0, 0), (Rgba{0.25f, 0.5f, 2.0f, 1.0f}));

    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(21, 13, Depth::Float, PixelOrder::RGBA, 4));
    expectOnePicture(*inst, Depth::Byte, "defaults");
    expectOnePicture(*inst, Depth::Float, "defaults");
    inst->setValueText("BlendAmount", "0.7");
    expectOnePicture(*inst, Depth::Byte, "0.7");
    expectOnePicture(*inst, Depth::Float, "0.7");
}

std::vector<ParityCase> quickCases() {
    return {
        {"quickblur", "BlendAmount=1"},         {"quickblur", "BlendAmount=0.7"}, {"quickblur", "BlendAmount=0.3"},
        {"quickblur", "BlendAmount=0.0000012"}, {"quickblur", "BlendAmount=0"},
    };
}

class QuickBlurOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(QuickBlurOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    const Variant variant = GetParam();
    expectParityCases(
        quickCases(), [&](ofxhost::Plugin& plugin) { return filterOn(plugin, edgeFrame(37, 19, variant)); }, variant);
}

INSTANTIATE_TEST_SUITE_P(Variants, QuickBlurOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
