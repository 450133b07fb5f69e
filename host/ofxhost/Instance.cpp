// An instance of a plug-in in the host: its project, its clips and their
// inputs, its parameters and their changes. Rendering, images and progress
// are in InstanceRender.cpp, InstanceImages.cpp and InstanceProgress.cpp.
#include "ofxhost/Instance.h"

#include <algorithm>

#include "ofxTalvo.h"
#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
#include "ofxhost/HostImage.h"
#include "ofxhost/ParamText.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Status.h"
#include "ofxhost/Uplift.h"

namespace ofxhost {

const char* qualityName(Quality q) {
    switch (q) {
        case Quality::Draft: return "draft";
        case Quality::Preview: return "preview";
        case Quality::Good: return "good";
        case Quality::Best: return "best";
    }
    return "?";
}

Instance::Instance(std::shared_ptr<Plugin> plugin, const EffectObject& descriptor)
    : EffectObject(*plugin, descriptor, 0), pluginRef_(std::move(plugin)) {
    props_.definePointer(kOfxPropInstanceData, {nullptr});
    props_.defineDouble(kOfxImageEffectPropProjectSize, {double(projectWidth_), double(projectHeight_)});
    props_.defineDouble(kOfxImageEffectPropProjectOffset, {0.0, 0.0});
    props_.defineDouble(kOfxImageEffectPropProjectExtent, {double(projectWidth_), double(projectHeight_)});
    props_.defineDouble(kOfxImageEffectPropProjectPixelAspectRatio, {1.0});
    props_.defineDouble(kOfxImageEffectInstancePropEffectDuration, {1.0});
    props_.defineInt(kOfxImageEffectInstancePropSequentialRender, {0});
    props_.defineDouble(kOfxImageEffectPropFrameRate, {25.0});
    props_.defineInt(kOfxPropIsInteractive, {0});
    props_.defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"});
    setClipFormats(lastOptions_);

    const OfxStatus s = pluginRef_->callAction(kOfxActionCreateInstance, handle(), nullptr, nullptr);
    if (s != kOfxStatOK && s != kOfxStatReplyDefault)
        throw Error(pluginRef_->id(), "create instance action returned " + statusName(s), s);
}

Instance::~Instance() {
    pluginRef_->callAction(kOfxActionDestroyInstance, handle(), nullptr, nullptr);
    std::lock_guard lock(mutex_);
    images_.clear();
}

void Instance::setProjectSize(int w, int h) {
    if (w <= 0 || h <= 0)
        throw Error("project size", std::to_string(w) + "x" + std::to_string(h) + " is not a frame size");
    projectWidth_ = w;
    projectHeight_ = h;
    props_.setDoubles(kOfxImageEffectPropProjectSize, {double(w), double(h)});
    props_.setDoubles(kOfxImageEffectPropProjectExtent, {double(w), double(h)});
}

void Instance::setFrameRange(double first, double last) {
    firstFrame_ = first;
    lastFrame_ = last;
    props_.setDouble(kOfxImageEffectInstancePropEffectDuration, last - first + 1);
    for (const auto& c : clips_) {
        c->props().setDoubles(kOfxImageEffectPropFrameRange, {first, last});
        c->props().setDoubles(kOfxImageEffectPropUnmappedFrameRange, {first, last});
    }
}

void Instance::setFrameRate(double fps) {
    props_.setDouble(kOfxImageEffectPropFrameRate, fps);
    for (const auto& c : clips_) {
        c->props().setDouble(kOfxImageEffectPropFrameRate, fps);
        c->props().setDouble(kOfxImageEffectPropUnmappedFrameRate, fps);
    }
}

std::vector<std::string> Instance::inputClipNames() const {
    std::vector<std::string> out;
    for (const auto& c : clips_)
        if (!c->isOutput()) out.push_back(c->name());
    return out;
}

void Instance::connect(const std::string& name, FrameSource source) {
    Clip* c = clip(name);
    if (!c || c->isOutput()) {
        std::string list;
        for (const auto& n : inputClipNames()) list += (list.empty() ? "" : ", ") + n;
        throw Error("clip \"" + name + "\"",
                    pluginRef_->id() + " has no such input clip (it has: " + (list.empty() ? "none" : list) + ")");
    }
    if (!source) throw Error("clip \"" + name + "\"", "connected to nothing");
    RenderOptions formats;
    {
        std::lock_guard lock(mutex_);
        sources_[name] = std::move(source);
        c->props().setInt(kOfxImageClipPropConnected, 1);
        cache_.clear();
        preferencesDue_ = true;
        formats = lastOptions_;
    }
    setClipFormats(formats);
}

void Instance::connect(const std::string& name, std::shared_ptr<const ImageBuffer> image) {
    if (!image) throw Error("clip \"" + name + "\"", "connected to no image");
    connect(name, [image](double) { return image; });
}

void Instance::disconnect(const std::string& name) {
    Clip* c = clip(name);
    if (!c) throw Error("clip \"" + name + "\"", "no such clip");
    RenderOptions formats;
    {
        std::lock_guard lock(mutex_);
        sources_.erase(name);
        c->props().setInt(kOfxImageClipPropConnected, 0);
        cache_.clear();
        preferencesDue_ = true;
        formats = lastOptions_;
    }
    setClipFormats(formats);
}

bool Instance::connected(const std::string& name) const {
    std::lock_guard lock(mutex_);
    return sources_.count(name) != 0;
}

Param& Instance::param(std::string_view name) const {
    if (Param* p = params_.findByNameOrScriptName(name)) return *p;
    throw Error("parameter \"" + std::string(name) + "\"", pluginRef_->id() + " has no such parameter");
}

void Instance::notifyChanged(const std::string& name, double time) {
    PropertySet reason;
    reason.defineString(kOfxPropChangeReason, {kOfxChangeUserEdited});
    OfxStatus s = pluginRef_->callAction(kOfxActionBeginInstanceChanged, handle(), reason.handle(), nullptr);
    if (statusPasses(s)) s = instanceChanged(kOfxTypeParameter, name, kOfxChangeUserEdited, time);
    const OfxStatus end = pluginRef_->callAction(kOfxActionEndInstanceChanged, handle(), reason.handle(), nullptr);
    if (statusPasses(s)) s = end;
    throwIfFailed(s, pluginRef_->id(), "changing \"" + name + "\": instance changed action");
}

void Instance::press(std::string_view name, double time) {
    Param& p = param(name);
    if (std::string_view(p.type().ofxName) != kOfxParamTypePushButton)
        throw Error("--press " + std::string(name), "is not a push button of " + pluginRef_->id());
    notifyChanged(p.name(), time);
}

void Instance::uplift(const UpliftData& data) {
    const int n = static_cast<int>(data.keys.size());
    PropertySet in;
    std::vector<void*> records;
    std::vector<int> lengths;
    std::vector<double> times;
    std::vector<std::string> interpolations;
    for (const UpliftKey& k : data.keys) {
        records.push_back(const_cast<unsigned char*>(k.record.data()));
        lengths.push_back(static_cast<int>(k.record.size()));
        times.push_back(k.time);
        interpolations.push_back(k.interpolation);
    }
    in.definePointer(kOfxPropTalvoUpliftKeyframeData, records, true);
    in.defineInt(kOfxPropTalvoUpliftKeyframeDataLength, lengths, true);
    in.defineDouble(kOfxPropTalvoUpliftKeyframeTime, times, true);
    in.defineString(kOfxPropTalvoUpliftKeyframeInterpolation, interpolations, true);
    in.definePointer(kOfxPropTalvoUpliftData, {const_cast<unsigned char*>(data.state.data())});
    in.defineInt(kOfxPropTalvoUpliftDataLength, {static_cast<int>(data.state.size())});
    const OfxStatus s = callWithRender(kOfxImageEffectActionTalvoKeyframeUplift, nullptr, in.handle(), nullptr);
    {
        std::lock_guard lock(mutex_);
        preferencesDue_ = true;
    }
    throwIfFailed(s, pluginRef_->id(), "the keyframe uplift of " + std::to_string(n) + " keys");
}

void Instance::setValue(std::string_view name, const ParamValue& v, std::optional<double> time) {
    Param& p = param(name);
    const OfxStatus s = time ? p.setValueAtTime(*time, v) : p.setValue(v);
    if (s == kOfxStatFailed) throw Error(p.name(), "does not animate, so it takes no keyframe", s);
    if (s != kOfxStatOK) throw Error(p.name(), "value refused (" + statusName(s) + ")", s);
    notifyChanged(p.name(), time.value_or(time_));
}

void Instance::setValueText(std::string_view name, const std::string& text, std::optional<double> time) {
    setValue(name, parseParamText(param(name), text), time);
}

ParamValue Instance::value(std::string_view name, double time) const {
    CallContext c = callContext();
    c.host = &pluginRef_->host();
    c.plugin = pluginRef_.get();
    CallScope scope(c);
    return param(name).valueAt(time);
}
OfxStatus Instance::instanceChanged(const std::string& type, const std::string& name, const std::string& reason,
                                    double time) {
    PropertySet in;
    in.defineString(kOfxPropType, {type});
    in.defineString(kOfxPropName, {name});
    in.defineString(kOfxPropChangeReason, {reason});
    in.defineDouble(kOfxPropTime, {time});
    // The scale of the images the plug-in can fetch during the action.
    double scale = 1.0;
    {
        std::lock_guard lock(mutex_);
        scale = lastOptions_.renderScale;
        // A change may change what the plug-in prefers for its clips.
        preferencesDue_ = true;
    }
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    return callWithRender(kOfxActionInstanceChanged, nullptr, in.handle(), nullptr);
}

}  // namespace ofxhost
