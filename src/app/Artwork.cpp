#include "app/Artwork.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include "app/Look.h"

namespace tolmi {
namespace {

const QColor kBrandLight{0x1f, 0x7a, 0xc9};
const QColor kInk{0x2e, 0x3a, 0x46};
const QColor kPaper{0xf1, 0xf4, 0xf8};
const QColor kPaperEdge{0xc9, 0xd3, 0xde};
const QColor kCrack{0xd9, 0x4f, 0x4f};
const QColor kHotRed{0xe0, 0x3b, 0x3b};

QFont ArtFont(int pixelSize, int weight) {
    QFont font("Open Sans");
    font.setPixelSize(pixelSize);
    font.setWeight(QFont::Weight(weight));
    return font;
}

QPen Stroke(QColor color, qreal width) { return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin); }

void PlayTriangle(QPainter& p, QPointF centre, qreal size, QColor color) {
    QPainterPath path;
    path.moveTo(centre + QPointF(-size * 0.38, -size * 0.5));
    path.lineTo(centre + QPointF(size * 0.55, 0));
    path.lineTo(centre + QPointF(-size * 0.38, size * 0.5));
    path.closeSubpath();
    p.fillPath(path, color);
}

// A clip as a strip of film: a rounded card with sprocket holes above and
// below, and the picture area between them.
QRectF FilmCard(QPainter& p, QRectF card, QColor body, QColor holes) {
    p.setPen(Qt::NoPen);
    p.setBrush(body);
    p.drawRoundedRect(card, card.height() * 0.08, card.height() * 0.08);
    const qreal band = card.height() * 0.16, hole = band * 0.45;
    p.setBrush(holes);
    for (qreal x = card.left() + hole; x + hole < card.right() - hole / 2; x += hole * 2.2) {
        p.drawRoundedRect(QRectF(x, card.top() + (band - hole) / 2, hole, hole), hole * 0.25, hole * 0.25);
        p.drawRoundedRect(QRectF(x, card.bottom() - band + (band - hole) / 2, hole, hole), hole * 0.25, hole * 0.25);
    }
    return card.adjusted(band * 0.5, band, -band * 0.5, -band);
}

QLinearGradient Sky(QRectF area) {
    QLinearGradient sky(area.topLeft(), area.bottomRight());
    sky.setColorAt(0, kBrandLight);
    sky.setColorAt(1, look::kHeaderBlue);
    return sky;
}

void CheckBadge(QPainter& p, QPointF centre, qreal radius) {
    p.setPen(QPen(Qt::white, radius * 0.25));
    p.setBrush(look::kBar);
    p.drawEllipse(centre, radius, radius);
    QPainterPath tick;
    tick.moveTo(centre + QPointF(-radius * 0.45, 0));
    tick.lineTo(centre + QPointF(-radius * 0.1, radius * 0.35));
    tick.lineTo(centre + QPointF(radius * 0.5, -radius * 0.35));
    p.setBrush(Qt::NoBrush);
    p.setPen(Stroke(Qt::white, radius * 0.28));
    p.drawPath(tick);
}

void DrawAppIcon(QPainter& p, QSizeF size) {
    const QRectF all(QPointF(0, 0), size);
    const qreal s = size.width();
    p.setPen(Qt::NoPen);
    p.setBrush(Sky(all));
    p.drawRoundedRect(all.adjusted(s * 0.04, s * 0.04, -s * 0.04, -s * 0.04), s * 0.2, s * 0.2);
    const QRectF screen = FilmCard(p, QRectF(s * 0.16, s * 0.24, s * 0.68, s * 0.52), Qt::white, kBrandLight);
    p.setBrush(kPaper);
    p.drawRect(screen);
    PlayTriangle(p, screen.center() + QPointF(s * 0.02, 0), screen.height() * 0.62, look::kBar);
}

void DrawLogo(QPainter& p, QSizeF size) {
    const qreal mark = size.height() * 0.86;
    p.save();
    p.translate(0, (size.height() - mark) / 2);
    const QRectF card(0, mark * 0.14, mark, mark * 0.72);
    const QRectF screen = FilmCard(p, card, Qt::white, look::kHeaderBlue);
    p.setBrush(look::kHeaderBlue);
    p.drawRect(screen);
    PlayTriangle(p, screen.center() + QPointF(1, 0), screen.height() * 0.7, look::kBar);
    p.restore();
    const qreal textLeft = mark + 12;
    p.setPen(Qt::white);
    p.setFont(ArtFont(int(size.height() * 0.5), 700));
    const QString brand = QStringLiteral("Tolmi");
    p.drawText(QRectF(textLeft, 0, size.width() - textLeft, size.height()), Qt::AlignLeft | Qt::AlignVCenter, brand);
    const qreal brandWidth = p.fontMetrics().horizontalAdvance(brand + ' ');
    p.setFont(ArtFont(int(size.height() * 0.5), 300));
    p.drawText(QRectF(textLeft + brandWidth, 0, size.width(), size.height()), Qt::AlignLeft | Qt::AlignVCenter,
               QStringLiteral("Video Repair"));
}

// The header's glyphs: white strokes on the blue band; hot adds a soft plate
// (a red one for Close).
void DrawHeaderGlyph(QPainter& p, Art art, bool hot) {
    if (hot) {
        p.setPen(Qt::NoPen);
        p.setBrush(art == Art::Close ? kHotRed : QColor(255, 255, 255, 56));
        p.drawRoundedRect(QRectF(0, 0, 24, 24), 4, 4);
    }
    p.setPen(Stroke(Qt::white, 1.8));
    p.setBrush(Qt::NoBrush);
    switch (art) {
        case Art::Close:
            p.drawLine(QPointF(7, 7), QPointF(17, 17));
            p.drawLine(QPointF(17, 7), QPointF(7, 17));
            break;
        case Art::Maximize: p.drawRect(QRectF(6.5, 6.5, 11, 11)); break;
        case Art::Restore:
            p.drawRect(QRectF(5.5, 9.5, 9, 9));
            p.drawPolyline(QPolygonF({QPointF(9.5, 9.5), QPointF(9.5, 5.5), QPointF(18.5, 5.5), QPointF(18.5, 14.5),
                                      QPointF(14.5, 14.5)}));
            break;
        case Art::Minimize: p.drawLine(QPointF(6, 16.5), QPointF(18, 16.5)); break;
        case Art::Menu:
            for (qreal y : {7.0, 12.0, 17.0}) p.drawLine(QPointF(5.5, y), QPointF(18.5, y));
            break;
        case Art::Help:
            p.drawEllipse(QPointF(12, 12), 8.5, 8.5);
            p.setFont(ArtFont(13, 700));
            p.drawText(QRectF(0, 0, 24, 24.5), Qt::AlignCenter, QStringLiteral("?"));
            break;
        case Art::Home: {
            p.drawPolyline(QPolygonF({QPointF(3.5, 12), QPointF(12, 4.5), QPointF(20.5, 12)}));
            p.drawPolyline(QPolygonF({QPointF(6.5, 10.5), QPointF(6.5, 19.5), QPointF(17.5, 19.5), QPointF(17.5, 10.5)}));
            p.drawLine(QPointF(10.5, 19.5), QPointF(10.5, 14.5));
            p.drawLine(QPointF(10.5, 14.5), QPointF(13.5, 14.5));
            p.drawLine(QPointF(13.5, 14.5), QPointF(13.5, 19.5));
            break;
        }
        default: break;
    }
}

// A zig-zag break across a card.
void Crack(QPainter& p, QRectF area) {
    QPainterPath crack;
    crack.moveTo(area.left() + area.width() * 0.55, area.top());
    const qreal steps[][2] = {{0.42, 0.22}, {0.6, 0.42}, {0.4, 0.62}, {0.58, 0.8}, {0.46, 1.0}};
    for (auto [x, y] : steps) crack.lineTo(area.left() + area.width() * x, area.top() + area.height() * y);
    p.setPen(Stroke(Qt::white, 5));
    p.setBrush(Qt::NoBrush);
    p.drawPath(crack);
    p.setPen(Stroke(kCrack, 2.2));
    p.drawPath(crack);
}

void Arrow(QPainter& p, QPointF from, QPointF to, QColor color) {
    p.setPen(Stroke(color, 5));
    p.drawLine(from, to - QPointF(6, 0));
    QPainterPath head;
    head.moveTo(to + QPointF(4, 0));
    head.lineTo(to + QPointF(-12, -11));
    head.lineTo(to + QPointF(-12, 11));
    head.closeSubpath();
    p.fillPath(head, color);
}

void DrawWelcome(QPainter& p) {
    // The damaged clip, the way through the repair, the playable clip.
    const QRectF damaged = FilmCard(p, QRectF(28, 48, 136, 100), kPaperEdge, Qt::white);
    p.fillRect(damaged, kPaper);
    PlayTriangle(p, damaged.center(), 24, kPaperEdge);
    Crack(p, damaged);

    p.setPen(Qt::NoPen);
    for (int i = 0; i < 3; ++i) {
        p.setBrush(QColor(look::kHeaderBlue.red(), look::kHeaderBlue.green(), look::kHeaderBlue.blue(), 70 + 60 * i));
        p.drawEllipse(QPointF(180 + 10 * i, 98), 3, 3);
    }
    Arrow(p, QPointF(212, 98), QPointF(232, 98), look::kHeaderBlue);

    const QRectF repaired = FilmCard(p, QRectF(244, 48, 136, 100), look::kHeaderBlue, Qt::white);
    p.fillRect(repaired, Sky(repaired));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 235));
    p.drawEllipse(repaired.center(), 19, 19);
    PlayTriangle(p, repaired.center() + QPointF(2, 0), 18, look::kHeaderBlue);
    CheckBadge(p, QPointF(372, 54), 15);
}

