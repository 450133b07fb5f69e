// Every generator on the host's OpenCL device against its processor render,
// over the four pixel variants, at 37 x 19 (no multiple of a work-group
// shape, so the kernels' guards and the packed row length show). The
// colours are not grey, so a kernel that put a colour in the other order's
// place would show.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OpenCLParity.h"

using namespace ondu1test;

namespace {

std::vector<ParityCase> generatorCases() {
    std::vector<ParityCase> cases{
        // A partial alpha truncates each byte product; components outside
        // 0..1 keep the low byte of their truncation (2 * 255 * 0.75 = 382.5
        // gives 126, a negative one wraps), and a float keeps them.
        {"solidcolor", "Color=1,0.5,0.25,0.5"},
        {"solidcolor", "Color=1,0.5,0,1"},
        {"solidcolor", "Color=0.3,0.7,0.9,0.6"},
        {"solidcolor", "Color=2,-0.5,1,0.75"},
        {"solidcolor", "Color=1,1,1,0"},
        // Hard edges (the half-pixel soft band); soft bands both ways with a
        // grid offset and translucent colours; bands that meet across a
        // whole tile; fine tiles; tiles widened to one pixel. The row walk's
        // float additions round: on fine tiles (1.11 pixels) edges taken as
        // products instead of sums move some weights by one, and so, at
        // offset 0.001, does X taken as one sum instead of the steps.
        {"checkerboard", ""},
        {"checkerboard", "TileDimensionsWidth=0.05;GridOffsetX=0.001"},
        {"checkerboard", "TileDimensionsWidth=0.13;EdgeBlendingHorizontal=0.3;EdgeBlendingVertical=0.3;"
                         "GridOffsetX=0.37;GridOffsetY=0.21;Color1=0.9,0.2,0.4,0.6;Color2=0.1,0.8,0.3,0.35"},
        {"checkerboard", "TileDimensionsSquare=false;EdgeBlendingProportional=false;TileDimensionsWidth=0.29;"
                         "TileDimensionsHeight=0.3;EdgeBlendingHorizontal=1;EdgeBlendingVertical=0.6;GridOffsetX=0.9"},
        {"checkerboard", "TileDimensionsWidth=0.03;GridOffsetX=0.04;GridOffsetY=0.13"},
        {"checkerboard", "TileDimensionsWidth=0.001;Color2=2,-0.5,1,0.75"},
        // Noise weights pushed past both ends of 0..65536 with the colours
        // swapped, and Min above Max (the flat mix); the styles follow.
        {"noisetexture", "NoiseParametersAmplitude=4;NoiseParametersBias=-0.5;Swapcolors=true;Color2=0.25,0.5,1,0.5"},
        {"noisetexture", "NoiseStyle=6;NoiseParametersMin=0.75;NoiseParametersMax=0.25;Color1=0.5,0.25,1,0.5"},
    };
    // Every noise style (signed and absolute sums, the bands with and
    // without their ripple, the rings) over layers, one faded in by the
    // fraction, with offsets, progress and translucent colours; every value
    // a float, as the kernels recompute the noise from narrowed values.
    for (int style = 0; style < 7; ++style)
        cases.push_back({"noisetexture", "NoiseStyle=" + std::to_string(style) +
                                             ";NumberOfLayers=3.5;NoiseParametersGrainAmplitudeFalloff=0.75;"
                                             "FrequencyX=6.5;FrequencyY=12.25;OffsetX=-0.75;OffsetY=1.5;"
                                             "OffsetprogressinDegrees=2.5;Color1=1,0.5,0.25,0.75;"
                                             "Color2=0.125,0.875,0.5,1"});
    // Every test pattern, so that each band and segment of the kernel's
    // tables is drawn: at this size the narrowest (a PLUGE third, 1/21 of
    // the width; a porch, 1/20 of the height) still take a pixel.
    for (int pattern = 0; pattern < 9; ++pattern)
        cases.push_back({"testpattern", "TestPatternType=" + std::to_string(pattern)});
    return cases;
}

class GeneratorOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(GeneratorOpenCLParity, EveryGeneratorMatchesItsProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    expectParityCases(generatorCases(), [](ofxhost::Plugin& plugin) { return generatorOf(plugin, 37, 19); },
                      GetParam());
}

INSTANTIATE_TEST_SUITE_P(Variants, GeneratorOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

}  // namespace
