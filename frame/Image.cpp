#include "Image.h"

#include <new>

#include "Log.h"
#include "Suites.h"

namespace OFX {
namespace {

int bytesPerComponent(BitDepthEnum depth) {
    switch (depth) {
        case eBitDepthUByte: return 1;
        case eBitDepthUShort:
        case eBitDepthHalf: return 2;
        case eBitDepthFloat: return 4;
        default: return 0;
    }
}

PreMultiplicationEnum mapPreMultiplication(const std::string& s) {
    if (s == kOfxImageOpaque) return eImageOpaque;
    if (s == kOfxImagePreMultiplied) return eImagePreMultiplied;
    if (s == kOfxImageUnPreMultiplied) return eImageUnPreMultiplied;
    throw std::invalid_argument("unknown premultiplication state");
}

FieldEnum mapImageField(const std::string& s) {
    if (s == kOfxImageFieldNone) return eFieldNone;
    if (s == kOfxImageFieldBoth) return eFieldBoth;
    if (s == kOfxImageFieldLower) return eFieldLower;
    if (s == kOfxImageFieldUpper) return eFieldUpper;
    Log::error(true, "Unknown field state '%s' reported on an image", s.c_str());
    return eFieldNone;
}

OfxRectI readRect(const PropertySet& props, const char* name) {
    return OfxRectI{props.propGetInt(name, 0), props.propGetInt(name, 1), props.propGetInt(name, 2),
                    props.propGetInt(name, 3)};
}

}  // namespace

ImageBase::ImageBase(OfxPropertySetHandle props) : imageProps(props) {
    pixelComponents = mapPixelComponentStringToEnum(imageProps.propGetString(kOfxImageEffectPropComponents));
    pixelComponentCount = OFX::pixelComponentCount(pixelComponents);
    rowBytes = imageProps.propGetInt(kOfxImagePropRowBytes);
    pixelDepth = mapBitDepthStringToEnum(imageProps.propGetString(kOfxImageEffectPropPixelDepth));
    pixelBytes = pixelComponentCount * bytesPerComponent(pixelDepth);
    preMultiplication = mapPreMultiplication(imageProps.propGetString(kOfxImageEffectPropPreMultiplication));
    regionOfDefinition = readRect(imageProps, kOfxImagePropRegionOfDefinition);
    bounds = readRect(imageProps, kOfxImagePropBounds);
    pixelAspectRatio = imageProps.propGetDouble(kOfxImagePropPixelAspectRatio);
    field = mapImageField(imageProps.propGetString(kOfxImagePropField));
    uniqueID = imageProps.propGetString(kOfxImagePropUniqueIdentifier);
    renderScale.x = imageProps.propGetDouble(kOfxImageEffectPropRenderScale, 0);
    renderScale.y = imageProps.propGetDouble(kOfxImageEffectPropRenderScale, 1);
}

ImageBase::ImageBase(int rowBytes_, double pixelAspectRatio_, const OfxRectI& regionOfDefinition_,
                     const OfxRectI& bounds_)
    : pixelComponents(ePixelComponentRGBA),
      pixelComponentCount(4),
      rowBytes(rowBytes_),
      pixelBytes(4),
      pixelDepth(eBitDepthUByte),
      preMultiplication(eImageOpaque),
      regionOfDefinition(regionOfDefinition_),
      bounds(bounds_),
      pixelAspectRatio(pixelAspectRatio_),
      field(eFieldNone),
      uniqueID("0") {}

ImageBase::~ImageBase() {
    if (imageProps.propSetHandle() && Private::gEffectSuite)
        Private::gEffectSuite->clipReleaseImage(imageProps.propSetHandle());
}

void* ImageBase::getPixelAddress(int x, int y) const {
    if (x < bounds.x1 || x >= bounds.x2) return nullptr;
    if (y < bounds.y1 || y >= bounds.y2) return nullptr;
    if (pixelBytes == 0) return nullptr;
    auto* base = static_cast<unsigned char*>(basePointer());
    if (!base) return nullptr;
    return base + static_cast<ptrdiff_t>(y - bounds.y1) * rowBytes + static_cast<ptrdiff_t>(x - bounds.x1) * pixelBytes;
}

void* ImageBase::getOpenCLImage() const { return imageProps.propGetPointer(kOfxImageEffectPropOpenCLImage, 0, false); }
int ImageBase::getTextureIndex() const {
    return imageProps.propGetInt(kOfxImageEffectPropOpenGLTextureIndex, 0, false);
}
int ImageBase::getTextureTarget() const {
    return imageProps.propGetInt(kOfxImageEffectPropOpenGLTextureTarget, 0, false);
}

Image::Image(OfxPropertySetHandle props) : ImageBase(props) {
    pixelData = imageProps.propGetPointer(kOfxImagePropData);
}

Image::Image(void* data, int rowBytes_, double pixelAspectRatio_, const OfxRectI& regionOfDefinition_,
             const OfxRectI& bounds_)
    : ImageBase(rowBytes_, pixelAspectRatio_, regionOfDefinition_, bounds_), pixelData(data) {}

CLImage::CLImage(OfxPropertySetHandle props) : ImageBase(props) {
    clMem = imageProps.propGetPointer(kOfxImageEffectPropOpenCLImage);
}

Texture::Texture(OfxPropertySetHandle props) : ImageBase(props) {
    textureIndex = imageProps.propGetInt(kOfxImageEffectPropOpenGLTextureIndex);
    textureTarget = imageProps.propGetInt(kOfxImageEffectPropOpenGLTextureTarget);
}

// Textures go back through the OpenGL suite, not as images.
Texture::~Texture() {
    if (imageProps.propSetHandle() && Private::gOpenGLRenderSuite)
        Private::gOpenGLRenderSuite->clipFreeTexture(imageProps.propSetHandle());
    imageProps.propSetHandle(nullptr);
}

ImageMemory::ImageMemory(size_t bytes, OfxImageEffectHandle effect) {
    if (!Private::gEffectSuite) throw Exception::Suite(kOfxStatErrUnsupported, "imageMemoryAlloc");
    throwSuiteStatusException(Private::gEffectSuite->imageMemoryAlloc(effect, bytes, &handle_));
}

ImageMemory::~ImageMemory() {
    if (handle_ && Private::gEffectSuite) Private::gEffectSuite->imageMemoryFree(handle_);
}

void* ImageMemory::lock() {
    void* data = nullptr;
    throwSuiteStatusException(Private::gEffectSuite->imageMemoryLock(handle_, &data));
    return data;
}

void ImageMemory::unlock() { Private::gEffectSuite->imageMemoryUnlock(handle_); }

}  // namespace OFX
