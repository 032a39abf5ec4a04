#pragma once

#include "wavefile/channel_choice.h"

#include <QDialog>

class QRadioButton;
class QSpinBox;

// Asks what to do with a file of more than two channels: "Mix down to
// stereo" (on at first) or "Take two channels", with the two channels to
// take (numbered from 1). OK gives the choice.
class ChannelChoiceDialog : public QDialog {
    Q_OBJECT
public:
    ChannelChoiceDialog(const QString& fileName, int channels, QWidget* parent);
    ChannelChoice choice() const;

private:
    QRadioButton* m_downmix;
    QRadioButton* m_pick;
    QSpinBox* m_left;
    QSpinBox* m_right;
};
