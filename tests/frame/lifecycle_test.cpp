// The module's life as hosts live it: every effect described and rendered,
// unloaded twice, its record read after the unload, loaded and rendered
// again, and the whole module closed and opened anew. Run under
// AddressSanitizer (make sanitize) this is also the check that nothing is
// read after it is freed and that load, unload and reload leak nothing.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstring>
#include <string>

#include "EffectTest.h"
#include "ofxImageEffect.h"

using namespace ondu1test;

namespace {

// Loads, describes and renders each effect of the bundle, then lets it go
// (the host's unload).
void renderEveryEffect(const std::shared_ptr<ofxhost::Host>& host, const std::shared_ptr<ofxhost::Bundle>& bundle) {
    for (int i = 0; i < bundle->pluginCount(); ++i) {
        auto plugin = ofxhost::Plugin::load(host, bundle, i);
        auto instance = instanceInFirstContext(*plugin, 16, 8);
        ASSERT_NE(instance, nullptr) << plugin->id() << " declares no context";
        for (const ofxhost::Depth depth : {ofxhost::Depth::Byte, ofxhost::Depth::Float}) {
            ofxhost::RenderOptions options;
            options.depth = depth;
            ofxhost::ImageBuffer output = instance->makeOutput(options);
            EXPECT_EQ(instance->render(0.0, options, output), kOfxStatOK) << plugin->id();
        }
    }
}

TEST(ModuleLife, RecordsOutliveUnloadsAndEveryEffectRendersAfterAReload) {
    const auto host = quietHost();
    auto bundle = ofxhost::Bundle::open(kBundle, host.get());
    ASSERT_GT(bundle->pluginCount(), 0);
    std::vector<OfxPlugin*> records;
    for (int i = 0; i < bundle->pluginCount(); ++i) records.push_back(bundle->rawPlugin(i));

    renderEveryEffect(host, bundle);
    for (int i = 0; i < bundle->pluginCount(); ++i) {
        // Every effect is unloaded now; a host may still read its record and
        // send a second unload through it, which is answered as a repeated
        // unload is, and changes nothing.
        OfxPlugin* record = records[i];
        EXPECT_STREQ(record->pluginApi, kOfxImageEffectPluginApi);
        EXPECT_EQ(record->pluginIdentifier, bundle->pluginId(i));
        record->setHost(host->ofxHost());
        EXPECT_EQ(record->mainEntry(kOfxActionUnload, nullptr, nullptr, nullptr), kOfxStatOK) << bundle->pluginId(i);
        EXPECT_EQ(bundle->rawPlugin(i), record) << "a reload hands out the same record";
    }
    // The repeated unloads took no load away from the effects that follow:
    // each loads, finds its suites and renders again.
    renderEveryEffect(host, bundle);

    // The last user gone, the module is closed for real, and opened anew it
    // renders as the first time.
    const std::string module = bundle->modulePath();
    bundle.reset();
    EXPECT_EQ(::dlopen(module.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "the module stayed loaded";
    renderEveryEffect(host, ofxhost::Bundle::open(kBundle, host.get()));
}

// An effect unloaded twice while the others stay loaded: before, the second
// unload took another effect's load away and cleared the suites under it.
TEST(ModuleLife, ARepeatedUnloadLeavesTheOtherEffectsLoaded) {
    const auto host = quietHost();
    auto bundle = ofxhost::Bundle::open(kBundle, host.get());
    auto invert = loadEffect(host, "talvo.effects:invert");
    OfxPlugin* sepia = bundle->rawPlugin(bundle->indexOf("talvo.effects:sepia"));
    sepia->setHost(host->ofxHost());
    ASSERT_EQ(sepia->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatOK);
    ASSERT_EQ(sepia->mainEntry(kOfxActionUnload, nullptr, nullptr, nullptr), kOfxStatOK);
    ASSERT_EQ(sepia->mainEntry(kOfxActionUnload, nullptr, nullptr, nullptr), kOfxStatOK);
    const auto source = rowImage({{10, 200, 30, 255}}, ofxhost::Depth::Byte);
    auto instance = filterOn(*invert, source);
    ofxhost::RenderOptions options;
    ofxhost::ImageBuffer output = instance->makeOutput(options);
    ASSERT_EQ(instance->render(0.0, options, output), kOfxStatOK);
    EXPECT_EQ(pixelAt(output, 0, 0), (Rgba{245, 55, 225, 255}));
}

}  // namespace
