#include "ui/Control.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tools/Vb.h"

namespace kestrova::ui {
namespace {

// A user control that records its hooks, as pages and panels see them.
class Recorder : public UserControl {
  public:
    using UserControl::UserControl;
    std::vector<std::string>* log = nullptr;
    std::function<void(Recorder&)> onResize;
    int resizes = 0;

  protected:
    void OnShow() override { Record("show"); }
    void OnHide() override { Record("hide"); }
    void OnResize() override {
        ++resizes;
        if (onResize) onResize(*this);
    }

  private:
    void Record(const char* what) {
        if (log) log->push_back(Name() + ":" + what);
    }
};

struct Seen {
    std::string name;
    Prop prop;
    bool operator==(const Seen&) const = default;
};

// --- property notifications ---

struct PropCase {
    const char* label;
    Kind kind;
    Prop prop;
    std::function<void(Control&)> change;
    std::function<void(Control&)> prepare = {};  // before observing
};
void PrintTo(const PropCase& pc, std::ostream* os) {
    *os << pc.label;
}
void PrintTo(const Seen& s, std::ostream* os) {
    *os << s.name << " " << PropName(s.prop);
}

class NotifyTest : public ::testing::TestWithParam<PropCase> {};

TEST_P(NotifyTest, NotifiesOnceOnChangeAndNotAtAllOnSameValue) {
    const PropCase& pc = GetParam();
    UserControl root("Root");
    Control& c = root.AddControl(pc.kind, "C");
    if (pc.prepare) pc.prepare(c);
    std::vector<Seen> seen;
    root.Observe([&](Control& changed, Prop p) { seen.push_back({changed.Name(), p}); });

    pc.change(c);
    ASSERT_EQ(seen, (std::vector<Seen>{{"C", pc.prop}})) << pc.label;
    pc.change(c);  // the same value again
    EXPECT_EQ(seen.size(), 1u) << pc.label << " notified although nothing changed";
}

INSTANTIATE_TEST_SUITE_P(
    Properties, NotifyTest,
    ::testing::Values(
        PropCase{"Caption", Kind::Label, Prop::Caption, [](Control& c) { c.SetCaption("Hallo"); }},
        PropCase{"Text", Kind::Label, Prop::Text, [](Control& c) { c.SetText("x"); }},
        PropCase{"Enabled", Kind::CommandButton, Prop::Enabled,
                 [](Control& c) { c.SetEnabled(false); }},
        PropCase{"Visible", Kind::Label, Prop::Visible, [](Control& c) { c.SetVisible(false); }},
        PropCase{"Locked", Kind::TextBox, Prop::Locked, [](Control& c) { c.SetLocked(true); }},
        PropCase{"BackColor", Kind::Label, Prop::BackColor,
                 [](Control& c) { c.SetBackColor(Rgb(1, 2, 3)); }},
        PropCase{"ForeColor", Kind::Label, Prop::ForeColor,
                 [](Control& c) { c.SetForeColor(Rgb(1, 2, 3)); }},
        PropCase{"FillColor", Kind::Shape, Prop::FillColor,
                 [](Control& c) { c.SetFillColor(Rgb(0, 255, 0)); }},
        PropCase{"ToolTipText", Kind::Label, Prop::ToolTipText,
                 [](Control& c) { c.SetToolTipText("tip"); }},
        PropCase{"CheckBox Value", Kind::CheckBox, Prop::Value, [](Control& c) { c.SetValue(1); }},
        PropCase{"Left", Kind::Label, Prop::Left, [](Control& c) { c.SetLeft(75); }},
        PropCase{"Top", Kind::Label, Prop::Top, [](Control& c) { c.SetTop(150); }},
        PropCase{"Width", Kind::Label, Prop::Width, [](Control& c) { c.SetWidth(7500); }},
        PropCase{"Height", Kind::Label, Prop::Height, [](Control& c) { c.SetHeight(4500); }},
        PropCase{"Picture", Kind::Image, Prop::Picture, [](Control& c) { c.SetPicture("logo"); }},
        PropCase{"FontBold", Kind::Label, Prop::FontBold, [](Control& c) { c.SetFontBold(true); }},
        PropCase{"FontSize", Kind::Label, Prop::FontSize, [](Control& c) { c.SetFontSize(12); }},
        PropCase{"Shape", Kind::Shape, Prop::Shape, [](Control& c) { c.SetShapeKind(kCircle); }},
        PropCase{"MultiLine", Kind::TextBox, Prop::MultiLine,
                 [](Control& c) { c.SetMultiLine(true); }},
        PropCase{"Interval", Kind::Timer, Prop::Interval, [](Control& c) { c.SetInterval(300); }},
        PropCase{"NodeText", Kind::TreeView, Prop::Nodes,
                 [](Control& c) { c.SetNodeText("K1", "Überblick"); },
                 [](Control& c) { c.AddNode("K1", "General"); }},
        PropCase{"NodeColors", Kind::TreeView, Prop::Nodes,
                 [](Control& c) { c.SetNodeColors("K1", Rgb(49, 106, 197), Rgb(255, 255, 255)); },
                 [](Control& c) { c.AddNode("K1", "General"); }},
        PropCase{"SelectNode", Kind::TreeView, Prop::Nodes, [](Control& c) { c.SelectNode("K5"); },
                 [](Control& c) {
                     c.AddNode("K1", "General");
                     c.AddNode("K5", "About");
                 }},
        PropCase{"PanelText", Kind::StatusBar, Prop::Panels,
                 [](Control& c) { c.SetPanelText(1, "Connected"); },
                 [](Control& c) { c.AddPanel("", 1440); }},
        PropCase{"PanelPicture", Kind::StatusBar, Prop::Panels,
                 [](Control& c) { c.SetPanelPicture(1, "icon3"); },
                 [](Control& c) { c.AddPanel("", 1440); }},
        PropCase{"ColumnText", Kind::ListView, Prop::ColumnHeaders,
                 [](Control& c) { c.SetColumnText(0, "Code"); },
                 [](Control& c) { c.AddColumn("", 1440); }},
        PropCase{"ClearRows", Kind::ListView, Prop::ListItems, [](Control& c) { c.ClearRows(); },
                 [](Control& c) { c.AddRow({"1"}); }},
        PropCase{"ClearNodes", Kind::TreeView, Prop::Nodes, [](Control& c) { c.ClearNodes(); },
                 [](Control& c) { c.AddNode("K1", "General"); }}),
    [](const auto& info) {
        std::string name = info.param.label;
        std::erase(name, ' ');
        return name;
    });

TEST(ControlNotify, ReachesObserversOfEveryAncestorWithTheChangedControl) {
    UserControl root("Root");
    Control& page = root.Add<UserControl>("Page");
    Control& frame = page.AddControl(Kind::Frame, "Frame1");
    Control& label = frame.AddControl(Kind::Label, "Label1");

    std::vector<std::string> seen;
    root.Observe(
        [&](Control& c, Prop p) { seen.push_back("root " + c.Name() + " " + PropName(p)); });
    page.Observe(
        [&](Control& c, Prop p) { seen.push_back("page " + c.Name() + " " + PropName(p)); });
    // A sibling's observer must not hear it.
    root.AddControl(Kind::Frame, "Other").Observe([&](Control&, Prop) { seen.push_back("other"); });

    label.SetCaption("x");
    EXPECT_EQ(seen, (std::vector<std::string>{"page Label1 Caption", "root Label1 Caption"}));
}

TEST(ControlNotify, UnobserveStopsAndAnObserverMayRemoveItselfWhileCalled) {
    UserControl root("Root");
    Control& label = root.AddControl(Kind::Label, "L");
    int first = 0, second = 0;
    int id = 0;
    id = root.Observe([&](Control&, Prop) {
        ++first;
        root.Unobserve(id);
    });
    root.Observe([&](Control&, Prop) { ++second; });

    label.SetCaption("a");
    label.SetCaption("b");
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
}

TEST(ControlNotify, MoveNotifiesOnlyTheCoordinatesThatChanged) {
    UserControl root("Root");
    Control& label = root.AddControl(Kind::Label, "L");
    label.Move(10, 20, 300, 400);
    std::vector<Prop> seen;
    root.Observe([&](Control&, Prop p) { seen.push_back(p); });

    label.Move(10, 25, 300, 450);
    EXPECT_EQ(seen, (std::vector<Prop>{Prop::Top, Prop::Height}));
    seen.clear();
    label.Move(10, 25, 300, 450);
    EXPECT_TRUE(seen.empty());
}

TEST(ControlGeometry, NegativeSizeRaisesAndKeepsTheOldSize) {
    Control label(Kind::Label, "L");
    label.Move(0, 0, 100, 100);
    for (auto bad : {std::pair{-1, 10}, std::pair{10, -1}}) {
        try {
            label.Move(5, 5, bad.first, bad.second);
            ADD_FAILURE() << "no error for " << bad.first << "x" << bad.second;
        } catch (const VbError& e) {
            EXPECT_EQ(e.Number(), 380);
        }
    }
    EXPECT_EQ(label.Width(), 100);
    EXPECT_EQ(label.Left(), 0);
}

// --- option buttons and check boxes ---

TEST(OptionButton, SelectingOneClearsItsSiblingsInTheSameContainerOnly) {
    UserControl root("Root");
    Control& frameA = root.AddControl(Kind::Frame, "FrameA");
    Control& frameB = root.AddControl(Kind::Frame, "FrameB");
    std::vector<Control*> a, b;
    for (int i = 0; i < 3; ++i) a.push_back(&frameA.AddControl(Kind::OptionButton, "Option1", i));
    for (int i = 0; i < 2; ++i) b.push_back(&frameB.AddControl(Kind::OptionButton, "Option2", i));
    Control& check = frameA.AddControl(Kind::CheckBox, "Check1");
    check.SetValue(1);

    std::vector<std::string> clicks;
    for (Control* o : a)
        o->Click = [&clicks, o] { clicks.push_back("A" + std::to_string(o->Index())); };
    b[1]->SetValue(1);
    a[0]->SetValue(1);
    a[2]->SetValue(1);

    EXPECT_EQ(clicks, (std::vector<std::string>{"A0", "A2"}));
    EXPECT_EQ(a[0]->Value(), 0);
    EXPECT_EQ(a[1]->Value(), 0);
    EXPECT_EQ(a[2]->Value(), 1);
    EXPECT_EQ(b[1]->Value(), 1) << "an option in another frame is another group";
    EXPECT_EQ(check.Value(), 1) << "a check box is not part of the group";
}

TEST(OptionButton, ClearedSiblingIsNotifiedAndDoesNotClick) {
    UserControl root("Root");
    Control& o0 = root.AddControl(Kind::OptionButton, "Option1", 0);
    Control& o1 = root.AddControl(Kind::OptionButton, "Option1", 1);
    o0.SetValue(1);
    int o0Clicks = 0;
    o0.Click = [&] { ++o0Clicks; };
    std::vector<Seen> seen;
    root.Observe([&](Control& c, Prop p) {
        seen.push_back({c.Name() + std::to_string(c.Index()), p});
    });

    o1.SetValue(1);
    EXPECT_EQ(o0Clicks, 0);
    EXPECT_EQ(seen.size(), 2u);
    EXPECT_TRUE(std::find(seen.begin(), seen.end(), Seen{"Option10", Prop::Value}) != seen.end());
}

TEST(OptionButton, ValueIsZeroOrOneAndClearingDoesNotClick) {
    Control o(Kind::OptionButton, "O");
    int clicks = 0;
    o.Click = [&] { ++clicks; };
    o.SetValue(5);
    EXPECT_EQ(o.Value(), 1);
    o.SetValue(0);
    EXPECT_EQ(o.Value(), 0);
    EXPECT_EQ(clicks, 1);
}

TEST(OptionButton, UserClickSelectsAndADisabledOptionIgnoresIt) {
    UserControl root("Root");
    Control& o0 = root.AddControl(Kind::OptionButton, "Option1", 0);
    Control& o1 = root.AddControl(Kind::OptionButton, "Option1", 1);
    int clicks = 0;
    o1.Click = [&] { ++clicks; };
    o0.SetValue(1);
    o1.SetEnabled(false);
    o1.UserClick();
    EXPECT_EQ(o1.Value(), 0);
    EXPECT_EQ(o0.Value(), 1);
    o1.SetEnabled(true);
    o1.UserClick();
    EXPECT_EQ(o1.Value(), 1);
    EXPECT_EQ(o0.Value(), 0);
    EXPECT_EQ(clicks, 1);
}

TEST(CheckBox, ValueChangeFiresClickAndUserClickToggles) {
    Control check(Kind::CheckBox, "Check1");
    std::vector<int> clicks;
    check.Click = [&] { clicks.push_back(check.Value()); };
    check.SetValue(1);
    check.SetValue(1);
    check.UserClick();
    check.UserClick();
    check.SetEnabled(false);
    check.UserClick();
    EXPECT_EQ(clicks, (std::vector<int>{1, 0, 1}));
    EXPECT_EQ(check.Value(), 1);
}

// --- combo box ---

TEST(ComboBox, ListIndexSetsTextAndFiresClickOnChangeOnly) {
    Control combo(Kind::ComboBox, "CBComPorts");
    combo.AddItem("COM3");
    combo.AddItem("COM4");
    std::vector<std::string> clicks;
    combo.Click = [&] { clicks.push_back(combo.Text()); };

    combo.SetListIndex(1);
    combo.SetListIndex(1);
    combo.SetListIndex(0);
    combo.SetListIndex(-1);
    EXPECT_EQ(clicks, (std::vector<std::string>{"COM4", "COM3", ""}));
    EXPECT_EQ(combo.Text(), "");
}

TEST(ComboBox, OutOfRangeRaisesAndLeavesTheSelection) {
    Control combo(Kind::ComboBox, "C");
    combo.AddItem("a");
    combo.SetListIndex(0);
    int clicks = 0;
    combo.Click = [&] { ++clicks; };
    for (int bad : {1, -2, 100}) {
        try {
            combo.SetListIndex(bad);
            ADD_FAILURE() << "no error for " << bad;
        } catch (const VbError& e) {
            EXPECT_EQ(e.Number(), 380);
        }
    }
    EXPECT_EQ(combo.ListIndex(), 0);
    EXPECT_EQ(combo.Text(), "a");
    EXPECT_EQ(clicks, 0);
}

TEST(ComboBox, ClearEmptiesListSelectionAndText) {
    Control combo(Kind::ComboBox, "C");
    combo.AddItem("a");
    combo.SetListIndex(0);
    std::vector<Prop> seen;
    combo.Observe([&](Control&, Prop p) { seen.push_back(p); });
    combo.Clear();
    EXPECT_EQ(combo.ListCount(), 0);
    EXPECT_EQ(combo.ListIndex(), -1);
    EXPECT_EQ(combo.Text(), "");
    EXPECT_EQ(seen, (std::vector<Prop>{Prop::List, Prop::ListIndex, Prop::Text}));
    seen.clear();
    combo.Clear();
    EXPECT_TRUE(seen.empty());
}

TEST(ComboBox, UserPickIsIgnoredWhenDisabled) {
    Control combo(Kind::ComboBox, "C");
    combo.AddItem("a");
    combo.SetEnabled(false);
    combo.UserPick(0);
    EXPECT_EQ(combo.ListIndex(), -1);
}

// --- text box and keys ---

TEST(TextBox, ChangeFiresOnRealChangesOnly) {
    Control text(Kind::TextBox, "TextIndex");
    Control label(Kind::Label, "Label1");
    int changes = 0, labelChanges = 0;
    text.Change = [&] { ++changes; };
    label.Change = [&] { ++labelChanges; };
    text.SetText("16");
    text.SetText("16");
    text.SetText("");
    label.SetText("x");
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(labelChanges, 0);
}

TEST(TextBox, UserTypeIsIgnoredWhenDisabledOrLocked) {
    Control text(Kind::TextBox, "T");
    text.SetText("keep");
    text.SetEnabled(false);
    text.UserType("lost");
    EXPECT_EQ(text.Text(), "keep");
    text.SetEnabled(true);
    text.SetLocked(true);
    text.UserType("lost");
    EXPECT_EQ(text.Text(), "keep");
    text.SetLocked(false);
    text.UserType("new");
    EXPECT_EQ(text.Text(), "new");
}

struct KeyCase {
    const char* label;
    std::string before;
    int16_t key;
    std::string after;
};

class UserKeyTest : public ::testing::TestWithParam<KeyCase> {};

TEST_P(UserKeyTest, EditsTheTextAsATextBoxDoes) {
    const KeyCase& kc = GetParam();
    Control text(Kind::TextBox, "T");
    text.SetText(kc.before);
    int presses = 0;
    text.KeyPress = [&](int16_t&) { ++presses; };
    text.UserKey(kc.key);
    EXPECT_EQ(text.Text(), kc.after) << kc.label;
    EXPECT_EQ(presses, 1) << kc.label;
}

INSTANTIATE_TEST_SUITE_P(
    Keys, UserKeyTest,
    ::testing::Values(KeyCase{"printable appends", "1", '6', "16"},
                      KeyCase{"enter does not insert", "16", 13, "16"},
                      KeyCase{"escape does not insert", "16", 27, "16"},
                      KeyCase{"backspace removes ascii", "16", 8, "1"},
                      KeyCase{"backspace removes two-byte char", "aé", 8, "a"},
                      KeyCase{"backspace removes three-byte char", "a€", 8, "a"},
                      KeyCase{"backspace removes four-byte char", "a\xF0\x9F\x98\x80", 8, "a"},
                      KeyCase{"backspace on a lone multibyte char", "ä", 8, ""},
                      KeyCase{"backspace on empty text", "", 8, ""},
                      KeyCase{"windows-1252 code becomes utf-8", "", 0xE4, "ä"},
                      KeyCase{"euro sign from 0x80", "", 0x80, "€"}),
    [](const auto& info) {
        std::string name = info.param.label;
        for (char& ch : name)
            if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
        return name;
    });

TEST(TextBox, KeyPressMayCancelOrReplaceTheKey) {
    Control text(Kind::TextBox, "T");
    text.KeyPress = [](int16_t& k) {
        if (k >= 'a' && k <= 'z') k = static_cast<int16_t>(k - 32);  // upper-case entry
        if (k == 'X') k = 0;                                         // refused
    };
    for (char ch : std::string("abxc")) text.UserKey(ch);
    EXPECT_EQ(text.Text(), "ABC");
}

TEST(TextBox, DisabledIgnoresKeysAndLockedSeesKeyPressButKeepsItsText) {
    Control text(Kind::TextBox, "T");
    text.SetText("v");
    int presses = 0;
    text.KeyPress = [&](int16_t&) { ++presses; };
    text.SetEnabled(false);
    text.UserKey('a');
    text.UserKey(8);
    EXPECT_EQ(presses, 0);
    EXPECT_EQ(text.Text(), "v");
    text.SetEnabled(true);
    text.SetLocked(true);
    text.UserKey('a');
    text.UserKey(8);
    EXPECT_EQ(presses, 2);
    EXPECT_EQ(text.Text(), "v");
}

// --- lookup ---

class ResolveTest : public ::testing::Test {
  protected:
    ResolveTest() {
        auto& general = root.Add<UserControl>("UCGeneral1");
        combo = &general.AddControl(Kind::ComboBox, "CBComPorts");
        auto& param = root.Add<UserControl>("IOLinkParam1");
        auto& panel = param.Add<UserControl>("UCParameter1");
        for (int i = 0; i < 4; ++i)
            options.push_back(&panel.AddControl(Kind::OptionButton, "Option1", i));
        plain = &panel.AddControl(Kind::Label, "Option2");
    }
    UserControl root{"DTMGUI"};
    Control* combo = nullptr;
    Control* plain = nullptr;
    std::vector<Control*> options;
};

TEST_F(ResolveTest, FindsNamesCaseInsensitivelyAndArrayElementsByIndex) {
    const std::vector<std::pair<std::string, Control*>> cases = {
        {"UCGeneral1.CBComPorts", combo},
        {"ucgeneral1.cbcomports", combo},
        {"UCGENERAL1.CBCOMPORTS", combo},
        {"IOLinkParam1.UCParameter1.Option1(3)", options[3]},
        {"iolinkparam1.ucparameter1.option1(0)", options[0]},
        {"IOLinkParam1.UCParameter1.Option1(03)", options[3]},
        {"IOLinkParam1.UCParameter1.Option2", plain},
    };
    for (const auto& [path, want] : cases) EXPECT_EQ(root.Resolve(path), want) << path;
}

TEST_F(ResolveTest, MissingOrMalformedPathsGiveNull) {
    for (const char* path : {
             "UCGeneral1.Foo",
             "Foo.CBComPorts",
             "IOLinkParam1.UCParameter1.Option1",     // an array needs its index
             "IOLinkParam1.UCParameter1.Option1(4)",  // no such element
             "IOLinkParam1.UCParameter1.Option2(0)",  // not an array
             "UCGeneral1..CBComPorts",
             ".UCGeneral1",
             "UCGeneral1.",
             "UCGeneral1.CBComPorts.",
             "IOLinkParam1.UCParameter1.Option1(",
             "IOLinkParam1.UCParameter1.Option1(a)",
             "IOLinkParam1.UCParameter1.Option1()",
             "IOLinkParam1.UCParameter1.Option1(-1)",
             "IOLinkParam1.UCParameter1.Option1(1)(2)",
             "IOLinkParam1.UCParameter1.Option1(1)x",
             "IOLinkParam1.UCParameter1.(1)",
             "IOLinkParam1.UCParameter1.Option1(99999)",
             "IOLinkParam1.UCParameter1.Option1 (1)",
             ".",
         })
        EXPECT_EQ(root.Resolve(path), nullptr) << path;
}

TEST_F(ResolveTest, EmptyPathIsTheControlItself) {
    EXPECT_EQ(root.Resolve(""), &root);
}

TEST_F(ResolveTest, CallOperatorRaisesForAMissingControl) {
    EXPECT_EQ(&root("ucgeneral1"), root.Find("UCGeneral1"));
    try {
        root("UCGeneral1")("Nope", 2);
        ADD_FAILURE() << "no error";
    } catch (const VbError& e) {
        EXPECT_NE(std::string(e.what()).find("Nope(2)"), std::string::npos) << e.what();
    }
}

// --- tree view, list view, status bar ---

TEST(TreeView, NodeClickSelectsFirstAndKeysAreUnique) {
    Control tree(Kind::TreeView, "TreeMenu");
    tree.AddNode("K1", "General");
    tree.AddNode("K5", "About");
    std::string clickedWhileSelected;
    tree.NodeClick = [&](const std::string& key) {
        clickedWhileSelected = key + "/" + tree.SelectedKey();
    };
    tree.UserNodeClick("K5");
    EXPECT_EQ(clickedWhileSelected, "K5/K5");

    try {
        tree.AddNode("K1", "again");
        ADD_FAILURE() << "duplicate key accepted";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), 35602);
    }
    EXPECT_THROW(tree.UserNodeClick("K9"), VbError);
    EXPECT_EQ(tree.SelectedKey(), "K5");
    tree.ClearNodes();
    EXPECT_EQ(tree.SelectedKey(), "");
}

