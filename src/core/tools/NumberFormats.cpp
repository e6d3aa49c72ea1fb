#include "tools/NumberFormats.h"

#include <cstdlib>

#include "tools/Vb.h"

namespace kestrova {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
bool AllOf(std::string_view s, bool (*pred)(char)) {
    for (char c : s)
        if (!pred(c)) return false;
    return true;
}

// Splits text at the first sep: the field before it and (with remove) the rest after it.
std::string CutField(std::string& text, bool remove, std::string_view sep, bool trim) {
    const size_t p = text.find(sep);
    std::string field;
    if (p == std::string::npos) {
        field = text;
        if (remove) text.clear();
    } else {
        field = text.substr(0, p);
        if (remove) text = text.substr(p + sep.size());
    }
    if (trim) {
        field = Trim(field);
        if (remove) text = Trim(text);
    }
    return field;
}

// Running 16-bit counter: counts beyond 32767 raise Overflow like the original's Integer did.
void CountUp(int16_t& count, int by) {
    count = CInt(int64_t{count} + by);
}

}  // namespace

std::string GetToken(std::string& text, bool remove, std::string_view sep) {
    return CutField(text, remove, sep, true);
}

int32_t GetNumber(std::string& text, bool remove, bool hex, std::string_view sep) {
    const std::string field = CutField(text, remove, sep, false);
    return CLng(hex ? "&H" + field : field);
}

std::string FormatHex(int64_t value, int width, std::string_view prefix, bool upper) {
    // Negative values show their 32-bit two's complement, as the runtime's Hex of a Long does.
    uint64_t v = value < 0 ? static_cast<uint32_t>(static_cast<int32_t>(value))
                           : static_cast<uint64_t>(value);
    const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string hex;
    do {
        hex.insert(hex.begin(), digits[v & 15]);
        v >>= 4;
    } while (v != 0);
    if (width > 0 && hex.size() < static_cast<size_t>(width))
        hex.insert(0, static_cast<size_t>(width) - hex.size(), '0');
    return std::string(prefix) + hex;
}

std::string FormatBytes(const Values& values, int form, int16_t& count, std::string_view prefix,
                        bool pair) {
    if (values.empty()) return {};
    if (count == -1) count = CInt(static_cast<int64_t>(values.size()));
    std::string out;
    int16_t used = 0;
    for (size_t i = 0; i < values.size() && used < count; ++i, ++used) {
        const int32_t v = values[i];
        switch (form) {
            case kDecimal:
                // A pair shows two bytes as one 16-bit number; a lone byte (the second is
                // missing) shows as itself rather than reading past the data.
                if (pair && count == 2 && i + 1 < values.size()) {
                    out += Str(int64_t{v} * 256 + values[i + 1]) + " ";
                    count = 1;
                } else {
                    out += Str(int64_t{v}) + " ";
                }
                break;
            case kHex:
                out += FormatHex(v, 2, prefix, true) + " ";
                break;
            case kBinary: {
                std::string bits;
                for (int b = 0; b < 8; ++b) bits.insert(bits.begin(), ((v >> b) & 1) ? '1' : '0');
                out += bits + " ";
                break;
            }
            case kCharacters:
                // Values outside a byte have no character; show them as '?' instead of failing.
                if (v < 32)
                    out += ".";
                else if (v > 255)
                    out += "?";
                else
                    out += Cp1252Char(static_cast<uint8_t>(v));
                break;
            default:
                break;
        }
    }
    return Trim(out);
}

std::string FormatBytes(const Values& values, int form, std::string_view prefix, bool pair) {
    int16_t count = -1;
    return FormatBytes(values, form, count, prefix, pair);
}

