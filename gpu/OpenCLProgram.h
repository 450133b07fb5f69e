// One effect's OpenCL program and its kernels. The host compiles the text
// through its program suite (and keeps whatever per-device cache it likes);
// the effect holds one program for the whole module, from load to unload,
// shared by all its instances.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "OpenCLBinding.h"

class OpenCLProgram {
public:
    // `kernelNames` are the functions of the text, created in this order.
    // `text` is the program's source, embedded in the module for its whole
    // life.
    OpenCLProgram(OpenCLBinding& binding, std::string_view text, std::initializer_list<const char*> kernelNames);
    OpenCLProgram(const OpenCLProgram&) = delete;
    OpenCLProgram& operator=(const OpenCLProgram&) = delete;
    // Nothing is released here: at module end the runtime may already be
    // gone, and the host's unload is where kernels and program go.
    ~OpenCLProgram() = default;

    // Compiles the text and creates the kernels, once: from the factory's
    // load with `optional` 1 (the host keeps a failure quiet) and from each
    // instance's constructor with 0, which finds the work done. A failure
    // leaves the kernels null and is not reported: the render then stops at
    // its first kernel argument.
    void buildProgram(int optional);
    // From the factory's unload: releases the kernels, then the program.
    void releaseProgram();

    cl_program program() const { return program_; }
    cl_kernel kernel(std::size_t index = 0) const { return kernels_[index]; }

private:
    bool empty() const;

    OpenCLBinding& binding_;
    std::string_view text_;
    std::vector<const char*> names_;
    cl_program program_ = nullptr;
    std::vector<cl_kernel> kernels_;
};
