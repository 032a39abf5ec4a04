#pragma once

#include <string>
#include <vector>

// The file types of the open and save dialogs, in their order; the type index
// is the row number.
struct FileType {
    const char* filter;   // "Microsoft PCM Files (*.wav)"
    const char* pattern;  // "*.wav"
};
const std::vector<FileType>& file_types();
constexpr int kTypeWav = 0;
constexpr int kTypeAvi = 16;
constexpr int kTypeRealMedia = 17;
constexpr int kTypeMp3 = 18;
constexpr int kTypeJaf = 19;
constexpr int kTypeAll = 20;

// The list of dialogs that only read: without RealMedia and MP3.
std::vector<FileType> readable_file_types();

// The type of a file name by its extension (the text after the first dot,
// any case); "wav" is WAV; other extensions keep the type chosen last.
int file_type_of(const std::string& name);
extern int last_file_type;
