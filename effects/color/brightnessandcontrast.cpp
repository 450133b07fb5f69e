// Brightness and Contrast: adds the brightness to each colour, then spreads
// the colours around the contrast centre. Its analysis measures the source's
// levels and writes the three values that map them onto a target range.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "EffectOpenCL.h"
#include "EffectSkeleton.h"
#include "ImageProcessor.h"
#include "ImageStatistics.h"
#include "OpenCLProcessor.h"
#include "RawView.h"

namespace {

constexpr std::string_view kKernelText =
#include "brightnessandcontrast.cl.inc"
    ;

// Shared by all instances, from the factory's load to its unload. The
// program holds a byte and a float kernel, in this order; the analysis stays
// on the CPU.
EffectOpenCL openCL(kKernelText, kernelsByDepth({"k7c3e0b95d", "ke18a4f2c6"}));

const OFX::EffectDeclaration kBrightnessAndContrast{
    "talvo.effects:brightnessandcontrast", "TALVO Brightness and Contrast", "TALVO\\Color", OFX::eContextFilter, 1640,
    "{EC9C4A02-E360-11D1-9AA9-00A0C99B12C5}",
};

constexpr const char* kBrightnessParam = "Brightness";
constexpr const char* kContrastParam = "Contrast";
constexpr const char* kContrastCenterParam = "ContrastCenter";
constexpr const char* kGroupParam = "Group";
constexpr const char* kGroupInputParam = "GroupInput";
constexpr const char* kGroupOutputParam = "GroupOutput";
constexpr const char* kPercentParam = "Percent";
constexpr const char* kMinParam = "Min";
constexpr const char* kMaxParam = "Max";
constexpr const char* kReferenceModeParam = "ReferenceMode";
constexpr const char* kDoAnalysisParam = "DoAnalysis";

constexpr const char* kAnalysisPhase = "AnalysisPhase";

// The frames the analysis reads, in the order of the choice's options.
enum ReferenceMode { eCurrentFrame = 0, eCurrentMedia, eEachFrameIndependently };
constexpr const char* kReferenceModeOptions[] = {"RM_CurrentFrame", "RM_CurrentMedia", "RM_EachFrameIndependently"};

// One slider of the panel; the label serves all three label lengths.
struct SliderRow {
    const char* name;
    const char* label;
    double defaultValue, min, max, displayMin, displayMax, increment;
    bool animates;
};

const SliderRow kBrightnessRow{kBrightnessParam, "Brightness", 0.0, -1.0, 1.0, -1.0, 1.0, 0.1, true};
const SliderRow kContrastRow{kContrastParam, "Contrast", 0.0, -1.0, 1.0, -1.0, 1.0, 0.1, true};
const SliderRow kContrastCenterRow{kContrastCenterParam, "Contrast center", 0.5, 0.0, 1.0, 0.0, 1.0, 0.1, true};
// The analysis settings are not animated: an analysis is run once, at a time.
const SliderRow kPercentRow{kPercentParam, "Percent", 0.01, 0.0, 0.5, 0.0, 0.5, 0.01, false};
// By default the analysis maps a frame's range onto the video-legal 15..235
// of 255. Note: Max runs from 0.01 but is shown from 0.1; both stand.
const SliderRow kMinRow{kMinParam, "Min", 15.0 / 255.0, 0.0, 0.99, 0.0, 0.99, 0.1, false};
const SliderRow kMaxRow{kMaxParam, "Max", 235.0 / 255.0, 0.01, 1.0, 0.1, 1.0, 0.1, false};

// The script name is the identifier itself.
OFX::DoubleParamDescriptor* defineSlider(OFX::ImageEffectDescriptor& desc, const SliderRow& row) {
    OFX::DoubleParamDescriptor* param = desc.defineDoubleParam(row.name);
    param->setLabels(row.label, row.label, row.label);
    param->setScriptName(row.name);
    param->setDefault(row.defaultValue);
    param->setRange(row.min, row.max);
    param->setIncrement(row.increment);
    param->setDisplayRange(row.displayMin, row.displayMax);
    param->setAnimates(row.animates);
    return param;
}

OFX::GroupParamDescriptor* defineGroup(OFX::ImageEffectDescriptor& desc, const char* name) {
    OFX::GroupParamDescriptor* group = desc.defineGroupParam(name);
    group->setLabels(name, name, name);
    return group;
}

// A parameter within this of zero changes nothing, and its pass is skipped.
constexpr double kNoChange = 1e-6;

// Float pixels with alpha at or below this carry no colour.
constexpr double kAlphaFloor = 1e-6;

// Note: the byte table divides by 1.0000001 - C and the float path by
// 1.000001 - C; the two differ on purpose and both are the defined results.
constexpr float kByteContrastTop = 1.0000001f;
constexpr float kFloatContrastTop = 1.000001f;

// The spread of the contrast: a reciprocal above 0, so that C near 1 spreads
// without bound, and 1 + C below, down to a flat grey at -1.
float contrastFactor(float contrast, float top) { return contrast > 0.0f ? 1.0f / (top - contrast) : contrast + 1.0f; }

class brightnessandcontrastProcessorBase : public OFX::ImageProcessor {
public:
    using OFX::ImageProcessor::ImageProcessor;

