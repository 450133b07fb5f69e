// Checkerboard: a grid of tiles in two colours with soft, anti-aliased tile
// edges. Tile sizes are fractions of the frame, the soft bands fractions of
// a tile; the byte path mixes in 16.16 fixed point.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>

#include "Effect.h"
#include "QzRound.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kCheckerboard{
    "talvo.effects:checkerboard", "TALVO Checkerboard", "TALVO", OFX::eContextGenerator, 1240,
    "{DB10DAB1-5247-4194-B666-E076AD51BE19}",
};

// Fractions of the frame's width and height; the smallest is still at least
// one pixel once drawn.
constexpr OFX::GroupRow kTileDimensions{.name = "TileDimensions", .label = "Tile dimensions"};
constexpr OFX::DoubleRow kTileWidth{
    .name = "TileDimensionsWidth",
    .label = "Width",
    .scriptName = "tiledimensionswidth",
    .defaultValue = 0.1,
    .min = 0.001,
    .group = &kTileDimensions,
};
constexpr OFX::DoubleRow kTileHeight{
    .name = "TileDimensionsHeight",
    .label = "Height",
    .scriptName = "tiledimensionsheight",
    .defaultValue = 0.1,
    .min = 0.001,
    .group = &kTileDimensions,
};
constexpr OFX::BooleanRow kTileSquare{
    .name = "TileDimensionsSquare",
    .label = "Square",
    .scriptName = "tiledimensionssquare",
    .defaultValue = true,
    .group = &kTileDimensions,
};
// Fractions of a tile.
constexpr OFX::GroupRow kEdgeBlending{.name = "EdgeBlending", .label = "Edge blending"};
constexpr OFX::DoubleRow kBlendHorizontal{
    .name = "EdgeBlendingHorizontal",
    .label = "Horizontal",
    .scriptName = "edgeblendinghorizontal",
    .group = &kEdgeBlending,
};
constexpr OFX::DoubleRow kBlendVertical{
    .name = "EdgeBlendingVertical",
    .label = "Vertical",
    .scriptName = "edgeblendingvertical",
    .group = &kEdgeBlending,
};
constexpr OFX::BooleanRow kBlendProportional{
    .name = "EdgeBlendingProportional",
    .label = "Proportional",
    .scriptName = "edgeblendingproportional",
    .defaultValue = true,
    .group = &kEdgeBlending,
};
constexpr OFX::RGBARow kColor1{.name = "Color1", .label = "Color 1", .scriptName = "color1"};
constexpr OFX::RGBARow kColor2{
    .name = "Color2",
    .label = "Color 2",
    .scriptName = "color2",
    .defaultValue = {1.0, 1.0, 1.0, 1.0},
};
// Fractions of the frame.
constexpr OFX::GroupRow kGridOffset{.name = "GridOffset", .label = "Grid offset"};
constexpr OFX::DoubleRow kGridOffsetX{
    .name = "GridOffsetX", .label = "X", .scriptName = "gridoffsetx", .group = &kGridOffset};
constexpr OFX::DoubleRow kGridOffsetY{
    .name = "GridOffsetY", .label = "Y", .scriptName = "gridoffsety", .group = &kGridOffset};

constexpr OFX::ParamTable kParams{
    kTileDimensions, kTileWidth,       kTileHeight,    kTileSquare,
    kEdgeBlending,   kBlendHorizontal, kBlendVertical, kBlendProportional,
    kColor1,         kColor2,
    kGridOffset,     kGridOffsetX,     kGridOffsetY,
};

// The parameters at the render time, in the order of the panel.
struct checkerboardValues {
    double tileWidth;
    double tileHeight;
    bool square;
    double blendHorizontal;
    double blendVertical;
    bool proportional;
    std::array<double, 4> color1;  // red, green, blue, alpha
    std::array<double, 4> color2;
    double offsetX;
    double offsetY;
};

using checkerboardProcessorBase = OFX::EffectProcessorBase<checkerboardValues>;

// The mixing weights are 16.16 fixed point: 65536 is the whole of the second
// colour of a mix.
constexpr int kWeightOne = 65536;
// Note: written as the decimal it has always been; as a float it is exactly
// 1/65536.
constexpr float kInverseWeightOne = 1.5258789e-5f;

