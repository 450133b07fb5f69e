#ifndef _ofxOpenGLRender_h_
#define _ofxOpenGLRender_h_

/* The OpenGL render suite lives in ofxGPURender.h with the other GPU names. */
#include "ofxGPURender.h"

#endif /* _ofxOpenGLRender_h_ */
