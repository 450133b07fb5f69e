// LAB Adjust: works on each pixel in CIE L*a*b*: scales (and optionally
// inverts) the lightness, shifts the two colour axes and pulls them toward
// grey by the desaturation.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "Effect.h"
#include "QzVectorPaths.h"
#include "StripFilter.h"

namespace {

// The effect has no older form, so no uplift GUID.
constexpr OFX::EffectDeclaration kLABAdjust{
    "talvo.effects:labadjust", "TALVO LAB Adjust", "TALVO\\Color", OFX::eContextFilter, 1078, nullptr,
};

constexpr OFX::DoubleRow kLightness{
    .name = "Lightness", .label = "Lightness", .scriptName = "lightness", .defaultValue = 1.0, .max = 2.0};
// Note: the a axis' identifier is the word lightness in lower case, beside
// the real lightness (whose script name it shares); saved projects know it
// by this name.
constexpr OFX::DoubleRow kChannelA{.name = "lightness", .label = "Channel a", .scriptName = "channela", .min = -1.0};
constexpr OFX::DoubleRow kChannelB{.name = "Channelb", .label = "Channel b", .scriptName = "channelb", .min = -1.0};
constexpr OFX::BooleanRow kInvertLuminance{
    .name = "InvertLuminance", .label = "Invert Luminance", .scriptName = "invertluminance"};
constexpr OFX::DoubleRow kDesaturate{
    .name = "Desaturate", .label = "Desaturate", .scriptName = "desaturate", .increment = 0.001};

constexpr OFX::ParamTable kParams{kLightness, kChannelA, kChannelB, kInvertLuminance, kDesaturate};

// Note: the top of the lightness range when inverting, in place of 100, so
// white inverts to just below black and black to a light grey. Kept.
constexpr double kInvertTop = 95.5806655883789;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

// The change of one L*a*b* colour, prepared once per render from the
// parameters; the processors and the kernels both take it, in the kernel's
// argument order.
struct labadjustValues {
    double lightness;
    double aOffset;
    double bOffset;
    bool invert;
    double chroma;

