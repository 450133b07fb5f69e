// The vocabulary of parameters: their kinds and the enumerations that stand
// for the OFX strings a parameter carries, with the mappers between the two.
#pragma once

#include <string>

namespace OFX {

// One per parameter kind. eDummyParam stands for a name with no kind (the
// page skip entries) and for a type string the frame does not know.
enum ParamTypeEnum {
    eDummyParam = 0,
    eIntParam,
    eInt2DParam,
    eInt3DParam,
    eDoubleParam,
    eDouble2DParam,
    eDouble3DParam,
    eRGBParam,
    eRGBAParam,
    eBooleanParam,
    eChoiceParam,
    eStringParam,
    eCustomParam,
    eImageParam,
    eGroupParam,
    ePageParam,
    ePushButtonParam,
    eParametricParam,
};

// How a host should present and scale a double. The last three are the
// program's own kinds: a host that does not know them shows a plain double.
enum ParamDoubleTypeEnum {
    eDoubleTypePlain = 0,
    eDoubleTypeAngle,
    eDoubleTypeScale,
    eDoubleTypeTime,
    eDoubleTypeAbsoluteTime,
    eDoubleTypeX,
    eDoubleTypeXAbsolute,
    eDoubleTypeY,
    eDoubleTypeYAbsolute,
    eDoubleTypeXY,
    eDoubleTypeXYAbsolute,
    eDoubleTypeNormalisedX,
    eDoubleTypeNormalisedY,
    eDoubleTypeNormalisedXAbsolute,
    eDoubleTypeNormalisedYAbsolute,
    eDoubleTypeNormalisedXY,
    eDoubleTypeNormalisedXYAbsolute,
    eDoubleTypePolar,
    eDoubleTypeChrominance,
    eDoubleTypeLog,
};

// Which rendered frames a change of the parameter spoils.
enum ParamInvalidateEnum {
    eCacheInvalidateValueChange = 0,
    eCacheInvalidateValueChangeToEnd,
    eCacheInvalidateValueAll,
};

// Whether a spatial double's default is in pixels or in fractions of the
// project's size.
enum DefaultCoordinateSystem {
    eCoordinatesCanonical = 0,
    eCoordinatesNormalised,
};

enum StringTypeEnum {
    eStringTypeSingleLine = 0,
    eStringTypeMultiLine,
    eStringTypeFilePath,
    eStringTypeDirectoryPath,
    eStringTypeLabel,
    eStringTypeRichTextFormat,
};

// The program's markers that change how a host shows a boolean, a custom
// and an image parameter.
enum BooleanModeEnum {
    eBooleanModeDefault = 0,
    eBooleanModeReadOnlyMarker,
};

enum CustomModeEnum {
    eCustomModeDefault = 0,
    eCustomModeNoAnimateButton,
};

enum ImageModeEnum {
    eImageModeHideGrabControls = 0,
    eImageModeHideGrabFromPreview,
};

// The direction of a key search, as the parameter suite counts it.
enum KeySearchEnum {
    eKeySearchBackwards = -1,
    eKeySearchNear = 0,
    eKeySearchForward = 1,
};

// The host's keyframe interpolations; the numbers are what the keyframe
// suite stores on a key.
enum KeyframeInterpolationEnum {
    eKeyframeInterpolationUnknown = 0,
    eKeyframeInterpolationLinear,
    eKeyframeInterpolationFast,
    eKeyframeInterpolationSlow,
    eKeyframeInterpolationSmooth,
    eKeyframeInterpolationSharp,
    eKeyframeInterpolationHold,
    eKeyframeInterpolationManual,
    eKeyframeInterpolationSplit,
};

// The type string of a kind; eDummyParam has none and gives null.
const char* mapParamTypeEnumToString(ParamTypeEnum type);
// Unknown type strings give eDummyParam.
ParamTypeEnum mapParamTypeStringToEnum(const std::string& type);

const char* mapDoubleTypeEnumToString(ParamDoubleTypeEnum type);
// Unknown texts give eDoubleTypePlain, the host's own fallback.
ParamDoubleTypeEnum mapDoubleTypeStringToEnum(const std::string& type);
// Whether the kind is one of the program's additions that a standard host
// may refuse.
bool isProgramDoubleType(ParamDoubleTypeEnum type);

// An unknown name logs and throws std::invalid_argument.
KeyframeInterpolationEnum mapKeyframeInterpolationStringToEnum(const std::string& name);
// An unknown number logs and gives null.
const char* mapKeyframeInterpolationEnumToString(KeyframeInterpolationEnum interpolation);

}  // namespace OFX
