#pragma once

class KaProfiler;

/** What the upmix engine needs of its host (the processor): the timing table and the current
    normalised value of a parameter by number. The engine never writes parameters. */
class UpmixerAlgoInterface
{
public:
    virtual ~UpmixerAlgoInterface() = default;

    /** Audio thread; no allocation. */
    virtual KaProfiler* getProfiler() noexcept = 0;

    /** Audio thread; no allocation. The normalised value 0..1 of a parameter. */
    virtual float getParameterValue (int number) const noexcept = 0;
};
