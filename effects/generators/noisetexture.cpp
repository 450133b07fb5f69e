// Noise Texture: a fractal sum of improved gradient noise, shaped by one of
// seven styles and mapped between two colours. There is no seed: the same
// parameters always give the same picture, and time enters only through the
// progress parameter, the noise's third coordinate.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "LaunchSize.h"
#include "OpenCLProcessor.h"
#include "QzRound.h"
#include "RawView.h"
#include "noisetexture_tables.h"

namespace {

// The kernels carry their own copy of the lattice tables and the styles.
constexpr std::string_view kKernelText =
#include "noisetexture.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds the weights kernels for byte and float outputs, then the
// colours kernels for byte and float outputs.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k75723b28f", "kd3fc1b89e", "kb95048b6d", "k9754a2578"}));

const OFX::EffectDeclaration kNoiseTexture{
    "talvo.effects:noisetexture", "TALVO Noise Texture", "TALVO", OFX::eContextGenerator, 1220, "{2CCDA29D-FBD5-4E5D-AA1B-B82EA7FBED51}",
};

constexpr const char* kNoiseStyleParam = "NoiseStyle";
constexpr const char* kNumberOfLayersParam = "NumberOfLayers";
constexpr const char* kSwapColorsParam = "Swapcolors";
constexpr const char* kColor1Param = "Color1";
constexpr const char* kColor2Param = "Color2";
constexpr const char* kFrequencyGroup = "Frequency";
constexpr const char* kFrequencyXParam = "FrequencyX";
constexpr const char* kFrequencyYParam = "FrequencyY";
constexpr const char* kOffsetGroup = "Offset";
constexpr const char* kOffsetXParam = "OffsetX";
constexpr const char* kOffsetYParam = "OffsetY";
// Note: despite its name the progress is no angle but the noise's third
// coordinate; animating it makes the texture evolve.
constexpr const char* kProgressParam = "OffsetprogressinDegrees";
constexpr const char* kNoiseParametersGroup = "NoiseParameters";
constexpr const char* kMinParam = "NoiseParametersMin";
constexpr const char* kMaxParam = "NoiseParametersMax";
constexpr const char* kBiasParam = "NoiseParametersBias";
constexpr const char* kAmplitudeParam = "NoiseParametersAmplitude";
constexpr const char* kFalloffParam = "NoiseParametersGrainAmplitudeFalloff";

constexpr std::array<const char*, 7> kStyleLabels{
    "Fractal - smooth", "Fractal - turbulent", "Marble - light grain", "Marble - heavy grain",
    "Jagged lines",     "Contours",            "Rings",
};

// How a style turns the row of summed noise into a weight between the two
// colours: the noise itself, bands across x whose phase the noise bends
// (marble, lines, contours), or rings around the noise's level lines.
enum class Shaping { Fractal, Bands, Rings };

// A style's shaping, whether each layer counts by its magnitude only, and
// the shaping's constants. The constants are single-precision numbers used
// after widening to double: 0.9 means the float nearest 0.9.
struct Style {
    Shaping shaping;
    bool absolute;
    float f[5];
};

constexpr std::array<Style, kStyleLabels.size()> kStyles{{
    {Shaping::Fractal, false, {}},
    {Shaping::Fractal, true, {}},
    {Shaping::Bands, true, {0.9f, 0.15f, 0.4f, 1.2f, 0.1f}},
    {Shaping::Bands, true, {0.05f, 0.9f, 1.3f, 0.0f, 0.0f}},
    {Shaping::Bands, true, {0.6f, 0.0f, 0.2f, 0.5f, 0.1f}},
    {Shaping::Bands, false, {1.0f, 0.0f, 1.5f, 0.5f, 0.05f}},
    {Shaping::Rings, false, {4.0f}},
}};

// The weight of the second colour is 16.16 fixed point: 65536 is all of it.
constexpr int32_t kWeightOne = 65536;
constexpr double kWeightScale = 65536.0;

// The largest whole number of layers the slider offers; the last layer's
// weight may still fade in behind it, hence one more slot.
constexpr int kMaxLayers = 5;
// A layer whose weight is not above this adds nothing visible; it ends the
// sum, with all the finer layers behind it.
constexpr double kLayerCutoff = 0.01;

// Improved gradient noise seldom strays beyond +-0.66: 1 / 0.66 spreads its
// practical range to about -1..1.
constexpr double kNoiseSpread = 1.5151515151515151;
// Shifts every coordinate far into the positive range, so that the lattice
// floor never meets a negative number. The extra quarter on z keeps a whole
// progress value off a lattice plane, where gradient noise would vanish.
constexpr double kShiftXY = 1000000.0;
constexpr double kShiftZ = 1000000.25;

// The permutation twice over, so that a hash plus a lattice index below 256
// needs no mask.
constexpr std::array<int16_t, 512> kHash = [] {
    std::array<int16_t, 512> p{};
    for (int i = 0; i < 512; ++i) p[i] = noisetexture::kPermutation[i & 255];
    return p;
}();

// The library's floor: the rounding idiom on v - 0.499999985. A value less
// than 1.5e-8 below a whole number counts as that number.
int32_t floorByRounding(double v) {
    const double t = (v - 0.499999985) + 6755399441055744.0;
    uint64_t bits;
    std::memcpy(&bits, &t, sizeof bits);
    return static_cast<int32_t>(static_cast<uint32_t>(bits));
}

double fade(double t) { return ((t * 6.0 - 15.0) * t + 10.0) * (t * t * t); }

double lerp(double t, double a, double b) { return t * (b - a) + a; }

double square(double v) { return v * v; }

// The part of the lattice that stays put along one row of one layer: the
// hashes of the four (y, z) edges of the row's cells and the row's position
// inside them.
struct RowLattice {
    int yz00, yz10, yz01, yz11;
    double fy, fz;
    double sy, sz;  // fade(fy), fade(fz)
};

// One cell of a row: the noise on the lattice planes x = X and x = X + 1,
// each already interpolated over y and z, and what each gains per pixel.
// Along x a plane's value is linear, so the summed gains follow it up to
// rounding.
struct Cell {
    double n0, n1, i0, i1;
};

// A plane of a cell: the four corner values, with ox the point's distance
// from the plane along x, and the gradients' x components, both interpolated
// over y, then z.
void plane(const RowLattice& l, int x, double ox, double& value, double& slope) {
    const float* g00 = noisetexture::kGradients[kHash[l.yz00 + x]];
    const float* g10 = noisetexture::kGradients[kHash[l.yz10 + x]];
    const float* g01 = noisetexture::kGradients[kHash[l.yz01 + x]];
    const float* g11 = noisetexture::kGradients[kHash[l.yz11 + x]];
    auto dot = [ox](const float* g, double oy, double oz) { return g[0] * ox + g[1] * oy + g[2] * oz; };
    value = lerp(l.sz, lerp(l.sy, dot(g00, l.fy, l.fz), dot(g10, l.fy - 1.0, l.fz)),
                 lerp(l.sy, dot(g01, l.fy, l.fz - 1.0), dot(g11, l.fy - 1.0, l.fz - 1.0)));
    slope = lerp(l.sz, lerp(l.sy, g00[0], g10[0]), lerp(l.sy, g01[0], g11[0]));
}

Cell cellAt(const RowLattice& l, int x, double fx, double dx) {
    Cell c{};
    plane(l, x & 255, fx, c.n0, c.i0);
    plane(l, (x + 1) & 255, fx - 1.0, c.n1, c.i1);
    c.i0 *= dx;
    c.i1 *= dx;
    return c;
}

// Adds one layer of noise along a row: the point (x, y, z) moves by dx per
// pixel. The hashes and corner gradients are taken once per cell; inside a
// cell each pixel costs a fade and two additions.
template <bool absolute>
void addNoiseRow(double* row, int count, double x, double y, double z, double dx, double amplitude) {
    x += kShiftXY;
    y += kShiftXY;
    z += kShiftZ;
    int32_t X = floorByRounding(x);
    const int32_t Y = floorByRounding(y);
    const int32_t Z = floorByRounding(z);
    double fx = x - X;
    const double fy = y - Y;
    const double fz = z - Z;
    const int y0 = Y & 255;
    const int z0 = kHash[Z & 255];
    const int z1 = kHash[(Z + 1) & 255];
    const RowLattice l{kHash[z0 + y0], kHash[z0 + y0 + 1], kHash[z1 + y0], kHash[z1 + y0 + 1],
                       fy,             fz,                 fade(fy),       fade(fz)};
    const double scale = amplitude * kNoiseSpread;
    Cell c = cellAt(l, X, fx, dx);
    for (int i = 0; i < count; ++i) {
        double n = (fade(fx) * (c.n1 - c.n0) + c.n0) * scale;
        if constexpr (absolute) n = std::fabs(n);
        row[i] += n;
        fx += dx;
        if (fx >= 1.0) {
            const int32_t whole = floorByRounding(fx);
            X += whole;
            fx -= whole;
            c = cellAt(l, X, fx, dx);
        } else {
            c.n0 += c.i0;
            c.n1 += c.i1;
        }
    }
}

// The weights of the octaves: each the falloff times the one before, and
// the last of a fractional count faded in by the fraction, so that a whole
// number of layers leaves it at 0.
struct Layers {
    double weight[kMaxLayers + 1] = {};
    int count = 0;  // the layers drawn
    double sum = 0.0;
};

Layers layerWeights(double layers, double falloff) {
    const double whole = std::floor(layers);
    // Beyond the slider's range there are no slots; such a count is held to
    // its ends.
    const int n = std::clamp(static_cast<int>(whole), 0, kMaxLayers);
    Layers l;
    l.weight[0] = 1.0;
    for (int i = 1; i <= n; ++i) l.weight[i] = falloff * l.weight[i - 1];
    l.weight[n] *= layers - whole;
    while (l.count <= n && l.weight[l.count] > kLayerCutoff) l.sum += l.weight[l.count++];
    return l;
}

// The parameters at the render time, in the order of the panel.
struct NoiseValues {
    int style = 0;
    double layers = 1.0;
    bool swap = false;
    double color1[4] = {0.0, 0.0, 0.0, 1.0};  // red, green, blue, alpha
    double color2[4] = {1.0, 1.0, 1.0, 1.0};
    double frequencyX = 10.0;
    double frequencyY = 10.0;
    double offsetX = 0.0;
    double offsetY = 0.0;
    double progress = 0.0;
    double min = 0.0;
    double max = 1.0;
    double bias = 0.0;
    double amplitude = 1.0;
    double falloff = 0.5;
};

class noisetextureProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setValues(const NoiseValues& v) { values = v; }

