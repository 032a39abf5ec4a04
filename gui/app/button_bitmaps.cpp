#include "app/button_bitmaps.h"

#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kSize = 24;

struct Look {
    QColor fill;
    bool disabled;
};

Look lookFor(const QString& name, const QColor& normal, const QString& disabledName, const QColor& lit,
             const QString& litName)
{
    if (name == disabledName)
        return {QColor(128, 128, 128), true};
    if (name == litName)
        return {lit, false};
    return {normal, false};
}

void triangle(QPainter& p, const QRectF& r)
{
    QPainterPath path;
    path.moveTo(r.left(), r.top());
    path.lineTo(r.right(), r.center().y());
    path.lineTo(r.left(), r.bottom());
    path.closeSubpath();
    p.drawPath(path);
}

}  // namespace

QPixmap button_bitmap(const QString& name)
{
    QPixmap pixmap(kSize, kSize);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Qt::black, 1));
    const QRectF inner(5, 5, kSize - 10, kSize - 10);
    const QString n = name.toLower();

    if (n == "rrecord" || n == "invrec" || n == "redrec") {
        const Look l = lookFor(n, QColor(160, 0, 0), "invrec", QColor(255, 32, 32), "redrec");
        p.setBrush(l.fill);
        p.drawEllipse(inner);
    } else if (n == "rstop" || n == "invstop") {
        p.setBrush(n == "invstop" ? QColor(128, 128, 128) : QColor(0, 0, 0));
        p.drawRect(inner.adjusted(1, 1, -1, -1));
    } else if (n == "rplay" || n == "invplay" || n == "grnplay") {
        const Look l = lookFor(n, QColor(0, 96, 0), "invplay", QColor(0, 224, 0), "grnplay");
        p.setBrush(l.fill);
        triangle(p, inner);
    } else if (n == "rpause" || n == "invpause" || n == "yelpause") {
        const Look l = lookFor(n, QColor(64, 64, 64), "invpause", QColor(255, 224, 0), "yelpause");
        p.setBrush(l.fill);
        p.drawRect(QRectF(inner.left() + 1, inner.top(), 4, inner.height()));
        p.drawRect(QRectF(inner.right() - 5, inner.top(), 4, inner.height()));
    } else if (n == "rcue" || n == "invcue" || n == "rreview" || n == "invrev") {
        // Cue: forward to the next mark; review: back to the previous one.
        p.setBrush(n.startsWith("inv") ? QColor(128, 128, 128) : QColor(0, 0, 128));
        const bool back = n == "rreview" || n == "invrev";
        QRectF half(inner.left(), inner.top(), inner.width() / 2, inner.height());
        p.save();
        if (back) {
            p.translate(kSize, 0);
            p.scale(-1, 1);
        }
        triangle(p, half);
        triangle(p, half.translated(inner.width() / 2, 0));
        p.restore();
    } else if (n == "bigsave") {
        p.setBrush(QColor(40, 40, 160));
        p.drawRect(inner.adjusted(-1, -1, 1, 1));
        p.setBrush(Qt::white);
        p.drawRect(QRectF(inner.left() + 2, inner.top(), inner.width() - 4, 5));
    } else if (n == "bigdelete" || n == "cancel") {
        p.setPen(QPen(QColor(192, 0, 0), 3));
        p.drawLine(inner.topLeft(), inner.bottomRight());
        p.drawLine(inner.topRight(), inner.bottomLeft());
    } else if (n == "bigcreate") {
        p.setBrush(Qt::white);
        p.drawRect(inner.adjusted(1, -1, -1, 1));
        p.setPen(QPen(QColor(0, 128, 0), 2));
        p.drawLine(QPointF(inner.center().x(), inner.top() + 2), QPointF(inner.center().x(), inner.bottom() - 2));
        p.drawLine(QPointF(inner.left() + 3, inner.center().y()), QPointF(inner.right() - 3, inner.center().y()));
    } else if (n == "help") {
        QFont f = p.font();
        f.setBold(true);
        f.setPixelSize(16);
        p.setFont(f);
        p.setPen(QColor(0, 0, 160));
        p.drawText(QRectF(0, 0, kSize, kSize), Qt::AlignCenter, QStringLiteral("?"));
    } else if (n == "view") {
        p.setBrush(QColor(255, 255, 255));
        p.drawEllipse(QRectF(inner.left(), inner.top(), 10, 10));
        p.setPen(QPen(Qt::black, 3));
        p.drawLine(QPointF(inner.left() + 9, inner.top() + 9), inner.bottomRight());
    } else if (n == "ok") {
        p.setPen(QPen(QColor(0, 144, 0), 3));
        p.drawLine(QPointF(inner.left(), inner.center().y()), QPointF(inner.center().x() - 1, inner.bottom()));
        p.drawLine(QPointF(inner.center().x() - 1, inner.bottom()), inner.topRight());
    }
    return pixmap;
}

void paint_bitmap_button(QPainter& p, const QRect& rect, const OwnerDrawItem& item, const QString& bitmap,
                         const QString& fixedLabel, bool labelInRightHalf, const QString& ownText,
                         const QFont& font)
{
    p.fillRect(rect, QColor(192, 192, 192));
    const QPixmap image = button_bitmap(bitmap);
    const QPoint centre = rect.center();
    p.drawPixmap(centre.x() - image.width() / 2, centre.y() - image.height() / 2, image);

    // A three-pixel raised bevel and a black frame.
    for (int i = 1; i <= 3; ++i) {
        const QRect r = rect.adjusted(i, i, -i, -i);
        p.setPen(Qt::white);
        p.drawLine(r.topLeft(), r.topRight());
        p.drawLine(r.topLeft(), r.bottomLeft());
        p.setPen(QColor(0x80, 0x80, 0x80));
        p.drawLine(r.bottomLeft(), r.bottomRight());
        p.drawLine(r.topRight(), r.bottomRight());
    }
    p.setPen(Qt::black);
    p.drawRect(rect.adjusted(0, 0, -1, -1));

    p.setFont(font);
    p.setPen(item.disabled ? QColor(128, 128, 128) : Qt::black);
    if (labelInRightHalf) {
        const QRect right(rect.center().x(), rect.top(), rect.width() / 2, rect.height());
        p.drawText(right, Qt::AlignCenter, fixedLabel);
    } else {
        const QString text = ownText.left(18);
        const int baseline = rect.bottom() - 4;
        const int width = p.fontMetrics().horizontalAdvance(text);
        p.drawText(rect.center().x() - width / 2, baseline, text);
    }
    if (item.selected) {
        p.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
        p.fillRect(rect, Qt::white);
        p.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (item.focused) {
        p.setPen(QPen(Qt::black, 1, Qt::DotLine));
        p.drawRect(rect.adjusted(10, 5, -11, -6));
    }
}
