// Everything one effect needs to run its kernels: its link to the runtime,
// its program, a launch shape per kernel and the lock its launches take.
// One per effect, living for the whole module and shared by all the
// effect's instances.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <mutex>
#include <string_view>
#include <vector>

#include "LaunchSize.h"
#include "OpenCLBinding.h"
#include "OpenCLProgram.h"

// How an effect's kernels are laid out in its program, so that one rule
// picks the kernel for a render's depth and pixel order. Kernels come in
// stages (most effects have one), each stage a kernel per depth, byte then
// float, and, where the effect's arithmetic names colours by memory
// position, per pixel order within each depth, RGBA then BGRA.
struct KernelLayout {
    std::initializer_list<const char*> names;
    bool perPixelOrder = false;
};

// A kernel per depth: byte, float.
inline KernelLayout kernelsByDepth(std::initializer_list<const char*> names) { return {names, false}; }
// A kernel per depth and order: byte RGBA, byte BGRA, float RGBA, float BGRA.
inline KernelLayout kernelsByDepthAndOrder(std::initializer_list<const char*> names) { return {names, true}; }

class EffectOpenCL {
public:
    // `text` is the program source; the layout names its kernels, which
    // launch with launch shape of the same index.
    EffectOpenCL(std::string_view text, KernelLayout layout)
        : program_(binding_, text, layout.names),
          launchCaches_(layout.names.size()),
          perPixelOrder_(layout.perPixelOrder) {}
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

    // The index of the kernel of `stage` for a render's depth and order.
    std::size_t kernelIndex(bool isFloat, bool bgra, std::size_t stage = 0) const {
        const std::size_t perDepth = perPixelOrder_ ? 2 : 1;
        return stage * 2 * perDepth + (isFloat ? perDepth : 0) + (perPixelOrder_ && bgra ? 1 : 0);
    }

    // Held over all of a render's argument setting and launches. Kernel
    // objects keep their arguments between calls and are shared by every
    // instance of the effect, and hosts render frames of one instance on
    // several threads at once: without the lock one render's arguments
    // could be launched with another's. The launch shapes and the device
    // limits in the binding are written under it too.
    [[nodiscard]] std::unique_lock<std::mutex> lockLaunches() { return std::unique_lock(launchLock_); }

    OpenCLBinding& binding() { return binding_; }
    cl_kernel kernel(std::size_t index) const { return program_.kernel(index); }
    LaunchSizeCache& launchCache(std::size_t index) { return launchCaches_[index]; }

private:
    // First, so that it is built before the program that calls through it
    // and unloads the runtime only after everything else is gone.
    OpenCLBinding binding_;
    OpenCLProgram program_;
    std::vector<LaunchSizeCache> launchCaches_;
    bool perPixelOrder_;
    std::mutex launchLock_;
};
