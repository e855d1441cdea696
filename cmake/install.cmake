# Directories from GNUInstallDirs: with -DCMAKE_INSTALL_PREFIX=/usr (the
# packaging build) the library and its package files go to Debian's
# multiarch folder, lib/<triplet>; with any other prefix to lib.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Consumers of Bild::bild compile with C++17 or later (the headers need it);
# the exported target says "at least", never one fixed standard.
target_compile_features(bild PUBLIC cxx_std_17)

install(TARGETS bildconv RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS bild EXPORT BildTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The headers keep their folders under include/bild, so the umbrella
# bildlib.h works from there as it does from src/.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/bild
        FILES_MATCHING PATTERN "*.h")

set(BILD_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Bild)
install(EXPORT BildTargets NAMESPACE Bild:: FILE BildTargets.cmake DESTINATION ${BILD_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/BildConfig.cmake.in
  ${PROJECT_BINARY_DIR}/BildConfig.cmake INSTALL_DESTINATION ${BILD_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/BildConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/BildConfig.cmake ${PROJECT_BINARY_DIR}/BildConfigVersion.cmake
        DESTINATION ${BILD_CMAKE_DIR})

file(RELATIVE_PATH BILD_PC_UP "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
string(REGEX REPLACE "/$" "" BILD_PC_UP "${BILD_PC_UP}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/bild.pc.in ${PROJECT_BINARY_DIR}/bild.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/bild.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES ${PROJECT_SOURCE_DIR}/man/bildconv.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

set(CPACK_PACKAGE_NAME bildconv)
set(CPACK_PACKAGE_VENDOR "bild")
set(CPACK_PACKAGE_CONTACT "bild developers <bild@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Batch image converter to uncompressed TIFF, with its C++ library")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(VERBOSE "A .deb made from this build would put the library in /usr/${CMAKE_INSTALL_LIBDIR}: "
                 "configure the packaging build with -DCMAKE_INSTALL_PREFIX=/usr")
endif()
set(CPACK_GENERATOR DEB)
include(CPack)
