#include "view/spectrogram.h"

#include <algorithm>
#include <cmath>

int Spectrogram::loudestBin(int column) const
{
    int best = 0;
    for (int b = 1; b < bins; ++b)
        if (at(column, b) > at(column, best))
            best = b;
    return best;
}

