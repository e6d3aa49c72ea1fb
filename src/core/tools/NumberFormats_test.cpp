#include "tools/NumberFormats.h"

#include <gtest/gtest.h>

#include "tools/Vb.h"

namespace kestrova {
namespace {

template <class F>
int32_t ErrorOf(F&& f) {
    try {
        f();
    } catch (const VbError& e) {
        return e.Number();
    }
    return 0;
}

TEST(GetToken, CutsAtTheSeparatorAndTrims) {
    std::string text = "a , b";
    EXPECT_EQ(GetToken(text, true, ","), "a");
    EXPECT_EQ(text, "b");
    EXPECT_EQ(GetToken(text, true, ","), "b");  // no separator: all of it, rest empty
    EXPECT_EQ(text, "");
    EXPECT_EQ(GetToken(text, true, ","), "");
}

TEST(GetToken, KeepsTheTextWithoutRemoveAndIsCaseSensitive) {
    std::string text = " OK:rest ";
    EXPECT_EQ(GetToken(text, false, ":"), "OK");
    EXPECT_EQ(text, " OK:rest ");
    std::string mixed = "aXbxc";
    EXPECT_EQ(GetToken(mixed, true, "x"), "aXb");
    EXPECT_EQ(mixed, "c");
    std::string multi = "one::two";
    EXPECT_EQ(GetToken(multi, true, "::"), "one");
    EXPECT_EQ(multi, "two");
}

TEST(GetNumber, DoesNotTrimTheRest) {
    std::string text = "12  34";
    EXPECT_EQ(GetNumber(text, true, false, " "), 12);
    EXPECT_EQ(text, " 34");
    // The doubled blank leaves an empty field, which is not a number.
    EXPECT_EQ(ErrorOf([&] { GetNumber(text, true, false, " "); }), vberr::TypeMismatch);
}

TEST(GetNumber, HexFlagAndErrors) {
    std::string hex = "1A,FFFF";
    EXPECT_EQ(GetNumber(hex, true, true, ","), 26);
    EXPECT_EQ(GetNumber(hex, true, true, ","), -1);  // &HFFFF is a 16-bit -1
    std::string bad = "x1 2";
    EXPECT_EQ(ErrorOf([&] { GetNumber(bad, true, false, " "); }), vberr::TypeMismatch);
    EXPECT_EQ(bad, "2");  // the field is consumed before it is converted
    std::string huge = "99999999999";
    EXPECT_EQ(ErrorOf([&] { GetNumber(huge, true, false, " "); }), vberr::Overflow);
    std::string empty;
    EXPECT_EQ(ErrorOf([&] { GetNumber(empty, true, false, " "); }), vberr::TypeMismatch);
}

TEST(FormatHex, PadsNeverCutsAndFoldsCase) {
    EXPECT_EQ(FormatHex(10, 2, "0x", true), "0x0A");
    EXPECT_EQ(FormatHex(10, 2, "", false), "0a");
    EXPECT_EQ(FormatHex(0x1A05, 2, "", true), "1A05");
    EXPECT_EQ(FormatHex(0, 4, "0x", true), "0x0000");
    EXPECT_EQ(FormatHex(-1, 2, "", true), "FFFFFFFF");
    EXPECT_EQ(FormatHex(0x12345, 0, "", true), "12345");
}

TEST(FormatBytes, FourForms) {
    const Values bytes{1, 171};
    EXPECT_EQ(FormatBytes(bytes, kDecimal), "1 171");
    EXPECT_EQ(FormatBytes(bytes, kHex), "01 AB");
    EXPECT_EQ(FormatBytes(bytes, kHex, "0x"), "0x01 0xAB");
    EXPECT_EQ(FormatBytes(bytes, kBinary), "00000001 10101011");
    EXPECT_EQ(FormatBytes(bytes, kCharacters), ".«");  // Windows-1252 171
    EXPECT_EQ(FormatBytes({72, 105, 0, 228, 128}, kCharacters), "Hi.ä€");
    EXPECT_EQ(FormatBytes({}, kHex), "");
    EXPECT_EQ(FormatBytes({1, 2}, 7), "");
}

TEST(FormatBytes, CharactersAreTrimmedAndOutOfByteValuesShowAsQuestionMarks) {
    EXPECT_EQ(FormatBytes({32, 65, 32, 32}, kCharacters), "A");
    EXPECT_EQ(FormatBytes({-5, 300, 66}, kCharacters), ".?B");
}

TEST(FormatBytes, CountLimitsAndIsReported) {
    const Values v{1, 2, 3, 4};
    int16_t count = 2;
    EXPECT_EQ(FormatBytes(v, kDecimal, count, "", false), "1 2");
    count = -1;
    EXPECT_EQ(FormatBytes(v, kHex, count, "", false), "01 02 03 04");
    EXPECT_EQ(count, 4);
    count = 10;  // more than there is: every element, nothing beyond
    EXPECT_EQ(FormatBytes(v, kHex, count, "", false), "01 02 03 04");
    count = 0;
    EXPECT_EQ(FormatBytes(v, kHex, count, "", false), "");
}

TEST(FormatBytes, PairJoinsTwoBytesIntoOneNumber) {
    int16_t count = 2;
    EXPECT_EQ(FormatBytes({1, 44, 9}, kDecimal, count, "", true), "300");
    EXPECT_EQ(count, 1);
    count = 3;  // only a count of exactly two pairs
    EXPECT_EQ(FormatBytes({1, 44, 9}, kDecimal, count, "", true), "1 44 9");
    count = 2;  // a lone byte never reads past the data
    EXPECT_EQ(FormatBytes({7}, kDecimal, count, "", true), "7");
    count = 2;  // hex ignores the pair flag
    EXPECT_EQ(FormatBytes({1, 44}, kHex, count, "", true), "01 2C");
}

TEST(FormatBytes, CountOfTooManyElementsOverflows) {
    const Values big(40000, 0);
    EXPECT_EQ(ErrorOf([&] { FormatBytes(big, kHex); }), vberr::Overflow);
}

struct ParseCase {
    const char* text;
    int form;
    int width;
    bool pair;
    int status;
    Values bytes;
};

class ParseBytesTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseBytesTest, StatusAndBytes) {
    const ParseCase& c = GetParam();
    Values out{99, 99};
    int16_t count = -5;
    EXPECT_EQ(ParseBytes(c.text, c.form, c.width, out, count, c.pair), c.status);
    EXPECT_EQ(out, c.bytes);
    EXPECT_EQ(count, static_cast<int16_t>(c.bytes.size()));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, ParseBytesTest,
    ::testing::Values(
        // decimal
        ParseCase{"1 22 255", kDecimal, 1, false, kParseOk, {1, 22, 255}},
        ParseCase{"  7   8 ", kDecimal, 1, false, kParseOk, {7, 8}},
        ParseCase{"", kDecimal, 1, false, kParseOk, {}},
        ParseCase{"1 256 3", kDecimal, 1, false, kParseMismatch, {1}},
        ParseCase{"0001", kDecimal, 1, false, kParseMismatch, {}},
        ParseCase{"-1", kDecimal, 1, false, kParseMismatch, {}},
        ParseCase{"1.5", kDecimal, 1, false, kParseMismatch, {}},
        ParseCase{"300", kDecimal, 2, false, kParseMismatch, {}},  // width 2 alone: bytes
        // decimal pairs
        ParseCase{"300 65535", kDecimal, 2, true, kParseOk, {1, 44, 255, 255}},
        ParseCase{"7", kDecimal, 2, true, kParseOk, {0, 7}},
        ParseCase{"65536", kDecimal, 2, true, kParseMismatch, {}},
        ParseCase{"100000", kDecimal, 2, true, kParseMismatch, {}},
        ParseCase{"300", kDecimal, 1, true, kParseMismatch, {}},  // width 1: bytes
        // hex
        ParseCase{"0x01 0XaB 0xf", kHex, 1, false, kParseOk, {1, 171, 15}},
        ParseCase{"&H1F", kHex, 1, false, kParseOk, {31}},
        ParseCase{"0x01 0x123", kHex, 1, false, kParseMismatch, {1}},
        ParseCase{"01", kHex, 1, false, kParseMismatch, {}},
        ParseCase{"0x", kHex, 1, false, kParseMismatch, {}},
        ParseCase{"0xG1", kHex, 1, false, kParseMismatch, {}},
        // binary
        ParseCase{"00000001 10101011", kBinary, 1, false, kParseOk, {1, 171}},
        ParseCase{"1010101", kBinary, 1, false, kParseMismatch, {}},
        ParseCase{"11111111 101010102", kBinary, 1, false, kParseMismatch, {255}},
        // characters
        ParseCase{"Aä €", kCharacters, 1, false, kParseOk, {65, 228, 32, 128}},
        ParseCase{"", kCharacters, 1, false, kParseEmpty, {}},
        // unknown form
        ParseCase{"1", 9, 1, false, kParseMismatch, {}}));

TEST(ParseBytes, CommaInAHexFieldIsAConversionError) {
    Values out;
    int16_t count = 0;
    EXPECT_EQ(ErrorOf([&] { ParseBytes("0x1,", kHex, 1, out, count, false); }),
              vberr::TypeMismatch);
}

TEST(ParseBytes, RoundTripsWithFormatBytes) {
    const Values bytes{0, 1, 127, 128, 200, 255};
    for (int form : {kDecimal, kHex, kBinary}) {
        Values out;
        int16_t count = 0;
        const std::string text = FormatBytes(bytes, form, "0x");
        EXPECT_EQ(ParseBytes(text, form, 1, out, count, false), kParseOk) << text;
        EXPECT_EQ(out, bytes) << text;
    }
}

TEST(CycleTime, EncodesByRange) {
    const std::pair<double, int16_t> cases[] = {
        {2.3, 23},    {10.0, 73},   {6.4, 64},    {0.0, 0},     {6.5, 64},
        {6.6, 64},    {6.8, 65},    {32.0, 128},  {33.6, 129},  {134.4, 192},
        {140.8, 193}, {537.6, 255}, {537.0, 255}, {544.0, 256}, {-0.3, -3}};
    for (auto [ms, code] : cases) EXPECT_EQ(EncodeCycleTime(ms), code) << ms;
    EXPECT_EQ(ErrorOf([] { EncodeCycleTime(1e6); }), vberr::Overflow);
}

TEST(CycleTime, DecodesByTimeBase) {
    const std::pair<int32_t, double> cases[] = {{0, 0.0},     {23, 2.3},   {63, 6.3},
                                                {64, 6.4},    {73, 10.0},  {128, 32.0},
                                                {192, 134.4}, {255, 537.6}};
    for (auto [code, ms] : cases) EXPECT_NEAR(DecodeCycleTime(code), ms, 1e-9) << code;
    // Every code survives the way back.
    for (int code = 0; code < 256; ++code)
        EXPECT_EQ(EncodeCycleTime(DecodeCycleTime(code)), code) << code;
}

TEST(CheckNumber, AcceptsEitherDecimalSeparatorUpToTheBound) {
    struct Case {
        const char* text;
        bool ok;
        double value;
    };
    const Case cases[] = {{"537", true, 537},    {"537.0", true, 537}, {"537,0", true, 537},
                          {"5,4", true, 5.4},    {" 5.4 ", true, 5.4}, {",5", true, 0.5},
                          {"-3", true, -3},      {"537.1", false, 0},  {"537,01", false, 0},
                          {"", false, 0},        {",", false, 0},      {".", false, 0},
                          {"1.000,5", false, 0}, {"1e2", false, 0},    {"&H10", false, 0},
                          {"12a", false, 0},     {"- 1", false, 0}};
    for (const Case& c : cases) {
        double v = -1;
        EXPECT_EQ(CheckNumber(c.text, 537.0, &v), c.ok) << c.text;
        if (c.ok) {
            EXPECT_DOUBLE_EQ(v, c.value) << c.text;
        }
    }
    EXPECT_TRUE(CheckNumber("12", 537.0));  // the value is optional
}

TEST(ParseIndex, DecimalAndHexAgainstTheMaximum) {
    struct Case {
        const char* text;
        int32_t max;
        bool ok;
        int32_t value;
    };
    const Case cases[] = {
        {"32767", 32767, true, 32767},  {"32768", 32767, false, 0},  {"0", 32767, true, 0},
        {"00016", 32767, true, 16},     {"000016", 32767, false, 0}, {"255", 255, true, 255},
        {"256", 255, false, 0},         {"0255", 255, false, 0},     {"0x10", 32767, true, 16},
        {"0X7fff", 32767, true, 32767}, {"0x8000", 32767, false, 0}, {"0x00010", 32767, false, 0},
        {"0xFF", 255, true, 255},       {"0x0FF", 255, false, 0},    {"0x", 255, false, 0},
        {"0xG", 255, false, 0},         {"", 255, false, 0},         {"  ", 255, false, 0},
        {" 16 ", 255, true, 16},        {"-1", 255, false, 0},       {"+1", 255, false, 0},
        {"1.0", 255, false, 0},         {"&H10", 255, false, 0}};
    for (const Case& c : cases) {
        int32_t v = -7;
        EXPECT_EQ(ParseIndex(c.text, c.max, v), c.ok) << c.text << " max " << c.max;
        EXPECT_EQ(v, c.ok ? c.value : -7) << c.text;
    }
}

}  // namespace
}  // namespace kestrova
