# The Debian package, built by cpack from what the install rules put in place (see
# app/CMakeLists.txt); `make package` makes it from the release build. The libraries it
# depends on are read off the program by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kelvara)
set(CPACK_PACKAGE_VENDOR "Kelvara")
set(CPACK_PACKAGE_CONTACT "Kelvara maintainers <maintainers@kelvara.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "matrix calculator with spreadsheet-like grids")
# Debian shows each line of the long description as it stands: at most 80 characters.
set(CPACK_PACKAGE_DESCRIPTION
    "Kelvara adds, subtracts, scales, multiplies and transposes real matrices,
computes determinants, inverses and ranks, and decomposes a matrix into LU or
QR factors. The operands are typed into spreadsheet-like grids; the result
sheet can be copied to any spreadsheet and exported as an Excel workbook, a
web page, PDF, CSV or XML.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION math)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${KELVARA_HOME_PAGE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Help > Contents and Help > Home Page go through the desktop's xdg-open.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils")
# CPack's own Installed-Size is not the one dpkg would compute for these files: the package
# is corrected once cpack has made it.
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/InstalledSize.cmake)

# What Debian asks of every package besides the program: the licence in its machine-readable
# form, the package's change log and the manual page, the last two compressed without a
# name or time stamp so that the same sources give the same bytes.
set(package_doc_dir ${CMAKE_BINARY_DIR}/packaging)
set(changelog_gz ${package_doc_dir}/changelog.Debian.gz)
set(manpage_gz ${package_doc_dir}/kelvara.1.gz)
find_program(KELVARA_GZIP gzip REQUIRED)
function(kelvara_compress source compressed)
    string(REGEX REPLACE "\\.gz$" "" plain ${compressed})
    add_custom_command(
        OUTPUT ${compressed}
        COMMAND ${CMAKE_COMMAND} -E copy ${source} ${plain}
        COMMAND ${KELVARA_GZIP} -9nf ${plain}
        DEPENDS ${source}
        VERBATIM)
endfunction()
kelvara_compress(${CMAKE_CURRENT_LIST_DIR}/changelog ${changelog_gz})
kelvara_compress(${PROJECT_SOURCE_DIR}/resources/kelvara.1 ${manpage_gz})
add_custom_target(kelvara_package_docs ALL DEPENDS ${changelog_gz} ${manpage_gz})
include(GNUInstallDirs)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/copyright ${changelog_gz}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelvara)
install(FILES ${manpage_gz} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

include(CPack)
