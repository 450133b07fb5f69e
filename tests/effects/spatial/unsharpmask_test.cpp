#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "EffectTest.h"
#include "GaussianReference.h"
#include "OpenCLParity.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

const char* const kUnsharp = "talvo.effects:unsharpmask";

using gaussref::blurred;
using gaussref::number;

// The mask against the reference blur, radius `radius` of the larger side
// both ways (square pixels). A byte sample moves to the sharpened value,
// clamped and truncated, when that lies more than the threshold (in whole
// levels, rounded) from the blur; a float sample when it lies further than
// the threshold itself.
ofxhost::ImageBuffer sharpened(const ofxhost::ImageBuffer& src, double amount, double radius, double threshold) {
    const double r = std::max(src.width(), src.height()) * radius;
    const ofxhost::ImageBuffer blur = blurred(src, r, r);
    ofxhost::ImageBuffer out = src.clone();
    const bool bytes = src.depth() == Depth::Byte;
    const int levels = static_cast<int>(std::floor(threshold * 255.0 + 0.5));
    for (int y = 0; y < src.height(); ++y) {
        for (int x = 0; x < src.width(); ++x) {
            for (int c = 0; c < 4; ++c) {
                if (bytes) {
                    const int s = src.byteAt(x, y, c), b = blur.byteAt(x, y, c);
                    double v = s + (s - b) * amount;
                    v = v < 0 ? 0 : v > 255 ? 255 : v;
                    const int level = static_cast<int>(std::floor(v));
                    out.setByte(x, y, c, static_cast<uint8_t>(std::abs(level - b) > levels ? level : s));
                } else {
                    const double s = src.floatAt(x, y, c), b = blur.floatAt(x, y, c);
                    const double v = s + (s - b) * amount;
                    out.setFloat(x, y, c, std::fabs(v - b) > threshold ? static_cast<float>(v) : src.floatAt(x, y, c));
                }
            }
        }
    }
    return out;
}

class UnsharpTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kUnsharp);

    static void set(ofxhost::Instance& inst, double amount, double radius, double threshold) {
        inst.setValue("amount", number(amount));
        inst.setValue("radius", number(radius));
        inst.setValue("threshold", number(threshold));
    }
    std::unique_ptr<ofxhost::Instance> expectReference(const ofxhost::ImageBuffer& floats, double amount, double radius,
                                                       double threshold) {
        auto inst = filterOn(*plugin, floats);
        set(*inst, amount, radius, threshold);
        const auto bytes = floats.converted(Depth::Byte, PixelOrder::RGBA);
        expectFourVariants(*inst, {sharpened(bytes, amount, radius, threshold),
                                   sharpened(floats, amount, radius, threshold)});
        return inst;
    }
};

TEST_F(UnsharpTest, DeclaresItsGroupGuidAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Unsharp Mask");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Blur");
    auto& desc = plugin->describeInContext("filter");
    EXPECT_EQ(desc.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{167AEBED-32EB-4BE1-BB4A-50595939CA8D}"}));
    expectParamTable(*plugin, "filter",
                     {{"amount", "Amount", "amount", "Double", "0.5", {-100000, 100000}, {0, 1}, 0.1, "", {}},
                      {"radius", "Radius", "radius", "Double", "0.005", {0, 1}, {0, 1}, 0.1, "", {}},
                      {"threshold", "Threshold", "threshold", "Double", "0", {0, 1}, {0, 1}, 0.1, "", {}}});
}

// The radius is a fraction of the larger side (here 40: 0.1 is 4 pixels
// both ways); gains above and below 1, negative gains, thresholds.
TEST_F(UnsharpTest, FollowsTheReferenceInEveryVariant) {
    const auto source = ofxhost::ImageBuffer::testFrame(40, 24, Depth::Float, PixelOrder::RGBA, 7);
    for (auto [a, r, t] : {std::tuple{0.5, 0.005, 0.0}, {1.0, 0.1, 0.0}, {3.5, 0.05, 0.1}, {-0.75, 0.2, 0.02},
                           {2500.0, 0.03, 0.3}})
        expectReference(source, a, r, t);
}

