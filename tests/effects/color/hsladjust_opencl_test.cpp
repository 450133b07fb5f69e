// HSL Adjust on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include <array>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class HSLAdjustOpenCLParity : public ::testing::TestWithParam<Variant> {};

// A quarter turn with more saturation and less light; three quarters with
// both doubled or raised past the byte clamps; and a whole turn, which wraps
// pure red's 1.0 to 2.0 and back.
TEST_P(HSLAdjustOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:hsladjust");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    for (const auto& [hue, saturation, luminance] :
         {std::array<const char*, 3>{"0.25", "1.5", "0.75"}, {"0.75", "2", "1.5"}, {"1", "1", "1"}}) {
        inst->setValueText("Output", hue);
        inst->setValueText("Saturation", saturation);
        inst->setValueText("Luminance", luminance);
        expectOpenCLParity(*inst, variant, std::string("hue ") + hue + ", saturation " + saturation);
    }
}

INSTANTIATE_TEST_SUITE_P(HSLAdjustVariants, HSLAdjustOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
