#include "editor/KaOglChildComponent.h"
#include "editor/KaOglComponent.h"

KaOglChildComponent::~KaOglChildComponent()
{
    if (m_pOglComponent != nullptr)
        m_pOglComponent->forgetChild (this);
}

void KaOglChildComponent::requestRedraw() const noexcept
{
    if (m_pOglComponent != nullptr)
        m_pOglComponent->requestRedraw();
}

void KaOglChildComponent::layoutChanged() const noexcept
{
    if (m_pOglComponent != nullptr)
        m_pOglComponent->markLayoutChanged();
}

void KaOglChildComponent::moved() { layoutChanged(); }
void KaOglChildComponent::resized() { layoutChanged(); }
void KaOglChildComponent::visibilityChanged()
{
    noteState();
    layoutChanged();
}

void KaOglChildComponent::enablementChanged()
{
    noteState();
    requestRedraw();
}

void KaOglChildComponent::noteState() noexcept
{
    m_bEnabledForRender.store (isEnabled(), std::memory_order_relaxed);
    m_bVisibleForRender.store (isVisible(), std::memory_order_relaxed);
}

void KaOglChildComponent::parentHierarchyChanged()
{
    // Adopted by the first KaOglComponent above it.
    KaOglComponent* frame = nullptr;
    for (auto* p = getParentComponent(); p != nullptr && frame == nullptr; p = p->getParentComponent())
        frame = dynamic_cast<KaOglComponent*> (p);
    if (frame != m_pOglComponent)
    {
        if (m_pOglComponent != nullptr)
            m_pOglComponent->forgetChild (this);
        setOglComponent (frame);
    }
    noteState();
    layoutChanged();
}
