// An effect's private link to the OpenCL runtime. The bundle does not link
// against OpenCL: each effect loads the runtime when it is loaded and calls
// through its own table, so that a machine without OpenCL still loads the
// module and renders on the processor. Contexts, queues and compiled
// programs come from the host.
#pragma once

#include <CL/cl.h>
#include <CL/cl_gl.h>

#include <cstddef>
#include <type_traits>
#include <utility>

#include "OpenCLEntries.h"

// One typed slot per runtime entry, in table order; null where the runtime
// lacks the name (or there is no runtime at all).
struct OpenCLEntryTable {
#define ONDU1_OPENCL_SLOT(name) decltype(&::name) name = nullptr;
    ONDU1_OPENCL_ENTRIES(ONDU1_OPENCL_SLOT)
#undef ONDU1_OPENCL_SLOT
};

// One per effect, held by its EffectOpenCL, living to the end of the module.
// Calls go through unlocked: what must not interleave (a kernel's arguments
// and its launch) is guarded a level up, by the effect's launch lock.
struct OpenCLBinding {
    void* module = nullptr;  // dlopen handle of the runtime, or null
    // Device limits, fetched by the first launch-size query and kept.
    std::size_t maxWorkGroupSize = 0;
    std::size_t maxWorkItemSizes[3] = {};
    // A 2-D work-group shape that, when both are set and it fits the
    // kernel, wins over the computed one.
    std::size_t preferredLocalSize[2] = {};
    OpenCLEntryTable entries;

    OpenCLBinding() = default;
    OpenCLBinding(const OpenCLBinding&) = delete;
    OpenCLBinding& operator=(const OpenCLBinding&) = delete;
    // Frees the runtime and empties the table, so that nothing calls into
    // an unloaded library at module end.
    ~OpenCLBinding();

    // Calls one table entry. A null slot answers CL_DEVICE_NOT_AVAILABLE for
    // a status and null for an object, as if the device were gone.
    template <auto Entry, class... Args>
    auto call(Args... args) {
        using Fn = std::remove_cvref_t<decltype(std::declval<OpenCLEntryTable&>().*Entry)>;
        using Result = std::invoke_result_t<Fn, Args...>;
        const Fn fn = entries.*Entry;
        if (!fn) {
            if constexpr (std::is_pointer_v<Result>)
                return Result{};
            else
                return Result{CL_DEVICE_NOT_AVAILABLE};
        }
        return fn(args...);
    }

    // The calls of the effects and of the launch path.
    // `err` is preset to CL_DEVICE_NOT_AVAILABLE so that a missing runtime
    // reads as a failure.
    cl_kernel createKernel(cl_program program, const char* name, cl_int& err) {
        err = CL_DEVICE_NOT_AVAILABLE;
        return call<&OpenCLEntryTable::clCreateKernel>(program, name, &err);
    }
    cl_int releaseKernel(cl_kernel kernel) { return call<&OpenCLEntryTable::clReleaseKernel>(kernel); }
    cl_int releaseProgram(cl_program program) { return call<&OpenCLEntryTable::clReleaseProgram>(program); }
    cl_int setKernelArg(cl_kernel kernel, cl_uint index, std::size_t size, const void* value) {
        return call<&OpenCLEntryTable::clSetKernelArg>(kernel, index, size, value);
    }
    cl_int getCommandQueueInfo(cl_command_queue queue, cl_command_queue_info name, std::size_t size, void* value) {
        return call<&OpenCLEntryTable::clGetCommandQueueInfo>(queue, name, size, value, nullptr);
    }
    cl_int getKernelWorkGroupInfo(cl_kernel kernel, cl_device_id device, cl_kernel_work_group_info name,
                                  std::size_t size, void* value) {
        return call<&OpenCLEntryTable::clGetKernelWorkGroupInfo>(kernel, device, name, size, value, nullptr);
    }
    cl_int getDeviceInfo(cl_device_id device, cl_device_info name, std::size_t size, void* value) {
        return call<&OpenCLEntryTable::clGetDeviceInfo>(device, name, size, value, nullptr);
    }
    // Enqueues with no offset and no events: the host owns the queue and its
    // synchronisation. `local` null lets the runtime choose.
    cl_int enqueueNDRangeKernel(cl_command_queue queue, cl_kernel kernel, cl_uint dims, const std::size_t* global,
                                const std::size_t* local) {
        return call<&OpenCLEntryTable::clEnqueueNDRangeKernel>(queue, kernel, dims, nullptr, global, local, 0u, nullptr,
                                                               nullptr);
    }
};

// Empties the binding, then loads the runtime and fills the table by name.
// Without a runtime the table stays empty and every call answers as above.
void initBinding(OpenCLBinding& binding);
