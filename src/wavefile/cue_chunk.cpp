#include "wavefile/cue_chunk.h"

#include "wavefile/byte_order.h"
#include "wavefile/riff_file.h"

#include <algorithm>
#include <map>


namespace {

constexpr FourCC kCue = make_fourcc("cue ");
constexpr FourCC kAdtl = make_fourcc("adtl");
constexpr FourCC kLabl = make_fourcc("labl");
constexpr FourCC kNote = make_fourcc("note");
constexpr FourCC kLtxt = make_fourcc("ltxt");
constexpr FourCC kRegion = make_fourcc("rgn ");
// Labels longer than this are cut when read: a damaged size cannot make us
// hold gigabytes of text.
constexpr std::uint32_t kLongestText = 4096;

bool writeBytes(RiffFile& file, const std::vector<unsigned char>& bytes)
{
    return file.write(bytes.data(), static_cast<long long>(bytes.size())) == static_cast<long long>(bytes.size());
}

void push32(std::vector<unsigned char>& out, std::uint32_t v)
{
    unsigned char b[4];
    put_le32(b, v);
    out.insert(out.end(), b, b + 4);
}

// A "labl" or "note" sub-chunk: the cue id and a terminated text.
bool writeText(RiffFile& file, FourCC id, std::uint32_t cue, const std::string& text)
{
    ChunkInfo ck;
    ck.ckid = id;
    std::vector<unsigned char> body;
    push32(body, cue);
    body.insert(body.end(), text.begin(), text.end());
    body.push_back(0);
    ck.cksize = static_cast<std::uint32_t>(body.size());
    return file.createChunk(ck, 0) == MMSYSERR_NOERROR && writeBytes(file, body) &&
           file.ascend(ck) == MMSYSERR_NOERROR;
}

std::string textOf(const std::vector<unsigned char>& body, std::size_t from)
{
    if (body.size() <= from)
        return {};
    const auto begin = body.begin() + static_cast<long>(from);
    const auto end = std::find(begin, body.end(), static_cast<unsigned char>(0));
    return std::string(begin, end);
}

}  // namespace

int write_cue_chunks(RiffFile& file, const std::vector<CuePoint>& points)
{
    if (points.empty())
        return 1;
    // "cue ": the count, then 24 bytes per point: id, position, the chunk
    // the point lies in, chunk start, block start and the sample offset.
    std::vector<unsigned char> cue;
    push32(cue, static_cast<std::uint32_t>(points.size()));
    for (const CuePoint& p : points) {
        push32(cue, p.id);
        push32(cue, p.frame);
        push32(cue, kData);
        push32(cue, 0);
        push32(cue, 0);
        push32(cue, p.frame);
    }
    ChunkInfo ck;
    ck.ckid = kCue;
    ck.cksize = static_cast<std::uint32_t>(cue.size());
    if (file.createChunk(ck, 0) != MMSYSERR_NOERROR || !writeBytes(file, cue) || file.ascend(ck) != MMSYSERR_NOERROR)
        return 0;

    ChunkInfo list;
    list.fccType = kAdtl;
    if (file.createChunk(list, MMIO_CREATELIST) != MMSYSERR_NOERROR)
        return 0;
    for (const CuePoint& p : points) {
        if (!writeText(file, kLabl, p.id, p.label))
            return 0;
        if (p.length > 0) {
            // "ltxt": id, length, purpose, country, language, dialect, code page.
            std::vector<unsigned char> body;
            push32(body, p.id);
            push32(body, p.length);
            push32(body, kRegion);
            body.insert(body.end(), 8, 0);
            ChunkInfo lt;
            lt.ckid = kLtxt;
            lt.cksize = static_cast<std::uint32_t>(body.size());
            if (file.createChunk(lt, 0) != MMSYSERR_NOERROR || !writeBytes(file, body) ||
                file.ascend(lt) != MMSYSERR_NOERROR)
                return 0;
        }
        if (!p.note.empty() && !writeText(file, kNote, p.id, p.note))
            return 0;
    }
    return file.ascend(list) == MMSYSERR_NOERROR ? 1 : 0;
}

