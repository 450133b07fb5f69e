#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "EffectTest.h"
#include "GaussianReference.h"
#include "ofxhost/Json.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

const char* const kLinear = "talvo.effects:linearblur";
const char* const kGaussian = "talvo.effects:gaussianblur";

using gaussref::number;
const auto gaussian = [](const ofxhost::ImageBuffer& src, double h, double v) { return gaussref::blurred(src, h, v); };

// Linear interpolation of two samples by a weight in 1/16384ths of the
// second: bytes round half up, floats weigh exactly.
double mix(bool bytes, double a, double b, int64_t f) {
    if (bytes) return static_cast<double>((static_cast<int64_t>(a) * (16384 - f) + static_cast<int64_t>(b) * f + 8192) >> 14);
    const float w = static_cast<float>(f) / 16384.0f;
    return static_cast<float>(a) * (1.0f - w) + static_cast<float>(b) * w;
}

// The sheared blur written out plainly for square pixels at full scale:
// lines (columns for a mostly horizontal blur, rows otherwise) slide along
// themselves in proportion to their index, the result is blurred along one
// axis and slid back.
ofxhost::ImageBuffer linearReference(const ofxhost::ImageBuffer& src, double angleDegrees, double amount) {
    const double pi = 3.141592653589793;
    const int w = src.width(), h = src.height();
    const bool bytes = src.depth() == Depth::Byte;
    const double a2 = std::fmod(angleDegrees, 180.0) * pi / 180.0;
    const double a1 = std::fmod(360.0 - angleDegrees, 180.0) * pi / 180.0;
    const double len = std::max(w, h) * amount;
    // The sector decides the axis and which end of the image slides most.
    const bool rows = a1 < pi / 4 || a1 >= 3 * pi / 4;
    const bool reversed = a1 >= pi / 2;
    const double slope = a1 < pi / 4 ? std::tan(a1)
                         : a1 < pi / 2 ? std::tan(pi / 2 - a1)
                         : a1 < 3 * pi / 4 ? std::tan(a1 - pi / 2)
                                           : std::tan(pi - a1);
    const int lines = rows ? w : h, along = rows ? h : w;
    const int64_t shear = static_cast<int64_t>(slope * lines * 16384.0);
    const int extra = static_cast<int>((shear + 16383) / 16384);
    std::vector<int64_t> offset(lines);
    for (int j = 0; j < lines; ++j) offset[j] = (reversed ? lines - 1 - j : j) * shear / lines;

    auto get = [&](const ofxhost::ImageBuffer& img, int j, int k, int c, int n) -> double {
        if (k < 0 || k >= n) return 0.0;
        return rows ? pixelAt(img, j, k)[c] : pixelAt(img, k, j)[c];
    };
    auto put = [&](ofxhost::ImageBuffer& img, int j, int k, int c, double v) {
        const int x = rows ? j : k, y = rows ? k : j;
        if (bytes)
            img.setByte(x, y, c, static_cast<uint8_t>(v));
        else
            img.setFloat(x, y, c, static_cast<float>(v));
    };
    ofxhost::ImageBuffer scratch(rows ? w : w + extra, rows ? h + extra : h, src.depth(), PixelOrder::RGBA);
    for (int j = 0; j < lines; ++j) {
        const int64_t i = offset[j] >> 14, f = offset[j] & 16383;
        for (int k = 0; k < along + extra; ++k)
            for (int c = 0; c < 4; ++c)
                put(scratch, j, k, c, mix(bytes, get(src, j, k - i, c, along), get(src, j, k - i - 1, c, along), f));
    }
    const auto blurred = rows ? gaussian(scratch, std::cos(a2) * len, 0.0)
                              : gaussian(scratch, 0.0, std::cos(pi / 2 - a2) * len);
    ofxhost::ImageBuffer out = src.clone();
    for (int j = 0; j < lines; ++j) {
        const int64_t i = offset[j] >> 14, f = offset[j] & 16383;
        for (int k = 0; k < along; ++k)
            for (int c = 0; c < 4; ++c) {
                const double a = get(blurred, j, k + i, c, along + extra);
                put(out, j, k, c, f == 0 ? a : mix(bytes, a, get(blurred, j, k + i + 1, c, along + extra), f));
            }
    }
    return out;
}

class LinearTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kLinear);

    static void set(ofxhost::Instance& inst, double angle, double amount) {
        inst.setValue("Angle", number(angle));
        inst.setValue("Amount", number(amount));
    }
};

