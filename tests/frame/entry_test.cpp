// The dispatcher as a host sees it: statuses, handle checks, log lines, the
// load count and the plug-in records, through raw action calls on the real
// bundle.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "EffectTest.h"
#include "ofxImageEffect.h"
#include "ofxhost/Property.h"

using namespace ondu1test;

namespace {

const char* const kInvert = "talvo.effects:invert";

// Switches the bundle's log on for the test (the bundle opens it when the
// host first asks for its plug-ins) and reads it back.
class LoggedBundle : public ::testing::Test {
protected:
    void SetUp() override {
        log_ = std::filesystem::temp_directory_path() /
               ("ondu1-entry-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".log");
        std::filesystem::remove(log_);
        ::setenv("ONDU1_LOG", log_.c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv("ONDU1_LOG");
        std::filesystem::remove(log_);
    }
    std::string log() const {
        std::ifstream in(log_);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    int count(const std::string& line) const {
        const std::string text = log();
        int n = 0;
        for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++n;
        return n;
    }
    std::filesystem::path log_;
    std::shared_ptr<ofxhost::Host> host = quietHost();
};

TEST_F(LoggedBundle, EachActionIsFramedByStarsStartAndStop) {
    auto plugin = loadEffect(host, kInvert);
    plugin->describe();
    const std::string text = log();
    EXPECT_NE(text.find(std::string(80, '*') + "\nSTART mainEntry (OfxActionDescribe)\n"), std::string::npos);
    EXPECT_NE(text.find("STOP mainEntry (OfxActionDescribe)\n\n"), std::string::npos);
    // The host offers no OpenCL program suite: an optional suite, warned about.
    EXPECT_NE(text.find("    WARNING : Could not fetch the optional suite 'OfxOpenCLProgramSuite' version 1.\n"),
              std::string::npos);
}

TEST_F(LoggedBundle, UnknownAndNullActionsAnswerDefaultWithTheErrorLogged) {
    auto plugin = loadEffect(host, kInvert);
    auto& desc = plugin->describe();
    EXPECT_EQ(plugin->callAction("OfxActionNoSuchThing", desc.handle(), nullptr, nullptr), kOfxStatReplyDefault);
    EXPECT_EQ(count("    ERROR : Unknown action 'OfxActionNoSuchThing'."), 1);
    // The comparison is on length and bytes: a prefix of a real action is unknown.
    EXPECT_EQ(plugin->callAction("OfxActionDescrib", desc.handle(), nullptr, nullptr), kOfxStatReplyDefault);
    EXPECT_EQ(plugin->callAction(nullptr, desc.handle(), nullptr, nullptr), kOfxStatReplyDefault);
    EXPECT_EQ(count("ERROR : Requested action was a null pointer."), 1);
}

TEST_F(LoggedBundle, MissingHandlesAreBadHandlesAndStrayOnesOnlyWarn) {
    auto plugin = loadEffect(host, kInvert);
    auto instance = plugin->createInstance("filter");
    ofxhost::PropertySet in(true);
    EXPECT_EQ(plugin->callAction(kOfxImageEffectActionIsIdentity, instance->handle(), in.handle(), nullptr),
              kOfxStatErrBadHandle);
    EXPECT_EQ(count("ERROR : 'outArgs' handle passed to 'OfxImageEffectActionIsIdentity' is null."), 1);
    EXPECT_EQ(plugin->callAction(kOfxImageEffectActionRender, nullptr, in.handle(), nullptr), kOfxStatErrBadHandle);
    EXPECT_EQ(count("ERROR : 'Handle passed to 'OfxImageEffectActionRender' is null."), 1);
    // A stray inArgs on purge caches is warned about and the action goes on.
    EXPECT_EQ(plugin->callAction(kOfxActionPurgeCaches, instance->handle(), in.handle(), nullptr), kOfxStatOK);
    EXPECT_EQ(count("WARNING : 'inArgs' Handle passed to 'OfxActionPurgeCaches' is not null."), 1);
}

TEST_F(LoggedBundle, InstanceActionsAnswerTheirDefinedReplies) {
    auto plugin = loadEffect(host, kInvert);
    auto instance = plugin->createInstance("filter");
    ofxhost::PropertySet out(true);
    // Time domain is for general effects: logged, and the effect is still asked.
    EXPECT_EQ(plugin->callAction(kOfxImageEffectActionGetTimeDomain, instance->handle(), nullptr, out.handle()),
              kOfxStatReplyDefault);
    EXPECT_EQ(count("ERROR : Calling kOfxImageEffectActionGetTimeDomain on an effect that is not a general context "
                    "effect."),
              1);
    EXPECT_EQ(plugin->callAction(kOfxActionBeginInstanceEdit, instance->handle(), nullptr, nullptr),
              kOfxStatReplyDefault);
    EXPECT_EQ(plugin->callAction(kOfxImageEffectActionInvokeHelp, instance->handle(), nullptr, nullptr),
              kOfxStatReplyDefault);
    ofxhost::PropertySet change(true);
    change.defineString(kOfxPropType, {"OfxTypeSomething"});
    change.defineString(kOfxPropName, {"BlendAmount"});
    change.defineString(kOfxPropChangeReason, {kOfxChangeUserEdited});
    EXPECT_EQ(plugin->callAction(kOfxActionInstanceChanged, instance->handle(), change.handle(), nullptr),
              kOfxStatReplyDefault);
    EXPECT_EQ(count("ERROR : Instance Changed called with unknown type 'OfxTypeSomething' of object 'BlendAmount'"), 1);
    OfxRectD rod{};
    EXPECT_EQ(instance->regionOfDefinition(0.0, 1.0, rod), kOfxStatOK);
    EXPECT_EQ(rod.x1, -2147483648.0);
    EXPECT_EQ(rod.y1, -2147483648.0);
    EXPECT_EQ(rod.x2, 2147483647.0);
    EXPECT_EQ(rod.y2, 2147483647.0);
}

// Components other than RGBA and depths other than byte and float are left
// alone: the render writes nothing and succeeds.
TEST_F(LoggedBundle, UnsupportedClipFormatsRenderNothing) {
    auto plugin = loadEffect(host, kInvert);
    auto instance = plugin->createInstance("filter");
    ofxhost::PropertySet in(true);
    in.defineDouble(kOfxPropTime, {0.0});
    in.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0});
    in.defineInt(kOfxImageEffectPropRenderWindow, {0, 0, 4, 4});
    in.defineString(kOfxImageEffectPropFieldToRender, {kOfxImageFieldNone});
    auto& output = *instance->clip("Output");
    for (const auto& [components, depth] :
         {std::pair{kOfxImageComponentRGB, kOfxBitDepthByte}, std::pair{kOfxImageComponentRGBA, kOfxBitDepthShort}}) {
        output.props().setString(kOfxImageEffectPropComponents, components);
        output.props().setString(kOfxImageEffectPropPixelDepth, depth);
        EXPECT_EQ(plugin->callAction(kOfxImageEffectActionRender, instance->handle(), in.handle(), nullptr), kOfxStatOK)
            << components << " " << depth;
        EXPECT_EQ(instance->liveImageCount(), 0u);
    }
}

using GetPlugin = OfxPlugin* (*)(int);

// The module's own view of its records and load count, kept apart from the
// host's Plugin objects so that the records can be released under them.
class RawModule : public LoggedBundle {
protected:
    void SetUp() override {
        LoggedBundle::SetUp();
        bundle = ofxhost::Bundle::open(kBundle, host.get());
        module = ::dlopen(bundle->modulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr);
        getPlugin = reinterpret_cast<GetPlugin>(::dlsym(module, "OfxGetPlugin"));
        index = bundle->indexOf(kInvert);
        ASSERT_GE(index, 0);
    }
    void TearDown() override {
        if (module) ::dlclose(module);
        LoggedBundle::TearDown();
    }
    OfxStatus send(OfxPlugin* plugin, const char* action, OfxPropertySetHandle in = nullptr) {
        plugin->setHost(host->ofxHost());
        return plugin->mainEntry(action, nullptr, in, nullptr);
    }

