// Black and White on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class BlackAndWhiteOpenCLParity : public ::testing::TestWithParam<Variant> {};

// 37 x 19 is no multiple of a work-group shape. Blend 1 is all grey, 0.25 a
// byte weight of 191 with truncating negative mixes, 0.1 and 0.3 weights of
// exactly 229.5 and 178.5 (rounded up) whose nearest floats round down, 1e-6
// just above the copy cut-off (a weight of 255: one short of the source), 0
// the plain copy.
TEST_P(BlackAndWhiteOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:blackandwhite");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    for (const char* blend : {"1", "0.25", "0.1", "0.3", "1e-6", "0"}) {
        inst->setValueText("BlendAmount", blend);
        expectOpenCLParity(*inst, variant, std::string("blend ") + blend);
    }
}

INSTANTIATE_TEST_SUITE_P(BlackAndWhiteVariants, BlackAndWhiteOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