    // The rows are counted from the window's first row and the noise's
    // vertical position follows from the row number, so a band of a
    // threaded split would restart the texture: the whole window is drawn
    // in one call.
    void multiThread(unsigned int) override { OFX::ImageProcessor::multiThread(1); }

protected:
    NoiseValues values;

    // The weight mapping shared by every shaping: k scales a shaped value of
    // 0..1 to 16.16, base is where it starts. Min at or above Max gives the
    // flat mix of their middle.
    struct Mapping {
        double k, base;
    };

    Mapping mapping() const {
        Mapping m{};
        if (values.min >= values.max) {
            m.k = 0.0;
            m.base = ((values.min + values.max) * 0.5 * values.amplitude + values.bias) * kWeightScale;
        } else {
            m.k = values.amplitude / (values.max - values.min) * kWeightScale;
            m.base = values.bias * kWeightScale - values.min * m.k;
        }
        // Note: the half is added here although the weight is later rounded
        // to nearest as well, so weights land half a step (plus the idiom's
        // 1.5e-8 bias) above the plain mapping: an exact 0.5 becomes 1.
        m.base += 0.5;
        return m;
    }

    // Sums the drawn layers of noise along row y (height - 1 at the window's
    // first row in memory) into row, which holds width zeros. Each layer doubles the frequency
    // and the position, the progress included.
    void addLayers(double* row, int width, int y, const Layers& layers, bool absolute) const {
        double dx = (1.0 / width) * values.frequencyX;
        double x = values.offsetX * values.frequencyX;
        // The vertical position is measured in widths, in float, so the
        // noise is as fine across as down on a frame that is not square.
        double ny = (static_cast<double>(static_cast<float>(y) / static_cast<float>(width)) + values.offsetY) *
                    values.frequencyY;
        double z = values.progress;
        for (int i = 0; i < layers.count; ++i) {
            if (absolute)
                addNoiseRow<true>(row, width, x, ny, z, dx, layers.weight[i]);
            else
                addNoiseRow<false>(row, width, x, ny, z, dx, layers.weight[i]);
            x += x;
            ny += ny;
            z += z;
            dx += dx;
        }
    }
};

