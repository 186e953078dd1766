#pragma once

#include <juce_core/juce_core.h>

#include <memory>

/** Parses XML from outside the program (session blocks, preset files) without letting it take
    the host down.

    JUCE's parser descends recursively, once per nesting level, and a hostile document of a few
    hundred kilobytes nests deep enough to overflow a host thread's stack. The guard walks the
    text first, the way the parser will, and refuses a document that nests deeper than maxDepth,
    declares a DTD or uses entities beyond the five named ones and character references (which
    is all this program writes). Any thread; allocates. */
namespace KaXmlGuard
{
    inline constexpr int maxDepth = 32;

    /** True when the text may be handed to the parser. */
    bool isAcceptable (const juce::String& text);

    /** The document element, or nullptr when the text is refused or is not XML. */
    std::unique_ptr<juce::XmlElement> parse (const juce::String& text);

    /** The same for raw bytes, which must be valid UTF-8 (a leading byte-order mark is skipped;
        the text ends at the first zero byte). */
    std::unique_ptr<juce::XmlElement> parseUtf8 (const void* data, size_t numBytes);
}
