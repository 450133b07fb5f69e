// The instance's questions before a render, as the OFX standard orders
// them: whether it can render here at all, the clip preferences, identity,
// the region of definition and the regions of interest, made into the plan
// of one render; and the other questions a host may ask (frames needed,
// time domain).
#include "ofxhost/Instance.h"

#include <algorithm>

#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
#include "ofxhost/HostImage.h"
#include "ofxhost/OfxNames.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

// Declared by plug-ins that render only on a GPU.
constexpr const char* kCPURenderSupported = "OfxImageEffectPropCPURenderSupported";

}  // namespace

void Instance::checkRenderable(const RenderOptions& o) const {
    if (!clip(kOfxImageEffectOutputClipName))
        throw Error(pluginRef_->id(), "has no \"Output\" clip in the " + shortContextName(context_) +
                                          " context, so there is nothing to render into");
    if (props_.has(kCPURenderSupported)) {
        const bool cpu = props_.type(kCPURenderSupported) == PropType::String
                             ? props_.getString(kCPURenderSupported) != "false"
                         : props_.type(kCPURenderSupported) == PropType::Int ? props_.getInt(kCPURenderSupported) != 0
                                                                             : true;
        if (!cpu && !openCLFor(o))
            throw Error(pluginRef_->id(),
                        std::string("does not render on the CPU (\"") + kCPURenderSupported + "\" is \"false\")" +
                            (o.openCL ? " and has no OpenCL render" : " and no GPU render was asked for (--opencl)"));
    }
}

void Instance::refreshClipPreferences(const RenderOptions& o) {
    const auto due = [&] {
        std::lock_guard lock(mutex_);
        return preferencesDue_ || preferencesDepth_ != o.depth;
    };
    if (!due()) return;
    std::lock_guard once(preferencesMutex_);
    if (!due()) return;
    {
        std::lock_guard lock(mutex_);
        preferencesDue_ = false;
        preferencesDepth_ = o.depth;
        lastOptions_ = o;
    }
    setClipFormats(o);
    PropertySet out;
    const OfxStatus s = clipPreferences(out);
    if (!statusPasses(s)) {
        std::lock_guard lock(mutex_);
        preferencesDue_ = true;
    }
    throwIfFailed(s, pluginRef_->id(), "clip preferences action");
    ClipPreferences taken;
    // The answers this host takes up; depths, components and pixel aspect
    // ratios asked per clip are not, since every clip of a render has the
    // render's depth, RGBA and square pixels here.
    if (s == kOfxStatOK) {
        taken.premultiplication = out.getString(kOfxImageEffectPropPreMultiplication);
        taken.fieldOrder = out.getString(kOfxImageClipPropFieldOrder);
        taken.frameVarying = out.getInt(kOfxImageEffectFrameVarying) != 0;
        taken.continuousSamples = out.getInt(kOfxImageClipPropContinuousSamples) != 0;
    }
    if (Clip* output = clip(kOfxImageEffectOutputClipName)) {
        output->props().setString(kOfxImageEffectPropPreMultiplication, taken.premultiplication);
        output->props().setString(kOfxImageClipPropFieldOrder, taken.fieldOrder);
        output->props().setInt(kOfxImageClipPropContinuousSamples, taken.continuousSamples ? 1 : 0);
    }
    std::lock_guard lock(mutex_);
    taken.asked = preferences_.asked + 1;
    preferences_ = taken;
}

ClipPreferences Instance::clipPreferencesTaken() const {
    std::lock_guard lock(mutex_);
    return preferences_;
}