template <class PIX, int nComponents, int max, int isBGRA>
class noisetextureProcessor : public noisetextureProcessorBase {
public:
    using noisetextureProcessorBase::noisetextureProcessorBase;

    int multiThreadProcessImages(OfxRectI window) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        // The host's output covers the render window; anything less is left
        // alone rather than drawn with shifted rows.
        const OfxRectI inside = OFX::clipToImage(window, dstImg);
        if (inside.x1 != window.x1 || inside.y1 != window.y1 || inside.x2 != window.x2 || inside.y2 != window.y2)
            return 0;
        const int width = window.x2 - window.x1;
        const int height = window.y2 - window.y1;
        const Style& style = kStyles[std::clamp(values.style, 0, static_cast<int>(kStyles.size()) - 1)];
        const Layers layers = layerWeights(values.layers, values.falloff);
        const Mapping map = mapping();
        setColours();

        // Note: rows are counted from the window's first row in memory and
        // measured from the opposite end, so the texture starts at the top
        // of the picture. Each row is addressed through the image's own row
        // address; on the packed images the host hands over this is the
        // window-width step the texture was drawn with.
        for (int r = 0; r < height; ++r) {
            if (effect.abort()) return 1;
            // A row that cannot be had ends the drawing quietly; the rows
            // below stay as the host gave them.
            const std::unique_ptr<double[]> row(new (std::nothrow) double[width]());
            if (!row) return 0;
            const int y = height - r - 1;
            addLayers(row.get(), width, y, layers, style.absolute);
            PIX* out = static_cast<PIX*>(dstImg->getPixelAddress(window.x1, window.y1 + r));
            switch (style.shaping) {
                case Shaping::Fractal:
                    mapFractal(row.get(), out, width, style, layers.sum, map);
                    break;
                case Shaping::Bands:
                    mapBands(row.get(), out, width, y, style, layers.sum, map);
                    break;
                case Shaping::Rings:
                    mapRings(row.get(), out, width, style, layers.sum, map);
                    break;
            }
        }
        return 0;
    }