// The comparison is against the blur, after the clamp. On two pixels, 0
// and 200, blurred into each other: the bright one, blurred to b, sharpens
// to 400 - b, clamped to 255, which is 255 - b from the blur but only 55
// from the source. A threshold between 55 and 255 - b takes it; one
// between 255 - b and 400 - 2b (the distance before the clamp) keeps the
// source.
TEST_F(UnsharpTest, ComparesTheClampedSampleWithTheBlur) {
    const auto source = rowImage({{0, 0, 0, 0}, {200, 200, 200, 200}}, Depth::Byte);
    const auto blur = blurred(source, 2.0, 2.0);
    const int b = blur.byteAt(1, 0, 0);
    ASSERT_GT(b, 100);
    ASSERT_LT(b, 142);
    auto inst = filterOn(*plugin, source);
    set(*inst, 1.0, 1.0, ((55 + 255 - b) / 2) / 255.0);
    EXPECT_EQ(pixelAt(renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA}), 1, 0), (Rgba{255, 255, 255, 255}));
    set(*inst, 1.0, 1.0, (255 - b + (145 - b) / 2) / 255.0);
    EXPECT_EQ(pixelAt(renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA}), 1, 0), (Rgba{200, 200, 200, 200}));
    // The dark pixel would sharpen below 0 and is held at 0, its own value.
    EXPECT_EQ(pixelAt(renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA}), 0, 0), (Rgba{0, 0, 0, 0}));
}

// The byte threshold rounds to whole levels: under half a level is no
// threshold, from half a level up to one and a half is one level; a
// threshold of 1 lets nothing through. A gain of -0.5 puts sharpened
// samples one level from the blur (source 2 above it moves 1 down).
TEST_F(UnsharpTest, ByteThresholdRoundsToLevelsAndOneKeepsTheSource) {
    const auto source = ofxhost::ImageBuffer::testFrame(30, 20, Depth::Byte, PixelOrder::RGBA, 3);
    auto inst = filterOn(*plugin, source);
    const auto at = [&](double threshold) {
        set(*inst, -0.5, 0.1, threshold);
        return renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA});
    };
    const auto none = at(0.0), one = at(1.0 / 255.0);
    EXPECT_NE(firstDifference(none, one), "") << "one level must matter on this picture";
    EXPECT_EQ(firstDifference(at(0.49 / 255.0), none), "");
    EXPECT_EQ(firstDifference(at(0.51 / 255.0), one), "");
    EXPECT_EQ(firstDifference(at(1.49 / 255.0), one), "");
    EXPECT_EQ(firstDifference(at(1.0), source), "");
    EXPECT_NE(firstDifference(none, source), "");
}

// Floats are neither clamped nor rounded: a strong gain drives an edge
// below 0 and above 1.
TEST_F(UnsharpTest, FloatsAreNotClamped) {
    const auto source = rowImage({{0.1f, 0.1f, 0.1f, 1}, {0.1f, 0.1f, 0.1f, 1}, {0.9f, 0.9f, 0.9f, 1},
                                  {0.9f, 0.9f, 0.9f, 1}},
                                 Depth::Float);
    auto inst = expectReference(source, 4.0, 0.5, 0.0);
    const auto out = renderVariant(*inst, {Depth::Float, PixelOrder::RGBA});
    EXPECT_LT(out.floatAt(1, 0, 0), 0.0f);
    EXPECT_GT(out.floatAt(2, 0, 0), 1.0f);
}

// Radius 0: a copy to the bit (a float beyond 1 included), whatever the
// gain; the Gaussian itself would still smooth a little.
TEST_F(UnsharpTest, RadiusZeroCopies) {
    auto source = ofxhost::ImageBuffer::testFrame(13, 9, Depth::Float, PixelOrder::RGBA, 4);
    source.setFloat(0, 0, 0, 1.75f);
    auto inst = filterOn(*plugin, source);
    set(*inst, 50.0, 0.0, 0.0);
    expectFourVariants(*inst, {source.converted(Depth::Byte, PixelOrder::RGBA), source});
}

