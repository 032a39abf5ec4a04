#pragma once

#include <functional>
#include <string>

class CChildFrame;

// Saving by the save dialog's file type (file_types.h): WAV through the save
// routine (and the wave converter when compressing), the foreign formats
// through "CRVCNVRT.WAV" and the converter helper, AVI, RealMedia, MP3 and
// JAF through their exporters. The document (or its highlight) is written;
// 1 on success.
int save_by_type(CChildFrame& frame, const std::string& name, int type, int selectionOnly);

// The JAF export runs an effect, so it lives with the effects above this
// dispatch and registers itself here: the active document into the named
// file, 1 on success.
void set_jaf_exporter(std::function<int(const std::string&)> exporter);
