// Saturation Adjust: scales each pixel's saturation by an amount that
// depends on how saturated the pixel already is. A smooth curve through
// Low (greys), Amount (at Center) and High (pure colours), Spread wide,
// gives the change; the change drives the usual luma-preserving
// saturation matrix.
#include <algorithm>
#include <cmath>
#include <type_traits>

#include "Effect.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kSaturationAdjust{
    "talvo.effects:saturationadjust",         "TALVO Saturation Adjust", "TALVO\\Color", OFX::eContextFilter, 1600,
    "{1C494FD1-BE2B-48DA-9273-5A004DC57CE8}",
};

constexpr OFX::DoubleRow kAmount{.name = "Amount", .label = "Amount", .scriptName = "amount", .min = -1.0};
constexpr OFX::DoubleRow kCenter{.name = "Center", .label = "Center", .scriptName = "center", .defaultValue = 0.5};
constexpr OFX::DoubleRow kSpread{
    .name = "Spread", .label = "Spread", .scriptName = "spread", .defaultValue = 0.5, .min = 0.01};
constexpr OFX::DoubleRow kLow{.name = "Low", .label = "Low", .scriptName = "low", .min = -1.0};
constexpr OFX::DoubleRow kHigh{.name = "High", .label = "High", .scriptName = "high", .min = -1.0};

constexpr OFX::ParamTable kParams{kAmount, kCenter, kSpread, kLow, kHigh};

// In the kernel's argument order.
struct saturationadjustValues {
    double low;
    double high;
    double amount;
    double center;
    double spread;
};

using saturationadjustProcessorBase = OFX::EffectProcessorBase<saturationadjustValues>;

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

    explicit SaturationCurve(const saturationadjustValues& v)
        : x{0.0, std::max(0.0, v.center - v.spread / 2), v.center, std::min(1.0, v.center + v.spread / 2), 1.0},
          y{static_cast<float>(v.low), static_cast<float>(v.low), static_cast<float>(v.amount),
            static_cast<float>(v.high), static_cast<float>(v.high)} {}

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

// The luma weights go to the storage index of the colour they name, so both
// pixel orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class saturationadjustProcessor : public saturationadjustProcessorBase {
public:
    using saturationadjustProcessorBase::saturationadjustProcessorBase;

    // Works in place on the output after a plain copy of the source.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        const SaturationCurve curve(values);
        const double scale = kIsByte ? byteSaturationScale() : floatSaturationScale();
        return OFX::copyTransform(dstImg, srcImg, procWindow, sizeof(PIX) * 4, [&](const OfxRectI& rows) {
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [&](PIX* p, int n) {
                for (; n > 0; --n, p += 4) adjust(p, curve, scale);
            });
        });
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

constexpr std::string_view kKernelText =
#include "saturationadjust.cl.inc"
    ;

struct saturationadjust {
    static constexpr const OFX::EffectDeclaration& declaration = kSaturationAdjust;
    static constexpr const auto& params = kParams;
    using Values = saturationadjustValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kLow.value(p, args.time), kHigh.value(p, args.time), kAmount.value(p, args.time),
                kCenter.value(p, args.time), kSpread.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = saturationadjustProcessor<PIX, nComponents, max, isBGRA>;

    // The luma weights tell red from blue: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k4d92e6a07", "k91b05d3f8", "kc07f81e2b", "k3e6a0c59d"})};
    // Source, output, Low, High, Amount, Center and Spread as floats, the
    // window's size.
    static void launch(OFX::OpenCLEffectProcessor<saturationadjust>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using saturationadjustPluginFactory = OFX::EffectFactory<saturationadjust>;
using saturationadjustPlugin = OFX::EffectPlugin<saturationadjust>;
using saturationadjustOpenCLProcessor = OFX::OpenCLEffectProcessor<saturationadjust>;

const OFX::EffectRegistration<saturationadjust> registration;

}  // namespace
