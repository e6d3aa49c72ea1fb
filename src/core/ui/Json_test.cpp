#include "ui/Json.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kestrova::ui {
namespace {

TEST(JsonString, EscapesWhatJsonRequiresAndPassesUtf8Through) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", R"("")"},
        {"General", R"("General")"},
        {R"(say "hi")", R"("say \"hi\"")"},
        {R"(C:\Manual\a.pdf)", R"("C:\\Manual\\a.pdf")"},
        {"a\nb\r\tc", R"("a\nb\r\tc")"},
        {std::string("nul\0x", 5), R"("nul\u0000x")"},
        {"\x01\x1f\x7f\b\f", R"("\u0001\u001f\u007f\b\f")"},
        {"Überblick gestört", "\"Überblick gestört\""},
        {"€ 😀", "\"€ 😀\""},
        {"Halver+Voss & Co", R"("Halver+Voss & Co")"},
    };
    for (const auto& [in, want] : cases) EXPECT_EQ(JsonString(in), want) << in;
}

TEST(JsonString, BytesThatAreNotUtf8BecomeReplacementCharacters) {
    const std::string r = "\xEF\xBF\xBD";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a\x80z", "a" + r + "z"},            // stray continuation byte
        {"a\xC3", "a" + r},                   // cut at the end
        {"\xC0\xAF", r + r},                  // overlong slash
        {"\xE0\x80\xAF", r + r + r},          // overlong, three bytes
        {"\xED\xA0\x80", r + r + r},          // surrogate half
        {"\xF5\x80\x80\x80", r + r + r + r},  // above U+10FFFF
        {"\xE4ndern", r + "ndern"},           // a Windows-1252 byte
        {"\xF0\x9F\x98", r + r + r},          // four-byte form cut short
    };
    for (const auto& [in, want] : cases) EXPECT_EQ(JsonString(in), "\"" + want + "\"");
}

TEST(ParseJsonString, ReadsBackWhatJsonStringWrites) {
    for (const std::string text : {"", "General", "say \"hi\"", "C:\\Manual", "a\nb\r\tc",
                                   "\x01\x7f", "Überblick € 😀", "/ and \\/"}) {
        std::string back = "unchanged";
        ASSERT_TRUE(ParseJsonString(JsonString(text), back)) << JsonString(text);
        EXPECT_EQ(back, text);
    }
}

TEST(ParseJsonString, UnicodeEscapesAndMalformedLiterals) {
    std::string text;
    ASSERT_TRUE(ParseJsonString(R"("\u00dcberblick \u20AC \ud83d\ude00 \/")", text));
    EXPECT_EQ(text, "Überblick € 😀 /");

    for (const char* bad :
         {"", "\"", "abc", "\"abc", "abc\"", R"("a"b")", R"("\")", R"("\x41")", R"("\u12")",
          R"("\u12G4")", R"("\ud83d")", R"("\ude00")", R"("\ud83d\u0041")"}) {
        text = "unchanged";
        EXPECT_FALSE(ParseJsonString(bad, text)) << bad;
        EXPECT_EQ(text, "unchanged") << bad;
    }
}

TEST(ToJson, LabelCarriesItsKindNameAndProperties) {
    Control label(Kind::Label, "LabelInterface");
    label.SetCaption("Interface: Halver+Voss IO-Link USB Master");
    label.SetForeColor(Rgb(255, 0, 0));
    label.Move(75, 150, 4000, 255);
    EXPECT_EQ(
        ToJson(label),
        R"({"kind":"Label","name":"LabelInterface","Caption":"Interface: Halver+Voss IO-Link USB Master",)"
        R"("Visible":true,"Enabled":true,"ForeColor":255,"BackColor":2147483663,"FontBold":false,)"
        R"("ToolTipText":"","Left":75,"Top":150,"Width":4000,"Height":255})");
}

TEST(ToJson, IndexOnlyForArrayElementsAndPathFirstWhenGiven) {
    Control plain(Kind::OptionButton, "Option2");
    Control element(Kind::OptionButton, "Option1", 3);
    EXPECT_EQ(ToJson(plain).find("\"index\""), std::string::npos);
    EXPECT_NE(ToJson(element).find(R"("name":"Option1","index":3,"Caption":"")"), std::string::npos)
        << ToJson(element);
    EXPECT_EQ(
        ToJson(element, "IOLinkParam1.UCParameter1.Option1(3)")
            .rfind(R"j({"path":"IOLinkParam1.UCParameter1.Option1(3)","kind":"OptionButton")j", 0),
        0u);
}

