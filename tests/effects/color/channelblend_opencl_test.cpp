// Channel Blend on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include <array>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class ChannelBlendOpenCLParity : public ::testing::TestWithParam<Variant> {};

constexpr const char* kGroups[4] = {"RED", "GREEN", "BLUE", "ALPHA"};
constexpr const char* kTerms[5] = {"R", "G", "B", "A", "Offset"};

// Weights a float holds exactly (the kernel gets them narrowed). The first
// set drives colours below 0 and above alpha and alpha above full; the
// second normalises groups to quarters and halves, with one group summing
// below 0 that stays as it is; the third has no alpha, so all goes to 0.
TEST_P(ChannelBlendOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:channelblend");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    using Terms = std::array<std::array<const char*, 5>, 4>;
    struct Case {
        const char* normalize;
        Terms terms;
    };
    const Case cases[] = {
        {"false",
         {{{"0.5", "0", "-0.75", "0", "0.125"}, {"0", "2", "0", "0.5", "0"}, {"0", "0", "-1", "0.25", "0.0625"},
           {"-0.25", "0", "0", "1.5", "0"}}}},
        {"true",
         {{{"2", "1", "1", "0", "0"}, {"-0.5", "-1", "0", "0", "0"}, {"0", "0", "0.5", "0", "0.5"},
           {"0", "0", "0", "3", "1"}}}},
        {"false", {{{"1", "0", "0", "0", "0"}, {"0", "1", "0", "0", "0"}, {"0", "0", "1", "0", "0"},
                    {"0", "0", "0", "0", "0"}}}},
    };
    int index = 0;
    for (const Case& k : cases) {
        inst->setValueText("Normalize", k.normalize);
        for (int g = 0; g < 4; ++g)
            for (int t = 0; t < 5; ++t)
                inst->setValueText(std::string(kGroups[g]) + " weight " + kTerms[t], k.terms[g][t]);
        expectOpenCLParity(*inst, variant, "case " + std::to_string(index++));
    }
}

INSTANTIATE_TEST_SUITE_P(ChannelBlendVariants, ChannelBlendOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
