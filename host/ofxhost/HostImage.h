// An image as the host hands it to a plug-in. Internal to the host library.
#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "ofxGPURender.h"
#include "ofxhost/Instance.h"
#include "ofxhost/OfxNames.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/Property.h"

namespace ofxhost {

// Rectangles of the render sequence. The intersection of two pixel
// rectangles; an empty result keeps its corner.
inline RectI intersection(const RectI& a, const RectI& b) {
    RectI r{std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
    r.x2 = std::max(r.x2, r.x1);
    r.y2 = std::max(r.y2, r.y1);
    return r;
}

// Canonical coordinates to the pixels of a render at the scale: every pixel
// the rectangle touches. Unbounded regions (plug-ins answer the int range)
// stay far outside any frame.
inline RectI toPixels(const OfxRectD& r, double scale) {
    const auto clamp = [](double v) { return std::clamp(v, -1e9, 1e9); };
    return RectI{int(std::floor(clamp(r.x1 * scale))), int(std::floor(clamp(r.y1 * scale))),
                 int(std::ceil(clamp(r.x2 * scale))), int(std::ceil(clamp(r.y2 * scale)))};
}

inline OfxRectD toCanonical(const RectI& r, double scale) {
    return OfxRectD{r.x1 / scale, r.y1 / scale, r.x2 / scale, r.y2 / scale};
}

// An image handed to the plug-in: a property set that keeps its pixels alive
// until the plug-in releases it. In an OpenCL render the pixels are the
// device buffer clImage, rows packed, and there is no host data pointer.
class HostImage : public PropertySet {
public:
    // rod: the clip's region of definition in the image's pixels, which the
    // bounds (the part handed over) lie within.
    HostImage(Instance& owner, std::shared_ptr<const ImageBuffer> buffer, const RenderOptions& o, const std::string& id,
              cl_mem clImage, const RectI& rod, const std::string& premultiplication)
        : owner_(owner), buffer_(std::move(buffer)) {
        const RectI b = buffer_->bounds();
        defineString(kOfxPropType, {kOfxTypeImage});
        defineString(kOfxImageEffectPropPixelDepth, {ofxDepth(buffer_->depth())});
        defineString(kOfxImageEffectPropComponents, {kOfxImageComponentRGBA});
        defineString(kOfxImageEffectPropPreMultiplication, {premultiplication});
        defineDouble(kOfxImageEffectPropRenderScale, {o.renderScale, o.renderScale});
        defineDouble(kOfxImagePropPixelAspectRatio, {1.0});
        definePointer(kOfxImagePropData, {clImage ? nullptr : const_cast<void*>(buffer_->data())});
        definePointer(kOfxImageEffectPropOpenCLImage, {clImage});
        defineInt(kOfxImagePropBounds, {b.x1, b.y1, b.x2, b.y2});
        defineInt(kOfxImagePropRegionOfDefinition, {rod.x1, rod.y1, rod.x2, rod.y2});
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

}  // namespace ofxhost