private:
    static constexpr int kBytesPerPixel = sizeof(PIX) * 4;

    // The two colours premultiplied, in double; E0 is drawn at weight 0.
    double e0[4] = {};
    double e1[4] = {};

    // Note: the parameter's red goes to the first component in memory in
    // both pixel orders, as in Checkerboard; on BGRA clips red and blue
    // trade places.
    void setColours() {
        const double(&first)[4] = values.swap ? values.color2 : values.color1;
        const double(&second)[4] = values.swap ? values.color1 : values.color2;
        for (int c = 0; c < 4; ++c) {
            e0[c] = c == 3 ? first[3] : first[c] * first[3];
            e1[c] = c == 3 ? second[3] : second[c] * second[3];
        }
    }

    // Writes the mix at weight t of 65536, alpha mixed like the colours.
    // Only 0..65536 stands: whole weight 65536 is exactly E1.
    void store(PIX* out, int32_t t) const {
        const double f = std::clamp(t, 0, kWeightOne) / kWeightScale;
        for (int c = 0; c < 4; ++c) {
            const double v = e1[c] * f + e0[c] * (1.0 - f);
            if constexpr (std::is_same_v<PIX, unsigned char>)
                out[c] = static_cast<unsigned char>(qz::truncToInt32(v * 255.0 + 0.5));
            else
                out[c] = static_cast<float>(v);
        }
    }

    // The noise mapped straight; a signed sum spans twice the sum of the
    // weights, centred on the mapping's middle.
    void mapFractal(const double* row, PIX* out, int width, const Style& style, double sum, Mapping map) const {
        if (!style.absolute) {
            sum += sum;
            map.base += map.k * 0.5;
        }
        const double m = map.k / sum;
        for (int x = 0; x < width; ++x, out += 4) store(out, qz::roundBiased(m * row[x] + map.base));
    }

    // Vertical bands across x, one per 1 / f0 of the frequency, whose phase
    // the noise bends (by f2 per unit of noise); f1 slants them with y, and
    // f3, f4 add a triangular ripple down the frame. Each band is a parabola
    // from 0 at its edges to 1 at its middle.
    void mapBands(const double* row, PIX* out, int width, int y, const Style& style, double sum,
                  const Mapping& map) const {
        const double f0 = style.f[0], f1 = style.f[1], f2 = style.f[2], f3 = style.f[3], f4 = style.f[4];
        const double w = width;
        const double a = f2 * sum;
        const double b = f0 * (values.frequencyX / w);
        double c = (w * values.offsetY + y) * (values.frequencyY / w) * f1;
        if (f3 > 0.0) {
            const double v = ((values.offsetY - 1000.0) * w + y) * (values.frequencyY / w) * f3;
            const double fr = v - floorByRounding(v);
            c += f4 * (fr < 0.5 ? 1.0 - square(fr * 4.0 - 1.0) : square(fr * 4.0 - 3.0) - 1.0);
        }
        const double d = w * values.offsetX * b + c;
        for (int x = 0; x < width; ++x, out += 4) {
            const double v = a * row[x] + x * b + d;
            const double e = 2.0 * (v - floorByRounding(v)) - 1.0;
            store(out, qz::roundBiased((1.0 - e * e) * map.k + map.base));
        }
    }

    // Rings around the noise's level lines, f0 per unit of noise: a
    // periodic profile of two parabolas that meet at 1, from 0 to 2.
    void mapRings(const double* row, PIX* out, int width, const Style& style, double sum, const Mapping& map) const {
        const double a = style.f[0] * sum;
        const double m = map.k * 0.5;
        for (int x = 0; x < width; ++x, out += 4) {
            const double v = (row[x] + 2.0) * a;
            const double fr = v - floorByRounding(v);
            const double u = fr * 4.0;
            const double e = fr < 0.5 ? 2.0 - square(u - 1.0) : square(u - 3.0);
            store(out, qz::roundBiased(e * m + map.base));
        }
    }
};

