#include "app/preference_pages.h"

#include <QFormLayout>
#include <QSpinBox>

CMidi::CMidi(QWidget* parent) : PreferencePage(parent), m_input(new QSpinBox(this)), m_output(new QSpinBox(this))
{
    setObjectName(QStringLiteral("CMidi"));
    auto* form = new QFormLayout(this);
    m_input->setRange(0, 63);
    m_output->setRange(0, 63);
    form->addRow(tr("MIDI &input device:"), m_input);
    form->addRow(tr("MIDI &output device:"), m_output);
}

void CMidi::load(const Preferences& prefs)
{
    m_input->setValue(prefs.midiInputDevice);
    m_output->setValue(prefs.midiOutputDevice);
}

void CMidi::store(Preferences& prefs) const
{
    prefs.midiInputDevice = m_input->value();
    prefs.midiOutputDevice = m_output->value();
}
