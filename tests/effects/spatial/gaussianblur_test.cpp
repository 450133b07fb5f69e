#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "GaussianReference.h"
#include "OpenCLParity.h"
#include "ofxhost/Json.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

const char* const kGaussian = "talvo.effects:gaussianblur";

using gaussref::blurred;
using gaussref::number;

class GaussianTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kGaussian);

    // Fractions of the window's larger side (the host shows pixels).
    static void setRanges(ofxhost::Instance& inst, double h, double v) {
        inst.setValue("HorizontalRange", number(h));
        inst.setValue("VerticalRange", number(v));
    }
};

TEST_F(GaussianTest, DeclaresItsGroupGuidAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Gaussian Blur");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Blur");
    auto& desc = plugin->describeInContext("filter");
    EXPECT_EQ(desc.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{1485B954-EB62-11D1-9AA9-00A0C99B12C5}"}));
    // The ranges are shown in pixels of the 1080-line project a new
    // instance starts with: 0.063 of it is 68.04.
    const std::string shownDefault = ofxhost::Json(0.063 * 1080.0).dump(false);
    const auto range = [&](const char* n, const char* l, const char* s) {
        return ParamRow{n, l, s, "Double", shownDefault, {0, 1080}, {0, 1080}, 0.1, "", {}, true};
    };
    expectParamTable(*plugin, "filter",
                     {range("HorizontalRange", "Horizontal range", "horizontalrange"),
                      range("VerticalRange", "Vertical range", "verticalrange"),
                      {"Channels", "Channels", "Channels", "Group", "null", {}, {}, {}, "", {}, false},
                      {"Red", "Red", "red", "Boolean", "true", {}, {}, {}, "Channels", {}, true},
                      {"Green", "Green", "green", "Boolean", "true", {}, {}, {}, "Channels", {}, true},
                      {"Blue", "Blue", "blue", "Boolean", "true", {}, {}, {}, "Channels", {}, true},
                      {"Alpha", "Alpha", "alpha", "Boolean", "true", {}, {}, {}, "Channels", {}, true}});
    for (const char* name : {"HorizontalRange", "VerticalRange"}) {
        const auto& p = desc.params().find(name)->props();
        EXPECT_EQ(p.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeNormalisedYAbsolute) << name;
        EXPECT_EQ(p.getDouble(kOfxParamPropDefault), 0.063) << name;
        EXPECT_EQ(p.getDouble(kOfxParamPropMax), 1.0) << name;
    }
}

// Radii are the ranges times the window's larger side: 0.1 and 0.05 of a
// 40 x 24 window are 4 and 2 pixels.
TEST_F(GaussianTest, RadiiFollowTheLargerSideInEveryVariant) {
    const auto source = ofxhost::ImageBuffer::testFrame(40, 24, Depth::Float, PixelOrder::RGBA, 7);
    auto inst = filterOn(*plugin, source);
    setRanges(*inst, 0.1, 0.05);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    expectFourVariants(*inst, {blurred(bytes, 4.0, 2.0), blurred(source, 4.0, 2.0)});
}

// The default, 0.063 of the larger side (here 35 x 50: 3.15 pixels both ways).
TEST_F(GaussianTest, DefaultsBlurBothWaysAlike) {
    const auto source = ofxhost::ImageBuffer::testFrame(35, 50, Depth::Float, PixelOrder::RGBA, 2);
    auto inst = filterOn(*plugin, source);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    expectFourVariants(*inst, {blurred(bytes, 50 * 0.063, 50 * 0.063), blurred(source, 50 * 0.063, 50 * 0.063)});
}

// Both ranges 0: a copy, to the bit. One range 0 still smooths that way a
// little (the kernel never narrows below a deviation of 0.6).
TEST_F(GaussianTest, ZeroRangesCopyAndOneZeroRangeStillSmooths) {
    auto source = ofxhost::ImageBuffer::testFrame(13, 9, Depth::Float, PixelOrder::RGBA, 4);
    source.setFloat(0, 0, 0, 1.75f);  // beyond 1: copied as it is
    auto inst = filterOn(*plugin, source);
    setRanges(*inst, 0.0, 0.0);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    expectFourVariants(*inst, {bytes, source});

    setRanges(*inst, 0.0, 0.5);
    EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Float, PixelOrder::BGRA}), blurred(source, 0.0, 6.5)), "");

    // Stripes that a vertical blur alone would leave as they are.
    ofxhost::ImageBuffer stripes(6, 4, Depth::Byte, PixelOrder::RGBA);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 6; ++x)
            for (int c = 0; c < 4; ++c) stripes.setByte(x, y, c, x % 2 ? 255 : 0);
    auto striped = filterOn(*plugin, stripes);
    setRanges(*striped, 0.0, 0.5);
    const auto out = renderVariant(*striped, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_EQ(firstDifference(out, blurred(stripes, 0.0, 3.0)), "");
    EXPECT_GT(out.byteAt(2, 1, 0), 0) << "a range of 0 still smooths a little";
    EXPECT_LT(out.byteAt(3, 1, 0), 255);
}

