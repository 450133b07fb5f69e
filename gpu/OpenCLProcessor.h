// The OpenCL form of an effect's processor. It keeps the parameter fields of
// the effect's processor base, adds the render's context and queue, and
// replaces the split of rows among threads by kernel launches on the host's
// packed device buffers (rows of width pixels, no padding).
#pragma once

#include <cstddef>

#include "Arguments.h"
#include "Clip.h"
#include "EffectOpenCL.h"
#include "Image.h"
#include "ImageProcessor.h"
#include "LaunchSize.h"
#include "OpenCLBinding.h"

// Sets a kernel's arguments in order from index 0, each by its own size
// (8 bytes for a cl_mem, 4 for a float or an int, 16 for a cl_float4).
// Stops at the first the runtime refuses, a null kernel included.
template <class... Args>
bool setKernelArgs(OpenCLBinding& binding, cl_kernel kernel, const Args&... args) {
    cl_uint index = 0;
    return ((binding.setKernelArg(kernel, index++, sizeof(Args), &args) == CL_SUCCESS) && ...);
}

template <class Base>
class OpenCLProcessor : public Base {
public:
    OpenCLProcessor(OFX::ImageEffect& effect, void* context, void* queue)
        : Base(effect), clContext(static_cast<cl_context>(context)), clQueue(static_cast<cl_command_queue>(queue)) {}

    // The pixel order of the images, for effects whose result depends on
    // which component is red: their kernels come in a form per order, as
    // their processors do.
    void setPixelOrderBGRA(bool value) { bgra = value; }

    // The work is the kernels'; there are no rows to split.
    int multiThreadProcessImages(OfxRectI) override { return 0; }

protected:
    // An image's device buffer, null for a missing image.
    static cl_mem buffer(const OFX::Image* image) {
        return image ? static_cast<cl_mem>(image->getOpenCLImage()) : nullptr;
    }
    // Kernels come in a byte and a float form; the output's depth picks one
    // for the whole launch, so no kernel tests the depth per pixel.
    bool floatOutput() const { return this->dstImg->getPixelDepth() == OFX::eBitDepthFloat; }
    cl_int windowWidth() const { return this->renderWindow.x2 - this->renderWindow.x1; }
    cl_int windowHeight() const { return this->renderWindow.y2 - this->renderWindow.y1; }

    // Sets the arguments of kernel `kernel` of the effect and enqueues one
    // work item per pixel of the window, with that kernel's launch shape.
    // Any refused argument launches nothing and leaves the output as the
    // host gave it: the render still answers OK, with no fall-back to the
    // processor. Answers whether the kernel was enqueued.
    template <class... Args>
    bool launchOverWindow(EffectOpenCL& cl, std::size_t kernel, const Args&... args) {
        const cl_kernel k = cl.kernel(kernel);
        if (!setKernelArgs(cl.binding(), k, args...)) return false;
        const std::size_t global[2] = {static_cast<std::size_t>(windowWidth()),
                                       static_cast<std::size_t>(windowHeight())};
        launchKernel(cl.binding(), clQueue, k, cl.launchCache(kernel), global);
        return true;
    }

    // The render's context: the buffers live in it; launches need only the
    // queue.
    cl_context clContext;
    cl_command_queue clQueue;
    bool bgra = false;
};

// The render's OpenCL path: when the host asks for it, runs the plug-in's
// setupAndProcess with its OpenCL processor and answers true; otherwise
// answers false and the caller renders on the processor. The pixel order is
// always passed on; processors whose result does not depend on it ignore it.
template <class Processor, class Plugin>
bool renderOnOpenCL(Plugin& plugin, const OFX::Clip& dstClip, const OFX::RenderArguments& args) {
    if (!args.openCLEnabled) return false;
    Processor processor(plugin, args.openCLContext, args.openCLQueue);
    processor.setPixelOrderBGRA(dstClip.getPixelOrder() == 1);
    plugin.setupAndProcess(processor, args);
    return true;
}
