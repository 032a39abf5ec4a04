#include "app/cancel_watcher.h"

#include "app/vector_state.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMouseEvent>

CancelWatcher::CancelWatcher(QAbstractButton* button) : QObject(button), m_button(button)
{
    qApp->installEventFilter(this);
}

CancelWatcher::~CancelWatcher() { qApp->removeEventFilter(this); }

bool CancelWatcher::poll()
{
    // A copy polls once per block, thousands of times a second: the event
    // loop (repaints, the Cancel click) runs at most about 30 times a second,
    // and a poll between costs one reading of a monotonic clock.
    if (!m_sincePass.isValid() || m_sincePass.elapsed() >= 33) {
        m_sincePass.start();
        QApplication::processEvents();
        // The pass painted; the operation's own code goes on after it.
        clear_upper_vector_state();
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
