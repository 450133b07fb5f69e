#include "ofxhost/Param.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>

#include "ofxImageEffect.h"
#include "ofxParametricParam.h"
#include "ofxTalvo.h"
#include "ofxhost/Effect.h"

namespace ofxhost {

const std::vector<ParamType>& paramTypes() {
    static const std::vector<ParamType> types = {
        {kOfxParamTypeInteger, ValueKind::Int, 1},
        {kOfxParamTypeDouble, ValueKind::Double, 1},
        {kOfxParamTypeBoolean, ValueKind::Bool, 1},
        {kOfxParamTypeChoice, ValueKind::Choice, 1},
        {kOfxParamTypeRGBA, ValueKind::Double, 4},
        {kOfxParamTypeRGB, ValueKind::Double, 3},
        {kOfxParamTypeDouble2D, ValueKind::Double, 2},
        {kOfxParamTypeInteger2D, ValueKind::Int, 2},
        {kOfxParamTypeDouble3D, ValueKind::Double, 3},
        {kOfxParamTypeInteger3D, ValueKind::Int, 3},
        {kOfxParamTypeString, ValueKind::String, 1},
        {kOfxParamTypeCustom, ValueKind::Custom, 1},
        {kOfxParamTypeImage, ValueKind::String, 1},
        {kOfxParamTypeGroup, ValueKind::None, 0},
        {kOfxParamTypePage, ValueKind::None, 0},
        {kOfxParamTypePushButton, ValueKind::None, 0},
        {kOfxParamTypeParametric, ValueKind::Parametric, 0},
    };
    return types;
}

const ParamType* findParamType(std::string_view name) {
    for (const auto& t : paramTypes())
        if (name == t.ofxName) return &t;
    return nullptr;
}

namespace {

bool isNumeric(ValueKind k) {
    return k == ValueKind::Int || k == ValueKind::Double || k == ValueKind::Bool || k == ValueKind::Choice;
}

std::vector<std::string> dimensionLabels(const ParamType& t) {
    const bool colour =
        t.ofxName == std::string_view(kOfxParamTypeRGB) || t.ofxName == std::string_view(kOfxParamTypeRGBA);
    static const char* rgba[] = {"r", "g", "b", "a"};
    static const char* xyz[] = {"x", "y", "z"};
    const char** names = colour ? rgba : xyz;
    return std::vector<std::string>(names, names + t.dims);
}

// The published properties of a parameter descriptor of this type.
void defineProperties(PropertySet& p, const ParamType& t, const std::string& name) {
    p.defineString(kOfxPropType, {kOfxTypeParameter});
    p.defineString(kOfxPropName, {name});
    p.defineString(kOfxPropLabel, {name});
    p.defineString(kOfxPropShortLabel, {name});
    p.defineString(kOfxPropLongLabel, {name});
    p.defineString(kOfxParamPropType, {t.ofxName});
    p.defineInt(kOfxParamPropSecret, {0});
    p.defineString(kOfxParamPropHint, {""});
    p.defineString(kOfxParamPropScriptName, {name});
    p.defineString(kOfxParamPropParent, {""});
    p.defineInt(kOfxParamPropEnabled, {1});
    p.definePointer(kOfxParamPropDataPtr, {nullptr});
    p.defineString(kOfxPropIcon, {"", ""});

    if (t.ofxName == std::string_view(kOfxParamTypePage)) {
        p.defineString(kOfxParamPropPageChild, {}, true);
        return;
    }
    if (t.ofxName == std::string_view(kOfxParamTypeGroup)) {
        p.defineInt(kOfxParamPropGroupOpen, {1});
        return;
    }
    if (t.kind == ValueKind::None) return;

    p.definePointer(kOfxParamPropInteractV1, {nullptr});
    p.defineDouble(kOfxParamPropInteractSize, {0.0, 0.0});
    p.defineDouble(kOfxParamPropInteractSizeAspect, {1.0});
    p.defineInt(kOfxParamPropInteractMinimumSize, {10, 10});
    p.defineInt(kOfxParamPropInteractPreferedSize, {10, 10});
    p.defineInt(kOfxParamPropHasHostOverlayHandle, {0});
    p.defineInt(kOfxParamPropUseHostOverlayHandle, {0});
    p.defineInt(kOfxParamPropAnimates, {t.kind == ValueKind::Parametric ? 0 : 1});
    p.defineInt(kOfxParamPropIsAnimating, {0});
    p.defineInt(kOfxParamPropIsAutoKeying, {0});
    p.defineInt(kOfxParamPropPersistant, {1});
    p.defineInt(kOfxParamPropEvaluateOnChange, {1});
    p.defineInt(kOfxParamPropPluginMayWrite, {0});
    p.defineInt(kOfxParamPropCanUndo, {1});
    p.defineString(kOfxParamPropCacheInvalidation, {kOfxParamInvalidateValueChange});

    switch (t.kind) {
        case ValueKind::Int:
            p.defineInt(kOfxParamPropDefault, std::vector<int>(t.dims, 0));
            p.defineInt(kOfxParamPropMin, std::vector<int>(t.dims, INT_MIN));
            p.defineInt(kOfxParamPropMax, std::vector<int>(t.dims, INT_MAX));
            p.defineInt(kOfxParamPropDisplayMin, std::vector<int>(t.dims, INT_MIN));
            p.defineInt(kOfxParamPropDisplayMax, std::vector<int>(t.dims, INT_MAX));
            if (t.dims > 1) p.defineString(kOfxParamPropDimensionLabel, dimensionLabels(t));
            break;
        case ValueKind::Double:
            p.defineDouble(kOfxParamPropDefault, std::vector<double>(t.dims, 0.0));
            p.defineDouble(kOfxParamPropMin, std::vector<double>(t.dims, -DBL_MAX));
            p.defineDouble(kOfxParamPropMax, std::vector<double>(t.dims, DBL_MAX));
            p.defineDouble(kOfxParamPropDisplayMin, std::vector<double>(t.dims, -DBL_MAX));
            p.defineDouble(kOfxParamPropDisplayMax, std::vector<double>(t.dims, DBL_MAX));
            p.defineDouble(kOfxParamPropIncrement, {1.0});
            p.defineInt(kOfxParamPropDigits, {2});
            p.defineString(kOfxParamPropDoubleType, {kOfxParamDoubleTypePlain});
            p.defineString(kOfxParamPropDefaultCoordinateSystem, {kOfxParamCoordinatesCanonical});
            p.defineInt(kOfxParamPropShowTimeMarker, {0});
            if (t.dims > 1) p.defineString(kOfxParamPropDimensionLabel, dimensionLabels(t));
            break;
        case ValueKind::Bool: p.defineInt(kOfxParamPropDefault, {0}); break;
        case ValueKind::Choice:
            p.defineInt(kOfxParamPropDefault, {0});
            p.defineString(kOfxParamPropChoiceOption, {}, true);
            p.defineInt(kOfxParamPropChoiceOrder, {}, true);
            break;
        case ValueKind::String:
            p.defineString(kOfxParamPropDefault, {""});
            p.defineString(kOfxParamPropStringMode, {kOfxParamStringIsSingleLine});
            p.defineInt(kOfxParamPropStringFilePathExists, {1});
            break;
        case ValueKind::Custom:
            p.defineString(kOfxParamPropDefault, {""});
            p.definePointer(kOfxParamPropCustomInterpCallbackV1, {nullptr});
            break;
        case ValueKind::Parametric:
            p.defineInt(kOfxParamPropParametricDimension, {1});
            p.defineDouble(kOfxParamPropParametricUIColour, {}, true);
            p.definePointer(kOfxParamPropParametricInteractBackground, {nullptr});
            p.defineDouble(kOfxParamPropParametricRange, {0.0, 1.0});
            break;
        case ValueKind::None: break;
    }
}

double lerp(double a, double b, double t) { return a + (b - a) * t; }

struct Axes {
    int axis[4] = {-1, -1, -1, -1};  // per dimension: 0 x, 1 y, -1 none
    bool absolute = false;
};

// The axes of a double type, normalised or not ("OfxParamDoubleTypeXYAbsolute").
Axes axesOf(const Param& param) {
    Axes a;
    if (param.type().kind != ValueKind::Double) return a;
    const PropertySet& p = param.props();
    if (!p.has(kOfxParamPropDoubleType) || p.type(kOfxParamPropDoubleType) != PropType::String) return a;
    std::string t = p.getString(kOfxParamPropDoubleType);
    const std::string prefix = "OfxParamDoubleType";
    if (t.rfind(prefix, 0) != 0) return a;
    t = t.substr(prefix.size());
    if (t.rfind("Normalised", 0) == 0) t = t.substr(10);
    if (t.size() > 8 && t.compare(t.size() - 8, 8, "Absolute") == 0) {
        a.absolute = true;
        t.resize(t.size() - 8);
    }
    const int dims = param.type().dims;
    if (t == "X" || t == "Y") {
        for (int i = 0; i < dims; ++i) a.axis[i] = t == "X" ? 0 : 1;
    } else if (t == "XY" && dims >= 2) {
        a.axis[0] = 0;
        a.axis[1] = 1;
    }
    return a;
}

}  // namespace

Normalisation normalisationOf(const Param& param) {
    if (param.type().kind != ValueKind::Double) return Normalisation::None;
    const PropertySet& p = param.props();
    const std::string type = p.has(kOfxParamPropDoubleType) && p.type(kOfxParamPropDoubleType) == PropType::String
                                 ? p.getString(kOfxParamPropDoubleType)
                                 : "";
    if (type.rfind("OfxParamDoubleTypeNormalised", 0) == 0)
        return axesOf(param).axis[0] >= 0 ? Normalisation::Values : Normalisation::None;
    const bool normalisedDefault = p.has(kOfxParamPropDefaultCoordinateSystem) &&
                                   p.type(kOfxParamPropDefaultCoordinateSystem) == PropType::String &&
                                   p.getString(kOfxParamPropDefaultCoordinateSystem) == kOfxParamCoordinatesNormalised;
    return normalisedDefault && axesOf(param).axis[0] >= 0 ? Normalisation::Default : Normalisation::None;
}

ParamValue toCanonical(const Param& param, ParamValue v, const ProjectFrame& f) {
    const Axes a = axesOf(param);
    for (int i = 0; i < 4; ++i) {
        if (a.axis[i] < 0) continue;
        v.n[i] = v.n[i] * (a.axis[i] == 0 ? f.width : f.height) + (a.absolute ? (a.axis[i] == 0 ? f.x : f.y) : 0.0);
    }
    return v;
}

ParamValue fromCanonical(const Param& param, ParamValue v, const ProjectFrame& f) {
    const Axes a = axesOf(param);
    for (int i = 0; i < 4; ++i) {
        if (a.axis[i] < 0) continue;
        const double size = a.axis[i] == 0 ? f.width : f.height;
        if (size == 0.0) continue;
        v.n[i] = (v.n[i] - (a.absolute ? (a.axis[i] == 0 ? f.x : f.y) : 0.0)) / size;
    }
    return v;
}

ProjectFrame projectOf(const Param& param) {
    ProjectFrame f;
    // Only instances carry a project; descriptors and sets of their own do not.
    const EffectObject* effect = EffectObject::fromHandle(param.owner().effectHandle());
    if (!effect) return f;
    const PropertySet& p = effect->props();
    if (p.has(kOfxImageEffectPropProjectSize) && p.dimension(kOfxImageEffectPropProjectSize) >= 2) {
        const auto size = p.getDoubles(kOfxImageEffectPropProjectSize);
        f.width = size[0];
        f.height = size[1];
    }
    if (p.has(kOfxImageEffectPropProjectOffset) && p.dimension(kOfxImageEffectPropProjectOffset) >= 2) {
        const auto offset = p.getDoubles(kOfxImageEffectPropProjectOffset);
        f.x = offset[0];
        f.y = offset[1];
    }
    return f;
}

Param::Param(ParamSet& owner, const ParamType& type, std::string name)
    : owner_(owner), type_(type), name_(std::move(name)), props_(true) {
    defineProperties(props_, type_, name_);
}

Param::Param(ParamSet& owner, const Param& d) : owner_(owner), type_(d.type_), name_(d.name_), props_(d.props_) {
    props_.setExtensible(false);
    props_.setString(kOfxPropType, kOfxTypeParameterInstance);
    value_ = d.defaultValue();
    normalisedDefault_ = normalisationOf(*this) == Normalisation::Default;
    std::lock_guard lock(d.mutex_);
    curves_ = d.curves_;
}

ParamValue Param::defaultValue() const {
    ParamValue v;
    if (!props_.has(kOfxParamPropDefault)) return v;
    switch (props_.type(kOfxParamPropDefault)) {
        case PropType::Int: {
            auto ints = props_.getInts(kOfxParamPropDefault);
            for (std::size_t i = 0; i < ints.size() && i < 4; ++i) v.n[i] = ints[i];
            break;
        }
        case PropType::Double: {
            auto ds = props_.getDoubles(kOfxParamPropDefault);
            for (std::size_t i = 0; i < ds.size() && i < 4; ++i) v.n[i] = ds[i];
            break;
        }
        case PropType::String: v.s = props_.getString(kOfxParamPropDefault); break;
        case PropType::Pointer: break;
    }
    return v;
}

OfxStatus Param::normalise(ParamValue& v) const {
    if (!hasValue()) return kOfxStatErrValue;
    if (!isNumeric(type_.kind)) return kOfxStatOK;
    for (int i = 0; i < type_.dims; ++i)
        if (!std::isfinite(v.n[i])) return kOfxStatErrValue;
    switch (type_.kind) {
        case ValueKind::Bool: v.n[0] = v.n[0] != 0 ? 1 : 0; break;
        case ValueKind::Choice: {
            const int options = props_.dimension(kOfxParamPropChoiceOption);
            if (v.n[0] != std::floor(v.n[0]) || v.n[0] < 0 || v.n[0] >= options) return kOfxStatErrValue;
            break;
        }
        case ValueKind::Int:
        case ValueKind::Double:
            for (int i = 0; i < type_.dims; ++i) {
                double lo, hi;
                if (type_.kind == ValueKind::Int) {
                    v.n[i] = std::round(v.n[i]);
                    lo = props_.getInt(kOfxParamPropMin, i);
                    hi = props_.getInt(kOfxParamPropMax, i);
                } else {
                    lo = props_.getDouble(kOfxParamPropMin, i);
                    hi = props_.getDouble(kOfxParamPropMax, i);
                }
                if (lo <= hi) v.n[i] = std::clamp(v.n[i], lo, hi);
            }
            break;
        default: break;
    }
    return kOfxStatOK;
}

ParamValue Param::baseValue() const {
    return normalisedDefault_ ? toCanonical(*this, value_, projectOf(*this)) : value_;
}

ParamValue Param::valueAt(double time) const {
    std::unique_lock lock(mutex_);
    if (keys_.empty()) return baseValue();
    if (type_.kind == ValueKind::Custom) {
        auto after = keys_.upper_bound(time);
        if (after != keys_.begin() && after != keys_.end()) {
            auto before = std::prev(after);
            if (before->first != time) {
                // The callback may read other parameters: run it without our lock.
                auto a = *before;
                auto b = *after;
                lock.unlock();
                return customInterpolate(time, a, b);
            }
        }
    }
    return interpolate(time);
}

ParamValue Param::interpolate(double time) const {
    auto after = keys_.upper_bound(time);
    if (after == keys_.begin()) return after->second;
    auto before = std::prev(after);
    if (after == keys_.end() || before->first == time) return before->second;
    if (type_.kind != ValueKind::Int && type_.kind != ValueKind::Double) return before->second;
    const double t = (time - before->first) / (after->first - before->first);
    ParamValue v;
    for (int i = 0; i < type_.dims; ++i) {
        v.n[i] = lerp(before->second.n[i], after->second.n[i], t);
        if (type_.kind == ValueKind::Int) v.n[i] = std::round(v.n[i]);
    }
    return v;
}

ParamValue Param::customInterpolate(double time, const std::pair<const double, ParamValue>& a,
                                    const std::pair<const double, ParamValue>& b) const {
    auto* fn = reinterpret_cast<OfxCustomParamInterpFuncV1*>(props_.getPointer(kOfxParamPropCustomInterpCallbackV1));
    if (!fn) return a.second;
    PropertySet in, out;
    in.defineDouble(kOfxPropTime, {time});
    in.defineString(kOfxPropName, {name_});
    in.defineString(kOfxParamPropCustomValue, {a.second.s, b.second.s});
    in.defineDouble(kOfxParamPropInterpolationTime, {a.first, b.first});
    in.defineDouble(kOfxParamPropInterpolationAmount, {(time - a.first) / (b.first - a.first)});
    out.defineString(kOfxParamPropCustomValue, {a.second.s});
    // The published signature names a parameter set; plug-ins written on the
    // support library read it as their effect instance, so that is what they
    // get. The parameter suite accepts an effect handle as a parameter set.
    const OfxStatus s =
        fn(static_cast<OfxParamSetHandle>(const_cast<void*>(owner_.effectHandle())), in.handle(), out.handle());
    if (s != kOfxStatOK) return a.second;
    ParamValue v;
    v.s = out.getString(kOfxParamPropCustomValue);
    return v;
}

OfxStatus Param::setValue(const ParamValue& v) {
    ParamValue n = v;
    if (OfxStatus s = normalise(n); s != kOfxStatOK) return s;
    std::lock_guard lock(mutex_);
    if (keys_.empty()) {
        value_ = n;
        normalisedDefault_ = false;
    } else
        keys_[owner_.currentTime()] = n;
    return kOfxStatOK;
}

OfxStatus Param::setValueAtTime(double time, const ParamValue& v) {
    if (!std::isfinite(time)) return kOfxStatErrValue;
    ParamValue n = v;
    if (OfxStatus s = normalise(n); s != kOfxStatOK) return s;
    if (props_.has(kOfxParamPropAnimates) && props_.getInt(kOfxParamPropAnimates) == 0) return kOfxStatFailed;
    {
        std::lock_guard lock(mutex_);
        keys_[time] = n;
    }
    props_.setInt(kOfxParamPropIsAnimating, 1);
    return kOfxStatOK;
}

OfxStatus Param::derivative(double time, ParamValue& out) const {
    if (type_.kind != ValueKind::Double) return kOfxStatErrUnsupported;
    out = ParamValue{};
    std::lock_guard lock(mutex_);
    if (keys_.size() < 2) return kOfxStatOK;
    auto after = keys_.upper_bound(time);
    if (after == keys_.begin() || after == keys_.end()) return kOfxStatOK;
    auto before = std::prev(after);
    const double dt = after->first - before->first;
    for (int i = 0; i < type_.dims; ++i) out.n[i] = (after->second.n[i] - before->second.n[i]) / dt;
    return kOfxStatOK;
}

OfxStatus Param::integral(double t1, double t2, ParamValue& out) const {
    if (type_.kind != ValueKind::Double) return kOfxStatErrUnsupported;
    if (!std::isfinite(t1) || !std::isfinite(t2)) return kOfxStatErrValue;
    out = ParamValue{};
    const double sign = t2 < t1 ? -1.0 : 1.0;
    if (t2 < t1) std::swap(t1, t2);
    std::lock_guard lock(mutex_);
    // The curve is piecewise linear between its breakpoints (the keys), and
    // constant outside them: integrate each linear piece exactly.
    std::vector<double> cuts{t1};
    for (const auto& [t, v] : keys_)
        if (t > t1 && t < t2) cuts.push_back(t);
    cuts.push_back(t2);
    for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
        const ParamValue a = keys_.empty() ? baseValue() : interpolate(cuts[k]);
        const ParamValue b = keys_.empty() ? baseValue() : interpolate(cuts[k + 1]);
        for (int i = 0; i < type_.dims; ++i) out.n[i] += (a.n[i] + b.n[i]) * 0.5 * (cuts[k + 1] - cuts[k]);
    }
    for (int i = 0; i < type_.dims; ++i) out.n[i] *= sign;
    return kOfxStatOK;
}

