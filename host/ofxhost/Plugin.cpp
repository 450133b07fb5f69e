#include "ofxhost/Plugin.h"

#include "ofxImageEffect.h"
#include "ofxhost/Bundle.h"
#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Status.h"

namespace ofxhost {

Plugin::Plugin(std::shared_ptr<Host> host, std::shared_ptr<Bundle> bundle, int index, OfxPlugin* raw)
    : host_(std::move(host)),
      bundle_(std::move(bundle)),
      id_(raw->pluginIdentifier),
      index_(index),
      versionMajor_(raw->pluginVersionMajor),
      versionMinor_(raw->pluginVersionMinor) {}

std::shared_ptr<Plugin> Plugin::load(std::shared_ptr<Host> host, std::shared_ptr<Bundle> bundle, int index) {
    if (!host || !bundle) throw Error("plug-in", "loading needs a host and a bundle");
    OfxPlugin* raw = bundle->rawPlugin(index);
    if (std::string(raw->pluginApi) != kOfxImageEffectPluginApi)
        throw Error(raw->pluginIdentifier, std::string("is a \"") + raw->pluginApi + "\" plug-in, not an image effect");
    std::shared_ptr<Plugin> p(new Plugin(host, bundle, index, raw));
    if (raw->setHost) raw->setHost(host->ofxHost());
    const OfxStatus s = p->callAction(kOfxActionLoad, nullptr, nullptr, nullptr);
    if (s != kOfxStatOK && s != kOfxStatReplyDefault) {
        // It did not load, so it must not be unloaded: drop the record.
        p->loaded_ = false;
        throw Error(raw->pluginIdentifier, "load action returned " + statusName(s), s);
    }
    return p;
}

Plugin::~Plugin() {
    if (!loaded_) return;
    contextDescriptors_.clear();
    descriptor_.reset();
    callAction(kOfxActionUnload, nullptr, nullptr, nullptr);
}

std::string Plugin::bundleDirectory() const { return bundle_->directory(); }

OfxStatus Plugin::callAction(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                             OfxPropertySetHandle outArgs) {
    if (!loaded_) return kOfxStatErrBadHandle;
    CallContext c = callContext();
    c.host = host_.get();
    c.plugin = this;
    CallScope scope(c);
    return raw()->mainEntry(action, handle, inArgs, outArgs);
}

OfxPlugin* Plugin::raw() const { return bundle_->rawPlugin(index_); }

EffectObject& Plugin::describe() {
    std::lock_guard lock(describeMutex_);
    if (!descriptor_) {
        auto d = std::make_unique<EffectObject>(*this, nullptr, "");
        const OfxStatus s = callAction(kOfxActionDescribe, d->handle(), nullptr, nullptr);
        if (s != kOfxStatOK && s != kOfxStatReplyDefault)
            throw Error(id_, "describe action returned " + statusName(s), s);
        descriptor_ = std::move(d);
    }
    return *descriptor_;
}

std::vector<std::string> Plugin::contexts() {
    return describe().props().getStrings(kOfxImageEffectPropSupportedContexts);
}

EffectObject& Plugin::describeInContext(const std::string& contextName) {
    EffectObject& base = describe();
    std::string context = ofxContextName(contextName);
    if (context.empty()) context = contextName;
    const auto declared = contexts();
    if (std::find(declared.begin(), declared.end(), context) == declared.end()) {
        std::string list;
        for (const auto& c : declared) list += (list.empty() ? "" : ", ") + shortContextName(c);
        throw Error(id_, "has no context \"" + contextName + "\" (it has: " + (list.empty() ? "none" : list) + ")");
    }
    std::lock_guard lock(describeMutex_);
    auto it = contextDescriptors_.find(context);
    if (it != contextDescriptors_.end()) return *it->second;
    auto d = std::make_unique<EffectObject>(*this, &base, context);
    PropertySet in;
    in.defineString(kOfxImageEffectPropContext, {context});
    const OfxStatus s = callAction(kOfxImageEffectActionDescribeInContext, d->handle(), in.handle(), nullptr);
    if (s != kOfxStatOK && s != kOfxStatReplyDefault)
        throw Error(id_, "describe in context " + shortContextName(context) + " returned " + statusName(s), s);
    return *contextDescriptors_.emplace(context, std::move(d)).first->second;
}

std::unique_ptr<Instance> Plugin::createInstance(const std::string& context) {
    EffectObject& d = describeInContext(context);
    return std::unique_ptr<Instance>(new Instance(shared_from_this(), d));
}

}  // namespace ofxhost
