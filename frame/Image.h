// Images handed over by the host. The caller that fetched an image owns it;
// deleting it gives the host image back.
#pragma once

#include <string>

#include "Core.h"
#include "PropertySet.h"
#include "ofxCore.h"
#include "ofxImageEffect.h"

namespace OFX {

class ImageBase {
public:
    explicit ImageBase(OfxPropertySetHandle props);
    virtual ~ImageBase();
    ImageBase(const ImageBase&) = delete;
    ImageBase& operator=(const ImageBase&) = delete;

    const PropertySet& getPropertySet() const { return imageProps; }
    PixelComponentEnum getPixelComponents() const { return pixelComponents; }
    int getPixelComponentCount() const { return pixelComponentCount; }
    int getRowBytes() const { return rowBytes; }
    int getPixelBytes() const { return pixelBytes; }
    BitDepthEnum getPixelDepth() const { return pixelDepth; }
    PreMultiplicationEnum getPreMultiplication() const { return preMultiplication; }
    const OfxRectI& getRegionOfDefinition() const { return regionOfDefinition; }
    const OfxRectI& getBounds() const { return bounds; }
    double getPixelAspectRatio() const { return pixelAspectRatio; }
    FieldEnum getField() const { return field; }
    const std::string& getUniqueIdentifier() const { return uniqueID; }
    OfxPointD getRenderScale() const { return renderScale; }

    // The pixel's address, or null outside the bounds or for an image with
    // no pixel size. Row bytes are signed, so bottom-up images work.
    void* getPixelAddress(int x, int y) const;

    // The OpenCL and OpenGL handles the host may attach to any image.
    void* getOpenCLImage() const;
    int getTextureIndex() const;
    int getTextureTarget() const;

protected:
    // A host-less image over a bitmap (see Image's second constructor).
    ImageBase(int rowBytes, double pixelAspectRatio, const OfxRectI& regionOfDefinition, const OfxRectI& bounds);
    virtual void* basePointer() const = 0;

    PropertySet imageProps;
    PixelComponentEnum pixelComponents = ePixelComponentNone;
    int pixelComponentCount = 0;
    int rowBytes = 0;
    int pixelBytes = 0;
    BitDepthEnum pixelDepth = eBitDepthNone;
    PreMultiplicationEnum preMultiplication = eImageOpaque;
    OfxRectI regionOfDefinition{0, 0, 0, 0};
    OfxRectI bounds{0, 0, 0, 0};
    double pixelAspectRatio = 1.0;
    FieldEnum field = eFieldNone;
    std::string uniqueID;
    OfxPointD renderScale{1.0, 1.0};
};

class Image : public ImageBase {
public:
    explicit Image(OfxPropertySetHandle props);
    // Wraps 8-bit RGBA pixels of the toolkit with no host image behind them.
    Image(void* data, int rowBytes, double pixelAspectRatio, const OfxRectI& regionOfDefinition,
          const OfxRectI& bounds);

    void* getPixelData() const { return pixelData; }

protected:
    void* basePointer() const override { return pixelData; }

private:
    void* pixelData = nullptr;
};

class CLImage : public ImageBase {
public:
    explicit CLImage(OfxPropertySetHandle props);
    void* getCLMem() const { return clMem; }

protected:
    void* basePointer() const override { return nullptr; }

private:
    void* clMem = nullptr;
};

class Texture : public ImageBase {
public:
    explicit Texture(OfxPropertySetHandle props);
    ~Texture() override;
    int getIndex() const { return textureIndex; }
    int getTarget() const { return textureTarget; }

protected:
    void* basePointer() const override { return nullptr; }

private:
    int textureIndex = 0;
    int textureTarget = 0;
};

// Image memory from the host's allocator, freed with the object.
class ImageMemory {
public:
    ImageMemory(size_t bytes, OfxImageEffectHandle effect = nullptr);
    ~ImageMemory();
    ImageMemory(const ImageMemory&) = delete;
    ImageMemory& operator=(const ImageMemory&) = delete;

    void* lock();
    void unlock();

private:
    OfxImageMemoryHandle handle_ = nullptr;
};

}  // namespace OFX
