// Sepia: desaturates toward the plain mean of the three colours and then
// tints toward a colour. The strength runs through three zones: up to 1/3
// it only desaturates (half way at 1/3), up to 2/3 it desaturates further
// and starts to tint, above 2/3 it tints the full grey. The falloff lowers
// the tint on bright pixels.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>


#include "Effect.h"
#include "QzVectorPaths.h"
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

#ifdef QZ_HAS_VECTOR_PATHS

// The vector forms below are chosen where the processor has AVX2: the
// operations of the plain forms on each lane, in the same order, and no
// fused multiply-add, so they give the plain forms' results to the bit.

// The float alpha floor as a float bound: a float is at or below the double
// 1e-6 exactly when it is at or below this, so the vector path can compare
// floats.
const float kFloatAlphaFloor = [] {
    float f = static_cast<float>(kAlphaFloor);
    if (static_cast<double>(f) > kAlphaFloor) f = std::nextafter(f, 0.0f);
    return f;
}();

// The byte mix d + ((s - d) * k) / 256 on sixteen-bit lanes holding 0..255,
// with k in 0..255: the magnitude's product fits sixteen unsigned bits, and
// the division toward zero is its shift with the sign put back.
QZ_AVX2 inline __m256i mix256Lanes(__m256i d, __m256i s, __m256i k) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i diff = _mm256_sub_epi16(s, d);
    const __m256i negative = _mm256_cmpgt_epi16(zero, diff);
    const __m256i step = _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_abs_epi16(diff), k), 8);
    return _mm256_add_epi16(d, _mm256_sub_epi16(_mm256_xor_si256(step, negative), negative));
}

// Each colour lane (sixteen-bit lanes, four to a pixel, alpha last) given
// the sum of its pixel's three colours.
QZ_AVX2 inline __m256i colourSums(__m256i v) {
    constexpr int kOnce = _MM_SHUFFLE(3, 0, 2, 1);
    constexpr int kTwice = _MM_SHUFFLE(3, 1, 0, 2);
    const __m256i once = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(v, kOnce), kOnce);
    const __m256i twice = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(v, kTwice), kTwice);
    return _mm256_add_epi16(_mm256_add_epi16(v, once), twice);
}

QZ_AVX2 inline __m256i alphaLanes(__m256i v) {
    constexpr int kAlpha = _MM_SHUFFLE(3, 3, 3, 3);
    return _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(v, kAlpha), kAlpha);
}

// A table's four lanes for each pixel's grey (in every colour lane).
QZ_AVX2 inline __m256i lanesByGrey(__m256i grey, const uint64_t* table) {
    return _mm256_set_epi64x(static_cast<long long>(table[_mm256_extract_epi16(grey, 12)]),
                             static_cast<long long>(table[_mm256_extract_epi16(grey, 8)]),
                             static_cast<long long>(table[_mm256_extract_epi16(grey, 4)]),
                             static_cast<long long>(table[_mm256_extract_epi16(grey, 0)]));
}

// clampUnit on four doubles: a NaN goes to 0 as in the plain form.
QZ_AVX2 inline __m256d clampUnitLanes(__m256d v) {
    return _mm256_min_pd(_mm256_max_pd(v, _mm256_setzero_pd()), _mm256_set1_pd(1.0));
}

// Four pixels of four floats each, one in each half of two registers, to a
// register per component (and back: the same shuffle undoes itself).
QZ_AVX2 inline void transposePixels(__m256& r0, __m256& r1, __m256& r2, __m256& r3) {
    const __m256 t0 = _mm256_unpacklo_ps(r0, r1), t1 = _mm256_unpacklo_ps(r2, r3);
    const __m256 t2 = _mm256_unpackhi_ps(r0, r1), t3 = _mm256_unpackhi_ps(r2, r3);
    r0 = _mm256_castpd_ps(_mm256_unpacklo_pd(_mm256_castps_pd(t0), _mm256_castps_pd(t1)));
    r1 = _mm256_castpd_ps(_mm256_unpackhi_pd(_mm256_castps_pd(t0), _mm256_castps_pd(t1)));
    r2 = _mm256_castpd_ps(_mm256_unpacklo_pd(_mm256_castps_pd(t2), _mm256_castps_pd(t3)));
    r3 = _mm256_castpd_ps(_mm256_unpackhi_pd(_mm256_castps_pd(t2), _mm256_castps_pd(t3)));
}
#endif

