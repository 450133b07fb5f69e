// Color Balance: shifts each colour by its slider, weighted toward the
// highlights, the midtones or the shadows by the pixel's mean level. With
// luminosity preserved each shift takes half of the other two away, so the
// mean moves less.
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
#include "colorbalance.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// result depends on which component is red, so there is a kernel per depth
// and storage order: byte RGBA, byte BGRA, float RGBA, float BGRA.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"kc2da69c00", "k8cf90441b", "k0810d9ff8", "kec0e15b08"}));

const OFX::EffectDeclaration kColorBalance{
    "talvo.effects:colorbalance", "TALVO Color Balance", "TALVO\\Color", OFX::eContextFilter, 1060, "{C3062BEC-E69D-11D1-9AA9-00A0C99B12C5}",
};

constexpr const char* kRedParam = "Red";
constexpr const char* kGreenParam = "Green";
constexpr const char* kBlueParam = "Blue";
constexpr const char* kTypeParam = "Type";
constexpr const char* kPreserveLuminosityParam = "PreserveLuminosity";

// The values of Type; the third option's label is "Shadow", singular.
enum Range { kHighlights = 0, kMidtones = 1, kShadows = 2 };

// How strongly a pixel of mean level L (nominally 0 to 1) takes the shifts.
template <int range>
double weightOf(double level) {
    if constexpr (range == kShadows) {
        return 1.0 - level * level;
    } else if constexpr (range == kMidtones) {
        // 1 - 4 (L - 0.5)^2, in this grouping: it decides the last bits.
        return 1.0 - 2.0 * (2.0 * (level - 0.5) * (level - 0.5));
    } else {
        return 1.0 - (1.0 - level) * (1.0 - level);
    }
}

class colorbalanceProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setValues(double redValue, double greenValue, double blueValue, int typeValue, bool preserve) {
        red = static_cast<float>(redValue);
        green = static_cast<float>(greenValue);
        blue = static_cast<float>(blueValue);
        type = typeValue;
        preserveLuminosity = preserve;
    }

protected:
    OFX::Image* srcImg = nullptr;
    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
    int type = kMidtones;
    bool preserveLuminosity = true;
};

template <class PIX, int nComponents, int max, int isBGRA>
class colorbalanceProcessor : public colorbalanceProcessorBase {
public:
    using colorbalanceProcessorBase::colorbalanceProcessorBase;

    // Reads the source and writes the output pixel by pixel. The byte path
    // on CPUs with wide vectors may take four pixels a step; its results are
    // the scalar ones, so the scalar routine serves all.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI rows = OFX::clipToImage(OFX::clipToImage(procWindow, dstImg), srcImg);
        switch (type) {
        case kShadows: return balanceRows<kShadows>(rows);
        case kMidtones: return balanceRows<kMidtones>(rows);
        default: return balanceRows<kHighlights>(rows);
        }
    }

private:
    // The pixel in the order the formula names it, c0, c1, c2: blue, green,
    // red, whatever the storage order, so that both orders round alike.
    static constexpr int kAt[3] = {isBGRA ? 0 : 2, 1, isBGRA ? 2 : 0};

    template <int range>
    int balanceRows(const OfxRectI& rows) {
        // The shift of c0, c1, c2. Note: the float path gives Red to blue and
        // Blue to red, the byte path each to its own colour; both are the
        // defined results.
        float shift[3];
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            shift[0] = blue;
            shift[2] = red;
        } else {
            shift[0] = red;
            shift[2] = blue;
        }
        shift[1] = green;
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* d = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            const auto* s = static_cast<const PIX*>(srcImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, d += 4, s += 4) {
                if constexpr (std::is_same_v<PIX, unsigned char>) balanceByte<range>(d, s, shift);
                else balanceFloat<range>(d, s, shift);
            }
        }
        return 0;
    }

    // On the stored (premultiplied) bytes, with no regard to alpha: the
    // shifts are rounded to whole levels, the halves rounded on their own,
    // and the sum is held to 0..255.
    template <int range>
    void balanceByte(unsigned char* d, const unsigned char* s, const float* shift) const {
        const double level = static_cast<double>((s[0] + s[1] + s[2]) / 3) / 255.0;
        const double w = weightOf<range>(level);
        double levels[3];
        int offset[3];
        for (int c = 0; c < 3; ++c) {
            levels[c] = shift[c] * w * 255.0;
            offset[c] = qz::roundBiased(levels[c]);
        }
        if (preserveLuminosity) {
            int half[3];
            for (int c = 0; c < 3; ++c) half[c] = qz::roundBiased(levels[c] * 0.5);
            offset[0] -= half[1] + half[2];
            offset[1] -= half[0] + half[2];
            offset[2] -= half[0] + half[1];
        }
        for (int c = 0; c < 3; ++c) d[kAt[c]] = static_cast<unsigned char>(std::clamp(s[kAt[c]] + offset[c], 0, 255));
        d[3] = s[3];
    }

    // Unclamped, and the output's alpha is not written: it stays as the
    // host gave it. The mean is a float sum; the weight and shifts run in
    // double and each result is rounded once to float.
    template <int range>
    void balanceFloat(float* d, const float* s, const float* shift) const {
        const float level = (s[kAt[0]] + s[kAt[1]] + s[kAt[2]]) / 3.0f;
        const double w = weightOf<range>(level);
        double offset[3];
        for (int c = 0; c < 3; ++c) offset[c] = shift[c] * w;
        if (preserveLuminosity) {
            const double kept[3] = {offset[0] - offset[1] / 2 - offset[2] / 2,
                                    offset[1] - offset[0] / 2 - offset[2] / 2,
                                    offset[2] - offset[0] / 2 - offset[1] / 2};
            std::copy(kept, kept + 3, offset);
        }
        for (int c = 0; c < 3; ++c) d[kAt[c]] = static_cast<float>(s[kAt[c]] + offset[c]);
    }
};

