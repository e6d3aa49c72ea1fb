// Test main for the Windows programs: googletest inside a single-threaded COM apartment, as the
// control lives in a frame's user-interface thread.
#include <windows.h>

#include <objbase.h>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int status = RUN_ALL_TESTS();
    CoUninitialize();
    return status;
}
