// The instance's render side: the render options and arguments, the input
// frames, the render of a plan (identity, the poison of a strict host,
// host frame threading), the identity question and the sequence brackets.
#include "ofxhost/Instance.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <set>

#include "ofxGPURender.h"
#include "ofxTalvo.h"
#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
#include "ofxhost/HostImage.h"
#include "ofxhost/OfxNames.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

const char* ofxQuality(Quality q) {
    switch (q) {
        case Quality::Draft: return kOfxImageEffectPropRenderQualityDraft;
        case Quality::Preview: return kOfxImageEffectPropRenderQualityPreview;
        case Quality::Good: return kOfxImageEffectPropRenderQualityGood;
        case Quality::Best: return kOfxImageEffectPropRenderQualityBest;
    }
    return kOfxImageEffectPropRenderQualityBest;
}

int scaled(int size, double scale) { return std::max(1, int(std::lround(size * scale))); }

// The poison of a strict host over the window: NaN in every float channel,
// the options' bytes in every byte pixel.
void poison(ImageBuffer& image, const RectI& w, const RenderOptions& o) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (int y = w.y1; y < w.y2; ++y)
        for (int x = w.x1; x < w.x2; ++x) {
            void* p = image.pixelAddress(x, y);
            if (image.depth() == Depth::Float)
                std::fill_n(static_cast<float*>(p), 4, nan);
            else
                std::memcpy(p, o.poisonBytes.data(), 4);
        }
}

void copyPixels(const ImageBuffer& from, ImageBuffer& to, const RectI& w) {
    for (int y = w.y1; y < w.y2; ++y)
        std::memcpy(to.pixelAddress(w.x1, y), from.pixelAddress(w.x1, y), std::size_t(w.width()) * to.pixelBytes());
}

// Held by the render calls of a plug-in that is not thread safe at all: one
// per plug-in record, for the life of the process.
std::mutex& pluginRenderMutex(const void* plugin) {
    static std::mutex guard;
    static std::map<const void*, std::unique_ptr<std::mutex>> mutexes;
    std::lock_guard lock(guard);
    auto& m = mutexes[plugin];
    if (!m) m = std::make_unique<std::mutex>();
    return *m;
}

// What render, identity and sequence arguments say of OpenCL: on with the
// device's context and queue, or off.
void defineOpenCLArgs(PropertySet& in, const OpenCLDevice* device) {
    in.defineInt(kOfxImageEffectPropOpenCLEnabled, {device ? 1 : 0});
    in.definePointer(kOfxImageEffectPropOpenCLContext, {device ? device->context() : nullptr});
    in.definePointer(kOfxImageEffectPropOpenCLCommandQueue, {device ? device->queue() : nullptr});
}

}  // namespace

void Instance::setClipFormats(const RenderOptions& o) {
    std::set<std::string> connectedClips;
    {
        std::lock_guard lock(mutex_);
        for (const auto& [name, source] : sources_) connectedClips.insert(name);
    }
    for (const auto& c : clips_) {
        PropertySet& p = c->props();
        // An input without a source has no pictures, and nothing about it may
        // say otherwise: plug-ins tell a missing input by its components.
        const bool pictures = c->isOutput() || connectedClips.count(c->name()) != 0;
        const char* depth = pictures ? ofxDepth(o.depth) : kOfxBitDepthNone;
        const char* components = pictures ? kOfxImageComponentRGBA : kOfxImageComponentNone;
        p.setString(kOfxImageEffectPropPixelDepth, depth);
        p.setString(kOfxImageClipPropUnmappedPixelDepth, depth);
        p.setString(kOfxImageEffectPropComponents, components);
        p.setString(kOfxImageClipPropUnmappedComponents, components);
        p.setString(kOfxImageEffectPropPixelOrder, ofxOrder(o.order));
    }
}

void Instance::setRenderOptions(const RenderOptions& o) {
    {
        std::lock_guard lock(mutex_);
        lastOptions_ = o;
    }
    setClipFormats(o);
}

