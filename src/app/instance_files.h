#pragma once

#include "app/unique_fd.h"

#include <map>
#include <string>
#include <vector>

// The files of this running program, kept apart from those of any other copy
// that runs beside it.
//
// Every running program has a folder of its own inside the data directory,
// ".ondrava/<pid>-<random>", locked (flock) for as long as it runs. The helper
// programs exchange their fixed-name files ("outadpcm.wav", "finished",
// "CRVCNVRT.WAV" ...) there, and the program keeps a journal of its open
// documents there, so that after a crash the next start can tell which
// working files were left behind and what they were.

// This program's folder; made, and locked, at the first call.
const std::string& instance_directory();
// Where the exchange files of the helper programs live: the folder named by
// $ONDRAVA_EXCHANGE_DIR in a helper started by the program, else this
// program's own folder.
std::string exchange_directory();
// The variable through which a helper learns the exchange folder.
constexpr const char* kExchangeDirectoryVariable = "ONDRAVA_EXCHANGE_DIR";
// Removes this program's folder and everything in it (at a clean exit).
void remove_instance_directory();

// Creates a new, empty working file in the data directory under the clock
// name ("%-8ld" + suffix), exclusively: when another program (or this one)
// already holds the name, the next millisecond is tried. The file is open
// for reading and writing in the returned descriptor and its name is in
// `name`; an invalid descriptor (errno set) when nothing could be made.
UniqueFd create_work_file(std::string& name, const char* suffix);

// The journal of open documents: one small key/value record per document,
// rewritten atomically whenever the document's files change.
using JournalRecord = std::map<std::string, std::string>;
void write_journal_record(const std::string& id, const JournalRecord& record);
void remove_journal_record(const std::string& id);

// What a program that is no longer running left behind.
struct LeftoverInstance {
    std::string directory;
    std::vector<JournalRecord> documents;
};
// The folders of programs that ended without cleaning up (their lock is
// free), oldest first, each with its journal. Folders of running programs
// are never listed.
std::vector<LeftoverInstance> find_leftover_instances();
// Removes a leftover folder once its documents have been dealt with; false
// when another program has taken it in the meantime.
bool remove_leftover_instance(const std::string& directory);
