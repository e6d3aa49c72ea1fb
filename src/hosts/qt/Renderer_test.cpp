#include "Renderer.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFontMetricsF>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollBar>
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
    bool WaitFor(const std::function<bool()>& pred, int ms = 2000) {
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
    const QPalette::ColorRole roles[] = {QPalette::Window,    QPalette::Base,
                                         QPalette::Text,      QPalette::ButtonText,
                                         QPalette::Highlight, QPalette::ToolTipBase};
    for (int i = 0; i < 6; ++i) pal.setColor(roles[i], QColor(i, i, i));
    pal.setColor(QPalette::Disabled, QPalette::Text, QColor(16, 17, 18));
    // clang-format off
    const std::pair<ui::Color, QColor> cases[] = {
        {Rgb(49, 106, 197), QColor(49, 106, 197)}, {0x00E1DAD5, QColor(213, 218, 225)},  // 0x00BBGGRR
        {ui::syscolor::ButtonFace, QColor(0, 0, 0)}, {ui::syscolor::Window, QColor(1, 1, 1)},
        {ui::syscolor::WindowText, QColor(2, 2, 2)}, {ui::syscolor::ButtonText, QColor(3, 3, 3)},
        {0x8000000D, QColor(4, 4, 4)} /* highlight */, {ui::syscolor::InfoBackground, QColor(5, 5, 5)},
        {ui::syscolor::GrayText, QColor(16, 17, 18)}, {0x800000FF, QColor(0, 0, 0)},  // unknown: window
    };
    // clang-format on
    for (const auto& [in, out] : cases) EXPECT_EQ(ToQColor(in, pal), out) << std::hex << in;
}

TEST(RendererConversions, LabelCaptionsDropMnemonicMarks) {
    const std::pair<std::string, QString> cases[] = {
        {"&Save", "Save"},  {"Halver&&Voss", "Halver&Voss"},
        {"A&&&B", "A&B"},   {"end&", "end"},
        {"Gerät", "Gerät"}, {"&&&&", "&&"},
    };
    for (const auto& [in, out] : cases) EXPECT_EQ(LabelText(in), out) << in;
}

TEST(RendererConversions, TwipsFollowTheScreenDensity) {
    ui::UserControl root("R");
    const struct {
        double dpi;
        int twips, px;
    } cases[] = {{96, 1440, 96},   {96, 15, 1},  {96, 7500, 500},
                 {144, 1440, 144}, {144, 10, 1}, {120, 2880, 240}};
    for (const auto& c : cases) {
        Renderer r(root, nullptr, c.dpi);
        EXPECT_EQ(r.ToPx(c.twips), c.px) << c.dpi << " dpi";
        EXPECT_EQ(r.ToTwips(c.px), c.twips) << c.dpi << " dpi";
    }
    EXPECT_EQ(TwipsToPx(22, 96), 1);  // rounded, not truncated
    EXPECT_EQ(TwipsToPx(23, 96), 2);
}

TEST(RendererConversions, FontsAreNarrowedToTheDialogFontWidth) {
    const QString letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    const double target = 5.6 * QGuiApplication::primaryScreen()->logicalDotsPerInch() / 96.0;
    for (const char* family : {"DejaVu Sans", "DejaVu Sans Mono", "DejaVu Serif"}) {
        QFont font(family);
        const int stretch = DialogFontStretch(font);
        font.setPointSizeF(8.25);
        font.setStretch(stretch);
        const double avg = QFontMetricsF(font).horizontalAdvance(letters) / letters.size();
        if (stretch == 100)  // a font no wider than the dialog font is left alone
            EXPECT_LE(avg, target * 1.02) << family;
        else
            EXPECT_NEAR(avg, target, 0.35) << family << " at stretch " << stretch;
    }
}

// --- the widgets reflect the model ---

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
}

