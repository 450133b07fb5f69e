#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <type_traits>
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

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2.0;
}

template <class F>
std::vector<double> timeRuns(int repeat, F&& run) {
    std::vector<double> seconds;
    for (int i = 0; i < repeat; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        run();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return seconds;
}

// A median time and the frame rate it gives, in megapixels a second.
struct Figure {
    double seconds = 0.0;
    double rate = 0.0;
};

// Runs once to warm up (first-use allocations and caches stay out of the
// figures), then `repeat` times.
template <class F>
Figure medianRate(int repeat, double megapixels, F&& run) {
    run();
    const double seconds = median(timeRuns(repeat, run));
    return {seconds, seconds > 0 ? megapixels / seconds : 0.0};
}

double ratio(const Figure& a, const Figure& b) { return b.rate > 0 ? a.rate / b.rate : 0.0; }

void printFigure(std::ostream& out, const char* what, const Figure& f, const char* of = nullptr, double r = 0.0) {
    char line[160];
    int n = std::snprintf(line, sizeof line, "  %-14s %10.1f MP/s  (median %.3f ms)", what, f.rate, f.seconds * 1e3);
    if (of) std::snprintf(line + n, sizeof line - std::size_t(n), "  %.3f %s", r, of);
    out << line << '\n';
}

void checkStatus(const ofxhost::Plugin& plugin, OfxStatus st) {
    if (st != kOfxStatOK && st != kOfxStatReplyDefault)
        throw Error(plugin.id(), "render action returned " + ofxhost::statusName(st), st);
}

// The device's figures: the whole render as a host sees it (upload, kernels,
// read-back), the kernels alone on buffers already on the device, and a
// buffer-to-buffer copy of the frame, the bandwidth the device can reach.
struct OpenCLFigures {
    Figure render, kernel, copy;
};

struct ReleaseBuffer {
    void operator()(cl_mem m) const { clReleaseMemObject(m); }
};
using DeviceBuffer = std::unique_ptr<std::remove_pointer_t<cl_mem>, ReleaseBuffer>;

void checkCL(cl_int err, const char* what) {
    if (err != CL_SUCCESS) throw Error("OpenCL", std::string(what) + " failed: " + ofxhost::clStatusName(err));
}

OpenCLFigures benchOpenCL(ofxhost::OpenCLDevice& device, int repeat, double megapixels, ofxhost::Plugin& plugin,
                          ofxhost::Instance& instance, double time, ofxhost::RenderOptions options,
                          ofxhost::ImageBuffer& output) {
    options.openCL = true;
    OpenCLFigures f;
    // The questions before the render are asked once; the figures time the
    // render calls alone.
    ofxhost::RenderPlan plan = instance.planRender(time, options, output);
    f.render =
        medianRate(repeat, megapixels, [&] { checkStatus(plugin, instance.renderPlanned(plan, options, output)); });
    {
        ofxhost::OpenCLFrame frame(device, output);
        f.kernel = medianRate(repeat, megapixels, [&] {
            checkStatus(plugin, instance.renderResident(plan, options, frame));
            frame.finish();
        });
    }
    const std::size_t bytes = std::max<std::size_t>(output.pixelCount() * std::size_t(output.pixelBytes()), 16);
    const DeviceBuffer from(device.takeBuffer(bytes));
    const DeviceBuffer to(device.takeBuffer(bytes));
    f.copy = medianRate(repeat, megapixels, [&] {
        checkCL(clEnqueueCopyBuffer(device.queue(), from.get(), to.get(), 0, 0, bytes, 0, nullptr, nullptr),
                "the device copy");
        checkCL(clFinish(device.queue()), "the device copy");
    });
    return f;
}

}  // namespace

