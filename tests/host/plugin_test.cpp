// Loading bundles and describing plug-ins: the action order, descriptors and
// their properties, the host's identity and withheld suites, raw actions,
// and reload after unload.
#include <gtest/gtest.h>

#include "HostTestSupport.h"
#include "ofxTalvo.h"
#include "ofxhost/Describe.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Status.h"
#include "ofxhost/Suites.h"

using namespace ofxhost;
using hosttest::kBundle;

namespace {

TEST(Bundle, OpensByDirectoryOrModuleAndListsRecords) {
    auto b = Bundle::open(kBundle);
    ASSERT_EQ(b->pluginCount(), 3);
    EXPECT_EQ(b->pluginId(0), "ondu1.test:tint");
    EXPECT_EQ(b->rawPlugin(2)->pluginVersionMajor, 2u);
    EXPECT_EQ(b->indexOf("ondu1.test:mix"), 2);
    EXPECT_EQ(b->indexOf("nope"), -1);
    EXPECT_THROW(b->rawPlugin(3), Error);
    auto m = Bundle::open(modulePathOf(kBundle));
    EXPECT_EQ(m->pluginCount(), 3);
    EXPECT_THROW(Bundle::open("/no/such.ofx.bundle"), Error);
}

TEST(Bundle, SearchSkipsAtFoldersAndFindsNestedBundles) {
    hosttest::TempDir dir;
    std::filesystem::create_directories(dir.path() / "a" / "X.ofx.bundle");
    std::filesystem::create_directories(dir.path() / "@skip" / "Y.ofx.bundle");
    std::filesystem::create_directories(dir.path() / "b" / "c" / "Z.ofx.bundle");
    const auto found = findBundles({dir.path().string(), kBundle});
    ASSERT_EQ(found.size(), 3u);
    EXPECT_NE(found[0].find("X.ofx.bundle"), std::string::npos);
    EXPECT_NE(found[1].find("Z.ofx.bundle"), std::string::npos);
    EXPECT_EQ(found[2], kBundle);
}

TEST(Plugin, DescribesContextsClipsAndParameters) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
    const PluginInfo info = describePlugin(*plugin, "filter");
    EXPECT_EQ(info.label, "Test Tint");
    EXPECT_EQ(info.version, "1.2");
    EXPECT_EQ(info.group, "Host Tests");
    EXPECT_EQ(info.contexts, (std::vector<std::string>{"filter", "general"}));
    EXPECT_EQ(info.depths, (std::vector<std::string>{kOfxBitDepthByte, kOfxBitDepthFloat}));
    EXPECT_EQ(info.upliftGUIDs, std::vector<std::string>{"{00000000-0000-0000-0000-000000000001}"});
    ASSERT_EQ(info.clips.size(), 2u);
    EXPECT_EQ(info.clips[1].name, "Source");
    EXPECT_EQ(info.clips[1].components, std::vector<std::string>{kOfxImageComponentRGBA});

    auto find = [&](const std::string& name) {
        for (const auto& p : info.params)
            if (p.name == name) return p;
        ADD_FAILURE() << "no parameter " << name;
        return ParamInfo{};
    };
    const ParamInfo gain = find("Gain");
    EXPECT_EQ(gain.scriptName, "gain");
    EXPECT_EQ(gain.defaultValue.dump(false), "1");
    EXPECT_EQ(gain.min, std::vector<double>{0.0});
    EXPECT_EQ(gain.max, std::vector<double>{4.0});
    EXPECT_EQ(gain.displayMax, std::vector<double>{2.0});
    EXPECT_EQ(gain.increment, 0.1);
    EXPECT_EQ(gain.digits, 3);
    EXPECT_EQ(gain.parent, "Advanced");
    EXPECT_EQ(gain.page, "Controls");  // through its group
    EXPECT_TRUE(gain.animates);
    EXPECT_EQ(find("Tint").defaultValue.dump(false), "[1,1,1,1]");
    EXPECT_EQ(find("Mode").options, (std::vector<std::string>{"Copy", "Gain", "Thread index"}));
    EXPECT_EQ(find("Note").defaultValue.dump(false), "\"hello\"");
    EXPECT_FALSE(find("Note").animates);
    EXPECT_TRUE(find("Threads").secret);
    EXPECT_EQ(find("Picture").type, kOfxParamTypeImage);
    EXPECT_EQ(find("Offset").page, "");

