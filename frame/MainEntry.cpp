// The one dispatcher behind every effect's entry point: it logs the action,
// checks the handles, turns them into objects, finds the action's function
// among the three families of Actions.h, and maps exceptions to OFX
// statuses.
#include <cstring>
#include <new>

#include "Actions.h"
#include "Registry.h"

namespace OFX {
namespace Actions {

void Call::check(HandleRule handleRule, HandleRule inRule, HandleRule outRule) const {
    Log::warning(handleRule == eNull && handle, "Handle passed to '%s' is not null.", action);
    Log::warning(inRule == eNull && inHandle, "'inArgs' Handle passed to '%s' is not null.", action);
    Log::warning(outRule == eNull && outHandle, "'outArgs' Handle passed to '%s' is not null.", action);
    const bool badHandle = handleRule == eSet && !handle;
    const bool badIn = inRule == eSet && !inHandle;
    const bool badOut = outRule == eSet && !outHandle;
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

ImageEffect& Call::instance() const { return instanceOf(handle); }

}  // namespace Actions

namespace {

const char* const kStars = "********************************************************************************";

bool is(const char* action, const char* name) {
    return std::strlen(action) == std::strlen(name) && std::memcmp(action, name, std::strlen(name)) == 0;
}

OfxStatus dispatch(const char* action, const void* handle, OfxPropertySetHandle inHandle,
                   OfxPropertySetHandle outHandle, const std::string& uid) {
    PluginFactory* factory = Private::findFactory(uid);
    if (!action) {
        Log::error(true, "Requested action was a null pointer.");
        return kOfxStatReplyDefault;
    }
    if (!factory) throw Exception::Suite(kOfxStatErrBadHandle, "unknown plug-in " + uid);
    Actions::Call call{action,   handle, inHandle, outHandle, PropertySet(inHandle), PropertySet(outHandle),
                       *factory, uid};
    for (const auto family : {Actions::lifecycleActions(), Actions::renderActions(), Actions::instanceActions()}) {
        for (const Actions::Entry& entry : family)
            if (is(action, entry.name)) return entry.handler(call);
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

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs,
                    const char* plugname) {
    const std::string what = std::string("mainEntry (") + (action ? action : "(null)") + ")";
    return guarded(what.c_str(), [&] { return dispatch(action, handle, inArgs, outArgs, plugname); });
}

OfxStatus customParamInterpolationV1Entry(OfxParamSetHandle instance, OfxPropertySetHandle inHandle,
                                          OfxPropertySetHandle outHandle) {
    return guarded("customParamInterpolationV1Entry", [&] {
        // Standard hosts pass the instance's parameter set; hosts of the
        // Talvo family pass the effect handle itself.
        ImageEffect* owner = ImageEffect::fromParamSet(instance);
        ImageEffect& effect = owner ? *owner : Actions::instanceOf(instance);
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
