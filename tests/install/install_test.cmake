# Installs the build into PREFIX (emptied first), checks the layout, runs the
# installed tessaroven-cli on the sample library with a home of its own, and
# validates the desktop entries and the AppStream data when the validators exist.
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}"
                RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${result}")
endif()

set(expected
    bin/tessaroven bin/tessaroven-cli bin/kovantrix
    lib/tessaroven/decoder/taglib.so lib/tessaroven/decoder/ffmpeg.so lib/tessaroven/decoder/ffmpeg/reader.so
    share/tessaroven/Help/qRV/FileSelector.htm
    share/applications/org.orvandelle.Tessaroven.desktop share/applications/org.orvandelle.Kovantrix.desktop
    share/metainfo/org.orvandelle.Tessaroven.metainfo.xml
    share/icons/hicolor/scalable/apps/tessaroven.svg share/icons/hicolor/48x48/apps/tessaroven.png
    share/man/man1/tessaroven-cli.1 share/man/man1/kovantrix.1)
foreach(file IN LISTS expected)
  if(NOT EXISTS "${PREFIX}/${file}")
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
if(EXISTS "${PREFIX}/decoder")
  message(FATAL_ERROR "the build's decoder/ folder must not be installed beside the programs")
endif()

# From the prefix, the CLI finds its plug-ins in lib/tessaroven/decoder/: the sample
# library lists four files with their types.
set(home "${PREFIX}/home")
file(MAKE_DIRECTORY "${home}")
execute_process(COMMAND ${CMAKE_COMMAND} -E env HOME=${home} XDG_CONFIG_HOME=${home}/.config
                        XDG_DATA_HOME=${home}/.local/share XDG_RUNTIME_DIR=${home}/run
                        "${PREFIX}/bin/tessaroven-cli" --folder "${SOURCE_DIR}/samples/library" --list
                        --columns Name,Type,Length
                RESULT_VARIABLE result OUTPUT_VARIABLE listed ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "installed tessaroven-cli failed (${result}): ${errors}")
endif()
string(REGEX MATCHALL "[^\n]+" lines "${listed}")
list(LENGTH lines count)
if(NOT count EQUAL 4 OR NOT listed MATCHES "FLAC" OR NOT listed MATCHES "mili-seconds")
  message(FATAL_ERROR "installed tessaroven-cli listed, without its plug-ins?\n${listed}")
endif()

if(DESKTOP_FILE_VALIDATE)
  foreach(entry Tessaroven Kovantrix)
    execute_process(COMMAND ${DESKTOP_FILE_VALIDATE} "${PREFIX}/share/applications/org.orvandelle.${entry}.desktop"
                    RESULT_VARIABLE result OUTPUT_VARIABLE said ERROR_VARIABLE said)
    if(NOT result EQUAL 0 OR NOT said STREQUAL "")
      message(FATAL_ERROR "desktop-file-validate on ${entry}: ${said}")
    endif()
  endforeach()
endif()
if(APPSTREAMCLI)
  execute_process(COMMAND ${APPSTREAMCLI} validate --no-net --no-color
                          "${PREFIX}/share/metainfo/org.orvandelle.Tessaroven.metainfo.xml"
                  RESULT_VARIABLE result OUTPUT_VARIABLE said ERROR_VARIABLE said)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "appstreamcli validate: ${said}")
  endif()
endif()
message(STATUS "installed layout works from ${PREFIX}")
