// Color Balance on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include <string>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class ColorBalanceOpenCLParity : public ::testing::TestWithParam<Variant> {};

// Each range type, with and without preserved luminosity; sliders at the
// ends of their range drive bytes past 0 and 255 and show which colour each
// slider moves in either order.
TEST_P(ColorBalanceOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:colorbalance");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    struct Case {
        const char *red, *green, *blue, *type, *preserve;
    };
    for (const Case& k : {Case{"0.5", "-0.375", "0.25", "0", "true"}, Case{"0.5", "-0.375", "0.25", "1", "false"},
                          Case{"-0.5", "0.125", "0.5", "2", "true"}, Case{"-0.5", "0.125", "0.5", "1", "true"}}) {
        inst->setValueText("Red", k.red);
        inst->setValueText("Green", k.green);
        inst->setValueText("Blue", k.blue);
        inst->setValueText("Type", k.type);
        inst->setValueText("PreserveLuminosity", k.preserve);
        expectOpenCLParity(*inst, variant, std::string("type ") + k.type + ", preserve " + k.preserve);
    }
}

INSTANTIATE_TEST_SUITE_P(ColorBalanceVariants, ColorBalanceOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
