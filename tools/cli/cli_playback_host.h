#pragma once

#include "audio/playback_engine.h"

#include <functional>

// What playback asks of a command: no cursor and no window, only the end of
// playback, noted (and passed on when asked).
class CliPlaybackHost : public PlaybackHost {
public:
    void startCursorTimer(CChildFrame&) override {}
    void stopCursorTimer(CChildFrame&) override {}
    void playbackEnded(CChildFrame&) override
    {
        ended = true;
        if (onEnded)
            onEnded();
    }
    bool ended = false;
    std::function<void()> onEnded;
};
