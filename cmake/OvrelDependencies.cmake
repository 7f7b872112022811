# What Ovrel stands on, and what it says when one of these is too old.

find_package(PkgConfig REQUIRED)

# ovrel_require(TARGET MODULE): the pkg-config module as the imported target PkgConfig::TARGET
macro(ovrel_require target module)
  pkg_check_modules(${target} REQUIRED IMPORTED_TARGET GLOBAL ${module})
endmacro()

ovrel_require(avif libavif)
ovrel_require(aom aom)
ovrel_require(heif libheif)
ovrel_require(jpeg libjpeg)
ovrel_require(png libpng16)
ovrel_require(zlib zlib)
ovrel_require(webp libwebp)
ovrel_require(webpdemux libwebpdemux)
ovrel_require(lcms lcms2)
ovrel_require(icu icu-i18n)
ovrel_require(uuid uuid)
ovrel_require(sodium libsodium)
ovrel_require(archive libarchive)
find_package(GIF 5.2 REQUIRED)
find_package(Threads REQUIRED)

if(avif_VERSION VERSION_LESS 1.0)
  message(FATAL_ERROR
    "libavif ${avif_VERSION} is too old: Ovrel needs 1.0 or later, which knows one quality for the whole image and "
    "how often an animation repeats. \"./dev build\" installs a newer one where the system has none.")
endif()
if(aom_VERSION VERSION_LESS 3.14)
  message(WARNING
    "libaom ${aom_VERSION} is older than 3.14: with it \"Fast\" writes files several times larger than it should, and "
    "screenshots take many times longer.")
endif()
if(aom_VERSION VERSION_LESS 3.6.1)
  message(WARNING "libaom ${aom_VERSION} also refuses very long pictures and may end the program on an animation.")
endif()

find_package(CLI11 REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Concurrent Core DBus Gui Network Svg Widgets)
find_package(QCoro6 REQUIRED COMPONENTS Core)
if(OVREL_BUILD_TESTS)
  find_package(GTest REQUIRED)
  find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
  find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)
  if(NOT TARGET PkgConfig::webpmux)
    ovrel_require(webpmux libwebpmux)
  endif()
endif()
