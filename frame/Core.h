// The frame's vocabulary: the enumerations that stand for OFX strings, the
// exceptions that carry failures up to the entry point, and the mappers
// between the two.
#pragma once

#include <stdexcept>
#include <string>

#include "ofxCore.h"

namespace OFX {

enum ContextEnum {
    eContextNone = 0,
    eContextGenerator,
    eContextFilter,
    eContextTransition,
    eContextPaint,
    eContextGeneral,
    eContextRetimer,
};

enum BitDepthEnum {
    eBitDepthNone = 0,
    eBitDepthUByte,
    eBitDepthUShort,
    eBitDepthHalf,
    eBitDepthFloat,
    eBitDepthCustom,
    eBitDepthUByteBGR,
    eBitDepthUShortBGR,
    eBitDepthFloatBGR,
};

enum PixelComponentEnum {
    ePixelComponentNone = 0,
    ePixelComponentRGBA,
    ePixelComponentRGB,
    ePixelComponentAlpha,
    ePixelComponentCustom,
};

enum PreMultiplicationEnum { eImageOpaque = 0, eImagePreMultiplied, eImageUnPreMultiplied };

enum FieldEnum { eFieldNone = 0, eFieldBoth, eFieldLower, eFieldUpper, eFieldSingle, eFieldDoubled };

enum FieldExtractionEnum { eFieldExtractBoth = 0, eFieldExtractSingle, eFieldExtractDoubled };

enum InstanceChangeReason { eChangeUserEdit = 0, eChangePluginEdit, eChangeTime };

enum MessageTypeEnum { eMessageFatal = 0, eMessageError, eMessageMessage, eMessageLog, eMessageQuestion };

enum RenderQualityEnum {
    eRenderQualityDraft = 0,
    eRenderQualityNone = 1,  // no quality given by the host
    eRenderQualityPreview = 2,
    eRenderQualityGood = 3,
    eRenderQualityBest = 4,
};

namespace Exception {

// A suite call returned a failing status; what() names the status.
class Suite : public std::exception {
public:
    explicit Suite(OfxStatus status, std::string what = {});
    OfxStatus status() const noexcept { return status_; }
    const char* what() const noexcept override { return what_.c_str(); }

private:
    OfxStatus status_;
    std::string what_;
};

// The host lacks something the bundle cannot do without.
class HostInadequate : public std::exception {
public:
    explicit HostInadequate(std::string missing) : missing_(std::move(missing)) {}
    const char* what() const noexcept override { return missing_.c_str(); }

private:
    std::string missing_;
};

class PropertyUnknownToHost : public std::exception {
public:
    explicit PropertyUnknownToHost(std::string name) : name_(std::move(name)) {}
    const char* what() const noexcept override { return name_.c_str(); }

private:
    std::string name_;
};

class PropertyValueIllegalToHost : public std::exception {
public:
    explicit PropertyValueIllegalToHost(std::string name) : name_(std::move(name)) {}
    const char* what() const noexcept override { return name_.c_str(); }

private:
    std::string name_;
};

// A parameter was fetched as another type than the one it has.
class TypeRequest : public std::exception {
public:
    explicit TypeRequest(std::string text) : text_(std::move(text)) {}
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

}  // namespace Exception

// The symbol of an OFX status ("kOfxStatFailed"), or "UNKNOWN STATUS CODE".
const char* mapStatusToString(OfxStatus status);

// Turns a suite call's status into an exception; the passing statuses are
// OK, ReplyYes, ReplyNo and ReplyDefault.
void throwSuiteStatusException(OfxStatus status);

// Plain string comparisons; unknown texts map as the comments say.
ContextEnum mapContextStringToEnum(const std::string& s);    // unknown: eContextNone
const char* mapContextEnumToString(ContextEnum context);     // unknown: logs, throws
BitDepthEnum mapBitDepthStringToEnum(const std::string& s);  // unknown: eBitDepthCustom
const char* mapBitDepthEnumToString(BitDepthEnum depth);
PixelComponentEnum mapPixelComponentStringToEnum(const std::string& s);  // unknown: custom
const char* mapPixelComponentEnumToString(PixelComponentEnum components);
const char* mapMessageTypeEnumToString(MessageTypeEnum type);
InstanceChangeReason mapInstanceChangedReason(const std::string& s);
const char* mapFieldExtractionEnumToString(FieldExtractionEnum field);
int pixelComponentCount(PixelComponentEnum components);

}  // namespace OFX
