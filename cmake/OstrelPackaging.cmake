# Installation: libraries, the message module beside them, the public headers
# and a CMake package plus a pkg-config file for hosts.
include(CMakePackageConfigHelpers)

# Installed libraries find each other in their own folder.
set_target_properties(Ostrel OstrelPlatform PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS Ostrel OstrelPlatform OstrelHeaders
  EXPORT OstrelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The message module sits beside the platform library: that folder is where
# the platform looks for modules named without a path.
install(TARGETS VoMessages LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

install(FILES ${PROJECT_SOURCE_DIR}/include/Ostrel.h ${CMAKE_BINARY_DIR}/generated/OstrelLib.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ostrel)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ostrel/platform
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ostrel
  FILES_MATCHING PATTERN "*.h")

set(OSTREL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Ostrel)
install(EXPORT OstrelTargets NAMESPACE Ostrel:: DESTINATION ${OSTREL_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OstrelConfig.cmake.in
  ${CMAKE_BINARY_DIR}/OstrelConfig.cmake
  INSTALL_DESTINATION ${OSTREL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/OstrelConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/OstrelConfig.cmake ${CMAKE_BINARY_DIR}/OstrelConfigVersion.cmake
  DESTINATION ${OSTREL_CMAKE_DIR})

file(RELATIVE_PATH OSTREL_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/ostrel.pc.in ${CMAKE_BINARY_DIR}/ostrel.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ostrel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
