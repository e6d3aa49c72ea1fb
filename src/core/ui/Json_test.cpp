#include "ui/Json.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace kestrova::ui {
namespace {

using Names = std::vector<std::string>;

TEST(Json, StringsEscapeWhatJsonRequiresAndReplaceBytesThatAreNotUtf8) {
    using namespace std::string_literals;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", ""},
        {"say \"hi\" C:\\ \n\r\t\b\f\x01\x1f\x7f\0"s,
         R"(say \"hi\" C:\\ \n\r\t\b\f\u0001\u001f\u007f\u0000)"},
        {"Überblick € 😀 +&/", "Überblick € 😀 +&/"},
        // A stray continuation byte, overlong forms, a surrogate half, a value above U+10FFFF,
        // a Windows-1252 byte and sequences cut short (by a blank, by the end); '#' stands for
        // U+FFFD.
        {"a\x80z \xC0\xAF \xE0\x80\xAF \xED\xA0\x80 \xF5\x80\x80\x80 \xE4ndern \xF0\x9F\x98 a\xC3",
         "a#z ## ### ### #### #ndern ### a#"},
    };
    for (auto [in, want] : cases) {
        for (size_t at; (at = want.find('#')) != std::string::npos;)
            want.replace(at, 1, "\xEF\xBF\xBD");
        EXPECT_EQ(JsonString(in), "\"" + want + "\"") << in;
    }
}

TEST(Json, ParseDecodesEveryEscapeAndRejectsMalformedLiterals) {
    std::string text;
    ASSERT_TRUE(ParseJsonString(R"("\u00dcber\u20AC\ud83d\ude00 ä \/\"\\\n\r\t\b\f\u0001")", text));
    EXPECT_EQ(text, "Über€😀 ä /\"\\\n\r\t\b\f\x01");
    // No closing quote, a quote inside, bad escapes, short or lone surrogates.
    for (const char* bad :
         {"", "\"", "abc", "\"abc", "abc\"", R"("a"b")", R"("\")", R"("\x41")", R"("\u12")",
          R"("\u12G4")", R"("\ud83d")", R"("\ude00")", R"("\ud83d\u0041")"}) {
        text = "unchanged";
        EXPECT_FALSE(ParseJsonString(bad, text)) << bad;
        EXPECT_EQ(text, "unchanged") << bad;
    }
}

TEST(Json, ControlIsOneObjectWithIndexForArrayElementsAndPathFirst) {
    Control label(Kind::Label, "LabelInterface");
    label.SetCaption("Interface: \"USB\"\n");
    label.SetForeColor(Rgb(255, 0, 0));
    label.Move(75, 150, 4000, 255);
    EXPECT_EQ(
        ToJson(label),
        R"({"kind":"Label","name":"LabelInterface","Caption":"Interface: \"USB\"\n",)"
        R"("Visible":true,"Enabled":true,"ForeColor":255,"BackColor":2147483663,)"
        R"("FontBold":false,"ToolTipText":"","Left":75,"Top":150,"Width":4000,"Height":255})");
    const std::string element = ToJson(Control(Kind::OptionButton, "Option1", 3), "P.Option1(3)");
    EXPECT_TRUE(element.starts_with(
        R"j({"path":"P.Option1(3)","kind":"OptionButton","name":"Option1","index":3,)j"))
        << element;
}

TEST(Json, ReadPropertyIgnoresCaseCountsElementsFromOneExceptListEntriesAndRefusesTheRest) {
    // ReadProperty does not look at the kind, so one control holds every collection.
    Control c(Kind::ListView, "C");
    c.SetCaption("Gerät");
    c.SetFontSize(9.75);
    for (const char* item : {"COM3", "\"COM4\""}) c.AddItem(item);
    for (const char* key : {"K1", "K5"}) c.AddNode(key, key + std::string("text"));
    c.SelectNode("K5");
    c.AddColumn("Nr", 500);
    c.AddRow({"7", "Übertemperatur", "x"});
    c.AddRow({"8"});
    c.AddPanel("Connected", 2000);
    c.AddPanel("Device", 1500);
    // The text, and the kind of value: 's'tring, 'n'umber, 'b'oolean or 'j'son.
    const std::vector<std::tuple<const char*, std::string, char>> cases = {
        {"caption", "Gerät", 's'},
        {"FontSize", "9.75", 'n'},
        {"visible", "true", 'b'},
        {"ListCount", "2", 'n'},
        {"List(0)", "COM3", 's'},
        {"List", R"(["COM3","\"COM4\""])", 'j'},
        {"nodes(K5).selected", "true", 'b'},
        {"Nodes(1).Selected", "false", 'b'},
        {"Nodes(K1)",
         R"({"Key":"K1","Text":"K1text","BackColor":2147483653,"ForeColor":2147483656,"Selected":false})",
         'j'},
        {"ColumnHeaders", R"([{"Text":"Nr","Width":500}])", 'j'},
        {"ColumnHeaders(1).Width", "500", 'n'},
        {"ListItems(2).SubItems(1)", "", 's'},  // a short row reads as empty cells
        {"ListItems(2)", R"(["8"])", 'j'},
        {"Panels(2)", R"({"Text":"Device","Picture":"","Width":1500})", 'j'},
        {"Panels.Count", "2", 'n'},
    };
    for (const auto& [name, text, type] : cases) {
        const PropertyValue v = ReadProperty(c, name);
        EXPECT_EQ(v.Text, text) << name;
        EXPECT_EQ(v.Json, type == 's' ? JsonString(text) : text) << name;
        EXPECT_EQ(v.IsBool, type == 'b') << name;
        EXPECT_EQ(v.IsNumber, type == 'n') << name;
    }
    // Keys compare exactly, as the tree view compares them; only SubItems takes an argument.
    const std::vector<Names> bad = {
        {"Colour", "", "Caption.Count", "Caption(1)"},
        {"List(2)", "List(-1)", "List(x)", "List(0).Text", "List(0", "List(0)x"},
        {"Nodes(K9)", "Nodes(k1)", "Nodes(0)", "Nodes(K1).Colour", "Nodes(K1).Text(1)"},
        {"ListItems(3)", "ListItems(1).SubItems(0)", "ListItems(1).SubItems",
         "ListItems(1).Text(2)"},
        {"ColumnHeaders(1).Width(1)", "Panels(0)", "Panels(3).Text", "Panels(1)."},
        {"Panels(1).Text(2)", "Panels.Count(1)"},
    };
    for (const Names& names : bad)
        for (const std::string& name : names)
            EXPECT_THROW(ReadProperty(c, name), std::invalid_argument) << name;
}

}  // namespace
}  // namespace kestrova::ui
