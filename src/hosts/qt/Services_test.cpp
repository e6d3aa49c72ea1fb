#include "QtServices.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <thread>

namespace kestrova::qt {
namespace {

using QMB = QMessageBox;

TEST(QtServicesMsgBox, StylesMapToButtonsIconsAndDefaults) {
    struct Case {
        int style;
        QMB::StandardButtons buttons;
        QMB::Icon icon;
        QMB::StandardButton defaultButton;
    } cases[] = {
        // clang-format off
        {ui::msgbox::OkOnly, QMB::Ok, QMB::NoIcon, QMB::Ok},
        {ui::msgbox::OkOnly | ui::msgbox::Critical, QMB::Ok, QMB::Critical, QMB::Ok},
        {ui::msgbox::OkCancel | ui::msgbox::Exclamation, QMB::Ok | QMB::Cancel, QMB::Warning, QMB::Ok},
        {ui::msgbox::YesNo | ui::msgbox::Information, QMB::Yes | QMB::No, QMB::Information, QMB::Yes},
        {ui::msgbox::YesNo | 32 | 256, QMB::Yes | QMB::No, QMB::Question, QMB::No},
        {3 | 512, QMB::Yes | QMB::No | QMB::Cancel, QMB::NoIcon, QMB::Cancel},
        {5, QMB::Retry | QMB::Cancel, QMB::NoIcon, QMB::Retry},
        {2, QMB::Abort | QMB::Retry | QMB::Ignore, QMB::NoIcon, QMB::Abort},
        {ui::msgbox::OkOnly | 512, QMB::Ok, QMB::NoIcon, QMB::Ok},  // no third button
        // clang-format on
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MsgBoxButtons(c.style), c.buttons) << c.style;
        EXPECT_EQ(MsgBoxIcon(c.style), c.icon) << c.style;
        EXPECT_EQ(MsgBoxDefault(c.style), c.defaultButton) << c.style;
    }
}

TEST(QtServicesMsgBox, PressedButtonsGiveTheRuntimeAnswers) {
    const std::pair<QMB::StandardButton, int> cases[] = {
        {QMB::Ok, ui::msgbox::AnswerOk},
        {QMB::Cancel, ui::msgbox::AnswerCancel},
        {QMB::Abort, 3},
        {QMB::Retry, 4},
        {QMB::Ignore, 5},
        {QMB::Yes, ui::msgbox::AnswerYes},
        {QMB::No, ui::msgbox::AnswerNo},
        {QMB::NoButton, ui::msgbox::AnswerCancel},
    };
    for (const auto& [button, answer] : cases) EXPECT_EQ(MsgBoxAnswer(button), answer) << button;
}

TEST(QtServicesSave, FiltersAndSuffixes) {
    struct Case {
        std::string filter;
        QString qt;
        QString suffix;
    } cases[] = {
        {"*.txt", "Text files (*.txt);;All files (*)", "txt"},
        {"*.csv", "CSV files (*.csv);;All files (*)", "csv"},
        {"Event log (*.txt)|*.txt", "Event log (*.txt) (*.txt);;All files (*)", "txt"},
        {"Text|*.txt;*.log|Any|*.*", "Text (*.txt *.log);;Any (*.*);;All files (*)", "txt"},
        {"", "All files (*)", ""},
        {"*.*", "All files (*)", ""},
        {"log*", "LOG* files (log*);;All files (*)", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(SaveFilter(c.filter), c.qt) << c.filter;
        QString german = c.qt;
        german.replace(QStringLiteral("Text files"), QStringLiteral("Textdateien"))
            .replace(QStringLiteral("All files"), QStringLiteral("Alle Dateien"))
            .replace(QStringLiteral(" files ("), QStringLiteral("-Dateien ("));
        EXPECT_EQ(SaveFilter(c.filter, true), german) << c.filter;
        EXPECT_EQ(DefaultSuffix(c.filter), c.suffix) << c.filter;
    }
}

TEST(QtServicesBasics, UnattendedAnswersInventoryAndClock) {
    int calls = 0;
    QtServices services([&] {
        ++calls;
        return std::vector<ui::InventoryRecord>{
            {"USB\\VID_0403&PID_7C31\\A1", "IO-Link USB Master (COM3)"}};
    });
    std::string seen;
    services.Unattended = [&](const std::string& text, int style, const std::string&) {
        seen = text;
        return style == ui::msgbox::YesNo ? ui::msgbox::AnswerNo : ui::msgbox::AnswerOk;
    };
    EXPECT_EQ(services.MsgBox("Save the log?", ui::msgbox::YesNo, ""), ui::msgbox::AnswerNo);
    EXPECT_EQ(seen, "Save the log?");
    EXPECT_EQ(services.ShowSave("*.txt", "EventLog.txt"), "");  // nobody to ask: cancelled

    const auto inventory = services.UsbInventory();
    ASSERT_EQ(inventory.size(), 1u);
    EXPECT_EQ(inventory[0].Name, "IO-Link USB Master (COM3)");
    EXPECT_EQ(calls, 1);

    EXPECT_EQ(services.ProgramDirectory(), QCoreApplication::applicationDirPath().toStdString());

    const int64_t a = services.GetClock().NowMs();
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    const int64_t b = services.GetClock().NowMs();
    EXPECT_GE(b - a, 10);
    EXPECT_LT(b - a, 1000);
}

}  // namespace
}  // namespace kestrova::qt
