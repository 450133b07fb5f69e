#include "ParamTypes.h"

#include <array>
#include <stdexcept>

#include "Log.h"
#include "ofxParam.h"
#include "ofxParametricParam.h"
#include "ofxTalvo.h"

namespace OFX {
namespace {

// Indexed by ParamTypeEnum.
constexpr std::array<const char*, eParametricParam + 1> kTypeNames = {
    nullptr,
    kOfxParamTypeInteger,
    kOfxParamTypeInteger2D,
    kOfxParamTypeInteger3D,
    kOfxParamTypeDouble,
    kOfxParamTypeDouble2D,
    kOfxParamTypeDouble3D,
    kOfxParamTypeRGB,
    kOfxParamTypeRGBA,
    kOfxParamTypeBoolean,
    kOfxParamTypeChoice,
    kOfxParamTypeString,
    kOfxParamTypeCustom,
    kOfxParamTypeImage,
    kOfxParamTypeGroup,
    kOfxParamTypePage,
    kOfxParamTypePushButton,
    kOfxParamTypeParametric,
};

// Indexed by ParamDoubleTypeEnum.
constexpr std::array<const char*, eDoubleTypeLog + 1> kDoubleTypeNames = {
    kOfxParamDoubleTypePlain,
    kOfxParamDoubleTypeAngle,
    kOfxParamDoubleTypeScale,
    kOfxParamDoubleTypeTime,
    kOfxParamDoubleTypeAbsoluteTime,
    kOfxParamDoubleTypeX,
    kOfxParamDoubleTypeXAbsolute,
    kOfxParamDoubleTypeY,
    kOfxParamDoubleTypeYAbsolute,
    kOfxParamDoubleTypeXY,
    kOfxParamDoubleTypeXYAbsolute,
    kOfxParamDoubleTypeNormalisedX,
    kOfxParamDoubleTypeNormalisedY,
    kOfxParamDoubleTypeNormalisedXAbsolute,
    kOfxParamDoubleTypeNormalisedYAbsolute,
    kOfxParamDoubleTypeNormalisedXY,
    kOfxParamDoubleTypeNormalisedXYAbsolute,
    kOfxParamDoubleTypePolar,
    kOfxParamDoubleTypeChrominance,
    kOfxParamDoubleTypeLog,
};

// Indexed by KeyframeInterpolationEnum.
constexpr std::array<const char*, eKeyframeInterpolationSplit + 1> kInterpolationNames = {
    kOfxTalvoKeyframeInterpolationUnknown, kOfxTalvoKeyframeInterpolationLinear, kOfxTalvoKeyframeInterpolationFast,
    kOfxTalvoKeyframeInterpolationSlow,    kOfxTalvoKeyframeInterpolationSmooth, kOfxTalvoKeyframeInterpolationSharp,
    kOfxTalvoKeyframeInterpolationHold,    kOfxTalvoKeyframeInterpolationManual, kOfxTalvoKeyframeInterpolationSplit,
};

// The position of text in a name table, or -1.
template <std::size_t N>
int indexOf(const std::array<const char*, N>& names, const std::string& text) {
    for (std::size_t i = 0; i < N; ++i) {
        if (names[i] && text == names[i]) return static_cast<int>(i);
    }
    return -1;
}

template <std::size_t N>
const char* nameAt(const std::array<const char*, N>& names, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < N ? names[index] : nullptr;
}

}  // namespace

const char* mapParamTypeEnumToString(ParamTypeEnum type) { return nameAt(kTypeNames, type); }

ParamTypeEnum mapParamTypeStringToEnum(const std::string& type) {
    const int index = indexOf(kTypeNames, type);
    return index < 0 ? eDummyParam : static_cast<ParamTypeEnum>(index);
}

const char* mapDoubleTypeEnumToString(ParamDoubleTypeEnum type) {
    const char* name = nameAt(kDoubleTypeNames, type);
    return name ? name : kOfxParamDoubleTypePlain;
}

ParamDoubleTypeEnum mapDoubleTypeStringToEnum(const std::string& type) {
    const int index = indexOf(kDoubleTypeNames, type);
    return index < 0 ? eDoubleTypePlain : static_cast<ParamDoubleTypeEnum>(index);
}

bool isProgramDoubleType(ParamDoubleTypeEnum type) { return type >= eDoubleTypePolar; }

KeyframeInterpolationEnum mapKeyframeInterpolationStringToEnum(const std::string& name) {
    const int index = indexOf(kInterpolationNames, name);
    if (index < 0) {
        Log::error(true, "Unknown keyframe Interpolation '%s'", name.c_str());
        throw std::invalid_argument("unknown keyframe interpolation");
    }
    return static_cast<KeyframeInterpolationEnum>(index);
}

const char* mapKeyframeInterpolationEnumToString(KeyframeInterpolationEnum interpolation) {
    const char* name = nameAt(kInterpolationNames, interpolation);
    Log::error(!name, "Unknown interpolation type enum '%d'", static_cast<int>(interpolation));
    return name;
}

}  // namespace OFX
