#include "Core.h"

#include <new>

#include "Log.h"
#include "ofxImageEffect.h"
#include "ofxMessage.h"
#include "ofxTalvo.h"

namespace OFX {

Exception::Suite::Suite(OfxStatus status, std::string what) : status_(status) {
    what_ = mapStatusToString(status);
    if (!what.empty()) what_ += ": " + what;
}

const char* mapStatusToString(OfxStatus status) {
    switch (status) {
        case kOfxStatOK: return "kOfxStatOK";
        case kOfxStatFailed: return "kOfxStatFailed";
        case kOfxStatErrFatal: return "kOfxStatErrFatal";
        case kOfxStatErrUnknown: return "kOfxStatErrUnknown";
        case kOfxStatErrMissingHostFeature: return "kOfxStatErrMissingHostFeature";
        case kOfxStatErrUnsupported: return "kOfxStatErrUnsupported";
        case kOfxStatErrExists: return "kOfxStatErrExists";
        case kOfxStatErrFormat: return "kOfxStatErrFormat";
        case kOfxStatErrMemory: return "kOfxStatErrMemory";
        case kOfxStatErrBadHandle: return "kOfxStatErrBadHandle";
        case kOfxStatErrBadIndex: return "kOfxStatErrBadIndex";
        case kOfxStatErrValue: return "kOfxStatErrValue";
        case kOfxStatReplyYes: return "kOfxStatReplyYes";
        case kOfxStatReplyNo: return "kOfxStatReplyNo";
        case kOfxStatReplyDefault: return "kOfxStatReplyDefault";
        case kOfxStatErrImageFormat: return "kOfxStatErrImageFormat";
        // Note: the frame's table has always also named 15, the code that
        // follows ReplyDefault, this way; the published value is 1000.
        case 15: return "kOfxStatErrImageFormat";
    }
    return "UNKNOWN STATUS CODE";
}

void throwSuiteStatusException(OfxStatus status) {
    switch (status) {
        case kOfxStatOK:
        case kOfxStatReplyYes:
        case kOfxStatReplyNo:
        case kOfxStatReplyDefault: return;
        case kOfxStatErrMemory: throw std::bad_alloc();
        default: throw Exception::Suite(status);
    }
}

ContextEnum mapContextStringToEnum(const std::string& s) {
    if (s == kOfxImageEffectContextGenerator) return eContextGenerator;
    if (s == kOfxImageEffectContextFilter) return eContextFilter;
    if (s == kOfxImageEffectContextTransition) return eContextTransition;
    if (s == kOfxImageEffectContextPaint) return eContextPaint;
    if (s == kOfxImageEffectContextGeneral) return eContextGeneral;
    if (s == kOfxImageEffectContextRetimer) return eContextRetimer;
    return eContextNone;
}

const char* mapContextEnumToString(ContextEnum context) {
    switch (context) {
        case eContextGenerator: return kOfxImageEffectContextGenerator;
        case eContextFilter: return kOfxImageEffectContextFilter;
        case eContextTransition: return kOfxImageEffectContextTransition;
        case eContextPaint: return kOfxImageEffectContextPaint;
        case eContextGeneral: return kOfxImageEffectContextGeneral;
        case eContextRetimer: return kOfxImageEffectContextRetimer;
        case eContextNone: break;
    }
    Log::error(true, "Unknown context enum '%d'", static_cast<int>(context));
    throw std::invalid_argument("unknown context");
}

BitDepthEnum mapBitDepthStringToEnum(const std::string& s) {
    if (s == kOfxBitDepthNone) return eBitDepthNone;
    if (s == kOfxBitDepthByte) return eBitDepthUByte;
    if (s == kOfxBitDepthShort) return eBitDepthUShort;
    if (s == kOfxBitDepthHalf) return eBitDepthHalf;
    if (s == kOfxBitDepthFloat) return eBitDepthFloat;
    if (s == kOfxBitDepthByteBGR) return eBitDepthUByteBGR;
    if (s == kOfxBitDepthShortBGR) return eBitDepthUShortBGR;
    if (s == kOfxBitDepthFloatBGR) return eBitDepthFloatBGR;
    return eBitDepthCustom;
}

const char* mapBitDepthEnumToString(BitDepthEnum depth) {
    switch (depth) {
        case eBitDepthNone: return kOfxBitDepthNone;
        case eBitDepthUByte: return kOfxBitDepthByte;
        case eBitDepthUShort: return kOfxBitDepthShort;
        case eBitDepthHalf: return kOfxBitDepthHalf;
        case eBitDepthFloat: return kOfxBitDepthFloat;
        case eBitDepthUByteBGR: return kOfxBitDepthByteBGR;
        case eBitDepthUShortBGR: return kOfxBitDepthShortBGR;
        case eBitDepthFloatBGR: return kOfxBitDepthFloatBGR;
        case eBitDepthCustom: break;
    }
    Log::error(true, "Unknown bit depth enum '%d'", static_cast<int>(depth));
    throw std::invalid_argument("unknown bit depth");
}

PixelComponentEnum mapPixelComponentStringToEnum(const std::string& s) {
    if (s == kOfxImageComponentNone) return ePixelComponentNone;
    if (s == kOfxImageComponentRGBA) return ePixelComponentRGBA;
    if (s == kOfxImageComponentRGB) return ePixelComponentRGB;
    if (s == kOfxImageComponentAlpha) return ePixelComponentAlpha;
    return ePixelComponentCustom;
}

const char* mapPixelComponentEnumToString(PixelComponentEnum components) {
    switch (components) {
        case ePixelComponentNone: return kOfxImageComponentNone;
        case ePixelComponentRGBA: return kOfxImageComponentRGBA;
        case ePixelComponentRGB: return kOfxImageComponentRGB;
        case ePixelComponentAlpha: return kOfxImageComponentAlpha;
        case ePixelComponentCustom: break;
    }
    Log::error(true, "Unknown pixel component enum '%d'", static_cast<int>(components));
    throw std::invalid_argument("unknown pixel components");
}

const char* mapMessageTypeEnumToString(MessageTypeEnum type) {
    switch (type) {
        case eMessageFatal: return kOfxMessageFatal;
        case eMessageError: return kOfxMessageError;
        case eMessageMessage: return kOfxMessageMessage;
        case eMessageLog: return kOfxMessageLog;
        case eMessageQuestion: return kOfxMessageQuestion;
    }
    Log::error(true, "Unknown message type enum '%d'", static_cast<int>(type));
    throw std::invalid_argument("unknown message type");
}

InstanceChangeReason mapInstanceChangedReason(const std::string& s) {
    if (s == kOfxChangeUserEdited) return eChangeUserEdit;
    if (s == kOfxChangePluginEdited) return eChangePluginEdit;
    if (s == kOfxChangeTime) return eChangeTime;
    Log::error(true, "Unknown instance changed reason '%s'", s.c_str());
    throw std::invalid_argument("unknown instance change reason");
}

const char* mapFieldExtractionEnumToString(FieldExtractionEnum field) {
    switch (field) {
        case eFieldExtractBoth: return kOfxImageFieldBoth;
        case eFieldExtractSingle: return kOfxImageFieldSingle;
        case eFieldExtractDoubled: return kOfxImageFieldDoubled;
    }
    throw std::invalid_argument("unknown field extraction");
}

int pixelComponentCount(PixelComponentEnum components) {
    switch (components) {
        case ePixelComponentRGBA: return 4;
        case ePixelComponentRGB: return 3;
        case ePixelComponentAlpha: return 1;
        default: return 0;
    }
}

}  // namespace OFX
