#pragma once

#include <QDialog>

class QRadioButton;
class QSpinBox;

// "SETUPPLAYBACKLOOP": how many times loop playback plays (or for ever) and
// the SMPTE start time that chase lock cues to. OK stores both; Cancel
// changes nothing.
class PlaybackLoopDialog : public QDialog {
    Q_OBJECT
public:
    explicit PlaybackLoopDialog(QWidget* parent = nullptr);
    void accept() override;

    QSpinBox* spin(int id) const;
    QRadioButton* radio(int id) const;

private:
    QSpinBox* addSpin(int id, int min, int max, int value);
};
