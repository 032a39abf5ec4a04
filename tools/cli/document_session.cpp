#include "document_session.h"

#include "view/child_frame.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "view/mouse_selection.h"
#include "wavefile/wave_state.h"

#include <cstdlib>
#include <iostream>

DocumentSession::DocumentSession()
{
    set_open_opened_file_handler([this] { open(szOpenedFileName); });
}

DocumentSession::~DocumentSession()
{
    set_open_opened_file_handler({});
    set_active_frame(nullptr);
}

bool DocumentSession::open(const std::string& path)
{
    auto frame = open_document_file(path);
    if (!frame)
        return false;
    m_documents.push_back(std::move(frame));
    set_active_frame(m_documents.back().get());
    return true;
}

bool select_from_argument(CChildFrame& f, const std::string& value)
{
    char* end = nullptr;
    const unsigned long start = std::strtoul(value.c_str(), &end, 10);
    const unsigned long stop = *end == ':' ? std::strtoul(end + 1, &end, 10) : 0;
    if (*end != '\0' || stop < start || stop > f.nTotalSamples) {
        std::cerr << "ondrava-cli: --select needs START:END within 0:" << f.nTotalSamples << "\n";
        return false;
    }
    f.bHighlight = stop > start;
    set_selection_units(f, static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(stop));
    return true;
}
