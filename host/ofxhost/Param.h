// Parameters: descriptors and instances of every published type plus the
// image type of our extension, their property sets, values and keyframes.
//
// Values: numeric types hold up to four numbers (integers, booleans and
// choice indexes are stored as exact doubles), text types hold a string.
// Without keyframes a parameter has one value for all times. With keyframes,
// doubles interpolate linearly between keys and hold the first/last key's
// value outside them; integers interpolate linearly and round to nearest;
// booleans, choices and strings step (the value of the key at or before);
// custom parameters ask the plug-in's "OfxParamPropCustomCallbackV1" for the
// value between two keys, and step when it has none. Numeric values are
// clamped to the parameter's minimum and maximum when set.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ofxParam.h"
#include "ofxhost/Handles.h"
#include "ofxhost/Property.h"

namespace ofxhost {

enum class ValueKind { None, Int, Double, Bool, Choice, String, Custom, Parametric };

struct ParamType {
    const char* ofxName;  // "OfxParamTypeDouble2D"
    ValueKind kind;
    int dims;  // values per time: 0 for types without a value
};

// The type of an OFX type string, or null for a type the host does not know.
const ParamType* findParamType(std::string_view ofxName);
// Every type the host knows, in the order of the published list.
const std::vector<ParamType>& paramTypes();

struct ParamValue {
    std::array<double, 4> n{};
    std::string s;
    bool operator==(const ParamValue&) const = default;
};

class ParamSet;
class Param;

// Spatial double parameters and the project they apply to. Canonical
// coordinates are the pixels of the project at render scale 1 (the
// instance's project size); normalised ones are fractions of the project's
// size, positions counted from the project's offset.
struct ProjectFrame {
    // The project an instance starts with, and the one descriptors are shown in.
    double width = 1920.0, height = 1080.0;
    double x = 0.0, y = 0.0;  // the project offset
};

// How a parameter's values relate to the project, as the OFX standard has it:
//  - Default: a spatial double (type X, Y, XY or their Absolute forms) whose
//    "OfxParamPropDefaultCoordinateSystem" is normalised declares only its
//    default as a fraction of the project. The host converts that default
//    to canonical coordinates for the instance; every value afterwards, the
//    plug-in's and the user's, is canonical. Our host fixes an instance's
//    project after creating it, so the conversion is made against the
//    instance's project when the untouched default is read.
//  - Values: the older normalised types (NormalisedX ... NormalisedXYAbsolute)
//    keep normalised values: the plug-in reads and writes fractions through
//    the parameter suite, and they are stored so. The user works in
//    canonical coordinates: the command line's text and describe's defaults
//    and ranges are pixels, converted at that boundary.
enum class Normalisation { None, Default, Values };
Normalisation normalisationOf(const Param& param);
// Normalised to canonical and back, per the parameter's axes (x for the X
// types, y for the Y types, x then y for XY); sizes scale, absolute
// positions also move by the offset. Other dimensions and types pass as they are.
ParamValue toCanonical(const Param& param, ParamValue v, const ProjectFrame& project);
ParamValue fromCanonical(const Param& param, ParamValue v, const ProjectFrame& project);
// The project of the instance that owns the parameter; for a descriptor (or
// a set of its own) the project an instance starts with.
ProjectFrame projectOf(const Param& param);

class Param : public Handled<HandleKind::Param> {
public:
    // A new descriptor: the published properties of its type, with defaults.
    Param(ParamSet& owner, const ParamType& type, std::string name);
    // An instance made from a descriptor: its properties, value = default.
    Param(ParamSet& owner, const Param& descriptor);

    OfxParamHandle handle() const { return static_cast<OfxParamHandle>(rawHandle()); }
    static Param* fromHandle(OfxParamHandle h) { return fromRaw<Param>(h); }

    const std::string& name() const { return name_; }
    const ParamType& type() const { return type_; }
    bool hasValue() const { return type_.dims > 0; }
    PropertySet& props() { return props_; }
    const PropertySet& props() const { return props_; }
    ParamSet& owner() const { return owner_; }

    ParamValue defaultValue() const;
    // The value at a time (interpolated between keyframes).
    ParamValue valueAt(double time) const;
    // Sets the value for all times, or the key at the current time when the
    // parameter has keys (what an edit does on an animated parameter).
    OfxStatus setValue(const ParamValue& v);
    // Sets (adds or replaces) the key at a time.
    OfxStatus setValueAtTime(double time, const ParamValue& v);
    // d value / d time, and the integral over [t1, t2]: double types only.
    OfxStatus derivative(double time, ParamValue& out) const;
    OfxStatus integral(double t1, double t2, ParamValue& out) const;

