#pragma once

#include <string>

class CChildFrame;
struct CueList;
struct PresetContext;

// The dialogs of presets and time marks.
class EditDialogs {
public:
    virtual ~EditDialogs() = default;

    // "NEWSELECT": the presets of the context to pick from (and delete);
    // the dialog's result (1 picked, 2 cancelled, 373 the further button)
    // and the picked name.
    virtual int runPresetSelect(PresetContext&, std::string& /*chosen*/) { return 2; }
    // "SAVE": a name to store the current settings under; 1 saved, 2 cancelled.
    virtual int runPresetSave(PresetContext&) { return 2; }
    // "ENTERMARKERNAME": a name for the time mark being made, at most 29
    // characters. false for Cancel (an empty name counts as Cancel).
    virtual bool askMarkerName(std::string&) { return false; }
    // The cue list of `frame` changed: the main frame's combo box shows it
    // when `frame` is the active document.
    virtual void refillCueList(const CChildFrame*, const CueList&) {}
};

// The installed dialogs, or these answers when none is installed.
EditDialogs& edit_dialogs();
void set_edit_dialogs(EditDialogs* dialogs);
