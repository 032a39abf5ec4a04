#include "app/cancel_watcher.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDateTime>
#include <QMouseEvent>

CancelWatcher::CancelWatcher(QAbstractButton* button) : QObject(button), m_button(button)
{
    qApp->installEventFilter(this);
}

CancelWatcher::~CancelWatcher() { qApp->removeEventFilter(this); }

bool CancelWatcher::poll()
{
    // Process events at most every 15 ms: a copy polls once per 32 KiB block.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now - m_lastPoll >= 15) {
        m_lastPoll = now;
        QApplication::processEvents();
    }
    const bool clicked = m_clicked;
    m_clicked = false;
    return clicked;
}

bool CancelWatcher::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto* mouse = static_cast<QMouseEvent*>(event);
        const QRect button(m_button->mapToGlobal(QPoint(0, 0)), m_button->size());
        const QPoint at = mouse->globalPosition().toPoint();
        if (mouse->button() == Qt::LeftButton && m_button->isVisible() && at.x() > button.left() &&
            at.x() < button.right() && at.y() > button.top() && at.y() < button.bottom())
            m_clicked = true;
        return true;
    }
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Wheel:
        // The operation runs inline; nothing else may start meanwhile.
        return true;
    default:
        return QObject::eventFilter(watched, event);
    }
}
