# Installs the library, its public headers, a CMake package (find_package(qzil), target qzil::qzil) and a pkg-config
# file. The tree may be moved as a whole.
include(CMakePackageConfigHelpers)

install(TARGETS qzil EXPORT qzilTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/qzil DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN *.h
        PATTERN *_rows.h EXCLUDE
        REGEX "/kernel/(color_matrix|crop|shapes|loops|indices|operation|row|commit|convert_row|convert_walk|line_walk|put|streaming|vector)\\.h$" EXCLUDE
        REGEX "/frame/(frame_effects|margin|mask_check|run|spatial_run|checks|color_samples)\\.h$" EXCLUDE
        REGEX "/convert/(color_lines|depth|diffusion|dither|formats|ycc_coefficients)\\.h$" EXCLUDE
        REGEX "/field/field_run\\.h$" EXCLUDE
        REGEX "/spatial/(blur_makers|ellipse|filter_passes|tap_maker)\\.h$" EXCLUDE
        REGEX "/numeric/(elements|unit_offset)\\.h$" EXCLUDE)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qzil)
install(EXPORT qzilTargets NAMESPACE qzil:: DESTINATION ${package_dir})
configure_package_config_file(cmake/qzilConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/qzilConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/qzilConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qzilConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/qzilConfigVersion.cmake
        DESTINATION ${package_dir})

file(RELATIVE_PATH QZIL_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/qzil.pc.in qzil.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/qzil.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
