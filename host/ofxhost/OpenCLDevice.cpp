#include "ofxhost/OpenCLDevice.h"

#include <algorithm>
#include <cctype>

#include "ofxhost/Status.h"

namespace ofxhost {

namespace {

std::vector<cl_platform_id> platformIds() {
    cl_uint n = 0;
    // The loader answers CL_PLATFORM_NOT_FOUND_KHR when no ICD is installed.
    if (clGetPlatformIDs(0, nullptr, &n) != CL_SUCCESS || n == 0) return {};
    std::vector<cl_platform_id> ids(n);
    if (clGetPlatformIDs(n, ids.data(), nullptr) != CL_SUCCESS) return {};
    return ids;
}

std::vector<cl_device_id> deviceIds(cl_platform_id platform) {
    cl_uint n = 0;
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 0, nullptr, &n) != CL_SUCCESS || n == 0) return {};
    std::vector<cl_device_id> ids(n);
    if (clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, n, ids.data(), nullptr) != CL_SUCCESS) return {};
    return ids;
}

template <class Id, class Query>
std::string infoText(Id id, cl_uint what, Query query) {
    std::size_t size = 0;
    if (query(id, what, 0, nullptr, &size) != CL_SUCCESS || size == 0) return "?";
    std::string text(size, '\0');
    if (query(id, what, size, text.data(), nullptr) != CL_SUCCESS) return "?";
    text.resize(text.find('\0'));
    return text;
}

std::string nameOf(cl_platform_id p) { return infoText(p, CL_PLATFORM_NAME, clGetPlatformInfo); }
std::string nameOf(cl_device_id d) { return infoText(d, CL_DEVICE_NAME, clGetDeviceInfo); }

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

// The position among names that a part of the selection names: an index, a
// case-insensitive part of a name (the first that has it), or "" for the
// first. Throws Error naming the choices when none fits.
std::size_t choose(std::string_view part, const std::vector<std::string>& names, const std::string& kind) {
    std::string choices;
    for (std::size_t i = 0; i < names.size(); ++i)
        choices += (i ? ", " : "") + std::to_string(i) + " \"" + names[i] + "\"";
    const std::string given(part);
    if (given.empty()) return 0;
    if (std::all_of(given.begin(), given.end(), [](unsigned char c) { return std::isdigit(c); })) {
        const std::size_t index = given.size() > 6 ? names.size() : std::stoul(given);
        if (index < names.size()) return index;
        throw Error("OpenCL", "no " + kind + " " + given + " (" + kind + "s: " + choices + ")");
    }
    const std::string wanted = lower(given);
    for (std::size_t i = 0; i < names.size(); ++i)
        if (lower(names[i]).find(wanted) != std::string::npos) return i;
    throw Error("OpenCL", "no " + kind + " matches \"" + given + "\" (" + kind + "s: " + choices + ")");
}

}  // namespace

std::vector<OpenCLPlatformInfo> openCLPlatforms() {
    std::vector<OpenCLPlatformInfo> out;
    for (cl_platform_id p : platformIds()) {
        OpenCLPlatformInfo info{nameOf(p), {}};
        for (cl_device_id d : deviceIds(p)) info.devices.push_back(nameOf(d));
        out.push_back(std::move(info));
    }
    return out;
}

std::string clStatusName(cl_int status) {
    switch (status) {
        case CL_SUCCESS: return "CL_SUCCESS";
        case CL_DEVICE_NOT_FOUND: return "CL_DEVICE_NOT_FOUND";
        case CL_DEVICE_NOT_AVAILABLE: return "CL_DEVICE_NOT_AVAILABLE";
        case CL_COMPILER_NOT_AVAILABLE: return "CL_COMPILER_NOT_AVAILABLE";
        case CL_MEM_OBJECT_ALLOCATION_FAILURE: return "CL_MEM_OBJECT_ALLOCATION_FAILURE";
        case CL_OUT_OF_RESOURCES: return "CL_OUT_OF_RESOURCES";
        case CL_OUT_OF_HOST_MEMORY: return "CL_OUT_OF_HOST_MEMORY";
        case CL_BUILD_PROGRAM_FAILURE: return "CL_BUILD_PROGRAM_FAILURE";
        case CL_INVALID_VALUE: return "CL_INVALID_VALUE";
        case CL_INVALID_DEVICE: return "CL_INVALID_DEVICE";
        case CL_INVALID_CONTEXT: return "CL_INVALID_CONTEXT";
        case CL_INVALID_COMMAND_QUEUE: return "CL_INVALID_COMMAND_QUEUE";
        case CL_INVALID_MEM_OBJECT: return "CL_INVALID_MEM_OBJECT";
        case CL_INVALID_BUFFER_SIZE: return "CL_INVALID_BUFFER_SIZE";
        case CL_INVALID_BUILD_OPTIONS: return "CL_INVALID_BUILD_OPTIONS";
        case CL_INVALID_OPERATION: return "CL_INVALID_OPERATION";
        default: return "OpenCL error " + std::to_string(status);
    }
}

