#include "wavefile/riff_info.h"

#include "app/messages.h"
#include "wavefile/byte_order.h"

#include <algorithm>

#include <cstdio>
#include <cstring>
#include <new>

namespace {

constexpr InfoItemDefinition kItems[kInfoItemCount] = {
    {"IARL", "Archival Location",
     "Indicates where the subject of the file is archived."},
    {"IART", "Artist",
     "Lists the artist of the original subject of the file. For example, \"Michaelangelo.\""},
    {"ICMS", "Commissioned",
     "Lists the name of the person or organization that commissioned the subject of the file. "
     "For example, \"Pope Julian II.\""},
    {"ICMT", "Comments",
     "Provides general comments about the file or the subject of the file. If the comment is "
     "several sentences long, end each sentence with a period. Do not include newline "
     "characters."},
    {"ICOP", "Copyright",
     "Records the copyright information for the file. For example, \"Copyright Encyclopedia "
     "International 1991.\" If there are multiple copyrights, separate them by a semicolon "
     "followed by a space."},
    {"ICRD", "Creation date",
     "Specifies the date the subject of the file was created. List dates in year-month-day "
     "format, padding one-digit months and days with a zero on the left. For example, "
     "\"1553-05-03\" for May 3, 1553."},
    {"ICRP", "Cropped",
     "Describes whether an image has been cropped and, if so, how it was cropped. For example, "
     "\"lower right corner.\""},
    {"IDIM", "Dimensions",
     "Specifies the size of the original subject of the file. For example, \"8.5 in h, 11 in "
     "w.\""},
    {"IDPI", "Dots Per Inch",
     "Stores dots per inch setting of the digitizer used to produce the file, such as \"300.\""},
    {"IENG", "Engineer",
     "Stores the name of the engineer who worked on the file. If there are multiple engineers, "
     "separate the names by a semicolon and a blank. For example, \"Smith, John; Adams, Joe.\""},
    {"IGNR", "Genre",
     "Describes the original work, such as, \"landscape,\" \"portrait,\" \"still life,\" etc."},
    {"IKEY", "Keywords",
     "Provides a list of keywords that refer to the file or subject of the file. Separate "
     "multiple keywords with a semicolon and a blank. For example, \"Seattle; aerial view; "
     "scenery.\""},
    {"ILGT", "Lightness",
     "Describes the changes in lightness settings on the digitizer required to produce the "
     "file. Note that the format of this information depends on hardware used."},
    {"IMED", "Medium",
     "Describes the original subject of the file, such as, \"computer image,\" \"drawing,\" "
     "\"lithograph,\" and so forth."},
    {"INAM", "Name",
     "Stores the title of the subject of the file, such as, \"Seattle From Above.\""},
    {"IPLT", "Palette Setting",
     "Specifies the number of colors requested when digitizing an image, such as \"256.\""},
    {"IPRD", "Product",
     "Specifies the name of the title the file was originally intended for, such as "
     "\"Encyclopedia of Pacific Northwest Geography.\""},
    {"ISBJ", "Subject",
     "Describes the contents of the file, such as \"Aerial view of Seattle.\""},
    {"ISFT", "Software",
     "Identifies the name of the software package used to create the file, such as "
     "\"Microsoft WaveEdit.\""},
    {"ISHP", "Sharpness",
     "Identifies the changes in sharpness for the digitizer required to produce the file (the "
     "format depends on the hardware used)."},
    {"ISRC", "Source",
     "Identifies the name of the person or organization who supplied the original subject of "
     "the file. For example, \"Trey Research.\""},
    {"ISRF", "Source Form",
     "Identifies the original form of the material that was digitized, such as \"slide,\" "
     "\"paper,\" \"map,\" and so forth. This is not necessarily the same as IMED."},
    {"ITCH", "Technician",
     "Identifies the technician who digitized the subject file. For example, \"Smith, John.\""},
};

FourCC itemCode(int index)
{
    const char* id = kItems[index].id;
    return make_fourcc({id[0], id[1], id[2], id[3], '\0'});
}

std::string rawValue(const InfoList& list, const InfoItem& item)
{
    const size_t start = item.offset;
    if (start == 0 || start >= list.raw.size())
        return {};
    const size_t limit = std::min(list.raw.size() - start, static_cast<size_t>(item.size));
    const char* text = list.raw.data() + start;
    return std::string(text, strnlen(text, limit));
}

}  // namespace

