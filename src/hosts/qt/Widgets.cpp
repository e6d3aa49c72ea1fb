#include "Widgets.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>
#include <QToolTip>
#include <algorithm>

#include "Renderer.h"
#include "ui/Control.h"

namespace kestrova::qt {

// --- shape ---

ShapeWidget::ShapeWidget(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void ShapeWidget::SetShape(int style) {
    if (style == shape_) return;
    shape_ = style;
    update();
}

void ShapeWidget::SetFill(const QColor& fill) {
    if (fill == fill_) return;
    fill_ = fill;
    update();
}

void ShapeWidget::SetBorder(const QColor& border) {
    if (border == border_) return;
    border_ = border;
    update();
}

QRectF ShapeWidget::ShapeRect() const {
    // Half a pixel in, so the one-pixel border is drawn crisp and inside the box.
    QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    if (shape_ == ui::kSquare || shape_ == ui::kCircle) {
        const qreal side = std::min(box.width(), box.height());
        box = QRectF(box.center().x() - side / 2, box.center().y() - side / 2, side, side);
    }
    return box;
}

void ShapeWidget::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, shape_ == ui::kOval || shape_ == ui::kCircle ||
                                                shape_ == ui::kRoundedRectangle);
    p.setPen(QPen(border_, 1));
    p.setBrush(fill_);
    const QRectF r = ShapeRect();
    switch (shape_) {
        case ui::kOval:
        case ui::kCircle:
            p.drawEllipse(r);
            break;
        case ui::kRoundedRectangle: {
            const qreal radius = std::min(r.width(), r.height()) / 6;
            p.drawRoundedRect(r, radius, radius);
            break;
        }
        default:
            p.drawRect(r);
    }
}

// --- frame ---

FrameWidget::FrameWidget(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::NoFrame);
}

void FrameWidget::SetTitle(const QString& title) {
    if (title == title_) return;
    title_ = title;
    update();
}

void FrameWidget::paintEvent(QPaintEvent*) {
    QPainter p(this);
    const QFontMetrics fm(font());
    // The box's top edge runs through the middle of the caption line.
    const int top = title_.isEmpty() ? 0 : fm.height() / 2;
    const QPalette& pal = palette();
    const QRectF box = QRectF(rect()).adjusted(0.5, top + 0.5, -0.5, -0.5);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(pal.color(QPalette::Mid), 1));
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(box, 3, 3);
    if (title_.isEmpty()) return;
    const QString shown =
        fm.elidedText(title_, Qt::ElideRight, std::max(0, width() - 16), Qt::TextShowMnemonic);
    const int textWidth = fm.horizontalAdvance(QString(shown).remove(QChar('&')));
    const QRect textRect(8, 0, textWidth + 4, fm.height());
    p.fillRect(textRect, pal.color(QPalette::Window));
    p.setPen(pal.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    p.drawText(textRect.adjusted(2, 0, 0, 0),
               Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, shown);
}

// --- image ---

ImageWidget::ImageWidget(QWidget* parent) : QLabel(parent) {
    setAlignment(Qt::AlignCenter);
}

void ImageWidget::SetPicture(const std::string& name) {
    if (name == name_) return;
    name_ = name;
    source_ = QPixmap();
    loaded_ = name.empty();
    scaledFor_ = QSize();
    Rescale();
}

bool ImageWidget::HasImage() const {
    return !name_.empty() && !(loaded_ ? source_ : LoadPicture(name_)).isNull();
}

void ImageWidget::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    Rescale();
}

void ImageWidget::showEvent(QShowEvent* event) {
    QLabel::showEvent(event);
    Rescale();
}

void ImageWidget::Rescale() {
    if (!isVisible()) return;  // done when shown
    if (!loaded_) {
        source_ = LoadPicture(name_);
        loaded_ = true;
    }
    if (source_.isNull() || width() <= 0 || height() <= 0) {
        clear();
        scaledFor_ = QSize();
        return;
    }
    // Scale once per size, for the screen's pixel ratio, keeping the picture's proportions.
    const qreal ratio = devicePixelRatioF();
    const QSize target = QSize(width(), height()) * ratio;
    if (target == scaledFor_) return;
    scaledFor_ = target;
    QPixmap scaled = source_.scaled(target, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(ratio);
    setPixmap(scaled);
}

// --- status bar ---

StatusBarWidget::StatusBarWidget(QWidget* parent) : QWidget(parent) {}

void StatusBarWidget::SetPanels(const std::vector<PanelView>& panels) {
    while (panels_.size() > panels.size()) {
        delete panels_.back().frame;
        panels_.pop_back();
    }
    while (panels_.size() < panels.size()) {
        Slot slot;
        slot.frame = new QFrame(this);
        slot.frame->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        slot.icon = new QLabel(slot.frame);
        slot.text = new QLabel(slot.frame);
        slot.text->setTextFormat(Qt::PlainText);
        slot.frame->show();
        panels_.push_back(slot);
    }
    for (size_t i = 0; i < panels.size(); ++i) {
        Slot& slot = panels_[i];
        const QString text = QString::fromStdString(panels[i].text);
        if (slot.text->text() != text) slot.text->setText(text);
        if (slot.picture != panels[i].picture) {
            slot.picture = panels[i].picture;
            const QPixmap icon = slot.picture.empty() ? QPixmap() : LoadPicture(slot.picture);
            if (icon.isNull()) {
                slot.icon->clear();
            } else {
                const qreal ratio = devicePixelRatioF();
                QPixmap scaled = icon.scaled(QSize(16, 16) * ratio, Qt::KeepAspectRatio,
                                             Qt::SmoothTransformation);
                scaled.setDevicePixelRatio(ratio);
                slot.icon->setPixmap(scaled);
            }
        }
    }
    views_ = panels;
    Layout();
}

void StatusBarWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Layout();
}

