// The instance's render side: the render options and arguments, the input
// frames, render and its questions (identity, regions, frames needed, clip
// preferences, time domain) and the sequence brackets.
#include "ofxhost/Instance.h"

#include <algorithm>
#include <cmath>

#include "ofxGPURender.h"
#include "ofxTalvo.h"
#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
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

// What render, identity and sequence arguments say of OpenCL: on with the
// device's context and queue, or off.
void defineOpenCLArgs(PropertySet& in, const OpenCLDevice* device) {
    in.defineInt(kOfxImageEffectPropOpenCLEnabled, {device ? 1 : 0});
    in.definePointer(kOfxImageEffectPropOpenCLContext, {device ? device->context() : nullptr});
    in.definePointer(kOfxImageEffectPropOpenCLCommandQueue, {device ? device->queue() : nullptr});
}

}  // namespace

void Instance::setClipFormats(const RenderOptions& o) {
    for (const auto& c : clips_) {
        PropertySet& p = c->props();
        p.setString(kOfxImageEffectPropPixelDepth, ofxDepth(o.depth));
        p.setString(kOfxImageClipPropUnmappedPixelDepth, ofxDepth(o.depth));
        p.setString(kOfxImageEffectPropComponents, kOfxImageComponentRGBA);
        p.setString(kOfxImageClipPropUnmappedComponents, kOfxImageComponentRGBA);
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
                                                        bool keep) {
    const CacheKey key{clip.name(),  time, o.depth, o.order, o.layout.rowPadding, o.layout.negativeRowBytes,
                       o.renderScale};
    FrameSource source;
    {
        std::lock_guard lock(mutex_);
        if (auto it = cache_.find(key); it != cache_.end()) return it->second;
        auto s = sources_.find(clip.name());
        if (s == sources_.end()) return nullptr;
        source = s->second;
    }
    std::shared_ptr<const ImageBuffer> frame = source(time);
    if (!frame) return nullptr;
    ImageBuffer converted = frame->converted(o.depth, o.order, o.layout);
    if (o.renderScale != 1.0)
        converted = converted.resized(scaled(frame->width(), o.renderScale), scaled(frame->height(), o.renderScale));
    auto result = std::make_shared<const ImageBuffer>(std::move(converted));
    if (!keep) return result;
    std::lock_guard lock(mutex_);
    return cache_.emplace(key, result).first->second;
}

const RenderContext* Instance::findRender(double time) const {
    const RenderContext* mine = callContext().render;
    if (mine && mine->instance == this) return mine;
    std::lock_guard lock(mutex_);
    for (const RenderContext* r : renders_)
        if (r->time == time) return r;
    return renders_.empty() ? nullptr : renders_.front();
}

OfxStatus Instance::render(double time, const RenderOptions& o, ImageBuffer& output) {
    if (output.depth() != o.depth || output.order() != o.order)
        throw Error("render", "the output image is not in the render's depth and order");
    const RectI window = checkedWindow(o, output);
    std::optional<OpenCLFrame> gpu;
    if (OpenCLDevice* device = openCLFor(o)) gpu.emplace(*device, output);
    const OfxStatus s = renderInto(time, o, output, window, gpu ? &*gpu : nullptr);
    if (gpu && statusPasses(s)) gpu->readBack();
    return s;
}

OfxStatus Instance::renderResident(double time, const RenderOptions& options, OpenCLFrame& frame) {
    RenderOptions o = options;
    o.openCL = true;
    if (!openCLFor(o)) throw Error("OpenCL", "the effect does not render with OpenCL");
    ImageBuffer& output = frame.outputImage();
    if (output.depth() != o.depth || output.order() != o.order)
        throw Error("render", "the output image is not in the render's depth and order");
    return renderInto(time, o, output, checkedWindow(o, output), &frame);
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

OfxStatus Instance::renderInto(double time, const RenderOptions& o, ImageBuffer& output, const RectI& window,
                               OpenCLFrame* gpu) {
    const RenderContext ctx{this, time, o, &output, gpu};
    {
        std::lock_guard lock(mutex_);
        lastOptions_ = o;
        // Frames cached for other times are not needed by this render.
        std::erase_if(cache_, [&](const auto& e) { return std::get<1>(e.first) != time; });
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
    for (const auto& c : clips_)
        if (!c->isOutput())
            if (auto frame = inputFrame(*c, time, o, true); frame && gpu) gpu->input(frame);
    time_ = time;
    PropertySet in;
    fillRenderArgs(in, time, o, window);
    return callWithRender(kOfxImageEffectActionRender, &ctx, in.handle(), nullptr);
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

OfxStatus Instance::regionOfDefinition(double time, double scale, OfxRectD& rod) {
    PropertySet in, out;
    in.defineDouble(kOfxPropTime, {time});
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    out.defineDouble(kOfxImageEffectPropRegionOfDefinition, {0.0, 0.0, double(projectWidth_), double(projectHeight_)});
    const OfxStatus s = callWithRender(kOfxImageEffectActionGetRegionOfDefinition, nullptr, in.handle(), out.handle());
    const auto r = out.getDoubles(kOfxImageEffectPropRegionOfDefinition);
    rod = OfxRectD{r[0], r[1], r[2], r[3]};
    return s;
}

OfxStatus Instance::regionsOfInterest(double time, double scale, const OfxRectD& roi, PropertySet& out) {
    PropertySet in;
    in.defineDouble(kOfxPropTime, {time});
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    in.defineDouble(kOfxImageEffectPropRegionOfInterest, {roi.x1, roi.y1, roi.x2, roi.y2});
    for (const auto& c : clips_)
        if (!c->isOutput()) out.defineDouble("OfxImageClipPropRoI_" + c->name(), {roi.x1, roi.y1, roi.x2, roi.y2});
    return callWithRender(kOfxImageEffectActionGetRegionsOfInterest, nullptr, in.handle(), out.handle());
}

OfxStatus Instance::framesNeeded(double time, PropertySet& out) {
    PropertySet in;
    in.defineDouble(kOfxPropTime, {time});
    for (const auto& c : clips_)
        if (!c->isOutput()) out.defineDouble("OfxImageClipPropFrameRange_" + c->name(), {time, time}, true);
    return callWithRender(kOfxImageEffectActionGetFramesNeeded, nullptr, in.handle(), out.handle());
}

OfxStatus Instance::clipPreferences(PropertySet& out) {
    for (const auto& c : clips_) {
        out.defineString("OfxImageClipPropComponents_" + c->name(), {kOfxImageComponentRGBA});
        out.defineString("OfxImageClipPropDepth_" + c->name(), {ofxDepth(lastOptions_.depth)});
        out.defineDouble("OfxImageClipPropPAR_" + c->name(), {1.0});
    }
    out.defineDouble(kOfxImageEffectPropFrameRate, {props_.getDouble(kOfxImageEffectPropFrameRate)});
    out.defineString(kOfxImageClipPropFieldOrder, {kOfxImageFieldNone});
    out.defineString(kOfxImageEffectPropPreMultiplication, {kOfxImagePreMultiplied});
    out.defineInt(kOfxImageClipPropContinuousSamples, {0});
    out.defineInt(kOfxImageEffectFrameVarying, {0});
    return callWithRender(kOfxImageEffectActionGetClipPreferences, nullptr, nullptr, out.handle());
}

OfxStatus Instance::timeDomain(OfxRangeD& range) {
    PropertySet out;
    out.defineDouble(kOfxImageEffectPropFrameRange, {range.min, range.max});
    const OfxStatus s = callWithRender(kOfxImageEffectActionGetTimeDomain, nullptr, nullptr, out.handle());
    range.min = out.getDouble(kOfxImageEffectPropFrameRange, 0);
    range.max = out.getDouble(kOfxImageEffectPropFrameRange, 1);
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
