// A small OFX bundle written directly against the C API, to prove the host's
// suites without our own bundle: a filter ("tint"), a generator ("ramp") and
// a transition ("mix"). Values are simple enough for tests to compute by hand.
//
//   tint  Mode 0 copies Source (and says it is an identity); Mode 1 writes
//         Source * Gain * Tint (per colour, by the image's pixel order) +
//         Offset/255; Mode 2 writes each row's thread index, thread count
//         and a 1 when multiThreadIndex and isSpawnedThread agree, to R, G, B.
//         A Gain above 3.5 is refused: the render fails with a message.
//         The button Measure reads the red of pixel (0, 0) at each frame of
//         Source's range under a progress bar ("Measuring") that may cancel
//         it, and replaces Gain's keys by those values in one edit block.
//         With a host that offers the OpenCL program suite tint declares
//         OpenCL support, and an OpenCL render runs modes 0 and 1 as a
//         kernel on the host's packed buffers (mode 2 answers
//         kOfxStatErrUnsupported there, which tells tests the path taken).
//   ramp  Output = Color * Level.
//   mix   Output = SourceFrom * (1 - Transition) + SourceTo * Transition.
#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "ofxGPURender.h"
#include "ofxImageEffect.h"
#include "ofxMemory.h"
#include "ofxMessage.h"
#include "ofxMultiThread.h"
#include "ofxParam.h"
#include "ofxParametricParam.h"
#include "ofxProgress.h"
#include "ofxProperty.h"
#include "ofxTalvo.h"

