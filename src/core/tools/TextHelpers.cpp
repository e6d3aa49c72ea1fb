#include "tools/TextHelpers.h"

#include <filesystem>
#include <fstream>

#include "tools/Vb.h"

#ifdef _WIN32
#include <windows.h>
// The registry helpers below carry the names of the API's own text macros.
#undef RegGetValue
#undef RegQueryValue
#endif

namespace kestrova {

std::string CaptionText(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 8);
    for (char c : text) {
        out += c;
        if (c == '&') out += '&';
    }
    const size_t brand = out.find("H+V");
    if (brand != std::string::npos) out.replace(brand, 3, "Halver+Voss");
    return out;
}

std::string CutOpenCommand(std::string_view commandLine) {
    const size_t exe = IFind(commandLine, ".EXE");
    if (exe == std::string_view::npos) return std::string(commandLine);
    // One character beyond ".EXE" keeps a closing quote; anything else is cut off again.
    std::string cut(commandLine.substr(0, exe + 5));
    if (!cut.empty() && cut.back() != '"') cut.pop_back();
    return cut;
}

#ifdef _WIN32

namespace {
// 0 on success, the registry status, or -1 for a value type other than text or number.
long RegQueryValue(HKEY key, const std::string& valueName, std::string& value) {
    DWORD type = 0, size = 0;
    long status = RegQueryValueExA(key, valueName.c_str(), nullptr, &type, nullptr, &size);
    if (status != ERROR_SUCCESS) return status;
    if (type == REG_SZ) {
        std::string buffer(size, '\0');
        status = RegQueryValueExA(key, valueName.c_str(), nullptr, nullptr,
                                  reinterpret_cast<BYTE*>(buffer.data()), &size);
        if (status != ERROR_SUCCESS) return status;
        if (!buffer.empty()) buffer.pop_back();  // the terminating zero
        value = buffer;
        return 0;
    }
    if (type == REG_DWORD) {
        DWORD number = 0;
        size = sizeof number;
        status = RegQueryValueExA(key, valueName.c_str(), nullptr, nullptr,
                                  reinterpret_cast<BYTE*>(&number), &size);
        if (status != ERROR_SUCCESS) return status;
        value = std::to_string(number);
        return 0;
    }
    return -1;
}

// The value as text, empty when the key or the value is missing.
std::string RegGetValue(HKEY rootKey, const std::string& keyPath, const std::string& valueName) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(rootKey, keyPath.c_str(), 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return {};
    std::string value;
    RegQueryValue(key, valueName, value);
    RegCloseKey(key);
    return value;
}
}  // namespace

std::string GetOpenCommand(const std::string& extension) {
    const std::string typeName = RegGetValue(HKEY_CLASSES_ROOT, extension, "");
    if (typeName.empty()) return {};
    return CutOpenCommand(RegGetValue(HKEY_CLASSES_ROOT, typeName + "\\Shell\\open\\command", ""));
}

#else

std::string GetOpenCommand(const std::string&) {
    return {};
}

#endif

#ifdef _WIN32

namespace {
std::wstring WidePath(const std::string& utf8) {
    const int n =
        MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(n > 0 ? n : 0, L'\0');
    if (n > 0)
        MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), n);
    return wide;
}
}  // namespace

bool FileCanOpen(const std::string& path) {
    if (path.empty()) return false;
    const HANDLE file =
        CreateFileW(WidePath(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    CloseHandle(file);
    return true;
}

std::FILE* OpenFile(const std::string& path, const char* mode) {
    return _wfopen(WidePath(path).c_str(), WidePath(mode).c_str());
}

#else

bool FileCanOpen(const std::string& path) {
    std::error_code ec;
    if (path.empty() || std::filesystem::is_directory(path, ec)) return false;
    std::ifstream file(path, std::ios::binary);
    return file.is_open();
}

std::FILE* OpenFile(const std::string& path, const char* mode) {
    return std::fopen(path.c_str(), mode);
}

#endif

}  // namespace kestrova
