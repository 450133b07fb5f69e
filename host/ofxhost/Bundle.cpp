#include "ofxhost/Bundle.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "ofxhost/Host.h"
#include "ofxhost/Status.h"

namespace fs = std::filesystem;

namespace ofxhost {

namespace {

bool endsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

std::string plistExecutable(const fs::path& bundle) {
    std::ifstream in(bundle / "Contents" / "Info.plist");
    if (!in) return "";
    std::stringstream ss;
    ss << in.rdbuf();
    static const std::regex key(R"(<key>\s*CFBundleExecutable\s*</key>\s*<string>\s*([^<]*?)\s*</string>)");
    std::smatch m;
    const std::string text = ss.str();
    return std::regex_search(text, m, key) ? m[1].str() : "";
}

}  // namespace

std::string modulePathOf(const std::string& path) {
    std::error_code ec;
    const fs::path p(path);
    if (fs::is_regular_file(p, ec)) return path;
    if (!fs::is_directory(p, ec)) return "";
    const fs::path arch = p / "Contents" / "Linux-x86-64";
    std::vector<std::string> names;
    if (std::string exe = plistExecutable(p); !exe.empty()) names.push_back(exe);
    std::string stem = p.filename().string();
    if (stem.empty()) stem = p.parent_path().filename().string();
    if (endsWith(stem, ".bundle")) stem.resize(stem.size() - 7);
    names.push_back(stem);
    for (const auto& n : names)
        if (fs::is_regular_file(arch / n, ec)) return (arch / n).string();
    return "";
}

std::shared_ptr<Bundle> Bundle::open(const std::string& path, Host* host) {
    const std::string module = modulePathOf(path);
    if (module.empty()) throw Error(path, "no OFX bundle or module there");
    std::shared_ptr<Bundle> b(new Bundle);
    b->modulePath_ = module;
    const fs::path p(path);
    std::error_code ec;
    b->directory_ = fs::is_directory(p, ec) ? fs::absolute(p, ec).lexically_normal().string()
                                            : fs::absolute(p, ec).parent_path().string();
    dlerror();
    b->module_ = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!b->module_) {
        const char* why = dlerror();
        throw Error(module, why ? why : "cannot be loaded");
    }
    using CountFn = int (*)();
    using GetFn = OfxPlugin* (*)(int);
    using SetHostFn = OfxStatus (*)(const OfxHost*);
    auto count = reinterpret_cast<CountFn>(dlsym(b->module_, "OfxGetNumberOfPlugins"));
    auto get = reinterpret_cast<GetFn>(dlsym(b->module_, "OfxGetPlugin"));
    if (!count || !get) throw Error(module, "does not export OfxGetNumberOfPlugins and OfxGetPlugin");
    if (host)
        if (auto setHost = reinterpret_cast<SetHostFn>(dlsym(b->module_, "OfxSetHost"))) setHost(host->ofxHost());
    const int n = count();
    if (n < 0) throw Error(module, "OfxGetNumberOfPlugins returned " + std::to_string(n));
    for (int i = 0; i < n; ++i) {
        OfxPlugin* plugin = get(i);
        if (!plugin || !plugin->pluginIdentifier || !plugin->pluginApi || !plugin->mainEntry)
            throw Error(module, "OfxGetPlugin(" + std::to_string(i) + ") returned an incomplete record");
        b->ids_.push_back(plugin->pluginIdentifier);
        b->versions_.emplace_back(plugin->pluginVersionMajor, plugin->pluginVersionMinor);
    }
    b->getPlugin_ = get;
    return b;
}

Bundle::~Bundle() {
    if (module_) dlclose(module_);
}

OfxPlugin* Bundle::rawPlugin(int index) const {
    if (index < 0 || index >= pluginCount()) throw Error(modulePath_, "no plug-in number " + std::to_string(index));
    OfxPlugin* plugin = getPlugin_(index);
    if (!plugin || !plugin->mainEntry)
        throw Error(modulePath_, "OfxGetPlugin(" + std::to_string(index) + ") returned no record");
    return plugin;
}

std::string Bundle::pluginId(int index) const {
    if (index < 0 || index >= pluginCount()) throw Error(modulePath_, "no plug-in number " + std::to_string(index));
    return ids_[index];
}

std::pair<unsigned, unsigned> Bundle::pluginVersion(int index) const {
    if (index < 0 || index >= pluginCount()) throw Error(modulePath_, "no plug-in number " + std::to_string(index));
    return versions_[index];
}

int Bundle::indexOf(const std::string& id) const {
    int best = -1;
    for (int i = 0; i < pluginCount(); ++i)
        if (id == ids_[i] && (best < 0 || versions_[i] > versions_[best])) best = i;
    return best;
}

int Bundle::indexOf(const std::string& id, unsigned major, std::optional<unsigned> minor) const {
    int best = -1;
    for (int i = 0; i < pluginCount(); ++i)
        if (id == ids_[i] && versions_[i].first == major && (!minor || versions_[i].second == *minor) &&
            (best < 0 || versions_[i] > versions_[best]))
            best = i;
    return best;
}

namespace {

void walk(const fs::path& dir, std::vector<std::string>& out, int depth) {
    if (depth > 32) return;
    std::error_code ec;
    std::vector<fs::path> entries;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) entries.push_back(it->path());
    std::sort(entries.begin(), entries.end());
    for (const auto& e : entries) {
        const std::string name = e.filename().string();
        if (!fs::is_directory(e, ec) || name.empty() || name[0] == '@') continue;
        if (endsWith(name, ".ofx.bundle"))
            out.push_back(e.string());
        else
            walk(e, out, depth + 1);
    }
}

}  // namespace

std::vector<std::string> findBundles(const std::vector<std::string>& roots) {
    std::vector<std::string> out;
    for (const auto& root : roots) {
        if (root.empty()) continue;
        std::error_code ec;
        const fs::path p(root);
        if (endsWith(p.filename().string(), ".ofx.bundle") || fs::is_regular_file(p, ec)) {
            if (fs::exists(p, ec)) out.push_back(root);
        } else if (fs::is_directory(p, ec)) {
            walk(p, out, 0);
        }
    }
    return out;
}

std::vector<std::string> defaultPluginRoots(const std::string& executableDir) {
    std::vector<std::string> roots;
    if (const char* env = std::getenv("OFX_PLUGIN_PATH"); env && *env) {
        std::stringstream ss(env);
        for (std::string part; std::getline(ss, part, ':');)
            if (!part.empty()) roots.push_back(part);
        return roots;
    }
    std::error_code ec;
    const fs::path beside = fs::path(executableDir) / "ONDU1.ofx.bundle";
    if (!executableDir.empty() && fs::is_directory(beside, ec)) return {beside.string()};
    return {"/usr/OFX/Plugins"};
}

}  // namespace ofxhost
