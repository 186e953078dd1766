#pragma once

/** Mixin for anything that needs the current channel layout: it asks its provider (the
    processor) for the routing number in force. Without a provider the layout is routing 0. */
class KaJuceChannelUser
{
public:
    virtual ~KaJuceChannelUser() = default;

    void setChannelProvider (const KaJuceChannelUser* provider) noexcept { channelProvider = provider; }

    /** Any thread; no allocation. */
    virtual int getCurrentRouting() const noexcept { return channelProvider != nullptr ? channelProvider->getCurrentRouting() : 0; }

protected:
    const KaJuceChannelUser* channelProvider = nullptr;
};
