// Saturation Adjust: scales each pixel's saturation by an amount that
// depends on how saturated the pixel already is. A smooth curve through
// Low (greys), Amount (at Center) and High (pure colours), Spread wide,
// gives the change; the change drives the usual luma-preserving
// saturation matrix.
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
#include "saturationadjust.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds, for bytes and then floats, a kernel per pixel order (RGBA,
// then BGRA).
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k4d92e6a07", "k91b05d3f8", "kc07f81e2b", "k3e6a0c59d"}));

const OFX::EffectDeclaration kSaturationAdjust{
    "talvo.effects:saturationadjust", "TALVO Saturation Adjust", "TALVO\\Color", OFX::eContextFilter, 1600, "{1C494FD1-BE2B-48DA-9273-5A004DC57CE8}",
};

constexpr const char* kAmountParam = "Amount";
constexpr const char* kCenterParam = "Center";
constexpr const char* kSpreadParam = "Spread";
constexpr const char* kLowParam = "Low";
constexpr const char* kHighParam = "High";

const OFX::SliderRow kSliders[] = {
    {kAmountParam, "Amount", "amount", 0.0, -1.0, 1.0, 0.1},
    {kCenterParam, "Center", "center", 0.5, 0.0, 1.0, 0.1},
    {kSpreadParam, "Spread", "spread", 0.5, 0.01, 1.0, 0.1},
    {kLowParam, "Low", "low", 0.0, -1.0, 1.0, 0.1},
    {kHighParam, "High", "high", 0.0, -1.0, 1.0, 0.1},
};

// The luma weights of both the saturation measure and the matrix.
constexpr double kRedLuma = 0.299;
constexpr double kGreenLuma = 0.587;
constexpr double kBlueLuma = 0.114;

// The saturation measure's full scale, so that the curve's 0..1 spans the
// colours of each depth. Taken once, on first use, from any thread.
double byteSaturationScale() {
    static const double scale = std::sqrt(55902.447675);
    return scale;
}
double floatSaturationScale() {
    static const double scale = std::sqrt(0.859707);
    return scale;
}

// The change of saturation as a function of the measure: five knots, flat
// Hermite segments between them (both tangents 0).
struct SaturationCurve {
    double x[5];
    float y[5];  // Note: the values pass through float; part of the results.

    SaturationCurve(double amount, double center, double spread, double low, double high)
        : x{0.0, std::max(0.0, center - spread / 2), center, std::min(1.0, center + spread / 2), 1.0},
          y{static_cast<float>(low), static_cast<float>(low), static_cast<float>(amount), static_cast<float>(high),
            static_cast<float>(high)} {}

    double valueAt(double d) const {
        int i = 1;
        while (i < 4 && !(x[i] > d)) ++i;
        // A segment of zero length (Center at 0 or 1, Spread reaching past
        // the end) starts at its left value rather than dividing by zero.
        const double t = x[i] == x[i - 1] ? 0.0 : (d - x[i - 1]) / (x[i] - x[i - 1]);
        const double t2 = t * t;
        const double t3 = t2 * t;
        return (2.0 * t3 - 3.0 * t2 + 1.0) * y[i - 1] + (3.0 * t2 - 2.0 * t3) * y[i];
    }
};

class saturationadjustProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setValues(double amountValue, double centerValue, double spreadValue, double lowValue, double highValue) {
        amount = amountValue;
        center = centerValue;
        spread = spreadValue;
        low = lowValue;
        high = highValue;
    }

protected:
    OFX::Image* srcImg = nullptr;
    double amount = 0.0;
    double center = 0.5;
    double spread = 0.5;
    double low = 0.0;
    double high = 0.0;
};

template <class PIX, int nComponents, int max, int isBGRA>
class saturationadjustProcessor : public saturationadjustProcessorBase {
public:
    using saturationadjustProcessorBase::saturationadjustProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, bytesPerPixel, status)) return status;

        const SaturationCurve curve(amount, center, spread, low, high);
        const double scale = kIsByte ? byteSaturationScale() : floatSaturationScale();
        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* p = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, p += 4) adjust(p, curve, scale);
        }
        return 0;
    }

