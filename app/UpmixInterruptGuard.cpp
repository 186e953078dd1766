#include "app/UpmixInterruptGuard.h"

#include <csignal>
#include <cstring>
#include <unistd.h>

namespace
{
    // The handler may only use what is safe in a signal handler: a fixed buffer, unlink, write.
    char guardedPath[4096] {};
    volatile std::sig_atomic_t guarding = 0;
    constexpr int signals[] = { SIGINT, SIGTERM, SIGHUP };

    void onSignal (int signalNumber)
    {
        if (guarding != 0)
            ::unlink (guardedPath);
        static const char message[] = "\norrin-upmix: interrupted; nothing was written\n";
        [[maybe_unused]] const auto written = ::write (STDERR_FILENO, message, sizeof (message) - 1);
        std::signal (signalNumber, SIG_DFL);
        std::raise (signalNumber);
    }
}

UpmixInterruptGuard::UpmixInterruptGuard (const juce::File& fileToRemove)
{
    const auto path = fileToRemove.getFullPathName().toStdString();
    if (path.size() >= sizeof (guardedPath))
        return;
    std::memcpy (guardedPath, path.c_str(), path.size() + 1);
    guarding = 1;
    for (int s : signals)
        std::signal (s, onSignal);
}

UpmixInterruptGuard::~UpmixInterruptGuard()
{
    for (int s : signals)
        std::signal (s, SIG_DFL);
    guarding = 0;
}