TEST(ListAndStatusBar, PositionsAreOneBasedAndCheckedForBounds) {
    Control list(Kind::ListView, "ListEvents");
    list.AddRow({"1", "a"});
    list.AddRow({"2", "b"});
    list.RemoveRow(1);
    ASSERT_EQ(list.ListItems().size(), 1u);
    EXPECT_EQ(list.ListItems()[0][0], "2");
    EXPECT_THROW(list.RemoveRow(0), VbError);
    EXPECT_THROW(list.RemoveRow(2), VbError);

    Control bar(Kind::StatusBar, "StatusBar1");
    bar.AddPanel("", 2000);
    bar.AddPanel("Device", 2000);
    bar.SetPanelText(1, "Connected");
    bar.SetPanelPicture(1, "icon3");
    EXPECT_EQ(bar.Panels()[0].Text, "Connected");
    EXPECT_EQ(bar.Panels()[0].Picture, "icon3");
    EXPECT_THROW(bar.SetPanelText(0, "x"), VbError);
    EXPECT_THROW(bar.SetPanelText(3, "x"), VbError);
}

// --- show, hide and resize hooks ---

TEST(UserControlHooks, ShowAndHideReachNestedVisibleUserControls) {
    std::vector<std::string> log;
    Recorder root("Root");
    auto& page = root.Add<Recorder>("Page");
    auto& frame = page.AddControl(Kind::Frame, "Frame1");
    auto& panel = frame.Add<Recorder>("Panel");
    auto& hidden = page.Add<Recorder>("Hidden");
    hidden.SetVisible(false);
    for (Recorder* r : {&root, &page, &panel, &hidden}) r->log = &log;

    page.SetVisible(false);
    EXPECT_EQ(log, (std::vector<std::string>{"Page:hide", "Panel:hide"}));
    log.clear();
    page.SetVisible(false);
    EXPECT_TRUE(log.empty());
    page.SetVisible(true);
    EXPECT_EQ(log, (std::vector<std::string>{"Page:show", "Panel:show"}));
}

