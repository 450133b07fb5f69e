#include "OpenCLBinding.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include "LaunchSize.h"

namespace {

TEST(OpenCLBinding, EmptySlotsAnswerAsAMissingDevice) {
    OpenCLBinding binding;
    cl_int err = CL_SUCCESS;
    EXPECT_EQ(binding.createKernel(nullptr, "k", err), nullptr);
    EXPECT_EQ(err, CL_DEVICE_NOT_AVAILABLE);
    EXPECT_EQ(binding.setKernelArg(nullptr, 0, 4, &err), CL_DEVICE_NOT_AVAILABLE);
    EXPECT_EQ(binding.releaseKernel(nullptr), CL_DEVICE_NOT_AVAILABLE);
    EXPECT_EQ(binding.releaseProgram(nullptr), CL_DEVICE_NOT_AVAILABLE);
    EXPECT_EQ(binding.getDeviceInfo(nullptr, CL_DEVICE_MAX_WORK_GROUP_SIZE, 0, nullptr), CL_DEVICE_NOT_AVAILABLE);
    EXPECT_EQ(binding.call<&OpenCLEntryTable::clCreateBuffer>(nullptr, CL_MEM_READ_WRITE, 16, nullptr, &err),
              nullptr);
    EXPECT_EQ(binding.call<&OpenCLEntryTable::clGetExtensionFunctionAddress>("clIcdGetPlatformIDsKHR"), nullptr);

    const std::size_t global[2] = {8, 8};
    EXPECT_EQ(binding.enqueueNDRangeKernel(nullptr, nullptr, 2, global, nullptr), CL_DEVICE_NOT_AVAILABLE);
    EXPECT_EQ(binding.launchCount, 1u);  // counted before the enqueue
}

// Whether callLock is held, asked from another thread (a thread may not ask
// a std::mutex it holds).
bool lockHeldElsewhere(OpenCLBinding& binding) {
    bool held = false;
    std::thread([&] {
        held = !binding.callLock.try_lock();
        if (!held) binding.callLock.unlock();
    }).join();
    return held;
}

OpenCLBinding* gBinding = nullptr;
std::vector<bool> gHeld;

cl_int probeFlush(cl_command_queue) {
    gHeld.push_back(lockHeldElsewhere(*gBinding));
    return CL_SUCCESS;
}

cl_int throwingFinish(cl_command_queue) { throw std::runtime_error("runtime fault"); }

TEST(OpenCLBinding, LockIsTakenOnlyWhenAskedAndLeftOnThrow) {
    OpenCLBinding binding;
    gBinding = &binding;
    gHeld.clear();
    binding.entries.clFlush = &probeFlush;
    binding.entries.clFinish = &throwingFinish;

    binding.call<&OpenCLEntryTable::clFlush>(nullptr);
    binding.useLock = 1;
    binding.call<&OpenCLEntryTable::clFlush>(nullptr);
    EXPECT_EQ(gHeld, (std::vector<bool>{false, true}));

    EXPECT_THROW(binding.call<&OpenCLEntryTable::clFinish>(nullptr), std::runtime_error);
    EXPECT_FALSE(lockHeldElsewhere(binding));
    gBinding = nullptr;
}

TEST(OpenCLBinding, InitEmptiesTheBindingAndLoadsWhatTheRuntimeHas) {
    OpenCLBinding binding;
    binding.preferredLocalSize[0] = 16;
    binding.maxWorkGroupSize = 99;
    binding.launchCount = 5;
    initBinding(binding);
    EXPECT_TRUE(binding.initialised);
    EXPECT_EQ(binding.useLock, 0);
    EXPECT_EQ(binding.preferredLocalSize[0], 0u);
    EXPECT_EQ(binding.maxWorkGroupSize, 0u);
    EXPECT_EQ(binding.launchCount, 0u);
    if (!binding.module) {
        EXPECT_EQ(binding.entries.clCreateKernel, nullptr);
        GTEST_SKIP() << "no OpenCL runtime on this machine";
    }
    EXPECT_NE(binding.entries.clCreateKernel, nullptr);
    EXPECT_NE(binding.entries.clEnqueueNDRangeKernel, nullptr);

    initBinding(binding);  // again, as a reload does
    EXPECT_NE(binding.entries.clSetKernelArg, nullptr);
}

}  // namespace