    void setSrcImg(OFX::Image* image) { srcImg = image; }
    void setValues(double brightnessValue, double contrastValue, double contrastCenterValue) {
        brightness = brightnessValue;
        contrast = contrastValue;
        contrastCenter = contrastCenterValue;
    }

protected:
    OFX::Image* srcImg = nullptr;
    double brightness = 0.0;
    double contrast = 0.0;
    double contrastCenter = 0.5;
};

// The three colours get the same treatment, so the pixel order only decides
// which storage index is which colour and the results match.
template <class PIX, int nComponents, int max, int isBGRA>
class brightnessandcontrastProcessor : public brightnessandcontrastProcessorBase {
public:
    using brightnessandcontrastProcessorBase::brightnessandcontrastProcessorBase;

    int multiThreadProcessImages(OfxRectI procWindow) override {
        constexpr int32_t bytesPerPixel = sizeof(PIX) * 4;
        int status = 0;
        if (!OFX::copySourceToOutput(dstImg, srcImg, procWindow, bytesPerPixel, status)) return status;

        const bool lifts = std::abs(brightness) > kNoChange;
        const bool spreads = std::abs(contrast) > kNoChange;
        if (!lifts && !spreads) return 0;

        const OfxRectI rows = OFX::clipToImage(procWindow, dstImg);
        const float b = static_cast<float>(brightness);
        const float c = static_cast<float>(contrast);
        const float p = static_cast<float>(contrastCenter);
        if constexpr (std::is_same_v<PIX, unsigned char>) {
            return adjustBytes(rows, b, c, p);
        } else {
            // Two passes, each under the alpha rule: the lift is premultiplied
            // back before the spread unpremultiplies again.
            if (lifts) {
                if (const int stopped = floatPass(rows, [b](float v) { return v + b; })) return stopped;
            }
            if (spreads) {
                const float k = contrastFactor(c, kFloatContrastTop);
                return floatPass(rows, [p, k](float v) { return (v - p) * k + p; });
            }
            return 0;
        }
    }

private:
    // Both steps in one table of the 256 levels, built afresh by every
    // band; the colour is then held to alpha so that it stays premultiplied.
    int adjustBytes(const OfxRectI& rows, float b, float c, float p) {
        const float k = contrastFactor(c, kByteContrastTop);
        unsigned char table[256];
        for (int i = 0; i < 256; ++i) {
            const float v = ((static_cast<float>(i) / 255.0f + b - p) * k + p) * 255.0f;
            table[i] = static_cast<unsigned char>(std::clamp(v, 0.0f, 255.0f));
        }
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* px = static_cast<unsigned char*>(dstImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, px += 4) {
                const unsigned char a = px[3];
                px[0] = std::min(table[px[0]], a);
                px[1] = std::min(table[px[1]], a);
                px[2] = std::min(table[px[2]], a);
            }
        }
        return 0;
    }

