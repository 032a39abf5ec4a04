#pragma once

#include "wavefile/riff_file.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The items of a RIFF "LIST"/"INFO" chunk. Only the 23 items of the table
// below are known; anything else is dropped after asking the user.

struct InfoItemDefinition {
    const char* id;
    const char* name;
    const char* help;
};
constexpr int kInfoItemCount = 23;
const InfoItemDefinition& info_item_definition(int index);
// The table index of a four-character id, or -1.
int find_info_item(FourCC id);

// Item flags.
constexpr std::uint16_t INFOCHUNK_EDITED = 1;   // the value was edited by the user
constexpr std::uint16_t INFOCHUNK_FREE = 2;     // a null text frees the edited value

struct InfoItem {
    std::uint16_t index = 0;
    std::uint16_t flags = 0;
    std::uint32_t offset = 0;  // of the value in the raw copy; 0 = none in the file
    std::uint32_t size = 0;    // of the value in the raw copy
    std::optional<std::string> edited;
};

struct InfoList {
    std::vector<char> raw;        // the chunk's bytes after its form type
    std::vector<InfoItem> items;  // one per table row, in table order
    // Items outside the table, whole (id, size, text and pad), when the list
    // was read without asking about them: written back after the others.
    std::vector<char> unknown;
};

// The item's current value: its edited text, else its text in the raw copy.
std::optional<std::string> info_item_value(const InfoList& list, int index);
// Sets an item's value by the editor's rules (see riff_info.cpp).
void set_info_item_value(InfoList& list, int index, const char* text, std::uint16_t flags);

// An item as the editor's list shows it: "%-4s%c %-25s" with the id, "*" when
// the item has a value (a blank otherwise), and the name.
std::string info_item_label(const InfoList& list, int index);

// Result codes.
constexpr int INFO_OK = 0;
constexpr int INFO_BAD_ARGUMENT = 2;
constexpr int INFO_FILE_ERROR = 3;
constexpr int INFO_NO_MEMORY = 4;
constexpr int INFO_REFUSED = 5;

int create_info_list(std::shared_ptr<InfoList>& list);
// The file is positioned inside the list, after its form type. An item
// outside the table is asked about (and No refuses the file), or, without
// `askAboutUnknown`, kept as it is in the list's `unknown` bytes.
int riffParseINFO(RiffFile& file, const ChunkInfo& listChunk, InfoList& list, bool askAboutUnknown = true);
// The INFO list of a RIFF WAVE file, read without a question or any change
// to the process-wide wave state; null when the file has none (or it cannot
// be read).
std::shared_ptr<InfoList> read_info_list(const std::string& fileName);
// Whether a list has anything to write.
bool info_list_has_items(const InfoList& list);
int write_info_list(RiffFile* file, const InfoList* list);
int free_info_list(std::shared_ptr<InfoList>& list);
// Copies a chunk whole (header as given in `ck`, data from the source's
// current position). 1 when copied, else 0.
int copy_riff_chunk(RiffFile& source, RiffFile& destination, const ChunkInfo& ck);
