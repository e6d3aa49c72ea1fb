#include "Renderer.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFontMetricsF>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTest>
#include <QTreeWidget>
#include <stdexcept>

#include "Widgets.h"

// Readable QStrings in failure messages.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}

namespace kestrova::qt {
namespace {

using ui::Control;
using ui::Kind;
using ui::Rgb;

class RendererTest : public ::testing::Test {
  protected:
    void Render() {
        renderer = std::make_unique<Renderer>(root, nullptr, 96);
        renderer->OnError = [this](const std::string& m) { errors.push_back(m); };
        renderer->RootWidget()->show();
    }
    template <class W>
    W* Widget(const Control& c) {
        return dynamic_cast<W*>(renderer->WidgetFor(c));
    }
    // Runs the event loop until the condition holds or the time is up.
    template <class Pred>
    bool WaitFor(Pred pred, int ms = 2000) {
        QElapsedTimer t;
        t.start();
        while (!pred() && t.elapsed() < ms) QTest::qWait(5);
        return pred();
    }

    ui::UserControl root{"Root"};
    std::vector<std::string> errors;
    std::unique_ptr<Renderer> renderer;  // destroyed before root
};

// --- conversions ---

TEST(RendererConversions, ModelColoursBecomeQtColours) {
    QPalette pal;
    pal.setColor(QPalette::Window, QColor(1, 2, 3));
    pal.setColor(QPalette::Base, QColor(4, 5, 6));
    pal.setColor(QPalette::Text, QColor(7, 8, 9));
    pal.setColor(QPalette::ButtonText, QColor(10, 11, 12));
    pal.setColor(QPalette::Highlight, QColor(13, 14, 15));
    pal.setColor(QPalette::Disabled, QPalette::Text, QColor(16, 17, 18));
    pal.setColor(QPalette::ToolTipBase, QColor(19, 20, 21));
    struct Case {
        ui::Color in;
        QColor out;
    } cases[] = {
        {Rgb(255, 0, 0), QColor(255, 0, 0)},
        {Rgb(49, 106, 197), QColor(49, 106, 197)},
        {0x00E1DAD5, QColor(213, 218, 225)},
        {ui::syscolor::ButtonFace, QColor(1, 2, 3)},
        {ui::syscolor::Window, QColor(4, 5, 6)},
        {ui::syscolor::WindowText, QColor(7, 8, 9)},
        {ui::syscolor::ButtonText, QColor(10, 11, 12)},
        {0x8000000D, QColor(13, 14, 15)},  // highlight
        {ui::syscolor::GrayText, QColor(16, 17, 18)},
        {ui::syscolor::InfoBackground, QColor(19, 20, 21)},
        {0x800000FF, QColor(1, 2, 3)},  // unknown index: the window colour
    };
    for (const Case& c : cases) EXPECT_EQ(ToQColor(c.in, pal), c.out) << std::hex << c.in;
}

TEST(RendererConversions, LabelCaptionsDropMnemonicMarks) {
    const std::pair<std::string, QString> cases[] = {
        {"Save", "Save"},   {"&Save", "Save"}, {"Halver&&Voss", "Halver&Voss"},
        {"A&&&B", "A&B"},   {"end&", "end"},   {"", ""},
        {"Gerät", "Gerät"}, {"&&&&", "&&"},
    };
    for (const auto& [in, out] : cases) EXPECT_EQ(LabelText(in), out) << in;
}

TEST(RendererConversions, TwipsFollowTheScreenDensity) {
    ui::UserControl root("R");
    Renderer at96(root, nullptr, 96);
    EXPECT_EQ(at96.ToPx(1440), 96);
    EXPECT_EQ(at96.ToPx(15), 1);
    EXPECT_EQ(at96.ToPx(7500), 500);
    EXPECT_EQ(at96.ToTwips(300), 4500);
    Renderer at144(root, nullptr, 144);
    EXPECT_EQ(at144.ToPx(1440), 144);
    EXPECT_EQ(at144.ToPx(10), 1);
    EXPECT_EQ(at144.ToTwips(at144.ToPx(2880)), 2880);
}

TEST(RendererConversions, FontsAreNarrowedToTheDialogFontWidth) {
    const QString letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    const double target = 5.6 * QGuiApplication::primaryScreen()->logicalDotsPerInch() / 96.0;
    for (const char* family : {"DejaVu Sans", "DejaVu Sans Mono", "DejaVu Serif"}) {
        QFont font(family);
        const int stretch = DialogFontStretch(font);
        EXPECT_GE(stretch, 70) << family;
        EXPECT_LE(stretch, 100) << family;
        font.setPointSizeF(8.25);
        font.setStretch(stretch);
        const double avg = QFontMetricsF(font).horizontalAdvance(letters) / letters.size();
        if (stretch == 100)  // a font no wider than the dialog font is left alone
            EXPECT_LE(avg, target * 1.02) << family;
        else
            EXPECT_NEAR(avg, target, 0.35) << family << " at stretch " << stretch;
    }
}

// --- each kind reflects the model ---

TEST_F(RendererTest, PlacesControlsInTheirContainersFromTwips) {
    root.Move(0, 0, 9000, 6000);
    Control& frame = root.AddControl(Kind::Frame, "Frame1");
    frame.Move(150, 300, 4500, 3000);
    Control& label = frame.AddControl(Kind::Label, "Label1");
    label.Move(120, 240, 1500, 255);
    Render();
    EXPECT_EQ(renderer->RootWidget()->size(), QSize(600, 400));
    EXPECT_EQ(Widget<FrameWidget>(frame)->geometry(), QRect(10, 20, 300, 200));
    QWidget* lw = Widget<QLabel>(label);
    EXPECT_EQ(lw->parentWidget(), Widget<FrameWidget>(frame));
    EXPECT_EQ(lw->geometry(), QRect(8, 16, 100, 17));
    label.SetLeft(1500);
    EXPECT_EQ(lw->x(), 100);
    frame.SetHeight(1500);
    EXPECT_EQ(Widget<FrameWidget>(frame)->height(), 100);
    frame.SetCaption("Process data");
    EXPECT_EQ(Widget<FrameWidget>(frame)->Title(), "Process data");
}

TEST_F(RendererTest, OneLineLabelsKeepTheirCaptionOnOneLine) {
    Control& single = root.AddControl(Kind::Label, "Single");
    single.Move(0, 0, 600, 255);  // 40 x 17 px
    Control& block = root.AddControl(Kind::Label, "Block");
    block.Move(0, 600, 600, 1200);
    Render();
    auto* sw = Widget<QLabel>(single);
    auto* bw = Widget<QLabel>(block);
    single.SetCaption("short");
    EXPECT_FALSE(sw->wordWrap());
    EXPECT_EQ(sw->width(), std::max(40, sw->fontMetrics().horizontalAdvance("short") + 1));
    single.SetCaption("New output data");
    EXPECT_GE(sw->width(), sw->fontMetrics().horizontalAdvance("New output data"));
    EXPECT_EQ(sw->height(), 17);
    block.SetCaption("A longer text that needs several lines in its box");
    EXPECT_TRUE(bw->wordWrap());
    EXPECT_EQ(bw->width(), 40);  // wraps inside its own width
}

TEST_F(RendererTest, CommonPropertiesFollowTheModel) {
    Control& label = root.AddControl(Kind::Label, "Label1");
    Control& button = root.AddControl(Kind::CommandButton, "Button1");
    Render();
    auto* lw = Widget<QLabel>(label);
    auto* bw = Widget<QPushButton>(button);

    label.SetCaption("Interface: Halver&&Voss");
    EXPECT_EQ(lw->text(), "Interface: Halver&Voss");
    label.SetForeColor(Rgb(255, 0, 0));
    EXPECT_EQ(lw->palette().color(QPalette::WindowText), QColor(255, 0, 0));
    EXPECT_FALSE(lw->autoFillBackground());  // drawn on its container
    label.SetBackColor(Rgb(0, 0, 255));
    EXPECT_TRUE(lw->autoFillBackground());
    EXPECT_EQ(lw->palette().color(QPalette::Window), QColor(0, 0, 255));
    label.SetFontBold(true);
    label.SetFontSize(12);
    EXPECT_TRUE(lw->font().bold());
    EXPECT_DOUBLE_EQ(lw->font().pointSizeF(), 12);
    label.SetToolTipText("tip");
    EXPECT_EQ(lw->toolTip(), "tip");
    label.SetVisible(false);
    EXPECT_TRUE(lw->isHidden());
    label.SetVisible(true);
    EXPECT_FALSE(lw->isHidden());

    button.SetCaption("&Read");
    EXPECT_EQ(bw->text(), "&Read");  // Qt draws the mnemonic itself
    button.SetEnabled(false);
    EXPECT_FALSE(bw->isEnabled());
    button.SetPicture("lamp_on");
    EXPECT_FALSE(bw->icon().isNull());
}

TEST_F(RendererTest, ColoursGoToTheRoleEachKindPaintsWith) {
    struct Case {
        Kind kind;
        bool back;  // BackColor, else ForeColor
        QPalette::ColorRole role;
    } cases[] = {
        {Kind::UserControl, true, QPalette::Window},
        {Kind::Frame, true, QPalette::Window},
        {Kind::Frame, false, QPalette::WindowText},
        {Kind::Label, true, QPalette::Window},
        {Kind::Label, false, QPalette::WindowText},
        {Kind::TextBox, true, QPalette::Base},
        {Kind::TextBox, false, QPalette::Text},
        {Kind::ComboBox, true, QPalette::Base},
        {Kind::TreeView, true, QPalette::Base},
        {Kind::ListView, false, QPalette::Text},
        {Kind::CommandButton, true, QPalette::Button},
        {Kind::CommandButton, false, QPalette::ButtonText},
        {Kind::CheckBox, false, QPalette::WindowText},
        {Kind::OptionButton, true, QPalette::Window},
    };
    std::vector<Control*> controls;
    for (const Case& c : cases) controls.push_back(&root.AddControl(c.kind, "C"));
    Render();
    const QColor colour(12, 34, 56);
    for (size_t i = 0; i < controls.size(); ++i) {
        const Case& c = cases[i];
        if (c.back)
            controls[i]->SetBackColor(Rgb(12, 34, 56));
        else
            controls[i]->SetForeColor(Rgb(12, 34, 56));
        QWidget* w = renderer->WidgetFor(*controls[i]);
        EXPECT_EQ(w->palette().color(QPalette::Active, c.role), colour)
            << ui::KindName(c.kind) << (c.back ? " back" : " fore");
    }
}

TEST_F(RendererTest, ButtonClicksReachTheModelOnlyWhenEnabled) {
    Control& button = root.AddControl(Kind::CommandButton, "Button1");
    int clicks = 0;
    button.Click = [&] { ++clicks; };
    Render();
    auto* bw = Widget<QPushButton>(button);
    QTest::mouseClick(bw, Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
    button.SetEnabled(false);
    QTest::mouseClick(bw, Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
}

TEST_F(RendererTest, TextBoxShowsTextAndForwardsTyping) {
    Control& text = root.AddControl(Kind::TextBox, "Text1");
    std::vector<std::string> changes;
    text.Change = [&] { changes.push_back(text.Text()); };
    Render();
    auto* edit = Widget<QLineEdit>(text);
    ASSERT_NE(edit, nullptr);

    text.SetText("16");
    EXPECT_EQ(edit->text(), "16");
    EXPECT_EQ(changes, std::vector<std::string>{"16"});  // the model's own Change, no echo

    edit->setFocus();
    edit->setCursorPosition(2);
    QTest::keyClicks(edit, "3");
    EXPECT_EQ(text.Text(), "163");
    // Typing in the middle keeps the caret where the user put it.
    edit->setCursorPosition(1);
    QTest::keyClicks(edit, "x");
    EXPECT_EQ(text.Text(), "1x63");
    EXPECT_EQ(edit->cursorPosition(), 2);
    QTest::keyClick(edit, Qt::Key_Backspace);
    EXPECT_EQ(text.Text(), "163");

    text.SetLocked(true);
    EXPECT_TRUE(edit->isReadOnly());
    QTest::keyClicks(edit, "9");
    EXPECT_EQ(text.Text(), "163");
}

TEST_F(RendererTest, KeyPressHandlerFiltersAndReplacesTypedKeys) {
    Control& text = root.AddControl(Kind::TextBox, "Text1");
    std::vector<int> seen;
    // Accept hex digits only, upper-cased; report Enter.
    text.KeyPress = [&](int16_t& k) {
        seen.push_back(k);
        if (k == 13 || k == 8) return;
        if (k >= 'a' && k <= 'f') k = static_cast<int16_t>(k - 32);
        if (!((k >= '0' && k <= '9') || (k >= 'A' && k <= 'F'))) k = 0;
    };
    Render();
    auto* edit = Widget<QLineEdit>(text);
    edit->setFocus();
    QTest::keyClicks(edit, "1aZ f");
    EXPECT_EQ(text.Text(), "1AF");
    EXPECT_EQ(edit->text(), "1AF");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(seen.back(), 13);
    QTest::keyClick(edit, Qt::Key_Backspace);
    EXPECT_EQ(seen.back(), 8);
    EXPECT_EQ(text.Text(), "1A");
}

TEST_F(RendererTest, EnterReachesButtonsAndOtherControlsAsKeyAscii13) {
    Control& combo = root.AddControl(Kind::ComboBox, "Combo1");
    std::vector<int> seen;
    combo.KeyPress = [&](int16_t& k) { seen.push_back(k); };
    Render();
    QTest::keyClick(Widget<QComboBox>(combo), Qt::Key_Enter);
    EXPECT_EQ(seen, std::vector<int>{13});
}

TEST_F(RendererTest, MultiLineTextBoxSwitchesWidgetAndKeepsLineBreaks) {
    Control& text = root.AddControl(Kind::TextBox, "Text1");
    text.Move(0, 0, 3000, 1500);
    Render();
    ASSERT_NE(Widget<QLineEdit>(text), nullptr);
    text.SetMultiLine(true);
    text.SetText("first\r\nsecond");
    auto* plain = Widget<QPlainTextEdit>(text);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(Widget<QLineEdit>(text), nullptr);
    EXPECT_EQ(plain->toPlainText(), "first\nsecond");
    EXPECT_EQ(plain->geometry(), QRect(0, 0, 200, 100));
    plain->setFocus();
    plain->moveCursor(QTextCursor::End);
    QTest::keyClicks(plain, "!");
    EXPECT_EQ(text.Text(), "first\r\nsecond!");
}

TEST_F(RendererTest, CheckBoxShowsValueAndToggles) {
    Control& check = root.AddControl(Kind::CheckBox, "CheckAutoUpdate");
    check.SetCaption("Auto update");
    int clicks = 0;
    check.Click = [&] { ++clicks; };
    Render();
    auto* box = Widget<QCheckBox>(check);
    EXPECT_EQ(box->text(), "Auto update");
    check.SetValue(2);
    EXPECT_EQ(box->checkState(), Qt::PartiallyChecked);
    check.SetValue(1);
    EXPECT_EQ(box->checkState(), Qt::Checked);
    clicks = 0;
    QTest::mouseClick(box, Qt::LeftButton);
    EXPECT_EQ(check.Value(), 0);
    EXPECT_EQ(box->checkState(), Qt::Unchecked);
    EXPECT_EQ(clicks, 1);

    // A handler that refuses the change: the widget shows what the model holds.
    check.Click = [&] {
        if (check.Value() == 1) check.SetValue(0);
    };
    QTest::mouseClick(box, Qt::LeftButton);
    EXPECT_EQ(check.Value(), 0);
    EXPECT_EQ(box->checkState(), Qt::Unchecked);
}

TEST_F(RendererTest, OptionButtonsAreGroupedByTheirContainer) {
    Control& left = root.AddControl(Kind::Frame, "FrameFormat");
    Control& right = root.AddControl(Kind::Frame, "FrameMode");
    Control* options[2][3];
    for (int f = 0; f < 2; ++f)
        for (int i = 0; i < 3; ++i) {
            Control& frame = f == 0 ? left : right;
            options[f][i] = &frame.AddControl(Kind::OptionButton, "Option", i);
            options[f][i]->Move(100, 240 + 300 * i, 1500, 255);
        }
    options[0][0]->SetValue(1);
    options[1][2]->SetValue(1);
    Render();
    auto checked = [&](int f, int i) { return Widget<QRadioButton>(*options[f][i])->isChecked(); };
    // Options without caption react on their indicator only.
    auto click = [&](int f, int i) {
        QWidget* w = Widget<QRadioButton>(*options[f][i]);
        QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(6, w->height() / 2));
    };
    EXPECT_TRUE(checked(0, 0));
    EXPECT_TRUE(checked(1, 2));

    click(0, 1);
    EXPECT_EQ(options[0][0]->Value(), 0);
    EXPECT_EQ(options[0][1]->Value(), 1);
    EXPECT_FALSE(checked(0, 0));
    EXPECT_TRUE(checked(0, 1));
    EXPECT_TRUE(checked(1, 2));  // the other container keeps its choice
    EXPECT_EQ(options[1][2]->Value(), 1);

    // Clicking the chosen option again leaves it chosen.
    click(0, 1);
    EXPECT_TRUE(checked(0, 1));

    // The model choosing another option moves the mark.
    options[1][0]->SetValue(1);
    EXPECT_TRUE(checked(1, 0));
    EXPECT_FALSE(checked(1, 2));
}

TEST_F(RendererTest, ComboBoxListsEntriesAndForwardsPicks) {
    Control& combo = root.AddControl(Kind::ComboBox, "ComboPort");
    combo.AddItem("COM3");
    combo.AddItem("COM4");
    std::vector<int> picks;
    combo.Click = [&] { picks.push_back(combo.ListIndex()); };
    Render();
    auto* box = Widget<QComboBox>(combo);
    EXPECT_EQ(box->count(), 2);
    EXPECT_EQ(box->currentIndex(), -1);
    combo.AddItem("COM7");
    EXPECT_EQ(box->itemText(2), "COM7");
    combo.SetListIndex(1);
    EXPECT_EQ(box->currentIndex(), 1);
    EXPECT_EQ(picks, std::vector<int>{1});  // no echo from the widget

    emit box->activated(2);  // what the box emits when the user picks an entry
    EXPECT_EQ(combo.ListIndex(), 2);
    EXPECT_EQ(combo.Text(), "COM7");
    EXPECT_EQ(picks, (std::vector<int>{1, 2}));

    combo.Clear();
    EXPECT_EQ(box->count(), 0);
    combo.AddItem("COM5");
    EXPECT_EQ(box->count(), 1);
    EXPECT_EQ(box->itemText(0), "COM5");
    combo.SetText("(none)");
    EXPECT_EQ(box->placeholderText(), "(none)");
}

TEST_F(RendererTest, ShapesPaintTheirFillColourAndForm) {
    Control& shape = root.AddControl(Kind::Shape, "ShapeLed");
    shape.Move(0, 0, 600, 300);
    Render();
    auto* sw = Widget<ShapeWidget>(shape);
    shape.SetFillColor(Rgb(0, 200, 0));
    EXPECT_EQ(sw->Fill(), QColor(0, 200, 0));
    shape.SetShapeKind(ui::kCircle);
    EXPECT_EQ(sw->Shape(), ui::kCircle);
    const QRectF r = sw->ShapeRect();
    EXPECT_NEAR(r.width(), r.height(), 0.01);  // a circle is round in any box
    EXPECT_NEAR(r.center().x(), 20, 0.6);

    // The painted pixel in the middle has the fill colour.
    const QImage image = sw->grab().toImage();
    EXPECT_EQ(QColor(image.pixel(image.width() / 2, image.height() / 2)), QColor(0, 200, 0));
}

TEST_F(RendererTest, ImagesShowNamedPicturesAndSurviveUnknownNames) {
    Control& image = root.AddControl(Kind::Image, "ImageLogo", 0);
    image.Move(0, 0, 3000, 750);
    Render();
    auto* iw = Widget<ImageWidget>(image);
    EXPECT_FALSE(iw->HasImage());
    for (const char* name :
         {"logo_halvervoss", "logo_halvervoss_small", "logo_ostrel", "logo_dravik",
          "logo_dravik_small", "lamp_off", "lamp_connecting", "lamp_on"}) {
        image.SetPicture(name);
        EXPECT_TRUE(iw->HasImage()) << name;
        ASSERT_FALSE(iw->pixmap().isNull()) << name;
        EXPECT_LE(iw->pixmap().deviceIndependentSize().width(), 200) << name;
    }
    image.SetPicture("no_such_picture");
    EXPECT_FALSE(iw->HasImage());
    image.SetPicture("");
    EXPECT_FALSE(iw->HasImage());
}

TEST_F(RendererTest, TreeViewShowsNodesColoursAndSelection) {
    Control& tree = root.AddControl(Kind::TreeView, "TreeMenu");
    tree.Move(0, 0, 2400, 3000);
    tree.AddNode("K1", "General");
    tree.AddNode("K2", "Device Info");
    Render();
    auto* tw = Widget<QTreeWidget>(tree);
    ASSERT_EQ(tw->topLevelItemCount(), 2);
    EXPECT_EQ(tw->topLevelItem(1)->text(0), "Device Info");
    tree.AddNode("K3", "IO-Link Data");
    tree.SetNodeText("K1", "Überblick");
    EXPECT_EQ(tw->topLevelItem(2)->text(0), "IO-Link Data");
    EXPECT_EQ(tw->topLevelItem(0)->text(0), "Überblick");

    tree.SelectNode("K2");
    EXPECT_EQ(tw->currentItem(), tw->topLevelItem(1));
    tree.SetNodeColors("K2", Rgb(49, 106, 197), Rgb(255, 255, 255));
    QTreeWidgetItem* k2 = tw->topLevelItem(1);
    EXPECT_EQ(k2->background(0).color(), QColor(49, 106, 197));
    EXPECT_EQ(k2->foreground(0).color(), QColor(255, 255, 255));
    EXPECT_TRUE(k2->data(0, kOwnColorsRole).toBool());
    // Back to the plain colours: the tree's own background shows again.
    tree.SetNodeColors("K2", ui::syscolor::Window, ui::syscolor::WindowText);
    EXPECT_EQ(k2->background(0).style(), Qt::NoBrush);
    EXPECT_FALSE(k2->data(0, kOwnColorsRole).toBool());

    tree.ClearNodes();
    EXPECT_EQ(tw->topLevelItemCount(), 0);
}

TEST_F(RendererTest, TreeViewForwardsMouseAndKeyboardNodeClicks) {
    Control& tree = root.AddControl(Kind::TreeView, "TreeMenu");
    tree.Move(0, 0, 2400, 3000);
    for (const char* k : {"K1", "K2", "K3"}) tree.AddNode(k, std::string("Node ") + k);
    tree.SelectNode("K1");
    std::vector<std::string> clicks;
    tree.NodeClick = [&](const std::string& key) { clicks.push_back(key); };
    Render();
    auto* tw = Widget<QTreeWidget>(tree);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(renderer->RootWidget()));

    const QPoint third = tw->visualItemRect(tw->topLevelItem(2)).center();
    QTest::mouseClick(tw->viewport(), Qt::LeftButton, {}, third);
    EXPECT_EQ(clicks, std::vector<std::string>{"K3"});
    EXPECT_EQ(tree.SelectedKey(), "K3");
    // Clicking the selected node reports again.
    QTest::mouseClick(tw->viewport(), Qt::LeftButton, {}, third);
    EXPECT_EQ(clicks.size(), 2u);

    tw->setFocus();
    QTest::keyClick(tw, Qt::Key_Up);
    EXPECT_EQ(clicks.back(), "K2");
    EXPECT_EQ(tree.SelectedKey(), "K2");

    // Selecting from the model reports nothing.
    clicks.clear();
    tree.SelectNode("K1");
    EXPECT_TRUE(clicks.empty());
    EXPECT_EQ(tw->currentItem(), tw->topLevelItem(0));
}

TEST_F(RendererTest, ListViewShowsColumnsAndRows) {
    Control& list = root.AddControl(Kind::ListView, "ListEvents");
    list.Move(0, 0, 6000, 2000);
    list.AddColumn("No.", 600);
    list.AddColumn("Code", 900);
    Render();
    auto* lw = Widget<QTreeWidget>(list);
    EXPECT_EQ(lw->columnCount(), 2);
    EXPECT_EQ(lw->headerItem()->text(1), "Code");
    EXPECT_EQ(lw->columnWidth(0), 40);
    EXPECT_EQ(lw->columnWidth(1), 60);
    list.AddColumn("Text", 3000);
    list.SetColumnText(0, "Nr.");
    EXPECT_EQ(lw->columnCount(), 3);
    EXPECT_EQ(lw->headerItem()->text(0), "Nr.");
    EXPECT_EQ(lw->columnWidth(2), 200);

    list.AddRow({"1", "0x8C10", "Process variable range overrun"});
    list.AddRow({"2", "0x5100"});
    ASSERT_EQ(lw->topLevelItemCount(), 2);
    EXPECT_EQ(lw->topLevelItem(0)->text(2), "Process variable range overrun");
    EXPECT_EQ(lw->topLevelItem(1)->text(1), "0x5100");
    list.RemoveRow(1);
    ASSERT_EQ(lw->topLevelItemCount(), 1);
    EXPECT_EQ(lw->topLevelItem(0)->text(0), "2");
    EXPECT_EQ(lw->topLevelItem(0)->text(2), "");
    list.ClearRows();
    EXPECT_EQ(lw->topLevelItemCount(), 0);
}

TEST_F(RendererTest, StatusBarShowsPanelTextsAndIcons) {
    Control& bar = root.AddControl(Kind::StatusBar, "StatusBar1");
    bar.Move(0, 0, 9000, 345);
    bar.AddPanel("", 2400);
    bar.AddPanel("Device", 1500);
    Render();
    auto* sb = Widget<StatusBarWidget>(bar);
    ASSERT_EQ(sb->PanelCount(), 2);
    EXPECT_EQ(sb->PanelText(1), "Device");
    EXPECT_FALSE(sb->PanelHasIcon(0));
    bar.SetPanelText(2, "Connected");  // the model counts panels from 1
    bar.SetPanelPicture(2, "lamp_on");
    EXPECT_EQ(sb->PanelText(1), "Connected");
    EXPECT_TRUE(sb->PanelHasIcon(1));
    EXPECT_EQ(sb->PanelPicture(1), "lamp_on");
    bar.SetPanelPicture(2, "");
    EXPECT_FALSE(sb->PanelHasIcon(1));
    bar.AddPanel("third", 1000);
    EXPECT_EQ(sb->PanelCount(), 3);
}

// --- no echo ---

TEST_F(RendererTest, ModelChangesAreNotEchoedAsUserInput) {
    Control& text = root.AddControl(Kind::TextBox, "Text1");
    Control& check = root.AddControl(Kind::CheckBox, "Check1");
    Control& option = root.AddControl(Kind::OptionButton, "Option1", 0);
    root.AddControl(Kind::OptionButton, "Option1", 1);
    Control& combo = root.AddControl(Kind::ComboBox, "Combo1");
    Control& tree = root.AddControl(Kind::TreeView, "Tree1");
    combo.AddItem("a");
    combo.AddItem("b");
    tree.AddNode("K1", "one");
    tree.AddNode("K2", "two");
    int events = 0;
    text.Change = [&] { ++events; };
    check.Click = [&] { ++events; };
    option.Click = [&] { ++events; };
    combo.Click = [&] { ++events; };
    tree.NodeClick = [&](const std::string&) { ++events; };
    Render();

    // Each model change fires exactly the model's own event (none for a tree selection).
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"text", [&] { text.SetText("abc"); }},
        {"check", [&] { check.SetValue(1); }},
        {"option", [&] { option.SetValue(1); }},
        {"combo", [&] { combo.SetListIndex(1); }},
    };
    for (const auto& [what, change] : changes) {
        events = 0;
        change();
        QApplication::processEvents();
        EXPECT_EQ(events, 1) << what;
    }
    events = 0;
    tree.SelectNode("K2");
    QApplication::processEvents();
    EXPECT_EQ(events, 0);
}

