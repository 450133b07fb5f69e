#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "OpenCLParity.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;
using ofxhost::Quality;

namespace {

const char* const kRadial = "talvo.effects:radialblur";

// One render at a given quality, on a strict host's poisoned output.
ofxhost::ImageBuffer renderAt(ofxhost::Instance& inst, Depth depth, PixelOrder order, Quality quality) {
    ofxhost::RenderOptions options;
    options.depth = depth;
    options.order = order;
    options.quality = quality;
    options.poison = true;
    auto out = inst.makeOutput(options);
    EXPECT_EQ(inst.render(0.0, options, out), kOfxStatOK);
    return out;
}

// The recursive scan written out plainly: the output starts as the source;
// quadrant by quadrant (up-left, up-right, down-left, down-right, the
// centre's row and column with the first two), rows and then columns going
// outward, each pixel takes keep/65536 of a sample nearer the centre in the
// output so far and add/65536 of its source. `cx`, `cy` are given by hand.
struct Setting {
    int cx, cy;
    bool proportional;
    double strength;
    bool bilinear;
};

ofxhost::ImageBuffer radialReference(const ofxhost::ImageBuffer& src, const Setting& set) {
    const int w = src.width(), h = src.height();
    const bool bytes = src.depth() == Depth::Byte;
    const double s = std::min(w, h) / 300.0, p = set.strength;
    const double ring = p * p + 1.0;
    const double along = std::min(std::pow(p, 1.5) * 0.018 / s, 1.0);
    const int keep = static_cast<int>(std::pow(std::pow(p, 1.0 / s), 0.25) * 65536), add = 65536 - keep;
    const float keepF = static_cast<float>(keep / 65536.0), addF = static_cast<float>(add / 65536.0);
    ofxhost::ImageBuffer out = src.clone();
    if (keep == 0) return out;
    auto get = [&](int x, int y, int c) -> double {
        if (x >= w || y >= h) return 0.0;
        return bytes ? out.byteAt(x, y, c) : out.floatAt(x, y, c);
    };
    struct Span { int from, to, step; };
    const Span rows[4] = {{set.cy, -1, -1}, {set.cy, -1, -1}, {set.cy + 1, h, 1}, {set.cy + 1, h, 1}};
    const Span cols[4] = {{set.cx, -1, -1}, {set.cx + 1, w, 1}, {set.cx, -1, -1}, {set.cx + 1, w, 1}};
    for (int q = 0; q < 4; ++q) {
        for (int y = rows[q].from; y != rows[q].to && rows[q].from != rows[q].to; y += rows[q].step) {
            for (int x = cols[q].from; x != cols[q].to && cols[q].from != cols[q].to; x += cols[q].step) {
                if (x == set.cx && y == set.cy) continue;
                const int dx = set.cx - x, dy = set.cy - y;
                double sx = set.cx, sy = set.cy;
                if (set.proportional) {
                    sx = x + dx * along;
                    sy = y + dy * along;
                } else if (std::sqrt(double(dx * dx + dy * dy)) > ring) {
                    const double k = ring / std::sqrt(double(dx * dx + dy * dy));
                    sx = x + dx * k;
                    sy = y + dy * k;
                }
                const int ix = int(sx), iy = int(sy);
                const int fx = int((sx - ix) * 256), fy = int((sy - iy) * 256);
                for (int c = 0; c < 4; ++c) {
                    if (bytes) {
                        int sample = int(get(ix, iy, c));
                        if (set.bilinear)
                            sample = (int(get(ix, iy, c)) * (256 - fx) * (256 - fy) +
                                      int(get(ix + 1, iy, c)) * fx * (256 - fy) +
                                      int(get(ix, iy + 1, c)) * (256 - fx) * fy + int(get(ix + 1, iy + 1, c)) * fx * fy) >>
                                     16;
                        out.setByte(x, y, c, uint8_t((sample * keep + src.byteAt(x, y, c) * add) >> 16));
                    } else {
                        float sample = float(get(ix, iy, c));
                        if (set.bilinear)
                            sample = (((float(get(ix, iy, c)) * float((256 - fx) * (256 - fy)) +
                                        float(get(ix + 1, iy, c)) * float(fx * (256 - fy))) +
                                       float(get(ix, iy + 1, c)) * float((256 - fx) * fy)) +
                                      float(get(ix + 1, iy + 1, c)) * float(fx * fy)) *
                                     (1.0f / 65536.0f);
                        out.setFloat(x, y, c, sample * keepF + src.floatAt(x, y, c) * addF);
                    }
                }
            }
        }
    }
    return out;
}

class RadialBlurTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kRadial);
};

