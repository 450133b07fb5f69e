// Noise Texture on the host's OpenCL device against its processor render.
// The kernels see the parameters as floats: every value here is one, so
// the pictures agree exactly.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

class NoiseTextureOpenCLParity : public ::testing::TestWithParam<Variant> {};

using Settings = std::vector<std::pair<std::string, std::string>>;

// Every style (signed and absolute fractal sums, the bands with and without
// their ripple, the rings) over several layers, one of them faded in by the
// fraction, with offsets, progress and translucent colours; then weights
// pushed past both ends of 0..65536 with the colours swapped, and Min above
// Max (the flat mix).
TEST_P(NoiseTextureOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:noisetexture");
    auto expectParity = [&](const std::string& what, const Settings& settings) {
        auto inst = generatorOf(*plugin, 37, 19);
        for (const auto& [name, value] : settings) inst->setValueText(name, value);
        expectOpenCLParity(*inst, GetParam(), what);
    };
    for (int style = 0; style < 7; ++style) {
        expectParity("style " + std::to_string(style), {{"NoiseStyle", std::to_string(style)},
                                                        {"NumberOfLayers", "3.5"},
                                                        {"NoiseParametersGrainAmplitudeFalloff", "0.75"},
                                                        {"FrequencyX", "6.5"},
                                                        {"FrequencyY", "12.25"},
                                                        {"OffsetX", "-0.75"},
                                                        {"OffsetY", "1.5"},
                                                        {"OffsetprogressinDegrees", "2.5"},
                                                        {"Color1", "1,0.5,0.25,0.75"},
                                                        {"Color2", "0.125,0.875,0.5,1"}});
    }
    expectParity("clamped and swapped", {{"NoiseParametersAmplitude", "4"},
                                         {"NoiseParametersBias", "-0.5"},
                                         {"Swapcolors", "true"},
                                         {"Color2", "0.25,0.5,1,0.5"}});
    expectParity("min above max", {{"NoiseStyle", "6"},
                                   {"NoiseParametersMin", "0.75"},
                                   {"NoiseParametersMax", "0.25"},
                                   {"Color1", "0.5,0.25,1,0.5"}});
}

INSTANTIATE_TEST_SUITE_P(NoiseTextureVariants, NoiseTextureOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         variantTestName);

}  // namespace
