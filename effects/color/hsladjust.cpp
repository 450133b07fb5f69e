// HSL Adjust: turns each pixel's hue and scales its saturation and
// lightness. Float pixels go through the range-tolerant HSL pair, so
// over- and under-range colours survive; byte pixels through the ordinary
// pair, clamped to the unit ranges.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "Effect.h"
#include "QzVectorPaths.h"
#include "StripFilter.h"


namespace {

constexpr OFX::EffectDeclaration kHSLAdjust{
    "talvo.effects:hsladjust",
    "TALVO HSL Adjust",
    "TALVO\\Color",
    OFX::eContextFilter,
    1680,
    "{B432972D-E08D-11D2-BF8A-006097C9EBF7}",
};

// Note: the hue slider's identifier is the word Output and its script name
// holds blanks; saved projects and scripts know it by these.
constexpr OFX::DoubleRow kAddToHue{.name = "Output", .label = "Add to hue", .scriptName = "Add to hue"};
constexpr OFX::DoubleRow kSaturation{
    .name = "Saturation", .label = "Saturation", .scriptName = "saturation", .defaultValue = 1.0, .max = 2.0};
constexpr OFX::DoubleRow kLuminance{
    .name = "Luminance", .label = "Luminance", .scriptName = "luminance", .defaultValue = 1.0, .max = 2.0};

constexpr OFX::ParamTable kParams{kAddToHue, kSaturation, kLuminance};

struct hsladjustValues {
    double hue;
    double saturation;
    double luminance;
};

using hsladjustProcessorBase = OFX::EffectProcessorBase<hsladjustValues>;

double clampUnit(double v) { return std::clamp(v, 0.0, 1.0); }

#ifdef QZ_HAS_VECTOR_PATHS

// The vector form is chosen where the processor has AVX2: the operations
// of the conversions on each lane, in the same order, and no fused
// multiply-add, so it gives their results to the bit.

// The conversions' constants, as the pixel core spells them.
constexpr double kByteScale = 0.00392156862745098;
constexpr double kSixth = 0.16666666666666666;
constexpr double kNudge = static_cast<double>(1e-6f);

// A pixel to a lane of doubles, four pixels a register. Every branch of the
// conversions becomes a select between values computed in all lanes; a
// division made in a lane that does not use it is discarded.
using Lanes = __m256d;

QZ_AVX2 inline Lanes splat(double v) { return _mm256_set1_pd(v); }
QZ_AVX2 inline Lanes select(Lanes mask, Lanes yes, Lanes no) { return _mm256_blendv_pd(no, yes, mask); }
QZ_AVX2 inline Lanes truncated(Lanes v) { return _mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC); }
// std::max(a, b) and std::min(a, b): the first argument on a tie or a NaN.
QZ_AVX2 inline Lanes stdMax(Lanes a, Lanes b) { return _mm256_max_pd(b, a); }
QZ_AVX2 inline Lanes stdMin(Lanes a, Lanes b) { return _mm256_min_pd(b, a); }
QZ_AVX2 inline Lanes negated(Lanes v) { return _mm256_xor_pd(v, splat(-0.0)); }

// The hue of the six sectors, k being 1 / (mx - mn), with the ties of the
// scalar order: (mx - x) * k added to or taken from the sector's base,
// which is the base plus or minus the same product.
QZ_AVX2 inline Lanes hueLanes(Lanes r, Lanes g, Lanes b, Lanes mx, Lanes mn, Lanes k) {
    const Lanes redTop = r == mx, greenTop = g == mx;
    const Lanes greenLow = g == mn, blueLow = b == mn, redLow = r == mn;
    // Sector by sector: red top with green low (b, 5, +) or not (g, 1, -);
    // green top with blue low (r, 1, +) or not (b, 3, -); red low (g, 3, +);
    // otherwise (r, 5, -).
    const Lanes x = select(redTop, select(greenLow, b, g),
                           select(greenTop, select(blueLow, r, b), select(redLow, g, r)));
    const Lanes base = select(redTop, select(greenLow, splat(5.0), splat(1.0)),
                              select(greenTop, select(blueLow, splat(1.0), splat(3.0)),
                                     select(redLow, splat(3.0), splat(5.0))));
    const Lanes added = select(redTop, greenLow, select(greenTop, blueLow, redLow));
    const Lanes step = (mx - x) * k;
    return (base + select(added, step, negated(step))) * splat(kSixth);
}

