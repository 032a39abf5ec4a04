#pragma once

#include <string>

// What a file holds, judged by its first bytes rather than its name, when it
// is audio this version cannot open: "MP3 audio", "FLAC audio", "24-bit PCM
// in the extensible WAVE header" and the like, as a sentence for a message
// ("tune.mp3 holds MP3 audio, which this version cannot open."). Empty for
// files it can open and for contents it does not recognise, which keep the
// messages of the formats that try them.
std::string unopenable_content_description(const std::string& path);
