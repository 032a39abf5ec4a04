#include "app/progress.h"

#include "app/clock.h"
#include "app/control_drawing.h"
#include "app/ui_host.h"

#include <cstdio>

namespace {

ProgressState g_progress;
constexpr int kTimeLeftControl = 1039;
int& g_operations = g_progress.operations;
bool& g_abort = g_progress.abort;
TimeLeftEstimate g_estimate;
bool& g_waitCursor = g_progress.waitCursor;

}  // namespace

ProgressState& progress_state() { return g_progress; }
void reset_progress_state()
{
    g_progress = ProgressState{};
    g_estimate = TimeLeftEstimate{};
}

HWND& progress_dialog = g_progress.progress_dialog;
std::string& progress_text = g_progress.progress_text;
bool& progress_cancel_allowed = g_progress.progress_cancel_allowed;
HWND& current_progress_box = g_progress.current_progress_box;

namespace {

void drawTimeLeft(const std::string& text)
{
    draw_text_on_control(current_progress_box, kTimeLeftControl, text.c_str(), "Helv", 80, 0, 0);
}

}  // namespace

std::optional<float> TimeLeftEstimate::update(int percent, double nowMs)
{
    if (percent == 0) {
        m_startMs = nowMs;
        m_secondsPerJob = 0.0f;
        return std::nullopt;
    }
    if (m_secondsPerJob == 0.0f) {
        const double elapsed = nowMs - m_startMs;
        m_lastShown = 9999999.0f;
        if (elapsed > 5000.0)
            m_secondsPerJob = static_cast<float>(elapsed * 100.0 / (percent + 1) * 0.001);
        return std::nullopt;
    }
    const float remaining = static_cast<float>((100 - percent) * m_secondsPerJob * 0.01);
    if (m_lastShown - remaining > 0.5f) {
        m_lastShown = remaining;
        return remaining;
    }
    return std::nullopt;
}

std::string progress_bar_text(const std::string& text, int percent)
{
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, "   %s   %d%c", text.c_str(), percent, '%');
    return buffer;
}

std::string time_left_text(float seconds)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s%5.1f%s", " Time left: ", static_cast<double>(seconds),
                  " sec.");
    return buffer;
}

HWND display_message_dialog(const char* text, int showCancel)
{
    if (progress_dialog)
        terminate_message_dialog(progress_dialog);
    progress_text = text ? text : "";
    progress_cancel_allowed = showCancel != 0;
    put_up_wait_cursor();
    progress_dialog = uiHost().createProgressBox(progress_text, progress_cancel_allowed);
    return progress_dialog;
}

void terminate_message_dialog(HWND box)
{
    if (!box)
        return;
    uiHost().destroyProgressBox(box);
    if (box == progress_dialog)
        progress_dialog = nullptr;
    if (!long_operation_running())
        g_abort = false;
    if (box == current_progress_box)
        current_progress_box = nullptr;
}

void put_up_wait_cursor()
{
    if (!g_waitCursor) {
        uiHost().setWaitCursor(true);
        g_waitCursor = true;
    }
}

void restore_wait_cursor()
{
    if (g_waitCursor) {
        uiHost().setWaitCursor(false);
        g_waitCursor = false;
    }
}

void show_percent_done(HWND box, int percent)
{
    if (percent > 100) {
        drawTimeLeft("  ");
        return;
    }
    uiHost().drawProgressBar(box, percent, progress_bar_text(progress_text, percent));
    if (auto seconds = g_estimate.update(percent, millisecond_clock()))
        drawTimeLeft(time_left_text(*seconds));
}

int cancel_button_pressed(HWND box)
{
    if (box && g_abort)
        return 1;
    return box && uiHost().takeCancelClick(box) ? 1 : 0;
}

ProgressScope::ProgressScope(const char* text, bool showCancel) : m_box(display_message_dialog(text, showCancel ? 1 : 0))
{
    current_progress_box = m_box;
    show_percent_done(m_box, 0);
}

ProgressScope::~ProgressScope()
{
    terminate_message_dialog(m_box);
    restore_wait_cursor();
}

int long_operation_running() { return g_operations + (progress_dialog ? 1 : 0); }

void request_operation_abort()
{
    if (long_operation_running())
        g_abort = true;
}

bool operation_abort_requested() { return g_abort; }

LongOperation::LongOperation() { ++g_operations; }

LongOperation::~LongOperation()
{
    --g_operations;
    if (!long_operation_running())
        g_abort = false;
}
