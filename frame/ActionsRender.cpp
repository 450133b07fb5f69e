// Rendering and the questions a host asks around it: the arguments read
// from the host's properties, and the answers written back.
#include <stdexcept>
#include <string>

#include "Actions.h"

namespace OFX {
namespace Actions {
namespace {

OfxPointD readRenderScale(const PropertySet& args) {
    return OfxPointD{args.propGetDouble(kOfxImageEffectPropRenderScale, 0),
                     args.propGetDouble(kOfxImageEffectPropRenderScale, 1)};
}

FieldEnum mapFieldToRender(const std::string& s) {
    if (s == kOfxImageFieldNone) return eFieldNone;
    if (s == kOfxImageFieldBoth) return eFieldBoth;
    if (s == kOfxImageFieldLower) return eFieldLower;
    if (s == kOfxImageFieldUpper) return eFieldUpper;
    Log::error(true, "Unknown field to render '%s'", s.c_str());
    return eFieldNone;
}

RenderQualityEnum mapRenderQuality(const std::string& s) {
    if (s.empty()) return eRenderQualityNone;
    if (s == kOfxImageEffectPropRenderQualityDraft) return eRenderQualityDraft;
    if (s == kOfxImageEffectPropRenderQualityPreview) return eRenderQualityPreview;
    if (s == kOfxImageEffectPropRenderQualityGood) return eRenderQualityGood;
    if (s == kOfxImageEffectPropRenderQualityBest) return eRenderQualityBest;
    Log::error(true, "Unknown Talvo RenderQuality '%s'", s.c_str());
    throw std::invalid_argument("unknown render quality");
}

RenderArguments readRenderArguments(const PropertySet& in) {
    RenderArguments args;
    args.time = in.propGetDouble(kOfxPropTime);
    args.timeCode = in.propGetDouble(kOfxPropTalvoTimeCode, 0, false);
    args.renderScale = readRenderScale(in);
    args.renderWindow =
        OfxRectI{in.propGetInt(kOfxImageEffectPropRenderWindow, 0), in.propGetInt(kOfxImageEffectPropRenderWindow, 1),
                 in.propGetInt(kOfxImageEffectPropRenderWindow, 2), in.propGetInt(kOfxImageEffectPropRenderWindow, 3)};
    args.viewsToRender = in.propGetInt(kOfxImageEffectPropViewsToRender, 0, false);
    args.renderView = in.propGetInt(kOfxImageEffectPropRenderView, 0, false);
    const bool openCLAsked = in.propGetInt(kOfxImageEffectPropOpenCLEnabled, 0, false) != 0;
    args.openCLContext = in.propGetPointer(kOfxImageEffectPropOpenCLContext, 0, false);
    args.openCLQueue = in.propGetPointer(kOfxImageEffectPropOpenCLCommandQueue, 0, false);
    args.openCLEnabled = openCLAsked && args.openCLContext && args.openCLQueue;
    args.openGLEnabled = in.propGetInt(kOfxImageEffectPropOpenGLEnabled, 0, false) != 0;
    args.sequentialRenderStatus = in.propGetInt(kOfxImageEffectPropSequentialRenderStatus, 0, false) != 0;
    args.interactiveRenderStatus = in.propGetInt(kOfxImageEffectPropInteractiveRenderStatus, 0, false) != 0;
    args.renderQualityDraft = in.propGetInt(kOfxImageEffectPropRenderQualityDraft, 0, false) != 0;
    args.fieldToRender = mapFieldToRender(in.propGetString(kOfxImageEffectPropFieldToRender));
    args.renderQuality = mapRenderQuality(in.propGetString(kOfxImageEffectPropRenderQuality, 0, false));
    return args;
}

template <class Args>
void readSequenceStatus(const PropertySet& in, Args& args) {
    args.renderScale = readRenderScale(in);
    args.openGLEnabled = in.propGetInt(kOfxImageEffectPropOpenGLEnabled, 0, false) != 0;
    args.isInteractive = in.propGetInt(kOfxPropIsInteractive) != 0;
    args.sequentialRenderStatus = in.propGetInt(kOfxImageEffectPropSequentialRenderStatus, 0, false) != 0;
    args.interactiveRenderStatus = in.propGetInt(kOfxImageEffectPropInteractiveRenderStatus, 0, false) != 0;
}

// Writes each clip's region of interest under the clip's own property name.
class RegionOfInterestWriter : public RegionOfInterestSetter {
public:
    explicit RegionOfInterestWriter(PropertySet& out) : out_(out) {}
    void setRegionOfInterest(const Clip& clip, const OfxRectD& r) override {
        const double values[4] = {r.x1, r.y1, r.x2, r.y2};
        out_.propSetDoubleN(("OfxImageClipPropRoI_" + clip.name()).c_str(), values, 4);
        used_ = true;
    }
    bool used_ = false;

private:
    PropertySet& out_;
};

class FramesNeededWriter : public FramesNeededSetter {
public:
    explicit FramesNeededWriter(PropertySet& out) : out_(out) {}
    void setFramesNeeded(const Clip& clip, const OfxRangeD& range) override {
        const double values[2] = {range.min, range.max};
        out_.propSetDoubleN(("OfxImageClipPropFrameRange_" + clip.name()).c_str(), values, 2);
        used_ = true;
    }
    bool used_ = false;

private:
    PropertySet& out_;
};

OfxStatus render(Call& c) {
    c.check(eSet, eSet, eNull);
    const RenderArguments args = readRenderArguments(c.inArgs);
    c.instance().render(args);
    return kOfxStatOK;
}

OfxStatus beginSequenceRender(Call& c) {
    c.check(eSet, eSet, eNull);
    BeginSequenceRenderArguments args;
    args.frameRange = OfxRangeD{c.inArgs.propGetDouble(kOfxImageEffectPropFrameRange, 0),
                                c.inArgs.propGetDouble(kOfxImageEffectPropFrameRange, 1)};
    args.frameStep = c.inArgs.propGetDouble(kOfxImageEffectPropFrameStep);
    readSequenceStatus(c.inArgs, args);
    c.instance().beginSequenceRender(args);
    return kOfxStatOK;
}

OfxStatus endSequenceRender(Call& c) {
    c.check(eSet, eSet, eNull);
    EndSequenceRenderArguments args;
    readSequenceStatus(c.inArgs, args);
    c.instance().endSequenceRender(args);
    return kOfxStatOK;
}

OfxStatus isIdentity(Call& c) {
    c.check(eSet, eSet, eSet);
    const IsIdentityArguments args = readRenderArguments(c.inArgs);
    Clip* clip = nullptr;
    double time = args.time;
    if (c.instance().isIdentity(args, clip, time) && clip) {
        c.outArgs.propSetString(kOfxPropName, clip->name());
        c.outArgs.propSetDouble(kOfxPropTime, time);
        return kOfxStatOK;
    }
    return kOfxStatReplyDefault;
}

OfxStatus regionOfDefinition(Call& c) {
    c.check(eSet, eSet, eSet);
    RegionOfDefinitionArguments args;
    args.renderScale = readRenderScale(c.inArgs);
    args.time = c.inArgs.propGetDouble(kOfxPropTime);
    OfxRectD rod{0, 0, 0, 0};
    if (!c.instance().getRegionOfDefinition(args, rod)) return kOfxStatReplyDefault;
    const double values[4] = {rod.x1, rod.y1, rod.x2, rod.y2};
    c.outArgs.propSetDoubleN(kOfxImageEffectPropRegionOfDefinition, values, 4);
    return kOfxStatOK;
}

OfxStatus regionsOfInterest(Call& c) {
    c.check(eSet, eSet, eSet);
    RegionsOfInterestArguments args;
    args.renderScale = readRenderScale(c.inArgs);
    args.regionOfInterest = OfxRectD{c.inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 0),
                                     c.inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 1),
                                     c.inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 2),
                                     c.inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 3)};
    args.time = c.inArgs.propGetDouble(kOfxPropTime);
    RegionOfInterestWriter setter(c.outArgs);
    c.instance().getRegionsOfInterest(args, setter);
    return setter.used_ ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxStatus framesNeeded(Call& c) {
    c.check(eSet, eSet, eSet);
    FramesNeededArguments args;
    args.time = c.inArgs.propGetDouble(kOfxPropTime);
    FramesNeededWriter setter(c.outArgs);
    c.instance().getFramesNeeded(args, setter);
    return setter.used_ ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxStatus clipPreferences(Call& c) {
    c.check(eSet, eNull, eSet);
    ClipPreferencesSetter setter(c.outArgs);
    c.instance().getClipPreferences(setter);
    return setter.wasUsed() ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxStatus timeDomain(Call& c) {
    c.check(eSet, eNull, eSet);
    ImageEffect& effect = c.instance();
    Log::error(effect.getContext() != eContextGeneral,
               "Calling kOfxImageEffectActionGetTimeDomain on an effect that is not a general context effect.");
    OfxRangeD range{0, 0};
    if (!effect.getTimeDomain(range)) return kOfxStatReplyDefault;
    const double values[2] = {range.min, range.max};
    c.outArgs.propSetDoubleN(kOfxImageEffectPropFrameRange, values, 2);
    return kOfxStatOK;
}

const Entry kEntries[] = {
    {kOfxImageEffectActionRender, &render},
    {kOfxImageEffectActionBeginSequenceRender, &beginSequenceRender},
    {kOfxImageEffectActionEndSequenceRender, &endSequenceRender},
    {kOfxImageEffectActionIsIdentity, &isIdentity},
    {kOfxImageEffectActionGetRegionOfDefinition, &regionOfDefinition},
    // The same question under the name some hosts of the family use.
    {kOfxBrambleImageEffectActionGetRegionOfDefinition, &regionOfDefinition},
    {kOfxImageEffectActionGetRegionsOfInterest, &regionsOfInterest},
    {kOfxImageEffectActionGetFramesNeeded, &framesNeeded},
    {kOfxImageEffectActionGetClipPreferences, &clipPreferences},
    {kOfxImageEffectActionGetTimeDomain, &timeDomain},
};

}  // namespace

std::span<const Entry> renderActions() { return kEntries; }

}  // namespace Actions
}  // namespace OFX
