// Convolution Kernel: a 3 x 3 kernel of the user's nine weights, whose ring
// of eight outer cells can be turned about the centre, normalised to its
// sum, divided by a scale and followed by an offset. Colour is convolved;
// alpha is carried from the source.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "Effect.h"
#include "RawView.h"

namespace {

// Note: no help context number was ever assigned to Convolution Kernel;
// 1750 is a free one in the help file's filter series.
constexpr OFX::EffectDeclaration kConvolutionKernel{
    "talvo.effects:convolutionkernel", "TALVO Convolution Kernel", "TALVO\\Creative", OFX::eContextFilter, 1750,
    "{5911B14A-D65C-4820-AA01-630064F1A66D}",
};

constexpr OFX::GroupRow kRow1{.name = "row1", .label = "Row 1"};
constexpr OFX::GroupRow kRow2{.name = "row2", .label = "Row 2"};
constexpr OFX::GroupRow kRow3{.name = "row3", .label = "Row 3"};

constexpr OFX::DoubleRow cell(const char* name, const char* label, const OFX::GroupRow& row,
                              double defaultValue = 0.0) {
    return {.name = name,
            .label = label,
            .defaultValue = defaultValue,
            .min = -100.0,
            .max = 100.0,
            .increment = 0.1,
            .group = &row};
}

// The kernel starts as the identity.
constexpr OFX::DoubleRow kR1C1 = cell("row1column1", "Column 1", kRow1);
constexpr OFX::DoubleRow kR1C2 = cell("row1column2", "Column 2", kRow1);
constexpr OFX::DoubleRow kR1C3 = cell("row1column3", "Column 3", kRow1);
constexpr OFX::DoubleRow kR2C1 = cell("row2column1", "Column 1", kRow2);
constexpr OFX::DoubleRow kR2C2 = cell("row2column2", "Column 2", kRow2, 1.0);
constexpr OFX::DoubleRow kR2C3 = cell("row2column3", "Column 3", kRow2);
constexpr OFX::DoubleRow kR3C1 = cell("row3column1", "Column 1", kRow3);
constexpr OFX::DoubleRow kR3C2 = cell("row3column2", "Column 2", kRow3);
constexpr OFX::DoubleRow kR3C3 = cell("row3column3", "Column 3", kRow3);

// Degrees; the panel shows one turn either way of the ten allowed. The step
// is the one of the other angles of the bundle.
constexpr OFX::DoubleRow kRotation{.name = "rotation",
                                   .label = "Rotation",
                                   .min = -3600.0,
                                   .max = 3600.0,
                                   .increment = 0.1,
                                   .displayMin = -360.0,
                                   .displayMax = 360.0,
                                   .doubleType = OFX::eDoubleTypeAngle};
// The divisor of the kernel: 1 leaves it as it is. Kept above 0, since the
// cells can carry a sign; the panel shows the divisors kernels of small
// integers need (9 for a box, 16 for a 1-2-1 blur).
constexpr OFX::DoubleRow kScale{.name = "scale",
                                .label = "Scale",
                                .defaultValue = 1.0,
                                .min = 0.001,
                                .max = 1000.0,
                                .increment = 0.1,
                                .displayMin = 0.1,
                                .displayMax = 50.0};
// Added to each colour after the convolution, in units of the full scale
// (1 is 255 on bytes); none at first.
constexpr OFX::DoubleRow kOffset{
    .name = "offset", .label = "Offset", .min = -1.0, .max = 1.0, .increment = 0.01};
// Off at first: the kernel is taken as the user wrote it.
constexpr OFX::BooleanRow kAutoNormalize{.name = "autonormalize", .label = "Auto normalize"};

constexpr OFX::ParamTable kParams{
    kRow1, kR1C1, kR1C2, kR1C3,
    kRow2, kR2C1, kR2C2, kR2C3,
    kRow3, kR3C1, kR3C2, kR3C3,
    kRotation, kScale, kOffset, kAutoNormalize,
};

constexpr const OFX::DoubleRow* kCells[9] = {&kR1C1, &kR1C2, &kR1C3, &kR2C1, &kR2C2, &kR2C3, &kR3C1, &kR3C2, &kR3C3};

// The kernel as the pixels take it, worked out once per render by one
// function for the processor and the kernels alike: the weights row by
// row, rotated, normalised and divided by the scale, and the offset in the
// units of each depth.
struct convolutionkernelValues {
    std::array<float, 9> weights;
    float byteOffset;   // offset * 255, made in double
    float floatOffset;  // offset
};

// The ring of outer cells, clockwise from the top left, as indices of the
// kernel's row-by-row cells.
constexpr int kRing[8] = {0, 1, 2, 5, 8, 7, 6, 3};

// Turns the ring by `degrees`: each 45 degrees moves every cell one place,
// and a rest between two places mixes the two neighbours. Ring cell i takes
// (1 - f) * ring[i + q] + f * ring[i + q + 1] (indices modulo 8), with
// q = trunc(r / 45) and f = (r - 45 q) / 45, where a negative rotation is
// first brought to 0 or above by whole turns. The mix is made in double on
// the single-precision cells and stored back in single precision. The
// centre stays.
void rotateRing(std::array<float, 9>& k, double degrees) {
    if (!std::isfinite(degrees)) return;
    double r = degrees;
    // Adding turns one by one is exact until the last, so one remainder
    // and one addition give the same number.
    if (r < 0.0) {
        r = std::fmod(r, 360.0);
        if (r < 0.0) r += 360.0;
    }
    const double q = std::trunc(r / 45.0);
    const double f = (r - 45.0 * q) / 45.0;
    const int shift = static_cast<int>(std::fmod(q, 8.0));
    float ring[8];
    for (int i = 0; i < 8; ++i) ring[i] = k[kRing[i]];
    for (int i = 0; i < 8; ++i)
        k[kRing[i]] = static_cast<float>((1.0 - f) * ring[(i + shift) & 7] + f * ring[(i + shift + 1) & 7]);
}

// The order within the kernel step: the cells to single precision, the
// ring turned, then, with auto normalize, each weight divided by the
// weights' sum (made in single precision, row by row) unless that is 0,
// then each divided by the scale (a scale of 0, which the range keeps out,
// leaves them). The offset is added to each convolved colour.
convolutionkernelValues valuesFor(const std::array<double, 9>& cells, double rotation, double scale, double offset,
                                  bool autoNormalize) {
    convolutionkernelValues v{};
    for (int i = 0; i < 9; ++i) v.weights[i] = static_cast<float>(cells[i]);
    rotateRing(v.weights, rotation);
    if (autoNormalize) {
        float sum = 0.0f;
        for (const float w : v.weights) sum += w;
        if (sum != 0.0f)
            for (float& w : v.weights) w /= sum;
    }
    const float divisor = static_cast<float>(scale);
    if (divisor != 0.0f)
        for (float& w : v.weights) w /= divisor;
    v.byteOffset = static_cast<float>(offset * 255.0);
    v.floatOffset = static_cast<float>(offset);
    return v;
}

using convolutionkernelProcessorBase = OFX::EffectProcessorBase<convolutionkernelValues>;

// One pixel's four channels as four single-precision lanes: each lane does
// the scalar sums of its channel, in the same order, so the lanes give the
// plain arithmetic to the bit.
using Lanes = float __attribute__((vector_size(16)));
using IntLanes = int32_t __attribute__((vector_size(16)));
using ByteLanes = uint8_t __attribute__((vector_size(4)));

inline Lanes lanesOf(const float* p) {
    Lanes v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
// Bytes widen exactly, whichever way; the vector unit's own widening is
// taken where there is one, since compilers make four scalar conversions
// of the plain form.
inline Lanes lanesOf(const unsigned char* p) {
#ifdef __SSE2__
    int32_t word;
    std::memcpy(&word, p, sizeof word);
    const __m128i zero = _mm_setzero_si128();
    const __m128 v = _mm_cvtepi32_ps(_mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero));
    Lanes lanes;
    std::memcpy(&lanes, &v, sizeof lanes);
    return lanes;
#else
    ByteLanes v;
    std::memcpy(&v, p, sizeof v);
    return __builtin_convertvector(v, Lanes);
#endif
}

// Lanes already whole numbers of 0..255 back to four bytes.
inline void storeBytes(unsigned char* d, Lanes held) {
#ifdef __SSE2__
    __m128 v;
    std::memcpy(&v, &held, sizeof v);
    const __m128i words = _mm_cvttps_epi32(v);
    const int32_t packed = _mm_cvtsi128_si32(_mm_packus_epi16(_mm_packs_epi32(words, words), words));
    std::memcpy(d, &packed, sizeof packed);
#else
    const ByteLanes bytes = __builtin_convertvector(__builtin_convertvector(held, IntLanes), ByteLanes);
    std::memcpy(d, &bytes, sizeof bytes);
#endif
}

// One output row from the three source rows around it (the row itself
// standing in above or below at the window's edges). Neighbours beyond the
// row's ends repeat the end pixel. Each colour is the sum, in single
// precision from 0 and row by row, of weight times sample, plus the
// offset; bytes are then held to 0..255 (a NaN to 0) and truncated, floats
// left as they are. Alpha is the source pixel's.
template <class PIX>
void convolveRow(PIX* out, const PIX* const rows[3], int width, const convolutionkernelValues& k, float offset) {
    Lanes w[9];
    for (int i = 0; i < 9; ++i) w[i] = Lanes{} + k.weights[i];
    const Lanes off = Lanes{} + offset;
    // A sliding block of the three columns around x.
    Lanes p[3][3];
    for (int r = 0; r < 3; ++r) {
        p[r][0] = p[r][1] = lanesOf(rows[r]);
        p[r][2] = lanesOf(rows[r] + 4 * std::min(1, width - 1));
    }
    for (int x = 0; x < width; ++x) {
        Lanes sum = Lanes{};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c) sum += w[3 * r + c] * p[r][c];
        const Lanes v = sum + off;
        PIX* d = out + 4 * x;
        const PIX alpha = rows[1][4 * x + 3];
        if constexpr (std::is_same_v<PIX, float>) {
            std::memcpy(d, &v, sizeof v);
        } else {
            const Lanes held = v > 0.0f ? (v < 255.0f ? v : Lanes{} + 255.0f) : Lanes{};
            storeBytes(d, held);
        }
        d[3] = alpha;
        const int next = std::min(x + 2, width - 1);
        for (int r = 0; r < 3; ++r) {
            p[r][0] = p[r][1];
            p[r][1] = p[r][2];
            p[r][2] = lanesOf(rows[r] + 4 * next);
        }
    }
}