std::vector<double> Param::keyTimes() const {
    std::lock_guard lock(mutex_);
    std::vector<double> out;
    for (const auto& [t, v] : keys_) out.push_back(t);
    return out;
}

OfxStatus Param::setKeyInterpolation(double time, int interpolation) {
    std::lock_guard lock(mutex_);
    if (!keys_.count(time)) return kOfxStatErrBadIndex;
    keyInterpolations_[time] = interpolation;
    return kOfxStatOK;
}

OfxStatus Param::keyInterpolation(double time, int& interpolation) const {
    std::lock_guard lock(mutex_);
    if (!keys_.count(time)) return kOfxStatErrBadIndex;
    const auto it = keyInterpolations_.find(time);
    interpolation = it == keyInterpolations_.end() ? 0 : it->second;
    return kOfxStatOK;
}

OfxStatus Param::deleteKey(double time) {
    bool last = false;
    {
        std::lock_guard lock(mutex_);
        auto it = keys_.find(time);
        if (it == keys_.end()) return kOfxStatErrBadIndex;
        // The value of the last key stays as the parameter's value.
        if (keys_.size() == 1) {
            value_ = it->second;
            normalisedDefault_ = false;
            last = true;
        }
        keys_.erase(it);
        keyInterpolations_.erase(time);
    }
    if (last) props_.setInt(kOfxParamPropIsAnimating, 0);
    return kOfxStatOK;
}

