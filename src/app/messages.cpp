#include "app/messages.h"

#include "app/app_paths.h"
#include "app/string_table.h"
#include "app/ui_host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

// The caption a message box gets when its caller gives none.
constexpr const char* kDefaultCaption = "Error";

std::string formatInto(size_t bufferSize, const char* format, va_list args)
{
    std::string text(bufferSize, '\0');
    int n = std::vsnprintf(text.data(), bufferSize, format, args);
    if (n < 0)
        n = 0;
    text.resize(std::min(static_cast<size_t>(n), bufferSize - 1));
    return text;
}

// The file the messages are about now ("" for none), and what it holds.
std::string g_messageFile;
std::string g_messageContent;

// The text with the file it is about, unless the text names it already
// (by its path or its name).
std::string aboutFile(std::string text)
{
    if (g_messageFile.empty())
        return text;
    const std::string name = file_name_part(g_messageFile);
    const bool named = text.find(g_messageFile) != std::string::npos || (!name.empty() && text.find(name) != std::string::npos);
    if (!named)
        text += "\n\n" + g_messageFile;
    if (!g_messageContent.empty() && text.find(g_messageContent) == std::string::npos)
        text += "\n\n" + g_messageContent;
    return text;
}

}  // namespace

MessageFileScope::MessageFileScope(std::string path, std::string content)
    : m_previous(std::move(g_messageFile)), m_previousContent(std::move(g_messageContent))
{
    g_messageFile = std::move(path);
    g_messageContent = std::move(content);
}

MessageFileScope::~MessageFileScope()
{
    g_messageFile = std::move(m_previous);
    g_messageContent = std::move(m_previousContent);
}

int ErrMsg(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text = formatInto(256, format, args);
    va_end(args);
    uiHost().messageBox(nullptr, aboutFile(text), kDefaultCaption, MB_OK | MB_ICONEXCLAMATION);
    return 0;
}

int TestErrMsg(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::string text = formatInto(128, format, args);
    va_end(args);
    return uiHost().messageBox(nullptr, aboutFile(text), kDefaultCaption, MB_OK | MB_ICONEXCLAMATION);
}

int NewErrMsg(int id)
{
    std::string text = load_string(id);
    if (text.size() > 127)
        text.resize(127);
    return uiHost().messageBox(nullptr, aboutFile(text), kProductName, MB_OK);
}

void WndErrMsg(const char* text) { uiHost().setMainWindowTitle(text ? text : ""); }

int ask_yes_no(HWND owner, const std::string& text, const std::string& caption)
{
    return uiHost().messageBox(owner, aboutFile(text), caption, MB_YESNO | MB_ICONQUESTION);
}

int message_box(HWND owner, const std::string& text, const std::string& caption, unsigned style)
{
    return uiHost().messageBox(owner, aboutFile(text), caption, style);
}

void message_beep() { uiHost().beep(); }
