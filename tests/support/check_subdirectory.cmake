# Configures, builds and runs a small parent project that takes the library as a subdirectory.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/source)
file(WRITE ${WORK}/source/CMakeLists.txt "cmake_minimum_required(VERSION 3.22)
project(parent CXX)
set(BUILD_TESTING OFF)
add_subdirectory(${SOURCE} scanmesh)
if(TARGET make_scan OR TARGET core_tests OR TARGET scanmesh_internal)
  message(FATAL_ERROR \"more than the library\")
endif()
add_executable(parent main.cpp)
target_link_libraries(parent PRIVATE scanmesh::scanmesh)
")
file(WRITE ${WORK}/source/main.cpp "#include <scanmesh/scanmesh.h>
int main() {
  float points[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  int triangle[] = {0, 1, 2};
  Mesh_M::Mesh mesh;
  mesh.rebuild(points, 3, triangle, 1);
  mesh.build_hole();
  return mesh.get_hole_num() == 1 ? 0 : 1;
}
")
foreach(step IN ITEMS "-S;${WORK}/source;-B;${WORK}/build;-DCMAKE_BUILD_TYPE=Release" "--build;${WORK}/build;--parallel;2")
  execute_process(COMMAND ${CMAKE_COMMAND} ${step} RESULT_VARIABLE failed OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  if(failed)
    message(FATAL_ERROR "${output}")
  endif()
endforeach()
execute_process(COMMAND ${WORK}/build/parent RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "the parent program failed: ${failed}")
endif()
