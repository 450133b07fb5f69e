// The host's suites as the bundle fetched them at load, and the one
// description of the host. Written by the load and unload actions, read by
// everything else; a null pointer means the host does not offer the suite.
#pragma once

#include <string>
#include <vector>

#include "Core.h"
#include "ofxCore.h"
#include "ofxDrawSuite.h"
#include "ofxImageEffect.h"
#include "ofxInteract.h"
#include "ofxMemory.h"
#include "ofxMessage.h"
#include "ofxMultiThread.h"
#include "ofxOpenGLRender.h"
#include "ofxParam.h"
#include "ofxParametricParam.h"
#include "ofxProgress.h"
#include "ofxProperty.h"
#include "ofxTalvo.h"
#include "ofxTimeLine.h"

namespace OFX {

struct ImageEffectHostDescription {
    int APIVersionMajor = 1;
    int APIVersionMinor = 0;
    std::string hostName;
    std::string hostLabel;
    int versionMajor = 0;
    int versionMinor = 0;
    int versionMicro = 0;
    std::string versionLabel;
    bool hostIsBackground = false;
    bool supportsOverlays = false;
    bool supportsDrawSuite = false;
    bool supportsMultiResolution = false;
    bool supportsTiles = false;
    bool temporalClipAccess = false;
    bool supportsMultipleClipDepths = false;
    bool supportsMultipleClipPARs = false;
    bool supportsSetableFrameRate = false;
    bool supportsSetableFielding = false;
    int sequentialRender = 0;
    bool supportsStringAnimation = false;
    bool supportsCustomInteract = false;
    bool supportsChoiceAnimation = false;
    bool supportsBooleanAnimation = false;
    bool supportsCustomAnimation = false;
    void* osHandle = nullptr;
    bool supportsParametricParameter = false;
    bool supportsParametricAnimation = false;
    bool supportsRenderQualityDraft = false;
    int nativeOrigin = 0;  // 0 bottom left, 1 top left, 2 centre
    bool supportsOpenGLRender = false;
    int maxParameters = 0;
    int maxPages = 0;
    int pageRowCount = 0;
    int pageColumnCount = 0;
    std::vector<PixelComponentEnum> supportedComponents;
    std::vector<ContextEnum> supportedContexts;
    std::vector<BitDepthEnum> supportedPixelDepths;
    bool supportsProgressSuite = false;
    bool supportsTimeLineSuite = false;
    bool supportsMessageSuiteV2 = false;
    std::string hostAppDataDirectory;
};

// The process-wide description, or null before the first load.
const ImageEffectHostDescription* getImageEffectHostDescription();

namespace Private {

extern OfxHost* gHost;
extern const OfxImageEffectSuiteV1* gEffectSuite;
extern const OfxPropertySuiteV1* gPropSuite;
extern const OfxParameterSuiteV1* gParamSuite;
extern const OfxMemorySuiteV1* gMemorySuite;
extern const OfxMultiThreadSuiteV1* gThreadSuite;
extern const OfxMessageSuiteV1* gMessageSuite;
extern const OfxMessageSuiteV2* gMessageSuiteV2;
extern const OfxProgressSuiteV1* gProgressSuiteV1;
extern const OfxTalvoProgressSuiteV2* gTalvoProgressSuiteV2;
extern const OfxTimeLineSuiteV1* gTimeLineSuite;
extern const OfxParametricParameterSuiteV1* gParametricParameterSuite;
extern const OfxTalvoStereoscopicImageEffectSuiteV1* gStereoscopicSuite;
extern const OfxTalvoKeyframeSuiteV1* gKeyframeSuite;
extern const OfxTalvoEffectSuiteV1* gTalvoEffectSuite;
extern const OfxImageEffectOpenGLRenderSuiteV1* gOpenGLRenderSuite;
extern const OfxInteractSuiteV1* gInteractSuite;
extern const OfxDrawSuiteV1* gDrawSuite;
extern const OfxHWndInteractSuiteV1* gHWndInteractSuite;
extern const OfxHWndOverlayInteractSuiteV1* gHWndOverlayInteractSuite;
extern const OfxOpenCLProgramSuiteV1* gOpenCLProgramSuite;

// The loads of every effect of the module not yet unloaded; the host calls
// load and unload from one thread, so plain integers do.
extern int gLoadCount;

// The load action's work for one effect, keyed by its UID: suites and host
// description on the module's first load.
void loadAction(const std::string& uid);
// Whether the effect has a load that no unload has answered yet.
bool effectLoaded(const std::string& uid);
// The unload action's work for one effect. An unload with no load left to
// answer is logged and changes nothing.
void unloadAction(const std::string& uid);

}  // namespace Private
}  // namespace OFX
