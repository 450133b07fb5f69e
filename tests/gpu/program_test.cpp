#include "OpenCLProgram.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "Suites.h"

namespace {

// What the fake host and runtime saw.
struct Record {
    std::vector<std::string> sources;
    std::vector<int> optionals;
    OfxStatus compileStatus = kOfxStatOK;
    std::vector<std::string> kernelsCreated;
    std::string failingKernel;
    std::vector<cl_kernel> kernelsReleased;
    std::vector<cl_program> programsReleased;
};

Record* gRecord = nullptr;
cl_program const kProgram = reinterpret_cast<cl_program>(0x51);

OfxStatus fakeCompile(const char* source, int optional, void* programOut) {
    gRecord->sources.emplace_back(source);
    gRecord->optionals.push_back(optional);
    if (gRecord->compileStatus != kOfxStatOK) return gRecord->compileStatus;
    *static_cast<cl_program*>(programOut) = kProgram;
    return kOfxStatOK;
}

cl_kernel fakeCreateKernel(cl_program program, const char* name, cl_int* err) {
    gRecord->kernelsCreated.emplace_back(name);
    if (program != kProgram || gRecord->failingKernel == name) {
        *err = CL_INVALID_KERNEL_NAME;
        return nullptr;
    }
    *err = CL_SUCCESS;
    return reinterpret_cast<cl_kernel>(0x100 + gRecord->kernelsCreated.size());
}

cl_int fakeReleaseKernel(cl_kernel kernel) {
    gRecord->kernelsReleased.push_back(kernel);
    return CL_SUCCESS;
}

cl_int fakeReleaseProgram(cl_program program) {
    gRecord->programsReleased.push_back(program);
    return CL_SUCCESS;
}

constexpr OfxOpenCLProgramSuiteV1 kSuite{&fakeCompile};
constexpr std::string_view kText = "__kernel void ka(int x) {} __kernel void kb(int x) {}";

class OpenCLProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        gRecord = &record;
        OFX::Private::gOpenCLProgramSuite = &kSuite;
        binding.entries.clCreateKernel = &fakeCreateKernel;
        binding.entries.clReleaseKernel = &fakeReleaseKernel;
        binding.entries.clReleaseProgram = &fakeReleaseProgram;
    }
    void TearDown() override {
        OFX::Private::gOpenCLProgramSuite = nullptr;
        gRecord = nullptr;
    }

    Record record;
    OpenCLBinding binding;
    OpenCLProgram program{binding, kText, {"ka", "kb"}};
};

TEST_F(OpenCLProgramTest, LoadCompilesTheTextAndCreatesEachKernelOnce) {
    program.buildProgram(1);
    ASSERT_EQ(record.sources.size(), 1u);
    EXPECT_EQ(record.sources[0], kText);
    EXPECT_EQ(record.optionals[0], 1);
    EXPECT_EQ(record.kernelsCreated, (std::vector<std::string>{"ka", "kb"}));
    EXPECT_EQ(program.program(), kProgram);
    EXPECT_NE(program.kernel(0), nullptr);
    EXPECT_NE(program.kernel(1), nullptr);

    // An instance's constructor finds the work done.
    program.buildProgram(0);
    EXPECT_EQ(record.sources.size(), 1u);
}

TEST_F(OpenCLProgramTest, AKernelThatCannotBeCreatedStaysNullBesideTheOthers) {
    record.failingKernel = "ka";
    program.buildProgram(1);
    EXPECT_EQ(program.kernel(0), nullptr);
    EXPECT_NE(program.kernel(1), nullptr);
}

TEST_F(OpenCLProgramTest, FailedCompileLeavesKernelsNullAndInstancesTryAgain) {
    record.compileStatus = kOfxStatFailed;
    program.buildProgram(1);
    EXPECT_EQ(program.program(), nullptr);
    EXPECT_EQ(program.kernel(0), nullptr);
    EXPECT_TRUE(record.kernelsCreated.empty());

    record.compileStatus = kOfxStatOK;
    program.buildProgram(0);
    EXPECT_EQ(record.optionals, (std::vector<int>{1, 0}));
    EXPECT_NE(program.kernel(0), nullptr);
}

TEST_F(OpenCLProgramTest, WithoutTheHostSuiteNothingIsBuilt) {
    OFX::Private::gOpenCLProgramSuite = nullptr;
    program.buildProgram(1);
    EXPECT_TRUE(record.sources.empty());
    EXPECT_EQ(program.kernel(0), nullptr);
}

TEST_F(OpenCLProgramTest, UnloadReleasesKernelsThenProgramOnce) {
    program.buildProgram(1);
    const cl_kernel a = program.kernel(0), b = program.kernel(1);
    program.releaseProgram();
    EXPECT_EQ(record.kernelsReleased, (std::vector<cl_kernel>{a, b}));
    EXPECT_EQ(record.programsReleased, (std::vector<cl_program>{kProgram}));
    EXPECT_EQ(program.program(), nullptr);
    EXPECT_EQ(program.kernel(0), nullptr);

    program.releaseProgram();
    EXPECT_EQ(record.kernelsReleased.size(), 2u);
    EXPECT_EQ(record.programsReleased.size(), 1u);
}

}  // namespace
