#include "edit/timemarks.h"

#include "app/messages.h"
#include "app/preferences.h"
#include "view/child_frame.h"
#include "view/mouse_selection.h"
#include "view/time_format.h"
#include "view/timemark_storage.h"
#include "view/view_navigation.h"
#include "view/waveform_renderer.h"
#include "edit/edit_dialogs.h"

#include <algorithm>
#include <utility>

namespace {

bool valid(const CChildFrame& f, int i) { return i >= 0 && i < static_cast<int>(f.timemarks.size()); }

int addMark(CChildFrame& f, std::uint32_t position, int x, const std::string& name);

PlayingUnitSource& playingUnitSource()
{
    static PlayingUnitSource source;
    return source;
}

// Where a new mark goes: the play position while playing, else the cursor.
int placementColumn(const CChildFrame& f)
{
    if (const PlayingUnitSource& playing = playingUnitSource())
        if (const std::optional<double> units = playing(f))
            return static_cast<int>(f.level_index_to_pixel(static_cast<std::uint32_t>(*units)));
    if (f.nCaretX >= 0)
        return f.nCaretX;
    return static_cast<int>(f.sample_to_pixel(f.bHighlight ? f.nSelStart : 0));
}

std::uint32_t positionAt(const CChildFrame& f, int x)
{
    return std::min(f.pixel_to_sample(static_cast<float>(std::max(0, x))), f.nTotalSamples);
}

int addChecked(CChildFrame& f, bool fromBar)
{
    if (static_cast<int>(f.timemarks.size()) >= kTimemarkLimit) {
        if (fromBar) {
            message_beep();
            ErrMsg("Too many timemarks");
        }
        f.layout.redrawAll = true;
        refill_cue_list(f);
        return 0;
    }
    const int x = placementColumn(f);
    std::string name;
    if (preferences().markerNameOnTheFly && edit_dialogs().askMarkerName(name))
        name = name.substr(0, kMarkerNameLength);
    else
        name.clear();
    add_timemark_at(f, x, name);
    return 1;
}

}  // namespace

int timemark_baseline(const CChildFrame& f) { return f.nInfoHeight + nRulerHeight; }

int timemark_x(const CChildFrame& f, int i)
{
    return valid(f, i) ? static_cast<int>(f.sample_to_pixel(f.timemarks[static_cast<std::size_t>(i)].position)) : -1;
}

int add_timemark(CChildFrame& f) { return addChecked(f, false); }

int add_timemark_from_bar(CChildFrame& f) { return addChecked(f, true); }

int add_timemark_at(CChildFrame& f, int x, const std::string& name)
{
    return addMark(f, positionAt(f, x), x, name);
}

int add_timemark_at_position(CChildFrame& f, std::uint32_t position, const std::string& name)
{
    if (static_cast<int>(f.timemarks.size()) >= kTimemarkLimit) {
        message_beep();
        ErrMsg("Too many timemarks");
        return -1;
    }
    const std::uint32_t channels = static_cast<std::uint32_t>(std::max<int>(1, f.wfx.nChannels));
    position = std::min(position, f.nTotalSamples) / channels * channels;
    return addMark(f, position, static_cast<int>(f.sample_to_pixel(position)), name.substr(0, kMarkerNameLength));
}

namespace {

int addMark(CChildFrame& f, std::uint32_t position, int x, const std::string& name)
{
    Timemark mark;
    mark.x = x;
    mark.position = position;
    mark.name = name.empty() ? default_timemark_name(mark.position) : name;
    f.timemarks.push_back(std::move(mark));
    f.bModified = 1;
    f.layout.redrawAll = true;
    refill_cue_list(f);
    return static_cast<int>(f.timemarks.size()) - 1;
}

}  // namespace

int add_timemark_pair(CChildFrame& f)
{
    if (!f.bHighlight)
        return 0;
    const int a = static_cast<int>(f.timemarks.size());
    Timemark first;
    first.position = f.nSelStart;
    first.x = static_cast<int>(f.sample_to_pixel(f.nSelStart));
    first.name = default_timemark_name(first.position);
    first.partner = a + 1;
    Timemark second;
    second.position = f.nSelEnd;
    second.x = static_cast<int>(f.sample_to_pixel(f.nSelEnd));
    second.name = default_timemark_name(second.position);
    second.second = 1;
    f.timemarks.push_back(std::move(first));
    f.timemarks.push_back(std::move(second));
    f.bModified = 1;
    f.layout.redrawAll = true;
    refill_cue_list(f);
    return 1;
}

