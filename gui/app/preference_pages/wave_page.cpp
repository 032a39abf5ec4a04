#include "app/preference_pages.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QMessageBox>
#include <QSpinBox>

CWave::CWave(QWidget* parent)
    : PreferencePage(parent),
      m_input(new QSpinBox(this)),
      m_output(new QSpinBox(this)),
      m_bigIndicators(new QCheckBox(this)),
      m_systemMixer(new QCheckBox(tr("&Control the system mixer"), this))
{
    setObjectName(QStringLiteral("CWave"));
    auto* form = new QFormLayout(this);
    m_input->setRange(0, 63);
    m_output->setRange(0, 63);
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
    m_input->setValue(prefs.waveInputDevice);
    m_output->setValue(prefs.waveOutputDevice);
    m_bigIndicators->setChecked(prefs.bigVolumeIndicators);
    m_systemMixer->setChecked(prefs.controlSystemMixer);
}

void CWave::store(Preferences& prefs) const
{
    prefs.waveInputDevice = m_input->value();
    prefs.waveOutputDevice = m_output->value();
    prefs.bigVolumeIndicators = m_bigIndicators->isChecked();
    prefs.controlSystemMixer = m_systemMixer->isChecked();
}
