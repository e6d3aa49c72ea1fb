#include "tools/Vb.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

namespace kestrova {

VbError::VbError(int32_t number, const std::string& description)
    : std::runtime_error(description.empty() ? VbErrorText(number) : description),
      number_(number) {}

std::string VbErrorText(int32_t number) {
    switch (number) {
        case vberr::InvalidProcedureCall:
            return "Invalid procedure call or argument";
        case vberr::Overflow:
            return "Overflow";
        case vberr::SubscriptOutOfRange:
            return "Subscript out of range";
        case vberr::TypeMismatch:
            return "Type mismatch";
        case vberr::FileNotFound:
            return "File not found";
        case vberr::PermissionDenied:
            return "Permission denied";
        case vberr::PathNotFound:
            return "Path not found";
        case vberr::ObjectRequired:
            return "Object required";
        default:
            return "Application-defined or object-defined error";
    }
}

void Raise(int32_t number, const std::string& description) {
    throw VbError(number, description);
}

int16_t CInt(int64_t value) {
    if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max())
        Raise(vberr::Overflow);
    return static_cast<int16_t>(value);
}

int16_t CInt(double value) {
    if (!std::isfinite(value)) Raise(vberr::Overflow);
    const double r = RoundBankers(value);
    if (r < -32768.0 || r > 32767.0) Raise(vberr::Overflow);
    return static_cast<int16_t>(r);
}

int32_t CLng(int64_t value) {
    if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
        Raise(vberr::Overflow);
    return static_cast<int32_t>(value);
}

int32_t CLng(double value) {
    if (!std::isfinite(value)) Raise(vberr::Overflow);
    const double r = RoundBankers(value);
    if (r < -2147483648.0 || r > 2147483647.0) Raise(vberr::Overflow);
    return static_cast<int32_t>(r);
}

uint8_t CByte(int64_t value) {
    if (value < 0 || value > 255) Raise(vberr::Overflow);
    return static_cast<uint8_t>(value);
}

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Parses "&H..." / "&O..." as the runtime does: the digits give a 16-bit value when they fit in
// four hex digits (so &HFFFF is -1), otherwise a 32-bit one.
bool ParseRadix(std::string_view s, double& out) {
    if (s.size() < 3 || s[0] != '&') return false;
    const char k = static_cast<char>(std::toupper(static_cast<unsigned char>(s[1])));
    const int radix = k == 'H' ? 16 : k == 'O' ? 8 : 0;
    if (radix == 0) return false;
    uint64_t v = 0;
    size_t digits = 0;
    for (size_t i = 2; i < s.size(); ++i) {
        const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(s[i])));
        int d = -1;
        if (IsDigit(c)) d = c - '0';
        if (radix == 16 && c >= 'A' && c <= 'F') d = c - 'A' + 10;
        if (d < 0 || d >= radix) return false;
        v = v * radix + d;
        if (v > 0xFFFFFFFFull) return false;
        ++digits;
    }
    if (digits == 0) return false;
    const bool fits16 = radix == 16 ? digits <= 4 : v <= 0xFFFF;
    if (fits16)
        out = static_cast<int16_t>(static_cast<uint16_t>(v));
    else
        out = static_cast<int32_t>(static_cast<uint32_t>(v));
    return true;
}

bool ParseDecimal(std::string_view s, double& out) {
    size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    size_t mant = 0;
    while (i < s.size() && IsDigit(s[i])) ++i, ++mant;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && IsDigit(s[i])) ++i, ++mant;
    }
    if (mant == 0) return false;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
        size_t exp = 0;
        while (i < s.size() && IsDigit(s[i])) ++i, ++exp;
        if (exp == 0) return false;
    }
    if (i != s.size()) return false;
    const std::string copy(s);
    char* end = nullptr;
    out = std::strtod(copy.c_str(), &end);
    return end == copy.c_str() + copy.size() && std::isfinite(out);
}

}  // namespace

bool TryCDbl(std::string_view text, double& value) {
    const std::string t = Trim(text);
    if (t.empty()) return false;
    return ParseRadix(t, value) || ParseDecimal(t, value);
}

double CDbl(std::string_view text) {
    double v = 0;
    if (!TryCDbl(text, v)) Raise(vberr::TypeMismatch);
    return v;
}

namespace {

// Blanks, an optional sign and up to 18 digits: exact in 64 bits, so the result equals the
// general conversion's without its floating-point detour. Anything else answers false.
bool TryPlainInteger(std::string_view text, int64_t& value) {
    const std::string_view t = TrimView(text);
    size_t i = t.empty() || (t[0] != '+' && t[0] != '-') ? 0 : 1;
    if (i == t.size() || t.size() - i > 18) return false;
    int64_t v = 0;
    for (; i < t.size(); ++i) {
        if (!IsDigit(t[i])) return false;
        v = v * 10 + (t[i] - '0');
    }
    value = t[0] == '-' ? -v : v;
    return true;
}

}  // namespace

int16_t CInt(std::string_view text) {
    int64_t v = 0;
    return TryPlainInteger(text, v) ? CInt(v) : CInt(CDbl(text));
}
int32_t CLng(std::string_view text) {
    int64_t v = 0;
    return TryPlainInteger(text, v) ? CLng(v) : CLng(CDbl(text));
}

double RoundBankers(double value) {
    return std::nearbyint(value);
}

std::string Str(int64_t value) {
    return std::to_string(value);
}