class colorbalanceOpenCLProcessor : public OpenCLProcessor<colorbalanceProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    // The sliders go as the processor holds them, Red, Green, Blue; each
    // kernel gives them to the colours as its depth's processor does.
    void process() override {
        if (!dstImg || !srcImg) return;
        const int index = (floatOutput() ? 2 : 0) + (bgra ? 1 : 0);
        launchOverWindow(openCL, index, buffer(srcImg), buffer(dstImg), red, green, blue, static_cast<cl_int>(type),
                         static_cast<cl_int>(preserveLuminosity ? 1 : 0), windowWidth(), windowHeight());
    }
};

class colorbalancePlugin : public OFX::ImageEffect {
public:
    explicit colorbalancePlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          red(fetchDoubleParam(kRedParam)),
          green(fetchDoubleParam(kGreenParam)),
          blue(fetchDoubleParam(kBlueParam)),
          type(fetchChoiceParam(kTypeParam)),
          preserveLuminosity(fetchBooleanParam(kPreserveLuminosityParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<colorbalanceOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<colorbalanceProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(colorbalanceProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setValues(red->getValueAtTime(args.time), green->getValueAtTime(args.time),
                            blue->getValueAtTime(args.time), type->getValueAtTime(args.time),
                            preserveLuminosity->getValueAtTime(args.time));
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::DoubleParam* red;
    OFX::DoubleParam* green;
    OFX::DoubleParam* blue;
    OFX::ChoiceParam* type;
    OFX::BooleanParam* preserveLuminosity;
};

class colorbalancePluginFactory : public OFX::PluginFactoryHelper<colorbalancePluginFactory> {
public:
    colorbalancePluginFactory()
        : OFX::PluginFactoryHelper<colorbalancePluginFactory>("talvo.effects:colorbalance", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kColorBalance); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::defineSlider(desc, {kRedParam, "Red", "red", 0.0, -0.5, 0.5, 0.1});
        OFX::defineSlider(desc, {kGreenParam, "Green", "green", 0.0, -0.5, 0.5, 0.1});
        OFX::defineSlider(desc, {kBlueParam, "Blue", "blue", 0.0, -0.5, 0.5, 0.1});

        OFX::ChoiceParamDescriptor* typeParam = desc.defineChoiceParam(kTypeParam);
        typeParam->setLabels("Type", "Type", "Type");
        typeParam->setScriptName("type");
        typeParam->appendOption("Highlights");
        typeParam->appendOption("Midtones");
        typeParam->appendOption("Shadow");
        typeParam->setDefault(kMidtones);
        typeParam->setAnimates(true);

        OFX::BooleanParamDescriptor* preserve = desc.defineBooleanParam(kPreserveLuminosityParam);
        preserve->setLabels("Preserve luminosity", "Preserve luminosity", "Preserve luminosity");
        preserve->setScriptName("preserveluminosity");
        preserve->setDefault(true);
        preserve->setAnimates(true);
        OFX::finishEffectDescription(desc, kColorBalance);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new colorbalancePlugin(handle);
    }
};

const OFX::FactoryRegistration<colorbalancePluginFactory> registration;

}  // namespace
