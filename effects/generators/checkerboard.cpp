// Checkerboard: a grid of tiles in two colours with soft, anti-aliased tile
// edges. Tile sizes are fractions of the frame, the soft bands fractions of
// a tile; the byte path mixes in 16.16 fixed point.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "OpenCLProcessor.h"
#include "QzRound.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "checkerboard.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds a byte and a float kernel, in this order.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"kffcacd37b", "kb88b75a9c"}));

const OFX::EffectDeclaration kCheckerboard{
    "talvo.effects:checkerboard", "TALVO Checkerboard", "TALVO", OFX::eContextGenerator, 1240, "{DB10DAB1-5247-4194-B666-E076AD51BE19}",
};

constexpr const char* kTileDimensionsGroup = "TileDimensions";
constexpr const char* kTileWidthParam = "TileDimensionsWidth";
constexpr const char* kTileHeightParam = "TileDimensionsHeight";
constexpr const char* kTileSquareParam = "TileDimensionsSquare";
constexpr const char* kEdgeBlendingGroup = "EdgeBlending";
constexpr const char* kBlendHorizontalParam = "EdgeBlendingHorizontal";
constexpr const char* kBlendVerticalParam = "EdgeBlendingVertical";
constexpr const char* kBlendProportionalParam = "EdgeBlendingProportional";
constexpr const char* kColor1Param = "Color1";
constexpr const char* kColor2Param = "Color2";
constexpr const char* kGridOffsetGroup = "GridOffset";
constexpr const char* kGridOffsetXParam = "GridOffsetX";
constexpr const char* kGridOffsetYParam = "GridOffsetY";

// The mixing weights are 16.16 fixed point: 65536 is the whole of the second
// colour of a mix.
constexpr int kWeightOne = 65536;
// Note: written as the decimal it has always been; as a float it is exactly
// 1/65536.
constexpr float kInverseWeightOne = 1.5258789e-5f;

// The parameters at the render time, in the order of the panel.
struct CheckerboardValues {
    double tileWidth = 0.1;
    double tileHeight = 0.1;
    bool square = true;
    double blendHorizontal = 0.0;
    double blendVertical = 0.0;
    bool proportional = true;
    double color1[4] = {0.0, 0.0, 0.0, 1.0};  // red, green, blue, alpha
    double color2[4] = {1.0, 1.0, 1.0, 1.0};
    double offsetX = 0.0;
    double offsetY = 0.0;
};

// The grid in pixels of the render window: tile size, soft half-widths,
// their inverse scales and the offset.
struct Geometry {
    float tw, th;
    float sx, sy;
    float ix, iy;
    float ox, oy;
};

Geometry gridGeometry(const CheckerboardValues& v, int width, int height, float pixelAspect) {
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

// The tile index of a position: the floor taken as a truncation, corrected
// by one where the truncation lies beyond the position.
int tileIndex(float position, float size) {
    int i = qz::truncToInt32(position / size);
    if (static_cast<float>(i) * size > position) --i;
    return i;
}

// A colour premultiplied by its own alpha, in the pixel's own scale.
// Note: the parameter's red goes to the first component in memory in both
// pixel orders, unlike Solid Color; on BGRA clips red and blue trade places.
template <class PIX>
std::array<PIX, 4> premultiplied(const double (&rgba)[4]) {
    const float alpha = static_cast<float>(rgba[3]);
    std::array<PIX, 4> p{};
    for (int c = 0; c < 4; ++c) {
        const float v = c == 3 ? alpha : static_cast<float>(rgba[c]) * alpha;
        if constexpr (std::is_same_v<PIX, unsigned char>)
            p[c] = static_cast<unsigned char>(qz::truncToInt32(v * 255.0f));
        else
            p[c] = v;
    }
    return p;
}

class checkerboardProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setValues(const CheckerboardValues& v) { values = v; }

    // The rows are counted from the window's first row, so a band of a
    // threaded split would restart the pattern: the whole window is drawn
    // in one call.
    void multiThread(unsigned int) override { OFX::ImageProcessor::multiThread(1); }

protected:
    CheckerboardValues values;

    // Whether the host's output covers the window; anything less is left
    // alone rather than drawn with a shifted grid.
    // (Read from the bounds: an OpenCL render's image has no pixels here.)
    bool coversWindow(const OfxRectI& window) const {
        const OfxRectI& b = dstImg->getBounds();
        return b.x1 <= window.x1 && b.y1 <= window.y1 && window.x2 <= b.x2 && window.y2 <= b.y2;
    }

    Geometry geometry(int width, int height) const {
        // A pixel aspect ratio that is not a positive number would make the
        // tile width meaningless; such a host gets square pixels.
        const double aspect = dstImg->getPixelAspectRatio();
        const float pixelAspect = aspect > 0.0 && std::isfinite(aspect) ? static_cast<float>(aspect) : 1.0f;
        return gridGeometry(values, width, height, pixelAspect);
    }
};