void delete_timemark(CChildFrame& f, int i)
{
    if (!valid(f, i))
        return;
    auto& marks = f.timemarks;
    Timemark& gone = marks[static_cast<std::size_t>(i)];
    if (gone.second) {
        gone.second = 0;
        gone.partner = -1;
        for (Timemark& m : marks)
            if (m.partner == i)
                m.partner = -1;
    } else if (gone.partner >= 0) {
        if (valid(f, gone.partner))
            marks[static_cast<std::size_t>(gone.partner)].second = 0;
        gone.partner = -1;
    }
    // The marks after i move down one index. A link is lowered when the mark
    // it points at lies right of the deleted one on screen: x positions are
    // compared, not indices.
    const int goneX = timemark_x(f, i);
    for (int j = i + 1; j < static_cast<int>(marks.size()); ++j) {
        Timemark& m = marks[static_cast<std::size_t>(j)];
        if (m.partner >= 0 && valid(f, m.partner) && timemark_x(f, m.partner) > goneX)
            --m.partner;
    }
    // The marks before i do not move; their links past i still must follow
    // the marks they point at.
    for (int j = 0; j < i; ++j) {
        Timemark& m = marks[static_cast<std::size_t>(j)];
        if (m.partner > i)
            --m.partner;
    }
    marks.erase(marks.begin() + i);
    if (f.currentTimemark == i)
        f.currentTimemark = -1;
    else if (f.currentTimemark > i)
        --f.currentTimemark;
    f.bModified = 1;
    f.layout.redrawAll = true;
    refill_cue_list(f);
}

void delete_all_timemarks(CChildFrame& f)
{
    while (!f.timemarks.empty())
        delete_timemark(f, 0);
    f.layout.redrawAll = true;
}

int find_timemark(const CChildFrame& f, int x, int y)
{
    const int base = timemark_baseline(f);
    if (y < base - kMarkIconRise || y > base - 2)
        return -1;
    for (int i = 0; i < static_cast<int>(f.timemarks.size()); ++i) {
        const int mx = timemark_x(f, i);
        if (x >= mx - 4 && x <= mx + 4)
            return i;
    }
    return -1;
}

std::string timemark_info_text(const CChildFrame& f, int i, bool atMouse, int mouseX, int timeFormat)
{
    if (!valid(f, i))
        return {};
    const Timemark& m = f.timemarks[static_cast<std::size_t>(i)];
    const std::uint32_t at = atMouse ? positionAt(f, mouseX) : m.position;
    std::string time = position_text(f, at, timeFormat);
    time.erase(0, time.find_first_not_of(' '));
    return m.name.substr(0, 49) + ", Time: " + time;
}

int rename_timemark(CChildFrame& f, int i, const std::string& name)
{
    if (!valid(f, i) || name.empty())
        return 0;
    f.timemarks[static_cast<std::size_t>(i)].name = name.substr(0, kMarkerNameLength);
    f.bModified = 1;
    f.layout.redrawAll = true;
    refill_cue_list(f);
    return 1;
}

void move_timemark(CChildFrame& f, int i, int x)
{
    if (!valid(f, i))
        return;
    Timemark& m = f.timemarks[static_cast<std::size_t>(i)];
    m.x = std::clamp(x, 0, f.layout.clientWidth);
    m.position = positionAt(f, m.x);
    f.bModified = 1;
    f.layout.redrawAll = true;
}

CueList cue_list(const CChildFrame& f)
{
    CueList list;
    for (int i = 0; i < static_cast<int>(f.timemarks.size()); ++i) {
        const Timemark& m = f.timemarks[static_cast<std::size_t>(i)];
        if (m.second)
            continue;
        list.names.push_back(m.name);
        list.markers.push_back(i);
    }
    list.current = list.names.empty() ? -1 : static_cast<int>(list.names.size()) - 1;
    return list;
}

