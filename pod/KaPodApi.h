/* libKaPod's C interface: the process-wide registry of pods (named groups of plug-in instances)
   that share settings and exchange channels. docs/instance-link.md describes the design.

   One entry point, kapod_get_api(version), returns the function table of that interface
   version, or NULL when the library does not have it. A new version adds a new table; old
   tables stay, so plug-ins built against an older header keep working.

   Threads: functions marked "message thread" may run on any thread but the audio thread
   (they take the registry's mutex and may allocate); those marked "audio thread" are
   lock-free and allocation-free, and each member's send and receive run on one thread at a
   time (the member's own audio thread). */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#define KAPOD_API_VERSION 1
#define KAPOD_LIBRARY_FILE "libKaPod.so.1"
#define KAPOD_MAX_MEMBERS 16
#define KAPOD_MAX_CHANNELS 16
/** The longest block a member sends or receives at once. */
#define KAPOD_MAX_BLOCK 8192
/** Samples between a sender writing and the receiver reading: 4096 - 1536. */
#define KAPOD_EXCHANGE_DELAY 2560
#define KAPOD_MAX_SETTINGS 256
#define KAPOD_TEXT_LENGTH 128

typedef struct KaPodMember KaPodMember;

typedef struct KaPodMemberInfo
{
    int number;       /* 0 .. KAPOD_MAX_MEMBERS - 1 */
    int sendTarget;   /* -1: none; its own number: receiver */
    double sampleRate;  /* 0 until known */
    char trackName[KAPOD_TEXT_LENGTH];
} KaPodMemberInfo;

typedef struct KaPodApiV1
{
    int version;

    /* Message thread. Joins (creating it when new) the pod `name`, claiming member number
       `wantedNumber` when free (else the lowest free one). sampleRate 0 means not yet known.
       linkMask becomes the pod's when the pod is new. With adoptSettings the pod's stored
       linked values are queued for the new member (take_settings). NULL when refused, with
       the reason in error. */
    KaPodMember* (*join) (const char* name, int wantedNumber, double sampleRate, unsigned linkMask, int adoptSettings,
                          char* error, int errorLength);
    /* Message thread; the member's audio thread must no longer use it. */
    void (*leave) (KaPodMember* member);
    int (*member_number) (const KaPodMember* member);
    void (*set_track_name) (KaPodMember* member, const char* trackName);
    /* Message thread. Records the member's rate; returns 1 when every other member with a
       known rate runs at it, otherwise 0 with the other rate in otherRate. */
    int (*set_sample_rate) (KaPodMember* member, double sampleRate, double* otherRate);
    /* Message thread: the pod's members, lowest number first; returns how many. */
    int (*list_members) (const KaPodMember* member, KaPodMemberInfo* out, int maxMembers);
    void (*set_link_mask) (KaPodMember* member, unsigned mask);
    unsigned (*get_link_mask) (const KaPodMember* member);
    /* Message thread: a linked parameter changed on this member; queued for every other. */
    void (*publish_setting) (KaPodMember* member, int number, float value);
    /* Message thread: takes the changes queued for this member; returns how many. */
    int (*take_settings) (KaPodMember* member, int* numbers, float* values, int maxSettings);

    /* Any thread: -1 for none, else the receiving member's number. */
    void (*set_send_target) (KaPodMember* member, int target);
    /* Audio thread: the member's output for timeline samples [position, position + numSamples). */
    void (*send) (KaPodMember* member, const float* const* channels, int numChannels, int numSamples, long long position);
    /* Audio thread: adds what members sending to this one wrote for timeline samples
       [position - KAPOD_EXCHANGE_DELAY, ... + numSamples); returns how many senders it added. */
    int (*receive_add) (KaPodMember* member, float* const* channels, int numChannels, int numSamples, long long position);

    /* Message thread: the names of the pods in this process, at most maxPods of them, each
       cut to KAPOD_TEXT_LENGTH - 1 bytes; returns how many. */
    int (*list_pods) (char (*names)[KAPOD_TEXT_LENGTH], int maxPods);
} KaPodApiV1;

/** The function table of interface `version`, or NULL. */
const void* kapod_get_api (int version);

typedef const void* (*KaPodGetApiFunction) (int version);

#ifdef __cplusplus
}
#endif