TEST_F(RendererTest, OneLineLabelsKeepTheirCaptionOnOneLine) {
    Control& single = root.AddControl(Kind::Label, "Single");
    single.Move(0, 0, 600, 255);  // 40 x 17 px
    Control& block = root.AddControl(Kind::Label, "Block");
    block.Move(0, 600, 600, 1200);
    Render();
    auto* sw = Widget<QLabel>(single);
    single.SetCaption("New output data");
    EXPECT_FALSE(sw->wordWrap());
    EXPECT_GE(sw->width(), sw->fontMetrics().horizontalAdvance("New output data"));
    EXPECT_EQ(sw->height(), 17);
    block.SetCaption("A longer text that needs several lines in its box");
    EXPECT_TRUE(Widget<QLabel>(block)->wordWrap());
    EXPECT_EQ(Widget<QLabel>(block)->width(), 40);  // wraps inside its own width
}

// What a widget shows, in short: state flags, then what its class displays.
std::string Shows(QWidget* w) {
    QStringList s;
    if (w->isHidden()) s << "hidden";
    if (!w->isEnabled()) s << "disabled";
    if (!w->toolTip().isEmpty()) s << "tip " + w->toolTip();
    if (w->font().bold()) s << "bold";
    if (w->font().pointSizeF() != 8.25) s << QString("%1pt").arg(w->font().pointSizeF());
    const QPalette& pal = w->palette();
    auto item = [](QTreeWidgetItem* it, QTreeWidget* tree) {
        QStringList cells;
        for (int c = 0; c < tree->columnCount(); ++c) cells << it->text(c);
        QString text = (tree->currentItem() == it ? ">" : "") + cells.join(',');
        if (it->background(0).style() != Qt::NoBrush)
            text += " on " + it->background(0).color().name();
        if (it->foreground(0).style() != Qt::NoBrush)
            text += " in " + it->foreground(0).color().name();
        return text + (it->data(0, kOwnColorsRole).toBool() ? " own" : "");
    };
    if (auto* x = dynamic_cast<ImageWidget*>(w)) {
        s << (x->HasImage() ? "image" : "no image");
    } else if (auto* x = dynamic_cast<QLabel*>(w)) {
        s << "'" + x->text() + "'";
        if (x->autoFillBackground())
            s << pal.color(QPalette::WindowText).name() + " on " +
                     pal.color(QPalette::Window).name();
    } else if (auto* x = dynamic_cast<QPushButton*>(w)) {
        s << "'" + x->text() + "'" << (x->icon().isNull() ? "" : "icon");
    } else if (auto* x = dynamic_cast<QCheckBox*>(w)) {
        s << "'" + x->text() + "'" << QString::number(x->checkState());
    } else if (auto* x = dynamic_cast<QLineEdit*>(w)) {
        s << "'" + x->text() + "'" << (x->isReadOnly() ? "locked" : "");
    } else if (auto* x = dynamic_cast<QPlainTextEdit*>(w)) {
        s << "'" + x->toPlainText() + "'";
    } else if (auto* x = dynamic_cast<QComboBox*>(w)) {
        QStringList items;
        for (int i = 0; i < x->count(); ++i) items << x->itemText(i);
        s << items.join(',') << QString::number(x->currentIndex()) << x->placeholderText();
    } else if (auto* x = dynamic_cast<FrameWidget*>(w)) {
        s << "frame '" + x->Title() + "'";
    } else if (auto* x = dynamic_cast<ShapeWidget*>(w)) {
        const QRectF r = x->ShapeRect();
        s << QString("shape %1 at %2,%3 %4x%5 filled %6")
                 .arg(x->Shape())
                 .arg(r.x())
                 .arg(r.y())
                 .arg(r.width())
                 .arg(r.height())
                 .arg(QColor(x->grab().toImage().pixel(100, 50)).name());
    } else if (auto* x = dynamic_cast<QTreeWidget*>(w)) {
        if (!x->isHeaderHidden())
            for (int c = 0; c < x->columnCount(); ++c) s << x->headerItem()->text(c);
        for (int i = 0; i < x->topLevelItemCount(); ++i) s << item(x->topLevelItem(i), x);
    } else if (auto* x = dynamic_cast<StatusBarWidget*>(w)) {
        for (int i = 0; i < x->PanelCount(); ++i)
            s << "[" + x->PanelText(i) + " " + QString::fromStdString(x->PanelPicture(i)) +
                     (x->PanelHasIcon(i) ? " icon]" : "]");
    }
    s.removeAll(QString());
    return s.join(' ').toStdString();
}

