#include "processor/KaXmlGuard.h"

#include <cstring>
#include <limits>

namespace KaXmlGuard
{
    namespace
    {
        /** Walks a document as JUCE's XmlDocument reads it (readNextElement, readChildElements,
            skipNextWhiteSpace, readQuotedString), counting only how deep elements nest. Where
            the parser would stop, the walk stops too; where it would go on after an error, the
            walk goes on, so that the depth it sees is never less than the parser's. */
        class DepthWalk
        {
        public:
            explicit DepthWalk (const juce::String& text)
            {
                for (auto p = text.getCharPointer(); ! p.isEmpty();)
                    chars.push_back (p.getAndAdvance());
            }

            bool acceptable()
            {
                if (containsText ("<!DOCTYPE") || containsText ("<!ENTITY"))
                    return false;
                skipWhiteSpace();
                element();
                return ! refused;
            }

        private:
            juce::juce_wchar at (size_t i) const noexcept { return i < chars.size() ? chars[i] : 0; }

            bool startsWith (size_t i, const char* s) const noexcept
            {
                for (; *s != 0; ++s, ++i)
                    if (at (i) != (juce::juce_wchar) *s)
                        return false;
                return true;
            }

            bool containsText (const char* s) const noexcept
            {
                for (size_t i = 0; i < chars.size(); ++i)
                    if (startsWith (i, s))
                        return true;
                return false;
            }

            /** Index of the next occurrence of s from pos, or chars.size(). */
            size_t find (size_t from, const char* s) const noexcept
            {
                for (size_t i = from; i < chars.size(); ++i)
                    if (startsWith (i, s))
                        return i;
                return chars.size();
            }

            static bool isIdentifierChar (juce::juce_wchar c) noexcept
            {
                if (c < 160)
                    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
                           || c == '_' || c == '-' || c == ':' || c == '.';
                return juce::CharacterFunctions::isLetterOrDigit (c);
            }

            size_t endOfToken (size_t i) const noexcept
            {
                while (isIdentifierChar (at (i)))
                    ++i;
                return i;
            }

            void skipWhiteSpace()
            {
                for (;;)
                {
                    while (pos < chars.size() && juce::CharacterFunctions::isWhitespace (chars[pos]))
                        ++pos;
                    if (pos >= chars.size())
                        return stop();
                    if (at (pos) == '<' && startsWith (pos + 1, "!--"))
                    {
                        const auto end = find (pos + 4, "-->");
                        if (end >= chars.size())
                            return stop();
                        pos = end + 3;
                        continue;
                    }
                    if (at (pos) == '<' && at (pos + 1) == '?')
                    {
                        const auto end = find (pos + 2, "?>");
                        if (end >= chars.size())
                            return stop();
                        pos = end + 2;
                        continue;
                    }
                    return;
                }
            }

            /** "&" at pos: only the forms this program writes are let through. */
            void entity()
            {
                static constexpr const char* named[] = { "&amp;", "&quot;", "&apos;", "&lt;", "&gt;" };
                for (const auto* n : named)
                    if (startsWith (pos, n))
                    {
                        pos += std::strlen (n);
                        return;
                    }

                size_t i = pos + 1;
                if (at (i) != '#')
                    return refuse();
                const bool hex = at (i + 1) == 'x' || at (i + 1) == 'X';
                i += hex ? 2 : 1;
                const size_t first = i;
                while (hex ? juce::CharacterFunctions::getHexDigitValue (at (i)) >= 0 : (at (i) >= '0' && at (i) <= '9'))
                    ++i;
                const size_t digits = i - first;
                if (digits == 0 || digits > (hex ? 8u : 12u) || at (i) != ';')
                    return refuse();
                pos = i + 1;
            }

            void quotedString()
            {
                const auto quote = at (pos++);
                while (! outOfData && ! refused)
                {
                    const auto c = at (pos);
                    if (c == 0)
                        return stop();
                    if (c == quote)
                    {
                        ++pos;
                        return;
                    }
                    if (c == '&')
                        entity();
                    else
                        ++pos;
                }
            }