// The colour of a sextant: v the maximum, m the minimum, t the rise. A
// sextant past 6, at or below -1, or of a NaN hue writes nothing: `valid`
// says where it wrote.
struct Rgb {
    Lanes r, g, b, valid;
};

QZ_AVX2 inline Rgb sextantLanes(Lanes hue, Lanes v, Lanes m, Lanes t) {
    const Lanes sext = truncated(hue * splat(6.0));
    const Lanes p = t + m;
    const Lanes q = v - t;
    const Lanes s1 = sext == splat(1.0), s2 = sext == splat(2.0), s3 = sext == splat(3.0);
    const Lanes s4 = sext == splat(4.0), s5 = sext == splat(5.0);
    // Sextants 0 and 6 (and -0): v, p, m.
    Rgb c;
    c.r = select(_mm256_or_pd(s2, s3), m, select(s1, q, select(s4, p, v)));
    c.g = select(_mm256_or_pd(s1, s2), v, select(s3, q, select(_mm256_or_pd(s4, s5), m, p)));
    c.b = select(_mm256_or_pd(s3, s4), v, select(s2, p, select(s5, q, m)));
    c.valid = _mm256_and_pd(sext > splat(-1.0), sext <= splat(6.0));
    return c;
}

// The fraction of six times the hue.
QZ_AVX2 inline Lanes fractionLanes(Lanes hue) {
    const Lanes h6 = hue * splat(6.0);
    return h6 - truncated(h6);
}

// std::clamp(v, 0, 1) of a value that is not a NaN. A -0 may come out as
// +0; the byte path gives both the same colour.
QZ_AVX2 inline Lanes clampUnitLanes(Lanes v) { return _mm256_min_pd(_mm256_max_pd(v, splat(0.0)), splat(1.0)); }

// A converted colour: 0 where the maximum was not above 0, the input byte
// where no sextant wrote, and elsewhere c * 255 truncated. With the
// saturation and lightness held to 0..1, c lies within 0..1 but for the
// last bit, so the plain truncation is the clamped one of the pixel core.
QZ_AVX2 inline __m128i finishedByte(Lanes c, __m128i input, __m128i black, __m128i written) {
    return _mm_andnot_si128(black, _mm_blendv_epi8(input, _mm256_cvttpd_epi32(c * splat(255.0)), written));
}

struct Change {
    Lanes hue, saturation, luminance;
};

QZ_AVX2 inline Change changeLanes(const hsladjustValues& v) {
    return {splat(v.hue), splat(v.saturation), splat(v.luminance)};
}

// The ordinary pair's hue, saturation and lightness of byte colours
// (their storage bytes of blue, green and red).
struct Hsl {
    Lanes h, s, l;
};

QZ_AVX2 inline Hsl byteToHslLanes(__m128i c0, __m128i c1, __m128i c2) {
    const Lanes r = _mm256_cvtepi32_pd(c2) * splat(kByteScale);
    const Lanes g = _mm256_cvtepi32_pd(c1) * splat(kByteScale);
    const Lanes b = _mm256_cvtepi32_pd(c0) * splat(kByteScale);
    const Lanes mx = stdMax(stdMax(r, g), b);
    const Lanes mn = stdMin(stdMin(r, g), b);
    const Lanes l = (mn + mx) * splat(0.5);
    const Lanes d = mx - mn;
    // Black (lightness 0) has no spread either, and a spread of 0 is a
    // saturation of d = 0, so one select serves both of the scalar returns.
    const Lanes flat = d <= splat(0.0);
    const Lanes share = d / select(l <= splat(0.5), mn + mx, splat(2.0) - mx - mn);
    return {select(flat, splat(0.0), hueLanes(r, g, b, mx, mn, splat(1.0) / d)), select(flat, splat(0.0), share), l};
}

