#pragma once

#include "wavefile/save_request.h"

#include <string>

class CChildFrame;

// Saving by the save dialog's file type (file_types.h): the document (or its
// highlight) is handed to the type's saver, WAV through the save routine
// (and the wave converter when the options compress), the others through
// their exporters. 1 on success.
[[nodiscard]] int save_by_type(CChildFrame& frame, const std::string& name, int type, int selectionOnly,
                 const SaveOptions& options = {});
