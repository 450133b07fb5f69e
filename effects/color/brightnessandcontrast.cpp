// Brightness and Contrast: adds the brightness to each colour, then spreads
// the colours around the contrast centre. Its analysis measures the source's
// levels and writes the three values that map them onto a target range.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "Effect.h"
#include "QzLumaStatistics.h"
#include "RawView.h"
#include "StripFilter.h"

namespace {

constexpr OFX::EffectDeclaration kBrightnessAndContrast{
    "talvo.effects:brightnessandcontrast", "TALVO Brightness and Contrast", "TALVO\\Color", OFX::eContextFilter, 1640,
    "{EC9C4A02-E360-11D1-9AA9-00A0C99B12C5}",
};

// The frames the analysis reads, in the order of the choice's options.
enum ReferenceMode { eCurrentFrame = 0, eCurrentMedia, eEachFrameIndependently };

// The script names are the identifiers themselves.
constexpr OFX::DoubleRow kBrightness{
    .name = "Brightness", .min = -1.0, .max = 1.0};
constexpr OFX::DoubleRow kContrast{
    .name = "Contrast", .min = -1.0, .max = 1.0};
constexpr OFX::DoubleRow kContrastCenter{
    .name = "ContrastCenter", .label = "Contrast center", .defaultValue = 0.5};
constexpr OFX::GroupRow kGroup{.name = "Group"};
constexpr OFX::GroupRow kGroupInput{.name = "GroupInput"};
constexpr OFX::GroupRow kGroupOutput{.name = "GroupOutput"};
// The analysis settings are not animated: an analysis is run once, at a time.
constexpr OFX::DoubleRow kPercent{
    .name = "Percent",
    .defaultValue = 0.01,
    .max = 0.5,
    .increment = 0.01,
    .group = &kGroupOutput,
    .animates = false,
};
// By default the analysis maps a frame's range onto the video-legal 15..235
// of 255. Note: Max runs from 0.01 but is shown from 0.1; both stand.
constexpr OFX::DoubleRow kMin{
    .name = "Min",
    .defaultValue = 15.0 / 255.0,
    .max = 0.99,
    .group = &kGroupOutput,
    .animates = false,
};
constexpr OFX::DoubleRow kMax{
    .name = "Max",
    .defaultValue = 235.0 / 255.0,
    .min = 0.01,
    .displayMin = 0.1,
    .displayMax = 1.0,
    .group = &kGroupOutput,
    .animates = false,
};
constexpr OFX::ChoiceRow kReferenceMode{
    .name = "ReferenceMode",
    .options = {"RM_CurrentFrame", "RM_CurrentMedia", "RM_EachFrameIndependently"},
    .defaultValue = eCurrentMedia,
    .group = &kGroupOutput,
    .animates = false,
};
constexpr OFX::PushButtonRow kDoAnalysis{
    .name = "DoAnalysis", .scriptName = "", .group = &kGroupOutput};

constexpr OFX::ParamTable kParams{
    kBrightness, kContrast, kContrastCenter, kGroup, kGroupInput, kGroupOutput,
    kPercent, kMin, kMax, kReferenceMode, kDoAnalysis,
};

// The steps a render runs.
constexpr int kLift = 1;
constexpr int kSpread = 2;

// A parameter within this of zero changes nothing, and its step is skipped.
constexpr double kNoChange = 1e-6;

// What the processors and the kernels compute with: the values in single
// precision, and which steps run, decided on the doubles so that a value
// close to the threshold cannot flip it in the narrowing.
struct brightnessandcontrastValues {
    float brightness;
    float contrast;
    float contrastCenter;
    int steps;
};

brightnessandcontrastValues valuesAt(OFX::ParamSet& p, double time) {
    const double brightness = kBrightness.value(p, time);
    const double contrast = kContrast.value(p, time);
    const int steps = (std::abs(brightness) > kNoChange ? kLift : 0) | (std::abs(contrast) > kNoChange ? kSpread : 0);
    return {static_cast<float>(brightness), static_cast<float>(contrast),
            static_cast<float>(kContrastCenter.value(p, time)), steps};
}

using brightnessandcontrastProcessorBase = OFX::EffectProcessorBase<brightnessandcontrastValues>;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

// Note: the byte table divides by 1.0000001 - C and the float path by
// 1.000001 - C; the two differ on purpose and both are the defined results.
constexpr float kByteContrastTop = 1.0000001f;
constexpr float kFloatContrastTop = 1.000001f;

// The spread of the contrast: a reciprocal above 0, so that C near 1 spreads
// without bound, and 1 + C below, down to a flat grey at -1.
float contrastFactor(float contrast, float top) { return contrast > 0.0f ? 1.0f / (top - contrast) : contrast + 1.0f; }

// The three colours get the same treatment, so the pixel order only decides
// which storage index is which colour and both orders give one picture.
template <class PIX, int nComponents, int max, int isBGRA>
class brightnessandcontrastProcessor : public brightnessandcontrastProcessorBase {
public:
    using brightnessandcontrastProcessorBase::brightnessandcontrastProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        return OFX::copyTransform(dstImg, srcImg, procWindow, sizeof(PIX) * 4,
                                  [this](const OfxRectI& rows) { return adjustRows(rows); });
    }

private:
    int adjustRows(const OfxRectI& rows) {
        if (values.steps == 0) return 0;
        const float b = values.brightness;
        const float p = values.contrastCenter;
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            return adjustBytes(rows, b, p, contrastFactor(values.contrast, kByteContrastTop));
        } else {
            // Two passes, each under the alpha rule: the lift is premultiplied
            // back before the spread unpremultiplies again.
            if (values.steps & kLift) {
                if (const int stopped = floatPass(rows, [b](float v) { return v + b; })) return stopped;
            }
            if (values.steps & kSpread) {
                const float k = contrastFactor(values.contrast, kFloatContrastTop);
                return floatPass(rows, [p, k](float v) { return (v - p) * k + p; });
            }
            return 0;
        }
    }

    // Both steps in one table of the 256 levels, built afresh by every
    // band; the colour is then held to alpha so that it stays premultiplied.
    int adjustBytes(const OfxRectI& rows, float b, float p, float k) const {
        unsigned char table[256];
        for (int i = 0; i < 256; ++i) {
            const float v = ((static_cast<float>(i) / 255.0f + b - p) * k + p) * 255.0f;
            table[i] = static_cast<unsigned char>(std::clamp(v, 0.0f, 255.0f));
        }
        return OFX::forEachRow<unsigned char>(effect, dstImg, rows, [&table](unsigned char* px, int n) {
            for (; n > 0; --n, px += 4) {
                const unsigned char a = px[3];
                for (int c = 0; c < 3; ++c) px[c] = std::min(table[px[c]], a);
            }
        });
    }

    template <class Formula>
    int floatPass(const OfxRectI& rows, const Formula& formula) const {
        return OFX::forEachRow<float>(effect, dstImg, rows, [&formula](float* px, int n) {
            for (; n > 0; --n, px += 4) underAlphaRule(px, formula);
        });
    }

    // The float alpha rule of the colour filters: no colour without alpha,
    // unpremultiplied around the formula below full alpha, and alpha at or
    // above 1 written as exactly 1. No clamp.
    template <class Formula>
    static void underAlphaRule(float* px, const Formula& formula) {
        const float a = px[3];
        if (!(a > kAlphaFloor)) {
            px[0] = px[1] = px[2] = px[3] = 0.0f;
            return;
        }
        if (a < 1.0f) {
            for (int i = 0; i < 3; ++i) px[i] = formula(px[i] / a) * a;
        } else {
            for (int i = 0; i < 3; ++i) px[i] = formula(px[i]);
            px[3] = 1.0f;
        }
    }
};

