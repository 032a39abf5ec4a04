// The main frame's Play menu commands: record, MIDI starts, chase lock, the big time display.

#include "app/main_frame.h"

#include "view/child_frame.h"
#include "view/child_frame_window.h"
#include "audio/play_cursor_host.h"
#include "audio/play_record_time_window.h"
#include "audio/record_dialog.h"
#include "edit/timemark_bars.h"
#include "midi_tools/device_report.h"
#include "midi_tools/midi_keyboard_window.h"
#include "midi_tools/sampler_dialog.h"
#include "midi_tools/triggered_start_dialog.h"
#include "sync/chase_lock_dialog.h"

#include <QVBoxLayout>
#include <QPlainTextEdit>
#include <QDialogButtonBox>
#include <QLabel>

void CMainFrame::midiCommand(int id)
{
    if (id == kCommandMidiKeyboard) {
        auto* keyboard = new MidiKeyboardWindow(this);
        if (!keyboard->openOutput()) {
            delete keyboard;
            return;
        }
        keyboard->show();
        return;
    }
    if (id == kCommandDevices) {
        auto* report = new QDialog(this);
        report->setObjectName(QStringLiteral("DEVICES"));
        report->setWindowTitle(tr("System Devices"));
        report->setAttribute(Qt::WA_DeleteOnClose);
        auto* layout = new QVBoxLayout(report);
        auto* text = new QPlainTextEdit(QString::fromStdString(system_device_report()), report);
        text->setReadOnly(true);
        text->setMinimumSize(560, 240);
        layout->addWidget(text);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, report);
        connect(buttons, &QDialogButtonBox::rejected, report, &QDialog::reject);
        layout->addWidget(buttons);
        report->show();
        return;
    }
    ChildFrameWindow* doc = activeDocument();
    if (!doc)
        return;
    if (id == kCommandChaseLock) {
        auto* dialog = new ChaseLockDialog(doc->frame(), this);
        connect(dialog, &ChaseLockDialog::playPosition, m_playPosition, &QLabel::setText);
        if (!dialog->openInput()) {
            delete dialog;
            return;
        }
        dialog->show();
    } else if (id == kCommandSampler) {
        (new SamplerDialog(*doc, this))->show();
    } else {
        (new TriggeredStartDialog(*doc,
                                  id == kCommandDelayedStart ? TriggeredStartDialog::Mode::Delay
                                                             : TriggeredStartDialog::Mode::Midi,
                                  this))
            ->show();
    }
}

void CMainFrame::openRecordDialog()
{
    ChildFrameWindow* doc = activeDocument();
    if (!doc || PlaybackEngine::instance().is_playing())
        return;
    RecordDialog dialog(
        doc->frame(),
        [this] {
            std::vector<std::pair<CChildFrame*, QString>> list;
            for (ChildFrameWindow* w : documents())
                list.emplace_back(&w->frame(), QString::fromStdString(w->frame().szDisplayName));
            return list;
        },
        [this](const QString& time) { showBigTime(time); }, this);
    dialog.exec();
    // The take went to the document that was recorded into, maybe not the
    // one the dialog opened on.
    for (ChildFrameWindow* w : documents())
        w->refreshAfterEdit();
    updateCommandStates();
}

void CMainFrame::showBigTime(const QString& time)
{
    if (!m_timeWindow)
        m_timeWindow = new PlayRecordTimeWindow(this);
    if (!time.isEmpty())
        m_timeWindow->showTime(time);
    m_timeWindow->show();
}

void CMainFrame::refillCueList(const CChildFrame* frame, const CueList& list)
{
    if (m_timemarkBars)
        m_timemarkBars->refill(frame, list);
}
