#include "ParamDescriptors.h"

#include <initializer_list>
#include <type_traits>

#include "Log.h"
#include "ParamSuite.h"
#include "Params.h"
#include "ofxParametricParam.h"
#include "ofxTalvo.h"

namespace OFX {
namespace {

// Writes consecutive indices of one property, from 0.
void setInts(PropertySet& props, const char* name, std::initializer_list<int> values) {
    int index = 0;
    for (int value : values) props.propSetInt(name, value, index++);
}

void setDoubles(PropertySet& props, const char* name, std::initializer_list<double> values) {
    int index = 0;
    for (double value : values) props.propSetDouble(name, value, index++);
}

void setStrings(PropertySet& props, const char* name, std::initializer_list<std::string> values) {
    int index = 0;
    for (const std::string& value : values) props.propSetString(name, value, index++);
}

// Writes after the last value a property holds now.
void appendString(PropertySet& props, const char* name, const std::string& value) {
    props.propSetString(name, value, props.propGetDimension(name));
}

const char* invalidationName(ParamInvalidateEnum invalidation) {
    switch (invalidation) {
        case eCacheInvalidateValueChangeToEnd: return kOfxParamInvalidateValueChangeToEnd;
        case eCacheInvalidateValueAll: return kOfxParamInvalidateAll;
        case eCacheInvalidateValueChange: break;
    }
    return kOfxParamInvalidateValueChange;
}

const char* stringModeName(StringTypeEnum type) {
    switch (type) {
        case eStringTypeMultiLine: return kOfxParamStringIsMultiLine;
        case eStringTypeFilePath: return kOfxParamStringIsFilePath;
        case eStringTypeDirectoryPath: return kOfxParamStringIsDirectoryPath;
        case eStringTypeLabel: return kOfxParamStringIsLabel;
        case eStringTypeRichTextFormat: return kOfxParamStringIsRichTextFormat;
        case eStringTypeSingleLine: break;
    }
    return kOfxParamStringIsSingleLine;
}

}  // namespace

// ParamDescriptor

ParamDescriptor::ParamDescriptor(std::string name, ParamTypeEnum type, OfxPropertySetHandle props)
    : name_(std::move(name)), type_(type), props_(props) {}

void ParamDescriptor::setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel) {
    props_.propSetString(kOfxPropLabel, label);
    props_.propSetString(kOfxPropShortLabel, shortLabel);
    props_.propSetString(kOfxPropLongLabel, longLabel);
}

void ParamDescriptor::setScriptName(const std::string& scriptName) {
    props_.propSetString(kOfxParamPropScriptName, scriptName);
}

void ParamDescriptor::setHint(const std::string& hint) { props_.propSetString(kOfxParamPropHint, hint); }

void ParamDescriptor::setIsSecret(bool secret) { props_.propSetInt(kOfxParamPropSecret, secret); }

void ParamDescriptor::setEnabled(bool enabled) { props_.propSetInt(kOfxParamPropEnabled, enabled); }

void ParamDescriptor::setParent(const GroupParamDescriptor& group) {
    props_.propSetString(kOfxParamPropParent, group.getName());
}

void ParamDescriptor::setIsPersistant(bool persistant) { props_.propSetInt(kOfxParamPropPersistant, persistant); }

void ParamDescriptor::setEvaluateOnChange(bool evaluate) { props_.propSetInt(kOfxParamPropEvaluateOnChange, evaluate); }

void ParamDescriptor::setCacheInvalidation(ParamInvalidateEnum invalidation) {
    props_.propSetString(kOfxParamPropCacheInvalidation, invalidationName(invalidation));
}

void ParamDescriptor::setPresetExclude(bool exclude) {
    props_.propSetInt(kOfxParamPropPresetExclude, exclude, 0, false);
}

void ParamDescriptor::setInteractPreferedSize(int width, int height) {
    props_.propSetInt(kOfxParamPropInteractPreferedSize, width, 0, false);
    props_.propSetInt(kOfxParamPropInteractPreferedSize, height, 1, false);
}

DummyParamDescriptor::DummyParamDescriptor(std::string name) : ParamDescriptor(std::move(name), kType, nullptr) {}

// Value kinds

void ValueParamDescriptor::setAnimates(bool animates) { getPropertySet().propSetInt(kOfxParamPropAnimates, animates); }

void ValueParamDescriptor::setCanUndo(bool canUndo) { getPropertySet().propSetInt(kOfxParamPropCanUndo, canUndo); }

