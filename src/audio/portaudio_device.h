#pragma once

#include <optional>
#include <string>
#include <vector>

// The audio devices PortAudio offers (ALSA, PulseAudio or PipeWire through
// ALSA, JACK), numbered as the preferences number them: the n-th device that
// can play (or record).
struct AudioDeviceInfo {
    int number = 0;
    std::string name;
    std::string hostApi;
    int channels = 0;
    double defaultRate = 0;
};
std::vector<AudioDeviceInfo> audio_output_devices();
std::vector<AudioDeviceInfo> audio_input_devices();
// The device that the n-th number opens: that one, else the default one;
// nothing when there is no device at all.
std::optional<AudioDeviceInfo> chosen_audio_device(bool output, int number);

// Makes PortAudio the program's wave output device (the one numbered in the
// "Default Wave output device" preference, else the default one).
void use_portaudio_output();
// Underruns the last stream met.
int portaudio_output_xruns();
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
