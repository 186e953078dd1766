#pragma once

#include "processor/KaJuceChannelUser.h"

class KaOglComponent;

/** Mixin: anything that draws through a KaOglComponent holds a pointer to it (null until the
    frame adopts it). The frame is also its channel provider, so drawing can follow the layout. */
class KaOglComponentUser : public KaJuceChannelUser
{
public:
    /** Message thread. */
    virtual void setOglComponent (KaOglComponent* frame) noexcept { m_pOglComponent = frame; }
    KaOglComponent* getOglComponent() const noexcept { return m_pOglComponent; }

protected:
    KaOglComponent* m_pOglComponent = nullptr;
};
