#include "ofxhost/Describe.h"

#include <cfloat>
#include <climits>
#include <sstream>

#include "ofxGPURender.h"
#include "ofxTalvo.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

std::string str(const PropertySet& p, const char* name) {
    return p.has(name) && p.type(name) == PropType::String && p.dimension(name) > 0 ? p.getString(name) : "";
}

int integer(const PropertySet& p, const char* name, int otherwise) {
    return p.has(name) && p.type(name) == PropType::Int && p.dimension(name) > 0 ? p.getInt(name) : otherwise;
}

std::vector<double> numbers(const PropertySet& p, const char* name) {
    if (!p.has(name)) return {};
    if (p.type(name) == PropType::Double) return p.getDoubles(name);
    std::vector<double> out;
    if (p.type(name) == PropType::Int)
        for (int v : p.getInts(name)) out.push_back(v);
    return out;
}

// Unbounded ends (the type's extremes) are shown as null.
Json bound(const std::vector<double>& v) {
    auto one = [](double d) -> Json {
        if (d <= -DBL_MAX || d >= DBL_MAX || d == double(INT_MIN) || d == double(INT_MAX)) return Json();
        return Json(d);
    };
    if (v.empty()) return Json();
    if (v.size() == 1) return one(v[0]);
    Json a = Json::array();
    for (double d : v) a.push(one(d));
    return a;
}

Json defaultJson(const Param& param, bool canonical) {
    const ParamType& t = param.type();
    if (!param.hasValue()) return Json();
    ParamValue v = param.defaultValue();
    if (canonical && normalisationOf(param) != Normalisation::None) v = toCanonical(param, v, projectOf(param));
    switch (t.kind) {
        case ValueKind::Bool: return Json(v.n[0] != 0);
        case ValueKind::String:
        case ValueKind::Custom: return Json(v.s);
        default: break;
    }
    if (t.dims == 1) return Json(v.n[0]);
    return Json::numbers(std::vector<double>(v.n.begin(), v.n.begin() + t.dims));
}

// Ranges of the older normalised types, in the pixels the user gives.
std::vector<double> canonicalRange(const Param& param, std::vector<double> v) {
    if (normalisationOf(param) != Normalisation::Values) return v;
    ParamValue pv;
    for (std::size_t i = 0; i < v.size() && i < 4; ++i) pv.n[i] = v[i];
    pv = toCanonical(param, pv, projectOf(param));
    for (std::size_t i = 0; i < v.size() && i < 4; ++i) v[i] = pv.n[i];
    return v;
}

// A label the plug-in left at its default (the identifier) shows as the
// plug-in's label, as hosts show a short or long label that is not set.
std::string labelOr(const PropertySet& p, const char* name, const std::string& id, const std::string& label) {
    const std::string v = str(p, name);
    return v.empty() || v == id ? label : v;
}

std::string findByName(const PropertySet& p, const std::string& part, PropType type) {
    for (const auto& name : p.names())
        if (name.find(part) != std::string::npos && p.type(name) == type && p.dimension(name) > 0) return name;
    return "";
}

}  // namespace

ParamInfo describeParam(const Param& param, const ParamSet& set) {
    const PropertySet& p = param.props();
    ParamInfo info;
    info.name = param.name();
    info.type = param.type().ofxName;
    info.label = str(p, kOfxPropLabel);
    info.scriptName = str(p, kOfxParamPropScriptName);
    info.hint = str(p, kOfxParamPropHint);
    // Spatial defaults and ranges as the user sees them: in pixels of the
    // project (the one an instance starts with, for a descriptor).
    info.defaultValue = defaultJson(param, true);
    if (normalisationOf(param) != Normalisation::None) info.normalisedDefault = defaultJson(param, false);
    info.min = canonicalRange(param, numbers(p, kOfxParamPropMin));
    info.max = canonicalRange(param, numbers(p, kOfxParamPropMax));
    info.displayMin = canonicalRange(param, numbers(p, kOfxParamPropDisplayMin));
    info.displayMax = canonicalRange(param, numbers(p, kOfxParamPropDisplayMax));
    if (p.has(kOfxParamPropIncrement)) info.increment = p.getDouble(kOfxParamPropIncrement);
    if (p.has(kOfxParamPropDigits)) info.digits = p.getInt(kOfxParamPropDigits);
    info.doubleType = str(p, kOfxParamPropDoubleType);
    if (p.has(kOfxParamPropChoiceOption)) info.options = p.getStrings(kOfxParamPropChoiceOption);
    info.parent = str(p, kOfxParamPropParent);
    info.page = set.pageOf(param);
    info.secret = integer(p, kOfxParamPropSecret, 0) != 0;
    info.animates = integer(p, kOfxParamPropAnimates, 0) != 0;
    info.enabled = integer(p, kOfxParamPropEnabled, 1) != 0;
    return info;
}

