#pragma once

#include <QDialog>

class QLabel;

// "PLAYRECORDTIME": the big modeless time display that playback (and
// recording) write their position into, when the "Big time display" option
// is on. One window, created on first use.
class PlayRecordTimeWindow : public QDialog {
    Q_OBJECT
public:
    explicit PlayRecordTimeWindow(QWidget* parent = nullptr);
    // Control 419: Arial, 22 points, green, bold.
    void showTime(const QString& text);
    QString text() const;

private:
    QLabel* m_time;
};