    std::shared_ptr<ofxhost::Bundle> bundle;
    void* module = nullptr;
    GetPlugin getPlugin = nullptr;
    int index = -1;
};

TEST_F(RawModule, RecordsStayAfterUnloadAndTheEffectLoadsAgain) {
    OfxPlugin* first = getPlugin(index);
    const std::string id = first->pluginIdentifier;
    const auto entry = first->mainEntry;
    ASSERT_EQ(send(first, kOfxActionLoad), kOfxStatOK);
    ASSERT_EQ(send(first, kOfxActionUnload), kOfxStatOK);

    // The host may still hold the record: it is the same one, unchanged.
    OfxPlugin* again = getPlugin(index);
    ASSERT_EQ(again, first);
    EXPECT_STREQ(again->pluginApi, kOfxImageEffectPluginApi);
    EXPECT_EQ(again->apiVersion, 1);
    EXPECT_EQ(again->pluginIdentifier, id);
    EXPECT_EQ(again->pluginVersionMajor, 1u);
    EXPECT_EQ(again->pluginVersionMinor, 0u);
    EXPECT_EQ(again->mainEntry, entry);

    // The count is back to one: the suites are fetched anew and the unload
    // that follows is not a double one.
    EXPECT_EQ(send(again, kOfxActionLoad), kOfxStatOK);
    EXPECT_EQ(send(again, kOfxActionUnload), kOfxStatOK);
    EXPECT_EQ(count("already unloaded"), 0);
    EXPECT_EQ(count("Tried to create host description when we already have one."), 1);
}

TEST_F(RawModule, DoubleUnloadWarnsOnceAndAStrayInArgsStillUnloads) {
    OfxPlugin* plugin = getPlugin(index);
    ASSERT_EQ(send(plugin, kOfxActionLoad), kOfxStatOK);
    ofxhost::PropertySet stray(true);
    EXPECT_EQ(send(plugin, kOfxActionUnload, stray.handle()), kOfxStatOK);
    EXPECT_EQ(count("WARNING : 'inArgs' Handle passed to 'OfxActionUnload' is not null."), 1);
    plugin = getPlugin(index);
    EXPECT_EQ(send(plugin, kOfxActionUnload), kOfxStatOK);
    EXPECT_EQ(count("WARNING : OFX Plugin 'talvo.effects:invert10' is already unloaded."), 1) << log();
}

TEST_F(RawModule, AskingPastTheLastPluginIsLoggedAndRefused) {
    const int n = bundle->pluginCount();
    EXPECT_EQ(getPlugin(n), nullptr);
    EXPECT_EQ(count("ERROR : Host attempted to get plugin " + std::to_string(n) + ", when there is only " +
                    std::to_string(n) + " plugin(s), so it should have asked for 0."),
              1);
}

TEST_F(RawModule, AHostWithoutAMandatorySuiteIsInadequate) {
    ofxhost::HostConfig config;
    config.withheldSuites = {"OfxMultiThreadSuite"};
    auto poor = quietHost(config);
    OfxPlugin* plugin = getPlugin(index);
    plugin->setHost(poor->ofxHost());
    EXPECT_EQ(plugin->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatErrMissingHostFeature);
    EXPECT_EQ(count("ERROR : Could not fetch the mandatory suite 'OfxMultiThreadSuite' version 1."), 1);
}

}  // namespace
