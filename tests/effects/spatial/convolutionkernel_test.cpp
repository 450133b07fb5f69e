#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
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

// The kernel step written out plainly: the cells as floats; the ring of
// outer cells (clockwise from the top left) turned by whole turns added to
// a negative rotation, then q = trunc(r / 45) places and a mix by the rest
// f in double; with auto normalize each weight over the float sum unless 0;
// each over the scale.
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

int clampIndex(int i, int n) { return std::min(std::max(i, 0), n - 1); }

// The convolution of each colour with edges repeated, a float sum from 0
// row by row, plus the offset (times 255 on bytes, which are then held to
// 0..255 and truncated); alpha is the source's.
ImageBuffer convolve(const ImageBuffer& in, const Kernel& k) {
    const auto w = weightsOf(k);
    const bool bytes = in.depth() == Depth::Byte;
    const float offset = static_cast<float>(bytes ? k.offset * 255.0 : k.offset);
    ImageBuffer out(in.width(), in.height(), in.depth(), PixelOrder::RGBA);
    for (int y = 0; y < in.height(); ++y) {
        for (int x = 0; x < in.width(); ++x) {
            for (int c = 0; c < 3; ++c) {
                float sum = 0.0f;
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int sx = clampIndex(x + dx, in.width()), sy = clampIndex(y + dy, in.height());
                        const float s = bytes ? static_cast<float>(in.byteAt(sx, sy, c)) : in.floatAt(sx, sy, c);
                        sum += w[(dy + 1) * 3 + dx + 1] * s;
                    }
                }
                const float v = sum + offset;
                if (bytes)
                    out.setByte(x, y, c, static_cast<std::uint8_t>(v <= 0.0f ? 0.0f : (v >= 255.0f ? 255.0f : v)));
                else
                    out.setFloat(x, y, c, v);
            }
            if (bytes)
                out.setByte(x, y, 3, in.byteAt(x, y, 3));
            else
                out.setFloat(x, y, 3, in.floatAt(x, y, 3));
        }
    }
    return out;
}

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

// A 3 x 3 image whose middle pixel is 1 in red (10 on bytes) and 0
// elsewhere, all opaque: pixel (x, y) of its convolution is the weight of
// cell (2 - x, 2 - y), times the impulse.
ImageBuffer impulse(Depth depth) {
    ImageBuffer image(3, 3, depth, PixelOrder::RGBA);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 4; ++c) {
                const bool lit = (x == 1 && y == 1 && c == 0) || c == 3;
                if (depth == Depth::Byte)
                    image.setByte(x, y, c, lit ? (c == 3 ? 255 : 10) : 0);
                else
                    image.setFloat(x, y, c, lit ? 1.0f : 0.0f);
            }
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
            rows.push_back({kCellNames[r * 3 + c], "Column " + std::to_string(c + 1), kCellNames[r * 3 + c], "Double",
                            r == 1 && c == 1 ? "1" : "0", {-100, 100}, {-100, 100}, 0.1, group, {}});
    }
    rows.push_back({"rotation", "Rotation", "rotation", "Double", "0", {-3600, 3600}, {-360, 360}, 0.1, "", {}});
    rows.push_back({"scale", "Scale", "scale", "Double", "1", {0.001, 1000}, {0.1, 50}, 0.1, "", {}});
    rows.push_back({"offset", "Offset", "offset", "Double", "0", {-1, 1}, {-1, 1}, 0.01, "", {}});
    rows.push_back({"autonormalize", "Auto normalize", "autonormalize", "Boolean", "false", {}, {}, {}, "", {}});
    expectParamTable(*plugin, "filter", rows);
    const auto& rotation = plugin->describeInContext("filter").params().find("rotation")->props();
    EXPECT_EQ(rotation.getString(kOfxParamPropDoubleType), kOfxParamDoubleTypeAngle);
}

// At its defaults the effect is an identity, to the bit: colour above
// alpha, floats out of range and alpha 0 pass as they are.
TEST_F(ConvolutionKernelTest, DefaultsAreTheIdentity) {
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        const auto source = noise(11, 7, depth, 3);
        auto inst = filterOn(*plugin, source);
        expectFourVariants(*inst, {source.converted(Depth::Byte, PixelOrder::RGBA),
                                   source.converted(Depth::Float, PixelOrder::RGBA)});
    }
}

