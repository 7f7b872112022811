# How the compiler and the linker guard the programs, so that a mistake which a hostile file finds ends the program
# rather than serving whoever made the file. "packaging/dev/check_hardening.sh" looks for all of it in what was built.
# Sanitizers see more than these guards and clash with some of them.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)

if(NOT OVREL_SANITIZERS)
  foreach(guard -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "compiler_has${guard}" known)
    check_cxx_compiler_flag(${guard} ${known})
    if(${known})
      target_compile_options(ovrel_flags INTERFACE ${guard})
    endif()
  endforeach()
  # Debian's compiler names a level of its own, which gives way here.
  target_compile_options(ovrel_flags INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3> -D_GLIBCXX_ASSERTIONS)
  target_link_options(ovrel_flags INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
endif()