namespace {

OfxHost* gHost = nullptr;
const OfxPropertySuiteV1* gProp = nullptr;
const OfxImageEffectSuiteV1* gEffect = nullptr;
const OfxParameterSuiteV1* gParam = nullptr;
const OfxMemorySuiteV1* gMemory = nullptr;
const OfxMultiThreadSuiteV1* gThread = nullptr;
const OfxMessageSuiteV1* gMessage = nullptr;
const OfxParametricParameterSuiteV1* gParametric = nullptr;
const OfxProgressSuiteV1* gProgress = nullptr;
const OfxOpenCLProgramSuiteV1* gOpenCL = nullptr;
int gDescribeCount = 0;

OfxStatus load() {
    if (!gHost) return kOfxStatErrBadHandle;
    auto fetch = [](const char* name, int version) { return gHost->fetchSuite(gHost->host, name, version); };
    gProp = static_cast<const OfxPropertySuiteV1*>(fetch(kOfxPropertySuite, 1));
    gEffect = static_cast<const OfxImageEffectSuiteV1*>(fetch(kOfxImageEffectSuite, 1));
    gParam = static_cast<const OfxParameterSuiteV1*>(fetch(kOfxParameterSuite, 1));
    gMemory = static_cast<const OfxMemorySuiteV1*>(fetch(kOfxMemorySuite, 1));
    gThread = static_cast<const OfxMultiThreadSuiteV1*>(fetch(kOfxMultiThreadSuite, 1));
    gMessage = static_cast<const OfxMessageSuiteV1*>(fetch(kOfxMessageSuite, 1));
    gParametric = static_cast<const OfxParametricParameterSuiteV1*>(fetch(kOfxParametricParameterSuite, 1));
    gProgress = static_cast<const OfxProgressSuiteV1*>(fetch(kOfxProgressSuite, 1));
    gOpenCL = static_cast<const OfxOpenCLProgramSuiteV1*>(fetch(kOfxOpenCLProgramSuite, 1));
    if (!gProp || !gEffect || !gParam || !gMemory || !gThread || !gMessage) return kOfxStatErrMissingHostFeature;
    return kOfxStatOK;
}

void setHost(OfxHost* host) { gHost = host; }

OfxPropertySetHandle effectProps(OfxImageEffectHandle e) {
    OfxPropertySetHandle p = nullptr;
    gEffect->getPropertySet(e, &p);
    return p;
}

void describeCommon(OfxImageEffectHandle e, const char* label, const char* context) {
    OfxPropertySetHandle p = effectProps(e);
    gProp->propSetString(p, kOfxPropLabel, 0, label);
    gProp->propSetString(p, kOfxImageEffectPluginPropGrouping, 0, "Host Tests");
    gProp->propSetString(p, kOfxImageEffectPropSupportedContexts, 0, context);
    gProp->propSetString(p, kOfxImageEffectPropSupportedPixelDepths, 0, kOfxBitDepthByte);
    gProp->propSetString(p, kOfxImageEffectPropSupportedPixelDepths, 1, kOfxBitDepthFloat);
    const std::string description = "describe #" + std::to_string(++gDescribeCount);
    gProp->propSetString(p, kOfxPropPluginDescription, 0, description.c_str());
    // A vendor property of our own: descriptors accept names the host does not know.
    gProp->propSetInt(p, "OndU1TestVendorProperty", 0, 42);
}

void defineClip(OfxImageEffectHandle e, const char* name) {
    OfxPropertySetHandle p = nullptr;
    gEffect->clipDefine(e, name, &p);
    gProp->propSetString(p, kOfxImageEffectPropSupportedComponents, 0, kOfxImageComponentRGBA);
}

OfxPropertySetHandle defineParam(OfxParamSetHandle set, const char* type, const char* name, const char* label) {
    OfxPropertySetHandle p = nullptr;
    gParam->paramDefine(set, type, name, &p);
    gProp->propSetString(p, kOfxPropLabel, 0, label);
    return p;
}

OfxParamSetHandle paramSetOf(OfxImageEffectHandle e) {
    OfxParamSetHandle set = nullptr;
    gEffect->getParamSet(e, &set);
    return set;
}

// Custom "Curve": a number as text; between keys the plug-in blends the numbers.
OfxStatus interpolateCurve(OfxParamSetHandle, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    char* a = nullptr;
    char* b = nullptr;
    double amount = 0;
    gProp->propGetString(in, kOfxParamPropCustomValue, 0, &a);
    gProp->propGetString(in, kOfxParamPropCustomValue, 1, &b);
    gProp->propGetDouble(in, kOfxParamPropInterpolationAmount, 0, &amount);
    char text[64];
    std::snprintf(text, sizeof text, "%g", std::atof(a) + (std::atof(b) - std::atof(a)) * amount);
    gProp->propSetString(out, kOfxParamPropCustomValue, 0, text);
    return kOfxStatOK;
}

void describeTintParams(OfxParamSetHandle set) {
    OfxPropertySetHandle p = defineParam(set, kOfxParamTypeDouble, "Gain", "Gain");
    gProp->propSetString(p, kOfxParamPropScriptName, 0, "gain");
    gProp->propSetDouble(p, kOfxParamPropDefault, 0, 1.0);
    gProp->propSetDouble(p, kOfxParamPropMin, 0, 0.0);
    gProp->propSetDouble(p, kOfxParamPropMax, 0, 4.0);
    gProp->propSetDouble(p, kOfxParamPropDisplayMin, 0, 0.0);
    gProp->propSetDouble(p, kOfxParamPropDisplayMax, 0, 2.0);
    gProp->propSetDouble(p, kOfxParamPropIncrement, 0, 0.1);
    gProp->propSetInt(p, kOfxParamPropDigits, 0, 3);
    gProp->propSetString(p, kOfxParamPropParent, 0, "Advanced");

    p = defineParam(set, kOfxParamTypeInteger, "Offset", "Offset");
    gProp->propSetInt(p, kOfxParamPropMin, 0, -255);
    gProp->propSetInt(p, kOfxParamPropMax, 0, 255);

    p = defineParam(set, kOfxParamTypeRGBA, "Tint", "Tint");
    const double white[4] = {1, 1, 1, 1};
    gProp->propSetDoubleN(p, kOfxParamPropDefault, 4, white);

    p = defineParam(set, kOfxParamTypeChoice, "Mode", "Mode");
    gProp->propSetString(p, kOfxParamPropChoiceOption, 0, "Copy");
    gProp->propSetString(p, kOfxParamPropChoiceOption, 1, "Gain");
    gProp->propSetString(p, kOfxParamPropChoiceOption, 2, "Thread index");
    gProp->propSetInt(p, kOfxParamPropDefault, 0, 1);

    p = defineParam(set, kOfxParamTypeString, "Note", "Note");
    gProp->propSetString(p, kOfxParamPropDefault, 0, "hello");
    gProp->propSetInt(p, kOfxParamPropAnimates, 0, 0);

    p = defineParam(set, kOfxParamTypeCustom, "Curve", "Curve");
    gProp->propSetString(p, kOfxParamPropDefault, 0, "0");
    gProp->propSetPointer(p, kOfxParamPropCustomInterpCallbackV1, 0, reinterpret_cast<void*>(&interpolateCurve));

    defineParam(set, kOfxParamTypeImage, "Picture", "Picture");
    defineParam(set, kOfxParamTypeGroup, "Advanced", "Advanced");
    p = defineParam(set, kOfxParamTypeInteger, "Threads", "Threads");
    gProp->propSetString(p, kOfxParamPropParent, 0, "Advanced");
    gProp->propSetInt(p, kOfxParamPropSecret, 0, 1);
    defineParam(set, kOfxParamTypePushButton, "Reset", "Reset");
    defineParam(set, kOfxParamTypePushButton, "Measure", "Measure");

    OfxParamHandle lut = nullptr;
    p = defineParam(set, kOfxParamTypeParametric, "Lut", "Lut");
    gProp->propSetInt(p, kOfxParamPropParametricDimension, 0, 1);
    if (gParametric && gParam->paramGetHandle(set, "Lut", &lut, nullptr) == kOfxStatOK) {
        gParametric->parametricParamAddControlPoint(lut, 0, 0.0, 0.0, 0.0, false);
        gParametric->parametricParamAddControlPoint(lut, 0, 0.0, 1.0, 0.5, false);
    }

    p = defineParam(set, kOfxParamTypePage, "Controls", "Controls");
    gProp->propSetString(p, kOfxParamPropPageChild, 0, "Mode");
    gProp->propSetString(p, kOfxParamPropPageChild, 1, "Advanced");
    gProp->propSetString(p, kOfxParamPropPageChild, 2, "Tint");
}

// ---- images ----

struct Image {
    OfxPropertySetHandle handle = nullptr;
    unsigned char* data = nullptr;
    OfxRectI bounds{};
    int rowBytes = 0;
    bool isFloat = false;
    bool bgra = false;

