#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "OpenCLParity.h"
#include "SpatialTest.h"
#include "ofxTalvo.h"

using namespace ondu1test;
using namespace spatialtest;

namespace {

const char* const kConvolution = "talvo.effects:convolutionkernel";
const char* const kCellNames[9] = {"row1column1", "row1column2", "row1column3", "row2column1", "row2column2",
                                   "row2column3", "row3column1", "row3column2", "row3column3"};

struct Kernel {
    std::array<double, 9> cells{0, 0, 0, 0, 1, 0, 0, 0, 0};
    double rotation = 0.0;
    double scale = 1.0;
    double offset = 0.0;
    bool normalize = false;
};

std::string text(double v) {
    char s[40];
    std::snprintf(s, sizeof s, "%.17g", v);
    return s;
}

void apply(ofxhost::Instance& inst, const Kernel& k) {
    for (int i = 0; i < 9; ++i) inst.setValueText(kCellNames[i], text(k.cells[i]));
    inst.setValueText("rotation", text(k.rotation));
    inst.setValueText("scale", text(k.scale));
    inst.setValueText("offset", text(k.offset));
    inst.setValueText("autonormalize", k.normalize ? "true" : "false");
}

// The weights: cells as floats; the outer ring (clockwise from top left)
// turned by q = trunc(r / 45) places (r made non-negative by whole turns),
// mixed by the rest f in double; normalised by the float sum unless 0; over
// the scale.
std::array<float, 9> weightsOf(const Kernel& k) {
    std::array<float, 9> w;
    for (int i = 0; i < 9; ++i) w[i] = static_cast<float>(k.cells[i]);
    const int ring[8] = {0, 1, 2, 5, 8, 7, 6, 3};
    double r = k.rotation;
    while (r < 0.0) r += 360.0;
    const int q = static_cast<int>(r / 45.0);
    const double f = (r - 45.0 * q) / 45.0;
    float before[8];
    for (int i = 0; i < 8; ++i) before[i] = w[ring[i]];
    for (int i = 0; i < 8; ++i)
        w[ring[i]] = static_cast<float>((1.0 - f) * before[(i + q) % 8] + f * before[(i + q + 1) % 8]);
    if (k.normalize) {
        float sum = 0.0f;
        for (float v : w) sum += v;
        if (sum != 0.0f)
            for (float& v : w) v /= sum;
    }
    for (float& v : w) v /= static_cast<float>(k.scale);
    return w;
}

// Each colour convolved with edges repeated, a float sum row by row, plus
// the offset (x255 on bytes, then held to 0..255 and truncated); alpha kept.
ImageBuffer convolve(const ImageBuffer& in, const Kernel& k) {
    const auto w = weightsOf(k);
    const bool bytes = in.depth() == Depth::Byte;
    const float offset = static_cast<float>(bytes ? k.offset * 255.0 : k.offset);
    ImageBuffer out(in.width(), in.height(), in.depth(), PixelOrder::RGBA);
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x) {
            for (int c = 0; c < 3; ++c) {
                float sum = 0.0f;
                for (int i = 0; i < 9; ++i) sum += w[i] * around(in, x, y, i, c);
                const float v = sum + offset;
                setChannel(out, x, y, c, bytes ? std::clamp(v, 0.0f, 255.0f) : v);
            }
            setChannel(out, x, y, 3, channel(in, x, y, 3));
        }
    return out;
}

// 3 x 3, opaque, red 1 (10 on bytes) in the middle only: pixel (x, y) of
// its convolution is the weight of cell (2 - x, 2 - y) times the impulse.
ImageBuffer impulse(Depth depth) {
    const float one = depth == Depth::Byte ? 255.0f : 1.0f;
    ImageBuffer image(3, 3, depth, PixelOrder::RGBA);
    for (int i = 0; i < 36; ++i)
        setChannel(image, i / 4 % 3, i / 12, i % 4, i % 4 == 3 ? one : (i == 16 ? (one == 1.0f ? 1.0f : 10.0f) : 0.0f));
    return image;
}

