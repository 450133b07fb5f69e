// Channel Blend: each output channel is a weighted sum of the four input
// channels plus an offset. The group named after a colour writes that
// colour, and each weight named after a colour reads that colour, in either
// pixel order. The result stays a valid premultiplied pixel: alpha is held
// to 0..1 and each colour to 0..alpha.
#include <array>

#include "Effect.h"
#include "RawView.h"

namespace {

constexpr OFX::EffectDeclaration kChannelBlend{
    "talvo.effects:channelblend", "TALVO Channel Blend", "TALVO\\Utility", OFX::eContextFilter, 1230,
    "{0BC15B73-83B9-11D4-9F67-00485481BD31}", true, false, &OFX::kHostsSince18,
};

constexpr OFX::BooleanRow kNormalize{.name = "Normalize", .label = "Normalize", .scriptName = "Normalize"};

constexpr OFX::GroupRow kGroupRed{.name = "Group RED", .label = "Red Output"};
constexpr OFX::GroupRow kGroupGreen{.name = "Group GREEN", .label = "Green Output"};
constexpr OFX::GroupRow kGroupBlue{.name = "Group BLUE", .label = "Blue Output"};
constexpr OFX::GroupRow kGroupAlpha{.name = "Group ALPHA", .label = "Alpha Output"};

// One term of a group. Note: the identifiers hold blanks and serve as script
// names too; saved projects know them so. The panel shows the useful part of
// the range, and the step is the one hosts assume when none is given.
constexpr OFX::DoubleRow term(const char* name, const char* label, const OFX::GroupRow& group,
                              double defaultValue = 0.0) {
    return {.name = name,
            .label = label,
            .scriptName = name,
            .defaultValue = defaultValue,
            .min = -255.0,
            .max = 255.0,
            .increment = 1.0,
            .displayMin = -10.0,
            .displayMax = 10.0,
            .group = &group};
}

// Each output starts as a copy of its own input. Note: only the first group
// spells "channel" in lower case; the labels are kept as users have always
// seen them.
constexpr OFX::DoubleRow kRedR = term("RED weight R", "Red channel weighting", kGroupRed, 1.0);
constexpr OFX::DoubleRow kRedG = term("RED weight G", "Green channel weighting", kGroupRed);
constexpr OFX::DoubleRow kRedB = term("RED weight B", "Blue channel weighting", kGroupRed);
constexpr OFX::DoubleRow kRedA = term("RED weight A", "Alpha channel weighting", kGroupRed);
constexpr OFX::DoubleRow kRedOffset = term("RED weight Offset", "Offset", kGroupRed);
constexpr OFX::DoubleRow kGreenR = term("GREEN weight R", "Red Channel Weighting", kGroupGreen);
constexpr OFX::DoubleRow kGreenG = term("GREEN weight G", "Green Channel Weighting", kGroupGreen, 1.0);
constexpr OFX::DoubleRow kGreenB = term("GREEN weight B", "Blue Channel Weighting", kGroupGreen);
constexpr OFX::DoubleRow kGreenA = term("GREEN weight A", "Alpha Channel Weighting", kGroupGreen);
constexpr OFX::DoubleRow kGreenOffset = term("GREEN weight Offset", "Offset", kGroupGreen);
constexpr OFX::DoubleRow kBlueR = term("BLUE weight R", "Red Channel Weighting", kGroupBlue);
constexpr OFX::DoubleRow kBlueG = term("BLUE weight G", "Green Channel Weighting", kGroupBlue);
constexpr OFX::DoubleRow kBlueB = term("BLUE weight B", "Blue Channel Weighting", kGroupBlue, 1.0);
constexpr OFX::DoubleRow kBlueA = term("BLUE weight A", "Alpha Channel Weighting", kGroupBlue);
constexpr OFX::DoubleRow kBlueOffset = term("BLUE weight Offset", "Offset", kGroupBlue);
constexpr OFX::DoubleRow kAlphaR = term("ALPHA weight R", "Red Channel Weighting", kGroupAlpha);
constexpr OFX::DoubleRow kAlphaG = term("ALPHA weight G", "Green Channel Weighting", kGroupAlpha);
constexpr OFX::DoubleRow kAlphaB = term("ALPHA weight B", "Blue Channel Weighting", kGroupAlpha);
constexpr OFX::DoubleRow kAlphaA = term("ALPHA weight A", "Alpha Channel Weighting", kGroupAlpha, 1.0);
constexpr OFX::DoubleRow kAlphaOffset = term("ALPHA weight Offset", "Offset", kGroupAlpha);

constexpr OFX::ParamTable kParams{
    kNormalize,
    kGroupRed, kRedR, kRedG, kRedB, kRedA, kRedOffset,
    kGroupGreen, kGreenR, kGreenG, kGreenB, kGreenA, kGreenOffset,
    kGroupBlue, kBlueR, kBlueG, kBlueB, kBlueA, kBlueOffset,
    kGroupAlpha, kAlphaR, kAlphaG, kAlphaB, kAlphaA, kAlphaOffset,
};

// The groups in the order of the channels they write, red, green, blue,
// alpha; in each the weights of red, green, blue and alpha, then the offset.
constexpr int kGroups = 4;
constexpr int kTerms = 5;
constexpr int kAlpha = 3;
constexpr int kOffset = 4;
constexpr const OFX::DoubleRow* kTermRows[kGroups][kTerms] = {
    {&kRedR, &kRedG, &kRedB, &kRedA, &kRedOffset},
    {&kGreenR, &kGreenG, &kGreenB, &kGreenA, &kGreenOffset},
    {&kBlueR, &kBlueG, &kBlueB, &kBlueA, &kBlueOffset},
    {&kAlphaR, &kAlphaG, &kAlphaB, &kAlphaA, &kAlphaOffset},
};

using Terms = std::array<std::array<double, kTerms>, kGroups>;

// The terms as the pixels take them, normalised where asked; the kernels
// receive them in this order, narrowed to floats.
struct channelblendValues {
    Terms terms;
};

// With Normalize, each group whose terms sum above 0 is divided by that sum;
// a group summing to 0 or less stays as it is. Done once per render rather
// than per pixel: after one division the terms sum to 1, so a repetition
// would change nothing but rounding.
channelblendValues valuesAt(OFX::ParamSet& p, double time) {
    const bool normalize = kNormalize.value(p, time);
    channelblendValues v{};
    for (int g = 0; g < kGroups; ++g) {
        double sum = 0.0;
        for (int t = 0; t < kTerms; ++t) {
            v.terms[g][t] = kTermRows[g][t]->value(p, time);
            sum += v.terms[g][t];
        }
        if (normalize && sum > 0.0)
            for (double& term : v.terms[g]) term /= sum;
    }
    return v;
}

using channelblendProcessorBase = OFX::EffectProcessorBase<channelblendValues>;

// The formula is the one of red-first memory, where the groups' order is
// the channels' order; on blue-first pixels red and blue are read and
// written at their own indices, with the same sums in the same order, so
// both orders give one picture, to the bit.
template <class PIX, int nComponents, int max, int isBGRA>
class channelblendProcessor : public channelblendProcessorBase {
public:
    using channelblendProcessorBase::channelblendProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI rows = OFX::clipToImage(OFX::clipToImage(procWindow, dstImg), srcImg);

