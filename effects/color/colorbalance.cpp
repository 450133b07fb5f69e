// Color Balance: shifts each colour by its slider, weighted toward the
// highlights, the midtones or the shadows by the pixel's mean level. With
// luminosity preserved each shift takes half of the other two away, so the
// mean moves less.
#include <algorithm>
#include <type_traits>

#include "Effect.h"
#include "QzRound.h"
#include "RawView.h"

namespace {

constexpr OFX::EffectDeclaration kColorBalance{
    "talvo.effects:colorbalance", "TALVO Color Balance", "TALVO\\Color", OFX::eContextFilter, 1060,
    "{C3062BEC-E69D-11D1-9AA9-00A0C99B12C5}",
};

// The values of Type; the third option's label is "Shadow", singular.
enum Range { kHighlights = 0, kMidtones = 1, kShadows = 2 };

constexpr OFX::DoubleRow kRed{.name = "Red", .label = "Red", .scriptName = "red", .min = -0.5, .max = 0.5};
constexpr OFX::DoubleRow kGreen{.name = "Green", .label = "Green", .scriptName = "green", .min = -0.5, .max = 0.5};
constexpr OFX::DoubleRow kBlue{.name = "Blue", .label = "Blue", .scriptName = "blue", .min = -0.5, .max = 0.5};
constexpr OFX::ChoiceRow kType{
    .name = "Type",
    .label = "Type",
    .scriptName = "type",
    .options = {"Highlights", "Midtones", "Shadow"},
    .defaultValue = kMidtones,
};
constexpr OFX::BooleanRow kPreserveLuminosity{
    .name = "PreserveLuminosity",
    .label = "Preserve luminosity",
    .scriptName = "preserveluminosity",
    .defaultValue = true,
};

constexpr OFX::ParamTable kParams{kRed, kGreen, kBlue, kType, kPreserveLuminosity};

// The sliders in single precision, as the arithmetic takes them; the kernels
// receive the fields in this order.
struct colorbalanceValues {
    float red;
    float green;
    float blue;
    int type;
    bool preserveLuminosity;
};

using colorbalanceProcessorBase = OFX::EffectProcessorBase<colorbalanceValues>;

// How strongly a pixel of mean level L (nominally 0 to 1) takes the shifts.
template <int range>
double weightOf(double level) {
    if constexpr (range == kShadows) {
        return 1.0 - level * level;
    } else if constexpr (range == kMidtones) {
        // 1 - 4 (L - 0.5)^2, in this grouping: it decides the last bits.
        return 1.0 - 2.0 * (2.0 * (level - 0.5) * (level - 0.5));
    } else {
        return 1.0 - (1.0 - level) * (1.0 - level);
    }
}

// The formula is written for blue-first memory: c0, c1, c2 are blue, green,
// red. Both orders read and write the colours at their own storage indices,
// so an RGBA frame gives the BGRA frame's picture, to the bit.
//
// Which slider shifts which colour is part of the defined arithmetic and
// differs by depth: bytes give each slider its own colour, floats give Red
// to c0 and Blue to c2, that is Red to blue and Blue to red. A slider thus
// acts on one colour whatever the pixel order, the same one as on a
// blue-first frame; on floats that colour is not the one in its name, and
// projects made with it look as they always have.
template <class PIX, int nComponents, int max, int isBGRA>
class colorbalanceProcessor : public colorbalanceProcessorBase {
public:
    using colorbalanceProcessorBase::colorbalanceProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI rows = OFX::clipToImage(OFX::clipToImage(procWindow, dstImg), srcImg);
        switch (values.type) {
        case kShadows: return balanceRows<kShadows>(rows);
        case kMidtones: return balanceRows<kMidtones>(rows);
        default: return balanceRows<kHighlights>(rows);
        }
    }

private:
    static constexpr bool kBytes = std::is_same_v<PIX, unsigned char>;
    // The storage indices of c0, c1, c2: blue, green, red.
    static constexpr int kAt[3] = {isBGRA ? 0 : 2, 1, isBGRA ? 2 : 0};

