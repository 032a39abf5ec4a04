#pragma once

#include <functional>
#include <string>
#include <vector>

// RealMedia through FFmpeg's RealMedia muxer: RealAudio 1.0 (voice) and
// AC-3 ("dnet") sound, RealVideo 1.0 ("Standard") and 2.0 ("G2") pictures,
// encoded from the intermediate AVI the save makes.

// The audio codec names the encoder offers for a document of `channels`
// channels: for mono, none whose name contains "Stereo".
std::vector<std::string> realmedia_audio_codecs(int channels);
std::vector<std::string> realmedia_video_codecs();
// The entry preselected in the list: 7 for stereo, 8 for mono.
int realmedia_preselected_entry(int channels);
// The description shown for list entry `index` from the table for the
// document's channel count (160-character records; empty past the table).
std::string realmedia_description(int channels, int index);

struct RealMediaSettings {
    std::string audioCodec = "6.5 Kbps Voice";
    std::string videoCodec = "RealVideo (Standard)";
    int quality = 100;       // 1..100: the video's quality
    int keyFrameGap = 60;    // 8..100: frames between key frames
};

// Encodes the AVI's sound and video into `output`, reporting "Encoding:
// Audio(%7d/%7d) Video(%7d/%7d)" as it goes and "Done." at the end. Failures
// show their message and stop (the encoder closed). 1 on success.
[[nodiscard]] int encode_realmedia(const std::string& aviName, const std::string& output, const RealMediaSettings& settings,
                     const std::function<void(const std::string&)>& progress);
