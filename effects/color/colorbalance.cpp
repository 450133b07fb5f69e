// Color Balance: shifts each colour by its slider, weighted toward the
// highlights, the midtones or the shadows by the pixel's mean level. With
// luminosity preserved each shift takes half of the other two away, so the
// mean moves less.
#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>

#include "Effect.h"
#include "QzRound.h"
#include "QzVectorPaths.h"
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

// The byte offsets by the sum of a pixel's three colours (0 to 765), the
// halves already taken away where luminosity is preserved, in the pixel's
// storage order; alpha's entry is 0.
using ByteOffsets = std::array<std::array<int16_t, 4>, 766>;

// Adds each pixel's offsets to its bytes, held to 0..255; alpha keeps its
// value. The output may be the source: each pixel is read whole before it
// is written.
void offsetRow(unsigned char* d, const unsigned char* s, int width, const ByteOffsets& bySum) {
    int x = 0;
#if defined(__SSE2__)
    // Four pixels a step: the sums from two byte-sum instructions over the
    // colours, the offsets of two pixels to a register of sixteen-bit lanes,
    // and the unsigned saturating pack is the clamp to 0..255.
    const __m128i zero = _mm_setzero_si128();
    const __m128i firstAndThird = _mm_set_epi32(0, 0x00FFFFFF, 0, 0x00FFFFFF);
    const __m128i secondAndFourth = _mm_set_epi32(0x00FFFFFF, 0, 0x00FFFFFF, 0);
    for (; x + 4 <= width; x += 4) {
        const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 4 * x));
        const __m128i sums02 = _mm_sad_epu8(_mm_and_si128(p, firstAndThird), zero);
        const __m128i sums13 = _mm_sad_epu8(_mm_and_si128(p, secondAndFourth), zero);
        const auto entry = [&](int sum) {
            return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(bySum[sum].data()));
        };
        const __m128i offsets01 =
            _mm_unpacklo_epi64(entry(_mm_cvtsi128_si32(sums02)), entry(_mm_cvtsi128_si32(sums13)));
        const __m128i offsets23 =
            _mm_unpacklo_epi64(entry(_mm_extract_epi16(sums02, 4)), entry(_mm_extract_epi16(sums13, 4)));
        const __m128i lo = _mm_add_epi16(_mm_unpacklo_epi8(p, zero), offsets01);
        const __m128i hi = _mm_add_epi16(_mm_unpackhi_epi8(p, zero), offsets23);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 4 * x), _mm_packus_epi16(lo, hi));
    }
#endif
    for (; x < width; ++x) {
        const unsigned char* p = s + 4 * x;
        unsigned char* q = d + 4 * x;
        const int c[4] = {p[0], p[1], p[2], p[3]};
        const int16_t* offset = bySum[c[0] + c[1] + c[2]].data();
        for (int i = 0; i < 3; ++i) q[i] = static_cast<unsigned char>(std::clamp(c[i] + offset[i], 0, 255));
        q[3] = static_cast<unsigned char>(c[3]);
    }
}

// One float pixel's colours c0, c1, c2, shifted in place. Unclamped. The
// mean is a float sum; the weight and shifts run in double and each result
// is rounded once to float.
template <int range, bool preserve>
void shiftPixel(const double (&u)[3], float (&c)[3]) {
    const float level = (c[0] + c[1] + c[2]) / 3.0f;
    const double w = weightOf<range>(level);
    double d0 = u[0] * w, d1 = u[1] * w, d2 = u[2] * w;
    if constexpr (preserve) {
        const double k0 = d0 - d1 / 2 - d2 / 2;
        const double k1 = d1 - d0 / 2 - d2 / 2;
        const double k2 = d2 - d0 / 2 - d1 / 2;
        d0 = k0;
        d1 = k1;
        d2 = k2;
    }
    c[0] = static_cast<float>(c[0] + d0);
    c[1] = static_cast<float>(c[1] + d1);
    c[2] = static_cast<float>(c[2] + d2);
}

#ifdef QZ_HAS_VECTOR_PATHS
// weightOf on four levels, in the same grouping.
template <int range>
QZ_AVX2 inline __m256d weightLanes(__m256d level) {
    const __m256d one = _mm256_set1_pd(1.0);
    if constexpr (range == kShadows) {
        return _mm256_sub_pd(one, _mm256_mul_pd(level, level));
    } else if constexpr (range == kMidtones) {
        const __m256d two = _mm256_set1_pd(2.0);
        const __m256d centred = _mm256_sub_pd(level, _mm256_set1_pd(0.5));
        return _mm256_sub_pd(one, _mm256_mul_pd(two, _mm256_mul_pd(_mm256_mul_pd(two, centred), centred)));
    } else {
        const __m256d rest = _mm256_sub_pd(one, level);
        return _mm256_sub_pd(one, _mm256_mul_pd(rest, rest));
    }
}

