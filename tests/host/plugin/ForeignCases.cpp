// Plug-ins written as other vendors write theirs, each declaring something a
// host must honour. Every case is a small effect against the plain OFX C API:
//
//   byteOnly        a filter declaring only byte depths: writes 255 - Source
//                   as bytes, whatever the image says it holds.
//   shortOnly       a generator declaring only 16-bit depths: a host that
//                   renders byte and float must refuse it.
//   redRGBA         a generator without BGR depths: writes red into memory
//                   channel 0, the one it believes is red.
//   redBGR          the same declaring the BGR depths: reads the pixel order
//                   of its output and puts red where that order has it.
//   normalisedRect  a generator drawing a red rectangle from a centre and a
//                   size declared with a normalised default (half the
//                   project, centred), and a green row at "line", an older
//                   normalised type (NormalisedYAbsolute, default 0.25): its
//                   value through the suite is a fraction of the project.
//   chatty          prints to standard output while it loads and describes.
//   versioned       one identifier registered at 1.0 then 2.1; it fills
//                   every channel with major / 10 + minor / 100.
//   versionedDown   one identifier registered at 3.0 then 1.5 (highest first).
//   pixelAspect     reads the project's pixel aspect from its instance in
//                   render, fails without it, and writes it to every channel.
//
// Every plug-in sets only its label, so short and long labels are the host's
// to derive.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "ofxImageEffect.h"
#include "ofxParam.h"
#include "ofxProperty.h"
#include "ofxTalvo.h"

namespace {

OfxHost* gHost = nullptr;
const OfxPropertySuiteV1* gProp = nullptr;
const OfxImageEffectSuiteV1* gEffect = nullptr;
const OfxParameterSuiteV1* gParam = nullptr;

void setHost(OfxHost* host) { gHost = host; }

OfxStatus load() {
    if (!gHost) return kOfxStatErrBadHandle;
    gProp = static_cast<const OfxPropertySuiteV1*>(gHost->fetchSuite(gHost->host, kOfxPropertySuite, 1));
    gEffect = static_cast<const OfxImageEffectSuiteV1*>(gHost->fetchSuite(gHost->host, kOfxImageEffectSuite, 1));
    gParam = static_cast<const OfxParameterSuiteV1*>(gHost->fetchSuite(gHost->host, kOfxParameterSuite, 1));
    return gProp && gEffect && gParam ? kOfxStatOK : kOfxStatErrMissingHostFeature;
}

OfxPropertySetHandle effectProps(OfxImageEffectHandle e) {
    OfxPropertySetHandle p = nullptr;
    gEffect->getPropertySet(e, &p);
    return p;
}

OfxParamSetHandle paramSet(OfxImageEffectHandle e) {
    OfxParamSetHandle s = nullptr;
    gEffect->getParamSet(e, &s);
    return s;
}

void describe(OfxImageEffectHandle e, const char* label, const char* context,
              std::initializer_list<const char*> depths) {
    OfxPropertySetHandle p = effectProps(e);
    gProp->propSetString(p, kOfxPropLabel, 0, label);
    gProp->propSetString(p, kOfxImageEffectPluginPropGrouping, 0, "Foreign Cases");
    gProp->propSetString(p, kOfxImageEffectPropSupportedContexts, 0, context);
    int i = 0;
    for (const char* d : depths) gProp->propSetString(p, kOfxImageEffectPropSupportedPixelDepths, i++, d);
}

void defineClip(OfxImageEffectHandle e, const char* name) {
    OfxPropertySetHandle p = nullptr;
    gEffect->clipDefine(e, name, &p);
    gProp->propSetString(p, kOfxImageEffectPropSupportedComponents, 0, kOfxImageComponentRGBA);
}

// An image as a plug-in sees it: raw memory, the layout from its properties.
struct Image {
    OfxPropertySetHandle props = nullptr;
    char* data = nullptr;
    OfxRectI bounds{};
    int rowBytes = 0;
    bool isFloat = false;
    bool bgra = false;

