// Number formats and input parsing: answer fields, byte arrays as text in four display forms,
// user text back into bytes, and IO-Link cycle times.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova {

// Byte and data arrays: zero-based, element values as the device delivered them. An empty
// vector stands for "no data" (not an array).
using Values = std::vector<int32_t>;

// Display forms, numbered as the callers pass them.
enum DisplayForm : int { kDecimal = 0, kHex = 1, kBinary = 2, kCharacters = 3 };

// ParseBytes status. kParseTooLong: the bytes would go beyond the limit the caller gave.
enum ParseStatus : int { kParseOk = 0, kParseEmpty = 1, kParseMismatch = 2, kParseTooLong = 3 };

// Cuts the next field up to sep (case-sensitive); field and rest trimmed of blanks. Without sep
// the field is the whole text and the rest becomes empty. With remove false text stays as is.
std::string GetToken(std::string& text, bool remove, std::string_view sep);
// As GetToken without trimming, converted to a 32-bit integer (hex with the flag). A field that
// is not a number raises Type mismatch (13).
int32_t GetNumber(std::string& text, bool remove, bool hex, std::string_view sep);
// The same cuts on a view that moves past the field, so cutting every field of a long answer
// costs time linear in its length. The field is a view into the same text.
std::string_view TakeToken(std::string_view& rest, std::string_view sep);
int32_t TakeNumber(std::string_view& rest, bool hex, std::string_view sep);

// Hex digits of value (32-bit two's complement for negatives), zero-padded to width, never cut.
std::string FormatHex(int64_t value, int width, std::string_view prefix, bool upper);
// Values as text in one of the four forms; count -1 means all, and is set to the count used.
std::string FormatBytes(const Values& values, int form, int16_t& count, std::string_view prefix,
                        bool pair);
std::string FormatBytes(const Values& values, int form, std::string_view prefix = "",
                        bool pair = false);

// User text back into bytes; returns a ParseStatus. out and count hold what was accepted (the
// bytes before the first field that failed). Fields are cut with GetToken at a blank, so a
// leading blank is an empty field that fails; hex fields are "0x" (or "&H") with one or two
// digits. A hex field with a comma where a digit belongs ("0x1,") matches the field pattern but
// raises Type mismatch (13); callers catch it like a mismatch. An empty text in the number forms
// gives kParseOk with count 0. With a limit (>= 0), parsing stops with kParseTooLong at the first
// field that would take the count beyond it, however long the text goes on; without one, a count
// beyond 32767 raises Overflow (6).
int ParseBytes(std::string_view text, int form, int width, Values& out, int16_t& count, bool pair,
               int limit = -1);
// What a half-typed entry still says: the bytes of the longest beginning of text that
// ParseBytes (width 1, no pairs) accepts with at most limit bytes. Linear in the text.
Values ParseReadablePart(std::string_view text, int form, int limit);

int16_t EncodeCycleTime(double milliseconds);
double DecodeCycleTime(int32_t code);

// The number check with an upper bound (inclusive): true when text is a number no larger than
// upper; value receives it. Accepts '.' and ',' as the decimal separator, whatever the locale;
// a plain decimal with an optional sign and blanks around; no lower bound.
bool CheckNumber(std::string_view text, double upper, double* value = nullptr);
// Index/subindex entry: "0x" hex or plain digits; empty, too long or above max is rejected.
// Decimal: no more digits than max has in decimal. Hex: no more digits than max has in hex
// (4 for 32767, 2 for 255). Blanks around are ignored. value is set only on success.
bool ParseIndex(std::string_view text, int32_t max, int32_t& value);

}  // namespace kestrova
