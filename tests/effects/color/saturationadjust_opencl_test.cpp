// Saturation Adjust on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class SaturationAdjustOpenCLParity : public ::testing::TestWithParam<Variant> {};

// Amount, Center, Spread, Low, High per case, all exact in float: knots
// inside the frame's range of measures with a boost that clamps in bytes;
// Center 0 (the first two knots together); Center 1 with an over-range
// colour past the last knot (a segment of zero length).
TEST_P(SaturationAdjustOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:saturationadjust");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    const char* const names[] = {"Amount", "Center", "Spread", "Low", "High"};
    const char* const cases[][5] = {
        {"1", "0.25", "0.25", "0.5", "-0.5"}, {"0.5", "0", "0.25", "-1", "1"}, {"-0.5", "1", "1", "0.25", "-1"}};
    for (const auto& values : cases) {
        std::string what;
        for (int i = 0; i < 5; ++i) {
            inst->setValueText(names[i], values[i]);
            what += std::string(names[i]) + " " + values[i] + " ";
        }
        expectOpenCLParity(*inst, variant, what);
    }
}

INSTANTIATE_TEST_SUITE_P(SaturationAdjustVariants, SaturationAdjustOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
