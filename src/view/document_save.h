#pragma once

#include "wavefile/save_request.h"

#include <functional>
#include <string>

class CChildFrame;

// Writes the document, or its highlight, as a RIFF WAVE file. With `convert`
// (the save dialog's format differs from the document's) the output takes the channels, bits and rate of
// current_wave_format. Clears bModified on success. 1 on success, 0 on
// failure or Cancel (a cancelled target stays incomplete on disk).
[[nodiscard]] int save_waveform_file(CChildFrame& frame, const std::string& target, int selectionOnly, int convert);
// The same for the active document.
int save_waveform_file(const std::string& target, int selectionOnly, int convert);

// Saves as WAV by the save dialog's choices: plain or converted to its
// format, and then compressed to ADPCM when it asks (the PCM file is
// converted into "outadpcm.wav", which then takes the target's name).
[[nodiscard]] int save_wav_by_type(CChildFrame& frame, const std::string& target, int selectionOnly, const SaveOptions& options = {});

// The highlight becomes "SAMPLE%d.WAV" in the current folder (one channel of
// a stereo highlight stands in both channels), and is then opened through
// the open-file command 11310. 1 on success.
[[nodiscard]] int new_file_from_selection(CChildFrame& frame);

// Copies a whole file (or the document's length from its end) with a progress
// box that can be cancelled. 1 on success.
[[nodiscard]] int copy_whole_file(CChildFrame& frame, const std::string& destination, const std::string& source,
                    const char* progressText, int fromTheEnd);

// How command 11310 reaches whoever opens documents (the main frame, or the
// command line): it opens szOpenedFileName as a new document.
void set_open_opened_file_handler(std::function<void()> handler);
void send_open_opened_file();
