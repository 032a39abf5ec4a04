// A small LV2 effect for the plug-in host's tests: it delays its input by
// 220 frames and says so on its latency port, adds its CV input, and reads
// its atom input. Both of those ports are optional; connected to nothing,
// the plug-in gives samples that are no numbers, which the host must refuse.
// "poison" set gives such samples anyway; "constant" set gives 0.75 whatever
// comes in.

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#define DELAY 220

enum { IN, OUT, LATENCY, CV, EVENTS, POISON, CONSTANT };

typedef struct {
    const float* in;
    float* out;
    float* latency;
    const float* cv;
    const LV2_Atom_Sequence* events;
    const float* poison;
    const float* constant;
    float line[DELAY];
    unsigned at;
} Plugin;

static LV2_Handle instantiate(const LV2_Descriptor* d, double rate, const char* path, const LV2_Feature* const* f)
{
    (void)d;
    (void)rate;
    (void)path;
    (void)f;
    return std::calloc(1, sizeof(Plugin));
}

static void connect(LV2_Handle h, uint32_t port, void* data)
{
    Plugin* p = (Plugin*)h;
    switch (port) {
    case IN: p->in = (const float*)data; break;
    case OUT: p->out = (float*)data; break;
    case LATENCY: p->latency = (float*)data; break;
    case CV: p->cv = (const float*)data; break;
    case EVENTS: p->events = (const LV2_Atom_Sequence*)data; break;
    case POISON: p->poison = (const float*)data; break;
    case CONSTANT: p->constant = (const float*)data; break;
    }
}

static void activate(LV2_Handle h)
{
    Plugin* p = (Plugin*)h;
    std::memset(p->line, 0, sizeof p->line);
    p->at = 0;
}

static void run(LV2_Handle h, uint32_t n)
{
    Plugin* p = (Plugin*)h;
    if (p->latency)
        *p->latency = DELAY;
    const int broken = !p->cv || !p->events || (p->poison && *p->poison > 0.5f);
    for (uint32_t i = 0; i < n; ++i) {
        const float delayed = p->line[p->at];
        p->line[p->at] = p->in[i];
        p->at = (p->at + 1) % DELAY;
        if (p->constant && *p->constant > 0.5f)
            p->out[i] = 0.75f;
        else
            p->out[i] = broken ? std::nanf("") : delayed + p->cv[i] + (float)(p->events->atom.size > 8 ? 1 : 0);
    }
}

static void cleanup(LV2_Handle h) { std::free(h); }

static const LV2_Descriptor descriptor = {"urn:ondrava:test:delay", instantiate, connect, activate, run, nullptr,
                                          cleanup, nullptr};

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) { return index == 0 ? &descriptor : nullptr; }
