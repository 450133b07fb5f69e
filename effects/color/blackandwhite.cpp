// Black and White: mixes each pixel toward its grey, the plain mean of its
// three colours. The blend amount is the weight of the grey: 1 is all grey,
// 0 the source.
#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

#include "Effect.h"
#include "QzRound.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kBlackAndWhite{
    "talvo.effects:blackandwhite", "TALVO Black and White", "TALVO\\Color", OFX::eContextFilter, 1900,
    "{E87674D5-E8F2-11D1-9AA9-00A0C99B12C5}",
};

constexpr OFX::ParamTable kParams{OFX::kBlendAmount};

struct blackandwhiteValues {
    double blend;
};

using blackandwhiteProcessorBase = OFX::EffectProcessorBase<blackandwhiteValues>;

// Note: the f32 value of 1e-6 compared in double (9.999999974752427e-7), so
// a blend of exactly 1e-6 already mixes while anything at or below this
// gives the plain copy.
constexpr double kCopyOnlyBlend = static_cast<double>(1e-6f);

// The byte weight of the source in the mix: the low byte of the rounded
// weight, at most 255, so that with the / 256 mix the smallest blend that
// mixes still stops short of the source.
int byteKeepWeight(double blend) {
    return qz::roundBiased((1.0 - blend) * 255.0) & 0xFF;
}

// The mix runs from the grey toward the source colour with a weight of its
// own rounding (in double, not the pixel core's blend), so the effect copies
// and changes in place but does not blend the source back.
template <class PIX, int nComponents, int max, int isBGRA>
class blackandwhiteProcessor : public blackandwhiteProcessorBase {
public:
    using blackandwhiteProcessorBase::blackandwhiteProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            if (values.blend <= kCopyOnlyBlend) return OFX::copyTransform(dstImg, srcImg, procWindow, 4, kNothing);
            // Every mix of a grey g toward a colour c at this render's weight,
            // worked out once for the band: a pixel then costs three look-ups.
            std::array<std::array<unsigned char, 256>, 256> mixed;
            const int k = byteKeepWeight(values.blend);
            for (int g = 0; g < 256; ++g)
                for (int c = 0; c < 256; ++c) mixed[g][c] = static_cast<unsigned char>(qz::mix256(g, c, k));
            return OFX::copyTransform(dstImg, srcImg, procWindow, 4, [&](const OfxRectI& rows) {
                return OFX::forEachRow<PIX>(effect, dstImg, rows, [&mixed](unsigned char* p, int n) {
                    for (; n > 0; --n, p += 4) greyByte(p, mixed);
                });
            });
        } else {
            if (values.blend <= kCopyOnlyBlend) return OFX::copyTransform(dstImg, srcImg, procWindow, 16, kNothing);
            const double keep = 1.0 - values.blend;
            return OFX::copyTransform(dstImg, srcImg, procWindow, 16, [&](const OfxRectI& rows) {
                return OFX::forEachRow<PIX>(effect, dstImg, rows, [keep](float* p, int n) {
                    for (; n > 0; --n, p += 4) greyFloat(p, keep);
                });
            });
        }
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;
    // At or below the cut-off the effect is the copy.
    static constexpr auto kNothing = [](const OfxRectI&) { return 0; };

    // The grey is clamped to alpha so that it stays a premultiplied colour.
    // The mean of three bytes: the division by 3 truncates to the same
    // integer as the float quotient would.
    static void greyByte(unsigned char* p, const std::array<std::array<unsigned char, 256>, 256>& mixed) {
        const auto& fromGrey = mixed[std::min((p[0] + p[1] + p[2]) / 3, static_cast<int>(p[3]))];
        p[0] = fromGrey[p[0]];
        p[1] = fromGrey[p[1]];
        p[2] = fromGrey[p[2]];
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

constexpr std::string_view kKernelText =
#include "blackandwhite.cl.inc"
    ;

struct blackandwhite {
    static constexpr const OFX::EffectDeclaration& declaration = kBlackAndWhite;
    static constexpr const auto& params = kParams;
    using Values = blackandwhiteValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {OFX::kBlendAmount.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = blackandwhiteProcessor<PIX, nComponents, max, isBGRA>;

    // The byte sum is exact, so one byte kernel serves both orders; the
    // float grey is summed blue first, which needs a kernel per order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"kb4e17c0a5", "kb4e17c0a5", "k6f0d93b1e", "k2a85c7f39"})};
    // Source, output, the blend as the kernels take it, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<blackandwhite>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), kernelBlend(v.blend), cl.windowWidth(), cl.windowHeight());
    }
    static void uplift(OFX::ParamSet& p, const OFX::KeyframeUpliftArguments& args) {
        OFX::upliftOneDouble(args, OFX::kBlendAmount.param(p));
    }
};

using blackandwhitePluginFactory = OFX::EffectFactory<blackandwhite>;
using blackandwhitePlugin = OFX::EffectPlugin<blackandwhite>;
using blackandwhiteOpenCLProcessor = OFX::OpenCLEffectProcessor<blackandwhite>;

const OFX::EffectRegistration<blackandwhite> registration;

}  // namespace