// --- timers ---

TEST_F(RendererTest, ModelTimersRunOnTheEventLoop) {
    Control& timer = root.AddControl(Kind::Timer, "Timer1");
    int ticks = 0;
    // As pages do: the tick disables the timer while it works and enables it again.
    timer.OnTimer = [&] {
        timer.SetEnabled(false);
        ++ticks;
        timer.SetEnabled(true);
    };
    Render();
    EXPECT_EQ(renderer->TimerRemaining(), -1);  // interval 0: never due
    timer.SetInterval(20);
    EXPECT_GE(renderer->TimerRemaining(), 0);
    EXPECT_TRUE(WaitFor([&] { return ticks >= 3; }));

    timer.SetEnabled(false);
    EXPECT_EQ(renderer->TimerRemaining(), -1);
    const int stopped = ticks;
    QTest::qWait(60);
    EXPECT_EQ(ticks, stopped);

    // A long interval shortened to 1 ms ticks at once.
    timer.SetInterval(60000);
    timer.SetEnabled(true);
    EXPECT_GT(renderer->TimerRemaining(), 1000);
    timer.SetInterval(1);
    EXPECT_TRUE(WaitFor([&] { return ticks > stopped; }, 200));
}

TEST_F(RendererTest, SeveralTimersKeepTheirOwnPace) {
    Control& fast = root.AddControl(Kind::Timer, "Fast");
    Control& slow = root.AddControl(Kind::Timer, "Slow");
    int fastTicks = 0, slowTicks = 0;
    fast.OnTimer = [&] { ++fastTicks; };
    slow.OnTimer = [&] { ++slowTicks; };
    Render();
    fast.SetInterval(10);
    slow.SetInterval(100);
    EXPECT_TRUE(WaitFor([&] { return slowTicks >= 2; }));
    EXPECT_GT(fastTicks, 3 * slowTicks);
}

