# Copies into a Debian package's folder the AVIF libraries, which make the results: with its own, a picture becomes the
# same file on every system, whatever codecs that has. Everything else comes from other packages.
#
#   cmake -D ROOT=DIRECTORY -D COMPILER=PROGRAM -P collect.cmake
#
# ROOT holds bin/ with the programs, which that compiler made.

cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/../bundled.cmake")

function(ovrel_dependencies kind file out)
  file(GET_RUNTIME_DEPENDENCIES ${kind} "${file}" RESOLVED_DEPENDENCIES_VAR found UNRESOLVED_DEPENDENCIES_VAR missing)
  if(missing)
    message(FATAL_ERROR "Not to be found: ${missing}")
  endif()
  set(${out} ${found} PARENT_SCOPE)
endfunction()

ovrel_dependencies(EXECUTABLES "${ROOT}/bin/ovrel-cli" avif)
list(FILTER avif INCLUDE REGEX "/libavif[.]so[.]")
ovrel_dependencies(LIBRARIES "${avif}" codecs)
# What it encodes and decodes with, and the two libraries with which it converts colours.
list(FILTER codecs INCLUDE REGEX "/lib(aom|dav1d|rav1e|SvtAv1Enc|yuv|sharpyuv)[.]so[.]")
ovrel_bundle("${ROOT}" lib ${avif} ${codecs})
ovrel_list_compiled_in("${ROOT}" "${COMPILER}")