    void apply(QZLAB& lab) const {
        lab.L = (invert ? kInvertTop - lab.L : lab.L) * lightness;
        lab.a = (lab.a + aOffset) * chroma;
        lab.b = (lab.b + bOffset) * chroma;
    }
};

using labadjustProcessorBase = OFX::EffectProcessorBase<labadjustValues>;

#ifdef QZ_HAS_VECTOR_PATHS

// The byte path, four pixels a step, without the C library's pow.
//
// The sRGB decoding of a byte is one of 256 values: the table holds them,
// computed by the pixel core's own expression, so they are its values to
// the bit. The rest is worked in double lanes: the forward cube roots to a
// few ulps (a polynomial start and two Newton steps), the cubes back by
// products, and the sRGB encoding of the pow branch by a polynomial of
// degree 8 (within 5e-9). The encoded colour times 255 then lies within
// 2e-6 of the exact conversion's (1.3e-6 from the encoding polynomial,
// and 2e-11 the worst seen of the rest over all 2^24 colours under a
// spread of settings). A byte is the truncation of that value, so
// wherever it lies more than 1e-5 from a whole level, and no branch of
// the curves is within reach of the difference, it is the exact byte. The
// few pixels that fail those checks (about 1 in 10^4) are converted again
// by the exact scalar path.
constexpr double kByteScale = 0.00392156862745098;  // a hair under 1/255, as the pixel core scales
constexpr double kLevelMargin = 1e-5;               // byte levels
constexpr double kBranchMargin = 1e-10;             // around the curves' branch points
constexpr double kEncodeTop = 1.000000001;          // above it the encoding is past 1: byte 255

const std::array<double, 256>& decodedBytes() {
    static const std::array<double, 256> table = [] {
        std::array<double, 256> t{};
        for (int i = 0; i < 256; ++i) {
            const double c = i * kByteScale;
            t[i] = c > 0.04045 ? std::pow((c + 0.055) / 1.055, 2.4) : c / 12.92;
        }
        return t;
    }();
    return table;
}

// 2^(5e/12) for the exponents e = -9 to 0 of the encoding's pow branch.
constexpr double kEncodeScale[10] = {0.07432544468767006, 0.09921256574801247, 0.1324328867949119,
                                     0.1767766952966369,  0.23596857817042338, 0.3149802624737183,
                                     0.42044820762685725, 0.5612310241546865,  0.7491535384383408,
                                     1.0};

using Lanes = __m256d;

QZ_AVX2 inline Lanes splat(double v) { return _mm256_set1_pd(v); }
QZ_AVX2 inline Lanes select(Lanes mask, Lanes yes, Lanes no) { return _mm256_blendv_pd(no, yes, mask); }
QZ_AVX2 inline Lanes magnitude(Lanes v) { return _mm256_andnot_pd(splat(-0.0), v); }

// Positive normal x as m 2^e, m in [1, 2): e as a double (the biased
// exponent read as the low bits of 2^52) and m.
QZ_AVX2 inline void split(Lanes x, Lanes& e, Lanes& m) {
    const Lanes two52 = splat(4503599627370496.0);
    const __m256i bits = _mm256_castpd_si256(x);
    e = _mm256_castsi256_pd(_mm256_or_si256(_mm256_srli_epi64(bits, 52), _mm256_castpd_si256(two52))) - two52 -
        splat(1023.0);
    m = _mm256_castsi256_pd(_mm256_or_si256(_mm256_and_si256(bits, _mm256_set1_epi64x(0x000FFFFFFFFFFFFF)),
                                            _mm256_set1_epi64x(0x3FF0000000000000)));
}

// The cube root of positive normal doubles, to a few ulps: with x = m 2^e
// and e = 3q + r, m^(-1/3) from a Chebyshev fit (relative error under
// 5e-5) scaled by 2^(-r/3) 2^(-q), two Newton steps on the inverse cube
// root, and x r^2.
QZ_AVX2 inline Lanes cubeRootLanes(Lanes x) {
    Lanes e, m;
    split(x, e, m);
    const Lanes q = _mm256_floor_pd((e + splat(0.5)) * splat(1.0 / 3.0));
    const Lanes rest = e - splat(3.0) * q;
    const Lanes t = m - splat(1.5), t2 = t * t;
    Lanes r = ((splat(0.02778280101858424) * t + splat(-0.049665048580938426)) * t2 +
               (splat(0.08609217536712237) * t + splat(-0.19381393953422774))) *
                  t +
              splat(0.8735804647362989);
    const Lanes third = select(rest == splat(0.0), splat(1.0),
                               select(rest == splat(1.0), splat(0.79370052598409979), splat(0.62996052494743658)));
    // 2^-q: 1023 - q is the low bits of 2^52 + 1023 - q, moved to the exponent.
    const __m256i biased = _mm256_castpd_si256(splat(4503599627370496.0) + (splat(1023.0) - q));
    r = r * (third * _mm256_castsi256_pd(_mm256_slli_epi64(biased, 52)));
    for (int i = 0; i < 2; ++i) {
        const Lanes r2 = r * r;
        r = r + r * ((splat(1.0) - (x * r) * r2) * splat(1.0 / 3.0));
    }
    return x * r * r;
}

// The encoded colour times 255 on the pow branch, c in (0.0031308, 1]:
// 1.055 c^(5/12) - 0.055 with c^(5/12) = m^(5/12) 2^(5e/12), m^(5/12) by a
// Chebyshev fit of degree 8 in m - 1.5 (within 4.91e-9).
QZ_AVX2 inline Lanes encodedLevelLanes(Lanes c) {
    Lanes e, m;
    split(_mm256_min_pd(_mm256_max_pd(c, splat(0.0031308)), splat(1.0)), e, m);
    const Lanes t = m - splat(1.5);
    constexpr double kFit[9] = {-0.0008299428460336975, 0.0015011996405783867, -0.0023295281714716867,
                                0.004580579400491954,   -0.009690394749820643, 0.02250557622260516,
                                -0.06395347459757617,   0.32890370983956124,   1.1840535873752085};
    Lanes y = splat(kFit[0]);
    for (int i = 1; i < 9; ++i) y = y * t + splat(kFit[i]);
    const __m128i index = _mm256_cvtpd_epi32(e + splat(9.0));
    const Lanes scale =
        _mm256_mask_i32gather_pd(_mm256_setzero_pd(), kEncodeScale, index, _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8);
    return (y * scale * splat(1.055) - splat(0.055)) * splat(255.0);
}

struct ChangeLanes {
    Lanes lightness, aOffset, bOffset, invert, chroma;
};

QZ_AVX2 inline ChangeLanes changeLanes(const labadjustValues& v) {
    return {splat(v.lightness), splat(v.aOffset), splat(v.bOffset),
            v.invert ? _mm256_castsi256_pd(_mm256_set1_epi64x(-1)) : _mm256_setzero_pd(), splat(v.chroma)};
}

// The byte at storage index `at` of each of four pixels, in 32-bit lanes.
QZ_AVX2 inline __m128i byteChannel(__m128i pixels, int at) {
    const char z = -128;  // a zero byte
    const char i = static_cast<char>(at);
    return _mm_shuffle_epi8(pixels, _mm_setr_epi8(i, z, z, z, char(i + 4), z, z, z, char(i + 8), z, z, z,
                                                  char(i + 12), z, z, z));
}

// The decoded values of four bytes.
QZ_AVX2 inline Lanes decodedLanes(const double* table, __m128i bytes) {
    return _mm256_mask_i32gather_pd(_mm256_setzero_pd(), table, bytes, _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8);
}

// The rows go in chunks, in passes of short chains of operations (x, y, z;
// their curves; the change and the way back to linear colours; the
// encoding), so that the processor overlaps many pixels instead of
// waiting on one pixel's long chain.
constexpr int kChunk = 32;

struct Scratch {
    alignas(32) double v[3][kChunk];  // x, y, z; then f(x), f(y), f(z); then red, green, blue
    alignas(32) double unsure[kChunk];
};

// Four pixels a step; blueAt and redAt are the storage indices. Returns the
// pixels done; redo(index, sourcePixel) is called for each pixel that needs
// the exact path.
template <int blueAt, int redAt, class Redo>
QZ_AVX2 int adjustBytes(const ChangeLanes& k, unsigned char* out, const unsigned char* in, int n, Redo&& redo) {
    const double* decoded = decodedBytes().data();
    Scratch s;
    int x = 0;
    while (n - x >= 4) {
        const int count = std::min(kChunk, (n - x) & ~3);
        const unsigned char* from = in + 4 * x;
        unsigned char* to = out + 4 * x;
        // x and z divided as the exact path does, so that the forward
        // branch is its branch.
        for (int i = 0; i < count; i += 4) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * i));
            const Lanes r = decodedLanes(decoded, byteChannel(p, redAt));
            const Lanes g = decodedLanes(decoded, byteChannel(p, 1));
            const Lanes b = decodedLanes(decoded, byteChannel(p, blueAt));
            _mm256_store_pd(s.v[0] + i, (splat(0.4124) * r + splat(0.3576) * g + splat(0.1805) * b) / splat(0.95047));
            _mm256_store_pd(s.v[1] + i, splat(0.2126) * r + splat(0.7152) * g + splat(0.0722) * b);
            _mm256_store_pd(s.v[2] + i, (splat(0.0193) * r + splat(0.1192) * g + splat(0.9505) * b) / splat(1.08883));
        }
        for (int c = 0; c < 3; ++c) {
            for (int i = 0; i < count; i += 4) {
                const Lanes t = _mm256_load_pd(s.v[c] + i);
                _mm256_store_pd(s.v[c] + i, select(t > splat(0.008856), cubeRootLanes(_mm256_max_pd(t, splat(0.008856))),
                                                   t * splat(7.7870001792907715) + splat(0.13793103448275862)));
            }
        }
        for (int i = 0; i < count; i += 4) {
            const Lanes fx = _mm256_load_pd(s.v[0] + i), fy = _mm256_load_pd(s.v[1] + i), fz = _mm256_load_pd(s.v[2] + i);
            Lanes lightness = splat(116.0) * fy - splat(16.0);
            Lanes a = splat(500.0) * (fx - fy);
            Lanes bb = splat(200.0) * (fy - fz);
            lightness = select(k.invert, splat(kInvertTop) - lightness, lightness) * k.lightness;
            a = (a + k.aOffset) * k.chroma;
            bb = (bb + k.bOffset) * k.chroma;
            const Lanes fy2 = (lightness + splat(16.0)) * splat(1.0 / 116.0);
            const Lanes t[3] = {a * splat(1.0 / 500.0) + fy2, fy2, fy2 - bb * splat(1.0 / 200.0)};
            Lanes w[3];
            Lanes unsure = _mm256_setzero_pd();
            for (int c = 0; c < 3; ++c) {
                const Lanes cube = t[c] * t[c] * t[c];
                unsure = _mm256_or_pd(unsure, magnitude(cube - splat(0.008856)) < splat(kBranchMargin));
                w[c] = select(cube > splat(0.008856), cube, (t[c] - splat(0.13793103448275862)) * splat(1.0 / 7.787));
            }
            const Lanes X = w[0] * splat(0.950469970703125), Y = w[1], Z = w[2] * splat(1.0888299942016602);
            _mm256_store_pd(s.v[0] + i, splat(3.2406) * X - splat(1.5372) * Y - splat(0.4986) * Z);
            _mm256_store_pd(s.v[1] + i, splat(1.8758) * Y - splat(0.9689) * X + splat(0.0415) * Z);
            _mm256_store_pd(s.v[2] + i, splat(0.0557) * X - splat(0.204) * Y + splat(1.057) * Z);
            _mm256_store_pd(s.unsure + i, unsure);
        }
        for (int i = 0; i < count; i += 4) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * i));
            const __m128i alpha = _mm_srli_epi32(p, 24);
            Lanes unsure = _mm256_load_pd(s.unsure + i);
            __m128i bytes[3];
            for (int c = 0; c < 3; ++c) {
                const Lanes linear = _mm256_load_pd(s.v[c] + i);
                unsure = _mm256_or_pd(unsure, magnitude(linear - splat(0.0031308)) < splat(kBranchMargin));
                const Lanes level =
                    select(linear > splat(0.0031308),
                           select(linear > splat(kEncodeTop), splat(256.0), encodedLevelLanes(linear)),
                           linear * splat(12.92) * splat(255.0));
                // Near a whole level (0 and 255 included) the truncation is not sure.
                const Lanes nearest = _mm256_round_pd(level, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
                unsure = _mm256_or_pd(unsure, magnitude(level - nearest) <= splat(kLevelMargin));
                // Truncated as the exact path does, 0 at or below 0 and 255 from
                // 255, and held to alpha.
                bytes[c] = _mm_min_epi32(
                    _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(level, _mm256_setzero_pd()), splat(255.0))), alpha);
            }
            const __m128i result =
                _mm_or_si128(_mm_or_si128(_mm_slli_epi32(bytes[0], 8 * redAt), _mm_slli_epi32(bytes[1], 8)),
                             _mm_or_si128(_mm_slli_epi32(bytes[2], 8 * blueAt), _mm_slli_epi32(alpha, 24)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 4 * i), result);
            if (const int redoMask = _mm256_movemask_pd(unsure)) {
                // The source pixels as read: the output may be the source.
                alignas(16) unsigned char source[16];
                _mm_store_si128(reinterpret_cast<__m128i*>(source), p);
                for (int j = 0; j < 4; ++j)
                    if (redoMask & (1 << j)) redo(x + i + j, source + 4 * j);
            }
        }
        x += count;
    }
    return x;
}
#endif

