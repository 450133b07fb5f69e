// The OpenCL entry points an effect's binding looks up in the runtime, in
// table order. One list drives both the table's fields and the lookup by
// name, so that the two cannot drift apart.
#pragma once

#define ONDU1_OPENCL_ENTRIES(X)                                                                                        \
    X(clGetPlatformIDs)                                                                                                \
    X(clGetPlatformInfo) X(clGetDeviceIDs) X(clGetDeviceInfo) X(clCreateContext) X(clCreateContextFromType) X(         \
        clRetainContext) X(clRetainDevice) X(clReleaseContext) X(clGetContextInfo) X(clCreateCommandQueue)             \
        X(clRetainCommandQueue) X(clReleaseCommandQueue) X(clGetCommandQueueInfo) X(clCreateBuffer) X(                 \
            clCreateSubBuffer) X(clCreateImage2D) X(clCreateImage3D) X(clRetainMemObject) X(clReleaseMemObject)        \
            X(clGetSupportedImageFormats) X(clGetMemObjectInfo) X(clGetImageInfo) X(clSetMemObjectDestructorCallback)  \
                X(clCreateSampler) X(clRetainSampler) X(clReleaseSampler) X(clGetSamplerInfo)                          \
                    X(clCreateProgramWithSource) X(clCreateProgramWithBinary) X(clRetainProgram) X(clReleaseProgram)   \
                        X(clBuildProgram) X(clUnloadCompiler) X(clGetProgramInfo) X(clGetProgramBuildInfo) X(          \
                            clCreateKernel) X(clCreateKernelsInProgram) X(clRetainKernel) X(clReleaseKernel)           \
                            X(clSetKernelArg) X(clGetKernelInfo) X(clGetKernelWorkGroupInfo) X(clWaitForEvents) X(     \
                                clGetEventInfo) X(clCreateUserEvent) X(clRetainEvent) X(clReleaseEvent)                \
                                X(clSetUserEventStatus) X(clSetEventCallback) X(clGetEventProfilingInfo) X(clFlush) X( \
                                    clFinish) X(clEnqueueFillBuffer) X(clEnqueueReadBuffer) X(clEnqueueReadBufferRect) \
                                    X(clEnqueueWriteBuffer) X(clEnqueueWriteBufferRect) X(clEnqueueCopyBuffer)         \
                                        X(clEnqueueCopyBufferRect) X(clEnqueueReadImage) X(clEnqueueWriteImage)        \
                                            X(clEnqueueCopyImage) X(clEnqueueCopyImageToBuffer) X(                     \
                                                clEnqueueCopyBufferToImage) X(clEnqueueMapBuffer) X(clEnqueueMapImage) \
                                                X(clEnqueueUnmapMemObject) X(clEnqueueNDRangeKernel) X(clEnqueueTask)  \
                                                    X(clEnqueueNativeKernel) X(clEnqueueMarker)                        \
                                                        X(clEnqueueWaitForEvents) X(clEnqueueBarrier)                  \
                                                            X(clGetExtensionFunctionAddress) X(clCreateFromGLBuffer)   \
                                                                X(clCreateFromGLTexture2D) X(clCreateFromGLTexture3D)  \
                                                                    X(clCreateFromGLRenderbuffer) X(clGetGLObjectInfo) \
                                                                        X(clGetGLTextureInfo)                          \
                                                                            X(clEnqueueAcquireGLObjects)               \
                                                                                X(clEnqueueReleaseGLObjects)           \
                                                                                    X(clGetGLContextInfoKHR)           \
                                                                                        X(clCreateEventFromGLsyncKHR)
