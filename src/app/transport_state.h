#pragma once

// Whether sound is playing or recording right now: one stream each at a time
// for the whole program. Mouse, scroll and zoom input is ignored while either
// runs, and the transport buttons show it.
struct TransportState {
    bool playing = false;
    bool paused = false;
    bool recording = false;
    bool busy() const { return playing || recording; }
};

TransportState& transport_state();