// The colours go to the conversions blue first, as their records hold them,
// whatever the storage order.
template <class PIX, int nComponents, int max, int isBGRA>
class labadjustProcessor : public labadjustProcessorBase {
public:
    using labadjustProcessorBase::labadjustProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        const labadjustValues& change = values;
#ifdef QZ_HAS_VECTOR_PATHS
        // The checks of the byte lanes hold for the settings' ranges.
        const bool vector = qz::avx2Selected() && change.lightness >= 0.0 && change.lightness <= 2.0 &&
                            std::fabs(change.aOffset) <= 100.0 && std::fabs(change.bOffset) <= 100.0 &&
                            change.chroma >= 0.0 && change.chroma <= 1.0;
        ChangeLanes lanes;
        if (vector) lanes = changeLanes(change);
#endif
        return OFX::transformRows<PIX>(effect, dstImg, srcImg, procWindow, [&](PIX* out, const PIX* in, int n) {
            int x = 0;
#ifdef QZ_HAS_VECTOR_PATHS
            if constexpr (std::is_same_v<PIX, unsigned char>) {
                if (vector) {
                    x = adjustBytes<kBlue, kRed>(lanes, out, in, n, [&](int i, const unsigned char* source) {
                        std::copy_n(source, 4, out + 4 * i);
                        adjustByte(out + 4 * i, change);
                    });
                }
            }
#endif
            for (; x < n; ++x) {
                PIX* p = out + 4 * x;
                std::copy_n(in + 4 * x, 4, p);
                if constexpr (std::is_same_v<PIX, unsigned char>)
                    adjustByte(p, change);
                else
                    adjustFloat(p, change);
            }
        });
    }