    bool fetch(OfxImageEffectHandle e, const char* clipName, double time) {
        OfxImageClipHandle clip = nullptr;
        if (gEffect->clipGetHandle(e, clipName, &clip, nullptr) != kOfxStatOK) return false;
        if (gEffect->clipGetImage(clip, time, nullptr, &props) != kOfxStatOK) return false;
        void* d = nullptr;
        gProp->propGetPointer(props, kOfxImagePropData, 0, &d);
        data = static_cast<char*>(d);
        gProp->propGetIntN(props, kOfxImagePropBounds, 4, &bounds.x1);
        gProp->propGetInt(props, kOfxImagePropRowBytes, 0, &rowBytes);
        char* depth = nullptr;
        gProp->propGetString(props, kOfxImageEffectPropPixelDepth, 0, &depth);
        isFloat = depth && std::strcmp(depth, kOfxBitDepthFloat) == 0;
        char* order = nullptr;
        bgra = gProp->propGetString(props, kOfxImageEffectPropPixelOrder, 0, &order) == kOfxStatOK && order &&
               std::strcmp(order, kOfxImagePixelOrderBGRA) == 0;
        return data != nullptr;
    }
    ~Image() {
        if (props) gEffect->clipReleaseImage(props);
    }
    char* pixel(int x, int y) const {
        return data + std::ptrdiff_t(y - bounds.y1) * rowBytes + std::ptrdiff_t(x - bounds.x1) * (isFloat ? 16 : 4);
    }
    // Memory channel m (not colour) of a pixel, 0 to 1, in the image's depth.
    void set(int x, int y, int m, float v) const {
        if (isFloat)
            reinterpret_cast<float*>(pixel(x, y))[m] = v;
        else
            reinterpret_cast<std::uint8_t*>(pixel(x, y))[m] = std::uint8_t(std::lround(v * 255.0f));
    }
};

struct RenderArgs {
    OfxRectI window;
    double time;
};

RenderArgs renderArgs(OfxPropertySetHandle in) {
    RenderArgs a{};
    gProp->propGetIntN(in, kOfxImageEffectPropRenderWindow, 4, &a.window.x1);
    gProp->propGetDouble(in, kOfxPropTime, 0, &a.time);
    return a;
}

// ---- byteOnly: bytes in, bytes out, never asking what the image holds.
OfxStatus renderByteOnly(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderArgs a = renderArgs(in);
    Image src, dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, a.time) ||
        !src.fetch(e, kOfxImageEffectSimpleSourceClipName, a.time))
        return kOfxStatFailed;
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x) {
            auto* s = reinterpret_cast<const std::uint8_t*>(src.pixel(x, y));
            auto* d = reinterpret_cast<std::uint8_t*>(dst.pixel(x, y));
            for (int c = 0; c < 3; ++c) d[c] = std::uint8_t(255 - s[c]);
            d[3] = s[3];
        }
    return kOfxStatOK;
}

// ---- redRGBA / redBGR: red in channel 0, or where the order puts it.
template <bool HonoursOrder>
OfxStatus renderRed(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderArgs a = renderArgs(in);
    Image dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, a.time)) return kOfxStatFailed;
    const int red = HonoursOrder && dst.bgra ? 2 : 0;
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x)
            for (int m = 0; m < 4; ++m) dst.set(x, y, m, m == red || m == 3 ? 1.0f : 0.0f);
    return kOfxStatOK;
}