ImageBuffer Instance::makeOutput(const RenderOptions& o) const {
    if (!(o.renderScale > 0.0 && o.renderScale <= 1.0)) throw Error("render scale", "must be above 0 and at most 1");
    return ImageBuffer(scaled(projectWidth_, o.renderScale), scaled(projectHeight_, o.renderScale), o.depth, o.order,
                       o.layout);
}

void Instance::fillRenderArgs(PropertySet& in, double time, const RenderOptions& o, const RectI& w) const {
    in.defineDouble(kOfxPropTime, {time});
    in.defineString(kOfxImageEffectPropFieldToRender, {o.field});
    in.defineInt(kOfxImageEffectPropRenderWindow, {w.x1, w.y1, w.x2, w.y2});
    in.defineDouble(kOfxImageEffectPropRenderScale, {o.renderScale, o.renderScale});
    in.defineInt(kOfxImageEffectPropSequentialRenderStatus, {o.sequential ? 1 : 0});
    in.defineInt(kOfxImageEffectPropInteractiveRenderStatus, {o.interactive ? 1 : 0});
    in.defineInt(kOfxImageEffectPropRenderQualityDraft, {o.quality == Quality::Draft ? 1 : 0});
    in.defineString(kOfxImageEffectPropRenderQuality, {ofxQuality(o.quality)});
    // The time code of a frame is its time: this host has no tape to count.
    in.defineDouble(kOfxPropTalvoTimeCode, {time});
    in.defineInt(kOfxImageEffectPropViewsToRender, {1});
    in.defineInt(kOfxImageEffectPropRenderView, {0});
    in.defineInt(kOfxImageEffectPropOpenGLEnabled, {0});
    defineOpenCLArgs(in, openCLFor(o));
}

OpenCLDevice* Instance::openCLFor(const RenderOptions& o) const {
    if (!o.openCL) return nullptr;
    OpenCLDevice* device = plugin_.host().openCL();
    if (!device) throw Error("OpenCL", "this host has no OpenCL device");
    return supportsOpenCL(*this) ? device : nullptr;
}

OfxStatus Instance::callWithRender(const char* action, const RenderContext* ctx, OfxPropertySetHandle in,
                                   OfxPropertySetHandle out) {
    CallContext c = callContext();
    c.render = ctx;
    CallScope scope(c);
    return pluginRef_->callAction(action, handle(), in, out);
}

std::shared_ptr<const ImageBuffer> Instance::inputFrame(const Clip& clip, double time, const RenderOptions& o,
                                                        bool keep, const std::optional<RectI>& part) {
    constexpr int kWhole = std::numeric_limits<int>::min();
    const auto keyOf = [&](const RectI& r) {
        return CacheKey{
            clip.name(), time, o.depth, o.order, o.layout.rowPadding, o.layout.negativeRowBytes, o.renderScale,
            r.x1,        r.y1, r.x2,    r.y2};
    };
    const CacheKey wholeKey = keyOf(RectI{kWhole, kWhole, kWhole, kWhole});
    std::shared_ptr<const ImageBuffer> whole;
    FrameSource source;
    {
        std::lock_guard lock(mutex_);
        auto s = sources_.find(clip.name());
        if (s == sources_.end()) return nullptr;
        if (auto it = cache_.find(wholeKey); it != cache_.end())
            whole = it->second;
        else
            source = s->second;
    }
    if (!whole) {
        std::shared_ptr<const ImageBuffer> frame = source(time);
        if (!frame) return nullptr;
        ImageBuffer converted = frame->converted(o.depth, o.order, o.layout);
        if (o.renderScale != 1.0)
            converted =
                converted.resized(scaled(frame->width(), o.renderScale), scaled(frame->height(), o.renderScale));
        whole = std::make_shared<const ImageBuffer>(std::move(converted));
        std::lock_guard lock(mutex_);
        sourceBounds_[{clip.name(), time}] = frame->bounds();
        if (keep) whole = cache_.emplace(wholeKey, whole).first->second;
    }
    if (!part) return whole;
    const RectI cut = intersection(*part, whole->bounds());
    if (cut == whole->bounds()) return whole;
    {
        std::lock_guard lock(mutex_);
        if (auto it = cache_.find(keyOf(cut)); it != cache_.end()) return it->second;
    }
    ImageBuffer piece(cut, o.depth, o.order, o.layout);
    for (int y = cut.y1; y < cut.y2; ++y)
        std::memcpy(piece.row(y), whole->pixelAddress(cut.x1, y), std::size_t(cut.width()) * piece.pixelBytes());
    auto result = std::make_shared<const ImageBuffer>(std::move(piece));
    if (!keep) return result;
    std::lock_guard lock(mutex_);
    return cache_.emplace(keyOf(cut), result).first->second;
}

