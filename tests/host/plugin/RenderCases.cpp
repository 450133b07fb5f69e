// Plug-ins written as other vendors write them, each leaning on one part of
// the render sequence a host owes them. They report what they receive as log
// messages (the message id says what: "window", "Source", "tile", ...), which
// the tests read back from the host.
//
//   crop         Filter. Its region of definition is the rectangle of
//                "Bottom Left" / "Top Right" (pixels) within Source's; it
//                asks for exactly the window it renders from Source, and
//                copies Source inside the window. Its clip preferences ask
//                for unpremultiplied, frame-varying output and a float
//                Source (which a host with one depth per render ignores);
//                it counts how often they are asked.
//   cropUntiled  The same without tile support: it must get Source whole.
//   merge        General context, two optional inputs A and B: the output is
//                their sum. Like many plug-ins it reads a clip's components
//                to know whether it has pictures, and trusts the image then.
//   gpuOnly      Declares it cannot render on the CPU.
//   noOutput     A filter without an Output clip.
//   lazy         Renders "successfully" without fetching its output.
//   noAlpha      Copies Source's colour and leaves alpha unwritten.
//   tiles...     Ask the host to thread frames (fully safe, instance safe,
//                unsafe): each render call reports its window, its thread
//                and how many calls of the instance and of the plug-in ran
//                at once.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "ofxImageEffect.h"
#include "ofxMessage.h"
#include "ofxParam.h"
#include "ofxProperty.h"

namespace {

OfxHost* gHost = nullptr;
const OfxPropertySuiteV1* gProp = nullptr;
const OfxImageEffectSuiteV1* gEffect = nullptr;
const OfxParameterSuiteV1* gParam = nullptr;
const OfxMessageSuiteV1* gMessage = nullptr;
std::atomic<int> gClipPreferenceCalls{0};

OfxStatus load() {
    if (!gHost) return kOfxStatErrBadHandle;
    auto fetch = [](const char* name) { return gHost->fetchSuite(gHost->host, name, 1); };
    gProp = static_cast<const OfxPropertySuiteV1*>(fetch(kOfxPropertySuite));
    gEffect = static_cast<const OfxImageEffectSuiteV1*>(fetch(kOfxImageEffectSuite));
    gParam = static_cast<const OfxParameterSuiteV1*>(fetch(kOfxParameterSuite));
    gMessage = static_cast<const OfxMessageSuiteV1*>(fetch(kOfxMessageSuite));
    return gProp && gEffect && gParam && gMessage ? kOfxStatOK : kOfxStatErrMissingHostFeature;
}

void setHost(OfxHost* host) { gHost = host; }

OfxPropertySetHandle effectProps(OfxImageEffectHandle e) {
    OfxPropertySetHandle p = nullptr;
    gEffect->getPropertySet(e, &p);
    return p;
}

void report(OfxImageEffectHandle e, const char* what, const char* fmt, int a, int b, int c, int d) {
    gMessage->message(e, kOfxMessageLog, what, fmt, a, b, c, d);
}

void reportRect(OfxImageEffectHandle e, const char* what, const OfxRectI& r) {
    report(e, what, "%d %d %d %d", r.x1, r.y1, r.x2, r.y2);
}

OfxPropertySetHandle defineClip(OfxImageEffectHandle e, const char* name) {
    OfxPropertySetHandle p = nullptr;
    gEffect->clipDefine(e, name, &p);
    gProp->propSetString(p, kOfxImageEffectPropSupportedComponents, 0, kOfxImageComponentRGBA);
    return p;
}

struct Image {
    OfxPropertySetHandle handle = nullptr;
    char* data = nullptr;
    OfxRectI bounds{};
    int rowBytes = 0;
    int pixelBytes = 4;