    // One pass from the source to the output: the pixel is read once.
    template <int range>
    int balanceRows(const OfxRectI& rows) const {
        const float shift[3] = {kBytes ? values.blue : values.red, values.green, kBytes ? values.red : values.blue};
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* d = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            const auto* s = static_cast<const PIX*>(srcImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, d += 4, s += 4) {
                if constexpr (kBytes) balanceByte<range>(d, s, shift);
                else balanceFloat<range>(d, s, shift);
            }
        }
        return 0;
    }

    // On the stored (premultiplied) bytes, with no regard to alpha: the
    // shifts are rounded to whole levels, the halves rounded on their own,
    // and the sum is held to 0..255. The wide-vector form of this routine
    // gives the same bytes, so the scalar one serves all.
    template <int range>
    void balanceByte(unsigned char* d, const unsigned char* s, const float* shift) const {
        const double level = static_cast<double>((s[kAt[0]] + s[kAt[1]] + s[kAt[2]]) / 3) / 255.0;
        const double w = weightOf<range>(level);
        double levels[3];
        int offset[3];
        for (int c = 0; c < 3; ++c) {
            levels[c] = shift[c] * w * 255.0;
            offset[c] = qz::roundBiased(levels[c]);
        }
        if (values.preserveLuminosity) {
            int half[3];
            for (int c = 0; c < 3; ++c) half[c] = qz::roundBiased(levels[c] * 0.5);
            offset[0] -= half[1] + half[2];
            offset[1] -= half[0] + half[2];
            offset[2] -= half[0] + half[1];
        }
        for (int c = 0; c < 3; ++c) d[kAt[c]] = static_cast<unsigned char>(std::clamp(s[kAt[c]] + offset[c], 0, 255));
        d[3] = s[3];
    }

    // Unclamped. The mean is a float sum; the weight and shifts run in double
    // and each result is rounded once to float. The formula leaves alpha
    // alone, so the output takes the source's.
    template <int range>
    void balanceFloat(float* d, const float* s, const float* shift) const {
        const float level = (s[kAt[0]] + s[kAt[1]] + s[kAt[2]]) / 3.0f;
        const double w = weightOf<range>(level);
        double offset[3];
        for (int c = 0; c < 3; ++c) offset[c] = shift[c] * w;
        if (values.preserveLuminosity) {
            const double kept[3] = {offset[0] - offset[1] / 2 - offset[2] / 2,
                                    offset[1] - offset[0] / 2 - offset[2] / 2,
                                    offset[2] - offset[0] / 2 - offset[1] / 2};
            std::copy(kept, kept + 3, offset);
        }
        for (int c = 0; c < 3; ++c) d[kAt[c]] = static_cast<float>(s[kAt[c]] + offset[c]);
        d[3] = s[3];
    }
};

constexpr std::string_view kKernelText =
#include "colorbalance.cl.inc"
    ;

struct colorbalance {
    static constexpr const OFX::EffectDeclaration& declaration = kColorBalance;
    static constexpr const auto& params = kParams;
    using Values = colorbalanceValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {static_cast<float>(kRed.value(p, args.time)), static_cast<float>(kGreen.value(p, args.time)),
                static_cast<float>(kBlue.value(p, args.time)), kType.value(p, args.time),
                kPreserveLuminosity.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = colorbalanceProcessor<PIX, nComponents, max, isBGRA>;

    // The colours sit at other storage indices in each order, so each depth
    // has a kernel per order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"kc2da69c00", "k8cf90441b", "k0810d9ff8", "kec0e15b08"})};
    // Source, output, Red, Green, Blue, the range type, the luminosity flag,
    // the window's size.
    static void launch(OFX::OpenCLEffectProcessor<colorbalance>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using colorbalancePluginFactory = OFX::EffectFactory<colorbalance>;
using colorbalancePlugin = OFX::EffectPlugin<colorbalance>;
using colorbalanceOpenCLProcessor = OFX::OpenCLEffectProcessor<colorbalance>;

const OFX::EffectRegistration<colorbalance> registration;

}  // namespace
