#pragma once

#include "wavefile/save_request.h"

#include <functional>
#include <string>
#include <vector>

// The file types of the open and save dialogs, described once, in the
// dialogs' order: the type index is the row number. The dialogs, the open
// and save dispatch and the command line all read this table; a new type is
// one row here and its codec.
struct FileType {
    const char* filter;                    // "Microsoft PCM Files (*.wav)"
    const char* pattern;                   // "*.wav", as the dialog shows it
    std::vector<const char*> extensions;   // what file_type_of knows it by
    bool canRead = false;
    bool canWrite = false;
    // Makes a PCM WAVE file of `name` and names it in szOpenedFileName; 1
    // then, 0 when nothing can be opened (the reason has been shown).
    int (*open)(const std::string& name) = nullptr;
    // Writes the request's document under its target; 1 on success.
    int (*save)(const SaveRequest& request) = nullptr;
};
const std::vector<FileType>& file_types();
constexpr int kTypeWav = 0;
constexpr int kTypeFirstForeign = 1;   // 1 .. 15 go through the converter
constexpr int kTypeLastForeign = 15;
constexpr int kTypeAvi = 16;
constexpr int kTypeRealMedia = 17;
constexpr int kTypeMp3 = 18;
constexpr int kTypeJaf = 19;
constexpr int kTypeFlac = 20;
constexpr int kTypeVorbis = 21;
constexpr int kTypeOpus = 22;
constexpr int kTypeAac = 23;
constexpr int kTypeCaf = 24;
constexpr int kTypeWave64 = 25;
constexpr int kTypeAll = 26;

// The rows of the dialogs that only read (those that can be read), as type
// indices in their order; and those rows themselves.
std::vector<int> readable_types();
std::vector<FileType> readable_file_types();

// The type of a file name by its extension (the text after the first dot,
// any case): "wav" is WAV; another extension of no type gives `otherwise`.
int file_type_of(const std::string& name, int otherwise);
// The type a save writes `name` as, by the text after its last dot: the
// type that extension names when it is one we write; `chosen` when the name
// has no extension; -1 when the extension names a type that is only read,
// or none at all, so that a file never holds one type's bytes under a name
// that says another.
int written_type_of(const std::string& name, int chosen);
// The type chosen last (in the open dialog, or by the last file opened),
// which a name of no known extension keeps.
extern int& last_file_type;
// file_type_of with the type chosen last, which it then becomes.
int remember_file_type(const std::string& name);

// The JAF export runs an effect, so it lives with the effects above this
// table and registers itself here.
void set_jaf_exporter(std::function<int(const SaveRequest&)> exporter);