    // Fetches without looking at the status, as a plug-in that already
    // decided the clip has pictures does.
    void fetch(OfxImageEffectHandle e, const char* clipName, double time) {
        OfxImageClipHandle clip = nullptr;
        gEffect->clipGetHandle(e, clipName, &clip, nullptr);
        gEffect->clipGetImage(clip, time, nullptr, &handle);
        void* p = nullptr;
        gProp->propGetPointer(handle, kOfxImagePropData, 0, &p);
        data = static_cast<char*>(p);
        gProp->propGetIntN(handle, kOfxImagePropBounds, 4, &bounds.x1);
        gProp->propGetInt(handle, kOfxImagePropRowBytes, 0, &rowBytes);
        char* depth = nullptr;
        gProp->propGetString(handle, kOfxImageEffectPropPixelDepth, 0, &depth);
        pixelBytes = depth && std::strcmp(depth, kOfxBitDepthFloat) == 0 ? 16 : 4;
    }
    bool fetchChecked(OfxImageEffectHandle e, const char* clipName, double time) {
        OfxImageClipHandle clip = nullptr;
        gEffect->clipGetHandle(e, clipName, &clip, nullptr);
        OfxPropertySetHandle h = nullptr;
        if (gEffect->clipGetImage(clip, time, nullptr, &h) != kOfxStatOK || !h) return false;
        gEffect->clipReleaseImage(h);
        fetch(e, clipName, time);
        return true;
    }
    ~Image() {
        if (handle) gEffect->clipReleaseImage(handle);
    }
    bool inside(int x, int y) const { return x >= bounds.x1 && x < bounds.x2 && y >= bounds.y1 && y < bounds.y2; }
    char* pixel(int x, int y) const {
        return data + std::ptrdiff_t(y - bounds.y1) * rowBytes + std::ptrdiff_t(x - bounds.x1) * pixelBytes;
    }
};

struct Args {
    double time = 0;
    OfxRectI window{};
};

Args renderArgs(OfxPropertySetHandle in) {
    Args a;
    gProp->propGetDouble(in, kOfxPropTime, 0, &a.time);
    gProp->propGetIntN(in, kOfxImageEffectPropRenderWindow, 4, &a.window.x1);
    return a;
}

// Copies Source into the output over the window (zero where Source has no
// pixels); with colourOnly, alpha is left as the host handed it.
OfxStatus copySource(OfxImageEffectHandle e, OfxPropertySetHandle in, bool colourOnly = false) {
    const Args a = renderArgs(in);
    Image src, dst;
    dst.fetch(e, kOfxImageEffectOutputClipName, a.time);
    if (!src.fetchChecked(e, kOfxImageEffectSimpleSourceClipName, a.time) || !dst.data) return kOfxStatFailed;
    reportRect(e, "window", a.window);
    reportRect(e, "Source", src.bounds);
    const int copied = colourOnly ? dst.pixelBytes / 4 * 3 : dst.pixelBytes;
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x) {
            if (src.inside(x, y))
                std::memcpy(dst.pixel(x, y), src.pixel(x, y), std::size_t(copied));
            else
                std::memset(dst.pixel(x, y), 0, std::size_t(copied));
        }
    return kOfxStatOK;
}

// ---- crop ----

OfxRectI cropRect(OfxImageEffectHandle e, double time) {
    OfxParamSetHandle set = nullptr;
    gEffect->getParamSet(e, &set);
    OfxParamHandle from = nullptr, to = nullptr;
    gParam->paramGetHandle(set, "Bottom Left", &from, nullptr);
    gParam->paramGetHandle(set, "Top Right", &to, nullptr);
    OfxRectI r{};
    gParam->paramGetValueAtTime(from, time, &r.x1, &r.y1);
    gParam->paramGetValueAtTime(to, time, &r.x2, &r.y2);
    return r;
}

OfxStatus cropRegionOfDefinition(OfxImageEffectHandle e, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    double time = 0;
    gProp->propGetDouble(in, kOfxPropTime, 0, &time);
    OfxImageClipHandle source = nullptr;
    gEffect->clipGetHandle(e, kOfxImageEffectSimpleSourceClipName, &source, nullptr);
    OfxRectD rod{};
    gEffect->clipGetRegionOfDefinition(source, time, &rod);
    const OfxRectI r = cropRect(e, time);
    const double box[4] = {std::max(rod.x1, double(r.x1)), std::max(rod.y1, double(r.y1)),
                           std::min(rod.x2, double(r.x2)), std::min(rod.y2, double(r.y2))};
    gProp->propSetDoubleN(out, kOfxImageEffectPropRegionOfDefinition, 4, box);
    return kOfxStatOK;
}

OfxStatus cropRegionsOfInterest(OfxPropertySetHandle in, OfxPropertySetHandle out) {
    double roi[4] = {0, 0, 0, 0};
    gProp->propGetDoubleN(in, kOfxImageEffectPropRegionOfInterest, 4, roi);
    gProp->propSetDoubleN(out, "OfxImageClipPropRoI_Source", 4, roi);
    return kOfxStatOK;
}

OfxStatus cropClipPreferences(OfxImageEffectHandle e, OfxPropertySetHandle out) {
    ++gClipPreferenceCalls;
    report(e, "prefs", "%d", gClipPreferenceCalls.load(), 0, 0, 0);
    gProp->propSetString(out, kOfxImageEffectPropPreMultiplication, 0, kOfxImageUnPreMultiplied);
    gProp->propSetInt(out, kOfxImageEffectFrameVarying, 0, 1);
    gProp->propSetString(out, "OfxImageClipPropDepth_Source", 0, kOfxBitDepthFloat);
    return kOfxStatOK;
}

