#pragma once

/** Which of Orrin Upmix's parameters each instance-link group carries (docs/instance-link.md):
    the sound's shape is shared, what belongs to the track (routing, trims, bypass, colours)
    never is. */
namespace UpmixerPodLinks
{
    /** The KaJucePodUser::LinkGroup of a parameter, or -1. */
    int groupOf (int number) noexcept;
}
