#pragma once

// Whole reads and writes on file descriptors: short transfers and interrupted
// calls are continued until everything is done or a real error stops them.

// Reads up to `count` bytes at `offset`, or at the current position when
// offset is -1. Returns the bytes read (fewer only at the end of the file), or
// -1 when an error came before any byte.
[[nodiscard]] long long read_fully(int fd, void* buffer, long long count, long long offset = -1);
// Writes all `count` bytes at `offset`, or at the current position when offset
// is -1. false when any write fails (a full disk, for one).
[[nodiscard]] bool write_fully(int fd, const void* buffer, long long count, long long offset = -1);