const InfoItemDefinition& info_item_definition(int index) { return kItems[index]; }

int find_info_item(FourCC id)
{
    for (int i = 0; i < kInfoItemCount; ++i)
        if (itemCode(i) == id)
            return i;
    return -1;
}

std::optional<std::string> info_item_value(const InfoList& list, int index)
{
    if (index < 0 || index >= static_cast<int>(list.items.size()))
        return std::nullopt;
    const InfoItem& item = list.items[index];
    if (item.edited)
        return item.edited;
    if (item.offset != 0)
        return rawValue(list, item);
    return std::nullopt;
}

// With INFOCHUNK_EDITED clear the raw offset is the caller's business. An item
// with an edited text: a null text frees it only with INFOCHUNK_FREE; a
// different text replaces it; an equal one is discarded. An item without: the
// text is kept when it is not empty and there is no raw copy or it differs from
// the value in the file.
void set_info_item_value(InfoList& list, int index, const char* text, std::uint16_t flags)
{
    if (index < 0 || index >= static_cast<int>(list.items.size()))
        return;
    InfoItem& item = list.items[index];
    item.flags = flags;
    if (item.edited) {
        if (!text) {
            if (flags & INFOCHUNK_FREE)
                item.edited.reset();
        } else if (*item.edited != text) {
            item.edited = std::string(text);
        }
        return;
    }
    if (!text || !*text)
        return;
    if (list.raw.empty() || rawValue(list, item) != text)
        item.edited = std::string(text);
}

std::string info_item_label(const InfoList& list, int index)
{
    const auto value = info_item_value(list, index);
    char text[64];
    std::snprintf(text, sizeof text, "%-4s%c %-25s", kItems[index].id, value && !value->empty() ? '*' : ' ',
                  kItems[index].name);
    return text;
}

int create_info_list(std::shared_ptr<InfoList>& list)
{
    try {
        auto created = std::make_shared<InfoList>();
        created->items.resize(kInfoItemCount);
        for (int i = 0; i < kInfoItemCount; ++i)
            created->items[i].index = static_cast<std::uint16_t>(i);
        list = std::move(created);
    } catch (const std::bad_alloc&) {
        return INFO_NO_MEMORY;
    }
    return INFO_OK;
}

int riffParseINFO(RiffFile& file, const ChunkInfo& listChunk, InfoList& list, bool askAboutUnknown)
{
    if (listChunk.cksize < 4)
        return INFO_FILE_ERROR;
    const std::uint32_t rawSize = listChunk.cksize - 4;
    if (file.position() + static_cast<long long>(rawSize) > file.size())
        return INFO_FILE_ERROR;
    try {
        list.raw.assign(rawSize, '\0');
    } catch (const std::bad_alloc&) {
        return INFO_NO_MEMORY;
    }
    if (file.read(list.raw.data(), rawSize) != rawSize)
        return INFO_FILE_ERROR;

    std::uint64_t pos = 0;
    while (pos + 8 <= rawSize) {
        const auto* header = reinterpret_cast<const unsigned char*>(list.raw.data() + pos);
        const FourCC id = get_le32(header);
        const std::uint32_t size = get_le32(header + 4);
        const int index = find_info_item(id);
        if (index < 0 && !askAboutUnknown) {
            const std::uint64_t end = std::min<std::uint64_t>(pos + 8ull + size + (size & 1), rawSize);
            list.unknown.insert(list.unknown.end(), list.raw.begin() + static_cast<std::ptrdiff_t>(pos),
                                list.raw.begin() + static_cast<std::ptrdiff_t>(end));
            // A last item without its pad byte gets one, so the list stays even.
            if ((end - pos) & 1)
                list.unknown.push_back('\0');
        } else if (index < 0) {
            char question[160];
            std::snprintf(question, sizeof question,
                          "This wave file contains an unknown item in the INFO chunk: '%4.4s'.  "
                          "Open anyway?",
                          reinterpret_cast<const char*>(header));
            if (message_box(nullptr, question, "riffParseINFO",
                            MB_YESNO | MB_ICONEXCLAMATION | MB_TASKMODAL) == IDNO)
                return INFO_REFUSED;
        } else {
            InfoItem& item = list.items[index];
            item.offset = static_cast<std::uint32_t>(pos + 8);
            item.size = size;
            item.flags = 0;
        }
        pos += 8ull + size + (size & 1);
    }
    return INFO_OK;
}

