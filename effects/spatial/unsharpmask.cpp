// Unsharp Mask: the picture pushed away from a Gaussian blur of itself by
// a gain, with a threshold below which a sample is left as it was. The
// blur's radius is a fraction of the window's larger side.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>

#include "DeviceBuffer.h"
#include "Effect.h"
#include "QzDibFilter.h"
#include "QzGaussian.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

// No help topic of its own is known: 0.
constexpr OFX::EffectDeclaration kUnsharpMask{
    "talvo.effects:unsharpmask",
    "TALVO Unsharp Mask",
    "TALVO\\Blur",
    OFX::eContextFilter,
    0,
    "{167AEBED-32EB-4BE1-BB4A-50595939CA8D}",
};

// The gain of the mask. Note: 0.5 at first, a clear but moderate
// sharpening; the panel shows 0 to 1 of the wide range, where a negative
// gain blurs and a large one posterises.
constexpr OFX::DoubleRow kAmount{.name = "amount",
                                 .label = "Amount",
                                 .defaultValue = 0.5,
                                 .min = -100000.0,
                                 .max = 100000.0,
                                 .increment = 0.1,
                                 .displayMin = 0.0,
                                 .displayMax = 1.0};
// A fraction of the window's larger side. Note: 0.005 at first, about ten
// pixels on a 1920-wide frame, the scale of the edges sharpening is for.
constexpr OFX::DoubleRow kRadius{.name = "radius", .label = "Radius", .defaultValue = 0.005};
// How far (as a fraction of the full scale) the sharpened sample must lie
// from the blurred one to be taken. Note: 0 at first, every sample.
constexpr OFX::DoubleRow kThreshold{.name = "threshold", .label = "Threshold"};

constexpr OFX::ParamTable kParams{kAmount, kRadius, kThreshold};

struct unsharpmaskValues {
    double amount;
    double radius;
    double threshold;
};

using unsharpmaskProcessorBase = OFX::EffectProcessorBase<unsharpmaskValues>;

// What one render does, worked out once for the processor and the kernels
// alike.
struct UnsharpPlan {
    double hRadius;
    double vRadius;
    // Both radii next to nothing: a copy (a radius of 0 would still blur).
    bool copyOnly;
    // The threshold on the byte scale, rounded to the nearest level.
    int byteThreshold;
};

UnsharpPlan planFor(const unsharpmaskValues& v, int width, int height, double pixelAspect) {
    UnsharpPlan p{};
    const int m = std::max(width, height);
    p.byteThreshold = static_cast<int>(v.threshold * 255.0 + 0.5);
    p.vRadius = m * v.radius;
    // Only the horizontal radius follows the pixel aspect: it is measured
    // in pixels of the row.
    p.hRadius = m * v.radius / pixelAspect;
    p.copyOnly = std::fabs(p.hRadius) <= 1e-6 && std::fabs(p.vRadius) <= 1e-6;
    return p;
}

// One sample of the output from the source `s` and its blur `b`. The
// comparison is against the blur, not the source: a sample far from its
// surroundings is sharpened even where the change is small. Bytes clamp in
// double and truncate; floats neither clamp nor round, and the comparison
// is made in double before the narrowing.
inline uint8_t unsharpByte(uint8_t s, uint8_t b, double amount, int threshold) {
    const double v = std::clamp((double(s) - double(b)) * amount + double(s), 0.0, 255.0);
    const int sharpened = static_cast<int>(v);
    return std::abs(sharpened - int(b)) > threshold ? static_cast<uint8_t>(sharpened) : s;
}
inline float unsharpFloat(float s, float b, double amount, double threshold) {
    const double v = (double(s) - double(b)) * amount + double(s);
    return std::fabs(v - double(b)) > threshold ? static_cast<float>(v) : s;
}

// The blur reads whole columns, so the processor takes the whole window in
// one call (the trait below says so to the frame). The same arithmetic on
// every channel: the pixel order does not matter.
template <class PIX, int nComponents, int max, int isBGRA>
class unsharpmaskProcessor : public unsharpmaskProcessorBase {
public:
    using unsharpmaskProcessorBase::unsharpmaskProcessorBase;

    int multiThreadProcessImages(OfxRectI window) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        if (effect.abort()) return 1;
        const UnsharpPlan plan =
            planFor(values, window.x2 - window.x1, window.y2 - window.y1, dstImg->getPixelAspectRatio());
        const OFX::RawView d = OFX::rawView(dstImg);
        const OFX::RawView s = OFX::rawView(srcImg);
        const RECT r = OFX::toRECT(window);
        if (plan.copyOnly)
            return QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r, bytesPerPixel);
        // The output holds the blur, which each sample is then compared with.
        const HRESULT hr = QzDibGaussianBlur(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r,
                                             plan.hRadius, plan.vRadius, bytesPerPixel);
        if (hr < 0) return hr;
        const OfxRectI inside = OFX::clipToImage(OFX::clipToImage(window, dstImg), srcImg);
        if (inside.x1 >= inside.x2) return 0;
        const double amount = values.amount;
        for (int y = inside.y1; y < inside.y2; ++y) {
            if (effect.abort()) return 1;
            PIX* out = static_cast<PIX*>(dstImg->getPixelAddress(inside.x1, y));
            const PIX* in = static_cast<const PIX*>(srcImg->getPixelAddress(inside.x1, y));
            const int n = (inside.x2 - inside.x1) * 4;
            if constexpr (bytesPerPixel == 4) {
                for (int i = 0; i < n; ++i) out[i] = unsharpByte(in[i], out[i], amount, plan.byteThreshold);
            } else {
                for (int i = 0; i < n; ++i) out[i] = unsharpFloat(in[i], out[i], amount, values.threshold);
            }
        }
        return 0;
    }
};