// Each row is applied once before the widgets exist and once to living widgets.
TEST(RendererProperties, EachKindShowsWhatTheModelHolds) {
    struct Case {
        const char* what;
        Kind kind;
        std::function<void(Control&)> set;
        const char* shows;
    } cases[] = {
        // clang-format off
        {"label caption", Kind::Label, [](Control& c) { c.SetCaption("I/F: Halver&&Voss"); }, "'I/F: Halver&Voss'"},
        {"label colours", Kind::Label, [](Control& c) { c.SetForeColor(Rgb(255, 0, 0)); c.SetBackColor(Rgb(0, 0, 255)); },
         "'' #ff0000 on #0000ff"},
        {"plain label is transparent", Kind::Label, [](Control&) {}, "''"},
        {"font", Kind::Label, [](Control& c) { c.SetFontBold(true); c.SetFontSize(12); }, "bold 12pt ''"},
        {"tool tip", Kind::Label, [](Control& c) { c.SetToolTipText("tip"); }, "tip tip ''"},
        {"hidden", Kind::Label, [](Control& c) { c.SetVisible(false); }, "hidden ''"},
        // Qt draws a button's mnemonic itself.
        {"button", Kind::CommandButton, [](Control& c) { c.SetCaption("&Read"); c.SetEnabled(false); c.SetPicture("lamp_on"); },
         "disabled '&Read' icon"},
        {"frame caption", Kind::Frame, [](Control& c) { c.SetCaption("Process data"); }, "frame 'Process data'"},
        {"check box", Kind::CheckBox, [](Control& c) { c.SetCaption("Auto update"); c.SetValue(2); }, "'Auto update' 1"},
        {"text box", Kind::TextBox, [](Control& c) { c.SetText("16"); c.SetLocked(true); }, "'16' locked"},
        {"multi-line text box", Kind::TextBox, [](Control& c) { c.SetMultiLine(true); c.SetText("first\r\nsecond"); },
         "'first\nsecond'"},
        {"combo box", Kind::ComboBox, [](Control& c) { for (const char* p : {"COM3", "COM4", "COM7"}) c.AddItem(p); c.SetListIndex(2); },
         "COM3,COM4,COM7 2"},
        {"cleared combo box", Kind::ComboBox, [](Control& c) { c.AddItem("COM3"); c.Clear(); c.AddItem("COM5"); c.SetText("(none)"); },
         "COM5 -1 (none)"},
        // A circle is round in any box, centred.
        {"shape", Kind::Shape, [](Control& c) { c.SetFillColor(Rgb(0, 200, 0)); c.SetShapeKind(ui::kCircle); },
         "shape 3 at 50.5,0.5 99x99 filled #00c800"},
        {"image", Kind::Image, [](Control& c) { c.SetPicture("logo_halvervoss"); }, "image"},
        {"unknown image", Kind::Image, [](Control& c) { c.SetPicture("no_such_picture"); }, "no image"},
        {"tree view", Kind::TreeView, [](Control& c) {
             for (const char* k : {"K1", "K2", "K3"}) c.AddNode(k, std::string("Node ") + k);
             c.SetNodeText("K1", "Überblick");
             c.SelectNode("K2");
             c.SetNodeColors("K2", Rgb(49, 106, 197), Rgb(255, 255, 255)); },
         "Überblick >Node K2 on #316ac5 in #ffffff own Node K3"},
        {"tree node back to plain colours", Kind::TreeView, [](Control& c) {
             c.AddNode("K1", "General");
             c.SetNodeColors("K1", Rgb(49, 106, 197), Rgb(255, 255, 255));
             c.SetNodeColors("K1", ui::syscolor::Window, ui::syscolor::WindowText); },
         "General"},
        {"cleared tree view", Kind::TreeView, [](Control& c) { c.AddNode("K1", "General"); c.ClearNodes(); }, ""},
        {"list view", Kind::ListView, [](Control& c) {
             c.AddColumn("No.", 600); c.AddColumn("Code", 900); c.AddColumn("Text", 3000);
             c.SetColumnText(0, "Nr.");
             c.AddRow({"1", "0x8C10", "Process variable range overrun"});
             c.AddRow({"2", "0x5100"});
             c.AddRow({"3", "0x1800", "x"}, Rgb(255, 214, 214));
             c.RemoveRow(1); },  // the model counts rows from 1
         "Nr. Code Text 2,0x5100, 3,0x1800,x on #ffd6d6"},
        {"status bar", Kind::StatusBar, [](Control& c) {
             c.AddPanel("", 2400); c.AddPanel("Device", 1500); c.AddPanel("third", 1000);
             c.SetPanelText(2, "Connected");  // the model counts panels from 1
             c.SetPanelPicture(2, "lamp_on"); },
         "[ ] [Connected lamp_on icon] [third ]"},
        // clang-format on
    };
    for (const bool before : {true, false}) {
        ui::UserControl root("Root");
        std::vector<Control*> controls;
        for (const Case& c : cases) {
            controls.push_back(&root.AddControl(c.kind, c.what));
            controls.back()->Move(0, 0, 3000, 1500);  // 200 x 100 px
        }
        if (before)
            for (size_t i = 0; i < controls.size(); ++i) cases[i].set(*controls[i]);
        Renderer renderer(root, nullptr, 96);
        renderer.RootWidget()->show();
        if (!before)
            for (size_t i = 0; i < controls.size(); ++i) cases[i].set(*controls[i]);
        for (size_t i = 0; i < controls.size(); ++i) {
            QWidget* w = renderer.WidgetFor(*controls[i]);
            const char* when = before ? ", set before rendering" : ", set on the widget";
            EXPECT_EQ(Shows(w), cases[i].shows) << cases[i].what << when;
            EXPECT_EQ(w->geometry(), QRect(0, 0, 200, 100)) << cases[i].what << when;
        }
    }
    for (const char* name : {"logo_halvervoss", "logo_halvervoss_small", "logo_ostrel",
                             "logo_dravik", "logo_dravik_small", "lamp_off", "lamp_connecting"})
        EXPECT_FALSE(LoadPicture(name).isNull()) << name;
}

