#pragma once

#include <QIcon>
#include <QString>

// Icons for the buttons of the control bars and the play bar, drawn as
// vectors at whatever size and device pixel ratio they are asked for, so
// they stay sharp on high-density screens. Shapes are drawn in the palette's
// button-text colour (Record in red).
//
// Names: "new", "open", "select-all", "record", "play", "pause", "stop",
// "loop", "go-start", "go-end", "go-highlight", "start-earlier-coarse",
// "start-earlier", "start-later", "end-earlier", "end-later",
// "end-later-coarse", "zoom-in", "zoom-out", "zoom-max", "zoom-min",
// "fit", "mark", "mark-pair", "mark-clear", "cue-play", "cue-sequence".
QIcon command_icon(const QString& name);

// The icon of a numbered command on a bar, or a null icon.
QIcon command_icon(int commandId);
