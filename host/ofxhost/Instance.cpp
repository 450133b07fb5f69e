#include "ofxhost/Instance.h"

#include <algorithm>
#include <cmath>

#include "ofxGPURender.h"
#include "ofxTalvo.h"
#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/ParamText.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Status.h"
#include "ofxhost/Uplift.h"

namespace ofxhost {

const char* qualityName(Quality q)
{
    switch (q) {
    case Quality::Draft: return "draft";
    case Quality::Preview: return "preview";
    case Quality::Good: return "good";
    case Quality::Best: return "best";
    }
    return "?";
}

namespace {

const char* ofxDepth(Depth d) { return d == Depth::Byte ? kOfxBitDepthByte : kOfxBitDepthFloat; }
const char* ofxOrder(PixelOrder o)
{
    return o == PixelOrder::RGBA ? kOfxImagePixelOrderRGBA : kOfxImagePixelOrderBGRA;
}

const char* ofxQuality(Quality q)
{
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
void defineOpenCLArgs(PropertySet& in, const OpenCLDevice* device)
{
    in.defineInt(kOfxImageEffectPropOpenCLEnabled, {device ? 1 : 0});
    in.definePointer(kOfxImageEffectPropOpenCLContext, {device ? device->context() : nullptr});
    in.definePointer(kOfxImageEffectPropOpenCLCommandQueue, {device ? device->queue() : nullptr});
}

}  // namespace

// An image handed to the plug-in: a property set that keeps its pixels alive
// until the plug-in releases it. In an OpenCL render the pixels are the
// device buffer clImage, rows packed, and there is no host data pointer.
class HostImage : public PropertySet {
public:
    HostImage(Instance& owner, std::shared_ptr<const ImageBuffer> buffer, const RenderOptions& o,
              const std::string& id, cl_mem clImage)
        : owner_(owner), buffer_(std::move(buffer))
    {
        const RectI b = buffer_->bounds();
        defineString(kOfxPropType, {kOfxTypeImage});
        defineString(kOfxImageEffectPropPixelDepth, {ofxDepth(buffer_->depth())});
        defineString(kOfxImageEffectPropComponents, {kOfxImageComponentRGBA});
        defineString(kOfxImageEffectPropPreMultiplication, {kOfxImagePreMultiplied});
        defineDouble(kOfxImageEffectPropRenderScale, {o.renderScale, o.renderScale});
        defineDouble(kOfxImagePropPixelAspectRatio, {1.0});
        definePointer(kOfxImagePropData, {clImage ? nullptr : const_cast<void*>(buffer_->data())});
        definePointer(kOfxImageEffectPropOpenCLImage, {clImage});
        defineInt(kOfxImagePropBounds, {b.x1, b.y1, b.x2, b.y2});
        defineInt(kOfxImagePropRegionOfDefinition, {b.x1, b.y1, b.x2, b.y2});
        defineInt(kOfxImagePropRowBytes, {clImage ? packedRowBytes(*buffer_) : int(buffer_->rowBytes())});
        defineString(kOfxImagePropField, {o.field});
        defineString(kOfxImagePropUniqueIdentifier, {id});
        defineString(kOfxImageEffectPropPixelOrder, {ofxOrder(buffer_->order())});
    }

