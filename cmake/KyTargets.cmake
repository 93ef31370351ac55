# How every target of the project is compiled.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
endif()
# Assertions guard against our own mistakes: the debug and sanitizer builds keep them on.
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
set(CMAKE_C_FLAGS_RELEASE "-O3 -DNDEBUG")

find_package(OpenMP REQUIRED COMPONENTS CXX)
find_package(TIFF REQUIRED)
find_package(PNG REQUIRED)
find_package(JPEG REQUIRED)

# The parameter interface needs Qt; the libraries and the program do not. Race checks leave it out: all of it runs on the
# window's thread, and Qt itself is not built for them.
find_package(Qt6 6.4 QUIET COMPONENTS Widgets Svg Test)
if(Qt6_FOUND AND NOT KY_SANITIZE MATCHES "thread|fuzzer")
    set(ky_ui_default ON)
else()
    set(ky_ui_default OFF)
endif()
option(KY_UI "Build the parameter interface, which needs Qt 6 Widgets" ${ky_ui_default})

# Warnings and the arithmetic rules of the project. One operation is one rounding: a fused multiply and add would make
# results depend on the machine.
add_library(ky_options INTERFACE)
target_compile_options(ky_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Werror -ffp-contract=off)
target_include_directories(ky_options INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
# Hardened: a smashed stack or an overrun of a block of known size ends the process; addresses are random, and what the
# loader resolves is read-only before the first call. Sanitized builds check more and keep to their own.
include(CheckPIESupported)
check_pie_supported()
if(NOT KY_SANITIZE)
    target_compile_options(ky_options INTERFACE -fstack-protector-strong -fstack-clash-protection)
    # Fortified calls need an optimising build. Builds of other types have the flags that their builder gives.
    if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
        set(KY_FORTIFIED ON)
        target_compile_options(ky_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
endif()
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
if(KY_SANITIZE)
    target_compile_options(ky_options INTERFACE -fsanitize=${KY_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(ky_options INTERFACE -fsanitize=${KY_SANITIZE})
    # GCC takes the checks' own code for reads of variables that were never set.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(ky_options INTERFACE -Wno-maybe-uninitialized)
    endif()
    # clang warns of loops that could not be vectorized, which the checks' own code in them prevents.
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(ky_options INTERFACE -Wno-pass-failed)
    endif()
    if(KY_SANITIZE MATCHES "undefined")
        target_compile_options(ky_options INTERFACE -fno-sanitize-recover=undefined)
    endif()
endif()
if(KY_CLONES AND NOT KY_SANITIZE)
    target_compile_definitions(ky_options INTERFACE KY_CLONES=1)
endif()

# ky_batches(target...): compiles several sources of a target at once where KY_BATCHES is on: a build from scratch takes half
# the time where the headers are heavy. Sources of a batch share their unnamed namespaces: what clashes there fails to compile.
option(KY_BATCHES "Compile the sources of targets with heavy headers several at once" OFF)
function(ky_batches)
    if(KY_BATCHES)
        set_target_properties(${ARGN} PROPERTIES UNITY_BUILD ON)
    endif()
endfunction()

# ky_folder(NAME name SOURCES ... [USES target...]): one folder of src/ as an object library. USES names what the folder
# may use; the folders' head comments say the same.
function(ky_folder)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;USES" ${ARGN})
    add_library(ky_${ARG_NAME} OBJECT ${ARG_SOURCES})
    target_link_libraries(ky_${ARG_NAME} PUBLIC ky_options OpenMP::OpenMP_CXX PRIVATE ${ARG_USES})
endfunction()

# ky_test(NAME name SOURCES ... LINKS ...): a GoogleTest binary for one folder.
function(ky_test)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;LINKS" ${ARGN})
    add_executable(test_${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(test_${ARG_NAME} PRIVATE ky_options ky_test_support ${ARG_LINKS} GTest::gtest_main)
    target_include_directories(test_${ARG_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    # Without the machine's own OpenCL drivers, which would be loaded with the first 3D frame: slow, and not under test.
    gtest_discover_tests(test_${ARG_NAME} TEST_PREFIX "${ARG_NAME}/" DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600
        ENVIRONMENT "OMP_WAIT_POLICY=passive" ENVIRONMENT_MODIFICATION "OCL_ICD_VENDORS=set:none")
endfunction()

# ky_bench(NAME name SOURCES ... LINKS ...): a Google Benchmark binary for one folder, and one short turn of it as a test.
function(ky_bench)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;LINKS" ${ARGN})
    add_executable(bench_${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(bench_${ARG_NAME} PRIVATE ky_options ${ARG_LINKS} benchmark::benchmark_main)
    target_include_directories(bench_${ARG_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/bench)
    if(KY_TESTS)
        add_test(NAME bench/${ARG_NAME} COMMAND bench_${ARG_NAME} --benchmark_min_time=0.001)
        set_tests_properties(bench/${ARG_NAME} PROPERTIES ENVIRONMENT "KY_BENCH_SMALL=1;OCL_ICD_VENDORS=none" TIMEOUT 300)
    endif()
endfunction()