    cl_mem clImage = nullptr;

    bool fetch(OfxImageEffectHandle e, const char* clipName, double time) {
        OfxImageClipHandle clip = nullptr;
        if (gEffect->clipGetHandle(e, clipName, &clip, nullptr) != kOfxStatOK) return false;
        if (gEffect->clipGetImage(clip, time, nullptr, &handle) != kOfxStatOK) return false;
        void* p = nullptr;
        gProp->propGetPointer(handle, kOfxImagePropData, 0, &p);
        data = static_cast<unsigned char*>(p);
        void* mem = nullptr;
        gProp->propGetPointer(handle, kOfxImageEffectPropOpenCLImage, 0, &mem);
        clImage = static_cast<cl_mem>(mem);
        gProp->propGetIntN(handle, kOfxImagePropBounds, 4, &bounds.x1);
        gProp->propGetInt(handle, kOfxImagePropRowBytes, 0, &rowBytes);
        char* depth = nullptr;
        gProp->propGetString(handle, kOfxImageEffectPropPixelDepth, 0, &depth);
        isFloat = std::strcmp(depth, kOfxBitDepthFloat) == 0;
        char* order = nullptr;
        if (gProp->propGetString(handle, kOfxImageEffectPropPixelOrder, 0, &order) == kOfxStatOK)
            bgra = std::strcmp(order, kOfxImagePixelOrderBGRA) == 0;
        return true;
    }
    ~Image() {
        if (handle) gEffect->clipReleaseImage(handle);
    }
    // Index of channel c (0 red ... 3 alpha) of pixel (x, y) within its row.
    int at(int x, int c) const { return (x - bounds.x1) * 4 + channel(c); }
    int channel(int c) const { return (bgra && c < 3) ? 2 - c : c; }
    unsigned char* row(int y) const { return data + std::ptrdiff_t(y - bounds.y1) * rowBytes; }
    // Normalised value; 0 outside the bounds.
    float get(int x, int y, int c) const {
        if (x < bounds.x1 || x >= bounds.x2 || y < bounds.y1 || y >= bounds.y2) return 0.0f;
        return isFloat ? reinterpret_cast<float*>(row(y))[at(x, c)] : row(y)[at(x, c)] / 255.0f;
    }
    void set(int x, int y, int c, float v) {
        if (isFloat)
            reinterpret_cast<float*>(row(y))[at(x, c)] = v;
        else
            row(y)[at(x, c)] = static_cast<unsigned char>(v <= 0 ? 0 : v >= 1 ? 255 : std::lround(v * 255.0f));
    }
};

OfxParamHandle param(OfxImageEffectHandle e, const char* name) {
    OfxParamHandle h = nullptr;
    gParam->paramGetHandle(paramSetOf(e), name, &h, nullptr);
    return h;
}

struct RenderWindow {
    OfxRectI window;
    double time;
};

RenderWindow readRenderArgs(OfxPropertySetHandle in) {
    RenderWindow w{};
    gProp->propGetIntN(in, kOfxImageEffectPropRenderWindow, 4, &w.window.x1);
    gProp->propGetDouble(in, kOfxPropTime, 0, &w.time);
    return w;
}

struct TintJob {
    Image* src;
    Image* dst;
    OfxRectI window;
    int mode;
    double gain;
    int offset;
    double tint[4];
};

void tintRows(unsigned int index, unsigned int count, void* arg) {
    auto* job = static_cast<TintJob*>(arg);
    const int h = job->window.y2 - job->window.y1;
    const int y1 = job->window.y1 + int(long(h) * index / count);
    const int y2 = job->window.y1 + int(long(h) * (index + 1) / count);
    unsigned int reported = 99;
    gThread->multiThreadIndex(&reported);
    const bool agrees = reported == index && gThread->multiThreadIsSpawnedThread();
    for (int y = y1; y < y2; ++y)
        for (int x = job->window.x1; x < job->window.x2; ++x) {
            if (job->mode == 2) {
                job->dst->set(x, y, 0, index / 255.0f);
                job->dst->set(x, y, 1, count / 255.0f);
                job->dst->set(x, y, 2, agrees ? 1.0f / 255.0f : 0.0f);
                job->dst->set(x, y, 3, 1.0f);
                continue;
            }
            for (int c = 0; c < 4; ++c) {
                float v = job->src->get(x, y, c);
                if (job->mode == 1 && c < 3) v = float(v * job->gain * job->tint[c] + job->offset / 255.0);
                job->dst->set(x, y, c, v);
            }
        }
}

// Tint on packed buffers: bounds are (x1, y1, x2, y2), the window is in
// pixels; what lies outside the source's bounds reads as zero.
const char* const kTintKernels = R"CL(
#define TINT(NAME, T, LOAD, STORE)                                                          \
__kernel void NAME(__global const T* src, __global T* dst, int4 srcBounds, int4 dstBounds, \
                   int4 window, float4 scale, float4 offset)                               \
{                                                                                          \
    const int x = window.x + (int)get_global_id(0), y = window.y + (int)get_global_id(1);  \
    if (x >= window.z || y >= window.w)                                                    \
        return;                                                                            \
    float4 v = (float4)(0.0f);                                                             \
    if (x >= srcBounds.x && x < srcBounds.z && y >= srcBounds.y && y < srcBounds.w)        \
        v = LOAD(src[(y - srcBounds.y) * (srcBounds.z - srcBounds.x) + x - srcBounds.x]);  \
    dst[(y - dstBounds.y) * (dstBounds.z - dstBounds.x) + x - dstBounds.x] =               \
        STORE(v * scale + offset);                                                         \
}
#define LOAD_FLOAT(p) (p)
#define STORE_FLOAT(v) (v)
#define LOAD_BYTE(p) (convert_float4(p) / 255.0f)
#define STORE_BYTE(v) convert_uchar4_sat(round((v) * 255.0f))
TINT(tintFloat, float4, LOAD_FLOAT, STORE_FLOAT)
TINT(tintByte, uchar4, LOAD_BYTE, STORE_BYTE)
)CL";