// ---- normalisedRect
void describeNormalisedRect(OfxImageEffectHandle e) {
    OfxPropertySetHandle p = nullptr;
    gParam->paramDefine(paramSet(e), kOfxParamTypeDouble2D, "centre", &p);
    gProp->propSetString(p, kOfxParamPropDoubleType, 0, kOfxParamDoubleTypeXYAbsolute);
    gProp->propSetString(p, kOfxParamPropDefaultCoordinateSystem, 0, kOfxParamCoordinatesNormalised);
    gProp->propSetDouble(p, kOfxParamPropDefault, 0, 0.5);
    gProp->propSetDouble(p, kOfxParamPropDefault, 1, 0.5);
    gParam->paramDefine(paramSet(e), kOfxParamTypeDouble2D, "size", &p);
    gProp->propSetString(p, kOfxParamPropDoubleType, 0, kOfxParamDoubleTypeXY);
    gProp->propSetString(p, kOfxParamPropDefaultCoordinateSystem, 0, kOfxParamCoordinatesNormalised);
    gProp->propSetDouble(p, kOfxParamPropDefault, 0, 0.5);
    gProp->propSetDouble(p, kOfxParamPropDefault, 1, 0.5);
    gParam->paramDefine(paramSet(e), kOfxParamTypeDouble, "line", &p);
    gProp->propSetString(p, kOfxParamPropDoubleType, 0, kOfxParamDoubleTypeNormalisedYAbsolute);
    gProp->propSetDouble(p, kOfxParamPropDefault, 0, 0.25);
    gProp->propSetDouble(p, kOfxParamPropMin, 0, 0.0);
    gProp->propSetDouble(p, kOfxParamPropMax, 0, 1.0);
}

OfxStatus renderNormalisedRect(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderArgs a = renderArgs(in);
    double cx = 0, cy = 0, w = 0, h = 0, line = 0, project[2] = {0, 0};
    OfxParamHandle centre = nullptr, size = nullptr, lineParam = nullptr;
    gParam->paramGetHandle(paramSet(e), "centre", &centre, nullptr);
    gParam->paramGetHandle(paramSet(e), "size", &size, nullptr);
    gParam->paramGetHandle(paramSet(e), "line", &lineParam, nullptr);
    gParam->paramGetValueAtTime(centre, a.time, &cx, &cy);
    gParam->paramGetValueAtTime(size, a.time, &w, &h);
    gParam->paramGetValueAtTime(lineParam, a.time, &line);
    // The line comes as a fraction; the plug-in scales it by the project.
    gProp->propGetDoubleN(effectProps(e), kOfxImageEffectPropProjectSize, 2, project);
    const int lineRow = int(std::floor(line * project[1]));
    Image dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, a.time)) return kOfxStatFailed;
    const int red = dst.bgra ? 2 : 0;
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x) {
            const bool inside =
                x + 0.5 >= cx - w / 2 && x + 0.5 < cx + w / 2 && y + 0.5 >= cy - h / 2 && y + 0.5 < cy + h / 2;
            dst.set(x, y, red, inside ? 1.0f : 0.0f);
            dst.set(x, y, 1, y == lineRow ? 1.0f : 0.0f);
            dst.set(x, y, 2 - red, 0.0f);
            dst.set(x, y, 3, 1.0f);
        }
    return kOfxStatOK;
}

// ---- versioned: the version it was registered as, in every channel.
template <int Major, int Minor>
OfxStatus renderVersion(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderArgs a = renderArgs(in);
    Image dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, a.time)) return kOfxStatFailed;
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x)
            for (int m = 0; m < 4; ++m) dst.set(x, y, m, Major / 10.0f + Minor / 100.0f);
    return kOfxStatOK;
}

// ---- pixelAspect: the project's pixel aspect, read from the instance.
OfxStatus renderPixelAspect(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderArgs a = renderArgs(in);
    double aspect = 0;
    if (gProp->propGetDouble(effectProps(e), kOfxImageEffectPropProjectPixelAspectRatio, 0, &aspect) != kOfxStatOK)
        return kOfxStatFailed;
    Image dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, a.time)) return kOfxStatFailed;
    for (int y = a.window.y1; y < a.window.y2; ++y)
        for (int x = a.window.x1; x < a.window.x2; ++x)
            for (int m = 0; m < 4; ++m) dst.set(x, y, m, float(aspect));
    return kOfxStatOK;
}

enum class Case { ByteOnly, ShortOnly, RedRGBA, RedBGR, NormalisedRect, Chatty, V10, V21, V30, V15, PixelAspect };

