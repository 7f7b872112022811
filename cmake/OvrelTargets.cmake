# One function for each kind of target, so that a folder's list file says only what is its own.

# ovrel_library(NAME SOURCES file… [HEADERS file…] [LINK target…] [LINK_PRIVATE target…])
# A static library of one folder. Its headers, all that lie in the folder unless they are named, are compiled alone by
# the target `NAME_verify_interface_header_sets`.
function(ovrel_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;HEADERS;LINK;LINK_PRIVATE")
  if(NOT arg_HEADERS)
    file(GLOB_RECURSE arg_HEADERS CONFIGURE_DEPENDS "*.h")
  endif()
  add_library(${name} STATIC ${arg_SOURCES})
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${arg_HEADERS})
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF VERIFY_INTERFACE_HEADER_SETS ON)
  target_link_libraries(${name} PUBLIC ovrel_flags ${arg_LINK} PRIVATE ${arg_LINK_PRIVATE})
endfunction()

# ovrel_program(NAME SOURCES file… [LINK target…] [INSTALL])
function(ovrel_program name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "INSTALL" "" "SOURCES;LINK")
  add_executable(${name} ${arg_SOURCES})
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
  target_link_libraries(${name} PRIVATE ovrel_flags ${arg_LINK})
  if(arg_INSTALL)
    # A directory that carries its libraries has them in lib/. The older tag counts for what the libraries need, too.
    # The build tree's programs have it already: CMake would keep room for it there with empty entries, each of which
    # means the current folder.
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/../lib" BUILD_WITH_INSTALL_RPATH ON)
    target_link_options(${name} PRIVATE "LINKER:--disable-new-dtags")
    install(TARGETS ${name} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
  endif()
endfunction()

# ovrel_test(NAME SOURCES file… [LINK target…] [ARGUMENTS word…])
# One test program holds many cases and runs in one process.
function(ovrel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;ARGUMENTS")
  ovrel_program(${name} SOURCES ${arg_SOURCES} LINK ${arg_LINK} GTest::gmock_main)
  add_test(NAME ${name} COMMAND ${name} ${arg_ARGUMENTS})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()

# ovrel_fuzzer(NAME SOURCES file… [LINK target…])
function(ovrel_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK")
  ovrel_program(${name} SOURCES ${arg_SOURCES} LINK ${arg_LINK})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
