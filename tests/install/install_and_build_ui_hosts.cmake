# Hosts of the parameter interface, against the installed tree. Included by install_and_build_hosts.cmake; USER_PLUGIN is the
# folder of the simulated user, and `prefix`, `lib_folder`, `flags` and run() are the includer's.

run(nm -DC --defined-only ${lib_folder}/libkyfocus_ui.so)
string(REGEX MATCHALL "[^\n]+" lines "${output}")
foreach(line ${lines})
    string(REGEX REPLACE "^[0-9a-f]+ [A-Za-z] ((typeinfo|typeinfo name|vtable) for |non-virtual thunk to )?" ""
        symbol "${line}")
    if(NOT symbol MATCHES "^(Kyf|CKyf|IChangedFCSettingDelegate)" AND NOT SANITIZE)
        message(FATAL_ERROR "libkyfocus_ui.so shows ${symbol}")
    endif()
endforeach()

# Without Qt the component is refused, and the rest is found all the same (the C++ host).
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE}/qt_host -B ${WORK}/qt_host_without_qt -G Ninja
        -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(result EQUAL 0 OR NOT output MATCHES "kyfocus_ui")
    message(FATAL_ERROR "kyfocus_ui was found without Qt, or the message does not name it:\n${output}")
endif()

run(${CMAKE_COMMAND} -S ${SOURCE}/qt_host -B ${WORK}/qt_host -G Ninja -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_CXX_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${WORK}/qt_host)

run(pkg-config --cflags --libs kyfocus_ui)
separate_arguments(pc_flags UNIX_COMMAND "${output}")
run(${C_COMPILER} -std=c11 -Wall -Wextra -Werror ${flags} ${SOURCE}/c_dialog_host/main.c -o ${WORK}/c_dialog_host
    ${pc_flags} -Wl,-rpath,${lib_folder})

set(ENV{QT_QPA_PLATFORM} offscreen)
set(ENV{QT_PLUGIN_PATH} ${USER_PLUGIN})
file(MAKE_DIRECTORY ${WORK}/runtime)
file(CHMOD ${WORK}/runtime PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
set(ENV{XDG_RUNTIME_DIR} ${WORK}/runtime)
set(ENV{OCL_ICD_VENDORS} none)

# What a host prints after a user has gone through steps.
function(expect host steps expected)
    set(ENV{QT_QPA_GENERIC_PLUGINS} simulated_user:${steps})
    run(${host})
    if(NOT output MATCHES "(^|\n)${expected}\n")
        message(FATAL_ERROR "${host} after ${steps}:\n${output}instead of ${expected}")
    endif()
endfunction()

expect(${WORK}/c_dialog_host 0xFA1+0xFA3+0x1 "accepted 1 AlgType 0 CompSize 1")
expect(${WORK}/c_dialog_host Return "accepted 1 AlgType 1 CompSize 8")
expect(${WORK}/c_dialog_host 0xFA1+0xFA3+0x2 "accepted 0 AlgType 1 CompSize 8")
expect(${WORK}/qt_host/qt_host 0xFA1+0xFA3+lift+Right+close "AlgType 0 CompSize 1 changes 1 lift 1")
expect(${WORK}/qt_host/qt_host dialog+0xFA1+0xFA5+0x1+close "AlgType 0 CompSize 15 changes 0 lift 8")

# Without a display a host is told so and goes on.
set(ENV{QT_QPA_PLATFORM} xcb)
set(ENV{QT_QPA_GENERIC_PLUGINS})
set(ENV{DISPLAY})
set(ENV{WAYLAND_DISPLAY})
execute_process(COMMAND ${WORK}/c_dialog_host RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_QUIET)
if(NOT result EQUAL 1 OR NOT output STREQUAL "no display\n")
    message(FATAL_ERROR "without a display the C host gave ${result}: ${output}")
endif()
