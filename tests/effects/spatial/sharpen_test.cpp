#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "SpatialTest.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using namespace spatialtest;

namespace {

const char* const kSharpen = "talvo.effects:sharpen";

// Amounts with the centre weight worked out by hand (amount as a float); divisor = centre - 12.
struct Case {
    const char* amount;
    int centre;
};
const Case kCases[] = {
    {"1", 13},     {"0.7", 18}, {"0.5", 21},   {"0.3", 25},    {"0.25", 25}, {"0.2", 32},    {"0.125", 44},
    {"0.124", 55}, {"0.1", 62}, {"0.063", 71}, {"0.0629", 72}, {"0.05", 77}, {"2e-05", 100},
};

// The sharpening written out plainly, edges repeated.
ImageBuffer sharpen(const ImageBuffer& in, int centre) {
    const bool bytes = in.depth() == Depth::Byte;
    const int k[9] = {-1, -2, -1, -2, centre, -2, -1, -2, -1}, divisor = centre - 12;
    ImageBuffer out(in.width(), in.height(), in.depth(), PixelOrder::RGBA);
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x) {
            float v[4];
            for (int c = 0; c < 4; ++c) {
                int isum = 0;       // bytes: whole numbers, then a truncating division
                float fsum = 0.0f;  // floats: weights k / divisor as floats
                for (int i = 0; i < 9; ++i) {
                    const float s = around(in, x, y, i, c);
                    isum += k[i] * static_cast<int>(s);
                    fsum += static_cast<float>(k[i]) / static_cast<float>(divisor) * s;
                }
                v[c] = bytes ? static_cast<float>(std::clamp(isum / divisor, 0, 255)) : fsum;
            }
            const float a = std::clamp(v[3], 0.0f, 1.0f * (bytes ? 255 : 1));
            for (int c = 0; c < 3; ++c) setChannel(out, x, y, c, std::min(v[c], a));
            setChannel(out, x, y, 3, a);
        }
    return out;
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
    expectParamTable(*plugin, "filter",
                     {{"amount", "Amount", "amount", "Double", "0.5", {0, 1}, {0, 1}, 0.05, "", {}}});
}

// A float impulse reads the kernel back: corner -1 / divisor, edge
// -2 / divisor, untouched by clamps. At 0.063 the float (0.0630000010) is in
// the third piece where the double would be in the fourth (centre 72).
TEST_F(SharpenTest, CentreFollowsTheFourPiecesOnTheAmountAsAFloat) {
    ImageBuffer impulse(3, 3, Depth::Float, PixelOrder::RGBA);
    for (int i = 0; i < 36; ++i) impulse.setFloat(i / 4 % 3, i / 12, i % 4, i % 4 == 3 || i == 16 ? 1.0f : 0.0f);
    for (const Case& k : kCases) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            SCOPED_TRACE(k.amount);
            const auto out = render(impulse, k.amount, Depth::Float, order);
            const float divisor = static_cast<float>(k.centre - 12);
            EXPECT_EQ(out.floatAt(0, 0, 0), -1.0f / divisor);
            EXPECT_EQ(out.floatAt(1, 0, 0), -2.0f / divisor);
            EXPECT_EQ(out.floatAt(2, 2, 0), -1.0f / divisor);
            EXPECT_EQ(out.floatAt(0, 0, 1), 0.0f);
        }
    }
}

// One row: columns weigh -4, centre - 4, -4. With 50, 60, 50 the middle is
// 60 + 80 / divisor, the ends 50 - 40 / divisor, truncated: 0.25 (divisor
// 13) 66 and 46; 0.124 (centre 55) 61 and 49; 1 (divisor 1) 140 and 10.
TEST_F(SharpenTest, BytesDivideWithTruncation) {
    const auto row = rowImage({{50, 50, 50, 255}, {60, 60, 60, 255}, {50, 50, 50, 255}}, Depth::Byte);
    const std::pair<const char*, std::pair<int, int>> pins[] = {
        {"0.25", {66, 46}}, {"0.124", {61, 49}}, {"1", {140, 10}}};
    for (const auto& [amount, want] : pins) {
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
            const auto out = render(row, amount, Depth::Byte, order);
            const float m = float(want.first), e = float(want.second);
            EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{m, m, m, 255})) << amount;
            EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{e, e, e, 255})) << amount;
            EXPECT_EQ(pixelAt(out, 2, 0), pixelAt(out, 0, 0)) << amount;
        }
    }
}

