#include "Clip.h"

#include "ImageEffect.h"
#include "Log.h"
#include "Suites.h"

namespace OFX {
namespace {

// Wraps a fetched image handle; a failed construction gives the handle back
// before the exception goes on.
template <class T>
T* wrapImage(OfxPropertySetHandle props) {
    try {
        return new T(props);
    } catch (...) {
        Private::gEffectSuite->clipReleaseImage(props);
        throw;
    }
}

// kOfxStatFailed means that the clip has no frame at that time.
bool imageFetched(OfxStatus status) {
    if (status == kOfxStatFailed) return false;
    throwSuiteStatusException(status);
    return true;
}

const OfxImageEffectSuiteV1& effectSuite() {
    if (!Private::gEffectSuite) throw Exception::Suite(kOfxStatErrUnsupported, kOfxImageEffectSuite);
    return *Private::gEffectSuite;
}

}  // namespace

void ClipDescriptor::setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel) {
    props_.propSetString(kOfxPropLabel, label);
    props_.propSetString(kOfxPropShortLabel, shortLabel);
    props_.propSetString(kOfxPropLongLabel, longLabel);
}

void ClipDescriptor::addSupportedComponent(PixelComponentEnum components) {
    const int n = props_.propGetDimension(kOfxImageEffectPropSupportedComponents);
    props_.propSetString(kOfxImageEffectPropSupportedComponents, mapPixelComponentEnumToString(components), n);
}

void ClipDescriptor::setTemporalClipAccess(bool enabled) {
    props_.propSetInt(kOfxImageEffectPropTemporalClipAccess, enabled);
}
void ClipDescriptor::setSupportsTiles(bool enabled) { props_.propSetInt(kOfxImageEffectPropSupportsTiles, enabled); }
void ClipDescriptor::setIsMask(bool enabled) { props_.propSetInt(kOfxImageClipPropIsMask, enabled); }
void ClipDescriptor::setOptional(bool enabled) { props_.propSetInt(kOfxImageClipPropOptional, enabled); }
void ClipDescriptor::setFieldExtraction(FieldExtractionEnum field) {
    props_.propSetString(kOfxImageClipPropFieldExtraction, mapFieldExtractionEnumToString(field));
}

Clip::Clip(ImageEffect* effect, std::string name, OfxImageClipHandle handle, OfxPropertySetHandle props)
    : name_(std::move(name)),
      clipProps_(props),
      clipHandle_(handle),
      effect_(effect),
      effectHandle_(effect ? effect->getHandle() : nullptr) {}

std::string Clip::getLabel() const { return clipProps_.propGetString(kOfxPropLabel); }

void Clip::getLabels(std::string& label, std::string& shortLabel, std::string& longLabel) const {
    label = clipProps_.propGetString(kOfxPropLabel);
    shortLabel = clipProps_.propGetString(kOfxPropShortLabel);
    longLabel = clipProps_.propGetString(kOfxPropLongLabel);
}

namespace {

BitDepthEnum readDepth(const PropertySet& props, const char* property, const std::string& clip) {
    const std::string s = props.propGetString(property);
    if (s.empty()) return eBitDepthNone;
    const BitDepthEnum depth = mapBitDepthStringToEnum(s);
    if (depth == eBitDepthCustom) {
        Log::error(true, "Unknown pixel depth property '%s' reported on clip '%s'", s.c_str(), clip.c_str());
        return eBitDepthNone;
    }
    return depth;
}

PixelComponentEnum readComponents(const PropertySet& props, const char* property, const std::string& clip) {
    const std::string s = props.propGetString(property);
    if (s.empty()) return ePixelComponentNone;
    const PixelComponentEnum components = mapPixelComponentStringToEnum(s);
    if (components == ePixelComponentCustom) {
        Log::error(true, "Unknown  pixel component type '%s' reported on clip '%s'", s.c_str(), clip.c_str());
        return ePixelComponentNone;
    }
    return components;
}

}  // namespace

BitDepthEnum Clip::getPixelDepth() const {
    const BitDepthEnum depth = readDepth(clipProps_, kOfxImageEffectPropPixelDepth, name_);
    Log::error(depth == eBitDepthNone && isConnected(), "Clip %s is connected and has no pixel depth.", name_.c_str());
    return depth;
}

PixelComponentEnum Clip::getPixelComponents() const {
    const PixelComponentEnum components = readComponents(clipProps_, kOfxImageEffectPropComponents, name_);
    Log::error(components == ePixelComponentNone && isConnected(),
               "Clip %s is connected and has no pixel component type!", name_.c_str());
    return components;
}

int Clip::getPixelComponentCount() const { return pixelComponentCount(getPixelComponents()); }

BitDepthEnum Clip::getUnmappedPixelDepth() const {
    return readDepth(clipProps_, kOfxImageClipPropUnmappedPixelDepth, name_);
}

