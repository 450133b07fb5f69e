#include "LaunchSize.h"

#include <algorithm>

namespace {

struct Limits {
    std::size_t kernelGroupSize = 0;
    std::size_t compileGroupSize[3] = {};
    std::size_t preferredMultiple = 0;
    std::size_t deviceGroupSize = 0;
    std::size_t itemSizes[3] = {};
};

// Each query that fails leaves its value 0, which the choice below reads as
// "no limit known" and answers with a null local size.
Limits queryLimits(OpenCLBinding& binding, cl_command_queue queue, cl_kernel kernel) {
    Limits limits;
    cl_device_id device = nullptr;
    if (binding.getCommandQueueInfo(queue, CL_QUEUE_DEVICE, sizeof device, &device) != CL_SUCCESS) return limits;

    binding.getKernelWorkGroupInfo(kernel, device, CL_KERNEL_WORK_GROUP_SIZE, sizeof limits.kernelGroupSize,
                                   &limits.kernelGroupSize);
    binding.getKernelWorkGroupInfo(kernel, device, CL_KERNEL_COMPILE_WORK_GROUP_SIZE, sizeof limits.compileGroupSize,
                                   limits.compileGroupSize);
    binding.getKernelWorkGroupInfo(kernel, device, CL_KERNEL_PREFERRED_WORK_GROUP_SIZE_MULTIPLE,
                                   sizeof limits.preferredMultiple, &limits.preferredMultiple);
    if (binding.maxWorkGroupSize == 0) {
        binding.getDeviceInfo(device, CL_DEVICE_MAX_WORK_GROUP_SIZE, sizeof binding.maxWorkGroupSize,
                              &binding.maxWorkGroupSize);
        binding.getDeviceInfo(device, CL_DEVICE_MAX_WORK_ITEM_SIZES, sizeof binding.maxWorkItemSizes,
                              binding.maxWorkItemSizes);
    }
    limits.deviceGroupSize = binding.maxWorkGroupSize;
    std::copy_n(binding.maxWorkItemSizes, 3, limits.itemSizes);
    return limits;
}

std::size_t roundUp(std::size_t value, std::size_t multiple) { return (value + multiple - 1) / multiple * multiple; }

void choose1D(const Limits& limits, std::size_t limit, std::size_t* local) {
    const std::size_t size = std::min(limits.itemSizes[0], limit);
    if (size == 0 || limits.preferredMultiple == 0) return;
    // Note: rounding up can pass the limit (100 with a multiple of 32 gives
    // 128); such a launch is refused by the runtime and the render is left
    // as the host gave it.
    local[0] = roundUp(size, limits.preferredMultiple);
}

void choose2D(const OpenCLBinding& binding, const Limits& limits, std::size_t limit, std::size_t* local) {
    const std::size_t p0 = binding.preferredLocalSize[0], p1 = binding.preferredLocalSize[1];
    if (p0 != 0 && p1 != 0 && p0 * p1 <= limit) {
        local[0] = p0;
        local[1] = p1;
        return;
    }
    const std::size_t max0 = limits.itemSizes[0], max1 = limits.itemSizes[1];
    if (max0 == 0 || max1 == 0 || limit == 0) return;

    // Halve from 512 x 512: the height while it is at least the width, else
    // the width, so that the shape stays square or twice as wide as high.
    std::size_t l0 = 512, l1 = 512;
    while (l0 * l1 > limit || l0 > max0 || l1 > max1) {
        std::size_t& halved = l1 >= l0 ? l1 : l0;
        if (halved < 2) return;
        halved /= 2;
    }
    // Grow the rows so that a group is a whole number of the device's
    // preferred multiple, within the limit.
    if (limits.preferredMultiple != 0) {
        for (std::size_t c = limit / l0; c > l1; --c) {
            if (l0 * c % limits.preferredMultiple == 0) {
                l1 = c;
                break;
            }
        }
    }
    local[0] = l0;
    local[1] = l1;
}

}  // namespace

void computeLaunchSize(OpenCLBinding& binding, cl_command_queue queue, cl_kernel kernel, LaunchSizeCache& cache,
                       cl_uint dims, std::size_t* global, std::size_t* local) {
    const cl_uint n = std::min<cl_uint>(dims, 3);
    if (cache.dimensions == dims) {
        std::copy_n(cache.local, n, local);
    } else {
        std::fill_n(local, n, 0);
        const Limits limits = queryLimits(binding, queue, kernel);
        std::size_t limit = limits.kernelGroupSize;
        if (limit == 0 || limits.deviceGroupSize < limit) limit = limits.deviceGroupSize;

        if (limits.compileGroupSize[0] != 0)
            std::copy_n(limits.compileGroupSize, n, local);
        else if (dims == 1)
            choose1D(limits, limit, local);
        else if (dims == 2)
            choose2D(binding, limits, limit, local);

        cache.dimensions = dims;
        std::copy_n(local, n, cache.local);
    }
    if (n == 0 || local[0] == 0) return;
    for (cl_uint i = 0; i < n; ++i)
        if (local[i] != 0) global[i] = roundUp(global[i], local[i]);
}

cl_int launchKernel(OpenCLBinding& binding, cl_command_queue queue, cl_kernel kernel, LaunchSizeCache& cache,
                    std::span<const std::size_t> globalSize) {
    if (globalSize.empty() || globalSize.size() > 3) return CL_INVALID_WORK_DIMENSION;
    const auto dims = static_cast<cl_uint>(globalSize.size());
    std::size_t global[3] = {}, local[3] = {};
    std::copy(globalSize.begin(), globalSize.end(), global);
    computeLaunchSize(binding, queue, kernel, cache, dims, global, local);
    return binding.enqueueNDRangeKernel(queue, kernel, dims, global, local[0] == 0 ? nullptr : local);
}
