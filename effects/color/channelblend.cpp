// Channel Blend: each output component is a weighted sum of the four input
// components plus an offset. The groups go by memory position, not by
// colour: the group named red reads and writes the first component in
// memory, which on a blue-first pixel is blue. The result stays a valid
// premultiplied pixel: alpha is held to 0..1 and each colour to 0..alpha.
#include <cstddef>
#include <memory>
#include <utility>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "OpenCLProcessor.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "channelblend.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds a byte and a float kernel, in this order; the groups go by
// memory position, so the storage order needs no kernel of its own.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k848d3e676", "kd25d96974"}));

const OFX::EffectDeclaration kChannelBlend{
    "talvo.effects:channelblend", "TALVO Channel Blend", "TALVO\\Utility", OFX::eContextFilter, 1230, "{0BC15B73-83B9-11D4-9F67-00485481BD31}", true,
    false, &OFX::kHostsSince18,
};

constexpr const char* kNormalizeParam = "Normalize";

// The four groups in the order of the components they write, and in each
// the weights of components 0 to 3 and the offset. Note: the identifiers
// hold blanks and serve as script names too; saved projects know them so.
constexpr int kGroups = 4;
constexpr int kTerms = 5;
constexpr int kOffsetTerm = 4;
constexpr int kAlphaGroup = 3;

constexpr const char* kGroupParams[kGroups] = {"Group RED", "Group GREEN", "Group BLUE", "Group ALPHA"};
constexpr const char* kGroupLabels[kGroups] = {"Red Output", "Green Output", "Blue Output", "Alpha Output"};
constexpr const char* kWeightParams[kGroups][kTerms] = {
    {"RED weight R", "RED weight G", "RED weight B", "RED weight A", "RED weight Offset"},
    {"GREEN weight R", "GREEN weight G", "GREEN weight B", "GREEN weight A", "GREEN weight Offset"},
    {"BLUE weight R", "BLUE weight G", "BLUE weight B", "BLUE weight A", "BLUE weight Offset"},
    {"ALPHA weight R", "ALPHA weight G", "ALPHA weight B", "ALPHA weight A", "ALPHA weight Offset"},
};
// Note: only the first group spells "channel" in lower case; the labels are
// kept as users have always seen them.
constexpr const char* kFirstGroupWeightLabels[kTerms] = {
    "Red channel weighting", "Green channel weighting", "Blue channel weighting", "Alpha channel weighting", "Offset",
};
constexpr const char* kWeightLabels[kTerms] = {
    "Red Channel Weighting", "Green Channel Weighting", "Blue Channel Weighting", "Alpha Channel Weighting", "Offset",
};

using Weights = double[kGroups][kTerms];

class channelblendProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    // With normalize, each group whose terms sum above 0 is divided by that
    // sum; a group summing to 0 or less stays as it is. Done once here
    // rather than per pixel: after one division the terms sum to 1, so a
    // repetition would change nothing but rounding.
    void setValues(bool normalizeValue, const Weights& values) {
        normalize = normalizeValue;
        for (int g = 0; g < kGroups; ++g) {
            double sum = 0.0;
            for (int t = 0; t < kTerms; ++t) sum += values[g][t];
            for (int t = 0; t < kTerms; ++t) weights[g][t] = normalize && sum > 0.0 ? values[g][t] / sum : values[g][t];
        }
    }

protected:
    OFX::Image* srcImg = nullptr;
    bool normalize = false;
    Weights weights{};
};

template <class PIX, int nComponents, int max, int isBGRA>
class channelblendProcessor : public channelblendProcessorBase {
public:
    using channelblendProcessorBase::channelblendProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI rows = OFX::clipToImage(OFX::clipToImage(procWindow, dstImg), srcImg);

        // Offsets are in units of the full scale: 255 on bytes.
        Weights w;
        for (int g = 0; g < kGroups; ++g) {
            for (int t = 0; t < kTerms; ++t) w[g][t] = weights[g][t];
            w[g][kOffsetTerm] = weights[g][kOffsetTerm] * max;
        }
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* d = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            const auto* s = static_cast<const PIX*>(srcImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, d += 4, s += 4) blendPixel(d, s, w);
        }
        return 0;
    }

