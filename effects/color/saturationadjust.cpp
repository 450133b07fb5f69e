// Saturation Adjust: scales each pixel's saturation by an amount that
// depends on how saturated the pixel already is. A smooth curve through
// Low (greys), Amount (at Center) and High (pure colours), Spread wide,
// gives the change; the change drives the usual luma-preserving
// saturation matrix.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "Effect.h"
#include "QzVectorPaths.h"
#include "StripFilter.h"


namespace {

constexpr OFX::EffectDeclaration kSaturationAdjust{
    "talvo.effects:saturationadjust",         "TALVO Saturation Adjust", "TALVO\\Color", OFX::eContextFilter, 1600,
    "{1C494FD1-BE2B-48DA-9273-5A004DC57CE8}",
};

constexpr OFX::DoubleRow kAmount{.name = "Amount", .label = "Amount", .scriptName = "amount", .min = -1.0};
constexpr OFX::DoubleRow kCenter{.name = "Center", .label = "Center", .scriptName = "center", .defaultValue = 0.5};
constexpr OFX::DoubleRow kSpread{
    .name = "Spread", .label = "Spread", .scriptName = "spread", .defaultValue = 0.5, .min = 0.01};
constexpr OFX::DoubleRow kLow{.name = "Low", .label = "Low", .scriptName = "low", .min = -1.0};
constexpr OFX::DoubleRow kHigh{.name = "High", .label = "High", .scriptName = "high", .min = -1.0};

constexpr OFX::ParamTable kParams{kAmount, kCenter, kSpread, kLow, kHigh};

// In the kernel's argument order.
struct saturationadjustValues {
    double low;
    double high;
    double amount;
    double center;
    double spread;
};

using saturationadjustProcessorBase = OFX::EffectProcessorBase<saturationadjustValues>;

// The luma weights of both the saturation measure and the matrix.
constexpr double kRedLuma = 0.299;
constexpr double kGreenLuma = 0.587;
constexpr double kBlueLuma = 0.114;

// The saturation measure's full scale, so that the curve's 0..1 spans the
// colours of each depth. Taken once, on first use, from any thread.
double byteSaturationScale() {
    static const double scale = std::sqrt(55902.447675);
    return scale;
}
double floatSaturationScale() {
    static const double scale = std::sqrt(0.859707);
    return scale;
}

// The change of saturation as a function of the measure: five knots, flat
// Hermite segments between them (both tangents 0).
struct SaturationCurve {
    double x[5];
    float y[5];  // Note: the values pass through float; part of the results.

    explicit SaturationCurve(const saturationadjustValues& v)
        : x{0.0, std::max(0.0, v.center - v.spread / 2), v.center, std::min(1.0, v.center + v.spread / 2), 1.0},
          y{static_cast<float>(v.low), static_cast<float>(v.low), static_cast<float>(v.amount),
            static_cast<float>(v.high), static_cast<float>(v.high)} {}

