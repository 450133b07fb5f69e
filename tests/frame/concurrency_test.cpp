// Instances of one effect rendering at the same time on host threads, as hosts that render frames in parallel do. Their kernels are one
// set shared by all instances of the effect, so a render whose arguments are
// set while the other's are set or launched would draw with the wrong
// values; on the processor the row split and the images must stay apart too.
// Each render is compared with the same instance's render made alone.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "EffectTest.h"
#include "OpenCLParity.h"

using namespace ondu1test;
using ofxhost::Depth;
using ofxhost::PixelOrder;

namespace {

constexpr int kRounds = 150;

struct Setting {
    std::string name, value;
};

// Renders one instance per setting alone, then all of them at once, each on
// a thread of its own, `kRounds` times over in the variant, and counts the
// renders that differ from the lone one. Small frames keep each render short,
// so that the argument setting of one falls among the others' as often as
// it can.
void expectConcurrentRendersAgree(const std::shared_ptr<ofxhost::Host>& host, const std::string& effect,
                                  const std::vector<Setting>& settings, const Variant& variant, bool onDevice) {
    ofxhost::RenderOptions options;
    options.depth = variant.depth;
    options.order = variant.order;
    options.openCL = onDevice;
    const auto render = [&options](ofxhost::Instance& instance, OfxStatus& status) {
        ofxhost::ImageBuffer out = instance.makeOutput(options);
        status = instance.render(0.0, options, out);
        return out;
    };
    auto plugin = loadEffect(host, effect);
    const auto source = ofxhost::ImageBuffer::testFrame(23, 7, variant.depth, variant.order, 9);
    std::vector<std::unique_ptr<ofxhost::Instance>> instances;
    std::vector<ofxhost::ImageBuffer> alone;
    for (const Setting& setting : settings) {
        instances.push_back(filterOn(*plugin, source));
        instances.back()->setValueText(setting.name, setting.value);
        OfxStatus status = kOfxStatOK;
        alone.push_back(render(*instances.back(), status));
        ASSERT_EQ(status, kOfxStatOK);
    }
    for (std::size_t i = 1; i < alone.size(); ++i)
        ASSERT_NE(firstDifference(alone[0], alone[i]), "") << "the settings must draw different pictures";

    std::atomic<int> mismatches{0};
    const auto run = [&](std::size_t i) {
        for (int round = 0; round < kRounds; ++round) {
            OfxStatus status = kOfxStatOK;
            const ofxhost::ImageBuffer out = render(*instances[i], status);
            if (status != kOfxStatOK || firstDifference(out, alone[i]) != "") ++mismatches;
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < instances.size(); ++i) threads.emplace_back(run, i);
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(mismatches.load(), 0) << effect << " in " << variantName(variant);
}

const std::vector<Setting> kInvertSettings{
    {"BlendAmount", "1"}, {"BlendAmount", "0.3"}, {"BlendAmount", "0.6"}, {"BlendAmount", "0"}};
const std::vector<Setting> kColorBalanceSettings{{"Red", "0.4"}, {"Blue", "-0.3"}, {"Green", "0.2"}, {"Red", "-0.5"}};

const std::vector<Variant> kCheckedVariants{{Depth::Byte, PixelOrder::BGRA}, {Depth::Float, PixelOrder::RGBA}};

TEST(ConcurrentRenders, InstancesOnTheProcessorAgreeWithLoneRenders) {
    const auto host = quietHost();
    for (const Variant& v : kCheckedVariants) {
        expectConcurrentRendersAgree(host, "talvo.effects:invert", kInvertSettings, v, false);
        expectConcurrentRendersAgree(host, "talvo.effects:colorbalance", kColorBalanceSettings, v, false);
    }
}

TEST(ConcurrentRenders, InstancesOnOneOpenCLDeviceAgreeWithLoneRenders) {
    if (!openCLDevice()) GTEST_SKIP() << kNoOpenCL;
    // The host lets both renders use the device at once; the effects' own
    // launch lock is all that keeps their kernel arguments apart.
    openCLDevice()->setOneRenderAtATime(false);
    const auto host = openCLHost();
    for (const Variant& v : kCheckedVariants) {
        expectConcurrentRendersAgree(host, "talvo.effects:invert", kInvertSettings, v, true);
        expectConcurrentRendersAgree(host, "talvo.effects:colorbalance", kColorBalanceSettings, v, true);
    }
    openCLDevice()->setOneRenderAtATime(true);
}

}  // namespace
