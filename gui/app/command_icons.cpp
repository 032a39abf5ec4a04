#include "app/command_icons.h"

#include "app/command_ids.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <map>

namespace {

// Every shape is laid out on a 16 x 16 grid and scaled to the target.
class VectorIconEngine : public QIconEngine {
public:
    explicit VectorIconEngine(QString name) : m_name(std::move(name)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / 16.0, rect.height() / 16.0);
        const QPalette palette = QApplication::palette();
        QColor ink = palette.color(mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active,
                                   QPalette::ButtonText);
        draw(*painter, ink, mode == QIcon::Disabled);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1.0);
    }

    // `size` is already in device pixels here; `scale` is the ratio the
    // pixmap is for.
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        {
            QPainter p(&pixmap);
            paint(&p, QRect(QPoint(0, 0), size), mode, state);
        }
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }

    QIconEngine* clone() const override { return new VectorIconEngine(m_name); }
    QString key() const override { return QStringLiteral("ondrava-vector"); }

private:
    void draw(QPainter& p, const QColor& ink, bool disabled) const
    {
        const QPen line(ink, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        p.setPen(Qt::NoPen);
        p.setBrush(ink);
        auto triangle = [&](double x0, double x1, double yMid, double half) {
            p.drawPolygon(QPolygonF({QPointF(x0, yMid - half), QPointF(x1, yMid), QPointF(x0, yMid + half)}));
        };
        auto bar = [&](double x, double top, double bottom) { p.drawRect(QRectF(x, top, 1.6, bottom - top)); };
        // An edge of the highlight ("[" or "]") with an arrow beside it.
        auto edge = [&](bool start, bool later, bool coarse) {
            p.setPen(line);
            p.setBrush(Qt::NoBrush);
            const double x = start ? 6.0 : 10.0;
            const double lip = start ? 2.5 : -2.5;  // "[" at x 6, "]" at x 10
            p.drawPolyline(QPolygonF({QPointF(x + lip, 2), QPointF(x, 2), QPointF(x, 14), QPointF(x + lip, 14)}));
            p.setPen(Qt::NoPen);
            p.setBrush(ink);
            // The arrow points the way the edge moves, two heads for 50 ms.
            const double from = later ? 11.0 : 5.0;
            const double to = later ? 15.5 : 0.5;
            if (coarse) {
                const double middle = (from + to) / 2;
                triangle(from, middle, 8, 3.2);
                triangle(middle, to, 8, 3.2);
            } else {
                triangle(from, to, 8, 3.2);
            }
        };
        auto magnifier = [&](const QString& inside) {
            p.setPen(QPen(ink, 1.5));
            p.setBrush(Qt::NoBrush);
            p.drawEllipse(QRectF(1.5, 1.5, 9, 9));
            p.setPen(QPen(ink, 2.4, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(QPointF(10, 10), QPointF(14.5, 14.5));
            p.setPen(QPen(ink, 1.4));
            if (inside.contains('-') || inside.contains('+'))
                p.drawLine(QPointF(3.8, 6), QPointF(8.2, 6));
            if (inside.contains('+'))
                p.drawLine(QPointF(6, 3.8), QPointF(6, 8.2));
            if (inside == QLatin1String("max")) {
                p.setPen(Qt::NoPen);
                p.setBrush(ink);
                p.drawRect(QRectF(4, 4, 4, 4));
            }
            if (inside == QLatin1String("min")) {
                p.setPen(Qt::NoPen);
                p.setBrush(ink);
                p.drawEllipse(QRectF(5.2, 5.2, 1.6, 1.6));
            }
        };
        auto flag = [&](double x, double scale) {
            p.setPen(QPen(ink, 1.3));
            p.drawLine(QPointF(x, 2), QPointF(x, 14));
            p.setPen(Qt::NoPen);
            p.setBrush(ink);
            p.drawPolygon(QPolygonF({QPointF(x, 2), QPointF(x + 6 * scale, 4.5), QPointF(x, 7)}));
        };

        const QString& n = m_name;
        if (n == QLatin1String("new")) {
            p.setPen(line);
            p.setBrush(Qt::NoBrush);
            p.drawPolygon(QPolygonF({QPointF(3, 1.5), QPointF(9.5, 1.5), QPointF(13, 5), QPointF(13, 14.5),
                                     QPointF(3, 14.5)}));
            p.drawPolyline(QPolygonF({QPointF(9.5, 1.5), QPointF(9.5, 5), QPointF(13, 5)}));
        } else if (n == QLatin1String("open")) {
            p.setPen(line);
            p.setBrush(Qt::NoBrush);
            p.drawPolygon(QPolygonF({QPointF(1.5, 3), QPointF(6, 3), QPointF(7.5, 4.5), QPointF(13, 4.5),
                                     QPointF(13, 13), QPointF(1.5, 13)}));
            p.drawPolyline(QPolygonF({QPointF(1.5, 13), QPointF(4, 7), QPointF(15, 7), QPointF(13, 13)}));
        } else if (n == QLatin1String("select-all")) {
            p.setPen(QPen(ink, 1.2, Qt::DashLine));
            p.setBrush(Qt::NoBrush);
            p.drawRect(QRectF(1.5, 2.5, 13, 11));
            p.setPen(QPen(ink, 1.4));
            for (int i = 0; i < 5; ++i) {
                const double h = (i % 2 ? 2.0 : 3.5);
                p.drawLine(QPointF(4 + 2 * i, 8 - h), QPointF(4 + 2 * i, 8 + h));
            }
        } else if (n == QLatin1String("record")) {
            p.setBrush(disabled ? ink : QColor(210, 0, 0));
            p.drawEllipse(QRectF(3, 3, 10, 10));
        } else if (n == QLatin1String("play")) {
            triangle(3.5, 13.5, 8, 6);
        } else if (n == QLatin1String("pause")) {
            p.drawRect(QRectF(3.5, 2.5, 3.2, 11));
            p.drawRect(QRectF(9.3, 2.5, 3.2, 11));
        } else if (n == QLatin1String("stop")) {
            p.drawRect(QRectF(3, 3, 10, 10));
        } else if (n == QLatin1String("loop")) {
            p.setPen(QPen(ink, 1.6));
            p.setBrush(Qt::NoBrush);
            p.drawArc(QRectF(2.5, 2.5, 11, 11), 60 * 16, 270 * 16);
            p.setPen(Qt::NoPen);
            p.setBrush(ink);
            p.drawPolygon(QPolygonF({QPointF(8.5, 0.5), QPointF(12.5, 3), QPointF(8.5, 5.8)}));
        } else if (n == QLatin1String("go-start")) {
            bar(2, 3, 13);
            triangle(13, 4.5, 8, 5);
        } else if (n == QLatin1String("go-end")) {
            triangle(3, 11.5, 8, 5);
            bar(12.4, 3, 13);
        } else if (n == QLatin1String("go-highlight")) {
            p.setPen(line);
            p.setBrush(Qt::NoBrush);
            p.drawPolyline(QPolygonF({QPointF(4, 2), QPointF(1.5, 2), QPointF(1.5, 14), QPointF(4, 14)}));
            p.drawPolyline(QPolygonF({QPointF(12, 2), QPointF(14.5, 2), QPointF(14.5, 14), QPointF(12, 14)}));
            p.setPen(Qt::NoPen);
            p.setBrush(ink);
            triangle(5, 11.5, 8, 4);
        } else if (n == QLatin1String("start-earlier-coarse")) {
            edge(true, false, true);
        } else if (n == QLatin1String("start-earlier")) {
            edge(true, false, false);
        } else if (n == QLatin1String("start-later")) {
            edge(true, true, false);
        } else if (n == QLatin1String("end-earlier")) {
            edge(false, false, false);
        } else if (n == QLatin1String("end-later")) {
            edge(false, true, false);
        } else if (n == QLatin1String("end-later-coarse")) {
            edge(false, true, true);
        } else if (n == QLatin1String("zoom-in")) {
            magnifier(QStringLiteral("+"));
        } else if (n == QLatin1String("zoom-out")) {
            magnifier(QStringLiteral("-"));
        } else if (n == QLatin1String("zoom-max")) {
            magnifier(QStringLiteral("max"));
        } else if (n == QLatin1String("zoom-min")) {
            magnifier(QStringLiteral("min"));
        } else if (n == QLatin1String("fit")) {
            bar(1, 3, 13);
            bar(13.4, 3, 13);
            triangle(7.5, 3.5, 8, 3);
            triangle(8.5, 12.5, 8, 3);
        } else if (n == QLatin1String("mark")) {
            flag(5, 1.2);
        } else if (n == QLatin1String("mark-pair")) {
            flag(3, 0.8);
            flag(10, 0.8);
        } else if (n == QLatin1String("mark-clear")) {
            flag(3, 1.0);
            p.setPen(QPen(ink, 1.5));
            p.drawLine(QPointF(9, 8), QPointF(15, 14));
            p.drawLine(QPointF(15, 8), QPointF(9, 14));
        } else if (n == QLatin1String("cue-play")) {
            flag(2.5, 0.8);
            triangle(8, 15, 10, 4);
        } else if (n == QLatin1String("cue-sequence")) {
            p.setPen(QPen(ink, 1.4));
            for (int i = 0; i < 3; ++i)
                p.drawLine(QPointF(1.5, 4 + 4 * i), QPointF(7, 4 + 4 * i));
            p.setPen(Qt::NoPen);
            triangle(9, 15, 8, 4.5);
        }
    }

    QString m_name;
};

}  // namespace

QIcon command_icon(const QString& name) { return QIcon(new VectorIconEngine(name)); }

QIcon command_icon(int commandId)
{
    static const std::map<int, const char*> names = {
        {kCommandNew, "new"},          {kCommandOpen, "open"},           {kCommandSelectAll, "select-all"},
        {kCommandRecord, "record"},        {kCommandPlay, "play"},          {kCommandPause, "pause"},
        {kCommandStop, "stop"},         {kCommandLoop, "loop"},          {kCommandGoStart, "go-start"},
        {kCommandGoEnd, "go-end"},       {kCommandGoHighlight, "go-highlight"},  {kCommandStartEarlierCoarse, "start-earlier-coarse"},
        {kCommandStartEarlier, "start-earlier"}, {kCommandStartLater, "start-later"},  {kCommandEndEarlier, "end-earlier"},
        {kCommandEndLater, "end-later"},    {kCommandEndLaterCoarse, "end-later-coarse"}, {kCommandZoomIn, "zoom-in"},
        {kCommandZoomOut, "zoom-out"},      {kCommandZoomMaximum, "zoom-max"},         {kCommandZoomMinimum, "zoom-min"},
        {kCommandFitToWindow, "fit"},
    };
    const auto it = names.find(commandId);
    return it == names.end() ? QIcon() : command_icon(QString::fromLatin1(it->second));
}
