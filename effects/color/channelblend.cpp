// Channel Blend: each output channel is a weighted sum of the four input
// channels plus an offset. The group named after a colour writes that
// colour, and each weight named after a colour reads that colour, in either
// pixel order. The result stays a valid premultiplied pixel: alpha is held
// to 0..1 and each colour to 0..alpha.
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "Effect.h"
#include "QzVectorPaths.h"
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

#ifdef QZ_HAS_VECTOR_PATHS
// Four pixels a step, a pixel to a lane of doubles; answers how many
// pixels it did, a multiple of four, and leaves the rest to the plain form.
// Each step reads its pixels whole before it writes, so the output may be
// the source.
template <class PIX, int max, int isBGRA>
QZ_AVX2 int blendLanes(PIX* d, const PIX* s, int width, const Terms& w) {
    // The storage indices of red, green, blue, alpha.
    constexpr int at[4] = {isBGRA ? 2 : 0, 1, isBGRA ? 0 : 2, 3};
    __m256d terms[kGroups][kTerms];
    for (int g = 0; g < kGroups; ++g)
        for (int t = 0; t < kTerms; ++t) terms[g][t] = _mm256_set1_pd(w[g][t]);
    const __m256d zero = _mm256_setzero_pd();
    const __m256d full = _mm256_set1_pd(max);
    int x = 0;
    for (; x + 4 <= width; x += 4) {
        // The four channels, red first, of the four pixels.
        __m256d c[4];
        __m128 floats[4];
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 4 * x));
            for (int k = 0; k < 4; ++k) {
                const char i = static_cast<char>(at[k]);
                const __m128i lanes =
                    _mm_setr_epi8(i, -1, -1, -1, i + 4, -1, -1, -1, i + 8, -1, -1, -1, i + 12, -1, -1, -1);
                c[k] = _mm256_cvtepi32_pd(_mm_shuffle_epi8(p, lanes));
            }
        } else {
            for (int i = 0; i < 4; ++i) floats[i] = _mm_loadu_ps(s + 4 * (x + i));
            _MM_TRANSPOSE4_PS(floats[0], floats[1], floats[2], floats[3]);
            for (int k = 0; k < 4; ++k) c[k] = _mm256_cvtps_pd(floats[at[k]]);
        }
        // The sums in the order of the terms, offset last.
        __m256d v[kGroups];
        for (int g = 0; g < kGroups; ++g) {
            const __m256d* t = terms[g];
            __m256d sum = _mm256_mul_pd(c[0], t[0]);
            sum = _mm256_add_pd(sum, _mm256_mul_pd(c[1], t[1]));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(c[2], t[2]));
            sum = _mm256_add_pd(sum, _mm256_mul_pd(c[3], t[3]));
            v[g] = _mm256_add_pd(sum, t[4]);
        }
        // The maximum answers v unless 0 > v: "v < 0 ? 0 : v" to the bit,
        // a NaN and -0 included. Alpha's minimum answers full unless its
        // first operand is less, which is "<= max ? v : max" as the two
        // agree where v equals full. A colour takes a select instead: a
        // minimum would give +0 where the form keeps a -0 equal to it.
        v[kAlpha] = _mm256_min_pd(_mm256_max_pd(zero, v[kAlpha]), full);
        for (int g = 0; g < kAlpha; ++g) {
            const __m256d floor = _mm256_max_pd(zero, v[g]);
            v[g] = _mm256_blendv_pd(v[kAlpha], floor, _mm256_cmp_pd(floor, v[kAlpha], _CMP_LE_OQ));
        }
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            // 0..255 truncates to the byte; the packs keep it, and the
            // shuffle takes the channels back into pixels.
            __m128i stored[4];
            for (int g = 0; g < kGroups; ++g) stored[at[g]] = _mm256_cvttpd_epi32(v[g]);
            const __m128i byChannel =
                _mm_packus_epi16(_mm_packs_epi32(stored[0], stored[1]), _mm_packs_epi32(stored[2], stored[3]));
            const __m128i byPixel = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 4 * x), _mm_shuffle_epi8(byChannel, byPixel));
        } else {
            for (int g = 0; g < kGroups; ++g) floats[at[g]] = _mm256_cvtpd_ps(v[g]);
            _MM_TRANSPOSE4_PS(floats[0], floats[1], floats[2], floats[3]);
            for (int i = 0; i < 4; ++i) _mm_storeu_ps(d + 4 * (x + i), floats[i]);
        }
    }
    return x;
}

// Byte weights and offsets (the offsets already in bytes) that are whole
// multiples of 2^-shift: channel swaps and copies, inversions, halves and
// quarters. With each weight times 2^shift within sixteen bits and each
// offset within 2^24, every product of a byte and a weight, and every
// partial sum, is a whole number of steps of 2^-shift, fewer than 2^26 of
// them: well inside a double's 53 bits, so the double form rounds nothing
// and its v is exactly V / 2^shift for the integer sum V. No NaN arises,
// the clamps keep the scale (0 and 255 become 0 and 255 << shift), and the
// truncation of a value of 0..255 is V >> shift: the same bytes, from sums
// on integers.
struct WholeTerms {
    int shift;
    // The weights of red and green, and of blue and alpha, as the low and
    // high sixteen bits of a pair.
    int32_t pairs[kGroups][2];
    int32_t offset[kGroups];
};

