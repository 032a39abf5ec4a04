#pragma once

#include <cstdint>
#include <string>
#include <vector>

class CChildFrame;

// The crash journal of open documents. Each document's working, overview and
// version files are written down in this program's own folder whenever they
// change, with what is needed to make a document of the working file again
// (its format, length and where it came from). A program that ends normally
// removes its journal with its folder; one that is killed leaves it, and the
// next start offers the documents back.

// Writes (or rewrites) the record of a document.
void journal_document(const CChildFrame& frame);
// Removes the record of a document that has closed.
void forget_document(const CChildFrame& frame);

// A document a program that is no longer running left behind.
struct RecoverableDocument {
    std::string directory;      // the leftover program folder it was found in
    std::string workingFile;    // its shown version: raw samples
    std::string originalName;   // the file it came from ("" for a new recording)
    std::string displayName;
    std::uint16_t channels = 0;
    std::uint16_t bits = 0;
    std::uint32_t rate = 0;
    std::uint64_t bytes = 0;    // of samples present in the working file
    long long time = 0;         // when the record was last written (seconds since 1970)
    std::vector<std::string> ownedFiles;  // every file of it, the working file included
};

// The documents left by programs that are no longer running, oldest first.
// Records whose working file is gone or whose format is not one a document
// can have are left out (their files are still removed with the rest).
std::vector<RecoverableDocument> find_recoverable_documents();
// The title of a recovered document: the original file's name and the time.
std::string recovered_title(const RecoverableDocument& document);
// Removes every file of the leftover programs and their folders.
void delete_recoverable_documents();
