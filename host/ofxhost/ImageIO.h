// Image files, through OpenImageIO when the host is built with it.
//
// Files are stored top row first; the host flips rows on the way in and out
// so that images keep OFX's upward y. TIFF and OpenEXR values pass through
// untouched (alpha as stored) when the file's depth is the image's; PNG and
// JPEG hold straight alpha and are premultiplied on read, unpremultiplied on
// write, as OpenImageIO does. Writes go to a temporary name in the target's
// directory and are renamed into place when complete, so a failed write
// leaves no file.
#pragma once

#include <string>

#include "ofxhost/Image.h"

namespace ofxhost {

// False when built without OpenImageIO: every read and write then throws
// Error(<file>, "ofxrender was built without image file support").
bool imageFilesSupported();

// The depth a file holds naturally: byte for 8-bit files, float for all else.
Depth fileDepth(const std::string& path);
// The depth a file name's format suggests for writing: float for .exr and
// .hdr, byte for all else.
Depth depthForExtension(const std::string& path);

// Reads an image as RGBA (grey, grey-alpha and RGB files are expanded, extra
// channels dropped) in the given depth and order. Throws Error.
ImageBuffer readImage(const std::string& path, Depth depth, PixelOrder order = PixelOrder::RGBA);
// Writes an image; 8-bit formats get bytes, TIFF and EXR get the image's own
// depth. Throws Error, leaving no file behind.
void writeImage(const std::string& path, const ImageBuffer& image);
// Throws Error unless a file of that name could be written: the directory
// exists and the name's extension is a known image format.
void checkWritable(const std::string& path);

// An image written under a temporary name beside its target: commit()
// renames it into place; if never committed, it is removed. Sequences keep
// all their frames pending until the last one has rendered.
class PendingImage {
public:
    PendingImage(const std::string& target, const ImageBuffer& image);
    PendingImage(PendingImage&& other) noexcept;
    PendingImage& operator=(PendingImage&&) = delete;
    ~PendingImage();
    void commit();
    const std::string& target() const { return target_; }
    const std::string& temporary() const { return temp_; }

private:
    std::string target_;
    std::string temp_;
};

// The backend's writer: the image to `file`, in the format of `formatName`'s
// extension.
void writeImageFile(const std::string& file, const std::string& formatName, const ImageBuffer& image);

}  // namespace ofxhost
