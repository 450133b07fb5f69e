#include "ofxhost/ParamText.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

std::string trim(const std::string& s) {
    const auto b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return "";
    const auto e = s.find_last_not_of(" \t");
    return s.substr(b, e - b + 1);
}

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
    return s;
}

bool parseDouble(const std::string& text, double& out) {
    const std::string t = trim(text);
    if (t.empty()) return false;
    errno = 0;
    char* end = nullptr;
    out = std::strtod(t.c_str(), &end);
    return end && *end == '\0' && errno != ERANGE && std::isfinite(out);
}

bool parseInt(const std::string& text, double& out) {
    const std::string t = trim(text);
    if (t.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(t.c_str(), &end, 10);
    if (!end || *end != '\0' || errno == ERANGE || v < INT32_MIN || v > INT32_MAX) return false;
    out = static_cast<double>(v);
    return true;
}

std::string readTextFile(const std::string& name, const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Error(name, "cannot read \"" + path + "\"");
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string describeRange(double lo, double hi) {
    std::ostringstream os;
    os << lo << " to " << hi;
    return os.str();
}

}  // namespace

ParamValue parseParamText(const Param& param, const std::string& text) {
    const std::string& name = param.name();
    const ParamType& type = param.type();
    ParamValue v;
    switch (type.kind) {
        case ValueKind::None:
        case ValueKind::Parametric: throw Error(name, std::string("a ") + type.ofxName + " parameter takes no value");
        case ValueKind::String:
        case ValueKind::Custom:
            v.s = (!text.empty() && text[0] == '@') ? readTextFile(name, text.substr(1)) : text;
            return v;
        case ValueKind::Bool: {
            const std::string t = lower(trim(text));
            if (t == "true" || t == "yes" || t == "on" || t == "1")
                v.n[0] = 1;
            else if (t == "false" || t == "no" || t == "off" || t == "0")
                v.n[0] = 0;
            else
                throw Error(name, "\"" + text + "\" is not a boolean (true or false)");
            return v;
        }
        case ValueKind::Choice: {
            const auto options = param.props().getStrings(kOfxParamPropChoiceOption);
            double index = 0;
            if (parseInt(text, index)) {
                if (index < 0 || index >= double(options.size()))
                    throw Error(name, "choice " + trim(text) + " is out of range (0 to " +
                                          std::to_string(int(options.size()) - 1) + ")");
                v.n[0] = index;
                return v;
            }
            const std::string t = trim(text);
            for (std::size_t i = 0; i < options.size(); ++i)
                if (options[i] == t) {
                    v.n[0] = double(i);
                    return v;
                }
            int found = -1, count = 0;
            for (std::size_t i = 0; i < options.size(); ++i)
                if (lower(options[i]) == lower(t)) {
                    found = int(i);
                    ++count;
                }
            if (count == 1) {
                v.n[0] = found;
                return v;
            }
            std::string list;
            for (const auto& o : options) list += (list.empty() ? "" : ", ") + ("\"" + o + "\"");
            throw Error(name, "\"" + text + "\" is not one of its options (" + list + ")");
        }
        case ValueKind::Int:
        case ValueKind::Double: {
            std::vector<std::string> parts;
            std::stringstream ss(text);
            for (std::string part; std::getline(ss, part, ',');) parts.push_back(part);
            if (!text.empty() && text.back() == ',') parts.push_back("");
            if (int(parts.size()) != type.dims)
                throw Error(name, "needs " + std::to_string(type.dims) + (type.dims == 1 ? " number" : " numbers") +
                                      (type.dims > 1 ? " separated by commas" : "") + ", got \"" + text + "\"");
            for (int i = 0; i < type.dims; ++i) {
                const bool ok =
                    type.kind == ValueKind::Int ? parseInt(parts[i], v.n[i]) : parseDouble(parts[i], v.n[i]);
                if (!ok)
                    throw Error(name, "\"" + trim(parts[i]) + "\" is not " +
                                          (type.kind == ValueKind::Int ? "an integer" : "a number"));
            }
            // The user gives the older normalised types in pixels of the
            // project; the plug-in keeps (and is checked in) fractions.
            const bool normalised = normalisationOf(param) == Normalisation::Values;
            const ProjectFrame project = normalised ? projectOf(param) : ProjectFrame{};
            if (normalised) v = fromCanonical(param, v, project);
            for (int i = 0; i < type.dims; ++i) {
                double lo, hi;
                if (type.kind == ValueKind::Int) {
                    lo = param.props().getInt(kOfxParamPropMin, i);
                    hi = param.props().getInt(kOfxParamPropMax, i);
                } else {
                    lo = param.props().getDouble(kOfxParamPropMin, i);
                    hi = param.props().getDouble(kOfxParamPropMax, i);
                }
                if (v.n[i] < lo || v.n[i] > hi) {
                    if (normalised) {
                        ParamValue l, h;
                        l.n.fill(lo);
                        h.n.fill(hi);
                        lo = toCanonical(param, l, project).n[i];
                        hi = toCanonical(param, h, project).n[i];
                    }
                    throw Error(name, trim(parts[i]) + " is outside its range (" + describeRange(lo, hi) + ")");
                }
            }
            return v;
        }
    }
    return v;
}

std::string formatParamValue(const Param& param, const ParamValue& v) {
    const ParamType& type = param.type();
    switch (type.kind) {
        case ValueKind::String:
        case ValueKind::Custom: return v.s;
        case ValueKind::Bool: return v.n[0] != 0 ? "true" : "false";
        case ValueKind::None:
        case ValueKind::Parametric: return "";
        default: break;
    }
    const ParamValue shown =
        normalisationOf(param) == Normalisation::Values ? toCanonical(param, v, projectOf(param)) : v;
    std::ostringstream os;
    os.precision(17);
    for (int i = 0; i < type.dims; ++i) {
        if (i) os << ',';
        os << shown.n[i];
    }
    return os.str();
}

}  // namespace ofxhost