const RenderContext* Instance::findRender(double time) const {
    const RenderContext* mine = callContext().render;
    if (mine && mine->instance == this) return mine;
    std::lock_guard lock(mutex_);
    for (const RenderContext* r : renders_)
        if (r->time == time) return r;
    return renders_.empty() ? nullptr : renders_.front();
}

OfxStatus Instance::render(double time, const RenderOptions& o, ImageBuffer& output, RenderPlan* planOut) {
    RenderPlan local;
    RenderPlan& plan = planOut ? *planOut : local;
    plan = planRender(time, o, output);
    return renderPlanned(plan, o, output);
}

bool Instance::doneWithoutRender(RenderPlan& plan, const RenderOptions& o, ImageBuffer& output) {
    if (output.depth() != o.depth || output.order() != o.order)
        throw Error("render", "the output image is not in the render's depth and order");
    plan.tiles.clear();
    plan.outputFetched = false;
    if (!plan.identityClip.empty()) {
        copyIdentity(plan, o, output);
        return true;
    }
    if (plan.skipsRender()) return true;
    return false;
}

OfxStatus Instance::renderPlanned(RenderPlan& plan, const RenderOptions& o, ImageBuffer& output) {
    if (doneWithoutRender(plan, o, output)) return kOfxStatOK;
    ImageBuffer* target = &output;
    std::optional<ImageBuffer> scratch;
    if (plan.scratch) {
        scratch.emplace(output.bounds(), o.depth, o.order, o.layout);
        target = &*scratch;
    }
    if (o.poison) poison(*target, plan.window, o);
    std::optional<OpenCLFrame> gpu;
    if (OpenCLDevice* device = openCLFor(o)) gpu.emplace(*device, *target);
    const OfxStatus s = renderInto(plan, o, *target, gpu ? &*gpu : nullptr);
    if (gpu && statusPasses(s)) gpu->readBack();
    if (scratch && statusPasses(s)) copyPixels(*scratch, output, intersection(plan.window, plan.requested));
    return s;
}

OfxStatus Instance::renderResident(double time, const RenderOptions& options, OpenCLFrame& frame) {
    RenderOptions o = options;
    o.openCL = true;
    RenderPlan plan = planRender(time, o, frame.outputImage());
    return renderResident(plan, o, frame);
}

OfxStatus Instance::renderResident(RenderPlan& plan, const RenderOptions& options, OpenCLFrame& frame) {
    RenderOptions o = options;
    o.openCL = true;
    if (!openCLFor(o)) throw Error("OpenCL", "the effect does not render with OpenCL");
    ImageBuffer& output = frame.outputImage();
    if (doneWithoutRender(plan, o, output)) return kOfxStatOK;
    if (plan.scratch)
        throw Error("render window", pluginRef_->id() + " has no tiles: it renders on the device only whole");
    return renderInto(plan, o, output, &frame);
}

