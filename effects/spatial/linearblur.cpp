// Linear Blur: a one-dimensional Gaussian along any angle. The image is
// sheared so that the direction of the blur becomes a row or a column of a
// scratch image, blurred there along that one axis, and sheared back.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "Effect.h"
#include "QzDibFilter.h"
#include "RawView.h"

namespace {

// No help topic of its own is known: 0. The shear and the recursive blur in
// double precision are not offered on the device: CPU only.
constexpr OFX::EffectDeclaration kLinearBlur{
    "talvo.effects:linearblur",
    "TALVO Linear Blur",
    "TALVO\\Blur",
    OFX::eContextFilter,
    0,
    "{8DBE8301-D9A5-4FD5-8901-1D8BF4D3A6C0}",
    false,
};

constexpr OFX::DoubleRow kAngle{
    .name = "Angle",
    .label = "Angle",
    .scriptName = "angle",
    .defaultValue = 0.0,
    .min = 0.0,
    .max = 360.0,
    .increment = 0.1,
    .doubleType = OFX::eDoubleTypeAngle,
};
constexpr OFX::DoubleRow kAmount{
    .name = "Amount",
    .label = "Amount",
    .scriptName = "amount",
    .defaultValue = 0.0,
    .min = 0.0,
    .max = 1.0,
    .increment = 0.1,
};

constexpr OFX::ParamTable kParams{kAngle, kAmount};

struct linearblurValues {
    double angle;
    double amount;
    OfxPointD renderScale;
};

using linearblurProcessorBase = OFX::EffectProcessorBase<linearblurValues>;

constexpr double kPi = 3.141592653589793;
constexpr double kQuarterPi = 0.7853981633974483;
constexpr double kHalfPi = 1.5707963267948966;
constexpr double kThreeQuarterPi = 2.356194490192345;
// Offsets carry 14 fraction bits.
constexpr int kShearBits = 14;
constexpr int64_t kShearOne = int64_t{1} << kShearBits;

// How one render shears and blurs, worked out once from the parameters.
struct LinearPlan {
    bool copyOnly;
    // True: columns move up and down (a blur along rows); false: rows move
    // sideways (a blur along columns).
    bool shearRows;
    // The offsets grow towards the last line instead of the first.
    bool reversed;
    // The whole shear across the image, 14 fraction bits, never negative.
    int64_t shear;
    double hRadius;
    double vRadius;
};

// The direction of the blur with the render scale applied, in radians from
// 0 to pi: a line at the parameter's angle counter-clockwise from the x axis
// (rows count upwards) is the same line as one at 360 minus it, folded into
// the half turn. The blur's length uses the uncorrected angle.
LinearPlan planFor(const linearblurValues& v, int width, int height, double pixelAspect) {
    LinearPlan p{};
    const double angle = v.angle;
    const double a2 = (angle >= 180.0 ? angle - 180.0 : angle) * kPi / 180.0;
    const double turned = 360.0 - angle;
    double a1 = (turned >= 180.0 ? turned - 180.0 : turned) * kPi / 180.0;
    if (std::fabs(std::cos(a1)) > static_cast<double>(1e-6f)) {
        a1 = std::atan2(std::sin(a1) * v.renderScale.y, v.renderScale.x * std::cos(a1));
        if (a1 < 0.0) a1 += 2.0 * kPi;
    }
    const double len = std::max(width, height) * v.amount;
    p.copyOnly = v.amount <= 1e-6;
    if (a1 < kQuarterPi) {
        p.shearRows = true;
        p.reversed = false;
        p.shear = static_cast<int64_t>(std::tan(a1) * width * pixelAspect * 16384.0);
        p.hRadius = std::cos(a2) * len;
    } else if (a1 < kHalfPi) {
        p.shearRows = false;
        p.reversed = false;
        p.shear = static_cast<int64_t>(std::tan(kHalfPi - a1) * height / pixelAspect * 16384.0);
        p.vRadius = std::cos(kHalfPi - a2) * len * pixelAspect / (v.renderScale.x / v.renderScale.y);
    } else if (a1 < kThreeQuarterPi) {
        p.shearRows = false;
        p.reversed = true;
        p.shear = static_cast<int64_t>(std::tan(a1 - kHalfPi) * height / pixelAspect * 16384.0);
        p.vRadius = std::cos(kHalfPi - a2) * len * pixelAspect / (v.renderScale.x / v.renderScale.y);
    } else {
        p.shearRows = true;
        p.reversed = true;
        p.shear = static_cast<int64_t>(std::tan(kPi - a1) * width * pixelAspect * 16384.0);
        p.hRadius = std::cos(a2) * len;
    }
    p.shear = std::max<int64_t>(p.shear, 0);
    return p;
}

// The two-sample mix of the shear: `f` of `b` and the rest of `a`, in 14
// fraction bits. Bytes round half up; floats weigh by the exact fraction.
inline unsigned char shearMix(unsigned char a, unsigned char b, int32_t f) {
    return static_cast<unsigned char>((a * (kShearOne - f) + b * f + kShearOne / 2) >> kShearBits);
}
inline float shearMix(float a, float b, int32_t f) {
    const float w = static_cast<float>(f) * (1.0f / static_cast<float>(kShearOne));
    return a * (1.0f - w) + b * w;
}

// The whole window at once: the blur reads whole sheared lines.
template <class PIX, int nComponents, int max, int isBGRA>
class linearblurProcessor : public linearblurProcessorBase {
public:
    using linearblurProcessorBase::linearblurProcessorBase;

