#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <sstream>
#include <vector>

#include "cli/Cli.h"
#include "ofxhost/Json.h"
#include "ofxhost/OpenCLDevice.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/Renderer.h"
#include "ofxhost/Status.h"

using ofxhost::Error;

namespace ofxcli {

namespace {

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2.0;
}

template <class F>
std::vector<double> timeRuns(int repeat, F&& run)
{
    std::vector<double> seconds;
    for (int i = 0; i < repeat; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        run();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return seconds;
}

}  // namespace

int benchCommand(Session& s, const CliOptions& o, std::ostream& out, std::ostream& err)
{
    ofxhost::RenderJob job = jobFromOptions(o);
    if (!job.size && job.inputs.empty())
        job.size = std::pair{1920, 1080};
    auto plugin = s.load(o.plugin);
    noteOpenCLFallback(*plugin, o, err);
    // What renders: "cpu", or the OpenCL device's name.
    const std::string device = o.openCL && ofxhost::supportsOpenCL(plugin->describe())
                                   ? "OpenCL " + s.host().openCL()->deviceName()
                                   : "cpu";

    // Without inputs the frames come from memory: a noisy premultiplied test
    // frame per input clip of the context, so no image library is needed.
    if (job.inputs.empty()) {
        std::string context = o.context;
        if (context.empty()) {
            const auto declared = plugin->contexts();
            if (declared.empty())
                throw Error(plugin->id(), "declares no context");
            context = declared.front();
        }
        job.context = context;
        const auto& descriptor = plugin->describeInContext(context);
        std::uint32_t seed = 1;
        for (const auto& c : descriptor.clips()) {
            if (c->isOutput())
                continue;
            ofxhost::RenderInput in;
            in.clip = c->name();
            in.image = std::make_shared<const ofxhost::ImageBuffer>(ofxhost::ImageBuffer::testFrame(
                job.size->first, job.size->second, job.options.depth, job.options.order, seed++));
            job.inputs.push_back(std::move(in));
        }
    }
    ofxhost::RenderOptions options = job.options;
    auto instance = ofxhost::prepareInstance(*plugin, job, options);
    const double time = job.times.front();
    instance->setTime(time);
    ofxhost::ImageBuffer output = instance->makeOutput(options);

    auto renderOnce = [&] {
        const OfxStatus st = instance->render(time, options, output);
        if (st != kOfxStatOK && st != kOfxStatReplyDefault)
            throw Error(plugin->id(), "render action returned " + ofxhost::statusName(st), st);
    };
    renderOnce();  // warm-up: first-use allocations and caches stay out of the figures
    const double renderSeconds = median(timeRuns(o.repeat, renderOnce));

    const std::size_t bytes = output.pixelCount() * std::size_t(output.pixelBytes());
    std::vector<unsigned char> from(bytes, 1), to(bytes);
    auto copyOnce = [&] {
        std::memcpy(to.data(), from.data(), bytes);
        // Keeps the copy from being optimised away.
        from[bytes / 2] = to[bytes / 3];
    };
    copyOnce();
    const double copySeconds = median(timeRuns(o.repeat, copyOnce));

    const double megapixels = double(output.pixelCount()) / 1e6;
    const double rate = renderSeconds > 0 ? megapixels / renderSeconds : 0.0;
    const double copyRate = copySeconds > 0 ? megapixels / copySeconds : 0.0;
    const double ratio = copyRate > 0 ? rate / copyRate : 0.0;
    const unsigned threads = s.host().threadPool().size();
    if (o.json) {
        ofxhost::Json j = ofxhost::Json::object();
        j.set("plugin", plugin->id());
        j.set("context", ofxhost::shortContextName(instance->context()));
        j.set("width", output.width());
        j.set("height", output.height());
        j.set("depth", ofxhost::depthName(options.depth));
        j.set("order", ofxhost::orderName(options.order));
        j.set("threads", threads);
        j.set("device", device);
        j.set("repeat", o.repeat);
        j.set("medianSeconds", renderSeconds);
        j.set("megapixelsPerSecond", rate);
        j.set("memcpyMegapixelsPerSecond", copyRate);
        j.set("ratioToMemcpy", ratio);
        out << j.dump();
        return 0;
    }
    char line[256];
    std::snprintf(line, sizeof line, "%s  %dx%d %s %s, %u threads, %s, %d runs\n", plugin->id().c_str(),
                  output.width(), output.height(), ofxhost::depthName(options.depth),
                  ofxhost::orderName(options.order), threads, device.c_str(), o.repeat);
    out << line;
    std::snprintf(line, sizeof line, "  render  %10.1f MP/s  (median %.3f ms)\n", rate, renderSeconds * 1e3);
    out << line;
    std::snprintf(line, sizeof line, "  memcpy  %10.1f MP/s  (median %.3f ms)\n", copyRate, copySeconds * 1e3);
    out << line;
    std::snprintf(line, sizeof line, "  ratio   %10.3f of memcpy\n", ratio);
    out << line;
    return 0;
}

}  // namespace ofxcli