int benchCommand(Session& s, const CliOptions& o, std::ostream& out, std::ostream& err) {
    ofxhost::RenderJob job = jobFromOptions(o);
    if (!job.size && job.inputs.empty()) job.size = std::pair{1920, 1080};
    auto plugin = s.load(o.plugin);
    noteOpenCLFallback(*plugin, o, err);
    noteOrderFallback(*plugin, o, err);
    // Measured beside the processor: the OpenCL device, when the effect
    // renders with it.
    const bool onDevice = o.openCL && ofxhost::supportsOpenCL(plugin->describe());
    const std::string device = onDevice ? "OpenCL " + s.host().openCL()->deviceName() : "cpu";

    // Without inputs the frames come from memory: a noisy premultiplied test
    // frame per input clip of the context, so no image library is needed.
    if (job.inputs.empty()) {
        std::string context = o.context;
        if (context.empty()) {
            const auto declared = plugin->contexts();
            if (declared.empty()) throw Error(plugin->id(), "declares no context");
            context = declared.front();
        }
        job.context = context;
        const auto& descriptor = plugin->describeInContext(context);
        std::uint32_t seed = 1;
        for (const auto& c : descriptor.clips()) {
            if (c->isOutput()) continue;
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
    const std::size_t bytes = output.pixelCount() * std::size_t(output.pixelBytes());
    const double megapixels = double(output.pixelCount()) / 1e6;

    // The processor's figures, with the machine's threads, beside a memcpy of
    // the frame: the memory bandwidth a point filter can at best reach.
    ofxhost::RenderOptions cpuOptions = options;
    cpuOptions.openCL = false;
    // Clip preferences, identity, regions of definition and interest once;
    // then the render calls are timed.
    ofxhost::RenderPlan plan = instance->planRender(time, cpuOptions, output);
    const Figure cpu = medianRate(o.repeat, megapixels,
                                  [&] { checkStatus(*plugin, instance->renderPlanned(plan, cpuOptions, output)); });
    std::vector<unsigned char> from(bytes, 1), to(bytes);
    const Figure memcpyFigure = medianRate(o.repeat, megapixels, [&] {
        std::memcpy(to.data(), from.data(), bytes);
        // Keeps the copy from being optimised away.
        from[bytes / 2] = to[bytes / 3];
    });

    std::optional<OpenCLFigures> gpu;
    if (onDevice)
        gpu = benchOpenCL(*s.host().openCL(), o.repeat, megapixels, *plugin, *instance, time, options, output);

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
        j.set("medianSeconds", cpu.seconds);
        j.set("megapixelsPerSecond", cpu.rate);
        j.set("memcpyMegapixelsPerSecond", memcpyFigure.rate);
        j.set("ratioToMemcpy", ratio(cpu, memcpyFigure));
        if (gpu) {
            ofxhost::Json g = ofxhost::Json::object();
            g.set("renderSeconds", gpu->render.seconds);
            g.set("renderMegapixelsPerSecond", gpu->render.rate);
            g.set("renderRatioToDeviceCopy", ratio(gpu->render, gpu->copy));
            g.set("kernelSeconds", gpu->kernel.seconds);
            g.set("kernelMegapixelsPerSecond", gpu->kernel.rate);
            g.set("kernelRatioToDeviceCopy", ratio(gpu->kernel, gpu->copy));
            g.set("deviceCopySeconds", gpu->copy.seconds);
            g.set("deviceCopyMegapixelsPerSecond", gpu->copy.rate);
            j.set("openCL", std::move(g));
        }
        out << j.dump();
        return 0;
    }
    char line[320];
    std::snprintf(line, sizeof line, "%s  %dx%d %s %s, %u threads, %s, %d runs\n", plugin->id().c_str(), output.width(),
                  output.height(), ofxhost::depthName(options.depth), ofxhost::orderName(options.order), threads,
                  device.c_str(), o.repeat);
    out << line;
    printFigure(out, "CPU render", cpu, "of memcpy", ratio(cpu, memcpyFigure));
    printFigure(out, "memcpy", memcpyFigure);
    if (gpu) {
        printFigure(out, "OpenCL render", gpu->render, "of device copy", ratio(gpu->render, gpu->copy));
        printFigure(out, "OpenCL kernel", gpu->kernel, "of device copy", ratio(gpu->kernel, gpu->copy));
        printFigure(out, "device copy", gpu->copy);
    }
    return 0;
}

}  // namespace ofxcli