void refill_cue_list(const CChildFrame& f) { edit_dialogs().refillCueList(&f, cue_list(f)); }

void select_timemark(CChildFrame& f, int i)
{
    if (!valid(f, i))
        return;
    const Timemark& m = f.timemarks[static_cast<std::size_t>(i)];
    f.currentTimemark = i;
    f.bLeftChannel = f.bRightChannel = 1;
    const bool pair = m.partner >= 0 && valid(f, m.partner);
    const std::uint32_t end = pair ? f.timemarks[static_cast<std::size_t>(m.partner)].position : m.position;
    f.bHighlight = 1;
    set_selection_units(f, std::min(m.position, end), std::max(m.position, end));
    const float x = f.sample_to_pixel(f.nSelStart);
    if (x < 0.0f || x >= static_cast<float>(f.layout.clientWidth))
        go_to_highlight(f);
    update_highlight_pixels(f);
    if (!pair) {
        // A single mark only takes the cursor.
        f.bHighlight = 0;
        f.nCaretX = static_cast<int>(f.sample_to_pixel(m.position));
        compute_operation_range(f);
    }
    f.layout.redrawAll = true;
}

void set_playing_unit_source(PlayingUnitSource source) { playingUnitSource() = std::move(source); }

int apply_position_change(std::vector<Timemark>& marks, const PositionChange& c)
{
    const auto delta = static_cast<std::int64_t>(c.length) - (static_cast<std::int64_t>(c.to) - c.from);
    std::vector<int> newIndex(marks.size(), -1);
    std::vector<Timemark> kept;
    for (std::size_t i = 0; i < marks.size(); ++i) {
        Timemark m = marks[i];
        const std::uint32_t p = m.position;
        bool keep = true;
        if (c.inside == PositionChange::Inside::Move) {
            const std::int64_t landFrom = c.shift > 0 ? c.to : static_cast<std::int64_t>(c.from) + c.shift;
            const std::int64_t landTo = c.shift > 0 ? c.to + c.shift : c.from;
            if (p >= c.from && p < c.to)
                m.position = static_cast<std::uint32_t>(std::max<std::int64_t>(0, p + c.shift));
            else
                keep = !(p >= landFrom && p < landTo);
        } else if (c.inside == PositionChange::Inside::Crop) {
            keep = p >= c.from && p <= c.to;
            m.position = p - std::min(p, c.from);
        } else if (p >= c.to && !(p == c.from && c.from < c.to)) {
            // After the change (a mark where something was inserted moves
            // with the sound that was there).
            m.position = static_cast<std::uint32_t>(std::max<std::int64_t>(0, p + delta));
        } else if (p > c.from) {
            // Inside the part that changed.
            if (c.inside == PositionChange::Inside::Scale && c.to > c.from)
                m.position = c.from + static_cast<std::uint32_t>(static_cast<double>(p - c.from) * c.length /
                                                                 static_cast<double>(c.to - c.from));
            else
                keep = false;
        }
        if (keep) {
            newIndex[i] = static_cast<int>(kept.size());
            kept.push_back(m);
        }
    }
    // Links follow their marks; one that lost its partner stands alone.
    for (Timemark& m : kept) {
        const int partner = m.partner >= 0 && m.partner < static_cast<int>(newIndex.size())
                                ? newIndex[static_cast<std::size_t>(m.partner)]
                                : -1;
        m.partner = partner;
    }
    for (std::size_t i = 0; i < kept.size(); ++i)
        if (kept[i].second) {
            bool linked = false;
            for (const Timemark& other : kept)
                linked = linked || other.partner == static_cast<int>(i);
            kept[i].second = linked ? 1 : 0;
        }
    const int removed = static_cast<int>(marks.size() - kept.size());
    marks = std::move(kept);
    return removed;
}

void tell_removed_timemarks(int removed)
{
    if (removed <= 0)
        return;
    const std::string text = removed == 1 ? std::string("1 time mark in the removed part was removed.")
                                          : std::to_string(removed) + " time marks in the removed part were removed.";
    message_box(nullptr, text, "Time marks", MB_OK | MB_ICONINFORMATION);
}