class noisetextureOpenCLProcessor : public OpenCLProcessor<noisetextureProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    // Two kernels in turn on the host's in-order queue: the weights, one
    // work item per row (the noise is summed along a row incrementally, as
    // the processor does), into the output buffer itself; then the colours,
    // one work item per pixel, from the weights in the output buffer to the
    // output buffer. The six vectors hold every parameter (see the kernel
    // text) and are the same for both; the colours are in memory order, red
    // first in both pixel orders.
    void process() override {
        if (!dstImg) return;
        // The host's output covers the render window; anything less is left
        // alone rather than drawn with shifted rows.
        const OfxRectI& b = dstImg->getBounds();
        const OfxRectI& w = renderWindow;
        if (w.x1 < b.x1 || w.y1 < b.y1 || w.x2 > b.x2 || w.y2 > b.y2) return;
        const cl_int width = windowWidth();
        const cl_int height = windowHeight();
        if (width <= 0 || height <= 0) return;

        const NoiseValues& v = values;
        const int style = std::clamp(v.style, 0, static_cast<int>(kStyles.size()) - 1);
        const cl_float4 colour0 = straight(v.swap ? v.color2 : v.color1);
        const cl_float4 colour1 = straight(v.swap ? v.color1 : v.color2);
        const cl_float4 p0 = floats(v.frequencyX, v.frequencyY, v.offsetX, v.offsetY);
        const cl_float4 p1 = floats(v.progress, v.min, v.max, v.bias);
        const cl_float4 p2 = floats(v.amplitude, v.falloff, v.layers, style);
        const cl_float4 p3 = floats(width, height, 0.0, 0.0);

        // Both kernels take their arguments before either is enqueued, so a
        // refused argument launches nothing and leaves the output as the
        // host gave it.
        const int depth = floatOutput() ? 1 : 0;
        const cl_mem out = buffer(dstImg);
        const std::size_t weightsIndex = depth;
        const std::size_t coloursIndex = 2 + depth;
        const cl_kernel weights = openCL.kernel(weightsIndex);
        const cl_kernel colours = openCL.kernel(coloursIndex);
        OpenCLBinding& binding = openCL.binding();
        if (!setKernelArgs(binding, weights, out, colour0, colour1, p0, p1, p2, p3)) return;
        if (!setKernelArgs(binding, colours, out, out, colour0, colour1, p0, p1, p2, p3)) return;
        const std::size_t rows[2] = {1, static_cast<std::size_t>(height)};
        const std::size_t pixels[2] = {static_cast<std::size_t>(width), static_cast<std::size_t>(height)};
        launchKernel(binding, clQueue, weights, openCL.launchCache(weightsIndex), rows);
        launchKernel(binding, clQueue, colours, openCL.launchCache(coloursIndex), pixels);
    }