private:
    static constexpr bool kIsByte = std::is_same_v<PIX, unsigned char>;
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // On the colours as stored: premultiplied, with no division by alpha.
    static void adjust(PIX* p, const SaturationCurve& curve, double scale) {
        const double c0 = p[kBlue];
        const double c1 = p[1];
        const double c2 = p[kRed];
        const double luma = kRedLuma * c2 + kGreenLuma * c1 + kBlueLuma * c0;
        const double dg = luma - c1, dr = luma - c2, db = luma - c0;
        const double s = curve.valueAt(std::sqrt(dg * dg + dr * dr + db * db) / scale) + 1.0;
        const double r = 1.0 - s;
        const double red = (r * kRedLuma + s) * c2 + r * kGreenLuma * c1 + r * kBlueLuma * c0;
        const double green = (r * kGreenLuma + s) * c1 + r * kRedLuma * c2 + r * kBlueLuma * c0;
        const double blue = (r * kBlueLuma + s) * c0 + r * kRedLuma * c2 + r * kGreenLuma * c1;
        if constexpr (kIsByte) {
            const double a = p[3];
            p[kRed] = toByte(red, a);
            p[1] = toByte(green, a);
            p[kBlue] = toByte(blue, a);
        } else {
            // Float colours go out as they are, over- and under-range alike.
            p[kRed] = static_cast<float>(red);
            p[1] = static_cast<float>(green);
            p[kBlue] = static_cast<float>(blue);
        }
    }

    // Held within 0..alpha so that the result stays premultiplied.
    static unsigned char toByte(double v, double a) {
        return static_cast<unsigned char>(v < 0.0 ? 0.0 : (v > a ? a : v));
    }
};

// The luma weights tell red from blue: the render's pixel order picks the
// kernel.
class saturationadjustOpenCLProcessor : public OpenCLProcessor<saturationadjustProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    void process() override {
        if (!dstImg || !srcImg) return;
        const int form = (floatOutput() ? 2 : 0) + (bgra ? 1 : 0);
        launchOverWindow(openCL, form, buffer(srcImg), buffer(dstImg), static_cast<float>(low),
                         static_cast<float>(high), static_cast<float>(amount), static_cast<float>(center),
                         static_cast<float>(spread), windowWidth(), windowHeight());
    }
};

class saturationadjustPlugin : public OFX::ImageEffect {
public:
    explicit saturationadjustPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          amount(fetchDoubleParam(kAmountParam)),
          center(fetchDoubleParam(kCenterParam)),
          spread(fetchDoubleParam(kSpreadParam)),
          low(fetchDoubleParam(kLowParam)),
          high(fetchDoubleParam(kHighParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<saturationadjustOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<saturationadjustProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(saturationadjustProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setValues(amount->getValueAtTime(args.time), center->getValueAtTime(args.time),
                            spread->getValueAtTime(args.time), low->getValueAtTime(args.time),
                            high->getValueAtTime(args.time));
        processor.process();
    }

private:
    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::DoubleParam* amount;
    OFX::DoubleParam* center;
    OFX::DoubleParam* spread;
    OFX::DoubleParam* low;
    OFX::DoubleParam* high;
};

class saturationadjustPluginFactory : public OFX::PluginFactoryHelper<saturationadjustPluginFactory> {
public:
    saturationadjustPluginFactory()
        : OFX::PluginFactoryHelper<saturationadjustPluginFactory>("talvo.effects:saturationadjust", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kSaturationAdjust); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        for (const OFX::SliderRow& row : kSliders) OFX::defineSlider(desc, row);
        OFX::finishEffectDescription(desc, kSaturationAdjust);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new saturationadjustPlugin(handle);
    }
};

const OFX::FactoryRegistration<saturationadjustPluginFactory> registration;

}  // namespace
