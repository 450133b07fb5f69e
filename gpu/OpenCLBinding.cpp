#include "OpenCLBinding.h"

#include <dlfcn.h>

namespace {

// The ICD loader's versioned name: the unversioned one is only installed
// with the development package.
constexpr const char* kRuntimeName = "libOpenCL.so.1";

void empty(OpenCLBinding& binding) {
    if (binding.module) dlclose(binding.module);
    binding.module = nullptr;
    binding.maxWorkGroupSize = 0;
    for (auto& size : binding.maxWorkItemSizes) size = 0;
    for (auto& size : binding.preferredLocalSize) size = 0;
    binding.entries = {};
}

}  // namespace

OpenCLBinding::~OpenCLBinding() { empty(*this); }

void initBinding(OpenCLBinding& binding) {
    empty(binding);
    void* module = dlopen(kRuntimeName, RTLD_NOW | RTLD_LOCAL);
    if (!module) return;
    binding.module = module;
#define ONDU1_OPENCL_LOOKUP(name) \
    binding.entries.name = reinterpret_cast<decltype(binding.entries.name)>(dlsym(module, #name));
    ONDU1_OPENCL_ENTRIES(ONDU1_OPENCL_LOOKUP)
#undef ONDU1_OPENCL_LOOKUP
}
