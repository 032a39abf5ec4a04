#pragma once

#include "view/spectrogram.h"

#include <QImage>

// Draws a spectrogram as the spectrum display shows it: time to the right,
// frequency upwards, level as colour from black (-100 dB) through blue, red
// and yellow to white (0 dB), in an image of the given size.
QImage render_spectrogram(const Spectrogram& spectrogram, int width, int height);
