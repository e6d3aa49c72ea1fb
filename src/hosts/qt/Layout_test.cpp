// Every page in both languages, in the states that change captions, at the design size and at
// the smallest size: no caption is wider than its box at the standard font, and no two visible
// controls overlap (a control inside a frame lies wholly inside it).
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QStyle>
#include <QTest>

#include "MainWindow.h"
#include "Renderer.h"
#include "Widgets.h"
#include "dtmgui/DTMGUI.h"

namespace kestrova::qt {
namespace {

using ui::Control;
using ui::Kind;

bool WaitFor(const std::function<bool()>& pred, int ms) {
    QElapsedTimer t;
    t.start();
    while (!pred() && t.elapsed() < ms) QTest::qWait(10);
    return pred();
}

std::string PathOf(const Control& c) {
    std::string path;
    for (const Control* p = &c; p && p->Parent(); p = p->Parent()) {
        std::string name = p->Name();
        if (p->Index() >= 0) name += "(" + std::to_string(p->Index()) + ")";
        path = path.empty() ? name : name + "." + path;
    }
    return path;
}

// The room a caption needs in its widget, beside the text itself.
int CaptionExtra(const Control& c, const QWidget& w) {
    const QStyle* style = w.style();
    switch (c.GetKind()) {
        case Kind::CommandButton:
            return 2 * (style->pixelMetric(QStyle::PM_ButtonMargin, nullptr, &w) + 2);
        case Kind::CheckBox:
            return style->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, &w) +
                   style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, &w) + 2;
        case Kind::OptionButton:
            return style->pixelMetric(QStyle::PM_ExclusiveIndicatorWidth, nullptr, &w) +
                   style->pixelMetric(QStyle::PM_RadioButtonLabelSpacing, nullptr, &w) + 2;
        case Kind::Frame:
            return 2 * 8 + 4;  // the title is set in from the left and padded
        default:
            return 0;
    }
}

// Rows of a list in view below its heading, at the height one row takes.
int RowsInView(const QTreeWidget& list) {
    const int row = QFontMetrics(list.font()).height() + 4;
    return list.viewport()->height() / row;
}

// Faults of one shown control tree: captions wider (or, wrapped, higher) than their box, fields
// that cut their text (one line too narrow, several lines scrolling), and overlapping siblings.
std::vector<std::string> LayoutFaults(Control& root, const Renderer& r) {
    std::vector<std::string> faults;
    auto shown = [&](const Control& c) {
        const QWidget* w = r.WidgetFor(c);
        return w && w->isVisible() && c.GetKind() != Kind::Timer;
    };
    root.ForEach([&](Control& c) {
        QWidget* w = r.WidgetFor(c);
        if (!shown(c)) return;
        if (auto* line = qobject_cast<QLineEdit*>(w)) {
            // What the device tells shows whole in the fields at their design size.
            const int need = QFontMetrics(w->font()).horizontalAdvance(line->text()) + 8;
            if (need > r.ToPx(c.Width()))
                faults.push_back(PathOf(c) + " shows '" + line->text().toStdString() +
                                 "' cut: needs " + std::to_string(need) + " px of " +
                                 std::to_string(r.ToPx(c.Width())));
            return;
        }
        if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
            if (!plain->toPlainText().isEmpty() && plain->verticalScrollBar()->maximum() > 0)
                faults.push_back(PathOf(c) + " shows '" + plain->toPlainText().toStdString() +
                                 "' cut: it scrolls");
            return;
        }
        const bool isLabel = c.GetKind() == Kind::Label;
        const QString caption =
            isLabel ? LabelText(c.Caption()) : QString::fromStdString(c.Caption());
        if (caption.isEmpty() || (!isLabel && CaptionExtra(c, *w) == 0)) return;
        const QFontMetrics fm(w->font());
        const int width = r.ToPx(c.Width()), height = r.ToPx(c.Height());
        const bool oneLine = !isLabel || (height < 2 * fm.height() && !caption.contains('\n'));
        QString text = caption;
        text.remove(QChar('&'));
        if (oneLine) {
            const int need = fm.horizontalAdvance(text) + CaptionExtra(c, *w);
            if (need > width)
                faults.push_back(PathOf(c) + " '" + caption.toStdString() + "' needs " +
                                 std::to_string(need) + " px of " + std::to_string(width));
        } else {
            const QRect need = fm.boundingRect(QRect(0, 0, width, 10000), Qt::TextWordWrap, text);
            if (need.height() > height || need.width() > width)
                faults.push_back(PathOf(c) + " '" + caption.toStdString() + "' needs " +
                                 std::to_string(need.height()) + " px high of " +
                                 std::to_string(height));
        }
    });
    root.ForEach([&](Control& holder) {
        std::vector<Control*> kids;
        for (const auto& k : holder.Children())
            if (shown(*k)) kids.push_back(k.get());
        for (size_t i = 0; i < kids.size(); ++i)
            for (size_t j = i + 1; j < kids.size(); ++j) {
                Control* a = kids[i];
                Control* b = kids[j];
                const QRect ra = r.WidgetFor(*a)->geometry(), rb = r.WidgetFor(*b)->geometry();
                if (!ra.intersects(rb)) continue;
                const bool aFrame = a->GetKind() == Kind::Frame,
                           bFrame = b->GetKind() == Kind::Frame;
                if (aFrame != bFrame) {
                    const QRect frame = aFrame ? ra : rb, inner = aFrame ? rb : ra;
                    // Inside the frame, and below its caption line when it has one.
                    const Control& f = aFrame ? *a : *b;
                    const int captionBottom =
                        f.Caption().empty() ? 0 : QFontMetrics(r.WidgetFor(f)->font()).height();
                    if (frame.contains(inner) && inner.top() >= frame.top() + captionBottom)
                        continue;
                }
                faults.push_back(PathOf(*a) + " and " + PathOf(*b) + " overlap");
            }
    });
    return faults;
}