std::vector<CuePoint> read_cue_points(const std::string& path)
{
    std::vector<CuePoint> points;
    RiffFile file;
    if (!file.open(path, RiffFile::Mode::Read))
        return points;
    ChunkInfo riff;
    riff.fccType = kWave;
    if (file.descend(riff, nullptr, MMIO_FINDRIFF) != MMSYSERR_NOERROR)
        return points;
    // The RIFF size may lie (a truncated file); the file's own end bounds it.
    riff.cksize = static_cast<std::uint32_t>(
        std::min<long long>(riff.cksize, std::max<long long>(0, file.size() - riff.dwDataOffset)));

    std::map<std::uint32_t, std::size_t> byId;
    std::vector<std::pair<ChunkInfo, long long>> lists;
    ChunkInfo ck;
    while (file.descend(ck, &riff, 0) == MMSYSERR_NOERROR) {
        const long long next = static_cast<long long>(ck.dwDataOffset) + ck.cksize + (ck.cksize & 1);
        if (ck.ckid == kCue && ck.cksize >= 4) {
            unsigned char count[4];
            if (file.read(count, 4) == 4) {
                const std::uint32_t n = std::min(get_le32(count), (ck.cksize - 4) / 24);
                for (std::uint32_t i = 0; i < n; ++i) {
                    unsigned char entry[24];
                    if (file.read(entry, 24) != 24)
                        break;
                    CuePoint p;
                    p.id = get_le32(entry);
                    p.frame = get_le32(entry + 20);
                    if (byId.count(p.id))
                        continue;  // a repeated id names the same point
                    byId[p.id] = points.size();
                    points.push_back(p);
                }
            }
        } else if (ck.ckid == kList && ck.fccType == kAdtl) {
            lists.emplace_back(ck, next);
        }
        if (file.seek(next, SEEK_SET) < 0)
            break;
        ck = ChunkInfo{};
    }
    // The labels may come before or after the "cue " chunk.
    for (auto& [list, end] : lists) {
        list.cksize = static_cast<std::uint32_t>(
            std::min<long long>(list.cksize, std::max<long long>(0, file.size() - list.dwDataOffset)));
        if (file.seek(static_cast<long long>(list.dwDataOffset) + 4, SEEK_SET) < 0)
            continue;
        ChunkInfo sub;
        while (file.descend(sub, &list, 0) == MMSYSERR_NOERROR) {
            const long long next = static_cast<long long>(sub.dwDataOffset) + sub.cksize + (sub.cksize & 1);
            if (sub.ckid == kLabl || sub.ckid == kNote || sub.ckid == kLtxt) {
                // A sub-chunk never reaches past its list.
                const long long listEnd = static_cast<long long>(list.dwDataOffset) + list.cksize;
                const long long room = std::max<long long>(0, listEnd - sub.dwDataOffset);
                std::vector<unsigned char> body(
                    static_cast<std::size_t>(std::min<long long>({sub.cksize, room, kLongestText})));
                if (body.size() >= 4 && file.read(body.data(), static_cast<long long>(body.size())) ==
                                            static_cast<long long>(body.size())) {
                    const auto found = byId.find(get_le32(body.data()));
                    if (found != byId.end()) {
                        CuePoint& p = points[found->second];
                        if (sub.ckid == kLabl)
                            p.label = textOf(body, 4);
                        else if (sub.ckid == kNote)
                            p.note = textOf(body, 4);
                        else if (body.size() >= 8)
                            p.length = get_le32(body.data() + 4);
                    }
                }
            }
            if (file.seek(next, SEEK_SET) < 0)
                break;
            sub = ChunkInfo{};
        }
    }
    return points;
}