// The kernel's edges replicate at the edges of the render window (where the
// images hold it), whichever band of rows a thread has, so the picture does
// not depend on the host's threads. Every colour gets the same weights, so
// the pixel order does not matter.
template <class PIX, int nComponents, int max, int isBGRA>
class convolutionkernelProcessor : public convolutionkernelProcessorBase {
public:
    using convolutionkernelProcessorBase::convolutionkernelProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI frame = OFX::clipToImage(OFX::clipToImage(renderWindow, dstImg), srcImg);
        const int y1 = std::max(procWindow.y1, frame.y1);
        const int y2 = std::min(procWindow.y2, frame.y2);
        if (frame.x1 >= frame.x2) return 0;
        const float offset = std::is_same_v<PIX, float> ? values.floatOffset : values.byteOffset;
        const auto sourceRow = [&](int y) { return static_cast<const PIX*>(srcImg->getPixelAddress(frame.x1, y)); };
        for (int y = y1; y < y2; ++y) {
            if (effect.abort()) return 1;
            const PIX* const rows[3] = {sourceRow(std::max(y - 1, frame.y1)), sourceRow(y),
                                        sourceRow(std::min(y + 1, frame.y2 - 1))};
            convolveRow(static_cast<PIX*>(dstImg->getPixelAddress(frame.x1, y)), rows, frame.x2 - frame.x1, values,
                        offset);
        }
        return 0;
    }
};

constexpr std::string_view kKernelText =
#include "convolutionkernel.cl.inc"
    ;

struct convolutionkernel {
    static constexpr const OFX::EffectDeclaration& declaration = kConvolutionKernel;
    static constexpr const auto& params = kParams;
    using Values = convolutionkernelValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        std::array<double, 9> cells;
        for (int i = 0; i < 9; ++i) cells[i] = kCells[i]->value(p, args.time);
        return valuesFor(cells, kRotation.value(p, args.time), kScale.value(p, args.time),
                         kOffset.value(p, args.time), kAutoNormalize.value(p, args.time));
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = convolutionkernelProcessor<PIX, nComponents, max, isBGRA>;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"k7c1f3a8d2", "k9ad06b54e"})};
    // Source, output, the nine weights row by row, the byte and the float
    // offset, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<convolutionkernel>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using convolutionkernelPluginFactory = OFX::EffectFactory<convolutionkernel>;
using convolutionkernelPlugin = OFX::EffectPlugin<convolutionkernel>;
using convolutionkernelOpenCLProcessor = OFX::OpenCLEffectProcessor<convolutionkernel>;

const OFX::EffectRegistration<convolutionkernel> registration;

}  // namespace