TEST_F(RendererTest, ListViewFollowsNewRowsFitsColumnsAndTipsCutCells) {
    Control& list = root.AddControl(Kind::ListView, "List");
    list.Move(0, 0, 4500, 1500);  // 300 x 100 px: a few rows in view
    for (const char* head : {"Number", "Event Code", "Hex values"}) list.AddColumn(head, 300);
    Render();
    auto* view = Widget<ListViewWidget>(list);
    ASSERT_NE(view, nullptr);
    auto newestInView = [&] {
        QTreeWidgetItem* last = view->topLevelItem(view->topLevelItemCount() - 1);
        return view->viewport()->rect().contains(view->visualItemRect(last));
    };
    for (int i = 1; i <= 30; ++i) list.AddRow({std::to_string(i), "excess temperature", "0xF4"});
    EXPECT_TRUE(newestInView());

    // Columns as wide as their widest text: no cell cut, the last one filling up the row.
    const QFontMetrics fm(view->font());
    EXPECT_GE(view->columnWidth(1), fm.horizontalAdvance(QStringLiteral("excess temperature")));
    EXPECT_GE(view->columnWidth(0), fm.horizontalAdvance(QStringLiteral("Number")));
    EXPECT_FALSE(view->CellIsCut(view->model()->index(29, 1)));
    EXPECT_GE(view->columnWidth(0) + view->columnWidth(1) + view->columnWidth(2),
              view->viewport()->width());

    // A user who scrolled back up stays there.
    view->scrollToTop();
    list.AddRow({"31", "x", "0x00"});
    EXPECT_FALSE(newestInView());
    EXPECT_EQ(view->verticalScrollBar()->value(), 0);
    view->scrollToBottom();
    list.AddRow({"32", "x", "0x00"});
    EXPECT_TRUE(newestInView());

    // A cell narrower than its text is cut and tells its text as a tooltip.
    view->setColumnWidth(1, 20);
    EXPECT_TRUE(view->CellIsCut(view->model()->index(0, 1)));
    EXPECT_FALSE(view->CellIsCut(view->model()->index(0, 0)));
    EXPECT_FALSE(view->CellIsCut(QModelIndex()));
}