PixelComponentEnum Clip::getUnmappedPixelComponents() const {
    return readComponents(clipProps_, kOfxImageClipPropUnmappedComponents, name_);
}

PreMultiplicationEnum Clip::getPreMultiplication() const {
    const std::string s = clipProps_.propGetString(kOfxImageEffectPropPreMultiplication);
    if (s == kOfxImagePreMultiplied) return eImagePreMultiplied;
    if (s == kOfxImageUnPreMultiplied) return eImageUnPreMultiplied;
    return eImageOpaque;
}

FieldEnum Clip::getFieldOrder() const {
    const std::string s = clipProps_.propGetString(kOfxImageClipPropFieldOrder);
    if (s == kOfxImageFieldNone) return eFieldNone;
    if (s == kOfxImageFieldLower) return eFieldLower;
    if (s == kOfxImageFieldUpper) return eFieldUpper;
    Log::error(true, "Field order '%s' reported on a clip %s is invalid, it must be none, lower or upper.", s.c_str(),
               name_.c_str());
    return eFieldNone;
}

bool Clip::isConnected() const { return clipProps_.propGetInt(kOfxImageClipPropConnected) != 0; }
bool Clip::hasContinuousSamples() const { return clipProps_.propGetInt(kOfxImageClipPropContinuousSamples) != 0; }
double Clip::getPixelAspectRatio() const { return clipProps_.propGetDouble(kOfxImagePropPixelAspectRatio); }
double Clip::getFrameRate() const { return clipProps_.propGetDouble(kOfxImageEffectPropFrameRate); }

OfxRangeD Clip::getFrameRange() const {
    return OfxRangeD{clipProps_.propGetDouble(kOfxImageEffectPropFrameRange, 0),
                     clipProps_.propGetDouble(kOfxImageEffectPropFrameRange, 1)};
}

OfxRangeD Clip::getUnmappedFrameRange() const {
    return OfxRangeD{clipProps_.propGetDouble(kOfxImageEffectPropUnmappedFrameRange, 0),
                     clipProps_.propGetDouble(kOfxImageEffectPropUnmappedFrameRange, 1)};
}

double Clip::getUnmappedFrameRate() const { return clipProps_.propGetDouble(kOfxImageEffectPropUnmappedFrameRate); }

int Clip::getPixelOrder() const {
    return clipProps_.propGetString(kOfxImageEffectPropPixelOrder, 0, false) == kOfxImagePixelOrderBGRA ? 1 : 0;
}

OfxRectD Clip::getRegionOfDefinition(double time) const {
    OfxRectD rod{0, 0, 0, 0};
    throwSuiteStatusException(effectSuite().clipGetRegionOfDefinition(clipHandle_, time, &rod));
    return rod;
}

Image* Clip::fetchImage(double time) const {
    OfxPropertySetHandle props = nullptr;
    if (!imageFetched(effectSuite().clipGetImage(clipHandle_, time, nullptr, &props))) return nullptr;
    return wrapImage<Image>(props);
}

Image* Clip::fetchImage(double time, const OfxRectD& region) const {
    OfxPropertySetHandle props = nullptr;
    if (!imageFetched(effectSuite().clipGetImage(clipHandle_, time, &region, &props))) return nullptr;
    return wrapImage<Image>(props);
}

Image* Clip::fetchStereoscopicImage(double time, int view) const {
    if (!Private::gStereoscopicSuite)
        throw Exception::Suite(kOfxStatErrUnsupported, kOfxTalvoStereoscopicImageEffectSuite);
    OfxPropertySetHandle props = nullptr;
    if (!imageFetched(Private::gStereoscopicSuite->clipGetStereoscopicImage(clipHandle_, time, view, nullptr, &props)))
        return nullptr;
    return wrapImage<Image>(props);
}

CLImage* Clip::fetchCLImage(double time, const OfxRectD* region) const {
    OfxPropertySetHandle props = nullptr;
    if (!imageFetched(effectSuite().clipGetImage(clipHandle_, time, region, &props))) return nullptr;
    return wrapImage<CLImage>(props);
}

Texture* Clip::fetchTexture(double time, BitDepthEnum depth) const {
    const ImageEffectHostDescription* host = getImageEffectHostDescription();
    if (!host || !host->supportsOpenGLRender || !Private::gOpenGLRenderSuite)
        throw Exception::Suite(kOfxStatErrUnsupported, kOfxOpenGLRenderSuite);
    OfxPropertySetHandle props = nullptr;
    const OfxStatus stat = Private::gOpenGLRenderSuite->clipLoadTexture(
        clipHandle_, time, depth == eBitDepthNone ? nullptr : mapBitDepthEnumToString(depth), nullptr, &props);
    if (!imageFetched(stat)) return nullptr;
    return wrapImage<Texture>(props);
}

}  // namespace OFX