TEST(UserControlHooks, ShowingInsideAHiddenParentWaitsForTheParent) {
    std::vector<std::string> log;
    Recorder root("Root");
    auto& page = root.Add<Recorder>("Page");
    auto& panel = page.Add<Recorder>("Panel");
    page.log = panel.log = &log;
    page.SetVisible(false);
    panel.SetVisible(false);
    log.clear();

    panel.SetVisible(true);  // still inside a hidden page
    EXPECT_TRUE(log.empty());
    page.SetVisible(true);
    EXPECT_EQ(log, (std::vector<std::string>{"Page:show", "Panel:show"}));
}

TEST(UserControlHooks, ResizeHandlerThatResizesItselfDoesNotRecurse) {
    Recorder root("Root");
    root.onResize = [](Recorder& self) {
        if (self.Width() < 7500) self.SetWidth(7500);
        if (self.Height() < 4500) self.SetHeight(4500);
    };
    root.Move(0, 0, 1000, 1000);
    EXPECT_EQ(root.resizes, 1);
    EXPECT_EQ(root.Width(), 7500);
    EXPECT_EQ(root.Height(), 4500);

    root.Move(100, 100, 7500, 4500);  // position only
    EXPECT_EQ(root.resizes, 1);
}

TEST(UserControlHooks, ResizeGuardIsReleasedWhenTheHandlerThrows) {
    Recorder root("Root");
    root.onResize = [](Recorder&) { Raise(5); };
    EXPECT_THROW(root.SetWidth(9000), VbError);
    EXPECT_THROW(root.SetWidth(9100), VbError);
    EXPECT_EQ(root.resizes, 2);
}

