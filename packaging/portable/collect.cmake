# Copies into a portable directory what its programs need: shared libraries, Qt's plug-ins and Qt's texts in Russian.
#
#   cmake -D ROOT=DIRECTORY -D COMPILER=PROGRAM -D QT_PLUGINS=DIRECTORY -D QT_TRANSLATIONS=DIRECTORY -P collect.cmake
#
# ROOT holds bin/ with the programs, which that compiler made. The C and C++ runtimes, the kernel's interface and
# graphics drivers stay the system's; so do fonts.

cmake_minimum_required(VERSION 3.25)
include("${CMAKE_CURRENT_LIST_DIR}/../bundled.cmake")

# The same on every computer, whatever plug-ins that has beside them: pictures in SVG, X11, Wayland, none of both, input
# methods, TLS. Newer Qt has one plug-in for Wayland where older has two. Themes that are plug-ins would bring other
# toolkits with them; those of GNOME and KDE are in Qt itself.
set(wanted_plugins
  iconengines/libqsvgicon imageformats/libqsvg
  platforms/libqxcb platforms/libqwayland* platforms/libqoffscreen
  platforminputcontexts/libcomposeplatforminputcontextplugin platforminputcontexts/libibusplatforminputcontextplugin
  tls/libqopensslbackend tls/libqcertonlybackend
  wayland-decoration-client/libbradient wayland-graphics-integration-client/libqt-plugin-wayland-egl
  wayland-shell-integration/libxdg-shell)
set(plugins "")
foreach(wanted IN LISTS wanted_plugins)
  file(GLOB found "${QT_PLUGINS}/${wanted}.so")
  if(NOT found)
    message(FATAL_ERROR "Without the plug-in ${QT_PLUGINS}/${wanted}.so the archive would not work everywhere.")
  endif()
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

# libheif loads its codecs from a folder, too, where they are not a part of it.
cmake_path(GET ssl PARENT_PATH system_libraries)
set(heif_plugins "")
if(IS_DIRECTORY "${system_libraries}/libheif/plugins")
  foreach(codec aomenc aomdec libde265)
    set(plugin "${system_libraries}/libheif/plugins/libheif-${codec}.so")
    if(NOT EXISTS "${plugin}")
      message(FATAL_ERROR "Without the plug-in ${plugin} the archive would not know every picture.")
    endif()
    list(APPEND heif_plugins "${plugin}")
  endforeach()
endif()

set(runtime
  "^ld-linux.*" "^libc[.]so" "^libm[.]so" "^libmvec" "^libpthread" "^libdl[.]so" "^librt[.]so" "^libresolv" "^libutil[.]"
  "^libgcc_s" "^libstdc[+][+]" "^libatomic" "^linux-vdso" "^libnss_")
file(GET_RUNTIME_DEPENDENCIES
  EXECUTABLES ${programs}
  LIBRARIES ${plugins} ${heif_plugins} ${loaded_by_name}
  PRE_EXCLUDE_REGEXES ${runtime}
  RESOLVED_DEPENDENCIES_VAR libraries
  UNRESOLVED_DEPENDENCIES_VAR missing)
if(missing)
  message(FATAL_ERROR "Not to be found: ${missing}")
endif()
list(APPEND libraries ${loaded_by_name})
list(REMOVE_DUPLICATES libraries)
list(SORT libraries)

ovrel_bundle("${ROOT}" lib ${libraries})
if(heif_plugins)
  ovrel_bundle("${ROOT}" lib/libheif ${heif_plugins})
endif()
foreach(plugin IN LISTS plugins)
  file(RELATIVE_PATH name "${QT_PLUGINS}" "${plugin}")
  get_filename_component(folder "${name}" DIRECTORY)
  ovrel_bundle("${ROOT}" "plugins/${folder}" "${plugin}")
endforeach()
ovrel_bundle("${ROOT}" translations "${QT_TRANSLATIONS}/qtbase_ru.qm")
ovrel_list_compiled_in("${ROOT}" "${COMPILER}")

list(LENGTH libraries library_count)
list(LENGTH plugins plugin_count)
message(STATUS "${library_count} libraries and ${plugin_count} plug-ins of ${QT_PLUGINS}")