void DrawBusy(QPainter& p) {
    // A strip of frames being mended one after the other: the mended ones
    // in blue, the one under the scan line, the broken ones still grey.
    const QRectF strip(20, 52, 360, 96);
    const QRectF inner = FilmCard(p, strip, kInk, kPaper);
    const int frames = 5;
    const qreal gap = 6, width = (inner.width() - gap * (frames - 1)) / frames;
    for (int i = 0; i < frames; ++i) {
        const QRectF frame(inner.left() + i * (width + gap), inner.top(), width, inner.height());
        if (i < 3) {
            p.fillRect(frame, Sky(frame));
            PlayTriangle(p, frame.center(), 16, QColor(255, 255, 255, 200));
        } else {
            p.fillRect(frame, kPaper);
            if (i == 4) Crack(p, frame);
        }
    }
    const qreal scanX = inner.left() + 3 * (width + gap) + width * 0.35;
    QLinearGradient glow(scanX - 18, 0, scanX, 0);
    glow.setColorAt(0, QColor(0x23, 0xb9, 0x49, 0));
    glow.setColorAt(1, QColor(0x23, 0xb9, 0x49, 110));
    p.fillRect(QRectF(scanX - 18, inner.top(), 18, inner.height()), glow);
    p.fillRect(QRectF(scanX, strip.top() - 12, 3, strip.height() + 24), look::kBar);
    p.setPen(Qt::NoPen);
    p.setBrush(look::kBar);
    p.drawEllipse(QPointF(scanX + 1.5, strip.top() - 14), 5, 5);
    p.drawEllipse(QPointF(scanX + 1.5, strip.bottom() + 14), 5, 5);
}