// The change, then the ordinary pair's way back up to the sextant: the new
// hue, the maximum v, the minimum m and the rise before the hue's fraction.
struct Way {
    Lanes h, v, m, rise;
};

QZ_AVX2 inline Way changedLanes(const Change& change, Hsl hsl) {
    // Pure red reads as hue 1.0; a sum of exactly 1 stays.
    Lanes h = hsl.h + change.hue;
    h = select(h > splat(1.0), h - splat(1.0), h);
    const Lanes s = clampUnitLanes(hsl.s * change.saturation);
    const Lanes l = clampUnitLanes(hsl.l * change.luminance);
    const Lanes v = select(l <= splat(0.5), (s + splat(1.0)) * l, (l + s) - l * s);
    const Lanes m = l + l - v;
    // Note: the 8-bit rise is ((v - m) / v) * v * f, as the pixel core has it.
    return {h, v, m, ((v - m) / v) * v};
}

// The new colours before the hold to alpha; c0, c1, c2 are the input bytes,
// which stay where no sextant writes.
QZ_AVX2 inline void byteColours(const Way& w, __m128i c0, __m128i c1, __m128i c2, __m128i& o0, __m128i& o1,
                                 __m128i& o2) {
    const Rgb c = sextantLanes(w.h, w.v, w.m, w.rise * fractionLanes(w.h));
    // The 64-bit masks narrowed to the 32-bit lanes of the bytes.
    const __m256i pick = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    const __m128i black =
        _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_castpd_si256(w.v <= splat(0.0)), pick));
    const __m128i written = _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_castpd_si256(c.valid), pick));
    o0 = finishedByte(c.b, c0, black, written);
    o1 = finishedByte(c.g, c1, black, written);
    o2 = finishedByte(c.r, c2, black, written);
}

// The alpha of the round trip: a * kByteScale * 255, truncated (within
// 0..255, so no clamp is needed).
QZ_AVX2 inline __m128i alphaLanes(__m128i alpha) {
    return _mm256_cvttpd_epi32(_mm256_cvtepi32_pd(alpha) * splat(kByteScale) * splat(255.0));
}

// The byte at storage index `at` of each of four pixels, in 32-bit lanes.
QZ_AVX2 inline __m128i byteChannel(__m128i pixels, int at) {
    const char z = -128;  // a zero byte
    const char i = static_cast<char>(at);
    return _mm_shuffle_epi8(pixels, _mm_setr_epi8(i, z, z, z, char(i + 4), z, z, z, char(i + 8), z, z, z,
                                                  char(i + 12), z, z, z));
}

