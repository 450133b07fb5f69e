// LAB Adjust: works on each pixel in CIE L*a*b*: scales (and optionally
// inverts) the lightness, shifts the two colour axes and pulls them toward
// grey by the desaturation.
#include <algorithm>
#include <memory>
#include <type_traits>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "OpenCLProcessor.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "labadjust.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. L*a*b*
// depends on which component is red, so there is a kernel per depth and
// storage order: byte RGBA, byte BGRA, float RGBA, float BGRA.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k12a8acfc4", "kfcb8ef671", "k0d1dbcf7c", "k5db2d01e8"}));

// The effect has no older form, so no uplift GUID.
const OFX::EffectDeclaration kLABAdjust{
    "talvo.effects:labadjust", "TALVO LAB Adjust", "TALVO\\Color", OFX::eContextFilter, 1078, nullptr,
};

constexpr const char* kLightnessParam = "Lightness";
// Note: the a axis' identifier is "lightness", in lower case beside the
// real lightness; saved projects know it by this name.
constexpr const char* kChannelAParam = "lightness";
constexpr const char* kChannelBParam = "Channelb";
constexpr const char* kInvertLuminanceParam = "InvertLuminance";
constexpr const char* kDesaturateParam = "Desaturate";

const OFX::SliderRow kLightnessRow{kLightnessParam, "Lightness", "lightness", 1.0, 0.0, 2.0, 0.1};
const OFX::SliderRow kChannelARow{kChannelAParam, "Channel a", "channela", 0.0, -1.0, 1.0, 0.1};
const OFX::SliderRow kChannelBRow{kChannelBParam, "Channel b", "channelb", 0.0, -1.0, 1.0, 0.1};
const OFX::SliderRow kDesaturateRow{kDesaturateParam, "Desaturate", "desaturate", 0.0, 0.0, 1.0, 0.001};

// Note: the top of the lightness range when inverting, in place of 100, so
// white inverts to just below black and black to a light grey. Kept.
constexpr double kInvertTop = 95.5806655883789;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

// The change of one L*a*b* colour, prepared once per band.
struct LabChange {
    double lightness;
    double aOffset;
    double bOffset;
    double chroma;
    bool invert;

    void apply(QZLAB& lab) const {
        lab.L = (invert ? kInvertTop - lab.L : lab.L) * lightness;
        lab.a = (lab.a + aOffset) * chroma;
        lab.b = (lab.b + bOffset) * chroma;
    }
};

class labadjustProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setValues(double lightnessValue, double channelAValue, double channelBValue, bool invertValue,
                   double desaturateValue) {
        lightness = lightnessValue;
        channelA = channelAValue;
        channelB = channelBValue;
        invertLuminance = invertValue;
        desaturate = desaturateValue;
    }

protected:
    OFX::Image* srcImg = nullptr;
    double lightness = 1.0;
    double channelA = 0.0;
    double channelB = 0.0;
    bool invertLuminance = false;
    double desaturate = 0.0;
};

