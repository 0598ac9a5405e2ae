# `cpack -G DEB` in the build folder: one Debian package of the install above
# (library, headers, CMake and pkg-config files, tool, jar), libpalm-dev style.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libpalm-dev)
set(CPACK_PACKAGE_VENDOR "Orvanel")
set(CPACK_PACKAGE_CONTACT "palm maintainers <palm@orvanel.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "palm print and palm vein recognition library")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
# The run-time libraries come from dpkg-shlibdeps. Boost is linked privately
# and no installed header includes it, so users need no Boost development
# package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The Python module's evaluation and the Java class need these at run time
# only, so they are recommended rather than required.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "python3-numpy, python3-matplotlib, python3-pil, python3-tqdm, default-jre-headless")
include(CPack)