struct Scenario {
    const char* what;
    AppOptions options;
    int locale;
};

void CheckAllPages(const Scenario& s, std::vector<std::string>& faults) {
    MainWindow window(s.options);
    window.Services().Unattended = [](const std::string&, int, const std::string&) {
        return ui::msgbox::AnswerOk;
    };
    window.OpenDtm(kFunctionExpert, s.locale);
    DTMGUI* dtm = window.Dtm();
    ASSERT_NE(dtm, nullptr);
    const QSize design = window.HostSizeFor(dtm->Width(), dtm->Height());
    const QSize smallest = window.HostSizeFor(DTMGUI::kMinWidth, DTMGUI::kMinHeight);
    const int menu = window.menuBar()->sizeHint().height();
    window.resize(design.width(), design.height() + menu);
    window.show();
    WaitFor([&] { return dtm->Find("StatusBar1")->Panels()[0].Text != ""; }, 3000);
    QTest::qWait(700);
    auto check = [&](const std::string& where) {
        QTest::qWait(350);  // a tick of the page
        for (const std::string& f : LayoutFaults(*dtm, *window.GetRenderer()))
            faults.push_back(std::string(s.what) + ", " + where + ": " + f);
    };
    // Pages and their event lists (none on the others).
    const std::pair<const char*, const char*> pages[] = {
        {"K1", nullptr},
        {"K2", nullptr},
        {"K3", "IOLinkData1.UCEventData1.ListView1"},
        {"K4", "IOLinkParam1.UCEventData1.ListView1"},
        {"K5", nullptr}};
    for (const auto& [key, list] : pages) {
        ASSERT_TRUE(window.OpenPage(key)) << key;
        check(key);
        // The page's own panel leaves the event list a few rows at the design size.
        Control* events = list ? dtm->Resolve(list) : nullptr;
        if (!events) continue;
        auto* view = qobject_cast<QTreeWidget*>(window.GetRenderer()->WidgetFor(*events));
        if (!view || RowsInView(*view) < 4)
            faults.push_back(std::string(s.what) + ", " + key + ": the event list shows " +
                             std::to_string(view ? RowsInView(*view) : 0) + " rows");
    }
    // The device's process data in every display form.
    ASSERT_TRUE(window.OpenPage("K3"));
    for (int form : {2, 1, 0}) {
        if (Control* option = dtm->Resolve("IOLinkData1.UCProcessData1.OptionAnzeige(" +
                                           std::to_string(form) + ")"))
            option->UserClick();
        check("K3 in form " + std::to_string(form));
    }
    // A parameter the device does not have: the longest texts the error line shows.
    if (Control* index = dtm->Resolve("IOLinkParam1.UCParameter1.TextRdIndex")) {
        ASSERT_TRUE(window.OpenPage("K4"));
        index->UserType("99");
        dtm->Resolve("IOLinkParam1.UCParameter1.TextRdSubIndex")->UserType("0");
        dtm->Resolve("IOLinkParam1.UCParameter1.Command1")->UserClick();
        QTest::qWait(400);
        check("K4 after a failed read");
        // The vendor name (22 bytes) shows whole in decimal.
        index->UserType("16");
        dtm->Resolve("IOLinkParam1.UCParameter1.Command1")->UserClick();
        QTest::qWait(400);
        Control* data = dtm->Resolve("IOLinkParam1.UCParameter1.TextRd");
        auto* shown = qobject_cast<QPlainTextEdit*>(window.GetRenderer()->WidgetFor(*data));
        const bool device = s.options.profile.empty() && s.options.master != "none";
        if (device && (!shown || data->Text().empty() || shown->verticalScrollBar()->maximum() > 0))
            faults.push_back(std::string(s.what) + ": the read data '" + data->Text() +
                             "' does not show whole");
        // The same bytes typed for writing show whole too.
        dtm->Resolve("IOLinkParam1.UCParameter1.TextWr")->UserType(data->Text());
        check("K4 with the vendor name to write");
        index->UserType("99");
        // A master that does not answer: the longest error line.
        window.SimulatorControl("throw IOL::Read");
        dtm->Resolve("IOLinkParam1.UCParameter1.Command1")->UserClick();
        QTest::qWait(400);
        check("K4 after a read the master did not answer");
    }
    window.resize(smallest.width(), smallest.height() + menu);
    check("smallest size");
}

TEST(LayoutFit, EveryPageInBothLanguagesFitsItsCaptions) {
    AppOptions connected;
    AppOptions noDevice;
    noDevice.profile = "none";  // the communication panel asks for communication
    AppOptions noMaster;
    noMaster.master = "none";
    AppOptions outputs;
    outputs.profile = "actuator";  // process data both ways
    const Scenario scenarios[] = {
        {"English", connected, kLocaleEnglish},
        {"German", connected, kLocaleGerman},
        {"English, no device", noDevice, kLocaleEnglish},
        {"German, no device", noDevice, kLocaleGerman},
        {"German, no master", noMaster, kLocaleGerman},
        {"English, a device with outputs", outputs, kLocaleEnglish},
    };
    std::vector<std::string> faults;
    for (const Scenario& s : scenarios) CheckAllPages(s, faults);
    std::string all;
    for (const std::string& f : faults) all += f + "\n";
    EXPECT_TRUE(faults.empty()) << faults.size() << " layout faults:\n" << all;
}

}  // namespace
}  // namespace kestrova::qt
