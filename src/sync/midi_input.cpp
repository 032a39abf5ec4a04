#include "sync/midi_input.h"

#include "app/clock.h"
#include "audio/spsc_queue.h"
#include "sync/midi_ports.h"

#include <QSocketNotifier>
#include <atomic>
#include <sys/eventfd.h>
#include <unistd.h>

struct MidiInput::Impl {
    struct Event {
        std::uint32_t message = 0;
        std::int64_t arrivedNs = 0;
    };

    std::unique_ptr<RtMidiIn> port;
    Handler handler;
    SpscQueue<Event, 4096> queue;
    int wake = -1;
    std::unique_ptr<QSocketNotifier> notifier;
    std::atomic<int> overflows{0};

    // The MIDI library's thread: stamp, queue, wake the user-interface thread.
    static void arrived(double, std::vector<unsigned char>* bytes, void* user)
    {
        auto* self = static_cast<Impl*>(user);
        if (!bytes || bytes->empty())
            return;
        Event e;
        e.arrivedNs = monotonic_ns();
        for (std::size_t i = 0; i < bytes->size() && i < 3; ++i)
            e.message |= static_cast<std::uint32_t>((*bytes)[i]) << (8 * i);
        if (!self->queue.push(e)) {
            ++self->overflows;
            return;
        }
        const std::uint64_t one = 1;
        (void)!::write(self->wake, &one, sizeof one);
    }

    void drain()
    {
        std::uint64_t count = 0;
        (void)!::read(wake, &count, sizeof count);
        while (auto e = queue.pop())
            if (handler)
                handler(e->message, e->arrivedNs);
    }
};

MidiInput::MidiInput() : m(std::make_unique<Impl>()) {}

MidiInput::~MidiInput() { close(); }

bool MidiInput::open(int device, Handler handler)
{
    close();
    const std::vector<MidiPortLocation> ports = midi_input_ports();
    if (device < 0 || device >= static_cast<int>(ports.size()))
        return false;
    const MidiPortLocation& where = ports[static_cast<std::size_t>(device)];
    try {
        m->port = std::make_unique<RtMidiIn>(where.api, "Ondrava", 4096);
        m->port->setErrorCallback([](RtMidiError::Type, const std::string&, void*) {});
        m->wake = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        if (m->wake < 0) {
            m->port.reset();
            return false;
        }
        m->handler = std::move(handler);
        m->notifier = std::make_unique<QSocketNotifier>(m->wake, QSocketNotifier::Read);
        QObject::connect(m->notifier.get(), &QSocketNotifier::activated, [impl = m.get()] { impl->drain(); });
        // Time code and clock messages are wanted; system exclusive and
        // active sensing are not.
        m->port->ignoreTypes(true, false, true);
        m->port->setCallback(&Impl::arrived, m.get());
        m->port->openPort(where.index, "Ondrava MIDI in");
        if (!m->port->isPortOpen()) {
            close();
            return false;
        }
    } catch (const RtMidiError&) {
        close();
        return false;
    }
    return true;
}

void MidiInput::close()
{
    if (m->port) {
        try {
            m->port->cancelCallback();
            m->port->closePort();
        } catch (const RtMidiError&) {
        }
        m->port.reset();
    }
    m->notifier.reset();
    if (m->wake >= 0)
        ::close(m->wake);
    m->wake = -1;
    while (m->queue.pop()) {
    }
    m->handler = nullptr;
}

bool MidiInput::isOpen() const { return m->port != nullptr; }

int MidiInput::overflows() const { return m->overflows.load(); }
