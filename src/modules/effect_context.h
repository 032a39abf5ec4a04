#pragma once

// What the effect commands hand to the module entries beside their
// arguments: the program-wide integer setting given to Clear, Amplify and
// the magnified plot, and which menu item chose the running effect.
struct EffectContext {
    int setting = 24;
    int variant = 0;   // 0, or the EffectVariant chosen while it runs
};

EffectContext& effect_context();
// Back to the values at start-up (between tests).
void reset_effect_context();

// Sets the variant for the lifetime of the scope.
class EffectVariantScope {
public:
    explicit EffectVariantScope(int variant) : m_previous(effect_context().variant) { effect_context().variant = variant; }
    ~EffectVariantScope() { effect_context().variant = m_previous; }
    EffectVariantScope(const EffectVariantScope&) = delete;
    EffectVariantScope& operator=(const EffectVariantScope&) = delete;

private:
    int m_previous;
};
