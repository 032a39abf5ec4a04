#include "app/preference_pages.h"

#include "audio/portaudio_device.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QMessageBox>

namespace {

// "System default" first, then every device by its label; a device stored
// in the profile that is not there now stays in the list, so it is not lost.
void fillDevices(QComboBox* box, const std::vector<AudioDeviceInfo>& devices, const std::string& chosen)
{
    box->clear();
    box->addItem(QString::fromLatin1(kSystemDefaultDevice));
    for (const AudioDeviceInfo& d : devices)
        box->addItem(QString::fromStdString(d.label()));
    if (chosen.empty() || chosen == kSystemDefaultDevice) {
        box->setCurrentIndex(0);
        return;
    }
    int index = box->findText(QString::fromStdString(chosen));
    if (index < 0) {
        box->addItem(QString::fromStdString(chosen));
        index = box->count() - 1;
    }
    box->setCurrentIndex(index);
}

std::string chosenDevice(const QComboBox* box)
{
    return box->currentIndex() <= 0 ? std::string() : box->currentText().toStdString();
}

}  // namespace

CWave::CWave(QWidget* parent)
    : PreferencePage(parent),
      m_input(new QComboBox(this)),
      m_output(new QComboBox(this)),
      m_bigIndicators(new QCheckBox(this)),
      m_systemMixer(new QCheckBox(tr("&Control the system mixer"), this))
{
    setObjectName(QStringLiteral("CWave"));
    auto* form = new QFormLayout(this);
    m_input->setObjectName(QStringLiteral("inputDevice"));
    m_output->setObjectName(QStringLiteral("outputDevice"));
    m_bigIndicators->setText(tr("&Big volume indicators"));
    form->addRow(tr("Wave &input device:"), m_input);
    form->addRow(tr("Wave &output device:"), m_output);
    form->addRow(m_bigIndicators);
    // Off: the volume is our own stream's; on: the desktop's master control.
    m_systemMixer->setObjectName(QStringLiteral("controlSystemMixer"));
    form->addRow(m_systemMixer);
    connect(m_bigIndicators, &QCheckBox::clicked, this, [this] {
        QMessageBox::information(this, QStringLiteral("Ondrava"), QStringLiteral("Please restart Ondrava to show new size"));
    });
}

void CWave::load(const Preferences& prefs)
{
    fillDevices(m_input, audio_input_devices(), prefs.waveInputDeviceName);
    fillDevices(m_output, audio_output_devices(), prefs.waveOutputDeviceName);
    m_bigIndicators->setChecked(prefs.bigVolumeIndicators);
    m_systemMixer->setChecked(prefs.controlSystemMixer);
}

void CWave::store(Preferences& prefs) const
{
    prefs.waveInputDeviceName = chosenDevice(m_input);
    prefs.waveOutputDeviceName = chosenDevice(m_output);
    prefs.bigVolumeIndicators = m_bigIndicators->isChecked();
    prefs.controlSystemMixer = m_systemMixer->isChecked();
}
