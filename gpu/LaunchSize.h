// The work-group shape of a kernel launch, chosen once per kernel from the
// device's and the kernel's limits and kept for the life of the process.
#pragma once

#include <cstddef>
#include <span>

#include "OpenCLBinding.h"

// One per kernel, held beside it by the effect's EffectOpenCL. Keyed by the
// number of dimensions alone: a kernel keeps its first answer, also when a
// later render runs on another queue or device. Like the kernel's arguments
// it is shared by all instances of an effect without a lock: an effect's
// OpenCL renders are safe only where the host runs them one at a time.
struct LaunchSizeCache {
    cl_uint dimensions = 0;  // 0 until the first launch
    std::size_t local[3] = {};
};

// Fills `local[0..dims)` and rounds `global[0..dims)` up to multiples of it.
// A local size of 0 (every query failed, or nothing fits) leaves `global`
// as it was and asks for a launch with no local size.
void computeLaunchSize(OpenCLBinding& binding, cl_command_queue queue, cl_kernel kernel, LaunchSizeCache& cache,
                       cl_uint dims, std::size_t* global, std::size_t* local);

// Sizes the launch and enqueues `kernel` over `globalSize` (width first, one
// to three values). The work items beyond the true size run too, so every
// kernel guards itself against its width and height arguments.
cl_int launchKernel(OpenCLBinding& binding, cl_command_queue queue, cl_kernel kernel, LaunchSizeCache& cache,
                    std::span<const std::size_t> globalSize);
