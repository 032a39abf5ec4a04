#include "wavefile/realmedia_dialog.h"

#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

RealMediaDialog::RealMediaDialog(RealMediaSettings& settings, int channels, WaveFileDialogs::RealMediaEncode encode,
                                 QWidget* parent)
    : QDialog(parent), m_settings(settings), m_channels(channels), m_encode(std::move(encode))
{
    setObjectName(QStringLiteral("REALMEDIA"));
    setWindowTitle(tr("RealMedia Encoding"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    m_audio = new QComboBox(this);
    m_audio->setObjectName(QStringLiteral("audioCodec"));
    for (const std::string& name : realmedia_audio_codecs(channels))
        m_audio->addItem(QString::fromStdString(name));
    m_description = new QLabel(this);
    m_description->setObjectName(QStringLiteral("description"));
    m_description->setWordWrap(true);
    m_description->setMinimumWidth(420);
    m_video = new QComboBox(this);
    m_video->setObjectName(QStringLiteral("videoCodec"));
    for (const std::string& name : realmedia_video_codecs())
        m_video->addItem(QString::fromStdString(name));
    m_video->setCurrentText(QString::fromStdString(settings.videoCodec));
    m_quality = new QSlider(Qt::Horizontal, this);
    m_quality->setObjectName(QStringLiteral("quality"));
    m_quality->setRange(1, 100);
    m_quality->setValue(100);
    m_qualityText = new QLineEdit(QStringLiteral("100"), this);
    m_qualityText->setObjectName(QStringLiteral("qualityText"));
    m_qualityText->setReadOnly(true);
    m_qualityText->setMaximumWidth(50);
    connect(m_quality, &QSlider::valueChanged, m_qualityText, [this](int v) { m_qualityText->setText(QString::number(v)); });
    auto* quality = new QHBoxLayout;
    quality->addWidget(m_quality);
    quality->addWidget(m_qualityText);
    m_keyFrames = new QSlider(Qt::Horizontal, this);
    m_keyFrames->setObjectName(QStringLiteral("keyFrames"));
    m_keyFrames->setRange(8, 100);
    m_keyFrames->setValue(60);
    form->addRow(tr("Audio codec:"), m_audio);
    form->addRow(QString(), m_description);
    form->addRow(tr("Video codec:"), m_video);
    form->addRow(tr("Video quality:"), quality);
    form->addRow(tr("Frames between key frames:"), m_keyFrames);
    layout->addLayout(form);
    m_progress = new QLabel(this);
    m_progress->setObjectName(QStringLiteral("progress"));
    layout->addWidget(m_progress);
    auto* buttons = new QHBoxLayout;
    auto* encodeButton = new QPushButton(tr("&Encode"), this);
    encodeButton->setObjectName(QStringLiteral("encode"));
    auto* close = new QPushButton(tr("Close"), this);
    buttons->addStretch();
    buttons->addWidget(encodeButton);
    buttons->addWidget(close);
    layout->addLayout(buttons);

    // The entry preselected for the channels, and the description with the
    // chosen entry's index from the channels' table.
    const auto describe = [this](int index) {
        m_description->setText(QString::fromStdString(realmedia_description(m_channels, index)));
    };
    connect(m_audio, &QComboBox::currentIndexChanged, this, describe);
    const int preselected = realmedia_preselected_entry(channels);
    m_audio->setCurrentIndex(std::min(preselected, m_audio->count() - 1));
    describe(7);
    connect(encodeButton, &QPushButton::clicked, this, [this, encodeButton] {
        m_settings = chosen();
        encodeButton->setEnabled(false);
        m_result = m_encode(m_settings, [this](const std::string& line) {
            m_progress->setText(QString::fromStdString(line));
            QApplication::processEvents();
        });
        encodeButton->setEnabled(true);
        if (m_result)
            accept();
    });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
}

RealMediaSettings RealMediaDialog::chosen() const
{
    RealMediaSettings s = m_settings;
    s.audioCodec = m_audio->currentText().toStdString();
    s.videoCodec = m_video->currentText().toStdString();
    s.quality = m_quality->value();
    s.keyFrameGap = m_keyFrames->value();
    return s;
}
