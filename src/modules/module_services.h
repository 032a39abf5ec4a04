#pragma once

#include "app/window_handle.h"

#include <string>

class CChildFrame;
struct Spectrogram;

// What the program provides to its effect modules beyond the selection
// processor, the effect dialog and the module dialogs. A module calls the
// core only through the functions declared in the headers of this folder;
// tests/architecture checks the modules' imported symbols against them.

// The document behind a window, or null.
CChildFrame* module_document(HWND window);
// The document behind a window when it has a highlight, else null (an effect
// then does nothing, as every effect command does).
CChildFrame* selected_document(HWND window);
// The active document, or null.
CChildFrame* active_document();

// The program's message box, formatted like printf (256 characters).
void module_error(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The program's message box with string-table text `id`.
void module_message(int id);

// Which of its menu items chose the running effect (0 for the plain one).
int chosen_effect_variant();

// The values text of a named filter preset ("" when there is none).
std::string filter_preset_values(const std::string& name);

// A file of the user's own in the program's user directory, which is made
// when `makeDirectory` is set.
std::string user_file_path(const std::string& name, bool makeDirectory = false);

// Shows a spectrogram in the program's spectrum window.
void show_spectrum(const Spectrogram& spectrogram, const std::string& title);
