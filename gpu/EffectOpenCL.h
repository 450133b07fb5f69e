// Everything one effect needs to run its kernels: its link to the runtime,
// its program and a launch shape per kernel. One per effect, at file scope,
// living for the whole module and shared by all the effect's instances.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <vector>

#include "KernelStore.h"
#include "LaunchSize.h"
#include "OpenCLBinding.h"
#include "OpenCLProgram.h"

class EffectOpenCL {
public:
    // `kernelNames` are the functions of the text; kernel i launches with
    // launch shape i.
    EffectOpenCL(KernelText text, std::initializer_list<const char*> kernelNames)
        : program_(binding_, text, kernelNames), launchCaches_(kernelNames.size()) {}
    EffectOpenCL(const EffectOpenCL&) = delete;
    EffectOpenCL& operator=(const EffectOpenCL&) = delete;

    // From the factory's load: a host may defer a failed build quietly, and
    // each instance then tries again.
    void load() {
        initBinding(binding_);
        program_.buildProgram(1);
    }
    // From the factory's unload, while the runtime is still there.
    void unload() { program_.releaseProgram(); }
    // From each instance's constructor: builds the program when the load
    // deferred it, and does nothing once it is built.
    void buildIfDeferred() { program_.buildProgram(0); }

    OpenCLBinding& binding() { return binding_; }
    cl_kernel kernel(std::size_t index) const { return program_.kernel(index); }
    LaunchSizeCache& launchCache(std::size_t index) { return launchCaches_[index]; }

private:
    // First, so that it is built before the program that calls through it
    // and unloads the runtime only after everything else is gone.
    OpenCLBinding binding_;
    OpenCLProgram program_;
    std::vector<LaunchSizeCache> launchCaches_;
};