void ValueParamDescriptor::setColorWheelLevel(int level) {
    getPropertySet().propSetInt(kOfxParamPropColorWheelLevel, level, 0, false);
}

IntParamDescriptor::IntParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void IntParamDescriptor::setDefault(int value) { setInts(getPropertySet(), kOfxParamPropDefault, {value}); }

void IntParamDescriptor::setRange(int min, int max) {
    setInts(getPropertySet(), kOfxParamPropMin, {min});
    setInts(getPropertySet(), kOfxParamPropMax, {max});
}

void IntParamDescriptor::setDisplayRange(int min, int max) {
    setInts(getPropertySet(), kOfxParamPropDisplayMin, {min});
    setInts(getPropertySet(), kOfxParamPropDisplayMax, {max});
}

Int2DParamDescriptor::Int2DParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void Int2DParamDescriptor::setDefault(int x, int y) { setInts(getPropertySet(), kOfxParamPropDefault, {x, y}); }

void Int2DParamDescriptor::setRange(int minX, int minY, int maxX, int maxY) {
    setInts(getPropertySet(), kOfxParamPropMin, {minX, minY});
    setInts(getPropertySet(), kOfxParamPropMax, {maxX, maxY});
}

void Int2DParamDescriptor::setDisplayRange(int minX, int minY, int maxX, int maxY) {
    setInts(getPropertySet(), kOfxParamPropDisplayMin, {minX, minY});
    setInts(getPropertySet(), kOfxParamPropDisplayMax, {maxX, maxY});
}

void Int2DParamDescriptor::setDimensionLabels(const std::string& x, const std::string& y) {
    setStrings(getPropertySet(), kOfxParamPropDimensionLabel, {x, y});
}

Int3DParamDescriptor::Int3DParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void Int3DParamDescriptor::setDefault(int x, int y, int z) {
    setInts(getPropertySet(), kOfxParamPropDefault, {x, y, z});
}

void Int3DParamDescriptor::setRange(int minX, int minY, int minZ, int maxX, int maxY, int maxZ) {
    setInts(getPropertySet(), kOfxParamPropMin, {minX, minY, minZ});
    setInts(getPropertySet(), kOfxParamPropMax, {maxX, maxY, maxZ});
}

void Int3DParamDescriptor::setDisplayRange(int minX, int minY, int minZ, int maxX, int maxY, int maxZ) {
    setInts(getPropertySet(), kOfxParamPropDisplayMin, {minX, minY, minZ});
    setInts(getPropertySet(), kOfxParamPropDisplayMax, {maxX, maxY, maxZ});
}

void Int3DParamDescriptor::setDimensionLabels(const std::string& x, const std::string& y, const std::string& z) {
    setStrings(getPropertySet(), kOfxParamPropDimensionLabel, {x, y, z});
}

// Double kinds

void BaseDoubleParamDescriptor::setDoubleType(ParamDoubleTypeEnum type) {
    // A standard host refuses the program's own kinds; it then shows a plain
    // double, which is all the effect needs.
    getPropertySet().propSetString(kOfxParamPropDoubleType, mapDoubleTypeEnumToString(type), 0,
                                   !isProgramDoubleType(type));
}

void BaseDoubleParamDescriptor::setDefaultCoordinateSystem(DefaultCoordinateSystem system) {
    getPropertySet().propSetString(kOfxParamPropDefaultCoordinateSystem, system == eCoordinatesNormalised
                                                                             ? kOfxParamCoordinatesNormalised
                                                                             : kOfxParamCoordinatesCanonical);
}

void BaseDoubleParamDescriptor::setIncrement(double increment) {
    getPropertySet().propSetDouble(kOfxParamPropIncrement, increment);
}

void BaseDoubleParamDescriptor::setDigits(int digits) { getPropertySet().propSetInt(kOfxParamPropDigits, digits); }

DoubleParamDescriptor::DoubleParamDescriptor(std::string name, OfxPropertySetHandle props)
    : BaseDoubleParamDescriptor(std::move(name), kType, props) {}

void DoubleParamDescriptor::setDefault(double value) { setDoubles(getPropertySet(), kOfxParamPropDefault, {value}); }

void DoubleParamDescriptor::setRange(double min, double max) {
    setDoubles(getPropertySet(), kOfxParamPropMin, {min});
    setDoubles(getPropertySet(), kOfxParamPropMax, {max});
}

