#include "document_session.h"

#include "view/child_frame.h"
#include "view/document_open.h"
#include "view/document_save.h"
#include "wavefile/wave_state.h"

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