OfxStatus renderTintOpenCL(OfxImageEffectHandle e, OfxPropertySetHandle in, const TintJob& job, double time) {
    if (job.mode == 2) return kOfxStatErrUnsupported;
    void* queue = nullptr;
    gProp->propGetPointer(in, kOfxImageEffectPropOpenCLCommandQueue, 0, &queue);
    Image src, dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, time) || !src.fetch(e, kOfxImageEffectSimpleSourceClipName, time))
        return kOfxStatFailed;
    if (!queue || !src.clImage || !dst.clImage) return kOfxStatErrValue;
    // Compiled for each render: a test plug-in values simplicity over speed,
    // and the host may hand another context next time.
    cl_program program = nullptr;
    if (gOpenCL->compileProgram(kTintKernels, 0, &program) != kOfxStatOK) return kOfxStatFailed;
    cl_int err = CL_SUCCESS;
    cl_kernel kernel = clCreateKernel(program, dst.isFloat ? "tintFloat" : "tintByte", &err);
    clReleaseProgram(program);
    if (!kernel) return kOfxStatFailed;
    const bool gains = job.mode == 1;
    cl_float4 scale{}, offset{};
    for (int c = 0; c < 3; ++c) {
        // The kernel sees channels in storage order.
        scale.s[dst.channel(c)] = gains ? float(job.gain * job.tint[c]) : 1.0f;
        offset.s[dst.channel(c)] = gains ? float(job.offset / 255.0) : 0.0f;
    }
    scale.s[3] = 1.0f;
    const cl_int4 srcBounds{{src.bounds.x1, src.bounds.y1, src.bounds.x2, src.bounds.y2}};
    const cl_int4 dstBounds{{dst.bounds.x1, dst.bounds.y1, dst.bounds.x2, dst.bounds.y2}};
    const cl_int4 window{{job.window.x1, job.window.y1, job.window.x2, job.window.y2}};
    err |= clSetKernelArg(kernel, 0, sizeof(cl_mem), &src.clImage);
    err |= clSetKernelArg(kernel, 1, sizeof(cl_mem), &dst.clImage);
    err |= clSetKernelArg(kernel, 2, sizeof srcBounds, &srcBounds);
    err |= clSetKernelArg(kernel, 3, sizeof dstBounds, &dstBounds);
    err |= clSetKernelArg(kernel, 4, sizeof window, &window);
    err |= clSetKernelArg(kernel, 5, sizeof scale, &scale);
    err |= clSetKernelArg(kernel, 6, sizeof offset, &offset);
    const size_t global[2] = {size_t(job.window.x2 - job.window.x1), size_t(job.window.y2 - job.window.y1)};
    if (err == CL_SUCCESS && global[0] && global[1])
        err = clEnqueueNDRangeKernel(static_cast<cl_command_queue>(queue), kernel, 2, nullptr, global, nullptr, 0,
                                     nullptr, nullptr);
    clReleaseKernel(kernel);
    return err == CL_SUCCESS ? kOfxStatOK : kOfxStatFailed;
}

