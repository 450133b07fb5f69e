// Sepia: desaturates toward the plain mean of the three colours and then
// tints toward a colour. The strength runs through three zones: up to 1/3
// it only desaturates (half way at 1/3), up to 2/3 it desaturates further
// and starts to tint, above 2/3 it tints the full grey. The falloff lowers
// the tint on bright pixels.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "OpenCLProcessor.h"
#include "QzRound.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "sepia.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds, for bytes and then floats, a kernel per pixel order (RGBA,
// then BGRA).
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k58d1e0c7a", "ka2f7c3916", "k0e4b9d28f", "k6b3a5f01c"}));

const OFX::EffectDeclaration kSepia{
    "talvo.effects:sepia", "TALVO Sepia", "TALVO\\Color", OFX::eContextFilter, 1740, "{7F21572F-453A-11D3-80A7-00C04F60C0FA}",
};

constexpr const char* kColorParam = "Color";
constexpr const char* kStrengthParam = "BlendingStrength";
constexpr const char* kFalloffParam = "BlendingFalloff";

// The zone edges are these two doubles, and a strength equal to an edge
// still belongs to the lower zone: exactly 2/3 desaturates by a factor just
// under 1 instead of taking the full grey.
constexpr double kDesaturateOnlyEdge = 0.3333333333333333;
constexpr double kPartialGreyEdge = 0.6666666666666666;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

enum class Zone { DesaturateOnly, PartialGreyAndTint, FullGreyAndTint };

Zone zoneOf(double strength) {
    if (strength <= kDesaturateOnlyEdge) return Zone::DesaturateOnly;
    if (strength <= kPartialGreyEdge) return Zone::PartialGreyAndTint;
    return Zone::FullGreyAndTint;
}

class sepiaProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setValues(double red, double green, double blue, double strengthValue, double falloffValue) {
        colorRed = red;
        colorGreen = green;
        colorBlue = blue;
        strength = strengthValue;
        falloff = falloffValue;
    }

protected:
    OFX::Image* srcImg = nullptr;
    double colorRed = 0.0;
    double colorGreen = 0.0;
    double colorBlue = 0.0;
    double strength = 0.0;
    double falloff = 0.0;
};

template <class PIX, int nComponents, int max, int isBGRA>
class sepiaProcessor : public sepiaProcessorBase {
public:
    using sepiaProcessorBase::sepiaProcessorBase;

    // Works in place on the output after a plain copy of the source.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, kBytesPerPixel, status)) return status;

        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        const OFX::RawView dst = OFX::rawView(dstImg);
        const RECT window = OFX::toRECT(procWindow);
        switch (zoneOf(strength)) {
        case Zone::DesaturateOnly: return sepiaRows<Zone::DesaturateOnly>(rows, dst, window);
        case Zone::PartialGreyAndTint: return sepiaRows<Zone::PartialGreyAndTint>(rows, dst, window);
        case Zone::FullGreyAndTint: return sepiaRows<Zone::FullGreyAndTint>(rows, dst, window);
        }
        return 0;
    }

