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

OfxStatus Instance::getImage(Clip& clip, double time, OfxPropertySetHandle* out) {
    if (!out) return kOfxStatErrValue;
    *out = nullptr;
    const RenderContext* ctx = findRender(time);
    std::shared_ptr<const ImageBuffer> buffer;
    RenderOptions options;
    if (clip.isOutput()) {
        if (!ctx || ctx->time != time) return kOfxStatFailed;
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
    auto image = std::make_unique<HostImage>(*this, std::move(buffer), options, id, clImage);
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
