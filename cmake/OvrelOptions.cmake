# How Ovrel is compiled: one interface target carries every flag, so that no folder has its own.

option(OVREL_RELEASE "This build goes to users: it refuses what is there for tests" OFF)
option(OVREL_BUILD_TESTS "Build the tests" ON)
option(OVREL_BUILD_BENCH "Build the benchmark" ON)
option(OVREL_BUILD_FUZZERS "Build the fuzz targets (clang only)" OFF)
option(OVREL_COVERAGE "Have every program count which lines it runs (clang only)" OFF)
option(OVREL_WARNINGS_AS_ERRORS "Stop at the first warning" OFF)
set(OVREL_SANITIZERS "" CACHE STRING "Sanitizers for every target, for example address,undefined")

set(OVREL_APPLICATION_ID "example.ovrel.Ovrel" CACHE STRING "The name of this program among all programs, a reverse domain name")
if(NOT OVREL_APPLICATION_ID MATCHES "^[A-Za-z_][A-Za-z0-9_]*([.][A-Za-z_][A-Za-z0-9_]*)+$")
  message(FATAL_ERROR "OVREL_APPLICATION_ID is \"${OVREL_APPLICATION_ID}\", which is no reverse domain name.")
endif()

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_GLOBAL_AUTOGEN_TARGET ON) # "autogen" writes every file of moc's, for who looks at sources without building

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

add_library(ovrel_flags INTERFACE)
target_compile_features(ovrel_flags INTERFACE cxx_std_20 c_std_11)
target_compile_options(ovrel_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${OVREL_WARNINGS_AS_ERRORS}>:-Werror>)
target_include_directories(ovrel_flags INTERFACE "${PROJECT_SOURCE_DIR}")
if(OVREL_RELEASE)
  # Where a program was built does not show in it, so that the same sources give the same bytes; ccache writes names
  # relative to the build folder.
  file(RELATIVE_PATH ovrel_source_from_build "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}/CMakeLists.txt")
  cmake_path(GET ovrel_source_from_build PARENT_PATH ovrel_source_from_build)
  target_compile_options(ovrel_flags INTERFACE
    "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build" "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=."
    "-ffile-prefix-map=${ovrel_source_from_build}=.")
endif()

if(OVREL_SANITIZERS)
  target_compile_options(ovrel_flags INTERFACE
    -fsanitize=${OVREL_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(ovrel_flags INTERFACE -fsanitize=${OVREL_SANITIZERS})
endif()
if(OVREL_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "The fuzz targets need clang: configure with the preset \"fuzz\".")
  endif()
  # With the check of function types, clang 14 fails to compile coroutines ("difference across sections").
  target_compile_options(ovrel_flags INTERFACE -fsanitize=fuzzer-no-link -fno-sanitize=function)
endif()
if(OVREL_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "OVREL_COVERAGE needs clang.")
  endif()
  target_compile_options(ovrel_flags INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(ovrel_flags INTERFACE -fprofile-instr-generate)
endif()
