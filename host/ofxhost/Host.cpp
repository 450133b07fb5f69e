#include "ofxhost/Host.h"

#include <algorithm>
#include <cstdio>

#include "ofxGPURender.h"
#include "ofxImageEffect.h"
#include "ofxParametricParam.h"
#include "ofxTalvo.h"
#include "ofxhost/Context.h"
#include "ofxhost/Suites.h"

namespace ofxhost {

namespace {

struct LiveHosts {
    std::mutex mutex;
    std::vector<Host*> hosts;
};

LiveHosts& liveHosts() {
    static LiveHosts* l = new LiveHosts;
    return *l;
}

const void* fetchSuiteEntry(OfxPropertySetHandle hostHandle, const char* name, int version) {
    Host* host = Host::fromHandle(hostHandle);
    if (!host || !name) return nullptr;
    return host->fetchSuite(name, version);
}

// The host property set as the published standard names it, with the
// extensions this project's bundle reads. Capabilities the host does not
// have are stated as such (0, "false") rather than left out, because plug-ins
// are allowed to read every one of them as mandatory.
void defineHostProperties(PropertySet& p, const HostConfig& c) {
    p.defineString(kOfxPropType, {kOfxTypeImageEffectHost});
    p.defineString(kOfxPropName, {c.name});
    p.defineString(kOfxPropLabel, {c.label});
    p.defineInt(kOfxPropAPIVersion, {1, 4});
    p.defineInt(kOfxPropVersion, {c.versionMajor, c.versionMinor, c.versionMicro});
    p.defineString(kOfxPropVersionLabel,
                   {c.versionLabel.empty() ? std::to_string(c.versionMajor) + "." + std::to_string(c.versionMinor)
                                           : c.versionLabel});
    p.defineInt(kOfxImageEffectHostPropIsBackground, {1});
    p.defineInt(kOfxImageEffectPropSupportsOverlays, {0});
    p.defineInt(kOfxImageEffectPropSupportsMultiResolution, {1});
    p.defineInt(kOfxImageEffectPropSupportsTiles, {1});
    p.defineInt(kOfxImageEffectPropTemporalClipAccess, {1});
    p.defineString(kOfxImageEffectPropSupportedComponents, {kOfxImageComponentRGBA}, true);
    p.defineString(kOfxImageEffectPropSupportedContexts,
                   {kOfxImageEffectContextFilter, kOfxImageEffectContextGenerator, kOfxImageEffectContextTransition,
                    kOfxImageEffectContextGeneral},
                   true);
    p.defineString(kOfxImageEffectPropSupportedPixelDepths,
                   {kOfxBitDepthByte, kOfxBitDepthFloat, kOfxBitDepthByteBGR, kOfxBitDepthFloatBGR}, true);
    p.defineInt(kOfxImageEffectPropSupportsMultipleClipDepths, {0});
    p.defineInt(kOfxImageEffectPropSupportsMultipleClipPARs, {0});
    p.defineInt(kOfxImageEffectPropSetableFrameRate, {0});
    p.defineInt(kOfxImageEffectPropSetableFielding, {0});
    p.defineInt(kOfxImageEffectInstancePropSequentialRender, {2});
    p.defineInt(kOfxParamHostPropSupportsCustomInteract, {0});
    p.defineInt(kOfxParamHostPropSupportsStringAnimation, {1});
    p.defineInt(kOfxParamHostPropSupportsChoiceAnimation, {1});
    p.defineInt(kOfxParamHostPropSupportsBooleanAnimation, {1});
    p.defineInt(kOfxParamHostPropSupportsCustomAnimation, {1});
    p.defineInt(kOfxParamHostPropSupportsParametricAnimation, {0});
    p.defineInt(kOfxParamHostPropMaxParameters, {-1});
    p.defineInt(kOfxParamHostPropMaxPages, {0});
    p.defineInt(kOfxParamHostPropPageRowColumnCount, {0, 0});
    p.definePointer(kOfxPropHostOSHandle, {nullptr});
    p.defineInt(kOfxImageEffectPropRenderQualityDraft, {1});
    p.defineString(kOfxImageEffectHostPropNativeOrigin, {kOfxHostNativeOriginBottomLeft});
    p.defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"});

    for (const auto& [name, values] : c.propertyOverrides) p.define(name, values, true);
    for (const auto& name : c.withheldProperties) p.remove(name);
}

}  // namespace

Host::Host(HostConfig config)
    : config_(std::move(config)), pool_(config_.threads ? config_.threads : hardwareThreads()) {
    defineHostProperties(props_, config_);
    ofxHost_.host = props_.handle();
    ofxHost_.fetchSuite = &fetchSuiteEntry;

    addSuite(kOfxPropertySuite, 1, suites::property());
    addSuite(kOfxImageEffectSuite, 1, suites::imageEffect());
    addSuite(kOfxParameterSuite, 1, suites::parameter());
    addSuite(kOfxParametricParameterSuite, 1, suites::parametric());
    addSuite(kOfxMemorySuite, 1, suites::memory());
    addSuite(kOfxMultiThreadSuite, 1, suites::multiThread());
    addSuite(kOfxMessageSuite, 1, suites::messageV1());
    addSuite(kOfxMessageSuite, 2, suites::messageV2());
    addSuite(kOfxProgressSuite, 1, suites::progressV1());
    addSuite(kOfxProgressSuite, 2, suites::progressV2());
    addSuite(kOfxTimeLineSuite, 1, suites::timeLine());
    addSuite(kOfxTalvoKeyframeSuite, 1, suites::keyframe());
    if (config_.openCL) addSuite(kOfxOpenCLProgramSuite, 1, suites::openCLProgram());

    LiveHosts& l = liveHosts();
    std::lock_guard lock(l.mutex);
    l.hosts.push_back(this);
}

Host::~Host() {
    LiveHosts& l = liveHosts();
    std::lock_guard lock(l.mutex);
    l.hosts.erase(std::remove(l.hosts.begin(), l.hosts.end(), this), l.hosts.end());
}

Host* Host::fromHandle(OfxPropertySetHandle h) {
    LiveHosts& l = liveHosts();
    std::lock_guard lock(l.mutex);
    for (Host* host : l.hosts)
        if (host->props_.handle() == h) return host;
    return nullptr;
}

Host* currentHost() {
    if (Host* h = callContext().host) return h;
    LiveHosts& l = liveHosts();
    std::lock_guard lock(l.mutex);
    return l.hosts.empty() ? nullptr : l.hosts.back();
}

CallContext& callContext() {
    thread_local CallContext context;
    return context;
}

const void* Host::fetchSuite(std::string_view name, int version) const {
    if (config_.withheldSuites.count(std::string(name))) return nullptr;
    for (const auto& [key, suite] : suites_)
        if (key.first == name && key.second == version) return suite;
    return nullptr;
}

void Host::addSuite(std::string name, int version, const void* suite) {
    for (auto& [key, s] : suites_)
        if (key.first == name && key.second == version) {
            s = suite;
            return;
        }
    suites_.push_back({{std::move(name), version}, suite});
}

std::vector<std::pair<std::string, int>> Host::suites() const {
    std::vector<std::pair<std::string, int>> out;
    for (const auto& [key, s] : suites_)
        if (!config_.withheldSuites.count(key.first)) out.push_back(key);
    return out;
}

std::vector<Message> Host::messages() const {
    std::lock_guard lock(messageMutex_);
    return messages_;
}

void Host::clearMessages() {
    std::lock_guard lock(messageMutex_);
    messages_.clear();
}

void Host::postMessage(Message m) {
    if (config_.printMessages) {
        std::string line = "ofxrender: ";
        if (!m.pluginId.empty()) line += m.pluginId + ": ";
        std::string type = m.type;
        if (type.rfind("OfxMessage", 0) == 0) type = type.substr(10);
        line += type + ": " + m.text + "\n";
        std::fputs(line.c_str(), stderr);
    }
    std::lock_guard lock(messageMutex_);
    messages_.push_back(std::move(m));
}

}  // namespace ofxhost
