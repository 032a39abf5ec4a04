#pragma once

// Clears the upper halves of the processor's AVX registers (VZEROUPPER) when
// the processor has them; does nothing elsewhere.
//
// Qt's raster painting runs AVX code and leaves those halves in use. Our own
// code is built for plain x86-64 (SSE2), and SSE instructions that follow
// such a state run two to three times slower on processors that keep a
// dependency on the upper halves: a cut of a 1 GiB document spent more time
// building its overview in the window than on the command line until the
// state was cleared after each event-loop pass.
void clear_upper_vector_state();