void DrawPreview(QPainter& p, QSizeF size, bool hot) {
    const QRectF screen = QRectF(QPointF(0, 0), size).adjusted(6, 6, -6, -6);
    QLinearGradient night(screen.topLeft(), screen.bottomLeft());
    night.setColorAt(0, QColor(0x2b, 0x3a, 0x4a));
    night.setColorAt(1, QColor(0x12, 0x1a, 0x24));
    p.setPen(QPen(hot ? look::kHeaderBlue : kPaperEdge, 2));
    p.setBrush(night);
    p.drawRoundedRect(screen, 10, 10);
    // A hint of a scene: hills under a sky.
    QPainterPath hills;
    hills.moveTo(screen.left(), screen.bottom() - 70);
    hills.cubicTo(screen.left() + 120, screen.bottom() - 140, screen.left() + 200, screen.bottom() - 40,
                  screen.left() + 300, screen.bottom() - 100);
    hills.cubicTo(screen.left() + 360, screen.bottom() - 130, screen.right() - 30, screen.bottom() - 90,
                  screen.right(), screen.bottom() - 110);
    hills.lineTo(screen.right(), screen.bottom() - 46);
    hills.lineTo(screen.left(), screen.bottom() - 46);
    hills.closeSubpath();
    p.fillPath(hills, QColor(255, 255, 255, 22));
    // The play button.
    const QPointF centre = screen.center() - QPointF(0, 16);
    p.setPen(Qt::NoPen);
    p.setBrush(hot ? look::kHeaderBlue : QColor(255, 255, 255, 230));
    p.drawEllipse(centre, 42, 42);
    PlayTriangle(p, centre + QPointF(4, 0), 40, hot ? Qt::white : look::kHeaderBlue);
    // The timeline.
    const QRectF track(screen.left() + 24, screen.bottom() - 28, screen.width() - 48, 5);
    p.setBrush(QColor(255, 255, 255, 70));
    p.drawRoundedRect(track, 2.5, 2.5);
    p.setBrush(look::kBar);
    p.drawRoundedRect(QRectF(track.left(), track.top(), track.width() * 0.3, track.height()), 2.5, 2.5);
    p.setBrush(Qt::white);
    p.drawEllipse(QPointF(track.left() + track.width() * 0.3, track.center().y()), 7, 7);
}

