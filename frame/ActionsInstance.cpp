// The changes and requests of a live instance: caches and private data,
// parameter and clip changes, edits, the keyframe uplift, help and about,
// and the OpenGL context.
#include <string>

#include "Actions.h"

namespace OFX {
namespace Actions {
namespace {

OfxStatus purgeCaches(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().purgeCaches();
    return kOfxStatOK;
}

OfxStatus syncPreClone(Call& c) {
    c.check(eSet, eNull, eNull);
    ImageEffect& effect = c.instance();
    effect.syncPrivateData();
    effect.syncPreClone();
    return kOfxStatReplyDefault;
}

OfxStatus prePanCrop(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().prePanCrop();
    return kOfxStatReplyDefault;
}

OfxStatus syncPrivateData(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().syncPrivateData();
    return kOfxStatReplyDefault;
}

// The instance-change and edit actions answer the default however they
// went: the host is told that nothing further was done.
OfxStatus beginInstanceChanged(Call& c) {
    c.check(eSet, eSet, eNull);
    c.instance().beginChanged(mapInstanceChangedReason(c.inArgs.propGetString(kOfxPropChangeReason)));
    return kOfxStatReplyDefault;
}

OfxStatus instanceChanged(Call& c) {
    c.check(eSet, eSet, eNull);
    ImageEffect& effect = c.instance();
    const std::string type = c.inArgs.propGetString(kOfxPropType);
    const std::string name = c.inArgs.propGetString(kOfxPropName);
    // Only the time is passed on: an analysis reads the frames at the
    // time the change was made.
    InstanceChangedArgs args;
    args.time = c.inArgs.propGetDouble(kOfxPropTime, 0, false);
    if (type == kOfxTypeParameter)
        effect.changedParam(args, name);
    else if (type == kOfxTypeClip)
        effect.changedClip(args, name);
    else
        Log::error(true, "Instance Changed called with unknown type '%s' of object '%s'", type.c_str(), name.c_str());
    return kOfxStatReplyDefault;
}

OfxStatus endInstanceChanged(Call& c) {
    c.check(eSet, eSet, eNull);
    c.instance().endChanged(mapInstanceChangedReason(c.inArgs.propGetString(kOfxPropChangeReason)));
    return kOfxStatReplyDefault;
}

OfxStatus beginInstanceEdit(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().beginEdit();
    return kOfxStatReplyDefault;
}

OfxStatus endInstanceEdit(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().endEdit();
    return kOfxStatReplyDefault;
}

OfxStatus keyframeUplift(Call& c) {
    c.check(eSet, eSet, eNull);
    c.instance().keyframeUplift(KeyframeUpliftArguments(c.inArgs));
    return kOfxStatReplyDefault;
}

OfxStatus invokeHelp(Call& c) {
    c.check(eSet, eNull, eNull);
    return c.instance().invokeHelp() ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxStatus invokeAbout(Call& c) {
    c.check(eSet, eNull, eNull);
    return c.instance().invokeAbout() ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxStatus openGLContextAttached(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().openGLContextAttached();
    return kOfxStatReplyDefault;
}

OfxStatus openGLContextDetached(Call& c) {
    c.check(eSet, eNull, eNull);
    c.instance().openGLContextDetached();
    return kOfxStatReplyDefault;
}

const Entry kEntries[] = {
    {kOfxActionPurgeCaches, &purgeCaches},
    {kOfxActionSyncPreClone, &syncPreClone},
    // A property's name used as an action name: that is how the host sends it.
    {kOfxImageEffectPropTalvoPrePanCrop, &prePanCrop},
    {kOfxActionSyncPrivateData, &syncPrivateData},
    {kOfxActionBeginInstanceChanged, &beginInstanceChanged},
    {kOfxActionInstanceChanged, &instanceChanged},
    {kOfxActionEndInstanceChanged, &endInstanceChanged},
    {kOfxActionBeginInstanceEdit, &beginInstanceEdit},
    {kOfxActionEndInstanceEdit, &endInstanceEdit},
    {kOfxImageEffectActionTalvoKeyframeUplift, &keyframeUplift},
    {kOfxImageEffectActionInvokeHelp, &invokeHelp},
    {kOfxImageEffectActionInvokeAbout, &invokeAbout},
    {kOfxActionOpenGLContextAttached, &openGLContextAttached},
    {kOfxActionOpenGLContextDetached, &openGLContextDetached},
};

}  // namespace

std::span<const Entry> instanceActions() { return kEntries; }

}  // namespace Actions
}  // namespace OFX
