// Sepia on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class SepiaOpenCLParity : public ::testing::TestWithParam<Variant> {};

// Colour, strength and falloff per case, through the three zones and both
// edges (exactly 1/3 and 2/3 stay in the lower zone), an asymmetric tint so
// that the pixel order shows, and a tint outside 0..1 (its bytes wrap).
// Byte results are exact for falloffs exact in float, as these are.
TEST_P(SepiaOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:sepia");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    const char* const cases[][3] = {
        {"0.6509803921568628,0.6509803921568628,0", "0", "0"},
        {"1,0.5,0", "0.25", "0"},
        {"1,0.5,0", "0.3333333333333333", "0.5"},
        {"1,0.5,0", "0.5", "0.5"},
        {"0.25,0.75,1", "0.6666666666666666", "0.25"},
        {"0.25,0.75,1", "1", "1"},
        {"1.5,-0.25,0.5", "0.75", "0.125"},
    };
    for (const auto& c : cases) {
        inst->setValueText("Color", c[0]);
        inst->setValueText("BlendingStrength", c[1]);
        inst->setValueText("BlendingFalloff", c[2]);
        expectOpenCLParity(*inst, variant, std::string("colour ") + c[0] + ", strength " + c[1] + ", falloff " + c[2]);
    }
}

// A falloff not exact in float (0.1, 0.3) can move the tint weight of a grey
// level where the processor's double lands on an integer: floats still
// agree, bytes within one level.
TEST_P(SepiaOpenCLParity, InexactFalloffHoldsWithinOneByteLevel) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:sepia");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    inst->setValueText("Color", "1,0.5,0");
    const char* const cases[][2] = {{"1", "0.1"}, {"0.5", "0.3"}};
    for (const auto& c : cases) {
        inst->setValueText("BlendingStrength", c[0]);
        inst->setValueText("BlendingFalloff", c[1]);
        const std::string what = std::string("strength ") + c[0] + ", falloff " + c[1];
        expectOpenCLParity(*inst, variant, what, 1e-6, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(SepiaVariants, SepiaOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
