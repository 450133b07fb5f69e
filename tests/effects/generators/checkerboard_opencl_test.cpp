// Checkerboard on the host's OpenCL device against its processor render.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class CheckerboardOpenCLParity : public ::testing::TestWithParam<Variant> {};

using Settings = std::vector<std::pair<const char*, const char*>>;

// Hard edges (the half-pixel soft band), soft bands in both directions with
// a grid offset and translucent colours, bands that meet across a whole
// tile (no clear run), fine tiles, and tiles widened to one pixel. The row
// walk's float additions round: on the fine tiles (1.11 pixels) edges taken
// as products instead of sums would move some weights by one, and so would,
// at offset 0.001, X taken as one sum instead of the steps that round at
// each power of two.
TEST_P(CheckerboardOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:checkerboard");
    const std::vector<std::pair<const char*, Settings>> cases{
        {"hard edges", {}},
        {"a small offset", {{"TileDimensionsWidth", "0.05"}, {"GridOffsetX", "0.001"}}},
        {"soft bands",
         {{"TileDimensionsWidth", "0.13"},
          {"EdgeBlendingHorizontal", "0.3"},
          {"EdgeBlendingVertical", "0.3"},
          {"GridOffsetX", "0.37"},
          {"GridOffsetY", "0.21"},
          {"Color1", "0.9,0.2,0.4,0.6"},
          {"Color2", "0.1,0.8,0.3,0.35"}}},
        {"bands that meet",
         {{"TileDimensionsSquare", "false"},
          {"EdgeBlendingProportional", "false"},
          {"TileDimensionsWidth", "0.29"},
          {"TileDimensionsHeight", "0.3"},
          {"EdgeBlendingHorizontal", "1"},
          {"EdgeBlendingVertical", "0.6"},
          {"GridOffsetX", "0.9"}}},
        {"fine tiles", {{"TileDimensionsWidth", "0.03"}, {"GridOffsetX", "0.04"}, {"GridOffsetY", "0.13"}}},
        {"one-pixel tiles", {{"TileDimensionsWidth", "0.001"}, {"Color2", "2,-0.5,1,0.75"}}},
    };
    for (const auto& [what, settings] : cases) {
        auto inst = generatorOf(*plugin, 37, 19);
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        expectOpenCLParity(*inst, GetParam(), what);
    }
}

INSTANTIATE_TEST_SUITE_P(CheckerboardVariants, CheckerboardOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
