# What `cmake --install` and `cpack` put where: the library for those who run, the rest for those who build.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(SCANMESH_CONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/scanmesh)

set(scanmesh_libraries scanmesh)
if(TARGET scanmesh_toolkit)
  list(APPEND scanmesh_libraries scanmesh_toolkit)
endif()
install(TARGETS ${scanmesh_libraries} EXPORT scanmeshTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${scanmesh_SOURCE_DIR}/include/scanmesh DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development FILES_MATCHING PATTERN "*.h")
install(EXPORT scanmeshTargets NAMESPACE scanmesh:: DESTINATION ${SCANMESH_CONFIG_DIR}
  COMPONENT development)

configure_package_config_file(${scanmesh_SOURCE_DIR}/cmake/scanmeshConfig.cmake.in
  ${scanmesh_BINARY_DIR}/package/scanmeshConfig.cmake INSTALL_DESTINATION ${SCANMESH_CONFIG_DIR}
  NO_SET_AND_CHECK_MACRO)
# Before version 1.0 a new minor version may break the interface.
write_basic_package_version_file(${scanmesh_BINARY_DIR}/package/scanmeshConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${scanmesh_BINARY_DIR}/package/scanmeshConfig.cmake
  ${scanmesh_BINARY_DIR}/package/scanmeshConfigVersion.cmake
  DESTINATION ${SCANMESH_CONFIG_DIR} COMPONENT development)

# Relative to itself, so that `cmake --install --prefix ANYWHERE` and a package unpacked elsewhere work.
file(RELATIVE_PATH SCANMESH_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" SCANMESH_PC_PREFIX "${SCANMESH_PC_PREFIX}")
configure_file(${scanmesh_SOURCE_DIR}/cmake/scanmesh.pc.in
  ${scanmesh_BINARY_DIR}/package/scanmesh.pc @ONLY)
install(FILES ${scanmesh_BINARY_DIR}/package/scanmesh.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

foreach(package IN ITEMS libscanmesh0:runtime libscanmesh-dev:development)
  string(REPLACE ":" ";" package "${package}")
  list(GET package 0 name)
  list(GET package 1 component)
  install(FILES ${scanmesh_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
    RENAME copyright COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME scanmesh)
set(CPACK_PACKAGE_CONTACT "scanmesh developers <scanmesh@example.org>")
set(CPACK_PACKAGE_DIRECTORY ${scanmesh_BINARY_DIR}/package)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libscanmesh0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The toolkit needs the engine, which is in the same package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${scanmesh_BINARY_DIR})
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "The shared library: welds scans, finds and fills their holes, smooths
and simplifies them, and makes meshes of points.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libscanmesh-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libscanmesh0 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config file to build programs with it.")
include(CPack)
