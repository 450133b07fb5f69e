#include "OpenCLBinding.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(binding.call<&OpenCLEntryTable::clCreateBuffer>(nullptr, CL_MEM_READ_WRITE, 16, nullptr, &err), nullptr);
    EXPECT_EQ(binding.call<&OpenCLEntryTable::clGetExtensionFunctionAddress>("clIcdGetPlatformIDsKHR"), nullptr);

    const std::size_t global[2] = {8, 8};
    EXPECT_EQ(binding.enqueueNDRangeKernel(nullptr, nullptr, 2, global, nullptr), CL_DEVICE_NOT_AVAILABLE);
}

TEST(OpenCLBinding, InitEmptiesTheBindingAndLoadsWhatTheRuntimeHas) {
    OpenCLBinding binding;
    binding.preferredLocalSize[0] = 16;
    binding.maxWorkGroupSize = 99;
    initBinding(binding);
    EXPECT_EQ(binding.preferredLocalSize[0], 0u);
    EXPECT_EQ(binding.maxWorkGroupSize, 0u);
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
