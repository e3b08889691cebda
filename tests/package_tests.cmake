# Tests of what hosts get: the exported names, and the ways to take the library. They use the library of
# this build, except for the subdirectory, which is what a parent project builds. An instrumented library
# exports its instruments too and isn't handed to anybody.
if(SCANMESH_SANITIZE)
  return()
endif()

# The exported names are the strong symbols of an ELF library.
find_program(SCANMESH_NM nm)
if(SCANMESH_NM AND UNIX AND NOT APPLE)
  set(check_exports ${CMAKE_COMMAND} -DNM=${SCANMESH_NM} -DLIBRARY=$<TARGET_FILE:scanmesh>
    -DLIST=${CMAKE_CURRENT_SOURCE_DIR}/exported_names.txt)
  add_test(NAME SharedLibrary.exports_the_listed_names_only
    COMMAND ${check_exports} -P ${CMAKE_CURRENT_SOURCE_DIR}/support/check_exports.cmake)
  add_custom_target(renew_exports
    COMMAND ${check_exports} -DRENEW=ON -P ${CMAKE_CURRENT_SOURCE_DIR}/support/check_exports.cmake
    DEPENDS scanmesh VERBATIM)
endif()

function(scanmesh_consumer_test name kind)
  add_test(NAME Consumer.${name}
    COMMAND ${CMAKE_COMMAND} -DKIND=${kind} -DSOURCE=${scanmesh_SOURCE_DIR} -DBUILD=${scanmesh_BINARY_DIR}
      -DWORK=${CMAKE_CURRENT_BINARY_DIR}/consumer/${kind} -DCXX=${CMAKE_CXX_COMPILER}
      -DLAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER} -DWERROR=${SCANMESH_WERROR} -DCPACK=${CMAKE_CPACK_COMMAND}
      -P ${CMAKE_CURRENT_SOURCE_DIR}/consumer/check_consumer.cmake)
  set_tests_properties(Consumer.${name} PROPERTIES TIMEOUT 900)
endfunction()

# A parent project gets the library alone: no tests, no examples.
scanmesh_consumer_test(builds_as_a_subdirectory subdirectory)
scanmesh_consumer_test(finds_the_installed_package package)
find_program(SCANMESH_PKG_CONFIG pkg-config)
if(SCANMESH_PKG_CONFIG)
  scanmesh_consumer_test(links_by_pkg_config pkgconfig)
endif()
find_program(SCANMESH_SHLIBDEPS dpkg-shlibdeps)
find_program(SCANMESH_FILE file)
if(SCANMESH_SHLIBDEPS AND SCANMESH_FILE)
  scanmesh_consumer_test(finds_the_unpacked_debian_packages debs)
endif()
# They install the same build; nothing but the subdirectory, which is slow, runs beside them.
set_property(TEST Consumer.finds_the_installed_package PROPERTY RESOURCE_LOCK install_manifest)
foreach(name IN ITEMS links_by_pkg_config finds_the_unpacked_debian_packages)
  if(TEST Consumer.${name})
    set_property(TEST Consumer.${name} PROPERTY RESOURCE_LOCK install_manifest)
  endif()
endforeach()
