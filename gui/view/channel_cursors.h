#pragma once

#include "view/mouse_selection.h"

#include <QCursor>

// The cursors over a document: "LeftChannelCursor", "RightChannelCursor" and
// "LeftRightCursor" over the waveform, the strip cursor over the top strip,
// the arrow elsewhere. Drawn anew: an I-beam marked with its channels.
QCursor cursor_for(ViewCursor cursor);
