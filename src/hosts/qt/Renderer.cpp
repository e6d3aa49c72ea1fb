#include "Renderer.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontMetricsF>
#include <QHash>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <algorithm>
#include <climits>
#include <cmath>
#include <set>

#include "SteadyClock.h"
#include "Widgets.h"
#include "tools/Vb.h"

// The pictures live in a static library; their registration must be pulled in explicitly.
static void InitImageResources() {
    Q_INIT_RESOURCE(images);
}

namespace kestrova::qt {

using ui::Control;
using ui::Kind;
using ui::Prop;

// --- colours, captions, pictures ---

QColor ToQColor(ui::Color color, const QPalette& palette) {
    if (color & 0x80000000u) {
        // The Windows system colour indices, each matched to the nearest palette role.
        using R = QPalette::ColorRole;
        constexpr QPalette::ColorGroup A = QPalette::Active, D = QPalette::Disabled;
        static constexpr std::pair<QPalette::ColorGroup, R> kSystem[] = {
            // clang-format off
            {A, R::Mid}, {A, R::Dark}, {A, R::Highlight},        // 0 scroll bar, desktop, caption
            {A, R::Mid}, {A, R::Window}, {A, R::Base},           // 3 inactive caption, menu, window
            {A, R::Shadow}, {A, R::WindowText}, {A, R::Text},    // 6 frame, menu text, window text
            {A, R::HighlightedText}, {A, R::Window}, {A, R::Window},  // 9 caption text, borders
            {A, R::Mid}, {A, R::Highlight}, {A, R::HighlightedText},  // 12 workspace, highlight
            {A, R::Window}, {A, R::Dark}, {D, R::Text},          // 15 button face, shadow, grey text
            {A, R::ButtonText}, {D, R::WindowText}, {A, R::Light},    // 18 ..., button highlight
            {A, R::Shadow}, {A, R::Midlight}, {A, R::ToolTipText},    // 21 3D dark, 3D light, info
            {A, R::ToolTipBase}, {A, R::Window}, {A, R::Link},   // 24 info back, -, hot track
            {A, R::Highlight}, {A, R::Mid}, {A, R::Highlight},   // 27 gradients, menu highlight
            {A, R::Window},                                      // 30 menu bar
            // clang-format on
        };
        const size_t index = color & 0xFFu;
        const auto [group, role] =
            index < std::size(kSystem) ? kSystem[index] : std::pair{A, R::Window};
        return palette.color(group, role);
    }
    return QColor(static_cast<int>(color & 0xFF), static_cast<int>((color >> 8) & 0xFF),
                  static_cast<int>((color >> 16) & 0xFF));
}

QString LabelText(const std::string& caption) {
    std::string shown;
    shown.reserve(caption.size());
    for (size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] != '&') {
            shown += caption[i];
        } else if (i + 1 < caption.size() && caption[i + 1] == '&') {
            shown += '&';
            ++i;
        }
    }
    return QString::fromStdString(shown);
}

double LogicalDpi(const QScreen* screen) {
    if (!screen) screen = QGuiApplication::primaryScreen();
    const double dpi = screen ? screen->logicalDotsPerInch() : 0;
    return dpi > 0 ? dpi : 96.0;
}

QPixmap LoadPicture(const std::string& name) {
    // Pictures are few and small; keep each once for the life of the program.
    static const bool registered = (InitImageResources(), true);
    (void)registered;
    static QHash<QString, QPixmap> cache;
    const QString key = QString::fromStdString(name);
    auto it = cache.find(key);
    if (it != cache.end()) return *it;
    QPixmap pixmap(QStringLiteral(":/images/%1.png").arg(key));
    if (pixmap.isNull()) qWarning("kestrova: no image resource named \"%s\"", name.c_str());
    cache.insert(key, pixmap);
    return pixmap;
}

