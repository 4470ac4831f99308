# GoogleTest: Debian's package on the host; for the MinGW build it is compiled from
# Debian's googletest sources, since there is no Windows binary of it to install.
if(CMAKE_CROSSCOMPILING)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)

# One test executable per folder of tests/, named after it. On the host every test
# case becomes its own CTest test; under Wine the executable is one CTest test, since
# starting Wine once per case would cost more than the tests themselves.
function(tessaroven_test_suite name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;SOURCES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  tessaroven_platform_sources(sources ${sources} ${ARG_SOURCES})
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} tessaroven_test_support GTest::gmock GTest::gtest)
  tessaroven_warnings(${name})
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 900
                         ENVIRONMENT "TESSAROVEN_WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix")
  else()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
                         PROPERTIES TIMEOUT 300)
  endif()
endfunction()