TEST_F(RadialBlurTest, DeclaresItsGroupGuidAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Radial Blur");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Blur");
    auto& desc = plugin->describeInContext("filter");
    EXPECT_EQ(desc.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{B6DEE028-D0BE-4A5A-8EFC-8C53B39618F9}"}));
    expectParamTable(*plugin, "filter",
                     {{"Center", "Center", "center", "Double2D", "[0.5,0.5]", {0, 1, 0, 1}, {0, 1, 0, 1}, 0.1, "", {}, true},
                      {"Type", "Type", "type", "Choice", "0", {}, {}, {}, "", {"Proportional", "Fixed radius", "Gaussian"}},
                      {"Strength", "Strength", "strength", "Double", "0", {0, 1}, {0, 1}, 0.1, "", {}, true}});
}

// Strength 0 keeps nothing of the sample: the source to the bit.
TEST_F(RadialBlurTest, StrengthZeroIsTheSource) {
    const auto source = ofxhost::ImageBuffer::testFrame(23, 17, Depth::Float, PixelOrder::RGBA, 3);
    auto inst = filterOn(*plugin, source);
    for (const char* type : {"0", "1", "2"}) {
        inst->setValueText("Type", type);
        expectFourVariants(*inst, {source.converted(Depth::Byte, PixelOrder::RGBA), source});
    }
}

// A 300 x 300 picture makes the size unit 1, so strength 1/16 gives
// keep = (1/16)^0.25 * 65536 = 32768: an even mix. Centre (150, 150).
// Row 150 is 100 but for the centre 40, (151, 150) 200 and (0, 150) 200.
ofxhost::ImageBuffer handPicture() {
    ofxhost::ImageBuffer image(300, 300, Depth::Byte, PixelOrder::RGBA);
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 300; ++x)
            for (int c = 0; c < 4; ++c) image.setByte(x, y, c, 100);
    for (int c = 0; c < 4; ++c) {
        image.setByte(150, 150, c, 40);
        image.setByte(151, 150, c, 200);
        image.setByte(0, 150, c, 200);
    }
    return image;
}

// Fixed radius: the ring is 1 + 1/256. (151, 150) lies within it and mixes
// with the centre: (40 + 200) / 2 = 120. (152, 150) samples at
// 152 - 2 * 1.00390625 / 2 = 150.99609375: truncated, the centre again,
// (40 + 100) / 2 = 70; bilinear, 1/256 of the centre and 255/256 of the
// blurred 120 beside it: (40 * 256 + 120 * 65280) >> 16 = 119, and
// (119 + 100) / 2 truncates to 109. The blurred 120 being read, not the
// source's 200, is the recursion.
TEST_F(RadialBlurTest, FixedRadiusByHand) {
    auto inst = filterOn(*plugin, handPicture());
    inst->setValueText("Type", "1");
    inst->setValueText("Strength", "0.0625");
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto off = renderAt(*inst, Depth::Byte, order, Quality::Preview);
        EXPECT_EQ(pixelAt(off, 150, 150), (Rgba{40, 40, 40, 40})) << "the centre is copied";
        EXPECT_EQ(pixelAt(off, 151, 150), (Rgba{120, 120, 120, 120}));
        EXPECT_EQ(pixelAt(off, 152, 150), (Rgba{70, 70, 70, 70}));
        const auto on = renderAt(*inst, Depth::Byte, order, Quality::Best);
        EXPECT_EQ(pixelAt(on, 151, 150), (Rgba{120, 120, 120, 120}));
        EXPECT_EQ(pixelAt(on, 152, 150), (Rgba{109, 109, 109, 109}));
        // Good is the lowest quality that samples between pixels.
        EXPECT_EQ(pixelAt(renderAt(*inst, Depth::Byte, order, Quality::Good), 152, 150), pixelAt(on, 152, 150));
    }
    // "Gaussian" steps as "Fixed radius" does.
    const auto fixed = renderAt(*inst, Depth::Byte, PixelOrder::RGBA, Quality::Best);
    inst->setValueText("Type", "2");
    EXPECT_EQ(firstDifference(renderAt(*inst, Depth::Byte, PixelOrder::RGBA, Quality::Best), fixed), "");
}