TEST_F(LinearTest, DeclaresItsGroupGuidAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Linear Blur");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Blur");
    auto& desc = plugin->describeInContext("filter");
    EXPECT_EQ(desc.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{8DBE8301-D9A5-4FD5-8901-1D8BF4D3A6C0}"}));
    expectParamTable(*plugin, "filter",
                     {{"Angle", "Angle", "angle", "Double", ofxhost::Json(0.0).dump(false), {0, 360}, {0, 360}, 0.1, "", {}, true},
                      {"Amount", "Amount", "amount", "Double", ofxhost::Json(0.0).dump(false), {0, 1}, {0, 1}, 0.1, "", {}, true}});
    EXPECT_EQ(desc.params().find("Angle")->props().getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeAngle);
}

// Amount 0 (the default) and anything up to a millionth copy to the bit,
// whatever the angle, values beyond 1 included.
TEST_F(LinearTest, NoAmountCopies) {
    auto source = ofxhost::ImageBuffer::testFrame(13, 9, Depth::Float, PixelOrder::RGBA, 4);
    source.setFloat(2, 3, 1, 1.5f);
    auto inst = filterOn(*plugin, source);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    expectFourVariants(*inst, {bytes, source});
    set(*inst, 33.0, 1e-6);
    expectFourVariants(*inst, {bytes, source});
}

// Angle 0 and 180 name one line: the same picture, and the horizontal-only
// form of Gaussian Blur at the same length. 90 is the vertical-only form.
TEST_F(LinearTest, AxisAnglesAreTheOneAxisGaussian) {
    const auto source = ofxhost::ImageBuffer::testFrame(30, 20, Depth::Float, PixelOrder::RGBA, 3);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto gaussPlugin = loadEffect(host, kGaussian);
    auto gauss = filterOn(*gaussPlugin, source);
    auto inst = filterOn(*plugin, source);

    // 0.2 of the larger side: 6 pixels.
    for (auto [angle, h, v] : {std::tuple{0.0, 6.0, 0.0}, {180.0, 6.0, 0.0}, {360.0, 6.0, 0.0}, {90.0, 0.0, 6.0},
                               {270.0, 0.0, 6.0}}) {
        SCOPED_TRACE(angle);
        gauss->setValue("HorizontalRange", number(h ? 0.2 : 0.0));
        gauss->setValue("VerticalRange", number(v ? 0.2 : 0.0));
        set(*inst, angle, 0.2);
        expectFourVariants(*inst, {gaussian(bytes, h, v), gaussian(source, h, v)});
        for (Variant var : kAllVariants)
            EXPECT_EQ(firstDifference(renderVariant(*inst, var), renderVariant(*gauss, var)), "");
    }
}

// A lone white pixel on black smears along a line at the parameter's angle
// counter-clockwise from the x axis (rows counting upwards), in each of the
// four sectors: the principal axis of the output's intensity, weighed about
// its centroid, lies at that angle and the centroid stays on the pixel.
// The slight smoothing across the sheared lines (the interpolations and the
// Gaussian's least width on its idle axis) lies along the shear axis, not
// across the line, and tilts the axis by a little under 2 degrees at a
// length of 9 pixels: the length here is 18.
TEST_F(LinearTest, ALonePixelSmearsAlongTheAngle) {
    const int n = 61, cx = 30, cy = 30;
    ofxhost::ImageBuffer dot(n, n, Depth::Float, PixelOrder::RGBA);
    for (int c = 0; c < 4; ++c) dot.setFloat(cx, cy, c, 1.0f);
    auto inst = filterOn(*plugin, dot);
    for (double angle : {30.0, 60.0, 120.0, 150.0, 210.0, 330.0}) {
        SCOPED_TRACE(angle);
        set(*inst, angle, 0.3);
        const auto out = renderVariant(*inst, {Depth::Float, PixelOrder::RGBA});
        double sum = 0, sx = 0, sy = 0;
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x) {
                const double v = out.floatAt(x, y, 3);
                sum += v;
                sx += v * x;
                sy += v * y;
            }
        const double mx = sx / sum, my = sy / sum;
        EXPECT_NEAR(mx, cx, 0.25);
        EXPECT_NEAR(my, cy, 0.25);
        double xx = 0, yy = 0, xy = 0;
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x) {
                const double v = out.floatAt(x, y, 3);
                xx += v * (x - mx) * (x - mx);
                yy += v * (y - my) * (y - my);
                xy += v * (x - mx) * (y - my);
            }
        double axis = 0.5 * std::atan2(2 * xy, xx - yy) * 180.0 / 3.141592653589793;
        if (axis < 0) axis += 180.0;
        EXPECT_NEAR(axis, std::fmod(angle, 180.0), 1.0);
        // Far stronger along the line than across it.
        const double along = 0.5 * (xx + yy) + std::sqrt(0.25 * (xx - yy) * (xx - yy) + xy * xy);
        const double across = 0.5 * (xx + yy) - std::sqrt(0.25 * (xx - yy) * (xx - yy) + xy * xy);
        EXPECT_GT(along, 8 * across);
    }
}