// The ring 1..8 clockwise from the top left around a centre of 9:
//   1 2 3      45: 2 3 4      22.5: 1.5 2.5 3.5
//   8 9 4          1 9 5            4.5  9  4.5
//   7 6 5          8 7 6            7.5 6.5 5.5
// A turn of 45 moves every cell one place, a half step mixes neighbours
// evenly, the centre stays, and whole turns (also negative ones) change
// nothing.
TEST_F(ConvolutionKernelTest, RotationTurnsTheRing) {
    Kernel k;
    k.cells = {1, 2, 3, 8, 9, 4, 7, 6, 5};
    const std::array<float, 9> still{1, 2, 3, 8, 9, 4, 7, 6, 5};
    const std::array<float, 9> oneStep{2, 3, 4, 1, 9, 5, 8, 7, 6};
    const std::array<float, 9> halfStep{1.5f, 2.5f, 3.5f, 4.5f, 9, 4.5f, 7.5f, 6.5f, 5.5f};
    const std::array<float, 9> quarter{3, 4, 5, 2, 9, 6, 1, 8, 7};
    const std::array<float, 9> halfBack{4.5f, 1.5f, 2.5f, 7.5f, 9, 3.5f, 6.5f, 5.5f, 4.5f};
    const std::pair<double, std::array<float, 9>> pins[] = {
        {0, still},     {360, still},   {-360, still},  {3600, still},   {-3600, still},   {45, oneStep},
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

// The 1-2-1 blur kernel sums to 16: normalised it weighs 1/16, 1/8, 1/4;
// divided by a scale of 4, a quarter of its cells; both, a 32nd. A kernel
// summing to 0 is left as it is by the normalisation.
TEST_F(ConvolutionKernelTest, NormalisationAndScaleDivideTheWeights) {
    Kernel blur;
    blur.cells = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    blur.normalize = true;
    EXPECT_EQ(weightsThrough(blur, PixelOrder::RGBA),
              (std::array<float, 9>{0.0625f, 0.125f, 0.0625f, 0.125f, 0.25f, 0.125f, 0.0625f, 0.125f, 0.0625f}));
    blur.normalize = false;
    blur.scale = 4;
    EXPECT_EQ(weightsThrough(blur, PixelOrder::BGRA),
              (std::array<float, 9>{0.25f, 0.5f, 0.25f, 0.5f, 1, 0.5f, 0.25f, 0.5f, 0.25f}));
    blur.normalize = true;
    blur.scale = 2;
    EXPECT_EQ(weightsThrough(blur, PixelOrder::RGBA),
              (std::array<float, 9>{0.03125f, 0.0625f, 0.03125f, 0.0625f, 0.125f, 0.0625f, 0.03125f, 0.0625f,
                                    0.03125f}));
    Kernel edges;
    edges.cells = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    edges.normalize = true;
    EXPECT_EQ(weightsThrough(edges, PixelOrder::RGBA), (std::array<float, 9>{-1, 0, 1, -2, 0, 2, -1, 0, 1}));
}

// A lone pixel is its own neighbour all round: each colour is the sum of
// the weights times itself, plus the offset. Bytes clamp and truncate;
// floats do neither; alpha, 0 included, is the source's.
TEST_F(ConvolutionKernelTest, OnePixelTakesTheWholeKernel) {
    Kernel k;
    k.cells = {2, 0, 0, 0, 1, 0, 0, 0, 0};  // sum 3
    k.offset = 0.1;                         // 25.5 on bytes
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

// With only the top-left cell set, each pixel takes its upper-left
// neighbour, the first row and column their own edge: the image moves one
// pixel right and down, its top and left edges repeated. Halving shows the
// truncation; a negative cell clamps bytes to 0.
TEST_F(ConvolutionKernelTest, EdgesRepeatAndBytesTruncate) {
    ImageBuffer source(3, 2, Depth::Byte, PixelOrder::RGBA);
    const int red[2][3] = {{11, 21, 31}, {41, 51, 61}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) {
            source.setByte(x, y, 0, static_cast<std::uint8_t>(red[y][x]));
            source.setByte(x, y, 1, 200);
            source.setByte(x, y, 2, static_cast<std::uint8_t>(x * 100));
            source.setByte(x, y, 3, static_cast<std::uint8_t>(255 - x));
        }
    Kernel k;
    k.cells = {0.5, 0, 0, 0, 0, 0, 0, 0, 0};
    for (PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
        const auto out = render(source, k, order);
        // Each pixel: half its upper-left neighbour's red, truncated.
        const int want[2][3] = {{5, 5, 10}, {5, 5, 10}};
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                EXPECT_EQ(out.byteAt(x, y, 0), want[y][x]) << x << "," << y;
                EXPECT_EQ(out.byteAt(x, y, 1), 100);
                EXPECT_EQ(out.byteAt(x, y, 3), 255 - x) << "alpha is carried";
            }
        EXPECT_EQ(out.byteAt(2, 1, 2), 50);
    }
    k.cells = {0, 0, 0, 0, 1, -1, 0, 0, 0};
    const auto out = render(source, k, PixelOrder::RGBA);
    EXPECT_EQ(pixelAt(out, 0, 0), (Rgba{0, 0, 0, 255}));   // 11 - 21 < 0
    EXPECT_EQ(pixelAt(out, 2, 1), (Rgba{0, 0, 0, 253}));   // the right edge repeats: 61 - 61
}

// Every pixel of noisy images of awkward sizes against the plain
// convolution, for kernels with every step of the kernel in play, in the
// four variants. Three host threads split the taller images into bands.
TEST_F(ConvolutionKernelTest, EveryPixelFollowsThePlainConvolution) {
    std::mt19937 random(17);
    const auto cells = [&] {
        std::array<double, 9> c;
        for (double& v : c) v = static_cast<int>(random() % 41) * 0.1 - 2.0;
        return c;
    };
    std::vector<Kernel> kernels;
    const double rotations[] = {0, 45, 22.5, -100, 737.3, -3600, 3599.9, 10};
    int n = 0;
    for (double rotation : rotations) {
        Kernel k;
        k.cells = cells();
        k.rotation = rotation;
        k.scale = n % 3 == 0 ? 1.0 : (n % 3 == 1 ? 2.5 : 0.3);
        k.offset = n % 4 == 0 ? 0.0 : (n % 4 == 1 ? 0.1 : (n % 4 == 2 ? -0.25 : 0.7));
        k.normalize = n % 2 == 1;
        kernels.push_back(k);
        ++n;
    }
    Kernel zeroSum;
    zeroSum.cells = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    zeroSum.normalize = true;
    zeroSum.offset = 0.5;
    kernels.push_back(zeroSum);

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

// The kernel's edges are those of the render window: the source the host
// gives is the window, and the pixels around it are not read.
TEST_F(ConvolutionKernelTest, EdgesAreTheRenderWindows) {
    const auto source = noise(9, 8, Depth::Float, 21);
    Kernel k;
    k.cells = {1, -0.5, 0.25, 2, 0.5, -1, 0.3, 0.2, 0.1};
    k.rotation = 30;
    auto inst = filterOn(*plugin, source);
    apply(*inst, k);
    ofxhost::RenderOptions options;
    options.depth = Depth::Float;
    options.window = ofxhost::RectI{2, 1, 7, 6};
    options.poison = true;
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    ImageBuffer inner(5, 5, Depth::Float, PixelOrder::RGBA);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x)
            for (int c = 0; c < 4; ++c) inner.setFloat(x, y, c, source.floatAt(x + 2, y + 1, c));
    const auto want = convolve(inner, k);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x) ASSERT_EQ(pixelAt(out, x + 2, y + 1), pixelAt(want, x, y)) << x << "," << y;
}

TEST_F(ConvolutionKernelTest, ThreadsDoNotChangeThePicture) {
    const auto source = ImageBuffer::testFrame(61, 47, Depth::Float, PixelOrder::RGBA, 4);
    Kernel k;
    k.cells = {0.5, -1, 0.25, 1, 2, -0.75, 0, 1, -0.5};
    k.rotation = 100;
    k.offset = 0.05;
    ofxhost::HostConfig one;
    one.threads = 1;
    auto single = loadEffect(quietHost(one), kConvolution);
    ofxhost::HostConfig many;
    many.threads = 16;
    auto several = loadEffect(quietHost(many), kConvolution);
    for (Depth depth : {Depth::Byte, Depth::Float}) {
        auto a = filterOn(*single, source);
        auto b = filterOn(*several, source);
        apply(*a, k);
        apply(*b, k);
        const auto first = renderVariant(*a, {depth, PixelOrder::RGBA});
        EXPECT_EQ(firstDifference(renderVariant(*b, {depth, PixelOrder::RGBA}), first), "");
    }
}

// A proxy render convolves the host's half-size source with the same
// kernel: the kernel is in pixels of the render.
TEST_F(ConvolutionKernelTest, HalfScaleConvolvesTheScaledSource) {
    const auto source = noise(16, 12, Depth::Byte, 31);
    auto inst = filterOn(*plugin, source);
    ofxhost::RenderOptions options;
    options.renderScale = 0.5;
    options.poison = true;
    auto scaled = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, scaled), kOfxStatOK);
    ASSERT_EQ(scaled.width(), 8);
    Kernel k;
    k.cells = {1, 2, 1, 0, 0, 0, -1, -2, -1};
    k.offset = 0.5;
    apply(*inst, k);
    auto out = inst->makeOutput(options);
    ASSERT_EQ(inst->render(0.0, options, out), kOfxStatOK);
    EXPECT_EQ(firstDifference(out, convolve(scaled, k)), "");
}

