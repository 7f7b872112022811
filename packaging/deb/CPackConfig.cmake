# What "cpack -G DEB" makes of a folder that lies as it is to lie below /usr.
#
#   cpack -G DEB --config CPackConfig.cmake -D ROOT=DIRECTORY -D RELEASE=WORD -D HOST=NAME -D CPACK_PACKAGE_VERSION=NUMBER
#         -D CPACK_DEBIAN_PACKAGE_DEPENDS=PACKAGES

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ovrel)
set(CPACK_PACKAGE_FILE_NAME "ovrel-${CPACK_PACKAGE_VERSION}")
set(CPACK_PACKAGE_VENDOR "The Ovrel developers")
set(CPACK_PACKAGE_CONTACT "The Ovrel developers <packages@${HOST}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "converts images to AVIF")
set(CPACK_PACKAGE_DESCRIPTION
  "Ovrel turns folders of JPG, PNG, WebP and GIF pictures into AVIF on the user's
own computer. Files get smaller and keep their looks, animated GIFs stay
animated, nothing is overwritten and nothing is uploaded.

This package has the program with windows, in Russian and English, and
ovrel-cli for the command line.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALLED_DIRECTORIES "${ROOT};.")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE "${RELEASE}")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://${HOST}/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${ROOT}/lib/ovrel/lib")
# Wayland's plug-in of Qt; on other desktops nobody misses it.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