// Four pixels from the 32-bit lanes of their storage indices 0 to 3, each
// colour held to the pixel's alpha.
QZ_AVX2 inline __m128i packedPixels(__m128i s0, __m128i s1, __m128i s2, __m128i alpha) {
    const __m128i planes = _mm_packus_epi16(_mm_packus_epi32(s0, s1), _mm_packus_epi32(s2, alpha));
    const __m128i pixels =
        _mm_shuffle_epi8(planes, _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    return _mm_min_epu8(pixels,
                        _mm_shuffle_epi8(pixels, _mm_setr_epi8(3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15)));
}

// The rows go in chunks, in three passes (to HSL, the change, back to
// colours): each pass a
// shorter chain of operations, so that the processor overlaps many pixels
// instead of waiting on one pixel's long chain of divisions.
constexpr int kChunk = 32;

// Four pixels a step; blueAt and redAt are the storage indices. Returns
// the pixels done.
template <int blueAt, int redAt>
QZ_AVX2 int adjustBytes(const Change& change, unsigned char* out, const unsigned char* in, int n) {
    alignas(32) double h[kChunk], s[kChunk], l[kChunk], rise[kChunk];
    int x = 0;
    while (n - x >= 4) {
        const int count = std::min(kChunk, (n - x) & ~3);
        const unsigned char* from = in + 4 * x;
        unsigned char* to = out + 4 * x;
        for (int i = 0; i < count; i += 4) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * i));
            const Hsl hsl = byteToHslLanes(byteChannel(p, blueAt), byteChannel(p, 1), byteChannel(p, redAt));
            _mm256_store_pd(h + i, hsl.h);
            _mm256_store_pd(s + i, hsl.s);
            _mm256_store_pd(l + i, hsl.l);
        }
        // The arrays of h, s, l then hold h, v, m.
        for (int i = 0; i < count; i += 4) {
            const Way w = changedLanes(change, {_mm256_load_pd(h + i), _mm256_load_pd(s + i), _mm256_load_pd(l + i)});
            _mm256_store_pd(h + i, w.h);
            _mm256_store_pd(s + i, w.v);
            _mm256_store_pd(l + i, w.m);
            _mm256_store_pd(rise + i, w.rise);
        }
        for (int i = 0; i < count; i += 4) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * i));
            __m128i o0, o1, o2;
            byteColours({_mm256_load_pd(h + i), _mm256_load_pd(s + i), _mm256_load_pd(l + i), _mm256_load_pd(rise + i)},
                        byteChannel(p, blueAt), byteChannel(p, 1), byteChannel(p, redAt), o0, o1, o2);
            const __m128i result = blueAt == 0 ? packedPixels(o0, o1, o2, alphaLanes(_mm_srli_epi32(p, 24)))
                                               : packedPixels(o2, o1, o0, alphaLanes(_mm_srli_epi32(p, 24)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 4 * i), result);
        }
        x += count;
    }
    return x;
}
// The range-tolerant pair of the float path. A sum of maximum and minimum
// right at 2 or 0 is nudged off by the f32 epsilon, the nudged value going
// to the colour the scalar tests pick; lightness outside 0..1 carries a
// negated saturation.
QZ_AVX2 inline Hsl floatToHslLanes(Lanes r, Lanes g, Lanes b) {
    Lanes mx = stdMax(stdMax(r, g), b);
    Lanes mn = stdMin(stdMin(r, g), b);
    const Lanes top = mn + mx;
    const Lanes under2 = _mm256_and_pd(top > splat(1.9999990000000025), top < splat(2.0));
    const Lanes over2 = _mm256_and_pd(top >= splat(2.0), top < splat(2.0000009999999975));
    mx = select(under2, mx - splat(kNudge), select(over2, mx + splat(kNudge), mx));
    const Lanes topMoved = _mm256_or_pd(under2, over2);
    const Lanes redMax = _mm256_and_pd(r > g, r > b);
    const Lanes greenMax = _mm256_andnot_pd(redMax, g > b);
    const Lanes blueMax = _mm256_andnot_pd(_mm256_or_pd(redMax, greenMax), topMoved);
    r = select(_mm256_and_pd(topMoved, redMax), mx, r);
    g = select(_mm256_and_pd(topMoved, greenMax), mx, g);
    b = select(blueMax, mx, b);
    const Lanes bottom = mn + mx;
    const Lanes under0 = _mm256_and_pd(bottom > splat(-kNudge), bottom < splat(0.0));
    const Lanes over0 = _mm256_and_pd(bottom >= splat(0.0), bottom < splat(kNudge));
    mn = select(under0, mn - splat(kNudge), select(over0, mn + splat(kNudge), mn));
    const Lanes bottomMoved = _mm256_or_pd(under0, over0);
    const Lanes redMin = _mm256_and_pd(g > r, b > r);
    const Lanes greenMin = _mm256_andnot_pd(redMin, b > g);
    const Lanes blueMin = _mm256_andnot_pd(_mm256_or_pd(redMin, greenMin), bottomMoved);
    r = select(_mm256_and_pd(bottomMoved, redMin), mn, r);
    g = select(_mm256_and_pd(bottomMoved, greenMin), mn, g);
    b = select(blueMin, mn, b);

    const Lanes d = mx - mn;
    const Lanes l = (mn + mx) * splat(0.5);
    const Lanes grey = _mm256_and_pd(splat(-kNudge) <= d, d < splat(kNudge));
    const Lanes share = d / select(l <= splat(0.5), mn + mx, splat(2.0) - mx - mn);
    const Lanes outside = _mm256_or_pd(l < splat(0.0), l > splat(1.0));
    const Lanes sat = select(outside, negated(share), share);
    return {select(grey, splat(0.0), hueLanes(r, g, b, mx, mn, splat(1.0) / d)), select(grey, d, sat), l};
}

