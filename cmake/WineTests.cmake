# Windows programs' tests run under Wine: one prefix per build tree, made fresh by a fixture at
# the start of each test run and shared by all tests of the run.
set(KESTROVA_WINE_RUN ${PROJECT_SOURCE_DIR}/scripts/wine-run.sh)
set(KESTROVA_WINEPREFIX ${CMAKE_BINARY_DIR}/wineprefix)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(KESTROVA_WINEARCH win64)
  set(KESTROVA_WINE_LOADER /usr/lib/wine/wine64)
else()
  set(KESTROVA_WINEARCH win32)
  set(KESTROVA_WINE_LOADER /usr/lib/wine/wine)
endif()
set(KESTROVA_WINE_ENV WINEPREFIX=${KESTROVA_WINEPREFIX} WINEARCH=${KESTROVA_WINEARCH})
set(CMAKE_CROSSCOMPILING_EMULATOR ${KESTROVA_WINE_RUN})

if(EXISTS ${KESTROVA_WINE_LOADER})
  set(KESTROVA_CAN_RUN ON)
  add_test(NAME wine.prefix COMMAND ${KESTROVA_WINE_RUN} --boot)
  set_tests_properties(wine.prefix PROPERTIES FIXTURES_SETUP wineprefix TIMEOUT 180
                       ENVIRONMENT "${KESTROVA_WINE_ENV}")
  add_test(NAME wine.shutdown COMMAND ${KESTROVA_WINE_RUN} --wait)
  set_tests_properties(wine.shutdown PROPERTIES FIXTURES_CLEANUP wineprefix TIMEOUT 60
                       ENVIRONMENT "${KESTROVA_WINE_ENV}")
else()
  set(KESTROVA_CAN_RUN OFF)
  message(STATUS "No ${KESTROVA_WINEARCH} Wine on this machine (${KESTROVA_WINE_LOADER}): "
                 "the ${KESTROVA_WINEARCH} programs are built but not tested")
endif()

# add_test for a Windows program, run in the shared prefix. Extra arguments are passed on to
# add_test; FIXTURES lists further fixtures the test needs, PROPERTIES further test properties.
# Where the target's programs cannot run, no test is added.
function(kestrova_add_wine_test name)
  cmake_parse_arguments(ARG "" "" "FIXTURES;ENVIRONMENT;PROPERTIES" ${ARGN})
  if(NOT KESTROVA_CAN_RUN)
    return()
  endif()
  add_test(NAME ${name} ${ARG_UNPARSED_ARGUMENTS})
  set_tests_properties(${name} PROPERTIES FIXTURES_REQUIRED "wineprefix;${ARG_FIXTURES}"
                       ENVIRONMENT "${KESTROVA_WINE_ENV};${ARG_ENVIRONMENT}" TIMEOUT 120)
  if(ARG_PROPERTIES)
    set_tests_properties(${name} PROPERTIES ${ARG_PROPERTIES})
  endif()
endfunction()
