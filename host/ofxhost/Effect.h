// Effect descriptors and the clips they define. An EffectObject is what an
// OfxImageEffectHandle points at: the context-free descriptor (describe), a
// descriptor in a context (describe in context) or, through Instance, a live
// instance. Each owns its property set, its parameter set and its clips.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ofxImageEffect.h"
#include "ofxhost/Handles.h"
#include "ofxhost/Param.h"
#include "ofxhost/Property.h"

namespace ofxhost {

class Plugin;
class Instance;
class EffectObject;

class Clip : public Handled<HandleKind::Clip> {
public:
    // A clip descriptor with the published descriptor properties.
    Clip(EffectObject& owner, std::string name);
    // A clip instance from its descriptor: adds the instance properties.
    Clip(EffectObject& owner, const Clip& descriptor);

    OfxImageClipHandle handle() const { return static_cast<OfxImageClipHandle>(rawHandle()); }
    static Clip* fromHandle(OfxImageClipHandle h) { return fromRaw<Clip>(h); }

    const std::string& name() const { return name_; }
    EffectObject& owner() const { return owner_; }
    PropertySet& props() { return props_; }
    const PropertySet& props() const { return props_; }
    bool isOutput() const { return name_ == kOfxImageEffectOutputClipName; }
    bool optional() const;

private:
    EffectObject& owner_;
    std::string name_;
    PropertySet props_;
};

class EffectObject : public Handled<HandleKind::Effect> {
public:
    // The context-free descriptor of a plug-in (context empty), or a
    // descriptor in a context made from the context-free one.
    EffectObject(Plugin& plugin, const EffectObject* contextFree, std::string context);
    virtual ~EffectObject();
    EffectObject(const EffectObject&) = delete;
    EffectObject& operator=(const EffectObject&) = delete;

    OfxImageEffectHandle handle() const { return static_cast<OfxImageEffectHandle>(rawHandle()); }
    static EffectObject* fromHandle(OfxImageEffectHandle h) { return fromRaw<EffectObject>(h); }
    static EffectObject* fromHandle(const void* h) { return fromRaw<EffectObject>(h); }

    Plugin& plugin() const { return plugin_; }
    const std::string& context() const { return context_; }
    PropertySet& props() { return props_; }
    const PropertySet& props() const { return props_; }
    ParamSet& params() { return params_; }
    const ParamSet& params() const { return params_; }

    // Clips in definition order.
    const std::vector<std::unique_ptr<Clip>>& clips() const { return clips_; }
    Clip* clip(std::string_view name) const;
    // Descriptors in a context only: kOfxStatErrBadHandle elsewhere,
    // kOfxStatErrExists for a taken name.
    OfxStatus defineClip(const char* name, Clip** out);

    virtual Instance* asInstance() { return nullptr; }
    double currentTime() const { return time_; }

protected:
    // An instance: copies props, parameters and clips of a context descriptor.
    EffectObject(Plugin& plugin, const EffectObject& descriptor, int instanceTag);

    Plugin& plugin_;
    std::string context_;
    double time_ = 0.0;
    PropertySet props_;
    ParamSet params_;
    std::vector<std::unique_ptr<Clip>> clips_;
    bool acceptsClips_ = false;
};

// The short form of a context name ("filter"), or the name unchanged when
// it is not a published context.
std::string shortContextName(const std::string& ofxContext);
// The published context name for "filter" or "OfxImageEffectContextFilter"
// (any case for the short form), or "" when unknown.
std::string ofxContextName(const std::string& name);

}  // namespace ofxhost
