#include "ImageEffect.h"

#include <mutex>
#include <unordered_map>

#include "ofxTalvo.h"

namespace OFX {
namespace {

// Parameter sets of the live effects, for the custom interpolation callback
// that a host calls with nothing but the parameter set. Instances come and
// go on the host's main thread while renders may interpolate, hence the lock.
std::mutex gOwnersLock;
std::unordered_map<OfxParamSetHandle, ImageEffect*> gOwners;

const OfxImageEffectSuiteV1& effectSuite() {
    if (!Private::gEffectSuite) throw Exception::Suite(kOfxStatErrUnsupported, kOfxImageEffectSuite);
    return *Private::gEffectSuite;
}

OfxPropertySetHandle effectProperties(OfxImageEffectHandle handle) {
    OfxPropertySetHandle props = nullptr;
    throwSuiteStatusException(effectSuite().getPropertySet(handle, &props));
    return props;
}

OfxParamSetHandle effectParameters(OfxImageEffectHandle handle) {
    OfxParamSetHandle params = nullptr;
    throwSuiteStatusException(effectSuite().getParamSet(handle, &params));
    return params;
}

void appendString(PropertySet& props, const char* name, const char* value, bool throwOnFailure = true) {
    const int n = props.propGetDimension(name, throwOnFailure);
    props.propSetString(name, value, n, throwOnFailure);
}

// Whether the host offered the suite that makes a GPU declaration
// meaningful.
bool hostOffers(const void* suite) { return suite != nullptr; }

}  // namespace

ImageEffectDescriptor::ImageEffectDescriptor(OfxImageEffectHandle handle)
    : handle_(handle), props_(effectProperties(handle)) {
    setParamSetHandle(effectParameters(handle));
}

ImageEffectDescriptor::~ImageEffectDescriptor() = default;

void ImageEffectDescriptor::setLabels(const std::string& label, const std::string& shortLabel,
                                      const std::string& longLabel) {
    props_.propSetString(kOfxPropLabel, label);
    props_.propSetString(kOfxPropShortLabel, shortLabel);
    props_.propSetString(kOfxPropLongLabel, longLabel);
}

void ImageEffectDescriptor::setPluginGrouping(const std::string& group) {
    props_.propSetString(kOfxImageEffectPluginPropGrouping, group);
}

void ImageEffectDescriptor::setPluginDescription(const std::string& description) {
    props_.propSetString(kOfxPropPluginDescription, description, 0, false);
}

void ImageEffectDescriptor::addSupportedContext(ContextEnum context) {
    appendString(props_, kOfxImageEffectPropSupportedContexts, mapContextEnumToString(context));
}

void ImageEffectDescriptor::addSupportedBitDepth(BitDepthEnum depth) {
    appendString(props_, kOfxImageEffectPropSupportedPixelDepths, mapBitDepthEnumToString(depth));
}

void ImageEffectDescriptor::setSingleInstance(bool enabled) {
    props_.propSetInt(kOfxImageEffectPluginPropSingleInstance, enabled);
}
void ImageEffectDescriptor::setHostFrameThreading(bool enabled) {
    props_.propSetInt(kOfxImageEffectPluginPropHostFrameThreading, enabled);
}
void ImageEffectDescriptor::setSupportsMultiResolution(bool enabled) {
    props_.propSetInt(kOfxImageEffectPropSupportsMultiResolution, enabled);
}
void ImageEffectDescriptor::setSupportsTiles(bool enabled) {
    props_.propSetInt(kOfxImageEffectPropSupportsTiles, enabled);
}
void ImageEffectDescriptor::setTemporalClipAccess(bool enabled) {
    props_.propSetInt(kOfxImageEffectPropTemporalClipAccess, enabled);
}
void ImageEffectDescriptor::setRenderTwiceAlways(bool enabled) {
    props_.propSetInt(kOfxImageEffectPluginPropFieldRenderTwiceAlways, enabled);
}
void ImageEffectDescriptor::setSupportsMultipleClipPARs(bool enabled) {
    props_.propSetInt(kOfxImageEffectPropSupportsMultipleClipPARs, enabled);
}
void ImageEffectDescriptor::setSupportsMultipleClipDepths(bool enabled) {
    props_.propSetInt(kOfxImageEffectPropSupportsMultipleClipDepths, enabled);
}

// The help file and its context are the host's extensions: a host that does
// not know them simply shows no help.
void ImageEffectDescriptor::setHelpFile(const std::string& file) {
    props_.propSetString(kOfxPropTalvoHelpFile, file, 0, false);
}
void ImageEffectDescriptor::setHelpContextID(int id) { props_.propSetInt(kOfxPropTalvoHelpContextID, id, 0, false); }

void ImageEffectDescriptor::setOpenCLSupported(bool enabled) {
    const bool supported = enabled && hostOffers(Private::gOpenCLProgramSuite);
    props_.propSetString(kOfxImageEffectPropOpenCLSupported, supported ? "true" : "false", 0, false);
}

void ImageEffectDescriptor::setOpenGLRenderSupported(bool enabled) {
    const bool supported = enabled && hostOffers(Private::gOpenGLRenderSuite);
    props_.propSetString(kOfxImageEffectPropOpenGLRenderSupported, supported ? "true" : "false", 0, false);
}

void ImageEffectDescriptor::setUpliftGUID(const std::string& guid) {
    appendString(props_, kOfxImageEffectPropTalvoUpliftGUID, guid.c_str(), false);
}

ClipDescriptor* ImageEffectDescriptor::defineClip(const std::string& name) {
    auto found = clips_.find(name);
    if (found != clips_.end()) return found->second.get();
    OfxPropertySetHandle props = nullptr;
    throwSuiteStatusException(effectSuite().clipDefine(handle_, name.c_str(), &props));
    auto& slot = clips_[name];
    slot = std::make_unique<ClipDescriptor>(name, props);
    return slot.get();
}

ImageEffect::ImageEffect(OfxImageEffectHandle handle) : effectHandle_(handle), effectProps_(effectProperties(handle)) {
    effectProps_.propSetPointer(kOfxPropInstanceData, this);
    context_ = mapContextStringToEnum(effectProps_.propGetString(kOfxImageEffectPropContext));
    paramSetHandle_ = effectParameters(handle);
    setParamSetHandle(paramSetHandle_);
    const std::lock_guard<std::mutex> lock(gOwnersLock);
    gOwners[paramSetHandle_] = this;
}

ImageEffect::~ImageEffect() {
    {
        const std::lock_guard<std::mutex> lock(gOwnersLock);
        gOwners.erase(paramSetHandle_);
    }
    try {
        effectProps_.propSetPointer(kOfxPropInstanceData, nullptr, 0, false);
    } catch (...) {
        // A destructor must not throw; the host is tearing the instance down.
    }
}

ImageEffect* ImageEffect::fromParamSet(OfxParamSetHandle paramSet) {
    const std::lock_guard<std::mutex> lock(gOwnersLock);
    auto found = gOwners.find(paramSet);
    return found == gOwners.end() ? nullptr : found->second;
}

Clip* ImageEffect::fetchClip(const std::string& name) {
    auto found = fetchedClips_.find(name);
    if (found != fetchedClips_.end()) return found->second.get();
    OfxImageClipHandle clip = nullptr;
    throwSuiteStatusException(effectSuite().clipGetHandle(effectHandle_, name.c_str(), &clip, nullptr));
    OfxPropertySetHandle props = nullptr;
    throwSuiteStatusException(effectSuite().clipGetPropertySet(clip, &props));
    auto& slot = fetchedClips_[name];
    slot = std::make_unique<Clip>(this, name, clip, props);
    return slot.get();
}

OfxStatus ImageEffect::sendMessage(MessageTypeEnum type, const std::string& id, const std::string& text) const {
    if (!Private::gMessageSuite) return kOfxStatErrUnsupported;
    return Private::gMessageSuite->message(effectHandle_, mapMessageTypeEnumToString(type),
                                           id.empty() ? nullptr : id.c_str(), "%s", text.c_str());
}

bool ImageEffect::abort() const { return effectSuite().abort(effectHandle_) != 0; }

// The program's own suite goes first: it carries the message id a host
// translates by.
void ImageEffect::progressStart(const std::string& message, const std::string& messageId) {
    const char* id = messageId.empty() ? nullptr : messageId.c_str();
    if (Private::gTalvoProgressSuiteV2)
        Private::gTalvoProgressSuiteV2->progressStartProgress(effectHandle_, message.c_str(), id);
    else if (Private::gProgressSuiteV1)
        Private::gProgressSuiteV1->progressStartProgress(effectHandle_, message.c_str());
}

bool ImageEffect::progressUpdate(double progress) {
    OfxStatus status = kOfxStatOK;
    if (Private::gTalvoProgressSuiteV2)
        status = Private::gTalvoProgressSuiteV2->progressUpdate(effectHandle_, progress);
    else if (Private::gProgressSuiteV1)
        status = Private::gProgressSuiteV1->progressUpdate(effectHandle_, progress);
    return status != kOfxStatReplyNo;
}

void ImageEffect::progressEnd() {
    if (Private::gTalvoProgressSuiteV2)
        Private::gTalvoProgressSuiteV2->progressEndProgress(effectHandle_);
    else if (Private::gProgressSuiteV1)
        Private::gProgressSuiteV1->progressEndProgress(effectHandle_);
}

}  // namespace OFX
