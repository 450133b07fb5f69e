#include "Params.h"

#include <climits>
#include <stdexcept>

#include "Log.h"
#include "ParamSuite.h"

namespace OFX {

namespace Private {

const OfxParameterSuiteV1& paramSuite() {
    if (!gParamSuite) throw Exception::Suite(kOfxStatErrUnsupported, kOfxParameterSuite);
    return *gParamSuite;
}

const OfxParametricParameterSuiteV1& parametricSuite() {
    if (!gParametricParameterSuite) throw Exception::Suite(kOfxStatErrUnsupported, kOfxParametricParameterSuite);
    return *gParametricParameterSuite;
}

OfxParamHandle paramHandle(OfxParamSetHandle paramSet, const std::string& name) {
    OfxParamHandle handle = nullptr;
    auto getHandle = requireFunction(paramSuite().paramGetHandle, "paramGetHandle");
    throwSuiteStatusException(getHandle(paramSet, name.c_str(), &handle, nullptr));
    return handle;
}

}  // namespace Private

namespace {

using Private::paramSuite;
using Private::requireFunction;

constexpr const char* kKeyIndexOutOfRange = "ValueParam::getKeyTime key index out of range";

ParamInvalidateEnum invalidationFromName(const std::string& name) {
    if (name == kOfxParamInvalidateValueChangeToEnd) return eCacheInvalidateValueChangeToEnd;
    if (name == kOfxParamInvalidateAll) return eCacheInvalidateValueAll;
    return eCacheInvalidateValueChange;
}

}  // namespace

// Param

Param::Param(ParamSet& owner, std::string name, ParamTypeEnum type, OfxParamHandle handle, OfxPropertySetHandle props)
    : owner_(&owner), name_(std::move(name)), type_(type), handle_(handle), props_(props) {}

std::string Param::getLabel() const { return props_.propGetString(kOfxPropLabel); }

void Param::getLabels(std::string& label, std::string& shortLabel, std::string& longLabel) const {
    label = props_.propGetString(kOfxPropLabel);
    shortLabel = props_.propGetString(kOfxPropShortLabel);
    longLabel = props_.propGetString(kOfxPropLongLabel);
}

void Param::setLabels(const std::string& label, const std::string& shortLabel, const std::string& longLabel) {
    props_.propSetString(kOfxPropLabel, label);
    props_.propSetString(kOfxPropShortLabel, shortLabel);
    props_.propSetString(kOfxPropLongLabel, longLabel);
}

std::string Param::getHint() const { return props_.propGetString(kOfxParamPropHint); }

void Param::setHint(const std::string& hint) { props_.propSetString(kOfxParamPropHint, hint); }

std::string Param::getScriptName() const { return props_.propGetString(kOfxParamPropScriptName); }

bool Param::getIsSecret() const { return props_.propGetInt(kOfxParamPropSecret) != 0; }

void Param::setIsSecret(bool secret) { props_.propSetInt(kOfxParamPropSecret, secret); }

bool Param::getIsEnable() const { return props_.propGetInt(kOfxParamPropEnabled) != 0; }

void Param::setEnabled(bool enabled) { props_.propSetInt(kOfxParamPropEnabled, enabled); }

GroupParam* Param::getParent() const {
    const std::string parent = props_.propGetString(kOfxParamPropParent);
    return parent.empty() ? nullptr : owner_->fetchGroupParam(parent);
}

// ValueParam

bool ValueParam::getIsAnimating() const { return getPropertySet().propGetInt(kOfxParamPropIsAnimating) != 0; }

bool ValueParam::getIsAutoKeying() const { return getPropertySet().propGetInt(kOfxParamPropIsAutoKeying) != 0; }

bool ValueParam::getIsPersistant() const { return getPropertySet().propGetInt(kOfxParamPropPersistant) != 0; }

bool ValueParam::getEvaluateOnChange() const { return getPropertySet().propGetInt(kOfxParamPropEvaluateOnChange) != 0; }

bool ValueParam::getCanAnimate() const { return getPropertySet().propGetInt(kOfxParamPropAnimates) != 0; }

ParamInvalidateEnum ValueParam::getCacheInvalidation() const {
    return invalidationFromName(getPropertySet().propGetString(kOfxParamPropCacheInvalidation));
}

int ValueParam::getNumKeys() const {
    unsigned int keys = 0;
    auto getNumKeys = requireFunction(paramSuite().paramGetNumKeys, "paramGetNumKeys");
    throwSuiteStatusException(getNumKeys(getHandle(), &keys));
    // Note: a count past INT_MAX cannot be indexed by getKeyTime anyway.
    return keys > static_cast<unsigned int>(INT_MAX) ? INT_MAX : static_cast<int>(keys);
}

double ValueParam::getKeyTime(int index) const {
    if (index < 0 || index >= getNumKeys()) throw std::out_of_range(kKeyIndexOutOfRange);
    OfxTime time = 0;
    auto getKeyTime = requireFunction(paramSuite().paramGetKeyTime, "paramGetKeyTime");
    const OfxStatus status = getKeyTime(getHandle(), static_cast<unsigned int>(index), &time);
    // The keys may have changed since they were counted.
    if (status == kOfxStatErrBadIndex) throw std::out_of_range(kKeyIndexOutOfRange);
    throwSuiteStatusException(status);
    return time;
}

int ValueParam::getKeyIndex(double time, KeySearchEnum search) const {
    int index = -1;
    auto getKeyIndex = requireFunction(paramSuite().paramGetKeyIndex, "paramGetKeyIndex");
    const OfxStatus status = getKeyIndex(getHandle(), time, search, &index);
    if (status == kOfxStatFailed) return -1;
    throwSuiteStatusException(status);
    return index;
}

void ValueParam::deleteKeyAtTime(double time) {
    auto deleteKey = requireFunction(paramSuite().paramDeleteKey, "paramDeleteKey");
    throwSuiteStatusException(deleteKey(getHandle(), time));
}

void ValueParam::deleteAllKeys() {
    auto deleteAllKeys = requireFunction(paramSuite().paramDeleteAllKeys, "paramDeleteAllKeys");
    throwSuiteStatusException(deleteAllKeys(getHandle()));
}

void ValueParam::copyFrom(const ValueParam& from, double offset, const OfxRangeD* range) {
    auto copy = requireFunction(paramSuite().paramCopy, "paramCopy");
    throwSuiteStatusException(copy(getHandle(), from.getHandle(), offset, range));
}

void ValueParam::setKeyframeInterpolation(double time, KeyframeInterpolationEnum interpolation) {
    if (!Private::gKeyframeSuite) return;
    auto setInterpolation =
        requireFunction(Private::gKeyframeSuite->paramSetKeyframeInterpolation, "paramSetKeyframeInterpolation");
    throwSuiteStatusException(setInterpolation(getHandle(), time, static_cast<int>(interpolation)));
}

// ParamSet

ParamSet::~ParamSet() = default;

bool ParamSet::paramExists(const std::string& name) const {
    OfxParamHandle handle = nullptr;
    auto getHandle = requireFunction(paramSuite().paramGetHandle, "paramGetHandle");
    return getHandle(handle_, name.c_str(), &handle, nullptr) == kOfxStatOK;
}

ParamTypeEnum ParamSet::getParamType(const std::string& name) const { return lookUp(name).type; }

ParamSet::Found ParamSet::lookUp(const std::string& name) const {
    Found found{nullptr, nullptr, eDummyParam};
    auto getHandle = requireFunction(paramSuite().paramGetHandle, "paramGetHandle");
    throwSuiteStatusException(getHandle(handle_, name.c_str(), &found.handle, &found.props));
    found.type = mapParamTypeStringToEnum(PropertySet(found.props).propGetString(kOfxParamPropType));
    return found;
}

Param* ParamSet::find(const std::string& name) const {
    auto stored = params_.find(name);
    return stored == params_.end() ? nullptr : stored->second.get();
}

Param* ParamSet::keep(std::unique_ptr<Param> param) {
    Param* kept = param.get();
    params_[kept->getName()] = std::move(param);
    return kept;
}

template <class Kind>
Kind* ParamSet::fetch(const std::string& name) {
    if (Param* stored = find(name)) {
        if (auto* kind = dynamic_cast<Kind*>(stored)) return kind;
        Log::error(true, "Fetching param and attempting to return the wrong type");
        throw Exception::TypeRequest("parameter '" + name + "' was fetched before as another type");
    }
    const Found found = lookUp(name);
    if (found.type != Kind::kType) {
        Log::error(true, "Parameter exists but is of the wrong type");
        throw Exception::TypeRequest("parameter '" + name + "' is of another type");
    }
    return static_cast<Kind*>(make<Kind>(name, found));
}

template <class Kind>
Param* ParamSet::make(const std::string& name, const Found& found) {
    return keep(std::make_unique<Kind>(*this, name, found.handle, found.props));
}

Param* ParamSet::getParam(const std::string& name) {
    if (Param* stored = find(name)) return stored;
    const Found found = lookUp(name);
    switch (found.type) {
        case eIntParam: return make<IntParam>(name, found);
        case eInt2DParam: return make<Int2DParam>(name, found);
        case eInt3DParam: return make<Int3DParam>(name, found);
        case eDoubleParam: return make<DoubleParam>(name, found);
        case eDouble2DParam: return make<Double2DParam>(name, found);
        case eDouble3DParam: return make<Double3DParam>(name, found);
        case eRGBParam: return make<RGBParam>(name, found);
        case eRGBAParam: return make<RGBAParam>(name, found);
        case eBooleanParam: return make<BooleanParam>(name, found);
        case eChoiceParam: return make<ChoiceParam>(name, found);
        case eStringParam: return make<StringParam>(name, found);
        case eCustomParam: return make<CustomParam>(name, found);
        case eImageParam: return make<ImageParam>(name, found);
        case eGroupParam: return make<GroupParam>(name, found);
        case ePageParam: return make<PageParam>(name, found);
        case ePushButtonParam: return make<PushButtonParam>(name, found);
        case eParametricParam: return make<ParametricParam>(name, found);
        case eDummyParam: break;
    }
    // A kind the frame does not know still has a name, labels and a state.
    return keep(std::make_unique<Param>(*this, name, eDummyParam, found.handle, found.props));
}

IntParam* ParamSet::fetchIntParam(const std::string& name) { return fetch<IntParam>(name); }
Int2DParam* ParamSet::fetchInt2DParam(const std::string& name) { return fetch<Int2DParam>(name); }
Int3DParam* ParamSet::fetchInt3DParam(const std::string& name) { return fetch<Int3DParam>(name); }
DoubleParam* ParamSet::fetchDoubleParam(const std::string& name) { return fetch<DoubleParam>(name); }
Double2DParam* ParamSet::fetchDouble2DParam(const std::string& name) { return fetch<Double2DParam>(name); }
Double3DParam* ParamSet::fetchDouble3DParam(const std::string& name) { return fetch<Double3DParam>(name); }
RGBParam* ParamSet::fetchRGBParam(const std::string& name) { return fetch<RGBParam>(name); }
RGBAParam* ParamSet::fetchRGBAParam(const std::string& name) { return fetch<RGBAParam>(name); }
BooleanParam* ParamSet::fetchBooleanParam(const std::string& name) { return fetch<BooleanParam>(name); }
ChoiceParam* ParamSet::fetchChoiceParam(const std::string& name) { return fetch<ChoiceParam>(name); }
StringParam* ParamSet::fetchStringParam(const std::string& name) { return fetch<StringParam>(name); }
CustomParam* ParamSet::fetchCustomParam(const std::string& name) { return fetch<CustomParam>(name); }
ImageParam* ParamSet::fetchImageParam(const std::string& name) { return fetch<ImageParam>(name); }
GroupParam* ParamSet::fetchGroupParam(const std::string& name) { return fetch<GroupParam>(name); }
PageParam* ParamSet::fetchPageParam(const std::string& name) { return fetch<PageParam>(name); }
PushButtonParam* ParamSet::fetchPushButtonParam(const std::string& name) { return fetch<PushButtonParam>(name); }
ParametricParam* ParamSet::fetchParametricParam(const std::string& name) { return fetch<ParametricParam>(name); }

void ParamSet::beginEditBlock(const std::string& name) {
    auto editBegin = requireFunction(paramSuite().paramEditBegin, "paramEditBegin");
    throwSuiteStatusException(editBegin(handle_, name.c_str()));
}

void ParamSet::endEditBlock() {
    auto editEnd = requireFunction(paramSuite().paramEditEnd, "paramEditEnd");
    throwSuiteStatusException(editEnd(handle_));
}

}  // namespace OFX
