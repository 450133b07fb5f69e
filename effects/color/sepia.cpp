// Sepia: desaturates toward the plain mean of the three colours and then
// tints toward a colour. The strength runs through three zones: up to 1/3
// it only desaturates (half way at 1/3), up to 2/3 it desaturates further
// and starts to tint, above 2/3 it tints the full grey. The falloff lowers
// the tint on bright pixels.
#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>

#include "Effect.h"
#include "QzRound.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kSepia{
    "talvo.effects:sepia", "TALVO Sepia", "TALVO\\Color", OFX::eContextFilter, 1740,
    "{7F21572F-453A-11D3-80A7-00C04F60C0FA}",
};

constexpr OFX::RGBRow kColor{
    .name = "Color",
    .label = "Color",
    .scriptName = "color",
    // The classic sepia yellow: 166, 166, 0 in bytes.
    .defaultValue = {166.0 / 255.0, 166.0 / 255.0, 0.0},
};
// Strength 0 leaves the image as it is: a fresh Sepia does nothing until the
// user raises it.
constexpr OFX::DoubleRow kStrength{
    .name = "BlendingStrength", .label = "Blending strength", .scriptName = "blendingstrength"};
constexpr OFX::DoubleRow kFalloff{
    .name = "BlendingFalloff", .label = "Blending falloff", .scriptName = "blendingfalloff"};

constexpr OFX::ParamTable kParams{kColor, kStrength, kFalloff};

struct sepiaValues {
    std::array<double, 3> color;  // red, green, blue
    double strength;
    double falloff;
};

using sepiaProcessorBase = OFX::EffectProcessorBase<sepiaValues>;

// The zone edges are these two doubles, and a strength equal to an edge
// still belongs to the lower zone: exactly 2/3 desaturates by a factor just
// under 1 instead of taking the full grey.
constexpr double kDesaturateOnlyEdge = 0.3333333333333333;
constexpr double kPartialGreyEdge = 0.6666666666666666;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

enum class Zone { DesaturateOnly, PartialGreyAndTint, FullGreyAndTint };

Zone zoneOf(double strength) {
    if (strength <= kDesaturateOnlyEdge) return Zone::DesaturateOnly;
    if (strength <= kPartialGreyEdge) return Zone::PartialGreyAndTint;
    return Zone::FullGreyAndTint;
}

// The tint goes to the storage index of the colour it names, and the float
// grey is summed blue first, so both pixel orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class sepiaProcessor : public sepiaProcessorBase {
public:
    using sepiaProcessorBase::sepiaProcessorBase;

    // Works in place on the output after a plain copy of the source.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        return OFX::copyTransform(dstImg, srcImg, procWindow, kBytesPerPixel,
                                  [this](const OfxRectI& rows) { return sepiaStrip(rows); });
    }

