// A device buffer of a render's OpenCL context, for effects whose kernels
// need room of their own (intermediate planes, coefficient tables). It is
// released when the launch is done with it: the runtime keeps the memory
// until the kernels queued on it finish. A failed allocation leaves it null.
#pragma once

#include <cstddef>

#include "OpenCLBinding.h"

class DeviceBuffer {
public:
    DeviceBuffer(OpenCLBinding& binding, cl_context context, cl_mem_flags flags, std::size_t size,
                 void* host = nullptr)
        : binding_(binding) {
        cl_int err = CL_DEVICE_NOT_AVAILABLE;
        mem_ = binding.call<&OpenCLEntryTable::clCreateBuffer>(context, flags, size, host, &err);
        if (err != CL_SUCCESS) mem_ = nullptr;
    }
    ~DeviceBuffer() {
        if (mem_) binding_.call<&OpenCLEntryTable::clReleaseMemObject>(mem_);
    }
    DeviceBuffer(const DeviceBuffer&) = delete;
    DeviceBuffer& operator=(const DeviceBuffer&) = delete;
    cl_mem get() const { return mem_; }

private:
    OpenCLBinding& binding_;
    cl_mem mem_ = nullptr;
};