namespace {

// Sets a role for the normal (active and inactive) states only, so a disabled control keeps
// the style's greyed look.
void SetNormal(QPalette& pal, QPalette::ColorRole role, const QColor& color) {
    pal.setColor(QPalette::Active, role, color);
    pal.setColor(QPalette::Inactive, role, color);
}

QString ModelToPlain(const std::string& text) {
    QString s = QString::fromStdString(text);
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(QChar('\r'), QChar('\n'));
    return s;
}

std::string PlainToModel(const QString& text) {
    QString s = text;
    s.replace(QChar('\n'), QStringLiteral("\r\n"));
    return s.toStdString();
}

void SetItemColors(QTreeWidgetItem* item, int columns, const ui::TreeNode& node,
                   const QPalette& app) {
    const bool ownBack = ui::IsOwnBackColor(node.BackColor);
    const bool ownFore = ui::IsOwnForeColor(node.ForeColor);
    for (int col = 0; col < columns; ++col) {
        item->setData(col, Qt::BackgroundRole,
                      ownBack ? QVariant(QBrush(ToQColor(node.BackColor, app))) : QVariant());
        item->setData(col, Qt::ForegroundRole,
                      ownFore ? QVariant(QBrush(ToQColor(node.ForeColor, app))) : QVariant());
        item->setData(col, kOwnColorsRole, ownBack || ownFore);
    }
}

}  // namespace

// --- construction ---

Renderer::Renderer(Control& root, QWidget* parent, double dpi) : root_(root), dpi_(dpi) {
    if (dpi_ <= 0) dpi_ = LogicalDpi(parent ? parent->screen() : nullptr);
    OnError = [](const std::string& message) { qWarning("kestrova: %s", message.c_str()); };

    if (!root_.GetClock()) {
        ownClock_ = std::make_unique<SteadyClock>();
        root_.SetClock(ownClock_.get());
    }
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { RunTimers(); });

    rootWidget_ = Create(root_, parent);
    observer_ = root_.Observe([this](Control& c, Prop p) { OnModelChange(c, p); });
    ScheduleTimers();
}

Renderer::~Renderer() {
    root_.Unobserve(observer_);
    timer_.stop();
    ++applying_;  // widgets torn down below emit nothing the model should hear
    delete rootWidget_;
    if (ownClock_ && root_.GetClock() == ownClock_.get()) root_.SetClock(nullptr);
}

QWidget* Renderer::RootWidget() const {
    return rootWidget_;
}

QWidget* Renderer::WidgetFor(const Control& control) const {
    auto it = widgets_.find(&control);
    return it == widgets_.end() ? nullptr : it->second;
}

int Renderer::ToPx(int32_t twips) const {
    return TwipsToPx(twips, dpi_);
}

int32_t Renderer::ToTwips(int px) const {
    return PxToTwips(px, dpi_);
}

QWidget* Renderer::Create(Control& c, QWidget* parent) {
    QWidget* w = nullptr;
    switch (c.GetKind()) {
        case Kind::UserControl:
            w = new QWidget(parent);
            break;
        case Kind::Label: {
            auto* label = new QLabel(parent);
            label->setTextFormat(Qt::PlainText);
            label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
            w = label;
            break;
        }
        case Kind::TextBox:
            if (c.MultiLine()) {
                auto* edit = new QPlainTextEdit(parent);
                edit->setTabChangesFocus(true);
                w = edit;
            } else {
                w = new QLineEdit(parent);
            }
            break;
        case Kind::CommandButton: {
            auto* button = new QPushButton(parent);
            button->setAutoDefault(false);
            w = button;
            break;
        }
        case Kind::CheckBox: {
            auto* box = new QCheckBox(parent);
            box->setTristate(true);  // value 2 shows greyed; the user only toggles 0/1
            w = box;
            break;
        }
        case Kind::OptionButton: {
            // The model keeps exactly one option per container chosen; Qt must not interfere.
            auto* option = new QRadioButton(parent);
            option->setAutoExclusive(false);
            w = option;
            break;
        }
        case Kind::ComboBox:
            w = new QComboBox(parent);
            break;
        case Kind::Frame:
            w = new FrameWidget(parent);
            break;
        case Kind::Shape:
            w = new ShapeWidget(parent);
            break;
        case Kind::Image:
            w = new ImageWidget(parent);
            break;
        case Kind::Timer:
            break;
        case Kind::TreeView: {
            auto* tree = new QTreeWidget(parent);
            tree->setHeaderHidden(true);
            tree->setRootIsDecorated(false);
            tree->setIndentation(0);
            tree->setColumnCount(1);
            tree->setItemDelegate(new NodeDelegate(tree));
            tree->setSelectionMode(QAbstractItemView::SingleSelection);
            w = tree;
            break;
        }
        case Kind::ListView:
            w = new ListViewWidget(parent);
            break;
        case Kind::StatusBar:
            w = new StatusBarWidget(parent);
            break;
    }
    widgets_[&c] = w;
    if (!w) return nullptr;
    byWidget_[w] = &c;
    w->setObjectName(QString::fromStdString(ui::IndexedName(c)));
    ApplyAll(c);
    Connect(c, w);
    CreateChildren(c, w);
    return w;
}

