#include "LaunchSize.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

// A device whose answers the tests set; a field of 0 answers as a failed
// query does.
struct FakeDevice {
    bool queueFails = false;
    std::size_t kernelGroupSize = 0;
    std::array<std::size_t, 3> compileGroupSize{};
    std::size_t preferredMultiple = 0;
    std::size_t maxGroupSize = 0;
    std::array<std::size_t, 3> maxItemSizes{};
    int queries = 0;
    int deviceQueries = 0;
    // What the last enqueue received.
    cl_uint dims = 0;
    std::array<std::size_t, 3> global{};
    std::array<std::size_t, 3> local{};
    bool localWasNull = false;
};

FakeDevice* gDevice = nullptr;
cl_device_id const kDevice = reinterpret_cast<cl_device_id>(0xd0);

template <class T>
cl_int answer(T value, std::size_t size, void* out) {
    if (value == T{} || size != sizeof value) return CL_INVALID_VALUE;
    std::memcpy(out, &value, sizeof value);
    return CL_SUCCESS;
}

cl_int fakeQueueInfo(cl_command_queue, cl_command_queue_info name, std::size_t size, void* out, std::size_t*) {
    ++gDevice->queries;
    if (gDevice->queueFails || name != CL_QUEUE_DEVICE) return CL_INVALID_COMMAND_QUEUE;
    return answer(kDevice, size, out);
}

cl_int fakeKernelInfo(cl_kernel, cl_device_id device, cl_kernel_work_group_info name, std::size_t size, void* out,
                      std::size_t*) {
    ++gDevice->queries;
    if (device != kDevice) return CL_INVALID_DEVICE;
    switch (name) {
        case CL_KERNEL_WORK_GROUP_SIZE: return answer(gDevice->kernelGroupSize, size, out);
        case CL_KERNEL_COMPILE_WORK_GROUP_SIZE: return answer(gDevice->compileGroupSize, size, out);
        case CL_KERNEL_PREFERRED_WORK_GROUP_SIZE_MULTIPLE: return answer(gDevice->preferredMultiple, size, out);
        default: return CL_INVALID_VALUE;
    }
}

cl_int fakeDeviceInfo(cl_device_id device, cl_device_info name, std::size_t size, void* out, std::size_t*) {
    ++gDevice->queries;
    ++gDevice->deviceQueries;
    if (device != kDevice) return CL_INVALID_DEVICE;
    if (name == CL_DEVICE_MAX_WORK_GROUP_SIZE) return answer(gDevice->maxGroupSize, size, out);
    if (name == CL_DEVICE_MAX_WORK_ITEM_SIZES) return answer(gDevice->maxItemSizes, size, out);
    return CL_INVALID_VALUE;
}

cl_int fakeEnqueue(cl_command_queue, cl_kernel, cl_uint dims, const std::size_t* offset, const std::size_t* global,
                   const std::size_t* local, cl_uint, const cl_event*, cl_event*) {
    if (offset) return CL_INVALID_GLOBAL_OFFSET;
    gDevice->dims = dims;
    gDevice->localWasNull = local == nullptr;
    for (cl_uint i = 0; i < dims; ++i) {
        gDevice->global[i] = global[i];
        gDevice->local[i] = local ? local[i] : 0;
    }
    return CL_SUCCESS;
}

class LaunchSizeTest : public ::testing::Test {
protected:
    void SetUp() override {
        gDevice = &device;
        binding.entries.clGetCommandQueueInfo = &fakeQueueInfo;
        binding.entries.clGetKernelWorkGroupInfo = &fakeKernelInfo;
        binding.entries.clGetDeviceInfo = &fakeDeviceInfo;
        binding.entries.clEnqueueNDRangeKernel = &fakeEnqueue;
    }
    void TearDown() override { gDevice = nullptr; }