// Amount 1: a row's middle is -4 s0 + 9 s1 - 4 s2, its left end 5 s0 - 4 s1.
// Bytes convolve alpha too, clamp all, then hold colour to alpha. Floats
// leave colour unclamped below 0, hold alpha to 0..1 and colour to alpha.
TEST_F(SharpenTest, AlphaIsConvolvedAndColourHeldToIt) {
    const auto bytes = rowImage({{10, 20, 50, 100}, {30, 40, 5, 110}, {10, 20, 50, 100}}, Depth::Byte);
    const auto floats =
        rowImage({{0.25f, 0.5f, 0.125f, 0.5f}, {0.75f, -0.5f, 2.0f, 0.75f}, {0.25f, 0.5f, 0.125f, 0.5f}}, Depth::Float);
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        auto out = render(bytes, "1", Depth::Byte, order);
        // Alpha 990 - 800 = 190; red 190; green 200 held to 190; blue < 0.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{190, 190, 0, 190}));
        // Alpha 500 - 440 = 60; red, green below 0; blue 230 held to 60.
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0, 0, 60, 60}));

        out = render(floats, "1", Depth::Float, order);
        // Red 4.75, blue 17 held to alpha 2.75 held to 1; green -8.5 stays.
        EXPECT_EQ(pixelAt(out, 1, 0), (Rgba{1.0f, -8.5f, 1.0f, 1.0f}));
        // Left end: red -1.75, green 4.5 to alpha -0.5 held to 0, blue -7.375.
        EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{-1.75f, 0.0f, -7.375f, 0.0f}));
    }
}

// A lone pixel comes back (unit sum), colour held to alpha.
TEST_F(SharpenTest, OnePixelImageComesBackHeldToAlpha) {
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        EXPECT_EQ(pixelAt(render(rowImage({{200, 10, 100, 150}}, Depth::Byte), "0.5", Depth::Byte, order), 0, 0),
                  (Rgba{150, 10, 100, 150}));
        EXPECT_EQ(
            pixelAt(render(rowImage({{0.5f, 1.5f, -0.25f, 0.75f}}, Depth::Float), "1", Depth::Float, order), 0, 0),
            (Rgba{0.5f, 0.75f, -0.25f, 0.75f}));
        // Alpha 0 takes all colour away.
        EXPECT_EQ(pixelAt(render(rowImage({{200, 10, 100, 0}}, Depth::Byte), "0.3", Depth::Byte, order), 0, 0),
                  (Rgba{0, 0, 0, 0}));
    }
}

// At or below 1e-5: a copy to the bit, colour above alpha and out-of-range floats kept.
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
    EXPECT_EQ(firstDifference(render(source, "2e-05", Depth::Byte, PixelOrder::RGBA), sharpen(source, 100)), "");
}

// Noisy images of awkward sizes, each piece of the rule, four variants,
// against the plain sharpening; three threads band the taller images.
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
                expectFourVariants(*inst, {sharpen(bytes, k.centre), sharpen(floats, k.centre)});
            }
        }
    }
}

// The edges are the render window's: pixels around it are not read.
TEST_F(SharpenTest, EdgesAreTheRenderWindows) {
    const auto source = noise(9, 8, Depth::Byte, 21);
    auto inst = filterOn(*plugin, source);
    inst->setValueText("amount", "0.7");
    expectWindow(renderWindow(*inst, {2, 1, 7, 6}, Depth::Byte), sharpen(crop(source, 2, 1, 5, 5), 18), 2, 1);
}

TEST_F(SharpenTest, ThreadsDoNotChangeThePicture) {
    const auto source = ImageBuffer::testFrame(61, 47, Depth::Byte, PixelOrder::RGBA, 4);
    expectThreadsAgree(
        kSharpen, source, [](ofxhost::Instance& inst) { inst.setValueText("amount", "0.8"); }, PixelOrder::BGRA);
}

// A proxy render sharpens the half-size source: the kernel is in render pixels.
TEST_F(SharpenTest, HalfScaleSharpensTheScaledSource) {
    auto inst = filterOn(*plugin, noise(16, 12, Depth::Byte, 31));
    inst->setValueText("amount", "0");
    expectHalfScale(
        *inst, 8, [](ofxhost::Instance& i) { i.setValueText("amount", "0.5"); },
        [](const ImageBuffer& scaled) { return sharpen(scaled, 21); });
}

TEST_F(SharpenTest, OnePictureInBothOrders) {
    const auto source = ImageBuffer::testFrame(23, 13, Depth::Float, PixelOrder::RGBA, 8);
    auto inst = filterOn(*plugin, source);
    for (const char* amount : {"0.5", "0.9", "0.08"}) {
        inst->setValueText("amount", amount);
        expectOnePictureInBothDepths(*inst, std::string("amount ") + amount);
    }
}

// OpenCL against the processor at each piece of the rule, its edges, and the copy.
class SharpenOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(SharpenOpenCLParity, MatchesTheProcessor) {
    std::vector<ParityCase> cases;
    for (const char* amount :
         {"0", "1e-05", "2e-05", "0.05", "0.063", "0.1", "0.124", "0.125", "0.2", "0.25", "0.5", "0.85", "1"})
        cases.push_back({"sharpen", std::string("amount=") + amount});
    expectParityOnEdgeFrame(cases, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Variants, SharpenOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
