// Noise Texture: a fractal sum of improved gradient noise, shaped by one of
// seven styles and mapped between two colours. There is no seed: the same
// parameters always give the same picture, and time enters only through the
// progress parameter, the noise's third coordinate.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

#include "Effect.h"
#include "LaunchSize.h"
#include "QzRound.h"
#include "RawView.h"
#include "StripFilter.h"
#include "noisetexture_tables.h"

namespace {

constexpr OFX::EffectDeclaration kNoiseTexture{
    "talvo.effects:noisetexture", "TALVO Noise Texture", "TALVO", OFX::eContextGenerator, 1220,
    "{2CCDA29D-FBD5-4E5D-AA1B-B82EA7FBED51}",
};

constexpr OFX::ChoiceRow kNoiseStyle{
    .name = "NoiseStyle",
    .label = "Noise style",
    .scriptName = "noisestyle",
    .options = {"Fractal - smooth", "Fractal - turbulent", "Marble - light grain", "Marble - heavy grain",
                "Jagged lines", "Contours", "Rings"},
};
constexpr OFX::DoubleRow kNumberOfLayers{
    .name = "NumberOfLayers",
    .label = "Number of layers",
    .scriptName = "numberoflayers",
    .defaultValue = 1.0,
    .min = 1.0,
    .max = 5.0,
};
constexpr OFX::BooleanRow kSwapColors{.name = "Swapcolors", .label = "Swap colors", .scriptName = "swapcolors"};
constexpr OFX::RGBARow kColor1{.name = "Color1", .label = "Color 1", .scriptName = "color1"};
constexpr OFX::RGBARow kColor2{
    .name = "Color2",
    .label = "Color 2",
    .scriptName = "color2",
    .defaultValue = {1.0, 1.0, 1.0, 1.0},
};
// Cells across the frame's width; the vertical is measured in widths too.
constexpr OFX::GroupRow kFrequency{.name = "Frequency"};
constexpr OFX::DoubleRow kFrequencyX{
    .name = "FrequencyX",
    .label = "X",
    .scriptName = "frequencyx",
    .defaultValue = 10.0,
    .min = 0.001,
    .max = 30.0,
    .group = &kFrequency,
};
constexpr OFX::DoubleRow kFrequencyY{
    .name = "FrequencyY",
    .label = "Y",
    .scriptName = "frequencyy",
    .defaultValue = 10.0,
    .min = 0.001,
    .max = 30.0,
    .group = &kFrequency,
};
// Frame widths; the progress moves through the noise's third axis.
constexpr OFX::GroupRow kOffset{.name = "Offset"};
constexpr OFX::DoubleRow kOffsetX{
    .name = "OffsetX", .label = "X", .scriptName = "offsetx", .min = -5.0, .max = 5.0, .group = &kOffset};
constexpr OFX::DoubleRow kOffsetY{
    .name = "OffsetY", .label = "Y", .scriptName = "offsety", .min = -5.0, .max = 5.0, .group = &kOffset};
// Note: despite its name the progress is no angle but the noise's third
// coordinate; animating it makes the texture evolve.
constexpr OFX::DoubleRow kProgress{
    .name = "OffsetprogressinDegrees",
    .label = "Progress (in degrees)",
    .scriptName = "offsetprogressindegrees",
    .max = 10.0,
    .group = &kOffset,
};
constexpr OFX::GroupRow kNoiseParameters{.name = "NoiseParameters", .label = "Noise parameters"};
constexpr OFX::DoubleRow kMin{
    .name = "NoiseParametersMin", .label = "Min", .scriptName = "noiseparametersmin", .group = &kNoiseParameters};
constexpr OFX::DoubleRow kMax{
    .name = "NoiseParametersMax",
    .label = "Max",
    .scriptName = "noiseparametersmax",
    .defaultValue = 1.0,
    .group = &kNoiseParameters,
};
constexpr OFX::DoubleRow kBias{
    .name = "NoiseParametersBias",
    .label = "Bias",
    .scriptName = "noiseparametersbias",
    .min = -1.0,
    .group = &kNoiseParameters,
};
constexpr OFX::DoubleRow kAmplitude{
    .name = "NoiseParametersAmplitude",
    .label = "Amplitude",
    .scriptName = "noiseparametersamplitude",
    .defaultValue = 1.0,
    .max = 10.0,
    .group = &kNoiseParameters,
};
constexpr OFX::DoubleRow kFalloff{
    .name = "NoiseParametersGrainAmplitudeFalloff",
    .label = "Grain (amplitude falloff)",
    .scriptName = "noiseparametersgrainamplitudefalloff",
    .defaultValue = 0.5,
    .group = &kNoiseParameters,
};

constexpr OFX::ParamTable kParams{
    kNoiseStyle,      kNumberOfLayers, kSwapColors, kColor1,   kColor2,
    kFrequency,       kFrequencyX,     kFrequencyY,
    kOffset,          kOffsetX,        kOffsetY,    kProgress,
    kNoiseParameters, kMin,            kMax,        kBias,     kAmplitude, kFalloff,
};

// The parameters at the render time, in the order of the panel.
struct noisetextureValues {
    int style;
    double layers;
    bool swap;
    std::array<double, 4> color1;  // red, green, blue, alpha
    std::array<double, 4> color2;
    double frequencyX;
    double frequencyY;
    double offsetX;
    double offsetY;
    double progress;
    double min;
    double max;
    double bias;
    double amplitude;
    double falloff;
};

using noisetextureProcessorBase = OFX::EffectProcessorBase<noisetextureValues>;

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

constexpr std::array<Style, 7> kStyles{{
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

static_assert(kNoiseStyle.options[kStyles.size() - 1] && !kNoiseStyle.options[kStyles.size()],
              "one style for each option");

// The style of a choice index; an index the panel does not offer is held to
// its ends.
int styleIndex(int style) { return std::clamp(style, 0, static_cast<int>(kStyles.size()) - 1); }

// The weight mapping shared by every shaping: k scales a shaped value of
// 0..1 to 16.16, base is where it starts. Min at or above Max gives the flat
// mix of their middle.
struct Mapping {
    double k, base;
};

Mapping mappingOf(const noisetextureValues& v) {
    Mapping m{};
    if (v.min >= v.max) {
        m.k = 0.0;
        m.base = ((v.min + v.max) * 0.5 * v.amplitude + v.bias) * kWeightScale;
    } else {
        m.k = v.amplitude / (v.max - v.min) * kWeightScale;
        m.base = v.bias * kWeightScale - v.min * m.k;
    }
    // Note: the half is added here although the weight is later rounded to
    // nearest as well, so weights land half a step (plus the idiom's 1.5e-8
    // bias) above the plain mapping: an exact 0.5 becomes 1.
    m.base += 0.5;
    return m;
}

// Sums the drawn layers of noise along the picture's row y (0 at the
// window's last row in memory) into row, which holds width zeros. Each
// layer doubles the frequency and the position, the progress included.
void addLayers(const noisetextureValues& v, double* row, int width, int y, const Layers& layers, bool absolute) {
    double dx = (1.0 / width) * v.frequencyX;
    double x = v.offsetX * v.frequencyX;
    // The vertical position is measured in widths, in float, so the noise
    // is as fine across as down on a frame that is not square.
    double ny = (static_cast<double>(static_cast<float>(y) / static_cast<float>(width)) + v.offsetY) * v.frequencyY;
    double z = v.progress;
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

// The colour drawn at weight 0 and the one at full weight (Color 1 and
// Color 2, traded when swapped), straight, each in the order's memory
// layout: the processor and the kernels both start from these.
struct EndColours {
    std::array<double, 4> first, second;
};

template <int isBGRA>
EndColours endColours(const noisetextureValues& v) {
    constexpr int kRed = isBGRA ? 2 : 0;
    constexpr int kBlue = isBGRA ? 0 : 2;
    const auto inMemory = [](const std::array<double, 4>& rgba) {
        std::array<double, 4> m{};
        m[kRed] = rgba[0];
        m[1] = rgba[1];
        m[kBlue] = rgba[2];
        m[3] = rgba[3];
        return m;
    };
    return {inMemory(v.swap ? v.color2 : v.color1), inMemory(v.swap ? v.color1 : v.color2)};
}

// The two end colours premultiplied, in double, and the pixel of a weight.
template <class PIX>
struct Mix {
    double e0[4], e1[4];

    explicit Mix(const EndColours& c) {
        for (int k = 0; k < 4; ++k) {
            e0[k] = k == 3 ? c.first[3] : c.first[k] * c.first[3];
            e1[k] = k == 3 ? c.second[3] : c.second[k] * c.second[3];
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
};

template <class PIX, int nComponents, int max, int isBGRA>
class noisetextureProcessor : public noisetextureProcessorBase {
public:
    using noisetextureProcessorBase::noisetextureProcessorBase;

    // The noise is walked incrementally along each row only: every row
    // starts its sums afresh from its own place in the whole render window,
    // so the host's threads draw bands of rows apart and each row comes out
    // as a one-thread render draws it.
    int multiThreadProcessImages(OfxRectI band) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        // An output that does not cover the window is left alone rather than
        // drawn with shifted rows.
        if (!OFX::windowInside(renderWindow, dstImg)) return 0;
        const int width = renderWindow.x2 - renderWindow.x1;
        const Style& style = kStyles[styleIndex(values.style)];
        const Layers layers = layerWeights(values.layers, values.falloff);
        const Mapping map = mappingOf(values);
        const Mix<PIX> mix(endColours<isBGRA>(values));
        // The band's row of sums. One that cannot be had leaves the band as
        // the host gave it; no error reaches the host.
        std::vector<double> row;
        try {
            row.resize(static_cast<std::size_t>(width));
        } catch (const std::bad_alloc&) {
            return 0;
        }

        // Note: rows are measured from the window's opposite end in memory,
        // so the texture starts at the top of the picture. Each row is
        // addressed through the image's own row address; on the packed
        // images the host hands over this is the window-width step the
        // texture was drawn with.
        for (int r = band.y1; r < band.y2; ++r) {
            if (effect.abort()) return 1;
            std::fill(row.begin(), row.end(), 0.0);
            const int y = renderWindow.y2 - 1 - r;
            addLayers(values, row.data(), width, y, layers, style.absolute);
            PIX* out = static_cast<PIX*>(dstImg->getPixelAddress(renderWindow.x1, r));
            switch (style.shaping) {
                case Shaping::Fractal:
                    mapFractal(row.data(), out, width, style, layers.sum, map, mix);
                    break;
                case Shaping::Bands:
                    mapBands(row.data(), out, width, y, style, layers.sum, map, mix);
                    break;
                case Shaping::Rings:
                    mapRings(row.data(), out, width, style, layers.sum, map, mix);
                    break;
            }
        }
        return 0;
    }

private:
    static constexpr int kBytesPerPixel = sizeof(PIX) * 4;

    // The noise mapped straight; a signed sum spans twice the sum of the
    // weights, centred on the mapping's middle.
    static void mapFractal(const double* row, PIX* out, int width, const Style& style, double sum, Mapping map,
                           const Mix<PIX>& mix) {
        if (!style.absolute) {
            sum += sum;
            map.base += map.k * 0.5;
        }
        const double m = map.k / sum;
        for (int x = 0; x < width; ++x, out += 4) mix.store(out, qz::roundBiased(m * row[x] + map.base));
    }

    // Vertical bands across x, one per 1 / f0 of the frequency, whose phase
    // the noise bends (by f2 per unit of noise); f1 slants them with y, and
    // f3, f4 add a triangular ripple down the frame. Each band is a parabola
    // from 0 at its edges to 1 at its middle.
    void mapBands(const double* row, PIX* out, int width, int y, const Style& style, double sum, const Mapping& map,
                  const Mix<PIX>& mix) const {
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
            mix.store(out, qz::roundBiased((1.0 - e * e) * map.k + map.base));
        }
    }

    // Rings around the noise's level lines, f0 per unit of noise: a
    // periodic profile of two parabolas that meet at 1, from 0 to 2.
    static void mapRings(const double* row, PIX* out, int width, const Style& style, double sum, const Mapping& map,
                         const Mix<PIX>& mix) {
        const double a = style.f[0] * sum;
        const double m = map.k * 0.5;
        for (int x = 0; x < width; ++x, out += 4) {
            const double v = (row[x] + 2.0) * a;
            const double fr = v - floorByRounding(v);
            const double u = fr * 4.0;
            const double e = fr < 0.5 ? 2.0 - square(u - 1.0) : square(u - 3.0);
            mix.store(out, qz::roundBiased(e * m + map.base));
        }
    }
};

// The kernels carry their own copy of the lattice tables and the styles.
constexpr std::string_view kKernelText =
#include "noisetexture.cl.inc"
    ;

// The six vectors both kernels take, the same for both (see the kernel
// text): the end colours straight in memory order, then every parameter.
struct noisetextureKernelValues {
    cl_float4 colour0, colour1;
    cl_float4 p0, p1, p2, p3;
};

cl_float4 floats(double a, double b, double c, double d) {
    return cl_float4{{static_cast<float>(a), static_cast<float>(b), static_cast<float>(c), static_cast<float>(d)}};
}
cl_float4 floats(const std::array<double, 4>& v) { return floats(v[0], v[1], v[2], v[3]); }

noisetextureKernelValues kernelValues(const noisetextureValues& v, bool bgra, int width, int height) {
    const EndColours c = bgra ? endColours<1>(v) : endColours<0>(v);
    return {floats(c.first),
            floats(c.second),
            floats(v.frequencyX, v.frequencyY, v.offsetX, v.offsetY),
            floats(v.progress, v.min, v.max, v.bias),
            floats(v.amplitude, v.falloff, v.layers, styleIndex(v.style)),
            floats(width, height, 0.0, 0.0)};
}

struct noisetexture {
    static constexpr const OFX::EffectDeclaration& declaration = kNoiseTexture;
    static constexpr const auto& params = kParams;
    using Values = noisetextureValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        const double t = args.time;
        return {kNoiseStyle.value(p, t), kNumberOfLayers.value(p, t), kSwapColors.value(p, t),
                kColor1.value(p, t),     kColor2.value(p, t),         kFrequencyX.value(p, t),
                kFrequencyY.value(p, t), kOffsetX.value(p, t),        kOffsetY.value(p, t),
                kProgress.value(p, t),   kMin.value(p, t),            kMax.value(p, t),
                kBias.value(p, t),       kAmplitude.value(p, t),      kFalloff.value(p, t)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = noisetextureProcessor<PIX, nComponents, max, isBGRA>;

    // Two stages, each a byte and a float kernel: the weights, then the
    // colours.
    static inline EffectOpenCL openCL{kKernelText,
                                      kernelsByDepth({"k75723b28f", "kd3fc1b89e", "kb95048b6d", "k9754a2578"})};

    // The two kernels in turn on the host's in-order queue: the weights, one
    // work item per row (the noise is summed along a row incrementally, as
    // the processor does), into the output buffer itself; then the colours,
    // one work item per pixel, from the weights in the output buffer to the
    // output buffer. Both take their arguments before either is enqueued,
    // so a refused argument launches nothing and leaves the output as the
    // host gave it.
    static void launch(OFX::OpenCLEffectProcessor<noisetexture>& cl, const Values& v) {
        if (!OFX::windowInside(cl.window(), &cl.output())) return;
        const cl_int width = cl.windowWidth();
        const cl_int height = cl.windowHeight();
        if (width <= 0 || height <= 0) return;
        const noisetextureKernelValues k = kernelValues(v, cl.pixelOrderBGRA(), width, height);
        const std::size_t weightsIndex = cl.kernelIndex(0);
        const std::size_t coloursIndex = cl.kernelIndex(1);
        const cl_kernel weights = openCL.kernel(weightsIndex);
        const cl_kernel colours = openCL.kernel(coloursIndex);
        OpenCLBinding& binding = openCL.binding();
        const cl_mem out = cl.dst();
        if (!setKernelArgs(binding, weights, out, k)) return;
        if (!setKernelArgs(binding, colours, out, out, k)) return;
        const std::size_t rows[2] = {1, static_cast<std::size_t>(height)};
        const std::size_t pixels[2] = {static_cast<std::size_t>(width), static_cast<std::size_t>(height)};
        launchKernel(binding, cl.queue(), weights, openCL.launchCache(weightsIndex), rows);
        launchKernel(binding, cl.queue(), colours, openCL.launchCache(coloursIndex), pixels);
    }
};

using noisetexturePluginFactory = OFX::EffectFactory<noisetexture>;
using noisetexturePlugin = OFX::EffectPlugin<noisetexture>;
using noisetextureOpenCLProcessor = OFX::OpenCLEffectProcessor<noisetexture>;

const OFX::EffectRegistration<noisetexture> registration;

}  // namespace