private:
    static cl_float4 floats(double a, double b, double c, double d) {
        return cl_float4{{static_cast<float>(a), static_cast<float>(b), static_cast<float>(c), static_cast<float>(d)}};
    }
    static cl_float4 straight(const double (&rgba)[4]) { return floats(rgba[0], rgba[1], rgba[2], rgba[3]); }
};

class noisetexturePlugin : public OFX::ImageEffect {
public:
    explicit noisetexturePlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          dstClip(fetchClip(OFX::kOutputClip)),
          noiseStyle(fetchChoiceParam(kNoiseStyleParam)),
          numberOfLayers(fetchDoubleParam(kNumberOfLayersParam)),
          swapColors(fetchBooleanParam(kSwapColorsParam)),
          color1(fetchRGBAParam(kColor1Param)),
          color2(fetchRGBAParam(kColor2Param)),
          frequencyX(fetchDoubleParam(kFrequencyXParam)),
          frequencyY(fetchDoubleParam(kFrequencyYParam)),
          offsetX(fetchDoubleParam(kOffsetXParam)),
          offsetY(fetchDoubleParam(kOffsetYParam)),
          progress(fetchDoubleParam(kProgressParam)),
          noiseMin(fetchDoubleParam(kMinParam)),
          noiseMax(fetchDoubleParam(kMaxParam)),
          bias(fetchDoubleParam(kBiasParam)),
          amplitude(fetchDoubleParam(kAmplitudeParam)),
          falloff(fetchDoubleParam(kFalloffParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<noisetextureOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<noisetextureProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void setupAndProcess(noisetextureProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setRenderWindow(args.renderWindow);
        const double t = args.time;
        NoiseValues v;
        v.style = noiseStyle->getValueAtTime(t);
        v.layers = numberOfLayers->getValueAtTime(t);
        v.swap = swapColors->getValueAtTime(t);
        color1->getValueAtTime(t, v.color1[0], v.color1[1], v.color1[2], v.color1[3]);
        color2->getValueAtTime(t, v.color2[0], v.color2[1], v.color2[2], v.color2[3]);
        v.frequencyX = frequencyX->getValueAtTime(t);
        v.frequencyY = frequencyY->getValueAtTime(t);
        v.offsetX = offsetX->getValueAtTime(t);
        v.offsetY = offsetY->getValueAtTime(t);
        v.progress = progress->getValueAtTime(t);
        v.min = noiseMin->getValueAtTime(t);
        v.max = noiseMax->getValueAtTime(t);
        v.bias = bias->getValueAtTime(t);
        v.amplitude = amplitude->getValueAtTime(t);
        v.falloff = falloff->getValueAtTime(t);
        processor.setValues(v);
        processor.process();
    }

private:
    OFX::Clip* dstClip;
    OFX::ChoiceParam* noiseStyle;
    OFX::DoubleParam* numberOfLayers;
    OFX::BooleanParam* swapColors;
    OFX::RGBAParam* color1;
    OFX::RGBAParam* color2;
    OFX::DoubleParam* frequencyX;
    OFX::DoubleParam* frequencyY;
    OFX::DoubleParam* offsetX;
    OFX::DoubleParam* offsetY;
    OFX::DoubleParam* progress;
    OFX::DoubleParam* noiseMin;
    OFX::DoubleParam* noiseMax;
    OFX::DoubleParam* bias;
    OFX::DoubleParam* amplitude;
    OFX::DoubleParam* falloff;
};

class noisetexturePluginFactory : public OFX::PluginFactoryHelper<noisetexturePluginFactory> {
public:
    noisetexturePluginFactory()
        : OFX::PluginFactoryHelper<noisetexturePluginFactory>("talvo.effects:noisetexture", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kNoiseTexture); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum) override {
        OFX::defineGeneratorOutput(desc);
        OFX::ChoiceParamDescriptor* style = desc.defineChoiceParam(kNoiseStyleParam);
        style->setLabels("Noise style", "Noise style", "Noise style");
        style->setScriptName("noisestyle");
        for (const char* label : kStyleLabels) style->appendOption(label);
        style->setAnimates(true);
        OFX::defineSlider(desc, {kNumberOfLayersParam, "Number of layers", "numberoflayers", 1.0, 1.0, 5.0, 0.1});
        OFX::BooleanParamDescriptor* swap = desc.defineBooleanParam(kSwapColorsParam);
        swap->setLabels("Swap colors", "Swap colors", "Swap colors");
        swap->setScriptName("swapcolors");
        swap->setDefault(false);
        swap->setAnimates(true);
        OFX::defineColor(desc, kColor1Param, "Color 1", "color1", 0.0);
        OFX::defineColor(desc, kColor2Param, "Color 2", "color2", 1.0);
        // Cells across the frame's width; the vertical is measured in widths
        // too.
        const OFX::GroupParamDescriptor& frequency = *OFX::defineGroup(desc, kFrequencyGroup, "Frequency");
        OFX::defineSlider(desc, {kFrequencyXParam, "X", "frequencyx", 10.0, 0.001, 30.0, 0.1}, frequency);
        OFX::defineSlider(desc, {kFrequencyYParam, "Y", "frequencyy", 10.0, 0.001, 30.0, 0.1}, frequency);
        // Frame widths; the progress moves through the noise's third axis.
        const OFX::GroupParamDescriptor& offset = *OFX::defineGroup(desc, kOffsetGroup, "Offset");
        OFX::defineSlider(desc, {kOffsetXParam, "X", "offsetx", 0.0, -5.0, 5.0, 0.1}, offset);
        OFX::defineSlider(desc, {kOffsetYParam, "Y", "offsety", 0.0, -5.0, 5.0, 0.1}, offset);
        OFX::defineSlider(
            desc, {kProgressParam, "Progress (in degrees)", "offsetprogressindegrees", 0.0, 0.0, 10.0, 0.1}, offset);
        const OFX::GroupParamDescriptor& noise = *OFX::defineGroup(desc, kNoiseParametersGroup, "Noise parameters");
        OFX::defineSlider(desc, {kMinParam, "Min", "noiseparametersmin", 0.0, 0.0, 1.0, 0.1}, noise);
        OFX::defineSlider(desc, {kMaxParam, "Max", "noiseparametersmax", 1.0, 0.0, 1.0, 0.1}, noise);
        OFX::defineSlider(desc, {kBiasParam, "Bias", "noiseparametersbias", 0.0, -1.0, 1.0, 0.1}, noise);
        OFX::defineSlider(desc, {kAmplitudeParam, "Amplitude", "noiseparametersamplitude", 1.0, 0.0, 10.0, 0.1},
                            noise);
        OFX::defineSlider(desc,
                            {kFalloffParam, "Grain (amplitude falloff)", "noiseparametersgrainamplitudefalloff", 0.5,
                             0.0, 1.0, 0.1},
                            noise);
        OFX::finishEffectDescription(desc, kNoiseTexture);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new noisetexturePlugin(handle);
    }
};

const OFX::FactoryRegistration<noisetexturePluginFactory> registration;

}  // namespace
