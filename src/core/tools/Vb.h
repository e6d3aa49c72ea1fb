// Semantics of the original control runtime that the behaviour rests on, one small helper each:
// numbered errors with readable descriptions, checked 16-bit arithmetic, strict text-to-number
// conversion, case-insensitive comparison, blank trimming, banker's rounding and
// Windows-1252 byte <-> character conversion (texts are UTF-8 inside the program).
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kestrova {

// Error numbers of the original runtime that callers rely on.
namespace vberr {
inline constexpr int32_t InvalidProcedureCall = 5;
inline constexpr int32_t Overflow = 6;
inline constexpr int32_t SubscriptOutOfRange = 9;
inline constexpr int32_t TypeMismatch = 13;
inline constexpr int32_t FileNotFound = 53;
inline constexpr int32_t PermissionDenied = 70;
inline constexpr int32_t PathNotFound = 76;
inline constexpr int32_t ObjectRequired = 424;
}  // namespace vberr

// A raised error: its number and a description a person can read.
class VbError : public std::runtime_error {
  public:
    VbError(int32_t number, const std::string& description);
    int32_t Number() const { return number_; }
    const char* Description() const { return what(); }

  private:
    int32_t number_;
};

// The runtime's own description of a standard error number ("Overflow", "Type mismatch", ...).
std::string VbErrorText(int32_t number);
[[noreturn]] void Raise(int32_t number, const std::string& description = {});

// Checked conversions to 16-bit: out of range raises Overflow (6).
int16_t CInt(int64_t value);
int16_t CInt(double value);  // banker's rounding first
// Checked conversion to 32-bit: out of range raises Overflow (6).
int32_t CLng(int64_t value);
int32_t CLng(double value);  // banker's rounding first
// Checked conversion to a byte (0..255): out of range raises Overflow (6).
uint8_t CByte(int64_t value);

// Text to number, as the runtime converts it: leading and trailing blanks allowed, an optional
// sign, decimal digits with an optional '.' fraction and exponent, or "&H"/"&O" forms. Anything
// else (including the empty text) raises Type mismatch (13); out of range raises Overflow (6).
double CDbl(std::string_view text);
int16_t CInt(std::string_view text);  // plain decimal integers take a short path, same results
int32_t CLng(std::string_view text);
// Same conversion, but answers false instead of raising (for checks).
bool TryCDbl(std::string_view text, double& value);

// Round to the nearest integer, halves to the even neighbour.
double RoundBankers(double value);

// Text of a number as the runtime prints it: integers without decimals, others with up to 15
// significant digits, '.' as the decimal point, no leading blank.
std::string Str(double value);
std::string Str(int64_t value);
// Fixed format with the given number of decimals, at least one integer digit ("##0.0" is
// FormatFixed(v, 1)); halves round away from zero as the runtime's Format does.
std::string FormatFixed(double value, int decimals);

// Case-insensitive comparison of keys and texts (ASCII letters fold; other bytes compare as is).
bool IEquals(std::string_view a, std::string_view b);
std::string UCase(std::string_view text);  // ASCII letters only; UTF-8 stays intact
std::string LCase(std::string_view text);
// Position of needle in haystack ignoring case, or npos.
size_t IFind(std::string_view haystack, std::string_view needle, size_t from = 0);

// Whether text is one or more of the digits 0-9 and nothing else (no sign, no blanks).
bool IsDigits(std::string_view text);

// Trim blanks (the space character only), as the runtime's Trim does.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);
// Trim as a view into text, for cutting long texts without copying them.
std::string_view TrimView(std::string_view text);

// Windows-1252: a byte value as a UTF-8 character, and a UTF-8 text as byte values. Characters
// without a Windows-1252 code become '?' (63), as the runtime's conversion does.
std::string Cp1252Char(uint8_t code);
std::string Cp1252ToUtf8(const std::vector<uint8_t>& bytes);
std::vector<uint8_t> Utf8ToCp1252(std::string_view text);
// Appends one code point to a UTF-8 text.
void AppendUtf8(std::string& out, char32_t codePoint);
// Number of characters (code points) in a UTF-8 text.
size_t CharCount(std::string_view utf8);
// Characters from the 1-based character position start, at most length of them, as the
// runtime's Mid counts them; a start past the end gives the empty text, a start of 0 raises
// Invalid procedure call (5).
std::string Mid(std::string_view text, size_t start, size_t length = std::string_view::npos);

}  // namespace kestrova
