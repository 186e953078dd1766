// Delay lines:
//  - CDelayFilter delays by exactly its delay (0: the sample just written), clamps it, agrees
//    in place and sample by sample; clear() empties it;
//  - CDelayDoubleBufferFilter starts at its maximum filled with its initial value; 100 to 200
//    samples mixes both taps for 9,999 samples, then reads the new tap only; a request during
//    a fade waits for its end; the current delay starts no fade; unprepared, it passes through.
#include "dsp/CDelayDoubleBufferFilter.h"
#include "dsp/CDelayFilter.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

TEST (DspDelay, PlainDelayDelaysByExactlyItsDelay)
{
    for (const int d : { 0, 1, 7, 100 })
    {
        CDelayFilter<float> line (100), inPlace (100);
        line.setDelay (d);
        inPlace.setDelay (d);
        EXPECT_EQ (line.getDelay(), d);
        std::vector<float> block (1000);
        std::iota (block.begin(), block.end(), 1.0f);
        inPlace.processInPlace (block.data(), 813);
        inPlace.processInPlace (block.data() + 813, 187);
        for (int n = 0; n < 1000; ++n)
        {
            const float expected = n >= d ? (float) (n - d) + 1.0f : 0.0f;
            ASSERT_EQ (line.process ((float) n + 1.0f), expected) << "delay " << d << ", sample " << n;
            ASSERT_EQ (block[(size_t) n], expected) << "in place, delay " << d << ", sample " << n;
        }
        line.clear();
        for (int n = 0; n < d; ++n)
            ASSERT_EQ (line.process (5.0f), 0.0f) << "cleared";
    }

    CDelayFilter<float> clamped (50);
    clamped.setDelay (80);
    EXPECT_EQ (clamped.getDelay(), 50);
    clamped.setDelay (-3);
    EXPECT_EQ (clamped.getDelay(), 0);
    clamped.setDelay (30);
    clamped.setMaxDelay (10);
    EXPECT_EQ (clamped.getMaxDelay(), 10);
    EXPECT_EQ (clamped.getDelay(), 10);
}

TEST (DspDelay, CrossFadedDelayGlidesOver10000Samples)
{
    CDelayDoubleBufferFilter<float> line (1000, 0.25f);
    EXPECT_EQ (line.getCurrentDelay(), 1000);
    EXPECT_EQ (line.getTargetDelay(), 1000);
    for (int n = 0; n < 1000; ++n)
        ASSERT_EQ (line.process (1.0f), 0.25f) << "filled with the initial value";
    line.setPendingDelay (1000);
    line.updateDelay();
    EXPECT_EQ (line.getFade(), 0.0f) << "asking for the current delay starts nothing";

    // Settle on 100 samples first (a glide from the maximum).
    line.setPendingDelay (100);
    line.updateDelay();
    for (int n = 0; n < 20000; ++n)
        line.process (0.0f);
    ASSERT_EQ (line.getCurrentDelay(), 100);
    ASSERT_EQ (line.getFade(), 0.0f);

    // A ramp x[n] = n makes the mix readable: y = n - 100 - 100 * fade. Blocks of 64 samples,
    // updateDelay() at the start of each.
    line.setPendingDelay (200);
    int mixed = 0, firstPure200 = -1, secondRequestStartedAt = -1;
    for (int n = 0; n < 40000; ++n)
    {
        if (n % 64 == 0)
        {
            if (n == 640)
                line.setPendingDelay (50); // during the fade: must wait
            line.updateDelay();
            if (secondRequestStartedAt < 0 && line.getTargetDelay() == 50)
                secondRequestStartedAt = n;
        }

        const float x = (float) n;
        const float y = line.process (x);
        if (n < 200)
            continue;

        if (secondRequestStartedAt < 0)
        {
            if (y < x - 100.0f && y > x - 200.0f)
            {
                ++mixed;
            }
            else
            {
                ASSERT_EQ (y, x - 200.0f) << n;
                if (firstPure200 < 0)
                    firstPure200 = n;
            }
        }
    }

    // The fade started at the first block (n = 0), so samples 0 ... 9998 were mixed.
    EXPECT_EQ (mixed, 9999 - 200);
    EXPECT_EQ (firstPure200, 9999);
    EXPECT_EQ (line.getCurrentDelay(), 50);
    EXPECT_EQ (secondRequestStartedAt, 10048) << "the first block start after the fade ended";
    EXPECT_EQ (line.getPendingDelay(), -1);

    CDelayDoubleBufferFilter<float> unprepared;
    EXPECT_EQ (unprepared.getMaxDelay(), 0);
    EXPECT_EQ (unprepared.process (3.5f), 3.5f) << "unprepared, it passes through";
}
