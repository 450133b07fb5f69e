// The OpenCL form of an effect's processor. It keeps the values of the
// effect's processor base, adds the render's context and queue, and replaces
// the split of rows among threads by kernel launches on the host's packed
// device buffers (rows of width pixels, no padding).
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>

#include "Arguments.h"
#include "Clip.h"
#include "EffectOpenCL.h"
#include "Image.h"
#include "ImageProcessor.h"
#include "LaunchSize.h"
#include "OpenCLBinding.h"
#include "Record.h"

// Sets a kernel's arguments in order from index 0 and stops at the first
// the runtime refuses (a null kernel included). Each value goes as the
// kernel receives it: a cl_mem as 8 bytes; float, int and cl_float2/4 as
// they are; a double narrowed to float; a bool, an enumeration or another
// integer as a 32-bit int; an array element by element; and a record (an
// effect's values) field by field in declaration order, so that an effect's
// values and its kernel's parameters are one list.
template <class T>
inline constexpr bool isStdArray = false;
template <class E, std::size_t N>
inline constexpr bool isStdArray<std::array<E, N>> = true;

class KernelArguments {
public:
    KernelArguments(OpenCLBinding& binding, cl_kernel kernel) : binding_(binding), kernel_(kernel) {}

    template <class T>
    void add(const T& value) {
        if (!ok_) return;
        if constexpr (std::is_same_v<T, double>) {
            set(static_cast<cl_float>(value));
        } else if constexpr (std::is_same_v<T, bool> || std::is_enum_v<T> ||
                             (std::is_integral_v<T> && sizeof(T) <= sizeof(cl_int))) {
            set(static_cast<cl_int>(value));
        } else if constexpr (std::is_array_v<T>) {
            for (const auto& element : value) add(element);
        } else if constexpr (isStdArray<T>) {
            for (const auto& element : value) add(element);
        } else if constexpr (std::is_class_v<T>) {
            OFX::forEachField(value, [this](const auto& field) { add(field); });
        } else {
            // cl_mem, float, and the cl_ vector types (unions).
            set(value);
        }
    }

    bool ok() const { return ok_; }

private:
    template <class T>
    void set(const T& value) {
        ok_ = binding_.setKernelArg(kernel_, index_++, sizeof(T), &value) == CL_SUCCESS;
    }

    OpenCLBinding& binding_;
    cl_kernel kernel_;
    cl_uint index_ = 0;
    bool ok_ = true;
};

template <class... Args>
bool setKernelArgs(OpenCLBinding& binding, cl_kernel kernel, const Args&... args) {
    KernelArguments list(binding, kernel);
    (list.add(args), ...);
    return list.ok();
}

template <class Base>
class OpenCLProcessor : public Base {
public:
    OpenCLProcessor(OFX::ImageEffect& effect, void* context, void* queue)
        : Base(effect), clContext(static_cast<cl_context>(context)), clQueue(static_cast<cl_command_queue>(queue)) {}

    void setPixelOrderBGRA(bool value) { bgra = value; }

    // The work is the kernels'; there are no rows to split.
    int multiThreadProcessImages(OfxRectI) override { return 0; }

    // An image's device buffer, null for a missing image.
    static cl_mem buffer(const OFX::Image* image) {
        return image ? static_cast<cl_mem>(image->getOpenCLImage()) : nullptr;
    }
    // The output image (its bounds, pixel aspect ratio and depth; its pixels
    // are on the device) and the render window.
    const OFX::Image& output() const { return *this->dstImg; }
    const OfxRectI& window() const { return this->renderWindow; }
    cl_mem src() const { return buffer(this->srcImg); }
    cl_mem dst() const { return buffer(this->dstImg); }
    // The output's depth picks the kernel for the whole launch, so no kernel
    // tests the depth per pixel.
    bool floatOutput() const { return this->dstImg->getPixelDepth() == OFX::eBitDepthFloat; }
    bool pixelOrderBGRA() const { return bgra; }
    cl_int windowWidth() const { return this->renderWindow.x2 - this->renderWindow.x1; }
    cl_int windowHeight() const { return this->renderWindow.y2 - this->renderWindow.y1; }
    cl_command_queue queue() const { return clQueue; }

    // Sets the arguments of kernel `kernel` of the effect and enqueues one
    // work item per pixel of the window, with that kernel's launch shape.
    // Any refused argument launches nothing and leaves the output as the
    // host gave it: the render still answers OK, with no fall-back to the
    // processor. Answers whether the kernel was enqueued. The caller holds
    // the effect's launch lock.
    template <class... Args>
    bool launchOverWindow(EffectOpenCL& cl, std::size_t kernel, const Args&... args) {
        const cl_kernel k = cl.kernel(kernel);
        if (!setKernelArgs(cl.binding(), k, args...)) return false;
        const std::size_t global[2] = {static_cast<std::size_t>(windowWidth()),
                                       static_cast<std::size_t>(windowHeight())};
        launchKernel(cl.binding(), clQueue, k, cl.launchCache(kernel), global);
        return true;
    }

protected:
    // The render's context: the buffers live in it; launches need only the
    // queue.
    cl_context clContext;
    cl_command_queue clQueue;
    bool bgra = false;
};
