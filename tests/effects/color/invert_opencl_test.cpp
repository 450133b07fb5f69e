// Invert on the host's OpenCL device against its processor render, in the
// four pixel variants. Skips, saying why, where no OpenCL platform exists.
#include <gtest/gtest.h>

#include "EffectTest.h"
#include "ofxGPURender.h"
#include "ofxhost/OpenCLDevice.h"

using namespace ondu1test;
using ofxhost::Depth;

namespace {

const char* const kNoPlatform = "no OpenCL platform (install an ICD, e.g. pocl-opencl-icd)";

// One device for the file: contexts are slow to make on some platforms.
std::shared_ptr<ofxhost::OpenCLDevice> sharedDevice() {
    static std::shared_ptr<ofxhost::OpenCLDevice> device =
        ofxhost::openCLPlatforms().empty() ? nullptr : ofxhost::OpenCLDevice::open();
    return device;
}

class InvertOpenCLParity : public ::testing::TestWithParam<Variant> {};

// A size that is no multiple of any work-group shape, so the kernel's guards
// and the packed row length both show; blend 0.7 exercises the byte mix's
// strength rounding, 1.0 the bare inversion.
TEST_P(InvertOpenCLParity, MatchesTheProcessor) {
    if (!sharedDevice()) GTEST_SKIP() << kNoPlatform;
    const Variant variant = GetParam();
    ofxhost::HostConfig config;
    config.openCL = sharedDevice();
    auto host = quietHost(std::move(config));
    auto plugin = loadEffect(host, "talvo.effects:invert");
    ASSERT_EQ(plugin->describe().props().getString(kOfxImageEffectPropOpenCLSupported), "true");
    auto inst = filterOn(*plugin, ofxhost::ImageBuffer::testFrame(37, 19, variant.depth, variant.order, 5));

    ofxhost::RenderOptions cpu;
    cpu.depth = variant.depth;
    cpu.order = variant.order;
    ofxhost::RenderOptions gpu = cpu;
    gpu.openCL = true;
    for (const char* blend : {"0.7", "1"}) {
        inst->setValueText("BlendAmount", blend);
        auto expected = inst->makeOutput(cpu);
        auto actual = inst->makeOutput(gpu);
        ASSERT_EQ(inst->render(0.0, cpu, expected), kOfxStatOK);
        ASSERT_EQ(inst->render(0.0, gpu, actual), kOfxStatOK);
        ASSERT_FALSE(actual.samePixels(inst->makeOutput(gpu))) << "the kernel wrote nothing";
        for (int y = 0; y < 19; ++y) {
            for (int x = 0; x < 37; ++x) {
                for (int c = 0; c < 4; ++c) {
                    if (variant.depth == Depth::Byte)
                        ASSERT_EQ(actual.byteAt(x, y, c), expected.byteAt(x, y, c))
                            << "blend " << blend << " at " << x << "," << y << " channel " << c;
                    else
                        ASSERT_NEAR(actual.floatAt(x, y, c), expected.floatAt(x, y, c), 1e-6)
                            << "blend " << blend << " at " << x << "," << y << " channel " << c;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(InvertVariants, InvertOpenCLParity, ::testing::ValuesIn(kAllVariants),
                         [](const auto& info) {
                             return std::string(ofxhost::depthName(info.param.depth)) + "_" +
                                    ofxhost::orderName(info.param.order);
                         });

}  // namespace
