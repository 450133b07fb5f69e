// Test Pattern: the standard line-up pictures of broadcast engineering,
// drawn to the frame it is given: every position is a fraction of the frame,
// so a proxy render is a small copy of the full one.
//
// Levels are 8-bit studio range (ITU-R BT.601 / BT.709 coding: black 16,
// white 235, 219 codes for 100%), the same codes in both pixel orders; a
// float pixel is its code / 255. Signals given in IRE (525 lines) map as
// code = round(16 + 2.19 * IRE); those below the coding range clamp to 1,
// the lowest code the 8-bit interface allows.
//
//   Level                                              Code (R, G, B)
//   525: black with 7.5 IRE setup                      32
//   525: 75% bar, 7.5 + 0.75 * 92.5 = 76.9 IRE         184
//   525: 100% white, 100 IRE                           235
//   525: PLUGE below black, 3.5 IRE                    24
//   525: PLUGE above black, 11.5 IRE                   41
//   525: -I, luma at setup, I = -20 IRE                1, 44, 81
//   525: +Q, luma at setup, Q = +20 IRE                60, 4, 107
//   625 and neutral patterns: black 0%                 16
//   625: 75% bar                                       180
//   625 and neutral patterns: 100% white               235
//   625: PLUGE below and above black, -2% and +2%      12, 20
//   625: -I about black, I = -20%                      1, 28, 64
//   625: +Q about black, Q = +20%                      43, 1, 91
//   Yellow porch, 100% yellow                          235, 235, 16
//
// The patterns (by choice index):
//   0 Color bars (NTSC): seven full-height 75% bars with setup (grey,
//     yellow, cyan, green, magenta, red, blue).
//   1 Color bars (PAL): EBU 100/0/75/0, eight bars: 100% white, the six
//     colours at 75%, black.
//   2 Color bars (PAL): EBU 100/0/100/0, the same eight bars at 100%.
//   3 Pluge and porches: black field framed by white porches, with the
//     ITU-R BT.814 PLUGE pair (-2% and +2%) across the middle half.
//   4 Ramp: black at the first column to white at the last.
//   5 SMPTE bars (NTSC), the arrangement of SMPTE EG 1: seven 75% bars over
//     the top 2/3, the reverse blue band (blue, black, magenta, black, cyan,
//     black, grey) to 3/4, and below it -I, 100% white, +Q and black, each
//     5/4 of a bar wide, then the PLUGE (3.5, 7.5, 11.5 IRE) in thirds under
//     the red bar and black under the blue one.
//   6 SMPTE bars (PAL): the same arrangement at 625 levels: no setup, so
//     black is 0%; -I and +Q about black; the PLUGE at -2%, 0, +2%.
//   7 White porches: black field in a frame of 100% white.
//   8 Yellow porches: black field in a frame of 100% yellow.
// A porch is the band at each edge outside the action-safe area (5% of the
// width at the left and right, 5% of the height at top and bottom), where
// overscan and blanking errors show.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "Effect.h"
#include "RawView.h"