// The change of the float path, then its way back: the new colours, and
// where no sextant wrote, `valid` clear.
QZ_AVX2 inline Rgb floatFromHslLanes(const Change& change, Hsl hsl) {
    // The hue wraps by its integer part; saturation and lightness are left
    // unclamped.
    Lanes h = hsl.h + change.hue;
    h = h - truncated(h);
    Lanes s = hsl.s * change.saturation;
    const Lanes l = hsl.l * change.luminance;
    const Lanes low = l <= splat(0.5);
    s = select(select(low, l < splat(0.0), l > splat(1.0)), negated(s), s);
    const Lanes v = select(low, (s + splat(1.0)) * l, l + s - l * s);
    const Lanes m = l + l - v;
    return sextantLanes(h, v, m, fractionLanes(h) * (v - m));
}

// The 64-bit masks of four lanes narrowed to 32-bit lanes.
QZ_AVX2 inline __m128 narrowedMask(Lanes mask) {
    const __m256i pick = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    return _mm_castsi128_ps(_mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_castpd_si256(mask), pick)));
}

// Four float pixels to a register per component (and back: the same
// exchange undoes itself).
QZ_AVX2 inline void loadComponents(const float* p, __m128 (&v)[4]) {
    for (int c = 0; c < 4; ++c) v[c] = _mm_loadu_ps(p + 4 * c);
    _MM_TRANSPOSE4_PS(v[0], v[1], v[2], v[3]);
}

template <int blueAt, int redAt>
QZ_AVX2 int adjustFloats(const Change& change, float* out, const float* in, int n) {
    alignas(32) double h[kChunk], s[kChunk], l[kChunk];
    int x = 0;
    while (n - x >= 4) {
        const int count = std::min(kChunk, (n - x) & ~3);
        const float* from = in + 4 * x;
        float* to = out + 4 * x;
        for (int i = 0; i < count; i += 4) {
            __m128 v[4];
            loadComponents(from + 4 * i, v);
            const Hsl hsl =
                floatToHslLanes(_mm256_cvtps_pd(v[redAt]), _mm256_cvtps_pd(v[1]), _mm256_cvtps_pd(v[blueAt]));
            _mm256_store_pd(h + i, hsl.h);
            _mm256_store_pd(s + i, hsl.s);
            _mm256_store_pd(l + i, hsl.l);
        }
        for (int i = 0; i < count; i += 4) {
            __m128 v[4];
            loadComponents(from + 4 * i, v);
            const Rgb c =
                floatFromHslLanes(change, {_mm256_load_pd(h + i), _mm256_load_pd(s + i), _mm256_load_pd(l + i)});
            const __m128 written = narrowedMask(c.valid);
            v[redAt] = _mm_blendv_ps(v[redAt], _mm256_cvtpd_ps(c.r), written);
            v[1] = _mm_blendv_ps(v[1], _mm256_cvtpd_ps(c.g), written);
            v[blueAt] = _mm_blendv_ps(v[blueAt], _mm256_cvtpd_ps(c.b), written);
            _MM_TRANSPOSE4_PS(v[0], v[1], v[2], v[3]);
            for (int k = 0; k < 4; ++k) _mm_storeu_ps(to + 4 * (i + k), v[k]);
        }
        x += count;
    }
    return x;
}
#endif