int write_info_list(RiffFile* file, const InfoList* list)
{
    if (!file || !list)
        return INFO_BAD_ARGUMENT;
    ChunkInfo listChunk;
    bool listOpen = false;
    // The list is written only when it has something in it.
    const auto openList = [&] {
        if (listOpen)
            return true;
        listChunk.fccType = make_fourcc("INFO");
        listChunk.cksize = 0;
        listOpen = file->createChunk(listChunk, MMIO_CREATELIST) == MMSYSERR_NOERROR;
        return listOpen;
    };
    for (const InfoItem& item : list->items) {
        // An empty value counts as none: a list whose values are all empty
        // writes nothing at all.
        const auto value = info_item_value(*list, item.index);
        if (!value || value->empty())
            continue;
        if (!openList())
            return INFO_FILE_ERROR;
        ChunkInfo sub;
        sub.ckid = itemCode(item.index);
        sub.cksize = static_cast<std::uint32_t>(value->size() + 1);
        if (file->createChunk(sub, 0) != MMSYSERR_NOERROR)
            return INFO_FILE_ERROR;
        if (file->write(value->c_str(), static_cast<long long>(value->size() + 1)) !=
            static_cast<long long>(value->size() + 1))
            return INFO_FILE_ERROR;
        if (file->ascend(sub) != MMSYSERR_NOERROR)
            return INFO_FILE_ERROR;
    }
    if (!list->unknown.empty()) {
        if (!openList())
            return INFO_FILE_ERROR;
        const auto bytes = static_cast<long long>(list->unknown.size());
        if (file->write(list->unknown.data(), bytes) != bytes)
            return INFO_FILE_ERROR;
    }
    if (listOpen && file->ascend(listChunk) != MMSYSERR_NOERROR)
        return INFO_FILE_ERROR;
    return INFO_OK;
}

bool info_list_has_items(const InfoList& list)
{
    if (!list.unknown.empty())
        return true;
    for (const InfoItem& item : list.items) {
        const auto value = info_item_value(list, item.index);
        if (value && !value->empty())
            return true;
    }
    return false;
}

std::shared_ptr<InfoList> read_info_list(const std::string& fileName)
{
    RiffFile file;
    if (!file.open(fileName, RiffFile::Mode::Read))
        return nullptr;
    ChunkInfo form;
    if (file.descend(form, nullptr, 0) != MMSYSERR_NOERROR ||
        (form.ckid != kRiff && form.ckid != kRf64 && form.ckid != kBw64) || form.fccType != kWave)
        return nullptr;
    ChunkInfo ck;
    while (file.descend(ck, &form, 0) == MMSYSERR_NOERROR) {
        if (ck.ckid == kList && ck.fccType == make_fourcc("INFO")) {
            std::shared_ptr<InfoList> list;
            if (create_info_list(list) != INFO_OK || riffParseINFO(file, ck, *list, false) != INFO_OK)
                return nullptr;
            return info_list_has_items(*list) ? list : nullptr;
        }
        if (file.ascend(ck) != MMSYSERR_NOERROR)
            return nullptr;
    }
    return nullptr;
}

int free_info_list(std::shared_ptr<InfoList>& list)
{
    if (!list)
        return INFO_BAD_ARGUMENT;
    list.reset();
    return INFO_OK;
}

int copy_riff_chunk(RiffFile& source, RiffFile& destination, const ChunkInfo& ck)
{
    ChunkInfo out;
    out.ckid = ck.ckid;
    out.cksize = ck.cksize;
    if (destination.createChunk(out, 0) != MMSYSERR_NOERROR)
        return 0;
    std::vector<char> buffer(32768);
    std::uint32_t remaining = ck.cksize;
    while (remaining > 0) {
        const long long want = std::min<std::uint32_t>(remaining, 32768);
        if (source.read(buffer.data(), want) != want || destination.write(buffer.data(), want) != want)
            return 0;
        remaining -= static_cast<std::uint32_t>(want);
    }
    return destination.ascend(out) == MMSYSERR_NOERROR ? 1 : 0;
}