namespace {

// Offered only to the hosts that can take it.
constexpr OFX::EffectDeclaration kTestPattern{
    .identifier = "talvo.effects:testpattern",
    .label = "TALVO Test Pattern",
    .group = "TALVO",
    .context = OFX::eContextGenerator,
    .helpContextID = 1920,
    .upliftGUID = "{C55DDAF9-B236-11d2-BAD4-00C04F8EDC09}",
    .hosts = &OFX::kHostsSince18,
};

// The options' order is the patterns' (see the table at the end of the
// patterns below).
constexpr OFX::ChoiceRow kTestPatternType{
    .name = "TestPatternType",
    .label = "Test pattern type",
    .scriptName = "testpatterntype",
    .options = {"Color bars (NTSC)", "Color bars (PAL)", "Color bars (PAL)", "Pluge and porches", "Ramp",
                "SMPTE bars (NTSC)", "SMPTE bars (PAL)", "White porches", "Yellow porches"},
};

constexpr OFX::ParamTable kParams{kTestPatternType};

struct testpatternValues {
    int pattern;  // the choice index
};

using testpatternProcessorBase = OFX::EffectProcessorBase<testpatternValues>;

// A colour as 8-bit studio-range codes.
struct Level {
    uint8_t r, g, b;
};

constexpr Level grey(uint8_t code) { return {code, code, code}; }

// 525-line levels, with setup.
constexpr uint8_t kNtscBlack = 32;
constexpr uint8_t kNtscBar = 184;
constexpr uint8_t kWhite = 235;
constexpr Level kNtscMinusI{1, 44, 81};
constexpr Level kNtscPlusQ{60, 4, 107};
constexpr uint8_t kNtscBelowBlack = 24;
constexpr uint8_t kNtscAboveBlack = 41;
// 625-line and neutral levels.
constexpr uint8_t kBlack = 16;
constexpr uint8_t kEbuBar = 180;
constexpr Level kPalMinusI{1, 28, 64};
constexpr Level kPalPlusQ{43, 1, 91};
constexpr uint8_t kBelowBlack = 12;
constexpr uint8_t kAboveBlack = 20;
constexpr Level kYellow{kWhite, kWhite, kBlack};

// The seven colour bars in their order, with `on` and `off` as the two
// component levels.
constexpr std::array<Level, 7> bars(uint8_t on, uint8_t off) {
    return {
        {{on, on, on}, {on, on, off}, {off, on, on}, {off, on, off}, {on, off, on}, {on, off, off}, {off, off, on}}};
}
constexpr std::array<Level, 7> kNtscBars = bars(kNtscBar, kNtscBlack);
constexpr std::array<Level, 7> kEbu75Bars = bars(kEbuBar, kBlack);
constexpr std::array<Level, 7> kEbu100Bars = bars(kWhite, kBlack);

// A position along the width or height as an exact fraction, so that the
// same frame size always gives the same pixel edges.
struct Fraction {
    int num, den;
};

// Rounds half up.
int scaled(Fraction f, int size) { return static_cast<int>((2LL * f.num * size + f.den) / (2LL * f.den)); }

// A run of one level across the width, ending at `right`.
struct Segment {
    Fraction right;
    Level level;
};

// Rows of one kind, from the previous band's bottom down to `bottom`
// (measured from the top of the picture). A band with no segments is the
// ramp.
struct Band {
    Fraction bottom;
    std::span<const Segment> segments;
};

template <size_t N>
constexpr std::array<Segment, N> evenBars(const std::array<Level, N>& levels) {
    std::array<Segment, N> out{};
    for (size_t i = 0; i < N; ++i) out[i] = {{static_cast<int>(i) + 1, static_cast<int>(N)}, levels[i]};
    return out;
}

constexpr std::array<Level, 8> eightBars(const std::array<Level, 7>& colours, Level white, Level black) {
    return {{white, colours[1], colours[2], colours[3], colours[4], colours[5], colours[6], black}};
}

constexpr Fraction kWhole{1, 1};

// 0: NTSC bars.
constexpr auto kNtscBarRow = evenBars(kNtscBars);
constexpr Band kNtscBarBands[] = {{kWhole, kNtscBarRow}};

// 1 and 2: EBU bars.
constexpr auto kEbu75Row = evenBars(eightBars(kEbu75Bars, grey(kWhite), grey(kBlack)));
constexpr Band kEbu75Bands[] = {{kWhole, kEbu75Row}};
constexpr auto kEbu100Row = evenBars(eightBars(kEbu100Bars, grey(kWhite), grey(kBlack)));
constexpr Band kEbu100Bands[] = {{kWhole, kEbu100Row}};

// 3, 7, 8: porches.
constexpr Fraction kPorchInner{1, 20};
constexpr Fraction kPorchOuter{19, 20};

constexpr std::array<Segment, 1> solidRow(Level level) { return {{{kWhole, level}}}; }
constexpr std::array<Segment, 3> porchRow(Level porch) {
    return {{{kPorchInner, porch}, {kPorchOuter, grey(kBlack)}, {kWhole, porch}}};
}

constexpr auto kWhiteRow = solidRow(grey(kWhite));
constexpr auto kWhitePorchRow = porchRow(grey(kWhite));
constexpr Band kWhitePorchBands[] = {{kPorchInner, kWhiteRow}, {kPorchOuter, kWhitePorchRow}, {kWhole, kWhiteRow}};

constexpr auto kYellowRow = solidRow(kYellow);
constexpr auto kYellowPorchRow = porchRow(kYellow);
constexpr Band kYellowPorchBands[] = {{kPorchInner, kYellowRow}, {kPorchOuter, kYellowPorchRow}, {kWhole, kYellowRow}};

constexpr Segment kPlugePorchRow[] = {
    {kPorchInner, grey(kWhite)}, {{1, 3}, grey(kBlack)},      {{5, 12}, grey(kBelowBlack)}, {{7, 12}, grey(kBlack)},
    {{2, 3}, grey(kAboveBlack)}, {kPorchOuter, grey(kBlack)}, {kWhole, grey(kWhite)},
};
constexpr Band kPlugePorchBands[] = {{kPorchInner, kWhiteRow},
                                     {{1, 4}, kWhitePorchRow},
                                     {{3, 4}, kPlugePorchRow},
                                     {kPorchOuter, kWhitePorchRow},
                                     {kWhole, kWhiteRow}};

// 4: ramp.
constexpr Band kRampBands[] = {{kWhole, {}}};

// 5 and 6: the EG 1 arrangement. Seen on a blue-only monitor, each reverse
// bar matches the bar above it when chroma and hue are right. The bottom
// blocks are 5/28 of the width each, the PLUGE thirds 1/21 each.
constexpr std::array<Segment, 7> reverseRow(const std::array<Level, 7>& b, Level black) {
    return {{{{1, 7}, b[6]},
             {{2, 7}, black},
             {{3, 7}, b[4]},
             {{4, 7}, black},
             {{5, 7}, b[2]},
             {{6, 7}, black},
             {kWhole, b[0]}}};
}
constexpr std::array<Segment, 8> bottomRow(Level minusI, Level plusQ, Level black, Level below, Level above) {
    return {{{{5, 28}, minusI},
             {{10, 28}, grey(kWhite)},
             {{15, 28}, plusQ},
             {{5, 7}, black},
             {{16, 21}, below},
             {{17, 21}, black},
             {{6, 7}, above},
             {kWhole, black}}};
}
constexpr Fraction kBarsBottom{2, 3};
constexpr Fraction kReverseBottom{3, 4};

constexpr auto kNtscReverseRow = reverseRow(kNtscBars, grey(kNtscBlack));
constexpr auto kNtscBottomRow =
    bottomRow(kNtscMinusI, kNtscPlusQ, grey(kNtscBlack), grey(kNtscBelowBlack), grey(kNtscAboveBlack));
constexpr Band kSmpteNtscBands[] = {
    {kBarsBottom, kNtscBarRow}, {kReverseBottom, kNtscReverseRow}, {kWhole, kNtscBottomRow}};

constexpr auto kPalBarRow = evenBars(kEbu75Bars);
constexpr auto kPalReverseRow = reverseRow(kEbu75Bars, grey(kBlack));
constexpr auto kPalBottomRow = bottomRow(kPalMinusI, kPalPlusQ, grey(kBlack), grey(kBelowBlack), grey(kAboveBlack));
constexpr Band kSmptePalBands[] = {
    {kBarsBottom, kPalBarRow}, {kReverseBottom, kPalReverseRow}, {kWhole, kPalBottomRow}};

// By choice index.
constexpr std::span<const Band> kPatterns[] = {
    kNtscBarBands,   kEbu75Bands,    kEbu100Bands,     kPlugePorchBands,  kRampBands,
    kSmpteNtscBands, kSmptePalBands, kWhitePorchBands, kYellowPorchBands,
};
static_assert(kTestPatternType.options[std::size(kPatterns) - 1] && !kTestPatternType.options[std::size(kPatterns)],
              "one pattern for each option");

// Whether a choice index names a pattern.
bool isPattern(int index) { return index >= 0 && index < static_cast<int>(std::size(kPatterns)); }

constexpr size_t kMostBands = 5;
static_assert(std::ranges::all_of(kPatterns, [](std::span<const Band> bands) { return bands.size() <= kMostBands; }));

template <class PIX, int nComponents, int max, int isBGRA>
class testpatternProcessor : public testpatternProcessorBase {
public:
    using testpatternProcessorBase::testpatternProcessorBase;

