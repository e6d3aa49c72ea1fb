#include "ui/Control.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tools/Vb.h"

namespace kestrova::ui {
namespace {

using Lines = std::vector<std::string>;

// A user control that logs its hooks; on resize it keeps a minimum size, as the main control
// does.
class Recorder : public UserControl {
  public:
    Recorder(std::string name, Lines& log) : UserControl(std::move(name)), log_(log) {}
    bool failResize = false;

  protected:
    void OnShow() override { log_.push_back(Name() + ":show"); }
    void OnHide() override { log_.push_back(Name() + ":hide"); }
    void OnResize() override {
        log_.push_back(Name() + ":resize");
        if (failResize) Raise(5);
        if (Width() < 7500) SetWidth(7500);
        if (Height() < 4500) SetHeight(4500);
    }

  private:
    Lines& log_;
};

// "NUMBER DESCRIPTION" of the error fn raises; empty when it raises none.
std::string ErrorOf(const std::function<void()>& fn) {
    try {
        fn();
    } catch (const VbError& e) {
        return std::to_string(e.Number()) + " " + e.Description();
    }
    return "";
}

class ControlTest : public ::testing::Test {
  protected:
    Control& Add(Kind kind, const char* name, int index = -1) {
        return root.AddControl(kind, name, index);
    }
    // From now on every change below the root is logged as "NAME[INDEX] PROP".
    void Watch() {
        root.Observe([this](Control& c, Prop p) {
            log.push_back(c.Name() + (c.Index() < 0 ? "" : std::to_string(c.Index())) + " " +
                          PropName(p));
        });
    }
    Control& AddTimer(const std::string& name, int32_t interval, Control* parent = nullptr) {
        Control& t = (parent ? *parent : root).AddControl(Kind::Timer, name);
        t.OnTimer = [this, &t] { log.push_back(t.Name() + "@" + std::to_string(clock.NowMs())); };
        t.SetInterval(interval);
        return t;
    }
    Lines log;
    Recorder root{"Root", log};
    VirtualClock clock;  // AdvanceClock attaches it, or timers would re-arm from 0 forever
};

TEST_F(ControlTest, EverySetterNotifiesWhatChangedOnceAndNothingForTheSameValue) {
    using Fn = std::function<void(Control&)>;
    const std::vector<std::tuple<Kind, Fn, std::string>> cases = {
        {Kind::Label, [](Control& c) { c.SetCaption("Hallo"); }, "Caption"},
        {Kind::Label, [](Control& c) { c.SetText("x"); }, "Text"},
        {Kind::CommandButton, [](Control& c) { c.SetEnabled(false); }, "Enabled"},
        {Kind::Label, [](Control& c) { c.SetVisible(false); }, "Visible"},
        {Kind::TextBox, [](Control& c) { c.SetLocked(true); }, "Locked"},
        {Kind::Label, [](Control& c) { c.SetBackColor(Rgb(1, 2, 3)); }, "BackColor"},
        {Kind::Label, [](Control& c) { c.SetForeColor(Rgb(1, 2, 3)); }, "ForeColor"},
        {Kind::Shape, [](Control& c) { c.SetFillColor(Rgb(0, 255, 0)); }, "FillColor"},
        {Kind::Label, [](Control& c) { c.SetToolTipText("tip"); }, "ToolTipText"},
        {Kind::CheckBox, [](Control& c) { c.SetValue(1); }, "Value"},
        {Kind::Label, [](Control& c) { c.SetLeft(75); }, "Left"},
        {Kind::Label, [](Control& c) { c.SetTop(150); }, "Top"},
        {Kind::Label, [](Control& c) { c.SetWidth(7500); }, "Width"},
        {Kind::Label, [](Control& c) { c.SetHeight(4500); }, "Height"},
        {Kind::Label, [](Control& c) { c.Move(0, 25, 1200, 450); }, "Top Height"},
        {Kind::Image, [](Control& c) { c.SetPicture("logo"); }, "Picture"},
        {Kind::Label, [](Control& c) { c.SetFontBold(true); }, "FontBold"},
        {Kind::Label, [](Control& c) { c.SetFontSize(12); }, "FontSize"},
        {Kind::Shape, [](Control& c) { c.SetShapeKind(kCircle); }, "Shape"},
        {Kind::TextBox, [](Control& c) { c.SetMultiLine(true); }, "MultiLine"},
        {Kind::Timer, [](Control& c) { c.SetInterval(300); }, "Interval"},
        {Kind::ComboBox, [](Control& c) { c.Clear(); }, "List ListIndex Text"},
        {Kind::TreeView, [](Control& c) { c.SetNodeText("K1", "Überblick"); }, "Nodes"},
        {Kind::TreeView, [](Control& c) { c.SetNodeColors("K1", 1, 2); }, "Nodes"},
        {Kind::TreeView, [](Control& c) { c.SelectNode("K1"); }, "Nodes"},
        {Kind::TreeView, [](Control& c) { c.ClearNodes(); }, "Nodes"},
        {Kind::StatusBar, [](Control& c) { c.SetPanelText(1, "Connected"); }, "Panels"},
        {Kind::StatusBar, [](Control& c) { c.SetPanelPicture(1, "icon3"); }, "Panels"},
        {Kind::ListView, [](Control& c) { c.SetColumnText(0, "Code"); }, "ColumnHeaders"},
        {Kind::ListView, [](Control& c) { c.ClearRows(); }, "ListItems"},
    };
    std::string seen;
    root.Observe(
        [&](Control&, Prop p) { seen += (seen.empty() ? "" : " ") + std::string(PropName(p)); });
    for (size_t i = 0; i < cases.size(); ++i) {
        const auto& [kind, change, want] = cases[i];
        Control& c = Add(kind, "C");
        c.AddItem("a");  // something to change for each setter
        c.SetListIndex(0);
        c.AddNode("K1", "General");
        c.AddPanel("", 1440);
        c.AddColumn("", 1440);
        c.AddRow({"1"});
        seen.clear();
        change(c);
        change(c);  // the same value again
        EXPECT_EQ(seen, want) << "row " << i;
    }
}

TEST_F(ControlTest, ObserversOfEveryAncestorHearAndMayRemoveThemselvesWhileCalled) {
    Control& page = root.Add<UserControl>("Page");
    Control& label = page.AddControl(Kind::Frame, "Frame1").AddControl(Kind::Label, "Label1");
    Add(Kind::Frame, "Other").Observe([&](Control&, Prop) { log.push_back("sibling"); });
    int id = page.Observe([&](Control& c, Prop p) {
        log.push_back("page " + c.Name() + " " + PropName(p));
        page.Unobserve(id);
    });
    root.Observe([&](Control& c, Prop) { log.push_back("root " + c.Name()); });
    label.SetCaption("a");
    label.SetCaption("b");
    EXPECT_EQ(log, (Lines{"page Label1 Caption", "root Label1", "root Label1"}));
}

TEST_F(ControlTest, InvalidValuesRaiseTheirErrorAndChangeNothing) {
    // The checks do not depend on the kind, so one control holds everything.
    Control& c = AddTimer("C", 300);
    c.AddItem("a");
    c.SetListIndex(0);
    c.AddNode("K1", "General");
    c.AddRow({"1"});
    c.AddPanel("p", 100);
    Watch();  // every change notifies, so an empty log means nothing changed
    c.Click = [&] { log.push_back("click"); };
    c.NodeClick = [&](const std::string&) { log.push_back("node click"); };

    const std::string bad = "380 Invalid property value", bounds = "35600 Index out of bounds";
    const std::vector<std::pair<std::function<void()>, std::string>> cases = {
        {[&] { c.Move(5, 5, -1, 10); }, bad},
        {[&] { c.Move(5, 5, 10, -1); }, bad},
        {[&] { c.SetListIndex(1); }, bad},
        {[&] { c.SetListIndex(-2); }, bad},
        {[&] { c.SetInterval(-1); }, bad},
        {[&] { c.AddNode("K1", "again"); }, "35602 Key is not unique in collection"},
        {[&] { c.UserNodeClick("K9"); }, "35601 Element not found"},
        {[&] { c.SetNodeText("K9", "x"); }, "35601 Element not found"},
        {[&] { c.RemoveRow(0); }, bounds},
        {[&] { c.RemoveRow(2); }, bounds},
        {[&] { c.SetColumnText(0, "x"); }, "9 Subscript out of range"},
        {[&] { c.SetPanelText(0, "x"); }, bounds},
        {[&] { c.SetPanelPicture(0, "x"); }, bounds},
        {[&] { c.SetPanelPicture(2, "x"); }, bounds},
        {[&] { root("C")("Nope", 2); }, "730 Control not found: Nope(2)"},
    };
    for (const auto& [fn, want] : cases) EXPECT_EQ(ErrorOf(fn), want);
    EXPECT_TRUE(log.empty()) << log.front();
}

TEST_F(ControlTest, ResolveFindsNamesCaseInsensitivelyAndArrayElementsByIndexOnly) {
    Control& combo = root.Add<UserControl>("UCGeneral1").AddControl(Kind::ComboBox, "CBComPorts");
    Control& panel = root.Add<UserControl>("IOLinkParam1").Add<UserControl>("UCParameter1");
    Control& option = panel.AddControl(Kind::OptionButton, "Option1", 0);
    Control& option3 = panel.AddControl(Kind::OptionButton, "Option1", 3);
    Control& plain = panel.AddControl(Kind::Label, "Option2");
    const std::string p = "IOLinkParam1.UCParameter1.";
    const std::vector<std::pair<std::string, Control*>> found = {
        {"", &root},
        {"ucgeneral1.CBCOMPORTS", &combo},
        {"iolinkparam1.ucparameter1.option1(0)", &option},
        {p + "Option1(03)", &option3},
        {p + "Option2", &plain}};
    for (const auto& [path, want] : found) EXPECT_EQ(root.Resolve(path), want) << path;
    // Unknown names, an array without its index (or with one it lacks), an index on a plain
    // control, empty names and malformed indices.
    for (const std::string& path :
         Lines{"UCGeneral1.Foo", "Foo.CBComPorts", "UCGeneral1..CBComPorts", ".UCGeneral1",
               "UCGeneral1.", "UCGeneral1.CBComPorts.", ".", p + "Option1", p + "Option1(4)",
               p + "Option2(0)", p + "Option1(", p + "Option1(a)", p + "Option1()",
               p + "Option1(-1)", p + "Option1(1)(2)", p + "Option1(1)x", p + "(1)",
               p + "Option1(99999999999)", p + "Option1 (1)"})
        EXPECT_EQ(root.Resolve(path), nullptr) << path;
}

TEST_F(ControlTest, OptionButtonsFormOneGroupPerContainer) {
    std::vector<Control*> a;
    Control& frameA = Add(Kind::Frame, "FrameA");
    for (int i = 0; i < 3; ++i) a.push_back(&frameA.AddControl(Kind::OptionButton, "A", i));
    Control& check = frameA.AddControl(Kind::CheckBox, "Check");
    check.SetValue(1);
    Control& b = Add(Kind::Frame, "FrameB").AddControl(Kind::OptionButton, "B");
    b.SetValue(1);
    a[0]->SetValue(5);  // any non-zero value selects
    EXPECT_EQ(a[0]->Value(), 1);
    for (Control* o : a)
        o->Click = [this, o] { log.push_back("click A" + std::to_string(o->Index())); };
    Watch();

    a[2]->UserClick();
    a[2]->UserClick();  // the chosen option clicks again and stays chosen
    a[1]->SetEnabled(false);
    a[1]->UserClick();
    a[2]->SetValue(0);  // clearing is no click
    EXPECT_EQ(log,
              (Lines{"A2 Value", "A0 Value", "click A2", "click A2", "A1 Enabled", "A2 Value"}));
    EXPECT_EQ(a[0]->Value() + a[1]->Value() + a[2]->Value(), 0);
    EXPECT_EQ(b.Value(), 1) << "an option in another frame is another group";
    EXPECT_EQ(check.Value(), 1) << "a check box is not part of the group";
}

TEST_F(ControlTest, UserInputFiresEventsOnRealChangesOnlyAndNotWhenDisabled) {
    Control& check = Add(Kind::CheckBox, "Check1");
    check.Click = [&] { log.push_back("check " + std::to_string(check.Value())); };
    Control& combo = Add(Kind::ComboBox, "CBComPorts");
    combo.AddItem("COM3");
    combo.AddItem("COM4");
    combo.Click = [&] { log.push_back("combo " + combo.Text()); };
    Control& text = Add(Kind::TextBox, "T");
    text.Change = [&] { log.push_back("text " + text.Text()); };
    text.KeyPress = [&](int16_t&) { log.push_back("key"); };
    Add(Kind::Label, "L").Change = [&] { log.push_back("a label has no Change"); };
    Control& tree = Add(Kind::TreeView, "TreeMenu");
    tree.AddNode("K1", "General");
    tree.AddNode("K5", "About");
    tree.NodeClick = [&](const std::string& key) { log.push_back(key + "/" + tree.SelectedKey()); };
    const auto input = [&] {
        check.UserClick();
        combo.UserPick(1);
        text.UserKey('7');
        tree.UserNodeClick("K5");
    };

    for (int v : {1, 1}) check.SetValue(v);
    for (int i : {0, 0, -1}) combo.SetListIndex(i);
    for (const char* t : {"16", "16"}) text.UserType(t);
    root("L").SetText("x");
    input();
    input();
    EXPECT_EQ(log, (Lines{"check 1", "combo COM3", "combo ", "text 16", "check 0", "combo COM4",
                          "key", "text 167", "K5/K5", "check 1", "key", "text 1677", "K5/K5"}));
    log.clear();
    for (auto& c : root.Children()) c->SetEnabled(false);
    input();
    text.UserType("lost");
    text.SetEnabled(true);
    text.SetLocked(true);
    text.UserType("lost");
    EXPECT_TRUE(log.empty()) << log.front();
    EXPECT_EQ(text.Text(), "1677");
    tree.ClearNodes();
    EXPECT_EQ(tree.SelectedKey(), "");
}

TEST_F(ControlTest, UserKeyRunsKeyPressThenEditsTheTextAsATextBoxDoes) {
    // Enter inserts nothing, backspace removes one whole character, key codes are
    // Windows-1252; KeyPress may change or refuse the key (upper case, no X here), and sees it
    // even when the box is locked.
    const std::vector<std::tuple<std::string, int16_t, std::string, bool>> cases = {
        {"1", '6', "16", false}, {"1", 'b', "1B", false}, {"1", 'x', "1", false},
        {"16", 13, "16", false}, {"16", 8, "1", false},   {"a\xF0\x9F\x98\x80", 8, "a", false},
        {"ä", 8, "", false},     {"", 8, "", false},      {"", 0x80, "€", false},
        {"v", 'a', "v", true},   {"v", 8, "v", true}};
    for (const auto& [before, key, after, locked] : cases) {
        Control& text = Add(Kind::TextBox, "T");
        text.SetText(before);
        text.SetLocked(locked);
        int presses = 0;
        text.KeyPress = [&](int16_t& k) {
            ++presses;
            if (k >= 'a' && k <= 'z') k = static_cast<int16_t>(k - 32);
            if (k == 'X') k = 0;
        };
        text.UserKey(key);
        EXPECT_EQ(text.Text(), after) << before << " + " << key;
        EXPECT_EQ(presses, 1) << before << " + " << key;
    }
}

TEST_F(ControlTest, UserControlHooksShowHideAndResizeOncePerChange) {
    auto& page = root.Add<Recorder>("Page", log);
    page.AddControl(Kind::Frame, "Frame1").Add<Recorder>("Panel", log);
    auto& hidden = page.Add<Recorder>("Hidden", log);
    hidden.SetVisible(false);
    log.clear();

    page.SetVisible(false);
    page.SetVisible(false);   // no second hide
    hidden.SetVisible(true);  // still inside a hidden page
    page.SetVisible(true);
    EXPECT_EQ(log, (Lines{"Page:hide", "Panel:hide", "Page:show", "Panel:show", "Hidden:show"}));

    // The resize hook runs once per size change, even when it resizes its own control.
    log.clear();
    root.Move(0, 0, 1000, 1000);
    EXPECT_EQ(root.Width(), 7500);
    EXPECT_EQ(root.Height(), 4500);
    root.Move(100, 100, 7500, 4500);  // position only
    Add(Kind::Frame, "F").SetWidth(10);
    root.failResize = true;  // the guard is released on the way out
    EXPECT_EQ(ErrorOf([&] { root.SetWidth(9000); }), "5 Invalid procedure call or argument");
    EXPECT_EQ(ErrorOf([&] { root.SetWidth(9100); }), "5 Invalid procedure call or argument");
    EXPECT_EQ(log, (Lines{"Root:resize", "Root:resize", "Root:resize"}));
}

TEST_F(ControlTest, ADisabledOrZeroIntervalTimerNeverFiresAndReArmingCountsFromNow) {
    AddTimer("Off", 100).SetEnabled(false);
    AddTimer("Zero", 0);
    EXPECT_EQ(NextDue(root), -1);
    EXPECT_EQ(AdvanceClock(root, clock, 10000), 0);
    EXPECT_EQ(RunDueTimers(root, 20000), 0);
    root("Off").FireTimer();
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(clock.NowMs(), 10000);

    Control& t = AddTimer("Nested", 300, &Add(Kind::Frame, "F"));  // armed from the root's clock
    EXPECT_EQ(t.DueAt(), 10300);
    clock.Set(10250);
    t.SetInterval(100);
    EXPECT_EQ(t.DueAt(), 10350);
    t.SetEnabled(false);
    clock.Set(11000);
    t.SetEnabled(true);
    EXPECT_EQ(t.DueAt(), 11100);
    t.SetInterval(0);
    EXPECT_EQ(t.DueAt(), -1);
}

TEST_F(ControlTest, TimersFireInTimeOrderEachAtItsOwnInstant) {
    AddTimer("A", 300);
    AddTimer("B", 200);
    AddTimer("C", 500);
    EXPECT_EQ(NextDue(root), 200);
    EXPECT_EQ(AdvanceClock(root, clock, 700), 6);
    EXPECT_EQ(log, (Lines{"B@200", "A@300", "B@400", "C@500", "A@600", "B@600"}));
    EXPECT_EQ(clock.NowMs(), 700);

    // RunDueTimers fires each due timer once (B was due at 800 and 1000), still in time order.
    log.clear();
    AddTimer("Late", 5000);
    clock.Set(1000);
    EXPECT_EQ(RunDueTimers(root, 1000), 3);
    EXPECT_EQ(log, (Lines{"B@1000", "A@1000", "C@1000"}));

    // A throwing handler stops the clock at its tick, with its timer armed again.
    root("A").OnTimer = [] { Raise(13); };
    EXPECT_EQ(ErrorOf([&] { AdvanceClock(root, clock, 2000); }), "13 Type mismatch");
    EXPECT_EQ(clock.NowMs(), 1300);
    EXPECT_EQ(root("A").DueAt(), 1600);
}

TEST_F(ControlTest, HandlersReArmingAtOneMsOrDisablingAnotherDueTimerAreHonoured) {
    // The pages' pattern: stop during the tick, then ask for an immediate next tick once. The
    // first tick also stops a timer due at the same instant, which must then not fire.
    Control& t = AddTimer("First", 300);
    Control& second = AddTimer("Second", 300);
    bool immediate = true;
    t.OnTimer = [&] {
        log.push_back(std::to_string(clock.NowMs()));
        second.SetEnabled(false);
        t.SetEnabled(false);
        t.SetInterval(immediate ? 1 : 300);
        immediate = false;
        t.SetEnabled(true);
    };
    EXPECT_EQ(AdvanceClock(root, clock, 650), 3);
    second.SetEnabled(true);  // due at 950, with First at 901
    clock.Set(1000);
    EXPECT_EQ(RunDueTimers(root, 1000), 1);
    EXPECT_EQ(log, (Lines{"300", "301", "601", "1000"}));
}

// A page whose constructor starts its timer, before the page hangs in any tree.
struct TimedPage : UserControl {
    TimedPage(const char* name, Lines& log) : UserControl(name) {
        Control& t = AddControl(Kind::Timer, "Timer1");
        t.OnTimer = [&log, name] { log.push_back(name); };
        t.SetInterval(300);
    }
};

TEST_F(ControlTest, TimersArmedBeforeTheirPageJoinsCountAndEqualsFireDepthFirst) {
    // Pages are built with their timers running and hung into the frame afterwards; timers due
    // at the same instant fire depth first, whatever order they were armed in.
    Control& frame = Add(Kind::Frame, "F");
    Control& later = AddTimer("Later", 300, &frame);
    auto& page = root.Add<TimedPage>("Page", log);
    EXPECT_EQ(NextDueTimer(root), &later);
    EXPECT_EQ(NextDueTimer(frame), &later);
    EXPECT_EQ(NextDueTimer(page), &page("Timer1"));
    EXPECT_EQ(root.ArmedTimers().size(), 2u);
    later.SetEnabled(false);
    EXPECT_EQ(NextDueTimer(root), &page("Timer1"));
    later.SetEnabled(true);  // armed last, still first in the tree
    EXPECT_EQ(root.ArmedTimers().size(), 2u);
    EXPECT_EQ(AdvanceClock(root, clock, 600), 4);
    EXPECT_EQ(log, (Lines{"Later@300", "Page", "Later@600", "Page"}));
    page("Timer1").SetInterval(0);
    EXPECT_EQ(root.ArmedTimers(), std::vector<Control*>{&later});
}

}  // namespace
}  // namespace kestrova::ui