TEST(UserControlHooks, PlainControlsHaveNoResizeHook) {
    Recorder root("Root");
    root.AddControl(Kind::Frame, "F").SetWidth(10);
    EXPECT_EQ(root.resizes, 0);
}

// --- timers ---

class TimerTest : public ::testing::Test {
  protected:
    TimerTest() { root.SetClock(&clock); }
    Control& AddTimer(const std::string& name, int32_t interval) {
        Control& t = root.AddControl(Kind::Timer, name);
        t.OnTimer = [this, &t] { fired.push_back(t.Name() + "@" + std::to_string(clock.NowMs())); };
        t.SetInterval(interval);
        return t;
    }
    UserControl root{"Root"};
    VirtualClock clock;
    std::vector<std::string> fired;
};

TEST_F(TimerTest, DisabledOrZeroIntervalTimerNeverFires) {
    Control& off = AddTimer("Off", 100);
    off.SetEnabled(false);
    AddTimer("Zero", 0);
    EXPECT_EQ(off.DueAt(), -1);
    EXPECT_EQ(NextDue(root), -1);
    EXPECT_EQ(AdvanceClock(root, clock, 10000), 0);
    EXPECT_EQ(RunDueTimers(root, 20000), 0);
    off.FireTimer();
    EXPECT_TRUE(fired.empty());
    EXPECT_EQ(clock.NowMs(), 10000);
}

