#include "ofxhost/Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ofxhost {

Json Json::strings(const std::vector<std::string>& list) {
    Array a;
    for (const auto& s : list) a.emplace_back(s);
    return Json(std::move(a));
}

Json Json::numbers(const std::vector<double>& list) {
    Array a;
    for (double d : list) a.emplace_back(d);
    return Json(std::move(a));
}

Json& Json::push(Json v) {
    if (!std::holds_alternative<Array>(v_)) v_ = Array{};
    std::get<Array>(v_).push_back(std::move(v));
    return *this;
}

Json& Json::set(std::string key, Json v) {
    if (!std::holds_alternative<Object>(v_)) v_ = Object{};
    std::get<Object>(v_).emplace_back(std::move(key), std::move(v));
    return *this;
}

std::string Json::dump(bool indent) const {
    std::string out;
    write(out, indent, 0);
    if (indent) out += '\n';
    return out;
}

namespace {

void writeString(std::string& out, const std::string& s) {
    out += '"';
    for (unsigned char c : s) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", c);
                    out += buf;
                } else {
                    out += char(c);
                }
        }
    }
    out += '"';
}

void newline(std::string& out, bool indent, int depth) {
    if (indent) {
        out += '\n';
        out.append(std::size_t(depth) * 2, ' ');
    }
}

}  // namespace

void Json::write(std::string& out, bool indent, int depth) const {
    if (std::holds_alternative<std::nullptr_t>(v_)) {
        out += "null";
    } else if (auto* b = std::get_if<bool>(&v_)) {
        out += *b ? "true" : "false";
    } else if (auto* d = std::get_if<double>(&v_)) {
        if (!std::isfinite(*d)) {
            out += "null";
        } else {
            char buf[32];
            auto r = std::to_chars(buf, buf + sizeof buf, *d);
            out.append(buf, r.ptr);
        }
    } else if (auto* s = std::get_if<std::string>(&v_)) {
        writeString(out, *s);
    } else if (auto* a = std::get_if<Array>(&v_)) {
        if (a->empty()) {
            out += "[]";
            return;
        }
        out += '[';
        for (std::size_t i = 0; i < a->size(); ++i) {
            if (i) out += ',';
            newline(out, indent, depth + 1);
            (*a)[i].write(out, indent, depth + 1);
        }
        newline(out, indent, depth);
        out += ']';
    } else if (auto* o = std::get_if<Object>(&v_)) {
        if (o->empty()) {
            out += "{}";
            return;
        }
        out += '{';
        for (std::size_t i = 0; i < o->size(); ++i) {
            if (i) out += ',';
            newline(out, indent, depth + 1);
            writeString(out, (*o)[i].first);
            out += indent ? ": " : ":";
            (*o)[i].second.write(out, indent, depth + 1);
        }
        newline(out, indent, depth);
        out += '}';
    }
}

}  // namespace ofxhost
