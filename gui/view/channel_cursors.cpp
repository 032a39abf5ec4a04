#include "view/channel_cursors.h"

#include <QPainter>
#include <QPixmap>

namespace {

QCursor channelCursor(const QString& mark)
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    // A white-edged I-beam so that it shows on every background.
    for (const auto& [colour, width] : {std::pair{QColor(Qt::white), 3}, std::pair{QColor(Qt::black), 1}}) {
        p.setPen(QPen(colour, width));
        p.drawLine(8, 2, 8, 26);
        p.drawLine(5, 2, 11, 2);
        p.drawLine(5, 26, 11, 26);
    }
    QFont font = p.font();
    font.setPixelSize(10);
    font.setBold(true);
    p.setFont(font);
    p.setPen(Qt::white);
    p.drawText(QRect(12, 9, 20, 12), Qt::AlignLeft | Qt::AlignVCenter, mark);
    p.setPen(Qt::black);
    p.drawText(QRect(11, 8, 20, 12), Qt::AlignLeft | Qt::AlignVCenter, mark);
    p.end();
    return QCursor(pixmap, 8, 14);
}

}  // namespace

QCursor cursor_for(ViewCursor cursor)
{
    static const QCursor left = channelCursor(QStringLiteral("L"));
    static const QCursor right = channelCursor(QStringLiteral("R"));
    static const QCursor both = channelCursor(QStringLiteral("LR"));
    switch (cursor) {
    case ViewCursor::LeftChannel: return left;
    case ViewCursor::RightChannel: return right;
    case ViewCursor::LeftRight: return both;
    case ViewCursor::Strip: return QCursor(Qt::SizeHorCursor);
    case ViewCursor::Arrow: break;
    }
    return QCursor(Qt::ArrowCursor);
}
