#include "processor/KaPodLibrary.h"
#include "processor/KaLog.h"

#include <dlfcn.h>

#include <mutex>

namespace KaPodLibrary
{
    namespace
    {
        struct Loaded
        {
            std::once_flag once;
            const KaPodApiV1* api = nullptr;
            juce::String status;
        };

        Loaded& loaded()
        {
            static Loaded l;
            return l;
        }

        /** The folder of the binary this code is in: the plug-in's shared library, or the program. */
        juce::File ownBinaryFolder()
        {
            Dl_info info {};
            if (dladdr (reinterpret_cast<void*> (&ownBinaryFolder), &info) != 0 && info.dli_fname != nullptr)
                return juce::File (juce::String::fromUTF8 (info.dli_fname)).getParentDirectory();
            return {};
        }

        void load (Loaded& l)
        {
            juce::StringArray missing;
            for (const auto& path : candidatePaths())
            {
                if (! juce::File (path).existsAsFile())
                {
                    missing.add (path);
                    continue;
                }
                void* handle = dlopen (path.toRawUTF8(), RTLD_NOW | RTLD_LOCAL);
                auto* getApi = handle != nullptr ? reinterpret_cast<KaPodGetApiFunction> (dlsym (handle, "kapod_get_api")) : nullptr;
                l.api = getApi != nullptr ? static_cast<const KaPodApiV1*> (getApi (KAPOD_API_VERSION)) : nullptr;
                if (l.api != nullptr)
                {
                    l.status = "libKaPod loaded from " + path;
                    break;
                }
                // Too old or not ours: the plug-in runs alone rather than guess.
                l.status = "Instance link unavailable: " + path + " does not offer interface version "
                           + juce::String (KAPOD_API_VERSION) + (handle == nullptr ? " (" + juce::String (dlerror()) + ")" : juce::String());
                break;
            }
            if (l.api == nullptr && l.status.isEmpty())
                l.status = "Instance link unavailable: " + juce::String (KAPOD_LIBRARY_FILE) + " not found (looked for "
                           + missing.joinIntoString (", ") + ")";
            KaLog::write ("KaPodLibrary: " + l.status);
        }
    }

    juce::StringArray candidatePaths()
    {
        juce::StringArray paths;
        if (const auto overridden = juce::SystemStats::getEnvironmentVariable ("KAPOD_LIBRARY", {}); juce::File::isAbsolutePath (overridden))
            paths.add (overridden);
        const auto home = juce::File::getSpecialLocation (juce::File::userHomeDirectory);
        paths.add (home.getChildFile (".local/lib/kestro-audio").getChildFile (KAPOD_LIBRARY_FILE).getFullPathName());
        paths.add (juce::String ("/usr/local/lib/kestro-audio/") + KAPOD_LIBRARY_FILE);
        paths.add (juce::String ("/usr/lib/kestro-audio/") + KAPOD_LIBRARY_FILE);
        if (const auto own = ownBinaryFolder(); own != juce::File())
            paths.add (own.getChildFile (KAPOD_LIBRARY_FILE).getFullPathName());
        return paths;
    }

    const KaPodApiV1* api()
    {
        auto& l = loaded();
        std::call_once (l.once, [&l] { load (l); });
        return l.api;
    }

    juce::String status()
    {
        api();
        return loaded().status;
    }
}
