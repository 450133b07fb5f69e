// The host's OpenCL device: one context and one in-order command queue on a
// device chosen from the ICD loader's platforms. Plug-ins receive both in the
// arguments of OpenCL renders and compile their programs for them through the
// host's program suite.
#pragma once

#include <CL/cl.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace ofxhost {

struct OpenCLPlatformInfo {
    std::string name;
    std::vector<std::string> devices;
};

// Every platform and its devices, in the loader's order; empty when no
// platform is installed (or none loads).
std::vector<OpenCLPlatformInfo> openCLPlatforms();

// The symbol of an OpenCL status ("CL_OUT_OF_RESOURCES"), or "OpenCL error N".
std::string clStatusName(cl_int status);

class OpenCLDevice {
public:
    // selection is "" (the first device of the first platform), "PLATFORM" or
    // "PLATFORM:DEVICE", each part an index or a case-insensitive part of the
    // name (an empty part is the first). Throws Error("OpenCL", why) when no
    // platform exists, nothing matches, or the context or queue fails.
    static std::shared_ptr<OpenCLDevice> open(std::string_view selection = "");

    OpenCLDevice(const OpenCLDevice&) = delete;
    OpenCLDevice& operator=(const OpenCLDevice&) = delete;

    cl_platform_id platform() const { return platform_; }
    cl_device_id device() const { return device_; }
    cl_context context() const { return context_.get(); }
    cl_command_queue queue() const { return queue_.get(); }
    const std::string& platformName() const { return platformName_; }
    const std::string& deviceName() const { return deviceName_; }
    // The compiler options every program is built with on this device.
    const std::string& buildOptions() const { return buildOptions_; }

    // Held for the whole of an OpenCL render while renders go one at a time:
    // the default, since plug-ins may set arguments on kernels they share
    // between instances without a lock of their own. Turned off, renders on
    // several threads use the device at once, as hosts that render frames in
    // parallel do (the concurrency tests of the bundle's effects).
    std::mutex& renderMutex() { return renderMutex_; }
    bool oneRenderAtATime() const { return oneRenderAtATime_; }
    void setOneRenderAtATime(bool value) { oneRenderAtATime_ = value; }

    // A device buffer of exactly `size` bytes, contents undefined: one kept
    // from an earlier render when there is one, else a new one. Frames of a
    // sequence are alike, and a fresh frame-sized buffer costs an allocation
    // and its page faults on every render. Throws Error.
    cl_mem takeBuffer(std::size_t size);
    // Keeps a buffer from takeBuffer for reuse (a few at most) or releases it.
    void recycleBuffer(cl_mem buffer, std::size_t size);

    ~OpenCLDevice();

private:
    OpenCLDevice() = default;

    struct ReleaseContext {
        void operator()(cl_context c) const { clReleaseContext(c); }
    };
    struct ReleaseQueue {
        void operator()(cl_command_queue q) const { clReleaseCommandQueue(q); }
    };

    cl_platform_id platform_ = nullptr;
    cl_device_id device_ = nullptr;
    std::string platformName_;
    std::string deviceName_;
    std::string buildOptions_;
    // Declared after the context, the queue is released before it.
    std::unique_ptr<std::remove_pointer_t<cl_context>, ReleaseContext> context_;
    std::unique_ptr<std::remove_pointer_t<cl_command_queue>, ReleaseQueue> queue_;
    std::mutex renderMutex_;
    bool oneRenderAtATime_ = true;
    std::mutex spareMutex_;  // guards spare_
    std::vector<std::pair<std::size_t, cl_mem>> spare_;
};

}  // namespace ofxhost
