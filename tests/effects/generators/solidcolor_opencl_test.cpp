// Solid Color on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class SolidColorOpenCLParity : public ::testing::TestWithParam<Variant> {};

// A partial alpha truncates each byte product; components outside 0..1 keep
// the low byte of their truncation (2 * 255 * 0.75 = 382.5 gives 126, a
// negative one wraps), and a float keeps them as they are.
TEST_P(SolidColorOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:solidcolor");
    auto inst = generatorOf(*plugin, 37, 19);
    for (const char* colour : {"1,0.5,0.25,0.5", "0.3,0.7,0.9,0.6", "2,-0.5,1,0.75", "1,1,1,0"}) {
        inst->setValueText("Color", colour);
        expectOpenCLParity(*inst, GetParam(), std::string("colour ") + colour);
    }
}

INSTANTIATE_TEST_SUITE_P(SolidColorVariants, SolidColorOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