OfxStatus renderTint(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderWindow args = readRenderArgs(in);
    TintJob job{};
    job.window = args.window;
    gParam->paramGetValueAtTime(param(e, "Mode"), args.time, &job.mode);
    gParam->paramGetValueAtTime(param(e, "Gain"), args.time, &job.gain);
    gParam->paramGetValueAtTime(param(e, "Offset"), args.time, &job.offset);
    gParam->paramGetValueAtTime(param(e, "Tint"), args.time, &job.tint[0], &job.tint[1], &job.tint[2], &job.tint[3]);
    if (job.gain > 3.5) {
        gMessage->message(e, kOfxMessageError, nullptr, "gain %g is too high", job.gain);
        return kOfxStatFailed;
    }
    int openCL = 0;
    gProp->propGetInt(in, kOfxImageEffectPropOpenCLEnabled, 0, &openCL);
    if (openCL) return renderTintOpenCL(e, in, job, args.time);
    Image src, dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, args.time)) return kOfxStatFailed;
    if (!src.fetch(e, kOfxImageEffectSimpleSourceClipName, args.time)) return kOfxStatFailed;
    // Scratch memory from the host, as a plug-in would for a row cache.
    void* scratch = nullptr;
    if (gMemory->memoryAlloc(e, 4096, &scratch) != kOfxStatOK) return kOfxStatErrMemory;
    job.src = &src;
    job.dst = &dst;
    int threads = 0;
    gParam->paramGetValueAtTime(param(e, "Threads"), args.time, &threads);
    unsigned int n = 0;
    gThread->multiThreadNumCPUs(&n);
    const OfxStatus s = gThread->multiThread(tintRows, threads > 0 ? unsigned(threads) : n, &job);
    gMemory->memoryFree(scratch);
    return s;
}

