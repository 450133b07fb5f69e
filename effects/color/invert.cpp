// Invert: inverts the colour channels of premultiplied pixels and mixes the
// result back with the source by the blend amount.
#include <algorithm>
#include <type_traits>

#include "Effect.h"
#include "QzByteDivide.h"
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

// Each colour gets the same treatment, so the pixel order only decides which
// storage index is which colour and both orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class invertProcessor : public invertProcessorBase {
public:
    using invertProcessorBase::invertProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        return OFX::copyTransformBlend(dstImg, srcImg, procWindow, sizeof(PIX) * 4, 1.0 - values.blend,
                                       [this](const OfxRectI& rows) { return invertRows(rows); });
    }

private:
    int invertRows(const OfxRectI& rows) const {
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            unsigned char table[256];
            for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned char>(~i);
            const qz::ByteDivider divider;
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [&](unsigned char* p, int n) {
                for (; n > 0; --n, p += 4) invertByte(p, table, divider);
            });
        } else {
            return OFX::forEachRow<PIX>(effect, dstImg, rows, [](float* p, int n) {
                for (; n > 0; --n, p += 4) invertFloat(p);
            });
        }
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
