#include "processor/UpmixerPodLinks.h"
#include "processor/KaJucePodUser.h"
#include "processor/UpmixerParameters.h"

namespace UpmixerPodLinks
{
    int groupOf (int number) noexcept
    {
        using namespace UpmixerParam;
        using P = KaJucePodUser;
        auto in = [number] (std::initializer_list<int> numbers)
        {
            for (int n : numbers)
                if (n == number)
                    return true;
            return false;
        };
        if (in ({ Divergence, FadeFS, FadeSB, Diffusion, BackBoost, DE_RampS, DivergeLfcEnable, DivergeLfcAmount, DivergeLfcFreq,
                  ArcLink, ShelfFreq, ShelfGain, ShelfEnable, UpmixPsdWidth, ExcludeC }))
            return P::linkSpatial;
        if (in ({ DialogIsolate, DialogExtractionAggression, DialogAttack, DialogRelease, DialogMixInC, DE_Stability, DDGate0, DDGate1,
                  DDGate2, DialogExtractionActive, DialogExtractionStrength }))
            return P::linkDialogue;
        if (in ({ Lfe, LfeFreq, LfeSplit, LfeGain, ExcludeLfe, ExcludeLfeGain }))
            return P::linkLfe;
        if (in ({ VerticalOnPhase, VerticalOffPhase, VerticalLink, VerticalExcludeC, VerticalExcludeLfe, VerticalShelfFreq,
                  VerticalShelfGain, VerticalShelfEnable, ExtendedVerticalParamRange }))
            return P::linkOverheads;
        if ((number >= MonitorSource && number <= MonitorDelta) || (number >= MonitorLtsRts && number <= MonitorLbLts)
            || (number >= Mute0 && number < Mute0 + numOutputs) || (number >= Solo0 && number < Solo0 + numOutputs)
            || number == MuteDownmix0 || number == MuteDownmix1 || (number >= DownmixC && number <= DownmixExact))
            return P::linkMonitoring;
        return -1;
    }
}