    // A device of the given group limit with square item limits.
    void setDevice(std::size_t maxGroup, std::size_t maxItem, std::size_t kernelGroup = 0, std::size_t multiple = 0) {
        device.maxGroupSize = maxGroup;
        device.maxItemSizes = {maxItem, maxItem, maxItem};
        device.kernelGroupSize = kernelGroup;
        device.preferredMultiple = multiple;
    }

    std::array<std::size_t, 2> local2D(std::size_t width = 1, std::size_t height = 1) {
        std::size_t global[3] = {width, height, 1};
        std::size_t local[3] = {};
        computeLaunchSize(binding, queue, kernel, cache, 2, global, local);
        return {local[0], local[1]};
    }

    FakeDevice device;
    OpenCLBinding binding;
    LaunchSizeCache cache;
    cl_command_queue const queue = reinterpret_cast<cl_command_queue>(0x9);
    cl_kernel const kernel = reinterpret_cast<cl_kernel>(0xc);
};

using Shape = std::array<std::size_t, 2>;

TEST_F(LaunchSizeTest, TwoDimensionsHalveFrom512WithinTheLimits) {
    struct Case {
        std::size_t maxGroup, maxItem0, maxItem1, kernelGroup, multiple;
        Shape expected;
    };
    const Case cases[] = {
        // 512x512, 512x256, 256x256, 256x128, ... 32x32, 32x16, 16x16.
        {256, 512, 512, 0, 0, {16, 16}},
        // The smaller of the kernel's and the device's limit applies.
        {1024, 1024, 1024, 64, 0, {8, 8}},
        {256, 1024, 1024, 4096, 0, {16, 16}},
        // 32x32 fits 1024, but a height limit of 16 halves once more.
        {1024, 1024, 16, 0, 0, {32, 16}},
        // 32x16 under 768, grown to 32x24: 768 is a whole number of 32s.
        {1024, 1024, 1024, 768, 32, {32, 24}},
        // No whole number of 512s between 32x17 and 32x24.
        {1024, 1024, 1024, 768, 512, {32, 16}},
    };
    for (const Case& c : cases) {
        OpenCLBinding fresh;
        fresh.entries = binding.entries;
        device.maxGroupSize = c.maxGroup;
        device.maxItemSizes = {c.maxItem0, c.maxItem1, 1};
        device.kernelGroupSize = c.kernelGroup;
        device.preferredMultiple = c.multiple;
        LaunchSizeCache kernelCache;
        std::size_t global[3] = {1, 1, 1}, local[3] = {};
        computeLaunchSize(fresh, queue, kernel, kernelCache, 2, global, local);
        EXPECT_EQ((Shape{local[0], local[1]}), c.expected) << "limit " << c.maxGroup << "/" << c.kernelGroup;
    }
}

TEST_F(LaunchSizeTest, RequiredWorkGroupSizeWins) {
    setDevice(256, 512, 256, 32);
    device.compileGroupSize = {8, 4, 1};
    std::size_t global[3] = {1000, 7, 1}, local[3] = {};
    computeLaunchSize(binding, queue, kernel, cache, 2, global, local);
    EXPECT_EQ((Shape{local[0], local[1]}), (Shape{8, 4}));
    EXPECT_EQ((Shape{global[0], global[1]}), (Shape{1000, 8}));
}

TEST_F(LaunchSizeTest, PreferredLocalSizeWinsOnlyWhenItFits) {
    setDevice(256, 512);
    binding.preferredLocalSize[0] = 64;
    binding.preferredLocalSize[1] = 4;
    EXPECT_EQ(local2D(), (Shape{64, 4}));

    LaunchSizeCache other;
    binding.preferredLocalSize[1] = 8;  // 512 > 256: halving again
    std::size_t global[3] = {1, 1, 1}, local[3] = {};
    computeLaunchSize(binding, queue, kernel, other, 2, global, local);
    EXPECT_EQ((Shape{local[0], local[1]}), (Shape{16, 16}));
}

