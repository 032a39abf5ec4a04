#pragma once

#include "wavefile/save_request.h"

// Saves the request's document as FLAC (the dialog's compression level; 8-
// and 16-bit documents as 16-bit FLAC, 24-bit as 24-bit, float dithered to
// 24-bit), Ogg Vorbis (its quality) or Opus (its bit rate, at 48 kHz
// through the resampler when the document's rate is not one Opus takes),
// through FFmpeg's encoders, with the document's INFO items as the file's
// tags. The chosen name takes the file only when it is complete. 1 on
// success; 0 after the reason has been shown, or on the user's Cancel.
int save_flac_export(const SaveRequest& request);
int save_vorbis_export(const SaveRequest& request);
int save_opus_export(const SaveRequest& request);
