#pragma once

#include "cli/headless_ui_host.h"

#include <deque>
#include <initializer_list>
#include <string>

// The command line's host with what tests need beside it: answers scripted
// for the next questions, Cancel after a number of progress polls, and a
// count of the progress boxes and the last help asked for.
class TestUiHost : public HeadlessUiHost {
public:
    // Answers for the next questions, used in order before the default.
    void scriptAnswers(std::initializer_list<int> answers) { m_script.insert(m_script.end(), answers); }
    // Requests Cancel after the given number of further polls.
    void cancelAfterPolls(int polls) { m_cancelCountdown = polls; }
    int progressBoxesOpened() const { return m_progressBoxesOpened; }
    const std::string& helpFile() const { return m_helpFile; }
    int helpContext() const { return m_helpContext; }

    HWND createProgressBox(const std::string& text, bool showCancel) override
    {
        ++m_progressBoxesOpened;
        return HeadlessUiHost::createProgressBox(text, showCancel);
    }
    bool takeCancelClick(HWND box) override
    {
        if (m_cancelCountdown >= 0) {
            if (m_cancelCountdown == 0) {
                m_cancelCountdown = -1;
                return true;
            }
            --m_cancelCountdown;
        }
        return HeadlessUiHost::takeCancelClick(box);
    }
    void showHelp(const std::string& helpFile, int contextId) override
    {
        m_helpFile = helpFile;
        m_helpContext = contextId;
        HeadlessUiHost::showHelp(helpFile, contextId);
    }
    std::string askSaveFileName(const std::string& title, const std::string& suggestion) override
    {
        if (m_script.empty())
            return HeadlessUiHost::askSaveFileName(title, suggestion);
        const int answer = next();
        return answer == IDOK || answer == IDYES ? suggestion : std::string();
    }

protected:
    int answer(unsigned style, const std::string& text) override
    {
        if ((style & kMessageBoxButtonMask) == MB_OK || m_script.empty())
            return HeadlessUiHost::answer(style, text);
        return next();
    }

private:
    int next()
    {
        const int a = m_script.front();
        m_script.pop_front();
        return a;
    }

    std::deque<int> m_script;
    int m_cancelCountdown = -1;
    int m_progressBoxesOpened = 0;
    std::string m_helpFile;
    int m_helpContext = 0;
};
