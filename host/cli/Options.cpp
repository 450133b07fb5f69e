#include "cli/Options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>

#include "ofxhost/Status.h"

using ofxhost::Error;

namespace ofxcli {

namespace {

long parseLong(const std::string& option, const std::string& text, long lo, long hi) {
    errno = 0;
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || !end || *end != '\0' || errno == ERANGE)
        throw Error(option, "\"" + text + "\" is not a whole number");
    if (v < lo || v > hi)
        throw Error(option, text + " is out of range (" + std::to_string(lo) + " to " + std::to_string(hi) + ")");
    return v;
}

double parseNumber(const std::string& option, const std::string& text) {
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (text.empty() || !end || *end != '\0' || errno == ERANGE || !std::isfinite(v))
        throw Error(option, "\"" + text + "\" is not a number");
    return v;
}

// Which command takes which option; the global ones go with all.
const std::map<std::string, std::set<std::string>>& optionsByCommand() {
    static const std::set<std::string> render = {"--context",
                                                 "-i",
                                                 "-o",
                                                 "--set",
                                                 "--press",
                                                 "--uplift",
                                                 "--depth",
                                                 "--order",
                                                 "--size",
                                                 "--frames",
                                                 "--time",
                                                 "--render-scale",
                                                 "--quality",
                                                 "--row-padding",
                                                 "--negative-row-bytes",
                                                 "--poison",
                                                 "--opencl"};
    static const std::map<std::string, std::set<std::string>> table = {
        {"list", {"--json"}},
        {"list-devices", {}},
        {"describe", {"--context", "--json", "--opencl"}},
        {"render", render},
        {"bench",
         [] {
             auto s = render;
             s.erase("-o");
             s.insert({"--repeat", "--json"});
             return s;
         }()},
    };
    return table;
}

const std::set<std::string> kGlobal = {"--bundle", "--threads", "--host-name", "--host-version",
                                       "--log",    "--help",    "-h",          "--version"};
const std::set<std::string> kFlags = {"--json", "--help", "-h", "--version", "--negative-row-bytes", "--poison"};
// Flags that may carry a value, only in the "--name=value" form.
const std::set<std::string> kOptionalValue = {"--opencl"};

}  // namespace

std::pair<int, int> parseSize(const std::string& option, const std::string& text) {
    static const std::regex form(R"(^(\d{1,6})[xX](\d{1,6})$)");
    std::smatch m;
    if (!std::regex_match(text, m, form)) throw Error(option, "\"" + text + "\" is not a size like 1920x1080");
    const int w = std::stoi(m[1].str()), h = std::stoi(m[2].str());
    if (w < 1 || h < 1 || w > 65536 || h > 65536)
        throw Error(option, "\"" + text + "\" is out of range (1 to 65536 on each side)");
    return {w, h};
}