OfxStatus measure(OfxImageEffectHandle e) {
    OfxPropertySetHandle clip = nullptr;
    gEffect->clipGetHandle(e, kOfxImageEffectSimpleSourceClipName, nullptr, &clip);
    double range[2] = {0, 0};
    gProp->propGetDoubleN(clip, kOfxImageEffectPropFrameRange, 2, range);
    if (!gProgress) return kOfxStatErrMissingHostFeature;
    gProgress->progressStartProgress(e, "Measuring");
    double times[16], reds[16];
    int found = 0;
    for (double t = range[0]; t <= range[1] && found < 16; t += 1) {
        Image src;
        if (!src.fetch(e, kOfxImageEffectSimpleSourceClipName, t)) break;
        times[found] = t;
        reds[found++] = src.get(0, 0, 0);
        if (gProgress->progressUpdate(e, (t - range[0] + 1) / (range[1] - range[0] + 1)) == kOfxStatReplyNo) break;
    }
    gProgress->progressEndProgress(e);
    OfxParamHandle gain = param(e, "Gain");
    gParam->paramEditBegin(paramSetOf(e), "Measure");
    gParam->paramDeleteAllKeys(gain);
    for (int i = 0; i < found; ++i) gParam->paramSetValueAtTime(gain, times[i], reds[i]);
    return gParam->paramEditEnd(paramSetOf(e));
}

OfxStatus renderRamp(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderWindow args = readRenderArgs(in);
    double colour[4], level = 1;
    gParam->paramGetValueAtTime(param(e, "Color"), args.time, &colour[0], &colour[1], &colour[2], &colour[3]);
    gParam->paramGetValueAtTime(param(e, "Level"), args.time, &level);
    Image dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, args.time)) return kOfxStatFailed;
    for (int y = args.window.y1; y < args.window.y2; ++y)
        for (int x = args.window.x1; x < args.window.x2; ++x)
            for (int c = 0; c < 4; ++c) dst.set(x, y, c, float(colour[c] * level));
    return kOfxStatOK;
}

OfxStatus renderMix(OfxImageEffectHandle e, OfxPropertySetHandle in) {
    const RenderWindow args = readRenderArgs(in);
    double t = 0;
    gParam->paramGetValueAtTime(param(e, kOfxImageEffectTransitionParamName), args.time, &t);
    Image from, to, dst;
    if (!dst.fetch(e, kOfxImageEffectOutputClipName, args.time) ||
        !from.fetch(e, kOfxImageEffectTransitionSourceFromClipName, args.time) ||
        !to.fetch(e, kOfxImageEffectTransitionSourceToClipName, args.time))
        return kOfxStatFailed;
    for (int y = args.window.y1; y < args.window.y2; ++y)
        for (int x = args.window.x1; x < args.window.x2; ++x)
            for (int c = 0; c < 4; ++c) dst.set(x, y, c, float(from.get(x, y, c) * (1 - t) + to.get(x, y, c) * t));
    return kOfxStatOK;
}

enum class Kind { Tint, Ramp, Mix };

