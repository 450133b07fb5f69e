// Brightness and Contrast on the host's OpenCL device against its processor
// render.
#include <gtest/gtest.h>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class BrightnessAndContrastOpenCLParity : public ::testing::TestWithParam<Variant> {};

// Brightness, contrast and centre per case: the lift alone, the reciprocal
// spread alone, both steps with the flattening spread, the hard threshold of
// contrast 1, no change (a copy), and a lift just above the 1e-6 threshold
// that narrows onto the float 1e-6 yet still runs, as on the processor.
TEST_P(BrightnessAndContrastOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:brightnessandcontrast");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    const char* const cases[][3] = {{"0.25", "0", "0.5"},   {"0", "0.5", "0.25"}, {"-0.25", "-0.5", "0.75"},
                                    {"0", "1", "0.5"},      {"0", "0", "0.5"},    {"1.00000001e-6", "0", "0.5"}};
    for (const auto& c : cases) {
        inst->setValueText("Brightness", c[0]);
        inst->setValueText("Contrast", c[1]);
        inst->setValueText("ContrastCenter", c[2]);
        expectOpenCLParity(*inst, variant, std::string("B ") + c[0] + ", C " + c[1] + ", P " + c[2]);
    }
}

INSTANTIATE_TEST_SUITE_P(BrightnessAndContrastVariants, BrightnessAndContrastOpenCLParity,
                         ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