// --- robustness ---

TEST_F(RendererTest, FailingHandlersAreReportedNotThrown) {
    Control& button = root.AddControl(Kind::CommandButton, "Button1");
    Control& timer = root.AddControl(Kind::Timer, "Timer1");
    button.Click = [] { throw std::runtime_error("Type mismatch"); };
    int ticks = 0;
    timer.OnTimer = [&] {
        ++ticks;
        throw std::runtime_error("device gone");
    };
    Render();
    QTest::mouseClick(Widget<QPushButton>(button), Qt::LeftButton);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_NE(errors[0].find("Type mismatch"), std::string::npos);
    timer.SetInterval(5);
    EXPECT_TRUE(WaitFor([&] { return ticks >= 2; }));  // the timer goes on after a failure
    EXPECT_NE(errors.back().find("device gone"), std::string::npos);
}

TEST_F(RendererTest, ControlsAddedAfterRenderingGetWidgets) {
    Render();
    Control& page = root.AddControl(Kind::UserControl, "Page");
    Control& label = page.AddControl(Kind::Label, "Late");
    label.SetCaption("late");  // its first notification brings it in
    ASSERT_NE(Widget<QLabel>(label), nullptr);
    EXPECT_EQ(Widget<QLabel>(label)->text(), "late");
    EXPECT_EQ(Widget<QLabel>(label)->parentWidget(), renderer->WidgetFor(page));
}

TEST_F(RendererTest, BackgroundsAndLightweightControlsStayBelowWindowedOnes) {
    Control& button = root.AddControl(Kind::CommandButton, "Button");
    Control& label = root.AddControl(Kind::Label, "Label");
    Control& shape = root.AddControl(Kind::Shape, "Shape");
    Control& image = root.AddControl(Kind::Image, "Image");
    Control& frame = root.AddControl(Kind::Frame, "Frame");  // placed last, over the others
    Control& text = root.AddControl(Kind::TextBox, "Text");
    Render();
    const QObjectList& order = renderer->RootWidget()->children();  // bottom first
    auto pos = [&](const Control& c) { return order.indexOf(renderer->WidgetFor(c)); };
    EXPECT_LT(pos(frame), pos(shape));
    EXPECT_LT(pos(shape), pos(image));
    EXPECT_LT(pos(image), pos(label));
    EXPECT_LT(pos(label), pos(button));
    EXPECT_LT(pos(button), pos(text));  // windowed controls keep their order
}

}  // namespace
}  // namespace kestrova::qt
