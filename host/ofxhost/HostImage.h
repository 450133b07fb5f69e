// An image as the host hands it to a plug-in. Internal to the host library.
#pragma once

#include <memory>
#include <string>

#include "ofxGPURender.h"
#include "ofxhost/Instance.h"
#include "ofxhost/OfxNames.h"
#include "ofxhost/OpenCLFrame.h"
#include "ofxhost/Property.h"

namespace ofxhost {

// An image handed to the plug-in: a property set that keeps its pixels alive
// until the plug-in releases it. In an OpenCL render the pixels are the
// device buffer clImage, rows packed, and there is no host data pointer.
class HostImage : public PropertySet {
public:
    HostImage(Instance& owner, std::shared_ptr<const ImageBuffer> buffer, const RenderOptions& o, const std::string& id,
              cl_mem clImage)
        : owner_(owner), buffer_(std::move(buffer)) {
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

}  // namespace ofxhost
