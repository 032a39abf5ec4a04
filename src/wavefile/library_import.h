#pragma once

#include <string>

// Opens a file that a media library reads (FLAC, Ogg Vorbis, Opus, MP3,
// AAC/M4A, CAF, W64, and WAVE files the document cannot hold as they are:
// more than two channels, 32-bit integers, double floats, a-law, ...): it is
// decoded at the resolution that holds it (8-, 16- or 24-bit PCM, or float)
// into a file of raw samples of this program's own, under a progress box
// whose Cancel stops it, ready to become the document's working file as it
// is. More than two channels are mixed down or two taken, as the user
// chooses. The decoded file is named in szOpenedFileName, its format in
// current_wave_format and data_chunk_size, the source in
// wave_state().importedFrom and its tags (as INFO items) in importInfo. 1
// on success; 0 when nothing was opened (the reason has been shown, except
// after the user's Cancel).
// Without `sayUnreadable`, a file that neither library reads gives -1 and no
// message, for the caller to say what it knows.
int open_library_file(const std::string& name, bool sayUnreadable = true);

// Removes the decoded file of the last import and forgets it (once the
// document has taken its samples).
void discard_imported_file();
