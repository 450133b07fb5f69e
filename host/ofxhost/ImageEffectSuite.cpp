#include "ofxhost/Effect.h"
#include "ofxhost/Instance.h"
#include "ofxhost/Memory.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

namespace ofxhost::suites {

namespace {

OfxStatus getPropertySet(OfxImageEffectHandle h, OfxPropertySetHandle* out) {
    return onHandle<EffectObject>(h, [&](EffectObject& e) { return giveOut(out, e.props().handle()); });
}

OfxStatus getParamSet(OfxImageEffectHandle h, OfxParamSetHandle* out) {
    return onHandle<EffectObject>(h, [&](EffectObject& e) { return giveOut(out, e.params().handle()); });
}

OfxStatus clipDefine(OfxImageEffectHandle h, const char* name, OfxPropertySetHandle* out) {
    return onHandle<EffectObject>(h, [&](EffectObject& e) {
        Clip* clip = nullptr;
        const OfxStatus s = e.defineClip(name, &clip);
        if (s == kOfxStatOK && out) *out = clip->props().handle();
        return s;
    });
}

OfxStatus clipGetHandle(OfxImageEffectHandle h, const char* name, OfxImageClipHandle* clip,
                        OfxPropertySetHandle* props) {
    return onHandle<EffectObject>(h, [&](EffectObject& e) {
        if (!name) return kOfxStatErrUnknown;
        Clip* c = e.clip(name);
        if (!c) return kOfxStatErrUnknown;
        if (clip) *clip = c->handle();
        if (props) *props = c->props().handle();
        return kOfxStatOK;
    });
}

OfxStatus clipGetPropertySet(OfxImageClipHandle h, OfxPropertySetHandle* out) {
    return onHandle<Clip>(h, [&](Clip& c) { return giveOut(out, c.props().handle()); });
}

OfxStatus clipGetImage(OfxImageClipHandle h, OfxTime time, const OfxRectD* region, OfxPropertySetHandle* out) {
    // A failed fetch leaves no handle that could pass for an image.
    if (out) *out = nullptr;
    return onHandle<Clip>(h, [&](Clip& c) {
        Instance* inst = c.owner().asInstance();
        return inst ? inst->getImage(c, time, out, region) : kOfxStatErrBadHandle;
    });
}

OfxStatus clipReleaseImage(OfxPropertySetHandle image) {
    return guarded([&] { return Instance::releaseAnyImage(image); });
}

OfxStatus clipGetRegionOfDefinition(OfxImageClipHandle h, OfxTime time, OfxRectD* out) {
    return onHandle<Clip>(h, [&](Clip& c) {
        Instance* inst = c.owner().asInstance();
        if (!inst) return kOfxStatErrBadHandle;
        if (!out) return kOfxStatErrValue;
        return inst->clipRegionOfDefinition(c, time, *out);
    });
}

int abortRender(OfxImageEffectHandle h) {
    EffectObject* e = EffectObject::fromHandle(h);
    Instance* inst = e ? e->asInstance() : nullptr;
    return inst && inst->abortRequested() ? 1 : 0;
}

OfxStatus imageMemoryAlloc(OfxImageEffectHandle, size_t bytes, OfxImageMemoryHandle* out) {
    return guarded([&] { return memory::imageAllocate(bytes, out); });
}

OfxStatus imageMemoryFree(OfxImageMemoryHandle h) {
    return guarded([&] { return memory::imageFree(h); });
}

OfxStatus imageMemoryLock(OfxImageMemoryHandle h, void** out) {
    return guarded([&] { return memory::imageLock(h, out); });
}

OfxStatus imageMemoryUnlock(OfxImageMemoryHandle h) {
    return guarded([&] { return memory::imageUnlock(h); });
}

}  // namespace

const OfxImageEffectSuiteV1* imageEffect() {
    static const OfxImageEffectSuiteV1 suite = [] {
        OfxImageEffectSuiteV1 s{};
        s.getPropertySet = getPropertySet;
        s.getParamSet = getParamSet;
        s.clipDefine = clipDefine;
        s.clipGetHandle = clipGetHandle;
        s.clipGetPropertySet = clipGetPropertySet;
        s.clipGetImage = clipGetImage;
        s.clipReleaseImage = clipReleaseImage;
        s.clipGetRegionOfDefinition = clipGetRegionOfDefinition;
        s.abort = abortRender;
        s.imageMemoryAlloc = imageMemoryAlloc;
        s.imageMemoryFree = imageMemoryFree;
        s.imageMemoryLock = imageMemoryLock;
        s.imageMemoryUnlock = imageMemoryUnlock;
        return s;
    }();
    return &suite;
}

}  // namespace ofxhost::suites
