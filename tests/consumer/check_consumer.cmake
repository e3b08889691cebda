# Builds and runs the consumer in one of the ways a host can take the library.
#   KIND package        installs the build into a prefix, finds it by find_package
#   KIND pkgconfig      the same by pkg-config and the compiler alone
#   KIND debs           makes the Debian packages, unpacks them, and finds the library there
#   KIND subdirectory   as a part of the host's own project
# BUILD is the library's build directory, SOURCE its source, CXX the compiler, WORK a directory of ours.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(result)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

function(build_with_cmake)
  run(${CMAKE_COMMAND} -S ${SOURCE}/tests/consumer -B ${WORK}/build -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER} ${ARGN})
  run(${CMAKE_COMMAND} --build ${WORK}/build --parallel 2)
  run(${WORK}/build/consumer ${WORK}/consumer.stl)
endfunction()

# The packages of Debian's own tool; nothing but these two may come out, and they say what they need.
function(make_debs)
  run(${CPACK} --config ${BUILD}/CPackConfig.cmake -G DEB -B ${WORK}/debs)
  file(GLOB debs ${WORK}/debs/*.deb)
  list(LENGTH debs count)
  if(NOT count EQUAL 2)
    message(FATAL_ERROR "not two packages: ${debs}")
  endif()
  foreach(deb IN LISTS debs)
    run(dpkg-deb -x ${deb} ${WORK}/root)
    execute_process(COMMAND dpkg-deb -f ${deb} Package Depends OUTPUT_VARIABLE fields)
    string(APPEND control "${fields}")
  endforeach()
  foreach(field IN ITEMS "Package: libscanmesh0\n" "Package: libscanmesh-dev\n" "libgomp1 \\(>="
      "Depends: libscanmesh0 \\(= [0-9.]+\\)\n")
    if(NOT control MATCHES "${field}")
      message(FATAL_ERROR "no ${field} in\n${control}")
    endif()
  endforeach()
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
if(KIND STREQUAL "package")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
  build_with_cmake(-DCMAKE_PREFIX_PATH=${WORK}/prefix -DSCANMESH_HEADERS=${WORK}/prefix/include)
elseif(KIND STREQUAL "debs")
  make_debs()
  build_with_cmake(-DCMAKE_PREFIX_PATH=${WORK}/root/usr -DSCANMESH_HEADERS=${WORK}/root/usr/include)
elseif(KIND STREQUAL "subdirectory")
  # With the flags of this build the compiler cache has every object already.
  build_with_cmake(-DSCANMESH_SOURCE=${SOURCE} -DSCANMESH_HEADERS=${SOURCE}/include
    -DSCANMESH_WERROR=${WERROR})
elseif(KIND STREQUAL "pkgconfig")
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
  file(GLOB_RECURSE pc ${WORK}/prefix/*/scanmesh.pc)
  get_filename_component(pc_dir "${pc}" DIRECTORY)
  get_filename_component(lib_dir "${pc_dir}" DIRECTORY)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
  execute_process(COMMAND pkg-config --cflags --libs "scanmesh >= 0.1" RESULT_VARIABLE result
    OUTPUT_VARIABLE flags ERROR_VARIABLE errors)
  if(result)
    message(FATAL_ERROR "pkg-config: ${errors}")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${CXX} -std=c++17 ${SOURCE}/tests/consumer/main.cpp -o ${WORK}/consumer ${flags})
  run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${lib_dir} ${WORK}/consumer ${WORK}/consumer.stl)
else()
  message(FATAL_ERROR "which kind of consumer?")
endif()
