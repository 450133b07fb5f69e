#ifndef _ofxGPURender_h_
#define _ofxGPURender_h_

/* GPU rendering: the OpenGL render suite with its properties and actions,
   and the OpenCL, CUDA and Metal render properties. */

#include "ofxCore.h"
#include "ofxImageEffect.h"

#ifdef __cplusplus
extern "C" {
#endif

/* status codes */
#define kOfxStatGPUOutOfMemory ((int)1001)
#define kOfxStatGLOutOfMemory ((int)1001)
#define kOfxStatGPURenderFailed ((int)1002)
#define kOfxStatGLRenderFailed ((int)1002)

/* ---- OpenGL ---- */
/* host and plug-in: "false", "true" or "needed" */
#define kOfxImageEffectPropOpenGLRenderSupported "OfxImageEffectPropOpenGLRenderSupported"
/* string X N: pixel depths the plug-in can take as textures */
#define kOfxOpenGLPropPixelDepth "OfxOpenGLPropPixelDepth"
/* int X 1 in render and sequence render arguments */
#define kOfxImageEffectPropOpenGLEnabled "OfxImageEffectPropOpenGLEnabled"
/* int X 1 on texture handles: texture name and target (GL_TEXTURE_2D, ...) */
#define kOfxImageEffectPropOpenGLTextureIndex "OfxImageEffectPropOpenGLTextureIndex"
#define kOfxImageEffectPropOpenGLTextureTarget "OfxImageEffectPropOpenGLTextureTarget"

#define kOfxActionOpenGLContextAttached "OfxActionOpenGLContextAttached"
/* note: this value keeps its historical leading 'k' */
#define kOfxActionOpenGLContextDetached "kOfxActionOpenGLContextDetached"

#define kOfxOpenGLRenderSuite "OfxImageEffectOpenGLRenderSuite"

typedef struct OfxImageEffectOpenGLRenderSuiteV1 {
  /* format: a kOfxBitDepth... value or NULL for the clip's; region NULL: whole RoD.
     The texture handle carries the texture and image properties. */
  OfxStatus (*clipLoadTexture)(OfxImageClipHandle clip, OfxTime time, const char *format,
                               const OfxRectD *region, OfxPropertySetHandle *textureHandle);
  OfxStatus (*clipFreeTexture)(OfxPropertySetHandle textureHandle);
  /* asks the host to free what GPU resources it can */
  OfxStatus (*flushResources)(void);
} OfxImageEffectOpenGLRenderSuiteV1;

/* ---- CUDA ---- */
#define kOfxImageEffectPropCudaRenderSupported "OfxImageEffectPropCudaRenderSupported"
#define kOfxImageEffectPropCudaEnabled "OfxImageEffectPropCudaEnabled"
#define kOfxImageEffectPropCudaStreamSupported "OfxImageEffectPropCudaStreamSupported"
#define kOfxImageEffectPropCudaStream "OfxImageEffectPropCudaStream"

/* ---- Metal ---- */
#define kOfxImageEffectPropMetalRenderSupported "OfxImageEffectPropMetalRenderSupported"
#define kOfxImageEffectPropMetalEnabled "OfxImageEffectPropMetalEnabled"
#define kOfxImageEffectPropMetalCommandQueue "OfxImageEffectPropMetalCommandQueue"

/* ---- OpenCL ---- */
/* "false", "true" or "needed": OpenCL buffers in kOfxImagePropData */
#define kOfxImageEffectPropOpenCLRenderSupported "OfxImageEffectPropOpenCLRenderSupported"
/* "false", "true" or "needed": OpenCL images in kOfxImageEffectPropOpenCLImage */
#define kOfxImageEffectPropOpenCLSupported "OfxImageEffectPropOpenCLSupported"
/* int X 1 in render arguments */
#define kOfxImageEffectPropOpenCLEnabled "OfxImageEffectPropOpenCLEnabled"
/* pointer X 1 in render arguments: the cl_command_queue to use */
#define kOfxImageEffectPropOpenCLCommandQueue "OfxImageEffectPropOpenCLCommandQueue"
/* pointer X 1 on images: the cl_mem image */
#define kOfxImageEffectPropOpenCLImage "OfxImageEffectPropOpenCLImage"

#ifdef __cplusplus
}
#endif

#endif /* _ofxGPURender_h_ */
