// Two instances of one effect rendering at the same time on two host
// threads, as hosts that render frames in parallel do. Their kernels are one
// set shared by all instances of the effect, so a render whose arguments are
// set while the other's are set or launched would draw with the wrong
// values; on the processor the row split and the images must stay apart too.
// Each render is compared with the same instance's render made alone.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "EffectTest.h"
#include "OpenCLParity.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

constexpr int kRounds = 40;

struct Setting {
    std::string name, value;
};

// Renders each instance alone, then both at once `kRounds` times over in
// the variant, and counts the renders that differ from the lone one.
void expectConcurrentRendersAgree(const std::shared_ptr<ofxhost::Host>& host, const std::string& effect,
                                  const Setting& first, const Setting& second, const Variant& variant) {
    auto plugin = loadEffect(host, effect);
    const auto source = ofxhost::ImageBuffer::testFrame(61, 37, variant.depth, variant.order, 9);
    auto a = filterOn(*plugin, source);
    auto b = filterOn(*plugin, source);
    a->setValueText(first.name, first.value);
    b->setValueText(second.name, second.value);
    const ofxhost::ImageBuffer aloneA = renderVariant(*a, variant);
    const ofxhost::ImageBuffer aloneB = renderVariant(*b, variant);
    ASSERT_NE(firstDifference(aloneA, aloneB), "") << "the two settings must draw different pictures";

    std::atomic<int> mismatches{0};
    const auto run = [&](ofxhost::Instance& instance, const ofxhost::ImageBuffer& alone) {
        for (int i = 0; i < kRounds; ++i) {
            ofxhost::RenderOptions options;
            options.depth = variant.depth;
            options.order = variant.order;
            ofxhost::ImageBuffer out = instance.makeOutput(options);
            if (instance.render(0.0, options, out) != kOfxStatOK || firstDifference(out, alone) != "") ++mismatches;
        }
    };
    std::thread ta(run, std::ref(*a), std::cref(aloneA));
    std::thread tb(run, std::ref(*b), std::cref(aloneB));
    ta.join();
    tb.join();
    EXPECT_EQ(mismatches.load(), 0) << effect << " in " << variantName(variant);
}

const std::vector<Variant> kCheckedVariants{{Depth::Byte, PixelOrder::BGRA}, {Depth::Float, PixelOrder::RGBA}};

TEST(ConcurrentRenders, TwoInstancesOnTheProcessorAgreeWithLoneRenders) {
    const auto host = quietHost();
    for (const Variant& v : kCheckedVariants) {
        expectConcurrentRendersAgree(host, "talvo.effects:invert", {"BlendAmount", "1"}, {"BlendAmount", "0.3"}, v);
        expectConcurrentRendersAgree(host, "talvo.effects:colorbalance", {"Red", "0.4"}, {"Blue", "-0.3"}, v);
    }
}

TEST(ConcurrentRenders, TwoInstancesOnOneOpenCLDeviceAgreeWithLoneRenders) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    // The host lets both renders use the device at once; the effects' own
    // launch lock is all that keeps their kernel arguments apart.
    openCLDevice()->setOneRenderAtATime(false);
    const auto host = openCLHost();
    for (const Variant& v : kCheckedVariants) {
        expectConcurrentRendersAgree(host, "talvo.effects:invert", {"BlendAmount", "1"}, {"BlendAmount", "0.3"}, v);
        expectConcurrentRendersAgree(host, "talvo.effects:colorbalance", {"Red", "0.4"}, {"Blue", "-0.3"}, v);
    }
    openCLDevice()->setOneRenderAtATime(true);
}

}  // namespace