RenderPlan Instance::planRender(double time, const RenderOptions& o, const ImageBuffer& output) {
    if (output.depth() != o.depth || output.order() != o.order)
        throw Error("render", "the output image is not in the render's depth and order");
    checkRenderable(o);
    RenderPlan plan;
    plan.time = time;
    plan.requested = checkedWindow(o, output);
    refreshClipPreferences(o);
    {
        std::lock_guard lock(mutex_);
        lastOptions_ = o;
        // Frames kept for other times are not needed by this render.
        std::erase_if(cache_, [&](const auto& e) { return std::get<1>(e.first) != time; });
        std::erase_if(sourceBounds_, [&](const auto& e) { return e.first.second != time; });
    }
    setClipFormats(o);
    const std::string& id = pluginRef_->id();

    if (o.checkIdentity) {
        std::string clipName;
        double identityTime = time;
        const OfxStatus s = isIdentity(time, o, clipName, identityTime);
        throwIfFailed(s, id, "is identity action");
        if (s == kOfxStatOK && !clipName.empty()) {
            const Clip* c = clip(clipName);
            if (!c || c->isOutput()) throw Error(id, "is identity on an unknown clip \"" + clipName + "\"");
            plan.identityClip = clipName;
            plan.identityTime = identityTime;
            plan.window = plan.requested;
            return plan;
        }
    }

    const double scale = o.renderScale;
    OfxRectD rod{};
    throwIfFailed(regionOfDefinition(time, scale, rod), id, "region of definition action");
    plan.regionOfDefinition = rod;
    plan.definedPixels = intersection(toPixels(rod, scale), output.bounds());
    const bool tiles = props_.getInt(kOfxImageEffectPropSupportsTiles) != 0;
    plan.window = tiles ? intersection(plan.definedPixels, plan.requested) : plan.definedPixels;
    plan.scratch = !tiles && !plan.window.empty() && intersection(plan.window, plan.requested) != plan.window;
    if (plan.skipsRender()) return plan;

    PropertySet rois;
    throwIfFailed(regionsOfInterest(time, scale, toCanonical(plan.window, scale), rois), id,
                  "regions of interest action");
    for (const auto& c : clips_) {
        if (c->isOutput()) continue;
        const auto frame = inputFrame(*c, time, o, true);
        if (!frame) continue;  // no input, or no frame at this time
        const bool clipTiles = tiles && c->props().getInt(kOfxImageEffectPropSupportsTiles) != 0;
        RectI bounds = frame->bounds();
        if (clipTiles) {
            const auto r = rois.getDoubles("OfxImageClipPropRoI_" + c->name());
            if (r.size() == 4) bounds = intersection(toPixels(OfxRectD{r[0], r[1], r[2], r[3]}, scale), bounds);
        }
        plan.inputBounds[c->name()] = bounds;
    }
    return plan;
}

OfxStatus Instance::regionOfDefinition(double time, double scale, OfxRectD& rod) {
    PropertySet in, out;
    in.defineDouble(kOfxPropTime, {time});
    in.defineDouble(kOfxImageEffectPropRenderScale, {scale, scale});
    // The host's answer for a plug-in that leaves the question to it: a
    // generator fills the project; others define what their inputs define
    // (the union of their regions), or the project when none has a frame.
    OfxRectD fallback{0.0, 0.0, double(projectWidth_), double(projectHeight_)};
    if (context_ != kOfxImageEffectContextGenerator) {
        bool any = false;
        for (const auto& c : clips_) {
            OfxRectD r{};
            if (c->isOutput() || clipRegionOfDefinition(*c, time, r) != kOfxStatOK || r.x2 <= r.x1 || r.y2 <= r.y1)
                continue;
            fallback = any ? OfxRectD{std::min(fallback.x1, r.x1), std::min(fallback.y1, r.y1),
                                      std::max(fallback.x2, r.x2), std::max(fallback.y2, r.y2)}
                           : r;
            any = true;
        }
    }
    out.defineDouble(kOfxImageEffectPropRegionOfDefinition, {fallback.x1, fallback.y1, fallback.x2, fallback.y2});
    const OfxStatus s = callWithRender(kOfxImageEffectActionGetRegionOfDefinition, nullptr, in.handle(), out.handle());
    const auto r = out.getDoubles(kOfxImageEffectPropRegionOfDefinition);
    rod = s == kOfxStatOK ? OfxRectD{r[0], r[1], r[2], r[3]} : fallback;
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

}  // namespace ofxhost
