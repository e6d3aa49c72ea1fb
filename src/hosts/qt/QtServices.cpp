#include "QtServices.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

#ifdef KESTROVA_HAVE_PLATFORM
#include "platform/DesktopApps.h"
#endif

namespace kestrova::qt {

namespace {
// Stands for "the desktop's own opener" when the platform lookup is not built in.
constexpr const char* kDesktopOpener = "(desktop default)";

// The "description|pattern" pairs of a filter, or one pair made from a bare pattern.
std::vector<std::pair<QString, QString>> FilterPairs(const std::string& filter, bool german) {
    std::vector<std::pair<QString, QString>> pairs;
    const QStringList parts = QString::fromStdString(filter).split(QChar('|'));
    if (parts.size() >= 2) {
        for (qsizetype i = 0; i + 1 < parts.size(); i += 2)
            pairs.emplace_back(parts[i].trimmed(), parts[i + 1].trimmed());
        return pairs;
    }
    const QString pattern = parts.value(0).trimmed();
    if (pattern.isEmpty() || pattern == QStringLiteral("*.*") || pattern == QStringLiteral("*"))
        return pairs;
    QString ext = pattern.section(QChar('.'), -1).toLower();
    QString description =
        ext == QStringLiteral("txt")
            ? (german ? QStringLiteral("Textdateien") : QStringLiteral("Text files"))
            : ext.toUpper() + (german ? QStringLiteral("-Dateien") : QStringLiteral(" files"));
    pairs.emplace_back(description, pattern);
    return pairs;
}
}  // namespace

namespace {
// The buttons of a style's button set (its low bits), left to right.
QList<QMessageBox::StandardButton> ButtonOrder(int style) {
    using B = QMessageBox;
    switch (style & 7) {
        case 1:
            return {B::Ok, B::Cancel};
        case 2:
            return {B::Abort, B::Retry, B::Ignore};
        case 3:
            return {B::Yes, B::No, B::Cancel};
        case 4:
            return {B::Yes, B::No};
        case 5:
            return {B::Retry, B::Cancel};
        default:
            return {B::Ok};
    }
}
}  // namespace

QMessageBox::StandardButtons MsgBoxButtons(int style) {
    QMessageBox::StandardButtons buttons;
    for (QMessageBox::StandardButton b : ButtonOrder(style)) buttons |= b;
    return buttons;
}

QMessageBox::StandardButton MsgBoxDefault(int style) {
    // Bits 8 and 9 pick the second or third button as the default.
    const QList<QMessageBox::StandardButton> order = ButtonOrder(style);
    return order.value((style >> 8) & 3, order.front());
}

QMessageBox::Icon MsgBoxIcon(int style) {
    switch (style & 0x70) {
        case 16:
            return QMessageBox::Critical;
        case 32:
            return QMessageBox::Question;
        case 48:
            return QMessageBox::Warning;
        case 64:
            return QMessageBox::Information;
        default:
            return QMessageBox::NoIcon;
    }
}

int MsgBoxAnswer(QMessageBox::StandardButton button) {
    switch (button) {
        case QMessageBox::Ok:
            return ui::msgbox::AnswerOk;
        case QMessageBox::Cancel:
            return ui::msgbox::AnswerCancel;
        case QMessageBox::Abort:
            return 3;
        case QMessageBox::Retry:
            return 4;
        case QMessageBox::Ignore:
            return 5;
        case QMessageBox::Yes:
            return ui::msgbox::AnswerYes;
        case QMessageBox::No:
            return ui::msgbox::AnswerNo;
        default:
            return ui::msgbox::AnswerCancel;
    }
}

QString SaveFilter(const std::string& filter, bool german) {
    QStringList entries;
    for (const auto& [description, pattern] : FilterPairs(filter, german)) {
        QString patterns = pattern;
        patterns.replace(QChar(';'), QChar(' '));
        entries << QStringLiteral("%1 (%2)").arg(description, patterns);
    }
    entries << (german ? QStringLiteral("Alle Dateien (*)") : QStringLiteral("All files (*)"));
    return entries.join(QStringLiteral(";;"));
}

QString DefaultSuffix(const std::string& filter) {
    const auto pairs = FilterPairs(filter, false);
    if (pairs.empty()) return {};
    const QString first = pairs.front().second.section(QChar(';'), 0, 0).trimmed();
    if (!first.startsWith(QStringLiteral("*."))) return {};
    const QString suffix = first.mid(2);
    return suffix.contains(QChar('*')) || suffix.contains(QChar('?')) ? QString() : suffix;
}

QtServices::QtServices(InventorySource inventory) : inventory_(std::move(inventory)) {}

int QtServices::MsgBox(const std::string& text, int style, const std::string& title) {
    if (Unattended) return Unattended(text, style, title);
    QMessageBox box(parent_);
    box.setWindowTitle(title.empty() ? QCoreApplication::applicationName()
                                     : QString::fromStdString(title));
    box.setText(QString::fromStdString(text));
    box.setTextFormat(Qt::PlainText);
    box.setIcon(MsgBoxIcon(style));
    box.setStandardButtons(MsgBoxButtons(style));
    box.setDefaultButton(MsgBoxDefault(style));
    const int pressed = box.exec();
    return MsgBoxAnswer(static_cast<QMessageBox::StandardButton>(pressed));
}

std::string QtServices::ShowSave(const std::string& filter, const std::string& defaultName) {
    return ShowSaveAs(filter, defaultName, {});
}

std::string QtServices::ShowSaveAs(const std::string& filter, const std::string& defaultName,
                                   const std::string& title) {
    if (Unattended) return {};
    QString start = QString::fromStdString(defaultName);
    if (QFileInfo(start).isRelative()) {
        const QString docs = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        const QString base = QDir(docs).exists() ? docs : QDir::homePath();
        start = QDir(base).filePath(start);
    }
    const bool german = language_ == kGermanLocale;
    const QString caption = !title.empty() ? QString::fromStdString(title)
                            : german       ? QStringLiteral("Speichern unter")
                                           : QStringLiteral("Save as");
    QFileDialog dialog(parent_, caption, QString(), SaveFilter(filter, german));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(DefaultSuffix(filter));
    dialog.selectFile(start);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return QDir::toNativeSeparators(dialog.selectedFiles().front()).toStdString();
}

std::string QtServices::OpenCommand(const std::string& extension) {
#ifdef KESTROVA_HAVE_PLATFORM
    return platform::OpenCommandForExtension(extension);
#else
    (void)extension;
    return kDesktopOpener;
#endif
}

bool QtServices::StartDocument(const std::string& application, const std::string& document) {
#ifdef KESTROVA_HAVE_PLATFORM
    if (application != kDesktopOpener) return platform::StartDocument(application, document);
#endif
    return QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(document)));
}

std::string QtServices::ProgramDirectory() {
    return QCoreApplication::applicationDirPath().toStdString();
}

std::vector<ui::InventoryRecord> QtServices::UsbInventory() {
    return inventory_ ? inventory_() : std::vector<ui::InventoryRecord>{};
}

}  // namespace kestrova::qt
