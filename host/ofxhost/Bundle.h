// OFX bundles on disk: finding them, opening their module and reading the
// plug-in records. A Bundle is shared (std::shared_ptr) by the plug-ins
// loaded from it; the module is closed (dlclose) when the last user goes, so
// a later open loads it afresh.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ofxCore.h"

namespace ofxhost {

class Host;

class Bundle {
public:
    // path: a "NAME.ofx.bundle" directory or the module file itself. When a
    // host is given and the module exports OfxSetHost, it is called first.
    // Throws Error when the module cannot be opened or lacks the entry points.
    static std::shared_ptr<Bundle> open(const std::string& path, Host* host = nullptr);
    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    const std::string& modulePath() const { return modulePath_; }
    // The ".ofx.bundle" directory, or the module's directory for a bare module.
    const std::string& directory() const { return directory_; }

    int pluginCount() const { return static_cast<int>(ids_.size()); }
    // The raw record, asked of OfxGetPlugin on every call: a plug-in may
    // release its record when it is unloaded and build it anew later.
    OfxPlugin* rawPlugin(int index) const;
    std::string pluginId(int index) const;
    // The record's pluginVersionMajor and pluginVersionMinor.
    std::pair<unsigned, unsigned> pluginVersion(int index) const;
    // Index of a plug-in identifier, or -1. A bundle may register one
    // identifier at several versions: this is the highest of them (the first
    // registered among equals), as hosts load by default.
    int indexOf(const std::string& id) const;
    // Index of the highest version of the identifier with this major version
    // (and this minor one when given), or -1.
    int indexOf(const std::string& id, unsigned major, std::optional<unsigned> minor = {}) const;

private:
    Bundle() = default;

    void* module_ = nullptr;
    std::string modulePath_;
    std::string directory_;
    OfxPlugin* (*getPlugin_)(int) = nullptr;
    std::vector<std::string> ids_;
    std::vector<std::pair<unsigned, unsigned>> versions_;
};

// The module inside a bundle directory (Contents/Linux-x86-64/NAME.ofx, with
// Info.plist's CFBundleExecutable as the name when present), or the path
// itself when it names a file. "" when nothing is there.
std::string modulePathOf(const std::string& path);

// Every bundle under the given roots, in order: a root that is a bundle
// itself, else the bundles found by a recursive walk (sorted by name within
// a directory, skipping directories whose names start with '@').
std::vector<std::string> findBundles(const std::vector<std::string>& roots);

// Where plug-ins are looked for when no --bundle is given: OFX_PLUGIN_PATH
// (colon-separated) when set; else ONDU1.ofx.bundle beside the executable
// when it exists; else /usr/OFX/Plugins.
std::vector<std::string> defaultPluginRoots(const std::string& executableDir);

}  // namespace ofxhost
