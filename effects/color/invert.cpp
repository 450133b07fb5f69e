// Invert: inverts the colour channels of premultiplied pixels and mixes the
// result back with the source by the blend amount.
#include <algorithm>
#include <array>

#include "Effect.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kInvert{
    "talvo.effects:invert", "TALVO Invert", "TALVO\\Color", OFX::eContextFilter, 1910,
    "{C3062BE7-E69D-11D1-9AA9-00A0C99B12C5}",
};

constexpr OFX::ParamTable kParams{OFX::kBlendAmount};

struct invertValues {
    double blend;
};

using invertProcessorBase = OFX::EffectProcessorBase<invertValues>;

// The byte inversion of colour c under alpha a, for every pair, worked out
// once at compile time so that a pixel costs three look-ups and no branch:
// - a = 255: the complement, 255 - c;
// - a = 0: no colour;
// - otherwise c is unpremultiplied, u = min(255, c * 255 / a) in integers,
//   and the complement is premultiplied again by (255 - u) * a >> 8.
//   Note: the shift, not a division by 255, is the defined rounding.
constexpr std::array<std::array<unsigned char, 256>, 256> kInvertedByAlpha = [] {
    std::array<std::array<unsigned char, 256>, 256> table{};
    for (int a = 1; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            table[a][c] = a == 255 ? 255 - c : ((255 - std::min(255, c * 255 / a)) * a) >> 8;
    return table;
}();

// Each colour gets the same treatment, so the pixel order only decides which
// storage index is which colour and both orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class invertProcessor : public invertProcessorBase {
public:
    using invertProcessorBase::invertProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        return OFX::copyTransformBlend(dstImg, srcImg, procWindow, sizeof(PIX) * 4, 1.0 - values.blend,
                                       OFX::eachPixel<PIX>(effect, dstImg, [](PIX* p) { invert(p); }));
    }

private:
    static void invert(unsigned char* p) {
        const unsigned char* inverted = kInvertedByAlpha[p[3]].data();
        for (int c = 0; c < 3; ++c) p[c] = inverted[p[c]];
    }

    // Written as selects rather than branches, so that the compiler can run
    // several pixels a step; the division is then made for every pixel but
    // only used where the alpha asks for it.
    static void invert(float* p) {
        const float a = p[3];
        const bool opaque = a == 1.0f;
        // Note: the cut-off is compared in double, as it always was.
        const bool clear = a < 1e-6;
        // No clamp: colours outside 0..1 stay outside.
        for (int c = 0; c < 3; ++c) {
            const float u = clear ? 0.0f : p[c] / a;
            p[c] = opaque ? 1.0f - p[c] : (1.0f - u) * a;
        }
    }
};

constexpr std::string_view kKernelText =
#include "invert.cl.inc"
    ;

struct invert {
    static constexpr const OFX::EffectDeclaration& declaration = kInvert;
    static constexpr const auto& params = kParams;
    using Values = invertValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {OFX::kBlendAmount.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = invertProcessor<PIX, nComponents, max, isBGRA>;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"kd89ea7380", "k3f1c0b5e2"})};
    // Source, output, the blend narrowed to a float, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<invert>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
    static void uplift(OFX::ParamSet& p, const OFX::KeyframeUpliftArguments& args) {
        OFX::upliftOneDouble(args, OFX::kBlendAmount.param(p));
    }
};

using invertPluginFactory = OFX::EffectFactory<invert>;
using invertPlugin = OFX::EffectPlugin<invert>;
using invertOpenCLProcessor = OFX::OpenCLEffectProcessor<invert>;

const OFX::EffectRegistration<invert> registration;

}  // namespace