    Instance& owner() const { return owner_; }

private:
    Instance& owner_;
    std::shared_ptr<const ImageBuffer> buffer_;
};

Instance::Instance(std::shared_ptr<Plugin> plugin, const EffectObject& descriptor)
    : EffectObject(*plugin, descriptor, 0), pluginRef_(std::move(plugin))
{
    props_.definePointer(kOfxPropInstanceData, {nullptr});
    props_.defineDouble(kOfxImageEffectPropProjectSize, {double(projectWidth_), double(projectHeight_)});
    props_.defineDouble(kOfxImageEffectPropProjectOffset, {0.0, 0.0});
    props_.defineDouble(kOfxImageEffectPropProjectExtent, {double(projectWidth_), double(projectHeight_)});
    props_.defineDouble(kOfxImageEffectPropProjectPixelAspectRatio, {1.0});
    props_.defineDouble(kOfxImageEffectInstancePropEffectDuration, {1.0});
    props_.defineInt(kOfxImageEffectInstancePropSequentialRender, {0});
    props_.defineDouble(kOfxImageEffectPropFrameRate, {25.0});
    props_.defineInt(kOfxPropIsInteractive, {0});
    props_.defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"});
    setClipFormats(lastOptions_);

    const OfxStatus s = pluginRef_->callAction(kOfxActionCreateInstance, handle(), nullptr, nullptr);
    if (s != kOfxStatOK && s != kOfxStatReplyDefault)
        throw Error(pluginRef_->id(), "create instance action returned " + statusName(s), s);
}

Instance::~Instance()
{
    pluginRef_->callAction(kOfxActionDestroyInstance, handle(), nullptr, nullptr);
    std::lock_guard lock(mutex_);
    images_.clear();
}

void Instance::setProjectSize(int w, int h)
{
    if (w <= 0 || h <= 0)
        throw Error("project size", std::to_string(w) + "x" + std::to_string(h) + " is not a frame size");
    projectWidth_ = w;
    projectHeight_ = h;
    props_.setDoubles(kOfxImageEffectPropProjectSize, {double(w), double(h)});
    props_.setDoubles(kOfxImageEffectPropProjectExtent, {double(w), double(h)});
}

void Instance::setFrameRange(double first, double last)
{
    firstFrame_ = first;
    lastFrame_ = last;
    props_.setDouble(kOfxImageEffectInstancePropEffectDuration, last - first + 1);
    for (const auto& c : clips_) {
        c->props().setDoubles(kOfxImageEffectPropFrameRange, {first, last});
        c->props().setDoubles(kOfxImageEffectPropUnmappedFrameRange, {first, last});
    }
}

void Instance::setFrameRate(double fps)
{
    props_.setDouble(kOfxImageEffectPropFrameRate, fps);
    for (const auto& c : clips_) {
        c->props().setDouble(kOfxImageEffectPropFrameRate, fps);
        c->props().setDouble(kOfxImageEffectPropUnmappedFrameRate, fps);
    }
}

std::vector<std::string> Instance::inputClipNames() const
{
    std::vector<std::string> out;
    for (const auto& c : clips_)
        if (!c->isOutput())
            out.push_back(c->name());
    return out;
}

void Instance::connect(const std::string& name, FrameSource source)
{
    Clip* c = clip(name);
    if (!c || c->isOutput()) {
        std::string list;
        for (const auto& n : inputClipNames())
            list += (list.empty() ? "" : ", ") + n;
        throw Error("clip \"" + name + "\"", pluginRef_->id() + " has no such input clip (it has: " +
                                                 (list.empty() ? "none" : list) + ")");
    }
    if (!source)
        throw Error("clip \"" + name + "\"", "connected to nothing");
    std::lock_guard lock(mutex_);
    sources_[name] = std::move(source);
    c->props().setInt(kOfxImageClipPropConnected, 1);
    cache_.clear();
}

void Instance::connect(const std::string& name, std::shared_ptr<const ImageBuffer> image)
{
    if (!image)
        throw Error("clip \"" + name + "\"", "connected to no image");
    connect(name, [image](double) { return image; });
}

void Instance::disconnect(const std::string& name)
{
    Clip* c = clip(name);
    if (!c)
        throw Error("clip \"" + name + "\"", "no such clip");
    std::lock_guard lock(mutex_);
    sources_.erase(name);
    c->props().setInt(kOfxImageClipPropConnected, 0);
    cache_.clear();
}

bool Instance::connected(const std::string& name) const
{
    std::lock_guard lock(mutex_);
    return sources_.count(name) != 0;
}

Param& Instance::param(std::string_view name) const
{
    if (Param* p = params_.findByNameOrScriptName(name))
        return *p;
    throw Error("parameter \"" + std::string(name) + "\"", pluginRef_->id() + " has no such parameter");
}

void Instance::notifyChanged(const std::string& name, double time)
{
    PropertySet reason;
    reason.defineString(kOfxPropChangeReason, {kOfxChangeUserEdited});
    OfxStatus s = pluginRef_->callAction(kOfxActionBeginInstanceChanged, handle(), reason.handle(), nullptr);
    if (statusPasses(s))
        s = instanceChanged(kOfxTypeParameter, name, kOfxChangeUserEdited, time);
    const OfxStatus end = pluginRef_->callAction(kOfxActionEndInstanceChanged, handle(), reason.handle(), nullptr);
    if (statusPasses(s))
        s = end;
    throwIfFailed(s, pluginRef_->id(), "changing \"" + name + "\": instance changed action");
}

void Instance::press(std::string_view name, double time)
{
    Param& p = param(name);
    if (std::string_view(p.type().ofxName) != kOfxParamTypePushButton)
        throw Error("--press " + std::string(name), "is not a push button of " + pluginRef_->id());
    notifyChanged(p.name(), time);
}

void Instance::uplift(const UpliftData& data)
{
    const int n = static_cast<int>(data.keys.size());
    PropertySet in;
    std::vector<void*> records;
    std::vector<int> lengths;
    std::vector<double> times;
    std::vector<std::string> interpolations;
    for (const UpliftKey& k : data.keys) {
        records.push_back(const_cast<unsigned char*>(k.record.data()));
        lengths.push_back(static_cast<int>(k.record.size()));
        times.push_back(k.time);
        interpolations.push_back(k.interpolation);
    }
    in.definePointer(kOfxPropTalvoUpliftKeyframeData, records, true);
    in.defineInt(kOfxPropTalvoUpliftKeyframeDataLength, lengths, true);
    in.defineDouble(kOfxPropTalvoUpliftKeyframeTime, times, true);
    in.defineString(kOfxPropTalvoUpliftKeyframeInterpolation, interpolations, true);
    in.definePointer(kOfxPropTalvoUpliftData, {const_cast<unsigned char*>(data.state.data())});
    in.defineInt(kOfxPropTalvoUpliftDataLength, {static_cast<int>(data.state.size())});
    const OfxStatus s = callWithRender(kOfxImageEffectActionTalvoKeyframeUplift, nullptr, in.handle(), nullptr);
    throwIfFailed(s, pluginRef_->id(), "the keyframe uplift of " + std::to_string(n) + " keys");
}

void Instance::setValue(std::string_view name, const ParamValue& v, std::optional<double> time)
{
    Param& p = param(name);
    const OfxStatus s = time ? p.setValueAtTime(*time, v) : p.setValue(v);
    if (s == kOfxStatFailed)
        throw Error(p.name(), "does not animate, so it takes no keyframe", s);
    if (s != kOfxStatOK)
        throw Error(p.name(), "value refused (" + statusName(s) + ")", s);
    notifyChanged(p.name(), time.value_or(time_));
}

void Instance::setValueText(std::string_view name, const std::string& text, std::optional<double> time)
{
    setValue(name, parseParamText(param(name), text), time);
}

ParamValue Instance::value(std::string_view name, double time) const
{
    CallContext c = callContext();
    c.host = &pluginRef_->host();
    c.plugin = pluginRef_.get();
    CallScope scope(c);
    return param(name).valueAt(time);
}

void Instance::setClipFormats(const RenderOptions& o)
{
    for (const auto& c : clips_) {
        PropertySet& p = c->props();
        p.setString(kOfxImageEffectPropPixelDepth, ofxDepth(o.depth));
        p.setString(kOfxImageClipPropUnmappedPixelDepth, ofxDepth(o.depth));
        p.setString(kOfxImageEffectPropComponents, kOfxImageComponentRGBA);
        p.setString(kOfxImageClipPropUnmappedComponents, kOfxImageComponentRGBA);
        p.setString(kOfxImageEffectPropPixelOrder, ofxOrder(o.order));
    }
}

void Instance::setRenderOptions(const RenderOptions& o)
{
    {
        std::lock_guard lock(mutex_);
        lastOptions_ = o;
    }
    setClipFormats(o);
}

ImageBuffer Instance::makeOutput(const RenderOptions& o) const
{
    if (!(o.renderScale > 0.0 && o.renderScale <= 1.0))
        throw Error("render scale", "must be above 0 and at most 1");
    return ImageBuffer(scaled(projectWidth_, o.renderScale), scaled(projectHeight_, o.renderScale), o.depth,
                       o.order, o.layout);
}

void Instance::fillRenderArgs(PropertySet& in, double time, const RenderOptions& o, const RectI& w) const
{
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

OpenCLDevice* Instance::openCLFor(const RenderOptions& o) const
{
    if (!o.openCL)
        return nullptr;
    OpenCLDevice* device = plugin_.host().openCL();
    if (!device)
        throw Error("OpenCL", "this host has no OpenCL device");
    return supportsOpenCL(*this) ? device : nullptr;
}

OfxStatus Instance::callWithRender(const char* action, const RenderContext* ctx, OfxPropertySetHandle in,
                                   OfxPropertySetHandle out)
{
    CallContext c = callContext();
    c.render = ctx;
    CallScope scope(c);
    return pluginRef_->callAction(action, handle(), in, out);
}

std::shared_ptr<const ImageBuffer> Instance::inputFrame(const Clip& clip, double time, const RenderOptions& o,
                                                        bool keep)
{
    const CacheKey key{clip.name(), time, o.depth, o.order, o.layout.rowPadding, o.layout.negativeRowBytes,
                       o.renderScale};
    FrameSource source;
    {
        std::lock_guard lock(mutex_);
        if (auto it = cache_.find(key); it != cache_.end())
            return it->second;
        auto s = sources_.find(clip.name());
        if (s == sources_.end())
            return nullptr;
        source = s->second;
    }
    std::shared_ptr<const ImageBuffer> frame = source(time);
    if (!frame)
        return nullptr;
    ImageBuffer converted = frame->converted(o.depth, o.order, o.layout);
    if (o.renderScale != 1.0)
        converted = converted.resized(scaled(frame->width(), o.renderScale), scaled(frame->height(), o.renderScale));
    auto result = std::make_shared<const ImageBuffer>(std::move(converted));
    if (!keep)
        return result;
    std::lock_guard lock(mutex_);
    return cache_.emplace(key, result).first->second;
}

const RenderContext* Instance::findRender(double time) const
{
    const RenderContext* mine = callContext().render;
    if (mine && mine->instance == this)
        return mine;
    std::lock_guard lock(mutex_);
    for (const RenderContext* r : renders_)
        if (r->time == time)
            return r;
    return renders_.empty() ? nullptr : renders_.front();
}

OfxStatus Instance::render(double time, const RenderOptions& o, ImageBuffer& output)
{
    if (output.depth() != o.depth || output.order() != o.order)
        throw Error("render", "the output image is not in the render's depth and order");
    const RectI window = checkedWindow(o, output);
    std::optional<OpenCLFrame> gpu;
    if (OpenCLDevice* device = openCLFor(o))
        gpu.emplace(*device, output);
    const OfxStatus s = renderInto(time, o, output, window, gpu ? &*gpu : nullptr);
    if (gpu && statusPasses(s))
        gpu->readBack();
    return s;
}

OfxStatus Instance::renderResident(double time, const RenderOptions& options, OpenCLFrame& frame)
{
    RenderOptions o = options;
    o.openCL = true;
    if (!openCLFor(o))
        throw Error("OpenCL", "the effect does not render with OpenCL");
    ImageBuffer& output = frame.outputImage();
    if (output.depth() != o.depth || output.order() != o.order)
        throw Error("render", "the output image is not in the render's depth and order");
    return renderInto(time, o, output, checkedWindow(o, output), &frame);
}

RectI Instance::checkedWindow(const RenderOptions& o, const ImageBuffer& output)
{
    const RectI window = o.window.value_or(output.bounds());
    const RectI b = output.bounds();
    // An empty window is legal (a host may ask for nothing), one reaching
    // outside the output is not.
    if (window.x2 < window.x1 || window.y2 < window.y1 || window.x1 < b.x1 || window.y1 < b.y1 ||
        window.x2 > b.x2 || window.y2 > b.y2)
        throw Error("render window", "must be a part of the " + std::to_string(b.width()) + "x" +
                                         std::to_string(b.height()) + " output");
    return window;
}

OfxStatus Instance::renderInto(double time, const RenderOptions& o, ImageBuffer& output, const RectI& window,
                               OpenCLFrame* gpu)
{
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
        ~Unregister()
        {
            std::lock_guard lock(self->mutex_);
            std::erase(self->renders_, ctx);
        }
    } unregister{this, &ctx};

    setClipFormats(o);
    // Inputs are read and converted before the action, so that a failing file
    // is reported as such and a benchmark times the plug-in alone.
    for (const auto& c : clips_)
        if (!c->isOutput())
            if (auto frame = inputFrame(*c, time, o, true); frame && gpu)
                gpu->input(frame);
    time_ = time;
    PropertySet in;
    fillRenderArgs(in, time, o, window);
    return callWithRender(kOfxImageEffectActionRender, &ctx, in.handle(), nullptr);
}

OfxStatus Instance::isIdentity(double time, const RenderOptions& o, std::string& clipName, double& identityTime)
{
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

OfxStatus Instance::regionOfDefinition(double time, double scale, OfxRectD& rod)
{
    PropertySet in, out;
    in.defineDouble(kOfxPropTime, {time});
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    out.defineDouble(kOfxImageEffectPropRegionOfDefinition, {0.0, 0.0, double(projectWidth_), double(projectHeight_)});
    const OfxStatus s = callWithRender(kOfxImageEffectActionGetRegionOfDefinition, nullptr, in.handle(), out.handle());
    const auto r = out.getDoubles(kOfxImageEffectPropRegionOfDefinition);
    rod = OfxRectD{r[0], r[1], r[2], r[3]};
    return s;
}

OfxStatus Instance::regionsOfInterest(double time, double scale, const OfxRectD& roi, PropertySet& out)
{
    PropertySet in;
    in.defineDouble(kOfxPropTime, {time});
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    in.defineDouble(kOfxImageEffectPropRegionOfInterest, {roi.x1, roi.y1, roi.x2, roi.y2});
    for (const auto& c : clips_)
        if (!c->isOutput())
            out.defineDouble("OfxImageClipPropRoI_" + c->name(), {roi.x1, roi.y1, roi.x2, roi.y2});
    return callWithRender(kOfxImageEffectActionGetRegionsOfInterest, nullptr, in.handle(), out.handle());
}

OfxStatus Instance::framesNeeded(double time, PropertySet& out)
{
    PropertySet in;
    in.defineDouble(kOfxPropTime, {time});
    for (const auto& c : clips_)
        if (!c->isOutput())
            out.defineDouble("OfxImageClipPropFrameRange_" + c->name(), {time, time}, true);
    return callWithRender(kOfxImageEffectActionGetFramesNeeded, nullptr, in.handle(), out.handle());
}

OfxStatus Instance::clipPreferences(PropertySet& out)
{
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

OfxStatus Instance::timeDomain(OfxRangeD& range)
{
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
                        const OpenCLDevice* device)
{
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

OfxStatus Instance::beginSequence(double first, double last, double step, const RenderOptions& o)
{
    PropertySet in;
    defineSequenceArgs(in, first, last, step, o, openCLFor(o));
    setClipFormats(o);
    return callWithRender(kOfxImageEffectActionBeginSequenceRender, nullptr, in.handle(), nullptr);
}

OfxStatus Instance::endSequence(double first, double last, double step, const RenderOptions& o)
{
    PropertySet in;
    defineSequenceArgs(in, first, last, step, o, openCLFor(o));
    return callWithRender(kOfxImageEffectActionEndSequenceRender, nullptr, in.handle(), nullptr);
}

OfxStatus Instance::instanceChanged(const std::string& type, const std::string& name, const std::string& reason,
                                    double time)
{
    PropertySet in;
    in.defineString(kOfxPropType, {type});
    in.defineString(kOfxPropName, {name});
    in.defineString(kOfxPropChangeReason, {reason});
    in.defineDouble(kOfxPropTime, {time});
    // The scale of the images the plug-in can fetch during the action.
    double scale = 1.0;
    {
        std::lock_guard lock(mutex_);
        scale = lastOptions_.renderScale;
    }
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    return callWithRender(kOfxActionInstanceChanged, nullptr, in.handle(), nullptr);
}

void Instance::watchProgress(ProgressWatcher watcher)
{
    std::lock_guard lock(mutex_);
    progressWatcher_ = std::move(watcher);
}

bool Instance::progressOpen() const
{
    std::lock_guard lock(mutex_);
    return progressOpen_;
}

OfxStatus Instance::progressStart(const std::string& label)
{
    ProgressWatcher watcher;
    {
        std::lock_guard lock(mutex_);
        if (progressOpen_)
            return kOfxStatFailed;
        progressOpen_ = true;
        watcher = progressWatcher_;
    }
    if (watcher)
        watcher({ProgressEvent::Kind::Start, label, 0.0});
    return kOfxStatOK;
}

OfxStatus Instance::progressUpdate(double progress)
{
    ProgressWatcher watcher;
    {
        std::lock_guard lock(mutex_);
        if (!progressOpen_)
            return kOfxStatFailed;
        watcher = progressWatcher_;
    }
    const bool goOn = !watcher || watcher({ProgressEvent::Kind::Update, {}, progress});
    return goOn && !abort_ ? kOfxStatOK : kOfxStatReplyNo;
}

OfxStatus Instance::progressEnd()
{
    ProgressWatcher watcher;
    {
        std::lock_guard lock(mutex_);
        if (!progressOpen_)
            return kOfxStatFailed;
        progressOpen_ = false;
        watcher = progressWatcher_;
    }
    if (watcher)
        watcher({ProgressEvent::Kind::End, {}, 0.0});
    return kOfxStatOK;
}

std::size_t Instance::liveImageCount() const
{
    std::lock_guard lock(mutex_);
    return images_.size();
}

std::string Instance::lastSourceError() const
{
    std::lock_guard lock(mutex_);
    return sourceError_;
}

OfxStatus Instance::getImage(Clip& clip, double time, OfxPropertySetHandle* out)
{
    if (!out)
        return kOfxStatErrValue;
    *out = nullptr;
    const RenderContext* ctx = findRender(time);
    std::shared_ptr<const ImageBuffer> buffer;
    RenderOptions options;
    if (clip.isOutput()) {
        if (!ctx || ctx->time != time)
            return kOfxStatFailed;
        options = ctx->options;
        // Not owned: the render's caller owns the output image.
        buffer = std::shared_ptr<const ImageBuffer>(std::shared_ptr<void>(), ctx->output);
    } else {
        {
            std::lock_guard lock(mutex_);
            options = ctx ? ctx->options : lastOptions_;
        }
        try {
            buffer = inputFrame(clip, time, options, ctx != nullptr);
        } catch (const std::exception& e) {
            std::lock_guard lock(mutex_);
            sourceError_ = e.what();
            return kOfxStatFailed;
        }
        if (!buffer)
            return kOfxStatFailed;
    }
    cl_mem clImage = nullptr;
    if (ctx && ctx->openCL) {
        try {
            clImage = clip.isOutput() ? ctx->openCL->output() : ctx->openCL->input(buffer);
        } catch (const std::exception& e) {
            std::lock_guard lock(mutex_);
            sourceError_ = e.what();
            return kOfxStatFailed;
        }
    }
    std::lock_guard lock(mutex_);
    const std::string id = clip.name() + "@" + std::to_string(time) + "#" + std::to_string(++imageSerial_);
    auto image = std::make_unique<HostImage>(*this, std::move(buffer), options, id, clImage);
    *out = image->handle();
    images_.emplace(image->handle(), std::move(image));
    return kOfxStatOK;
}

OfxStatus Instance::releaseImage(OfxPropertySetHandle h)
{
    std::lock_guard lock(mutex_);
    return images_.erase(h) ? kOfxStatOK : kOfxStatErrBadHandle;
}

OfxStatus Instance::releaseAnyImage(OfxPropertySetHandle h)
{
    auto* image = dynamic_cast<HostImage*>(PropertySet::fromHandle(h));
    if (!image)
        return kOfxStatErrBadHandle;
    return image->owner().releaseImage(h);
}

OfxStatus Instance::clipRegionOfDefinition(Clip& clip, double time, OfxRectD& out)
{
    if (clip.isOutput()) {
        out = OfxRectD{0, 0, double(projectWidth_), double(projectHeight_)};
        return kOfxStatOK;
    }
    FrameSource source;
    {
        std::lock_guard lock(mutex_);
        auto s = sources_.find(clip.name());
        if (s == sources_.end()) {
            out = OfxRectD{0, 0, 0, 0};
            return kOfxStatOK;
        }
        source = s->second;
    }
    std::shared_ptr<const ImageBuffer> frame;
    try {
        frame = source(time);
    } catch (const std::exception& e) {
        std::lock_guard lock(mutex_);
        sourceError_ = e.what();
        return kOfxStatFailed;
    }
    if (!frame) {
        out = OfxRectD{0, 0, 0, 0};
        return kOfxStatOK;
    }
    const RectI b = frame->bounds();
    out = OfxRectD{double(b.x1), double(b.y1), double(b.x2), double(b.y2)};
    return kOfxStatOK;
}

}  // namespace ofxhost