    // Vendor properties are kept and readable by name.
    EXPECT_EQ(plugin->describe().props().getInt("OndU1TestVendorProperty"), 42);
    const auto json = describeJson(info).dump(false);
    for (const char* key : {"\"id\":", "\"version\":", "\"label\":", "\"group\":", "\"contexts\":", "\"depths\":",
                            "\"opencl\":false", "\"opengl\":false", "\"clips\":", "\"params\":", "\"scriptName\":",
                            "\"displayMin\":", "\"increment\":", "\"options\":", "\"secret\":", "\"animates\":"})
        EXPECT_NE(json.find(key), std::string::npos) << key;
    EXPECT_THROW(plugin->describeInContext("transition"), Error);
}

TEST(Plugin, HostIdentityIsConfigurable) {
    HostConfig config;
    config.name = "talvo.effects.talvo.harbor.pe";
    config.versionMajor = 17;
    config.propertyOverrides.push_back({kOfxPropTalvoHostAppDataDirectory, std::vector<std::string>{"/tmp"}});
    config.withheldProperties.insert(kOfxImageEffectPropRenderQualityDraft);
    auto host = hosttest::quietHost(config);
    const PropertySet& p = host->properties();
    EXPECT_EQ(p.getString(kOfxPropName), "talvo.effects.talvo.harbor.pe");
    EXPECT_EQ(p.getInts(kOfxPropVersion), (std::vector<int>{17, 0, 0}));
    EXPECT_EQ(p.getString(kOfxPropTalvoHostAppDataDirectory), "/tmp");
    EXPECT_FALSE(p.has(kOfxImageEffectPropRenderQualityDraft));
    // The defaults present talvo.effects.talvo 20.0 with the BGR depths.
    auto plain = hosttest::quietHost();
    EXPECT_EQ(plain->properties().getString(kOfxPropName), "talvo.effects.talvo");
    EXPECT_EQ(plain->properties().getInt(kOfxPropVersion, 0), 20);
    const auto depths = plain->properties().getStrings(kOfxImageEffectPropSupportedPixelDepths);
    EXPECT_NE(std::find(depths.begin(), depths.end(), kOfxBitDepthFloatBGR), depths.end());
}

TEST(Plugin, SuitesOfferedAndWithheld) {
    HostConfig config;
    config.withheldSuites = {kOfxParameterSuite};
    auto host = hosttest::quietHost(config);
    EXPECT_EQ(host->fetchSuite(kOfxParameterSuite, 1), nullptr);
    EXPECT_NE(host->fetchSuite(kOfxPropertySuite, 1), nullptr);
    EXPECT_NE(host->fetchSuite(kOfxMessageSuite, 2), nullptr);
    EXPECT_EQ(host->fetchSuite(kOfxPropertySuite, 2), nullptr);
    const auto offered = host->suites();
    EXPECT_EQ(std::count(offered.begin(), offered.end(), std::pair<std::string, int>{kOfxParameterSuite, 1}), 0);
    EXPECT_EQ(std::count(offered.begin(), offered.end(), std::pair<std::string, int>{kOfxMultiThreadSuite, 1}), 1);
    EXPECT_NE(host->fetchSuite(kOfxTalvoKeyframeSuite, 1), nullptr);
    for (const char* absent : {kOfxOpenCLProgramSuite, kOfxOpenGLRenderSuite, kOfxTalvoStereoscopicImageEffectSuite,
                               kOfxTalvoEffectSuite, kOfxTalvoProgressSuite})
        EXPECT_EQ(host->fetchSuite(absent, 1), nullptr) << absent;
    const OfxHost* raw = host->ofxHost();
    EXPECT_EQ(raw->fetchSuite(nullptr, kOfxPropertySuite, 1), nullptr);
    EXPECT_EQ(raw->fetchSuite(raw->host, nullptr, 1), nullptr);
    // The test plug-in needs the parameter suite: its load fails, by name.
    try {
        hosttest::loadTestPlugin(host, "ondu1.test:tint");
        FAIL() << "loaded without the parameter suite";
    } catch (const Error& e) {
        EXPECT_EQ(e.status(), kOfxStatErrMissingHostFeature);
        EXPECT_NE(e.why().find("kOfxStatErrMissingHostFeature"), std::string::npos);
    }
}

