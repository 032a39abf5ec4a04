#pragma once

#include <QDialog>
#include <memory>

class CChildFrame;
class ChaseLock;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;

// "CHASELOCK": playback of a document locked to incoming MIDI Time Code.
// Always on top; status (273), cue point (274), two instruction lines (377,
// 378), the current time code (419), Start (1893, then "&Cancel"), Cancel
// (2) and the nudges back (427) and forward (428). Beside them, the frame
// rate and the pre-roll, and a button to the loop set-up where the cue point
// is set.
class ChaseLockDialog : public QDialog {
    Q_OBJECT
public:
    ChaseLockDialog(CChildFrame& frame, QWidget* parent = nullptr);
    ~ChaseLockDialog() override;

    // Opens MIDI input; false (after the message) when it will not open.
    bool openInput();
    ChaseLock& chase() const { return *m_chase; }

signals:
    // The play position while chasing, for the position display.
    void playPosition(const QString& text);

protected:
    void done(int result) override;

private:
    QLabel* label(int id);

    CChildFrame& m_frame;
    std::unique_ptr<ChaseLock> m_chase;
    QComboBox* m_fps;
    QSpinBox* m_preroll;
    bool m_ending = false;
};
