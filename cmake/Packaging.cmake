# Installing and the Debian package.
#
# Installed, the program's own files are read-only: the executables in bin, the symbol database template,
# the tips and the help pages in share/ticksmith (the program copies the template to the user's data
# folder at first start), and what a desktop expects: a menu entry, icons, AppStream metadata and
# manual pages. `cpack -G DEB` in the build folder (or `make package`) turns the same layout into a
# .deb for /usr.

include(GNUInstallDirs)

set(TICKSMITH_MAINTAINER "Ticksmith developers <maintainers@ticksmith.org>"
    CACHE STRING "Maintainer named in the Debian package")
set(TICKSMITH_APP_ID org.ticksmith.Ticksmith)
set(share_dir ${CMAKE_INSTALL_DATADIR}/ticksmith)
set(package_dir ${CMAKE_BINARY_DIR}/package)

# The release date of the metadata and the changelog: the day of the build (SOURCE_DATE_EPOCH, when set,
# fixes it for a reproducible build).
string(TIMESTAMP TICKSMITH_RELEASE_DATE "%Y-%m-%d" UTC)
string(TIMESTAMP TICKSMITH_RELEASE_DATE_RFC2822 "%a, %d %b %Y %H:%M:%S +0000" UTC)

install(TARGETS ticksmith ticksmith-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_BINARY_DIR}/symbols.mdb ${PROJECT_SOURCE_DIR}/data/TIP.TXT DESTINATION ${share_dir})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/data/help DESTINATION ${share_dir})

install(FILES ${PROJECT_SOURCE_DIR}/data/desktop/${TICKSMITH_APP_ID}.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
configure_file(${PROJECT_SOURCE_DIR}/data/desktop/${TICKSMITH_APP_ID}.metainfo.xml.in
               ${package_dir}/${TICKSMITH_APP_ID}.metainfo.xml @ONLY)
install(FILES ${package_dir}/${TICKSMITH_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

set(icon_sizes 16 32 48 64 128 256)
set(icon_files)
foreach(size ${icon_sizes})
    list(APPEND icon_files ${package_dir}/icons/${size}x${size}/ticksmith.png)
    install(FILES ${package_dir}/icons/${size}x${size}/ticksmith.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
add_custom_command(OUTPUT ${icon_files}
                   COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen $<TARGET_FILE:make-icons>
                           ${package_dir}/icons ${icon_sizes}
                   DEPENDS make-icons
                   COMMENT "Drawing the menu icons"
                   VERBATIM)

# Debian wants its documentation files compressed with gzip -9n (no time stamp, so builds repeat).
configure_file(${PROJECT_SOURCE_DIR}/data/desktop/changelog.in ${package_dir}/changelog @ONLY)
set(doc_files ${package_dir}/changelog.gz)
add_custom_command(OUTPUT ${package_dir}/changelog.gz
                   COMMAND gzip -9nf ${package_dir}/changelog -c > ${package_dir}/changelog.gz
                   DEPENDS ${package_dir}/changelog)
install(FILES ${package_dir}/changelog.gz ${PROJECT_SOURCE_DIR}/data/desktop/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ticksmith)

# The manual pages are made from the programs' own --help, so they never disagree with it.
find_program(HELP2MAN help2man)
if(HELP2MAN)
    foreach(program ticksmith ticksmith-cli)
        set(page ${package_dir}/${program}.1.gz)
        add_custom_command(OUTPUT ${page}
                           COMMAND ${HELP2MAN} --no-info --no-discard-stderr --section 1
                                   --name "End-of-day quotes for MetaStock data folders" $<TARGET_FILE:${program}>
                                   | gzip -9n > ${page}
                           DEPENDS ${program}
                           COMMENT "Making the manual page of ${program}")
        list(APPEND doc_files ${page})
        install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    endforeach()
else()
    message(STATUS "help2man not found: the manual pages are left out of the installation")
endif()
add_custom_target(install_files ALL DEPENDS ${icon_files} ${doc_files})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ticksmith)
set(CPACK_PACKAGE_VENDOR "Ticksmith developers")
set(CPACK_PACKAGE_CONTACT ${TICKSMITH_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "end-of-day quotes for MetaStock data folders")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The desktop program needs a Qt platform plugin to open its windows on X11 or Wayland.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(TICKSMITH_HOMEPAGE)
    set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${TICKSMITH_HOMEPAGE})
endif()
# The first line of the package's description is the summary above.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Ticksmith downloads daily quotes over HTTP and appends them to the securities
of MetaStock-format data folders, the folders a charting program already
reads. Around that job it creates, lists, edits, charts, renames, deletes,
finds and converts securities. The package holds the desktop program and
ticksmith-cli, the command line for scripts and scheduled downloads.")
include(CPack)