// A switched-off colour is left alone in both pixel orders: "Red" off keeps
// red, whichever memory position red has. Bytes blurred channel by channel
// keep colour within alpha.
TEST_F(GaussianTest, AColourSwitchedOffIsLeftAloneInBothOrders) {
    const auto source = ofxhost::ImageBuffer::testFrame(24, 16, Depth::Float, PixelOrder::RGBA, 9);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    struct Case {
        const char* off;
        std::array<bool, 4> on;
    };
    for (const Case& c : {Case{"Red", {false, true, true, true}}, Case{"Blue", {true, true, false, true}},
                          Case{"Green", {true, false, true, true}}}) {
        auto inst = filterOn(*plugin, source);
        setRanges(*inst, 0.125, 0.0625);
        inst->setValueText(c.off, "false");
        SCOPED_TRACE(c.off);
        expectFourVariants(*inst, {blurred(bytes, 3.0, 1.5, c.on), blurred(source, 3.0, 1.5, c.on)});
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const auto out = renderVariant(*inst, {Depth::Float, order});
            const int kept = c.on[0] ? (c.on[1] ? 2 : 1) : 0;
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 24; ++x) ASSERT_EQ(out.floatAt(x, y, kept), source.floatAt(x, y, kept));
        }
    }
}

// Alpha off with colour on: alpha stays the source's; in bytes the blurred
// colour that spreads over clear pixels is cut back to their alpha of 0,
// while floats keep it.
TEST_F(GaussianTest, AlphaOffKeepsAlphaAndBytesClampColourToIt) {
    ofxhost::ImageBuffer bytes(9, 3, Depth::Byte, PixelOrder::RGBA);
    ofxhost::ImageBuffer floats(9, 3, Depth::Float, PixelOrder::RGBA);
    for (int y = 0; y < 3; ++y) {
        for (int c = 0; c < 4; ++c) {
            bytes.setByte(4, y, c, 255);
            floats.setFloat(4, y, c, 1.0f);
        }
    }
    auto inst = filterOn(*plugin, floats);
    inst->setValueText("Alpha", "false");
    setRanges(*inst, 0.25, 0.0);
    const std::array<bool, 4> colour{true, true, true, false};
    expectFourVariants(*inst, {blurred(bytes, 2.25, 0.0, colour), blurred(floats, 2.25, 0.0, colour)});
    const auto outBytes = renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA});
    const auto outFloats = renderVariant(*inst, {Depth::Float, PixelOrder::BGRA});
    EXPECT_EQ(outBytes.byteAt(3, 1, 3), 0);
    EXPECT_EQ(outBytes.byteAt(3, 1, 0), 0) << "colour over a clear pixel is cut to its alpha";
    EXPECT_GT(outFloats.floatAt(3, 1, 0), 0.1f) << "floats are not clamped";
    EXPECT_EQ(outFloats.floatAt(3, 1, 3), 0.0f);
    EXPECT_LT(outBytes.byteAt(4, 1, 0), 255) << "the lit column itself spreads out";
}

// With every channel off there is nothing to blur, but the byte clamp of
// colour to alpha still runs (a copy only when both ranges are 0).
TEST_F(GaussianTest, AllChannelsOffCopiesWithTheByteClamp) {
    const std::vector<Rgba> in{{200, 10, 90, 100}, {50, 60, 70, 255}, {5, 0, 255, 0}};
    auto inst = filterOn(*plugin, rowImage(in, Depth::Byte));
    for (const char* name : {"Red", "Green", "Blue", "Alpha"}) inst->setValueText(name, "false");
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = renderVariant(*inst, {Depth::Byte, order});
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{100, 10, 90, 100}));
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{50, 60, 70, 255}));
        EXPECT_EQ(pixelAt(out, 2, 0), (Rgba{0, 0, 0, 0}));
    }
    setRanges(*inst, 0.0, 0.0);
    const auto copy = renderVariant(*inst, {Depth::Byte, PixelOrder::RGBA});
    EXPECT_EQ(pixelAt(copy, 0, 0), (Rgba{200, 10, 90, 100}));
}

