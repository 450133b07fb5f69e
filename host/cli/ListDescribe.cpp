#include <ostream>

#include "cli/Cli.h"
#include "ofxhost/Describe.h"
#include "ofxhost/OpenCLDevice.h"
#include "ofxhost/Status.h"

using ofxhost::Error;

namespace ofxcli {

int listCommand(Session& s, const CliOptions& o, std::ostream& out, std::ostream& err) {
    ofxhost::Json list = ofxhost::Json::array();
    for (const auto& [bundle, index] : s.plugins()) {
        ofxhost::PluginInfo info;
        try {
            auto plugin = s.load(bundle, index);
            info = ofxhost::summarisePlugin(*plugin);
        } catch (const Error& e) {
            // One broken plug-in does not hide the others.
            err << "ofxrender WARNING: " << e.what_part() << ": " << e.why() << "\n";
            continue;
        }
        if (o.json) {
            list.push(ofxhost::listJson(info));
            continue;
        }
        std::string contexts;
        for (const auto& c : info.contexts) contexts += (contexts.empty() ? "" : ",") + c;
        out << info.id << "  " << info.version << "  \"" << info.label << "\"  " << info.group << "  [" << contexts
            << "]\n";
    }
    if (o.json) out << list.dump();
    return 0;
}

int describeCommand(Session& s, const CliOptions& o, std::ostream& out) {
    auto plugin = s.load(o.plugin);
    const ofxhost::PluginInfo info = ofxhost::describePlugin(*plugin, o.context);
    if (o.json)
        out << ofxhost::describeJson(info).dump();
    else
        out << ofxhost::describeText(info);
    return 0;
}

int listDevicesCommand(std::ostream& out) {
    const auto platforms = ofxhost::openCLPlatforms();
    if (platforms.empty()) out << "no OpenCL platform (no ICD is installed, or none loads)\n";
    for (std::size_t p = 0; p < platforms.size(); ++p) {
        out << p << "  \"" << platforms[p].name << "\"\n";
        for (std::size_t d = 0; d < platforms[p].devices.size(); ++d)
            out << "  " << p << ":" << d << "  \"" << platforms[p].devices[d] << "\"\n";
    }
    return 0;
}

}  // namespace ofxcli
