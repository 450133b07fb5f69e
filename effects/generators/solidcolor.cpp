// Solid Color: fills the frame with one premultiplied colour.
#include <array>
#include <cstring>
#include <type_traits>

#include "Effect.h"
#include "QzRound.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kSolidColor{
    "talvo.effects:solidcolor", "TALVO Solid Color", "TALVO", OFX::eContextGenerator, 1310,
    "{D9DD0DFC-274F-45A7-B874-3D2BCFA61FE9}",
};

// A fresh Solid Color is transparent black, the standard's default colour.
constexpr OFX::RGBARow kColor{
    .name = "Color",
    .scriptName = "color",
    .defaultValue = {0.0, 0.0, 0.0, 0.0},
};

constexpr OFX::ParamTable kParams{kColor};

struct solidcolorValues {
    std::array<double, 4> color;  // red, green, blue, alpha
};

using solidcolorProcessorBase = OFX::EffectProcessorBase<solidcolorValues>;

// The colour premultiplied, as one pixel of the order's memory layout.
// Bytes are the products in double, in this order, truncated; a value
// outside 0..1 keeps the low byte of its truncation.
template <class PIX, int isBGRA>
std::array<PIX, 4> premultiplied(const std::array<double, 4>& rgba) {
    constexpr int kRed = isBGRA ? 2 : 0;
    constexpr int kBlue = isBGRA ? 0 : 2;
    const double red = rgba[0], green = rgba[1], blue = rgba[2], alpha = rgba[3];
    std::array<PIX, 4> p{};
    if constexpr (std::is_same_v<PIX, unsigned char>) {
        p[kBlue] = static_cast<unsigned char>(qz::truncToInt32(blue * 255.0 * alpha));
        p[1] = static_cast<unsigned char>(qz::truncToInt32(green * 255.0 * alpha));
        p[kRed] = static_cast<unsigned char>(qz::truncToInt32(red * 255.0 * alpha));
        p[3] = static_cast<unsigned char>(qz::truncToInt32(alpha * 255.0));
    } else {
        p[kBlue] = static_cast<float>(alpha * blue);
        p[1] = static_cast<float>(alpha * green);
        p[kRed] = static_cast<float>(alpha * red);
        p[3] = static_cast<float>(alpha);
    }
    return p;
}

template <class PIX, int nComponents, int max, int isBGRA>
class solidcolorProcessor : public solidcolorProcessorBase {
public:
    using solidcolorProcessorBase::solidcolorProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        const Pixel pixel = premultiplied<PIX, isBGRA>(values.color);
        return OFX::forEachRow<PIX>(effect, dstImg, OFX::clipToImage(procWindow, dstImg),
                                    [&](PIX* out, int n) { fillRow(out, pixel, n); });
    }

private:
    static constexpr int kBytesPerPixel = sizeof(PIX) * 4;
    using Pixel = std::array<PIX, 4>;

    // Four pixels a step, then the rest.
    static void fillRow(PIX* out, const Pixel& pixel, int n) {
        for (; n >= 4; n -= 4, out += 16) {
            std::memcpy(out, pixel.data(), kBytesPerPixel);
            std::memcpy(out + 4, pixel.data(), kBytesPerPixel);
            std::memcpy(out + 8, pixel.data(), kBytesPerPixel);
            std::memcpy(out + 12, pixel.data(), kBytesPerPixel);
        }
        for (; n > 0; --n, out += 4) std::memcpy(out, pixel.data(), kBytesPerPixel);
    }
};

constexpr std::string_view kKernelText =
#include "solidcolor.cl.inc"
    ;

// The pixel as the kernels store it: the processor's own pixel for the
// render's depth and order, bytes as whole-number floats (their products
// are taken in double, which a float argument could not repeat).
template <class PIX, int isBGRA>
cl_float4 kernelPixel(const std::array<double, 4>& rgba) {
    const std::array<PIX, 4> p = premultiplied<PIX, isBGRA>(rgba);
    return cl_float4{{static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
                      static_cast<float>(p[3])}};
}

struct solidcolor {
    static constexpr const OFX::EffectDeclaration& declaration = kSolidColor;
    static constexpr const auto& params = kParams;
    using Values = solidcolorValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kColor.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = solidcolorProcessor<PIX, nComponents, max, isBGRA>;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"kef81dd488", "k38927195c"})};
    // The output, the pixel in memory order, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<solidcolor>& cl, const Values& v) {
        const bool bgra = cl.pixelOrderBGRA();
        const cl_float4 pixel = cl.floatOutput()
                                    ? (bgra ? kernelPixel<float, 1>(v.color) : kernelPixel<float, 0>(v.color))
                                    : (bgra ? kernelPixel<unsigned char, 1>(v.color)
                                            : kernelPixel<unsigned char, 0>(v.color));
        cl.launch(cl.kernelIndex(), cl.dst(), pixel, cl.windowWidth(), cl.windowHeight());
    }
};

using solidcolorPluginFactory = OFX::EffectFactory<solidcolor>;
using solidcolorPlugin = OFX::EffectPlugin<solidcolor>;
using solidcolorOpenCLProcessor = OFX::OpenCLEffectProcessor<solidcolor>;

const OFX::EffectRegistration<solidcolor> registration;

}  // namespace
