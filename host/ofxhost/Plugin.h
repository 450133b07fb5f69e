// One plug-in of a bundle, loaded into a host: setHost and the load action
// when made, the unload action when the last user lets go. Describes itself
// on demand (cached) and makes instances.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ofxCore.h"
#include "ofxhost/Effect.h"

namespace ofxhost {

class Bundle;
class Host;
class Instance;

class Plugin : public std::enable_shared_from_this<Plugin> {
public:
    // setHost, then kOfxActionLoad. Throws Error naming the plug-in and the
    // status when the load fails (the plug-in is then not unloaded).
    static std::shared_ptr<Plugin> load(std::shared_ptr<Host> host, std::shared_ptr<Bundle> bundle, int index);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    const std::string& id() const { return id_; }
    unsigned versionMajor() const { return versionMajor_; }
    unsigned versionMinor() const { return versionMinor_; }
    // The plug-in's current record (see Bundle::rawPlugin).
    OfxPlugin* raw() const;
    Host& host() const { return *host_; }
    Bundle& bundle() const { return *bundle_; }
    std::string bundleDirectory() const;

    // Sends any action, with any handles, and returns the plug-in's status.
    // The calling thread's host context is set for the length of the call.
    OfxStatus callAction(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                         OfxPropertySetHandle outArgs);

    // kOfxActionDescribe once; throws Error when it fails.
    EffectObject& describe();
    // kOfxImageEffectActionDescribeInContext once per context; the context is
    // a published name or its short form. Throws Error for a context the
    // plug-in does not declare or when the action fails.
    EffectObject& describeInContext(const std::string& context);
    // The contexts the plug-in declares, as published names.
    std::vector<std::string> contexts();

    // kOfxActionCreateInstance in a context; throws Error on failure.
    std::unique_ptr<Instance> createInstance(const std::string& context);

private:
    Plugin(std::shared_ptr<Host> host, std::shared_ptr<Bundle> bundle, int index, OfxPlugin* raw);

    std::shared_ptr<Host> host_;
    std::shared_ptr<Bundle> bundle_;
    std::string id_;
    int index_;
    unsigned versionMajor_;
    unsigned versionMinor_;
    bool loaded_ = true;
    std::mutex describeMutex_;
    std::unique_ptr<EffectObject> descriptor_;
    std::map<std::string, std::unique_ptr<EffectObject>> contextDescriptors_;
};

}  // namespace ofxhost
