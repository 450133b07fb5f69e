// The life of a plug-in and of its instances.
#include <memory>

#include "Actions.h"
#include "Registry.h"

namespace OFX {
namespace Actions {
namespace {

// The factory's own load follows the frame's: the suites are fetched first.
OfxStatus load(Call& c) {
    Private::loadAction(c.uid);
    c.factory.load();
    return kOfxStatOK;
}

OfxStatus unload(Call& c) {
    c.check(eNull, eNull, eNull);
    // A repeated unload must not release what the effect's load still holds.
    if (Private::effectLoaded(c.uid)) c.factory.unload();
    Private::unloadAction(c.uid);
    return kOfxStatOK;
}

OfxStatus describe(Call& c) {
    c.check(eSet, eNull, eNull);
    auto* desc =
        Private::storeDescriptor(c.uid, eContextNone, std::make_unique<ImageEffectDescriptor>(c.effectHandle()));
    c.factory.describe(*desc);
    return kOfxStatOK;
}

OfxStatus describeInContext(Call& c) {
    c.check(eSet, eSet, eNull);
    const ContextEnum context = mapContextStringToEnum(c.inArgs.propGetString(kOfxImageEffectPropContext));
    auto* desc = Private::storeDescriptor(c.uid, context, std::make_unique<ImageEffectDescriptor>(c.effectHandle()));
    c.factory.describeInContext(*desc, context);
    return kOfxStatOK;
}

OfxStatus createInstance(Call& c) {
    c.check(eSet, eNull, eNull);
    OfxPropertySetHandle props = nullptr;
    throwSuiteStatusException(Private::gEffectSuite->getPropertySet(c.effectHandle(), &props));
    const ContextEnum context = mapContextStringToEnum(PropertySet(props).propGetString(kOfxImageEffectPropContext));
    // The instance stores itself in the host's instance data and lives until
    // the destroy action deletes it.
    c.factory.createInstance(c.effectHandle(), context);
    return kOfxStatOK;
}

OfxStatus destroyInstance(Call& c) {
    c.check(eSet, eNull, eNull);
    delete retrieveImageEffect(c.effectHandle());
    return kOfxStatOK;
}

const Entry kEntries[] = {
    {kOfxActionLoad, &load},
    {kOfxActionUnload, &unload},
    {kOfxActionDescribe, &describe},
    {kOfxImageEffectActionDescribeInContext, &describeInContext},
    {kOfxActionCreateInstance, &createInstance},
    {kOfxActionDestroyInstance, &destroyInstance},
};

}  // namespace

std::span<const Entry> lifecycleActions() { return kEntries; }

}  // namespace Actions
}  // namespace OFX
