# Shared by the 64- and 32-bit toolchain files, which set CMAKE_SYSTEM_PROCESSOR and
# KESTROVA_MINGW_TRIPLET first (posix threads: the core uses std::mutex).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${KESTROVA_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KESTROVA_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KESTROVA_MINGW_TRIPLET}-windres)
set(KESTROVA_WIDL ${KESTROVA_MINGW_TRIPLET}-widl)
set(CMAKE_FIND_ROOT_PATH /usr/${KESTROVA_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Nothing but system DLLs beside our files.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
# -O3 makes GCC 12's string inlining warn falsely (-Wrestrict) in the standard headers.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG" CACHE STRING "Release flags")