// The shear itself at 30 degrees on a small picture: the columns of a
// 7-wide picture slide by tan 30 rows each, so the light of a lone pixel in
// column 0, row 2, blurred along the sheared rows, comes back in column 6 at
// the height the line says: 2 + 6 tan 30 = 5.46.
TEST_F(LinearTest, ShearFollowsTheLine) {
    ofxhost::ImageBuffer dot(7, 12, Depth::Float, PixelOrder::RGBA);
    for (int c = 0; c < 4; ++c) dot.setFloat(0, 2, c, 1.0f);
    auto inst = filterOn(*plugin, dot);
    set(*inst, 30.0, 2.0 / 12.0 * 3.0);
    const auto out = renderVariant(*inst, {Depth::Float, PixelOrder::BGRA});
    // In column 6 the light peaks between rows 5 and 6 (2 + 3.46 = 5.46).
    int peak = 0;
    for (int y = 1; y < 12; ++y)
        if (out.floatAt(6, y, 3) > out.floatAt(6, peak, 3)) peak = y;
    EXPECT_TRUE(peak == 5 || peak == 6) << peak;
    EXPECT_GT(out.floatAt(6, 5, 3), out.floatAt(6, 3, 3));
    EXPECT_GT(out.floatAt(6, 6, 3), out.floatAt(6, 8, 3));
    EXPECT_LT(out.floatAt(6, 0, 3), 1e-3f * out.floatAt(6, peak, 3)) << "the line does not pass low in column 6";
}

// The full arithmetic against the plain reference in every sector and
// variant: 14-bit offsets, byte rounding at both shears and in the blur.
TEST_F(LinearTest, EverySectorMatchesTheReference) {
    const auto source = ofxhost::ImageBuffer::testFrame(21, 14, Depth::Float, PixelOrder::RGBA, 8);
    const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
    auto inst = filterOn(*plugin, source);
    for (double angle : {20.0, 44.0, 70.0, 100.0, 135.5, 170.0, 200.0, 315.0}) {
        SCOPED_TRACE(angle);
        set(*inst, angle, 0.3);
        expectFourVariants(*inst, {linearReference(bytes, angle, 0.3), linearReference(source, angle, 0.3)});
    }
}

// A one-pixel picture and a long thin one at steep angles.
TEST_F(LinearTest, TinyAndThinPictures) {
    for (auto [w, h, angle, amount] : {std::tuple{1, 1, 45.0, 1.0}, {40, 2, 80.0, 0.5}}) {
        const auto src = ofxhost::ImageBuffer::testFrame(w, h, Depth::Float, PixelOrder::RGBA, w == 1 ? 5 : 6);
        auto inst = filterOn(*plugin, src);
        set(*inst, angle, amount);
        expectFourVariants(*inst, {linearReference(src.converted(Depth::Byte, PixelOrder::RGBA), angle, amount),
                                   linearReference(src, angle, amount)});
    }
}

// At half scale on both axes the window and the length halve and the angle
// stays: the render matches a full-scale render of the half-size source.
TEST_F(LinearTest, HalfScaleHalvesTheLength) {
    const auto source = ofxhost::ImageBuffer::testFrame(40, 28, Depth::Byte, PixelOrder::RGBA, 3);
    const auto small = source.resized(20, 14);
    auto inst = filterOn(*plugin, source);
    for (double angle : {20.0, 90.0, 125.0}) {
        SCOPED_TRACE(angle);
        set(*inst, angle, 0.25);
        gaussref::expectHalfScale(*inst, source, [&](const auto& small) { return linearReference(small, angle, 0.25); });
    }
}

TEST_F(LinearTest, OnePictureInBothOrders) {
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(33, 21, Depth::Float, PixelOrder::RGBA, 6));
    gaussref::expectOnePictures(*inst, {{"defaults", nullptr},
                                        {"37 degrees", [&] { set(*inst, 37.0, 0.2); }},
                                        {"118 degrees", [&] { set(*inst, 118.0, 0.4); }}});
}

}  // namespace
