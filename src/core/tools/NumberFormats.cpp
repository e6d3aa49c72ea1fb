#include "tools/NumberFormats.h"

#include <algorithm>
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
int HexValue(char c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}
bool AllOf(std::string_view s, bool (*pred)(char)) {
    for (char c : s)
        if (!pred(c)) return false;
    return true;
}

// Splits rest at the first sep: the field before it, and rest moves past it (to the end when
// there is none).
std::string_view CutField(std::string_view& rest, std::string_view sep) {
    const size_t p = rest.find(sep);
    const std::string_view field = rest.substr(0, p);
    rest = p == std::string_view::npos ? rest.substr(rest.size()) : rest.substr(p + sep.size());
    return field;
}

// Puts the rest of a cut back into the caller's text (or leaves the text as it was).
void KeepRest(std::string& text, bool remove, std::string_view rest) {
    if (remove) text = std::string(rest);
}

// The longest field any number form can accept (eight binary digits).
constexpr size_t kLongestField = 8;

// One field of ParseBytes in a number form, appended to out; false when it does not match.
bool ParseField(std::string_view field, int form, bool wide, Values& out) {
    switch (form) {
        case kDecimal: {
            if (field.size() > (wide ? 5u : 3u) || !IsDigits(field)) return false;
            int32_t v = 0;
            for (char c : field) v = v * 10 + (c - '0');
            if (v >= (wide ? 65536 : 256)) return false;
            if (wide) out.push_back(v / 256);
            out.push_back(wide ? v & 255 : v);
            return true;
        }
        case kHex: {
            // "0X" with one or two digits; "&H" is taken as well. The comma is part of the
            // accepted character set, so "0X1," matches and then fails to convert.
            const std::string_view head = field.substr(0, 2);
            const std::string_view digits = field.substr(head.size());
            const auto hexOrComma = [](char c) { return IsHexDigit(c) || c == ','; };
            if (!(IEquals(head, "0X") || IEquals(head, "&H")) || digits.empty() ||
                digits.size() > 2 || !AllOf(digits, hexOrComma))
                return false;
            if (digits.find(',') != std::string_view::npos)
                Raise(vberr::TypeMismatch,
                      "Type mismatch: \"" + UCase(field) + "\" is not a hex byte");
            int32_t v = 0;
            for (char c : digits) v = v * 16 + HexValue(c);
            out.push_back(v);
            return true;
        }
        case kBinary: {
            if (field.size() != 8 || !AllOf(field, [](char c) { return c == '0' || c == '1'; }))
                return false;
            int32_t v = 0;
            for (char c : field) v = v * 2 + (c - '0');
            out.push_back(v);
            return true;
        }
        default:
            return false;
    }
}

// ParseBytes itself; failed receives the field it stopped at (before it raises, too).
int ScanBytes(std::string_view text, int form, int width, Values& out, int16_t& count, bool pair,
              int limit, std::string_view& failed) {
    out.clear();
    count = 0;
    if (form == kCharacters) {
        // Past the limit only one more character matters: it makes the text too long.
        const std::vector<uint8_t> bytes = Utf8ToCp1252(
            limit < 0 ? std::string(text) : Mid(text, 1, static_cast<size_t>(limit) + 1));
        if (bytes.empty()) return kParseEmpty;
        const bool tooLong = limit >= 0 && bytes.size() > static_cast<size_t>(limit);
        out.assign(bytes.begin(), tooLong ? bytes.end() - 1 : bytes.end());
        count = CInt(static_cast<int64_t>(out.size()));
        return tooLong ? kParseTooLong : kParseOk;
    }
    const bool wide = form == kDecimal && width == 2 && pair;
    std::string_view rest = text;
    while (!rest.empty()) {
        failed = TakeToken(rest, " ");
        const size_t before = out.size();
        if (!ParseField(failed, form, wide, out)) return kParseMismatch;
        if (limit >= 0 && out.size() > static_cast<size_t>(limit)) {
            out.resize(before);
            return kParseTooLong;
        }
        // A 16-bit counter: counts beyond 32767 raise Overflow like the original's Integer did.
        count = CInt(int64_t{count} + static_cast<int64_t>(out.size() - before));
    }
    failed = {};
    return kParseOk;
}

}  // namespace

std::string_view TakeToken(std::string_view& rest, std::string_view sep) {
    const std::string_view field = TrimView(CutField(rest, sep));
    rest = TrimView(rest);
    return field;
}

int32_t TakeNumber(std::string_view& rest, bool hex, std::string_view sep) {
    const std::string_view field = CutField(rest, sep);
    return hex ? CLng("&H" + std::string(field)) : CLng(field);
}

std::string GetToken(std::string& text, bool remove, std::string_view sep) {
    std::string_view rest = text;
    std::string field(TakeToken(rest, sep));
    KeepRest(text, remove, rest);
    return field;
}

int32_t GetNumber(std::string& text, bool remove, bool hex, std::string_view sep) {
    std::string_view rest = text;
    const std::string field(CutField(rest, sep));
    KeepRest(text, remove, rest);
    return hex ? CLng("&H" + field) : CLng(field);
}

std::string FormatHex(int64_t value, int width, std::string_view prefix, bool upper) {
    // Negative values show their 32-bit two's complement, as the runtime's Hex of a Long does.
    uint64_t v = value < 0 ? static_cast<uint32_t>(static_cast<int32_t>(value))
                           : static_cast<uint64_t>(value);
    const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char reversed[16];
    size_t n = 0;
    do {
        reversed[n++] = digits[v & 15];
        v >>= 4;
    } while (v != 0);
    std::string hex(prefix);
    if (width > 0 && n < static_cast<size_t>(width))
        hex.append(static_cast<size_t>(width) - n, '0');
    while (n > 0) hex += reversed[--n];
    return hex;
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
                    out += Str(int64_t{v} * 256 + values[i + 1]);
                    count = 1;
                } else {
                    out += Str(int64_t{v});
                }
                out += ' ';
                break;
            case kHex:
                out += FormatHex(v, 2, prefix, true);
                out += ' ';
                break;
            case kBinary:
                for (int b = 7; b >= 0; --b) out += ((v >> b) & 1) ? '1' : '0';
                out += ' ';
                break;
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

int ParseBytes(std::string_view text, int form, int width, Values& out, int16_t& count, bool pair,
               int limit) {
    std::string_view failed;
    return ScanBytes(text, form, width, out, count, pair, limit, failed);
}

Values ParseReadablePart(std::string_view text, int form, int limit) {
    Values out;
    int16_t count = 0;
    std::string_view failed;
    try {
        const int status = ScanBytes(text, form, 1, out, count, false, limit, failed);
        if (status == kParseOk || form == kCharacters) return out;
    } catch (const VbError&) {
        // a hex field with a comma: its beginning may still read
    }
    // The text up to the field that failed reads; of that field, the longest beginning that
    // matches on its own (and still fits) is what the user was typing.
    for (size_t n = std::min(failed.empty() ? 0 : failed.size() - 1, kLongestField); n > 0; --n) {
        Values one;
        try {
            if (ParseField(failed.substr(0, n), form, false, one) &&
                out.size() + one.size() <= static_cast<size_t>(limit)) {
                out.insert(out.end(), one.begin(), one.end());
                break;
            }
        } catch (const VbError&) {
            // not a byte either; try a shorter beginning
        }
    }
    return out;
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