TEST_F(ConvolutionKernelTest, OnePictureInBothOrders) {
    const auto source = ImageBuffer::testFrame(23, 13, Depth::Float, PixelOrder::RGBA, 8);
    auto inst = filterOn(*plugin, source);
    expectOnePicture(*inst, Depth::Byte, "defaults");
    expectOnePicture(*inst, Depth::Float, "defaults");
    Kernel k;
    k.cells = {0.5, -1, 0.25, 1, 2, -0.75, 0, 1, -0.5};
    k.rotation = 30;
    k.offset = 0.1;
    k.normalize = true;
    apply(*inst, k);
    expectOnePicture(*inst, Depth::Byte, "a turned kernel");
    expectOnePicture(*inst, Depth::Float, "a turned kernel");
}

// The kernels on the host's OpenCL device against the processor, on the
// edge frame at 37 x 19: the identity, turns, normalisation with and
// without a sum, scale, offsets both ways and weights that clamp bytes.
class ConvolutionKernelOpenCLParity : public ::testing::TestWithParam<Variant> {};

std::string settings(const Kernel& k) {
    std::string s;
    for (int i = 0; i < 9; ++i) s += std::string(kCellNames[i]) + "=" + text(k.cells[i]) + ";";
    return s + "rotation=" + text(k.rotation) + ";scale=" + text(k.scale) + ";offset=" + text(k.offset) +
           ";autonormalize=" + (k.normalize ? "true" : "false");
}

