# What packages of Ovrel that carry libraries share: where what is not Ovrel's own comes from, and saying so.

# ovrel_owner_of(FILE OUT): the Debian package that a file of this system belongs to; an error when there is none.
function(ovrel_owner_of file out)
  file(REAL_PATH "${file}" real)
  foreach(path IN ITEMS "${file}" "${real}")
    # A merged /usr is known to dpkg by its old name.
    string(REGEX REPLACE "^/usr/lib/" "/lib/" old_path "${path}")
    foreach(name IN ITEMS "${path}" "${old_path}")
      execute_process(COMMAND dpkg --search "${name}" OUTPUT_VARIABLE owner ERROR_QUIET RESULT_VARIABLE unknown)
      if(NOT unknown)
        string(REGEX REPLACE ":.*" "" owner "${owner}")
        set(${out} "${owner}" PARENT_SCOPE)
        return()
      endif()
    endforeach()
  endforeach()
  message(FATAL_ERROR "No package owns ${file}, so its licence is not known.")
endfunction()

# ovrel_bundle(ROOT FOLDER FILE…): copies files of this system, or those that links lead to, into a folder below ROOT
# and adds a line "FOLDER/NAME PACKAGE" to the list ROOT/bundled-files.txt, from which the bill of materials is made.
function(ovrel_bundle root folder)
  file(MAKE_DIRECTORY "${root}/${folder}")
  foreach(file IN LISTS ARGN)
    get_filename_component(name "${file}" NAME)
    file(REAL_PATH "${file}" real)
    file(COPY_FILE "${real}" "${root}/${folder}/${name}")
    ovrel_owner_of("${file}" owner)
    file(APPEND "${root}/bundled-files.txt" "${folder}/${name} ${owner}\n")
  endforeach()
endfunction()

# ovrel_compiled_in(ROOT PROGRAM FILE…): adds lines "PROGRAM PACKAGE compiled-in" to that list for the packages of these
# files of this system, whose code is in a program below ROOT. Nothing where the program is not.
function(ovrel_compiled_in root program)
  if(NOT EXISTS "${root}/${program}")
    return()
  endif()
  foreach(file IN LISTS ARGN)
    ovrel_owner_of("${file}" owner)
    file(APPEND "${root}/bundled-files.txt" "${program} ${owner} compiled-in\n")
  endforeach()
endfunction()

# ovrel_list_compiled_in(ROOT COMPILER): what Ovrel's programs in ROOT/bin hold of other projects: headers that are a
# library of their own, and the C and C++ runtime in the one program that is linked statically.
function(ovrel_list_compiled_in root compiler)
  find_file(coroutines NAMES qcorotask.h PATHS /usr/include/qcoro6/qcoro REQUIRED NO_CACHE)
  find_file(arguments NAMES App.hpp PATHS /usr/include/CLI REQUIRED NO_CACHE)
  set(runtime "")
  foreach(name IN ITEMS libc.a libstdc++.a libgcc.a)
    execute_process(COMMAND "${compiler}" -print-file-name=${name}
      OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(REAL_PATH "${file}" file)
    list(APPEND runtime "${file}")
  endforeach()
  ovrel_compiled_in("${root}" bin/ovrel "${coroutines}")
  ovrel_compiled_in("${root}" bin/ovrel-cli "${arguments}")
  ovrel_compiled_in("${root}" bin/ovrel-installer ${runtime})
endfunction()