class ConvolutionKernelTest : public ::testing::Test {
protected:
    std::shared_ptr<ofxhost::Host> host = quietHost();
    std::shared_ptr<ofxhost::Plugin> plugin = loadEffect(host, kConvolution);

    ImageBuffer render(const ImageBuffer& source, const Kernel& k, PixelOrder order) {
        auto inst = filterOn(*plugin, source);
        apply(*inst, k);
        return renderVariant(*inst, {source.depth(), order});
    }

    // The weights read back through a float impulse, row by row.
    std::array<float, 9> weightsThrough(const Kernel& k, PixelOrder order) {
        const auto out = render(impulse(Depth::Float), k, order);
        std::array<float, 9> w;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 3; ++x) w[(2 - y) * 3 + (2 - x)] = out.floatAt(x, y, 0);
        return w;
    }
};

TEST_F(ConvolutionKernelTest, DescribesItsDeclarationAndParameters) {
    const auto& props = plugin->describe().props();
    EXPECT_EQ(props.getString(kOfxPropLabel), "TALVO Convolution Kernel");
    EXPECT_EQ(props.getString(kOfxImageEffectPluginPropGrouping), "TALVO\\Creative");
    EXPECT_EQ(props.getInt(kOfxPropTalvoHelpContextID), 1750);
    EXPECT_EQ(plugin->describeInContext("filter").props().getStrings(kOfxImageEffectPropTalvoUpliftGUID),
              (std::vector<std::string>{"{5911B14A-D65C-4820-AA01-630064F1A66D}"}));
    std::vector<ParamRow> rows;
    for (int r = 0; r < 3; ++r) {
        const std::string group = "row" + std::to_string(r + 1);
        rows.push_back({group, "Row " + std::to_string(r + 1), group, "Group", "null", {}, {}, {}, "", {}, false});
        for (int c = 0; c < 3; ++c)
            rows.push_back({kCellNames[r * 3 + c],
                            "Column " + std::to_string(c + 1),
                            kCellNames[r * 3 + c],
                            "Double",
                            r == 1 && c == 1 ? "1" : "0",
                            {-100, 100},
                            {-100, 100},
                            0.1,
                            group,
                            {}});
    }
    rows.push_back({"rotation", "Rotation", "rotation", "Double", "0", {-3600, 3600}, {-360, 360}, 0.1, "", {}});
    rows.push_back({"scale", "Scale", "scale", "Double", "1", {0.001, 1000}, {0.1, 50}, 0.1, "", {}});
    rows.push_back({"offset", "Offset", "offset", "Double", "0", {-1, 1}, {-1, 1}, 0.01, "", {}});
    rows.push_back({"autonormalize", "Auto normalize", "autonormalize", "Boolean", "false", {}, {}, {}, "", {}});
    expectParamTable(*plugin, "filter", rows);
    const auto& rotation = plugin->describeInContext("filter").params().find("rotation")->props();
    EXPECT_EQ(rotation.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeAngle);
}

// Defaults: the identity to the bit, colour above alpha and out-of-range floats included.
TEST_F(ConvolutionKernelTest, DefaultsAreTheIdentity) {
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const auto source = noise(11, 7, depth, 3);
        auto inst = filterOn(*plugin, source);
        expectFourVariants(
            *inst, {source.converted(Depth::Byte, PixelOrder::RGBA), source.converted(Depth::Float, PixelOrder::RGBA)});
    }
}

