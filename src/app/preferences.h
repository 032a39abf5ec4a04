#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// The user's preferences as the program uses them. They are read from the
// profile at start-up (preference_store.h) and edited by the preference pages.
// On/off preferences are kept as flags here and stored as "yes"/"no".

// A colour as 0xRRGGBB.
using Rgb = std::uint32_t;
constexpr Rgb rgb(int r, int g, int b)
{
    return (static_cast<Rgb>(r) << 16) | (static_cast<Rgb>(g) << 8) | static_cast<Rgb>(b);
}

enum class DisplayColour { Data, Background, Grid, Wavecrest, Marker, MarkerText, Count };
constexpr int kDisplayColourCount = static_cast<int>(DisplayColour::Count);
constexpr int kControlBarCount = 11;
constexpr int kRecentFileCount = 6;

// Time format values: seconds, or SMPTE frames per second.
constexpr int kTimeFormatSeconds = 1;

struct Preferences {
    bool bigVolumeIndicators = true;
    bool showLogo = true;
    bool voiceMessage = false;
    bool bigTimeDisplay = false;
    bool tipOfTheDay = true;
    bool backupForUndo = true;
    bool zoomedInitialDisplay = false;
    // Whether the volume is set on the system mixer's master control (the
    // whole desktop's output) instead of on the program's own stream.
    bool controlSystemMixer = false;
    // 24 until the profile is read; a profile without the key yields 1.
    int timeFormat = 24;
    bool markerNameOnTheFly = false;
    // Chase lock starts later in the file by the time code's known delay.
    bool compensateTimeCodeDelay = false;
    std::array<bool, kControlBarCount> barVisible{true, true, true, true, true, true,
                                                  true, true, true, true, true};
    // Where each bar was docked (a dock side id, 0 = not recorded) and whether
    // it floats, as the main frame saves them.
    std::array<int, kControlBarCount> barDocking{};
    std::array<bool, kControlBarCount> barFloating{};
    int waveInputDevice = 0;
    int waveOutputDevice = 0;
    // The audio devices by name ("host API: device"); empty is the system's
    // default device (ALSA "default": PipeWire or PulseAudio on a desktop).
    // The numbers above stay in the profile as they were; the names choose.
    std::string waveInputDeviceName;
    std::string waveOutputDeviceName;
    int midiInputDevice = 0;
    int midiOutputDevice = 0;
    std::string lastUsedDirectory;
    // The folder the user last opened a file from (the open and save dialogs
    // start there; empty: the user's home folder). Not the data directory,
    // which holds the program's own working files.
    std::string openFolder;
    std::string preferredBrowser;
    bool browserChosen = false;
    bool colorDisplay = true;
    bool toolTips = true;
    std::array<Rgb, kDisplayColourCount> colours = defaultColours();
    std::string windowPos;
    std::vector<std::string> recentFiles;

    static std::array<Rgb, kDisplayColourCount> defaultColours()
    {
        return {rgb(0, 0, 128), rgb(0, 255, 255), rgb(255, 0, 255),
                rgb(255, 255, 0), rgb(255, 0, 0), rgb(255, 255, 255)};
    }
};

// The process-wide preferences.
Preferences& preferences();

// Colour names the profile and the colour page use; other colours are kept as
// "#rrggbb".
std::string colour_name(Rgb colour);
// Parses a colour name or "#rrggbb"; false when the text is neither.
bool parse_colour(const std::string& text, Rgb& colour);
const std::vector<std::pair<std::string, Rgb>>& colour_palette();