// A one-pixel picture is its own blur in bytes (the edge terms are the
// steady state), so nothing moves; floats follow the reference. A picture
// narrower than the kernel is a valid window.
TEST_F(UnsharpTest, OnePixelAndNarrowPictures) {
    const auto one = rowImage({{30, 140, 250, 200}}, Depth::Byte);
    auto inst = filterOn(*plugin, one);
    set(*inst, 20.0, 1.0, 0.0);
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
        EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Byte, order}), one), "");
    expectReference(ofxhost::ImageBuffer::testFrame(1, 1, Depth::Float, PixelOrder::RGBA, 8), 20.0, 1.0, 0.0);
    expectReference(ofxhost::ImageBuffer::testFrame(3, 2, Depth::Float, PixelOrder::RGBA, 5), 1.5, 1.0, 0.0);
}

// Alpha is sharpened like colour, and colour is not held to alpha: beside
// a clear pixel colour may exceed alpha.
TEST_F(UnsharpTest, AlphaIsSharpenedAndColourIsNotHeldToIt) {
    const auto source = rowImage({{0, 0, 0, 0}, {0, 0, 0, 0}, {0.8f, 0.5f, 0.2f, 0.6f}, {0.8f, 0.5f, 0.2f, 0.6f}},
                                 Depth::Float);
    auto inst = expectReference(source, 1.0, 0.25, 0.0);
    const auto out = renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_EQ(out.byteAt(1, 0, 3), 0) << "clear beside the edge, sharpened below 0";
    EXPECT_GT(out.byteAt(2, 0, 3), 153) << "alpha overshoots on the bright side";
    EXPECT_GT(out.byteAt(2, 0, 0), out.byteAt(2, 0, 3));
}

// The window is a picture of its own: its size sets the radius and its
// edges are the blur's; nothing outside it is written.
TEST_F(UnsharpTest, ARenderWindowIsAPictureOfItsOwn) {
    const auto source = ofxhost::ImageBuffer::testFrame(30, 20, Depth::Float, PixelOrder::RGBA, 11);
    auto inst = filterOn(*plugin, source);
    set(*inst, 2.0, 0.25, 0.0);
    gaussref::expectWindowIsAPicture(*inst, source, {4, 3, 20, 11},
                                     [](const auto& crop) { return sharpened(crop, 2.0, 0.25, 0.0); });
}

// At half scale the window is half as large and so is the radius: the
// render matches a full-scale render of the half-size source.
TEST_F(UnsharpTest, RenderScaleHalvesTheRadius) {
    const auto source = ofxhost::ImageBuffer::testFrame(40, 28, Depth::Byte, PixelOrder::RGBA, 3);
    auto inst = filterOn(*plugin, source);
    set(*inst, 1.5, 0.1, 0.0);
    gaussref::expectHalfScale(*inst, source, [](const auto& small) { return sharpened(small, 1.5, 0.1, 0.0); });
}

TEST_F(UnsharpTest, OnePictureInBothOrders) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(33, 21, Depth::Float, PixelOrder::RGBA, 6));
    gaussref::expectOnePictures(*inst, {{"defaults", nullptr},
                                        {"strong mask with a threshold", [&] { set(*inst, 3.0, 0.15, 0.04); }}});
}

// The kernels run the recursion in double: bytes and floats to the bit.
std::vector<ParityCase> unsharpCases() {
    return {
        {"unsharpmask", ""},
        {"unsharpmask", "amount=1.5;radius=0.2"},
        {"unsharpmask", "amount=2500;radius=0.05;threshold=0.3"},
        {"unsharpmask", "amount=-0.8;radius=0.5;threshold=0.02"},
        {"unsharpmask", "amount=4;radius=0"},
    };
}

class UnsharpOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(UnsharpOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    const Variant variant = GetParam();
    expectParityCases(
        unsharpCases(), [&](ofxhost::Plugin& plugin) { return filterOn(plugin, edgeFrame(37, 19, variant)); },
        variant);
}

INSTANTIATE_TEST_SUITE_P(Variants, UnsharpOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

// Hundreds of pixels, where single-precision coefficients would diverge.
TEST(UnsharpOpenCLLargeRadius, StaysWithTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), kUnsharp);
    for (const Variant& variant : {Variant{Depth::Byte, PixelOrder::BGRA}, Variant{Depth::Float, PixelOrder::RGBA}}) {
        auto inst = filterOn(*plugin, edgeFrame(600, 40, variant));
        inst->setValue("radius", number(0.9));
        inst->setValue("amount", number(3.0));
        expectOpenCLParity(*inst, variant, "radius 0.9 of 600", 1e-6, 0);
    }
}

}  // namespace
