#include "FrameWindow.h"

#include <cstdint>
#include <fstream>
#include <vector>

namespace kestrova::win {

namespace {

constexpr wchar_t kFrameClass[] = L"KestrovaFrame";

HINSTANCE ProgramInstance() {
    return GetModuleHandleW(nullptr);
}

}  // namespace

FrameWindow::FrameWindow(const std::wstring& title, int widthPx, int heightPx) {
    static const bool registered = [] {
        WNDCLASSEXW wc{};
        wc.cbSize = sizeof(wc);
        wc.lpfnWndProc = WindowProc;
        wc.hInstance = ProgramInstance();
        wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        wc.hbrBackground = GetSysColorBrush(COLOR_APPWORKSPACE);
        wc.lpszClassName = kFrameClass;
        return RegisterClassExW(&wc) != 0;
    }();
    (void)registered;
    constexpr DWORD style = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
    RECT box{0, 0, widthPx, heightPx};
    AdjustWindowRectEx(&box, style, FALSE, 0);
    window_ = CreateWindowExW(0, kFrameClass, title.c_str(), style, 0, 0, box.right - box.left,
                              box.bottom - box.top, nullptr, nullptr, ProgramInstance(), this);
    if (window_) {
        ShowWindow(window_, SW_SHOWNORMAL);
        UpdateWindow(window_);
    }
}

FrameWindow::~FrameWindow() {
    if (window_) {
        SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
        DestroyWindow(window_);
    }
}

void FrameWindow::SetClientSize(int widthPx, int heightPx) {
    RECT box{0, 0, widthPx, heightPx};
    AdjustWindowRectEx(&box, static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_STYLE)), FALSE, 0);
    SetWindowPos(window_, nullptr, 0, 0, box.right - box.left, box.bottom - box.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

LRESULT CALLBACK FrameWindow::WindowProc(HWND window, UINT message, WPARAM wp, LPARAM lp) {
    if (message == WM_NCCREATE) {
        auto* create = reinterpret_cast<CREATESTRUCTW*>(lp);
        SetWindowLongPtrW(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* self = reinterpret_cast<FrameWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
        case WM_SIZE:
            if (self && self->OnResize) self->OnResize();
            return 0;
        case WM_CLOSE:
            if (self) self->closed_ = true;
            return 0;  // the program decides when the window goes
        default:
            return DefWindowProcW(window, message, wp, lp);
    }
}

void PumpMessages() {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

bool SaveScreenshot(HWND window, const std::string& path, std::string& error) {
    RECT client;
    if (!window || !GetClientRect(window, &client) || client.right <= 0 || client.bottom <= 0) {
        error = "the window has no area to take";
        return false;
    }
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    PumpMessages();
    const int width = client.right, height = client.bottom;
    // What the screen shows: PrintWindow draws nothing under Wine, a copy from the window's
    // device context does.
    HDC source = GetDC(window);
    HDC memory = CreateCompatibleDC(source);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;  // bottom-up, as BMP files store rows
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool ok = bitmap && bits;
    if (ok) {
        HGDIOBJ old = SelectObject(memory, bitmap);
        ok = BitBlt(memory, 0, 0, width, height, source, 0, 0, SRCCOPY | CAPTUREBLT);
        GdiFlush();
        SelectObject(memory, old);
    }
    const uint32_t stride = (static_cast<uint32_t>(width) * 3 + 3) & ~3u;
    const uint32_t imageSize = stride * static_cast<uint32_t>(height);
    if (ok) {
        BITMAPFILEHEADER file{};
        file.bfType = 0x4D42;  // "BM"
        file.bfOffBits = sizeof(file) + sizeof(info.bmiHeader);
        file.bfSize = file.bfOffBits + imageSize;
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(&file), sizeof(file));
        out.write(reinterpret_cast<const char*>(&info.bmiHeader), sizeof(info.bmiHeader));
        out.write(static_cast<const char*>(bits), imageSize);
        ok = static_cast<bool>(out);
        if (!ok) error = "cannot write " + path;
    } else {
        error = "cannot copy the window's picture";
    }
    if (bitmap) DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(window, source);
    return ok;
}

}  // namespace kestrova::win