    double valueAt(double d) const {
        int i = 1;
        while (i < 4 && !(x[i] > d)) ++i;
        // A segment of zero length (Center at 0 or 1, Spread reaching past
        // the end) starts at its left value rather than dividing by zero.
        const double t = x[i] == x[i - 1] ? 0.0 : (d - x[i - 1]) / (x[i] - x[i - 1]);
        const double t2 = t * t;
        const double t3 = t2 * t;
        return (2.0 * t3 - 3.0 * t2 + 1.0) * y[i - 1] + (3.0 * t2 - 2.0 * t3) * y[i];
    }
};

#ifdef QZ_HAS_VECTOR_PATHS

// The vector form is chosen where the processor has AVX2: the operations
// of the plain form on each lane, in the same order, and no fused
// multiply-add, so it gives the plain form's results to the bit.

// A pixel to a lane of doubles, four pixels a register. The curve's segment
// is picked by selects in the order of the scalar search (the first knot
// above the measure; none, or a NaN measure, takes the last segment), and
// the division is made in every lane but used only where the scalar form
// makes it.
struct CurveLanes {
    __m256d x[5];
    __m256d y[5];
    __m256d scale;
};

QZ_AVX2 inline __m256d splat(double v) { return _mm256_set1_pd(v); }

// The saturation measure of the colours c0, c1, c2 (blue, green, red).
QZ_AVX2 inline __m256d measureLanes(const CurveLanes& k, __m256d c0, __m256d c1, __m256d c2) {
    const __m256d luma = splat(kRedLuma) * c2 + splat(kGreenLuma) * c1 + splat(kBlueLuma) * c0;
    const __m256d dg = luma - c1, dr = luma - c2, db = luma - c0;
    return _mm256_sqrt_pd(dg * dg + dr * dr + db * db) / k.scale;
}

// The curve at the measure, plus 1: the factor s of the matrix.
QZ_AVX2 inline __m256d factorLanes(const CurveLanes& k, __m256d d) {
    const auto above1 = k.x[1] > d, above2 = k.x[2] > d, above3 = k.x[3] > d;
    const __m256d xl = above1 ? k.x[0] : (above2 ? k.x[1] : (above3 ? k.x[2] : k.x[3]));
    const __m256d xr = above1 ? k.x[1] : (above2 ? k.x[2] : (above3 ? k.x[3] : k.x[4]));
    const __m256d yl = above1 ? k.y[0] : (above2 ? k.y[1] : (above3 ? k.y[2] : k.y[3]));
    const __m256d yr = above1 ? k.y[1] : (above2 ? k.y[2] : (above3 ? k.y[3] : k.y[4]));
    const __m256d rise = (d - xl) / (xr - xl);
    const __m256d t = xr == xl ? splat(0.0) : rise;
    const __m256d t2 = t * t;
    const __m256d t3 = t2 * t;
    return ((splat(2.0) * t3 - splat(3.0) * t2 + splat(1.0)) * yl + (splat(3.0) * t2 - splat(2.0) * t3) * yr) +
           splat(1.0);
}

// The luma-preserving matrix of factor s.
QZ_AVX2 inline void matrixLanes(__m256d s, __m256d c0, __m256d c1, __m256d c2, __m256d& red, __m256d& green,
                                        __m256d& blue) {
    const __m256d r = splat(1.0) - s;
    red = (r * splat(kRedLuma) + s) * c2 + r * splat(kGreenLuma) * c1 + r * splat(kBlueLuma) * c0;
    green = (r * splat(kGreenLuma) + s) * c1 + r * splat(kRedLuma) * c2 + r * splat(kBlueLuma) * c0;
    blue = (r * splat(kBlueLuma) + s) * c0 + r * splat(kRedLuma) * c2 + r * splat(kGreenLuma) * c1;
}

// Held within 0..alpha and truncated: the byte of toByte below. The
// maximum and minimum differ from its selects only for a NaN, which both
// turn into byte 0.
QZ_AVX2 inline __m128i byteLanes(__m256d v, __m256d a) {
    return _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(v, _mm256_setzero_pd()), a));
}

// The colour at storage index `at` of four byte pixels, as doubles.
QZ_AVX2 inline __m256d byteChannel(__m128i pixels, int at) {
    return _mm256_cvtepi32_pd(_mm_and_si128(_mm_srl_epi32(pixels, _mm_cvtsi32_si128(8 * at)), _mm_set1_epi32(0xFF)));
}

// The rows go in chunks, each in three passes (the measures, the factors,
// the colours): each pass is a short chain of operations, so that the
// processor overlaps many pixels instead of waiting on one pixel's long
// chain of square root and divisions. Returns the pixels done.
constexpr int kChunk = 64;

