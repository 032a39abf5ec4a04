#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Placing a sound around the listener's head. The sound (both channels
// mixed) is rendered to the two ears either through a measured head-related
// transfer function (an HRTF set in SOFA form, through libmysofa) or by the
// two simple cues: the far ear hears it later (Woodworth's interaural time
// difference) and quieter and duller (level difference with head shadow).

// Interaural time difference in seconds for an azimuth in degrees (0 ahead,
// 90 right, -90 left) and a head of radius 8.75 cm.
double interaural_time_difference(double azimuthDegrees);

class SpatialRenderer {
public:
    // The HRTF set (empty: the time and level cues); the reason when the set
    // cannot be used.
    static std::optional<std::string> create(const std::string& sofaFile, unsigned rate, double azimuth,
                                             double elevation, SpatialRenderer& renderer);
    void useCues(unsigned rate, double azimuth);
    // Stereo frames in, stereo frames out.
    void process(float* samples, std::size_t frames);

private:
    std::vector<float> m_left, m_right;  // impulse responses, delays included
    std::vector<float> m_history;        // the last taps of the mono input, a ring
    std::size_t m_at = 0;
};
