#include "Suites.h"

#include <map>
#include <memory>

#include "Log.h"
#include "PropertySet.h"
#include "Registry.h"

namespace OFX {
namespace Private {

OfxHost* gHost = nullptr;
const OfxImageEffectSuiteV1* gEffectSuite = nullptr;
const OfxPropertySuiteV1* gPropSuite = nullptr;
const OfxParameterSuiteV1* gParamSuite = nullptr;
const OfxMemorySuiteV1* gMemorySuite = nullptr;
const OfxMultiThreadSuiteV1* gThreadSuite = nullptr;
const OfxMessageSuiteV1* gMessageSuite = nullptr;
const OfxMessageSuiteV2* gMessageSuiteV2 = nullptr;
const OfxProgressSuiteV1* gProgressSuiteV1 = nullptr;
const OfxTalvoProgressSuiteV2* gTalvoProgressSuiteV2 = nullptr;
const OfxTimeLineSuiteV1* gTimeLineSuite = nullptr;
const OfxParametricParameterSuiteV1* gParametricParameterSuite = nullptr;
const OfxTalvoStereoscopicImageEffectSuiteV1* gStereoscopicSuite = nullptr;
const OfxTalvoKeyframeSuiteV1* gKeyframeSuite = nullptr;
const OfxTalvoEffectSuiteV1* gTalvoEffectSuite = nullptr;
const OfxImageEffectOpenGLRenderSuiteV1* gOpenGLRenderSuite = nullptr;
const OfxInteractSuiteV1* gInteractSuite = nullptr;
const OfxDrawSuiteV1* gDrawSuite = nullptr;
const OfxHWndInteractSuiteV1* gHWndInteractSuite = nullptr;
const OfxHWndOverlayInteractSuiteV1* gHWndOverlayInteractSuite = nullptr;
const OfxOpenCLProgramSuiteV1* gOpenCLProgramSuite = nullptr;
int gLoadCount = 0;
// Each effect's own count. A host that unloads an effect twice takes back
// only that effect's load: counted for the module alone, the second unload
// took another effect's, cleared the suites under it and left the count
// negative, so that a reload fetched no suites at all.
std::map<std::string, int> gLoadsByEffect;

namespace {

std::unique_ptr<ImageEffectHostDescription> gHostDescription;

template <class Suite>
const Suite* fetchSuite(const char* name, int version, bool mandatory) {
    const void* suite = gHost->fetchSuite(gHost->host, name, version);
    if (!suite) {
        if (mandatory) {
            Log::error(true, "Could not fetch the mandatory suite '%s' version %d.", name, version);
            throw Exception::HostInadequate(name);
        }
        Log::warning(true, "Could not fetch the optional suite '%s' version %d.", name, version);
    }
    return static_cast<const Suite*>(suite);
}

template <class Enum>
std::vector<Enum> readList(const PropertySet& host, const char* name, Enum (*map)(const std::string&)) {
    std::vector<Enum> list;
    const int n = host.propGetDimension(name);
    for (int i = 0; i < n; ++i) list.push_back(map(host.propGetString(name, i)));
    return list;
}

int nativeOrigin(const std::string& origin, const std::string& hostName) {
    if (!origin.empty()) {
        if (origin == kOfxHostNativeOriginBottomLeft) return 0;
        if (origin == kOfxHostNativeOriginTopLeft) return 1;
        if (origin == kOfxHostNativeOriginCenter) return 2;
        return 0;
    }
    auto endsWith = [&](const std::string& tail) {
        return hostName.size() >= tail.size() &&
               hostName.compare(hostName.size() - tail.size(), tail.size(), tail) == 0;
    };
    if (hostName == "com.eyeonline.Fusion" || endsWith("Fusion")) return 1;
    if (hostName.rfind("Autodesk Toxik", 0) == 0 || endsWith("Toxik")) return 2;
    return 0;
}

void describeHost() {
    if (gHostDescription) {
        Log::error(true, "Tried to create host description when we already have one.");
        return;
    }
    const PropertySet host(gHost->host);
    auto d = std::make_unique<ImageEffectHostDescription>();
    d->APIVersionMajor = host.propGetInt(kOfxPropAPIVersion, 0, false);
    if (d->APIVersionMajor == 0) d->APIVersionMajor = 1;
    d->APIVersionMinor = host.propGetInt(kOfxPropAPIVersion, 1, false);
    d->hostName = host.propGetString(kOfxPropName);
    d->hostLabel = host.propGetString(kOfxPropLabel);
    d->versionMajor = host.propGetInt(kOfxPropVersion, 0, false);
    d->versionMinor = host.propGetInt(kOfxPropVersion, 1, false);
    d->versionMicro = host.propGetInt(kOfxPropVersion, 2, false);
    d->versionLabel = host.propGetString(kOfxPropVersionLabel, 0, false);
    d->hostIsBackground = host.propGetInt(kOfxImageEffectHostPropIsBackground) != 0;
    d->supportsOverlays = host.propGetInt(kOfxImageEffectPropSupportsOverlays) != 0;
    d->supportsMultiResolution = host.propGetInt(kOfxImageEffectPropSupportsMultiResolution) != 0;
    d->supportsTiles = host.propGetInt(kOfxImageEffectPropSupportsTiles) != 0;
    d->temporalClipAccess = host.propGetInt(kOfxImageEffectPropTemporalClipAccess) != 0;
    d->supportsMultipleClipDepths = host.propGetInt(kOfxImageEffectPropSupportsMultipleClipDepths) != 0;
    d->supportsMultipleClipPARs = host.propGetInt(kOfxImageEffectPropSupportsMultipleClipPARs) != 0;
    d->supportsSetableFrameRate = host.propGetInt(kOfxImageEffectPropSetableFrameRate) != 0;
    d->supportsSetableFielding = host.propGetInt(kOfxImageEffectPropSetableFielding) != 0;
    d->sequentialRender = host.propGetInt(kOfxImageEffectInstancePropSequentialRender, 0, false);
    d->supportsStringAnimation = host.propGetInt(kOfxParamHostPropSupportsStringAnimation) != 0;
    d->supportsCustomInteract = host.propGetInt(kOfxParamHostPropSupportsCustomInteract) != 0;
    d->supportsChoiceAnimation = host.propGetInt(kOfxParamHostPropSupportsChoiceAnimation) != 0;
    d->supportsBooleanAnimation = host.propGetInt(kOfxParamHostPropSupportsBooleanAnimation) != 0;
    d->supportsCustomAnimation = host.propGetInt(kOfxParamHostPropSupportsCustomAnimation) != 0;
    d->osHandle = host.propGetPointer(kOfxPropHostOSHandle, 0, false);
    d->supportsParametricParameter = gParametricParameterSuite != nullptr;
    d->supportsParametricAnimation = host.propGetInt(kOfxParamHostPropSupportsParametricAnimation, 0, false) != 0;
    d->supportsRenderQualityDraft = host.propGetInt(kOfxImageEffectPropRenderQualityDraft, 0, false) != 0;
    d->nativeOrigin = nativeOrigin(host.propGetString(kOfxImageEffectHostPropNativeOrigin, 0, false), d->hostName);
    // Note: only the exact text "true" counts; the standard's "needed" does
    // not switch the bundle's OpenGL paths on.
    d->supportsOpenGLRender =
        gOpenGLRenderSuite &&
        host.propGetString(kOfxImageEffectPropOpenGLRenderSupported, 0, false).compare(0, 4, "true") == 0;
    d->maxParameters = host.propGetInt(kOfxParamHostPropMaxParameters);
    d->maxPages = host.propGetInt(kOfxParamHostPropMaxPages);
    d->pageRowCount = host.propGetInt(kOfxParamHostPropPageRowColumnCount, 0);
    d->pageColumnCount = host.propGetInt(kOfxParamHostPropPageRowColumnCount, 1);
    d->supportedComponents = readList(host, kOfxImageEffectPropSupportedComponents, &mapPixelComponentStringToEnum);
    d->supportedContexts = readList(host, kOfxImageEffectPropSupportedContexts, &mapContextStringToEnum);
    d->supportedPixelDepths = readList(host, kOfxImageEffectPropSupportedPixelDepths, &mapBitDepthStringToEnum);
    d->hostAppDataDirectory = host.propGetString(kOfxPropTalvoHostAppDataDirectory, 0, false);
    gHostDescription = std::move(d);
}

}  // namespace

void loadAction(const std::string& uid) {
    ++gLoadCount;
    ++gLoadsByEffect[uid];
    if (!gHost) {
        Log::error(true, "Host pointer has not been set.");
        throw Exception::Suite(kOfxStatErrBadHandle);
    }
    if (gLoadCount != 1) return;

    gEffectSuite = fetchSuite<OfxImageEffectSuiteV1>(kOfxImageEffectSuite, 1, true);
    gPropSuite = fetchSuite<OfxPropertySuiteV1>(kOfxPropertySuite, 1, true);
    gParamSuite = fetchSuite<OfxParameterSuiteV1>(kOfxParameterSuite, 1, true);
    gMemorySuite = fetchSuite<OfxMemorySuiteV1>(kOfxMemorySuite, 1, true);
    gThreadSuite = fetchSuite<OfxMultiThreadSuiteV1>(kOfxMultiThreadSuite, 1, true);
    gMessageSuite = fetchSuite<OfxMessageSuiteV1>(kOfxMessageSuite, 1, true);
    gMessageSuiteV2 = fetchSuite<OfxMessageSuiteV2>(kOfxMessageSuite, 2, false);
    gProgressSuiteV1 = fetchSuite<OfxProgressSuiteV1>(kOfxProgressSuite, 1, false);
    gTalvoProgressSuiteV2 = fetchSuite<OfxTalvoProgressSuiteV2>(kOfxTalvoProgressSuite, 2, false);
    gTimeLineSuite = fetchSuite<OfxTimeLineSuiteV1>(kOfxTimeLineSuite, 1, false);
    gParametricParameterSuite = fetchSuite<OfxParametricParameterSuiteV1>(kOfxParametricParameterSuite, 1, false);
    gStereoscopicSuite =
        fetchSuite<OfxTalvoStereoscopicImageEffectSuiteV1>(kOfxTalvoStereoscopicImageEffectSuite, 1, false);
    gKeyframeSuite = fetchSuite<OfxTalvoKeyframeSuiteV1>(kOfxTalvoKeyframeSuite, 1, false);
    gTalvoEffectSuite = fetchSuite<OfxTalvoEffectSuiteV1>(kOfxTalvoEffectSuite, 1, false);
    gOpenGLRenderSuite = fetchSuite<OfxImageEffectOpenGLRenderSuiteV1>(kOfxOpenGLRenderSuite, 1, false);

    describeHost();
    ImageEffectHostDescription& d = *gHostDescription;
    d.supportsProgressSuite = gProgressSuiteV1 || gTalvoProgressSuiteV2;
    d.supportsTimeLineSuite = gTimeLineSuite != nullptr;
    d.supportsMessageSuiteV2 = gMessageSuiteV2 != nullptr;

    if (d.supportsOverlays || d.supportsCustomInteract) {
        gInteractSuite = fetchSuite<OfxInteractSuiteV1>(kOfxInteractSuite, 2, false);
        gDrawSuite = fetchSuite<OfxDrawSuiteV1>(kOfxDrawSuite, 1, false);
        d.supportsDrawSuite = gDrawSuite != nullptr;
    }
    gHWndInteractSuite = fetchSuite<OfxHWndInteractSuiteV1>(kOfxHWndInteractSuite, 1, false);
    gHWndOverlayInteractSuite = fetchSuite<OfxHWndOverlayInteractSuiteV1>(kOfxHWndOverlayInteractSuite, 1, false);
    gOpenCLProgramSuite = fetchSuite<OfxOpenCLProgramSuiteV1>(kOfxOpenCLProgramSuite, 1, false);
}

bool effectLoaded(const std::string& uid) {
    const auto found = gLoadsByEffect.find(uid);
    return found != gLoadsByEffect.end() && found->second > 0;
}

void unloadAction(const std::string& uid) {
    if (!effectLoaded(uid)) {
        Log::warning(true, "OFX Plugin '%s' is already unloaded.", uid.c_str());
        return;
    }
    --gLoadsByEffect[uid];
    --gLoadCount;
    if (gLoadCount == 0) {
        // The progress, time line, keyframe, effect and OpenGL suites stay
        // as they were: nothing reads them once every effect is unloaded.
        gEffectSuite = nullptr;
        gPropSuite = nullptr;
        gParamSuite = nullptr;
        gMemorySuite = nullptr;
        gThreadSuite = nullptr;
        gMessageSuite = nullptr;
        gMessageSuiteV2 = nullptr;
        gInteractSuite = nullptr;
        gParametricParameterSuite = nullptr;
        gHWndInteractSuite = nullptr;
        gHWndOverlayInteractSuite = nullptr;
        gStereoscopicSuite = nullptr;
        gOpenCLProgramSuite = nullptr;
        gDrawSuite = nullptr;
    }
    // The effect's plug-in record is not freed: the host may still hold it,
    // and it stays valid for as long as the module is loaded.
    releaseDescriptors(uid);
}

}  // namespace Private

const ImageEffectHostDescription* getImageEffectHostDescription() { return Private::gHostDescription.get(); }

}  // namespace OFX