void DoubleParamDescriptor::setDisplayRange(double min, double max) {
    setDoubles(getPropertySet(), kOfxParamPropDisplayMin, {min});
    setDoubles(getPropertySet(), kOfxParamPropDisplayMax, {max});
}

Double2DParamDescriptor::Double2DParamDescriptor(std::string name, OfxPropertySetHandle props)
    : BaseDoubleParamDescriptor(std::move(name), kType, props) {}

void Double2DParamDescriptor::setDefault(double x, double y) {
    setDoubles(getPropertySet(), kOfxParamPropDefault, {x, y});
}

void Double2DParamDescriptor::setRange(double minX, double minY, double maxX, double maxY) {
    setDoubles(getPropertySet(), kOfxParamPropMin, {minX, minY});
    setDoubles(getPropertySet(), kOfxParamPropMax, {maxX, maxY});
}

void Double2DParamDescriptor::setDisplayRange(double minX, double minY, double maxX, double maxY) {
    setDoubles(getPropertySet(), kOfxParamPropDisplayMin, {minX, minY});
    setDoubles(getPropertySet(), kOfxParamPropDisplayMax, {maxX, maxY});
}

void Double2DParamDescriptor::setDimensionLabels(const std::string& x, const std::string& y) {
    setStrings(getPropertySet(), kOfxParamPropDimensionLabel, {x, y});
}

Double3DParamDescriptor::Double3DParamDescriptor(std::string name, OfxPropertySetHandle props)
    : BaseDoubleParamDescriptor(std::move(name), kType, props) {}

void Double3DParamDescriptor::setDefault(double x, double y, double z) {
    setDoubles(getPropertySet(), kOfxParamPropDefault, {x, y, z});
}

void Double3DParamDescriptor::setRange(double minX, double minY, double minZ, double maxX, double maxY, double maxZ) {
    setDoubles(getPropertySet(), kOfxParamPropMin, {minX, minY, minZ});
    setDoubles(getPropertySet(), kOfxParamPropMax, {maxX, maxY, maxZ});
}

void Double3DParamDescriptor::setDisplayRange(double minX, double minY, double minZ, double maxX, double maxY,
                                              double maxZ) {
    setDoubles(getPropertySet(), kOfxParamPropDisplayMin, {minX, minY, minZ});
    setDoubles(getPropertySet(), kOfxParamPropDisplayMax, {maxX, maxY, maxZ});
}

void Double3DParamDescriptor::setDimensionLabels(const std::string& x, const std::string& y, const std::string& z) {
    setStrings(getPropertySet(), kOfxParamPropDimensionLabel, {x, y, z});
}

// Colours

RGBParamDescriptor::RGBParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void RGBParamDescriptor::setDefault(double r, double g, double b) {
    setDoubles(getPropertySet(), kOfxParamPropDefault, {r, g, b});
}

RGBAParamDescriptor::RGBAParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void RGBAParamDescriptor::setDefault(double r, double g, double b, double a) {
    setDoubles(getPropertySet(), kOfxParamPropDefault, {r, g, b, a});
}

// Boolean, choice, text

BooleanParamDescriptor::BooleanParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void BooleanParamDescriptor::setDefault(bool value) { getPropertySet().propSetInt(kOfxParamPropDefault, value); }

void BooleanParamDescriptor::setBooleanMode(BooleanModeEnum mode) {
    const char* marker =
        mode == eBooleanModeReadOnlyMarker ? kOfxParamBooleanIsReadOnlyMarker : kOfxParamBooleanIsDefault;
    getPropertySet().propSetString(kOfxParamPropBooleanMode, marker, 0, false);
}

ChoiceParamDescriptor::ChoiceParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void ChoiceParamDescriptor::setDefault(int index) { getPropertySet().propSetInt(kOfxParamPropDefault, index); }

void ChoiceParamDescriptor::appendOption(const std::string& label, const std::string& hint) {
    const int index = getOptionCount();
    getPropertySet().propSetString(kOfxParamPropChoiceOption, label, index);
    if (!hint.empty()) getPropertySet().propSetString(kOfxParamPropChoiceOptionHint, hint, index, false);
}

int ChoiceParamDescriptor::getOptionCount() { return getPropertySet().propGetDimension(kOfxParamPropChoiceOption); }

void ChoiceParamDescriptor::resetOptions() { getPropertySet().propReset(kOfxParamPropChoiceOption); }

StringParamDescriptor::StringParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void StringParamDescriptor::setDefault(const std::string& value) {
    getPropertySet().propSetString(kOfxParamPropDefault, value);
}

