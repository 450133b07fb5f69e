// The pieces every effect is assembled from: the common description, the
// standard clips, the uplift of older keys, and the one render dispatch that
// picks a processor template from the output clip's depth and pixel order.
#pragma once

#include "ImageEffect.h"

namespace OFX {

inline constexpr const char* kHelpFile = "ondu1.ofx.chm";
inline constexpr const char* kSourceClip = "Source";
inline constexpr const char* kSourceFromClip = "SourceFrom";
inline constexpr const char* kSourceToClip = "SourceTo";
inline constexpr const char* kOutputClip = "Output";
inline constexpr const char* kControlsPage = "Controls";

// The hosts of the family an effect offers itself to: the oldest major
// version accepted of each family host identifier, 0 where that host is
// refused. `logged` writes the refusal to the log. Hosts outside the family
// are not judged by it (see describeEffect).
struct HostRequirement {
    int talvo;     // "talvo.effects.talvo"
    int harborPE;  // "talvo.effects.talvo.harbor.pe"
    int harborHD;  // "talvo.effects.talvo.harbor.hd"
    bool logged;
};

// The requirement of Test Pattern, Black Restore, Border, Channel Blend,
// Chroma Blur and Black Bar Fill.
inline constexpr HostRequirement kHostsSince18{18, 17, 17, true};

// What an effect declares about itself beyond its parameters.
struct EffectDeclaration {
    const char* identifier;  // "talvo.effects:invert"
    const char* label;
    const char* group;
    ContextEnum context;
    int helpContextID;
    const char* upliftGUID;  // the older form's GUID, or null
    bool openCL = true;
    bool openGL = false;
    // Null: every family host.
    const HostRequirement* hosts = nullptr;
    unsigned versionMajor = 1;
    unsigned versionMinor = 0;
};

// The context-free description, in the order hosts have always seen it. A
// family host that fails the declaration's requirement gets only the labels
// and the group, and so no context to offer the effect in. Any other host
// gets the whole description when it offers the effect's context, RGBA and
// bytes or floats, and a kOfxStatErrMissingHostFeature describe otherwise.
void describeEffect(ImageEffectDescriptor& desc, const EffectDeclaration& decl);

// The input clips of the effect's context ("Source", or "SourceFrom" and
// "SourceTo" for transitions; none for generators) and "Output".
void defineEffectClips(ImageEffectDescriptor& desc, ContextEnum context);

// A generator's only clip, "Output", which draws relative to the whole frame
// it is given and so takes no tiles.
void defineGeneratorOutput(ImageEffectDescriptor& desc);

// The "Controls" page with every parameter defined so far on it, then the
// uplift GUID: the last steps of every describeInContext.
void finishEffectDescription(ImageEffectDescriptor& desc, const EffectDeclaration& decl);

// Takes over the keys of an older form that held one double per key (an
// 8-byte record): a single key at time 0, or keys that all agree, become a
// plain value; otherwise every key is set at its time with its
// interpolation. Keys of another length are passed over.
void upliftOneDouble(const KeyframeUpliftArguments& args, DoubleParam& param);

// Chooses the CPU processor instance for the output clip and runs it through
// the plug-in's setupAndProcess. Components other than RGBA and depths other
// than byte and float write nothing. The template arguments follow the
// processor's <PIX, nComponents, max, isBGRA>.
template <template <class, int, int, int> class Processor, class Plugin>
void renderOnCPU(Plugin& plugin, const Clip& dstClip, const RenderArguments& args) {
    const BitDepthEnum depth = dstClip.getPixelDepth();
    const PixelComponentEnum components = dstClip.getPixelComponents();
    const bool bgra = dstClip.getPixelOrder() == 1;
    if (components != ePixelComponentRGBA) return;
    if (depth == eBitDepthUByte) {
        if (bgra) {
            Processor<unsigned char, 4, 255, 1> processor(plugin);
            plugin.setupAndProcess(processor, args);
        } else {
            Processor<unsigned char, 4, 255, 0> processor(plugin);
            plugin.setupAndProcess(processor, args);
        }
    } else if (depth == eBitDepthFloat) {
        if (bgra) {
            Processor<float, 4, 1, 1> processor(plugin);
            plugin.setupAndProcess(processor, args);
        } else {
            Processor<float, 4, 1, 0> processor(plugin);
            plugin.setupAndProcess(processor, args);
        }
    }
}

}  // namespace OFX