// The ring 1..8 clockwise from the top left around a centre of 9:
//   1 2 3      45: 2 3 4      22.5: 1.5 2.5 3.5
//   8 9 4          1 9 5            4.5  9  4.5
//   7 6 5          8 7 6            7.5 6.5 5.5
// 45 moves each cell one place, a half step mixes neighbours evenly, whole
// turns (negative too) change nothing.
TEST_F(ConvolutionKernelTest, RotationTurnsTheRing) {
    Kernel k{{1, 2, 3, 8, 9, 4, 7, 6, 5}};
    const std::array<float, 9> still{1, 2, 3, 8, 9, 4, 7, 6, 5};
    const std::array<float, 9> oneStep{2, 3, 4, 1, 9, 5, 8, 7, 6};
    const std::array<float, 9> halfStep{1.5f, 2.5f, 3.5f, 4.5f, 9, 4.5f, 7.5f, 6.5f, 5.5f};
    const std::array<float, 9> quarter{3, 4, 5, 2, 9, 6, 1, 8, 7};
    const std::array<float, 9> halfBack{4.5f, 1.5f, 2.5f, 7.5f, 9, 3.5f, 6.5f, 5.5f, 4.5f};
    const std::pair<double, std::array<float, 9>> pins[] = {
        {0, still},     {360, still},    {-360, still},    {3600, still}, {-3600, still},    {45, oneStep},
        {405, oneStep}, {-315, oneStep}, {22.5, halfStep}, {90, quarter}, {-22.5, halfBack}, {337.5, halfBack},
    };
    for (const auto& [rotation, want] : pins) {
        k.rotation = rotation;
        for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA})
            EXPECT_EQ(weightsThrough(k, order), want) << "rotation " << rotation;
    }
    // Bytes: ten times each weight.
    k.rotation = 45;
    const auto out = render(impulse(Depth::Byte), k, PixelOrder::BGRA);
    EXPECT_EQ(pixelAt(out, 2, 2), (Rgba{20, 0, 0, 255}));
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{60, 0, 0, 255}));
    EXPECT_EQ(pixelAt(out, 1, 1), (Rgba{90, 0, 0, 255}));
}

// 1-2-1 sums to 16: normalised 1/16, 1/8, 1/4; scale 4 quarters it; both
// with scale 2, a 32nd. A zero-sum kernel is left as it is.
TEST_F(ConvolutionKernelTest, NormalisationAndScaleDivideTheWeights) {
    const std::array<double, 9> blur{1, 2, 1, 2, 4, 2, 1, 2, 1}, edges{-1, 0, 1, -2, 0, 2, -1, 0, 1};
    const float a = 0.0625f, b = 0.125f, c = 0.03125f;
    const std::pair<Kernel, std::array<float, 9>> pins[] = {
        {{blur, 0, 1, 0, true}, {a, b, a, b, 0.25f, b, a, b, a}},
        {{blur, 0, 4, 0, false}, {0.25f, 0.5f, 0.25f, 0.5f, 1, 0.5f, 0.25f, 0.5f, 0.25f}},
        {{blur, 0, 2, 0, true}, {c, a, c, a, b, a, c, a, c}},
        {{edges, 0, 1, 0, true}, {-1, 0, 1, -2, 0, 2, -1, 0, 1}},
    };
    int n = 0;
    for (const auto& [k, want] : pins)
        EXPECT_EQ(weightsThrough(k, n++ % 2 ? PixelOrder::BGRA : PixelOrder::RGBA), want) << n;
}

// A lone pixel is its own neighbour: colour times the weight sum plus the
// offset; bytes clamp and truncate, floats neither; alpha (0 too) kept.
TEST_F(ConvolutionKernelTest, OnePixelTakesTheWholeKernel) {
    const Kernel k{{2, 0, 0, 0, 1, 0, 0, 0, 0}, 0, 1, 0.1};  // sum 3; offset 25.5 on bytes
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        // 30 + 25.5, 150 + 25.5, 300 + 25.5 held to 255.
        EXPECT_EQ(pixelAt(render(rowImage({{10, 50, 100, 77}}, Depth::Byte), k, order), 0, 0),
                  (Rgba{55, 175, 255, 77}));
        EXPECT_EQ(pixelAt(render(rowImage({{10, 50, 100, 0}}, Depth::Byte), k, order), 0, 0), (Rgba{55, 175, 255, 0}));
        const float offset = static_cast<float>(0.1);
        EXPECT_EQ(pixelAt(render(rowImage({{0.25f, 0.5f, -1.0f, 0.0f}}, Depth::Float), k, order), 0, 0),
                  (Rgba{0.75f + offset, 1.5f + offset, -3.0f + offset, 0.0f}));
    }
}