constexpr std::string_view kKernelText =
#include "brightnessandcontrast.cl.inc"
    ;

// The three values that take a measured low level l to the target t0 and
// the high level h to t1 through the render's formula, in float: the centre
// sits on t0, the lift moves l there, and the contrast is chosen so that the
// spread factor equals the scale s.
struct Correction {
    float brightness;
    float contrast;
    float contrastCenter;
};

Correction correctionFor(float low, float high, float targetLow, float targetHigh) {
    const float scale = high == low ? 1.0f : (targetHigh - targetLow) / (high - low);
    // Note: compared in double with 1 + FLT_EPSILON, so every float scale
    // above 1 takes the reciprocal form and 1 itself gives 0.
    const float contrast = scale >= 1.0000001192092896 ? 1.0f - 1.0f / scale : scale - 1.0f;
    return {targetLow - low, contrast, targetLow};
}

// A frame's measured levels, at its time.
struct FrameLevels {
    double time;
    qz::LevelRange levels;
};

// Keeps the host's progress bar open for one scope.
class ProgressScope {
public:
    ProgressScope(OFX::ImageEffect& effect, const char* label) : effect_(effect) { effect_.progressStart(label); }
    ~ProgressScope() { effect_.progressEnd(); }
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;

private:
    OFX::ImageEffect& effect_;
};

// The writes of one scope as one step of the host's undo.
class EditBlock {
public:
    EditBlock(OFX::ParamSet& params, const char* name) : params_(params) { params_.beginEditBlock(name); }
    ~EditBlock() {
        try {
            params_.endEditBlock();
        } catch (const OFX::Exception::Suite&) {
            // The values are written either way; a host that will not close
            // the block cannot be helped from a destructor.
        }
    }
    EditBlock(const EditBlock&) = delete;
    EditBlock& operator=(const EditBlock&) = delete;

private:
    OFX::ParamSet& params_;
};

class brightnessandcontrastPlugin;