        // Offsets are in units of the full scale: 255 on bytes.
        Terms w = values.terms;
        for (auto& group : w) group[kOffset] *= max;
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* d = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            const auto* s = static_cast<const PIX*>(srcImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, d += 4, s += 4) blendPixel(d, s, w);
        }
        return 0;
    }

private:
    // The storage indices of red, green, blue, alpha.
    static constexpr int kAt[4] = {isBGRA ? 2 : 0, 1, isBGRA ? 0 : 2, 3};

    static double blendOf(const double* c, const std::array<double, kTerms>& w) {
        return c[0] * w[0] + c[1] * w[1] + c[2] * w[2] + c[3] * w[3] + w[4];
    }

    // Alpha first, held to 0..max; each colour then to 0..alpha, where a NaN
    // falls to the alpha side. Bytes truncate.
    static void blendPixel(PIX* d, const PIX* s, const Terms& w) {
        double c[4];
        for (int k = 0; k < 4; ++k) c[k] = static_cast<double>(s[kAt[k]]);
        const double av = blendOf(c, w[kAlpha]);
        const double a = av < 0.0 ? 0.0 : (av <= max ? av : static_cast<double>(max));
        for (int g = 0; g < kAlpha; ++g) {
            const double v = blendOf(c, w[g]);
            d[kAt[g]] = static_cast<PIX>(v < 0.0 ? 0.0 : (v <= a ? v : a));
        }
        d[3] = static_cast<PIX>(a);
    }
};

constexpr std::string_view kKernelText =
#include "channelblend.cl.inc"
    ;

struct channelblend {
    static constexpr const OFX::EffectDeclaration& declaration = kChannelBlend;
    static constexpr const auto& params = kParams;
    using Values = channelblendValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) { return valuesAt(p, args.time); }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = channelblendProcessor<PIX, nComponents, max, isBGRA>;

    // Red and blue sit at other storage indices in each order, so each depth
    // has a kernel per order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k848d3e676", "k3a7c91e0d", "kd25d96974", "k6e02b5f49"})};
    // Source, output, the 20 terms group by group, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<channelblend>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using channelblendPluginFactory = OFX::EffectFactory<channelblend>;
using channelblendPlugin = OFX::EffectPlugin<channelblend>;
using channelblendOpenCLProcessor = OFX::OpenCLEffectProcessor<channelblend>;

const OFX::EffectRegistration<channelblend> registration;

}  // namespace
