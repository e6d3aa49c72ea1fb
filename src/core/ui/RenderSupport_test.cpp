#include "ui/RenderSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace kestrova::ui {
namespace {

TEST(RenderSupport, TwipsAndPixelsRoundAndClamp) {
    const struct {
        int32_t twips;
        double dpi;
        int px;
    } toPx[] = {
        {22, 96, 1},
        {23, 96, 2},
        {-22, 96, -1},
        {-23, 96, -2},
        {1440, 0, 0},
        {INT32_MAX, 96, 2147483647 / 15},  // beyond int only at huge DPIs
        {INT32_MAX, 1e9, INT_MAX},
        {INT32_MIN, 1e9, INT_MIN},
        {100, NAN, 0},
    };
    for (const auto& c : toPx)
        EXPECT_EQ(TwipsToPx(c.twips, c.dpi), c.px) << c.twips << " @ " << c.dpi;

    const struct {
        int px;
        double dpi;
        int32_t twips;
    } toTwips[] = {
        {1, 96, 15}, {7, 144, 70}, {-1, 120, -12},          {5, 0, 0},
        {5, -96, 0}, {5, NAN, 0},  {INT_MAX, 1, INT32_MAX}, {INT_MIN, 1, INT32_MIN},
    };
    for (const auto& c : toTwips)
        EXPECT_EQ(PxToTwips(c.px, c.dpi), c.twips) << c.px << " @ " << c.dpi;
}

TEST(RenderSupport, OneLineLabelsWidenToTheirText) {
    const struct {
        int width, height, lineHeight, textWidth;
        bool hasBreak;
        int want;
    } cases[] = {
        {50, 13, 13, 80, false, 81},            // one line: widened to the text
        {50, 25, 13, 80, false, 81},            // still less than two lines
        {50, 26, 13, 80, false, 50},            // two lines: wraps instead
        {50, 13, 13, 80, true, 50},             // a line break: the text is meant to wrap
        {90, 13, 13, 80, false, 90},            // fits: never narrowed
        {50, 13, 13, INT_MAX, false, INT_MAX},  // no overflow on absurd text widths
        {50, INT_MAX, INT_MAX, 80, false, 81},  // nor on absurd line heights
    };
    for (const auto& c : cases)
        EXPECT_EQ(LabelWidth(c.width, c.height, c.lineHeight, c.textWidth, c.hasBreak), c.want)
            << c.width << "x" << c.height << " line " << c.lineHeight << " text " << c.textWidth;
}

TEST(RenderSupport, WideFontsAreNarrowedNeverWidened) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        double average, dpi, want;
    } cases[] = {
        {5.6, 96, 1.0},    // the classic font itself
        {4.0, 96, 1.0},    // a narrower one is never widened
        {5.7, 96, 1.0},    // within 2 %
        {7.0, 96, 0.8},    // narrowed to the target
        {11.2, 192, 1.0},  // the same font at twice the density
        {14.0, 192, 0.8},  //
        {20.0, 96, 0.7},   // never below 70 %: worse would be unreadable
        {nan, 96, 1.0},    // measurements that failed leave the font alone
        {7.0, 0, 1.0},     //
        {7.0, -96, 1.0},   //
    };
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(NarrowingFor(c.average, c.dpi), c.want) << c.average << " at " << c.dpi;
}

TEST(RenderSupport, EveryDrawnPropertyBelongsToAnAspectItsKindsShow) {
    // Every property but a timer's interval and a text box's line mode is drawn by some kind.
    for (int i = 0; i <= static_cast<int>(Prop::Panels); ++i) {
        const auto prop = static_cast<Prop>(i);
        const bool drawn = prop != Prop::Interval && prop != Prop::MultiLine;
        EXPECT_EQ(AspectOf(prop) != Aspect::None, drawn) << PropName(prop);
    }
    const struct {
        Prop prop;
        Kind shownBy, notBy;
    } cases[] = {
        {Prop::ListIndex, Kind::ComboBox, Kind::ListView},
        {Prop::Nodes, Kind::TreeView, Kind::ListView},
        {Prop::ListItems, Kind::ListView, Kind::TreeView},
        {Prop::ColumnHeaders, Kind::ListView, Kind::ComboBox},
        {Prop::Panels, Kind::StatusBar, Kind::UserControl},
        {Prop::Locked, Kind::TextBox, Kind::ComboBox},
        {Prop::Shape, Kind::Shape, Kind::Image},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(Shows(c.shownBy, AspectOf(c.prop))) << PropName(c.prop);
        EXPECT_FALSE(Shows(c.notBy, AspectOf(c.prop))) << PropName(c.prop);
    }
}