TEST_F(RendererTest, ClippedTextsTellThemselvesAsTooltips) {
    Control& line = root.AddControl(Kind::TextBox, "Line");
    line.Move(0, 0, 1500, 285);  // 100 px
    Control& multi = root.AddControl(Kind::TextBox, "Multi");
    multi.SetMultiLine(true);
    multi.Move(0, 400, 1500, 480);  // two lines
    Control& own = root.AddControl(Kind::TextBox, "Own");
    own.SetToolTipText("Wrong number format");
    Render();
    const std::string longText = "Laser distance sensor 30...3000 m, class 2";
    struct Case {
        Control* box;
        std::string text;
        const char* tip;
    } cases[] = {
        {&line, "2607", ""},
        {&line, longText, longText.c_str()},
        {&line, "", ""},  // a tip goes when its text fits again
        {&multi, "84 97 114", ""},
        {&multi, std::string(200, '1'), nullptr},
        {&own, longText, "Wrong number format"},  // the control's own tip wins
    };
    for (const Case& c : cases) {
        c.box->SetText(c.text);
        const QString expected = QString::fromStdString(c.tip ? c.tip : c.text);
        EXPECT_EQ(renderer->WidgetFor(*c.box)->toolTip(), expected)
            << c.box->Name() << " " << c.text;
    }
}

TEST_F(RendererTest, DisabledTextBoxesLookDisabled) {
    Control& box = root.AddControl(Kind::TextBox, "Box");
    Render();
    box.SetEnabled(false);
    const QPalette& pal = renderer->WidgetFor(box)->palette();
    EXPECT_NE(pal.color(QPalette::Disabled, QPalette::Base),
              pal.color(QPalette::Active, QPalette::Base));
}

TEST_F(RendererTest, ColoursGoToTheRoleEachKindPaintsWith) {
    const bool back = true, fore = false;  // BackColor or ForeColor
    const struct {
        Kind kind;
        bool back;
        QPalette::ColorRole role;
    } cases[] = {
        // clang-format off
        {Kind::UserControl, back, QPalette::Window}, {Kind::Frame, back, QPalette::Window},
        {Kind::Frame, fore, QPalette::WindowText},   {Kind::Label, back, QPalette::Window},
        {Kind::TextBox, back, QPalette::Base},       {Kind::TextBox, fore, QPalette::Text},
        {Kind::ComboBox, back, QPalette::Base},      {Kind::TreeView, back, QPalette::Base},
        {Kind::ListView, fore, QPalette::Text},      {Kind::CommandButton, back, QPalette::Button},
        {Kind::CommandButton, fore, QPalette::ButtonText}, {Kind::CheckBox, fore, QPalette::WindowText},
        {Kind::OptionButton, back, QPalette::Window},
        // clang-format on
    };
    std::vector<Control*> controls;
    for (const auto& c : cases) controls.push_back(&root.AddControl(c.kind, "C"));
    Render();
    for (size_t i = 0; i < controls.size(); ++i) {
        const auto& c = cases[i];
        if (c.back)
            controls[i]->SetBackColor(Rgb(12, 34, 56));
        else
            controls[i]->SetForeColor(Rgb(12, 34, 56));
        EXPECT_EQ(renderer->WidgetFor(*controls[i])->palette().color(QPalette::Active, c.role),
                  QColor(12, 34, 56))
            << ui::KindName(c.kind) << (c.back ? " back" : " fore");
    }
}

// --- user input reaches the model ---