// The grid in pixels of the render window: tile size, soft half-widths,
// their inverse scales and the offset. Worked out once per render, for the
// processor and the kernels alike.
struct Geometry {
    float tw, th;
    float sx, sy;
    float ix, iy;
    float ox, oy;
};

Geometry gridGeometry(const checkerboardValues& v, int width, int height, float pixelAspect) {
    Geometry g{};
    g.tw = static_cast<float>(v.tileWidth) * static_cast<float>(width);
    g.th = static_cast<float>(v.tileHeight) * static_cast<float>(height);
    if (v.square) g.th = g.tw * pixelAspect;
    // A tile is never narrower than one square pixel, nor lower than one row.
    const float squarePixel = 1.0f / pixelAspect;
    if (squarePixel > g.tw) {
        g.th = g.th * squarePixel / g.tw;
        g.tw = squarePixel;
    }
    if (g.th < 1.0f) {
        g.tw = g.tw / g.th;
        g.th = 1.0f;
    }
    // Half a pixel at least: the anti-aliasing of a hard edge.
    g.sx = std::max(0.5f, static_cast<float>(v.blendHorizontal) * g.tw * 0.5f);
    g.sy = std::max(0.5f, static_cast<float>(v.blendVertical) * g.th * 0.5f);
    // Crossing a soft band (2s wide) moves the weight through all of 65536.
    g.ix = 32768.0f / g.sx;
    g.iy = 32768.0f / g.sy;
    g.ox = static_cast<float>(v.offsetX) * static_cast<float>(width);
    g.oy = static_cast<float>(v.offsetY) * static_cast<float>(height);
    return g;
}

// The grid over a window of the output image. A pixel aspect ratio that is
// not a positive number would make the tile width meaningless; such a host
// gets square pixels.
Geometry gridGeometry(const checkerboardValues& v, const OFX::Image& output, int width, int height) {
    const double aspect = output.getPixelAspectRatio();
    const float pixelAspect = aspect > 0.0 && std::isfinite(aspect) ? static_cast<float>(aspect) : 1.0f;
    return gridGeometry(v, width, height, pixelAspect);
}

// The tile index of a position: the floor taken as a truncation, corrected
// by one where the truncation lies beyond the position.
int tileIndex(float position, float size) {
    int i = qz::truncToInt32(position / size);
    if (static_cast<float>(i) * size > position) --i;
    return i;
}

// A colour premultiplied by its own alpha, in the pixel's own scale and the
// order's memory layout.
template <class PIX, int isBGRA>
std::array<PIX, 4> premultiplied(const std::array<double, 4>& rgba) {
    constexpr int kRed = isBGRA ? 2 : 0;
    constexpr int kBlue = isBGRA ? 0 : 2;
    const float alpha = static_cast<float>(rgba[3]);
    const float straight[4] = {static_cast<float>(rgba[0]) * alpha, static_cast<float>(rgba[1]) * alpha,
                               static_cast<float>(rgba[2]) * alpha, alpha};
    const int position[4] = {kRed, 1, kBlue, 3};
    std::array<PIX, 4> p{};
    for (int c = 0; c < 4; ++c) {
        if constexpr (std::is_same_v<PIX, unsigned char>)
            p[position[c]] = static_cast<unsigned char>(qz::truncToInt32(straight[c] * 255.0f));
        else
            p[position[c]] = straight[c];
    }
    return p;
}

template <class PIX, int nComponents, int max, int isBGRA>
class checkerboardProcessor : public checkerboardProcessorBase {
public:
    using checkerboardProcessorBase::checkerboardProcessorBase;

    // Each row is worked out from its place in the whole render window
    // alone, so the host's threads can draw bands of rows apart.
    int multiThreadProcessImages(OfxRectI band) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        // An output that does not cover the window is left alone rather
        // than drawn with a shifted grid.
        if (!OFX::windowInside(renderWindow, dstImg)) return 0;
        const int width = renderWindow.x2 - renderWindow.x1;
        const int height = renderWindow.y2 - renderWindow.y1;
        const Geometry g = gridGeometry(values, *dstImg, width, height);
        const Pixel a = premultiplied<PIX, isBGRA>(values.color1);
        const Pixel b = premultiplied<PIX, isBGRA>(values.color2);