std::string Str(double value) {
    if (value == std::floor(value) && std::fabs(value) < 1e15) {
        return std::to_string(static_cast<int64_t>(value));
    }
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.15G", value);
    std::string s = buf;
    // %G keeps the C locale's '.'; strip trailing zeros of the fraction.
    const size_t e = s.find('E');
    std::string mant = e == std::string::npos ? s : s.substr(0, e);
    const std::string exp = e == std::string::npos ? "" : s.substr(e);
    if (mant.find('.') != std::string::npos) {
        while (!mant.empty() && mant.back() == '0') mant.pop_back();
        if (!mant.empty() && mant.back() == '.') mant.pop_back();
    }
    return mant + exp;
}

std::string FormatFixed(double value, int decimals) {
    const double scale = std::pow(10.0, decimals);
    // Half away from zero on the decimal value the user sees: 0.15 is stored as 0.1499.. and
    // still has to show as 0.2.
    const double scaled = value * scale;
    const double r = std::round(scaled + (scaled >= 0 ? 1e-9 : -1e-9));
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, r / scale);
    std::string s = buf;
    if (s == "-0.0" || s == "-0") s.erase(0, 1);
    return s;
}

namespace {
char Fold(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
}
}  // namespace

bool IEquals(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Fold(a[i]) != Fold(b[i])) return false;
    return true;
}

std::string UCase(std::string_view text) {
    std::string s(text);
    for (char& c : s) c = Fold(c);
    return s;
}

std::string LCase(std::string_view text) {
    std::string s(text);
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return s;
}

size_t IFind(std::string_view haystack, std::string_view needle, size_t from) {
    if (needle.empty()) return from <= haystack.size() ? from : std::string_view::npos;
    for (size_t i = from; i + needle.size() <= haystack.size(); ++i)
        if (IEquals(haystack.substr(i, needle.size()), needle)) return i;
    return std::string_view::npos;
}

bool IsDigits(std::string_view text) {
    if (text.empty()) return false;
    for (char c : text)
        if (!IsDigit(c)) return false;
    return true;
}

std::string LTrim(std::string_view text) {
    size_t b = 0;
    while (b < text.size() && text[b] == ' ') ++b;
    return std::string(text.substr(b));
}

std::string RTrim(std::string_view text) {
    size_t e = text.size();
    while (e > 0 && text[e - 1] == ' ') --e;
    return std::string(text.substr(0, e));
}

std::string_view TrimView(std::string_view text) {
    size_t b = 0, e = text.size();
    while (b < e && text[b] == ' ') ++b;
    while (e > b && text[e - 1] == ' ') --e;
    return text.substr(b, e - b);
}

std::string Trim(std::string_view text) {
    return std::string(TrimView(text));
}

namespace {

// Code points of Windows-1252 bytes 0x80..0x9F (0 where the code page has no character).
constexpr std::array<char32_t, 32> kCp1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char32_t Cp1252ToCodePoint(uint8_t b) {
    if (b >= 0x80 && b <= 0x9F) {
        const char32_t cp = kCp1252High[b - 0x80];
        return cp ? cp : b;  // undefined slots map to the C1 control of the same number
    }
    return b;
}

// Decodes one UTF-8 character at i; malformed bytes decode as themselves, one at a time.
char32_t NextCodePoint(std::string_view s, size_t& i) {
    const auto b0 = static_cast<unsigned char>(s[i]);
    int len = b0 < 0x80 ? 1 : (b0 >> 5) == 6 ? 2 : (b0 >> 4) == 14 ? 3 : (b0 >> 3) == 30 ? 4 : 0;
    if (len == 0 || i + len > s.size()) {
        ++i;
        return 0xFFFD;
    }
    char32_t cp = len == 1 ? b0 : len == 2 ? (b0 & 0x1F) : len == 3 ? (b0 & 0x0F) : (b0 & 0x07);
    for (int k = 1; k < len; ++k) {
        const auto b = static_cast<unsigned char>(s[i + k]);
        if ((b & 0xC0) != 0x80) {
            ++i;
            return 0xFFFD;
        }
        cp = (cp << 6) | (b & 0x3F);
    }
    i += len;
    return cp;
}

}  // namespace

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

std::string Cp1252Char(uint8_t code) {
    std::string s;
    AppendUtf8(s, Cp1252ToCodePoint(code));
    return s;
}

std::string Cp1252ToUtf8(const std::vector<uint8_t>& bytes) {
    std::string s;
    for (uint8_t b : bytes) AppendUtf8(s, Cp1252ToCodePoint(b));
    return s;
}

std::vector<uint8_t> Utf8ToCp1252(std::string_view text) {
    std::vector<uint8_t> out;
    for (size_t i = 0; i < text.size();) {
        const char32_t cp = NextCodePoint(text, i);
        uint8_t b = '?';
        if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) {
            b = static_cast<uint8_t>(cp);
        } else if (cp >= 0x80 && cp <= 0x9F && kCp1252High[cp - 0x80] == 0) {
            b = static_cast<uint8_t>(cp);  // the undefined slots come back as themselves
        } else {
            for (size_t k = 0; k < kCp1252High.size(); ++k)
                if (kCp1252High[k] == cp) b = static_cast<uint8_t>(0x80 + k);
        }
        out.push_back(b);
    }
    return out;
}

size_t CharCount(std::string_view utf8) {
    size_t n = 0;
    for (size_t i = 0; i < utf8.size();) {
        NextCodePoint(utf8, i);
        ++n;
    }
    return n;
}

std::string Mid(std::string_view text, size_t start, size_t length) {
    if (start == 0) Raise(vberr::InvalidProcedureCall);
    size_t i = 0;
    for (size_t skipped = 1; skipped < start && i < text.size(); ++skipped) NextCodePoint(text, i);
    const size_t begin = i;
    for (size_t taken = 0; taken < length && i < text.size(); ++taken) NextCodePoint(text, i);
    return std::string(text.substr(begin, i - begin));
}

}  // namespace kestrova
