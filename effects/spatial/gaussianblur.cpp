// Gaussian Blur: the recursive Gaussian over the render window, with radii
// that follow the window's size, the pixel aspect and the render scale, and
// a choice of the channels it blurs.
#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "DeviceBuffer.h"
#include "Effect.h"
#include "QzDibFilter.h"
#include "QzGaussian.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

// No help topic of its own is known: 0.
constexpr OFX::EffectDeclaration kGaussianBlur{
    "talvo.effects:gaussianblur",
    "TALVO Gaussian Blur",
    "TALVO\\Blur",
    OFX::eContextFilter,
    0,
    "{1485B954-EB62-11D1-9AA9-00A0C99B12C5}",
};

// The ranges are fractions of the window's larger side, declared as the
// older normalised vertical type so that hosts show them in pixels of the
// project's height while the effect reads fractions.
constexpr OFX::DoubleRow kHorizontalRange{
    .name = "HorizontalRange",
    .label = "Horizontal range",
    .scriptName = "horizontalrange",
    .defaultValue = 0.063,
    .doubleType = OFX::eDoubleTypeNormalisedYAbsolute,
};
constexpr OFX::DoubleRow kVerticalRange{
    .name = "VerticalRange",
    .label = "Vertical range",
    .scriptName = "verticalrange",
    .defaultValue = 0.063,
    .doubleType = OFX::eDoubleTypeNormalisedYAbsolute,
};
constexpr OFX::GroupRow kChannels{.name = "Channels", .label = "Channels"};
constexpr OFX::BooleanRow kRed{
    .name = "Red", .label = "Red", .scriptName = "red", .defaultValue = true, .group = &kChannels};
constexpr OFX::BooleanRow kGreen{
    .name = "Green", .label = "Green", .scriptName = "green", .defaultValue = true, .group = &kChannels};
constexpr OFX::BooleanRow kBlue{
    .name = "Blue", .label = "Blue", .scriptName = "blue", .defaultValue = true, .group = &kChannels};
constexpr OFX::BooleanRow kAlpha{
    .name = "Alpha", .label = "Alpha", .scriptName = "alpha", .defaultValue = true, .group = &kChannels};

constexpr OFX::ParamTable kParams{kHorizontalRange, kVerticalRange, kChannels, kRed, kGreen, kBlue, kAlpha};

struct gaussianblurValues {
    double hRange;
    double vRange;
    bool red;
    bool green;
    bool blue;
    bool alpha;
    OfxPointD renderScale;
};

using gaussianblurProcessorBase = OFX::EffectProcessorBase<gaussianblurValues>;

// What one render does, worked out once for the processor and the kernels
// alike.
struct GaussianPlan {
    double hRadius;
    double vRadius;
    // Both radii exactly 0: a copy (a radius of 0 would still blur a little).
    bool copyOnly;
    // All four channels on: one four-channel blur.
    bool allFour;
    // Red, green and blue on, alpha off.
    bool colourOnly;
    // The channels to blur by memory position: a control named after a
    // colour acts on that colour in either pixel order.
    std::array<bool, 4> blurs;
    // Bytes blurred channel by channel keep colour within alpha afterwards.
    bool clampToAlpha;
};

GaussianPlan planFor(const gaussianblurValues& v, int width, int height, double pixelAspect, bool bgra, bool bytes) {
    GaussianPlan p{};
    const int m = std::max(width, height);
    p.hRadius = m * v.hRange;
    // Note: the pixel aspect is narrowed to single precision, as it always was.
    p.vRadius = m * v.vRange * static_cast<float>(pixelAspect) / (v.renderScale.x / v.renderScale.y);
    p.copyOnly = p.hRadius == 0.0 && p.vRadius == 0.0;
    p.allFour = v.red && v.green && v.blue && v.alpha;
    p.colourOnly = v.red && v.green && v.blue && !v.alpha;
    p.blurs = bgra ? std::array<bool, 4>{v.blue, v.green, v.red, v.alpha}
                   : std::array<bool, 4>{v.red, v.green, v.blue, v.alpha};
    p.clampToAlpha = bytes && !p.copyOnly && !p.allFour;
    return p;
}

// The blur reads whole columns, so the processor takes the whole window in
// one call (the trait below says so to the frame).
template <class PIX, int nComponents, int max, int isBGRA>
class gaussianblurProcessor : public gaussianblurProcessorBase {
public:
    using gaussianblurProcessorBase::gaussianblurProcessorBase;

    int multiThreadProcessImages(OfxRectI window) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        if (effect.abort()) return 1;
        const GaussianPlan plan = planFor(values, window.x2 - window.x1, window.y2 - window.y1,
                                          dstImg->getPixelAspectRatio(), isBGRA, bytesPerPixel == 4);
        const OFX::RawView d = OFX::rawView(dstImg);
        const OFX::RawView s = OFX::rawView(srcImg);
        const RECT r = OFX::toRECT(window);
        if (plan.copyOnly)
            return QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r, bytesPerPixel);
        if (plan.allFour)
            return QzDibGaussianBlur(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r, plan.hRadius,
                                     plan.vRadius, bytesPerPixel);

        HRESULT hr = QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r, bytesPerPixel);
        for (QzChannel c = 0; c < 4 && hr >= 0; ++c) {
            if (plan.blurs[c])
                hr = QzDibGaussianChannelBlur(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r,
                                              plan.hRadius, plan.vRadius, c, bytesPerPixel);
        }
        if (hr < 0) return hr;
        if constexpr (bytesPerPixel == 4) {
            const OfxRectI inside = OFX::clipToImage(window, dstImg);
            return OFX::forEachRow<PIX>(effect, dstImg, inside, [](PIX* p, int n) {
                for (; n > 0; --n, p += 4)
                    for (int c = 0; c < 3; ++c) p[c] = std::min(p[c], p[3]);
            });
        }
        return 0;
    }
};

