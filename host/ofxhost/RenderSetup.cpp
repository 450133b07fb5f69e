// Setting up a render job's instance: the context, the inputs and their
// clips, the depth and order, the project size, the settings and the
// transition sweep.
#include "ofxhost/Renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <mutex>

#include "ofxImageEffect.h"
#include "ofxTalvo.h"
#include "ofxhost/ImageIO.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Sequence.h"
#include "ofxhost/Status.h"
#include "ofxhost/Uplift.h"

namespace ofxhost {

ParamSetting parseSetting(const std::string& text) {
    const auto eq = text.find('=');
    if (eq == std::string::npos || eq == 0)
        throw Error("--set \"" + text + "\"", "expected NAME=VALUE or NAME=VALUE@TIME");
    ParamSetting s;
    s.name = text.substr(0, eq);
    s.text = text.substr(eq + 1);
    const auto at = s.text.rfind('@');
    if (at != std::string::npos && at > 0) {
        const std::string tail = s.text.substr(at + 1);
        char* end = nullptr;
        const double t = std::strtod(tail.c_str(), &end);
        if (!tail.empty() && end && *end == '\0' && std::isfinite(t)) {
            s.time = t;
            s.text.resize(at);
        }
    }
    return s;
}

std::string chooseContext(Plugin& plugin, const std::string& asked, std::size_t inputs) {
    if (!asked.empty()) {
        const std::string ofx = ofxContextName(asked);
        return ofx.empty() ? asked : ofx;
    }
    const auto declared = plugin.contexts();
    if (declared.empty()) throw Error(plugin.id(), "declares no context");
    if (declared.size() == 1) return declared.front();
    auto has = [&](const char* c) { return std::find(declared.begin(), declared.end(), c) != declared.end(); };
    const char* byInputs = inputs == 0   ? kOfxImageEffectContextGenerator
                           : inputs == 1 ? kOfxImageEffectContextFilter
                           : inputs == 2 ? kOfxImageEffectContextTransition
                                         : kOfxImageEffectContextGeneral;
    if (has(byInputs)) return byInputs;
    if (has(kOfxImageEffectContextGeneral)) return kOfxImageEffectContextGeneral;
    return declared.front();
}

DeclaredFormats declaredFormats(Plugin& plugin) {
    DeclaredFormats f;
    const PropertySet& p = plugin.describe().props();
    const auto depths = p.has(kOfxImageEffectPropSupportedPixelDepths)
                            ? p.getStrings(kOfxImageEffectPropSupportedPixelDepths)
                            : std::vector<std::string>{};
    for (const auto& d : depths) {
        const bool byteRGBA = d == kOfxBitDepthByte, byteBGRA = d == kOfxBitDepthByteBGR;
        const bool floatRGBA = d == kOfxBitDepthFloat, floatBGRA = d == kOfxBitDepthFloatBGR;
        f.byte = f.byte || byteRGBA || byteBGRA;
        f.floats = f.floats || floatRGBA || floatBGRA;
        f.rgba = f.rgba || byteRGBA || floatRGBA;
        f.bgra = f.bgra || byteBGRA || floatBGRA;
        if (!(byteRGBA || byteBGRA || floatRGBA || floatBGRA) &&
            std::find(f.others.begin(), f.others.end(), d) == f.others.end())
            f.others.push_back(d);
    }
    // Older plug-ins may declare nothing; they have always been given both.
    if (depths.empty()) f.byte = f.floats = f.rgba = true;
    return f;
}

Depth renderDepthFor(Plugin& plugin, Depth wanted, bool asked) {
    const DeclaredFormats f = declaredFormats(plugin);
    if (!f.byte && !f.floats) {
        std::string list;
        for (const auto& d : f.others) list += (list.empty() ? "" : ", ") + d;
        throw Error(plugin.id(), "declares only pixel depths this host does not render (" + list +
                                     "); ofxrender renders byte and float");
    }
    const bool declared = wanted == Depth::Byte ? f.byte : f.floats;
    if (declared) return wanted;
    if (asked)
        throw Error(plugin.id(), std::string("does not render ") + depthName(wanted) + " images (it declares " +
                                     (f.byte ? "byte" : "float") + " only); leave out --depth or give --depth " +
                                     (f.byte ? "byte" : "float"));
    return f.byte ? Depth::Byte : Depth::Float;
}

PixelOrder renderOrderFor(Plugin& plugin, PixelOrder wanted) {
    const DeclaredFormats f = declaredFormats(plugin);
    if (wanted == PixelOrder::BGRA) return f.bgra ? PixelOrder::BGRA : PixelOrder::RGBA;
    return f.rgba || !f.bgra ? PixelOrder::RGBA : PixelOrder::BGRA;
}

namespace {

// Frames of one input file or file pattern, read in the render's depth and
// order. A still file gives the same frame at every time.
FrameSource fileSource(const std::string& pattern, Depth depth, PixelOrder order) {
    if (!hasFramePattern(pattern)) {
        auto once = std::make_shared<std::shared_ptr<const ImageBuffer>>();
        auto mutex = std::make_shared<std::mutex>();
        return [=](double) {
            std::lock_guard lock(*mutex);
            if (!*once) *once = std::make_shared<const ImageBuffer>(readImage(pattern, depth, order));
            return *once;
        };
    }
    return [=](double time) {
        const long frame = std::lround(time);
        return std::make_shared<const ImageBuffer>(readImage(expandFramePattern(pattern, frame), depth, order));
    };
}

std::vector<std::string> mainInputs(const std::string& context) {
    if (context == kOfxImageEffectContextFilter) return {kOfxImageEffectSimpleSourceClipName};
    if (context == kOfxImageEffectContextTransition)
        return {kOfxImageEffectTransitionSourceFromClipName, kOfxImageEffectTransitionSourceToClipName};
    return {};
}

}  // namespace

std::unique_ptr<Instance> prepareInstance(Plugin& plugin, const RenderJob& job, RenderOptions& options) {
    const std::string context = chooseContext(plugin, job.context, job.inputs.size());
    EffectObject& descriptor = plugin.describeInContext(context);

    // Clip names for inputs given without one: the context's own inputs,
    // else the descriptor's input clips in order.
    std::vector<std::string> defaults = mainInputs(context);
    if (defaults.empty()) {
        // Other contexts: "Source" first when the plug-in has one, as a bare
        // -i names it, then the other inputs in the order they were defined.
        if (descriptor.clip(kOfxImageEffectSimpleSourceClipName))
            defaults.push_back(kOfxImageEffectSimpleSourceClipName);
        for (const auto& c : descriptor.clips())
            if (!c->isOutput() && c->name() != kOfxImageEffectSimpleSourceClipName) defaults.push_back(c->name());
    }
    std::vector<std::pair<std::string, const RenderInput*>> inputs;
    std::size_t next = 0;
    for (const auto& in : job.inputs) {
        std::string clip = in.clip;
        if (clip.empty()) {
            if (next >= defaults.size())
                throw Error("-i " + in.file, "the " + shortContextName(context) + " context of " + plugin.id() +
                                                 " has no more input clips; name the clip as CLIP=FILE");
            clip = defaults[next++];
        }
        for (const auto& [name, input] : inputs)
            if (name == clip) throw Error("clip \"" + clip + "\"", "given two inputs");
        inputs.emplace_back(clip, &in);
    }

    if (!job.depthGiven) {
        const RenderInput* firstFile = nullptr;
        for (const auto& [clip, input] : inputs)
            if (!input->image) {
                firstFile = input;
                break;
            }
        if (firstFile)
            options.depth = fileDepth(expandFramePattern(firstFile->file, std::lround(job.times.front())));
        else if (!inputs.empty())
            options.depth = inputs.front().second->image->depth();
        else if (!job.output.empty())
            options.depth = depthForExtension(job.output);
    }

    // The format follows what the plug-in declares: a plug-in handed a
    // depth or order it does not know writes garbage and still succeeds.
    options.depth = renderDepthFor(plugin, options.depth, job.depthGiven);
    options.order = renderOrderFor(plugin, options.order);

    auto instance = plugin.createInstance(context);
    for (const auto& [clip, input] : inputs) {
        if (input->image)
            instance->connect(clip, input->image);
        else
            instance->connect(clip, fileSource(input->file, options.depth, options.order));
    }
    for (const auto& c : instance->clips())
        if (!c->isOutput() && !c->optional() && !instance->connected(c->name()))
            throw Error("clip \"" + c->name() + "\"",
                        plugin.id() + " needs an input there (-i " + c->name() + "=FILE)");

    // The frame: --size, else the first input's first frame.
    if (job.size) {
        instance->setProjectSize(job.size->first, job.size->second);
    } else if (!inputs.empty()) {
        const auto& input = *inputs.front().second;
        if (input.image) {
            instance->setProjectSize(input.image->width(), input.image->height());
        } else {
            const ImageBuffer first =
                readImage(expandFramePattern(input.file, std::lround(job.times.front())), options.depth, options.order);
            instance->setProjectSize(first.width(), first.height());
        }
    }
    const auto [lo, hi] = std::minmax_element(job.times.begin(), job.times.end());
    instance->setFrameRange(*lo, *hi);
    instance->setTime(job.times.front());
    // A pressed button's analysis reads the inputs as the render will.
    instance->setRenderOptions(options);

    if (!job.upliftFile.empty()) instance->uplift(readUpliftFile(job.upliftFile));
    bool transitionSet = false;
    for (const auto& s : job.settings) {
        instance->setValueText(s.name, s.text, s.time);
        if (instance->param(s.name).name() == kOfxImageEffectTransitionParamName) transitionSet = true;
    }
    // A transition not set by hand runs from 0 at the first frame to 1 at the last.
    if (context == kOfxImageEffectContextTransition && !transitionSet &&
        instance->params().find(kOfxImageEffectTransitionParamName)) {
        ParamValue v;
        if (*hi > *lo) {
            v.n[0] = 0.0;
            instance->setValue(kOfxImageEffectTransitionParamName, v, *lo);
            v.n[0] = 1.0;
            instance->setValue(kOfxImageEffectTransitionParamName, v, *hi);
        } else {
            instance->setValue(kOfxImageEffectTransitionParamName, v);
        }
    }
    for (const auto& name : job.presses) instance->press(name, job.times.front());
    return instance;
}

}  // namespace ofxhost
