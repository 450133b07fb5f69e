#include "cli/Cli.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

#include "ofxhost/ImageIO.h"
#include "ofxhost/OpenCLDevice.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/Renderer.h"
#include "cli/Terminal.h"
#include "ofxhost/Status.h"

using ofxhost::Error;

namespace ofxcli {

namespace {

std::string lastPart(const std::string& id) {
    const auto colon = id.rfind(':');
    return colon == std::string::npos ? id : id.substr(colon + 1);
}

}  // namespace

Session::Session(const CliOptions& o, std::ostream& err, const std::string& executableDir) {
    // The bundle reads its log switch when it is loaded, so it is set first.
    if (!o.logFile.empty()) ::setenv("ONDU1_LOG", o.logFile.c_str(), 1);
    ofxhost::HostConfig config;
    if (!o.hostName.empty()) config.name = o.hostName;
    if (o.hostVersion) {
        config.versionMajor = o.hostVersion->first;
        config.versionMinor = o.hostVersion->second;
    }
    config.threads = o.threads;
    config.showProgress = stderrIsTerminal();
    // Before any bundle loads: plug-ins declare OpenCL support only to a
    // host that offers the program suite.
    if (o.openCL) config.openCL = ofxhost::OpenCLDevice::open(*o.openCL);
    host_ = std::make_shared<ofxhost::Host>(config);

    if (!o.bundles.empty()) {
        for (const auto& path : o.bundles) bundles_.push_back(ofxhost::Bundle::open(path, host_.get()));
        return;
    }
    for (const auto& path : ofxhost::findBundles(ofxhost::defaultPluginRoots(executableDir))) {
        try {
            bundles_.push_back(ofxhost::Bundle::open(path, host_.get()));
        } catch (const Error& e) {
            err << "ofxrender WARNING: " << e.what_part() << ": " << e.why() << "\n";
        }
    }
}

std::vector<std::pair<std::shared_ptr<ofxhost::Bundle>, int>> Session::plugins() const {
    std::vector<std::pair<std::shared_ptr<ofxhost::Bundle>, int>> out;
    for (const auto& b : bundles_)
        for (int i = 0; i < b->pluginCount(); ++i) out.emplace_back(b, i);
    return out;
}

std::shared_ptr<ofxhost::Plugin> Session::load(const std::shared_ptr<ofxhost::Bundle>& bundle, int index) {
    return ofxhost::Plugin::load(host_, bundle, index);
}

void noteOpenCLFallback(ofxhost::Plugin& plugin, const CliOptions& o, std::ostream& err) {
    if (o.openCL && !ofxhost::supportsOpenCL(plugin.describe()))
        err << "ofxrender: " << plugin.id() << " does not support OpenCL; rendering on the CPU\n";
}

std::shared_ptr<ofxhost::Plugin> Session::load(const std::string& name) {
    const auto all = plugins();
    for (const auto& [bundle, index] : all)
        if (bundle->pluginId(index) == name) return load(bundle, index);
    std::vector<std::pair<std::shared_ptr<ofxhost::Bundle>, int>> matches;
    std::vector<std::string> ids;
    for (const auto& [bundle, index] : all) {
        const std::string id = bundle->pluginId(index);
        if (lastPart(id) == name && std::find(ids.begin(), ids.end(), id) == ids.end()) {
            matches.emplace_back(bundle, index);
            ids.push_back(id);
        }
    }
    if (matches.size() == 1) return load(matches[0].first, matches[0].second);
    if (matches.empty())
        throw Error(name, all.empty() ? "no such plug-in (no OFX bundle was found; use --bundle)"
                                      : "no such plug-in (see ofxrender list)");
    std::string list;
    for (const auto& id : ids) list += (list.empty() ? "" : ", ") + id;
    throw Error(name, "matches several plug-ins: " + list);
}

int runCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
           const std::string& executableDir) {
    try {
        const CliOptions o = parseCommandLine(args);
        if (o.help) {
            out << helpText();
            return 0;
        }
        if (o.version) {
            out << "ofxrender " << ONDU1_VERSION << (ofxhost::imageFilesSupported() ? "" : " (no image files)") << "\n";
            return 0;
        }
        if (o.command == "list-devices") return listDevicesCommand(out);
        Session session(o, err, executableDir);
        if (o.command == "list") return listCommand(session, o, out, err);
        if (o.command == "describe") return describeCommand(session, o, out);
        if (o.command == "render") return renderCommand(session, o, out, err);
        return benchCommand(session, o, out, err);
    } catch (const Error& e) {
        err << "ofxrender ERROR: " << e.what_part() << ": " << e.why() << "\n";
    } catch (const std::bad_alloc&) {
        err << "ofxrender ERROR: memory: out of memory\n";
    } catch (const std::exception& e) {
        err << "ofxrender ERROR: ofxrender: " << e.what() << "\n";
    }
    return 1;
}

}  // namespace ofxcli
