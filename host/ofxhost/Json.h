// A small JSON value, its writer for the command line's --json output and
// its reader for the small files the command line takes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace ofxhost {

class Json {
public:
    using Array = std::vector<Json>;
    using Object = std::vector<std::pair<std::string, Json>>;  // keys in insertion order

    Json() = default;  // null
    Json(std::nullptr_t) {}
    Json(bool b) : v_(b) {}
    Json(int i) : v_(static_cast<double>(i)) {}
    Json(unsigned i) : v_(static_cast<double>(i)) {}
    Json(double d) : v_(d) {}
    Json(const char* s) : v_(std::string(s)) {}
    Json(std::string s) : v_(std::move(s)) {}
    Json(Array a) : v_(std::move(a)) {}
    Json(Object o) : v_(std::move(o)) {}

    static Json array() { return Json(Array{}); }
    static Json object() { return Json(Object{}); }
    static Json strings(const std::vector<std::string>& list);
    static Json numbers(const std::vector<double>& list);

    // Appends to an array, or adds a key to an object.
    Json& push(Json v);
    Json& set(std::string key, Json v);

    // Indented with two spaces, or on one line when indent is false.
    std::string dump(bool indent = true) const;

    // Reads one JSON text (RFC 8259, nesting up to 64 deep). Throws Error
    // naming `what` and the byte offset of the first fault.
    static Json parse(const std::string& text, const std::string& what);

    bool isNull() const { return std::holds_alternative<std::nullptr_t>(v_); }
    bool isNumber() const { return std::holds_alternative<double>(v_); }
    bool isString() const { return std::holds_alternative<std::string>(v_); }
    bool isArray() const { return std::holds_alternative<Array>(v_); }
    bool isObject() const { return std::holds_alternative<Object>(v_); }
    // The value as that kind; null, or empty, for another kind.
    const double* number() const { return std::get_if<double>(&v_); }
    const std::string* string() const { return std::get_if<std::string>(&v_); }
    const Array& items() const;
    // An object's member, or null.
    const Json* find(std::string_view key) const;

private:
    void write(std::string& out, bool indent, int depth) const;

    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> v_{nullptr};
};

}  // namespace ofxhost