bool wholeTermsOf(const Terms& w, WholeTerms& whole) {
    for (int shift = 0; shift <= 7; ++shift) {
        bool fits = true;
        int32_t scaled[kGroups][kTerms];
        for (int g = 0; g < kGroups; ++g) {
            for (int t = 0; t < kTerms; ++t) {
                // Exact: a scaling by a power of two.
                const double v = std::ldexp(w[g][t], shift);
                const double limit = t == kOffset ? 16777216.0 : 32767.0;
                fits = fits && std::fabs(v) <= limit && v == std::trunc(v);
                scaled[g][t] = fits ? static_cast<int32_t>(v) : 0;
            }
        }
        if (!fits) continue;
        whole.shift = shift;
        for (int g = 0; g < kGroups; ++g) {
            for (int h = 0; h < 2; ++h)
                whole.pairs[g][h] = static_cast<int32_t>(static_cast<uint16_t>(scaled[g][2 * h]) |
                                                         static_cast<uint32_t>(scaled[g][2 * h + 1]) << 16);
            whole.offset[g] = scaled[g][kOffset];
        }
        return true;
    }
    return false;
}

// The shuffle that takes two bytes of each four-byte pixel, at storage
// indices first and second, to its two sixteen-bit lanes.
QZ_AVX2 inline __m256i pairLanes(int first, int second) {
    char m[32];
    for (int i = 0; i < 8; ++i) {
        m[4 * i] = static_cast<char>(4 * (i % 4) + first);
        m[4 * i + 1] = -1;
        m[4 * i + 2] = static_cast<char>(4 * (i % 4) + second);
        m[4 * i + 3] = -1;
    }
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m));
}

// Eight byte pixels a step on whole terms: each pixel's red and green, and
// its blue and alpha, as pairs of sixteen-bit lanes, so that one multiply-
// add gives two terms of a sum. Answers how many pixels it did.
template <int isBGRA>
QZ_AVX2 int blendWholeLanes(unsigned char* d, const unsigned char* s, int width, const WholeTerms& whole) {
    constexpr int at[4] = {isBGRA ? 2 : 0, 1, isBGRA ? 0 : 2, 3};
    const __m256i redGreen = pairLanes(at[0], at[1]);
    const __m256i blueAlpha = pairLanes(at[2], at[3]);
    __m256i pairs[kGroups][2], offset[kGroups];
    for (int g = 0; g < kGroups; ++g) {
        for (int h = 0; h < 2; ++h) pairs[g][h] = _mm256_set1_epi32(whole.pairs[g][h]);
        offset[g] = _mm256_set1_epi32(whole.offset[g]);
    }
    const __m128i shift = _mm_cvtsi32_si128(whole.shift);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i full = _mm256_set1_epi32(255 << whole.shift);
    const __m256i byPixel =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 4 * x));
        const __m256i rg = _mm256_shuffle_epi8(p, redGreen);
        const __m256i ba = _mm256_shuffle_epi8(p, blueAlpha);
        __m256i v[kGroups];
        for (int g = 0; g < kGroups; ++g)
            v[g] = _mm256_add_epi32(
                _mm256_add_epi32(_mm256_madd_epi16(rg, pairs[g][0]), _mm256_madd_epi16(ba, pairs[g][1])), offset[g]);
        const __m256i a = _mm256_min_epi32(_mm256_max_epi32(v[kAlpha], zero), full);
        __m256i stored[4];
        for (int g = 0; g < kAlpha; ++g)
            stored[at[g]] = _mm256_srl_epi32(_mm256_min_epi32(_mm256_max_epi32(v[g], zero), a), shift);
        stored[3] = _mm256_srl_epi32(a, shift);
        // Within each half: four pixels' channels to bytes, then to pixels.
        const __m256i byChannel =
            _mm256_packus_epi16(_mm256_packus_epi32(stored[0], stored[1]), _mm256_packus_epi32(stored[2], stored[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 4 * x), _mm256_shuffle_epi8(byChannel, byPixel));
    }
    return x;
}
#endif

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
        const int width = rows.x2 - rows.x1;
#ifdef QZ_HAS_VECTOR_PATHS
        const bool lanes = qz::avx2Selected();
        WholeTerms wholeTerms{};
        const bool whole = std::is_same_v<PIX, unsigned char> && wholeTermsOf(w, wholeTerms);
#endif
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* d = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            const auto* s = static_cast<const PIX*>(srcImg->getPixelAddress(rows.x1, y));
            int x = 0;
#ifdef QZ_HAS_VECTOR_PATHS
            if constexpr (std::is_same_v<PIX, unsigned char>)
                if (lanes && whole) x = blendWholeLanes<isBGRA>(d, s, width, wholeTerms);
            if (lanes) x += blendLanes<PIX, max, isBGRA>(d + 4 * x, s + 4 * x, width - x, w);
#endif
            for (; x < width; ++x) blendPixel(d + 4 * x, s + 4 * x, w);
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
