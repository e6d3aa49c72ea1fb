// Draws the pictures the control names (brand wordmarks, status lamps) into PNG files. The PNGs
// are kept in the repository and compiled in; this tool only re-creates them after a design
// change:  QT_QPA_PLATFORM=offscreen ./kestrova_images <resources directory>
#include <QDir>
#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <cmath>
#include <cstdio>
#include <functional>

namespace {

// Pictures are drawn at four times the size they are shown at on a 96 DPI screen, so they stay
// sharp when scaled down and on high-density screens.
constexpr int kScale = 4;

QFont Face(bool bold, qreal pixelSize, qreal spacing = 0) {
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setBold(bold);
    font.setPixelSize(static_cast<int>(pixelSize));
    font.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

bool Save(const QString& dir, const QString& name, int w, int h,
          const std::function<void(QPainter&)>& draw) {
    QImage image(w * kScale, h * kScale, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.scale(kScale, kScale);
    draw(p);
    p.end();
    const QString path = QDir(dir).filePath(name + QStringLiteral(".png"));
    if (!image.save(path)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
        return false;
    }
    std::printf("%s\n", qPrintable(path));
    return true;
}

// Draws text with its left edge at x and its baseline centred on the line at y.
qreal Word(QPainter& p, const QString& text, const QFont& font, const QColor& color, qreal x,
           qreal y) {
    QFontMetricsF m(font);
    p.setFont(font);
    p.setPen(color);
    p.drawText(QPointF(x, y + (m.capHeight()) / 2), text);
    return x + m.horizontalAdvance(text);
}

// --- Halver+Voss: navy wordmark with a red plus, square emblem ---
const QColor kNavy(0x1B, 0x3A, 0x6B);
const QColor kSignalRed(0xD0, 0x2B, 0x2B);

void HalvervossEmblem(QPainter& p, QRectF r) {
    p.setPen(Qt::NoPen);
    p.setBrush(kNavy);
    p.drawRoundedRect(r, r.width() * 0.12, r.width() * 0.12);
    // A white plus with a red centre.
    const qreal c = r.width() * 0.5, t = r.width() * 0.16, l = r.width() * 0.56;
    p.setBrush(Qt::white);
    p.drawRect(QRectF(r.left() + c - t / 2, r.top() + c - l / 2, t, l));
    p.drawRect(QRectF(r.left() + c - l / 2, r.top() + c - t / 2, l, t));
    p.setBrush(kSignalRed);
    p.drawRect(QRectF(r.left() + c - t / 2, r.top() + c - t / 2, t, t));
}

// The largest pixel size up to max at which the text fits the width.
qreal Fit(const QString& text, bool bold, qreal max, qreal width) {
    QFontMetricsF m(Face(bold, max));
    const qreal w = m.horizontalAdvance(text);
    return w <= width ? max : std::floor(max * width / w);
}

void Halvervoss(QPainter& p, qreal w, qreal h, bool small) {
    const qreal side = h * 0.8;
    HalvervossEmblem(p, QRectF(h * 0.1, h * 0.1, side, side));
    qreal x = h * 0.1 + side + h * 0.14;
    // The small variant keeps the emblem and the initials.
    const QString left = small ? QStringLiteral("H") : QStringLiteral("HALVER");
    const QString right = small ? QStringLiteral("V") : QStringLiteral("VOSS");
    const qreal size =
        Fit(left + QStringLiteral("+") + right, true, small ? h * 0.6 : h * 0.42, w - x - h * 0.2);
    const qreal y = small ? h * 0.5 : h * 0.42;
    x = Word(p, left, Face(true, size), kNavy, x, y);
    x = Word(p, QStringLiteral("+"), Face(true, size), kSignalRed, x + size * 0.04, y);
    Word(p, right, Face(true, size), kNavy, x + size * 0.04, y);
    if (!small)
        Word(p, QStringLiteral("INDUSTRIAL SENSING"), Face(false, h * 0.14, h * 0.02),
             QColor(0x5A, 0x6B, 0x85), h * 0.1 + side + h * 0.15, h * 0.8);
}

// --- Ostrel: teal ring emblem, lower-case wordmark ---
const QColor kTeal(0x0E, 0x7C, 0x86);

void Ostrel(QPainter& p, qreal, qreal h) {
    const qreal d = h * 0.74;
    const QRectF ring(h * 0.13, h * 0.13, d, d);
    p.setPen(QPen(kTeal, h * 0.12));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(ring.adjusted(h * 0.06, h * 0.06, -h * 0.06, -h * 0.06));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xF2, 0xA9, 0x00));
    const qreal dot = h * 0.18;
    p.drawEllipse(QRectF(ring.center().x() - dot / 2, ring.center().y() - dot / 2, dot, dot));
    const qreal x = h * 0.13 + d + h * 0.16;
    Word(p, QStringLiteral("ostrel"), Face(true, h * 0.56), kTeal, x, h * 0.5);
}

// --- Dravik: graphite wordmark with an orange chevron ---
const QColor kGraphite(0x33, 0x37, 0x3D);
const QColor kOrange(0xE8, 0x6A, 0x10);

void DravikChevron(QPainter& p, QRectF r) {
    QPainterPath path;
    path.moveTo(r.left(), r.top());
    path.lineTo(r.left() + r.width() * 0.45, r.top());
    path.lineTo(r.right(), r.center().y());
    path.lineTo(r.left() + r.width() * 0.45, r.bottom());
    path.lineTo(r.left(), r.bottom());
    path.lineTo(r.left() + r.width() * 0.55, r.center().y());
    path.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(kOrange);
    p.drawPath(path);
}

void Dravik(QPainter& p, qreal, qreal h, bool small) {
    const qreal side = h * 0.7;
    DravikChevron(p, QRectF(h * 0.12, h * 0.15, side * 0.8, side));
    const qreal x = h * 0.12 + side * 0.8 + h * 0.16;
    Word(p, QStringLiteral("DRAVIK"), Face(true, small ? h * 0.44 : h * 0.5, h * 0.03), kGraphite,
         x, small ? h * 0.5 : h * 0.43);
    if (!small)
        Word(p, QStringLiteral("AUTOMATION"), Face(false, h * 0.15, h * 0.05),
             QColor(0x6B, 0x70, 0x78), x + h * 0.02, h * 0.8);
}

// --- status lamps ---
void Lamp(QPainter& p, const QColor& color, bool lit) {
    const QRectF r(1.5, 1.5, 13, 13);
    QRadialGradient glow(QPointF(6, 5.5), 9);
    glow.setColorAt(0, lit ? color.lighter(170) : color.lighter(125));
    glow.setColorAt(1, color);
    p.setPen(QPen(color.darker(160), 1));
    p.setBrush(glow);
    p.drawEllipse(r);
}

// --- the application's icon: a port plug on a slate tile, with a lit lamp ---
void AppIcon(QPainter& p) {
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x1F, 0x3A, 0x5F));
    p.drawRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
    Word(p, QStringLiteral("K"), Face(true, 40), Qt::white, 12, 30);
    p.setBrush(Qt::white);
    p.drawRect(QRectF(44, 20, 10, 22));  // the master's one port
    p.setBrush(QColor(0x1F, 0x3A, 0x5F));
    p.drawRect(QRectF(47, 24, 4, 14));
    p.translate(40, 44);
    Lamp(p, QColor(0x2E, 0x9E, 0x44), true);
}

}  // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    const QString dir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    bool ok = true;
    // Wordmarks: 4:1 for the header, 3:1 for the small variants.
    ok &= Save(dir, "logo_halvervoss", 200, 50, [](QPainter& p) { Halvervoss(p, 200, 50, false); });
    ok &= Save(dir, "logo_halvervoss_small", 120, 40,
               [](QPainter& p) { Halvervoss(p, 120, 40, true); });
    ok &= Save(dir, "logo_ostrel", 200, 50, [](QPainter& p) { Ostrel(p, 200, 50); });
    ok &= Save(dir, "logo_dravik", 200, 50, [](QPainter& p) { Dravik(p, 200, 50, false); });
    ok &= Save(dir, "logo_dravik_small", 120, 40, [](QPainter& p) { Dravik(p, 120, 40, true); });
    ok &= Save(dir, "lamp_off", 16, 16,
               [](QPainter& p) { Lamp(p, QColor(0x8C, 0x92, 0x9A), false); });
    ok &= Save(dir, "lamp_connecting", 16, 16,
               [](QPainter& p) { Lamp(p, QColor(0xE8, 0xA3, 0x17), true); });
    ok &=
        Save(dir, "lamp_on", 16, 16, [](QPainter& p) { Lamp(p, QColor(0x2E, 0x9E, 0x44), true); });
    ok &= Save(dir, "kestrova", 64, 64, AppIcon);
    return ok ? 0 : 1;
}
