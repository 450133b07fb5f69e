#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "EffectTest.h"
#include "OpenCLParity.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::ImageBuffer;
using ofxhost::PixelOrder;

namespace {

const char* const kSharpen = "talvo.effects:sharpen";

// Amounts with the centre weight worked out by hand from the four pieces
// (on the amount as a float): the divisor is centre - 12.
struct Case {
    const char* amount;
    int centre;
};
const Case kCases[] = {
    {"1", 13},     {"0.7", 18},    {"0.5", 21},     {"0.3", 25},  {"0.25", 25}, {"0.2", 32},
    {"0.125", 44}, {"0.124", 55},  {"0.1", 62},     {"0.063", 71}, {"0.0629", 72}, {"0.05", 77},
    {"2e-05", 100},
};

// The sharpening written out plainly over a whole RGBA image: every pixel
// reads its nine neighbours, those beyond the image taken from its edge.
int clampIndex(int i, int n) { return std::min(std::max(i, 0), n - 1); }

ImageBuffer sharpenBytes(const ImageBuffer& in, int centre) {
    const int k[9] = {-1, -2, -1, -2, centre, -2, -1, -2, -1};
    const int divisor = centre - 12;
    ImageBuffer out(in.width(), in.height(), Depth::Byte, PixelOrder::RGBA);
    for (int y = 0; y < in.height(); ++y) {
        for (int x = 0; x < in.width(); ++x) {
            int v[4];
            for (int c = 0; c < 4; ++c) {
                int sum = 0;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        sum += k[(dy + 1) * 3 + dx + 1] *
                               in.byteAt(clampIndex(x + dx, in.width()), clampIndex(y + dy, in.height()), c);
                v[c] = std::clamp(sum / divisor, 0, 255);
            }
            for (int c = 0; c < 3; ++c) out.setByte(x, y, c, static_cast<std::uint8_t>(std::min(v[c], v[3])));
            out.setByte(x, y, 3, static_cast<std::uint8_t>(v[3]));
        }
    }
    return out;
}

ImageBuffer sharpenFloats(const ImageBuffer& in, int centre) {
    const float d = static_cast<float>(centre - 12);
    const float w[9] = {-1 / d, -2 / d, -1 / d, -2 / d, static_cast<float>(centre) / d, -2 / d, -1 / d, -2 / d, -1 / d};
    ImageBuffer out(in.width(), in.height(), Depth::Float, PixelOrder::RGBA);
    for (int y = 0; y < in.height(); ++y) {
        for (int x = 0; x < in.width(); ++x) {
            float v[4];
            for (int c = 0; c < 4; ++c) {
                float sum = 0.0f;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        sum += w[(dy + 1) * 3 + dx + 1] *
                               in.floatAt(clampIndex(x + dx, in.width()), clampIndex(y + dy, in.height()), c);
                v[c] = sum;
            }
            const float a = v[3] < 0.0f ? 0.0f : (v[3] > 1.0f ? 1.0f : v[3]);
            for (int c = 0; c < 3; ++c) out.setFloat(x, y, c, v[c] > a ? a : v[c]);
            out.setFloat(x, y, 3, a);
        }
    }
    return out;
}

// Noise in every channel: bytes of any value (colour above alpha too), and
// floats from below 0 to above 1, alpha from 0 to a little above 1.
ImageBuffer noise(int width, int height, Depth depth, std::uint32_t seed) {
    ImageBuffer image(width, height, depth, PixelOrder::RGBA);
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> colour(-0.5f, 1.5f), alpha(0.0f, 1.2f);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 4; ++c) {
                if (depth == Depth::Byte)
                    image.setByte(x, y, c, static_cast<std::uint8_t>(random() & 0xFF));
                else
                    image.setFloat(x, y, c, c == 3 ? alpha(random) : colour(random));
            }
    return image;
}

class SharpenTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kSharpen);

    ImageBuffer render(const ImageBuffer& source, const std::string& amount, Depth depth, PixelOrder order) {
        auto inst = filterOn(*plugin, source);
        inst->setValueText("amount", amount);
        return renderVariant(*inst, {depth, order});
    }
};

TEST_F(SharpenTest, DescribesItsDeclarationAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Sharpen");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Blur");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1730);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{ECFE0463-09E4-11D2-9AAB-00A0C99B12C5}"}));
    expectParamTable(*plugin, "filter", {{"amount", "Amount", "amount", "Double", "0.5", {0, 1}, {0, 1}, 0.05, "", {}}});
}

