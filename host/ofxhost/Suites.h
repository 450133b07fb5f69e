// The suite tables the host offers, one function per table (each defined in
// the file of its suite). Host's constructor registers them under their
// published names.
#pragma once

#include "ofxImageEffect.h"
#include "ofxMemory.h"
#include "ofxMessage.h"
#include "ofxMultiThread.h"
#include "ofxParam.h"
#include "ofxParametricParam.h"
#include "ofxProgress.h"
#include "ofxProperty.h"
#include "ofxTalvo.h"
#include "ofxTimeLine.h"

namespace ofxhost::suites {

const OfxPropertySuiteV1* property();
const OfxImageEffectSuiteV1* imageEffect();
const OfxParameterSuiteV1* parameter();
const OfxParametricParameterSuiteV1* parametric();
const OfxMemorySuiteV1* memory();
const OfxMultiThreadSuiteV1* multiThread();
const OfxMessageSuiteV1* messageV1();
const OfxMessageSuiteV2* messageV2();
const OfxProgressSuiteV1* progressV1();
const OfxProgressSuiteV2* progressV2();
const OfxTimeLineSuiteV1* timeLine();
const OfxTalvoKeyframeSuiteV1* keyframe();
// Offered only by a host with an OpenCL device.
const OfxOpenCLProgramSuiteV1* openCLProgram();

}  // namespace ofxhost::suites