template <int blueAt, int redAt>
QZ_AVX2 int saturateBytes(const CurveLanes& k, unsigned char* out, const unsigned char* in, int n) {
    alignas(32) double factor[kChunk];
    int x = 0;
    while (n - x >= 4) {
        const int count = std::min(kChunk, (n - x) & ~3);
        const unsigned char* from = in + 4 * x;
        unsigned char* to = out + 4 * x;
        for (int i = 0; i < count; i += 4) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * i));
            _mm256_store_pd(factor + i, measureLanes(k, byteChannel(p, blueAt), byteChannel(p, 1), byteChannel(p, redAt)));
        }
        for (int i = 0; i < count; i += 4) _mm256_store_pd(factor + i, factorLanes(k, _mm256_load_pd(factor + i)));
        for (int i = 0; i < count; i += 4) {
            const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 4 * i));
            const __m256d a = _mm256_cvtepi32_pd(_mm_srli_epi32(p, 24));
            __m256d red, green, blue;
            matrixLanes(_mm256_load_pd(factor + i), byteChannel(p, blueAt), byteChannel(p, 1), byteChannel(p, redAt),
                        red, green, blue);
            const __m128i colours = _mm_or_si128(
                _mm_or_si128(_mm_sll_epi32(byteLanes(red, a), _mm_cvtsi32_si128(8 * redAt)),
                             _mm_slli_epi32(byteLanes(green, a), 8)),
                _mm_sll_epi32(byteLanes(blue, a), _mm_cvtsi32_si128(8 * blueAt)));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 4 * i),
                             _mm_or_si128(colours, _mm_andnot_si128(_mm_set1_epi32(0xFFFFFF), p)));
        }
        x += count;
    }
    return x;
}

// Four float pixels to a register per component (and back: the same
// exchange undoes itself).
QZ_AVX2 inline void loadComponents(const float* p, __m128 (&v)[4]) {
    for (int c = 0; c < 4; ++c) v[c] = _mm_loadu_ps(p + 4 * c);
    _MM_TRANSPOSE4_PS(v[0], v[1], v[2], v[3]);
}

template <int blueAt, int redAt>
QZ_AVX2 int saturateFloats(const CurveLanes& k, float* out, const float* in, int n) {
    alignas(32) double factor[kChunk];
    int x = 0;
    while (n - x >= 4) {
        const int count = std::min(kChunk, (n - x) & ~3);
        const float* from = in + 4 * x;
        float* to = out + 4 * x;
        for (int i = 0; i < count; i += 4) {
            __m128 v[4];
            loadComponents(from + 4 * i, v);
            _mm256_store_pd(factor + i, measureLanes(k, _mm256_cvtps_pd(v[blueAt]), _mm256_cvtps_pd(v[1]),
                                                     _mm256_cvtps_pd(v[redAt])));
        }
        for (int i = 0; i < count; i += 4) _mm256_store_pd(factor + i, factorLanes(k, _mm256_load_pd(factor + i)));
        for (int i = 0; i < count; i += 4) {
            __m128 v[4];
            loadComponents(from + 4 * i, v);
            __m256d red, green, blue;
            matrixLanes(_mm256_load_pd(factor + i), _mm256_cvtps_pd(v[blueAt]), _mm256_cvtps_pd(v[1]),
                        _mm256_cvtps_pd(v[redAt]), red, green, blue);
            v[redAt] = _mm256_cvtpd_ps(red);
            v[1] = _mm256_cvtpd_ps(green);
            v[blueAt] = _mm256_cvtpd_ps(blue);
            _MM_TRANSPOSE4_PS(v[0], v[1], v[2], v[3]);
            for (int c = 0; c < 4; ++c) _mm_storeu_ps(to + 4 * (i + c), v[c]);
        }
        x += count;
    }
    return x;
}
#endif

// The luma weights go to the storage index of the colour they name, so both
// pixel orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class saturationadjustProcessor : public saturationadjustProcessorBase {
public:
    using saturationadjustProcessorBase::saturationadjustProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        const SaturationCurve curve(values);
        const double scale = kIsByte ? byteSaturationScale() : floatSaturationScale();
#ifdef QZ_AVX2
        const bool vector = qz::avx2Selected();
        CurveLanes lanes;
        if (vector) fillLanes(lanes, curve, scale);