TEST_F(TimerTest, EnablingAndChangingTheIntervalReArmFromNow) {
    Control& t = AddTimer("Timer1", 300);
    EXPECT_EQ(t.DueAt(), 300);
    clock.Set(250);
    t.SetInterval(100);
    EXPECT_EQ(t.DueAt(), 350);
    t.SetEnabled(false);
    clock.Set(1000);
    t.SetEnabled(true);
    EXPECT_EQ(t.DueAt(), 1100);
    t.SetInterval(0);
    EXPECT_EQ(t.DueAt(), -1);
    try {
        t.SetInterval(-1);
        ADD_FAILURE() << "negative interval accepted";
    } catch (const VbError& e) {
        EXPECT_EQ(e.Number(), 380);
    }
}

TEST_F(TimerTest, AdvanceClockFiresInTimeOrderWithTheClockAtEachDueTime) {
    AddTimer("A", 300);
    AddTimer("B", 200);
    AddTimer("C", 500);
    EXPECT_EQ(NextDue(root), 200);
    EXPECT_EQ(AdvanceClock(root, clock, 700), 6);
    EXPECT_EQ(fired,
              (std::vector<std::string>{"B@200", "A@300", "B@400", "C@500", "A@600", "B@600"}));
    EXPECT_EQ(clock.NowMs(), 700);
}