    // Every row of a band is the same, so each band's first row in this
    // thread's rows is drawn and the others copy it. Positions come from the
    // whole render window, not the thread's rows.
    int multiThreadProcessImages(OfxRectI procWindow) override {
        if (!OFX::hasPixels(dstImg, kBytesPerPixel)) return 0;
        if (!isPattern(values.pattern)) return 0;
        const std::span<const Band> bands = kPatterns[values.pattern];
        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        const int width = renderWindow.x2 - renderWindow.x1;
        const int height = renderWindow.y2 - renderWindow.y1;
        std::array<int, kMostBands> bottoms{};
        for (size_t i = 0; i < bands.size(); ++i) bottoms[i] = scaled(bands[i].bottom, height);

        // Columns of the image's part of the window, from the window's left.
        const int first = rows.x1 - renderWindow.x1;
        const int last = rows.x2 - renderWindow.x1;
        const size_t rowBytes = static_cast<size_t>(last - first) * kBytesPerPixel;
        const void* drawn = nullptr;
        size_t drawnBand = bands.size();
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            // The picture's top is the window's last row.
            const int fromTop = renderWindow.y2 - 1 - y;
            size_t band = 0;
            while (band + 1 < bands.size() && fromTop >= bottoms[band]) ++band;
            auto* out = static_cast<PIX*>(dstImg->getPixelAddress(rows.x1, y));
            if (band == drawnBand) {
                std::memcpy(out, drawn, rowBytes);
                continue;
            }
            drawRow(out, bands[band], width, first, last);
            drawn = out;
            drawnBand = band;
        }
        return 0;
    }

private:
    static constexpr int kBytesPerPixel = sizeof(PIX) * 4;
    static constexpr int kRed = isBGRA ? 2 : 0;
    static constexpr int kBlue = isBGRA ? 0 : 2;
    using Pixel = std::array<PIX, 4>;