#endif
        return OFX::transformRows<PIX>(effect, dstImg, srcImg, procWindow, [&](PIX* out, const PIX* in, int n) {
            int x = 0;
#ifdef QZ_AVX2
            if (vector) {
                if constexpr (kIsByte)
                    x = saturateBytes<kBlue, kRed>(lanes, out, in, n);
                else
                    x = saturateFloats<kBlue, kRed>(lanes, out, in, n);
            }
#endif
            for (; x < n; ++x) {
                std::copy_n(in + 4 * x, 4, out + 4 * x);
                adjust(out + 4 * x, curve, scale);
            }
        });
    }

private:
    static constexpr bool kIsByte = std::is_same_v<PIX, unsigned char>;
    static constexpr int kBlue = isBGRA ? 0 : 2;
    static constexpr int kRed = isBGRA ? 2 : 0;

#ifdef QZ_AVX2
    QZ_AVX2 static void fillLanes(CurveLanes& lanes, const SaturationCurve& curve, double scale) {
        for (int i = 0; i < 5; ++i) {
            lanes.x[i] = _mm256_set1_pd(curve.x[i]);
            lanes.y[i] = _mm256_set1_pd(curve.y[i]);
        }
        lanes.scale = _mm256_set1_pd(scale);
    }
#endif

    // On the colours as stored: premultiplied, with no division by alpha.
    static void adjust(PIX* p, const SaturationCurve& curve, double scale) {
        const double c0 = p[kBlue];
        const double c1 = p[1];
        const double c2 = p[kRed];
        const double luma = kRedLuma * c2 + kGreenLuma * c1 + kBlueLuma * c0;
        const double dg = luma - c1, dr = luma - c2, db = luma - c0;
        const double s = curve.valueAt(std::sqrt(dg * dg + dr * dr + db * db) / scale) + 1.0;
        const double r = 1.0 - s;
        const double red = (r * kRedLuma + s) * c2 + r * kGreenLuma * c1 + r * kBlueLuma * c0;
        const double green = (r * kGreenLuma + s) * c1 + r * kRedLuma * c2 + r * kBlueLuma * c0;
        const double blue = (r * kBlueLuma + s) * c0 + r * kRedLuma * c2 + r * kGreenLuma * c1;
        if constexpr (kIsByte) {
            const double a = p[3];
            p[kRed] = toByte(red, a);
            p[1] = toByte(green, a);
            p[kBlue] = toByte(blue, a);
        } else {
            // Float colours go out as they are, over- and under-range alike.
            p[kRed] = static_cast<float>(red);
            p[1] = static_cast<float>(green);
            p[kBlue] = static_cast<float>(blue);
        }
    }

    // Held within 0..alpha so that the result stays premultiplied.
    static unsigned char toByte(double v, double a) {
        return static_cast<unsigned char>(v < 0.0 ? 0.0 : (v > a ? a : v));
    }
};

constexpr std::string_view kKernelText =
#include "saturationadjust.cl.inc"
    ;

struct saturationadjust {
    static constexpr const OFX::EffectDeclaration& declaration = kSaturationAdjust;
    static constexpr const auto& params = kParams;
    using Values = saturationadjustValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kLow.value(p, args.time), kHigh.value(p, args.time), kAmount.value(p, args.time),
                kCenter.value(p, args.time), kSpread.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = saturationadjustProcessor<PIX, nComponents, max, isBGRA>;

    // The luma weights tell red from blue: a kernel per depth and order.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepthAndOrder({"k4d92e6a07", "k91b05d3f8", "kc07f81e2b", "k3e6a0c59d"})};
    // Source, output, Low, High, Amount, Center and Spread as floats, the
    // window's size.
    static void launch(OFX::OpenCLEffectProcessor<saturationadjust>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using saturationadjustPluginFactory = OFX::EffectFactory<saturationadjust>;
using saturationadjustPlugin = OFX::EffectPlugin<saturationadjust>;
using saturationadjustOpenCLProcessor = OFX::OpenCLEffectProcessor<saturationadjust>;

const OFX::EffectRegistration<saturationadjust> registration;

}  // namespace
