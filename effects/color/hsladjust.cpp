// HSL Adjust: turns each pixel's hue and scales its saturation and
// lightness. Float pixels go through the range-tolerant HSL pair, so
// over- and under-range colours survive; byte pixels through the ordinary
// pair, clamped to the unit ranges.
#include <algorithm>
#include <cmath>
#include <memory>
#include <type_traits>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "OpenCLProcessor.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "hsladjust.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. Hue
// depends on which component is red, so there is a kernel per depth and
// storage order: byte RGBA, byte BGRA, float RGBA, float BGRA.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k1293792e6", "kfcf345abd", "ke4d06c2af", "k5e1c5563a"}));

const OFX::EffectDeclaration kHSLAdjust{
    "talvo.effects:hsladjust", "TALVO HSL Adjust", "TALVO\\Color", OFX::eContextFilter, 1680, "{B432972D-E08D-11D2-BF8A-006097C9EBF7}",
};

// Note: the hue slider's identifier is "Output" and its script name holds
// blanks; saved projects and scripts know it by these.
constexpr const char* kAddToHueParam = "Output";
constexpr const char* kSaturationParam = "Saturation";
constexpr const char* kLuminanceParam = "Luminance";

const OFX::SliderRow kSliders[] = {
    {kAddToHueParam, "Add to hue", "Add to hue", 0.0, 0.0, 1.0, 0.1},
    {kSaturationParam, "Saturation", "saturation", 1.0, 0.0, 2.0, 0.1},
    {kLuminanceParam, "Luminance", "luminance", 1.0, 0.0, 2.0, 0.1},
};

double clampUnit(double v) { return std::clamp(v, 0.0, 1.0); }

class hsladjustProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setValues(double hueValue, double saturationValue, double luminanceValue) {
        hue = hueValue;
        saturation = saturationValue;
        luminance = luminanceValue;
    }

protected:
    OFX::Image* srcImg = nullptr;
    double hue = 0.0;
    double saturation = 1.0;
    double luminance = 1.0;
};

// The colours go to the conversions blue first, as their records hold them,
// whatever the storage order.
template <class PIX, int nComponents, int max, int isBGRA>
class hsladjustProcessor : public hsladjustProcessorBase {
public:
    using hsladjustProcessorBase::hsladjustProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, bytesPerPixel, status)) return status;

        // The byte conversion back has a two-pixel vector form on CPUs with
        // AVX2; it gives the scalar results, so the scalar form serves all.
        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* p = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, p += 4) {
                if constexpr (std::is_same_v<PIX, unsigned char>) adjustByte(p);
                else adjustFloat(p);
            }
        }
        return 0;
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    void adjustByte(unsigned char* p) const {
        QZRGBA px{p[kBlue], p[1], p[kRed], p[3]};
        QZHSL hsl;
        QZRGBA_To_QZHSL(&hsl, &px);
        // Pure red reads as hue 1.0; a sum of exactly 1 stays, which
        // converts back like 0.
        hsl.h += hue;
        if (hsl.h > 1.0) hsl.h -= 1.0;
        hsl.s = clampUnit(hsl.s * saturation);
        hsl.l = clampUnit(hsl.l * luminance);
        QZHSL_To_QZRGBA(&px, &hsl);
        // Note: alpha makes the round trip with the colour, so the alphas
        // that scale to just under their level (33, 132 and others) come back
        // one lower; the colour is then held to that alpha.
        p[kBlue] = std::min(px.b, px.a);
        p[1] = std::min(px.g, px.a);
        p[kRed] = std::min(px.r, px.a);
        p[3] = px.a;
    }

    void adjustFloat(float* p) const {
        const float a = p[3];
        QZDIBPIXEL px{p[kBlue], p[1], p[kRed], a};
        QZHSL hsl;
        QZDIBPIXEL_To_QZHSL_Float(&hsl, &px);
        // The hue wraps by its integer part; saturation and lightness are
        // left unclamped so that over-range colours keep their meaning.
        hsl.h += hue;
        hsl.h -= std::trunc(hsl.h);
        hsl.s *= saturation;
        hsl.l *= luminance;
        QZHSL_To_QZDIBPIXEL_Float(&px, &hsl);
        p[kBlue] = px.b;
        p[1] = px.g;
        p[kRed] = px.r;
        p[3] = a;
    }
};

class hsladjustOpenCLProcessor : public OpenCLProcessor<hsladjustProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    void process() override {
        if (!dstImg || !srcImg) return;
        const int index = (floatOutput() ? 2 : 0) + (bgra ? 1 : 0);
        const cl_float4 change{{static_cast<float>(hue), static_cast<float>(saturation),
                                static_cast<float>(luminance), 0.0f}};
        launchOverWindow(openCL, index, buffer(srcImg), buffer(dstImg), change, windowWidth(), windowHeight());
    }
};

class hsladjustPlugin : public OFX::ImageEffect {
public:
    explicit hsladjustPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          addToHue(fetchDoubleParam(kAddToHueParam)),
          saturation(fetchDoubleParam(kSaturationParam)),
          luminance(fetchDoubleParam(kLuminanceParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<hsladjustOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<hsladjustProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(hsladjustProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setValues(addToHue->getValueAtTime(args.time), saturation->getValueAtTime(args.time),
                            luminance->getValueAtTime(args.time));
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::DoubleParam* addToHue;
    OFX::DoubleParam* saturation;
    OFX::DoubleParam* luminance;
};

class hsladjustPluginFactory : public OFX::PluginFactoryHelper<hsladjustPluginFactory> {
public:
    hsladjustPluginFactory() : OFX::PluginFactoryHelper<hsladjustPluginFactory>("talvo.effects:hsladjust", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kHSLAdjust); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        for (const OFX::SliderRow& row : kSliders) OFX::defineSlider(desc, row);
        OFX::finishEffectDescription(desc, kHSLAdjust);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new hsladjustPlugin(handle);
    }
};

const OFX::FactoryRegistration<hsladjustPluginFactory> registration;

}  // namespace
