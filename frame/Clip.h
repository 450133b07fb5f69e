// Clips of an effect instance and their descriptors. A clip holds no cache:
// every read goes to the host, so clips may be read from several threads.
#pragma once

#include <string>

#include "Core.h"
#include "Image.h"
#include "PropertySet.h"
#include "ofxImageEffect.h"

namespace OFX {

class ImageEffect;

class ClipDescriptor {
public:
    ClipDescriptor(std::string name, OfxPropertySetHandle props) : name_(std::move(name)), props_(props) {}

    const std::string& getName() const { return name_; }
    PropertySet& getPropertySet() { return props_; }

    void setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel);
    void addSupportedComponent(PixelComponentEnum components);
    void setTemporalClipAccess(bool enabled);
    void setSupportsTiles(bool enabled);
    void setIsMask(bool enabled);
    void setOptional(bool enabled);
    void setFieldExtraction(FieldExtractionEnum field);

private:
    std::string name_;
    PropertySet props_;
};

class Clip {
public:
    Clip(ImageEffect* effect, std::string name, OfxImageClipHandle handle, OfxPropertySetHandle props);

    const std::string& name() const { return name_; }
    OfxImageClipHandle getHandle() const { return clipHandle_; }
    const PropertySet& getPropertySet() const { return clipProps_; }

    std::string getLabel() const;
    void getLabels(std::string& label, std::string& shortLabel, std::string& longLabel) const;
    BitDepthEnum getPixelDepth() const;
    PixelComponentEnum getPixelComponents() const;
    int getPixelComponentCount() const;
    BitDepthEnum getUnmappedPixelDepth() const;
    PixelComponentEnum getUnmappedPixelComponents() const;
    PreMultiplicationEnum getPreMultiplication() const;
    FieldEnum getFieldOrder() const;
    bool isConnected() const;
    bool hasContinuousSamples() const;
    double getPixelAspectRatio() const;
    double getFrameRate() const;
    OfxRangeD getFrameRange() const;
    OfxRangeD getUnmappedFrameRange() const;
    double getUnmappedFrameRate() const;
    // 1 for "OfxImagePixelOrderBGRA"; RGBA, absence and anything else give 0.
    int getPixelOrder() const;
    OfxRectD getRegionOfDefinition(double time) const;

    // The image at a time, or null when the clip has no frame there. The
    // caller owns the result.
    Image* fetchImage(double time) const;
    Image* fetchImage(double time, const OfxRectD& region) const;
    Image* fetchStereoscopicImage(double time, int view) const;
    CLImage* fetchCLImage(double time, const OfxRectD* region = nullptr) const;
    Texture* fetchTexture(double time, BitDepthEnum depth) const;

private:
    std::string name_;
    PropertySet clipProps_;
    OfxImageClipHandle clipHandle_;
    ImageEffect* effect_;
    OfxImageEffectHandle effectHandle_;
};

}  // namespace OFX