TEST(ToJson, ComboBoxListsItsEntries) {
    Control combo(Kind::ComboBox, "CBComPorts");
    combo.AddItem("IO-Link USB Master (COM3)");
    combo.AddItem("\"odd\" (COM4)");
    combo.SetListIndex(1);
    const std::string json = ToJson(combo);
    EXPECT_NE(json.find(R"j("Text":"\"odd\" (COM4)","ListIndex":1,)j"
                        R"j("List":["IO-Link USB Master (COM3)","\"odd\" (COM4)"])j"),
              std::string::npos)
        << json;
}

TEST(ToJson, TimerHasNoGeometry) {
    Control timer(Kind::Timer, "Timer1");
    timer.SetInterval(300);
    EXPECT_EQ(ToJson(timer), R"({"kind":"Timer","name":"Timer1","Enabled":true,"Interval":300})");
}

TEST(ToJson, CollectionsOfTreeListAndStatusBar) {
    Control tree(Kind::TreeView, "TreeMenu");
    tree.AddNode("K1", "Überblick");
    tree.AddNode("K5", "Info über");
    tree.SetNodeColors("K1", Rgb(49, 106, 197), Rgb(255, 255, 255));
    tree.SelectNode("K1");
    EXPECT_NE(
        ToJson(tree).find(
            R"("Nodes":[{"Key":"K1","Text":"Überblick","BackColor":12937777,"ForeColor":16777215,)"
            R"("Selected":true},{"Key":"K5","Text":"Info über","BackColor":2147483653,)"
            R"("ForeColor":2147483656,"Selected":false}])"),
        std::string::npos)
        << ToJson(tree);

    Control list(Kind::ListView, "ListEvents");
    list.AddColumn("Nr", 500);
    list.AddColumn("Code", 900);
    list.AddRow({"1", "0x8C10"});
    list.AddRow({"2"});
    EXPECT_NE(ToJson(list).find(
                  R"("ColumnHeaders":[{"Text":"Nr","Width":500},{"Text":"Code","Width":900}],)"
                  R"("ListItems":[["1","0x8C10"],["2"]])"),
              std::string::npos)
        << ToJson(list);

    Control bar(Kind::StatusBar, "StatusBar1");
    bar.AddPanel("Connected", 2000);
    bar.SetPanelPicture(1, "state3");
    EXPECT_NE(
        ToJson(bar).find(R"("Panels":[{"Text":"Connected","Picture":"state3","Width":2000}])"),
        std::string::npos)
        << ToJson(bar);
}

TEST(ToJson, EveryKindGivesOneLineWithItsKindName) {
    for (Kind k : {Kind::UserControl, Kind::Label, Kind::TextBox, Kind::CommandButton,
                   Kind::CheckBox, Kind::OptionButton, Kind::ComboBox, Kind::Frame, Kind::Shape,
                   Kind::Image, Kind::Timer, Kind::TreeView, Kind::ListView, Kind::StatusBar}) {
        Control c(k, "C");
        c.SetText("line1\nline2");
        c.SetCaption("a\tb");
        const std::string json = ToJson(c);
        EXPECT_EQ(json.find('\n'), std::string::npos) << json;
        EXPECT_EQ(json.find('\t'), std::string::npos) << json;
        EXPECT_EQ(json.rfind(std::string(R"({"kind":")") + KindName(k) + "\"", 0), 0u) << json;
        EXPECT_EQ(json.back(), '}');
    }
}

class ReadPropertyTest : public ::testing::Test {
  protected:
    ReadPropertyTest() {
        combo.AddItem("COM3");
        combo.AddItem("COM4");
        combo.SetListIndex(1);
        tree.AddNode("K1", "General");
        tree.AddNode("K5", "About");
        tree.SelectNode("K5");
        list.AddColumn("Nr", 500);
        list.AddColumn("Text", 3000);
        list.AddRow({"7", "Übertemperatur", "x"});
        list.AddRow({"8"});
        bar.AddPanel("Connected", 2000);
        bar.AddPanel("Device", 1500);
        bar.SetPanelPicture(1, "state3");
        label.SetCaption("Gerät");
        label.SetBackColor(0xE1DAD5);
        label.SetFontSize(9.75);
    }
    Control combo{Kind::ComboBox, "CBComPorts"};
    Control tree{Kind::TreeView, "TreeMenu"};
    Control list{Kind::ListView, "ListEvents"};
    Control bar{Kind::StatusBar, "StatusBar1"};
    Control label{Kind::Label, "Label1"};
};

