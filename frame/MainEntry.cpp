// The one dispatcher behind every effect's entry point: it logs the action,
// checks the handles, turns them into objects, calls the factory or the
// instance, and maps exceptions to OFX statuses.
#include <cstring>
#include <new>

#include "ImageEffect.h"
#include "Registry.h"

namespace OFX {
namespace {

const char* const kStars = "********************************************************************************";

enum HandleRule { eAny, eNull, eSet };

struct HandleChecks {
    HandleRule handle, inArgs, outArgs;
};

void checkMainHandles(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                      OfxPropertySetHandle outArgs, HandleChecks rules) {
    Log::warning(rules.handle == eNull && handle, "Handle passed to '%s' is not null.", action);
    Log::warning(rules.inArgs == eNull && inArgs, "'inArgs' Handle passed to '%s' is not null.", action);
    Log::warning(rules.outArgs == eNull && outArgs, "'outArgs' Handle passed to '%s' is not null.", action);
    const bool badHandle = rules.handle == eSet && !handle;
    const bool badIn = rules.inArgs == eSet && !inArgs;
    const bool badOut = rules.outArgs == eSet && !outArgs;
    // The stray apostrophe of the first line is what log readers match.
    Log::error(badHandle, "'Handle passed to '%s' is null.", action);
    Log::error(badIn, "'inArgs' handle passed to '%s' is null.", action);
    Log::error(badOut, "'outArgs' handle passed to '%s' is null.", action);
    if (badHandle || badIn || badOut) throw Exception::Suite(kOfxStatErrBadHandle);
}

ImageEffect* retrieveImageEffect(OfxImageEffectHandle handle) {
    OfxPropertySetHandle props = nullptr;
    throwSuiteStatusException(Private::gEffectSuite->getPropertySet(handle, &props));
    auto* effect = static_cast<ImageEffect*>(PropertySet(props).propGetPointer(kOfxPropInstanceData));
    Log::error(!effect, "Instance data handle in effect instance properties is NULL!");
    return effect;
}

// The instance of a live effect, or a bad-handle failure for a host that
// calls an instance action on something that is not one.
ImageEffect& instanceOf(const void* handle) {
    ImageEffect* effect = retrieveImageEffect(static_cast<OfxImageEffectHandle>(const_cast<void*>(handle)));
    if (!effect) throw Exception::Suite(kOfxStatErrBadHandle);
    return *effect;
}

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
    args.renderWindow = OfxRectI{in.propGetInt(kOfxImageEffectPropRenderWindow, 0),
                                 in.propGetInt(kOfxImageEffectPropRenderWindow, 1),
                                 in.propGetInt(kOfxImageEffectPropRenderWindow, 2),
                                 in.propGetInt(kOfxImageEffectPropRenderWindow, 3)};
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

bool is(const char* action, const char* name) {
    return std::strlen(action) == std::strlen(name) && std::memcmp(action, name, std::strlen(name)) == 0;
}

OfxStatus dispatch(const char* action, const void* handle, OfxPropertySetHandle inHandle,
                   OfxPropertySetHandle outHandle, const std::string& uid) {
    PluginFactory* factory = Private::findFactory(uid);
    PropertySet inArgs(inHandle);
    PropertySet outArgs(outHandle);
    auto check = [&](HandleRule h, HandleRule i, HandleRule o) {
        checkMainHandles(action, handle, inHandle, outHandle, HandleChecks{h, i, o});
    };
    auto effectHandle = [&] { return static_cast<OfxImageEffectHandle>(const_cast<void*>(handle)); };
    if (!action) {
        Log::error(true, "Requested action was a null pointer.");
        return kOfxStatReplyDefault;
    }
    if (!factory) throw Exception::Suite(kOfxStatErrBadHandle, "unknown plug-in " + uid);
    if (is(action, kOfxActionLoad)) {
        Private::loadAction();
        factory->load();
        return kOfxStatOK;
    }
    if (is(action, kOfxActionUnload)) {
        check(eNull, eNull, eNull);
        factory->unload();
        Private::unloadAction(uid.c_str());
        return kOfxStatOK;
    }
    if (is(action, kOfxActionDescribe)) {
        check(eSet, eNull, eNull);
        auto* desc = Private::storeDescriptor(uid, eContextNone,
                                              std::make_unique<ImageEffectDescriptor>(effectHandle()));
        factory->describe(*desc);
        return kOfxStatOK;
    }
    if (is(action, kOfxImageEffectActionDescribeInContext)) {
        check(eSet, eSet, eNull);
        const ContextEnum context = mapContextStringToEnum(inArgs.propGetString(kOfxImageEffectPropContext));
        auto* desc =
            Private::storeDescriptor(uid, context, std::make_unique<ImageEffectDescriptor>(effectHandle()));
        factory->describeInContext(*desc, context);
        return kOfxStatOK;
    }
    if (is(action, kOfxActionCreateInstance)) {
        check(eSet, eNull, eNull);
        OfxPropertySetHandle props = nullptr;
        throwSuiteStatusException(Private::gEffectSuite->getPropertySet(effectHandle(), &props));
        const ContextEnum context = mapContextStringToEnum(PropertySet(props).propGetString(kOfxImageEffectPropContext));
        factory->createInstance(effectHandle(), context);
        return kOfxStatOK;
    }
    if (is(action, kOfxActionDestroyInstance)) {
        check(eSet, eNull, eNull);
        delete retrieveImageEffect(effectHandle());
        return kOfxStatOK;
    }
    if (is(action, kOfxImageEffectActionRender)) {
        check(eSet, eSet, eNull);
        const RenderArguments args = readRenderArguments(inArgs);
        instanceOf(handle).render(args);
        return kOfxStatOK;
    }
    if (is(action, kOfxImageEffectActionBeginSequenceRender)) {
        check(eSet, eSet, eNull);
        BeginSequenceRenderArguments args;
        args.frameRange = OfxRangeD{inArgs.propGetDouble(kOfxImageEffectPropFrameRange, 0),
                                    inArgs.propGetDouble(kOfxImageEffectPropFrameRange, 1)};
        args.frameStep = inArgs.propGetDouble(kOfxImageEffectPropFrameStep);
        readSequenceStatus(inArgs, args);
        instanceOf(handle).beginSequenceRender(args);
        return kOfxStatOK;
    }
    if (is(action, kOfxImageEffectActionEndSequenceRender)) {
        check(eSet, eSet, eNull);
        EndSequenceRenderArguments args;
        readSequenceStatus(inArgs, args);
        instanceOf(handle).endSequenceRender(args);
        return kOfxStatOK;
    }
    if (is(action, kOfxImageEffectActionIsIdentity)) {
        check(eSet, eSet, eSet);
        const IsIdentityArguments args = readRenderArguments(inArgs);
        Clip* clip = nullptr;
        double time = args.time;
        if (instanceOf(handle).isIdentity(args, clip, time) && clip) {
            outArgs.propSetString(kOfxPropName, clip->name());
            outArgs.propSetDouble(kOfxPropTime, time);
            return kOfxStatOK;
        }
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionGetRegionOfDefinition) ||
        is(action, kOfxBrambleImageEffectActionGetRegionOfDefinition)) {
        check(eSet, eSet, eSet);
        RegionOfDefinitionArguments args;
        args.renderScale = readRenderScale(inArgs);
        args.time = inArgs.propGetDouble(kOfxPropTime);
        OfxRectD rod{0, 0, 0, 0};
        if (!instanceOf(handle).getRegionOfDefinition(args, rod)) return kOfxStatReplyDefault;
        const double values[4] = {rod.x1, rod.y1, rod.x2, rod.y2};
        outArgs.propSetDoubleN(kOfxImageEffectPropRegionOfDefinition, values, 4);
        return kOfxStatOK;
    }
    if (is(action, kOfxImageEffectActionGetRegionsOfInterest)) {
        check(eSet, eSet, eSet);
        RegionsOfInterestArguments args;
        args.renderScale = readRenderScale(inArgs);
        args.regionOfInterest = OfxRectD{inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 0),
                                         inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 1),
                                         inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 2),
                                         inArgs.propGetDouble(kOfxImageEffectPropRegionOfInterest, 3)};
        args.time = inArgs.propGetDouble(kOfxPropTime);
        RegionOfInterestWriter setter(outArgs);
        instanceOf(handle).getRegionsOfInterest(args, setter);
        return setter.used_ ? kOfxStatOK : kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionGetFramesNeeded)) {
        check(eSet, eSet, eSet);
        FramesNeededArguments args;
        args.time = inArgs.propGetDouble(kOfxPropTime);
        FramesNeededWriter setter(outArgs);
        instanceOf(handle).getFramesNeeded(args, setter);
        return setter.used_ ? kOfxStatOK : kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionGetClipPreferences)) {
        check(eSet, eNull, eSet);
        ClipPreferencesSetter setter(outArgs);
        instanceOf(handle).getClipPreferences(setter);
        return setter.wasUsed() ? kOfxStatOK : kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionPurgeCaches)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).purgeCaches();
        return kOfxStatOK;
    }
    if (is(action, kOfxActionSyncPreClone)) {
        check(eSet, eNull, eNull);
        ImageEffect& effect = instanceOf(handle);
        effect.syncPrivateData();
        effect.syncPreClone();
        return kOfxStatReplyDefault;
    }
    // A property's name used as an action name: that is how the host sends it.
    if (is(action, kOfxImageEffectPropTalvoPrePanCrop)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).prePanCrop();
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionSyncPrivateData)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).syncPrivateData();
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionGetTimeDomain)) {
        check(eSet, eNull, eSet);
        ImageEffect& effect = instanceOf(handle);
        Log::error(effect.getContext() != eContextGeneral,
                   "Calling kOfxImageEffectActionGetTimeDomain on an effect that is not a general context effect.");
        OfxRangeD range{0, 0};
        if (!effect.getTimeDomain(range)) return kOfxStatReplyDefault;
        const double values[2] = {range.min, range.max};
        outArgs.propSetDoubleN(kOfxImageEffectPropFrameRange, values, 2);
        return kOfxStatOK;
    }
    // The instance-change and edit actions answer the default however they
    // went: the host is told that nothing further was done.
    if (is(action, kOfxActionBeginInstanceChanged)) {
        check(eSet, eSet, eNull);
        instanceOf(handle).beginChanged(mapInstanceChangedReason(inArgs.propGetString(kOfxPropChangeReason)));
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionInstanceChanged)) {
        check(eSet, eSet, eNull);
        ImageEffect& effect = instanceOf(handle);
        const std::string type = inArgs.propGetString(kOfxPropType);
        const std::string name = inArgs.propGetString(kOfxPropName);
        // Only the time is passed on: an analysis reads the frames at the
        // time the change was made.
        InstanceChangedArgs args;
        args.time = inArgs.propGetDouble(kOfxPropTime, 0, false);
        if (type == kOfxTypeParameter)
            effect.changedParam(args, name);
        else if (type == kOfxTypeClip)
            effect.changedClip(args, name);
        else
            Log::error(true, "Instance Changed called with unknown type '%s' of object '%s'", type.c_str(),
                       name.c_str());
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionEndInstanceChanged)) {
        check(eSet, eSet, eNull);
        instanceOf(handle).endChanged(mapInstanceChangedReason(inArgs.propGetString(kOfxPropChangeReason)));
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionBeginInstanceEdit)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).beginEdit();
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionEndInstanceEdit)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).endEdit();
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionTalvoKeyframeUplift)) {
        check(eSet, eSet, eNull);
        instanceOf(handle).keyframeUplift(KeyframeUpliftArguments(inArgs));
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionInvokeHelp)) {
        check(eSet, eNull, eNull);
        return instanceOf(handle).invokeHelp() ? kOfxStatOK : kOfxStatReplyDefault;
    }
    if (is(action, kOfxImageEffectActionInvokeAbout)) {
        check(eSet, eNull, eNull);
        return instanceOf(handle).invokeAbout() ? kOfxStatOK : kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionOpenGLContextAttached)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).openGLContextAttached();
        return kOfxStatReplyDefault;
    }
    if (is(action, kOfxActionOpenGLContextDetached)) {
        check(eSet, eNull, eNull);
        instanceOf(handle).openGLContextDetached();
        return kOfxStatReplyDefault;
    }
    Log::error(true, "Unknown action '%s'.", action);
    return kOfxStatReplyDefault;
}

