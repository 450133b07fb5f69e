#include "ofxhost/Property.h"

#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

PropType typeOf(const PropValues& v) { return static_cast<PropType>(v.index()); }

std::size_t sizeOf(const PropValues& v) {
    return std::visit([](const auto& vec) { return vec.size(); }, v);
}

template <class In>
auto toStored(In v) {
    if constexpr (std::is_same_v<In, const char*>)
        return std::string(v);
    else
        return v;
}

template <class T>
void storeOut(const T& stored, T* out) {
    *out = stored;
}
void storeOut(const std::string& stored, char** out) { *out = const_cast<char*>(stored.c_str()); }

}  // namespace

const char* propTypeName(PropType t) {
    switch (t) {
        case PropType::Int: return "int";
        case PropType::Double: return "double";
        case PropType::String: return "string";
        case PropType::Pointer: return "pointer";
    }
    return "?";
}

PropertySet::PropertySet(bool extensible) : extensible_(extensible) {}

PropertySet::PropertySet(const PropertySet& other) : Handled(other) {
    std::lock_guard lock(other.mutex_);
    props_ = other.props_;
    extensible_ = other.extensible_;
}

void PropertySet::define(std::string name, PropValues defaults, bool variable) {
    std::lock_guard lock(mutex_);
    props_.insert_or_assign(std::move(name), Property{defaults, defaults, variable});
}

void PropertySet::defineInt(std::string name, std::vector<int> d, bool variable) {
    define(std::move(name), PropValues(std::move(d)), variable);
}
void PropertySet::defineDouble(std::string name, std::vector<double> d, bool variable) {
    define(std::move(name), PropValues(std::move(d)), variable);
}
void PropertySet::defineString(std::string name, std::vector<std::string> d, bool variable) {
    define(std::move(name), PropValues(std::move(d)), variable);
}
void PropertySet::definePointer(std::string name, std::vector<void*> d, bool variable) {
    define(std::move(name), PropValues(std::move(d)), variable);
}

void PropertySet::remove(std::string_view name) {
    std::lock_guard lock(mutex_);
    auto it = props_.find(name);
    if (it != props_.end()) props_.erase(it);
}

void PropertySet::merge(const PropertySet& other) {
    if (&other == this) return;
    std::scoped_lock lock(mutex_, other.mutex_);
    for (const auto& [name, p] : other.props_) props_.insert_or_assign(name, p);
}

template <class T>
OfxStatus PropertySet::writable(std::string_view name, Property*& prop, std::vector<T>*& vec) {
    auto it = props_.find(name);
    if (it == props_.end()) {
        if (!extensible_) return kOfxStatErrUnknown;
        it = props_.emplace(std::string(name), Property{std::vector<T>{}, std::vector<T>{}, true}).first;
    }
    vec = std::get_if<std::vector<T>>(&it->second.values);
    if (!vec) return kOfxStatErrValue;
    prop = &it->second;
    return kOfxStatOK;
}

template <class T>
OfxStatus PropertySet::setImpl(std::string_view name, int index, T v) {
    if (index < 0 || index >= kMaxValues) return kOfxStatErrBadIndex;
    std::lock_guard lock(mutex_);
    Property* prop = nullptr;
    std::vector<T>* vec = nullptr;
    if (const OfxStatus s = writable(name, prop, vec); s != kOfxStatOK) return s;
    if (static_cast<std::size_t>(index) >= vec->size()) {
        if (!prop->variable) return kOfxStatErrBadIndex;
        vec->resize(index + 1);
    }
    (*vec)[index] = std::move(v);
    return kOfxStatOK;
}

template <class T, class In>
OfxStatus PropertySet::setNImpl(std::string_view name, int count, const In* v) {
    if (count < 0 || count > kMaxValues) return kOfxStatErrBadIndex;
    if (count > 0 && !v) return kOfxStatErrValue;
    if constexpr (std::is_same_v<In, const char*>) {
        for (int i = 0; i < count; ++i)
            if (!v[i]) return kOfxStatErrValue;
    }
    std::lock_guard lock(mutex_);
    Property* prop = nullptr;
    std::vector<T>* vec = nullptr;
    if (const OfxStatus s = writable(name, prop, vec); s != kOfxStatOK) return s;
    if (prop->variable)
        vec->resize(count);
    else if (static_cast<std::size_t>(count) > vec->size())
        return kOfxStatErrBadIndex;
    for (int i = 0; i < count; ++i) (*vec)[i] = toStored(v[i]);
    return kOfxStatOK;
}

template <class T, class Out>
OfxStatus PropertySet::getImpl(std::string_view name, int index, int count, Out* out) const {
    if (!out) return kOfxStatErrValue;
    std::lock_guard lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end()) return kOfxStatErrUnknown;
    const auto* vec = std::get_if<std::vector<T>>(&it->second.values);
    if (!vec) return kOfxStatErrValue;
    if (index < 0 || count < 0 || static_cast<std::size_t>(index) + count > vec->size()) return kOfxStatErrBadIndex;
    for (int i = 0; i < count; ++i) storeOut((*vec)[index + i], out + i);
    return kOfxStatOK;
}

