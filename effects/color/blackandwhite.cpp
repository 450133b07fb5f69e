// Black and White: mixes each pixel toward its grey, the plain mean of its
// three colours. The blend amount is the weight of the grey: 1 is all grey,
// 0 the source.
#include <algorithm>
#include <cmath>
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
#include "blackandwhite.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds a byte kernel and a float kernel per pixel order (RGBA,
// then BGRA), in this order.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"kb4e17c0a5", "k6f0d93b1e", "k2a85c7f39"}));

const OFX::EffectDeclaration kBlackAndWhite{
    "talvo.effects:blackandwhite", "TALVO Black and White", "TALVO\\Color", OFX::eContextFilter, 1900, "{E87674D5-E8F2-11D1-9AA9-00A0C99B12C5}",
};

// Note: the f32 value of 1e-6 compared in double (9.999999974752427e-7), so
// a blend of exactly 1e-6 already mixes while anything at or below this
// gives the plain copy.
constexpr double kCopyOnlyBlend = static_cast<double>(1e-6f);

class blackandwhiteProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setBlend(double value) { blend = value; }

protected:
    OFX::Image* srcImg = nullptr;
    double blend = 1.0;
};

template <class PIX, int nComponents, int max, int isBGRA>
class blackandwhiteProcessor : public blackandwhiteProcessorBase {
public:
    using blackandwhiteProcessorBase::blackandwhiteProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, bytesPerPixel, status)) return status;
        if (blend <= kCopyOnlyBlend) return 0;

        // The weight of the source colour in the mix.
        const double keep = 1.0 - blend;
        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            // The low byte of the rounded weight, at most 255: with the / 256
            // mix the smallest blend that mixes still stops short of the
            // source.
            const int k = qz::roundBiased(keep * 255.0) & 0xFF;
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                auto* p = static_cast<unsigned char*>(dstImg->getPixelAddress(rows.x1, y));
                for (int x = rows.x1; x < rows.x2; ++x, p += 4) greyByte(p, k);
            }
        } else {
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                auto* p = static_cast<float*>(dstImg->getPixelAddress(rows.x1, y));
                for (int x = rows.x1; x < rows.x2; ++x, p += 4) greyFloat(p, keep);
            }
        }
        return 0;
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // The grey is clamped to alpha so that it stays a premultiplied colour;
    // the mix then runs from the grey toward the source colour.
    static void greyByte(unsigned char* p, int k) {
        const int a = p[3];
        // The mean of three bytes: the division by 3 truncates to the same
        // integer as the float quotient would.
        const int g = std::min((p[0] + p[1] + p[2]) / 3, a);
        for (int c = 0; c < 3; ++c) p[c] = static_cast<unsigned char>((p[c] - g) * k / 256 + g);
    }

    static void greyFloat(float* p, double keep) {
        // Summed blue first, whatever the storage order, so that both orders
        // round the same way.
        float sum = p[kBlue] + p[1];
        sum += p[kRed];
        const float g = std::min(static_cast<float>(sum / 3.0), p[3]);
        // Alpha is left alone, above 1 or below 0 included.
        for (int c = 0; c < 3; ++c) p[c] = static_cast<float>((static_cast<double>(p[c]) - g) * keep + g);
    }
};

// The byte weight of the source in the mix, as the processor rounds it.
int byteKeepWeight(double blend) {
    return qz::roundBiased((1.0 - blend) * 255.0) & 0xFF;
}

// The blend as the kernels get it, a float from which they take the copy
// cut-off and the byte weight. The nearest float can cross either: 0.1 gives
// a weight of exactly 229.5, rounded up, but the float just above 0.1 gives
// 229.4999996; a blend just above the cut-off can narrow onto it. The float
// on the other side of the double then makes the processor's decisions, and
// the float mix moves by far less than 1e-6.
float kernelBlend(double blend) {
    const float nearest = static_cast<float>(blend);
    const bool copies = blend <= kCopyOnlyBlend;
    const bool same = (nearest <= kCopyOnlyBlend) == copies &&
                      (copies || byteKeepWeight(nearest) == byteKeepWeight(blend));
    if (same) return nearest;
    return std::nextafter(nearest, nearest < blend ? HUGE_VALF : -HUGE_VALF);
}

class blackandwhiteOpenCLProcessor : public OpenCLProcessor<blackandwhiteProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    void process() override {
        if (!dstImg || !srcImg) return;
        // One byte kernel serves both orders; the float grey's sum order
        // picks between the other two.
        const int kernel = floatOutput() ? (bgra ? 2 : 1) : 0;
        launchOverWindow(openCL, kernel, buffer(srcImg), buffer(dstImg), kernelBlend(blend), windowWidth(),
                         windowHeight());
    }
};

class blackandwhitePlugin : public OFX::ImageEffect {
public:
    explicit blackandwhitePlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          blendAmount(fetchDoubleParam(OFX::kBlendAmountParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<blackandwhiteOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<blackandwhiteProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void keyframeUplift(const OFX::KeyframeUpliftArguments& args) override {
        OFX::upliftOneDouble(args, *blendAmount);
    }

    void setupAndProcess(blackandwhiteProcessorBase& processor, const OFX::RenderArguments& args) {
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

class blackandwhitePluginFactory : public OFX::PluginFactoryHelper<blackandwhitePluginFactory> {
public:
    blackandwhitePluginFactory()
        : OFX::PluginFactoryHelper<blackandwhitePluginFactory>("talvo.effects:blackandwhite", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kBlackAndWhite); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        OFX::defineBlendAmount(desc);
        OFX::finishEffectDescription(desc, kBlackAndWhite);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new blackandwhitePlugin(handle);
    }
};

const OFX::FactoryRegistration<blackandwhitePluginFactory> registration;

}  // namespace
