// The device side of one OpenCL render: each image the plug-in fetches as a
// packed cl_mem buffer (rows bottom first, width * pixel bytes each, no
// padding), and the output read back into the host's image at the end.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <type_traits>

#include "ofxhost/Image.h"
#include "ofxhost/OpenCLDevice.h"

namespace ofxhost {

class EffectObject;

// True when the effect declared "OfxImageEffectPropOpenCLSupported" as
// "true" (or "needed").
bool supportsOpenCL(const EffectObject& effect);

// The row bytes of an image in its device buffer.
inline int packedRowBytes(const ImageBuffer& image) { return image.width() * image.pixelBytes(); }

class OpenCLFrame {
public:
    // Holds the device's render lock for its life where the device runs
    // renders one at a time. The output buffer starts
    // with the output's pixels, so what the plug-in leaves alone stays.
    // Throws Error when a buffer cannot be made.
    OpenCLFrame(OpenCLDevice& device, ImageBuffer& output);
    // Waits for the queue, so that no work on the buffers outlives them.
    ~OpenCLFrame();
    OpenCLFrame(const OpenCLFrame&) = delete;
    OpenCLFrame& operator=(const OpenCLFrame&) = delete;

    OpenCLDevice& device() const { return device_; }
    cl_mem output() const { return output_.get(); }
    ImageBuffer& outputImage() const { return outputImage_; }
    // The buffer of an input image, uploaded on first use; the frame keeps
    // the image alive while it keys a buffer. Thread-safe. Throws Error.
    cl_mem input(const std::shared_ptr<const ImageBuffer>& image);
    // Waits for the plug-in's work and copies the output buffer into the
    // output image. Throws Error.
    void readBack();
    // Waits for the plug-in's work alone. Throws Error.
    void finish();

private:
    // Hands the buffer back to the device for the next render.
    struct Recycle {
        OpenCLDevice* device;
        std::size_t size;
        void operator()(cl_mem m) const { device->recycleBuffer(m, size); }
    };
    using Buffer = std::unique_ptr<std::remove_pointer_t<cl_mem>, Recycle>;
    Buffer upload(const ImageBuffer& image);

    OpenCLDevice& device_;
    std::unique_lock<std::mutex> renderLock_;
    ImageBuffer& outputImage_;
    Buffer output_;
    std::mutex mutex_;  // guards inputs_
    std::map<const ImageBuffer*, std::pair<std::shared_ptr<const ImageBuffer>, Buffer>> inputs_;
};

}  // namespace ofxhost