void StringParamDescriptor::setStringType(StringTypeEnum type) {
    // Rich text is the program's own mode; a standard host keeps its default.
    getPropertySet().propSetString(kOfxParamPropStringMode, stringModeName(type), 0, type != eStringTypeRichTextFormat);
}

void StringParamDescriptor::setFilePathExists(bool exists) {
    getPropertySet().propSetInt(kOfxParamPropStringFilePathExists, exists);
}

CustomParamDescriptor::CustomParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ValueParamDescriptor(std::move(name), kType, props) {}

void CustomParamDescriptor::setDefault(const std::string& value) {
    getPropertySet().propSetString(kOfxParamPropDefault, value);
}

// The host calls the entry through the standard's function type.
static_assert(std::is_same_v<decltype(&Private::customParamInterpolationV1Entry), OfxCustomParamInterpFuncV1*>);

void CustomParamDescriptor::setCustomInterpolation(bool interpolate) {
    void* callback = interpolate ? reinterpret_cast<void*>(&Private::customParamInterpolationV1Entry) : nullptr;
    getPropertySet().propSetPointer(kOfxParamPropCustomInterpCallbackV1, callback);
}

void CustomParamDescriptor::setCustomMode(CustomModeEnum mode) {
    const char* marker = mode == eCustomModeNoAnimateButton ? kOfxParamCustomNoAnimateButton : kOfxParamCustomIsDefault;
    getPropertySet().propSetString(kOfxParamPropCustomMode, marker, 0, false);
}

// Kinds without a value

ImageParamDescriptor::ImageParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ParamDescriptor(std::move(name), kType, props) {}

void ImageParamDescriptor::setImageMode(ImageModeEnum mode) {
    const char* marker =
        mode == eImageModeHideGrabFromPreview ? kOfxParamImageHideGrabFromPreview : kOfxParamImageHideGrabControls;
    getPropertySet().propSetString(kOfxParamPropImageMode, marker, 0, false);
}

GroupParamDescriptor::GroupParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ParamDescriptor(std::move(name), kType, props) {}

void GroupParamDescriptor::setOpen(bool open) { getPropertySet().propSetInt(kOfxParamPropGroupOpen, open); }

void GroupParamDescriptor::setParameterExpanded(bool expanded) {
    getPropertySet().propSetInt(kOfxParamPropParameterExpanded, expanded, 0, false);
}

PageParamDescriptor::PageParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ParamDescriptor(std::move(name), kType, props) {}

void PageParamDescriptor::addChild(const ParamDescriptor& child) {
    appendString(getPropertySet(), kOfxParamPropPageChild, child.getName());
}

const DummyParamDescriptor& PageParamDescriptor::skipRow() {
    static const DummyParamDescriptor entry(kOfxParamPageSkipRow);
    return entry;
}

const DummyParamDescriptor& PageParamDescriptor::skipColumn() {
    static const DummyParamDescriptor entry(kOfxParamPageSkipColumn);
    return entry;
}

PushButtonParamDescriptor::PushButtonParamDescriptor(std::string name, OfxPropertySetHandle props)
    : ParamDescriptor(std::move(name), kType, props) {}

// Parametric

ParametricParamDescriptor::ParametricParamDescriptor(std::string name, OfxPropertySetHandle props,
                                                     OfxParamSetHandle paramSet)
    : ValueParamDescriptor(std::move(name), kType, props), paramSet_(paramSet) {}

void ParametricParamDescriptor::setDimension(int curves) {
    getPropertySet().propSetInt(kOfxParamPropParametricDimension, curves);
}

void ParametricParamDescriptor::setDimensionLabel(int curve, const std::string& label) {
    getPropertySet().propSetString(kOfxParamPropDimensionLabel, label, curve);
}

void ParametricParamDescriptor::setUIColour(int curve, const OfxRGBColourD& colour) {
    PropertySet& props = getPropertySet();
    props.propSetDouble(kOfxParamPropParametricUIColour, colour.r, curve * 3);
    props.propSetDouble(kOfxParamPropParametricUIColour, colour.g, curve * 3 + 1);
    props.propSetDouble(kOfxParamPropParametricUIColour, colour.b, curve * 3 + 2);
}

void ParametricParamDescriptor::setRange(double min, double max) {
    setDoubles(getPropertySet(), kOfxParamPropParametricRange, {min, max});
}