TEST(Plugin, RawActionsWithAnyHandles) {
    auto host = hosttest::quietHost();
    auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:ramp");
    EXPECT_EQ(plugin->callAction("OfxNoSuchAction", nullptr, nullptr, nullptr), kOfxStatReplyDefault);
    EXPECT_EQ(plugin->callAction(kOfxActionPurgeCaches, nullptr, nullptr, nullptr), kOfxStatReplyDefault);
}

TEST(Plugin, ReloadAfterUnloadStartsTheModuleAfresh) {
    auto host = hosttest::quietHost();
    for (int round = 0; round < 2; ++round) {
        auto plugin = hosttest::loadTestPlugin(host, "ondu1.test:mix");
        // The module counts describes in a static: a fresh module starts at 1.
        EXPECT_EQ(summarisePlugin(*plugin).description, "describe #1") << "round " << round;
        auto instance = plugin->createInstance("transition");
        EXPECT_EQ(instance->inputClipNames(), (std::vector<std::string>{"SourceFrom", "SourceTo"}));
    }
}

class TintInstance : public ::testing::Test {
protected:
    std::shared_ptr<Host> host = hosttest::quietHost();
    std::shared_ptr<Plugin> plugin = hosttest::loadTestPlugin(host, "ondu1.test:tint");
    std::unique_ptr<Instance> inst = plugin->createInstance("filter");
};

TEST_F(TintInstance, ParametersByNameOrScriptNameWithNotifications) {
    EXPECT_EQ(inst->value("gain", 0).n[0], 1.0);
    inst->setValueText("gain", "2.5");
    EXPECT_EQ(inst->value("Gain", 0).n[0], 2.5);
    EXPECT_THROW(inst->setValueText("Gain", "9"), Error);  // outside 0..4
    EXPECT_THROW(inst->param("NoSuch"), Error);
    EXPECT_THROW(inst->setValueText("Note", "x", 3.0), Error);  // does not animate
    EXPECT_THROW(inst->connect("Nope", std::make_shared<const ImageBuffer>(2, 2, Depth::Byte, PixelOrder::RGBA)),
                 Error);
    EXPECT_THROW(inst->setValueText("Reset", ""), Error);  // a push button takes no value
    host->clearMessages();
    EXPECT_EQ(inst->instanceChanged(kOfxTypeParameter, "Reset", kOfxChangeUserEdited, 0.0), kOfxStatReplyDefault);
    const auto messages = host->messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].pluginId, "ondu1.test:tint");
    EXPECT_EQ(messages[0].text, "reset pressed");
    EXPECT_EQ(messages[0].type, kOfxMessageMessage);
}

TEST_F(TintInstance, CustomParameterInterpolatesThroughThePlugin) {
    inst->setValueText("Curve", "10", 0.0);
    inst->setValueText("Curve", "20", 4.0);
    EXPECT_EQ(inst->value("Curve", 1.0).s, "12.5");
    EXPECT_EQ(inst->value("Curve", 4.0).s, "20");
    EXPECT_EQ(inst->value("Curve", 9.0).s, "20");
    // The plug-in sees the same through the suite.
    const char* s = nullptr;
    EXPECT_EQ(suites::parameter()->paramGetValueAtTime(inst->param("Curve").handle(), 3.0, &s), kOfxStatOK);
    EXPECT_STREQ(s, "17.5");
}

TEST_F(TintInstance, ParametricDefaultsComeFromTheDescriptor) {
    double y = 0;
    EXPECT_EQ(suites::parametric()->parametricParamGetValue(inst->param("Lut").handle(), 0, 0, 0.5, &y), kOfxStatOK);
    EXPECT_EQ(y, 0.25);
}

}  // namespace
