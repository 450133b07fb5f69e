// Invert: inverts the colour channels of premultiplied pixels and mixes the
// result back with the source by the blend amount.
#include <algorithm>
#include <memory>
#include <type_traits>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "KernelStore.h"
#include "OpenCLProcessor.h"
#include "QzByteDivide.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "invert.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds a byte and a float kernel, in this order.
EffectOpenCL openCL(KernelText(kKernelText), {"kd89ea7380", "k3f1c0b5e2"});

const OFX::EffectDeclaration kInvert{
    "TALVO Invert", "TALVO\\Color", OFX::eContextFilter, 1910, "{C3062BE7-E69D-11D1-9AA9-00A0C99B12C5}",
};

class invertProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setBlend(double value) { blend = value; }

protected:
    OFX::Image* srcImg = nullptr;
    double blend = 1.0;
};

template <class PIX, int nComponents, int max, int isBGRA>
class invertProcessor : public invertProcessorBase {
public:
    using invertProcessorBase::invertProcessorBase;

    // Each colour gets the same treatment, so the pixel order only decides
    // which storage index is which colour and the results match.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, bytesPerPixel, status)) return status;

        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        if (const int stopped = invertRows(rows)) return stopped;

        const OFX::RawView dst = OFX::rawView(dstImg);
        const OFX::RawView src = OFX::rawView(srcImg);
        const RECT window = OFX::toRECT(procWindow);
        return QzDibAbsoluteAlphaValueBlend(dst.base, &dst.bounds, dst.stride, &window, src.base, &src.bounds,
                                            src.stride, &window, bytesPerPixel, 1.0 - blend);
    }

private:
    int invertRows(const OfxRectI& rows) {
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            unsigned char table[256];
            for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned char>(~i);
            const qz::ByteDivider divider;
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                auto* p = static_cast<unsigned char*>(dstImg->getPixelAddress(rows.x1, y));
                for (int x = rows.x1; x < rows.x2; ++x, p += 4) invertByte(p, table, divider);
            }
        } else {
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                auto* p = static_cast<float*>(dstImg->getPixelAddress(rows.x1, y));
                for (int x = rows.x1; x < rows.x2; ++x, p += 4) invertFloat(p);
            }
        }
        return 0;
    }

    static void invertByte(unsigned char* p, const unsigned char* table, const qz::ByteDivider& divider) {
        const int a = p[3];
        if (a == 255) {
            for (int c = 0; c < 3; ++c) p[c] = table[p[c]];
        } else if (a == 0) {
            for (int c = 0; c < 3; ++c) p[c] = 0;
        } else {
            for (int c = 0; c < 3; ++c) {
                const int u = std::min<int>(255, divider.divide(p[c] * 255, a));
                // Note: the shift, not a division by 255, is the defined
                // rounding of the re-premultiplication.
                p[c] = static_cast<unsigned char>((table[u] * a) >> 8);
            }
        }
    }

    static void invertFloat(float* p) {
        const float a = p[3];
        if (a == 1.0f) {
            for (int c = 0; c < 3; ++c) p[c] = 1.0f - p[c];
            return;
        }
        // No clamp: colours outside 0..1 stay outside.
        for (int c = 0; c < 3; ++c) {
            const float u = a < 1e-6 ? 0.0f : p[c] / a;
            p[c] = (1.0f - u) * a;
        }
    }
};

class invertOpenCLProcessor : public OpenCLProcessor<invertProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    // Each colour gets the same treatment, so the pixel order does not
    // matter.
    void process() override {
        if (!dstImg || !srcImg) return;
        const bool isFloat = floatOutput();
        launchOverWindow(openCL, isFloat ? 1 : 0, buffer(srcImg), buffer(dstImg), static_cast<float>(blend),
                         windowWidth(), windowHeight());
    }
};

class invertPlugin : public OFX::ImageEffect {
public:
    explicit invertPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          blendAmount(fetchDoubleParam(OFX::kBlendAmountParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<invertOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<invertProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void keyframeUplift(const OFX::KeyframeUpliftArguments& args) override {
        OFX::upliftOneDouble(args, *blendAmount);
    }

    void setupAndProcess(invertProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setBlend(blendAmount->getValueAtTime(args.time));
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::DoubleParam* blendAmount;
};

class invertPluginFactory : public OFX::PluginFactoryHelper<invertPluginFactory> {
public:
    invertPluginFactory() : OFX::PluginFactoryHelper<invertPluginFactory>("talvo.effects:invert", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kInvert); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::defineBlendAmount(desc);
        OFX::finishEffectDescription(desc, kInvert);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new invertPlugin(handle);
    }
};

const OFX::FactoryRegistration<invertPluginFactory> registration;

}  // namespace