// The colours go to the conversions blue first, as their records hold them,
// whatever the storage order.
template <class PIX, int nComponents, int max, int isBGRA>
class hsladjustProcessor : public hsladjustProcessorBase {
public:
    using hsladjustProcessorBase::hsladjustProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        const hsladjustValues& v = values;
#ifdef QZ_AVX2
        // The lanes take the saturation and lightness factors finite.
        const bool vector = qz::avx2Selected() && std::isfinite(v.saturation) && std::isfinite(v.luminance);
        Change change;
        if (vector) change = changeLanes(v);
#endif
        return OFX::transformRows<PIX>(effect, dstImg, srcImg, procWindow, [&](PIX* out, const PIX* in, int n) {
            int x = 0;
#ifdef QZ_AVX2
            if (vector) {
                if constexpr (std::is_same_v<PIX, unsigned char>)
                    x = adjustBytes<kBlue, kRed>(change, out, in, n);
                else
                    x = adjustFloats<kBlue, kRed>(change, out, in, n);
            }
#endif
            for (; x < n; ++x) {
                PIX* p = out + 4 * x;
                std::copy_n(in + 4 * x, 4, p);
                if constexpr (std::is_same_v<PIX, unsigned char>)
                    adjustByte(p, v);
                else
                    adjustFloat(p, v);
            }
        });
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;


    static void adjustByte(unsigned char* p, const hsladjustValues& v) {
        QZRGBA px{p[kBlue], p[1], p[kRed], p[3]};
        QZHSL hsl;
        QZRGBA_To_QZHSL(&hsl, &px);
        // Pure red reads as hue 1.0; a sum of exactly 1 stays, which
        // converts back like 0.
        hsl.h += v.hue;
        if (hsl.h > 1.0) hsl.h -= 1.0;
        hsl.s = clampUnit(hsl.s * v.saturation);
        hsl.l = clampUnit(hsl.l * v.luminance);
        QZHSL_To_QZRGBA(&px, &hsl);
        // Note: alpha makes the round trip with the colour, so the alphas
        // that scale to just under their level (33, 132 and others) come back
        // one lower; the colour is then held to that alpha.
        p[kBlue] = std::min(px.b, px.a);
        p[1] = std::min(px.g, px.a);
        p[kRed] = std::min(px.r, px.a);
        p[3] = px.a;
    }

    static void adjustFloat(float* p, const hsladjustValues& v) {
        const float a = p[3];
        QZDIBPIXEL px{p[kBlue], p[1], p[kRed], a};
        QZHSL hsl;
        QZDIBPIXEL_To_QZHSL_Float(&hsl, &px);
        // The hue wraps by its integer part; saturation and lightness are
        // left unclamped so that over-range colours keep their meaning.
        hsl.h += v.hue;
        hsl.h -= std::trunc(hsl.h);
        hsl.s *= v.saturation;
        hsl.l *= v.luminance;
        QZHSL_To_QZDIBPIXEL_Float(&px, &hsl);
        p[kBlue] = px.b;
        p[1] = px.g;
        p[kRed] = px.r;
        p[3] = a;
    }
};

constexpr std::string_view kKernelText =
#include "hsladjust.cl.inc"
    ;

struct hsladjust {
    static constexpr const OFX::EffectDeclaration& declaration = kHSLAdjust;
    static constexpr const auto& params = kParams;
    using Values = hsladjustValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kAddToHue.value(p, args.time), kSaturation.value(p, args.time), kLuminance.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = hsladjustProcessor<PIX, nComponents, max, isBGRA>;

    // Hue depends on which component is red: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k1293792e6", "kfcf345abd", "ke4d06c2af", "k5e1c5563a"})};
    // Source, output, the change as one vector (hue to add, saturation and
    // lightness factors, an unused last lane), the window's size.
    static void launch(OFX::OpenCLEffectProcessor<hsladjust>& cl, const Values& v) {
        const cl_float4 change{
            {static_cast<float>(v.hue), static_cast<float>(v.saturation), static_cast<float>(v.luminance), 0.0f}};
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), change, cl.windowWidth(), cl.windowHeight());
    }
};

using hsladjustPluginFactory = OFX::EffectFactory<hsladjust>;
using hsladjustPlugin = OFX::EffectPlugin<hsladjust>;
using hsladjustOpenCLProcessor = OFX::OpenCLEffectProcessor<hsladjust>;

const OFX::EffectRegistration<hsladjust> registration;

}  // namespace
