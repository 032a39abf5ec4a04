#pragma once

#include <QImage>
#include <cstdint>

class CChildFrame;

// A picture of a document as its window draws it (strip, ruler, waveform; no
// control row): `width` x `height` at display level `level` from unit
// `first`. The document's own view is left as it was. `valuesPerColumn`, when
// given, receives the most sample values one column read.
QImage document_picture(CChildFrame& frame, int width, int height, int level, std::uint32_t first, int timeFormat,
                        long* valuesPerColumn = nullptr);
