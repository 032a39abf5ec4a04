#include "app/preference_pages.h"

#include "sync/midi_inputs.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

namespace {

// The port a number names, shown beside it.
void showName(QLabel* label, const std::vector<MidiPortInfo>& ports, int number)
{
    label->setText(number < static_cast<int>(ports.size())
                       ? QString::fromStdString(ports[static_cast<std::size_t>(number)].name)
                       : QObject::tr("(no such port)"));
}

}  // namespace

CMidi::CMidi(QWidget* parent)
    : PreferencePage(parent), m_input(new QSpinBox(this)), m_output(new QSpinBox(this)),
      m_compensate(new QCheckBox(tr("&Compensate time code delay"), this))
{
    setObjectName(QStringLiteral("CMidi"));
    auto* form = new QFormLayout(this);
    m_input->setRange(0, 63);
    m_output->setRange(0, 63);
    m_compensate->setObjectName(QStringLiteral("compensate"));
    m_compensate->setToolTip(tr("Chase lock starts playback where the time code really is, allowing for the time "
                                "the code takes to arrive and the sound to come out"));
    auto* inputName = new QLabel(this);
    auto* outputName = new QLabel(this);
    const auto inputs = midi_input_devices();
    const auto outputs = midi_output_devices();
    connect(m_input, &QSpinBox::valueChanged, this, [=](int n) { showName(inputName, inputs, n); });
    connect(m_output, &QSpinBox::valueChanged, this, [=](int n) { showName(outputName, outputs, n); });
    showName(inputName, inputs, 0);
    showName(outputName, outputs, 0);
    form->addRow(tr("MIDI &input device:"), m_input);
    form->addRow(QString(), inputName);
    form->addRow(tr("MIDI &output device:"), m_output);
    form->addRow(QString(), outputName);
    form->addRow(QString(), m_compensate);
}

void CMidi::load(const Preferences& prefs)
{
    m_input->setValue(prefs.midiInputDevice);
    m_output->setValue(prefs.midiOutputDevice);
    m_compensate->setChecked(prefs.compensateTimeCodeDelay);
}

void CMidi::store(Preferences& prefs) const
{
    prefs.midiInputDevice = m_input->value();
    prefs.midiOutputDevice = m_output->value();
    prefs.compensateTimeCodeDelay = m_compensate->isChecked();
}
