#pragma once

#include "app/window_handle.h"

#include <string>

// The program's message boxes. Every failure the user sees goes through here,
// and from here to the installed UiHost.

// Formats like printf into 256 characters; exclamation icon, OK. Returns 0.
int ErrMsg(const char* format, ...) __attribute__((format(printf, 1, 2)));
// As ErrMsg with 128 characters; returns the message-box result.
int TestErrMsg(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Shows string-table text `id` (at most 128 characters) captioned "Ondrava",
// OK button, no icon. Returns the message-box result.
int NewErrMsg(int id);
// Sets the caption of the main window.
void WndErrMsg(const char* text);
// Yes/No question with a question icon; returns IDYES or IDNO.
int ask_yes_no(HWND owner, const std::string& text, const std::string& caption);
// A message box with explicit style, for the questions that have their own
// caption and buttons.
int message_box(HWND owner, const std::string& text, const std::string& caption, unsigned style);
void message_beep();

// While one lives, the messages and questions name the file they are about:
// the program's text, then the file on a line of its own (unless the text
// names it already), then what the file holds when that explains the
// message (`content`, a sentence, may be empty). Scopes nest; the innermost
// file is named.
class MessageFileScope {
public:
    explicit MessageFileScope(std::string path, std::string content = {});
    ~MessageFileScope();
    MessageFileScope(const MessageFileScope&) = delete;
    MessageFileScope& operator=(const MessageFileScope&) = delete;

private:
    std::string m_previous;
    std::string m_previousContent;
};

inline constexpr const char* kProductName = "Ondrava";
