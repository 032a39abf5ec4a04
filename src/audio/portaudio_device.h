#pragma once

#include <optional>
#include <string>
#include <vector>

// The audio devices PortAudio offers (ALSA, PulseAudio or PipeWire through
// ALSA, JACK), numbered in list order: the n-th device that can play (or
// record). The preferences name them by their label.
struct AudioDeviceInfo {
    int number = 0;
    std::string name;
    std::string hostApi;
    int channels = 0;
    double defaultRate = 0;
    bool isDefault = false;  // the system's default device
    // "host API: device", as the preference pages list it and store it.
    std::string label() const { return hostApi + ": " + name; }
};
// What the preference pages offer first: the system's default device.
inline constexpr const char* kSystemDefaultDevice = "System default";
std::vector<AudioDeviceInfo> audio_output_devices();
std::vector<AudioDeviceInfo> audio_input_devices();
// The device that the n-th number opens: that one, else the default one;
// nothing when there is no device at all.
std::optional<AudioDeviceInfo> chosen_audio_device(bool output, int number);
// The device a label names ("" or "System default": the system's default;
// a label no device has: the default too); nothing when there is no device.
std::optional<AudioDeviceInfo> named_audio_device(bool output, const std::string& label);
// A device given on the command line, by label or by number in the list:
// its label, or nothing when no device answers to it.
std::optional<std::string> audio_device_label(bool output, const std::string& nameOrNumber);

// Makes PortAudio the program's wave output device (the one numbered in the
// "Default Wave output device" preference, else the default one).
void use_portaudio_output();
// Underruns the server reported for the last stream (its xruns).
int portaudio_output_xruns();
// Periods of the last stream in which the program had no sound ready in the
// middle of playing (its own starvation).
int portaudio_output_starved();
// Makes PortAudio the program's wave input device (the one numbered in the
// "Default Wave input device" preference, else the default one).
void use_portaudio_input();
// Captured frames the last input stream had to drop (no free buffer, or the
// host reported an overflow).
int portaudio_input_overruns();
// Of those, the periods lost because the engine held every buffer.
int portaudio_input_dropped();
// Lets go of the audio library (and its server connections); the next use
// starts it again. Also done at exit.
void shutdown_audio();
// ALSA and JACK print to stderr when there is no card or no server; those
// are expected cases, reported (if at all) by the program itself.
void silence_audio_library_printing();
