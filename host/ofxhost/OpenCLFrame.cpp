#include "ofxhost/OpenCLFrame.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ofxGPURender.h"
#include "ofxhost/Effect.h"
#include "ofxhost/Status.h"

namespace ofxhost {

bool supportsOpenCL(const EffectObject& effect) {
    const PropertySet& p = effect.props();
    if (!p.has(kOfxImageEffectPropOpenCLSupported)) return false;
    const std::string v = p.getString(kOfxImageEffectPropOpenCLSupported);
    return v == "true" || v == "needed";
}

namespace {

// Rows bottom first with no padding: the host image is the device layout.
bool isPacked(const ImageBuffer& image) { return image.rowBytes() == packedRowBytes(image); }

}  // namespace

OpenCLFrame::OpenCLFrame(OpenCLDevice& device, ImageBuffer& output)
    : device_(device),
      renderLock_(device.oneRenderAtATime() ? std::unique_lock(device.renderMutex()) : std::unique_lock<std::mutex>()),
      outputImage_(output),
      output_(upload(output)) {}

OpenCLFrame::~OpenCLFrame() { clFinish(device_.queue()); }

OpenCLFrame::Buffer OpenCLFrame::upload(const ImageBuffer& image) {
    const std::size_t row = std::size_t(packedRowBytes(image));
    // OpenCL refuses buffers of no bytes; an empty image gets a token one.
    const std::size_t size = std::max<std::size_t>(row * std::size_t(image.height()), 16);
    // An image already packed bottom row first is copied as it is.
    const void* pixels = image.data();
    std::vector<std::byte> packed;
    if (!isPacked(image) || size != row * std::size_t(image.height())) {
        packed.resize(size);
        for (int y = image.bounds().y1; y < image.bounds().y2; ++y)
            std::memcpy(packed.data() + std::size_t(y - image.bounds().y1) * row, image.row(y), row);
        pixels = packed.data();
    }
    Buffer buffer(device_.takeBuffer(size), Recycle{&device_, size});
    if (const cl_int err =
            clEnqueueWriteBuffer(device_.queue(), buffer.get(), CL_TRUE, 0, size, pixels, 0, nullptr, nullptr);
        err != CL_SUCCESS)
        throw Error("OpenCL", "uploading a " + std::to_string(size) + "-byte image to \"" + device_.deviceName() +
                                  "\" failed: " + clStatusName(err));
    return buffer;
}

cl_mem OpenCLFrame::input(const std::shared_ptr<const ImageBuffer>& image) {
    std::lock_guard lock(mutex_);
    auto it = inputs_.find(image.get());
    if (it == inputs_.end()) it = inputs_.emplace(image.get(), std::pair{image, upload(*image)}).first;
    return it->second.second.get();
}

void OpenCLFrame::finish() {
    if (const cl_int err = clFinish(device_.queue()); err != CL_SUCCESS)
        throw Error("OpenCL", "the device's work failed: " + clStatusName(err));
}

void OpenCLFrame::readBack() {
    const ImageBuffer& image = outputImage_;
    const std::size_t row = std::size_t(packedRowBytes(image));
    const std::size_t size = row * std::size_t(image.height());
    const bool direct = isPacked(image);
    std::vector<std::byte> packed(direct ? 0 : size);
    cl_int err = clFinish(device_.queue());
    if (err == CL_SUCCESS && size > 0)
        err = clEnqueueReadBuffer(device_.queue(), output_.get(), CL_TRUE, 0, size,
                                  direct ? outputImage_.data() : packed.data(), 0, nullptr, nullptr);
    if (err != CL_SUCCESS) throw Error("OpenCL", "reading the output back failed: " + clStatusName(err));
    if (!direct)
        for (int y = image.bounds().y1; y < image.bounds().y2; ++y)
            std::memcpy(outputImage_.row(y), packed.data() + std::size_t(y - image.bounds().y1) * row, row);
}

}  // namespace ofxhost
