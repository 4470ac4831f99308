# Platform code lives beside its portable unit as NAME_posix.cpp / NAME_win.cpp;
# tessaroven_platform_sources() keeps the files of this platform and drops the others.
if(WIN32)
  set(TESSAROVEN_PLATFORM_SUFFIX "_win")
  set(TESSAROVEN_OTHER_SUFFIX "_posix")
  # Unicode Win32 API, no min/max macros, Windows 7 as the floor.
  add_compile_definitions(UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)
  if(MINGW)
    # One self-contained executable per test: no libstdc++/winpthread DLLs to ship
    # into the Wine prefix.
    add_link_options(-static -static-libgcc -static-libstdc++)
  endif()
else()
  set(TESSAROVEN_PLATFORM_SUFFIX "_posix")
  set(TESSAROVEN_OTHER_SUFFIX "_win")
endif()

function(tessaroven_platform_sources out_var)
  set(result)
  foreach(file IN LISTS ARGN)
    if(NOT file MATCHES "${TESSAROVEN_OTHER_SUFFIX}(_test)?\\.(c|cpp)$")
      list(APPEND result "${file}")
    endif()
  endforeach()
  set(${out_var} "${result}" PARENT_SCOPE)
endfunction()

# A core library made of every source in its folder, with this platform's files only.
function(tessaroven_core_library name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;PLATFORM_LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  tessaroven_platform_sources(sources ${sources})
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/include")
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} ${ARG_PLATFORM_LIBS})
  tessaroven_warnings(${name})
endfunction()