void describeCrop(OfxImageEffectHandle e) {
    OfxParamSetHandle set = nullptr;
    gEffect->getParamSet(e, &set);
    OfxPropertySetHandle p = nullptr;
    gParam->paramDefine(set, kOfxParamTypeInteger2D, "Bottom Left", &p);
    gParam->paramDefine(set, kOfxParamTypeInteger2D, "Top Right", &p);
    const int big[2] = {100000, 100000};
    gProp->propSetIntN(p, kOfxParamPropDefault, 2, big);
}

// ---- merge ----

// A plug-in that takes "components none" to mean "no input" and otherwise
// uses the image it is handed without further checks.
bool hasPictures(OfxImageEffectHandle e, const char* clipName) {
    OfxPropertySetHandle clip = nullptr;
    gEffect->clipGetHandle(e, clipName, nullptr, &clip);
    char* components = nullptr;
    gProp->propGetString(clip, kOfxImageEffectPropComponents, 0, &components);
    return components && std::strcmp(components, kOfxImageComponentNone) != 0;
}

OfxStatus renderMerge(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const Args a = renderArgs(in);
    Image dst;
    dst.fetch(e, kOfxImageEffectOutputClipName, a.time);
    for (const char* name : {"A", "B"}) {
        int connected = -1;
        OfxPropertySetHandle clip = nullptr;
        gEffect->clipGetHandle(e, name, nullptr, &clip);
        gProp->propGetInt(clip, kOfxImageClipPropConnected, 0, &connected);
        report(e, name, "connected %d", connected, 0, 0, 0);
        if (!hasPictures(e, name)) continue;
        Image src;
        src.fetch(e, name, a.time);
        for (int y = a.window.y1; y < a.window.y2; ++y)
            for (int x = a.window.x1; x < a.window.x2; ++x) {
                // Trusts the input to cover the window, as it does when
                // the input is the frame's size.
                if (dst.pixelBytes == 16)
                    for (int c = 0; c < 4; ++c)
                        reinterpret_cast<float*>(dst.pixel(x, y))[c] += reinterpret_cast<float*>(src.pixel(x, y))[c];
                else
                    for (int c = 0; c < 4; ++c) {
                        auto* d = reinterpret_cast<unsigned char*>(dst.pixel(x, y)) + c;
                        *d = static_cast<unsigned char>(
                            std::min(255, *d + reinterpret_cast<unsigned char*>(src.pixel(x, y))[c]));
                    }
            }
    }
    return kOfxStatOK;
}

// ---- tiles ----

struct Calls {
    std::atomic<int> now{0};
    std::atomic<int> most{0};
};
Calls gPluginCalls[3];

void enter(Calls& c) {
    const int n = ++c.now;
    int most = c.most.load();
    while (n > most && !c.most.compare_exchange_weak(most, n)) {
    }
}

OfxStatus renderTile(OfxImageEffectHandle e, OfxPropertySetHandle in, Calls& plugin) {
    void* data = nullptr;
    gProp->propGetPointer(effectProps(e), kOfxPropInstanceData, 0, &data);
    auto* instance = static_cast<Calls*>(data);
    enter(*instance);
    enter(plugin);
    // Long enough for calls allowed to overlap to do so.
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const Args a = renderArgs(in);
    Image dst;
    dst.fetch(e, kOfxImageEffectOutputClipName, a.time);
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x) std::memset(dst.pixel(x, y), 0x11, std::size_t(dst.pixelBytes));
    const auto thread = std::hash<std::thread::id>()(std::this_thread::get_id());
    char text[160];
    std::snprintf(text, sizeof text, "%d %d %d %d thread %zu instance %d plugin %d", a.window.x1, a.window.y1,
                  a.window.x2, a.window.y2, thread, instance->most.load(), plugin.most.load());
    gMessage->message(e, kOfxMessageLog, "tile", "%s", text);
    --plugin.now;
    --instance->now;
    return kOfxStatOK;
}

enum class Kind { Crop, CropUntiled, Merge, GpuOnly, NoOutput, Lazy, NoAlpha, TilesSafe, TilesInstance, TilesUnsafe };

bool isTiles(Kind k) { return k == Kind::TilesSafe || k == Kind::TilesInstance || k == Kind::TilesUnsafe; }