void Param::deleteAllKeys() {
    {
        std::lock_guard lock(mutex_);
        if (!keys_.empty()) {
            value_ = interpolate(owner_.currentTime());
            normalisedDefault_ = false;
        }
        keys_.clear();
        keyInterpolations_.clear();
    }
    if (props_.has(kOfxParamPropIsAnimating)) props_.setInt(kOfxParamPropIsAnimating, 0);
}

OfxStatus Param::copyFrom(const Param& from, double offset, const OfxRangeD* range) {
    if (&from.type_ != &type_) return kOfxStatErrValue;
    if (&from == this) return kOfxStatOK;
    ParamValue value;
    std::map<double, ParamValue> keys;
    {
        std::lock_guard lock(from.mutex_);
        value = from.baseValue();
        for (const auto& [t, v] : from.keys_)
            if (!range || (t >= range->min && t <= range->max)) keys[t + offset] = v;
    }
    std::lock_guard lock(mutex_);
    value_ = value;
    normalisedDefault_ = false;
    keys_ = std::move(keys);
    keyInterpolations_.clear();
    return kOfxStatOK;
}

int Param::curveCount() const {
    if (type_.kind != ValueKind::Parametric) return 0;
    return std::max(0, props_.getInt(kOfxParamPropParametricDimension));
}