    template <class Formula>
    int floatPass(const OfxRectI& rows, const Formula& formula) {
        for (int y = rows.y1; y < rows.y2; ++y) {
            if (effect.abort()) return 1;
            auto* px = static_cast<float*>(dstImg->getPixelAddress(rows.x1, y));
            for (int x = rows.x1; x < rows.x2; ++x, px += 4) underAlphaRule(px, formula);
        }
        return 0;
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

// The three colours get the same treatment, so the pixel order does not
// matter.
class brightnessandcontrastOpenCLProcessor : public OpenCLProcessor<brightnessandcontrastProcessorBase> {
public:
    using OpenCLProcessor::OpenCLProcessor;

    void process() override {
        if (!dstImg || !srcImg) return;
        // The two 4-byte values are the window's width and height; the
        // vector holds brightness, contrast, centre, and which steps run
        // (1 the lift, 2 the spread), decided here on the doubles.
        const float steps = (std::abs(brightness) > kNoChange ? 1.0f : 0.0f) +
                            (std::abs(contrast) > kNoChange ? 2.0f : 0.0f);
        const cl_float4 values = {{static_cast<float>(brightness), static_cast<float>(contrast),
                                   static_cast<float>(contrastCenter), steps}};
        const bool isFloat = floatOutput();
        launchOverWindow(openCL, isFloat ? 1 : 0, buffer(srcImg), buffer(dstImg), windowWidth(), windowHeight(),
                         values);
    }
};

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
    OFX::LevelRange levels;
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

class brightnessandcontrastPlugin : public OFX::ImageEffect {
public:
    explicit brightnessandcontrastPlugin(OfxImageEffectHandle handle)
        : OFX::ImageEffect(handle),
          srcClip(fetchClip(OFX::kSourceClip)),
          dstClip(fetchClip(OFX::kOutputClip)),
          brightness(fetchDoubleParam(kBrightnessParam)),
          contrast(fetchDoubleParam(kContrastParam)),
          contrastCenter(fetchDoubleParam(kContrastCenterParam)),
          percent(fetchDoubleParam(kPercentParam)),
          targetMin(fetchDoubleParam(kMinParam)),
          targetMax(fetchDoubleParam(kMaxParam)),
          referenceMode(fetchChoiceParam(kReferenceModeParam)) {
        openCL.buildIfDeferred();
    }

    void render(const OFX::RenderArguments& args) override {
        if (renderOnOpenCL<brightnessandcontrastOpenCLProcessor>(*this, *dstClip, args)) return;
        OFX::renderOnCPU<brightnessandcontrastProcessor>(*this, *dstClip, args);
    }

    bool getRegionOfDefinition(const OFX::RegionOfDefinitionArguments&, OfxRectD& rod) override {
        OFX::setInfiniteRegion(rod);
        return true;
    }

    void changedParam(const OFX::InstanceChangedArgs& args, const std::string& paramName) override {
        if (paramName == kDoAnalysisParam) analyse(args.time);
    }

    void setupAndProcess(brightnessandcontrastProcessorBase& processor, const OFX::RenderArguments& args) {
        std::unique_ptr<OFX::Image> dst(dstClip->fetchImage(args.time));
        std::unique_ptr<OFX::Image> src(srcClip->fetchImage(args.time));
        processor.setDstImg(dst.get());
        processor.setSrcImg(src.get());
        processor.setRenderWindow(args.renderWindow);
        processor.setValues(brightness->getValueAtTime(args.time), contrast->getValueAtTime(args.time),
                            contrastCenter->getValueAtTime(args.time));
        processor.process();
    }

private:
    // Reads the frames of the reference mode, measures each, and writes the
    // correction: once for the current frame or the whole media (from the
    // darkest low and the brightest high of its frames), as keys for each
    // frame on its own. Frames with no visible pixel say nothing about
    // levels and are passed over; when nothing was measured (the first frame
    // missing, or cancelled at once) nothing is written and no key is lost.
    void analyse(double time) {
        const int mode = referenceMode->getValue();
        // Note: Percent is read as a float and compared with the float
        // epsilon, 1.1920929e-07: below it no tail is cut and the plain
        // extremes are measured, exact on float frames; at or above it the
        // levels come from the histogram with that tail cut at each end.
        const float tail = static_cast<float>(percent->getValue());
        const bool plainExtremes = tail < 1.1920929e-07f;

        OfxRangeD frames{time, time};
        if (mode != eCurrentFrame) frames = srcClip->getFrameRange();
        const bool bgra = srcClip->getPixelOrder() == 1;
        const double count = std::floor(frames.max - frames.min) + 1.0;

        std::vector<FrameLevels> measured;
        {
            ProgressScope progress(*this, kAnalysisPhase);
            for (double t = frames.min; t <= frames.max; t += 1.0) {
                std::unique_ptr<OFX::Image> src(srcClip->fetchImage(t));
                if (!src) break;
                const OFX::RawView view = OFX::rawView(src.get());
                const std::optional<OFX::LevelRange> levels =
                    plainExtremes ? OFX::lumaExtremes(view, bgra) : OFX::lumaPercentiles(view, bgra, tail);
                if (levels) measured.push_back({t, *levels});
                if (!progressUpdate((t - frames.min + 1.0) / count)) break;
            }
        }
        if (measured.empty()) return;

        const float targetLow = static_cast<float>(targetMin->getValue());
        const float targetHigh = static_cast<float>(targetMax->getValue());
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
        EditBlock block(*this, kDoAnalysisParam);
        brightness->setValue(correction.brightness);
        contrast->setValue(correction.contrast);
        contrastCenter->setValue(correction.contrastCenter);
    }

    void writeKeys(const std::vector<FrameLevels>& measured, float targetLow, float targetHigh) {
        for (OFX::DoubleParam* param : {brightness, contrast, contrastCenter}) param->deleteAllKeys();
        for (const FrameLevels& frame : measured) {
            const Correction correction = correctionFor(frame.levels.low, frame.levels.high, targetLow, targetHigh);
            brightness->setValueAtTime(frame.time, correction.brightness);
            contrast->setValueAtTime(frame.time, correction.contrast);
            contrastCenter->setValueAtTime(frame.time, correction.contrastCenter);
        }
    }

    OFX::Clip* srcClip;
    OFX::Clip* dstClip;
    OFX::DoubleParam* brightness;
    OFX::DoubleParam* contrast;
    OFX::DoubleParam* contrastCenter;
    OFX::DoubleParam* percent;
    OFX::DoubleParam* targetMin;
    OFX::DoubleParam* targetMax;
    OFX::ChoiceParam* referenceMode;
};

class brightnessandcontrastPluginFactory : public OFX::PluginFactoryHelper<brightnessandcontrastPluginFactory> {
public:
    brightnessandcontrastPluginFactory()
        : OFX::PluginFactoryHelper<brightnessandcontrastPluginFactory>("talvo.effects:brightnessandcontrast", 1, 0) {}

    void load() override { openCL.load(); }
    void unload() override { openCL.unload(); }

    void describe(OFX::ImageEffectDescriptor& desc) override { OFX::describeEffect(desc, kBrightnessAndContrast); }

    void describeInContext(OFX::ImageEffectDescriptor& desc, OFX::ContextEnum context) override {
        OFX::defineEffectClips(desc, context);
        defineSlider(desc, kBrightnessRow);
        defineSlider(desc, kContrastRow);
        defineSlider(desc, kContrastCenterRow);
        defineGroup(desc, kGroupParam);
        defineGroup(desc, kGroupInputParam);
        const OFX::GroupParamDescriptor& output = *defineGroup(desc, kGroupOutputParam);
        for (const SliderRow* row : {&kPercentRow, &kMinRow, &kMaxRow}) defineSlider(desc, *row)->setParent(output);

        OFX::ChoiceParamDescriptor* mode = desc.defineChoiceParam(kReferenceModeParam);
        mode->setLabels(kReferenceModeParam, kReferenceModeParam, kReferenceModeParam);
        mode->setScriptName(kReferenceModeParam);
        for (const char* option : kReferenceModeOptions) mode->appendOption(option);
        mode->setDefault(eCurrentMedia);
        mode->setAnimates(false);
        mode->setParent(output);

        OFX::PushButtonParamDescriptor* analysis = desc.definePushButtonParam(kDoAnalysisParam);
        analysis->setLabels(kDoAnalysisParam, kDoAnalysisParam, kDoAnalysisParam);
        analysis->setParent(output);
        OFX::finishEffectDescription(desc, kBrightnessAndContrast);
    }

    OFX::ImageEffect* createInstance(OfxImageEffectHandle handle, OFX::ContextEnum) override {
        return new brightnessandcontrastPlugin(handle);
    }
};

const OFX::FactoryRegistration<brightnessandcontrastPluginFactory> registration;

}  // namespace
