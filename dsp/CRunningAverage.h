#pragma once

#include <algorithm>
#include <vector>

/** A running sum over a sliding window of the last windowLength inputs, accumulated in a wider
    type (CRunningCalc<float, double>).

    It owns two arrays: the window of past inputs (a ring) and a block of results for
    processBlock()-style users. Each new input is added to the sum and the input leaving the
    window subtracted; so that the rounding of those additions and subtractions cannot drift over
    hours, the sum is recomputed from the window once per windowLength inputs (amortised O(1)).
    Before the window has filled, the sum covers the inputs seen so far.
*/
template <typename TIn, typename TAcc>
class CRunningCalc
{
public:
    /** Not the audio thread; allocates the window and the result block. */
    CRunningCalc (int windowLengthIn, int maxBlockSizeIn)
        : window ((size_t) std::max (1, windowLengthIn), TIn (0)),
          results ((size_t) std::max (1, maxBlockSizeIn), TAcc (0))
    {
    }

    virtual ~CRunningCalc() = default;

    /** The owner's thread, no allocation: forgets every input. */
    void reset() noexcept
    {
        std::fill (window.begin(), window.end(), TIn (0));
        sum = TAcc (0);
        count = 0;
        position = 0;
        sinceResum = 0;
    }

    /** Audio thread, no allocation: takes one input into the window. */
    void push (TIn x) noexcept
    {
        const TIn leaving = window[(size_t) position];
        window[(size_t) position] = x;
        if (++position == getWindowLength())
            position = 0;

        if (count < getWindowLength())
            ++count;

        if (++sinceResum == getWindowLength())
        {
            sinceResum = 0;
            sum = TAcc (0);
            for (const TIn value : window)
                sum += (TAcc) value;
        }
        else
        {
            sum += (TAcc) x - (TAcc) leaving;
        }
    }

    /** Any thread, no allocation: the sum of the inputs in the window. */
    TAcc getSum() const noexcept { return sum; }

    /** Any thread, no allocation: how many inputs the window holds (windowLength once full). */
    int getCount() const noexcept { return count; }

    /** Any thread, no allocation. */
    int getWindowLength() const noexcept { return (int) window.size(); }

    /** Any thread, no allocation: the most samples one processBlock() call handles. */
    int getMaxBlockSize() const noexcept { return (int) results.size(); }

protected:
    std::vector<TIn> window;
    std::vector<TAcc> results;
    TAcc sum = TAcc (0);
    int count = 0;
    int position = 0;
    int sinceResum = 0;
};

/** The running mean of the last windowLength inputs (of the inputs so far, before the window has
    filled): a moving-average (boxcar) filter whose step response rises linearly over the window. */
template <typename TIn, typename TAcc>
class CRunningAverage : public CRunningCalc<TIn, TAcc>
{
public:
    using CRunningCalc<TIn, TAcc>::CRunningCalc;

    /** Audio thread, no allocation: takes one input and returns the mean of the window. */
    TAcc process (TIn x) noexcept
    {
        this->push (x);
        return getAverage();
    }

    /** Audio thread, no allocation: runs up to getMaxBlockSize() inputs and returns the mean after
        each of them (valid until the next call). */
    const TAcc* processBlock (const TIn* input, int numSamples) noexcept
    {
        const int n = std::clamp (numSamples, 0, this->getMaxBlockSize());
        for (int i = 0; i < n; ++i)
            this->results[(size_t) i] = process (input[i]);
        return this->results.data();
    }

    /** Any thread, no allocation: the mean of the window, 0 before any input. */
    TAcc getAverage() const noexcept { return this->count > 0 ? this->sum / (TAcc) this->count : TAcc (0); }
};