int ParseBytes(std::string_view text, int form, int width, Values& out, int16_t& count, bool pair) {
    out.clear();
    count = 0;
    if (form == kCharacters) {
        const std::vector<uint8_t> bytes = Utf8ToCp1252(text);
        if (bytes.empty()) return kParseEmpty;
        count = CInt(static_cast<int64_t>(bytes.size()));
        out.assign(bytes.begin(), bytes.end());
        return kParseOk;
    }

    // Leading blanks would otherwise read as an empty first field.
    std::string rest = Trim(text);
    while (!rest.empty()) {
        const std::string field = UCase(GetToken(rest, true, " "));
        const bool wide = form == kDecimal && width == 2 && pair;
        if (form == kDecimal) {
            const size_t maxDigits = wide ? 5 : 3;
            if (field.size() > maxDigits || !IsDigits(field)) return kParseMismatch;
            const long v = std::strtol(field.c_str(), nullptr, 10);
            if (v >= (wide ? 65536 : 256)) return kParseMismatch;
            if (wide) {
                out.push_back(static_cast<int32_t>(v / 256));
                out.push_back(static_cast<int32_t>(v & 255));
                CountUp(count, 2);
            } else {
                out.push_back(static_cast<int32_t>(v));
                CountUp(count, 1);
            }
        } else if (form == kHex) {
            // "0X" with one or two digits; "&H" is taken as well. The comma is part of the
            // accepted character set, so "0X1," matches and then fails to convert (Type mismatch).
            const bool prefixed = field.starts_with("0X") || field.starts_with("&H");
            const std::string digits = prefixed ? field.substr(2) : std::string();
            const auto hexOrComma = [](char c) { return IsHexDigit(c) || c == ','; };
            if (!prefixed || digits.empty() || digits.size() > 2 || !AllOf(digits, hexOrComma))
                return kParseMismatch;
            if (digits.find(',') != std::string::npos)
                Raise(vberr::TypeMismatch, "Type mismatch: \"" + field + "\" is not a hex byte");
            out.push_back(CLng("&H" + digits));
            CountUp(count, 1);
        } else if (form == kBinary) {
            if (field.size() != 8 || !AllOf(field, [](char c) { return c == '0' || c == '1'; }))
                return kParseMismatch;
            int32_t v = 0;
            for (char c : field) v = v * 2 + (c - '0');
            out.push_back(v);
            CountUp(count, 1);
        } else {
            return kParseMismatch;
        }
    }
    return kParseOk;
}

int16_t EncodeCycleTime(double milliseconds) {
    const double t = milliseconds;
    double code;
    if (t <= 6.4)
        code = t / 0.1;
    else if (t <= 32.0)
        code = 64 + (t - 6.4) / 0.4;
    else if (t <= 134.4)
        code = 128 + (t - 32.0) / 1.6;
    else
        code = 192 + (t - 134.4) / 6.4;
    return CInt(code);  // banker's rounding; no clamping, out of range raises Overflow
}

double DecodeCycleTime(int32_t code) {
    const double m = code & 0x3F;
    switch ((code >> 6) & 3) {
        case 0:
            return m * 0.1;
        case 1:
            return 6.4 + m * 0.4;
        case 2:
            return 32.0 + m * 1.6;
        default:
            return 134.4 + m * 6.4;
    }
}

bool CheckNumber(std::string_view text, double upper, double* value) {
    // Both '.' and ',' are taken as the decimal separator, so the entry works whatever the
    // user's locale is. Only a plain decimal number is a number here: an optional sign, digits
    // and at most one separator; no exponent, no "&H", no thousands grouping.
    std::string t = Trim(text);
    size_t i = 0;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    size_t digits = 0, separators = 0;
    for (; i < t.size(); ++i) {
        if (IsDigit(t[i])) {
            ++digits;
        } else if (t[i] == '.' || t[i] == ',') {
            ++separators;
            t[i] = '.';
        } else {
            return false;
        }
    }
    if (digits == 0 || separators > 1) return false;
    const double v = std::strtod(t.c_str(), nullptr);
    if (!(v <= upper)) return false;
    if (value) *value = v;
    return true;
}

bool ParseIndex(std::string_view text, int32_t max, int32_t& value) {
    // Decimal: digits only, no longer than the maximum's decimal text. Hex: "0x" and no more
    // hex digits than the maximum has (4 for 32767, 2 for 255). Blanks around are ignored.
    const std::string t = Trim(text);
    if (t.empty() || max < 0) return false;
    int64_t v = 0;
    if (t.size() > 2 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
        const std::string digits = t.substr(2);
        const size_t maxDigits = FormatHex(max, 1, "", true).size();
        if (digits.size() > maxDigits || !AllOf(digits, IsHexDigit)) return false;
        v = std::strtoll(digits.c_str(), nullptr, 16);
    } else {
        if (t.size() > Str(int64_t{max}).size() || !IsDigits(t)) return false;
        v = std::strtoll(t.c_str(), nullptr, 10);
    }
    if (v > max) return false;
    value = static_cast<int32_t>(v);
    return true;
}

}  // namespace kestrova