constexpr std::string_view kKernelText =
#include "gaussianblur.cl.inc"
    ;

// The kernels' switches: the channels to blur by memory position, and the
// byte clamp of colour to alpha.
struct gaussianblurKernelValues {
    std::array<bool, 4> blurs;
    bool clampToAlpha;
};

// The kernels' standard deviation: 2 ln 255 enters in single precision.
double kernelSigma(double radius) {
    const double r = radius + 1.5;
    return std::sqrt(r * r / static_cast<double>(11.082527f));
}

struct gaussianblur {
    static constexpr const OFX::EffectDeclaration& declaration = kGaussianBlur;
    static constexpr const auto& params = kParams;
    static constexpr bool wholeWindow = true;
    using Values = gaussianblurValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kHorizontalRange.value(p, args.time),
                kVerticalRange.value(p, args.time),
                kRed.value(p, args.time),
                kGreen.value(p, args.time),
                kBlue.value(p, args.time),
                kAlpha.value(p, args.time),
                args.renderScale};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = gaussianblurProcessor<PIX, nComponents, max, isBGRA>;

    // Stages, each byte then float: the row pass and the column pass for all
    // four channels, for colour without alpha, and for any other set.
    static inline EffectOpenCL openCL{
        kKernelText,
        kernelsByDepth({"k4c1e9a7d2", "k9b27f0c13", "k2d8a61e5f", "k6e0c3b9a4", "k71f4d2c8b", "kc39a0e6d1",
                        "k0a5e7b3c9", "kd6b14f82e", "k8f2c5a0d7", "k3e9d7c1b6", "kb1a08e4f3", "k5c7e2d9a0"})};

    // The row pass filters each row of the source into a float image, the
    // column pass each column of that into the output; a one-dimensional
    // launch over rows, then over columns. The recursion runs in double:
    // single-precision coefficients put the filter's poles outside the unit
    // circle for radii of a few hundred pixels.
    static void launch(OFX::OpenCLEffectProcessor<gaussianblur>& cl, const Values& v) {
        const int width = cl.windowWidth(), height = cl.windowHeight();
        if (width <= 0 || height <= 0) return;
        const bool bytes = !cl.floatOutput();
        const GaussianPlan plan =
            planFor(v, width, height, cl.output().getPixelAspectRatio(), cl.pixelOrderBGRA(), bytes);
        const std::size_t set = plan.copyOnly ? 2 : plan.allFour ? 0 : plan.colourOnly ? 1 : 2;
        const std::size_t rows = cl.kernelIndex(2 * set), columns = cl.kernelIndex(2 * set + 1);
        OpenCLBinding& binding = openCL.binding();
        const cl_kernel rowKernel = openCL.kernel(rows), columnKernel = openCL.kernel(columns);
        if (!rowKernel || !columnKernel) return;
        const std::size_t rowGlobal[1] = {static_cast<std::size_t>(height)};
        const std::size_t columnGlobal[1] = {static_cast<std::size_t>(width)};

        if (plan.copyOnly) {
            // The column pass with every channel off is a copy; it reads
            // nothing else, so the source stands in for the work buffers.
            const gaussianblurKernelValues copy{{false, false, false, false}, false};
            if (!setKernelArgs(binding, columnKernel, cl.src(), cl.dst(), cl.src(), cl.src(), cl.src(), copy, width,
                               height))
                return;
            launchKernel(binding, cl.queue(), columnKernel, openCL.launchCache(columns), columnGlobal);
            return;
        }

        cl_context context = nullptr;
        if (binding.getCommandQueueInfo(cl.queue(), CL_QUEUE_CONTEXT, sizeof context, &context) != CL_SUCCESS) return;
        double coefficients[50];
        qz::packGaussianCoefficients(coefficients, qz::gaussianCoefficients(kernelSigma(plan.hRadius)));
        qz::packGaussianCoefficients(coefficients + 25, qz::gaussianCoefficients(kernelSigma(plan.vRadius)));
        const std::size_t samples = static_cast<std::size_t>(width) * height * 4;
        const DeviceBuffer pass(binding, context, CL_MEM_READ_WRITE, samples * sizeof(float), nullptr);
        const DeviceBuffer responses(binding, context, CL_MEM_READ_WRITE, samples * sizeof(double), nullptr);
        const DeviceBuffer table(binding, context, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, sizeof coefficients,
                                 coefficients);
        if (!pass.get() || !responses.get() || !table.get()) throw std::bad_alloc();

        const gaussianblurKernelValues switches{plan.blurs, plan.clampToAlpha};
        if (!setKernelArgs(binding, rowKernel, cl.src(), pass.get(), responses.get(), table.get(), switches, width,
                           height))
            return;
        launchKernel(binding, cl.queue(), rowKernel, openCL.launchCache(rows), rowGlobal);
        if (!setKernelArgs(binding, columnKernel, cl.src(), cl.dst(), pass.get(), responses.get(), table.get(),
                           switches, width, height))
            return;
        launchKernel(binding, cl.queue(), columnKernel, openCL.launchCache(columns), columnGlobal);
    }
};

using gaussianblurPluginFactory = OFX::EffectFactory<gaussianblur>;
using gaussianblurPlugin = OFX::EffectPlugin<gaussianblur>;
using gaussianblurOpenCLProcessor = OFX::OpenCLEffectProcessor<gaussianblur>;

const OFX::EffectRegistration<gaussianblur> registration;

}  // namespace