// Proportional: the step is (1/16)^1.5 * 0.018 = 0.00028125 of the distance.
// From (0, 150), 150 pixels out, the sample lies 0.0421875 inward: truncated,
// the pixel itself, (200 + 200) / 2 = 200; bilinear, fraction 10/256 of the
// neighbour (100, the row between being even): (200 * 62976 + 100 * 2560)
// >> 16 = 196, then (196 + 200) / 2 = 198. Next to the centre the fraction
// truncates to 0 and the pixel stays: (149, 150) is 100 both ways.
TEST_F(RadialBlurTest, ProportionalByHand) {
    auto inst = filterOn(*plugin, handPicture());
    inst->setValueText("Strength", "0.0625");
    const auto off = renderAt(*inst, Depth::Byte, PixelOrder::BGRA, Quality::Draft);
    const auto on = renderAt(*inst, Depth::Byte, PixelOrder::BGRA, Quality::Best);
    EXPECT_EQ(pixelAt(off, 0, 150), (Rgba{200, 200, 200, 200}));
    EXPECT_EQ(pixelAt(on, 0, 150), (Rgba{198, 198, 198, 198}));
    EXPECT_EQ(pixelAt(off, 149, 150), (Rgba{100, 100, 100, 100}));
    EXPECT_EQ(pixelAt(on, 149, 150), (Rgba{100, 100, 100, 100}));
}

// The scan against the plain reference, both qualities, in every variant.
TEST_F(RadialBlurTest, TypesStrengthsAndCentres) {
    const auto source = ofxhost::ImageBuffer::testFrame(41, 29, Depth::Float, PixelOrder::RGBA, 9);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto inst = filterOn(*plugin, source);
    struct Case {
        const char* center;
        int cx, cy;
        bool proportional;
        double strength;
    };
    // 41 * 0.3 = 12.3, 29 * 0.7 = 20.3; a centre at 1 is the last pixel.
    const Case cases[] = {{"0.5,0.5", 20, 14, true, 0.8},  {"0.5,0.5", 20, 14, false, 0.5},
                          {"0.3,0.7", 12, 20, false, 0.9}, {"0.3,0.7", 12, 20, true, 1.0},
                          {"1,1", 40, 28, false, 0.7},     {"0,1", 0, 28, true, 0.95},
                          {"1,0", 40, 0, false, 1.0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.center) + (c.proportional ? " proportional " : " fixed ") +
                     std::to_string(c.strength));
        inst->setValueText("Center", c.center);
        inst->setValueText("Type", c.proportional ? "0" : "1");
        inst->setValueText("Strength", std::to_string(c.strength));
        const Setting set{c.cx, c.cy, c.proportional, c.strength, true};
        expectFourVariants(*inst, {radialReference(bytes, set), radialReference(source, set)});
        Setting low = set;
        low.bilinear = false;
        const auto wantBytes = radialReference(bytes, low), wantFloats = radialReference(source, low);
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            EXPECT_EQ(firstDifference(renderAt(*inst, Depth::Byte, order, Quality::Preview), wantBytes), "");
            EXPECT_EQ(firstDifference(renderAt(*inst, Depth::Float, order, Quality::Preview), wantFloats), "");
        }
    }
}

// The centre at 1.0 is the last column and row, as at any position that
// truncates there; a centre just inside differs.
TEST_F(RadialBlurTest, CentreAtOneIsTheLastPixel) {
    const auto source = ofxhost::ImageBuffer::testFrame(20, 16, Depth::Byte, PixelOrder::RGBA, 2);
    auto inst = filterOn(*plugin, source);
    inst->setValueText("Type", "1");
    inst->setValueText("Strength", "0.9");
    inst->setValueText("Center", "1,1");
    const auto atOne = renderAt(*inst, Depth::Byte, PixelOrder::RGBA, Quality::Best);
    inst->setValueText("Center", "0.96,0.94");  // 19.2, 15.04
    EXPECT_EQ(firstDifference(renderAt(*inst, Depth::Byte, PixelOrder::RGBA, Quality::Best), atOne), "");
    inst->setValueText("Center", "0.94,0.94");  // 18.8
    EXPECT_NE(firstDifference(renderAt(*inst, Depth::Byte, PixelOrder::RGBA, Quality::Best), atOne), "");
}

