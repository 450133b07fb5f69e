// Sharpen: a fixed 3 x 3 sharpening kernel whose centre weight the amount
// picks, over a divisor that makes the kernel sum to one unit, run through
// the pixel core's integer convolution and then held to alpha so that the
// result is a valid premultiplied image again.
#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

#include "Effect.h"
#include "QzDibFilter.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

// Note: no help context number was ever assigned to Sharpen; 1730 is the
// free one beside its neighbours in the help file's filter series.
constexpr OFX::EffectDeclaration kSharpen{
    "talvo.effects:sharpen", "TALVO Sharpen", "TALVO\\Blur", OFX::eContextFilter, 1730,
    "{ECFE0463-09E4-11D2-9AAB-00A0C99B12C5}",
};

constexpr OFX::DoubleRow kAmount{.name = "amount", .label = "Amount", .defaultValue = 0.5, .increment = 0.05};

constexpr OFX::ParamTable kParams{kAmount};

// The kernel as both the processor and the kernels take it. The byte form
// is the integer kernel over its divisor; the float form is the weights the
// pixel core derives from them, worked out here once so that the device
// does not divide on its own terms.
struct sharpenValues {
    int centre;     // the middle weight; the ring is -1, -2, -1, -2, -2, -1, -2, -1
    int divisor;    // centre - 12: the kernel sums to one unit
    float corner;   // -1 / divisor, in single precision
    float edge;     // -2 / divisor
    float middle;   // centre / divisor
    bool sharpens;  // false: the output is a plain copy of the source
};

// The amount selects the centre by four pieces, each truncating; a larger
// amount gives a smaller centre and a stronger effect (at 1, centre 13 over
// 1). Note: the amount is taken as the single-precision number the older
// effect kept, which is why the third piece starts at the float nearest
// 0.063; the products are then made in double.
sharpenValues valuesFor(double amountParam) {
    // The host holds the amount to 0..1; above 1 the divisor would reach 0.
    const float a = static_cast<float>(std::clamp(amountParam, 0.0, 1.0));
    sharpenValues v{};
    if (!(a > 1e-5f || a < -1e-5f)) return v;
    const double d = a;
    if (d >= 0.25) {
        v.centre = 29 - static_cast<int>(d * 16.0);
    } else if (d >= 0.125) {
        v.centre = static_cast<int>(63.0 - d * 152.0);
    } else if (d >= 0.06300000101327896) {
        v.centre = static_cast<int>(88.961538 - d * 269.230769);
    } else {
        v.centre = static_cast<int>(100.451613 - d * 451.612903);
    }
    v.divisor = v.centre - 12;
    const float divisor = static_cast<float>(v.divisor);
    v.corner = -1.0f / divisor;
    v.edge = -2.0f / divisor;
    v.middle = static_cast<float>(v.centre) / divisor;
    v.sharpens = true;
    return v;
}

using sharpenProcessorBase = OFX::EffectProcessorBase<sharpenValues>;

// At least this many rows per strip: each strip is convolved with one row
// of its neighbours on either side, which are worked out and then dropped.
constexpr int kMinStripRows = 16;

// Each channel gets the same kernel, so the pixel order does not matter.
//
// The kernel's edges replicate at the edges of the render window (where the
// images hold it), whichever band of rows a thread has: each strip of the
// band is convolved from the source rows around it, one more above and
// below where the window has them, into a scratch block whose inner rows
// then go to the output. The picture thus does not depend on how many
// threads the host runs.
template <class PIX, int nComponents, int max, int isBGRA>
class sharpenProcessor : public sharpenProcessorBase {
public:
    using sharpenProcessorBase::sharpenProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!values.sharpens)
            return OFX::copyTransform(dstImg, srcImg, procWindow, bytesPerPixel,
                                      [this](const OfxRectI&) { return effect.abort() ? 1 : 0; });
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;

        const OfxRectI frame = OFX::clipToImage(OFX::clipToImage(renderWindow, dstImg), srcImg);
        const int y1 = std::max(procWindow.y1, frame.y1);
        const int y2 = std::min(procWindow.y2, frame.y2);
        if (frame.x1 >= frame.x2 || y1 >= y2) return 0;

        const int width = frame.x2 - frame.x1;
        const int32_t rowBytes = width * bytesPerPixel;
        const int stripRows = std::min(std::max(kMinStripRows, OFX::kStripBytes / rowBytes), y2 - y1);
        std::vector<unsigned char> scratch;
        try {
            scratch.resize(static_cast<std::size_t>(stripRows + 2) * static_cast<std::size_t>(rowBytes));
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        const RECT scratchBounds{0, 0, width, stripRows + 2};
        const int32_t kernel[9] = {-1, -2, -1, -2, values.centre, -2, -1, -2, -1};
        const OFX::RawView d = OFX::rawView(dstImg);
        const OFX::RawView s = OFX::rawView(srcImg);

        for (int top = y1; top < y2; top += stripRows) {
            if (effect.abort()) return 1;
            const int bottom = std::min(top + stripRows, y2);
            // The strip and its neighbouring rows inside the window.
            const int above = std::max(top - 1, frame.y1);
            const int below = std::min(bottom + 1, frame.y2);
            const RECT from{frame.x1, above, frame.x2, below};
            const RECT worked{0, 0, width, below - above};
            HRESULT hr = QzDib3x3Convolution(scratch.data(), &scratchBounds, rowBytes, &worked, s.base, &s.bounds,
                                             s.stride, &from, bytesPerPixel, kernel, values.divisor);
            if (hr < 0) return hr;
            const RECT inner{0, top - above, width, top - above + (bottom - top)};
            const RECT rows{frame.x1, top, frame.x2, bottom};
            hr = QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &rows, scratch.data(), &scratchBounds, rowBytes, &inner,
                                   bytesPerPixel);
            if (hr < 0) return hr;
            hr = QzDibPatchPreMultiplied(d.base, &d.bounds, d.stride, &rows, bytesPerPixel);
            if (hr < 0) return hr;
        }
        return 0;
    }
};

constexpr std::string_view kKernelText =
#include "sharpen.cl.inc"
    ;

struct sharpen {
    static constexpr const OFX::EffectDeclaration& declaration = kSharpen;
    static constexpr const auto& params = kParams;
    using Values = sharpenValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return valuesFor(kAmount.value(p, args.time));
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = sharpenProcessor<PIX, nComponents, max, isBGRA>;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"k5e0c7a19b", "k2b94d6e03"})};
    // Source, output, the kernel as above (centre, divisor, the three float
    // weights, whether to sharpen), the window's size.
    static void launch(OFX::OpenCLEffectProcessor<sharpen>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
    // Keys of the older Sharpen are taken in the one-double form: its amount.
    static void uplift(OFX::ParamSet& p, const OFX::KeyframeUpliftArguments& args) {
        OFX::upliftOneDouble(args, kAmount.param(p));
    }
};

using sharpenPluginFactory = OFX::EffectFactory<sharpen>;
using sharpenPlugin = OFX::EffectPlugin<sharpen>;
using sharpenOpenCLProcessor = OFX::OpenCLEffectProcessor<sharpen>;

const OFX::EffectRegistration<sharpen> registration;

}  // namespace