CliOptions parseCommandLine(const std::vector<std::string>& args) {
    CliOptions o;
    std::vector<std::pair<std::string, std::string>> given;
    std::vector<std::string> positional;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string a = args[i];
        if (a.size() < 2 || a[0] != '-' || a == "--") {
            positional.push_back(a);
            continue;
        }
        std::string value;
        bool hasValue = false;
        if (a.rfind("--", 0) == 0) {
            if (auto eq = a.find('='); eq != std::string::npos) {
                value = a.substr(eq + 1);
                a.resize(eq);
                hasValue = true;
            }
        }
        bool known = kGlobal.count(a) != 0;
        for (const auto& [cmd, opts] : optionsByCommand()) known = known || opts.count(a) != 0;
        if (!known) throw Error(a, "unknown option (see ofxrender --help)");
        if (kFlags.count(a)) {
            if (hasValue) throw Error(a, "takes no value");
        } else if (!hasValue && !kOptionalValue.count(a)) {
            if (i + 1 >= args.size()) throw Error(a, "needs a value");
            value = args[++i];
        }
        given.emplace_back(a, value);
    }

    if (!positional.empty()) o.command = positional[0];
    for (const auto& [name, value] : given) {
        if (name == "--help" || name == "-h")
            o.help = true;
        else if (name == "--version")
            o.version = true;
    }
    if (o.help || o.version) return o;
    if (o.command.empty())
        throw Error("ofxrender", "no command given (list, describe, render, bench or list-devices; see --help)");
    auto cmd = optionsByCommand().find(o.command);
    if (cmd == optionsByCommand().end())
        throw Error(o.command, "unknown command (list, describe, render, bench or list-devices)");
    const bool needsPlugin = o.command != "list" && o.command != "list-devices";
    if (needsPlugin) {
        if (positional.size() < 2) throw Error(o.command, "needs a plug-in identifier");
        o.plugin = positional[1];
    }
    if (positional.size() > (needsPlugin ? 2u : 1u))
        throw Error(positional[needsPlugin ? 2 : 1], "unexpected argument");

    std::set<std::string> seen;
    static const std::set<std::string> repeatable = {"-i", "--set", "--press", "--bundle"};
    for (const auto& [name, value] : given) {
        if (!kGlobal.count(name) && !cmd->second.count(name)) throw Error(name, "does not apply to " + o.command);
        if (!repeatable.count(name) && !seen.insert(name).second) throw Error(name, "given twice");
        if (name == "--json")
            o.json = true;
        else if (name == "--bundle")
            o.bundles.push_back(value);
        else if (name == "--context")
            o.context = value;
        else if (name == "-i")
            o.inputs.push_back(value);
        else if (name == "-o")
            o.output = value;
        else if (name == "--set")
            o.sets.push_back(value);
        else if (name == "--press")
            o.presses.push_back(value);
        else if (name == "--uplift")
            o.uplift = value;
        else if (name == "--depth") {
            if (value == "byte" || value == "8")
                o.depth = ofxhost::Depth::Byte;
            else if (value == "float" || value == "32")
                o.depth = ofxhost::Depth::Float;
            else
                throw Error(name, "\"" + value + "\" is not byte or float");
        } else if (name == "--order") {
            if (value == "rgba" || value == "RGBA")
                o.order = ofxhost::PixelOrder::RGBA;
            else if (value == "bgra" || value == "BGRA")
                o.order = ofxhost::PixelOrder::BGRA;
            else
                throw Error(name, "\"" + value + "\" is not rgba or bgra");
        } else if (name == "--size")
            o.size = parseSize(name, value);
        else if (name == "--frames")
            o.frames = ofxhost::parseFrameRange(value);
        else if (name == "--time")
            o.time = parseNumber(name, value);
        else if (name == "--threads")
            o.threads = static_cast<unsigned>(parseLong(name, value, 1, 1024));
        else if (name == "--render-scale") {
            o.renderScale = parseNumber(name, value);
            if (!(o.renderScale > 0.0 && o.renderScale <= 1.0))
                throw Error(name, value + " is not above 0 and at most 1");
        } else if (name == "--quality") {
            static const std::map<std::string, ofxhost::Quality> q = {{"draft", ofxhost::Quality::Draft},
                                                                      {"preview", ofxhost::Quality::Preview},
                                                                      {"good", ofxhost::Quality::Good},
                                                                      {"best", ofxhost::Quality::Best}};
            auto it = q.find(value);
            if (it == q.end()) throw Error(name, "\"" + value + "\" is not draft, preview, good or best");
            o.quality = it->second;
        } else if (name == "--host-name") {
            if (value.empty()) throw Error(name, "must not be empty");
            o.hostName = value;
        } else if (name == "--host-version") {
            static const std::regex form(R"(^(\d{1,6})(?:\.(\d{1,6}))?$)");
            std::smatch m;
            if (!std::regex_match(value, m, form)) throw Error(name, "\"" + value + "\" is not a version like 20.0");
            o.hostVersion = {std::stoi(m[1].str()), m[2].matched ? std::stoi(m[2].str()) : 0};
        } else if (name == "--log") {
            if (value.empty()) throw Error(name, "must name a file or directory");
            o.logFile = value;
        } else if (name == "--repeat")
            o.repeat = static_cast<int>(parseLong(name, value, 1, 100000));
        else if (name == "--row-padding") {
            o.layout.rowPadding = static_cast<int>(parseLong(name, value, 0, 1 << 20));
            if (o.layout.rowPadding % 4) throw Error(name, value + " is not a multiple of 4");
        } else if (name == "--negative-row-bytes")
            o.layout.negativeRowBytes = true;
        else if (name == "--poison")
            o.poison = true;
        else if (name == "--opencl")
            o.openCL = value;
    }
    if (o.frames && o.time) throw Error("--time", "cannot go with --frames");
    if (o.command == "render") {
        if (o.output.empty()) throw Error("render", "needs an output file (-o FILE)");
    }
    return o;
}