TEST_F(ReadPropertyTest, PlainPropertiesAndElements) {
    struct Case {
        const Control* control;
        const char* name;
        std::string text;
    };
    const std::vector<Case> cases = {
        {&label, "Caption", "Gerät"},
        {&label, "caption", "Gerät"},
        {&label, "BackColor", "14801621"},
        {&label, "Visible", "true"},
        {&label, "FontSize", "9.75"},
        {&combo, "Text", "COM4"},
        {&combo, "ListIndex", "1"},
        {&combo, "ListCount", "2"},
        {&combo, "List.Count", "2"},
        {&combo, "List(0)", "COM3"},
        {&combo, "List", R"(["COM3","COM4"])"},
        {&tree, "SelectedKey", "K5"},
        {&tree, "Nodes.Count", "2"},
        {&tree, "Nodes(K1).Text", "General"},
        {&tree, "nodes(K5).selected", "true"},
        {&tree, "Nodes(K1).Selected", "false"},
        {&tree, "Nodes(2).Key", "K5"},
        {&tree, "Nodes(K1)",
         R"({"Key":"K1","Text":"General","BackColor":2147483653,"ForeColor":2147483656,"Selected":false})"},
        {&list, "ListItems.Count", "2"},
        {&list, "ListItems(1).Text", "7"},
        {&list, "ListItems(1).SubItems(1)", "Übertemperatur"},
        {&list, "ListItems(2).SubItems(1)", ""},
        {&list, "ListItems(2)", R"(["8"])"},
        {&list, "ColumnHeaders(2).Text", "Text"},
        {&list, "ColumnHeaders(1).Width", "500"},
        {&bar, "Panels(1).Text", "Connected"},
        {&bar, "Panels(1).Picture", "state3"},
        {&bar, "Panels(2)", R"({"Text":"Device","Picture":"","Width":1500})"},
        {&bar, "Panels.Count", "2"},
    };
    for (const Case& c : cases) EXPECT_EQ(ReadProperty(*c.control, c.name).Text, c.text) << c.name;
}

TEST_F(ReadPropertyTest, KindsOfValueAreMarked) {
    EXPECT_TRUE(ReadProperty(label, "Enabled").IsBool);
    EXPECT_TRUE(ReadProperty(label, "Width").IsNumber);
    EXPECT_FALSE(ReadProperty(label, "Caption").IsNumber);
    EXPECT_EQ(ReadProperty(label, "Caption").Json, "\"Gerät\"");
}

TEST_F(ReadPropertyTest, UnknownNamesAndMissingElementsAreErrors) {
    const std::vector<std::pair<const Control*, const char*>> cases = {
        {&label, "Colour"},
        {&label, ""},
        {&label, "Caption.Count"},
        {&label, "Caption(1)"},
        {&combo, "List(2)"},
        {&combo, "List(-1)"},
        {&combo, "List(x)"},
        {&combo, "List(0).Text"},
        {&combo, "List(0"},
        {&combo, "List(0)x"},
        {&tree, "Nodes(K9)"},
        {&tree, "Nodes(k1)"},  // keys compare exactly, as the tree view compares them
        {&tree, "Nodes(0)"},
        {&tree, "Nodes(K1).Colour"},
        {&list, "ListItems(3)"},
        {&list, "ListItems(1).SubItems(0)"},
        {&list, "ListItems(1).SubItems"},
        {&bar, "Panels(0)"},
        {&bar, "Panels(3).Text"},
        {&bar, "Panels(1)."},
        {&bar, "Panels.Count(1)"},
    };
    for (const auto& [control, name] : cases) {
        try {
            ReadProperty(*control, name);
            ADD_FAILURE() << "no error for " << name;
        } catch (const std::invalid_argument& e) {
            EXPECT_NE(std::string(e.what()), "") << name;
        }
    }
}

}  // namespace
}  // namespace kestrova::ui
