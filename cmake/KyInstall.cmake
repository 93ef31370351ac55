# What `cmake --install` puts where: headers, libraries, the program, CMake package files and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS kyimaging kyfocus EXPORT kyfocusTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET kyfocus_ui)
    set(ui_headers)
else()
    set(ui_headers PATTERN ui EXCLUDE)
endif()
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" ${ui_headers})
if(TARGET kyfocus_program)
    install(TARGETS kyfocus_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

if(TARGET ky_cuda_kernels)
    get_target_property(kernel_file ky_cuda_kernels KERNEL_FILE)
    install(FILES ${kernel_file} DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kyfocus)
install(EXPORT kyfocusTargets NAMESPACE kyfocus:: DESTINATION ${package_folder})
# A set of its own: the core libraries are found without Qt.
if(TARGET kyfocus_ui)
    install(TARGETS kyfocus_ui EXPORT kyfocusUiTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    install(EXPORT kyfocusUiTargets NAMESPACE kyfocus:: DESTINATION ${package_folder})
endif()
configure_package_config_file(cmake/kyfocusConfig.cmake.in ${PROJECT_BINARY_DIR}/kyfocusConfig.cmake
    INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kyfocusConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kyfocusConfig.cmake ${PROJECT_BINARY_DIR}/kyfocusConfigVersion.cmake
    DESTINATION ${package_folder})

# Relative to the file itself, so that an installed tree can be moved.
file(RELATIVE_PATH include_from_pkgconfig
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
foreach(library kyimaging kyfocus kyfocus_ui)
    if(NOT TARGET ${library})
        continue()
    endif()
    configure_file(cmake/${library}.pc.in ${PROJECT_BINARY_DIR}/${library}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