    std::vector<double> keyTimes() const;
    // The host's interpolation name of a key, as an index of the keyframe
    // suite's enumeration (0 unknown, 1 linear, ...). It is kept with the
    // key for the host's editor; values here interpolate as said above.
    // kOfxStatErrBadIndex where there is no key at the time.
    OfxStatus setKeyInterpolation(double time, int interpolation);
    OfxStatus keyInterpolation(double time, int& interpolation) const;
    OfxStatus deleteKey(double time);
    void deleteAllKeys();
    // Copies values and keys of another parameter of the same type; keys are
    // shifted by offset and limited to the range when one is given.
    OfxStatus copyFrom(const Param& from, double offset, const OfxRangeD* range);

    // Checks a value against the type (choice index in range, finite
    // numbers) and clamps numbers to min/max. kOfxStatErrValue when unusable.
    OfxStatus normalise(ParamValue& v) const;

    // Parametric curves: control points (position, value) per curve, sorted.
    using Curve = std::vector<std::pair<double, double>>;
    int curveCount() const;
    OfxStatus curve(int index, Curve& out) const;
    OfxStatus setCurve(int index, Curve c);
    OfxStatus curveValue(int index, double position, double& out) const;

private:
    ParamValue interpolate(double time) const;  // with the lock held
    // The value without keys: value_, or the normalised default converted
    // for the project while untouched (see Normalisation::Default).
    ParamValue baseValue() const;  // with the lock held
    ParamValue customInterpolate(double time, const std::pair<const double, ParamValue>& a,
                                 const std::pair<const double, ParamValue>& b) const;

    ParamSet& owner_;
    const ParamType& type_;
    std::string name_;
    PropertySet props_;
    mutable std::mutex mutex_;
    ParamValue value_;
    bool normalisedDefault_ = false;  // value_ is the default, still normalised
    std::map<double, ParamValue> keys_;
    std::map<double, int> keyInterpolations_;  // only keys given one
    std::vector<Curve> curves_;
};

// The parameters of one effect descriptor or instance, in definition order.
class ParamSet : public Handled<HandleKind::ParamSet> {
public:
    // effectHandle: the owning effect's handle, given to custom interpolation
    // callbacks; currentTime: the effect's time line position.
    ParamSet(const void* effectHandle, const double* currentTime);

    OfxParamSetHandle handle() const { return static_cast<OfxParamSetHandle>(rawHandle()); }
    static ParamSet* fromHandle(OfxParamSetHandle h) { return fromRaw<ParamSet>(h); }

    PropertySet& props() { return props_; }
    const void* effectHandle() const { return effectHandle_; }
    double currentTime() const { return *currentTime_; }

    // kOfxStatErrUnknown for an unknown type, kOfxStatErrExists for a taken name.
    OfxStatus define(const char* type, const char* name, Param** out);
    // Instances of every parameter of a descriptor set.
    void instantiate(const ParamSet& descriptors);

    Param* find(std::string_view name) const;
    // By name, else by script name.
    Param* findByNameOrScriptName(std::string_view name) const;
    const std::vector<std::unique_ptr<Param>>& all() const { return params_; }

    // The page that lists the parameter (or its nearest listed group), or "".
    std::string pageOf(const Param& p) const;

    // The plug-in's edit blocks (paramEditBegin/End): what an editor makes
    // one step of its undo. Blocks nest, and the outermost one holds the
    // names of the parameters the plug-in changed inside it (once each, in
    // the order of their first change).
    struct EditBlock {
        std::string label;
        std::vector<std::string> changed;
    };
    void beginEdit(std::string label);
    // kOfxStatFailed when no block is open.
    OfxStatus endEdit();
    // Notes a change by the plug-in: kept by the open block, if any.
    void noteEdit(const std::string& paramName);
    // The blocks closed so far, oldest first.
    std::vector<EditBlock> editBlocks() const;

private:
    const void* effectHandle_;
    const double* currentTime_;
    mutable std::mutex editMutex_;
    int editDepth_ = 0;
    EditBlock openBlock_;
    std::vector<EditBlock> closedBlocks_;
    PropertySet props_;
    std::vector<std::unique_ptr<Param>> params_;
    std::map<std::string, Param*, std::less<>> byName_;
};

}  // namespace ofxhost
