# One package for each component, made by CPack.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL application camera escl)
set(CPACK_PACKAGE_NAME "${PROJECT_NAME}")
set(CPACK_PACKAGE_VERSION "${KORV_PACKAGE_VERSION}")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_VERBATIM_VARIABLES ON)
# files lie below /opt and below /usr/share
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
# whatever the umask of whoever packs
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${KORV_ARCHITECTURE}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE "${KORV_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KORV_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://example.org/vexalin")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
foreach(component IN ITEMS APPLICATION CAMERA ESCL)
  set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_SOURCE_DIR}/postrm")
endforeach()
# CPack strips the programs itself then, and packs what it took from them
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
# scripts/package finishes the packages, and compresses them better then
set(CPACK_DEBIAN_COMPRESSION_TYPE gzip)
set(CPACK_STRIP_FILES OFF)

set(CPACK_DEBIAN_APPLICATION_PACKAGE_NAME ${application})
set(CPACK_DEBIAN_APPLICATION_PACKAGE_SOURCE "${PROJECT_NAME}")
set(CPACK_DEBIAN_APPLICATION_PACKAGE_SECTION graphics)
# Opened at run time, so dpkg-shlibdeps does not see it; any library that keeps the contract will
# do. ps: the test for a copy that runs already.
set(CPACK_DEBIAN_APPLICATION_PACKAGE_DEPENDS "${camera} | korv-camera-library, procps")
# the texts are Chinese; photographs are opened with the desktop's viewer
set(CPACK_DEBIAN_APPLICATION_PACKAGE_RECOMMENDS
  "fonts-wqy-microhei | fonts-noto-cjk | fonts-wqy-zenhei | fonts-droid-fallback, \
qtwayland5, xdg-utils")
set(CPACK_DEBIAN_APPLICATION_DESCRIPTION
"document camera capture (Chinese user interface)
A document camera is a camera on a stand that looks down on the papers under
it. This application shows its live picture and turns photographs into JPEG,
PNG, BMP and TIFF files, or into PDF and OFD documents of many pages. It finds
the sheet in the picture, straightens it, and turns it.

Cameras are reached through a camera library, which is a package of its own:
${camera}, or that of a camera's maker.")

set(CPACK_DEBIAN_CAMERA_PACKAGE_NAME ${camera})
set(CPACK_DEBIAN_CAMERA_PACKAGE_SOURCE "${PROJECT_NAME}")
set(CPACK_DEBIAN_CAMERA_PACKAGE_SECTION graphics)
# only one package may own lib/libKorvPlixoManager.so
set(CPACK_DEBIAN_CAMERA_PACKAGE_PROVIDES korv-camera-library)
set(CPACK_DEBIAN_CAMERA_PACKAGE_CONFLICTS korv-camera-library)
set(CPACK_DEBIAN_CAMERA_PACKAGE_REPLACES korv-camera-library)
# tesseract: text in documents, for those who switch it on
set(CPACK_DEBIAN_CAMERA_PACKAGE_SUGGESTS
  "${application}, ${escl}, tesseract-ocr, tesseract-ocr-chi-sim")
set(CPACK_DEBIAN_CAMERA_DESCRIPTION
"open library for document cameras, and korvcam
libKorvPlixoManager.so finds USB cameras of the usual kind (UVC), streams
their pictures, and makes photographs, PDF and OFD documents for programs
that are written for this interface. It takes the place of a camera maker's
library of that name.

korvcam does the same from the command line: it lists cameras, takes
photographs, makes documents, and says in plain words why a camera gives no
picture.")

set(CPACK_DEBIAN_ESCL_PACKAGE_NAME ${escl})
set(CPACK_DEBIAN_ESCL_PACKAGE_SOURCE "${PROJECT_NAME}")
set(CPACK_DEBIAN_ESCL_PACKAGE_SECTION graphics)
# korvcam becomes the server, which takes its options
set(CPACK_DEBIAN_ESCL_PACKAGE_DEPENDS "${camera} (>= ${KORV_PACKAGE_VERSION})")
# without it programs have to be given the scanner's address
set(CPACK_DEBIAN_ESCL_PACKAGE_RECOMMENDS "avahi-daemon")
# how Debian's scan programs reach such scanners
set(CPACK_DEBIAN_ESCL_PACKAGE_SUGGESTS "sane-airscan")
set(CPACK_DEBIAN_ESCL_DESCRIPTION
"document camera as a scanner without a driver (eSCL)
Programs that scan see a document camera as a scanner: on this machine, or on
the network when that is asked for. The sheet is found in the picture, cut out
and scaled to the resolution that the program wants.

The server runs as `korvcam serve`, or as a service of the user's that is off
until it is turned on: systemctl --user enable --now ${escl}")

include(CPack)