private:
    static constexpr int32_t kBytesPerPixel = sizeof(PIX) * 4;
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // What a render call derives from the parameters once: the
    // desaturation factor q, the tint level r before the falloff, and the
    // tint colour at the pixel's storage indices.
    struct Factors {
        double desaturation;
        double tintLevel;
        double falloff;
        double tint[3];
    };

    Factors factors() const {
        Factors k{strength * 1.5, (strength - kDesaturateOnlyEdge) * 1.5, falloff, {}};
        k.tint[kBlue] = colorBlue;
        k.tint[1] = colorGreen;
        k.tint[kRed] = colorRed;
        return k;
    }

    template <Zone zone>
    int sepiaRows(const OfxRectI& rows, const OFX::RawView& dst, const RECT& window) {
        const Factors k = factors();
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            const ByteFactors b = byteFactors<zone>(k);
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                auto* p = static_cast<unsigned char*>(dstImg->getPixelAddress(rows.x1, y));
                for (int x = rows.x1; x < rows.x2; ++x, p += 4) sepiaByte<zone>(p, b);
            }
            // The byte sums work on premultiplied values without looking at
            // alpha, so the tint can leave a colour above its alpha.
            return QzDibPatchPreMultiplied(dst.base, &dst.bounds, dst.stride, &window, kBytesPerPixel);
        } else {
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                auto* p = static_cast<float*>(dstImg->getPixelAddress(rows.x1, y));
                for (int x = rows.x1; x < rows.x2; ++x, p += 4) sepiaFloat<zone>(p, k);
            }
            return 0;
        }
    }

    // The byte path: the mix weight k (of 256), the tint bytes, and the tint
    // weight per grey level, which is where the falloff acts.
    struct ByteFactors {
        int mix;
        int tint[3];
        unsigned char tintWeight[256];
    };

    template <Zone zone>
    static ByteFactors byteFactors(const Factors& k) {
        ByteFactors b{};
        if constexpr (zone == Zone::DesaturateOnly) {
            b.mix = qz::truncToInt32(k.desaturation * 255.0);
            return b;
        }
        b.mix = qz::truncToInt32(qz::clampUnit(k.desaturation) * 255.0);
        // Note: the tint bytes keep the low byte of the truncation, so a
        // colour outside 0..1 wraps rather than saturates.
        for (int c = 0; c < 3; ++c) b.tint[c] = qz::truncToInt32(k.tint[c] * 255.0) & 0xFF;
        // Note: in the middle zone the level is not clamped before taking its
        // low byte; it stays within 0..0.5 there, so the byte is the level.
        const int base = zone == Zone::PartialGreyAndTint ? qz::truncToInt32(k.tintLevel * 255.0) & 0xFF
                                                          : qz::truncToInt32(qz::clampUnit(k.tintLevel) * 255.0);
        for (int i = 0; i < 256; ++i)
            b.tintWeight[i] = static_cast<unsigned char>(std::clamp(base - i * k.falloff, 0.0, 255.0));
        return b;
    }

    template <Zone zone>
    static void sepiaByte(unsigned char* p, const ByteFactors& b) {
        const int g = (p[0] + p[1] + p[2]) / 3;
        for (int c = 0; c < 3; ++c) {
            const int v = p[c];
            if constexpr (zone == Zone::DesaturateOnly) {
                p[c] = static_cast<unsigned char>((g - v) * b.mix / 256 + v);
            } else if constexpr (zone == Zone::PartialGreyAndTint) {
                const int partial = (g - v) * b.mix / 256 + v;
                p[c] = static_cast<unsigned char>((b.tint[c] - partial) * b.tintWeight[g] / 256 + partial);
            } else {
                p[c] = static_cast<unsigned char>((b.tint[c] - g) * b.tintWeight[g] / 256 + g);
            }
        }
    }

    // The float alpha rule of the colour filters: no colour without alpha,
    // unpremultiplied around the change below full alpha, and alpha at or
    // above 1 written as exactly 1. The grey and the mixes run in double;
    // each result is rounded to float before the re-premultiplication.
    template <Zone zone>
    static void sepiaFloat(float* p, const Factors& k) {
        const float a = p[3];
        if (a <= kAlphaFloor) {
            p[0] = p[1] = p[2] = p[3] = 0.0f;
            return;
        }
        const bool partialAlpha = a < 1.0f;
        float u[3];
        for (int c = 0; c < 3; ++c) u[c] = partialAlpha ? p[c] / a : p[c];
        // Summed blue first, whatever the storage order.
        const double g = (static_cast<double>(u[kBlue]) + u[1] + u[kRed]) / 3.0;
        double t = 0.0;
        if constexpr (zone != Zone::DesaturateOnly) t = qz::clampUnit(qz::clampUnit(g) * -k.falloff + k.tintLevel);
        for (int c = 0; c < 3; ++c) {
            double v;
            if constexpr (zone == Zone::DesaturateOnly) {
                v = (g - u[c]) * k.desaturation + u[c];
            } else if constexpr (zone == Zone::PartialGreyAndTint) {
                const double partial = (g - u[c]) * k.desaturation + u[c];
                v = (k.tint[c] - partial) * t + partial;
            } else {
                v = (k.tint[c] - g) * t + g;
            }
            p[c] = partialAlpha ? static_cast<float>(v) * a : static_cast<float>(v);
        }
        if (!partialAlpha) p[3] = 1.0f;
    }
};

// The tint goes to the colour components by the pixel order, and the float
// grey is summed blue first: the render's pixel order picks the kernel. The
// colour goes over as red, green, blue, with an unused last lane.
class sepiaOpenCLProcessor : public OpenCLProcessor<sepiaProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    void process() override {
        if (!dstImg || !srcImg) return;
        const int form = (floatOutput() ? 2 : 0) + (bgra ? 1 : 0);
        const cl_float4 color = {
            {static_cast<float>(colorRed), static_cast<float>(colorGreen), static_cast<float>(colorBlue), 0.0f}};
        launchOverWindow(openCL, form, buffer(srcImg), buffer(dstImg), color, static_cast<float>(strength),
                         static_cast<float>(falloff), windowWidth(), windowHeight());
    }
};

class sepiaPlugin : public OFX::ImageEffect {
public:
    explicit sepiaPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          color(fetchRGBParam(kColorParam)),
          strength(fetchDoubleParam(kStrengthParam)),
          falloff(fetchDoubleParam(kFalloffParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<sepiaOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<sepiaProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(sepiaProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        double red = 0.0, green = 0.0, blue = 0.0;
        color->getValueAtTime(args.time, red, green, blue);
        processor.setValues(red, green, blue, strength->getValueAtTime(args.time), falloff->getValueAtTime(args.time));
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::RGBParam* color;
    OFX::DoubleParam* strength;
    OFX::DoubleParam* falloff;
};

class sepiaPluginFactory : public OFX::PluginFactoryHelper<sepiaPluginFactory> {
public:
    sepiaPluginFactory() : OFX::PluginFactoryHelper<sepiaPluginFactory>("talvo.effects:sepia", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kSepia); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::RGBParamDescriptor* colorParam = desc.defineRGBParam(kColorParam);
        colorParam->setLabels("Color", "Color", "Color");
        colorParam->setScriptName("color");
        // The classic sepia yellow: 166, 166, 0 in bytes.
        colorParam->setDefault(166.0 / 255.0, 166.0 / 255.0, 0.0);
        colorParam->setAnimates(true);
        // Strength 0 leaves the image as it is: a fresh Sepia does nothing
        // until the user raises it.
        OFX::defineSlider(desc, {kStrengthParam, "Blending strength", "blendingstrength", 0.0, 0.0, 1.0, 0.1});
        OFX::defineSlider(desc, {kFalloffParam, "Blending falloff", "blendingfalloff", 0.0, 0.0, 1.0, 0.1});
        OFX::finishEffectDescription(desc, kSepia);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new sepiaPlugin(handle);
    }
};

const OFX::FactoryRegistration<sepiaPluginFactory> registration;

}  // namespace