void StatusBarWidget::Layout() {
    constexpr int kGap = 2;
    const int h = std::max(0, height() - 2 * kGap);
    int x = kGap;
    for (size_t i = 0; i < panels_.size(); ++i) {
        Slot& slot = panels_[i];
        const bool last = i + 1 == panels_.size();
        const int w = last ? std::max(0, width() - x - kGap) : std::max(0, views_[i].width);
        slot.frame->setGeometry(x, kGap, w, h);
        int textLeft = 4;
        const bool hasIcon = !slot.icon->pixmap().isNull();
        slot.icon->setVisible(hasIcon);
        if (hasIcon) {
            slot.icon->setGeometry(3, (h - 16) / 2, 16, 16);
            textLeft = 3 + 16 + 4;
        }
        slot.text->setGeometry(textLeft, 1, std::max(0, w - textLeft - 2), std::max(0, h - 2));
        x += w + kGap;
    }
}

QString StatusBarWidget::PanelText(int index) const {
    if (index < 0 || index >= PanelCount()) return {};
    return panels_[static_cast<size_t>(index)].text->text();
}

std::string StatusBarWidget::PanelPicture(int index) const {
    if (index < 0 || index >= PanelCount()) return {};
    return panels_[static_cast<size_t>(index)].picture;
}

bool StatusBarWidget::PanelHasIcon(int index) const {
    if (index < 0 || index >= PanelCount()) return false;
    return !panels_[static_cast<size_t>(index)].icon->pixmap().isNull();
}

// --- tree nodes ---

void NodeDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
    QStyleOptionViewItem opt(option);
    // A node the model colours itself (the control paints its own selection) shows those
    // colours instead of the style's highlight.
    if (index.data(kOwnColorsRole).toBool()) opt.state &= ~QStyle::State_Selected;
    QStyledItemDelegate::paint(painter, opt, index);
}

// --- list view ---

ListViewWidget::ListViewWidget(QWidget* parent) : QTreeWidget(parent) {
    setRootIsDecorated(false);
    setIndentation(0);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    header()->setStretchLastSection(false);
    header()->setSectionsMovable(false);
    setColumnCount(0);
}

bool ListViewWidget::AtEnd() const {
    const QScrollBar* bar = verticalScrollBar();
    return bar->value() >= bar->maximum();
}

void ListViewWidget::FitColumns() {
    const int columns = columnCount();
    int used = 0;
    for (int i = 0; i < columns; ++i) {
        resizeColumnToContents(i);
        used += columnWidth(i);
    }
    // No gap after the last column, and never a column cut to fill it.
    const int room = viewport()->width();
    if (columns > 0 && used < room)
        setColumnWidth(columns - 1, columnWidth(columns - 1) + room - used);
}

bool ListViewWidget::CellIsCut(const QModelIndex& index) const {
    const QString text = index.data(Qt::DisplayRole).toString();
    if (!index.isValid() || text.isEmpty()) return false;
    const QRect cell = visualRect(index);
    // The style's padding on both sides of the text.
    const int margin = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1);
    const int shown = std::min(cell.right(), viewport()->width() - 1) - cell.left() + 1;
    return fontMetrics().horizontalAdvance(text) + margin > shown;
}

bool ListViewWidget::viewportEvent(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QTreeWidget::viewportEvent(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const QModelIndex index = indexAt(help->pos());
    if (CellIsCut(index))
        QToolTip::showText(help->globalPos(), index.data().toString(), viewport(),
                           visualRect(index));
    else
        QToolTip::hideText();
    return true;
}

void ListViewWidget::resizeEvent(QResizeEvent* event) {
    QTreeWidget::resizeEvent(event);
    FitColumns();
}

}  // namespace kestrova::qt
