#include "tools/Vb.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kestrova {
namespace {

int32_t ErrorOf(void (*f)()) {
    try {
        f();
    } catch (const VbError& e) {
        return e.Number();
    }
    return 0;
}

TEST(VbError, CarriesNumberAndReadableText) {
    const VbError plain(vberr::TypeMismatch, "");
    EXPECT_EQ(plain.Number(), 13);
    EXPECT_STREQ(plain.Description(), "Type mismatch");
    const VbError own(vberr::Overflow, "cycle time too large");
    EXPECT_STREQ(own.Description(), "cycle time too large");
    EXPECT_EQ(VbErrorText(vberr::SubscriptOutOfRange), "Subscript out of range");
}

TEST(VbConversions, SixteenBitBoundsRaiseOverflow) {
    EXPECT_EQ(CInt(int64_t{32767}), 32767);
    EXPECT_EQ(CInt(int64_t{-32768}), -32768);
    EXPECT_EQ(ErrorOf([] { CInt(int64_t{32768}); }), vberr::Overflow);
    EXPECT_EQ(ErrorOf([] { CInt(int64_t{-32769}); }), vberr::Overflow);
    EXPECT_EQ(ErrorOf([] { CInt(32767.5); }), vberr::Overflow);  // rounds to 32768
    EXPECT_EQ(CInt(32766.5), 32766);                             // halves go to even
    EXPECT_EQ(ErrorOf([] { CInt(std::nan("")); }), vberr::Overflow);
    EXPECT_EQ(ErrorOf([] { CLng(int64_t{1} << 31); }), vberr::Overflow);
    EXPECT_EQ(ErrorOf([] { CByte(int64_t{256}); }), vberr::Overflow);
    EXPECT_EQ(ErrorOf([] { CByte(int64_t{-1}); }), vberr::Overflow);
    EXPECT_EQ(CByte(int64_t{255}), 255);
}

TEST(VbConversions, TextToNumberIsStrict) {
    struct Case {
        const char* text;
        bool ok;
        double value;
    };
    const Case cases[] = {
        {"12", true, 12},   {"  -7 ", true, -7},  {"+3.5", true, 3.5},      {"1e3", true, 1000},
        {"&H10", true, 16}, {"&hFFFF", true, -1}, {"&H10000", true, 65536}, {"&O17", true, 15},
        {"", false, 0},     {"   ", false, 0},    {"12a", false, 0},        {"1,5", false, 0},
        {"0x10", false, 0}, {"&H", false, 0},     {".", false, 0},          {"1e", false, 0},
        {"--1", false, 0},
    };
    for (const Case& c : cases) {
        double v = -99;
        EXPECT_EQ(TryCDbl(c.text, v), c.ok) << c.text;
        if (c.ok) {
            EXPECT_DOUBLE_EQ(v, c.value) << c.text;
        }
    }
    EXPECT_EQ(ErrorOf([] { CLng(std::string_view("abc")); }), vberr::TypeMismatch);
    EXPECT_EQ(ErrorOf([] { CLng(std::string_view("")); }), vberr::TypeMismatch);
    EXPECT_EQ(ErrorOf([] { CInt(std::string_view("40000")); }), vberr::Overflow);
    EXPECT_EQ(CLng(std::string_view("2.5")), 2);
    EXPECT_EQ(CLng(std::string_view("3.5")), 4);
}

TEST(VbConversions, BankersRounding) {
    const std::pair<double, double> cases[] = {{0.5, 0},   {1.5, 2},  {2.5, 2}, {-0.5, 0},
                                               {-1.5, -2}, {2.4, 2},  {2.6, 3}, {22.5, 22},
                                               {23.5, 24}, {-2.6, -3}};
    for (auto [in, out] : cases) EXPECT_EQ(RoundBankers(in), out) << in;
}

TEST(VbText, StrPrintsLikeTheRuntime) {
    EXPECT_EQ(Str(1.0625), "1.0625");
    EXPECT_EQ(Str(1.0), "1");
    EXPECT_EQ(Str(-0.5), "-0.5");
    EXPECT_EQ(Str(0.1 + 0.2), "0.3");  // 15 significant digits hide the binary noise
    EXPECT_EQ(Str(int64_t{-42}), "-42");
}

TEST(VbText, FormatFixedOneDecimal) {
    const std::pair<double, const char*> cases[] = {
        {10.0, "10.0"}, {0.0, "0.0"},     {2.3, "2.3"},   {0.15, "0.2"},
        {0.25, "0.3"},  {537.6, "537.6"}, {-0.04, "0.0"}, {134.44, "134.4"}};
    for (auto [in, out] : cases) EXPECT_EQ(FormatFixed(in, 1), out) << in;
}

TEST(VbText, CaseInsensitiveHelpers) {
    EXPECT_TRUE(IEquals("ONLINE+", "online+"));
    EXPECT_FALSE(IEquals("SIO", "SIO "));
    EXPECT_EQ(UCase("grün"), "GRüN");  // only ASCII letters fold; UTF-8 stays intact
    EXPECT_EQ(LCase("ABC-1"), "abc-1");
    EXPECT_EQ(IFind("IO-Link Master (COM3)", "com"), 16u);
    EXPECT_EQ(IFind("abc", "abcd"), std::string_view::npos);
    EXPECT_EQ(IFind("abcabc", "ABC", 1), 3u);
}

TEST(VbText, TrimRemovesBlanksOnly) {
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("\ta\t"), "\ta\t");
    EXPECT_EQ(LTrim("  a "), "a ");
    EXPECT_EQ(RTrim("  a "), "  a");
    EXPECT_EQ(Trim("   "), "");
}

TEST(VbText, MidCountsCharacters) {
    EXPECT_EQ(Mid("ERROR:17", 7), "17");
    EXPECT_EQ(Mid("FEHLÄR:17", 7), ":17");  // Ä is one character of two bytes
    EXPECT_EQ(Mid("2009-03-05", 6, 2), "03");
    EXPECT_EQ(Mid("abc", 9), "");
    EXPECT_EQ(Mid("abc", 2, 0), "");
    EXPECT_EQ(ErrorOf([] { Mid("abc", 0); }), vberr::InvalidProcedureCall);
}

TEST(VbCodePage, Windows1252RoundTrip) {
    EXPECT_EQ(Cp1252Char(0xE4), "ä");
    EXPECT_EQ(Cp1252Char(0x80), "€");
    EXPECT_EQ(Cp1252Char('A'), "A");
    EXPECT_EQ(Utf8ToCp1252("ä€A"), (std::vector<uint8_t>{0xE4, 0x80, 'A'}));
    EXPECT_EQ(Utf8ToCp1252("Ω"), (std::vector<uint8_t>{'?'}));  // no code in the page
    std::vector<uint8_t> all;
    for (int b = 0; b < 256; ++b) all.push_back(static_cast<uint8_t>(b));
    EXPECT_EQ(Utf8ToCp1252(Cp1252ToUtf8(all)), all);
    EXPECT_EQ(CharCount("ä€A"), 3u);
}

}  // namespace
}  // namespace kestrova
