#pragma once

#include <string>

struct SaveRequest;

// The AVI type: opening takes the sound track into "TESTAVI.WAV" (the
// document remembers its AVI); saving writes the document's sound beside the
// video of the AVI it came from, or beside a picture of it, into a new AVI.
int open_avi_sound(const std::string& name);
int save_avi_export(const SaveRequest& request);