TEST_F(LaunchSizeTest, OneDimensionRoundsUpToThePreferredMultiple) {
    setDevice(1024, 1024, 100, 32);
    std::size_t global[1] = {1000}, local[1] = {};
    computeLaunchSize(binding, queue, kernel, cache, 1, global, local);
    EXPECT_EQ(local[0], 128u);
    EXPECT_EQ(global[0], 1024u);

    // The item limit caps it before rounding.
    LaunchSizeCache other;
    device.maxItemSizes[0] = 48;
    binding.maxWorkGroupSize = 0;  // fetch the new item limit
    global[0] = 1000;
    computeLaunchSize(binding, queue, kernel, other, 1, global, local);
    EXPECT_EQ(local[0], 64u);
}

TEST_F(LaunchSizeTest, ShapesWithoutARuleStayNull) {
    // 1-D without a preferred multiple, 3-D without a required size.
    setDevice(1024, 1024, 256, 0);
    std::size_t global[3] = {1000, 10, 10}, local[3] = {};
    computeLaunchSize(binding, queue, kernel, cache, 1, global, local);
    EXPECT_EQ(local[0], 0u);
    EXPECT_EQ(global[0], 1000u);

    device.preferredMultiple = 32;
    computeLaunchSize(binding, queue, kernel, cache, 3, global, local);
    EXPECT_EQ(local[0], 0u);
    EXPECT_EQ(global[2], 10u);
}

TEST_F(LaunchSizeTest, CacheKeepsTheFirstAnswerPerDimensionCount) {
    setDevice(256, 512);
    EXPECT_EQ(local2D(), (Shape{16, 16}));
    const int queries = device.queries;

    setDevice(64, 512);  // another device: the kernel keeps its answer
    EXPECT_EQ(local2D(), (Shape{16, 16}));
    EXPECT_EQ(device.queries, queries);

    // Keyed by the dimension count alone: a 1-D launch asks again.
    device.preferredMultiple = 16;
    std::size_t global[1] = {10}, local[1] = {};
    computeLaunchSize(binding, queue, kernel, cache, 1, global, local);
    EXPECT_GT(device.queries, queries);
    EXPECT_EQ(cache.dimensions, 1u);
    // The device's limits were fetched once for the binding.
    EXPECT_EQ(device.deviceQueries, 2);
}

TEST_F(LaunchSizeTest, FailingQueriesGiveANullLocalSize) {
    setDevice(256, 512, 256, 32);
    device.queueFails = true;
    binding.preferredLocalSize[0] = binding.preferredLocalSize[1] = 8;
    const std::size_t size[2] = {1000, 7};
    EXPECT_EQ(launchKernel(binding, queue, kernel, cache, size), CL_SUCCESS);
    EXPECT_TRUE(device.localWasNull);
    EXPECT_EQ(device.global[0], 1000u);
    EXPECT_EQ(device.global[1], 7u);
    EXPECT_EQ(cache.dimensions, 2u);

    // Without a runtime every query answers as a failed one.
    OpenCLBinding empty;
    LaunchSizeCache other;
    std::size_t global[2] = {1000, 7}, local[2] = {};
    computeLaunchSize(empty, queue, kernel, other, 2, global, local);
    EXPECT_EQ(local[0], 0u);
    EXPECT_EQ(global[0], 1000u);
}

TEST_F(LaunchSizeTest, LaunchRoundsTheGlobalSizeUpToWholeGroups) {
    // 1000 x 7 at 16 x 16 runs 1008 x 16 work items; the kernel guards.
    setDevice(256, 512);
    const std::size_t size[2] = {1000, 7};
    EXPECT_EQ(launchKernel(binding, queue, kernel, cache, size), CL_SUCCESS);
    EXPECT_EQ(device.dims, 2u);
    EXPECT_FALSE(device.localWasNull);
    EXPECT_EQ(device.global[0], 1008u);
    EXPECT_EQ(device.global[1], 16u);
    EXPECT_EQ(device.local[0], 16u);
    EXPECT_EQ(device.local[1], 16u);
}

}  // namespace
