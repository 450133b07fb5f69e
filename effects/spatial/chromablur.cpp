// Chroma Blur: blurs colour and keeps luma. The picture goes to the (Y, U, V)
// space of analogue video; U and V are blurred with three box passes per
// direction (together close to a Gaussian), and the pixels come back from
// the source's Y and the blurred U and V.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>
#include <vector>

#include "DeviceBuffer.h"
#include "Effect.h"
#include "RawView.h"

namespace {

// No help topic of its own is known: 0.
constexpr OFX::EffectDeclaration kChromaBlur{
    "talvo.effects:chromablur",
    "TALVO Chroma Blur",
    "TALVO\\Utility",
    OFX::eContextFilter,
    0,
    "{BA0529A7-3E80-4383-89D0-608A403E19DA}",
    true,
    false,
    &OFX::kHostsSince18,
};

// The spreads are counts of pixels of the image as rendered; the panel
// shows the useful part of the range. Note: each identifier serves as
// label and script name too, as saved projects and scripts know them.
constexpr OFX::DoubleRow spread(const char* name) {
    return {.name = name, .label = name, .scriptName = name, .max = 100.0, .displayMin = 0.0, .displayMax = 10.0};
}
constexpr OFX::DoubleRow kHorizontalPixels = spread("HorizontalPixels");
constexpr OFX::DoubleRow kVerticalPixels = spread("VerticalPixels");

constexpr OFX::ParamTable kParams{kHorizontalPixels, kVerticalPixels};

struct chromablurValues {
    double horizontal;
    double vertical;
};

using chromablurProcessorBase = OFX::EffectProcessorBase<chromablurValues>;

constexpr int kBoxes = 3;

// The widths of `kBoxes` box filters whose succession comes closest to a
// Gaussian of standard deviation `sigma`: the largest odd width below the
// ideal one for the first `m` boxes and two more for the rest.
std::array<int, kBoxes> boxWidths(double sigma) {
    constexpr int n = kBoxes;
    int w = static_cast<int>(std::floor(std::sqrt(12.0 * sigma * sigma / n + 1.0)));
    if (w % 2 == 0) --w;
    const double ideal = (12.0 * sigma * sigma - n * w * w - 4.0 * n * w - 3.0 * n) / (-4.0 * w - 4.0);
    const int m = static_cast<int>(std::round(ideal));
    std::array<int, kBoxes> widths{};
    for (int i = 0; i < n; ++i) widths[i] = i < m ? w : w + 2;
    return widths;
}

// One box pass: its half-width and the factor that turns the running sum
// into a mean, rounded once to single precision here so that the
// processor and the kernels multiply by the same number.
struct BoxPass {
    int radius;
    float factor;
};

// The passes of one render, worked out once for the processor and the
// kernels alike: box i runs along the rows with rows[i], then along the
// columns with columns[i].
struct ChromaPlan {
    std::array<BoxPass, kBoxes> rows;
    std::array<BoxPass, kBoxes> columns;
};

std::array<BoxPass, kBoxes> passesFor(int sigma) {
    std::array<BoxPass, kBoxes> passes{};
    const std::array<int, kBoxes> widths = boxWidths(sigma);
    for (int i = 0; i < kBoxes; ++i) {
        const int r = (widths[i] - 1) / 2;
        passes[i] = {r, 1.0f / static_cast<float>(2 * r + 1)};
    }
    return passes;
}

ChromaPlan planFor(const chromablurValues& v, double pixelAspect) {
    // Note: the spreads truncate after the half-and-one offset; the columns'
    // spread follows the pixel aspect so that the blur is round on screen.
    const int hs = static_cast<int>(v.horizontal + 1.5);
    const int vs = static_cast<int>((v.vertical + 1.5) * pixelAspect);
    return {passesFor(hs), passesFor(vs)};
}

// The colour conversions in single precision, on the three colours in red,
// green, blue order. Floats convert at their own scale rather than
// multiplied by 255 first: every step is linear, so a scale would only add
// two roundings; bytes convert at theirs.
inline float lumaOf(float r, float g, float b) { return 0.299f * r + 0.587f * g + 0.114f * b; }
inline float uOf(float r, float g, float b) { return -0.14713f * r - 0.28886f * g + 0.436f * b; }
inline float vOf(float r, float g, float b) { return 0.615f * r - 0.51499f * g - 0.10001f * b; }

// A running box sum along `n` samples `stride` apart, the edge samples
// repeated beyond the ends: the sum starts as that of the window centred one
// before the first sample, then each step adds the sample entering and takes
// off the one leaving. `in` and `out` are distinct.
void boxLine(const float* in, float* out, int n, std::ptrdiff_t stride, BoxPass pass) {
    const int r = pass.radius;
    const float first = in[0];
    float sum = static_cast<float>(r + 1) * first;
    for (int j = 0; j < r; ++j) sum += in[std::min(j, n - 1) * stride];
    for (int x = 0; x < n; ++x) {
        sum += in[std::min(x + r, n - 1) * stride] - in[std::max(x - r - 1, 0) * stride];
        out[x * stride] = sum * pass.factor;
    }
}

// The same along every column of a plane at once, row by row, so that the
// pass reads the plane in memory order; each column's sum sees the same
// operations in the same order as boxLine's.
void boxColumns(const float* in, float* out, int width, int height, BoxPass pass, std::vector<float>& sums) {
    const int r = pass.radius;
    const auto row = [&](const float* plane, int y) { return plane + static_cast<std::ptrdiff_t>(y) * width; };
    for (int x = 0; x < width; ++x) sums[x] = static_cast<float>(r + 1) * in[x];
    for (int j = 0; j < r; ++j) {
        const float* add = row(in, std::min(j, height - 1));
        for (int x = 0; x < width; ++x) sums[x] += add[x];
    }
    for (int y = 0; y < height; ++y) {
        const float* enter = row(in, std::min(y + r, height - 1));
        const float* leave = row(in, std::max(y - r - 1, 0));
        float* o = out + static_cast<std::ptrdiff_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            sums[x] += enter[x] - leave[x];
            o[x] = sums[x] * pass.factor;
        }
    }
}

