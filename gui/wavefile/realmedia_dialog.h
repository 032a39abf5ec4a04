#pragma once

#include "wavefile/wavefile_dialogs.h"
#include "wavefile/realmedia_encoder.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QSlider;

// The RealMedia encoding dialog: the audio codecs the encoder offers (none
// named "Stereo" for a mono document), the description of the chosen entry
// from the table for the document's channels, the video codec, the quality
// slider (1..100, shown beside it) and the key-frame slider (8..100); Encode
// runs the encoder with its progress line.
class RealMediaDialog : public QDialog {
    Q_OBJECT
public:
    RealMediaDialog(RealMediaSettings& settings, int channels, WaveFileDialogs::RealMediaEncode encode,
                    QWidget* parent = nullptr);
    int result() const { return m_result; }
    RealMediaSettings chosen() const;

private:
    RealMediaSettings& m_settings;
    int m_channels;
    WaveFileDialogs::RealMediaEncode m_encode;
    QComboBox* m_audio;
    QComboBox* m_video;
    QLabel* m_description;
    QSlider* m_quality;
    QLineEdit* m_qualityText;
    QSlider* m_keyFrames;
    QLabel* m_progress;
    int m_result = 0;
};
