# Run by ctest. BUILD: the build folder; SOURCE: this folder; WORK: a folder that is emptied first; USER_PLUGIN: the simulated
# user's, empty where the parameter interface is not built.
file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

# The package file is found again after the tree has been moved.
file(RENAME ${prefix} ${WORK}/moved)
set(prefix ${WORK}/moved)

set(flags)
if(SANITIZE)
    set(flags -fsanitize=${SANITIZE})
endif()

# With CMake: the C++ host through find_package.
run(${CMAKE_COMMAND} -S ${SOURCE}/cpp_host -B ${WORK}/cpp_host -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_CXX_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${WORK}/cpp_host)
run(${WORK}/cpp_host/cpp_host)

# Without CMake: the C host through pkg-config.
file(GLOB_RECURSE pc ${prefix}/kyfocus.pc)
get_filename_component(pc_folder ${pc} DIRECTORY)
get_filename_component(lib_folder ${pc_folder} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_folder})
run(pkg-config --cflags --libs kyfocus)
separate_arguments(pc_flags UNIX_COMMAND "${output}")
run(${C_COMPILER} -std=c11 -Wall -Wextra -Werror ${flags} ${SOURCE}/c_host/main.c -o ${WORK}/c_host ${pc_flags}
    -Wl,-rpath,${lib_folder})
run(${WORK}/c_host)

# The libraries show the interface and nothing else.
foreach(library kyimaging kyfocus)
    run(nm -D --defined-only ${lib_folder}/lib${library}.so)
    string(REGEX MATCHALL "[^\n]+" lines "${output}")
    foreach(line ${lines})
        string(REGEX REPLACE "^[0-9a-f]+ [A-Za-z] " "" symbol "${line}")
        if(NOT symbol MATCHES "^(Kyi|Kyf|_ZT?V?[TISNK0-9]*.*(CFuncTraceLog|CKyfFocusCompositionSetting|CKYFocusResource))"
           AND NOT SANITIZE)
            message(FATAL_ERROR "lib${library}.so shows ${symbol}")
        endif()
    endforeach()
endforeach()

if(USER_PLUGIN)
    include(${SOURCE}/install_and_build_ui_hosts.cmake)
elseif(EXISTS ${prefix}/include/kyfocus/ui)
    message(FATAL_ERROR "headers of a library that is not there")
endif()

# And the program finds its libraries where they were put.
if(EXISTS ${prefix}/bin/kyfocus)
    run(${prefix}/bin/kyfocus --help)
endif()
