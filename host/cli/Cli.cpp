#include "cli/Cli.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <ostream>
#include <regex>

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

void noteOrderFallback(ofxhost::Plugin& plugin, const CliOptions& o, std::ostream& err) {
    const ofxhost::PixelOrder order = ofxhost::renderOrderFor(plugin, o.order);
    if (order == o.order) return;
    if (order == ofxhost::PixelOrder::RGBA)
        err << "ofxrender: " << plugin.id() << " declares no BGR depth; rendering in RGBA order\n";
    else
        err << "ofxrender: " << plugin.id() << " declares only BGR depths; rendering in BGRA order\n";
}

namespace {

// "2" or "2.1" after a plug-in's '@'.
std::pair<unsigned, std::optional<unsigned>> parseVersion(const std::string& whole, const std::string& text) {
    static const std::regex form(R"(^(\d{1,9})(?:\.(\d{1,9}))?$)");
    std::smatch m;
    if (!std::regex_match(text, m, form))
        throw Error(whole, "\"" + text + "\" is not a version (PLUGIN@MAJOR or PLUGIN@MAJOR.MINOR)");
    std::optional<unsigned> minor;
    if (m[2].matched) minor = static_cast<unsigned>(std::stoul(m[2].str()));
    return {static_cast<unsigned>(std::stoul(m[1].str())), minor};
}

std::string versionText(std::pair<unsigned, unsigned> v) {
    return std::to_string(v.first) + "." + std::to_string(v.second);
}

}  // namespace

std::shared_ptr<ofxhost::Plugin> Session::load(const std::string& asked) {
    const auto all = plugins();
    // "PLUGIN@MAJOR[.MINOR]" picks a version; an identifier that holds an
    // '@' itself is taken whole.
    std::string name = asked;
    std::optional<std::pair<unsigned, std::optional<unsigned>>> version;
    const bool whole =
        std::any_of(all.begin(), all.end(), [&](const auto& p) { return p.first->pluginId(p.second) == asked; });
    if (const auto at = asked.rfind('@'); !whole && at != std::string::npos && at > 0) {
        version = parseVersion(asked, asked.substr(at + 1));
        name = asked.substr(0, at);
    }

    std::string id;
    for (const auto& [bundle, index] : all)
        if (bundle->pluginId(index) == name) id = name;
    if (id.empty()) {
        std::vector<std::string> ids;
        for (const auto& [bundle, index] : all) {
            const std::string candidate = bundle->pluginId(index);
            if (lastPart(candidate) == name && std::find(ids.begin(), ids.end(), candidate) == ids.end())
                ids.push_back(candidate);
        }
        if (ids.empty())
            throw Error(name, all.empty() ? "no such plug-in (no OFX bundle was found; use --bundle)"
                                          : "no such plug-in (see ofxrender list)");
        if (ids.size() > 1) {
            std::string list;
            for (const auto& i : ids) list += (list.empty() ? "" : ", ") + i;
            throw Error(name, "matches several plug-ins: " + list);
        }
        id = ids.front();
    }

    // The highest version (the first registered among equals), or the
    // highest one of the version asked for.
    const std::pair<std::shared_ptr<ofxhost::Bundle>, int>* best = nullptr;
    std::pair<unsigned, unsigned> bestVersion{};
    std::string versions;
    for (const auto& entry : all) {
        if (entry.first->pluginId(entry.second) != id) continue;
        const auto v = entry.first->pluginVersion(entry.second);
        versions += (versions.empty() ? "" : ", ") + versionText(v);
        if (version && (v.first != version->first || (version->second && v.second != *version->second))) continue;
        if (!best || v > bestVersion) {
            best = &entry;
            bestVersion = v;
        }
    }
    if (!best) throw Error(asked, id + " has no such version (it has: " + versions + ")");
    return load(best->first, best->second);
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