std::string helpText() {
    return R"(ofxrender: render OFX image effects without a video editor.

usage:
  ofxrender list [--json]
  ofxrender describe PLUGIN [--context C] [--json]
  ofxrender render PLUGIN [--context C] -i [CLIP=]FILE ... -o FILE
                   [--set NAME=VALUE[@TIME]] ... [--press NAME] ... [--uplift KEYS.json]
                   [--depth byte|float] [--order rgba|bgra]
                   [--size WxH] [--frames A-B[xS] | --time T] [--render-scale S]
                   [--quality draft|preview|good|best]
  ofxrender bench PLUGIN [render options] [--size WxH] [--repeat N] [--json]
  ofxrender list-devices

global options:
  --bundle PATH        load this .ofx.bundle (or module); may be repeated. Without it
                       plug-ins come from OFX_PLUGIN_PATH (colon-separated, searched
                       recursively, skipping folders named @...), else ONDU1.ofx.bundle
                       beside this program, else /usr/OFX/Plugins
  --threads N          threads of the multithread suite (default: all cores)
  --host-name N        host name plug-ins see (default talvo.effects.talvo)
  --host-version M.m   host version plug-ins see (default 20.0)
  --log FILE           set ONDU1_LOG=FILE before loading (a file, or a directory for
                       the bundle to create its log in)
  -h, --help           this text;  --version  the program's version

render options:
  PLUGIN               an identifier (talvo.effects:invert) or the unique part after
                       its last ':' (invert); the highest version a bundle registers,
                       or PLUGIN@MAJOR (PLUGIN@MAJOR.MINOR) for another
  --context C          filter, generator, transition or general; default: from the
                       inputs (none: generator, one: filter, two: transition)
  -i [CLIP=]FILE       an input; without CLIP=, the context's inputs in order (Source;
                       SourceFrom then SourceTo)
  -o FILE              the output; '#' is the frame number padded to 4 digits, '@' to
                       one digit per '@' (frame.#.exr, frame.@@@.png)
  --set NAME=VALUE     a parameter by name or script name: a number, a comma list for
                       2D/3D/colour, true/false, a choice index or label, text, or
                       @path for text from a file. NAME=VALUE@TIME sets a keyframe.
  --press NAME         press a push button after the settings, at the first frame's
                       time (an analysis that writes parameters, for instance)
  --uplift KEYS.json   hand the effect keys saved by its older form before the
                       settings: {"keys": [{"time": T, "interpolation": NAME,
                       "doubles": [V, ...]} or "hex": "BYTES" instead of doubles],
                       "state": {"hex": "BYTES"}}; interpolation defaults to linear
  --depth byte|float   pixel depth of the render. Default: byte for 8-bit inputs
                       (PNG, JPEG), float for EXR and 16-bit or float TIFF; without
                       inputs, float for an .exr output and byte otherwise; then the
                       depth the plug-in declares when it declares only one. A depth
                       given here that the plug-in does not declare is an error
  --order rgba|bgra    channel order in memory (default rgba); bgra only for plug-ins
                       that declare a BGR depth, the others get rgba (with a note)
  --size WxH           the frame size (default: the first input's, else 1920x1080)
  --frames A-B[xS]     render frames A to B (every S-th); --time T renders one time
  --render-scale S     render at a proxy scale 0 < S <= 1
  --quality Q          render quality passed to the plug-in (default best)
  --opencl[=P:D]       render with OpenCL on platform P, device D: each an index or a
                       part of the name, any case (ofxrender list-devices shows both);
                       --opencl alone takes the first device of the first platform.
                       A plug-in that does not declare OpenCL support renders on the
                       CPU, and ofxrender says so
  --row-padding N      test: pad every image row by N bytes (a multiple of 4)
  --negative-row-bytes test: hand images over with negative row bytes
  --poison             test: fill output buffers with a poison value before the render
                       (NaN in float, a pattern in bytes), so unwritten channels show

  A transition's "Transition" parameter runs from 0 at the first frame to 1 at the
  last, unless set with --set. Outputs are written under a temporary name and renamed
  when the whole render has succeeded: a failed render leaves no file.

bench options:
  Renders the same frame --repeat times (default 10) at --size (default 1920x1080),
  from generated test frames unless -i is given, and reports the median megapixels
  per second beside a memcpy of the same frame and the ratio of the two. With
  --opencl it adds the device's whole render (upload, kernels, read-back), its
  kernels alone on resident buffers, and a device buffer copy of the frame, with
  the ratio of each render figure to that copy.

list-devices:
  Lists the OpenCL platforms and their devices with the indexes --opencl takes.
)";
}

}  // namespace ofxcli