constexpr std::string_view kKernelText =
#include "unsharpmask.cl.inc"
    ;

// The table the kernels read: the rows' coefficients, the columns', then
// the gain and the float threshold, all in double (kernel arguments would
// narrow them to single precision, and a gain of thousands multiplies that
// error into whole levels).
constexpr int kTableSize = 52;

struct unsharpmask {
    static constexpr const OFX::EffectDeclaration& declaration = kUnsharpMask;
    static constexpr const auto& params = kParams;
    static constexpr bool wholeWindow = true;
    using Values = unsharpmaskValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kAmount.value(p, args.time), kRadius.value(p, args.time), kThreshold.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = unsharpmaskProcessor<PIX, nComponents, max, isBGRA>;

    // Stages, each byte then float: the row pass, the column pass with the
    // mask, and the copy.
    static inline EffectOpenCL openCL{
        kKernelText,
        kernelsByDepth({"ku5a3e0c71", "ku9d62b4f8", "ku1f7c8a2e", "ku6b0d3e95", "ku3c9e1a74", "ku8e4f60b2"})};

    // The row pass filters each row of the source into a float image, the
    // column pass each column of that and applies the mask against the
    // source; a one-dimensional launch over rows, then over columns. The
    // recursion runs in double, on the processor's own coefficients.
    static void launch(OFX::OpenCLEffectProcessor<unsharpmask>& cl, const Values& v) {
        const int width = cl.windowWidth(), height = cl.windowHeight();
        if (width <= 0 || height <= 0) return;
        const UnsharpPlan plan = planFor(v, width, height, cl.output().getPixelAspectRatio());
        OpenCLBinding& binding = openCL.binding();
        const std::size_t rows = cl.kernelIndex(0), columns = cl.kernelIndex(1), copy = cl.kernelIndex(2);
        const std::size_t rowGlobal[1] = {static_cast<std::size_t>(height)};
        const std::size_t columnGlobal[1] = {static_cast<std::size_t>(width)};

        if (plan.copyOnly) {
            const cl_kernel copyKernel = openCL.kernel(copy);
            if (!copyKernel || !setKernelArgs(binding, copyKernel, cl.src(), cl.dst(), width, height)) return;
            launchKernel(binding, cl.queue(), copyKernel, openCL.launchCache(copy), rowGlobal);
            return;
        }
        const cl_kernel rowKernel = openCL.kernel(rows), columnKernel = openCL.kernel(columns);
        if (!rowKernel || !columnKernel) return;
        cl_context context = nullptr;
        if (binding.getCommandQueueInfo(cl.queue(), CL_QUEUE_CONTEXT, sizeof context, &context) != CL_SUCCESS) return;
        double table[kTableSize];
        qz::packGaussianCoefficients(table, qz::gaussianCoefficients(qz::gaussianSigma(plan.hRadius)));
        qz::packGaussianCoefficients(table + 25, qz::gaussianCoefficients(qz::gaussianSigma(plan.vRadius)));
        table[50] = v.amount;
        table[51] = v.threshold;
        const std::size_t samples = static_cast<std::size_t>(width) * height * 4;
        const DeviceBuffer pass(binding, context, CL_MEM_READ_WRITE, samples * sizeof(float), nullptr);
        const DeviceBuffer responses(binding, context, CL_MEM_READ_WRITE, samples * sizeof(double), nullptr);
        const DeviceBuffer coefficients(binding, context, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, sizeof table,
                                        table);
        if (!pass.get() || !responses.get() || !coefficients.get()) throw std::bad_alloc();

        if (!setKernelArgs(binding, rowKernel, cl.src(), pass.get(), responses.get(), coefficients.get(), width,
                           height))
            return;
        launchKernel(binding, cl.queue(), rowKernel, openCL.launchCache(rows), rowGlobal);
        if (!setKernelArgs(binding, columnKernel, cl.src(), cl.dst(), pass.get(), responses.get(), coefficients.get(),
                           plan.byteThreshold, width, height))
            return;
        launchKernel(binding, cl.queue(), columnKernel, openCL.launchCache(columns), columnGlobal);
    }
};

using unsharpmaskPluginFactory = OFX::EffectFactory<unsharpmask>;
using unsharpmaskPlugin = OFX::EffectPlugin<unsharpmask>;
using unsharpmaskOpenCLProcessor = OFX::OpenCLEffectProcessor<unsharpmask>;

const OFX::EffectRegistration<unsharpmask> registration;

}  // namespace