// The centre and the size unit belong to the render window: a window of
// 25 x 17 inside the picture centres at (12, 8) of the window, and nothing
// outside it is written.
TEST_F(RadialBlurTest, TheWindowIsThePicture) {
    const auto source = ofxhost::ImageBuffer::testFrame(41, 29, Depth::Byte, PixelOrder::RGBA, 6);
    auto inst = filterOn(*plugin, source);
    inst->setValueText("Strength", "0.9");
    inst->setValueText("Type", "1");
    ofxhost::RenderOptions options;
    options.window = ofxhost::RectI{5, 3, 30, 20};
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    ofxhost::ImageBuffer crop(25, 17, Depth::Byte, PixelOrder::RGBA);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 25; ++x)
            for (int c = 0; c < 4; ++c) crop.setByte(x, y, c, source.byteAt(x + 5, y + 3, c));
    const auto want = radialReference(crop, {12, 8, false, 0.9, true});
    for (int y = 0; y < 29; ++y) {
        for (int x = 0; x < 41; ++x) {
            const bool inside = x >= 5 && x < 30 && y >= 3 && y < 20;
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(out.byteAt(x, y, c), inside ? want.byteAt(x - 5, y - 3, c) : 0) << x << "," << y;
        }
    }
}

TEST_F(RadialBlurTest, SmallPicturesAndOnePicture) {
    // One pixel is its own centre.
    auto one = filterOn(*plugin, rowImage({{0.25f, 0.5f, 2.0f, 1.0f}}, Depth::Float));
    one->setValueText("Strength", "1");
    EXPECT_EQ(pixelAt(renderVariant(*one, {Depth::Float, PixelOrder::BGRA}), 0, 0), (Rgba{0.25f, 0.5f, 2.0f, 1.0f}));
    // On a row of six the proportional step would pass the centre; it stops
    // there, and at strength 1 every pixel becomes the centre's.
    auto row = filterOn(*plugin, rowImage({{10, 0, 0, 255}, {20, 0, 0, 255}, {30, 0, 0, 255}, {40, 0, 0, 255},
                                           {50, 0, 0, 255}, {60, 0, 0, 255}},
                                          Depth::Byte));
    row->setValueText("Strength", "1");
    const auto out = renderAt(*row, Depth::Byte, PixelOrder::BGRA, Quality::Draft);
    for (int x = 0; x < 6; ++x) EXPECT_EQ(pixelAt(out, x, 0), (Rgba{40, 0, 0, 255})) << x;

    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(33, 21, Depth::Float, PixelOrder::RGBA, 4));
    expectOnePicture(*inst, Depth::Byte, "defaults");
    expectOnePicture(*inst, Depth::Float, "defaults");
    inst->setValueText("Strength", "0.85");
    inst->setValueText("Center", "0.2,0.6");
    expectOnePicture(*inst, Depth::Byte, "0.85");
    expectOnePicture(*inst, Depth::Float, "0.85");
    inst->setValueText("Type", "1");
    expectOnePicture(*inst, Depth::Byte, "fixed 0.85");
    expectOnePicture(*inst, Depth::Float, "fixed 0.85");
}

// The kernel runs the quadrants in waves of equal distance from the centre;
// the picture must be the processor's to the bit, floats included.
std::vector<ParityCase> radialCases() {
    return {
        {"radialblur", "Strength=0"},
        {"radialblur", "Strength=0.8"},
        {"radialblur", "Strength=0.6;Type=1"},
        {"radialblur", "Strength=0.95;Type=2;Center=0.3,0.8"},
        {"radialblur", "Strength=1;Center=1,0"},
        {"radialblur", "Strength=0.9;Type=1;Center=0,1"},
    };
}

class RadialBlurOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(RadialBlurOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    const Variant variant = GetParam();
    expectParityCases(
        radialCases(), [&](ofxhost::Plugin& plugin) { return filterOn(plugin, edgeFrame(37, 19, variant)); }, variant);

    // Below good quality the sample is the truncated position's pixel: to
    // the bit as well.
    auto inst = filterOn(*loadEffect(openCLHost(), kRadial), edgeFrame(37, 19, variant));
    for (const char* type : {"0", "1"}) {
        inst->setValueText("Type", type);
        inst->setValueText("Strength", "0.9");
        inst->setValueText("Center", "0.6,0.3");
        ofxhost::RenderOptions cpu;
        cpu.depth = variant.depth;
        cpu.order = variant.order;
        cpu.quality = Quality::Preview;
        ofxhost::RenderOptions gpu = cpu;
        gpu.openCL = true;
        auto want = inst->makeOutput(cpu), got = inst->makeOutput(gpu);
        ASSERT_EQ(inst->render(0.0, cpu, want), kOfxStatOK);
        ASSERT_EQ(inst->render(0.0, gpu, got), kOfxStatOK);
        EXPECT_EQ(firstDifference(got, want), "") << "type " << type;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, RadialBlurOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