// Four float pixels a step, a pixel to a lane; answers how many pixels it
// did, a multiple of four, and leaves the rest to the plain form. Alpha is
// carried through. Each step reads its pixels whole before it writes, so
// the output may be the source.
template <int range, bool preserve, int c0At, int c2At>
QZ_AVX2 int shiftLanes(float* d, const float* s, int width, const double (&u)[3]) {
    const __m256d u0 = _mm256_set1_pd(u[0]), u1 = _mm256_set1_pd(u[1]), u2 = _mm256_set1_pd(u[2]);
    // Halving is a product by 0.5, to the bit.
    const __m256d half = _mm256_set1_pd(0.5);
    const __m128 three = _mm_set1_ps(3.0f);
    int x = 0;
    for (; x + 4 <= width; x += 4) {
        __m128 v[4];
        for (int i = 0; i < 4; ++i) v[i] = _mm_loadu_ps(s + 4 * (x + i));
        _MM_TRANSPOSE4_PS(v[0], v[1], v[2], v[3]);
        const __m128 level = _mm_div_ps(_mm_add_ps(_mm_add_ps(v[c0At], v[1]), v[c2At]), three);
        const __m256d w = weightLanes<range>(_mm256_cvtps_pd(level));
        __m256d d0 = _mm256_mul_pd(u0, w), d1 = _mm256_mul_pd(u1, w), d2 = _mm256_mul_pd(u2, w);
        if constexpr (preserve) {
            const __m256d h0 = _mm256_mul_pd(d0, half), h1 = _mm256_mul_pd(d1, half), h2 = _mm256_mul_pd(d2, half);
            const __m256d k0 = _mm256_sub_pd(_mm256_sub_pd(d0, h1), h2);
            const __m256d k1 = _mm256_sub_pd(_mm256_sub_pd(d1, h0), h2);
            const __m256d k2 = _mm256_sub_pd(_mm256_sub_pd(d2, h0), h1);
            d0 = k0;
            d1 = k1;
            d2 = k2;
        }
        v[c0At] = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(v[c0At]), d0));
        v[1] = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(v[1]), d1));
        v[c2At] = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_cvtps_pd(v[c2At]), d2));
        _MM_TRANSPOSE4_PS(v[0], v[1], v[2], v[3]);
        for (int i = 0; i < 4; ++i) _mm_storeu_ps(d + 4 * (x + i), v[i]);
    }
    return x;
}
#endif

// One row of floats: four pixels a step where the vector form is chosen,
// the rest one by one.
template <int range, bool preserve, int c0At, int c2At>
void shiftRow(float* d, const float* s, int width, const double (&u)[3], bool lanes) {
    int x = 0;
#ifdef QZ_HAS_VECTOR_PATHS
    if (lanes) x = shiftLanes<range, preserve, c0At, c2At>(d, s, width, u);
#else
    (void)lanes;
#endif
    for (; x < width; ++x) {
        const float* p = s + 4 * x;
        float* q = d + 4 * x;
        float c[3] = {p[c0At], p[1], p[c2At]};
        const float a = p[3];
        shiftPixel<range, preserve>(u, c);
        q[c0At] = c[0];
        q[1] = c[1];
        q[c2At] = c[2];
        q[3] = a;
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
        const int width = rows.x2 - rows.x1;
        const auto eachRow = [&](auto&& row) {
            for (int y = rows.y1; y < rows.y2; ++y) {
                if (effect.abort()) return 1;
                row(static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y)),
                    static_cast<const PIX*>(srcImg->getPixelAddress(rows.x1, y)));
            }
            return 0;
        };
        if constexpr (kBytes) {
            ByteOffsets bySum;
            offsetsBySum<range>(shift, bySum);
            return eachRow([&](unsigned char* d, const unsigned char* s) { offsetRow(d, s, width, bySum); });
        } else {
            const double u[3] = {shift[0], shift[1], shift[2]};
            const bool lanes = qz::avx2Selected();
            const auto shiftRows = [&](auto preserve) {
                return eachRow([&](float* d, const float* s) {
                    shiftRow<range, decltype(preserve)::value, kAt[0], kAt[2]>(d, s, width, u, lanes);
                });
            };
            if (values.preserveLuminosity) return shiftRows(std::true_type{});
            return shiftRows(std::false_type{});
        }
    }

    // On the stored (premultiplied) bytes, with no regard to alpha, the
    // offsets depend on the mean level alone (the sum over 3, truncated):
    // each level is worked out once per band with the arithmetic of a
    // pixel, the shifts rounded to whole levels and the halves rounded on
    // their own, then spread over the sums that give it.
    template <int range>
    void offsetsBySum(const float* shift, ByteOffsets& bySum) const {
        for (int mean = 0; mean < 256; ++mean) {
            const double w = weightOf<range>(static_cast<double>(mean) / 255.0);
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
            std::array<int16_t, 4> entry{};
            for (int c = 0; c < 3; ++c) entry[kAt[c]] = static_cast<int16_t>(offset[c]);
            for (int sum = 3 * mean; sum < std::min(3 * mean + 3, 766); ++sum) bySum[sum] = entry;
        }
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
