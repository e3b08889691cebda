# The shared library out of the subsystems' objects, and a static twin for the tests of internals.
get_property(scanmesh_subsystems GLOBAL PROPERTY SCANMESH_SUBSYSTEMS)
set(scanmesh_objects $<TARGET_OBJECTS:cavitypatcher_objects>)
foreach(subsystem IN LISTS scanmesh_subsystems)
  list(APPEND scanmesh_objects $<TARGET_OBJECTS:${subsystem}>)
endforeach()

add_library(scanmesh SHARED ${scanmesh_objects})
add_library(scanmesh::scanmesh ALIAS scanmesh)
target_link_libraries(scanmesh PRIVATE OpenMP::OpenMP_CXX Threads::Threads
  $<BUILD_INTERFACE:scanmesh_flags>)
target_compile_features(scanmesh PUBLIC cxx_std_17)
target_include_directories(scanmesh PUBLIC
  $<BUILD_INTERFACE:${scanmesh_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
if(UNIX AND NOT APPLE)
  target_link_options(scanmesh PRIVATE -Wl,-Bsymbolic-functions
    -Wl,--version-script=${scanmesh_SOURCE_DIR}/cmake/scanmesh.map)
  set_target_properties(scanmesh PROPERTIES LINK_DEPENDS ${scanmesh_SOURCE_DIR}/cmake/scanmesh.map)
endif()
set_target_properties(scanmesh PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)

if(SCANMESH_IS_TOP AND BUILD_TESTING)
  # Hidden symbols can't be linked from the shared library, so the tests use the same objects directly.
  add_library(scanmesh_internal STATIC ${scanmesh_objects})
  target_link_libraries(scanmesh_internal PUBLIC OpenMP::OpenMP_CXX Threads::Threads Eigen3::Eigen
    scanmesh_flags)
  configure_file(${scanmesh_SOURCE_DIR}/cmake/internal.h.in
    ${scanmesh_BINARY_DIR}/include/scanmesh/internal.h COPYONLY)
  target_include_directories(scanmesh_internal PUBLIC ${scanmesh_SOURCE_DIR}
    ${scanmesh_SOURCE_DIR}/include ${scanmesh_BINARY_DIR}/include)
  target_compile_definitions(scanmesh_internal PUBLIC SCANMESH_BUILDING)
endif()