private:
    static double blendOf(const double* c, const double* w) {
        return c[0] * w[0] + c[1] * w[1] + c[2] * w[2] + c[3] * w[3] + w[4];
    }

    // Alpha first, held to 0..max; each colour then to 0..alpha, where a NaN
    // falls to the alpha side. Bytes truncate.
    static void blendPixel(PIX* d, const PIX* s, const Weights& w) {
        const double c[4] = {static_cast<double>(s[0]), static_cast<double>(s[1]), static_cast<double>(s[2]),
                             static_cast<double>(s[3])};
        const double av = blendOf(c, w[kAlphaGroup]);
        const double a = av < 0.0 ? 0.0 : (av <= max ? av : static_cast<double>(max));
        for (int g = 0; g < kAlphaGroup; ++g) {
            const double v = blendOf(c, w[g]);
            d[g] = static_cast<PIX>(v < 0.0 ? 0.0 : (v <= a ? v : a));
        }
        d[3] = static_cast<PIX>(a);
    }
};

class channelblendOpenCLProcessor : public OpenCLProcessor<channelblendProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    void process() override {
        if (!dstImg || !srcImg) return;
        const bool isFloat = floatOutput();
        launch(isFloat ? 1 : 0, std::make_index_sequence<kGroups * kTerms>());
    }

private:
    // After the buffers: the 20 terms (normalised here already), group by
    // group, each group's four weights then its offset, as floats; then the
    // window's width and height.
    template <std::size_t... I>
    void launch(std::size_t kernel, std::index_sequence<I...>) {
        launchOverWindow(openCL, kernel, buffer(srcImg), buffer(dstImg),
                         static_cast<float>(weights[I / kTerms][I % kTerms])..., windowWidth(), windowHeight());
    }
};

class channelblendPlugin : public OFX::ImageEffect {
public:
    explicit channelblendPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          normalize(fetchBooleanParam(kNormalizeParam)) {
        for (int g = 0; g < kGroups; ++g)
            for (int t = 0; t < kTerms; ++t) weights[g][t] = fetchDoubleParam(kWeightParams[g][t]);
        openCL.buildIfDeferred();
    }

    // The formula goes by memory position, so the pixel order changes
    // nothing and one instance per depth serves both orders; the frame's
    // dispatch by order would build the BGRA instances for no purpose.
    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<channelblendOpenCLProcessor>(*this, *dstClip, args)) return;
        if (dstClip->getPixelComponents() != OFX::ePixelComponentRGBA) return;
        switch (dstClip->getPixelDepth()) {
        case OFX::eBitDepthUByte: {
            channelblendProcessor<unsigned char, 4, 255, 0> processor(*this);
            setupAndProcess(processor, args);
            break;
        }
        case OFX::eBitDepthFloat: {
            channelblendProcessor<float, 4, 1, 0> processor(*this);
            setupAndProcess(processor, args);
            break;
        }
        default: break;
        }
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(channelblendProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        Weights values;
        for (int g = 0; g < kGroups; ++g)
            for (int t = 0; t < kTerms; ++t) values[g][t] = weights[g][t]->getValueAtTime(args.time);
        processor.setValues(normalize->getValueAtTime(args.time), values);
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::BooleanParam* normalize;
    OFX::DoubleParam* weights[kGroups][kTerms];
};

class channelblendPluginFactory : public OFX::PluginFactoryHelper<channelblendPluginFactory> {
public:
    channelblendPluginFactory()
        : OFX::PluginFactoryHelper<channelblendPluginFactory>("talvo.effects:channelblend", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kChannelBlend); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::BooleanParamDescriptor* normalizeParam = desc.defineBooleanParam(kNormalizeParam);
        normalizeParam->setLabels("Normalize", "Normalize", "Normalize");
        normalizeParam->setScriptName(kNormalizeParam);
        normalizeParam->setDefault(false);

        for (int g = 0; g < kGroups; ++g) {
            OFX::GroupParamDescriptor* group = desc.defineGroupParam(kGroupParams[g]);
            group->setLabels(kGroupLabels[g], kGroupLabels[g], kGroupLabels[g]);
            const char* const* labels = g == 0 ? kFirstGroupWeightLabels : kWeightLabels;
            for (int t = 0; t < kTerms; ++t) {
                OFX::DoubleParamDescriptor* param = desc.defineDoubleParam(kWeightParams[g][t]);
                param->setLabels(labels[t], labels[t], labels[t]);
                param->setScriptName(kWeightParams[g][t]);
                // Each output starts as a copy of its own input.
                param->setDefault(t == g ? 1.0 : 0.0);
                // The panel shows the useful part of the range.
                param->setRange(-255.0, 255.0);
                param->setDisplayRange(-10.0, 10.0);
                param->setAnimates(true);
                param->setParent(*group);
            }
        }
        OFX::finishEffectDescription(desc, kChannelBlend);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new channelblendPlugin(handle);
    }
};

const OFX::FactoryRegistration<channelblendPluginFactory> registration;

}  // namespace
