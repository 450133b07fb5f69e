// HSL Adjust: turns each pixel's hue and scales its saturation and
// lightness. Float pixels go through the range-tolerant HSL pair, so
// over- and under-range colours survive; byte pixels through the ordinary
// pair, clamped to the unit ranges.
#include <algorithm>
#include <cmath>
#include <type_traits>

#include "Effect.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kHSLAdjust{
    "talvo.effects:hsladjust",
    "TALVO HSL Adjust",
    "TALVO\\Color",
    OFX::eContextFilter,
    1680,
    "{B432972D-E08D-11D2-BF8A-006097C9EBF7}",
};

// Note: the hue slider's identifier is the word Output and its script name
// holds blanks; saved projects and scripts know it by these.
constexpr OFX::DoubleRow kAddToHue{.name = "Output", .label = "Add to hue", .scriptName = "Add to hue"};
constexpr OFX::DoubleRow kSaturation{
    .name = "Saturation", .label = "Saturation", .scriptName = "saturation", .defaultValue = 1.0, .max = 2.0};
constexpr OFX::DoubleRow kLuminance{
    .name = "Luminance", .label = "Luminance", .scriptName = "luminance", .defaultValue = 1.0, .max = 2.0};

constexpr OFX::ParamTable kParams{kAddToHue, kSaturation, kLuminance};

struct hsladjustValues {
    double hue;
    double saturation;
    double luminance;
};

using hsladjustProcessorBase = OFX::EffectProcessorBase<hsladjustValues>;

double clampUnit(double v) { return std::clamp(v, 0.0, 1.0); }

// The colours go to the conversions blue first, as their records hold them,
// whatever the storage order.
template <class PIX, int nComponents, int max, int isBGRA>
class hsladjustProcessor : public hsladjustProcessorBase {
public:
    using hsladjustProcessorBase::hsladjustProcessorBase;

    // Works in place on the output after a plain copy of the source. The
    // byte conversion back has a two-pixel vector form on CPUs with AVX2; it
    // gives the scalar results, so the scalar form serves all.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        const hsladjustValues& v = values;
        return OFX::copyTransform(dstImg, srcImg, procWindow, sizeof(PIX) * 4, [&](const OfxRectI& rows) {
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [&v](PIX* p, int n) {
                for (; n > 0; --n, p += 4) {
                    if constexpr (std::is_same_v<PIX, unsigned char>)
                        adjustByte(p, v);
                    else
                        adjustFloat(p, v);
                }
            });
        });
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    static void adjustByte(unsigned char* p, const hsladjustValues& v) {
        QZRGBA px{p[kBlue], p[1], p[kRed], p[3]};
        QZHSL hsl;
        QZRGBA_To_QZHSL(&hsl, &px);
        // Pure red reads as hue 1.0; a sum of exactly 1 stays, which
        // converts back like 0.
        hsl.h += v.hue;
        if (hsl.h > 1.0) hsl.h -= 1.0;
        hsl.s = clampUnit(hsl.s * v.saturation);
        hsl.l = clampUnit(hsl.l * v.luminance);
        QZHSL_To_QZRGBA(&px, &hsl);
        // Note: alpha makes the round trip with the colour, so the alphas
        // that scale to just under their level (33, 132 and others) come back
        // one lower; the colour is then held to that alpha.
        p[kBlue] = std::min(px.b, px.a);
        p[1] = std::min(px.g, px.a);
        p[kRed] = std::min(px.r, px.a);
        p[3] = px.a;
    }

    static void adjustFloat(float* p, const hsladjustValues& v) {
        const float a = p[3];
        QZDIBPIXEL px{p[kBlue], p[1], p[kRed], a};
        QZHSL hsl;
        QZDIBPIXEL_To_QZHSL_Float(&hsl, &px);
        // The hue wraps by its integer part; saturation and lightness are
        // left unclamped so that over-range colours keep their meaning.
        hsl.h += v.hue;
        hsl.h -= std::trunc(hsl.h);
        hsl.s *= v.saturation;
        hsl.l *= v.luminance;
        QZHSL_To_QZDIBPIXEL_Float(&px, &hsl);
        p[kBlue] = px.b;
        p[1] = px.g;
        p[kRed] = px.r;
        p[3] = a;
    }
};

constexpr std::string_view kKernelText =
#include "hsladjust.cl.inc"
    ;

struct hsladjust {
    static constexpr const OFX::EffectDeclaration& declaration = kHSLAdjust;
    static constexpr const auto& params = kParams;
    using Values = hsladjustValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kAddToHue.value(p, args.time), kSaturation.value(p, args.time), kLuminance.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = hsladjustProcessor<PIX, nComponents, max, isBGRA>;

    // Hue depends on which component is red: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k1293792e6", "kfcf345abd", "ke4d06c2af", "k5e1c5563a"})};
    // Source, output, the change as one vector (hue to add, saturation and
    // lightness factors, an unused last lane), the window's size.
    static void launch(OFX::OpenCLEffectProcessor<hsladjust>& cl, const Values& v) {
        const cl_float4 change{
            {static_cast<float>(v.hue), static_cast<float>(v.saturation), static_cast<float>(v.luminance), 0.0f}};
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), change, cl.windowWidth(), cl.windowHeight());
    }
};

using hsladjustPluginFactory = OFX::EffectFactory<hsladjust>;
using hsladjustPlugin = OFX::EffectPlugin<hsladjust>;
using hsladjustOpenCLProcessor = OFX::OpenCLEffectProcessor<hsladjust>;

const OFX::EffectRegistration<hsladjust> registration;

}  // namespace
