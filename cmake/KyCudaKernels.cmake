# CUDAKernels.cu.fatbin, beside the programs: machine code for every architecture from Turing on that the CUDA compiler
# knows, and portable code for those that it doesn't. Without a CUDA compiler there is no file, and the library takes the
# next back end.
option(KY_CUDA_KERNELS "Compile the CUDA kernels where a CUDA compiler is found" ON)

if(DEFINED ENV{CUDACXX})
    get_filename_component(ky_cuda_folder "$ENV{CUDACXX}" DIRECTORY)
endif()
find_program(KY_NVCC nvcc HINTS ${ky_cuda_folder} ENV CUDA_PATH PATHS /usr/local/cuda PATH_SUFFIXES bin
    DOC "CUDA compiler")

if(KY_CUDA_KERNELS AND KY_NVCC)
    execute_process(COMMAND ${KY_NVCC} --list-gpu-arch OUTPUT_VARIABLE ky_cuda_list ERROR_QUIET
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    string(REGEX MATCHALL "compute_[0-9]+" ky_cuda_list "${ky_cuda_list}")
    set(KY_CUDA_ARCHITECTURES)
    foreach(architecture ${ky_cuda_list})
        string(REPLACE "compute_" "" architecture ${architecture})
        if(architecture GREATER_EQUAL 75)
            list(APPEND KY_CUDA_ARCHITECTURES ${architecture})
        endif()
    endforeach()
endif()

# ky_cuda_kernels(source): builds the file from a source.
function(ky_cuda_kernels source)
    set(file ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/CUDAKernels.cu.fatbin)
    set(codes -gencode arch=compute_75,code=compute_75)
    foreach(architecture ${KY_CUDA_ARCHITECTURES})
        list(APPEND codes -gencode arch=compute_${architecture},code=sm_${architecture})
    endforeach()
    add_custom_command(OUTPUT ${file}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
        # One rounding an operation, as everywhere.
        COMMAND ${KY_NVCC} --fatbin --fmad=false --no-compress -std=c++17 ${codes} -o ${file} ${source}
        DEPENDS ${source} VERBATIM COMMENT "Compiling CUDA kernels")
    add_custom_target(ky_cuda_kernels ALL DEPENDS ${file})
    set_target_properties(ky_cuda_kernels PROPERTIES KERNEL_FILE ${file})
endfunction()
