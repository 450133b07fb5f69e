// Solid Color: fills the frame with one premultiplied colour.
#include <array>
#include <cstring>
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
#include "solidcolor.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds a byte and a float kernel, in this order.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"kef81dd488", "k38927195c"}));

const OFX::EffectDeclaration kSolidColor{
    "talvo.effects:solidcolor", "TALVO Solid Color", "TALVO", OFX::eContextGenerator, 1310, "{D9DD0DFC-274F-45A7-B874-3D2BCFA61FE9}",
};

constexpr const char* kColorParam = "Color";

class solidcolorProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setColor(double r, double g, double b, double a) {
        red = r;
        green = g;
        blue = b;
        alpha = a;
    }

protected:
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 0.0;

    // The pixel in memory order.
    // Note: blue goes to the first component in memory whatever the clip's
    // pixel order, as the toolkit's own pixels are laid out; on RGBA clips
    // red and blue thus trade places. Checkerboard does the opposite.
    std::array<unsigned char, 4> premultipliedBytes() const {
        // The products in double, in this order, truncated; a value outside
        // 0..1 keeps the low byte of its truncation.
        return {static_cast<unsigned char>(qz::truncToInt32(blue * 255.0 * alpha)),
                static_cast<unsigned char>(qz::truncToInt32(green * 255.0 * alpha)),
                static_cast<unsigned char>(qz::truncToInt32(red * 255.0 * alpha)),
                static_cast<unsigned char>(qz::truncToInt32(alpha * 255.0))};
    }
    std::array<float, 4> premultipliedFloats() const {
        return {static_cast<float>(alpha * blue), static_cast<float>(alpha * green), static_cast<float>(alpha * red),
                static_cast<float>(alpha)};
    }
};

template <class PIX, int nComponents, int max, int isBGRA>
class solidcolorProcessor : public solidcolorProcessorBase {
public:
    using solidcolorProcessorBase::solidcolorProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        const Pixel pixel = premultiplied();
        const int width = rows.x2 - rows.x1;
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            fillRow(static_cast<unsigned char*>(dstImg->getPixelAddress(rows.x1, y)), pixel, width);
        }
        return 0;
    }

private:
    static constexpr int kBytesPerPixel = sizeof(PIX) * 4;
    struct Pixel {
        PIX c[4];
    };

    Pixel premultiplied() const {
        Pixel p{};
        if constexpr (std::is_same_v<PIX, unsigned char>)
            std::memcpy(p.c, premultipliedBytes().data(), kBytesPerPixel);
        else
            std::memcpy(p.c, premultipliedFloats().data(), kBytesPerPixel);
        return p;
    }

    // Four pixels a step, then the rest.
    static void fillRow(unsigned char* out, const Pixel& pixel, int width) {
        int n = width;
        for (; n >= 4; n -= 4, out += 4 * kBytesPerPixel) {
            std::memcpy(out, &pixel, kBytesPerPixel);
            std::memcpy(out + kBytesPerPixel, &pixel, kBytesPerPixel);
            std::memcpy(out + 2 * kBytesPerPixel, &pixel, kBytesPerPixel);
            std::memcpy(out + 3 * kBytesPerPixel, &pixel, kBytesPerPixel);
        }
        for (; n > 0; --n, out += kBytesPerPixel) std::memcpy(out, &pixel, kBytesPerPixel);
    }
};

class solidcolorOpenCLProcessor : public OpenCLProcessor<solidcolorProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    // The pixel goes over in memory order, which is the same for both
    // orders. Bytes travel as whole-number floats: the processor's bytes
    // come from double products that the kernel could not repeat from
    // floats.
    void process() override {
        if (!dstImg) return;
        if (floatOutput()) {
            const std::array<float, 4> p = premultipliedFloats();
            const cl_float4 floats{{p[0], p[1], p[2], p[3]}};
            launchOverWindow(openCL, 1, buffer(dstImg), floats, windowWidth(), windowHeight());
        } else {
            const std::array<unsigned char, 4> p = premultipliedBytes();
            const cl_float4 bytes{{static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
                                   static_cast<float>(p[3])}};
            launchOverWindow(openCL, 0, buffer(dstImg), bytes, windowWidth(), windowHeight());
        }
    }
};

class solidcolorPlugin : public OFX::ImageEffect {
public:
    explicit solidcolorPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle), dstClip(fetchClip(OFX::kOutputClip)), color(fetchRGBAParam(kColorParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<solidcolorOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<solidcolorProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(solidcolorProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setRenderWindow(args.renderWindow);
        double r = 0.0, g = 0.0, b = 0.0, a = 0.0;
        color->getValueAtTime(args.time, r, g, b, a);
        processor.setColor(r, g, b, a);
        processor.process();
    }

private:
    OFX::Clip* dstClip;
    OFX::RGBAParam* color;
};

class solidcolorPluginFactory : public OFX::PluginFactoryHelper<solidcolorPluginFactory> {
public:
    solidcolorPluginFactory() : OFX::PluginFactoryHelper<solidcolorPluginFactory>("talvo.effects:solidcolor", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kSolidColor); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum) override {
        OFX::defineGeneratorOutput(desc);
        // No default of its own: a fresh Solid Color is the host's default
        // colour.
        OFX::RGBAParamDescriptor* colorParam = desc.defineRGBAParam(kColorParam);
        colorParam->setLabels("Color", "Color", "Color");
        colorParam->setScriptName("color");
        colorParam->setAnimates(true);
        OFX::finishEffectDescription(desc, kSolidColor);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new solidcolorPlugin(handle);
    }
};

const OFX::FactoryRegistration<solidcolorPluginFactory> registration;

}  // namespace
