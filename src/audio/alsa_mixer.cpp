#include "audio/mixer.h"

#include <alsa/asoundlib.h>

namespace {

// The ALSA simple mixer element "Master" of the default card.
class AlsaMixer : public Mixer {
public:
    AlsaMixer(snd_mixer_t* handle, snd_mixer_elem_t* element) : m_handle(handle), m_element(element)
    {
        long lo = 0, hi = 0;
        snd_mixer_selem_get_playback_volume_range(m_element, &lo, &hi);
        m_min = static_cast<std::uint32_t>(lo < 0 ? 0 : lo);
        m_max = static_cast<std::uint32_t>(hi < 0 ? 0 : hi);
        m_channels = snd_mixer_selem_is_playback_mono(m_element) ? 1 : 2;
    }
    ~AlsaMixer() override { snd_mixer_close(m_handle); }

    int channels() const override { return m_channels; }
    std::uint32_t minimum() const override { return m_min; }
    std::uint32_t maximum() const override { return m_max; }

    int get(std::vector<std::uint32_t>& values, bool uniform) override
    {
        const int count = uniform ? 1 : m_channels;
        values.assign(static_cast<std::size_t>(count), 0);
        for (int ch = 0; ch < count; ++ch) {
            long v = 0;
            const int error = snd_mixer_selem_get_playback_volume(m_element, channelId(ch), &v);
            if (error < 0)
                return -error;
            values[static_cast<std::size_t>(ch)] = static_cast<std::uint32_t>(v < 0 ? 0 : v);
        }
        return 0;
    }

    int set(const std::vector<std::uint32_t>& values, bool uniform) override
    {
        if (values.empty())
            return 0;
        if (uniform) {
            const int error = snd_mixer_selem_set_playback_volume_all(m_element, values[0]);
            return error < 0 ? -error : 0;
        }
        for (int ch = 0; ch < m_channels && ch < static_cast<int>(values.size()); ++ch) {
            const int error = snd_mixer_selem_set_playback_volume(m_element, channelId(ch), values[static_cast<std::size_t>(ch)]);
            if (error < 0)
                return -error;
        }
        return 0;
    }

private:
    static snd_mixer_selem_channel_id_t channelId(int ch)
    {
        return ch == 0 ? SND_MIXER_SCHN_FRONT_LEFT : SND_MIXER_SCHN_FRONT_RIGHT;
    }

    snd_mixer_t* m_handle;
    snd_mixer_elem_t* m_element;
    std::uint32_t m_min = 0;
    std::uint32_t m_max = 0;
    int m_channels = 2;
};

MixerFactory g_factory = nullptr;

// ALSA prints its own complaints ("cannot find card '0'") on stderr; a
// machine without a mixer is an expected case here, handled by the caller.
void quietAlsa(const char*, int, const char*, int, const char*, ...) {}

std::unique_ptr<Mixer> openAlsa()
{
    static const bool quiet = (snd_lib_error_set_handler(quietAlsa), true);
    (void)quiet;
    snd_mixer_t* handle = nullptr;
    if (snd_mixer_open(&handle, 0) < 0)
        return nullptr;
    if (snd_mixer_attach(handle, "default") < 0 || snd_mixer_selem_register(handle, nullptr, nullptr) < 0 ||
        snd_mixer_load(handle) < 0) {
        snd_mixer_close(handle);
        return nullptr;
    }
    snd_mixer_selem_id_t* id = nullptr;
    snd_mixer_selem_id_alloca(&id);
    snd_mixer_selem_id_set_index(id, 0);
    snd_mixer_selem_id_set_name(id, "Master");
    snd_mixer_elem_t* element = snd_mixer_find_selem(handle, id);
    if (!element || !snd_mixer_selem_has_playback_volume(element)) {
        snd_mixer_close(handle);
        return nullptr;
    }
    return std::make_unique<AlsaMixer>(handle, element);
}

}  // namespace

std::unique_ptr<Mixer> open_mixer() { return g_factory ? g_factory() : openAlsa(); }

void set_mixer_factory(MixerFactory factory) { g_factory = factory; }
