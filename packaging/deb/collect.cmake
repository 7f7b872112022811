# Copies into a Debian package's folder the AVIF libraries, which make the results: with its own, a picture becomes the
# same file on every system, whatever codecs that has. Everything else comes from other packages.
#
#   cmake -D ROOT=DIRECTORY -P collect.cmake
#
# ROOT holds bin/ with the programs.

cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/../bundled.cmake")

file(GET_RUNTIME_DEPENDENCIES
  EXECUTABLES "${ROOT}/bin/ovrel-cli"
  RESOLVED_DEPENDENCIES_VAR libraries
  UNRESOLVED_DEPENDENCIES_VAR missing)
if(missing)
  message(FATAL_ERROR "Not to be found: ${missing}")
endif()
# libavif, the codecs that it may ask and the two libraries with which it converts colours.
list(FILTER libraries INCLUDE REGEX "/lib(avif|aom|dav1d|gav1|rav1e|SvtAv1Enc|yuv|sharpyuv)[.]so[.]")
list(SORT libraries)
ovrel_bundle("${ROOT}" lib ${libraries})
