#include "OpenCLProgram.h"

#include <algorithm>
#include <memory>
#include <new>

#include "Suites.h"

OpenCLProgram::OpenCLProgram(OpenCLBinding& binding, std::string_view text,
                             std::initializer_list<const char*> kernelNames)
    : binding_(binding), text_(text), names_(kernelNames), kernels_(kernelNames.size(), nullptr) {}

bool OpenCLProgram::empty() const {
    return !program_ && std::all_of(kernels_.begin(), kernels_.end(), [](cl_kernel k) { return !k; });
}

void OpenCLProgram::buildProgram(int optional) {
    const OfxOpenCLProgramSuiteV1* suite = OFX::Private::gOpenCLProgramSuite;
    if (!suite || !suite->compileProgram || !empty()) return;

    // A zero-terminated copy exists only for the length of this call.
    const std::size_t length = text_.size();
    cl_int status = CL_SUCCESS;
    std::unique_ptr<char[]> text;
    try {
        text = std::make_unique<char[]>(length + 1);
    } catch (const std::bad_alloc&) {
        status = CL_INVALID_VALUE;
    }
    if (text) {
        std::copy_n(text_.data(), length, text.get());
        text[length] = '\0';
    }

    cl_program program = nullptr;
    if (status != CL_SUCCESS || suite->compileProgram(text.get(), optional, &program) != kOfxStatOK) return;
    program_ = program;
    for (std::size_t i = 0; i < names_.size(); ++i) {
        cl_int err = CL_SUCCESS;
        cl_kernel kernel = binding_.createKernel(program_, names_[i], err);
        kernels_[i] = err == CL_SUCCESS ? kernel : nullptr;
    }
}

void OpenCLProgram::releaseProgram() {
    for (cl_kernel& kernel : kernels_) {
        if (kernel) binding_.releaseKernel(kernel);
        kernel = nullptr;
    }
    if (program_) binding_.releaseProgram(program_);
    program_ = nullptr;
}