TEST_F(TimerTest, ImmediateReArmInsideATickFiresAgainWithinTheWindow) {
    // The pages' pattern: stop during the tick, then ask for an immediate next tick once.
    Control& t = AddTimer("Timer1", 300);
    bool immediate = true;
    t.OnTimer = [&] {
        fired.push_back(std::to_string(clock.NowMs()));
        t.SetEnabled(false);
        t.SetInterval(immediate ? 1 : 300);
        immediate = false;
        t.SetEnabled(true);
    };
    EXPECT_EQ(AdvanceClock(root, clock, 650), 3);
    EXPECT_EQ(fired, (std::vector<std::string>{"300", "301", "601"}));
}

TEST_F(TimerTest, HandlerDisablingAnotherTimerDueAtTheSameInstantPreventsItsTick) {
    Control& first = AddTimer("First", 300);
    Control& second = AddTimer("Second", 300);
    first.OnTimer = [&] {
        fired.push_back("First");
        second.SetEnabled(false);
    };
    AdvanceClock(root, clock, 300);
    EXPECT_EQ(fired, (std::vector<std::string>{"First"}));

    // The same through RunDueTimers.
    fired.clear();
    second.SetEnabled(true);
    clock.Set(1000);
    RunDueTimers(root, 1000);
    EXPECT_EQ(fired, (std::vector<std::string>{"First"}));
}

