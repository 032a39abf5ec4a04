#include "modules/effect_context.h"

EffectContext& effect_context()
{
    static EffectContext context;
    return context;
}

void reset_effect_context() { effect_context() = EffectContext{}; }
