#include <string>

#include "ofxhost/Context.h"
#include "ofxhost/Host.h"
#include "ofxhost/OpenCLDevice.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/SuiteGuard.h"
#include "ofxhost/Suites.h"

// Programs are built for the one context and device that the host hands to
// OpenCL renders. The caller owns the program it receives (clReleaseProgram);
// nothing is cached, so a plug-in that compiles once at load pays once.
namespace ofxhost::suites {

namespace {

std::string buildLog(cl_program program, cl_device_id device) {
    std::size_t size = 0;
    if (clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, 0, nullptr, &size) != CL_SUCCESS || size == 0)
        return "";
    std::string log(size, '\0');
    if (clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, size, log.data(), nullptr) != CL_SUCCESS)
        return "";
    while (!log.empty() && (log.back() == '\0' || log.back() == '\n' || log.back() == ' ')) log.pop_back();
    return log;
}

OfxStatus compileProgram(const char* source, int optional, void* programOut) {
    return guarded([&]() -> OfxStatus {
        if (!source || !programOut) return kOfxStatErrValue;
        *static_cast<cl_program*>(programOut) = nullptr;
        Host* host = currentHost();
        OpenCLDevice* device = host ? host->openCL() : nullptr;
        if (!device) return kOfxStatErrUnsupported;
        cl_int err = CL_SUCCESS;
        cl_program program = clCreateProgramWithSource(device->context(), 1, &source, nullptr, &err);
        if (!program) return err == CL_OUT_OF_HOST_MEMORY ? kOfxStatErrMemory : kOfxStatFailed;
        cl_device_id id = device->device();
        const std::string options = device->buildOptions() + " " + host->config().openCLBuildOptions;
        err = clBuildProgram(program, 1, &id, options.c_str(), nullptr, nullptr);
        if (err == CL_SUCCESS) {
            *static_cast<cl_program*>(programOut) = program;
            return kOfxStatOK;
        }
        // A plug-in that tries a program it can do without says so, and its
        // failure is nobody's concern; otherwise the log is what a developer needs.
        if (!optional) {
            Message m;
            if (Plugin* p = callContext().plugin) m.pluginId = p->id();
            m.type = "OfxMessageError";
            m.text = "OpenCL program failed to build on \"" + device->deviceName() + "\" (" + clStatusName(err) + ")";
            if (const std::string log = buildLog(program, id); !log.empty()) m.text += ":\n" + log;
            host->postMessage(std::move(m));
        }
        clReleaseProgram(program);
        return kOfxStatFailed;
    });
}

}  // namespace

const OfxOpenCLProgramSuiteV1* openCLProgram() {
    static const OfxOpenCLProgramSuiteV1 suite{compileProgram};
    return &suite;
}

}  // namespace ofxhost::suites