TEST_P(ConvolutionKernelOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    std::vector<Kernel> kernels(7);
    kernels[1].cells = {1, 2, 3, 8, 9, 4, 7, 6, 5};
    kernels[1].rotation = 22.5;
    kernels[1].normalize = true;
    kernels[2].cells = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    kernels[2].normalize = true;
    kernels[2].offset = 0.5;
    kernels[3].cells = {0.1, -0.7, 1.3, 0.2, 1.1, -0.3, 0.9, 0.4, -1.2};
    kernels[3].rotation = -100.7;
    kernels[3].scale = 0.3;
    kernels[3].offset = -0.25;
    kernels[4].cells = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    kernels[4].scale = 16;
    kernels[4].rotation = 3600;
    kernels[5].cells = {-100, 50, 0, 3, 100, -7, 0.5, 0, 25};
    kernels[5].rotation = 737.3;
    kernels[6].cells = {0.33, 0.1, 0, 0, 0.7, 0, 0.1, 0, -0.2};
    kernels[6].offset = 1;
    std::vector<ParityCase> cases;
    for (const Kernel& k : kernels) cases.push_back({"convolutionkernel", settings(k)});
    const Variant variant = GetParam();
    expectParityCases(cases, [&](ofxhost::Plugin& p) { return filterOn(p, edgeFrame(37, 19, variant)); }, variant);
}

INSTANTIATE_TEST_SUITE_P(Variants, ConvolutionKernelOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