// A float impulse in the middle of 3 x 3 reads the kernel back: the corner
// pixel gets the corner weight -1 / divisor, the edge pixel -2 / divisor,
// which no clamp touches. The divisor follows each piece of the rule; at
// 0.063 the amount as a float (0.0630000010) is in the third piece, where
// the double would have been in the fourth (centre 72).
TEST_F(SharpenTest, CentreFollowsTheFourPiecesOnTheAmountAsAFloat) {
    ImageBuffer impulse(3, 3, Depth::Float, PixelOrder::RGBA);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) {
            for (int c = 0; c < 3; ++c) impulse.setFloat(x, y, c, 0.0f);
            impulse.setFloat(x, y, 3, 1.0f);
        }
    impulse.setFloat(1, 1, 0, 1.0f);
    for (const Case& k : kCases) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const auto out = render(impulse, k.amount, Depth::Float, order);
            const float divisor = static_cast<float>(k.centre - 12);
            EXPECT_EQ(out.floatAt(0, 0, 0), -1.0f / divisor) << "amount " << k.amount;
            EXPECT_EQ(out.floatAt(1, 0, 0), -2.0f / divisor) << "amount " << k.amount;
            EXPECT_EQ(out.floatAt(2, 2, 0), -1.0f / divisor) << "amount " << k.amount;
            EXPECT_EQ(out.floatAt(0, 0, 1), 0.0f);
        }
    }
}

// On one row every kernel row reads the same pixels: the columns weigh
// -4, centre - 4, -4. With 50, 60, 50 the middle is 60 + 80 / divisor and
// the ends 50 - 40 / divisor, truncated: at 0.25 (centre 25, divisor 13)
// 66 and 46; at 0.124 (centre 55) 61 and 49; at 1 (divisor 1) 140 and 10.
TEST_F(SharpenTest, BytesDivideWithTruncation) {
    const auto row = rowImage({{50, 50, 50, 255}, {60, 60, 60, 255}, {50, 50, 50, 255}}, Depth::Byte);
    const std::pair<const char*, std::pair<int, int>> pins[] = {{"0.25", {66, 46}}, {"0.124", {61, 49}}, {"1", {140, 10}}};
    for (const auto& [amount, want] : pins) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const auto out = render(row, amount, Depth::Byte, order);
            EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{float(want.first), float(want.first), float(want.first), 255}))
                << amount;
            EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{float(want.second), float(want.second), float(want.second), 255}))
                << amount;
            EXPECT_EQ(pixelAt(out, 2, 0), pixelAt(out, 0, 0)) << amount;
        }
    }
}

// At amount 1 the kernel is whole numbers over 1: the middle of a row is
// -4 s0 + 9 s1 - 4 s2 and its left end 5 s0 - 4 s1. Bytes convolve alpha
// too and clamp every channel; then colour is held to the new alpha.
// Floats leave colour unclamped below 0, hold alpha to 0..1 and colour to
// alpha.
TEST_F(SharpenTest, AlphaIsConvolvedAndColourHeldToIt) {
    const auto bytes = rowImage({{10, 20, 50, 100}, {30, 40, 5, 110}, {10, 20, 50, 100}}, Depth::Byte);
    const auto floats = rowImage({{0.25f, 0.5f, 0.125f, 0.5f}, {0.75f, -0.5f, 2.0f, 0.75f}, {0.25f, 0.5f, 0.125f, 0.5f}},
                                 Depth::Float);
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        auto out = render(bytes, "1", Depth::Byte, order);
        // Alpha 990 - 800 = 190; red 190; green 200 held to 190; blue < 0.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{190, 190, 0, 190}));
        // Alpha 500 - 440 = 60; red, green below 0; blue 230 held to 60.
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0, 0, 60, 60}));

        out = render(floats, "1", Depth::Float, order);
        // Red 4.75 and blue 17 held to alpha 2.75, itself held to 1; green
        // -8.5 stays.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{1.0f, -8.5f, 1.0f, 1.0f}));
        // Left end: red -1.75, green 4.5 to alpha -0.5 held to 0, blue -7.375.
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{-1.75f, 0.0f, -7.375f, 0.0f}));
    }
}

// Every neighbour of a lone pixel is the pixel itself: the kernel's unit
// sum gives it back, colour then held to alpha.
TEST_F(SharpenTest, OnePixelImageComesBackHeldToAlpha) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        EXPECT_EQ(pixelAt(render(rowImage({{200, 10, 100, 150}}, Depth::Byte), "0.5", Depth::Byte, order), 0, 0),
                  (Rgba{150, 10, 100, 150}));
        EXPECT_EQ(pixelAt(render(rowImage({{0.5f, 1.5f, -0.25f, 0.75f}}, Depth::Float), "1", Depth::Float, order), 0, 0),
                  (Rgba{0.5f, 0.75f, -0.25f, 0.75f}));
        // Alpha 0 takes all colour away.
        EXPECT_EQ(pixelAt(render(rowImage({{200, 10, 100, 0}}, Depth::Byte), "0.3", Depth::Byte, order), 0, 0),
                  (Rgba{0, 0, 0, 0}));
    }
}

// No sharpening at all at or below 1e-5: a copy, to the bit, which leaves
// colour above alpha and floats out of range as they are.
TEST_F(SharpenTest, TinyAmountsCopyTheSource) {
    for (const char* amount : {"0", "1e-05"}) {
        for (Depth depth : {Depth::Byte, Depth::Float}) {
            const auto source = noise(9, 7, depth, 11);
            for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
                const auto out = render(source, amount, depth, order);
                EXPECT_EQ(firstDifference(out, source), "") << amount << " " << ofxhost::depthName(depth);
            }
        }
    }
    // Just above the cut-off the centre is 100.
    const auto source = noise(9, 7, Depth::Byte, 12);
    EXPECT_EQ(firstDifference(render(source, "2e-05", Depth::Byte, PixelOrder::RGBA), sharpenBytes(source, 100)), "");
}