PluginInfo summarisePlugin(Plugin& plugin) {
    const PropertySet& p = plugin.describe().props();
    PluginInfo info;
    info.id = plugin.id();
    info.version = std::to_string(plugin.versionMajor()) + "." + std::to_string(plugin.versionMinor());
    info.label = str(p, kOfxPropLabel);
    if (info.label.empty()) info.label = info.id;
    info.shortLabel = labelOr(p, kOfxPropShortLabel, info.id, info.label);
    info.longLabel = labelOr(p, kOfxPropLongLabel, info.id, info.label);
    info.group = str(p, kOfxImageEffectPluginPropGrouping);
    info.description = str(p, kOfxPropPluginDescription);
    for (const auto& c : p.getStrings(kOfxImageEffectPropSupportedContexts))
        info.contexts.push_back(shortContextName(c));
    info.depths = p.getStrings(kOfxImageEffectPropSupportedPixelDepths);
    info.opencl = str(p, kOfxImageEffectPropOpenCLSupported) == "true" ||
                  str(p, kOfxImageEffectPropOpenCLRenderSupported) == "true";
    const std::string gl = str(p, kOfxImageEffectPropOpenGLRenderSupported);
    info.opengl = gl == "true" || gl == "needed";
    // The help file and context are vendor properties; take them by name.
    if (auto name = findByName(p, "HelpFile", PropType::String); !name.empty()) info.helpFile = p.getString(name);
    if (auto name = findByName(p, "HelpContext", PropType::Int); !name.empty()) info.helpContext = p.getInt(name);
    if (p.has(kOfxImageEffectPropTalvoUpliftGUID)) info.upliftGUIDs = p.getStrings(kOfxImageEffectPropTalvoUpliftGUID);
    return info;
}

PluginInfo describePlugin(Plugin& plugin, const std::string& context) {
    PluginInfo info = summarisePlugin(plugin);
    std::string ctx = context;
    if (ctx.empty()) {
        const auto declared = plugin.contexts();
        if (declared.empty()) throw Error(plugin.id(), "declares no context");
        ctx = declared.front();
    }
    EffectObject& d = plugin.describeInContext(ctx);
    info.context = shortContextName(d.context());
    // Some plug-ins declare their older versions while describing in a context.
    if (d.props().has(kOfxImageEffectPropTalvoUpliftGUID) &&
        d.props().dimension(kOfxImageEffectPropTalvoUpliftGUID) > 0)
        info.upliftGUIDs = d.props().getStrings(kOfxImageEffectPropTalvoUpliftGUID);
    for (const auto& c : d.clips()) {
        const PropertySet& p = c->props();
        ClipInfo ci;
        ci.name = c->name();
        ci.label = str(p, kOfxPropLabel);
        ci.components = p.getStrings(kOfxImageEffectPropSupportedComponents);
        ci.optional = integer(p, kOfxImageClipPropOptional, 0) != 0;
        ci.isMask = integer(p, kOfxImageClipPropIsMask, 0) != 0;
        ci.temporalAccess = integer(p, kOfxImageEffectPropTemporalClipAccess, 0) != 0;
        ci.tiles = integer(p, kOfxImageEffectPropSupportsTiles, 1) != 0;
        ci.fieldExtraction = str(p, kOfxImageClipPropFieldExtraction);
        info.clips.push_back(std::move(ci));
    }
    for (const auto& param : d.params().all()) info.params.push_back(describeParam(*param, d.params()));
    return info;
}

Json listJson(const PluginInfo& p) {
    Json j = Json::object();
    j.set("id", p.id);
    j.set("version", p.version);
    j.set("label", p.label);
    j.set("group", p.group);
    j.set("contexts", Json::strings(p.contexts));
    return j;
}

