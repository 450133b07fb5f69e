// Property sets: the typed, multi-valued name/value tables through which host
// and plug-in exchange everything. The host defines each property (type,
// dimension, default); the plug-in reads and writes them through the property
// suite, which answers with the published statuses:
//   kOfxStatErrBadHandle  the handle is not a live property set
//   kOfxStatErrUnknown    no property of that name
//   kOfxStatErrValue      the property has another type, or a null out-pointer
//   kOfxStatErrBadIndex   an index or count outside the property's dimension
// Sets that describe a plug-in (effect, clip and parameter descriptors) are
// "extensible": a plug-in may add its vendor's own properties to them by
// setting a name the host does not know. Every other set is closed.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ofxCore.h"
#include "ofxhost/Handles.h"

namespace ofxhost {

enum class PropType { Int, Double, String, Pointer };

const char* propTypeName(PropType t);

using PropValues = std::variant<std::vector<int>, std::vector<double>, std::vector<std::string>, std::vector<void*>>;

class PropertySet : public Handled<HandleKind::PropertySet> {
public:
    // Upper bound of the number of values of a variable-dimension property.
    static constexpr int kMaxValues = 1 << 16;

    explicit PropertySet(bool extensible = false);
    PropertySet(const PropertySet& other);
    PropertySet& operator=(const PropertySet&) = delete;
    virtual ~PropertySet() = default;

    OfxPropertySetHandle handle() const { return static_cast<OfxPropertySetHandle>(rawHandle()); }
    static PropertySet* fromHandle(OfxPropertySetHandle h) { return fromRaw<PropertySet>(h); }

    bool extensible() const { return extensible_; }
    void setExtensible(bool e) { extensible_ = e; }

    // Definition. A fixed property has as many values as its defaults; a
    // variable one starts with its defaults and grows or shrinks when set.
    // Defining an existing name replaces it.
    void define(std::string name, PropValues defaults, bool variable = false);
    void defineInt(std::string name, std::vector<int> defaults, bool variable = false);
    void defineDouble(std::string name, std::vector<double> defaults, bool variable = false);
    void defineString(std::string name, std::vector<std::string> defaults, bool variable = false);
    void definePointer(std::string name, std::vector<void*> defaults, bool variable = false);
    void remove(std::string_view name);
    // Copies every property of `other` into this set, replacing same names.
    void merge(const PropertySet& other);

    // The suite's side: published statuses, never an exception.
    OfxStatus set(std::string_view name, int index, int v);
    OfxStatus set(std::string_view name, int index, double v);
    OfxStatus set(std::string_view name, int index, const char* v);
    OfxStatus set(std::string_view name, int index, void* v);
    OfxStatus setN(std::string_view name, int count, const int* v);
    OfxStatus setN(std::string_view name, int count, const double* v);
    OfxStatus setN(std::string_view name, int count, const char* const* v);
    OfxStatus setN(std::string_view name, int count, void* const* v);
    OfxStatus get(std::string_view name, int index, int* out) const;
    OfxStatus get(std::string_view name, int index, double* out) const;
    OfxStatus get(std::string_view name, int index, char** out) const;
    OfxStatus get(std::string_view name, int index, void** out) const;
    OfxStatus getN(std::string_view name, int count, int* out) const;
    OfxStatus getN(std::string_view name, int count, double* out) const;
    OfxStatus getN(std::string_view name, int count, char** out) const;
    OfxStatus getN(std::string_view name, int count, void** out) const;
    OfxStatus reset(std::string_view name);
    OfxStatus dimension(std::string_view name, int* out) const;

    // The host's side: throw Error (naming the property and the status) on
    // any failure.
    bool has(std::string_view name) const;
    PropType type(std::string_view name) const;
    int dimension(std::string_view name) const;
    std::vector<std::string> names() const;
    PropValues values(std::string_view name) const;

    int getInt(std::string_view name, int index = 0) const;
    double getDouble(std::string_view name, int index = 0) const;
    std::string getString(std::string_view name, int index = 0) const;
    void* getPointer(std::string_view name, int index = 0) const;
    std::vector<int> getInts(std::string_view name) const;
    std::vector<double> getDoubles(std::string_view name) const;
    std::vector<std::string> getStrings(std::string_view name) const;

    void setInt(std::string_view name, int v, int index = 0);
    void setDouble(std::string_view name, double v, int index = 0);
    void setString(std::string_view name, const std::string& v, int index = 0);
    void setPointer(std::string_view name, void* v, int index = 0);
    void setInts(std::string_view name, const std::vector<int>& v);
    void setDoubles(std::string_view name, const std::vector<double>& v);
    void setStrings(std::string_view name, const std::vector<std::string>& v);

private:
    struct Property {
        PropValues values;
        PropValues defaults;
        bool variable = false;
    };

    // The values of a property about to be written, added when the set is
    // extensible; the caller holds the lock.
    template <class T>
    OfxStatus writable(std::string_view name, Property*& prop, std::vector<T>*& vec);
    template <class T>
    OfxStatus setImpl(std::string_view name, int index, T v);
    template <class T, class In>
    OfxStatus setNImpl(std::string_view name, int count, const In* v);
    template <class T, class Out>
    OfxStatus getImpl(std::string_view name, int index, int count, Out* out) const;

    mutable std::mutex mutex_;
    std::map<std::string, Property, std::less<>> props_;
    bool extensible_;
};

}  // namespace ofxhost
