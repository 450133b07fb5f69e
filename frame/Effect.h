// An effect assembled from its own parts. An effect file holds only what is
// its own, top to bottom: its declaration, its parameter table, the values
// its processors read at the render time, its pixel functions (the CPU
// processor template) and its kernel launch. It then names them in one
// traits struct, and the frame makes the rest: the plug-in and its factory,
// the registration, the render's choice between the CPU templates and
// OpenCL, the images fetched and released around the processor, the
// unbounded region of definition, and the OpenCL load, unload and deferred
// build.
//
//   struct invert {
//       static constexpr const OFX::EffectDeclaration& declaration = kInvert;
//       static constexpr const auto& params = kParams;
//       using Values = invertValues;
//       static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args);
//       template <class PIX, int nComponents, int max, int isBGRA>
//       using Processor = invertProcessor<PIX, nComponents, max, isBGRA>;
//       static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({...})};
//       static void launch(OFX::OpenCLEffectProcessor<invert>& cl, const Values& v);
//       // Optional: using Plugin = a class derived from OFX::EffectPlugin<invert>;
//       // Optional: static void uplift(OFX::EffectPlugin<invert>&, const KeyframeUpliftArguments&);
//       // Optional, for CPU work that cannot be split by rows:
//       // static constexpr bool wholeWindow = true;
//   };
//   const OFX::EffectRegistration<invert> registration;
//
// An effect without OpenCL leaves out `openCL` and `launch`. An effect with
// behaviour of its own (a changed parameter, an analysis) derives its plug-in
// from EffectPlugin and overrides just that.
//
// The one frame header that reaches into gpu/: an effect is assembled from
// both.
#pragma once

#include <memory>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "OpenCLProcessor.h"
#include "ParamTable.h"

namespace OFX {

// The processor base of every effect: the output and, outside generators,
// the source image, the render window and the values read once per render.
template <class ValuesRecord>
class EffectProcessorBase : public ImageProcessor {
public:
    using Values = ValuesRecord;
    using ImageProcessor::ImageProcessor;

    void setSrcImg(Image* image) { srcImg = image; }
    void setValues(const Values& v) { values = v; }

protected:
    Image* srcImg = nullptr;
    Values values{};
};

template <class Effect>
concept HasOpenCL = requires {
    Effect::openCL;
};

// An effect whose CPU processor takes the whole render window in one call
// rather than a band of rows per thread.
template <class Effect>
concept WholeWindow = requires {
    requires Effect::wholeWindow;
};

template <class Effect>
inline constexpr bool kHasSource = Effect::declaration.context != eContextGenerator;

// The effect's OpenCL processor: its launch runs under the effect's launch
// lock, on images that are all there.
template <class Effect>
class OpenCLEffectProcessor : public OpenCLProcessor<EffectProcessorBase<typename Effect::Values>> {
public:
    using OpenCLProcessor<EffectProcessorBase<typename Effect::Values>>::OpenCLProcessor;

    // The kernel of the render's depth and order (of the given stage).
    std::size_t kernelIndex(std::size_t stage = 0) const {
        return Effect::openCL.kernelIndex(this->floatOutput(), this->bgra, stage);
    }
    // Launches kernel `kernel` of the effect over the window.
    template <class... Args>
    bool launch(std::size_t kernel, const Args&... args) {
        return this->launchOverWindow(Effect::openCL, kernel, args...);
    }

    void process() override {
        if (!this->dstImg) return;
        if (kHasSource<Effect> && !this->srcImg) return;
        const auto lock = Effect::openCL.lockLaunches();
        Effect::launch(*this, this->values);
    }
};

template <class Effect>
class EffectPlugin : public ImageEffect {
public:
    using Values = typename Effect::Values;
    using ProcessorBase = EffectProcessorBase<Values>;

    explicit EffectPlugin(OfxImageEffectHandle handle)
        : ImageEffect(handle),
          srcClip(kHasSource<Effect> ? fetchClip(kSourceClip) : nullptr),
          dstClip(fetchClip(kOutputClip)) {
        Effect::params.fetch(*this);
        if constexpr (HasOpenCL<Effect>) Effect::openCL.buildIfDeferred();
    }

    void render(const RenderArguments& args) override {
        if constexpr (HasOpenCL<Effect>) {
            if (args.openCLEnabled) {
                OpenCLEffectProcessor<Effect> processor(*this, args.openCLContext, args.openCLQueue);
                processor.setPixelOrderBGRA(dstClip->getPixelOrder() == 1);
                setupAndProcess(processor, args);
                return;
            }
        }
        renderOnCPU<Effect::template Processor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const RegionOfDefinitionArguments&, OfxRectD& rod) override {
        setInfiniteRegion(rod);
        return true;
    }

    void keyframeUplift(const KeyframeUpliftArguments& args) override {
        if constexpr (requires { Effect::uplift(*this, args); }) Effect::uplift(*this, args);
    }

    // Fetches the images, reads the values at the frame's time and runs the
    // processor; the images are released on the way out, a throw included.
    void setupAndProcess(ProcessorBase& processor, const RenderArguments& args) {
        std::unique_ptr<Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<Image> src(srcClip ? srcClip->fetchImage(args.time) : nullptr);
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setWholeWindow(WholeWindow<Effect>);
        processor.setValues(Effect::values(*this, args));
        processor.process();
    }

protected:
    Clip* srcClip;  // null in generators
    Clip* dstClip;
};

template <class Effect>
struct PluginOf {
    using type = EffectPlugin<Effect>;
};
template <class Effect>
requires requires { typename Effect::Plugin; }
struct PluginOf<Effect> {
    using type = typename Effect::Plugin;
};

template <class Effect>
class EffectFactory : public PluginFactoryHelper<EffectFactory<Effect>> {
public:
    EffectFactory()
        : PluginFactoryHelper<EffectFactory<Effect>>(Effect::declaration.identifier, Effect::declaration.versionMajor,
                                                     Effect::declaration.versionMinor) {}

    void load() override {
        if constexpr (HasOpenCL<Effect>) Effect::openCL.load();
    }
    void unload() override {
        if constexpr (HasOpenCL<Effect>) Effect::openCL.unload();
    }

    void describe(ImageEffectDescriptor& desc) override { describeEffect(desc, Effect::declaration); }

    void describeInContext(ImageEffectDescriptor& desc, ContextEnum context) override {
        if (Effect::declaration.context == eContextGenerator)
            defineGeneratorOutput(desc);
        else
            defineEffectClips(desc, context);
        Effect::params.define(desc);
        finishEffectDescription(desc, Effect::declaration);
    }

    ImageEffect* createInstance(OfxImageEffectHandle handle, ContextEnum) override {
        return new typename PluginOf<Effect>::type(handle);
    }
};

// Placed once at file scope in each effect's source.
template <class Effect>
using EffectRegistration = FactoryRegistration<EffectFactory<Effect>>;

}  // namespace OFX
