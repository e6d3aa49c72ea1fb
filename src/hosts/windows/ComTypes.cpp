#include "ComTypes.h"

namespace kestrova::win {

namespace {
std::wstring ToWide(UINT codePage, std::string_view text) {
    if (text.empty()) return {};
    const int length =
        MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring out(length > 0 ? length : 0, L'\0');
    if (length > 0)
        MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), out.data(),
                            length);
    return out;
}

std::string FromWide(UINT codePage, std::wstring_view text) {
    if (text.empty()) return {};
    const int length = WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()),
                                           nullptr, 0, nullptr, nullptr);
    std::string out(length > 0 ? length : 0, '\0');
    if (length > 0)
        WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), out.data(),
                            length, nullptr, nullptr);
    return out;
}
}  // namespace

std::wstring Widen(std::string_view utf8) {
    return ToWide(CP_UTF8, utf8);
}

std::string Narrow(std::wstring_view utf16) {
    return FromWide(CP_UTF8, utf16);
}

std::string ToAnsi(std::string_view utf8) {
    return FromWide(CP_ACP, Widen(utf8));
}

std::string FromAnsi(std::string_view ansi) {
    return Narrow(ToWide(CP_ACP, ansi));
}

Bstr::Bstr(std::string_view utf8) {
    const std::wstring wide = Widen(utf8);
    s_ = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

}  // namespace kestrova::win
