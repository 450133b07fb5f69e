// The host: its identity and capabilities as plug-ins see them (the host
// property set), the suites it offers through OfxHost::fetchSuite, its thread
// pool, and where plug-in messages go.
//
// A Host is configured once and shared (std::shared_ptr) by the plug-ins
// loaded into it. Tests make hosts that withhold suites or properties by name,
// or present another name or version, to drive a plug-in's optional paths.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ofxCore.h"
#include "ofxhost/Property.h"
#include "ofxhost/ThreadPool.h"

namespace ofxhost {

class OpenCLDevice;

// One message from a plug-in through the message suite.
struct Message {
    std::string pluginId;  // empty when the handle named no plug-in
    std::string type;      // "OfxMessageError", ...
    std::string id;        // the plug-in's message id, may be empty
    std::string text;
    bool persistent = false;
};

struct HostConfig {
    std::string name = "talvo.effects.talvo";
    std::string label = "ONDU1 ofxrender";
    int versionMajor = 20;
    int versionMinor = 0;
    int versionMicro = 0;
    std::string versionLabel;  // empty: "<major>.<minor>"
    // Worker threads of the multithread suite; 0: the machine's cores.
    unsigned threads = 0;
    // Suites fetchSuite answers with null, by name ("OfxParameterSuite"), all versions.
    std::set<std::string> withheldSuites;
    // Host properties left out of the host property set, by name.
    std::set<std::string> withheldProperties;
    // Host properties replaced or added, after the defaults.
    std::vector<std::pair<std::string, PropValues>> propertyOverrides;
    // Print messages to stderr ("ofxrender: <plug-in id>: <type>: <text>").
    bool printMessages = true;
    // Draw progress bars on stderr; the command line turns it on for a terminal.
    bool showProgress = false;
    // The device of OpenCL renders; with one the host offers the OpenCL
    // program suite, so plug-ins declare OpenCL support as they load.
    std::shared_ptr<OpenCLDevice> openCL;
    // Options for the device compiler of every program the suite builds,
    // after the device's own (OpenCLDevice::buildOptions). The effects'
    // kernels agree with their processors under those alone:
    // "-cl-fast-relaxed-math", say, gives that up.
    std::string openCLBuildOptions;
};

class Host {
public:
    explicit Host(HostConfig config = {});
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    const HostConfig& config() const { return config_; }
    // What a plug-in's setHost receives; lives as long as the host.
    OfxHost* ofxHost() { return &ofxHost_; }
    PropertySet& properties() { return props_; }
    ThreadPool& threadPool() { return pool_; }
    // The OpenCL device, or null when the host has none.
    OpenCLDevice* openCL() const { return config_.openCL.get(); }

    // A suite by name and version, or null when not offered or withheld.
    const void* fetchSuite(std::string_view name, int version) const;
    // Offers one more suite (an extension).
    void addSuite(std::string name, int version, const void* suite);
    // Every (name, version) offered now, withheld ones left out.
    std::vector<std::pair<std::string, int>> suites() const;

    // Messages received so far, in order.
    std::vector<Message> messages() const;
    void clearMessages();
    void postMessage(Message m);

    // The host behind a host property set handle, or null.
    static Host* fromHandle(OfxPropertySetHandle h);

private:
    HostConfig config_;
    PropertySet props_;
    OfxHost ofxHost_{};
    ThreadPool pool_;
    std::vector<std::pair<std::pair<std::string, int>, const void*>> suites_;
    mutable std::mutex messageMutex_;
    std::vector<Message> messages_;
};

}  // namespace ofxhost
