#include "tools/NumberFormats.h"

#include <gtest/gtest.h>

#include <ctime>
#include <tuple>

#include "tools/testing/VbTesting.h"

namespace kestrova {
namespace {

// In the tables: forms 0 decimal, 1 hex, 2 binary, 3 characters; errors 13 Type mismatch,
// 6 Overflow, 0 none; byte arrays as blank-separated numbers.

TEST(GetToken, CutsAtTheSeparatorAndTrims) {
    // text, separator, remove -> field, rest. Without the separator the field is all of it;
    // the separator is case-sensitive.
    const std::tuple<const char*, const char*, bool, const char*, const char*> cases[] = {
        {"a , b", ",", true, "a", "b"},   {"b", ",", true, "b", ""},
        {"aXbxc", "x", true, "aXb", "c"}, {" OK:rest ", ":", false, "OK", " OK:rest "},
        {"", ",", true, "", ""},          {"one::two", "::", true, "one", "two"}};
    for (auto [in, sep, remove, field, rest] : cases) {
        std::string text = in;
        EXPECT_EQ(GetToken(text, remove, sep), field) << in;
        EXPECT_EQ(text, rest) << in;
    }
}

TEST(GetNumber, UntrimmedFieldsAndConversionErrors) {
    // text, hex -> value, error, rest. Neither field nor rest is trimmed, so a doubled blank
    // leaves an empty field; the field is consumed before it is converted; &HFFFF is -1.
    const std::tuple<const char*, bool, int32_t, int32_t, const char*> cases[] = {
        {"12  34", false, 12, 0, " 34"},  {" 34", false, 0, 13, "34"},
        {"1A,FFFF", true, 26, 0, "FFFF"}, {"FFFF", true, -1, 0, ""},
        {"x1 2", false, 0, 13, "2"},      {"99999999999", false, 0, 6, ""}};
    for (auto [in, hex, value, error, rest] : cases) {
        std::string text = in;
        int32_t got = 0;
        EXPECT_EQ(ErrorOf([&] { got = GetNumber(text, true, hex, hex ? "," : " "); }), error) << in;
        EXPECT_EQ(got, value) << in;
        EXPECT_EQ(text, rest) << in;
    }
    std::string kept = "7 8";
    EXPECT_EQ(GetNumber(kept, false, false, " "), 7);
    EXPECT_EQ(kept, "7 8");
}

TEST(FormatHex, PadsNeverCutsAndFoldsCase) {
    EXPECT_EQ(FormatHex(10, 2, "0x", true), "0x0A");
    EXPECT_EQ(FormatHex(10, 2, "", false), "0a");
    EXPECT_EQ(FormatHex(0x1A05, 2, "", true), "1A05");
    EXPECT_EQ(FormatHex(-1, 2, "", true), "FFFFFFFF");
}

TEST(FormatBytes, FormsCountAndPair) {
    // values, form, count, pair -> text, count after. Characters: below 32 a dot, outside a
    // byte '?', Windows-1252 otherwise, trimmed. The count never reaches beyond the data. A
    // pair joins two bytes into one number only with a count of exactly two, and a lone byte
    // never reads past the data.
    const std::tuple<Values, int, int16_t, int, const char*, int16_t> cases[] = {
        {{1, 2, 3, 4}, 1, 0, 0, "", 0},   {{1, 171}, 2, -1, 0, "00000001 10101011", 2},
        {{1, 171}, 0, -1, 0, "1 171", 2}, {{72, 105, 0, 228, 128}, 3, -1, 0, "Hi.ä€", 5},
        {{1, 171}, 1, -1, 0, "01 AB", 2}, {{-5, 300, 66}, 3, -1, 0, ".?B", 3},
        {{}, 1, -1, 0, "", -1},           {{32, 65, 32, 32}, 3, -1, 0, "A", 4},
        {{1, 44, 9}, 0, 2, 1, "300", 1},  {{1, 2, 3, 4}, 0, 2, 0, "1 2", 2},
        {{7}, 0, 2, 1, "7", 2},           {{1, 2, 3, 4}, 1, 10, 0, "01 02 03 04", 10},
        {{1, 44}, 1, 2, 1, "01 2C", 2},   {{1, 44, 9}, 0, 3, 1, "1 44 9", 3}};
    for (const auto& [values, form, count, pair, text, countAfter] : cases) {
        int16_t n = count;
        EXPECT_EQ(FormatBytes(values, form, n, "", pair), text) << text;
        EXPECT_EQ(n, countAfter) << text;
    }
    EXPECT_EQ(FormatBytes({1, 171}, kHex, "0x"), "0x01 0xAB");
    EXPECT_EQ(ErrorOf([] { FormatBytes(Values(40000, 0), kHex); }), vberr::Overflow);
}

TEST(ParseBytes, StatusAndAcceptedBytes) {
    // text, form, width, pair -> status (0 ok, 1 empty, 2 mismatch) and the bytes accepted
    // before the first bad field. Only width 2 with the pair flag reads 16-bit numbers.
    const std::tuple<const char*, int, int, int, int, const char*> cases[] = {
        {"0001", 0, 1, 0, 2, ""},  {"1 22 255", 0, 1, 0, 0, "1 22 255"},
        {"-1", 0, 1, 0, 2, ""},    {"7   8 ", 0, 1, 0, 0, "7 8"},
        {" 1", 0, 1, 0, 2, ""},    {"   ", 0, 1, 0, 2, ""},
        {"", 0, 1, 0, 0, ""},      {"1 256 3", 0, 1, 0, 2, "1"},
        {"300", 0, 2, 0, 2, ""},   {"300 65535", 0, 2, 1, 0, "1 44 255 255"},
        {"300", 0, 1, 1, 2, ""},   {"100000", 0, 2, 1, 2, ""},
        {"7", 0, 2, 1, 0, "0 7"},  {"0x01 0XaB 0xf", 1, 1, 0, 0, "1 171 15"},
        {"65536", 0, 2, 1, 2, ""}, {"&H1F", 1, 1, 0, 0, "31"},
        {"01", 1, 1, 0, 2, ""},    {"0x01 0x123", 1, 1, 0, 2, "1"},
        {"0x", 1, 1, 0, 2, ""},    {"00000001 10101011", 2, 1, 0, 0, "1 171"},
        {"0xG1", 1, 1, 0, 2, ""},  {"1010101", 2, 1, 0, 2, ""},
        {"", 3, 1, 0, 1, ""},      {"11111111 101010102", 2, 1, 0, 2, "255"},
        {"1", 9, 1, 0, 2, ""},     {"Aä €", 3, 1, 0, 0, "65 228 32 128"}};
    for (auto [text, form, width, pair, status, bytes] : cases) {
        Values out{99, 99};
        int16_t count = -5;
        EXPECT_EQ(ParseBytes(text, form, width, out, count, pair), status) << text;
        EXPECT_EQ(Text(out), bytes) << text;
        EXPECT_EQ(count, static_cast<int16_t>(out.size())) << text;
    }
    // The comma belongs to the hex field pattern, so "0x1," matches and then fails to convert.
    Values out;
    int16_t count = 0;
    EXPECT_EQ(ErrorOf([&] { ParseBytes("0x1,", kHex, 1, out, count, false); }), 13);
}

TEST(ParseBytes, LimitStopsAtTheFirstFieldBeyondIt) {
    // text, form, width, pair, limit -> status (3 too long) and the bytes within the limit.
    const std::tuple<const char*, int, int, int, int, int, const char*> cases[] = {
        {"1 2 3", 0, 1, 0, 2, 3, "1 2"},  {"1 2", 0, 1, 0, 2, 0, "1 2"},
        {"1 2 x", 0, 1, 0, 2, 2, "1 2"},  {"7 300", 0, 2, 1, 3, 3, "0 7"},
        {"aé€", 3, 1, 0, 2, 3, "97 233"}, {"aé", 3, 1, 0, 2, 0, "97 233"},
        {"", 3, 1, 0, 0, 1, ""},          {"0x1 0x2", 1, 1, 0, 0, 3, ""}};
    for (auto [text, form, width, pair, limit, status, bytes] : cases) {
        Values out;
        int16_t count = 0;
        EXPECT_EQ(ParseBytes(text, form, width, out, count, pair, limit), status) << text;
        EXPECT_EQ(Text(out), bytes) << text;
        EXPECT_EQ(count, static_cast<int16_t>(out.size())) << text;
    }
}

// What a half-typed entry says, found the slow and obvious way: drop the last character until
// the parser accepts the rest within the limit.
Values ReadableByDropping(std::string text, int form, int limit) {
    for (;;) {
        Values out;
        int16_t count = 0;
        const int status = ErrorOf([&] {
            if (ParseBytes(text, form, 1, out, count, false) != kParseOk || count > limit)
                out = {-1};
        });
        if (status == 0 && out != Values{-1}) return out;
        if (text.empty()) return {};
        size_t cut = text.size() - 1;
        while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
        text.erase(cut);
    }
}

TEST(ParseReadablePart, SameAsDroppingCharactersUntilTheRestReads) {
    const std::tuple<const char*, int> texts[] = {
        {"18 300", 0},        {"1 2 25", 0},    {"1 2 3 4", 0},    {" 1", 0},
        {"12x", 0},           {"", 0},          {"0x12 0x3", 1},   {"0x1,", 1},
        {"0x12 0x1G3", 1},    {"0x1 0x", 1},    {"&h1f 0xab1", 1}, {"0x12 0x34 0x5", 1},
        {"00000001 0101", 2}, {"000000011", 2}, {"0000000", 2},    {"abcd", 3},
        {"aä€b", 3},          {"", 3},          {"1 2", 9},        {"1 2 3", 0}};
    for (auto [text, form] : texts)
        for (int limit : {2, 3, 250})
            EXPECT_EQ(Text(ParseReadablePart(text, form, limit)),
                      Text(ReadableByDropping(text, form, limit)))
                << text << " form " << form << " limit " << limit;
}

TEST(Parsing, LongTextsTakeLinearTime) {
    // Megabytes of entry or answer text: each of these took seconds to minutes when every
    // field copied the rest of the text or parsing went on past the limit.
    const std::clock_t start = std::clock();  // CPU time: a busy machine does not count
    std::string fields;
    for (int i = 0; i < 500'000; ++i) fields += "1 ";
    EXPECT_EQ(ParseReadablePart(fields, kDecimal, 250).size(), 250u);
    EXPECT_EQ(ParseReadablePart(std::string(1 << 20, '1'), kDecimal, 250), Values({111}));
    EXPECT_EQ(ParseReadablePart(std::string(1 << 20, 'x'), kCharacters, 250).size(), 250u);
    Values out;
    int16_t count = 0;
    EXPECT_EQ(ParseBytes(fields, kDecimal, 1, out, count, false, 250), kParseTooLong);
    std::string_view rest = fields;
    int64_t sum = 0;
    while (!rest.empty()) sum += TakeNumber(rest, false, " ");
    EXPECT_EQ(sum, 500'000);
    EXPECT_LT(std::clock() - start, 10 * CLOCKS_PER_SEC);
}

TEST(CycleTime, EncodeAndDecode) {
    const std::pair<double, int16_t> exact[] = {
        {0.0, 0},    {2.3, 23},   {6.3, 63},    {6.4, 64},    {10.0, 73},
        {32.0, 128}, {33.6, 129}, {134.4, 192}, {140.8, 193}, {537.6, 255}};
    for (auto [ms, code] : exact) {
        EXPECT_EQ(EncodeCycleTime(ms), code) << ms;
        EXPECT_NEAR(DecodeCycleTime(code), ms, 1e-9) << code;
    }
    // Between the steps halves go to the even code (6.6 is 64.5, 7.0 is 65.5); nothing is
    // clamped, and a code too large for 16 bits overflows.
    const std::pair<double, int16_t> between[] = {
        {0.25, 2},   {6.5, 64},    {6.6, 64},    {7.0, 66},    {6.8, 65}, {32.8, 128},
        {34.4, 130}, {137.6, 192}, {537.0, 255}, {544.0, 256}, {-0.3, -3}};
    for (auto [ms, code] : between) EXPECT_EQ(EncodeCycleTime(ms), code) << ms;
    EXPECT_EQ(ErrorOf([] { EncodeCycleTime(1e6); }), vberr::Overflow);
    for (int code = 0; code < 256; ++code)
        EXPECT_EQ(EncodeCycleTime(DecodeCycleTime(code)), code) << code;
}

TEST(CheckNumber, AcceptsEitherDecimalSeparatorUpToTheBound) {
    const std::pair<const char*, double> accepted[] = {{"537", 537}, {"537.0", 537}, {"537,0", 537},
                                                       {"5,4", 5.4}, {" 5.4 ", 5.4}, {",5", 0.5},
                                                       {"-3", -3}};
    for (auto [text, value] : accepted) {
        double v = -1;
        EXPECT_TRUE(CheckNumber(text, 537.0, &v)) << text;
        EXPECT_DOUBLE_EQ(v, value) << text;
    }
    for (const char* text :
         {"537.1", "537,01", "", ",", ".", "1.000,5", "1e2", "&H10", "12a", "- 1"})
        EXPECT_FALSE(CheckNumber(text, 537.0)) << text;
    EXPECT_TRUE(CheckNumber("12", 537.0));  // the value is optional
}

TEST(ParseIndex, DecimalAndHexAgainstTheMaximum) {
    // text, max -> value; -7 means rejected (and the value left alone).
    const std::tuple<const char*, int32_t, int32_t> cases[] = {
        {"32767", 32767, 32767},  {"32768", 32767, -7},  {"0", 32767, 0},
        {"00016", 32767, 16},     {"000016", 32767, -7}, {"255", 255, 255},
        {"256", 255, -7},         {"0255", 255, -7},     {"0x10", 32767, 16},
        {"0X7fff", 32767, 32767}, {"0x8000", 32767, -7}, {"0x00010", 32767, -7},
        {"0xFF", 255, 255},       {"0x0FF", 255, -7},    {"0x", 255, -7},
        {"0xG", 255, -7},         {"", 255, -7},         {"  ", 255, -7},
        {" 16 ", 255, 16},        {"-1", 255, -7},       {"+1", 255, -7},
        {"1.0", 255, -7},         {"&H10", 255, -7}};
    for (auto [text, max, value] : cases) {
        int32_t v = -7;
        EXPECT_EQ(ParseIndex(text, max, v), value != -7) << text << " max " << max;
        EXPECT_EQ(v, value) << text;
    }
}

}  // namespace
}  // namespace kestrova