TEST_F(RendererTest, UserInputReachesTheModelOfEachKind) {
    using Log = std::vector<std::string>;
    const auto click = [](QWidget* w) { QTest::mouseClick(w, Qt::LeftButton); };
    const auto nodes = [](Control& c) {
        for (const char* k : {"K1", "K2", "K3"}) c.AddNode(k, k);
    };
    struct Case {
        const char* what;
        Kind kind;
        std::function<void(Control&)> setup;
        std::function<void(QWidget*)> act;
        Log log;
        std::function<bool(const Control&)> model = nullptr;
    } cases[] = {
        // clang-format off
        {"button click", Kind::CommandButton, [](Control&) {}, click, {"click"}},
        {"disabled button", Kind::CommandButton, [](Control& c) { c.SetEnabled(false); }, click, {}},
        {"typing in the middle", Kind::TextBox, [](Control& c) { c.SetText("16"); },
         [](QWidget* w) {
             static_cast<QLineEdit*>(w)->setCursorPosition(1);  // the caret stays there
             QTest::keyClicks(w, "xy");
             QTest::keyClick(w, Qt::Key_Backspace); },
         {"key 120", "change 1x6", "key 121", "change 1xy6", "key 8", "change 1x6"},
         [](const Control& c) { return c.Text() == "1x6"; }},
        {"locked text box", Kind::TextBox, [](Control& c) { c.SetLocked(true); },
         [](QWidget* w) { QTest::keyClicks(w, "9"); }, {"key 57"}, [](const Control& c) { return c.Text().empty(); }},
        {"multi-line text box", Kind::TextBox, [](Control& c) { c.SetMultiLine(true); c.SetText("a\r\nb"); },
         [](QWidget* w) { static_cast<QPlainTextEdit*>(w)->moveCursor(QTextCursor::End); QTest::keyClicks(w, "!"); },
         {"key 33", "change a\r\nb!"}},
        {"check box", Kind::CheckBox, [](Control& c) { c.SetValue(1); },
         [](QWidget* w) { QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(6, w->height() / 2)); },
         {"click"}, [](const Control& c) { return c.Value() == 0; }},
        {"combo pick", Kind::ComboBox, [](Control& c) { for (const char* p : {"COM3", "COM4", "COM7"}) c.AddItem(p); },
         [](QWidget* w) { emit static_cast<QComboBox*>(w)->activated(2); },
         {"click"}, [](const Control& c) { return c.ListIndex() == 2 && c.Text() == "COM7"; }},
        {"enter on a combo box", Kind::ComboBox, [](Control&) {},
         [](QWidget* w) { QTest::keyClick(w, Qt::Key_Enter); }, {"key 13"}},
        {"tree node click", Kind::TreeView, [&](Control& c) { nodes(c); c.SelectNode("K1"); },
         [](QWidget* w) {
             auto* tree = static_cast<QTreeWidget*>(w);
             const QPoint third = tree->visualItemRect(tree->topLevelItem(2)).center();
             QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, third);
             QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, third); },  // reported again
         {"node K3", "node K3"}, [](const Control& c) { return c.SelectedKey() == "K3"; }},
        {"tree arrow key", Kind::TreeView, [&](Control& c) { nodes(c); c.SelectNode("K2"); },
         [](QWidget* w) { QTest::keyClick(w, Qt::Key_Up); },
         {"node K1"}, [](const Control& c) { return c.SelectedKey() == "K1"; }},
        // clang-format on
    };
    Log log;
    std::vector<Control*> controls;
    for (const Case& c : cases) {
        Control& control = root.AddControl(c.kind, c.what);
        control.Move(0, 0, 3000, 1500);
        c.setup(control);
        control.Click = [&log] { log.push_back("click"); };
        control.Change = [&log, &control] { log.push_back("change " + control.Text()); };
        control.NodeClick = [&log](const std::string& key) { log.push_back("node " + key); };
        control.KeyPress = [&log](int16_t& k) { log.push_back("key " + std::to_string(k)); };
        controls.push_back(&control);
    }
    Render();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(renderer->RootWidget()));
    for (size_t i = 0; i < controls.size(); ++i) {
        const Case& c = cases[i];
        log.clear();
        QWidget* w = renderer->WidgetFor(*controls[i]);
        w->setFocus();
        c.act(w);
        EXPECT_EQ(log, c.log) << c.what;
        EXPECT_TRUE(!c.model || c.model(*controls[i])) << c.what;
    }
    EXPECT_TRUE(errors.empty());
}