void Renderer::CreateChildren(Control& control, QWidget* widget) {
    for (const auto& child : control.Children()) Create(*child, widget);
    if (!control.Children().empty()) Restack(control);
}

void Renderer::Restack(Control& container) {
    // Lower from the top layer down, each layer last-created first: the result is frames at the
    // bottom, then shapes, images, labels and the windowed controls, each in creation order.
    const auto& children = container.Children();
    for (int layer = ui::kWindowedLayer - 1; layer >= 0; --layer)
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            if (ui::StackingLayer((*it)->GetKind()) == layer)
                if (QWidget* w = WidgetFor(**it)) w->lower();
}

void Renderer::Rescan() {
    std::function<void(Control&, QWidget*)> scan = [&](Control& c, QWidget* w) {
        bool added = false;
        for (const auto& child : c.Children()) {
            auto it = widgets_.find(child.get());
            if (it == widgets_.end()) {
                Create(*child, w);
                added = true;
            } else {
                scan(*child, it->second ? it->second : w);
            }
        }
        if (added) Restack(c);
    };
    scan(root_, rootWidget_);
    ScheduleTimers();
}

void Renderer::Recreate(Control& control) {
    // A text box switching between one and several lines changes widget class.
    auto it = widgets_.find(&control);
    if (it == widgets_.end() || !it->second) return;
    QWidget* old = it->second;
    QWidget* parent = old->parentWidget();
    byWidget_.erase(old);
    widgets_.erase(it);
    ++applying_;
    delete old;
    --applying_;
    Create(control, parent);
    if (control.Parent()) Restack(*control.Parent());
}

// --- applying model state ---

void Renderer::ApplyAll(Control& c) {
    // One property of each group Apply handles together: Caption shows the text, value,
    // picture and list as well, Left the whole box, BackColor all colours. The font comes
    // before the text, since a label's box depends on both.
    static constexpr Prop kAll[] = {
        Prop::FontSize,    Prop::BackColor, Prop::Caption,       Prop::Shape,     Prop::Locked,
        Prop::ToolTipText, Prop::Nodes,     Prop::ColumnHeaders, Prop::ListItems, Prop::Panels,
        Prop::Left,        Prop::Enabled,   Prop::Visible,
    };
    for (Prop p : kAll) Apply(c, p);
}

void Renderer::Apply(Control& c, Prop prop) {
    QWidget* w = WidgetFor(c);
    if (!w) return;
    if (prop == Prop::MultiLine) {
        const bool multi = qobject_cast<QPlainTextEdit*>(w) != nullptr;
        if (c.GetKind() == Kind::TextBox && multi != c.MultiLine()) Recreate(c);
        return;
    }
    const ui::Aspect aspect = ui::AspectOf(prop);
    if (!ui::Shows(c.GetKind(), aspect)) return;
    ++applying_;
    const QSignalBlocker block(w);
    switch (aspect) {
        case ui::Aspect::Geometry:
            ApplyGeometry(c, w);
            break;
        case ui::Aspect::Visible:
            // A top-level root is shown by whoever owns it.
            if (w->parentWidget() || !c.Visible()) w->setVisible(c.Visible());
            break;
        case ui::Aspect::Enabled:
            w->setEnabled(c.Enabled());
            break;
        case ui::Aspect::Locked:
            if (auto* line = qobject_cast<QLineEdit*>(w)) line->setReadOnly(c.Locked());
            if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) plain->setReadOnly(c.Locked());
            break;
        case ui::Aspect::Colors:
            ApplyColors(c, w);
            break;
        case ui::Aspect::Shape:
            if (auto* shape = dynamic_cast<ShapeWidget*>(w)) shape->SetShape(c.ShapeKind());
            break;
        case ui::Aspect::ToolTip:
            ApplyToolTip(c, w);
            break;
        case ui::Aspect::Font:
            ApplyFont(c, w);
            break;
        case ui::Aspect::Content:
            ApplyText(c, w);
            break;
        case ui::Aspect::List:
            ApplyList(c, w);
            break;
        case ui::Aspect::Nodes:
            ApplyNodes(c, w);
            break;
        case ui::Aspect::Columns:
            ApplyColumns(c, w);
            break;
        case ui::Aspect::Rows:
            ApplyRows(c, w);
            break;
        case ui::Aspect::Panels:
            if (auto* bar = dynamic_cast<StatusBarWidget*>(w)) {
                std::vector<StatusBarWidget::PanelView> views;
                for (const ui::Panel& p : c.Panels())
                    views.push_back({p.Text, p.Picture, ToPx(p.Width)});
                bar->SetPanels(views);
            }
            break;
        case ui::Aspect::None:
            break;
    }
    --applying_;
}

