#pragma once

#include <string>

struct SaveRequest;

// MP3 through the encoder helper "BLADEENC.EXE" (LAME): the document (or its
// highlight) is saved as a RIFF WAVE file under a temporary name beside the
// chosen one (the chosen name with ".wav" added), and the encoder is started
// with "%s -320 -quit %s"; it writes the MP3 beside the WAVE file, under the
// chosen name. The program does not wait for it; when it ends, the temporary
// WAVE file is removed. "BLADEENC.EXE missing." when there is no encoder.
std::string bladeenc_program();
int save_mp3_export(const SaveRequest& request);
// Encoders still running (the command line waits for them before it ends);
// true when none is left within `milliseconds`.
bool wait_for_mp3_encoders(int milliseconds);