// A constant picture of bytes stays as it is, the edges being the steady
// state (the filter's gain is within 0.15% of 1, so floats move slightly:
// they follow the reference); a one-pixel picture and one narrower than
// the kernel are valid windows.
TEST_F(GaussianTest, ConstantTinyAndNarrowPictures) {
    const auto flat = [](int w, int h) {
        ofxhost::ImageBuffer image(w, h, Depth::Byte, PixelOrder::RGBA);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 4; ++c) image.setByte(x, y, c, static_cast<uint8_t>(40 * c + 60));
        return image;
    };
    for (auto [w, h] : {std::pair{1, 1}, std::pair{3, 2}, std::pair{16, 5}}) {
        const auto source = flat(w, h);
        auto inst = filterOn(*plugin, source);
        setRanges(*inst, 1.0, 1.0);
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Byte, order}), source), "") << w << "x" << h;
            const auto floats = source.converted(Depth::Float, PixelOrder::RGBA);
            EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Float, order}),
                                      blurred(floats, std::max(w, h), std::max(w, h))),
                      "");
        }
    }
    const auto narrow = ofxhost::ImageBuffer::testFrame(3, 2, Depth::Byte, PixelOrder::RGBA, 5);
    auto inst = filterOn(*plugin, narrow);
    setRanges(*inst, 1.0, 0.5);
    EXPECT_EQ(firstDifference(renderVariant(*inst, {Depth::Byte, PixelOrder::BGRA}), blurred(narrow, 3.0, 1.5)), "");
}

// The window is blurred as a whole with its own edges, and its size sets
// the radii; nothing outside it is written.
TEST_F(GaussianTest, ARenderWindowIsBlurredAsAPictureOfItsOwn) {
    const auto source = ofxhost::ImageBuffer::testFrame(30, 20, Depth::Float, PixelOrder::RGBA, 11);
    auto inst = filterOn(*plugin, source);
    setRanges(*inst, 0.25, 0.125);
    gaussref::expectWindowIsAPicture(*inst, source, {4, 3, 20, 11}, [](const auto& crop) { return blurred(crop, 4.0, 2.0); });
}

// At half scale the window is half as large, and so are the radii: the
// render matches a full-scale render of the half-size source.
TEST_F(GaussianTest, RenderScaleHalvesTheRadii) {
    const auto source = ofxhost::ImageBuffer::testFrame(40, 28, Depth::Byte, PixelOrder::RGBA, 3);
    auto inst = filterOn(*plugin, source);
    setRanges(*inst, 0.2, 0.1);
    gaussref::expectHalfScale(*inst, source, [](const auto& small) { return blurred(small, 4.0, 2.0); });
}

TEST_F(GaussianTest, OnePictureInBothOrders) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(33, 21, Depth::Float, PixelOrder::RGBA, 6));
    gaussref::expectOnePictures(*inst, {{"defaults", nullptr}, {"blue and alpha off", [&] {
                                             setRanges(*inst, 0.3, 0.02);
                                             inst->setValueText("Blue", "false");
                                             inst->setValueText("Alpha", "false");
                                         }}});
}

// The kernels take the deviation's 2 ln 255 in single precision: a byte on
// a half may move one level, a float far less than 1e-6.
std::vector<ParityCase> gaussianCases() {
    return {
        {"gaussianblur", "", 1},
        {"gaussianblur", "HorizontalRange=7.4;VerticalRange=0", 1},
        {"gaussianblur", "HorizontalRange=0;VerticalRange=0"},
        {"gaussianblur", "HorizontalRange=3.7;VerticalRange=19;Alpha=false", 1},
        {"gaussianblur", "HorizontalRange=5;VerticalRange=2;Red=false", 1},
        {"gaussianblur", "HorizontalRange=5;VerticalRange=2;Green=false;Alpha=false", 1},
        {"gaussianblur", "HorizontalRange=5;VerticalRange=2;Red=false;Green=false;Blue=false;Alpha=false"},
    };
}

class GaussianOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(GaussianOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    const Variant variant = GetParam();
    expectParityCases(
        gaussianCases(), [&](ofxhost::Plugin& plugin) { return filterOn(plugin, edgeFrame(37, 19, variant)); },
        variant);
}

INSTANTIATE_TEST_SUITE_P(Variants, GaussianOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

// Hundreds of pixels, where single-precision coefficients would diverge.
TEST(GaussianOpenCLLargeRadius, StaysWithTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), kGaussian);
    for (const Variant& variant : {Variant{Depth::Byte, PixelOrder::BGRA}, Variant{Depth::Float, PixelOrder::RGBA}}) {
        auto inst = filterOn(*plugin, edgeFrame(600, 40, variant));
        for (const char* name : {"HorizontalRange", "VerticalRange"}) inst->setValue(name, number(0.9));
        expectOpenCLParity(*inst, variant, "range 0.9 of 600", 1e-5, 1);
    }
}

}  // namespace