template <class PIX, int nComponents, int max, int isBGRA>
class checkerboardProcessor : public checkerboardProcessorBase {
public:
    using checkerboardProcessorBase::checkerboardProcessorBase;

    int multiThreadProcessImages(OfxRectI window) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        if (!coversWindow(window)) return 0;
        const int width = window.x2 - window.x1;
        const int height = window.y2 - window.y1;
        const Geometry g = geometry(width, height);
        const Pixel a = premultiplied<PIX>(values.color1);
        const Pixel b = premultiplied<PIX>(values.color2);

        // Note: rows are counted from the window's first row in memory and
        // measured from the opposite end, so the grid starts at the top of
        // the picture. Each row is addressed through the image's own row
        // address; on the packed images the host hands over this is the
        // window-width step the pattern was drawn with.
        for (int r = 0; r < height; ++r) {
            if (effect.abort()) return 1;
            const float Y = static_cast<float>(height - r - 1) + 0.5f - g.oy;
            const int iy0 = tileIndex(Y, g.th);
            const float y0 = static_cast<float>(iy0) * g.th + g.sy;
            const float y1 = static_cast<float>(iy0 + 1) * g.th - g.sy;
            const RowPair pair = rowPair(a, b, g, Y, y0, y1);
            drawRow(static_cast<PIX*>(dstImg->getPixelAddress(window.x1, window.y1 + r)), width, g, iy0, pair);
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

class checkerboardOpenCLProcessor : public OpenCLProcessor<checkerboardProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    // The grid is worked out here as the processor does, and goes over as
    // five pairs: tile size, soft half-widths, inverse scales, offset, and
    // the window's width and height (whole-number floats) for the kernel's
    // guard. The colours go over in memory order, the same for both pixel
    // orders, and in the output's own scale.
    void process() override {
        if (!dstImg) return;
        if (!coversWindow(renderWindow)) return;
        const cl_int width = windowWidth();
        const cl_int height = windowHeight();
        const Geometry g = geometry(width, height);
        const cl_float2 tile{{g.tw, g.th}};
        const cl_float2 soft{{g.sx, g.sy}};
        const cl_float2 scale{{g.ix, g.iy}};
        const cl_float2 offset{{g.ox, g.oy}};
        const cl_float2 size{{static_cast<float>(width), static_cast<float>(height)}};
        if (floatOutput()) {
            launchOverWindow(openCL, 1, buffer(dstImg), tile, soft, scale, offset, size, colour<float>(values.color1),
                             colour<float>(values.color2));
        } else {
            launchOverWindow(openCL, 0, buffer(dstImg), tile, soft, scale, offset, size,
                             colour<unsigned char>(values.color1), colour<unsigned char>(values.color2));
        }
    }

private:
    template <class PIX>
    static cl_float4 colour(const double (&rgba)[4]) {
        const std::array<PIX, 4> p = premultiplied<PIX>(rgba);
        return cl_float4{{static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2]),
                          static_cast<float>(p[3])}};
    }
};

