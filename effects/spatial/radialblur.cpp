// Radial Blur: a recursive blur outward from a centre. Each pixel mixes with
// a pixel nearer the centre in the output already blurred, so streaks grow
// from the centre outward; the four quadrants are scanned one after the
// other, and the scan order is part of the picture.
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "Effect.h"
#include "RawView.h"

namespace {

// No help topic of its own is known: 0.
constexpr OFX::EffectDeclaration kRadialBlur{
    .identifier = "talvo.effects:radialblur",
    .label = "TALVO Radial Blur",
    .group = "TALVO\\Blur",
    .context = OFX::eContextFilter,
    .helpContextID = 0,
    .upliftGUID = "{B6DEE028-D0BE-4A5A-8EFC-8C53B39618F9}",
};

constexpr OFX::Double2DRow kCenter{
    .name = "Center", .label = "Center", .scriptName = "center", .defaultValue = {0.5, 0.5}};
constexpr OFX::ChoiceRow kType{.name = "Type",
                               .label = "Type",
                               .scriptName = "type",
                               .options = {"Proportional", "Fixed radius", "Gaussian"}};
// The strength keeps the row's 0 to 1: below 0 its powers are undefined,
// and above 1 the kept share of the sample would exceed the whole.
constexpr OFX::DoubleRow kStrength{.name = "Strength", .label = "Strength", .scriptName = "strength"};

constexpr OFX::ParamTable kParams{kCenter, kType, kStrength};

enum RadialType { eProportional = 0, eFixedRadius = 1, eGaussian = 2 };

struct radialblurValues {
    std::array<double, 2> center;
    int type;
    double strength;
    // Bilinear sampling for good and best renders. It is read per render
    // rather than kept in one variable for the process, so that two renders
    // of different quality at once cannot race on it.
    bool highQuality;
};

using radialblurProcessorBase = OFX::EffectProcessorBase<radialblurValues>;

// What one render does, from the values and the size of its window.
struct RadialPlan {
    int cx, cy;
    bool proportional;
    double fixedStep;
    double propStep;
    // 16.16 weights of the sample nearer the centre and of the source.
    int keep, add;
};

RadialPlan planFor(const radialblurValues& v, int width, int height) {
    RadialPlan p{};
    p.cx = static_cast<int>(width * v.center[0]);
    p.cy = static_cast<int>(height * v.center[1]);
    if (p.cx == width) --p.cx;
    if (p.cy == height) --p.cy;
    // Centres beyond the range (a host may not hold to it) stay inside.
    p.cx = std::clamp(p.cx, 0, width - 1);
    p.cy = std::clamp(p.cy, 0, height - 1);
    // The blur follows the picture's size: 300 pixels on the shorter side is
    // the unit.
    const double s = std::min(width, height) / 300.0;
    const double strength = std::clamp(v.strength, 0.0, 1.0);
    p.proportional = v.type == eProportional;
    p.fixedStep = strength * strength;
    // On small pictures the proportional step could carry the sample past
    // the centre (and out of the window); it stops at the centre.
    p.propStep = std::min(std::pow(strength, 1.5) * 0.018 / s, 1.0);
    p.keep = static_cast<int>(std::pow(std::pow(strength, 1.0 / s), 0.25) * 65536);
    p.add = 65536 - p.keep;
    return p;
}

// The scan reads what it wrote anywhere nearer the centre, so the processor
// takes the whole window in one call (the trait below says so to the frame).
// The centre and the size unit are the window's.
template <class PIX, int nComponents, int max, int isBGRA>
class radialblurProcessor : public radialblurProcessorBase {
public:
    using radialblurProcessorBase::radialblurProcessorBase;