namespace {

bool TextIsClipped(const QWidget* w, const QString& text) {
    // What a text box or a label can show: its box less the frame and the text margins.
    constexpr int kPadding = 8;
    const QFontMetrics fm(w->font());
    const int room = w->width() - kPadding;
    if (!text.contains(QChar('\n')) && fm.horizontalAdvance(text) <= room) return false;
    if (qobject_cast<const QLineEdit*>(w)) return true;
    const QRect need = fm.boundingRect(QRect(0, 0, std::max(room, 1), INT_MAX / 2),
                                       Qt::TextWordWrap | Qt::TextWrapAnywhere, text);
    return need.height() > w->height() - kPadding / 2;
}

}  // namespace

void Renderer::ApplyToolTip(Control& c, QWidget* w) {
    // A text that does not fit its box tells itself as the tooltip, unless the control has its
    // own.
    QString tip = QString::fromStdString(c.ToolTipText());
    if (tip.isEmpty()) {
        QString shown;
        if (auto* line = qobject_cast<QLineEdit*>(w))
            shown = line->text();
        else if (auto* plain = qobject_cast<QPlainTextEdit*>(w))
            shown = plain->toPlainText();
        else if (auto* label = qobject_cast<QLabel*>(w); label && c.GetKind() == Kind::Label)
            shown = label->text();
        if (!shown.isEmpty() && TextIsClipped(w, shown)) tip = shown;
    }
    if (w->toolTip() != tip) w->setToolTip(tip);
}

void Renderer::ApplyGeometry(Control& c, QWidget* w) {
    int width = ToPx(c.Width());
    const int height = ToPx(c.Height());
    if (auto* label = qobject_cast<QLabel*>(w); label && c.GetKind() == Kind::Label) {
        const QFontMetrics fm(label->font());
        label->setWordWrap(!ui::IsOneLineLabel(height, fm.height()));
        width = ui::LabelWidth(width, height, fm.height(), fm.horizontalAdvance(label->text()),
                               label->text().contains(QChar('\n')));
    }
    w->setGeometry(ToPx(c.Left()), ToPx(c.Top()), width, height);
    ApplyToolTip(c, w);
}

int DialogFontStretch(const QFont& base) {
    const QString letters = QString::fromLatin1(ui::kAverageLetters);
    QFont font = base;
    font.setPointSizeF(ui::kDefaultFontPoints);
    auto average = [&](int stretch) {
        font.setStretch(stretch);
        return QFontMetricsF(font).horizontalAdvance(letters) / letters.size();
    };
    const double share = ui::NarrowingFor(average(QFont::Unstretched), LogicalDpi());
    if (share >= 1.0) return QFont::Unstretched;
    int stretch = static_cast<int>(std::lround(100.0 * share));
    // Condensed faces are picked by stretch ranges; one correction settles the width.
    stretch = static_cast<int>(
        std::lround(stretch * ui::DialogLetterWidth(LogicalDpi()) / average(stretch)));
    return std::clamp(stretch, 70, 100);
}