template <Kind K>
OfxStatus entry(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    auto e = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    const std::string a = action ? action : "";
    if (a == kOfxActionLoad) return load();
    if (a == kOfxActionUnload) return kOfxStatOK;
    if (a == kOfxActionDescribe) {
        OfxPropertySetHandle p = effectProps(e);
        gProp->propSetString(p, kOfxPropLabel, 0, "Render case");
        gProp->propSetString(p, kOfxImageEffectPropSupportedContexts, 0,
                             K == Kind::Merge ? kOfxImageEffectContextGeneral : kOfxImageEffectContextFilter);
        gProp->propSetString(p, kOfxImageEffectPropSupportedPixelDepths, 0, kOfxBitDepthByte);
        gProp->propSetString(p, kOfxImageEffectPropSupportedPixelDepths, 1, kOfxBitDepthFloat);
        // Threading is the host's only where a case asks for it.
        gProp->propSetInt(p, kOfxImageEffectPluginPropHostFrameThreading, 0, isTiles(K) ? 1 : 0);
        if (K == Kind::CropUntiled) gProp->propSetInt(p, kOfxImageEffectPropSupportsTiles, 0, 0);
        if (K == Kind::GpuOnly) gProp->propSetString(p, "OfxImageEffectPropCPURenderSupported", 0, "false");
        const char* safety = K == Kind::TilesSafe     ? kOfxImageEffectRenderFullySafe
                             : K == Kind::TilesUnsafe ? kOfxImageEffectRenderUnsafe
                                                      : kOfxImageEffectRenderInstanceSafe;
        gProp->propSetString(p, kOfxImageEffectPluginRenderThreadSafety, 0, safety);
        return kOfxStatOK;
    }
    if (a == kOfxImageEffectActionDescribeInContext) {
        if (K != Kind::NoOutput) defineClip(e, kOfxImageEffectOutputClipName);
        if (K == Kind::Merge) {
            gProp->propSetInt(defineClip(e, "A"), kOfxImageClipPropOptional, 0, 1);
            gProp->propSetInt(defineClip(e, "B"), kOfxImageClipPropOptional, 0, 1);
        } else {
            OfxPropertySetHandle p = defineClip(e, kOfxImageEffectSimpleSourceClipName);
            if (K == Kind::CropUntiled) gProp->propSetInt(p, kOfxImageEffectPropSupportsTiles, 0, 0);
        }
        if (K == Kind::Crop || K == Kind::CropUntiled) describeCrop(e);
        return kOfxStatOK;
    }
    if (a == kOfxActionCreateInstance) {
        if (isTiles(K)) gProp->propSetPointer(effectProps(e), kOfxPropInstanceData, 0, new Calls);
        return kOfxStatOK;
    }
    if (a == kOfxActionDestroyInstance) {
        void* data = nullptr;
        gProp->propGetPointer(effectProps(e), kOfxPropInstanceData, 0, &data);
        delete static_cast<Calls*>(data);
        return kOfxStatOK;
    }
    if (K == Kind::Crop || K == Kind::CropUntiled) {
        if (a == kOfxImageEffectActionGetRegionOfDefinition) return cropRegionOfDefinition(e, in, out);
        if (a == kOfxImageEffectActionGetRegionsOfInterest) return cropRegionsOfInterest(in, out);
        if (a == kOfxImageEffectActionGetClipPreferences) return cropClipPreferences(e, out);
    }
    if (a != kOfxImageEffectActionRender) return kOfxStatReplyDefault;
    switch (K) {
        case Kind::Merge: return renderMerge(e, in);
        case Kind::Lazy: return kOfxStatOK;
        case Kind::NoAlpha: return copySource(e, in, true);
        case Kind::TilesSafe: return renderTile(e, in, gPluginCalls[0]);
        case Kind::TilesInstance: return renderTile(e, in, gPluginCalls[1]);
        case Kind::TilesUnsafe: return renderTile(e, in, gPluginCalls[2]);
        default: return copySource(e, in);
    }
}

OfxPlugin gPlugins[] = {
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:crop", 1, 0, setHost, entry<Kind::Crop>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:cropUntiled", 1, 0, setHost, entry<Kind::CropUntiled>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:merge", 1, 0, setHost, entry<Kind::Merge>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:gpuOnly", 1, 0, setHost, entry<Kind::GpuOnly>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:noOutput", 1, 0, setHost, entry<Kind::NoOutput>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:lazy", 1, 0, setHost, entry<Kind::Lazy>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:noAlpha", 1, 0, setHost, entry<Kind::NoAlpha>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:tilesSafe", 1, 0, setHost, entry<Kind::TilesSafe>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:tilesInstance", 1, 0, setHost, entry<Kind::TilesInstance>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:tilesUnsafe", 1, 0, setHost, entry<Kind::TilesUnsafe>},
};

}  // namespace

OfxExport int OfxGetNumberOfPlugins(void) { return int(sizeof gPlugins / sizeof gPlugins[0]); }

OfxExport OfxPlugin* OfxGetPlugin(int nth) {
    if (nth < 0 || nth >= OfxGetNumberOfPlugins()) return nullptr;
    return &gPlugins[nth];
}
