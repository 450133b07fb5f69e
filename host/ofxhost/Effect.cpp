#include "ofxhost/Effect.h"

#include <algorithm>
#include <cctype>

#include "ofxGPURender.h"
#include "ofxTalvo.h"
#include "ofxhost/Plugin.h"

namespace ofxhost {

namespace {

void defineClipDescriptorProperties(PropertySet& p, const std::string& name) {
    p.defineString(kOfxPropType, {kOfxTypeClip});
    p.defineString(kOfxPropName, {name});
    p.defineString(kOfxPropLabel, {name});
    p.defineString(kOfxPropShortLabel, {name});
    p.defineString(kOfxPropLongLabel, {name});
    p.defineString(kOfxImageEffectPropSupportedComponents, {}, true);
    p.defineInt(kOfxImageEffectPropTemporalClipAccess, {0});
    p.defineInt(kOfxImageClipPropOptional, {0});
    p.defineString(kOfxImageClipPropFieldExtraction, {kOfxImageFieldDoubled});
    p.defineInt(kOfxImageClipPropIsMask, {0});
    p.defineInt(kOfxImageEffectPropSupportsTiles, {1});
}

// Instance values before the first render; renders set depth and order.
void defineClipInstanceProperties(PropertySet& p) {
    p.defineString(kOfxImageEffectPropPixelDepth, {kOfxBitDepthNone});
    p.defineString(kOfxImageEffectPropComponents, {kOfxImageComponentNone});
    p.defineString(kOfxImageClipPropUnmappedPixelDepth, {kOfxBitDepthNone});
    p.defineString(kOfxImageClipPropUnmappedComponents, {kOfxImageComponentNone});
    p.defineString(kOfxImageEffectPropPreMultiplication, {kOfxImagePreMultiplied});
    p.defineDouble(kOfxImagePropPixelAspectRatio, {1.0});
    p.defineDouble(kOfxImageEffectPropFrameRate, {25.0});
    p.defineDouble(kOfxImageEffectPropFrameRange, {0.0, 0.0});
    p.defineString(kOfxImageClipPropFieldOrder, {kOfxImageFieldNone});
    p.defineInt(kOfxImageClipPropConnected, {0});
    p.defineDouble(kOfxImageEffectPropUnmappedFrameRange, {0.0, 0.0});
    p.defineDouble(kOfxImageEffectPropUnmappedFrameRate, {25.0});
    p.defineInt(kOfxImageClipPropContinuousSamples, {0});
    p.defineString(kOfxImageEffectPropPixelOrder, {kOfxImagePixelOrderRGBA});
}

void defineEffectDescriptorProperties(PropertySet& p, const Plugin& plugin) {
    p.defineString(kOfxPropType, {kOfxTypeImageEffect});
    p.defineString(kOfxPropLabel, {plugin.id()});
    p.defineString(kOfxPropShortLabel, {plugin.id()});
    p.defineString(kOfxPropLongLabel, {plugin.id()});
    p.defineInt(kOfxPropVersion, {int(plugin.versionMajor()), int(plugin.versionMinor())}, true);
    p.defineString(kOfxPropVersionLabel, {""});
    p.defineString(kOfxPropPluginDescription, {""});
    p.defineString(kOfxImageEffectPropSupportedContexts, {}, true);
    p.defineString(kOfxImageEffectPluginPropGrouping, {""});
    p.defineInt(kOfxImageEffectPluginPropSingleInstance, {0});
    p.defineString(kOfxImageEffectPluginRenderThreadSafety, {kOfxImageEffectRenderInstanceSafe});
    p.defineInt(kOfxImageEffectPluginPropHostFrameThreading, {1});
    p.definePointer(kOfxImageEffectPluginPropOverlayInteractV1, {nullptr});
    p.defineInt(kOfxImageEffectPropSupportsMultiResolution, {1});
    p.defineInt(kOfxImageEffectPropSupportsTiles, {1});
    p.defineInt(kOfxImageEffectPropTemporalClipAccess, {0});
    p.defineString(kOfxImageEffectPropSupportedPixelDepths, {}, true);
    p.defineInt(kOfxImageEffectPluginPropFieldRenderTwiceAlways, {1});
    p.defineInt(kOfxImageEffectPropSupportsMultipleClipDepths, {0});
    p.defineInt(kOfxImageEffectPropSupportsMultipleClipPARs, {0});
    p.defineString(kOfxImageEffectPropClipPreferencesSlaveParam, {}, true);
    p.defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"});
    p.defineString(kOfxImageEffectPropOpenCLSupported, {"false"});
    p.defineString(kOfxPluginPropFilePath, {plugin.bundleDirectory()});
    p.defineString(kOfxPropIcon, {"", ""});
    p.defineString(kOfxImageEffectPropTalvoUpliftGUID, {}, true);
}

}  // namespace

Clip::Clip(EffectObject& owner, std::string name) : owner_(owner), name_(std::move(name)), props_(true) {
    defineClipDescriptorProperties(props_, name_);
}

Clip::Clip(EffectObject& owner, const Clip& d) : owner_(owner), name_(d.name_), props_(d.props_) {
    props_.setExtensible(false);
    defineClipInstanceProperties(props_);
}

bool Clip::optional() const { return props_.getInt(kOfxImageClipPropOptional) != 0; }

EffectObject::EffectObject(Plugin& plugin, const EffectObject* contextFree, std::string context)
    : plugin_(plugin), context_(std::move(context)), props_(true), params_(handle(), &time_) {
    if (contextFree) {
        props_.merge(contextFree->props_);
        props_.defineString(kOfxImageEffectPropContext, {context_});
        acceptsClips_ = true;
    } else {
        defineEffectDescriptorProperties(props_, plugin);
    }
}

EffectObject::EffectObject(Plugin& plugin, const EffectObject& d, int)
    : plugin_(plugin), context_(d.context_), props_(d.props_), params_(handle(), &time_) {
    props_.setExtensible(false);
    props_.setString(kOfxPropType, kOfxTypeImageEffectInstance);
    params_.instantiate(d.params_);
    for (const auto& c : d.clips_) clips_.push_back(std::make_unique<Clip>(*this, *c));
}

EffectObject::~EffectObject() = default;

Clip* EffectObject::clip(std::string_view name) const {
    for (const auto& c : clips_)
        if (c->name() == name) return c.get();
    return nullptr;
}

OfxStatus EffectObject::defineClip(const char* name, Clip** out) {
    if (!acceptsClips_) return kOfxStatErrBadHandle;
    if (!name || !*name) return kOfxStatErrValue;
    if (clip(name)) return kOfxStatErrExists;
    clips_.push_back(std::make_unique<Clip>(*this, std::string(name)));
    if (out) *out = clips_.back().get();
    return kOfxStatOK;
}

namespace {

const std::pair<const char*, const char*> kContexts[] = {
    {"filter", kOfxImageEffectContextFilter},         {"generator", kOfxImageEffectContextGenerator},
    {"transition", kOfxImageEffectContextTransition}, {"general", kOfxImageEffectContextGeneral},
    {"paint", kOfxImageEffectContextPaint},           {"retimer", kOfxImageEffectContextRetimer},
};

}  // namespace

std::string shortContextName(const std::string& ofx) {
    for (const auto& [shortName, full] : kContexts)
        if (ofx == full) return shortName;
    return ofx;
}

std::string ofxContextName(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    for (const auto& [shortName, full] : kContexts)
        if (lower == shortName || name == full) return full;
    return "";
}

}  // namespace ofxhost
