// LAB Adjust on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include <array>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class LABAdjustOpenCLParity : public ::testing::TestWithParam<Variant> {};

// Lightness up with both axes shifted and some desaturation; inverted and
// darkened with the opposite shifts; inverted with all colour taken away.
TEST_P(LABAdjustOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:labadjust");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    for (const auto& [lightness, a, b, invert, desaturate] :
         {std::array<const char*, 5>{"1.5", "0.25", "-0.5", "false", "0.25"},
          {"0.75", "-0.125", "0.375", "true", "0"},
          {"1", "0", "0", "true", "1"}}) {
        inst->setValueText("Lightness", lightness);
        inst->setValueText("lightness", a);
        inst->setValueText("Channelb", b);
        inst->setValueText("InvertLuminance", invert);
        inst->setValueText("Desaturate", desaturate);
        expectOpenCLParity(*inst, variant, std::string("lightness ") + lightness + ", invert " + invert);
    }
}

INSTANTIATE_TEST_SUITE_P(LABAdjustVariants, LABAdjustOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
