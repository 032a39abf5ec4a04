#pragma once

#include <QWidget>
#include <functional>

class QBoxLayout;

// The format buttons of the new-file and save dialogs: 202 mono, 203 stereo,
// 205 8-bit, 207 16-bit, 206 24-bit, 208 32-bit float, 209/210/211 the three
// rates, and in the save dialog 273/274 plain or compressed output.

// Adds the groups of radio buttons to `row`; a click calls `onPress` with the
// control id.
void add_format_groups(QWidget* parent, QBoxLayout* row, bool withOutput, const std::function<void(int)>& onPress);
// Sets current_wave_format for a format button; false for any other id.
bool press_format_button(int controlId);
// Checks the buttons that match current_wave_format (and the compression flag).
void check_format_buttons(QWidget* dialog, bool compressed);
