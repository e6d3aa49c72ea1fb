// The widgets the renderer needs beyond Qt's own: a painted shape, an image that scales its
// picture to the control's box, a status bar with fixed-width panels and a tree item delegate
// that lets a node's own colours win over the selection highlight.
#pragma once

#include <QColor>
#include <QFrame>
#include <QLabel>
#include <QPixmap>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QWidget>
#include <string>
#include <vector>

namespace kestrova::qt {

class ShapeWidget : public QWidget {
  public:
    explicit ShapeWidget(QWidget* parent = nullptr);
    void SetShape(int style);
    void SetFill(const QColor& fill);
    void SetBorder(const QColor& border);
    int Shape() const { return shape_; }
    // The rectangle the shape occupies (squares and circles are centred in the box).
    QRectF ShapeRect() const;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    int shape_ = 0;
    QColor fill_ = Qt::black;
    QColor border_ = Qt::black;
};

// A frame as the control draws it: a thin box with its caption set into the top edge. Its
// children are placed from its outer top-left corner.
class FrameWidget : public QFrame {
  public:
    explicit FrameWidget(QWidget* parent = nullptr);
    void SetTitle(const QString& title);
    const QString& Title() const { return title_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QString title_;
};

class ImageWidget : public QLabel {
  public:
    explicit ImageWidget(QWidget* parent = nullptr);
    // Shows the named picture; an unknown name leaves the image empty. The picture is decoded
    // when the widget is first shown, so hidden logos and pages cost nothing at startup.
    void SetPicture(const std::string& name);
    bool HasImage() const;

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    void Rescale();
    std::string name_;
    bool loaded_ = true;  // source_ holds name_'s picture
    QPixmap source_;
    QSize scaledFor_;  // the size source_ was last scaled to
};

class StatusBarWidget : public QWidget {
  public:
    struct PanelView {
        std::string text;
        std::string picture;
        int width = 0;  // px; the last panel takes what is left
    };

    explicit StatusBarWidget(QWidget* parent = nullptr);
    void SetPanels(const std::vector<PanelView>& panels);
    int PanelCount() const { return static_cast<int>(panels_.size()); }
    // 0-based, as shown.
    QString PanelText(int index) const;
    std::string PanelPicture(int index) const;
    bool PanelHasIcon(int index) const;

  private:
    struct Slot {
        QFrame* frame = nullptr;
        QLabel* icon = nullptr;
        QLabel* text = nullptr;
        std::string picture;
    };
    void Layout();
    std::vector<Slot> panels_;
    std::vector<PanelView> views_;

  protected:
    void resizeEvent(QResizeEvent* event) override;
};

// A list view in report mode: it follows its newest row unless the user scrolled away, sizes
// its columns to their contents and shows a cut cell's full text as a tooltip.
class ListViewWidget : public QTreeWidget {
  public:
    explicit ListViewWidget(QWidget* parent = nullptr);
    // Whether the last row is in view (or there is nothing to scroll).
    bool AtEnd() const;
    // Columns as wide as their header and cells; the last one fills what is left.
    void FitColumns();
    // Whether a cell shows less than its whole text (it gets a tooltip then).
    bool CellIsCut(const QModelIndex& index) const;

  protected:
    bool viewportEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
};

// Item data role marking a node that carries its own colours.
inline constexpr int kOwnColorsRole = Qt::UserRole + 1;

class NodeDelegate : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

}  // namespace kestrova::qt