RectI Instance::checkedWindow(const RenderOptions& o, const ImageBuffer& output) {
    const RectI window = o.window.value_or(output.bounds());
    const RectI b = output.bounds();
    // An empty window is legal (a host may ask for nothing), one reaching
    // outside the output is not.
    if (window.x2 < window.x1 || window.y2 < window.y1 || window.x1 < b.x1 || window.y1 < b.y1 || window.x2 > b.x2 ||
        window.y2 > b.y2)
        throw Error("render window", "must be a part of the " + std::to_string(b.width()) + "x" +
                                         std::to_string(b.height()) + " output");
    return window;
}

void Instance::copyIdentity(const RenderPlan& plan, const RenderOptions& o, ImageBuffer& output) {
    const Clip* c = clip(plan.identityClip);
    if (!c) throw Error(pluginRef_->id(), "is identity on an unknown clip \"" + plan.identityClip + "\"");
    // An identity of a clip with no frame there is an identity of nothing:
    // the window stays transparent black.
    const auto frame = inputFrame(*c, plan.identityTime, o, true);
    const RectI w = plan.window;
    const std::size_t pixel = std::size_t(output.pixelBytes());
    for (int y = w.y1; y < w.y2; ++y) {
        std::memset(output.pixelAddress(w.x1, y), 0, std::size_t(w.width()) * pixel);
        if (!frame) continue;
        const RectI row = intersection(RectI{w.x1, y, w.x2, y + 1}, frame->bounds());
        if (!row.empty())
            std::memcpy(output.pixelAddress(row.x1, y), frame->pixelAddress(row.x1, y),
                        std::size_t(row.width()) * pixel);
    }
}

OfxStatus Instance::renderInto(RenderPlan& plan, const RenderOptions& o, ImageBuffer& output, OpenCLFrame* gpu) {
    const RenderContext ctx{this, plan.time, o, &output, gpu, &plan};
    {
        std::lock_guard lock(mutex_);
        lastOptions_ = o;
        renders_.push_back(&ctx);
        sourceError_.clear();
    }
    struct Unregister {
        Instance* self;
        const RenderContext* ctx;
        ~Unregister() {
            std::lock_guard lock(self->mutex_);
            std::erase(self->renders_, ctx);
        }
    } unregister{this, &ctx};

    setClipFormats(o);
    // Inputs are read and converted before the action, so that a failing file
    // is reported as such and a benchmark times the plug-in alone.
    for (const auto& [name, bounds] : plan.inputBounds)
        if (const Clip* c = clip(name))
            if (auto frame = inputFrame(*c, plan.time, o, true, bounds); frame && gpu) gpu->input(frame);
    time_ = plan.time;
    const OfxStatus s = callRender(ctx, plan);
    plan.outputFetched = ctx.outputFetches.load() > 0;
    return s;
}