Json describeJson(const PluginInfo& p) {
    Json j = listJson(p);
    j.set("depths", Json::strings(p.depths));
    j.set("opencl", p.opencl);
    j.set("opengl", p.opengl);
    j.set("shortLabel", p.shortLabel);
    j.set("longLabel", p.longLabel);
    j.set("description", p.description);
    j.set("helpFile", p.helpFile.empty() ? Json() : Json(p.helpFile));
    j.set("helpContext", p.helpContext ? Json(*p.helpContext) : Json());
    j.set("upliftGUIDs", Json::strings(p.upliftGUIDs));
    j.set("context", p.context);
    Json clips = Json::array();
    for (const auto& c : p.clips) {
        Json cj = Json::object();
        cj.set("name", c.name);
        cj.set("label", c.label);
        cj.set("components", Json::strings(c.components));
        cj.set("optional", c.optional);
        cj.set("isMask", c.isMask);
        cj.set("temporalAccess", c.temporalAccess);
        cj.set("tiles", c.tiles);
        cj.set("fieldExtraction", c.fieldExtraction);
        clips.push(std::move(cj));
    }
    j.set("clips", std::move(clips));
    Json params = Json::array();
    for (const auto& q : p.params) {
        Json pj = Json::object();
        pj.set("name", q.name);
        pj.set("type", q.type);
        pj.set("label", q.label);
        pj.set("scriptName", q.scriptName);
        pj.set("default", q.defaultValue);
        pj.set("normalisedDefault", q.normalisedDefault);
        pj.set("min", bound(q.min));
        pj.set("max", bound(q.max));
        pj.set("displayMin", bound(q.displayMin));
        pj.set("displayMax", bound(q.displayMax));
        pj.set("increment", q.increment ? Json(*q.increment) : Json());
        pj.set("digits", q.digits ? Json(*q.digits) : Json());
        pj.set("options", Json::strings(q.options));
        pj.set("parent", q.parent);
        pj.set("page", q.page);
        pj.set("secret", q.secret);
        pj.set("animates", q.animates);
        pj.set("enabled", q.enabled);
        pj.set("hint", q.hint);
        pj.set("doubleType", q.doubleType.empty() ? Json() : Json(q.doubleType));
        params.push(std::move(pj));
    }
    j.set("params", std::move(params));
    return j;
}

std::string describeText(const PluginInfo& p) {
    std::ostringstream os;
    auto join = [](const std::vector<std::string>& v) {
        std::string s;
        for (const auto& x : v) s += (s.empty() ? "" : ", ") + x;
        return s.empty() ? std::string("-") : s;
    };
    os << p.id << " " << p.version << "  \"" << p.label << "\"\n";
    os << "  labels:   short \"" << p.shortLabel << "\", long \"" << p.longLabel << "\"\n";
    os << "  group:    " << (p.group.empty() ? "-" : p.group) << "\n";
    os << "  contexts: " << join(p.contexts) << "\n";
    os << "  depths:   " << join(p.depths) << "\n";
    os << "  opencl:   " << (p.opencl ? "yes" : "no") << ", opengl: " << (p.opengl ? "yes" : "no") << "\n";
    if (!p.helpFile.empty())
        os << "  help:     " << p.helpFile << (p.helpContext ? " #" + std::to_string(*p.helpContext) : "") << "\n";
    if (!p.upliftGUIDs.empty()) os << "  replaces: " << join(p.upliftGUIDs) << "\n";
    os << "clips (" << p.context << "):\n";
    for (const auto& c : p.clips)
        os << "  " << c.name << (c.optional ? " (optional)" : "") << (c.isMask ? " (mask)" : "") << "\n";
    os << "parameters:\n";
    for (const auto& q : p.params) {
        std::string type = q.type.rfind("OfxParamType", 0) == 0 ? q.type.substr(12) : q.type;
        os << "  " << q.name << "  " << type << "  \"" << q.label << "\"";
        if (q.scriptName != q.name) os << "  script " << q.scriptName;
        const std::string def = q.defaultValue.dump(false);
        if (def != "null") os << "  default " << def;
        if (!q.normalisedDefault.isNull()) os << " (" << q.normalisedDefault.dump(false) << " of the project)";
        if (!q.min.empty()) os << "  range " << bound(q.min).dump(false) << ".." << bound(q.max).dump(false);
        if (!q.displayMin.empty())
            os << "  display " << bound(q.displayMin).dump(false) << ".." << bound(q.displayMax).dump(false);
        if (q.increment) os << "  step " << *q.increment;
        if (q.digits) os << "  digits " << *q.digits;
        if (!q.options.empty()) os << "  options " << Json::strings(q.options).dump(false);
        if (!q.parent.empty()) os << "  in " << q.parent;
        if (!q.page.empty()) os << "  page " << q.page;
        if (q.secret) os << "  secret";
        if (q.animates) os << "  animates";
        os << "\n";
    }
    return os.str();
}

}  // namespace ofxhost
