# Cross build for 32-bit Windows with mingw-w64.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(KESTROVA_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