// The formula names its colours red first: compile-time storage indices
// read and write the same colours in either pixel order, so both orders give
// one picture. The processor takes the whole window in one call, since each
// pass reads whole rows or columns (the trait below says so to the frame).
template <class PIX, int nComponents, int max, int isBGRA>
class chromablurProcessor : public chromablurProcessorBase {
public:
    using chromablurProcessorBase::chromablurProcessorBase;

    static constexpr int kRed = isBGRA ? 2 : 0;
    static constexpr int kGreen = 1;
    static constexpr int kBlue = isBGRA ? 0 : 2;

    int multiThreadProcessImages(OfxRectI window) override {
        constexpr int bytesPerPixel = sizeof(PIX) * 4;
        if (!OFX::hasPixels(dstImg, bytesPerPixel) || !OFX::hasPixels(srcImg, bytesPerPixel)) return 0;
        const OfxRectI area = OFX::clipToImage(OFX::clipToImage(window, dstImg), srcImg);
        const int width = area.x2 - area.x1, height = area.y2 - area.y1;
        if (width <= 0 || height <= 0) return 0;
        const ChromaPlan plan = planFor(values, dstImg->getPixelAspectRatio());

        // U then V, and a second pair the passes write into in turn.
        const std::size_t planeSize = static_cast<std::size_t>(width) * height;
        std::vector<float> planes(2 * planeSize), scratch(2 * planeSize);
        std::vector<float> sums(width);

        for (int y = 0; y < height; ++y) {
            if (effect.abort()) return 1;
            const PIX* s = static_cast<const PIX*>(srcImg->getPixelAddress(area.x1, area.y1 + y));
            float* u = planes.data() + static_cast<std::size_t>(y) * width;
            float* v = u + planeSize;
            for (int x = 0; x < width; ++x, s += 4) {
                const float r = s[kRed], g = s[kGreen], b = s[kBlue];
                u[x] = uOf(r, g, b);
                v[x] = vOf(r, g, b);
            }
        }

        for (int i = 0; i < kBoxes; ++i) {
            for (int p = 0; p < 2; ++p) {
                const float* in = planes.data() + p * planeSize;
                float* out = scratch.data() + p * planeSize;
                for (int y = 0; y < height; ++y) {
                    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * width;
                    boxLine(in + at, out + at, width, 1, plan.rows[i]);
                }
                boxColumns(out, planes.data() + p * planeSize, width, height, plan.columns[i], sums);
            }
        }

        for (int y = 0; y < height; ++y) {
            if (effect.abort()) return 1;
            const PIX* s = static_cast<const PIX*>(srcImg->getPixelAddress(area.x1, area.y1 + y));
            PIX* d = static_cast<PIX*>(dstImg->getPixelAddress(area.x1, area.y1 + y));
            const float* u = planes.data() + static_cast<std::size_t>(y) * width;
            const float* v = u + planeSize;
            for (int x = 0; x < width; ++x, s += 4, d += 4) {
                const float luma = lumaOf(s[kRed], s[kGreen], s[kBlue]);
                store(d + kRed, luma + 1.13983f * v[x]);
                store(d + kGreen, luma - 0.39465f * u[x] - 0.5806f * v[x]);
                store(d + kBlue, luma + 2.03211f * u[x]);
                d[3] = s[3];
            }
        }
        return 0;
    }

private:
    // Bytes are held to 0..255 and truncate; floats keep what they get.
    static void store(PIX* to, float value) {
        if constexpr (max == 1)
            *to = value;
        else
            *to = static_cast<PIX>(std::min(std::max(value, 0.0f), 255.0f));
    }
};