// Only the top-left cell: each pixel takes its upper-left neighbour (edges
// repeated); halving shows truncation, a negative cell clamps bytes to 0.
TEST_F(ConvolutionKernelTest, EdgesRepeatAndBytesTruncate) {
    ImageBuffer source(3, 2, Depth::Byte, PixelOrder::RGBA);  // red 11 21 31 / 41 51 61
    for (int i = 0; i < 6; ++i) {
        const float px[4] = {11.0f + 10 * i, 200, i % 3 * 100.0f, 255.0f - i % 3};
        for (int c = 0; c < 4; ++c) setChannel(source, i % 3, i / 3, c, px[c]);
    }
    Kernel k{{0.5, 0, 0, 0, 0, 0, 0, 0, 0}};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = render(source, k, order);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                EXPECT_EQ(out.byteAt(x, y, 0), x == 2 ? 10 : 5) << x << "," << y;
                EXPECT_EQ(out.byteAt(x, y, 1), 100);
                EXPECT_EQ(out.byteAt(x, y, 3), 255 - x) << "alpha is carried";
            }
        EXPECT_EQ(out.byteAt(2, 1, 2), 50);
    }
    k.cells = {0, 0, 0, 0, 1, -1, 0, 0, 0};
    const auto out = render(source, k, PixelOrder::RGBA);
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0, 0, 0, 255}));  // 11 - 21 < 0
    EXPECT_EQ(pixelAt(out, 2, 1), (Rgba{0, 0, 0, 253}));  // the right edge repeats: 61 - 61
}

// Noisy images of awkward sizes against the plain convolution, every step
// of the kernel in play, four variants; three threads band the taller ones.
TEST_F(ConvolutionKernelTest, EveryPixelFollowsThePlainConvolution) {
    std::mt19937 random(17);
    std::vector<Kernel> kernels;
    const double scales[] = {1.0, 2.5, 0.3}, offsets[] = {0.0, 0.1, -0.25, 0.7};
    int n = 0;
    for (double rotation : {0.0, 45.0, 22.5, -100.0, 737.3, -3600.0, 3599.9, 10.0}) {
        Kernel k{{}, rotation, scales[n % 3], offsets[n % 4], n % 2 == 1};
        for (double& v : k.cells) v = static_cast<int>(random() % 41) * 0.1 - 2.0;
        kernels.push_back(k);
        ++n;
    }
    kernels.push_back({{-1, 0, 1, -2, 0, 2, -1, 0, 1}, 0, 1, 0.5, true});  // zero sum

    const std::pair<int, int> sizes[] = {{1, 1}, {1, 5}, {5, 1}, {2, 2}, {7, 5}, {12, 19}};
    std::uint32_t seed = 100;
    for (const auto& [w, h] : sizes) {
        for (Depth depth : {Depth::Byte, Depth::Float}) {
            const auto source = noise(w, h, depth, seed++);
            const auto bytes = source.converted(Depth::Byte, PixelOrder::RGBA);
            const auto floats = source.converted(Depth::Float, PixelOrder::RGBA);
            for (std::size_t i = 0; i < kernels.size(); ++i) {
                SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " kernel " + std::to_string(i));
                auto inst = filterOn(*plugin, source);
                apply(*inst, kernels[i]);
                expectFourVariants(*inst, {convolve(bytes, kernels[i]), convolve(floats, kernels[i])});
            }
        }
    }
}

