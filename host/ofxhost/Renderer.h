// A whole render as the command line asks for it: a plug-in in a context,
// inputs from files (or memory), parameter settings with keyframes, a
// sequence of frames, outputs to files. Every output stays pending (under a
// temporary name) until the last frame has rendered, so a failure anywhere
// leaves no output file at all.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ofxhost/Image.h"
#include "ofxhost/Instance.h"

namespace ofxhost {

class Plugin;

struct ParamSetting {
    std::string name;  // name or script name
    std::string text;  // value in the command line's text form
    std::optional<double> time;
};

// "NAME=VALUE[@TIME]": the '@' counts as a time only when what follows it is
// a number and it is not the value's first character ("@file" reads a file).
ParamSetting parseSetting(const std::string& text);

struct RenderInput {
    std::string clip;                          // "" for the context's main input
    std::string file;                          // may hold '#'/'@' frame patterns
    std::shared_ptr<const ImageBuffer> image;  // instead of a file
};

struct RenderJob {
    std::string context;  // "" chooses from the inputs (see chooseContext)
    std::vector<RenderInput> inputs;
    // Keys of the effect's older form, handed over before the settings.
    std::string upliftFile;
    std::vector<ParamSetting> settings;
    // Push buttons pressed after the settings, at the first frame's time.
    std::vector<std::string> presses;
    std::string output;  // may hold frame patterns; "" keeps frames in memory
    RenderOptions options;
    bool depthGiven = false;  // else the depth follows the first input file, or the output's format
    std::optional<std::pair<int, int>> size;
    std::vector<double> times{0.0};
    bool checkIdentity = true;
    // Called after each frame: index, count, time.
    std::function<void(std::size_t, std::size_t, double)> onFrame;
};

struct RenderResult {
    std::string context;
    Depth depth = Depth::Byte;
    std::vector<std::string> written;
    std::vector<ImageBuffer> frames;  // when job.output is ""
};

// The context for a job: the one asked for; else the plug-in's only one;
// else by the number of inputs (none: generator, one: filter, two:
// transition) when declared; else general when declared; else the first.
std::string chooseContext(Plugin& plugin, const std::string& asked, std::size_t inputCount);

// What the plug-in declares in "OfxImageEffectPropSupportedPixelDepths",
// among the formats this host renders: byte and float, and with the BGR
// depths ("OfxBitDepthByteBGR", "OfxBitDepthFloatBGR") BGRA memory. A
// plug-in that declares nothing is taken to render both depths in RGBA.
struct DeclaredFormats {
    bool byte = false, floats = false;  // in either order
    bool rgba = false, bgra = false;    // at either depth
    std::vector<std::string> others;    // declared depths the host does not render
};
DeclaredFormats declaredFormats(Plugin& plugin);
// The depth a plug-in renders in: the wanted one when it declares it; else,
// when the depth was not asked for, the one it declares (the inputs are
// converted on the way in, the output file's writer converts on the way
// out). Throws Error when it was asked for and is not declared, or when the
// plug-in declares only depths the host does not render.
Depth renderDepthFor(Plugin& plugin, Depth wanted, bool asked);
// The memory order a plug-in receives: BGRA only when it declares a BGR
// depth, RGBA otherwise; a plug-in declaring only BGR depths gets BGRA.
PixelOrder renderOrderFor(Plugin& plugin, PixelOrder wanted);

// Runs the job; throws Error on any failure, with no output file written.
RenderResult runRenderJob(Plugin& plugin, const RenderJob& job);

// Sets up an instance for a job (context, project size, inputs, settings,
// transition sweep) without rendering; what bench and the render share.
std::unique_ptr<Instance> prepareInstance(Plugin& plugin, const RenderJob& job, RenderOptions& options);

}  // namespace ofxhost