void ParametricParamDescriptor::addControlPoint(int curve, double time, double x, double y, bool addKey) {
    const OfxParametricParameterSuiteV1& suite = Private::parametricSuite();
    OfxParamHandle handle = Private::paramHandle(paramSet_, getName());
    auto add = Private::requireFunction(suite.parametricParamAddControlPoint, "parametricParamAddControlPoint");
    throwSuiteStatusException(add(handle, curve, time, x, y, addKey));
}

// ParamSetDescriptor

ParamSetDescriptor::~ParamSetDescriptor() = default;

template <class Descriptor>
Descriptor* ParamSetDescriptor::define(const std::string& name) {
    if (auto found = byName_.find(name); found != byName_.end()) {
        if (auto* same = dynamic_cast<Descriptor*>(found->second.get())) return same;
        Log::error(true, "Parameter '%s' is already defined with another type", name.c_str());
        throw Exception::TypeRequest("parameter defined twice with different types: " + name);
    }
    OfxPropertySetHandle props = nullptr;
    auto paramDefine = Private::requireFunction(Private::paramSuite().paramDefine, "paramDefine");
    throwSuiteStatusException(paramDefine(handle_, mapParamTypeEnumToString(Descriptor::kType), name.c_str(), &props));
    std::unique_ptr<Descriptor> made;
    if constexpr (std::is_same_v<Descriptor, ParametricParamDescriptor>) {
        made = std::make_unique<Descriptor>(name, props, handle_);
    } else {
        made = std::make_unique<Descriptor>(name, props);
    }
    Descriptor* descriptor = made.get();
    byName_.emplace(name, std::move(made));
    inOrder_.push_back(descriptor);
    return descriptor;
}

IntParamDescriptor* ParamSetDescriptor::defineIntParam(const std::string& name) {
    return define<IntParamDescriptor>(name);
}

Int2DParamDescriptor* ParamSetDescriptor::defineInt2DParam(const std::string& name) {
    return define<Int2DParamDescriptor>(name);
}

Int3DParamDescriptor* ParamSetDescriptor::defineInt3DParam(const std::string& name) {
    return define<Int3DParamDescriptor>(name);
}

DoubleParamDescriptor* ParamSetDescriptor::defineDoubleParam(const std::string& name) {
    return define<DoubleParamDescriptor>(name);
}

Double2DParamDescriptor* ParamSetDescriptor::defineDouble2DParam(const std::string& name) {
    return define<Double2DParamDescriptor>(name);
}

Double3DParamDescriptor* ParamSetDescriptor::defineDouble3DParam(const std::string& name) {
    return define<Double3DParamDescriptor>(name);
}

RGBParamDescriptor* ParamSetDescriptor::defineRGBParam(const std::string& name) {
    return define<RGBParamDescriptor>(name);
}

RGBAParamDescriptor* ParamSetDescriptor::defineRGBAParam(const std::string& name) {
    return define<RGBAParamDescriptor>(name);
}

BooleanParamDescriptor* ParamSetDescriptor::defineBooleanParam(const std::string& name) {
    return define<BooleanParamDescriptor>(name);
}

ChoiceParamDescriptor* ParamSetDescriptor::defineChoiceParam(const std::string& name) {
    return define<ChoiceParamDescriptor>(name);
}

StringParamDescriptor* ParamSetDescriptor::defineStringParam(const std::string& name) {
    return define<StringParamDescriptor>(name);
}

CustomParamDescriptor* ParamSetDescriptor::defineCustomParam(const std::string& name) {
    return define<CustomParamDescriptor>(name);
}

ImageParamDescriptor* ParamSetDescriptor::defineImageParam(const std::string& name) {
    return define<ImageParamDescriptor>(name);
}

GroupParamDescriptor* ParamSetDescriptor::defineGroupParam(const std::string& name) {
    return define<GroupParamDescriptor>(name);
}

PageParamDescriptor* ParamSetDescriptor::definePageParam(const std::string& name) {
    return define<PageParamDescriptor>(name);
}

PushButtonParamDescriptor* ParamSetDescriptor::definePushButtonParam(const std::string& name) {
    return define<PushButtonParamDescriptor>(name);
}

ParametricParamDescriptor* ParamSetDescriptor::defineParametricParam(const std::string& name) {
    return define<ParametricParamDescriptor>(name);
}

ParamDescriptor* ParamSetDescriptor::getParamDescriptor(const std::string& name) const {
    auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second.get();
}

}  // namespace OFX
