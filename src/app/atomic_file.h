#pragma once

#include <string>

// Writing a file so that its name never holds anything but a complete file.
//
// Every save writes a temporary file in the target's own folder (so that the
// final rename stays on one file system), flushes it to the disk and renames
// it over the target only when everything is written. A failure, a Cancel or
// a kill at any moment leaves the previous file as it was; the temporary file
// is removed when the save does not complete.
class AtomicFile {
public:
    AtomicFile() = default;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    // Removes the temporary file unless commit() succeeded.
    ~AtomicFile();

    // Makes the temporary file for `target` (created empty, exclusively, with
    // the target's permissions when it exists). A target that is a symbolic
    // link stands for the file it points to. false with errno set when the
    // folder cannot take it.
    [[nodiscard]] bool begin(const std::string& target);
    // Where to write: a name beside the target that keeps its extension,
    // "NAME~ondrava-XXXXXX.EXT", so helpers that go by extension still do.
    const std::string& temporaryPath() const { return m_temporary; }
    const std::string& target() const { return m_target; }

    // Flushes the temporary file, renames it over the target and flushes the
    // folder. false (errno set, temporary removed) when any step fails.
    [[nodiscard]] bool commit();
    // Removes the temporary file now.
    void abandon();
    // Hands the temporary file over to whoever finishes it later (a helper
    // that runs on): it is no longer removed here.
    void detach() { m_temporary.clear(); }

private:
    std::string m_target;
    std::string m_temporary;
};

// Starts the disk writing a file's data while more of it is still being
// written, so that the flush at the end finds little left to do: call
// advance() with the file's length as it grows.
class WritebackPacer {
public:
    explicit WritebackPacer(int fd) : m_fd(fd) {}
    void advance(long long writtenUpTo);

private:
    int m_fd;
    long long m_started = 0;
};

// Flushes a written file's data to the disk. false when the file cannot be
// opened or the flush fails.
[[nodiscard]] bool sync_file(const std::string& path);

// Puts a finished file `source` under the name `target`, atomically: renamed
// when both are on one file system, otherwise copied into a temporary file
// beside the target first. `source` is gone afterwards on success. false
// (errno set, target untouched, source kept) on failure.
[[nodiscard]] bool install_file_atomically(const std::string& target, const std::string& source);

// Copies `source` over `target` with the same guarantee; `source` stays.
[[nodiscard]] bool copy_file_atomically(const std::string& target, const std::string& source);

// The temporary name AtomicFile would use for `target` with this six-letter
// tag: exposed so tests can recognise leftovers.
bool is_atomic_temporary_name(const std::string& leaf);