template <Kind K>
OfxStatus entry(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    auto e = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    const std::string a = action ? action : "";
    if (a == kOfxActionLoad) return load();
    if (a == kOfxActionUnload || a == kOfxActionCreateInstance || a == kOfxActionDestroyInstance) return kOfxStatOK;
    if (a == kOfxActionDescribe) {
        if (K == Kind::Tint) {
            describeCommon(e, "Test Tint", kOfxImageEffectContextFilter);
            gProp->propSetString(effectProps(e), kOfxImageEffectPropSupportedContexts, 1,
                                 kOfxImageEffectContextGeneral);
            gProp->propSetString(effectProps(e), kOfxImageEffectPropTalvoUpliftGUID, 0,
                                 "{00000000-0000-0000-0000-000000000001}");
            gProp->propSetString(effectProps(e), kOfxImageEffectPropOpenCLSupported, 0, gOpenCL ? "true" : "false");
        } else if (K == Kind::Ramp) {
            describeCommon(e, "Test Ramp", kOfxImageEffectContextGenerator);
        } else {
            describeCommon(e, "Test Mix", kOfxImageEffectContextTransition);
        }
        return kOfxStatOK;
    }
    if (a == kOfxImageEffectActionDescribeInContext) {
        OfxParamSetHandle set = paramSetOf(e);
        defineClip(e, kOfxImageEffectOutputClipName);
        if (K == Kind::Tint) {
            defineClip(e, kOfxImageEffectSimpleSourceClipName);
            describeTintParams(set);
        } else if (K == Kind::Ramp) {
            OfxPropertySetHandle p = defineParam(set, kOfxParamTypeRGBA, "Color", "Color");
            const double red[4] = {1, 0, 0, 1};
            gProp->propSetDoubleN(p, kOfxParamPropDefault, 4, red);
            p = defineParam(set, kOfxParamTypeDouble, "Level", "Level");
            gProp->propSetDouble(p, kOfxParamPropDefault, 0, 1.0);
        } else {
            defineClip(e, kOfxImageEffectTransitionSourceFromClipName);
            defineClip(e, kOfxImageEffectTransitionSourceToClipName);
            OfxPropertySetHandle p =
                defineParam(set, kOfxParamTypeDouble, kOfxImageEffectTransitionParamName, "Transition");
            gProp->propSetDouble(p, kOfxParamPropMin, 0, 0.0);
            gProp->propSetDouble(p, kOfxParamPropMax, 0, 1.0);
        }
        return kOfxStatOK;
    }
    if (a == kOfxImageEffectActionIsIdentity && K == Kind::Tint) {
        double time = 0;
        gProp->propGetDouble(in, kOfxPropTime, 0, &time);
        int mode = 1;
        gParam->paramGetValueAtTime(param(e, "Mode"), time, &mode);
        if (mode != 0) return kOfxStatReplyDefault;
        gProp->propSetString(out, kOfxPropName, 0, kOfxImageEffectSimpleSourceClipName);
        gProp->propSetDouble(out, kOfxPropTime, 0, time);
        return kOfxStatOK;
    }
    if (a == kOfxActionInstanceChanged && K == Kind::Tint) {
        char* name = nullptr;
        gProp->propGetString(in, kOfxPropName, 0, &name);
        if (name && std::strcmp(name, "Reset") == 0) gMessage->message(e, kOfxMessageMessage, "reset", "reset pressed");
        if (name && std::strcmp(name, "Measure") == 0) return measure(e);
        return kOfxStatReplyDefault;
    }
    if (a == kOfxImageEffectActionRender)
        return K == Kind::Tint ? renderTint(e, in) : K == Kind::Ramp ? renderRamp(e, in) : renderMix(e, in);
    return kOfxStatReplyDefault;
}

OfxPlugin gPlugins[] = {
    {kOfxImageEffectPluginApi, 1, "ondu1.test:tint", 1, 2, setHost, entry<Kind::Tint>},
    {kOfxImageEffectPluginApi, 1, "ondu1.test:ramp", 1, 0, setHost, entry<Kind::Ramp>},
    {kOfxImageEffectPluginApi, 1, "ondu1.test:mix", 2, 0, setHost, entry<Kind::Mix>},
};

}  // namespace

OfxExport int OfxGetNumberOfPlugins(void) { return int(sizeof gPlugins / sizeof gPlugins[0]); }

OfxExport OfxPlugin* OfxGetPlugin(int nth) {
    if (nth < 0 || nth >= OfxGetNumberOfPlugins()) return nullptr;
    return &gPlugins[nth];
}
