#include "processor/KaLog.h"
#include "processor/KaPaths.h"

namespace KaLog
{
    namespace
    {
        struct Logs
        {
            juce::CriticalSection lock;
            std::unique_ptr<juce::FileLogger> main;
            std::unique_ptr<juce::FileLogger> support;
        };

        Logs& logs()
        {
            static Logs instance;
            return instance;
        }

        std::unique_ptr<juce::FileLogger> openLogger (const juce::File& file, const juce::String& welcome)
        {
            if (! file.getParentDirectory().createDirectory())
                return nullptr;
            auto logger = std::make_unique<juce::FileLogger> (file, welcome, sizeCapBytes);
            return file.existsAsFile() ? std::move (logger) : nullptr;
        }
    }

    bool openMainLog (const juce::String& buildLine)
    {
        auto& l = logs();
        const juce::ScopedLock sl (l.lock);
        if (l.main != nullptr)
            return false;

        l.main = openLogger (KaPaths::mainLogFile(), buildLine);
        if (l.main != nullptr)
            juce::Logger::setCurrentLogger (l.main.get());
        return l.main != nullptr;
    }

    void openSupportLog (const juce::String& headerLine)
    {
        auto& l = logs();
        const juce::ScopedLock sl (l.lock);
        if (l.support == nullptr)
            l.support = openLogger (KaPaths::supportLogFile(), "KaSupportLog");
        if (l.support == nullptr)
            return;

        // The header goes through the support log as the current logger, then the previous
        // logger is put back.
        auto* previous = juce::Logger::getCurrentLogger();
        juce::Logger::setCurrentLogger (l.support.get());
        juce::Logger::writeToLog (headerLine);
        juce::Logger::setCurrentLogger (previous);
    }

    void write (const juce::String& line)
    {
        auto& l = logs();
        const juce::ScopedLock sl (l.lock);
        if (l.main != nullptr)
            l.main->logMessage (line);
    }

    void writeSupport (const juce::String& line)
    {
        auto& l = logs();
        const juce::ScopedLock sl (l.lock);
        if (l.support != nullptr)
            l.support->logMessage (line);
    }

    juce::File mainLogFile()
    {
        auto& l = logs();
        const juce::ScopedLock sl (l.lock);
        return l.main != nullptr ? l.main->getLogFile() : juce::File();
    }
}