// The colours go to the conversions blue first, as their records hold them,
// whatever the storage order.
template <class PIX, int nComponents, int max, int isBGRA>
class labadjustProcessor : public labadjustProcessorBase {
public:
    using labadjustProcessorBase::labadjustProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, bytesPerPixel, status)) return status;

        // The axes' sliders run -1..1 for offsets of up to 100.
        const LabChange change{lightness, channelA * 100.0, channelB * 100.0, 1.0 - desaturate, invertLuminance};
        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* p = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, p += 4) {
                if constexpr (std::is_same_v<PIX, unsigned char>) adjustByte(p, change);
                else adjustFloat(p, change);
            }
        }
        return 0;
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // On the premultiplied bytes as they are; the conversion back leaves
    // alpha alone and the colour is then held to it.
    static void adjustByte(unsigned char* p, const LabChange& change) {
        QZRGBA px{p[kBlue], p[1], p[kRed], p[3]};
        QZLAB lab;
        QZRGBA_To_QZLAB(&lab, &px);
        change.apply(lab);
        QZLAB_To_QZRGBA(&px, &lab);
        p[kBlue] = std::min(px.b, p[3]);
        p[1] = std::min(px.g, p[3]);
        p[kRed] = std::min(px.r, p[3]);
    }

    // The float alpha rule of the colour filters: no colour without alpha,
    // unpremultiplied around the change below full alpha, and alpha at or
    // above 1 written as exactly 1.
    static void adjustFloat(float* p, const LabChange& change) {
        const float a = p[3];
        if (!(a > kAlphaFloor)) {
            p[0] = p[1] = p[2] = p[3] = 0.0f;
            return;
        }
        if (a < 1.0f) {
            QZDIBPIXEL px{p[kBlue] / a, p[1] / a, p[kRed] / a, a};
            adjustColour(px, change);
            p[kBlue] = px.b * a;
            p[1] = px.g * a;
            p[kRed] = px.r * a;
        } else {
            QZDIBPIXEL px{p[kBlue], p[1], p[kRed], a};
            adjustColour(px, change);
            p[kBlue] = px.b;
            p[1] = px.g;
            p[kRed] = px.r;
            p[3] = 1.0f;
        }
    }

    static void adjustColour(QZDIBPIXEL& px, const LabChange& change) {
        QZLAB lab;
        QZDIBPIXEL_To_QZLAB_Float(&lab, &px);
        change.apply(lab);
        QZLAB_To_QZDIBPIXEL_Float(&px, &lab);
    }
};

class labadjustOpenCLProcessor : public OpenCLProcessor<labadjustProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    // The change as the processor prepares it: lightness factor, a and b
    // offsets, invert flag, chroma factor.
    void process() override {
        if (!dstImg || !srcImg) return;
        const int index = (floatOutput() ? 2 : 0) + (bgra ? 1 : 0);
        launchOverWindow(openCL, index, buffer(srcImg), buffer(dstImg), static_cast<float>(lightness),
                         static_cast<float>(channelA * 100.0), static_cast<float>(channelB * 100.0),
                         static_cast<cl_int>(invertLuminance ? 1 : 0), static_cast<float>(1.0 - desaturate),
                         windowWidth(), windowHeight());
    }
};

class labadjustPlugin : public OFX::ImageEffect {
public:
    explicit labadjustPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          lightness(fetchDoubleParam(kLightnessParam)),
          channelA(fetchDoubleParam(kChannelAParam)),
          channelB(fetchDoubleParam(kChannelBParam)),
          invertLuminance(fetchBooleanParam(kInvertLuminanceParam)),
          desaturate(fetchDoubleParam(kDesaturateParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<labadjustOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<labadjustProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(labadjustProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setValues(lightness->getValueAtTime(args.time), channelA->getValueAtTime(args.time),
                            channelB->getValueAtTime(args.time), invertLuminance->getValueAtTime(args.time),
                            desaturate->getValueAtTime(args.time));
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::DoubleParam* lightness;
    OFX::DoubleParam* channelA;
    OFX::DoubleParam* channelB;
    OFX::BooleanParam* invertLuminance;
    OFX::DoubleParam* desaturate;
};

class labadjustPluginFactory : public OFX::PluginFactoryHelper<labadjustPluginFactory> {
public:
    labadjustPluginFactory() : OFX::PluginFactoryHelper<labadjustPluginFactory>("talvo.effects:labadjust", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kLABAdjust); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::defineSlider(desc, kLightnessRow);
        OFX::defineSlider(desc, kChannelARow);
        OFX::defineSlider(desc, kChannelBRow);
        OFX::BooleanParamDescriptor* invert = desc.defineBooleanParam(kInvertLuminanceParam);
        invert->setLabels("Invert Luminance", "Invert Luminance", "Invert Luminance");
        invert->setScriptName("invertluminance");
        invert->setDefault(false);
        invert->setAnimates(true);
        OFX::defineSlider(desc, kDesaturateRow);
        OFX::finishEffectDescription(desc, kLABAdjust);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new labadjustPlugin(handle);
    }
};

const OFX::FactoryRegistration<labadjustPluginFactory> registration;

}  // namespace