TEST_F(TimerTest, RunDueTimersFiresEachDueTimerOnceInTimeOrder) {
    AddTimer("A", 300);
    AddTimer("B", 100);
    AddTimer("Late", 5000);
    clock.Set(1000);
    EXPECT_EQ(RunDueTimers(root, 1000), 2);
    EXPECT_EQ(fired, (std::vector<std::string>{"B@1000", "A@1000"}));
}

TEST_F(TimerTest, AThrowingHandlerLeavesTheTimerArmedAndTheClockAtItsTick) {
    Control& t = AddTimer("T", 100);
    int calls = 0;
    t.OnTimer = [&] {
        if (++calls == 1) Raise(13);
    };
    EXPECT_THROW(AdvanceClock(root, clock, 350), VbError);
    EXPECT_EQ(clock.NowMs(), 100);
    EXPECT_EQ(t.DueAt(), 200);
    EXPECT_EQ(AdvanceClock(root, clock, 350), 2);
    EXPECT_EQ(clock.NowMs(), 350);
}

TEST_F(TimerTest, TimersUseTheClockOfTheRoot) {
    Control& frame = root.AddControl(Kind::Frame, "F");
    Control& t = frame.AddControl(Kind::Timer, "Nested");
    clock.Set(40);
    t.SetInterval(10);
    EXPECT_EQ(t.GetClock(), &clock);
    EXPECT_EQ(t.DueAt(), 50);
}

TEST(Timer, AdvanceClockTerminatesWhenTheRootHasNoClockAttached) {
    // A frame that forgot to attach its clock must not spin forever.
    UserControl root("Root");
    VirtualClock clock;
    Control& t = root.AddControl(Kind::Timer, "T");
    int ticks = 0;
    t.OnTimer = [&] { ++ticks; };
    t.SetInterval(100);
    AdvanceClock(root, clock, 1000);
    EXPECT_EQ(ticks, 10);
    EXPECT_EQ(clock.NowMs(), 1000);
}

}  // namespace
}  // namespace kestrova::ui