TEST(RenderSupport, BackgroundsStackBelowLabelsBelowWindowedControls) {
    const Kind order[] = {Kind::Frame, Kind::Shape, Kind::Image, Kind::Label};
    for (size_t i = 1; i < std::size(order); ++i)
        EXPECT_LT(StackingLayer(order[i - 1]), StackingLayer(order[i])) << KindName(order[i]);
    for (Kind k :
         {Kind::UserControl, Kind::TextBox, Kind::CommandButton, Kind::CheckBox, Kind::OptionButton,
          Kind::ComboBox, Kind::TreeView, Kind::ListView, Kind::StatusBar})
        EXPECT_EQ(StackingLayer(k), kWindowedLayer) << KindName(k);
}

TEST(RenderSupport, OnlyUncolouredCaptionControlsDrawOnTheirContainer) {
    const struct {
        Kind kind;
        Color back;
        bool onContainer;
    } cases[] = {
        {Kind::Label, syscolor::ButtonFace, true},
        {Kind::CheckBox, syscolor::ButtonFace, true},
        {Kind::OptionButton, syscolor::ButtonFace, true},
        {Kind::Label, Rgb(255, 255, 255), false},
        {Kind::OptionButton, syscolor::Window, false},
        {Kind::CommandButton, syscolor::ButtonFace, false},
        {Kind::Frame, syscolor::ButtonFace, false},
    };
    UserControl root("R");
    int n = 0;
    for (const auto& c : cases) {
        Control& control = root.AddControl(c.kind, "C" + std::to_string(n++));
        control.SetBackColor(c.back);
        EXPECT_EQ(DrawsOnContainer(control), c.onContainer) << KindName(c.kind) << " " << c.back;
    }
}

TEST(RenderSupport, NodeColoursAndChosenNode) {
    EXPECT_FALSE(HasOwnColors(TreeNode{"k", "t"}));
    EXPECT_TRUE(HasOwnColors(TreeNode{"k", "t", Rgb(0, 0, 128)}));
    EXPECT_TRUE(HasOwnColors(TreeNode{"k", "t", syscolor::Window, Rgb(255, 0, 0)}));

    UserControl root("R");
    Control& tree = root.AddControl(Kind::TreeView, "T");
    EXPECT_EQ(SelectedNode(tree), -1);
    tree.AddNode("A", "a");
    tree.AddNode("B", "b");
    EXPECT_EQ(SelectedNode(tree), -1);  // nothing chosen yet
    tree.SelectNode("B");
    EXPECT_EQ(SelectedNode(tree), 1);
}

TEST(RenderSupport, CheckStatesNamesAndFailures) {
    const std::pair<int, CheckState> states[] = {{0, CheckState::Unchecked},
                                                 {1, CheckState::Checked},
                                                 {2, CheckState::Grayed},
                                                 {3, CheckState::Unchecked},
                                                 {-1, CheckState::Unchecked}};
    for (const auto& [value, state] : states) EXPECT_EQ(CheckStateOf(value), state) << value;

    UserControl root("UCGeneral1");
    Control& frame = root.AddControl(Kind::Frame, "Frame1");
    Control& option = frame.AddControl(Kind::OptionButton, "Option1", 3);
    EXPECT_EQ(ControlPath(root, root), "UCGeneral1");
    EXPECT_EQ(ControlPath(option, root), "Frame1.Option1(3)");
    EXPECT_EQ(ControlPath(option, frame), "Option1(3)");
    EXPECT_EQ(IndexedName(frame), "Frame1");

    EXPECT_EQ(FailureText(std::make_exception_ptr(std::runtime_error("no port"))), "no port");
    EXPECT_EQ(FailureText(std::make_exception_ptr(42)), "unknown failure");
    EXPECT_EQ(FailureText(nullptr), "unknown failure");
}

}  // namespace
}  // namespace kestrova::ui