// The tint goes to the storage index of the colour it names, and the float
// grey is summed blue first, so both pixel orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class sepiaProcessor : public sepiaProcessorBase {
public:
    using sepiaProcessorBase::sepiaProcessorBase;

    // The factors and the byte tables once per render, before the bands.
    void preProcess() override {
        zone = zoneOf(values.strength);
        k = factors();
#ifdef QZ_AVX2
        vector = qz::avx2Selected();
#endif
        if constexpr (kIsByte) {
            switch (zone) {
            case Zone::DesaturateOnly: b = byteFactors<Zone::DesaturateOnly>(k); break;
            case Zone::PartialGreyAndTint: b = byteFactors<Zone::PartialGreyAndTint>(k); break;
            case Zone::FullGreyAndTint: b = byteFactors<Zone::FullGreyAndTint>(k); break;
            }
        }
    }

    int multiThreadProcessImages(OfxRectI procWindow) override {
        switch (zone) {
        case Zone::DesaturateOnly: return sepiaRows<Zone::DesaturateOnly>(procWindow);
        case Zone::PartialGreyAndTint: return sepiaRows<Zone::PartialGreyAndTint>(procWindow);
        case Zone::FullGreyAndTint: return sepiaRows<Zone::FullGreyAndTint>(procWindow);
        }
        return 0;
    }

private:
    static constexpr bool kIsByte = std::is_same_v<PIX, unsigned char>;
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
        Factors f{values.strength * 1.5, (values.strength - kDesaturateOnlyEdge) * 1.5, values.falloff, {}};
        f.tint[kRed] = values.color[0];
        f.tint[1] = values.color[1];
        f.tint[kBlue] = values.color[2];
        return f;
    }

    // The byte path: the mix weight k (of 256), the tint bytes, and the tint
    // weight per grey level, which is where the falloff acts. For the
    // vector form, per grey level, the weight in four sixteen-bit lanes and
    // the full grey's three finished colours (alpha's lane 0).
    struct ByteFactors {
        int mix;
        int tint[3];
        unsigned char tintWeight[256];
        uint64_t weightLanes[256];
        uint64_t fullGreyLanes[256];
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
        for (int g = 0; g < 256; ++g) {
            b.weightLanes[g] = uint64_t{b.tintWeight[g]} * 0x0001000100010001u;
            b.fullGreyLanes[g] = 0;
            for (int c = 0; c < 3; ++c)
                b.fullGreyLanes[g] |= uint64_t{qz::mix256(g, b.tint[c], b.tintWeight[g])} << (16 * c);
        }
        return b;
    }

    template <Zone zone>
    int sepiaRows(const OfxRectI& window) const {
        return OFX::transformRows<PIX>(effect, dstImg, srcImg, window, [this](PIX* out, const PIX* in, int n) {
            if constexpr (kIsByte)
                byteRow<zone>(out, in, n);
            else
                floatRow<zone>(out, in, n);
        });
    }

    // One row of bytes, the colours then held to alpha: the byte sums work
    // on premultiplied values without looking at alpha, so the tint can
    // leave a colour above its alpha.
    template <Zone zone>
    void byteRow(unsigned char* out, const unsigned char* in, int n) const {
        int x = 0;
#ifdef QZ_AVX2
        // The lanes hold the weights as bytes; a desaturation weight outside
        // them (a strength below 0) takes the plain form.
        if (vector && b.mix >= 0 && b.mix <= 255) x = byteVector<zone>(out, in, n);
#endif
        for (; x < n; ++x) {
            unsigned char* q = out + 4 * x;
            std::copy_n(in + 4 * x, 4, q);
            sepiaByte<zone>(q, b);
            for (int c = 0; c < 3; ++c) q[c] = std::min(q[c], q[3]);
        }
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

#ifdef QZ_AVX2
    // Eight pixels a step, on sixteen-bit lanes: four pixels a register,
    // two in each half. Returns the pixels done.
    template <Zone zone>
    QZ_AVX2 int byteVector(unsigned char* out, const unsigned char* in, int n) const {
        const __m256i zero = _mm256_setzero_si256();
        const __m256i colours = _mm256_set1_epi64x(0x0000FFFFFFFFFFFF);
        const __m256i third = _mm256_set1_epi16(21846);
        const __m256i mix = _mm256_set1_epi16(static_cast<short>(b.mix));
        const __m256i tint = _mm256_set1_epi64x(static_cast<long long>(
            uint64_t(b.tint[0]) | uint64_t(b.tint[1]) << 16 | uint64_t(b.tint[2]) << 32));
        int x = 0;
        for (; x + 8 <= n; x += 8) {
            const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 4 * x));
            // Pixels 0, 1 | 4, 5 and 2, 3 | 6, 7.
            __m256i half[2] = {_mm256_unpacklo_epi8(pixels, zero), _mm256_unpackhi_epi8(pixels, zero)};
            for (__m256i& v : half) {
                // The grey, sum / 3, by the multiply-high: exact for sums up to 765.
                const __m256i grey = _mm256_mulhi_epu16(colourSums(v), third);
                __m256i changed;
                if constexpr (zone == Zone::FullGreyAndTint) {
                    changed = lanesByGrey(grey, b.fullGreyLanes);
                } else {
                    changed = mix256Lanes(v, grey, mix);
                    if constexpr (zone == Zone::PartialGreyAndTint)
                        changed = mix256Lanes(changed, tint, lanesByGrey(grey, b.weightLanes));
                }
                changed = _mm256_min_epi16(changed, alphaLanes(v));
                v = _mm256_blendv_epi8(v, changed, colours);
            }
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * x), _mm256_packus_epi16(half[0], half[1]));
        }
        return x;
    }