// Runs a body under the frame's log lines and exception mapping.
template <class Body>
OfxStatus guarded(const char* what, Body&& body) {
    Log::print("%s", kStars);
    Log::print("START %s", what);
    Log::indent();
    OfxStatus status = kOfxStatReplyDefault;
    try {
        status = body();
    } catch (const Exception::Suite& e) {
        status = e.status();
    } catch (const Exception::HostInadequate&) {
        status = kOfxStatErrMissingHostFeature;
    } catch (const Exception::PropertyUnknownToHost&) {
        status = kOfxStatErrMissingHostFeature;
    } catch (const std::bad_alloc&) {
        status = kOfxStatErrMemory;
    } catch (const std::exception&) {
        status = kOfxStatFailed;
    } catch (...) {
        status = kOfxStatFailed;
    }
    Log::outdent();
    Log::print("STOP %s\n", what);
    return status;
}

}  // namespace

namespace Private {

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                    OfxPropertySetHandle outArgs, const char* plugname) {
    const std::string what = std::string("mainEntry (") + (action ? action : "(null)") + ")";
    return guarded(what.c_str(), [&] { return dispatch(action, handle, inArgs, outArgs, plugname); });
}

OfxStatus customParamInterpolationV1Entry(OfxParamSetHandle instance, OfxPropertySetHandle inHandle,
                                          OfxPropertySetHandle outHandle) {
    return guarded("customParamInterpolationV1Entry", [&] {
        // Standard hosts pass the instance's parameter set; hosts of the
        // Talvo family pass the effect handle itself.
        ImageEffect* owner = ImageEffect::fromParamSet(instance);
        ImageEffect& effect = owner ? *owner : instanceOf(instance);
        const PropertySet in(inHandle);
        PropertySet out(outHandle);
        InterpolateCustomArgs args;
        args.time = in.propGetDouble(kOfxPropTime);
        args.value1 = in.propGetString(kOfxParamPropCustomValue, 0);
        args.value2 = in.propGetString(kOfxParamPropCustomValue, 1);
        args.keyTime1 = in.propGetDouble(kOfxParamPropInterpolationTime, 0);
        args.keyTime2 = in.propGetDouble(kOfxParamPropInterpolationTime, 1);
        args.amount = in.propGetDouble(kOfxParamPropInterpolationAmount);
        args.name = in.propGetString(kOfxPropName);
        std::string result;
        effect.interpolateCustomParam(args, result);
        out.propSetString(kOfxParamPropCustomValue, result);
        return kOfxStatOK;
    });
}

}  // namespace Private
}  // namespace OFX
