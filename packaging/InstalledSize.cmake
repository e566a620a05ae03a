# Run by cpack after it has made the Debian package (CPACK_PACKAGE_FILES names it): sets the
# package's Installed-Size to what dpkg itself computes for the files it holds, and builds
# the package again from the same files and control data.
#
# dpkg counts, in KiB, each regular file and symbolic link by its size rounded up to a whole
# KiB, and every other entry (folders included, the top one too) as 1 KiB.
find_program(DPKG_DEB dpkg-deb REQUIRED)

foreach(deb IN LISTS CPACK_PACKAGE_FILES)
    if(NOT deb MATCHES "\\.deb$")
        continue()
    endif()
    set(tree ${deb}.tree)
    file(REMOVE_RECURSE ${tree})
    execute_process(COMMAND ${DPKG_DEB} --raw-extract ${deb} ${tree} COMMAND_ERROR_IS_FATAL ANY)

    set(kib 1)
    file(GLOB_RECURSE entries LIST_DIRECTORIES true ${tree}/*)
    foreach(entry IN LISTS entries)
        file(RELATIVE_PATH name ${tree} ${entry})
        if(name MATCHES "^DEBIAN(/|$)")
            continue()
        endif()
        if(IS_SYMLINK ${entry})
            file(READ_SYMLINK ${entry} target)
            string(LENGTH "${target}" bytes)
        elseif(IS_DIRECTORY ${entry})
            math(EXPR kib "${kib} + 1")
            continue()
        else()
            file(SIZE ${entry} bytes)
        endif()
        math(EXPR kib "${kib} + (${bytes} + 1023) / 1024")
    endforeach()

    file(READ ${tree}/DEBIAN/control control)
    string(REGEX REPLACE "\nInstalled-Size: [0-9]+\n" "\nInstalled-Size: ${kib}\n" control
                         "${control}")
    file(WRITE ${tree}/DEBIAN/control "${control}")
    execute_process(COMMAND ${DPKG_DEB} --root-owner-group --build ${tree} ${deb}
                    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
    message(STATUS "Installed-Size of ${deb}: ${kib} KiB")
endforeach()
