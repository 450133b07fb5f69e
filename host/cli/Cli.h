// The ofxrender program, callable in-process: runCli takes the arguments
// (without the program name), writes to the given streams and returns the
// exit status. Errors are one line, "ofxrender ERROR: <what>: <why>", and
// status 1.
#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "cli/Options.h"
#include "ofxhost/Renderer.h"
#include "ofxhost/Bundle.h"
#include "ofxhost/Host.h"
#include "ofxhost/Plugin.h"

namespace ofxcli {

int runCli(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
           const std::string& executableDir = "");

// The host and the bundles of one run, and plug-in lookup by name.
class Session {
public:
    Session(const CliOptions& options, std::ostream& err, const std::string& executableDir);

    ofxhost::Host& host() { return *host_; }
    // Every plug-in of every bundle, as (bundle, index).
    std::vector<std::pair<std::shared_ptr<ofxhost::Bundle>, int>> plugins() const;
    // Loads the plug-in named by identifier or unique suffix after its last
    // ':', at its highest version, or at the one PLUGIN@MAJOR or
    // PLUGIN@MAJOR.MINOR asks for; throws Error for an unknown or ambiguous
    // name or a version the plug-in lacks.
    std::shared_ptr<ofxhost::Plugin> load(const std::string& name);
    std::shared_ptr<ofxhost::Plugin> load(const std::shared_ptr<ofxhost::Bundle>& bundle, int index);

private:
    std::shared_ptr<ofxhost::Host> host_;
    std::vector<std::shared_ptr<ofxhost::Bundle>> bundles_;
};

int listCommand(Session& s, const CliOptions& o, std::ostream& out, std::ostream& err);
int describeCommand(Session& s, const CliOptions& o, std::ostream& out);
int renderCommand(Session& s, const CliOptions& o, std::ostream& out, std::ostream& err);
int benchCommand(Session& s, const CliOptions& o, std::ostream& out, std::ostream& err);
// Platforms and devices with the indexes --opencl takes; needs no bundle.
int listDevicesCommand(std::ostream& out);

// With --opencl, says once on err when the plug-in renders on the CPU
// because it does not declare OpenCL support.
void noteOpenCLFallback(ofxhost::Plugin& plugin, const CliOptions& o, std::ostream& err);

// With --order, says once on err when the plug-in receives the other order
// because of the pixel depths it declares (see ofxhost::renderOrderFor).
void noteOrderFallback(ofxhost::Plugin& plugin, const CliOptions& o, std::ostream& err);

// The render job that render and bench options describe.
ofxhost::RenderJob jobFromOptions(const CliOptions& o);

}  // namespace ofxcli