TEST_F(RendererTest, KeyPressHandlerFiltersAndReplacesTypedKeys) {
    Control& text = root.AddControl(Kind::TextBox, "Text1");
    // Accept hex digits only, upper-cased.
    text.KeyPress = [&](int16_t& k) {
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
    QTest::keyClick(edit, Qt::Key_Backspace);
    EXPECT_EQ(text.Text(), "1A");
}

TEST_F(RendererTest, HandlerThatUndoesAClickWinsOverTheWidget) {
    Control& check = root.AddControl(Kind::CheckBox, "Check1");
    check.Click = [&] {
        if (check.Value() == 1) check.SetValue(0);
    };
    Render();
    QTest::mouseClick(Widget<QCheckBox>(check), Qt::LeftButton);
    EXPECT_EQ(check.Value(), 0);
    EXPECT_EQ(Widget<QCheckBox>(check)->checkState(), Qt::Unchecked);
}

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
    const std::tuple<const char*, std::function<void()>, int> changes[] = {
        {"text", [&] { text.SetText("abc"); }, 1},   {"check", [&] { check.SetValue(1); }, 1},
        {"option", [&] { option.SetValue(1); }, 1},  {"combo", [&] { combo.SetListIndex(1); }, 1},
        {"tree", [&] { tree.SelectNode("K2"); }, 0},
    };
    for (const auto& [what, change, expected] : changes) {
        events = 0;
        change();
        QApplication::processEvents();
        EXPECT_EQ(events, expected) << what;
    }
}

TEST_F(RendererTest, OptionButtonsAreGroupedByTheirContainer) {
    Control* options[2][3];
    for (int f = 0; f < 2; ++f) {
        Control& frame = root.AddControl(Kind::Frame, f == 0 ? "FrameFormat" : "FrameMode");
        for (int i = 0; i < 3; ++i) {
            options[f][i] = &frame.AddControl(Kind::OptionButton, "Option", i);
            options[f][i]->Move(100, 240 + 300 * i, 1500, 255);
        }
    }
    options[0][0]->SetValue(1);
    options[1][2]->SetValue(1);
    Render();
    // The marks the widgets show, then the model's values, per container.
    auto marks = [&] {
        std::string shown, model;
        for (int f = 0; f < 2; ++f, shown += ' ', model += ' ')
            for (int i = 0; i < 3; ++i) {
                shown += Widget<QRadioButton>(*options[f][i])->isChecked() ? '1' : '0';
                model += static_cast<char>('0' + options[f][i]->Value());
            }
        return shown + "/ " + model;
    };
    // Options without caption react on their indicator only.
    auto click = [&](int f, int i) {
        QWidget* w = Widget<QRadioButton>(*options[f][i]);
        QTest::mouseClick(w, Qt::LeftButton, {}, QPoint(6, w->height() / 2));
    };
    EXPECT_EQ(marks(), "100 001 / 100 001 ");
    click(0, 1);
    click(0, 1);                               // clicking the chosen option again leaves it chosen
    EXPECT_EQ(marks(), "010 001 / 010 001 ");  // the other container keeps its choice
    options[1][0]->SetValue(1);                // the model choosing another moves the mark
    EXPECT_EQ(marks(), "010 100 / 010 100 ");
}

// --- timers and failures ---

TEST_F(RendererTest, ModelTimersRunOnTheEventLoop) {
    Control& timer = root.AddControl(Kind::Timer, "Timer1");
    Control& slow = root.AddControl(Kind::Timer, "Slow");
    int ticks = 0, slowTicks = 0;
    // As pages do: the tick disables the timer while it works and enables it again.
    timer.OnTimer = [&] {
        timer.SetEnabled(false);
        ++ticks;
        timer.SetEnabled(true);
    };
    slow.OnTimer = [&] { ++slowTicks; };
    Render();
    EXPECT_EQ(renderer->TimerRemaining(), -1);  // interval 0: never due
    timer.SetInterval(10);
    slow.SetInterval(100);
    EXPECT_TRUE(WaitFor([&] { return slowTicks >= 2; }));
    EXPECT_GT(ticks, 3 * slowTicks);  // each keeps its own pace

    timer.SetEnabled(false);
    slow.SetEnabled(false);
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

// --- structure ---

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