struct brightnessandcontrast {
    static constexpr const OFX::EffectDeclaration& declaration = kBrightnessAndContrast;
    static constexpr const auto& params = kParams;
    using Values = brightnessandcontrastValues;
    static Values values(OFX::ParamSet& p, const OFX::RenderArguments& args) { return valuesAt(p, args.time); }
    template <class PIX, int nComponents, int max, int isBGRA>
    using Processor = brightnessandcontrastProcessor<PIX, nComponents, max, isBGRA>;
    using Plugin = brightnessandcontrastPlugin;

    // The colours get the same treatment, so one kernel per depth serves
    // both orders. The analysis stays on the CPU.
    static inline EffectOpenCL openCL{kKernelText, kernelsByDepth({"k7c3e0b95d", "ke18a4f2c6"})};
    // Source, output, the window's size, then one vector of brightness,
    // contrast, centre and the steps.
    static void launch(OFX::OpenCLEffectProcessor<brightnessandcontrast>& cl, const Values& v) {
        const cl_float4 adjustment = {{v.brightness, v.contrast, v.contrastCenter, static_cast<float>(v.steps)}};
        cl.launch(cl.kernelIndex(), cl.src(), cl.dst(), cl.windowWidth(), cl.windowHeight(), adjustment);
    }
};

// The effect's own behaviour: the analysis behind the DoAnalysis button.
class brightnessandcontrastPlugin : public OFX::EffectPlugin<brightnessandcontrast> {
public:
    using EffectPlugin::EffectPlugin;

    void changedParam(const OFX::InstanceChangedArgs& args, const std::string& paramName) override {
        if (paramName == kDoAnalysis.name) analyse(args.time);
    }

private:
    // Reads the frames of the reference mode, measures each, and writes the
    // correction: once for the current frame or the whole media (from the
    // darkest low and the brightest high of its frames), as keys for each
    // frame on its own. Frames with no visible pixel say nothing about
    // levels and are passed over; when nothing was measured (the first frame
    // missing, or cancelled at once) nothing is written and no key is lost.
    void analyse(double time) {
        const int mode = kReferenceMode.value(*this, time);
        // Note: Percent is read as a float and compared with the float
        // epsilon, 1.1920929e-07: below it no tail is cut and the plain
        // extremes are measured, exact on float frames; at or above it the
        // levels come from the histogram with that tail cut at each end.
        const float tail = static_cast<float>(kPercent.value(*this, time));
        const bool plainExtremes = tail < 1.1920929e-07f;

        OfxRangeD frames{time, time};
        if (mode != eCurrentFrame) frames = srcClip->getFrameRange();
        const bool bgra = srcClip->getPixelOrder() == 1;
        const double count = std::floor(frames.max - frames.min) + 1.0;

        std::vector<FrameLevels> measured;
        {
            ProgressScope progress(*this, "AnalysisPhase");
            for (double t = frames.min; t <= frames.max; t += 1.0) {
                std::unique_ptr<OFX::Image> src(srcClip->fetchImage(t));
                if (!src) break;
                const OFX::RawView view = OFX::rawView(src.get());
                const std::optional<qz::LevelRange> levels =
                    plainExtremes ? qz::lumaExtremes(view, bgra) : qz::lumaPercentiles(view, bgra, tail);
                if (levels) measured.push_back({t, *levels});
                if (!progressUpdate((t - frames.min + 1.0) / count)) break;
            }
        }
        if (measured.empty()) return;

        const float targetLow = static_cast<float>(kMin.value(*this, time));
        const float targetHigh = static_cast<float>(kMax.value(*this, time));
        if (mode == eEachFrameIndependently) {
            writeKeys(measured, targetLow, targetHigh);
            return;
        }
        float low = measured.front().levels.low;
        float high = measured.front().levels.high;
        for (const FrameLevels& frame : measured) {
            low = std::min(low, frame.levels.low);
            high = std::max(high, frame.levels.high);
        }
        const Correction correction = correctionFor(low, high, targetLow, targetHigh);
        EditBlock block(*this, kDoAnalysis.name);
        kBrightness.param(*this).setValue(correction.brightness);
        kContrast.param(*this).setValue(correction.contrast);
        kContrastCenter.param(*this).setValue(correction.contrastCenter);
    }

    void writeKeys(const std::vector<FrameLevels>& measured, float targetLow, float targetHigh) {
        for (const OFX::DoubleRow* row : {&kBrightness, &kContrast, &kContrastCenter})
            row->param(*this).deleteAllKeys();
        for (const FrameLevels& frame : measured) {
            const Correction correction = correctionFor(frame.levels.low, frame.levels.high, targetLow, targetHigh);
            kBrightness.param(*this).setValueAtTime(frame.time, correction.brightness);
            kContrast.param(*this).setValueAtTime(frame.time, correction.contrast);
            kContrastCenter.param(*this).setValueAtTime(frame.time, correction.contrastCenter);
        }
    }
};

using brightnessandcontrastPluginFactory = OFX::EffectFactory<brightnessandcontrast>;
using brightnessandcontrastOpenCLProcessor = OFX::OpenCLEffectProcessor<brightnessandcontrast>;

const OFX::EffectRegistration<brightnessandcontrast> registration;

}  // namespace