    static PIX component(double code) {
        if constexpr (std::is_same_v<PIX, unsigned char>)
            return static_cast<unsigned char>(code);
        else
            return static_cast<float>(code / 255.0);
    }

    static Pixel pixelOf(Level level) {
        Pixel p{};
        p[kRed] = component(level.r);
        p[1] = component(level.g);
        p[kBlue] = component(level.b);
        p[3] = static_cast<PIX>(max);
        return p;
    }

    // Draws columns first to last (from the window's left) of one row.
    static void drawRow(PIX* out, const Band& band, int width, int first, int last) {
        if (band.segments.empty()) {
            drawRamp(out, width, first, last);
            return;
        }
        int left = 0;
        for (const Segment& segment : band.segments) {
            const int right = scaled(segment.right, width);
            const Pixel pixel = pixelOf(segment.level);
            for (int x = std::max(left, first); x < std::min(right, last); ++x)
                std::memcpy(out + (x - first) * 4, pixel.data(), kBytesPerPixel);
            left = right;
        }
    }

    // From black at the first column to white at the last: bytes round the
    // code, floats keep the exact fraction.
    static void drawRamp(PIX* out, int width, int first, int last) {
        const int span = width > 1 ? width - 1 : 1;
        for (int x = first; x < last; ++x, out += 4) {
            PIX v;
            if constexpr (std::is_same_v<PIX, unsigned char>)
                v = static_cast<unsigned char>(kBlack + (2 * (kWhite - kBlack) * x + span) / (2 * span));
            else
                v = static_cast<float>((kBlack + static_cast<double>(kWhite - kBlack) * x / span) / 255.0);
            out[0] = out[1] = out[2] = v;
            out[3] = static_cast<PIX>(max);
        }
    }
};

// The kernels carry their own copy of the pattern tables above.
constexpr std::string_view kKernelText =
#include "testpattern.cl.inc"
    ;

struct testpattern {
    static constexpr const OFX::EffectDeclaration& declaration = kTestPattern;
    static constexpr const auto& params = kParams;
    using Values = testpatternValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) {
        return {kTestPatternType.value(p, args.time)};
    }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = testpatternProcessor<PIX, nComponents, max, isBGRA>;

    // The red code goes to the order's red component, so each depth has a
    // kernel per pixel order.
    static inline EffectOpenCL openCL{
        kKernelText, kernelsByDepthAndOrder({"k6600e3de0", "kd3f3059e7", "k7bdf055a8", "kb8a5abead"})};
    // The output, the pattern's choice index, the window's size.
    static void launch(OFX::OpenCLEffectProcessor<testpattern>& cl, const Values& v) {
        if (!isPattern(v.pattern)) return;
        cl.launch(cl.kernelIndex(), cl.dst(), v, cl.windowWidth(), cl.windowHeight());
    }
};

using testpatternPluginFactory = OFX::EffectFactory<testpattern>;
using testpatternPlugin = OFX::EffectPlugin<testpattern>;
using testpatternOpenCLProcessor = OFX::OpenCLEffectProcessor<testpattern>;

const OFX::EffectRegistration<testpattern> registration;

}  // namespace
