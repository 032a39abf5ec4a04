#pragma once

#include <QDialog>

class QLabel;
class QSlider;

// "AUTOSTOP": how many seconds a take runs before it stops by itself. The
// slider (control 233) shows 100 minus its position in seconds (control
// 232); every move sets the record engine's time at once. OK returns 1 and
// turns the automatic stop on, Cancel returns 2 and turns it off.
class AutoStopDialog : public QDialog {
    Q_OBJECT
public:
    explicit AutoStopDialog(QWidget* parent = nullptr);
    QSlider* slider() const { return m_slider; }
    QLabel* number() const { return m_number; }

private:
    void showSeconds();
    QSlider* m_slider;
    QLabel* m_number;
};
