// Every effect writes every channel of every pixel of its render window, on
// the CPU and with OpenCL: no output may depend on memory the effect never
// wrote. A strict host fills the output with poison first (NaN in floats, a
// pattern in bytes); a channel left alone then shows as NaN, or as a byte
// that differs from the render into a zeroed buffer.
#include <gtest/gtest.h>

#include <cmath>

#include "EffectTest.h"
#include "OpenCLParity.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

void expectEveryChannelWritten(const std::shared_ptr<ofxhost::Host>& host, bool openCL) {
    auto bundle = ofxhost::Bundle::open(kBundle, host.get());
    for (int i = 0; i < bundle->pluginCount(); ++i) {
        auto plugin = ofxhost::Plugin::load(host, bundle, i);
        auto instance = instanceInFirstContext(*plugin, 23, 11);
        ASSERT_NE(instance, nullptr) << plugin->id();
        for (const Depth depth : {Depth::Byte, Depth::Float}) {
            for (const PixelOrder order : {PixelOrder::RGBA, PixelOrder::BGRA}) {
                const std::string what =
                    plugin->id() + " " + variantName({depth, order}) + (openCL ? " with OpenCL" : " on the CPU");
                ofxhost::RenderOptions options;
                options.depth = depth;
                options.order = order;
                options.openCL = openCL;
                ofxhost::ImageBuffer clean = instance->makeOutput(options);
                ASSERT_EQ(instance->render(0.0, options, clean), kOfxStatOK) << what;
                options.poison = true;
                ofxhost::ImageBuffer poisoned = instance->makeOutput(options);
                ASSERT_EQ(instance->render(0.0, options, poisoned), kOfxStatOK) << what;
                EXPECT_EQ(firstDifference(poisoned, clean), "") << what;
                if (depth != Depth::Float) continue;
                for (int y = 0; y < poisoned.height(); ++y)
                    for (int x = 0; x < poisoned.width(); ++x)
                        for (const float v : pixelAt(poisoned, x, y))
                            ASSERT_FALSE(std::isnan(v)) << what << " left (" << x << ", " << y << ") unwritten";
            }
        }
    }
}

TEST(EveryEffect, WritesEveryChannelOfItsOutputOnTheCPU) { expectEveryChannelWritten(quietHost(), false); }

TEST(EveryEffect, WritesEveryChannelOfItsOutputWithOpenCL) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    expectEveryChannelWritten(openCLHost(), true);
}

}  // namespace
