#include "midi_tools/triggered_start_dialog.h"

#include "app/preferences.h"
#include "midi_tools/sampler.h"
#include "view/child_frame_window.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

TriggeredStartDialog::TriggeredStartDialog(ChildFrameWindow& document, Mode mode, QWidget* parent)
    : QDialog(parent), m_document(document), m_mode(mode)
{
    setObjectName(mode == Mode::Delay ? QStringLiteral("RECORDPLAYDELAY") : QStringLiteral("SEQUENCERINPUT"));
    setWindowTitle(mode == Mode::Delay ? tr("Delayed Start") : tr("Triggered Start"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    const auto radio = [this](QButtonGroup* group, int id, const QString& text, const QString& name) {
        auto* b = new QRadioButton(text, this);
        b->setObjectName(name);
        group->addButton(b, id);
        return b;
    };

    if (mode == Mode::Delay) {
        m_delay = new QDoubleSpinBox(this);
        m_delay->setObjectName(QStringLiteral("delay"));
        m_delay->setRange(0.0, 3600.0);
        m_delay->setDecimals(1);
        m_delay->setValue(5.0);
        m_delay->setSuffix(tr(" s"));
        form->addRow(tr("Start after:"), m_delay);
    } else {
        m_kind = new QButtonGroup(this);
        auto* kinds = new QVBoxLayout;
        kinds->addWidget(radio(m_kind, static_cast<int>(TriggerKind::TimeCode), tr("MIDI &Time Code reaches"),
                               QStringLiteral("timeCode")));
        auto* time = new QHBoxLayout;
        const int limits[4] = {23, 59, 59, 29};
        const char* names[4] = {"hours", "minutes", "seconds", "frames"};
        for (int i = 0; i < 4; ++i) {
            m_time[i] = new QSpinBox(this);
            m_time[i]->setObjectName(QString::fromLatin1(names[i]));
            m_time[i]->setRange(0, limits[i]);
            time->addWidget(m_time[i]);
        }
        m_fps = new QComboBox(this);
        m_fps->setObjectName(QStringLiteral("fps"));
        for (int rate : {24, 25, 30})
            m_fps->addItem(tr("%1 fps").arg(rate), rate);
        time->addWidget(m_fps);
        kinds->addLayout(time);
        kinds->addWidget(radio(m_kind, static_cast<int>(TriggerKind::SequencerStart),
                               tr("A sequencer's &Start or Continue"), QStringLiteral("sequencer")));
        kinds->addWidget(radio(m_kind, static_cast<int>(TriggerKind::Note), tr("A &note"), QStringLiteral("note")));
        auto* note = new QHBoxLayout;
        m_note = new QSpinBox(this);
        m_note->setObjectName(QStringLiteral("noteNumber"));
        m_note->setRange(-1, 127);
        m_note->setSpecialValueText(tr("any"));
        m_note->setValue(-1);
        m_channel = new QSpinBox(this);
        m_channel->setObjectName(QStringLiteral("channel"));
        m_channel->setRange(0, 16);
        m_channel->setSpecialValueText(tr("any channel"));
        note->addWidget(new QLabel(tr("Note:"), this));
        note->addWidget(m_note);
        note->addWidget(new QLabel(tr("Channel:"), this));
        note->addWidget(m_channel);
        kinds->addLayout(note);
        m_kind->button(static_cast<int>(TriggerKind::Note))->setChecked(true);
        form->addRow(tr("Start on:"), kinds);
    }

    m_action = new QButtonGroup(this);
    auto* actions = new QHBoxLayout;
    actions->addWidget(radio(m_action, static_cast<int>(TriggerAction::Play), tr("&Play"), QStringLiteral("play")));
    actions->addWidget(
        radio(m_action, static_cast<int>(TriggerAction::Record), tr("&Record"), QStringLiteral("record")));
    m_action->button(static_cast<int>(TriggerAction::Play))->setChecked(true);
    m_recordSeconds = new QDoubleSpinBox(this);
    m_recordSeconds->setObjectName(QStringLiteral("recordSeconds"));
    m_recordSeconds->setRange(0.0, 24 * 3600.0);
    m_recordSeconds->setSpecialValueText(tr("until stopped"));
    m_recordSeconds->setSuffix(tr(" s"));
    actions->addWidget(new QLabel(tr("for"), this));
    actions->addWidget(m_recordSeconds);
    form->addRow(tr("Then:"), actions);
    layout->addLayout(form);

    m_status = new QLabel(tr("Not armed"), this);
    m_status->setObjectName(QStringLiteral("status"));
    layout->addWidget(m_status);
    auto* buttons = new QHBoxLayout;
    auto* armButton = new QPushButton(tr("&Arm"), this);
    armButton->setObjectName(QStringLiteral("arm"));
    auto* stop = new QPushButton(tr("S&top"), this);
    stop->setObjectName(QStringLiteral("stop"));
    auto* close = new QPushButton(tr("&Close"), this);
    close->setObjectName(QStringLiteral("close"));
    buttons->addWidget(armButton);
    buttons->addWidget(stop);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    connect(armButton, &QPushButton::clicked, this, [this] { arm(); });
    connect(stop, &QPushButton::clicked, this, [this] {
        if (m_trigger)
            m_trigger->stop_recording();
    });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
}

TriggeredStartDialog::~TriggeredStartDialog() = default;

TriggerSettings TriggeredStartDialog::settings() const
{
    TriggerSettings s;
    s.action = static_cast<TriggerAction>(m_action->checkedId());
    s.recordSeconds = m_recordSeconds->value();
    if (m_mode == Mode::Delay) {
        s.kind = TriggerKind::Delay;
        s.delayMs = static_cast<int>(m_delay->value() * 1000.0 + 0.5);
        return s;
    }
    s.kind = static_cast<TriggerKind>(m_kind->checkedId());
    s.hours = m_time[0]->value();
    s.minutes = m_time[1]->value();
    s.seconds = m_time[2]->value();
    s.frames = m_time[3]->value();
    s.fps = m_fps->currentData().toInt();
    s.note = m_note->value();
    s.channel = m_channel->value();
    return s;
}

bool TriggeredStartDialog::arm()
{
    if (m_trigger && m_trigger->armed())
        return false;
    m_trigger = std::make_unique<TriggeredStart>(m_document.frame());
    m_trigger->onStatus = [this](const std::string& text) { m_status->setText(QString::fromStdString(text)); };
    m_trigger->onRecorded = [this](bool adopted, double) {
        if (adopted)
            m_document.refreshAfterEdit();
    };
    return m_trigger->arm(settings(), preferences().midiInputDevice) == 1;
}

void TriggeredStartDialog::done(int result)
{
    // A trigger that has not fired is given up; a recording is kept as far
    // as it went.
    if (m_trigger) {
        if (m_trigger->sampler() && m_trigger->sampler()->armed())
            m_trigger->stop_recording(true);
        else
            m_trigger->cancel();
    }
    QDialog::done(result);
}
