#pragma once

#include <memory>
#include <string>

struct InfoList;

// The tags that compressed formats carry (Vorbis comments, ID3, MP4 atoms)
// and their INFO items in a WAVE file: title INAM, artist IART, album IPRD,
// comment ICMT, date ICRD, track ITRK (not among the items the INFO editor
// lists; it travels with the list's other items).
struct AudioTags {
    std::string title;
    std::string artist;
    std::string album;
    std::string comment;
    std::string date;
    std::string track;
    bool empty() const
    {
        return title.empty() && artist.empty() && album.empty() && comment.empty() && date.empty() && track.empty();
    }
};

// An INFO list holding the tags; null when there are none.
std::shared_ptr<InfoList> info_list_from_tags(const AudioTags& tags);
// The tags an INFO list holds (none for null).
AudioTags tags_from_info_list(const InfoList* list);
// Sets the tag a library names by `key` (title, artist, album, comment or
// description, date or year, track or tracknumber; any case), if it is one
// of ours and still empty.
void set_tag_by_key(AudioTags& tags, const std::string& key, const std::string& value);
