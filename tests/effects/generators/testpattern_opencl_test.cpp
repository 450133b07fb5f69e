// Test Pattern on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include <string>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class TestPatternOpenCLParity : public ::testing::TestWithParam<Variant> {};

// Every pattern, so that each band and segment of the kernel's tables is
// drawn: at 37 x 19 the narrowest segments (a PLUGE third, 1/21 of the
// width) and bands (a porch, 1/20 of the height) still take a pixel. The
// ramp checks the rounding of its byte codes and its float fractions.
TEST_P(TestPatternOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:testpattern");
    auto inst = generatorOf(*plugin, 37, 19);
    for (int pattern = 0; pattern < 9; ++pattern) {
        inst->setValueText("TestPatternType", std::to_string(pattern));
        expectOpenCLParity(*inst, GetParam(), "pattern " + std::to_string(pattern));
    }
}

INSTANTIATE_TEST_SUITE_P(TestPatternVariants, TestPatternOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
