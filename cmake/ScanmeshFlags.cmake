# Flags of our own code, gathered on one interface target so that nothing leaks into a parent project.
add_library(scanmesh_flags INTERFACE)
target_compile_features(scanmesh_flags INTERFACE cxx_std_17)

# Rounding is part of what callers observe: no fused multiply-add behind the author's back.
target_compile_options(scanmesh_flags INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang>:-ffp-contract=off>
  $<$<CXX_COMPILER_ID:GNU,Clang>:-Wall;-Wextra;-Wpedantic;-Wshadow;-Wconversion>)
# GCC joins x and y into one vector and then drops a rounding to float between two conversions, as in
# double(float(x / n)) * s: sums would come out otherwise in x and y than in z.
# A target that has no floats at all says so by SCANMESH_ALL_DOUBLE.
target_compile_options(scanmesh_flags INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<NOT:$<BOOL:$<TARGET_PROPERTY:SCANMESH_ALL_DOUBLE>>>>:-fno-tree-slp-vectorize>)
# Exported functions call one another directly, and may be inlined: nobody replaces them at load time.
target_compile_options(scanmesh_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)

# Clang counts signedness as part of -Wconversion, GCC doesn't.
target_compile_options(scanmesh_flags INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
if(SCANMESH_WERROR)
  target_compile_options(scanmesh_flags INTERFACE -Werror)
endif()
if(SCANMESH_SANITIZE)
  target_compile_options(scanmesh_flags INTERFACE
    -fsanitize=${SCANMESH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  target_link_options(scanmesh_flags INTERFACE -fsanitize=${SCANMESH_SANITIZE})
endif()

# Small blocks and every branch watched; scripts/fuzz.sh adds the sanitizers.
if(SCANMESH_FUZZ)
  target_compile_options(scanmesh_flags INTERFACE -fsanitize=fuzzer-no-link)
  target_compile_definitions(scanmesh_flags INTERFACE FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
endif()

# Settings shared by every object library that ends up in the shared library.
function(scanmesh_object_library name)
  add_library(${name} OBJECT ${ARGN})
  target_link_libraries(${name} PRIVATE scanmesh_flags)
  target_include_directories(${name} PRIVATE ${scanmesh_SOURCE_DIR} ${scanmesh_SOURCE_DIR}/include)
  target_compile_definitions(${name} PRIVATE SCANMESH_BUILDING)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    CXX_EXTENSIONS OFF)
endfunction()

# One object library per subsystem; OpenMP and threads everywhere, further libraries by the caller.
function(scanmesh_subsystem name)
  scanmesh_object_library(scanmesh_${name} ${ARGN})
  target_link_libraries(scanmesh_${name} PRIVATE OpenMP::OpenMP_CXX Threads::Threads)
  set_property(GLOBAL APPEND PROPERTY SCANMESH_SUBSYSTEMS scanmesh_${name})
endfunction()
