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

// Shared by every effect of the module; the host calls load and unload from
// one thread, so a plain integer does.
extern int gLoadCount;

// The load action's work: suites and host description on the first load.
void loadAction();
// The unload action's work for one effect, keyed by its UID.
void unloadAction(const char* uid);

}  // namespace Private
}  // namespace OFX
