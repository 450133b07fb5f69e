#include "Arguments.h"

#include "Clip.h"
#include "ofxImageEffect.h"
#include "ofxTalvo.h"

namespace OFX {

int KeyframeUpliftArguments::getKeyCount() const {
    return args_.propGetDimension(kOfxPropTalvoUpliftKeyframeData, false);
}
const void* KeyframeUpliftArguments::getKeyData(int index) const {
    return args_.propGetPointer(kOfxPropTalvoUpliftKeyframeData, index, false);
}
int KeyframeUpliftArguments::getKeyDataLength(int index) const {
    return args_.propGetInt(kOfxPropTalvoUpliftKeyframeDataLength, index, false);
}
double KeyframeUpliftArguments::getKeyTime(int index) const {
    return args_.propGetDouble(kOfxPropTalvoUpliftKeyframeTime, index, false);
}
std::string KeyframeUpliftArguments::getKeyInterpolation(int index) const {
    return args_.propGetString(kOfxPropTalvoUpliftKeyframeInterpolation, index, false);
}
const void* KeyframeUpliftArguments::getData() const { return args_.propGetPointer(kOfxPropTalvoUpliftData, 0, false); }
int KeyframeUpliftArguments::getDataLength() const { return args_.propGetInt(kOfxPropTalvoUpliftDataLength, 0, false); }

namespace {
// Clip preferences travel as one property per clip, named after the clip.
std::string clipProperty(const char* base, const Clip& clip) { return std::string(base) + "_" + clip.name(); }
}  // namespace

void ClipPreferencesSetter::setClipComponents(const Clip& clip, PixelComponentEnum components) {
    outArgs_.propSetString(clipProperty(kOfxImageClipPropComponents, clip).c_str(),
                           mapPixelComponentEnumToString(components));
    used_ = true;
}

void ClipPreferencesSetter::setClipBitDepth(const Clip& clip, BitDepthEnum depth) {
    outArgs_.propSetString(clipProperty(kOfxImageClipPropDepth, clip).c_str(), mapBitDepthEnumToString(depth));
    used_ = true;
}

void ClipPreferencesSetter::setPixelAspectRatio(const Clip& clip, double par) {
    outArgs_.propSetDouble(clipProperty(kOfxImageClipPropPAR, clip).c_str(), par);
    used_ = true;
}

void ClipPreferencesSetter::setOutputFrameVarying(bool varying) {
    outArgs_.propSetInt(kOfxImageEffectFrameVarying, varying);
    used_ = true;
}

void ClipPreferencesSetter::setOutputHasContinuousSamples(bool continuous) {
    outArgs_.propSetInt(kOfxImageClipPropContinuousSamples, continuous);
    used_ = true;
}

void ClipPreferencesSetter::setOutputPremultiplication(PreMultiplicationEnum premultiplication) {
    const char* value = premultiplication == eImagePreMultiplied     ? kOfxImagePreMultiplied
                        : premultiplication == eImageUnPreMultiplied ? kOfxImageUnPreMultiplied
                                                                     : kOfxImageOpaque;
    outArgs_.propSetString(kOfxImageEffectPropPreMultiplication, value);
    used_ = true;
}

}  // namespace OFX
