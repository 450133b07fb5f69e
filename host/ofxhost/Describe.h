// What a plug-in says about itself, gathered from its descriptors into plain
// records: for `ofxrender list` and `describe`, and for conformance tests.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ofxhost/Json.h"
#include "ofxhost/Param.h"

namespace ofxhost {

class Plugin;
class EffectObject;

struct ClipInfo {
    std::string name;
    std::string label;
    std::vector<std::string> components;
    bool optional = false;
    bool isMask = false;
    bool temporalAccess = false;
    bool tiles = true;
    std::string fieldExtraction;
};

struct ParamInfo {
    std::string name;
    std::string type;  // "OfxParamTypeDouble"
    std::string label;
    std::string scriptName;
    std::string hint;
    // Number, list of numbers, bool, or string; null without a value. Spatial
    // doubles declared normalised show theirs in pixels of a 1920x1080
    // project (ranges too for the older normalised types), with the
    // declared fractions in normalisedDefault (null for all others).
    Json defaultValue;
    Json normalisedDefault;
    // Per dimension; empty for types without them.
    std::vector<double> min, max, displayMin, displayMax;
    std::optional<double> increment;
    std::optional<int> digits;
    std::string doubleType;
    std::vector<std::string> options;
    std::string parent;
    std::string page;
    bool secret = false;
    bool animates = false;
    bool enabled = true;
};

struct PluginInfo {
    std::string id;
    std::string version;  // "1.0"
    // Short and long labels fall back to the label when the plug-in sets
    // only that, and the label to the identifier.
    std::string label, shortLabel, longLabel;
    std::string group;
    std::string description;
    std::vector<std::string> contexts;  // short names: "filter", ...
    std::vector<std::string> depths;    // "OfxBitDepthByte", ...
    bool opencl = false;
    bool opengl = false;
    std::string helpFile;
    std::optional<int> helpContext;
    std::vector<std::string> upliftGUIDs;
    // The context the clips and parameters below were described in.
    std::string context;
    std::vector<ClipInfo> clips;
    std::vector<ParamInfo> params;
};

ParamInfo describeParam(const Param& param, const ParamSet& set);
// Describes a plug-in, its clips and parameters in one context (published
// or short name; "" for the first it declares). Throws Error.
PluginInfo describePlugin(Plugin& plugin, const std::string& context = "");
// The plug-in-level fields only (describe, no describe in context).
PluginInfo summarisePlugin(Plugin& plugin);

Json listJson(const PluginInfo& p);      // id, version, label, group, contexts
Json describeJson(const PluginInfo& p);  // everything
std::string describeText(const PluginInfo& p);

}  // namespace ofxhost
