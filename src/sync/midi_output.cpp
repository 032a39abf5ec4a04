#include "sync/midi_output.h"

#include "sync/midi_ports.h"

struct MidiOutput::Impl {
    std::unique_ptr<RtMidiOut> port;
};

MidiOutput::MidiOutput() : m(std::make_unique<Impl>()) {}

MidiOutput::~MidiOutput() { close(); }

bool MidiOutput::open(int device)
{
    close();
    const std::vector<MidiPortLocation> ports = midi_output_ports();
    if (device < 0 || device >= static_cast<int>(ports.size()))
        return false;
    const MidiPortLocation& where = ports[static_cast<std::size_t>(device)];
    try {
        m->port = std::make_unique<RtMidiOut>(where.api, "Ondrava");
        m->port->setErrorCallback([](RtMidiError::Type, const std::string&, void*) {});
        m->port->openPort(where.index, "Ondrava MIDI out");
        if (!m->port->isPortOpen()) {
            m->port.reset();
            return false;
        }
    } catch (const RtMidiError&) {
        m->port.reset();
        return false;
    }
    return true;
}

void MidiOutput::close()
{
    if (!m->port)
        return;
    try {
        m->port->closePort();
    } catch (const RtMidiError&) {
    }
    m->port.reset();
}

bool MidiOutput::isOpen() const { return m->port != nullptr; }

bool MidiOutput::send(const std::vector<std::uint8_t>& message)
{
    if (!m->port || message.empty())
        return false;
    try {
        m->port->sendMessage(&message);
    } catch (const RtMidiError&) {
        return false;
    }
    return true;
}