class checkerboardPlugin : public OFX::ImageEffect {
public:
    explicit checkerboardPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          dstClip(fetchClip(OFX::kOutputClip)),
          tileWidth(fetchDoubleParam(kTileWidthParam)),
          tileHeight(fetchDoubleParam(kTileHeightParam)),
          tileSquare(fetchBooleanParam(kTileSquareParam)),
          blendHorizontal(fetchDoubleParam(kBlendHorizontalParam)),
          blendVertical(fetchDoubleParam(kBlendVerticalParam)),
          blendProportional(fetchBooleanParam(kBlendProportionalParam)),
          color1(fetchRGBAParam(kColor1Param)),
          color2(fetchRGBAParam(kColor2Param)),
          gridOffsetX(fetchDoubleParam(kGridOffsetXParam)),
          gridOffsetY(fetchDoubleParam(kGridOffsetYParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<checkerboardOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<checkerboardProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    // Whatever changed: a square tile takes its height from its width, a
    // proportional blend its vertical part from the horizontal, and the
    // copied parameter is locked while its switch is on.
    void changedParam(const OFX::InstanceChangedArgs&, const std::string&) override {
        const bool square = tileSquare->getValue();
        const bool proportional = blendProportional->getValue();
        if (square) tileHeight->setValue(tileWidth->getValue());
        if (proportional) blendVertical->setValue(blendHorizontal->getValue());
        tileHeight->setEnabled(!square);
        blendVertical->setEnabled(!proportional);
    }

    void setupAndProcess(checkerboardProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setRenderWindow(args.renderWindow);
        const double t = args.time;
        CheckerboardValues v;
        v.tileWidth = tileWidth->getValueAtTime(t);
        v.tileHeight = tileHeight->getValueAtTime(t);
        v.square = tileSquare->getValueAtTime(t);
        v.blendHorizontal = blendHorizontal->getValueAtTime(t);
        v.blendVertical = blendVertical->getValueAtTime(t);
        v.proportional = blendProportional->getValueAtTime(t);
        color1->getValueAtTime(t, v.color1[0], v.color1[1], v.color1[2], v.color1[3]);
        color2->getValueAtTime(t, v.color2[0], v.color2[1], v.color2[2], v.color2[3]);
        v.offsetX = gridOffsetX->getValueAtTime(t);
        v.offsetY = gridOffsetY->getValueAtTime(t);
        processor.setValues(v);
        processor.process();
    }

private:
    OFX::Clip* dstClip;
    OFX::DoubleParam* tileWidth;
    OFX::DoubleParam* tileHeight;
    OFX::BooleanParam* tileSquare;
    OFX::DoubleParam* blendHorizontal;
    OFX::DoubleParam* blendVertical;
    OFX::BooleanParam* blendProportional;
    OFX::RGBAParam* color1;
    OFX::RGBAParam* color2;
    OFX::DoubleParam* gridOffsetX;
    OFX::DoubleParam* gridOffsetY;
};

void defineSwitch(OFX::ImageEffectDescriptor& desc, const char* name, const char* label, const char* scriptName,
                  const OFX::GroupParamDescriptor& group) {
    OFX::BooleanParamDescriptor* param = desc.defineBooleanParam(name);
    param->setLabels(label, label, label);
    param->setScriptName(scriptName);
    param->setDefault(true);
    param->setAnimates(true);
    param->setParent(group);
}

class checkerboardPluginFactory : public OFX::PluginFactoryHelper<checkerboardPluginFactory> {
public:
    checkerboardPluginFactory()
        : OFX::PluginFactoryHelper<checkerboardPluginFactory>("talvo.effects:checkerboard", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kCheckerboard); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum) override {
        OFX::defineGeneratorOutput(desc);
        // Fractions of the frame's width and height; the smallest is still
        // at least one pixel once drawn.
        const OFX::GroupParamDescriptor& tiles = *OFX::defineGroup(desc, kTileDimensionsGroup, "Tile dimensions");
        OFX::defineSlider(desc, {kTileWidthParam, "Width", "tiledimensionswidth", 0.1, 0.001, 1.0, 0.1}, tiles);
        OFX::defineSlider(desc, {kTileHeightParam, "Height", "tiledimensionsheight", 0.1, 0.001, 1.0, 0.1}, tiles);
        defineSwitch(desc, kTileSquareParam, "Square", "tiledimensionssquare", tiles);
        // Fractions of a tile.
        const OFX::GroupParamDescriptor& blending = *OFX::defineGroup(desc, kEdgeBlendingGroup, "Edge blending");
        OFX::defineSlider(desc, {kBlendHorizontalParam, "Horizontal", "edgeblendinghorizontal", 0.0, 0.0, 1.0, 0.1},
                            blending);
        OFX::defineSlider(desc, {kBlendVerticalParam, "Vertical", "edgeblendingvertical", 0.0, 0.0, 1.0, 0.1},
                            blending);
        defineSwitch(desc, kBlendProportionalParam, "Proportional", "edgeblendingproportional", blending);
        OFX::defineColor(desc, kColor1Param, "Color 1", "color1", 0.0);
        OFX::defineColor(desc, kColor2Param, "Color 2", "color2", 1.0);
        // Fractions of the frame.
        const OFX::GroupParamDescriptor& offset = *OFX::defineGroup(desc, kGridOffsetGroup, "Grid offset");
        OFX::defineSlider(desc, {kGridOffsetXParam, "X", "gridoffsetx", 0.0, 0.0, 1.0, 0.1}, offset);
        OFX::defineSlider(desc, {kGridOffsetYParam, "Y", "gridoffsety", 0.0, 0.0, 1.0, 0.1}, offset);
        OFX::finishEffectDescription(desc, kCheckerboard);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new checkerboardPlugin(handle);
    }
};

const OFX::FactoryRegistration<checkerboardPluginFactory> registration;

}  // namespace