void Renderer::ApplyFont(Control& c, QWidget* w) {
    QFont font = QApplication::font();
    if (fontStretch_ == 0) fontStretch_ = DialogFontStretch(font);
    font.setStretch(fontStretch_);
    font.setPointSizeF(ui::FontPoints(c));
    font.setBold(c.FontBold());
    if (w->font() == font) return;
    w->setFont(font);
    if (c.GetKind() == Kind::Label) ApplyGeometry(c, w);
}

void Renderer::ApplyColors(Control& c, QWidget* w) {
    const QPalette app = QApplication::palette();
    const QColor back = ToQColor(c.BackColor(), app);
    const QColor fore = ToQColor(c.ForeColor(), app);
    QPalette pal = w->palette();
    switch (c.GetKind()) {
        case Kind::UserControl:
        case Kind::Frame:
            pal.setColor(QPalette::Window, back);
            SetNormal(pal, QPalette::WindowText, fore);
            w->setAutoFillBackground(true);
            break;
        case Kind::Label:
        case Kind::CheckBox:
        case Kind::OptionButton:
            // Drawn on the container unless the control has a colour of its own.
            SetNormal(pal, QPalette::WindowText, fore);
            pal.setColor(QPalette::Window, back);
            w->setAutoFillBackground(!ui::DrawsOnContainer(c));
            break;
        case Kind::CommandButton:
            if (!ui::IsDefaultFace(c.BackColor())) pal.setColor(QPalette::Button, back);
            SetNormal(pal, QPalette::ButtonText, fore);
            break;
        case Kind::TextBox:
        case Kind::ComboBox:
        case Kind::TreeView:
        case Kind::ListView:
            // A disabled box keeps the style's greyed background, as it does its text.
            SetNormal(pal, QPalette::Base, back);
            SetNormal(pal, QPalette::Text, fore);
            break;
        case Kind::Shape:
            if (auto* shape = dynamic_cast<ShapeWidget*>(w)) {
                shape->SetFill(ToQColor(c.FillColor(), app));
                shape->SetBorder(fore);
            }
            return;
        case Kind::Image:
        case Kind::StatusBar:
        case Kind::Timer:
            return;
    }
    if (pal != w->palette()) w->setPalette(pal);
}

void Renderer::ApplyText(Control& c, QWidget* w) {
    const QString caption = QString::fromStdString(c.Caption());
    switch (c.GetKind()) {
        case Kind::Label: {
            auto* label = static_cast<QLabel*>(w);
            const QString text = LabelText(c.Caption());
            if (label->text() == text) break;
            label->setText(text);
            ApplyGeometry(c, w);  // and the tooltip
            break;
        }
        case Kind::CommandButton: {
            auto* button = static_cast<QPushButton*>(w);
            if (button->text() != caption) button->setText(caption);
            const QPixmap icon = c.Picture().empty() ? QPixmap() : LoadPicture(c.Picture());
            button->setIcon(icon.isNull() ? QIcon() : QIcon(icon));
            break;
        }
        case Kind::CheckBox: {
            auto* box = static_cast<QCheckBox*>(w);
            if (box->text() != caption) box->setText(caption);
            static constexpr Qt::CheckState kStates[] = {Qt::Unchecked, Qt::Checked,
                                                         Qt::PartiallyChecked};
            box->setCheckState(kStates[static_cast<int>(ui::CheckStateOf(c.Value()))]);
            break;
        }
        case Kind::OptionButton: {
            auto* option = static_cast<QRadioButton*>(w);
            if (option->text() != caption) option->setText(caption);
            option->setChecked(c.Value() != 0);
            break;
        }
        case Kind::Frame:
            static_cast<FrameWidget*>(w)->SetTitle(caption);
            break;
        case Kind::TextBox:
            if (auto* line = qobject_cast<QLineEdit*>(w)) {
                const QString text = QString::fromStdString(c.Text());
                if (line->text() != text) {
                    const int cursor = line->cursorPosition();
                    line->setText(text);
                    line->setCursorPosition(std::min<int>(cursor, static_cast<int>(text.size())));
                }
            } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
                const QString text = ModelToPlain(c.Text());
                if (plain->toPlainText() != text) plain->setPlainText(text);
            }
            ApplyToolTip(c, w);
            break;
        case Kind::ComboBox:
            ApplyList(c, w);
            break;
        case Kind::Image:
            static_cast<ImageWidget*>(w)->SetPicture(c.Picture());
            break;
        default:
            break;
    }
}

