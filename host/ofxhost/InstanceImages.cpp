// The instance's side of the image suite: the images handed to the plug-in
// for its clips, kept alive until released, and the clips' regions of
// definition.
#include "ofxhost/Instance.h"

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

std::size_t Instance::liveImageCount() const {
    std::lock_guard lock(mutex_);
    return images_.size();
}

std::string Instance::lastSourceError() const {
    std::lock_guard lock(mutex_);
    return sourceError_;
}

OfxStatus Instance::getImage(Clip& clip, double time, OfxPropertySetHandle* out, const OfxRectD* region) {
    if (!out) return kOfxStatErrValue;
    *out = nullptr;
    const RenderContext* ctx = findRender(time);
    std::shared_ptr<const ImageBuffer> buffer;
    RenderOptions options;
    RectI rod;
    std::string premultiplication = kOfxImagePreMultiplied;
    if (clip.isOutput()) {
        if (!ctx || ctx->time != time) return kOfxStatFailed;
        options = ctx->options;
        // Not owned: the render's caller owns the output image.
        buffer = std::shared_ptr<const ImageBuffer>(std::shared_ptr<void>(), ctx->output);
        rod = ctx->plan ? ctx->plan->definedPixels : buffer->bounds();
        premultiplication = clipPreferencesTaken().premultiplication;
        ++ctx->outputFetches;
    } else {
        {
            std::lock_guard lock(mutex_);
            options = ctx ? ctx->options : lastOptions_;
        }
        try {
            const auto whole = inputFrame(clip, time, options, ctx != nullptr);
            if (!whole) return kOfxStatFailed;
            rod = whole->bounds();
            // What the plug-in asked for: the region it names, else in a
            // render its region of interest; within the frame either way.
            std::optional<RectI> part;
            if (region)
                part = intersection(toPixels(*region, options.renderScale), rod);
            else if (ctx && ctx->plan)
                if (auto it = ctx->plan->inputBounds.find(clip.name()); it != ctx->plan->inputBounds.end())
                    part = it->second;
            buffer = part ? inputFrame(clip, time, options, ctx != nullptr, part) : whole;
        } catch (const std::exception& e) {
            std::lock_guard lock(mutex_);
            sourceError_ = e.what();
            return kOfxStatFailed;
        }
        if (!buffer) return kOfxStatFailed;
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
    auto image = std::make_unique<HostImage>(*this, std::move(buffer), options, id, clImage, rod, premultiplication);
    *out = image->handle();
    images_.emplace(image->handle(), std::move(image));
    return kOfxStatOK;
}

OfxStatus Instance::releaseImage(OfxPropertySetHandle h) {
    std::lock_guard lock(mutex_);
    return images_.erase(h) ? kOfxStatOK : kOfxStatErrBadHandle;
}

OfxStatus Instance::releaseAnyImage(OfxPropertySetHandle h) {
    auto* image = dynamic_cast<HostImage*>(PropertySet::fromHandle(h));
    if (!image) return kOfxStatErrBadHandle;
    return image->owner().releaseImage(h);
}

OfxStatus Instance::clipRegionOfDefinition(Clip& clip, double time, OfxRectD& out) {
    if (clip.isOutput()) {
        // In a render, what the plug-in answered for it; else the project.
        const RenderContext* ctx = findRender(time);
        out = ctx && ctx->plan && ctx->time == time ? ctx->plan->regionOfDefinition
                                                    : OfxRectD{0, 0, double(projectWidth_), double(projectHeight_)};
        return kOfxStatOK;
    }
    // An input without a source defines nothing.
    out = OfxRectD{0, 0, 0, 0};
    FrameSource source;
    {
        std::lock_guard lock(mutex_);
        auto s = sources_.find(clip.name());
        if (s == sources_.end()) return kOfxStatOK;
        if (auto known = sourceBounds_.find({clip.name(), time}); known != sourceBounds_.end()) {
            const RectI b = known->second;
            out = OfxRectD{double(b.x1), double(b.y1), double(b.x2), double(b.y2)};
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
    if (!frame) return kOfxStatOK;
    const RectI b = frame->bounds();
    out = OfxRectD{double(b.x1), double(b.y1), double(b.x2), double(b.y2)};
    return kOfxStatOK;
}

}  // namespace ofxhost
