#include <ostream>

#include "cli/Cli.h"
#include "cli/Terminal.h"
#include "ofxhost/Renderer.h"
#include "ofxhost/Status.h"

namespace ofxcli {

ofxhost::RenderJob jobFromOptions(const CliOptions& o) {
    ofxhost::RenderJob job;
    job.context = o.context;
    for (const auto& text : o.inputs) {
        ofxhost::RenderInput in;
        // "CLIP=FILE" when the part before '=' can be a clip name, not a path.
        const auto eq = text.find('=');
        if (eq != std::string::npos && eq > 0 && text.substr(0, eq).find('/') == std::string::npos) {
            in.clip = text.substr(0, eq);
            in.file = text.substr(eq + 1);
        } else {
            in.file = text;
        }
        if (in.file.empty()) throw ofxhost::Error("-i " + text, "names no file");
        job.inputs.push_back(std::move(in));
    }
    for (const auto& s : o.sets) job.settings.push_back(ofxhost::parseSetting(s));
    job.presses = o.presses;
    job.upliftFile = o.uplift;
    job.output = o.output;
    job.options.order = o.order;
    job.options.layout = o.layout;
    job.options.renderScale = o.renderScale;
    job.options.quality = o.quality;
    job.options.openCL = o.openCL.has_value();
    job.options.poison = o.poison;
    if (o.depth) {
        job.options.depth = *o.depth;
        job.depthGiven = true;
    }
    job.size = o.size;
    if (o.frames) {
        job.times.clear();
        for (long f : o.frames->frames()) job.times.push_back(double(f));
    } else if (o.time) {
        job.times = {*o.time};
    }
    return job;
}

int renderCommand(Session& s, const CliOptions& o, std::ostream&, std::ostream& err) {
    ofxhost::RenderJob job = jobFromOptions(o);
    auto plugin = s.load(o.plugin);
    noteOpenCLFallback(*plugin, o, err);
    noteOrderFallback(*plugin, o, err);
    ProgressLine progress(err, stderrIsTerminal());
    job.onFrame = [&](std::size_t i, std::size_t n, double t) { progress.frameDone(i, n, t); };
    ofxhost::runRenderJob(*plugin, job);
    return 0;
}

}  // namespace ofxcli