private:
    int sepiaStrip(const OfxRectI& rows) {
        int status = 0;
        switch (zoneOf(values.strength)) {
        case Zone::DesaturateOnly: status = sepiaRows<Zone::DesaturateOnly>(rows); break;
        case Zone::PartialGreyAndTint: status = sepiaRows<Zone::PartialGreyAndTint>(rows); break;
        case Zone::FullGreyAndTint: status = sepiaRows<Zone::FullGreyAndTint>(rows); break;
        }
        if (status != 0) return status;
        if constexpr (kIsByte) {
            // The byte sums work on premultiplied values without looking at
            // alpha, so the tint can leave a colour above its alpha.
            const OFX::RawView dst = OFX::rawView(dstImg);
            const RECT window = OFX::toRECT(rows);
            return QzDibPatchPreMultiplied(dst.base, &dst.bounds, dst.stride, &window, kBytesPerPixel);
        }
        return 0;
    }

    static constexpr bool kIsByte = std::is_same_v<PIX, unsigned char>;
    static constexpr int32_t kBytesPerPixel = sizeof(PIX) * 4;
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // What a render call derives from the parameters once: the
    // desaturation factor q, the tint level r before the falloff, and the
    // tint colour at the pixel's storage indices.
    struct Factors {
        double desaturation;
        double tintLevel;
        double falloff;
        double tint[3];
    };

    Factors factors() const {
        Factors k{values.strength * 1.5, (values.strength - kDesaturateOnlyEdge) * 1.5, values.falloff, {}};
        k.tint[kRed] = values.color[0];
        k.tint[1] = values.color[1];
        k.tint[kBlue] = values.color[2];
        return k;
    }

    template <Zone zone>
    int sepiaRows(const OfxRectI& rows) const {
        const Factors k = factors();
        if constexpr (kIsByte) {
            const ByteFactors b = byteFactors<zone>(k);
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [&b](unsigned char* p, int n) {
                for (; n > 0; --n, p += 4) sepiaByte<zone>(p, b);
            });
        } else {
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [&k](float* p, int n) {
                for (; n > 0; --n, p += 4) sepiaFloat<zone>(p, k);
            });
        }
    }

    // The byte path: the mix weight k (of 256), the tint bytes, and the tint
    // weight per grey level, which is where the falloff acts.
    struct ByteFactors {
        int mix;
        int tint[3];
        unsigned char tintWeight[256];
    };

    template <Zone zone>
    static ByteFactors byteFactors(const Factors& k) {
        ByteFactors b{};
        if constexpr (zone == Zone::DesaturateOnly) {
            b.mix = qz::truncToInt32(k.desaturation * 255.0);
            return b;
        }
        b.mix = qz::truncToInt32(qz::clampUnit(k.desaturation) * 255.0);
        // Note: the tint bytes keep the low byte of the truncation, so a
        // colour outside 0..1 wraps rather than saturates.
        for (int c = 0; c < 3; ++c) b.tint[c] = qz::truncToInt32(k.tint[c] * 255.0) & 0xFF;
        // Note: in the middle zone the level is not clamped before taking its
        // low byte; it stays within 0..0.5 there, so the byte is the level.
        const int base = zone == Zone::PartialGreyAndTint ? qz::truncToInt32(k.tintLevel * 255.0) & 0xFF
                                                          : qz::truncToInt32(qz::clampUnit(k.tintLevel) * 255.0);
        for (int i = 0; i < 256; ++i)
            b.tintWeight[i] = static_cast<unsigned char>(std::clamp(base - i * k.falloff, 0.0, 255.0));
        return b;
    }

    template <Zone zone>
    static void sepiaByte(unsigned char* p, const ByteFactors& b) {
        const int g = (p[0] + p[1] + p[2]) / 3;
        for (int c = 0; c < 3; ++c) {
            if constexpr (zone == Zone::DesaturateOnly) {
                p[c] = qz::mix256(p[c], g, b.mix);
            } else if constexpr (zone == Zone::PartialGreyAndTint) {
                const int partial = qz::mix256(p[c], g, b.mix);
                p[c] = qz::mix256(partial, b.tint[c], b.tintWeight[g]);
            } else {
                p[c] = qz::mix256(g, b.tint[c], b.tintWeight[g]);
            }
        }
    }

    // The float alpha rule of the colour filters: no colour without alpha,
    // unpremultiplied around the change below full alpha, and alpha at or
    // above 1 written as exactly 1. The grey and the mixes run in double;
    // each result is rounded to float before the re-premultiplication.
    template <Zone zone>
    static void sepiaFloat(float* p, const Factors& k) {
        const float a = p[3];
        if (a <= kAlphaFloor) {
            p[0] = p[1] = p[2] = p[3] = 0.0f;
            return;
        }
        const bool partialAlpha = a < 1.0f;
        float u[3];
        for (int c = 0; c < 3; ++c) u[c] = partialAlpha ? p[c] / a : p[c];
        // Summed blue first, whatever the storage order.
        const double g = (static_cast<double>(u[kBlue]) + u[1] + u[kRed]) / 3.0;
        double t = 0.0;
        if constexpr (zone != Zone::DesaturateOnly) t = qz::clampUnit(qz::clampUnit(g) * -k.falloff + k.tintLevel);
        for (int c = 0; c < 3; ++c) {
            double v;
            if constexpr (zone == Zone::DesaturateOnly) {
                v = (g - u[c]) * k.desaturation + u[c];
            } else if constexpr (zone == Zone::PartialGreyAndTint) {
                const double partial = (g - u[c]) * k.desaturation + u[c];
                v = (k.tint[c] - partial) * t + partial;
            } else {
                v = (k.tint[c] - g) * t + g;
            }
            p[c] = partialAlpha ? static_cast<float>(v) * a : static_cast<float>(v);
        }
        if (!partialAlpha) p[3] = 1.0f;
    }
};

constexpr std::string_view kKernelText =
#include "sepia.cl.inc"
    ;

struct sepia {
    static constexpr const OFX::EffectDeclaration& declaration = kSepia;
    static constexpr const auto& params = kParams;
    using Values = sepiaValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kColor.value(p, args.time), kStrength.value(p, args.time), kFalloff.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = sepiaProcessor<PIX, nComponents, max, isBGRA>;

    // The tint goes to the colour components by the pixel order, and the
    // float grey is summed blue first: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k58d1e0c7a", "ka2f7c3916", "k0e4b9d28f", "k6b3a5f01c"})};
    // Source, output, the colour as red, green, blue with an unused last
    // lane, the strength and the falloff as floats, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<sepia>& cl, const Values& v) {
        const cl_float4 color{{static_cast<float>(v.color[0]), static_cast<float>(v.color[1]),
                               static_cast<float>(v.color[2]), 0.0f}};
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), color, v.strength, v.falloff, cl.windowWidth(),
                  cl.windowHeight());
    }
};

using sepiaPluginFactory = OFX::EffectFactory<sepia>;
using sepiaPlugin = OFX::EffectPlugin<sepia>;
using sepiaOpenCLProcessor = OFX::OpenCLEffectProcessor<sepia>;

const OFX::EffectRegistration<sepia> registration;

}  // namespace