void Renderer::ApplyList(Control& c, QWidget* w) {
    auto* combo = qobject_cast<QComboBox*>(w);
    if (!combo) return;
    const auto& list = c.List();
    const int have = combo->count();
    const int want = static_cast<int>(list.size());
    int same = 0;
    while (same < std::min(have, want) &&
           combo->itemText(same) == QString::fromStdString(list[static_cast<size_t>(same)]))
        ++same;
    if (same < have) {
        // Entries changed or went away: rebuild from the first difference.
        while (combo->count() > same) combo->removeItem(combo->count() - 1);
    }
    for (int i = combo->count(); i < want; ++i)
        combo->addItem(QString::fromStdString(list[static_cast<size_t>(i)]));
    if (combo->currentIndex() != c.ListIndex()) combo->setCurrentIndex(c.ListIndex());
    // Without a chosen entry the box shows the control's text.
    const QString text = c.ListIndex() < 0 ? QString::fromStdString(c.Text()) : QString();
    if (combo->placeholderText() != text) combo->setPlaceholderText(text);
}

void Renderer::ApplyNodes(Control& c, QWidget* w) {
    auto* tree = qobject_cast<QTreeWidget*>(w);
    if (!tree) return;
    const auto& nodes = c.Nodes();
    const int want = static_cast<int>(nodes.size());
    while (tree->topLevelItemCount() > want)
        delete tree->takeTopLevelItem(tree->topLevelItemCount() - 1);
    while (tree->topLevelItemCount() < want) tree->addTopLevelItem(new QTreeWidgetItem);
    const QPalette app = QApplication::palette();
    QTreeWidgetItem* const selected = tree->topLevelItem(ui::SelectedNode(c));
    for (int i = 0; i < want; ++i) {
        const ui::TreeNode& node = nodes[static_cast<size_t>(i)];
        QTreeWidgetItem* item = tree->topLevelItem(i);
        const QString text = QString::fromStdString(node.Text);
        if (item->text(0) != text) item->setText(0, text);
        item->setData(0, Qt::UserRole, QString::fromStdString(node.Key));
        SetItemColors(item, 1, node, app);
    }
    if (tree->currentItem() != selected) tree->setCurrentItem(selected);
    if (!selected) tree->clearSelection();
}

void Renderer::ApplyColumns(Control& c, QWidget* w) {
    auto* list = qobject_cast<QTreeWidget*>(w);
    if (!list) return;
    const auto& columns = c.ColumnHeaders();
    QStringList labels;
    for (const auto& col : columns) labels << QString::fromStdString(col.Text);
    if (list->columnCount() != labels.size()) list->setColumnCount(static_cast<int>(labels.size()));
    list->setHeaderLabels(labels);
    // The design widths are a start; the contents decide.
    for (size_t i = 0; i < columns.size(); ++i)
        list->setColumnWidth(static_cast<int>(i), ToPx(columns[i].Width));
    if (auto* view = dynamic_cast<ListViewWidget*>(list)) view->FitColumns();
}

void Renderer::ApplyRows(Control& c, QWidget* w) {
    auto* list = qobject_cast<QTreeWidget*>(w);
    if (!list) return;
    auto* view = dynamic_cast<ListViewWidget*>(list);
    const bool follow = view && view->AtEnd();  // the user has not scrolled away
    const QPalette app = QApplication::palette();
    const auto& rows = c.ListItems();
    const int want = static_cast<int>(rows.size());
    while (list->topLevelItemCount() > want)
        delete list->takeTopLevelItem(list->topLevelItemCount() - 1);
    while (list->topLevelItemCount() < want) list->addTopLevelItem(new QTreeWidgetItem);
    for (int i = 0; i < want; ++i) {
        QTreeWidgetItem* item = list->topLevelItem(i);
        const auto& cells = rows[static_cast<size_t>(i)];
        for (size_t col = 0; col < cells.size(); ++col) {
            const QString text = QString::fromStdString(cells[col]);
            if (item->text(static_cast<int>(col)) != text)
                item->setText(static_cast<int>(col), text);
        }
        for (int col = static_cast<int>(cells.size()); col < item->columnCount(); ++col)
            if (!item->text(col).isEmpty()) item->setText(col, QString());
        const ui::Color back = c.RowBackColor(static_cast<size_t>(i));
        const QVariant brush =
            ui::IsOwnBackColor(back) ? QVariant(QBrush(ToQColor(back, app))) : QVariant();
        for (int col = 0; col < list->columnCount(); ++col)
            if (item->data(col, Qt::BackgroundRole) != brush)
                item->setData(col, Qt::BackgroundRole, brush);
    }
    if (!view) return;
    view->FitColumns();
    if (follow && want > 0) view->scrollToItem(list->topLevelItem(want - 1));
}

