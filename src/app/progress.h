#pragma once

#include "app/window_handle.h"

#include <optional>
#include <string>

// The one modeless progress box ("MESSAGEDLG") and its time-left estimate.
//
// A long operation holds a ProgressScope (below) for as long as it works:
// the scope opens the box, registers it as current_progress_box and shows
// 0 %; the operation polls cancelled() and reports each new percentage once
// per block; the scope closes the box and puts the cursor back however the
// operation ends.

// The progress box's state, in one object; the names below refer into it.
struct ProgressState {
    HWND progress_dialog = nullptr;
    std::string progress_text;
    bool progress_cancel_allowed = false;
    HWND current_progress_box = nullptr;
    int operations = 0;       // scopes open now
    bool abort = false;       // Cancel was pressed
    bool waitCursor = false;  // the wait cursor is up
};
ProgressState& progress_state();
// Closes nothing: puts every value back to its start (between tests).
void reset_progress_state();

extern HWND& progress_dialog;
extern std::string& progress_text;
extern bool& progress_cancel_allowed;
extern HWND& current_progress_box;

HWND display_message_dialog(const char* text, int showCancel);
void terminate_message_dialog(HWND box);
void show_percent_done(HWND box, int percent);
int cancel_button_pressed(HWND box);
// Puts up the wait cursor, saving the one that was current (once: a second
// call while it is up does nothing).
void put_up_wait_cursor();
// Puts back the cursor that was current before the wait cursor went up.
void restore_wait_cursor();

// The progress box of one long operation: opened when made (the current
// box, at 0 %), closed with the wait cursor put back however the operation
// ends.
class ProgressScope {
public:
    ProgressScope(const char* text, bool showCancel);
    ~ProgressScope();
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;

    HWND box() const { return m_box; }
    void show(int percent) const { show_percent_done(m_box, percent); }
    // True when the user asked to cancel since the last poll.
    bool cancelled() const { return cancel_button_pressed(m_box) != 0; }

private:
    HWND m_box;
};

// Long operations and the program's end. A long operation (one with a
// progress box, a conversion box or a wait for a helper program) lets the
// user interface run while it works, so the user may ask to quit or to
// close its document in the middle of it. The window then asks the
// operation to stop instead of closing under it: every later poll of
// cancel_button_pressed (and of a helper wait) answers Cancel until the
// operation has ended, and the window closes afterwards.
int long_operation_running();
void request_operation_abort();
bool operation_abort_requested();
// Marks a long operation that has no progress box of its own.
class LongOperation {
public:
    LongOperation();
    ~LongOperation();
    LongOperation(const LongOperation&) = delete;
    LongOperation& operator=(const LongOperation&) = delete;
};

// The time-left estimate. Percent 0 starts the clock; after more than five
// seconds the total time of the job is estimated once from the first report
// that follows; from then on the remaining time is shown, and only when it
// has dropped by more than half a second since the last value shown.
class TimeLeftEstimate {
public:
    // Returns the seconds to show, or nothing when the display stays as it is.
    std::optional<float> update(int percent, double nowMs);

    float secondsPerJob() const { return m_secondsPerJob; }
    float lastShown() const { return m_lastShown; }

private:
    double m_startMs = 0.0;
    float m_secondsPerJob = 0.0f;
    float m_lastShown = 9999999.0f;
};

// Formats the text drawn over the bar: "   %s   %d%c".
std::string progress_bar_text(const std::string& text, int percent);
// Formats the time-left text: " Time left: " "%5.1f" " sec.".
std::string time_left_text(float seconds);
