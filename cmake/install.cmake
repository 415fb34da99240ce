# What an installation holds besides the programs: the two libraries, the public headers, and the
# ways to find them. All of it can be moved as one tree.
include(CMakePackageConfigHelpers)

install(TARGETS kivdownloader norvel_networking
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

# The headers include each other by their rooms, so their own folder is on the include path.
set(KIV_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/kivdownloader)
install(FILES src/interface/downloader_interface.h src/interface/message_sink.h
        DESTINATION ${KIV_INSTALL_INCLUDEDIR}/interface)
install(FILES src/foundation/char_string.h src/foundation/error_node.h
              src/foundation/string_builder.h
        DESTINATION ${KIV_INSTALL_INCLUDEDIR}/foundation)

if(WIN32)
    set(KIV_INSTALL_MODULEDIR ${CMAKE_INSTALL_BINDIR})
else()
    set(KIV_INSTALL_MODULEDIR ${CMAKE_INSTALL_LIBDIR})
endif()
set(prefix ${CMAKE_SHARED_LIBRARY_PREFIX})
set(suffix ${CMAKE_SHARED_LIBRARY_SUFFIX})
set(KIV_LIBRARY_FILE ${prefix}kivdownloader${suffix})
set(KIV_NETWORKING_FILE ${prefix}norvel_networking${suffix})

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kivdownloader)
configure_package_config_file(
    cmake/kivdownloaderConfig.cmake.in ${PROJECT_BINARY_DIR}/kivdownloaderConfig.cmake
    INSTALL_DESTINATION ${package_folder}
    PATH_VARS KIV_INSTALL_INCLUDEDIR KIV_INSTALL_MODULEDIR)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/kivdownloaderConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kivdownloaderConfig.cmake
              ${PROJECT_BINARY_DIR}/kivdownloaderConfigVersion.cmake
        DESTINATION ${package_folder})

set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH KIV_PKGCONFIG_TO_PREFIX
     ${CMAKE_INSTALL_PREFIX}/${pkgconfig_folder} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KIV_PKGCONFIG_TO_PREFIX "${KIV_PKGCONFIG_TO_PREFIX}")
configure_file(cmake/kivdownloader.pc.in ${PROJECT_BINARY_DIR}/kivdownloader.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kivdownloader.pc DESTINATION ${pkgconfig_folder})
