// Every colour filter on the host's OpenCL device against its processor
// render, over the four pixel variants, on the edge frame at 37 x 19 (no
// multiple of a work-group shape, so the kernels' guards and the packed row
// length show). Parameter values are floats unless a case says otherwise:
// the kernels receive them narrowed.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OpenCLParity.h"
#include "ofxGPURender.h"

using namespace ondu1test;

namespace {

// Channel Blend's twenty terms, group by group (red, green, blue, alpha),
// each its four weights then its offset.
std::string channelBlend(const char* normalize, const std::vector<const char*>& terms) {
    static const char* const groups[] = {"RED", "GREEN", "BLUE", "ALPHA"};
    static const char* const names[] = {"R", "G", "B", "A", "Offset"};
    std::string s = std::string("Normalize=") + normalize;
    for (std::size_t i = 0; i < terms.size(); ++i)
        s += std::string(";") + groups[i / 5] + " weight " + names[i % 5] + "=" + terms[i];
    return s;
}

std::vector<ParityCase> colourCases() {
    return {
        // The byte mix's strength rounding, and the bare inversion.
        {"invert", "BlendAmount=0.7"},
        {"invert", "BlendAmount=1"},
        // All grey; a weight of 191 with truncating negative mixes; 0.1 and
        // 0.3, weights of exactly 229.5 and 178.5 (rounded up) whose nearest
        // floats round down; 1e-6 just above the copy cut-off; the copy.
        {"blackandwhite", "BlendAmount=1"},
        {"blackandwhite", "BlendAmount=0.25"},
        {"blackandwhite", "BlendAmount=0.1"},
        {"blackandwhite", "BlendAmount=0.3"},
        {"blackandwhite", "BlendAmount=1e-6"},
        {"blackandwhite", "BlendAmount=0"},
        // The lift alone, the reciprocal spread alone, both steps with the
        // flattening spread, contrast 1's hard threshold, a copy, and a lift
        // just above 1e-6 that narrows onto it yet still runs.
        {"brightnessandcontrast", "Brightness=0.25;Contrast=0;ContrastCenter=0.5"},
        {"brightnessandcontrast", "Brightness=0;Contrast=0.5;ContrastCenter=0.25"},
        {"brightnessandcontrast", "Brightness=-0.25;Contrast=-0.5;ContrastCenter=0.75"},
        {"brightnessandcontrast", "Brightness=0;Contrast=1;ContrastCenter=0.5"},
        {"brightnessandcontrast", "Brightness=0;Contrast=0;ContrastCenter=0.5"},
        {"brightnessandcontrast", "Brightness=1.00000001e-6;Contrast=0;ContrastCenter=0.5"},
        // Knots inside the frame's measures with a boost that clamps bytes;
        // the first two knots together; an over-range colour past the last.
        {"saturationadjust", "Amount=1;Center=0.25;Spread=0.25;Low=0.5;High=-0.5"},
        {"saturationadjust", "Amount=0.5;Center=0;Spread=0.25;Low=-1;High=1"},
        {"saturationadjust", "Amount=-0.5;Center=1;Spread=1;Low=0.25;High=-1"},
        // A quarter turn; three quarters with the byte clamps passed; a whole
        // turn, which wraps pure red's 1.0 to 2.0 and back.
        {"hsladjust", "Output=0.25;Saturation=1.5;Luminance=0.75"},
        {"hsladjust", "Output=0.75;Saturation=2;Luminance=1.5"},
        {"hsladjust", "Output=1;Saturation=1;Luminance=1"},
        // Both axes shifted with some desaturation; inverted and darkened;
        // inverted with all colour taken away.
        {"labadjust", "Lightness=1.5;lightness=0.25;Channelb=-0.5;InvertLuminance=false;Desaturate=0.25"},
        {"labadjust", "Lightness=0.75;lightness=-0.125;Channelb=0.375;InvertLuminance=true;Desaturate=0"},
        {"labadjust", "Lightness=1;lightness=0;Channelb=0;InvertLuminance=true;Desaturate=1"},
        // The three zones and both edges (exactly 1/3 and 2/3, not floats,
        // stay in the lower zone), an asymmetric tint so that the pixel
        // order shows, and a tint outside 0..1, whose bytes wrap.
        {"sepia", "Color=0.6509803921568628,0.6509803921568628,0;BlendingStrength=0;BlendingFalloff=0"},
        {"sepia", "Color=1,0.5,0;BlendingStrength=0.25;BlendingFalloff=0"},
        {"sepia", "Color=1,0.5,0;BlendingStrength=0.3333333333333333;BlendingFalloff=0.5"},
        {"sepia", "Color=1,0.5,0;BlendingStrength=0.5;BlendingFalloff=0.5"},
        {"sepia", "Color=0.25,0.75,1;BlendingStrength=0.6666666666666666;BlendingFalloff=0.25"},
        {"sepia", "Color=0.25,0.75,1;BlendingStrength=1;BlendingFalloff=1"},
        {"sepia", "Color=1.5,-0.25,0.5;BlendingStrength=0.75;BlendingFalloff=0.125"},
        // A falloff a float cannot hold can move one grey level's tint
        // weight, where the processor's double lands on an integer: bytes
        // agree within one level.
        {"sepia", "Color=1,0.5,0;BlendingStrength=1;BlendingFalloff=0.1", 1},
        {"sepia", "Color=1,0.5,0;BlendingStrength=0.5;BlendingFalloff=0.3", 1},
        // Each range type, with and without preserved luminosity; sliders at
        // the ends drive bytes past 0 and 255 and show which colour each moves.
        {"colorbalance", "Red=0.5;Green=-0.375;Blue=0.25;Type=0;PreserveLuminosity=true"},
        {"colorbalance", "Red=0.5;Green=-0.375;Blue=0.25;Type=1;PreserveLuminosity=false"},
        {"colorbalance", "Red=-0.5;Green=0.125;Blue=0.5;Type=2;PreserveLuminosity=true"},
        {"colorbalance", "Red=-0.5;Green=0.125;Blue=0.5;Type=1;PreserveLuminosity=true"},
        // Colours below 0 and above alpha, alpha above full; groups
        // normalised to quarters and halves, one summing below 0 left as it
        // is; no alpha, so all goes to 0.
        {"channelblend", channelBlend("false", {"0.5", "0", "-0.75", "0", "0.125", "0", "2", "0", "0.5", "0", "0",
                                                "0", "-1", "0.25", "0.0625", "-0.25", "0", "0", "1.5", "0"})},
        {"channelblend", channelBlend("true", {"2", "1", "1", "0", "0", "-0.5", "-1", "0", "0", "0", "0", "0", "0.5",
                                               "0", "0.5", "0", "0", "0", "3", "1"})},
        {"channelblend", channelBlend("false", {"1", "0", "0", "0", "0", "0", "1", "0", "0", "0", "0", "0", "1", "0",
                                                "0", "0", "0", "0", "0", "0"})},
    };
}

class ColourOpenCLParity : public ::testing::TestWithParam<Variant> {};

TEST_P(ColourOpenCLParity, EveryFilterMatchesItsProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    const Variant variant = GetParam();
    expectParityCases(colourCases(), [&](ofxhost::Plugin& plugin) { return filterOn(plugin, edgeFrame(37, 19, variant)); },
                      variant);
}

INSTANTIATE_TEST_SUITE_P(Variants, ColourOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

// A program that fails to compile leaves the effect with no kernel, while it
// still declares OpenCL support: the first argument is refused, nothing is
// launched, and the render answers OK with the output as the host seeded it.
TEST(InvertOpenCLFailure, LeavesTheOutputUntouched) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    ofxhost::HostConfig config;
    config.openCLBuildOptions = "-Dfloat=no_such_type";
    auto plugin = loadEffect(openCLHost(std::move(config)), "talvo.effects:invert");
    ASSERT_EQ(plugin->describe().props().getString(kOfxImageEffectPropOpenCLSupported), "true");
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(16, 8, ofxhost::Depth::Byte,
                                                                  ofxhost::PixelOrder::RGBA, 2));
    ofxhost::RenderOptions options;
    options.openCL = true;
    ofxhost::ImageBuffer seeded = ofxhost::ImageBuffer::testFrame(16, 8, ofxhost::Depth::Byte,
                                                                  ofxhost::PixelOrder::RGBA, 9);
    ofxhost::ImageBuffer output = seeded.clone();
    ASSERT_EQ(inst->render(0.0, options, output), kOfxStatOK);
    EXPECT_TRUE(output.samePixels(seeded));
}

}  // namespace
