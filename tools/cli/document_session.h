#pragma once

#include <memory>
#include <string>
#include <vector>

class CChildFrame;

// The documents a command-line run has open, the newest active, as the main
// frame keeps them; opening through command 11310 adds one.
class DocumentSession {
public:
    DocumentSession();
    ~DocumentSession();

    bool open(const std::string& path);
    CChildFrame* active() const { return m_documents.empty() ? nullptr : m_documents.back().get(); }

private:
    std::vector<std::unique_ptr<CChildFrame>> m_documents;
};

// Applies a "START:END" selection in sample units (a stereo frame counts
// two); START:START is an insertion point. Prints the reason when the text
// is malformed or out of range.
bool select_from_argument(CChildFrame& frame, const std::string& value);
