#include "tools/Vb.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tools/testing/VbTesting.h"

namespace kestrova {
namespace {

TEST(VbError, CarriesNumberAndReadableText) {
    EXPECT_EQ(VbError(vberr::TypeMismatch, "").Number(), 13);
    EXPECT_STREQ(VbError(vberr::TypeMismatch, "").Description(), "Type mismatch");
    EXPECT_STREQ(VbError(vberr::Overflow, "cycle too large").Description(), "cycle too large");
    EXPECT_EQ(VbErrorText(vberr::SubscriptOutOfRange), "Subscript out of range");
}

TEST(VbConversions, NarrowingRaisesOverflow) {
    EXPECT_EQ(CInt(int64_t{32767}), 32767);
    EXPECT_EQ(CInt(int64_t{-32768}), -32768);
    EXPECT_EQ(CInt(32766.5), 32766);  // halves go to even
    EXPECT_EQ(CByte(int64_t{255}), 255);
    EXPECT_EQ(CLng(std::string_view("2.5")), 2);
    const std::function<void()> overflows[] = {[] { CInt(int64_t{32768}); },
                                               [] { CInt(int64_t{-32769}); },
                                               [] { CInt(32767.5); },  // rounds to 32768
                                               [] { CInt(std::nan("")); },
                                               [] { CLng(int64_t{1} << 31); },
                                               [] { CByte(int64_t{256}); },
                                               [] { CByte(int64_t{-1}); },
                                               [] { CInt(std::string_view("40000")); }};
    for (size_t i = 0; i < std::size(overflows); ++i)
        EXPECT_EQ(ErrorOf(overflows[i]), vberr::Overflow) << i;
    EXPECT_EQ(ErrorOf([] { CLng(std::string_view("abc")); }), vberr::TypeMismatch);
}

TEST(VbConversions, TextToNumberIsStrict) {
    const std::pair<const char*, double> accepted[] = {
        {"12", 12},   {"  -7 ", -7},  {"+3.5", 3.5},      {"1e3", 1000},
        {"&H10", 16}, {"&hFFFF", -1}, {"&H10000", 65536}, {"&O17", 15}};
    for (auto [text, value] : accepted) {
        double v = -99;
        EXPECT_TRUE(TryCDbl(text, v)) << text;
        EXPECT_DOUBLE_EQ(v, value) << text;
    }
    for (const char* text : {"", "   ", "12a", "1,5", "0x10", "&H", ".", "1e", "--1"}) {
        double v = -99;
        EXPECT_FALSE(TryCDbl(text, v)) << text;
    }
}

TEST(VbConversions, BankersRounding) {
    const std::pair<double, double> cases[] = {{0.5, 0},   {1.5, 2},  {2.5, 2}, {-0.5, 0},
                                               {-1.5, -2}, {2.4, 2},  {2.6, 3}, {22.5, 22},
                                               {23.5, 24}, {-2.6, -3}};
    for (auto [in, out] : cases) EXPECT_EQ(RoundBankers(in), out) << in;
}

TEST(VbText, NumbersAsText) {
    // 15 significant digits hide the binary noise of 0.1 + 0.2.
    const std::pair<double, const char*> str[] = {
        {1.0625, "1.0625"}, {1.0, "1"}, {-0.5, "-0.5"}, {0.1 + 0.2, "0.3"}};
    for (auto [v, text] : str) EXPECT_EQ(Str(v), text) << v;
    EXPECT_EQ(Str(int64_t{-42}), "-42");
    // Halves away from zero on the decimal the user sees, even when it is computed a hair
    // below the half (1.45 - 1.3 is 0.1499..).
    const std::pair<double, const char*> fixed[] = {
        {10.0, "10.0"},      {0.0, "0.0"},     {2.3, "2.3"},   {0.15, "0.2"},    {0.25, "0.3"},
        {1.45 - 1.3, "0.2"}, {537.6, "537.6"}, {-0.04, "0.0"}, {134.44, "134.4"}};
    for (auto [v, text] : fixed) EXPECT_EQ(FormatFixed(v, 1), text) << v;
}

TEST(VbText, CaseTrimAndMid) {
    EXPECT_TRUE(IEquals("ONLINE+ az", "online+ AZ"));
    EXPECT_FALSE(IEquals("SIO", "SIO "));
    EXPECT_EQ(UCase("grün"), "GRüN");  // only ASCII letters fold; UTF-8 stays intact
    EXPECT_EQ(LCase("ABC-1"), "abc-1");
    EXPECT_EQ(IFind("IO-Link Master (COM3)", "com"), 16u);
    EXPECT_EQ(IFind("abc", "abcd"), std::string_view::npos);
    EXPECT_EQ(IFind("abcabc", "ABC", 1), 3u);
    EXPECT_EQ(Trim("  a b  "), "a b");
    EXPECT_EQ(Trim("\ta\t"), "\ta\t");  // blanks only
    EXPECT_EQ(LTrim("  a "), "a ");
    EXPECT_EQ(RTrim("  a "), "  a");
    EXPECT_EQ(Trim("   "), "");
    EXPECT_EQ(Mid("ERROR:17", 7), "17");
    EXPECT_EQ(Mid("FEHLÄR:17", 7), ":17");  // Ä is one character of two bytes
    EXPECT_EQ(Mid("2009-03-05", 6, 2), "03");
    EXPECT_EQ(Mid("abc", 9), "");
    EXPECT_EQ(Mid("abc", 2, 0), "");
    EXPECT_EQ(ErrorOf([] { Mid("abc", 0); }), vberr::InvalidProcedureCall);
}

// Index, date and position fields lean on this: anything a number parser would still accept
// (sign, blanks, hex, nothing at all) must not pass as digits.
TEST(VbText, DigitsOnly) {
    EXPECT_TRUE(IsDigits("0"));
    EXPECT_TRUE(IsDigits("0123456789"));
    for (const char* text : {"", " 1", "1 ", "+1", "-1", "1.0", "&H1", "0x1", "1e3", "\xD9\xA1"})
        EXPECT_FALSE(IsDigits(text)) << text;
}

TEST(VbCodePage, Windows1252RoundTrip) {
    EXPECT_EQ(Cp1252Char(0xE4), "ä");
    EXPECT_EQ(Cp1252Char(0x80), "€");
    EXPECT_EQ(Utf8ToCp1252("ä€A"), (std::vector<uint8_t>{0xE4, 0x80, 'A'}));
    EXPECT_EQ(Utf8ToCp1252("Ω"), (std::vector<uint8_t>{'?'}));  // no code in the page
    std::vector<uint8_t> all;
    for (int b = 0; b < 256; ++b) all.push_back(static_cast<uint8_t>(b));
    EXPECT_EQ(Utf8ToCp1252(Cp1252ToUtf8(all)), all);
    EXPECT_EQ(CharCount("ä€A"), 3u);
}

}  // namespace
}  // namespace kestrova
