// The OFX strings of the host's pixel formats, for the image and clip
// properties the instance writes. Internal to the host library.
#pragma once

#include "ofxImageEffect.h"
#include "ofxTalvo.h"
#include "ofxhost/Image.h"

namespace ofxhost {

inline const char* ofxDepth(Depth d) { return d == Depth::Byte ? kOfxBitDepthByte : kOfxBitDepthFloat; }
inline const char* ofxOrder(PixelOrder o) {
    return o == PixelOrder::RGBA ? kOfxImagePixelOrderRGBA : kOfxImagePixelOrderBGRA;
}

}  // namespace ofxhost