OfxStatus Instance::callRender(const RenderContext& ctx, RenderPlan& plan) {
    const RectI w = plan.window;
    ThreadPool& pool = plugin_.host().threadPool();
    // Host frame threading: bands of rows, one per thread of the pool, for a
    // plug-in that renders tiles. A device render stays whole.
    const bool split = props_.getInt(kOfxImageEffectPluginPropHostFrameThreading) != 0 &&
                       props_.getInt(kOfxImageEffectPropSupportsTiles) != 0 && !ctx.openCL && pool.size() > 1 &&
                       w.height() > 1;
    const int n = split ? int(std::min<unsigned>(pool.size(), unsigned(w.height()))) : 1;
    plan.tiles.clear();
    for (int k = 0; k < n; ++k)
        plan.tiles.push_back(
            RectI{w.x1, w.y1 + int(long(w.height()) * k / n), w.x2, w.y1 + int(long(w.height()) * (k + 1) / n)});
    const auto renderTile = [&](const RectI& tile) {
        PropertySet in;
        fillRenderArgs(in, ctx.time, ctx.options, tile);
        return callWithRender(kOfxImageEffectActionRender, &ctx, in.handle(), nullptr);
    };
    const std::string safety = props_.getString(kOfxImageEffectPluginRenderThreadSafety);
    if (safety == kOfxImageEffectRenderFullySafe && n > 1) {
        std::vector<OfxStatus> statuses(std::size_t(n), kOfxStatOK);
        // A run from one of the pool's own workers runs inline as one index:
        // each index takes every count-th tile.
        pool.run(
            [&](unsigned index, unsigned count) {
                for (std::size_t k = index; k < statuses.size(); k += count) {
                    try {
                        statuses[k] = renderTile(plan.tiles[k]);
                    } catch (const std::exception&) {
                        statuses[k] = kOfxStatErrUnknown;
                    }
                }
            },
            unsigned(n));
        for (OfxStatus s : statuses)
            if (!statusPasses(s)) return s;
        return kOfxStatOK;
    }
    // Instance safe: one render call of this instance at a time; unsafe: one
    // of the plug-in at a time in the whole process.
    std::unique_lock<std::mutex> lock;
    if (safety == kOfxImageEffectRenderUnsafe)
        lock = std::unique_lock(pluginRenderMutex(pluginRef_->raw()));
    else if (safety != kOfxImageEffectRenderFullySafe)
        lock = std::unique_lock(renderMutex_);
    for (const RectI& tile : plan.tiles)
        if (const OfxStatus s = renderTile(tile); !statusPasses(s)) return s;
    return kOfxStatOK;
}

OfxStatus Instance::isIdentity(double time, const RenderOptions& o, std::string& clipName, double& identityTime) {
    {
        std::lock_guard lock(mutex_);
        lastOptions_ = o;
    }
    const RectI frame{0, 0, scaled(projectWidth_, o.renderScale), scaled(projectHeight_, o.renderScale)};
    PropertySet in, out;
    fillRenderArgs(in, time, o, o.window.value_or(frame));
    out.defineString(kOfxPropName, {""});
    out.defineDouble(kOfxPropTime, {time});
    setClipFormats(o);
    const OfxStatus s = callWithRender(kOfxImageEffectActionIsIdentity, nullptr, in.handle(), out.handle());
    clipName = out.getString(kOfxPropName);
    identityTime = out.getDouble(kOfxPropTime);
    return s;
}

namespace {

// The arguments of the begin and end sequence actions, which are the same.
void defineSequenceArgs(PropertySet& in, double first, double last, double step, const RenderOptions& o,
                        const OpenCLDevice* device) {
    in.defineDouble(kOfxImageEffectPropFrameRange, {first, last});
    in.defineDouble(kOfxImageEffectPropFrameStep, {step});
    in.defineInt(kOfxPropIsInteractive, {o.interactive ? 1 : 0});
    in.defineDouble(kOfxImageEffectPropRenderScale, {o.renderScale, o.renderScale});
    in.defineInt(kOfxImageEffectPropSequentialRenderStatus, {o.sequential ? 1 : 0});
    in.defineInt(kOfxImageEffectPropInteractiveRenderStatus, {o.interactive ? 1 : 0});
    in.defineInt(kOfxImageEffectPropOpenGLEnabled, {0});
    defineOpenCLArgs(in, device);
}

}  // namespace

OfxStatus Instance::beginSequence(double first, double last, double step, const RenderOptions& o) {
    PropertySet in;
    defineSequenceArgs(in, first, last, step, o, openCLFor(o));
    setClipFormats(o);
    return callWithRender(kOfxImageEffectActionBeginSequenceRender, nullptr, in.handle(), nullptr);
}

OfxStatus Instance::endSequence(double first, double last, double step, const RenderOptions& o) {
    PropertySet in;
    defineSequenceArgs(in, first, last, step, o, openCLFor(o));
    return callWithRender(kOfxImageEffectActionEndSequenceRender, nullptr, in.handle(), nullptr);
}

}  // namespace ofxhost