void DrawSign(QPainter& p, QSizeF size, const QString& glyph) {
    const QPointF centre(size.width() / 2, size.height() / 2);
    const qreal radius = size.height() / 2 - 2;
    QRadialGradient fill(centre - QPointF(radius * 0.4, radius * 0.5), radius * 1.6);
    fill.setColorAt(0, kBrandLight);
    fill.setColorAt(1, look::kHeaderBlue);
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawEllipse(centre, radius, radius);
    p.setPen(Qt::white);
    p.setFont(ArtFont(int(radius * 1.3), 700));
    p.drawText(QRectF(QPointF(0, 0), size), Qt::AlignCenter, glyph);
}

void DrawDialogClose(QPainter& p, bool hot) {
    p.fillRect(QRectF(0, 0, 24, 24), Qt::white);
    p.setPen(Stroke(hot ? kHotRed : look::kDialogText, 2));
    p.drawLine(QPointF(7, 7), QPointF(17, 17));
    p.drawLine(QPointF(17, 7), QPointF(7, 17));
}

}  // namespace

QSize ArtSize(Art art) {
    switch (art) {
        case Art::AppIcon: return {256, 256};
        case Art::Logo: return {340, 48};
        case Art::Welcome:
        case Art::Busy: return {400, 200};
        case Art::Preview: return {441, 309};
        case Art::Question:
        case Art::Information: return {70, 62};
        default: return {24, 24};
    }
}

QPixmap DrawArt(Art art, bool hot, qreal devicePixelRatio) {
    QPixmap pixmap(ArtSize(art) * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    PaintArt(p, art, hot);
    return pixmap;
}

void PaintArt(QPainter& p, Art art, bool hot) {
    const QSize size = ArtSize(art);
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    switch (art) {
        case Art::AppIcon: DrawAppIcon(p, size); break;
        case Art::Logo: DrawLogo(p, size); break;
        case Art::Welcome: DrawWelcome(p); break;
        case Art::Busy: DrawBusy(p); break;
        case Art::Preview: DrawPreview(p, size, hot); break;
        case Art::Question: DrawSign(p, size, QStringLiteral("?")); break;
        case Art::Information: DrawSign(p, size, QStringLiteral("i")); break;
        case Art::DialogClose: DrawDialogClose(p, hot); break;
        default: DrawHeaderGlyph(p, art, hot); break;
    }
}

}  // namespace tolmi