        // Note: rows are counted from the window's first row in memory and
        // measured from the opposite end, so the grid starts at the top of
        // the picture. Each row is addressed through the image's own row
        // address; on the packed images the host hands over this is the
        // window-width step the pattern was drawn with.
        for (int y = band.y1; y < band.y2; ++y) {
            if (effect.abort()) return 1;
            const int r = y - renderWindow.y1;
            const float Y = static_cast<float>(height - r - 1) + 0.5f - g.oy;
            const int iy0 = tileIndex(Y, g.th);
            const float y0 = static_cast<float>(iy0) * g.th + g.sy;
            const float y1 = static_cast<float>(iy0 + 1) * g.th - g.sy;
            const RowPair pair = rowPair(a, b, g, Y, y0, y1);
            drawRow(static_cast<PIX*>(dstImg->getPixelAddress(renderWindow.x1, y)), width, g, iy0, pair);
        }
        return 0;
    }

private:
    static constexpr int kBytesPerPixel = sizeof(PIX) * 4;
    static constexpr bool kBytes = std::is_same_v<PIX, unsigned char>;
    using Pixel = std::array<PIX, 4>;

    struct RowPair {
        Pixel odd, even;
    };

    // The row's two colours. Clear of the vertical soft bands they are the
    // parameters; inside a band the weight t runs from 0 at the band's inner
    // edge to 32768 at the tile edge.
    // Note: inside a band the odd colour is weighted toward A, while clear
    // rows have B as odd colour, so the inner edge of a vertical soft band
    // steps to the other colour and fades back to the even mix at the tile
    // edge. Kept deliberately: it is the effect's established look.
    static RowPair rowPair(const Pixel& a, const Pixel& b, const Geometry& g, float Y, float y0, float y1) {
        if (y0 <= Y && Y < y1) return {b, a};
        const int t = Y < y0 ? qz::truncToInt32((y0 - Y) * g.iy + 0.5f) : qz::truncToInt32((Y - y1) * g.iy + 0.5f);
        RowPair pair{};
        if constexpr (kBytes) {
            for (int c = 0; c < 4; ++c) {
                const int odd = a[c] * (kWeightOne - t) + b[c] * t;
                const int even = a[c] * t + b[c] * (kWeightOne - t);
                pair.odd[c] = static_cast<unsigned char>(qz::truncToInt32(static_cast<float>(odd) * kInverseWeightOne));
                pair.even[c] =
                    static_cast<unsigned char>(qz::truncToInt32(static_cast<float>(even) * kInverseWeightOne));
            }
        } else {
            const float f = static_cast<float>(t) / kWeightOne;
            for (int c = 0; c < 4; ++c) {
                pair.odd[c] = a[c] * (1.0f - f) + b[c] * f;
                pair.even[c] = a[c] * f + b[c] * (1.0f - f);
            }
        }
        return pair;
    }

    // Mixes c toward d by the weight w of 65536.
    static void mix(PIX* out, const Pixel& c, const Pixel& d, int w) {
        if constexpr (kBytes) {
            for (int k = 0; k < 4; ++k) out[k] = static_cast<unsigned char>((c[k] * (kWeightOne - w) + d[k] * w) >> 16);
        } else {
            const float f = static_cast<float>(w) / kWeightOne;
            for (int k = 0; k < 4; ++k) out[k] = c[k] * (1.0f - f) + d[k] * f;
        }
    }

    // Walks the row tile by tile: the soft band on the tile's left edge
    // (which also covers the right edge of the tile before), then the clear
    // run, written as whole pixels.
    static void drawRow(PIX* out, int width, const Geometry& g, int iy0, const RowPair& pair) {
        float X = 0.5f - g.ox;
        int ix = tileIndex(X, g.tw);
        float x0 = static_cast<float>(ix) * g.tw + g.sx;
        float x1 = static_cast<float>(ix + 1) * g.tw - g.sx;
        int remaining = width;
        while (remaining > 0) {
            const bool odd = ((ix + iy0) & 1) != 0;
            const Pixel& c = odd ? pair.odd : pair.even;
            const Pixel& d = odd ? pair.even : pair.odd;
            for (; X < x0 && remaining > 0; X += 1.0f, --remaining, out += 4)
                mix(out, c, d, qz::truncToInt32((x0 - X) * g.ix + 0.5f));
            for (; X < x1 && remaining > 0; X += 1.0f, --remaining, out += 4)
                std::memcpy(out, c.data(), kBytesPerPixel);
            ++ix;
            x0 += g.tw;
            x1 += g.tw;
        }
    }
};

