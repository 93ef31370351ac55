# OpenCL runs on PoCL, whose device is the processor. A library of the loader's name stands before the loader, shows that
# device as a graphics processor, and fails calls on demand.
find_library(KY_OPENCL_LOADER NAMES libOpenCL.so.1 DOC "OpenCL loader that the tests forward to")

# ky_opencl_library(target source...): a shared library that programs linked with it find in the loader's place.
function(ky_opencl_library target)
    add_library(${target} SHARED ${ARGN})
    target_link_libraries(${target} PRIVATE ky_options ${CMAKE_DL_LIBS})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_include_directories(${target} SYSTEM PRIVATE ${KY_OPENCL_HEADERS})
    set_target_properties(${target} PROPERTIES OUTPUT_NAME OpenCL SOVERSION 1
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/${target})
endfunction()

ky_opencl_library(opencl_double opencl_double.cpp)
target_compile_definitions(opencl_double PRIVATE
    KY_OPENCL_LOADER="$<IF:$<BOOL:${KY_OPENCL_LOADER}>,${KY_OPENCL_LOADER},>"
    KY_POCL_CACHE="${CMAKE_CURRENT_BINARY_DIR}/pocl_cache")

ky_test(NAME gpu_opencl
    SOURCES
        opencl_api_test.cpp
        opencl_kept_objects.cpp
        opencl_median_test.cpp
        opencl_program_test.cpp
        opencl_stages_test.cpp
        ../safe3d/stack_session.cpp
    LINKS
        ky_focus_insides opencl_double)
ky_batches(test_gpu_opencl)

ky_test(NAME gpu_processing_path
    SOURCES opencl_kept_objects.cpp processing_path_test.cpp ../safe3d/stack_session.cpp
    LINKS ky_focus_insides opencl_double ${CMAKE_DL_LIBS})
target_compile_definitions(test_gpu_processing_path PRIVATE KY_FAKE_CUDA="$<TARGET_FILE:fake_cuda>")
add_dependencies(test_gpu_processing_path fake_cuda)

ky_opencl_library(half_opencl half_opencl.cpp)
set(broken_opencl_folder ${CMAKE_CURRENT_BINARY_DIR}/broken_opencl)
file(WRITE ${broken_opencl_folder}/libOpenCL.so.1 "no module, so that no OpenCL library is found\n")
ky_test(NAME gpu_opencl_broken
    SOURCES opencl_broken_library_test.cpp ../safe3d/stack_session.cpp
    LINKS ky_focus_insides GTest::gtest ${CMAKE_DL_LIBS})
target_compile_definitions(test_gpu_opencl_broken PRIVATE
    KY_HALF_OPENCL="$<TARGET_FILE:half_opencl>" KY_NO_OPENCL_FOLDER="${broken_opencl_folder}")
add_dependencies(test_gpu_opencl_broken half_opencl)