OfxStatus Param::curve(int index, Curve& out) const {
    if (type_.kind != ValueKind::Parametric) return kOfxStatErrBadHandle;
    if (index < 0 || index >= curveCount()) return kOfxStatErrBadIndex;
    std::lock_guard lock(mutex_);
    out = static_cast<std::size_t>(index) < curves_.size() ? curves_[index] : Curve{};
    return kOfxStatOK;
}

OfxStatus Param::setCurve(int index, Curve c) {
    if (type_.kind != ValueKind::Parametric) return kOfxStatErrBadHandle;
    if (index < 0 || index >= curveCount()) return kOfxStatErrBadIndex;
    for (const auto& [x, y] : c)
        if (!std::isfinite(x) || !std::isfinite(y)) return kOfxStatErrValue;
    std::sort(c.begin(), c.end());
    std::lock_guard lock(mutex_);
    if (curves_.size() <= static_cast<std::size_t>(index)) curves_.resize(index + 1);
    curves_[index] = std::move(c);
    return kOfxStatOK;
}

OfxStatus Param::curveValue(int index, double x, double& out) const {
    Curve c;
    if (OfxStatus s = curve(index, c); s != kOfxStatOK) return s;
    // Linear between control points, flat beyond the ends.
    if (c.empty())
        out = 0.0;
    else if (x <= c.front().first)
        out = c.front().second;
    else if (x >= c.back().first)
        out = c.back().second;
    else {
        auto it = std::upper_bound(c.begin(), c.end(), x, [](double v, const auto& p) { return v < p.first; });
        const auto& b = *it;
        const auto& a = *std::prev(it);
        out = lerp(a.second, b.second, (x - a.first) / (b.first - a.first));
    }
    return kOfxStatOK;
}

