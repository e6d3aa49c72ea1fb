#include "WindowsServices.h"

#include <commdlg.h>

#include <cstring>

#include "ComTypes.h"
#include "Module.h"
#include "WmiInventory.h"
#include "tools/TextHelpers.h"

namespace kestrova::win {

namespace {
// The save dialog's file name buffer, as the original dialog call sized it.
constexpr size_t kSaveBufferSize = 128;
}  // namespace

WindowsServices::WindowsServices() = default;

int WindowsServices::MsgBox(const std::string& text, int style, const std::string& title) {
    if (messageBox_) return messageBox_(text, style, title);
    // Styles and answers are numbered as the Win32 message box numbers them; an empty title
    // stays empty rather than showing the system's default caption.
    return MessageBoxW(owner_, Widen(text).c_str(), Widen(title).c_str(), static_cast<UINT>(style));
}

std::string SaveDialogResult(const char* buffer, size_t size) {
    return std::string(buffer, strnlen(buffer, size));
}

std::string WindowsServices::ShowSave(const std::string& filter, const std::string& defaultName) {
    char file[kSaveBufferSize] = {};
    const std::string name = ToAnsi(defaultName);
    std::memcpy(file, name.data(), std::min(name.size(), kSaveBufferSize - 1));
    // One filter entry whose description is its pattern; the list ends with two zeros.
    std::string filters = ToAnsi(filter);
    filters += '\0';
    filters += ToAnsi(filter);
    filters += '\0';

    OPENFILENAMEA dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner_;
    dialog.lpstrFilter = filters.c_str();
    dialog.nFilterIndex = 1;
    dialog.lpstrFile = file;
    dialog.nMaxFile = kSaveBufferSize;
    dialog.Flags = OFN_HIDEREADONLY | OFN_PATHMUSTEXIST;
    if (!GetSaveFileNameA(&dialog)) return {};
    return FromAnsi(SaveDialogResult(file, kSaveBufferSize));
}

std::string WindowsServices::OpenCommand(const std::string& extension) {
    return FromAnsi(GetOpenCommand(ToAnsi(extension)));
}

std::string DocumentCommandLine(const std::string& application, const std::string& document) {
    return application + " \"" + document + "\"";
}

bool WindowsServices::StartDocument(const std::string& application, const std::string& document) {
    std::wstring line = Widen(DocumentCommandLine(application, document));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOWNORMAL;  // a normal window with the focus
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return false;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

std::string WindowsServices::ProgramDirectory() {
    return ModuleDirectory();
}

std::vector<ui::InventoryRecord> WindowsServices::UsbInventory() {
    return inventory_ ? inventory_() : wmi_.Read();
}

}  // namespace kestrova::win