#endif

    template <Zone zone>
    void floatRow(float* out, const float* in, int n) const {
        int x = 0;
#ifdef QZ_AVX2
        if (vector) x = floatVector<zone>(out, in, n);
#endif
        for (; x < n; ++x) {
            std::copy_n(in + 4 * x, 4, out + 4 * x);
            sepiaFloat<zone>(out + 4 * x, k);
        }
    }

#ifdef QZ_AVX2
    // Eight pixels a step: the colours in float lanes for the division by
    // alpha, in double lanes for the grey and the mixes. A division by 1
    // and a product with 1 leave a float as it is, so the opaque lanes
    // share them. Returns the pixels done.
    template <Zone zone>
    QZ_AVX2 int floatVector(float* out, const float* in, int n) const {
        const __m256d three = _mm256_set1_pd(3.0);
        const __m256d q = _mm256_set1_pd(k.desaturation);
        const __m256d negFalloff = _mm256_set1_pd(-k.falloff);
        const __m256d tintLevel = _mm256_set1_pd(k.tintLevel);
        const __m256d tint[3] = {_mm256_set1_pd(k.tint[0]), _mm256_set1_pd(k.tint[1]), _mm256_set1_pd(k.tint[2])};
        int x = 0;
        for (; x + 8 <= n; x += 8) {
            const float* f = in + 4 * x;
            float* o = out + 4 * x;
            // Pixels 0..3 in the low halves, 4..7 in the high ones.
            __m256 c0 = _mm256_loadu2_m128(f + 16, f), c1 = _mm256_loadu2_m128(f + 20, f + 4);
            __m256 c2 = _mm256_loadu2_m128(f + 24, f + 8), alpha = _mm256_loadu2_m128(f + 28, f + 12);
            transposePixels(c0, c1, c2, alpha);
            const __m256 clear = _mm256_cmp_ps(alpha, _mm256_set1_ps(kFloatAlphaFloor), _CMP_LE_OQ);
            // alpha < 1 ? alpha : 1, a NaN alpha counting as opaque.
            const __m256 scale = _mm256_min_ps(alpha, _mm256_set1_ps(1.0f));
            const __m256 u[3] = {_mm256_div_ps(c0, scale), _mm256_div_ps(c1, scale), _mm256_div_ps(c2, scale)};
            __m128 changed[2][3];
            for (int h = 0; h < 2; ++h) {
                __m256d ud[3];
                for (int c = 0; c < 3; ++c)
                    ud[c] = _mm256_cvtps_pd(h == 0 ? _mm256_castps256_ps128(u[c]) : _mm256_extractf128_ps(u[c], 1));
                const __m256d g = _mm256_div_pd(_mm256_add_pd(_mm256_add_pd(ud[kBlue], ud[1]), ud[kRed]), three);
                __m256d t = _mm256_setzero_pd();
                if constexpr (zone != Zone::DesaturateOnly)
                    t = clampUnitLanes(_mm256_add_pd(_mm256_mul_pd(clampUnitLanes(g), negFalloff), tintLevel));
                for (int c = 0; c < 3; ++c) {
                    __m256d v;
                    if constexpr (zone == Zone::DesaturateOnly) {
                        v = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(g, ud[c]), q), ud[c]);
                    } else if constexpr (zone == Zone::PartialGreyAndTint) {
                        const __m256d partial = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(g, ud[c]), q), ud[c]);
                        v = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(tint[c], partial), t), partial);
                    } else {
                        v = _mm256_add_pd(_mm256_mul_pd(_mm256_sub_pd(tint[c], g), t), g);
                    }
                    changed[h][c] = _mm256_cvtpd_ps(v);
                }
            }
            c0 = _mm256_andnot_ps(clear, _mm256_mul_ps(_mm256_set_m128(changed[1][0], changed[0][0]), scale));
            c1 = _mm256_andnot_ps(clear, _mm256_mul_ps(_mm256_set_m128(changed[1][1], changed[0][1]), scale));
            c2 = _mm256_andnot_ps(clear, _mm256_mul_ps(_mm256_set_m128(changed[1][2], changed[0][2]), scale));
            alpha = _mm256_andnot_ps(clear, scale);
            transposePixels(c0, c1, c2, alpha);
            _mm256_storeu2_m128(o + 16, o, c0);
            _mm256_storeu2_m128(o + 20, o + 4, c1);
            _mm256_storeu2_m128(o + 24, o + 8, c2);
            _mm256_storeu2_m128(o + 28, o + 12, alpha);
        }
        return x;
    }
#endif

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

    Zone zone = Zone::DesaturateOnly;
    Factors k{};
    ByteFactors b{};
    bool vector = false;
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