    int multiThreadProcessImages(OfxRectI window) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI area = OFX::clipToImage(OFX::clipToImage(window, dstImg), srcImg);
        const int width = area.x2 - area.x1, height = area.y2 - area.y1;
        if (width <= 0 || height <= 0) return 0;
        if (effect.abort()) return 1;
        origin_ = static_cast<PIX*>(dstImg->getPixelAddress(area.x1, area.y1));
        srcOrigin_ = static_cast<const PIX*>(srcImg->getPixelAddress(area.x1, area.y1));
        stride_ = dstImg->getRowBytes() / static_cast<std::ptrdiff_t>(sizeof(PIX));
        srcStride_ = srcImg->getRowBytes() / static_cast<std::ptrdiff_t>(sizeof(PIX));
        width_ = width;
        height_ = height;
        for (int y = 0; y < height; ++y) std::memcpy(at(0, y), source(0, y), std::size_t(width) * bytesPerPixel);
        const RadialPlan plan = planFor(values, width, height);
        if (plan.keep == 0) return 0;
        keepF_ = static_cast<float>(plan.keep / 65536.0);
        addF_ = static_cast<float>(plan.add / 65536.0);
        return values.highQuality ? scan<true>(plan) : scan<false>(plan);
    }

private:
    PIX* origin_ = nullptr;
    const PIX* srcOrigin_ = nullptr;
    std::ptrdiff_t stride_ = 0, srcStride_ = 0;
    int width_ = 0, height_ = 0;
    float keepF_ = 0.0f, addF_ = 1.0f;

    PIX* at(int x, int y) const { return origin_ + y * stride_ + std::ptrdiff_t(x) * 4; }
    const PIX* source(int x, int y) const { return srcOrigin_ + y * srcStride_ + std::ptrdiff_t(x) * 4; }

    // Quadrants in order: up and left, up and right, down and left, down and
    // right; rows outward from the centre's row, and in each row pixels
    // outward from its column. The centre's row and column go with the
    // first quadrants, which leaves the centre itself as the source.
    template <bool bilinear>
    int scan(const RadialPlan& p) {
        const int rowFirst[4] = {p.cy, p.cy, p.cy + 1, p.cy + 1};
        const int rowEnd[4] = {-1, -1, height_, height_};
        const int colFirst[4] = {p.cx, p.cx + 1, p.cx, p.cx + 1};
        const int colEnd[4] = {-1, width_, -1, width_};
        for (int q = 0; q < 4; ++q) {
            const int ys = rowFirst[q] < rowEnd[q] ? 1 : -1, xs = colFirst[q] < colEnd[q] ? 1 : -1;
            if (rowFirst[q] == rowEnd[q] || colFirst[q] == colEnd[q]) continue;
            for (int y = rowFirst[q]; y != rowEnd[q]; y += ys) {
                if (effect.abort()) return 1;
                for (int x = colFirst[q]; x != colEnd[q]; x += xs) {
                    const int dx = p.cx - x, dy = p.cy - y;
                    if (dx == 0 && dy == 0) continue;
                    double sx, sy;
                    if (p.proportional) {
                        sx = x + dx * p.propStep;
                        sy = y + dy * p.propStep;
                    } else {
                        const double d = std::sqrt(static_cast<double>(dx * dx + dy * dy));
                        if (p.fixedStep + 1.0 >= d) {
                            sx = p.cx;
                            sy = p.cy;
                        } else {
                            const double k = (p.fixedStep + 1.0) / d;
                            sx = x + dx * k;
                            sy = y + dy * k;
                        }
                    }
                    mix<bilinear>(at(x, y), source(x, y), sx, sy, p);
                }
            }
        }
        return 0;
    }

