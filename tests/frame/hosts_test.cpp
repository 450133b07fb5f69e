// Which hosts an effect offers itself to. The family's own hosts are judged
// by the table of host versions; any other host gets every effect whose
// needs it meets, and a clear "missing host feature" for the others.
#include <gtest/gtest.h>

#include <sstream>

#include "EffectTest.h"
#include "cli/Cli.h"
#include "ofxImageEffect.h"
#include "ofxhost/Status.h"

using namespace ondu1test;

namespace {

std::shared_ptr<ofxhost::Host> hostNamed(const std::string& name, int major) {
    ofxhost::HostConfig config;
    config.name = name;
    config.versionMajor = major;
    return quietHost(config);
}

// The effects the table limits to recent family hosts.
const char* const kSince18[] = {"talvo.effects:testpattern", "talvo.effects:channelblend"};

TEST(FamilyHosts, AreJudgedByTheTable) {
    struct Case {
        const char* host;
        int major;
        bool offered;
    };
    const Case cases[] = {
        {"talvo.effects.talvo", 17, false},          {"talvo.effects.talvo", 18, true},
        {"talvo.effects.talvo.harbor.pe", 16, false}, {"talvo.effects.talvo.harbor.pe", 17, true},
        {"talvo.effects.talvo.harbor.hd", 16, false}, {"talvo.effects.talvo.harbor.hd", 17, true},
    };
    for (const Case& c : cases) {
        const auto host = hostNamed(c.host, c.major);
        for (const char* id : kSince18) {
            auto plugin = loadEffect(host, id);
            // Refused: the describe passes and declares no context, as the
            // family's hosts have always seen it.
            EXPECT_EQ(plugin->contexts().empty(), !c.offered) << id << " in " << c.host << " " << c.major;
        }
        // An effect the table does not limit is offered to every family host.
        EXPECT_FALSE(loadEffect(host, "talvo.effects:invert")->contexts().empty()) << c.host << " " << c.major;
    }
}

TEST(OtherHosts, AreOfferedEveryEffectAndEachRenders) {
    for (const auto& [name, major] : {std::pair{"org.example.editor", 1}, std::pair{"talvo.effects", 30},
                                      std::pair{"talvo.effects.talvo.harbor", 20}}) {
        const auto host = hostNamed(name, major);
        auto bundle = ofxhost::Bundle::open(kBundle, host.get());
        for (int i = 0; i < bundle->pluginCount(); ++i) {
            auto plugin = ofxhost::Plugin::load(host, bundle, i);
            auto instance = instanceInFirstContext(*plugin, 12, 6);
            ASSERT_NE(instance, nullptr) << plugin->id() << " offers no context to " << name;
            ofxhost::RenderOptions options;
            ofxhost::ImageBuffer output = instance->makeOutput(options);
            EXPECT_EQ(instance->render(0.0, options, output), kOfxStatOK) << plugin->id() << " in " << name;
        }
    }
}

// What describe answers in a host outside the family that lacks one of the
// effect's needs: the status, or OK.
OfxStatus describeStatus(const std::string& id, const char* property, std::vector<std::string> values) {
    ofxhost::HostConfig config;
    config.name = "org.example.editor";
    config.propertyOverrides.push_back({property, std::move(values)});
    auto plugin = loadEffect(quietHost(config), id);
    try {
        plugin->describe();
    } catch (const ofxhost::Error& e) {
        return e.status();
    }
    return kOfxStatOK;
}

TEST(OtherHosts, LackingWhatAnEffectNeedsIsAMissingHostFeature) {
    const std::vector<std::string> generatorOnly{kOfxImageEffectContextGenerator};
    for (const char* id : {"talvo.effects:invert", "talvo.effects:channelblend"})
        EXPECT_EQ(describeStatus(id, kOfxImageEffectPropSupportedContexts, generatorOnly),
                  kOfxStatErrMissingHostFeature)
            << id;
    EXPECT_EQ(describeStatus("talvo.effects:solidcolor", kOfxImageEffectPropSupportedContexts, generatorOnly),
              kOfxStatOK);
    EXPECT_EQ(describeStatus("talvo.effects:testpattern", kOfxImageEffectPropSupportedComponents,
                             {kOfxImageComponentAlpha}),
              kOfxStatErrMissingHostFeature);
    EXPECT_EQ(describeStatus("talvo.effects:sepia", kOfxImageEffectPropSupportedPixelDepths, {kOfxBitDepthShort}),
              kOfxStatErrMissingHostFeature);
    // Either of bytes and floats will do.
    EXPECT_EQ(describeStatus("talvo.effects:sepia", kOfxImageEffectPropSupportedPixelDepths, {kOfxBitDepthFloat}),
              kOfxStatOK);
}

TEST(OtherHosts, OfxrenderWithAnotherHostNameDescribesAndRenders) {
    for (const char* id : kSince18) {
        std::ostringstream out, err;
        const int status = ofxcli::runCli({"describe", id, "--json", "--bundle", kBundle, "--host-name",
                                           "org.example.editor", "--host-version", "1.0"},
                                          out, err);
        EXPECT_EQ(status, 0) << err.str();
        const std::string json = out.str();
        const auto contexts = json.find("\"contexts\": [");
        ASSERT_NE(contexts, std::string::npos) << json;
        EXPECT_NE(json[json.find_first_not_of(" \n", contexts + 13)], ']') << id << " offers no context";
    }
    std::ostringstream out, err;
    EXPECT_EQ(ofxcli::runCli({"bench", "talvo.effects:channelblend", "--bundle", kBundle, "--host-name",
                              "org.example.editor", "--size", "32x16", "--repeat", "1"},
                             out, err),
              0)
        << err.str();
}

}  // namespace
