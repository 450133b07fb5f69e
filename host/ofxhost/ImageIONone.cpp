#include "ofxhost/ImageIO.h"
#include "ofxhost/Status.h"

// The build without OpenImageIO: renders to and from memory only.
namespace ofxhost {

namespace {

[[noreturn]] void unsupported(const std::string& path) {
    throw Error(path, "ofxrender was built without image file support (OpenImageIO)");
}

}  // namespace

bool imageFilesSupported() { return false; }

Depth fileDepth(const std::string& path) { unsupported(path); }

ImageBuffer readImage(const std::string& path, Depth, PixelOrder) { unsupported(path); }

void writeImageFile(const std::string&, const std::string& formatName, const ImageBuffer&) { unsupported(formatName); }

void checkWritable(const std::string& path) { unsupported(path); }

}  // namespace ofxhost
