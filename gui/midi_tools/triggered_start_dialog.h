#pragma once

#include "midi_tools/triggered_start.h"

#include <QDialog>
#include <memory>

class ChildFrameWindow;
class QButtonGroup;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;

// The triggered starts of a document: "RECORDPLAYDELAY" (playback or
// recording a set time after Arm) and "SEQUENCERINPUT" (on MIDI Time Code
// reaching a time, on a sequencer's Start or Continue, or on a note). Arm
// waits for the trigger; Stop ends a recording; closing gives the trigger up.
class TriggeredStartDialog : public QDialog {
    Q_OBJECT
public:
    enum class Mode { Delay, Midi };
    TriggeredStartDialog(ChildFrameWindow& document, Mode mode, QWidget* parent = nullptr);
    ~TriggeredStartDialog() override;

    TriggerSettings settings() const;
    // Arms with the dialog's settings; false when it could not.
    bool arm();
    TriggeredStart* trigger() const { return m_trigger.get(); }

protected:
    void done(int result) override;

private:
    ChildFrameWindow& m_document;
    Mode m_mode;
    std::unique_ptr<TriggeredStart> m_trigger;
    QButtonGroup* m_action = nullptr;
    QButtonGroup* m_kind = nullptr;
    QDoubleSpinBox* m_delay = nullptr;
    QDoubleSpinBox* m_recordSeconds = nullptr;
    QSpinBox* m_time[4] = {};
    QComboBox* m_fps = nullptr;
    QSpinBox* m_note = nullptr;
    QSpinBox* m_channel = nullptr;
    QLabel* m_status = nullptr;
};