constexpr std::string_view kKernelText =
#include "chromablur.cl.inc"
    ;

struct chromablur {
    static constexpr const OFX::EffectDeclaration& declaration = kChromaBlur;
    static constexpr const auto& params = kParams;
    static constexpr bool wholeWindow = true;
    using Values = chromablurValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kHorizontalPixels.value(p, args.time), kVerticalPixels.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = chromablurProcessor<PIX, nComponents, max, isBGRA>;

    // Stages, each byte RGBA, byte BGRA, float RGBA, float BGRA: into the
    // U and V planes, the row pass, the column pass (the passes are the
    // same for every image), back into pixels.
    static inline EffectOpenCL openCL{
        kKernelText, kernelsByDepthAndOrder({"k3f1a9c07e", "k8d24b6e1a", "kc05e7a93d", "k6a9d1f2b8",  //
                                             "k2b7e40c9f", "k2b7e40c9f", "k2b7e40c9f", "k2b7e40c9f",  //
                                             "k95c3d8a16", "k95c3d8a16", "k95c3d8a16", "k95c3d8a16",  //
                                             "ke4a0b7d52", "k1c8f3e6a0", "k7d5b2c91e", "kb09e6f4d3"})};

    // Two work buffers of two planes each (U then V, window-sized): the
    // conversion fills the first, each box's row pass writes the second
    // and its column pass the first again. Arguments: conversions take the
    // source, (the output,) the planes and the window's size; passes take
    // their input, output, the window's size, the half-width and the factor.
    // Rows and columns get one work item each per plane.
    static void launch(OFX::OpenCLEffectProcessor<chromablur>& cl, const Values& v) {
        const int width = cl.windowWidth(), height = cl.windowHeight();
        if (width <= 0 || height <= 0) return;
        const ChromaPlan plan = planFor(v, cl.output().getPixelAspectRatio());
        OpenCLBinding& binding = openCL.binding();
        cl_context context = nullptr;
        if (binding.getCommandQueueInfo(cl.queue(), CL_QUEUE_CONTEXT, sizeof context, &context) != CL_SUCCESS) return;
        const std::size_t bytes = static_cast<std::size_t>(width) * height * 2 * sizeof(float);
        const DeviceBuffer planes(binding, context, CL_MEM_READ_WRITE, bytes),
            scratch(binding, context, CL_MEM_READ_WRITE, bytes);
        if (!planes.get() || !scratch.get()) throw std::bad_alloc();

        const std::size_t toPlanes = cl.kernelIndex(0), rows = cl.kernelIndex(1), columns = cl.kernelIndex(2),
                          back = cl.kernelIndex(3);
        for (std::size_t k : {toPlanes, rows, columns, back})
            if (!openCL.kernel(k)) return;
        if (!cl.launch(toPlanes, cl.src(), planes.get(), width, height)) return;
        const std::size_t rowGlobal[2] = {static_cast<std::size_t>(height), 2};
        const std::size_t columnGlobal[2] = {static_cast<std::size_t>(width), 2};
        for (int i = 0; i < kBoxes; ++i) {
            if (!setKernelArgs(binding, openCL.kernel(rows), planes.get(), scratch.get(), width, height,
                               plan.rows[i].radius, plan.rows[i].factor))
                return;
            launchKernel(binding, cl.queue(), openCL.kernel(rows), openCL.launchCache(rows), rowGlobal);
            if (!setKernelArgs(binding, openCL.kernel(columns), scratch.get(), planes.get(), width, height,
                               plan.columns[i].radius, plan.columns[i].factor))
                return;
            launchKernel(binding, cl.queue(), openCL.kernel(columns), openCL.launchCache(columns), columnGlobal);
        }
        cl.launch(back, cl.src(), cl.dst(), planes.get(), width, height);
    }
};

using chromablurPluginFactory = OFX::EffectFactory<chromablur>;
using chromablurPlugin = OFX::EffectPlugin<chromablur>;
using chromablurOpenCLProcessor = OFX::OpenCLEffectProcessor<chromablur>;

const OFX::EffectRegistration<chromablur> registration;

}  // namespace
