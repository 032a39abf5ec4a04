#pragma once

#include <QWidget>

class CancelWatcher;
class QPushButton;
class QLabel;

// The modeless progress box ("MESSAGEDLG"): a bar (control 230) with its text
// drawn inside, the time left (control 1039) and a Cancel button (id 2). It
// lies over the main window's status bar while a long operation runs.
class ProgressBox : public QWidget {
    Q_OBJECT
public:
    ProgressBox(QWidget* parent, const QString& text, bool showCancel);

    void setBar(int percent, const QString& barText);
    void setTimeLeft(const QString& text);
    QString timeLeft() const;
    int percent() const { return m_percent; }
    // Lets the box repaint and takes a click on Cancel: true only for a left
    // press strictly inside the button. Other input is held back meanwhile.
    bool pollCancel();
    QPushButton* cancelButton() const { return m_cancel; }

private:
    class Bar;
    Bar* m_bar;
    QLabel* m_timeLeft;
    QPushButton* m_cancel;
    CancelWatcher* m_watcher;
    int m_percent = 0;
};