            /** readNextElement: returns false where the parser returns no element. */
            bool element()
            {
                skipWhiteSpace();
                if (outOfData || at (pos) != '<')
                    return false;
                ++pos;
                if (endOfToken (pos) == pos)
                {
                    skipWhiteSpace();
                    if (endOfToken (pos) == pos)
                        return false;
                }
                pos = endOfToken (pos);

                for (;;)
                {
                    skipWhiteSpace();
                    const auto c = at (pos);
                    if (c == '/' && at (pos + 1) == '>')
                    {
                        pos += 2;
                        return true;
                    }
                    if (c == '>')
                    {
                        ++pos;
                        if (++depth > maxDepth)
                            refuse();
                        else
                            children();
                        --depth;
                        return true;
                    }
                    if (! isIdentifierChar (c))
                        return true;

                    pos = endOfToken (pos);
                    skipWhiteSpace();
                    const auto equals = at (pos);
                    if (equals == 0)
                    {
                        stop();
                        return true;
                    }
                    ++pos;
                    if (equals != '=')
                        return true;
                    skipWhiteSpace();
                    if (at (pos) != '"' && at (pos) != '\'')
                        return true;
                    quotedString();
                    if (outOfData || refused)
                        return true;
                }
            }

            /** readChildElements: up to the parent's closing tag or the end of the data. */
            void children()
            {
                while (! refused)
                {
                    const auto before = pos;
                    skipWhiteSpace();
                    if (outOfData)
                        return;

                    if (at (pos) == '<')
                    {
                        if (at (pos + 1) == '/')
                        {
                            const auto close = find (pos, ">");
                            if (close < chars.size())
                                pos = close + 1;
                            return;
                        }
                        if (at (pos + 1) == '!' && startsWith (pos + 2, "[CDATA["))
                        {
                            const auto end = find (pos + 9, "]]>");
                            if (end >= chars.size())
                                return stop();
                            pos = end + 3;
                            continue;
                        }
                        if (! element())
                            return;
                        continue;
                    }

                    // Text: the parser reads it from before the skipped white space, which may
                    // hold a processing instruction its text reader stops at. It would then
                    // read the same nothing for ever; such a document is refused.
                    pos = before;
                    for (;;)
                    {
                        const auto c = at (pos);
                        if (c == '<')
                        {
                            if (startsWith (pos + 1, "!--"))
                            {
                                const auto end = find (pos + 4, "-->");
                                if (end >= chars.size())
                                    return stop();
                                pos = end + 3;
                                continue;
                            }
                            break;
                        }
                        if (c == 0)
                            return stop();
                        if (c == '&')
                        {
                            entity();
                            if (refused)
                                return;
                        }
                        else
                            ++pos;
                    }
                    if (pos == before)
                        refuse();
                }
            }

            void refuse() noexcept { refused = true; }
            void stop() noexcept { outOfData = true; }

            std::vector<juce::juce_wchar> chars;
            size_t pos = 0;
            int depth = 0;
            bool outOfData = false, refused = false;
        };
    }

    bool isAcceptable (const juce::String& text)
    {
        return DepthWalk (text).acceptable();
    }

    std::unique_ptr<juce::XmlElement> parse (const juce::String& text)
    {
        if (text.isEmpty() || ! isAcceptable (text))
            return nullptr;
        return juce::parseXML (text);
    }

    std::unique_ptr<juce::XmlElement> parseUtf8 (const void* data, size_t numBytes)
    {
        if (data == nullptr || numBytes == 0 || numBytes > (size_t) std::numeric_limits<int>::max())
            return nullptr;

        auto* bytes = static_cast<const char*> (data);
        if (numBytes >= 3 && juce::CharPointer_UTF8::isByteOrderMark (bytes))
        {
            bytes += 3;
            numBytes -= 3;
        }
        // Decoding a broken sequence would read past the end of the data.
        if (! juce::CharPointer_UTF8::isValidString (bytes, (int) numBytes))
            return nullptr;
        return parse (juce::String::fromUTF8 (bytes, (int) numBytes));
    }
}
