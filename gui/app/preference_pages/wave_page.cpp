#include "app/preference_pages.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QMessageBox>
#include <QSpinBox>

CWave::CWave(QWidget* parent)
    : PreferencePage(parent), m_input(new QSpinBox(this)), m_output(new QSpinBox(this)), m_bigIndicators(new QCheckBox(this))
{
    setObjectName(QStringLiteral("CWave"));
    auto* form = new QFormLayout(this);
    m_input->setRange(0, 63);
    m_output->setRange(0, 63);
    m_bigIndicators->setText(tr("&Big volume indicators"));
    form->addRow(tr("Wave &input device:"), m_input);
    form->addRow(tr("Wave &output device:"), m_output);
    form->addRow(m_bigIndicators);
    connect(m_bigIndicators, &QCheckBox::clicked, this, [this] {
        QMessageBox::information(this, QStringLiteral("Ondrava"), QStringLiteral("Please restart Ondrava to show new size"));
    });
}

void CWave::load(const Preferences& prefs)
{
    m_input->setValue(prefs.waveInputDevice);
    m_output->setValue(prefs.waveOutputDevice);
    m_bigIndicators->setChecked(prefs.bigVolumeIndicators);
}

void CWave::store(Preferences& prefs) const
{
    prefs.waveInputDevice = m_input->value();
    prefs.waveOutputDevice = m_output->value();
    prefs.bigVolumeIndicators = m_bigIndicators->isChecked();
}
