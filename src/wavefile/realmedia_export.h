#pragma once

struct SaveRequest;

// The RealMedia type, written only: through an AVI ("AVIWAV.WAV", then
// "TESTAVI.avi") and the encoder, with the codec the RealMedia dialog
// chooses.
int save_realmedia_export(const SaveRequest& request);