void Renderer::OnModelChange(Control& c, Prop prop) {
    if (!widgets_.count(&c)) {
        Rescan();  // a control added to the model after rendering
        if (!widgets_.count(&c)) return;
    }
    if (c.GetKind() == Kind::Timer) {
        if (prop == Prop::Interval || prop == Prop::Enabled) ScheduleTimers();
        return;
    }
    Apply(c, prop);
    // A container being shown may hold controls added while it was hidden.
    if (prop == Prop::Visible && c.Visible() && !c.Children().empty()) Rescan();
}

// --- user input ---

void Renderer::Forward(const char* what, const std::function<void()>& action) {
    try {
        action();
    } catch (...) {
        if (OnError) OnError(std::string(what) + ": " + ui::FailureText(std::current_exception()));
    }
}

void Renderer::Connect(Control& c, QWidget* w) {
    Control* cp = &c;
    switch (c.GetKind()) {
        case Kind::CommandButton:
            connect(static_cast<QPushButton*>(w), &QPushButton::clicked, this, [this, cp] {
                if (applying_) return;
                Forward("click", [cp] { cp->UserClick(); });
            });
            break;
        case Kind::CheckBox:
            connect(static_cast<QCheckBox*>(w), &QCheckBox::clicked, this, [this, cp] {
                if (applying_) return;
                Forward("click", [cp] { cp->UserClick(); });
                Apply(*cp, Prop::Value);  // the handler may have put the value back
            });
            break;
        case Kind::OptionButton:
            connect(static_cast<QRadioButton*>(w), &QRadioButton::clicked, this, [this, cp] {
                if (applying_) return;
                Forward("click", [cp] { cp->UserClick(); });
                if (cp->Parent())
                    for (const auto& s : cp->Parent()->Children())
                        if (s->GetKind() == Kind::OptionButton) Apply(*s, Prop::Value);
            });
            break;
        case Kind::ComboBox:
            connect(static_cast<QComboBox*>(w), &QComboBox::activated, this, [this, cp](int i) {
                if (applying_) return;
                Forward("pick", [cp, i] { cp->UserPick(i); });
                Apply(*cp, Prop::ListIndex);
            });
            break;
        case Kind::TextBox:
            if (auto* line = qobject_cast<QLineEdit*>(w)) {
                connect(line, &QLineEdit::textChanged, this, [this, cp](const QString& text) {
                    if (applying_) return;
                    Forward("type", [cp, &text] { cp->UserType(text.toStdString()); });
                    Apply(*cp, Prop::Text);
                });
            } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
                connect(plain, &QPlainTextEdit::textChanged, this, [this, cp, plain] {
                    if (applying_) return;
                    const std::string text = PlainToModel(plain->toPlainText());
                    Forward("type", [cp, &text] { cp->UserType(text); });
                    Apply(*cp, Prop::Text);
                });
            }
            break;
        case Kind::TreeView: {
            auto* tree = static_cast<QTreeWidget*>(w);
            auto deliver = [this, cp](QTreeWidgetItem* item) {
                if (applying_ || !item) return;
                const std::string key = item->data(0, Qt::UserRole).toString().toStdString();
                Forward("node click", [cp, &key] { cp->UserNodeClick(key); });
                Apply(*cp, Prop::Nodes);
            };
            // A mouse click reports every click, also on the node already selected; moving
            // with the keyboard reports the node reached. Other changes of the current item
            // (the view picking one when it gets the focus) are not the user's choice.
            connect(tree, &QTreeWidget::itemClicked, this,
                    [deliver](QTreeWidgetItem* item, int) { deliver(item); });
            connect(tree, &QTreeWidget::currentItemChanged, this,
                    [this, tree, deliver](QTreeWidgetItem* item, QTreeWidgetItem*) {
                        if (keyTarget_ == tree && QApplication::mouseButtons() == Qt::NoButton)
                            deliver(item);
                    });
            break;
        }
        default:
            break;
    }
    switch (c.GetKind()) {
        case Kind::TextBox:
        case Kind::CommandButton:
        case Kind::CheckBox:
        case Kind::OptionButton:
        case Kind::ComboBox:
        case Kind::TreeView:
            w->installEventFilter(this);
            break;
        default:
            break;
    }
}

