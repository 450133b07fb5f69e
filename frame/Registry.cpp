#include "Registry.h"

#include <vector>

#include "ImageEffect.h"
#include "Log.h"
#include "Suites.h"

namespace OFX {
namespace Private {

const char* const kEffectOrder[] = {
    "ostrane.fx:stereographicProjectionOCL",
    "talvo.effects:checkerboard",
    "talvo.effects:noisetexture",
    "talvo.effects:solidcolor",
    "talvo.effects:testpattern",
    "talvo.effects:addnoise",
    "talvo.effects:blackandwhite",
    "talvo.effects:blackrestore",
    "talvo.effects:border",
    "talvo.effects:brightnessandcontrast",
    "talvo.effects:broadcastcolors",
    "talvo.effects:bumpmapfilter",
    "talvo.effects:channelblend",
    "talvo.effects:chromablur",
    "talvo.effects:chromakeyer",
    "talvo.effects:colorbalance",
    "talvo.effects:colorcorrector",
    "talvo.effects:colorcorrectorsecondary",
    "talvo.effects:colorcurves",
    "talvo.effects:colormatch",
    "talvo.effects:convolutionkernel",
    "talvo.effects:cookiecutter",
    "talvo.effects:defocusmossgrain",
    "talvo.effects:blackbarfill",
    "talvo.effects:filllightmossgrain",
    "talvo.effects:gaussianblur",
    "talvo.effects:glow",
    "talvo.effects:hsladjust",
    "talvo.effects:invert",
    "talvo.effects:labadjust",
    "talvo.effects:lensflare",
    "talvo.effects:levels",
    "talvo.effects:linearblur",
    "talvo.effects:lutfilter",
    "talvo.effects:autolooks",
    "talvo.effects:colorgrading",
    "talvo.effects:bzmasking",
    "talvo.effects:maskgenerator",
    "talvo.effects:median",
    "talvo.effects:minandmax",
    "talvo.effects:mirror",
    "talvo.effects:newsprint",
    "talvo.effects:pixelate",
    "talvo.effects:quickblur",
    "talvo.effects:radialblur",
    "talvo.effects:saturationadjust",
    "talvo.effects:sepia",
    "talvo.effects:sharpen",
    "talvo.effects:spherize",
    "talvo.effects:starburstmossgrain",
    "talvo.effects:timecode",
    "talvo.effects:unsharpmask",
    "talvo.effects:whitebalance",
    "talvo.effects:radialpixelate",
    "talvo.effects:barndoor",
    "talvo.effects:clockwipe",
    "talvo.effects:crosseffect",
    "talvo.effects:dissolve",
    "talvo.effects:flash",
    "talvo.effects:iris",
    "talvo.effects:linearwipe",
    "talvo.effects:pageloop",
    "talvo.effects:pagepeel",
    "talvo.effects:pageroll",
    "talvo.effects:push",
    "talvo.effects:slide",
    "talvo.effects:spiral",
    "talvo.effects:split",
    "talvo.effects:squeeze",
    "talvo.effects:starwipe",
    "talvo.effects:swap",
    "talvo.effects:zoom",
    "talvo.effects:bumpmap",
    "talvo.effects:layerdimensionality",
    "talvo.effects:vignette",
    "talvo.effects:pictureinpicture",
    "talvo.effects:crop",
};
const int kEffectCount = static_cast<int>(sizeof kEffectOrder / sizeof kEffectOrder[0]);

namespace {

struct PluginEntry {
    PluginFactory* factory = nullptr;
    OfxPlugin* plugin = nullptr;
};

// Filled by the static registrations, before any host call. The function
// scope makes the first registration allocate it, whatever the order in
// which the effects' files are initialised.
std::vector<PluginFactory*>& factoryArray() {
    static std::vector<PluginFactory*> factories;
    return factories;
}

// An effect's place in the fixed order; effects outside the list (test
// effects) go after it, in the order they registered.
int orderOf(const PluginFactory* factory) {
    for (int i = 0; i < kEffectCount; ++i)
        if (factory->getID() == kEffectOrder[i]) return i;
    return kEffectCount;
}

std::vector<PluginFactory*> gFactories;
// The records handed to the host. They live as long as the module: a host
// may read a record after unloading its effect, or unload twice, and the
// record it holds must still be there; a reload hands out the same one.
std::vector<std::unique_ptr<OfxPlugin>> gPlugins;
std::map<std::string, PluginEntry> gPluginMap;
std::map<std::string, std::map<ContextEnum, std::unique_ptr<ImageEffectDescriptor>>> gDescriptors;
// The host calls the entry points from one thread while it loads modules.
bool gInitialised = false;

void setHost(OfxHost* host) { gHost = host; }

std::unique_ptr<OfxPlugin> makePlugin(PluginFactory* factory) {
    auto plugin = std::make_unique<OfxPlugin>();
    plugin->pluginApi = kOfxImageEffectPluginApi;
    plugin->apiVersion = 1;
    plugin->pluginIdentifier = factory->getID().c_str();
    plugin->pluginVersionMajor = factory->getMajorVersion();
    plugin->pluginVersionMinor = factory->getMinorVersion();
    plugin->setHost = &setHost;
    plugin->mainEntry = factory->getMainEntry();
    return plugin;
}

void initialise() {
    if (gInitialised) return;
    Log::open();
    gFactories = factoryArray();
    gPlugins.clear();
    for (PluginFactory* factory : gFactories) {
        gPlugins.push_back(makePlugin(factory));
        gPluginMap[factory->getUID()] = PluginEntry{factory, gPlugins.back().get()};
    }
    gInitialised = true;
}

}  // namespace

void registerFactory(PluginFactory* factory) {
    auto& factories = factoryArray();
    const int order = orderOf(factory);
    auto at = factories.begin();
    while (at != factories.end() && orderOf(*at) <= order) ++at;
    factories.insert(at, factory);
}

PluginFactory* findFactory(const std::string& uid) {
    auto found = gPluginMap.find(uid);
    return found == gPluginMap.end() ? nullptr : found->second.factory;
}

ImageEffectDescriptor* storeDescriptor(const std::string& uid, ContextEnum context,
                                       std::unique_ptr<ImageEffectDescriptor> descriptor) {
    auto& slot = gDescriptors[uid][context];
    slot = std::move(descriptor);
    return slot.get();
}

void releaseDescriptors(const std::string& uid) {
    auto found = gDescriptors.find(uid);
    if (found != gDescriptors.end()) found->second.clear();
}

}  // namespace Private
}  // namespace OFX

using namespace OFX::Private;

extern "C" __attribute__((visibility("default"))) int OfxGetNumberOfPlugins(void) {
    initialise();
    return static_cast<int>(gFactories.size());
}

extern "C" __attribute__((visibility("default"))) OfxPlugin* OfxGetPlugin(int nth) {
    initialise();
    const int count = static_cast<int>(gPluginMap.size());
    OFX::Log::error(nth >= count,
                    "Host attempted to get plugin %d, when there is only %d plugin(s), so it should have asked for 0.",
                    nth, count);
    // An index outside the list is logged and answered with null rather than
    // read past the end.
    if (nth < 0 || nth >= static_cast<int>(gPlugins.size())) return nullptr;
    return gPlugins[nth].get();
}