    // The sample lies between the pixel and the centre, so positions are
    // never negative and truncation is the floor.
    template <bool bilinear>
    void mix(PIX* out, const PIX* src, double sx, double sy, const RadialPlan& p) const {
        const int ix = static_cast<int>(sx), iy = static_cast<int>(sy);
        if constexpr (!bilinear) {
            const PIX* sample = at(ix, iy);
            for (int c = 0; c < 4; ++c) out[c] = blend(sample[c], src[c], p);
        } else {
            // Neighbours beyond the window read as zero; one not scanned yet
            // holds the source, as the pixel itself does.
            const int fx = static_cast<int>((sx - ix) * 256), fy = static_cast<int>((sy - iy) * 256);
            const int w[4] = {(256 - fx) * (256 - fy), fx * (256 - fy), (256 - fx) * fy, fx * fy};
            const PIX* n[4] = {neighbour(ix, iy), neighbour(ix + 1, iy), neighbour(ix, iy + 1),
                               neighbour(ix + 1, iy + 1)};
            PIX sample[4];
            for (int c = 0; c < 4; ++c) {
                if constexpr (std::is_floating_point_v<PIX>) {
                    const float sum = ((value(n[0], c) * static_cast<float>(w[0]) +
                                        value(n[1], c) * static_cast<float>(w[1])) +
                                       value(n[2], c) * static_cast<float>(w[2])) +
                                      value(n[3], c) * static_cast<float>(w[3]);
                    sample[c] = sum * (1.0f / 65536.0f);
                } else {
                    const int sum = int(value(n[0], c)) * w[0] + int(value(n[1], c)) * w[1] +
                                    int(value(n[2], c)) * w[2] + int(value(n[3], c)) * w[3];
                    sample[c] = static_cast<PIX>(sum >> 16);
                }
            }
            for (int c = 0; c < 4; ++c) out[c] = blend(sample[c], src[c], p);
        }
    }

    const PIX* neighbour(int x, int y) const {
        return x < width_ && y < height_ ? at(x, y) : nullptr;
    }
    static PIX value(const PIX* n, int c) { return n ? n[c] : PIX(0); }

    PIX blend(PIX sample, PIX src, const RadialPlan& p) const {
        if constexpr (std::is_floating_point_v<PIX>)
            return sample * keepF_ + src * addF_;
        else
            return static_cast<PIX>((int(sample) * p.keep + int(src) * p.add) >> 16);
    }
};

constexpr std::string_view kKernelText =
#include "radialblur.cl.inc"
    ;

// The kernels' arguments. The argument record narrows doubles to floats, so
// the two steps travel as the halves of their bits.
struct radialblurKernelValues {
    int cx, cy;
    bool proportional;
    int fixedHi, fixedLo;
    int alongHi, alongLo;
    int keep, add;
    bool bilinear;
};

radialblurKernelValues kernelValuesFor(const RadialPlan& p, bool bilinear) {
    const auto fixed = std::bit_cast<uint64_t>(p.fixedStep), along = std::bit_cast<uint64_t>(p.propStep);
    return {p.cx,
            p.cy,
            p.proportional,
            static_cast<int>(static_cast<uint32_t>(fixed >> 32)),
            static_cast<int>(static_cast<uint32_t>(fixed)),
            static_cast<int>(static_cast<uint32_t>(along >> 32)),
            static_cast<int>(static_cast<uint32_t>(along)),
            p.keep,
            p.add,
            bilinear};
}

struct radialblur {
    static constexpr const OFX::EffectDeclaration& declaration = kRadialBlur;
    static constexpr const auto& params = kParams;
    static constexpr bool wholeWindow = true;
    using Values = radialblurValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kCenter.value(p, args.time), kType.value(p, args.time), kStrength.value(p, args.time),
                args.renderQuality > OFX::eRenderQualityPreview};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = radialblurProcessor<PIX, nComponents, max, isBGRA>;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"k5e2b9d0a7", "kc81f4a36e"})};

    // One work group (the kernel fixes its size) does the whole window.
    static void launch(OFX::OpenCLEffectProcessor<radialblur>& cl, const Values& v) {
        const int width = cl.windowWidth(), height = cl.windowHeight();
        if (width <= 0 || height <= 0) return;
        const std::size_t index = cl.kernelIndex();
        const cl_kernel kernel = openCL.kernel(index);
        if (!kernel) return;
        const radialblurKernelValues args = kernelValuesFor(planFor(v, width, height), v.highQuality);
        if (!setKernelArgs(openCL.binding(), kernel, cl.src(), cl.dst(), args, width, height)) return;
        const std::size_t global[1] = {64};
        launchKernel(openCL.binding(), cl.queue(), kernel, openCL.launchCache(index), global);
    }
};

using radialblurPluginFactory = OFX::EffectFactory<radialblur>;
using radialblurPlugin = OFX::EffectPlugin<radialblur>;
using radialblurOpenCLProcessor = OFX::OpenCLEffectProcessor<radialblur>;

const OFX::EffectRegistration<radialblur> registration;

}  // namespace