std::shared_ptr<OpenCLDevice> OpenCLDevice::open(std::string_view selection) {
    const std::vector<cl_platform_id> platforms = platformIds();
    if (platforms.empty()) throw Error("OpenCL", "no platform is installed (no ICD loads; see clinfo -l)");
    const std::size_t colon = selection.find(':');
    const std::string_view platformPart = selection.substr(0, colon);
    const std::string_view devicePart = colon == std::string_view::npos ? "" : selection.substr(colon + 1);

    std::vector<std::string> platformNames;
    for (cl_platform_id p : platforms) platformNames.push_back(nameOf(p));
    const std::size_t pi = choose(platformPart, platformNames, "platform");
    const std::vector<cl_device_id> devices = deviceIds(platforms[pi]);
    if (devices.empty()) throw Error("OpenCL", "platform \"" + platformNames[pi] + "\" has no device");
    std::vector<std::string> deviceNames;
    for (cl_device_id d : devices) deviceNames.push_back(nameOf(d));
    const std::size_t di = choose(devicePart, deviceNames, "device");

    std::shared_ptr<OpenCLDevice> dev(new OpenCLDevice);
    dev->platform_ = platforms[pi];
    dev->device_ = devices[di];
    dev->platformName_ = platformNames[pi];
    dev->deviceName_ = deviceNames[di];
    const cl_context_properties props[] = {CL_CONTEXT_PLATFORM, cl_context_properties(dev->platform_), 0};
    cl_int err = CL_SUCCESS;
    dev->context_.reset(clCreateContext(props, 1, &dev->device_, nullptr, nullptr, &err));
    if (!dev->context_) throw Error("OpenCL", "no context on \"" + dev->deviceName_ + "\": " + clStatusName(err));
    // In order: a plug-in's kernels run in the order it enqueues them, and
    // the host's read-back after them.
    dev->queue_.reset(clCreateCommandQueue(dev->context(), dev->device_, 0, &err));
    if (!dev->queue_) throw Error("OpenCL", "no command queue on \"" + dev->deviceName_ + "\": " + clStatusName(err));
    // Float division and square root rounded as on the processor, where the
    // device can: plug-ins whose kernels divide then agree with their CPU
    // renders. OpenCL otherwise allows a few units in the last place.
    cl_device_fp_config single = 0;
    if (clGetDeviceInfo(dev->device_, CL_DEVICE_SINGLE_FP_CONFIG, sizeof single, &single, nullptr) == CL_SUCCESS &&
        (single & CL_FP_CORRECTLY_ROUNDED_DIVIDE_SQRT))
        dev->buildOptions_ = "-cl-fp32-correctly-rounded-divide-sqrt";
    return dev;
}

OpenCLDevice::~OpenCLDevice() {
    for (const auto& [size, buffer] : spare_) clReleaseMemObject(buffer);
}

cl_mem OpenCLDevice::takeBuffer(std::size_t size) {
    {
        std::lock_guard lock(spareMutex_);
        for (auto it = spare_.begin(); it != spare_.end(); ++it) {
            if (it->first == size) {
                const cl_mem buffer = it->second;
                spare_.erase(it);
                return buffer;
            }
        }
    }
    cl_int err = CL_SUCCESS;
    const cl_mem buffer = clCreateBuffer(context(), CL_MEM_READ_WRITE, size, nullptr, &err);
    if (!buffer)
        throw Error("OpenCL",
                    "no " + std::to_string(size) + "-byte buffer on \"" + deviceName_ + "\": " + clStatusName(err));
    return buffer;
}

void OpenCLDevice::recycleBuffer(cl_mem buffer, std::size_t size) {
    // Enough for the output and the inputs of one render of a transition.
    constexpr std::size_t kKept = 4;
    std::lock_guard lock(spareMutex_);
    spare_.emplace_back(size, buffer);
    if (spare_.size() > kKept) {
        clReleaseMemObject(spare_.front().second);
        spare_.erase(spare_.begin());
    }
}

}  // namespace ofxhost
