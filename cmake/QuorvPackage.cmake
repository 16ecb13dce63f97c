# One Debian package with everything that is installed: `cpack -G DEB` in a build folder.
set(CPACK_PACKAGE_NAME quorv)
set(CPACK_PACKAGE_CONTACT "quorv maintainers <maintainers@quorv.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION
  "Takes AVI and ASF files apart, reads MPEG-4 and H.264 headers, decodes MP3.\nLibrary with a plain C interface, its headers, and the quorv command-line tool.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
# The dependencies are those that the programs in the package have.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
