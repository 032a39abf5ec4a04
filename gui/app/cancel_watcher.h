#pragma once

#include <QElapsedTimer>
#include <QObject>

class QAbstractButton;

// Watches a Cancel (or Abort) button while a long operation runs inline:
// lets the screen repaint, takes a left press strictly inside the button
// (not on its border), and holds back every other input meanwhile.
class CancelWatcher : public QObject {
    Q_OBJECT
public:
    explicit CancelWatcher(QAbstractButton* button);
    ~CancelWatcher() override;

    // True once for each press on the button since the last call.
    bool poll();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QAbstractButton* m_button;
    bool m_clicked = false;
    QElapsedTimer m_sincePass;
};
