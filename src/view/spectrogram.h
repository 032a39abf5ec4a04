#pragma once

#include <vector>

// A spectrogram of a stretch of sound: levels in dB (0 = full scale) for
// `columns` moments and `bins` frequencies from 0 to half the sample rate.
struct Spectrogram {
    int columns = 0;
    int bins = 0;
    double rate = 44100;
    double seconds = 0;         // the stretch's length
    std::vector<float> levels;  // columns x bins, column by column
    float at(int column, int bin) const { return levels[static_cast<std::size_t>(column * bins + bin)]; }
    // The bin with the highest level in a column.
    int loudestBin(int column) const;
    double binFrequency(int bin) const { return bin * rate / (2.0 * (bins - 1)); }
};