    int multiThreadProcessImages(OfxRectI window) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        if (effect.abort()) return 1;
        const int width = window.x2 - window.x1, height = window.y2 - window.y1;
        if (width <= 0 || height <= 0) return 0;
        const LinearPlan plan = planFor(values, width, height, dstImg->getPixelAspectRatio());
        const OFX::RawView d = OFX::rawView(dstImg);
        const OFX::RawView s = OFX::rawView(srcImg);
        if (plan.copyOnly) {
            const RECT r = OFX::toRECT(window);
            return QzDibCopyUnscaled(d.base, &d.bounds, d.stride, &r, s.base, &s.bounds, s.stride, &r,
                                     bytesPerPixel);
        }
        return plan.shearRows ? shearBlurShear<true>(plan, window, d, s) : shearBlurShear<false>(plan, window, d, s);
    }

private:
    static PIX* at(const OFX::RawView& v, int x, int y) {
        return reinterpret_cast<PIX*>(static_cast<char*>(v.base) + static_cast<intptr_t>(y) * v.stride +
                                      static_cast<intptr_t>(x) * bytesPerPixelOf());
    }
    static constexpr int32_t bytesPerPixelOf() { return sizeof(PIX) * 4; }

    // Lines are columns when shearing rows (each column moves up by its
    // offset) and rows otherwise (each row moves right). Line j of n moves
    // by j * shear / n, or by that of line n - 1 - j when reversed.
    template <bool shearRows>
    int shearBlurShear(const LinearPlan& plan, const OfxRectI& window, const OFX::RawView& d,
                       const OFX::RawView& s) {
        const int width = window.x2 - window.x1, height = window.y2 - window.y1;
        const int lines = shearRows ? width : height;
        const int along = shearRows ? height : width;
        const int extra = static_cast<int>((plan.shear + kShearOne - 1) >> kShearBits);
        const int scratchWidth = shearRows ? width : width + extra;
        const int scratchHeight = shearRows ? height + extra : height;
        const int scratchAlong = along + extra;

        std::vector<int> whole(lines);
        std::vector<int32_t> fraction(lines);
        for (int j = 0; j < lines; ++j) {
            const int64_t k = plan.reversed ? lines - 1 - j : j;
            const int64_t offset = k * plan.shear / lines;
            whole[j] = static_cast<int>(offset >> kShearBits);
            fraction[j] = static_cast<int32_t>(offset & (kShearOne - 1));
        }

        // The source within the window, in window coordinates; outside it
        // reads as zero, as the scratch image starts.
        const int sx1 = std::max(window.x1, static_cast<int>(s.bounds.left)) - window.x1;
        const int sx2 = std::min(window.x2, static_cast<int>(s.bounds.right)) - window.x1;
        const int sy1 = std::max(window.y1, static_cast<int>(s.bounds.top)) - window.y1;
        const int sy2 = std::min(window.y2, static_cast<int>(s.bounds.bottom)) - window.y1;
        static const PIX zero[4] = {};
        auto source = [&](int x, int y) -> const PIX* {
            if (x < sx1 || x >= sx2 || y < sy1 || y >= sy2) return zero;
            return at(s, window.x1 + x, window.y1 + y);
        };

        std::vector<PIX> scratch(static_cast<std::size_t>(scratchWidth) * scratchHeight * 4, PIX{});
        auto scratchAt = [&](int x, int y) { return scratch.data() + (static_cast<std::size_t>(y) * scratchWidth + x) * 4; };

        // Forward: scratch sample k of line j is the source at k less the
        // line's offset, between two neighbours.
        for (int y = 0; y < scratchHeight; ++y) {
            if ((y & 63) == 0 && effect.abort()) return 1;
            for (int x = 0; x < scratchWidth; ++x) {
                const int j = shearRows ? x : y;
                const int k = (shearRows ? y : x) - whole[j];
                if (k < 0 || k > along) continue;
                const PIX* a = shearRows ? source(x, k) : source(k, y);
                const PIX* b = shearRows ? source(x, k - 1) : source(k - 1, y);
                PIX* o = scratchAt(x, y);
                for (int c = 0; c < 4; ++c) o[c] = shearMix(a[c], b[c], fraction[j]);
            }
        }

        const RECT sb{0, 0, scratchWidth, scratchHeight};
        const int32_t scratchStride = scratchWidth * bytesPerPixelOf();
        const HRESULT hr = QzDibGaussianBlur(scratch.data(), &sb, scratchStride, &sb, scratch.data(), &sb,
                                             scratchStride, &sb, plan.hRadius, plan.vRadius, bytesPerPixelOf());
        if (hr < 0) return hr;

        // Back: output sample k of line j is the scratch at k plus the
        // line's offset. The second neighbour is read only when it weighs.
        const int dx1 = std::max(window.x1, static_cast<int>(d.bounds.left));
        const int dx2 = std::min(window.x2, static_cast<int>(d.bounds.right));
        const int dy1 = std::max(window.y1, static_cast<int>(d.bounds.top));
        const int dy2 = std::min(window.y2, static_cast<int>(d.bounds.bottom));
        for (int wy = dy1; wy < dy2; ++wy) {
            if (((wy - dy1) & 63) == 0 && effect.abort()) return 1;
            PIX* out = at(d, dx1, wy);
            const int y = wy - window.y1;
            for (int wx = dx1; wx < dx2; ++wx, out += 4) {
                const int x = wx - window.x1;
                const int j = shearRows ? x : y;
                const int k = (shearRows ? y : x) + whole[j];
                const PIX* a = shearRows ? scratchAt(x, k) : scratchAt(k, y);
                const int32_t f = fraction[j];
                if (f == 0 || k + 1 >= scratchAlong) {
                    for (int c = 0; c < 4; ++c) out[c] = a[c];
                } else {
                    const PIX* b = shearRows ? scratchAt(x, k + 1) : scratchAt(k + 1, y);
                    for (int c = 0; c < 4; ++c) out[c] = shearMix(a[c], b[c], f);
                }
            }
        }
        return 0;
    }
};

struct linearblur {
    static constexpr const OFX::EffectDeclaration& declaration = kLinearBlur;
    static constexpr const auto& params = kParams;
    static constexpr bool wholeWindow = true;
    using Values = linearblurValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kAngle.value(p, args.time), kAmount.value(p, args.time), args.renderScale};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = linearblurProcessor<PIX, nComponents, max, isBGRA>;
};

using linearblurPluginFactory = OFX::EffectFactory<linearblur>;
using linearblurPlugin = OFX::EffectPlugin<linearblur>;

const OFX::EffectRegistration<linearblur> registration;

}  // namespace
