#include "wavefile/audio_tags.h"

#include "wavefile/byte_order.h"
#include "wavefile/riff_file.h"
#include "wavefile/riff_info.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

constexpr FourCC kTrack = make_fourcc("ITRK");

void setItem(InfoList& list, const char (&id)[5], const std::string& value)
{
    if (!value.empty())
        set_info_item_value(list, find_info_item(make_fourcc(id)), value.c_str(), INFOCHUNK_EDITED);
}

std::string itemValue(const InfoList& list, const char (&id)[5])
{
    return info_item_value(list, find_info_item(make_fourcc(id))).value_or("");
}

// Appends an item outside the editor's table to the list's other items:
// id, size, text with its terminating zero, pad byte.
void appendUnknown(InfoList& list, FourCC id, const std::string& value)
{
    const std::uint32_t size = static_cast<std::uint32_t>(value.size() + 1);
    unsigned char header[8];
    put_le32(header, id);
    put_le32(header + 4, size);
    list.unknown.insert(list.unknown.end(), header, header + 8);
    list.unknown.insert(list.unknown.end(), value.begin(), value.end());
    list.unknown.push_back('\0');
    if (size & 1)
        list.unknown.push_back('\0');
}

std::string findUnknown(const InfoList& list, FourCC id)
{
    std::size_t at = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(list.unknown.data());
    while (at + 8 <= list.unknown.size()) {
        const std::uint32_t size = get_le32(bytes + at + 4);
        if (at + 8 + size > list.unknown.size())
            break;
        if (get_le32(bytes + at) == id) {
            std::string value(list.unknown.data() + at + 8, size);
            value.erase(std::find(value.begin(), value.end(), '\0'), value.end());
            return value;
        }
        at += 8 + size + (size & 1);
    }
    return {};
}

}  // namespace

std::shared_ptr<InfoList> info_list_from_tags(const AudioTags& tags)
{
    if (tags.empty())
        return nullptr;
    std::shared_ptr<InfoList> list;
    if (create_info_list(list) != INFO_OK)
        return nullptr;
    setItem(*list, "INAM", tags.title);
    setItem(*list, "IART", tags.artist);
    setItem(*list, "IPRD", tags.album);
    setItem(*list, "ICMT", tags.comment);
    setItem(*list, "ICRD", tags.date);
    if (!tags.track.empty())
        appendUnknown(*list, kTrack, tags.track);
    return list;
}

AudioTags tags_from_info_list(const InfoList* list)
{
    AudioTags t;
    if (!list)
        return t;
    t.title = itemValue(*list, "INAM");
    t.artist = itemValue(*list, "IART");
    t.album = itemValue(*list, "IPRD");
    t.comment = itemValue(*list, "ICMT");
    t.date = itemValue(*list, "ICRD");
    t.track = findUnknown(*list, kTrack);
    return t;
}

void set_tag_by_key(AudioTags& tags, const std::string& key, const std::string& value)
{
    std::string k = key;
    std::transform(k.begin(), k.end(), k.begin(), [](unsigned char c) { return std::tolower(c); });
    std::string* field = k == "title"                            ? &tags.title
                         : k == "artist"                         ? &tags.artist
                         : k == "album"                          ? &tags.album
                         : k == "comment" || k == "description"  ? &tags.comment
                         : k == "date" || k == "year"            ? &tags.date
                         : k == "track" || k == "tracknumber"    ? &tags.track
                                                                 : nullptr;
    if (field && field->empty())
        *field = value;
}