template <Case C>
OfxStatus entry(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle) {
    auto e = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    const std::string a = action ? action : "";
    if (a == kOfxActionLoad) {
        if (C == Case::Chatty) std::printf("chatty: loading\n");
        return load();
    }
    if (a == kOfxActionDescribe) {
        const char* gen = kOfxImageEffectContextGenerator;
        switch (C) {
            case Case::ByteOnly: describe(e, "Byte Only", kOfxImageEffectContextFilter, {kOfxBitDepthByte}); break;
            case Case::ShortOnly: describe(e, "Short Only", gen, {kOfxBitDepthShort}); break;
            case Case::RedRGBA: describe(e, "Red RGBA", gen, {kOfxBitDepthByte, kOfxBitDepthFloat}); break;
            case Case::RedBGR:
                describe(e, "Red BGR", gen,
                         {kOfxBitDepthByte, kOfxBitDepthFloat, kOfxBitDepthByteBGR, kOfxBitDepthFloatBGR});
                break;
            case Case::NormalisedRect:
                describe(e, "Normalised Rectangle", gen,
                         {kOfxBitDepthByte, kOfxBitDepthFloat, kOfxBitDepthByteBGR, kOfxBitDepthFloatBGR});
                break;
            case Case::Chatty:
                std::printf("chatty: describing\n");
                std::fflush(stdout);
                describe(e, "Chatty", gen, {kOfxBitDepthFloat});
                break;
            case Case::V10:
            case Case::V21:
            case Case::V30:
            case Case::V15: describe(e, "Versioned", gen, {kOfxBitDepthByte, kOfxBitDepthFloat}); break;
            case Case::PixelAspect: describe(e, "Pixel Aspect", gen, {kOfxBitDepthByte, kOfxBitDepthFloat}); break;
        }
        if (C == Case::V21) {
            // The newer version names itself in full.
            gProp->propSetString(effectProps(e), kOfxPropShortLabel, 0, "Ver");
            gProp->propSetString(effectProps(e), kOfxPropLongLabel, 0, "Versioned, second edition");
        }
        return kOfxStatOK;
    }
    if (a == kOfxImageEffectActionDescribeInContext) {
        defineClip(e, kOfxImageEffectOutputClipName);
        if (C == Case::ByteOnly) defineClip(e, kOfxImageEffectSimpleSourceClipName);
        if (C == Case::NormalisedRect) describeNormalisedRect(e);
        return kOfxStatOK;
    }
    if (a == kOfxImageEffectActionRender) {
        switch (C) {
            case Case::ByteOnly: return renderByteOnly(e, in);
            case Case::RedRGBA: return renderRed<false>(e, in);
            case Case::RedBGR: return renderRed<true>(e, in);
            case Case::NormalisedRect: return renderNormalisedRect(e, in);
            case Case::V10: return renderVersion<1, 0>(e, in);
            case Case::V21: return renderVersion<2, 1>(e, in);
            case Case::V30: return renderVersion<3, 0>(e, in);
            case Case::V15: return renderVersion<1, 5>(e, in);
            case Case::PixelAspect: return renderPixelAspect(e, in);
            default: return renderVersion<0, 0>(e, in);
        }
    }
    return kOfxStatReplyDefault;
}

OfxPlugin gPlugins[] = {
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:byteOnly", 1, 0, setHost, entry<Case::ByteOnly>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:shortOnly", 1, 0, setHost, entry<Case::ShortOnly>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:redRGBA", 1, 0, setHost, entry<Case::RedRGBA>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:redBGR", 1, 0, setHost, entry<Case::RedBGR>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:normalisedRect", 1, 0, setHost, entry<Case::NormalisedRect>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:chatty", 1, 0, setHost, entry<Case::Chatty>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:versioned", 1, 0, setHost, entry<Case::V10>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:versioned", 2, 1, setHost, entry<Case::V21>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:versionedDown", 3, 0, setHost, entry<Case::V30>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:versionedDown", 1, 5, setHost, entry<Case::V15>},
    {kOfxImageEffectPluginApi, 1, "ondu1.cases:pixelAspect", 1, 0, setHost, entry<Case::PixelAspect>},
};

}  // namespace

OfxExport int OfxGetNumberOfPlugins(void) { return int(sizeof gPlugins / sizeof gPlugins[0]); }

OfxExport OfxPlugin* OfxGetPlugin(int nth) {
    if (nth < 0 || nth >= OfxGetNumberOfPlugins()) return nullptr;
    return &gPlugins[nth];
}