// Every pixel of noisy images of awkward sizes, for each piece of the rule,
// in the four variants, against the plain sharpening above. With three
// host threads the taller images are split into bands, whose edges must
// read their neighbours across the split.
TEST_F(SharpenTest, EveryPixelFollowsThePlainConvolution) {
    const std::pair<int, int> sizes[] = {{1, 1}, {1, 6}, {6, 1}, {2, 2}, {7, 5}, {13, 17}};
    std::uint32_t seed = 1;
    for (const auto& [w, h] : sizes) {
        for (Depth depth : {Depth::Byte, Depth::Float}) {
            const auto source = noise(w, h, depth, seed++);
            const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
            const auto floats = source.converted(Depth::Float, PixelOrder::RGBA);
            for (const Case& k : kCases) {
                SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " amount " + k.amount);
                auto inst = filterOn(*plugin, source);
                inst->setValueText("amount", k.amount);
                expectFourVariants(*inst, {sharpenBytes(bytes, k.centre), sharpenFloats(floats, k.centre)});
            }
        }
    }
}

// The kernel's edges are those of the render window: the source the host
// gives is the window, and the pixels around it are not read.
TEST_F(SharpenTest, EdgesAreTheRenderWindows) {
    const auto source = noise(9, 8, Depth::Byte, 21);
    auto inst = filterOn(*plugin, source);
    inst->setValueText("amount", "0.7");
    ofxhost::RenderOptions options;
    options.window = ofxhost::RectI{2, 1, 7, 6};
    options.poison = true;
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    ImageBuffer inner(5, 5, Depth::Byte, PixelOrder::RGBA);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 4; ++c) inner.setByte(x, y, c, source.byteAt(x + 2, y + 1, c));
    const auto want = sharpenBytes(inner, 18);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x) ASSERT_EQ(pixelAt(out, x + 2, y + 1), pixelAt(want, x, y)) << x << "," << y;
}

// One picture however many threads split the rows.
TEST_F(SharpenTest, ThreadsDoNotChangeThePicture) {
    const auto source = ImageBuffer::testFrame(61, 47, Depth::Byte, PixelOrder::RGBA, 4);
    ofxhost::HostConfig one;
    one.threads = 1;
    auto single = loadEffect(quietHost(one), kSharpen);
    ofxhost::HostConfig many;
    many.threads = 16;
    auto several = loadEffect(quietHost(many), kSharpen);
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        auto a = filterOn(*single, source);
        auto b = filterOn(*several, source);
        a->setValueText("amount", "0.8");
        b->setValueText("amount", "0.8");
        const auto first = renderVariant(*a, {depth, PixelOrder::BGRA});
        EXPECT_EQ(firstDifference(renderVariant(*b, {depth, PixelOrder::BGRA}), first), "");
    }
}

// A proxy render sharpens the host's half-size source with the same
// 3 x 3 kernel: the kernel is in pixels of the render.
TEST_F(SharpenTest, HalfScaleSharpensTheScaledSource) {
    const auto source = noise(16, 12, Depth::Byte, 31);
    auto inst = filterOn(*plugin, source);
    ofxhost::RenderOptions options;
    options.renderScale = 0.5;
    options.poison = true;
    inst->setValueText("amount", "0");
    auto scaled = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, scaled), kOfxStatOK);
    ASSERT_EQ(scaled.width(), 8);
    inst->setValueText("amount", "0.5");
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    EXPECT_EQ(firstDifference(out, sharpenBytes(scaled.converted(Depth::Byte, PixelOrder::RGBA), 21)), "");
}

TEST_F(SharpenTest, OnePictureInBothOrders) {
    const auto source = ImageBuffer::testFrame(23, 13, Depth::Float, PixelOrder::RGBA, 8);
    auto inst = filterOn(*plugin, source);
    for (const char* amount : {"0.5", "0.9", "0.08"}) {
        inst->setValueText("amount", amount);
        expectOnePicture(*inst, Depth::Byte, std::string("amount ") + amount);
        expectOnePicture(*inst, Depth::Float, std::string("amount ") + amount);
    }
}

// The kernels on the host's OpenCL device against the processor, on the
// edge frame at 37 x 19 (no multiple of a work-group shape), at each piece
// of the rule, its edges, and the copy.
class SharpenOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(SharpenOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    std::vector<ParityCase> cases;
    for (const char* amount : {"0", "1e-05", "2e-05", "0.05", "0.063", "0.1", "0.124", "0.125", "0.2", "0.25", "0.5",
                               "0.85", "1"})
        cases.push_back({"sharpen", std::string("amount=") + amount});
    const Variant variant = GetParam();
    expectParityCases(cases, [&](ofxhost::Plugin& p) { return filterOn(p, edgeFrame(37, 19, variant)); }, variant);
}

INSTANTIATE_TEST_SUITE_P(Variants, SharpenOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