OfxStatus PropertySet::set(std::string_view n, int i, int v) { return setImpl<int>(n, i, v); }
OfxStatus PropertySet::set(std::string_view n, int i, double v) { return setImpl<double>(n, i, v); }
OfxStatus PropertySet::set(std::string_view n, int i, const char* v) {
    if (!v) return kOfxStatErrValue;
    return setImpl<std::string>(n, i, std::string(v));
}
OfxStatus PropertySet::set(std::string_view n, int i, void* v) { return setImpl<void*>(n, i, v); }
OfxStatus PropertySet::setN(std::string_view n, int c, const int* v) { return setNImpl<int>(n, c, v); }
OfxStatus PropertySet::setN(std::string_view n, int c, const double* v) { return setNImpl<double>(n, c, v); }
OfxStatus PropertySet::setN(std::string_view n, int c, const char* const* v) { return setNImpl<std::string>(n, c, v); }
OfxStatus PropertySet::setN(std::string_view n, int c, void* const* v) { return setNImpl<void*>(n, c, v); }
OfxStatus PropertySet::get(std::string_view n, int i, int* o) const { return getImpl<int>(n, i, 1, o); }
OfxStatus PropertySet::get(std::string_view n, int i, double* o) const { return getImpl<double>(n, i, 1, o); }
OfxStatus PropertySet::get(std::string_view n, int i, char** o) const { return getImpl<std::string>(n, i, 1, o); }
OfxStatus PropertySet::get(std::string_view n, int i, void** o) const { return getImpl<void*>(n, i, 1, o); }
OfxStatus PropertySet::getN(std::string_view n, int c, int* o) const { return getImpl<int>(n, 0, c, o); }
OfxStatus PropertySet::getN(std::string_view n, int c, double* o) const { return getImpl<double>(n, 0, c, o); }
OfxStatus PropertySet::getN(std::string_view n, int c, char** o) const { return getImpl<std::string>(n, 0, c, o); }
OfxStatus PropertySet::getN(std::string_view n, int c, void** o) const { return getImpl<void*>(n, 0, c, o); }

OfxStatus PropertySet::reset(std::string_view name) {
    std::lock_guard lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end()) return kOfxStatErrUnknown;
    it->second.values = it->second.defaults;
    return kOfxStatOK;
}

OfxStatus PropertySet::dimension(std::string_view name, int* out) const {
    if (!out) return kOfxStatErrValue;
    std::lock_guard lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end()) return kOfxStatErrUnknown;
    *out = static_cast<int>(sizeOf(it->second.values));
    return kOfxStatOK;
}

bool PropertySet::has(std::string_view name) const {
    std::lock_guard lock(mutex_);
    return props_.find(name) != props_.end();
}

PropValues PropertySet::values(std::string_view name) const {
    std::lock_guard lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end()) throw Error(std::string(name), "no such property", kOfxStatErrUnknown);
    return it->second.values;
}

PropType PropertySet::type(std::string_view name) const { return typeOf(values(name)); }

int PropertySet::dimension(std::string_view name) const { return static_cast<int>(sizeOf(values(name))); }

std::vector<std::string> PropertySet::names() const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> out;
    out.reserve(props_.size());
    for (const auto& [name, p] : props_) out.push_back(name);
    return out;
}

namespace {

void check(OfxStatus s, std::string_view name, const char* what) {
    if (s != kOfxStatOK) throw Error(std::string(name), std::string(what) + " failed with " + statusName(s), s);
}

template <class T>
std::vector<T> allOf(const PropertySet& set, std::string_view name) {
    PropValues v = set.values(name);
    auto* vec = std::get_if<std::vector<T>>(&v);
    if (!vec) check(kOfxStatErrValue, name, "reading");
    return std::move(*vec);
}

}  // namespace

int PropertySet::getInt(std::string_view n, int i) const {
    int v = 0;
    check(get(n, i, &v), n, "reading");
    return v;
}
double PropertySet::getDouble(std::string_view n, int i) const {
    double v = 0;
    check(get(n, i, &v), n, "reading");
    return v;
}
std::string PropertySet::getString(std::string_view n, int i) const {
    // Copied under the lock: the stored string may be replaced by another thread.
    std::lock_guard lock(mutex_);
    auto it = props_.find(n);
    if (it == props_.end()) check(kOfxStatErrUnknown, n, "reading");
    const auto* vec = std::get_if<std::vector<std::string>>(&it->second.values);
    if (!vec) check(kOfxStatErrValue, n, "reading");
    if (i < 0 || static_cast<std::size_t>(i) >= vec->size()) check(kOfxStatErrBadIndex, n, "reading");
    return (*vec)[i];
}
void* PropertySet::getPointer(std::string_view n, int i) const {
    void* v = nullptr;
    check(get(n, i, &v), n, "reading");
    return v;
}
std::vector<int> PropertySet::getInts(std::string_view n) const { return allOf<int>(*this, n); }
std::vector<double> PropertySet::getDoubles(std::string_view n) const { return allOf<double>(*this, n); }
std::vector<std::string> PropertySet::getStrings(std::string_view n) const { return allOf<std::string>(*this, n); }

void PropertySet::setInt(std::string_view n, int v, int i) { check(set(n, i, v), n, "setting"); }
void PropertySet::setDouble(std::string_view n, double v, int i) { check(set(n, i, v), n, "setting"); }
void PropertySet::setString(std::string_view n, const std::string& v, int i) {
    check(set(n, i, v.c_str()), n, "setting");
}
void PropertySet::setPointer(std::string_view n, void* v, int i) { check(set(n, i, v), n, "setting"); }
void PropertySet::setInts(std::string_view n, const std::vector<int>& v) {
    check(setN(n, static_cast<int>(v.size()), v.data()), n, "setting");
}
void PropertySet::setDoubles(std::string_view n, const std::vector<double>& v) {
    check(setN(n, static_cast<int>(v.size()), v.data()), n, "setting");
}
void PropertySet::setStrings(std::string_view n, const std::vector<std::string>& v) {
    std::vector<const char*> ptrs;
    ptrs.reserve(v.size());
    for (const auto& s : v) ptrs.push_back(s.c_str());
    check(setN(n, static_cast<int>(ptrs.size()), ptrs.data()), n, "setting");
}

}  // namespace ofxhost
