// One launch through a real OpenCL runtime, where the machine has one: the
// table's types against the real entry points, the embedded kernel text,
// and a launch whose global size is rounded past the data.
#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "LaunchSize.h"

namespace {

constexpr std::string_view kScaleKernel =
#include "scale.cl.inc"
    ;

using T = OpenCLEntryTable;

class RuntimeTest : public ::testing::Test {
protected:
    void SetUp() override {
        initBinding(binding);
        if (!binding.module) GTEST_SKIP() << "no OpenCL runtime on this machine";
        cl_platform_id platform = nullptr;
        cl_uint count = 0;
        if (binding.call<&T::clGetPlatformIDs>(1, &platform, &count) != CL_SUCCESS || count == 0)
            GTEST_SKIP() << "no OpenCL platform";
        if (binding.call<&T::clGetDeviceIDs>(platform, CL_DEVICE_TYPE_ALL, 1, &device, &count) != CL_SUCCESS)
            GTEST_SKIP() << "no OpenCL device";
        cl_int err = CL_SUCCESS;
        context = binding.call<&T::clCreateContext>(nullptr, 1, &device, nullptr, nullptr, &err);
        ASSERT_EQ(err, CL_SUCCESS);
        queue = binding.call<&T::clCreateCommandQueue>(context, device, 0, &err);
        ASSERT_EQ(err, CL_SUCCESS);
    }
    void TearDown() override {
        if (kernel) binding.releaseKernel(kernel);
        if (program) binding.releaseProgram(program);
        if (buffer) binding.call<&T::clReleaseMemObject>(buffer);
        if (queue) binding.call<&T::clReleaseCommandQueue>(queue);
        if (context) binding.call<&T::clReleaseContext>(context);
    }

    OpenCLBinding binding;
    cl_device_id device = nullptr;
    cl_context context = nullptr;
    cl_command_queue queue = nullptr;
    cl_program program = nullptr;
    cl_kernel kernel = nullptr;
    cl_mem buffer = nullptr;
};

TEST_F(RuntimeTest, EmbeddedKernelRunsWithAGuardedRoundedLaunch) {
    const char* source = kScaleKernel.data();
    const std::size_t length = kScaleKernel.size();
    cl_int err = CL_SUCCESS;
    program = binding.call<&T::clCreateProgramWithSource>(context, 1, &source, &length, &err);
    ASSERT_EQ(err, CL_SUCCESS);
    ASSERT_EQ(binding.call<&T::clBuildProgram>(program, 1, &device, "", nullptr, nullptr), CL_SUCCESS);
    kernel = binding.createKernel(program, "kscale", err);
    ASSERT_EQ(err, CL_SUCCESS);

    constexpr int kCount = 1000;
    std::vector<float> values(kCount);
    for (int i = 0; i < kCount; ++i) values[i] = static_cast<float>(i);
    buffer = binding.call<&T::clCreateBuffer>(context, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR,
                                              sizeof(float) * kCount, values.data(), &err);
    ASSERT_EQ(err, CL_SUCCESS);
    const float factor = 2.0f;
    const int count = kCount;
    ASSERT_EQ(binding.setKernelArg(kernel, 0, sizeof buffer, &buffer), CL_SUCCESS);
    ASSERT_EQ(binding.setKernelArg(kernel, 1, sizeof factor, &factor), CL_SUCCESS);
    ASSERT_EQ(binding.setKernelArg(kernel, 2, sizeof count, &count), CL_SUCCESS);

    LaunchSizeCache cache;
    const std::size_t size[1] = {kCount};
    ASSERT_EQ(launchKernel(binding, queue, kernel, cache, size), CL_SUCCESS);
    EXPECT_EQ(cache.dimensions, 1u);
    EXPECT_GT(binding.maxWorkGroupSize, 0u);

    std::vector<float> out(kCount);
    ASSERT_EQ(binding.call<&T::clEnqueueReadBuffer>(queue, buffer, CL_TRUE, 0, sizeof(float) * kCount, out.data(), 0,
                                                    nullptr, nullptr),
              CL_SUCCESS);
    for (int i = 0; i < kCount; ++i) ASSERT_EQ(out[i], 2.0f * i) << "at " << i;
}

}  // namespace
