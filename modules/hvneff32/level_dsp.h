#pragma once

#include <cstddef>

// Gains and envelopes over the selection: the signal processing of the
// module, apart from documents and dialogs.

float decibels_to_gain(double db);

// The fade envelope at position t (0 at the selection's start, 1 at its
// end): linear, or straight in decibels over `rangeDb` down to silence.
float fade_gain(double t, bool fadeIn, bool logarithmic, double rangeDb);

// Left and right gains of a position -1 (left) .. 1 (right). Constant power:
// cosine and sine of the position's angle, each side at -3 dB at the
// centre; linear: the far side turned down in a straight line, the near
// side at unity.
void pan_gains(double position, bool constantPower, float& left, float& right);

// The modulator at time t seconds: a gain for tremolo (1 - depth .. 1), or the
// carrier (-1..1) for ring modulation. `wave` 0 sine, 1 triangle, 2 square.
float modulator(double t, double frequency, int wave);
float tremolo_gain(double t, double frequency, double depth, int wave);
