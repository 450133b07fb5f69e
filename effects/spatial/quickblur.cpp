// Quick Blur: the fixed 1-2-1 by 1-2-1 blur, mixed with the source by the
// blend amount.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "Effect.h"
#include "QzDibFilter.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

// No help topic of its own is known: 0.
constexpr OFX::EffectDeclaration kQuickBlur{
    "talvo.effects:quickblur",
    "TALVO Quick Blur",
    "TALVO\\Blur",
    OFX::eContextFilter,
    0,
    "{B1DA9C5D-CF1A-11D1-9AA7-00A0C99B12C5}",
};

// The shared mix of the result with the source, which here starts at 0: a
// new Quick Blur leaves the picture as it is until the amount is raised.
constexpr OFX::DoubleRow kQuickBlend = [] {
    OFX::DoubleRow row = OFX::kBlendAmount;
    row.defaultValue = 0.0;
    return row;
}();

constexpr OFX::ParamTable kParams{kQuickBlend};

struct quickblurValues {
    double blend;
};

using quickblurProcessorBase = OFX::EffectProcessorBase<quickblurValues>;

// What the processor and the kernels do with the amount.
struct quickblurMix {
    // An amount within 1e-6 of 0 (compared in single precision) copies.
    bool copy;
    // The blend primitive's weight of the source.
    double sourceWeight;
};

quickblurMix mixFor(const quickblurValues& v) {
    return {std::fabs(static_cast<float>(v.blend)) <= 1e-6f, 1.0 - v.blend};
}

// Rows are blurred band by band over the host's threads, each band reading
// the row above and below it from the source: the edges that repeat are
// the render window's, so the picture does not depend on the number of
// threads. A band goes in strips of rows: each strip with its two
// neighbouring rows is blurred into a scratch block, copied into place and
// mixed with the source while it is still in cache.
template <class PIX, int nComponents, int max, int isBGRA>
class quickblurProcessor : public quickblurProcessorBase {
public:
    using quickblurProcessorBase::quickblurProcessorBase;

    int multiThreadProcessImages(OfxRectI band) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        const quickblurMix mix = mixFor(values);
        const OFX::RawView d = OFX::rawView(dstImg);
        const OFX::RawView s = OFX::rawView(srcImg);
        if (mix.copy || band.y1 >= band.y2 || band.x1 >= band.x2) {
            const RECT r = OFX::toRECT(band);
            return QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r, bytesPerPixel);
        }
        const int width = band.x2 - band.x1;
        const int32_t scratchStride = width * bytesPerPixel;
        const int stripRows = std::max(16, OFX::kStripBytes / scratchStride);
        std::vector<PIX> scratch(static_cast<std::size_t>(stripRows + 2) * width * 4);
        for (int y = band.y1; y < band.y2; y += stripRows) {
            if (effect.abort()) return 1;
            const RECT strip{band.x1, y, band.x2, std::min(y + stripRows, band.y2)};
            const RECT halo{band.x1, std::max(strip.top - 1, renderWindow.y1), band.x2,
                            std::min(strip.bottom + 1, renderWindow.y2)};
            // The scratch block as a view anchored at the image's origin,
            // covering the halo's rows.
            const RECT scratchBounds = halo;
            const auto data = reinterpret_cast<uintptr_t>(scratch.data());
            const intptr_t offset =
                static_cast<intptr_t>(halo.top) * scratchStride + static_cast<intptr_t>(halo.left) * bytesPerPixel;
            void* scratchBase = reinterpret_cast<void*>(data - static_cast<uintptr_t>(offset));
            HRESULT hr = QzDibBlur(scratchBase, &scratchBounds, scratchStride, &halo, s.base, &s.bounds, s.stride,
                                   &halo, bytesPerPixel);
            if (hr >= 0)
                hr = QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &strip, scratchBase, &scratchBounds, scratchStride,
                                       &strip, bytesPerPixel);
            if (hr >= 0)
                hr = QzDibAbsoluteAlphaValueBlend(d.base, &d.bounds, d.stride, &strip, s.base, &s.bounds, s.stride,
                                                  &strip, bytesPerPixel, mix.sourceWeight);
            if (hr < 0) return hr;
        }
        return 0;
    }
};

constexpr std::string_view kKernelText =
#include "quickblur.cl.inc"
    ;

struct quickblur {
    static constexpr const OFX::EffectDeclaration& declaration = kQuickBlur;
    static constexpr const auto& params = kParams;
    using Values = quickblurValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kQuickBlend.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = quickblurProcessor<PIX, nComponents, max, isBGRA>;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"ka7d3e05c1", "k1f6b82d4e"})};
    // Source, output, the copy switch and the source's weight narrowed to a
    // float (as the blend primitive narrows it), the window's size.
    static void launch(OFX::OpenCLEffectProcessor<quickblur>& cl, const Values& v) {
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), mixFor(v), cl.windowWidth(), cl.windowHeight());
    }
    // The older Quick Blur kept its one amount as one double per key.
    static void uplift(OFX::ParamSet& p, const OFX::KeyframeUpliftArguments& args) {
        OFX::upliftOneDouble(args, kQuickBlend.param(p));
    }
};

using quickblurPluginFactory = OFX::EffectFactory<quickblur>;
using quickblurPlugin = OFX::EffectPlugin<quickblur>;
using quickblurOpenCLProcessor = OFX::OpenCLEffectProcessor<quickblur>;

const OFX::EffectRegistration<quickblur> registration;

}  // namespace
