# The Debian package, built by cpack from what the install rules put in place (see
# app/CMakeLists.txt); `make package` makes it from the release build. The libraries it
# depends on are read off the program by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelvara)
set(CPACK_PACKAGE_VENDOR "Kelvara")
set(CPACK_PACKAGE_CONTACT "Kelvara maintainers <maintainers@kelvara.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "matrix calculator with spreadsheet-like grids")
set(CPACK_PACKAGE_DESCRIPTION
    "Kelvara adds, subtracts, scales, multiplies and transposes real matrices, computes
determinants, inverses and ranks, and decomposes a matrix into LU or QR factors.
The operands are typed into spreadsheet-like grids; the result sheet can be copied
to any spreadsheet and exported as an Excel workbook, a web page, PDF, CSV or XML.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${KELVARA_HOME_PAGE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Help > Contents and Help > Home Page go through the desktop's xdg-open.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils")
include(CPack)