// The edges are the render window's: pixels around it are not read.
TEST_F(ConvolutionKernelTest, EdgesAreTheRenderWindows) {
    const auto source = noise(9, 8, Depth::Float, 21);
    const Kernel k{{1, -0.5, 0.25, 2, 0.5, -1, 0.3, 0.2, 0.1}, 30};
    auto inst = filterOn(*plugin, source);
    apply(*inst, k);
    expectWindow(renderWindow(*inst, {2, 1, 7, 6}, Depth::Float), convolve(crop(source, 2, 1, 5, 5), k), 2, 1);
}

TEST_F(ConvolutionKernelTest, ThreadsDoNotChangeThePicture) {
    const auto source = ImageBuffer::testFrame(61, 47, Depth::Float, PixelOrder::RGBA, 4);
    const Kernel k{{0.5, -1, 0.25, 1, 2, -0.75, 0, 1, -0.5}, 100, 1, 0.05};
    expectThreadsAgree(
        kConvolution, source, [&](ofxhost::Instance& inst) { apply(inst, k); }, PixelOrder::RGBA);
}

// A proxy render convolves the half-size source: the kernel is in render pixels.
TEST_F(ConvolutionKernelTest, HalfScaleConvolvesTheScaledSource) {
    auto inst = filterOn(*plugin, noise(16, 12, Depth::Byte, 31));
    const Kernel k{{1, 2, 1, 0, 0, 0, -1, -2, -1}, 0, 1, 0.5};
    expectHalfScale(
        *inst, 8, [&](ofxhost::Instance& i) { apply(i, k); },
        [&](const ImageBuffer& scaled) { return convolve(scaled, k); });
}

TEST_F(ConvolutionKernelTest, OnePictureInBothOrders) {
    const auto source = ImageBuffer::testFrame(23, 13, Depth::Float, PixelOrder::RGBA, 8);
    auto inst = filterOn(*plugin, source);
    expectOnePictureInBothDepths(*inst, "defaults");
    apply(*inst, {{0.5, -1, 0.25, 1, 2, -0.75, 0, 1, -0.5}, 30, 1, 0.1, true});
    expectOnePictureInBothDepths(*inst, "a turned kernel");
}

// OpenCL against the processor on a 37 x 19 edge frame: identity, turns,
// normalisation with and without a sum, scale, offsets, clamping weights.
class ConvolutionKernelOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(ConvolutionKernelOpenCLParity, MatchesTheProcessor) {
    const Kernel kernels[] = {
        {},
        {{1, 2, 3, 8, 9, 4, 7, 6, 5}, 22.5, 1, 0, true},
        {{-1, 0, 1, -2, 0, 2, -1, 0, 1}, 0, 1, 0.5, true},
        {{0.1, -0.7, 1.3, 0.2, 1.1, -0.3, 0.9, 0.4, -1.2}, -100.7, 0.3, -0.25},
        {{1, 2, 1, 2, 4, 2, 1, 2, 1}, 3600, 16},
        {{-100, 50, 0, 3, 100, -7, 0.5, 0, 25}, 737.3},
        {{0.33, 0.1, 0, 0, 0.7, 0, 0.1, 0, -0.2}, 0, 1, 1},
    };
    std::vector<ParityCase> cases;
    for (const Kernel& k : kernels) {
        std::string s;
        for (int i = 0; i < 9; ++i) s += std::string(kCellNames[i]) + "=" + text(k.cells[i]) + ";";
        cases.push_back({"convolutionkernel", s + "rotation=" + text(k.rotation) + ";scale=" + text(k.scale) +
                                                  ";offset=" + text(k.offset) +
                                                  ";autonormalize=" + (k.normalize ? "true" : "false")});
    }
    expectParityOnEdgeFrame(cases, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Variants, ConvolutionKernelOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