constexpr std::string_view kKernelText =
#include "checkerboard.cl.inc"
    ;

// A colour as the kernels take it: the processor's premultiplied pixel for
// the render's depth and order, bytes as whole-number floats.
template <class PIX, int isBGRA>
cl_float4 kernelColour(const std::array<double, 4>& rgba) {
    const std::array<PIX, 4> p = premultiplied<PIX, isBGRA>(rgba);
    return cl_float4{{static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
                      static_cast<float>(p[3])}};
}

class checkerboardPlugin;

struct checkerboard {
    static constexpr const OFX::EffectDeclaration& declaration = kCheckerboard;
    static constexpr const auto& params = kParams;
    using Values = checkerboardValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        const double t = args.time;
        return {kTileWidth.value(p, t),       kTileHeight.value(p, t),    kTileSquare.value(p, t),
                kBlendHorizontal.value(p, t), kBlendVertical.value(p, t), kBlendProportional.value(p, t),
                kColor1.value(p, t),          kColor2.value(p, t),        kGridOffsetX.value(p, t),
                kGridOffsetY.value(p, t)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = checkerboardProcessor<PIX, nComponents, max, isBGRA>;
    using Plugin = checkerboardPlugin;

    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"kffcacd37b", "kb88b75a9c"})};
    // The output, then the grid as five pairs: tile size, soft half-widths,
    // inverse scales, offset, and the window's width and height
    // (whole-number floats) for the kernel's guard; then the two colours.
    static void launch(OFX::OpenCLEffectProcessor<checkerboard>& cl, const Values& v) {
        const OFX::Image& output = cl.output();
        if (!OFX::windowInside(cl.window(), &output)) return;
        const cl_int width = cl.windowWidth();
        const cl_int height = cl.windowHeight();
        const Geometry g = gridGeometry(v, output, width, height);
        const cl_float2 tile{{g.tw, g.th}};
        const cl_float2 soft{{g.sx, g.sy}};
        const cl_float2 scale{{g.ix, g.iy}};
        const cl_float2 offset{{g.ox, g.oy}};
        const cl_float2 size{{static_cast<float>(width), static_cast<float>(height)}};
        const bool bgra = cl.pixelOrderBGRA();
        using Colour = cl_float4 (*)(const std::array<double, 4>&);
        const Colour colour = cl.floatOutput() ? (bgra ? kernelColour<float, 1> : kernelColour<float, 0>)
                                               : (bgra ? kernelColour<unsigned char, 1>
                                                       : kernelColour<unsigned char, 0>);
        cl.launch(cl.kernelIndex(), cl.dst(), tile, soft, scale, offset, size, colour(v.color1), colour(v.color2));
    }
};

// Whatever changed: a square tile takes its height from its width, a
// proportional blend its vertical part from the horizontal, and the copied
// parameter is locked while its switch is on.
class checkerboardPlugin : public OFX::EffectPlugin<checkerboard> {
public:
    using OFX::EffectPlugin<checkerboard>::EffectPlugin;

    void changedParam(const OFX::InstanceChangedArgs&, const std::string&) override {
        const bool square = kTileSquare.param(*this).getValue();
        const bool proportional = kBlendProportional.param(*this).getValue();
        OFX::DoubleParam& height = kTileHeight.param(*this);
        OFX::DoubleParam& vertical = kBlendVertical.param(*this);
        if (square) height.setValue(kTileWidth.param(*this).getValue());
        if (proportional) vertical.setValue(kBlendHorizontal.param(*this).getValue());
        height.setEnabled(!square);
        vertical.setEnabled(!proportional);
    }
};

using checkerboardPluginFactory = OFX::EffectFactory<checkerboard>;
using checkerboardOpenCLProcessor = OFX::OpenCLEffectProcessor<checkerboard>;

const OFX::EffectRegistration<checkerboard> registration;

}  // namespace
