#include "OpenCLBinding.h"

#include <dlfcn.h>

namespace {

// The ICD loader's versioned name: the unversioned one is only installed
// with the development package.
constexpr const char* kRuntimeName = "libOpenCL.so.1";

// Everything but the locks, which exist from construction to the end.
void empty(OpenCLBinding& binding) {
    if (binding.module) dlclose(binding.module);
    binding.module = nullptr;
    binding.useLock = 0;
    binding.maxWorkGroupSize = 0;
    for (auto& size : binding.maxWorkItemSizes) size = 0;
    for (auto& size : binding.preferredLocalSize) size = 0;
    binding.entries = {};
    binding.launchCount = 0;
}

}  // namespace

OpenCLBinding::~OpenCLBinding() { empty(*this); }

cl_int OpenCLBinding::enqueueNDRangeKernel(cl_command_queue queue, cl_kernel kernel, cl_uint dims,
                                           const std::size_t* global, const std::size_t* local) {
    auto lock = lockIfAsked();
    ++launchCount;
    if (!entries.clEnqueueNDRangeKernel) return CL_DEVICE_NOT_AVAILABLE;
    return entries.clEnqueueNDRangeKernel(queue, kernel, dims, nullptr, global, local, 0, nullptr, nullptr);
}

void initBinding(OpenCLBinding& binding) {
    empty(binding);
    binding.initialised = true;
    void* module = dlopen(kRuntimeName, RTLD_NOW | RTLD_LOCAL);
    if (!module) return;
    binding.module = module;
#define ONDU1_OPENCL_LOOKUP(name) \
    binding.entries.name = reinterpret_cast<decltype(binding.entries.name)>(dlsym(module, #name));
    ONDU1_OPENCL_ENTRIES(ONDU1_OPENCL_LOOKUP)
#undef ONDU1_OPENCL_LOOKUP
}
