// LAB Adjust: works on each pixel in CIE L*a*b*: scales (and optionally
// inverts) the lightness, shifts the two colour axes and pulls them toward
// grey by the desaturation.
#include <algorithm>
#include <type_traits>

#include "Effect.h"
#include "StripFilter.h"

namespace {

// The effect has no older form, so no uplift GUID.
constexpr OFX::EffectDeclaration kLABAdjust{
    "talvo.effects:labadjust", "TALVO LAB Adjust", "TALVO\\Color", OFX::eContextFilter, 1078, nullptr,
};

constexpr OFX::DoubleRow kLightness{
    .name = "Lightness", .label = "Lightness", .scriptName = "lightness", .defaultValue = 1.0, .max = 2.0};
// Note: the a axis' identifier is the word lightness in lower case, beside
// the real lightness (whose script name it shares); saved projects know it
// by this name.
constexpr OFX::DoubleRow kChannelA{.name = "lightness", .label = "Channel a", .scriptName = "channela", .min = -1.0};
constexpr OFX::DoubleRow kChannelB{.name = "Channelb", .label = "Channel b", .scriptName = "channelb", .min = -1.0};
constexpr OFX::BooleanRow kInvertLuminance{
    .name = "InvertLuminance", .label = "Invert Luminance", .scriptName = "invertluminance"};
constexpr OFX::DoubleRow kDesaturate{
    .name = "Desaturate", .label = "Desaturate", .scriptName = "desaturate", .increment = 0.001};

constexpr OFX::ParamTable kParams{kLightness, kChannelA, kChannelB, kInvertLuminance, kDesaturate};

// Note: the top of the lightness range when inverting, in place of 100, so
// white inverts to just below black and black to a light grey. Kept.
constexpr double kInvertTop = 95.5806655883789;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

// The change of one L*a*b* colour, prepared once per render from the
// parameters; the processors and the kernels both take it, in the kernel's
// argument order.
struct labadjustValues {
    double lightness;
    double aOffset;
    double bOffset;
    bool invert;
    double chroma;

    void apply(QZLAB& lab) const {
        lab.L = (invert ? kInvertTop - lab.L : lab.L) * lightness;
        lab.a = (lab.a + aOffset) * chroma;
        lab.b = (lab.b + bOffset) * chroma;
    }
};

using labadjustProcessorBase = OFX::EffectProcessorBase<labadjustValues>;

// The colours go to the conversions blue first, as their records hold them,
// whatever the storage order.
template <class PIX, int nComponents, int max, int isBGRA>
class labadjustProcessor : public labadjustProcessorBase {
public:
    using labadjustProcessorBase::labadjustProcessorBase;

    // Works in place on the output after a plain copy of the source.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        const labadjustValues& change = values;
        return OFX::copyTransform(dstImg, srcImg, procWindow, sizeof(PIX) * 4, [&](const OfxRectI& rows) {
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [&change](PIX* p, int n) {
                for (; n > 0; --n, p += 4) {
                    if constexpr (std::is_same_v<PIX, unsigned char>)
                        adjustByte(p, change);
                    else
                        adjustFloat(p, change);
                }
            });
        });
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // On the premultiplied bytes as they are; the conversion back leaves
    // alpha alone and the colour is then held to it.
    static void adjustByte(unsigned char* p, const labadjustValues& change) {
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
    static void adjustFloat(float* p, const labadjustValues& change) {
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

    static void adjustColour(QZDIBPIXEL& px, const labadjustValues& change) {
        QZLAB lab;
        QZDIBPIXEL_To_QZLAB_Float(&lab, &px);
        change.apply(lab);
        QZLAB_To_QZDIBPIXEL_Float(&px, &lab);
    }
};

constexpr std::string_view kKernelText =
#include "labadjust.cl.inc"
    ;

struct labadjust {
    static constexpr const OFX::EffectDeclaration& declaration = kLABAdjust;
    static constexpr const auto& params = kParams;
    using Values = labadjustValues;
    // The axes' sliders run -1..1 for offsets of up to 100.
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kLightness.value(p, args.time), kChannelA.value(p, args.time) * 100.0,
                kChannelB.value(p, args.time) * 100.0, kInvertLuminance.value(p, args.time),
                1.0 - kDesaturate.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = labadjustProcessor<PIX, nComponents, max, isBGRA>;

    // L*a*b* depends on which component is red: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k12a8acfc4", "kfcb8ef671", "k0d1dbcf7c", "k5db2d01e8"})};
    // Source, output, the change (lightness factor, a and b offsets, invert
    // flag, chroma factor), the window's size.
    static void launch(OFX::OpenCLEffectProcessor<labadjust>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using labadjustPluginFactory = OFX::EffectFactory<labadjust>;
using labadjustPlugin = OFX::EffectPlugin<labadjust>;
using labadjustOpenCLProcessor = OFX::OpenCLEffectProcessor<labadjust>;

const OFX::EffectRegistration<labadjust> registration;

}  // namespace
