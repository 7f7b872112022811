# What "cpack -G DEB" makes of a folder that holds usr/ as it is to be installed.
#
#   ROOT=DIRECTORY VERSION=NUMBER RELEASE=WORD HOST=NAME MAINTAINER=WHO DEPENDS=PACKAGES cpack -G DEB --config CPackConfig.cmake
#
# These come by the environment, since what -D says is known only after this file.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ovrel)
set(CPACK_PACKAGE_VERSION "$ENV{VERSION}")
set(CPACK_PACKAGE_FILE_NAME "ovrel-${CPACK_PACKAGE_VERSION}")
set(CPACK_PACKAGE_VENDOR "The Ovrel developers")
set(CPACK_PACKAGE_CONTACT "$ENV{MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "converts images to AVIF")
set(CPACK_PACKAGE_DESCRIPTION
  "Ovrel turns folders of JPG, PNG, WebP and GIF pictures into AVIF on the user's
own computer. Files get smaller and keep their looks, animated GIFs stay
animated, nothing is overwritten and nothing is uploaded.

This package has the program with windows, in Russian and English, and
ovrel-cli for the command line.")
set(CPACK_PACKAGING_INSTALL_PREFIX /)
set(CPACK_INSTALLED_DIRECTORIES "$ENV{ROOT};.")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE "$ENV{RELEASE}")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://$ENV{HOST}/")
set(CPACK_DEBIAN_PACKAGE_DEPENDS "$ENV{DEPENDS}")
# Wayland's plug-in of Qt, and Qt's own texts in other languages.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, qt6-translations-l10n")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