bool Renderer::eventFilter(QObject* watched, QEvent* event) {
    auto it = byWidget_.find(watched);
    if (it == byWidget_.end()) return false;
    if (event->type() != QEvent::KeyPress) {
        if (watched == keyTarget_) keyTarget_ = nullptr;  // the key press has been handled
        return false;
    }
    if (applying_) return false;
    keyTarget_ = watched;
    return HandleKey(*it->second, static_cast<QWidget*>(watched), event);
}

bool Renderer::HandleKey(Control& c, QWidget* w, QEvent* event) {
    const auto* key = static_cast<QKeyEvent*>(event);
    int16_t ascii = -1;
    switch (key->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            ascii = 13;
            break;
        case Qt::Key_Backspace:
            ascii = 8;
            break;
        case Qt::Key_Escape:
            ascii = 27;
            break;
        default: {
            const QString text = key->text();
            if (text.size() != 1 || !text[0].isPrint()) break;
            const std::vector<uint8_t> bytes = Utf8ToCp1252(text.toStdString());
            // A character outside Windows-1252 is typed as is, without a key event.
            if (bytes.size() == 1 && (bytes[0] != '?' || text[0] == QChar('?'))) ascii = bytes[0];
        }
    }
    if (ascii < 0 || !c.Enabled()) return false;

    if (c.GetKind() != Kind::TextBox) {
        if (c.KeyPress) Forward("key", [&c, ascii] { c.UserKey(ascii); });
        return false;
    }
    // The caret lives in the widget, so the widget does the editing; the model's key handler
    // only gets to see the key first and may drop or replace it.
    if (!c.KeyPress) return false;
    const int16_t original = ascii;
    Forward("key", [&c, &ascii] { c.KeyPress(ascii); });
    if (ascii == original) return false;
    if (ascii == 0 || c.Locked()) return true;
    auto* line = qobject_cast<QLineEdit*>(w);
    auto* plain = qobject_cast<QPlainTextEdit*>(w);
    if (ascii >= 32 && ascii <= 255) {
        const QString ch = QString::fromStdString(Cp1252Char(static_cast<uint8_t>(ascii)));
        if (line) line->insert(ch);
        if (plain) plain->insertPlainText(ch);
    } else if (ascii == 8) {
        if (line) line->backspace();
        if (plain) plain->textCursor().deletePreviousChar();
    }
    return true;
}

// --- timers ---

void Renderer::ScheduleTimers() {
    if (inTimers_) return;  // the running tick reschedules when it is done
    const int64_t due = ui::NextDue(root_);
    if (due < 0) {
        timer_.stop();
        return;
    }
    const ui::Clock* clock = root_.GetClock();
    const int64_t now = clock ? clock->NowMs() : 0;
    timer_.start(static_cast<int>(std::clamp<int64_t>(due - now, 0, INT_MAX)));
}

void Renderer::RunTimers() {
    // A tick that opened a message box runs a nested event loop; the other timers wait for it.
    if (inTimers_) return;
    inTimers_ = true;
    const ui::Clock* clock = root_.GetClock();
    const int64_t now = clock ? clock->NowMs() : 0;
    Forward("timer", [this, now] { ui::RunDueTimers(root_, now); });
    inTimers_ = false;
    ScheduleTimers();
}

int Renderer::TimerRemaining() const {
    return timer_.isActive() ? timer_.remainingTime() : -1;
}

}  // namespace kestrova::qt
