#pragma once

// The dialogs a subsystem asks of the user interface are an interface of its
// own (wavefile/wavefile_dialogs.h, edit/edit_dialogs.h ...), whose methods
// answer as a program without windows would (Cancel, or nothing shown). The
// program installs its implementation; until then, or after it is taken
// away, the interface's own answers stand.
template <typename Dialogs>
class DialogSlot {
public:
    static Dialogs& get()
    {
        static Dialogs fallback;
        return installed() ? *installed() : fallback;
    }
    static void set(Dialogs* dialogs) { installed() = dialogs; }

private:
    static Dialogs*& installed()
    {
        static Dialogs* dialogs = nullptr;
        return dialogs;
    }
};