private:
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

    // On the premultiplied bytes as they are; the conversion back leaves
    // alpha alone and the colour is then held to it.
    static void adjustByte(unsigned char* p, const labadjustValues& change) {
        QZRGBA px{p[kBlue], p[1], p[kRed], p[3]};
        QZLAB lab;
        QZRGBA_To_QZLAB(&lab, &px);
        change.apply(lab);
        QZLAB_To_QZRGBA(&px, &lab);
        p[kBlue] = std::min(px.b, p[3]);
        p[1] = std::min(px.g, p[3]);
        p[kRed] = std::min(px.r, p[3]);
    }

    // The float alpha rule of the colour filters: no colour without alpha,
    // unpremultiplied around the change below full alpha, and alpha at or
    // above 1 written as exactly 1.
    static void adjustFloat(float* p, const labadjustValues& change) {
        const float a = p[3];
        if (!(a > kAlphaFloor)) {
            p[0] = p[1] = p[2] = p[3] = 0.0f;
            return;
        }
        if (a < 1.0f) {
            QZDIBPIXEL px{p[kBlue] / a, p[1] / a, p[kRed] / a, a};
            adjustColour(px, change);
            p[kBlue] = px.b * a;
            p[1] = px.g * a;
            p[kRed] = px.r * a;
        } else {
            QZDIBPIXEL px{p[kBlue], p[1], p[kRed], a};
            adjustColour(px, change);
            p[kBlue] = px.b;
            p[1] = px.g;
            p[kRed] = px.r;
            p[3] = 1.0f;
        }
    }

    static void adjustColour(QZDIBPIXEL& px, const labadjustValues& change) {
        QZLAB lab;
        QZDIBPIXEL_To_QZLAB_Float(&lab, &px);
        change.apply(lab);
        QZLAB_To_QZDIBPIXEL_Float(&px, &lab);
    }
};

constexpr std::string_view kKernelText =
#include "labadjust.cl.inc"
    ;

struct labadjust {
    static constexpr const OFX::EffectDeclaration& declaration = kLABAdjust;
    static constexpr const auto& params = kParams;
    using Values = labadjustValues;
    // The axes' sliders run -1..1 for offsets of up to 100.
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kLightness.value(p, args.time), kChannelA.value(p, args.time) * 100.0,
                kChannelB.value(p, args.time) * 100.0, kInvertLuminance.value(p, args.time),
                1.0 - kDesaturate.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = labadjustProcessor<PIX, nComponents, max, isBGRA>;

    // L*a*b* depends on which component is red: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k12a8acfc4", "kfcb8ef671", "k0d1dbcf7c", "k5db2d01e8"})};
    // Source, output, the change (lightness factor, a and b offsets, invert
    // flag, chroma factor), the window's size.
    static void launch(OFX::OpenCLEffectProcessor<labadjust>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using labadjustPluginFactory = OFX::EffectFactory<labadjust>;
using labadjustPlugin = OFX::EffectPlugin<labadjust>;
using labadjustOpenCLProcessor = OFX::OpenCLEffectProcessor<labadjust>;

const OFX::EffectRegistration<labadjust> registration;

}  // namespace
