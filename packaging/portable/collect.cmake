# Copies into a portable directory what its programs need: shared libraries, Qt's plug-ins and everybody's licences.
#
#   cmake -D ROOT=DIRECTORY -D QT_PLUGINS=DIRECTORY -P collect.cmake
#
# ROOT holds bin/ with the programs. The C and C++ runtimes, the kernel's interface and graphics drivers stay the
# system's; so do fonts.

cmake_minimum_required(VERSION 3.25)

set(plugin_folders
  iconengines imageformats platforminputcontexts platforms platformthemes tls wayland-decoration-client
  wayland-graphics-integration-client wayland-shell-integration)
# Toolkits of other desktops, displays that no desktop has, and formats that Ovrel shows no icon in.
set(unwanted_plugins
  "/libq(gtk3|eglfs|linuxfb|vkkhrdisplay|vnc|minimal|minimalegl)[.]so|/imageformats/(.*)(gif|ico|jpeg|tiff|webp|pdf)[.]so")
set(plugins "")
foreach(folder IN LISTS plugin_folders)
  file(GLOB found "${QT_PLUGINS}/${folder}/*.so")
  list(FILTER found EXCLUDE REGEX "${unwanted_plugins}")
  list(APPEND plugins ${found})
endforeach()

file(GLOB programs "${ROOT}/bin/*")
list(FILTER programs EXCLUDE REGEX "[.]conf$")
# Qt's TLS plug-in loads OpenSSL by name, so that nothing tells of it.
set(loaded_by_name "")
foreach(name ssl crypto)
  find_library(${name} NAMES lib${name}.so.3 PATHS "${QT_PLUGINS}/../.." REQUIRED NO_CACHE)
  list(APPEND loaded_by_name "${${name}}")
endforeach()

set(runtime
  "^ld-linux.*" "^libc[.]so" "^libm[.]so" "^libmvec" "^libpthread" "^libdl[.]so" "^librt[.]so" "^libresolv" "^libutil[.]"
  "^libgcc_s" "^libstdc[+][+]" "^libatomic" "^linux-vdso" "^libnss_")
file(GET_RUNTIME_DEPENDENCIES
  EXECUTABLES ${programs}
  LIBRARIES ${plugins} ${loaded_by_name}
  PRE_EXCLUDE_REGEXES ${runtime}
  RESOLVED_DEPENDENCIES_VAR libraries
  UNRESOLVED_DEPENDENCIES_VAR missing)
if(missing)
  message(FATAL_ERROR "Not to be found: ${missing}")
endif()
list(APPEND libraries ${loaded_by_name})
list(REMOVE_DUPLICATES libraries)
list(SORT libraries)

file(MAKE_DIRECTORY "${ROOT}/lib" "${ROOT}/share/licenses")
foreach(library IN LISTS libraries)
  get_filename_component(name "${library}" NAME)
  file(REAL_PATH "${library}" real)
  file(COPY_FILE "${real}" "${ROOT}/lib/${name}")
endforeach()
foreach(plugin IN LISTS plugins)
  file(RELATIVE_PATH name "${QT_PLUGINS}" "${plugin}")
  get_filename_component(folder "${name}" DIRECTORY)
  file(COPY "${plugin}" DESTINATION "${ROOT}/plugins/${folder}")
endforeach()

# Whose they are: the licence that each package lays down.
set(packages "")
foreach(library IN LISTS libraries plugins)
  file(REAL_PATH "${library}" real)
  foreach(path IN ITEMS "${library}" "${real}")
    execute_process(COMMAND dpkg --search "${path}" OUTPUT_VARIABLE owner ERROR_QUIET RESULT_VARIABLE unknown)
    if(NOT unknown)
      break()
    endif()
    # A merged /usr is known to dpkg by its old name.
    string(REGEX REPLACE "^/usr/lib/" "/lib/" path "${path}")
    execute_process(COMMAND dpkg --search "${path}" OUTPUT_VARIABLE owner ERROR_QUIET RESULT_VARIABLE unknown)
    if(NOT unknown)
      break()
    endif()
  endforeach()
  if(unknown)
    message(FATAL_ERROR "No package owns ${library}, so its licence is not known.")
  endif()
  string(REGEX REPLACE ":.*" "" package "${owner}")
  list(APPEND packages "${package}")
endforeach()
list(REMOVE_DUPLICATES packages)
foreach(package IN LISTS packages)
  file(REAL_PATH "/usr/share/doc/${package}/copyright" licence)
  file(COPY_FILE "${licence}" "${ROOT}/share/licenses/${package}")
endforeach()

list(LENGTH libraries library_count)
list(LENGTH plugins plugin_count)
message(STATUS "${library_count} libraries and ${plugin_count} plug-ins of ${QT_PLUGINS}")