ParamSet::ParamSet(const void* effectHandle, const double* currentTime)
    : effectHandle_(effectHandle), currentTime_(currentTime), props_(true) {
    props_.defineString(kOfxPluginPropParamPageOrder, {}, true);
    props_.defineInt(kOfxPropParamSetNeedsSyncing, {0});
}

OfxStatus ParamSet::define(const char* type, const char* name, Param** out) {
    if (!type || !name) return kOfxStatErrValue;
    const ParamType* t = findParamType(type);
    if (!t) return kOfxStatErrUnknown;
    if (byName_.count(std::string_view(name))) return kOfxStatErrExists;
    params_.push_back(std::make_unique<Param>(*this, *t, name));
    byName_.emplace(name, params_.back().get());
    if (out) *out = params_.back().get();
    return kOfxStatOK;
}

void ParamSet::instantiate(const ParamSet& descriptors) {
    props_.merge(descriptors.props_);
    props_.setExtensible(false);
    for (const auto& d : descriptors.params_) {
        params_.push_back(std::make_unique<Param>(*this, *d));
        byName_.emplace(d->name(), params_.back().get());
    }
}

Param* ParamSet::find(std::string_view name) const {
    auto it = byName_.find(name);
    return it == byName_.end() ? nullptr : it->second;
}

