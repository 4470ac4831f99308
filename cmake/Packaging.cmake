# Installing like desktop software, and the Debian package.
#
#   cmake --install build/release --prefix /usr/local     # or any prefix
#   cmake --build build/release --target package          # build/release/tessaroven_*.deb
#
# Layout below the prefix: the three programs in bin/, the decoder plug-ins in
# lib/tessaroven/decoder/ (where the programs look, relative to themselves, when no
# decoder/ folder stands beside them), the help page in share/tessaroven/Help/qRV/,
# and the desktop's files (entries, AppStream data, icons, man pages) in share/.
# Included from the top level once every target exists.

include(GNUInstallDirs)

set(resources "${PROJECT_SOURCE_DIR}/resources")

# The plug-ins are modules in the build's decoder/ folder; installed, they keep the
# same relative places (the FFmpeg reader one level down).
foreach(plugin taglib ffmpeg)
  if(TARGET ${plugin})
    install(TARGETS ${plugin} LIBRARY DESTINATION lib/tessaroven/decoder)
  endif()
endforeach()
if(TARGET ffmpeg_reader)
  install(TARGETS ffmpeg_reader LIBRARY DESTINATION lib/tessaroven/decoder/ffmpeg)
endif()

install(FILES "${resources}/desktop/org.orvandelle.Tessaroven.desktop"
              "${resources}/desktop/org.orvandelle.Kovantrix.desktop"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES "${resources}/desktop/org.orvandelle.Tessaroven.metainfo.xml"
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES "${resources}/icons/tessaroven.svg" DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(DIRECTORY "${resources}/hicolor/" DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor
        FILES_MATCHING PATTERN "*.png")

# Man pages from the programs' own --help and --version, so the option list has one
# source. Made at build time where help2man is installed.
find_program(HELP2MAN help2man)
if(HELP2MAN)
  set(man_pages)
  foreach(program tessaroven-cli kovantrix)
    if(NOT TARGET ${program})
      continue()
    endif()
    set(page "${CMAKE_BINARY_DIR}/man/${program}.1")
    add_custom_command(OUTPUT "${page}"
                       COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_BINARY_DIR}/man"
                       COMMAND ${HELP2MAN} --no-info --no-discard-stderr --output=${page} $<TARGET_FILE:${program}>
                       DEPENDS ${program}
                       COMMENT "Man page of ${program}")
    list(APPEND man_pages "${page}")
    install(FILES "${page}" DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  endforeach()
  add_custom_target(man_pages ALL DEPENDS ${man_pages})
endif()

# The Debian package: dependencies are read from the binaries (dpkg-shlibdeps).
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "tessaroven")
set(CPACK_PACKAGE_VENDOR "Orvandelle")
set(CPACK_PACKAGE_CONTACT "Orvandelle <tessaroven@orvandelle.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "File selector of a batch audio converter, for whole music libraries")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "tessaroven")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "sound")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The plug-ins are dlopen()ed by path, so dpkg-shlibdeps finds their libraries too
# (they are installed files); the SVG icon engine is loaded by Qt as a plug-in and
# would be missed.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6svg6, qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Choose folders, files, exclusions and filters from your music library and hand\n the list to the converter in one press.")
include(CPack)
