#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "SpatialTest.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using namespace spatialtest;

namespace {

const char* const kQuick = "talvo.effects:quickblur";

// 1-2-1 by 1-2-1 blur, edges repeated, mixed toward the source at
// w = 1 - amount: bytes d + ((s - d) * k) / 256, k = round(w * 255); floats (s - d) * w + d.
ImageBuffer quickReference(const ImageBuffer& src, double amount) {
    const int w = src.width(), h = src.height();
    const bool bytes = src.depth() == Depth::Byte;
    const float weight = static_cast<float>(1.0 - amount);
    const int k = static_cast<int>(std::nearbyint(static_cast<double>(weight * 255.0f) + 1.5e-8)) & 0xFF;
    ImageBuffer out = src.clone();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 4; ++c) {
                float sum = 0.0f;  // exact on bytes
                for (int i = 0; i < 9; ++i)
                    sum += static_cast<float>(i == 4 ? 4 : i % 2 ? 2 : 1) * around(src, x, y, i, c);
                const float s = channel(src, x, y, c), d = sum * 0.0625f;
                const int bd = static_cast<int>(sum) >> 4;
                setChannel(
                    out, x, y, c,
                    bytes ? static_cast<float>(bd + ((static_cast<int>(s) - bd) * k) / 256) : (s - d) * weight + d);
            }
    return out;
}

// A black byte picture with one pixel at `v` in all four channels.
ImageBuffer lit(int w, int h, int x, int y, int v) {
    ImageBuffer image(w, h, Depth::Byte, PixelOrder::RGBA);
    for (int c = 0; c < 4; ++c) image.setByte(x, y, c, static_cast<std::uint8_t>(v));
    return image;
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
    auto inst = filterOn(*plugin, lit(3, 3, 1, 1, 200));
    inst->setValueText("BlendAmount", "1");
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = renderVariant(*inst, {Depth::Byte, order});
        EXPECT_EQ(pixelAt(out, 1, 1), (Rgba{50, 50, 50, 50}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{25, 25, 25, 25}));
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{12, 12, 12, 12})) << "200 / 16 truncates";
    }
    // 2 x 2, edges repeated: the lit corner weighs 9 in its own sum
    // (160 * 9 / 16 = 90) and 1 in the opposite corner's (10).
    auto cornered = filterOn(*plugin, lit(2, 2, 0, 0, 160));
    cornered->setValueText("BlendAmount", "1");
    const auto out = renderVariant(*cornered, {Depth::Byte, PixelOrder::BGRA});
    EXPECT_EQ(out.byteAt(0, 0, 0), 90);
    EXPECT_EQ(out.byteAt(1, 1, 0), 10);
}

TEST_F(QuickBlurTest, AmountsInEveryVariant) {
    const auto source = ImageBuffer::testFrame(19, 11, Depth::Float, PixelOrder::RGBA, 8);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto inst = filterOn(*plugin, source);
    for (double amount : {1.0, 0.5, 0.3}) {
        inst->setValue("BlendAmount", number(amount));
        SCOPED_TRACE(amount);
        expectFourVariants(*inst, {quickReference(bytes, amount), quickReference(source, amount)});
    }
    // Half: byte strength 128 (127.5 to even). One row repeats above and
    // below: the dot weighs 2 + 4 + 2 of 16, so the blur gives 50 there.
    ImageBuffer dot(3, 1, Depth::Byte, PixelOrder::RGBA);
    dot.setByte(1, 0, 0, 100);
    auto half = filterOn(*plugin, dot);
    half->setValueText("BlendAmount", "0.5");
    EXPECT_EQ(renderVariant(*half, {Depth::Byte, PixelOrder::RGBA}).byteAt(1, 0, 0), 50 + ((100 - 50) * 128) / 256);
}

// 0 and anything within 1e-6 (single precision) copy to the bit; just above, the mix runs.
TEST_F(QuickBlurTest, AmountsWithinOneMillionthCopy) {
    const auto source = ImageBuffer::testFrame(12, 7, Depth::Float, PixelOrder::RGBA, 5);
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

// Bands read their neighbours' rows: one picture for any thread count; the
// repeated edges are the render window's.
TEST_F(QuickBlurTest, ThePictureDoesNotDependOnTheThreads) {
    const auto source = ImageBuffer::testFrame(9, 40, Depth::Byte, PixelOrder::RGBA, 12);
    const auto want = quickReference(source, 1.0);
    for (unsigned threads : {1u, 3u, 7u, 64u}) {
        auto inst = filterOn(*loadWithThreads(kQuick, threads), source);
        inst->setValueText("BlendAmount", "1");
        EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA}), want), "") << threads;
    }

    auto inst = filterOn(*plugin, source);
    inst->setValueText("BlendAmount", "1");
    ofxhost::RenderOptions options;
    options.window = ofxhost::RectI{2, 5, 7, 30};
    const auto out = renderWith(*inst, options);
    const auto cropped = quickReference(crop(source, 2, 5, 5, 25), 1.0);
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

    auto inst = filterOn(*plugin, ImageBuffer::testFrame(21, 13, Depth::Float, PixelOrder::RGBA, 4));
    expectOnePictureInBothDepths(*inst, "defaults");
    inst->setValueText("BlendAmount", "0.7");
    expectOnePictureInBothDepths(*inst, "0.7");
}

class QuickBlurOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(QuickBlurOpenCLParity, MatchesTheProcessor) {
    std::vector<ParityCase> cases;
    for (const char* a : {"1", "0.7", "0.3", "0.0000012", "0"})
        cases.push_back({"quickblur", std::string("BlendAmount=") + a});
    expectParityOnEdgeFrame(cases, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Variants, QuickBlurOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
