// Invert on the host's OpenCL device against its processor render, and the
// path's silent failure.
#include <gtest/gtest.h>

#include "OpenCLParity.h"
#include "ofxGPURender.h"

using namespace ondu1test;

namespace {

class InvertOpenCLParity : public ::testing::TestWithParam<Variant> {};

// A size that is no multiple of any work-group shape, so the kernel's guards
// and the packed row length both show; blend 0.7 exercises the byte mix's
// strength rounding, 1.0 the bare inversion.
TEST_P(InvertOpenCLParity, MatchesTheProcessor) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    auto plugin = loadEffect(openCLHost(), "talvo.effects:invert");
    ASSERT_EQ(plugin->describe().props().getString(kOfxImageEffectPropOpenCLSupported), "true");
    const Variant variant = GetParam();
    auto inst = filterOn(*plugin, edgeFrame(37, 19, variant));
    for (const char* blend : {"0.7", "1"}) {
        inst->setValueText("BlendAmount", blend);
        expectOpenCLParity(*inst, variant, std::string("blend ") + blend);
    }
}

INSTANTIATE_TEST_SUITE_P(InvertVariants, InvertOpenCLParity, ::testing::ValuesIn(kAllVariants), variantTestName);

// A program that fails to compile leaves the effect with no kernel, while it
// still declares OpenCL support: the first argument is refused, nothing is
// launched, and the render answers OK with the output as the host seeded it.
TEST(InvertOpenCLFailure, LeavesTheOutputUntouched) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    ofxhost::HostConfig config;
    config.openCLBuildOptions = "-Dfloat=no_such_type";
    auto plugin = loadEffect(openCLHost(std::move(config)), "talvo.effects:invert");
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