Param* ParamSet::findByNameOrScriptName(std::string_view name) const {
    if (Param* p = find(name)) return p;
    for (const auto& p : params_)
        if (p->props().has(kOfxParamPropScriptName) && p->props().getString(kOfxParamPropScriptName) == name)
            return p.get();
    return nullptr;
}

std::string ParamSet::pageOf(const Param& param) const {
    // Walk up the groups: a parameter inside a listed group is on its page.
    std::string name = param.name();
    for (int depth = 0; depth < 64 && !name.empty(); ++depth) {
        for (const auto& p : params_) {
            if (p->type().ofxName != std::string_view(kOfxParamTypePage)) continue;
            for (const auto& child : p->props().getStrings(kOfxParamPropPageChild))
                if (child == name) return p->name();
        }
        const Param* current = find(name);
        name = current ? current->props().getString(kOfxParamPropParent) : "";
    }
    return "";
}

void ParamSet::beginEdit(std::string label) {
    std::lock_guard lock(editMutex_);
    if (editDepth_++ == 0) openBlock_ = EditBlock{std::move(label), {}};
}

OfxStatus ParamSet::endEdit() {
    std::lock_guard lock(editMutex_);
    if (editDepth_ == 0) return kOfxStatFailed;
    if (--editDepth_ == 0) closedBlocks_.push_back(std::move(openBlock_));
    return kOfxStatOK;
}

void ParamSet::noteEdit(const std::string& paramName) {
    std::lock_guard lock(editMutex_);
    if (editDepth_ > 0) {
        auto& changed = openBlock_.changed;
        if (std::find(changed.begin(), changed.end(), paramName) == changed.end()) changed.push_back(paramName);
    }
}

std::vector<ParamSet::EditBlock> ParamSet::editBlocks() const {
    std::lock_guard lock(editMutex_);
    return closedBlocks_;
}

}  // namespace ofxhost
