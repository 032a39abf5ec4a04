#include "view/time_format.h"

#include "view/child_frame.h"

#include <cmath>
#include <cstdio>

namespace {

struct Split {
    int hours;
    int minutes;
    int seconds;
    double fraction;  // of a second
};

Split split(double t)
{
    Split s{};
    s.hours = static_cast<int>(std::trunc(t / 3600.0));
    double r = t - 3600.0 * s.hours;
    s.minutes = static_cast<int>(std::trunc(r / 60.0));
    r -= 60.0 * s.minutes;
    s.seconds = static_cast<int>(std::trunc(r));
    s.fraction = r - s.seconds;
    return s;
}

}  // namespace

std::string seconds_text(double seconds)
{
    char text[64];
    std::snprintf(text, sizeof text, "%7.3f%s", seconds, " sec");
    return text;
}

std::string smpte_text(double seconds, int fps)
{
    const Split s = split(seconds);
    const int frames = static_cast<int>(std::trunc(s.fraction * fps));
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d:%02d", s.hours, s.minutes, s.seconds, frames);
    return text;
}

std::string hms_millis_text(double seconds)
{
    const Split s = split(seconds);
    char millis[32];
    std::snprintf(millis, sizeof millis, "%03.0f", s.fraction * 1000.0);
    millis[3] = '\0';  // cut to three characters
    char text[64];
    std::snprintf(text, sizeof text, " %02d:%02d:%02d.%s", s.hours, s.minutes, s.seconds, millis);
    return text;
}

double units_to_seconds(const CChildFrame& f, double units)
{
    const double length = f.nLevelLength[f.nZoomLevel];
    if (length <= 0.0)
        return 0.0;
    return f.get_total_milliseconds() / length * units * 0.001;
}

std::string position_text(const CChildFrame& f, std::uint32_t units, int timeFormat)
{
    // The position displays always count at the finest level.
    const double unitsPerSecond = static_cast<double>(f.wfx.nSamplesPerSec) * f.wfx.nChannels;
    const double seconds = unitsPerSecond > 0 ? units / unitsPerSecond : 0.0;
    char text[64];
    switch (timeFormat) {
    case 24:
    case 25:
    case 30:
        return smpte_text(seconds, timeFormat);
    case kTimeFormatFrames: {
        const long divisor = static_cast<long>(f.bytesPerSample()) * f.wfx.nBlockAlign;
        std::snprintf(text, sizeof text, "%ld", divisor ? static_cast<long>(units) / divisor : 0L);
        return text;
    }
    case kTimeFormatUnits:
        std::snprintf(text, sizeof text, "%ld", static_cast<long>(units));
        return text;
    default:
        return seconds_text(seconds);
    }
}

double ruler_interval(double seconds)
{
    static constexpr double kSteps[] = {0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1,
                                        2,     5,     10,    20,   50,   100,  200, 500, 1000, 2000};
    const double tolerance = 0.2 * seconds;
    for (int k : {6, 5, 4, 3})
        for (double v : kSteps)
            if (std::fabs(k * v - seconds) < tolerance)
                return v;
    return 1.0;
}

std::string ruler_seconds_format(double interval)
{
    // The format text is itself printed, with the percent character as %c.
    char format[16];
    std::snprintf(format, sizeof format, interval < 0.1 ? "%c6.3f" : "%c6.2f", '%');
    return format;
}
