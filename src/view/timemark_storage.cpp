#include "view/timemark_storage.h"

#include "view/child_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

std::string default_timemark_name(std::uint32_t position)
{
    char text[32];
    std::snprintf(text, sizeof text, "Marker %ld", static_cast<long>(position));
    return text;
}

std::vector<CuePoint> timemarks_to_cue_points(const CChildFrame& f, std::uint32_t from, std::uint32_t to,
                                              double rateRatio)
{
    std::vector<CuePoint> points;
    const std::uint32_t channels = static_cast<std::uint32_t>(std::max<int>(1, f.wfx.nChannels));
    auto inside = [&](std::uint32_t p) { return p >= from && p < to; };
    auto frameOf = [&](std::uint32_t p) {
        return static_cast<std::uint32_t>(std::llround((p - from) / channels * rateRatio));
    };
    const auto& marks = f.timemarks;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const Timemark& m = marks[i];
        const bool hasPartner = !m.second && m.partner >= 0 && static_cast<std::size_t>(m.partner) < marks.size();
        if (m.second) {
            // Written with its first mark, unless that one is outside.
            bool firstInside = false;
            for (const Timemark& a : marks)
                if (!a.second && a.partner >= 0 && static_cast<std::size_t>(a.partner) < marks.size() &&
                    &marks[static_cast<std::size_t>(a.partner)] == &m && inside(a.position))
                    firstInside = true;
            if (firstInside || !inside(m.position))
                continue;
        } else if (!inside(m.position)) {
            continue;
        }
        CuePoint p;
        p.id = static_cast<std::uint32_t>(points.size() + 1);
        p.frame = frameOf(m.position);
        p.label = m.name;
        if (hasPartner) {
            const Timemark& end = marks[static_cast<std::size_t>(m.partner)];
            if (inside(end.position) && end.position > m.position) {
                p.length = frameOf(end.position) - p.frame;
                p.note = end.name;
            }
        }
        points.push_back(std::move(p));
    }
    return points;
}

std::vector<Timemark> timemarks_from_cue_points(const std::vector<CuePoint>& points, int channels,
                                                std::uint32_t totalUnits)
{
    std::vector<Timemark> marks;
    const std::uint64_t perFrame = static_cast<std::uint64_t>(std::max(1, channels));
    for (const CuePoint& p : points) {
        const std::uint64_t position = p.frame * perFrame;
        if (position > totalUnits)
            continue;
        Timemark m;
        m.position = static_cast<std::uint32_t>(position);
        m.name = p.label.empty() ? default_timemark_name(m.position) : p.label;
        const std::uint64_t end = position + static_cast<std::uint64_t>(p.length) * perFrame;
        if (p.length > 0 && end <= totalUnits) {
            m.partner = static_cast<int>(marks.size()) + 1;
            Timemark e;
            e.position = static_cast<std::uint32_t>(end);
            e.name = p.note.empty() ? default_timemark_name(e.position) : p.note;
            e.second = 1;
            marks.push_back(std::move(m));
            marks.push_back(std::move(e));
        } else {
            marks.push_back(std::move(m));
        }
    }
    return marks;
}

void load_stored_timemarks(CChildFrame& f, const std::string& path)
{
    f.timemarks = timemarks_from_cue_points(read_cue_points(path), f.wfx.nChannels, f.nTotalSamples);
    for (Timemark& m : f.timemarks)
        m.x = static_cast<int>(f.sample_to_pixel(m.position));
}
