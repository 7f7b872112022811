# What packages of Ovrel that carry libraries share: where a library comes from, and saying so.

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
