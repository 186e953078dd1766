// param-table: the manual's table of every host parameter, written from the parameter
// definitions themselves so that it cannot drift from them. Markdown on stdout, or with --html
// an HTML table (the manual's build step inserts it; its converter knows no Markdown tables).
//   param-table > docs/manual/parameters.md
//   param-table --html FILE
#include "processor/UpmixerParameters.h"

#include <cstdio>

namespace
{
    juce::String rangeOf (const KaParameterInfo& p)
    {
        switch (p.kind)
        {
            case KaParamKind::toggle: return "Off, On";
            case KaParamKind::choice:
            {
                auto named = p.choices;
                named.removeEmptyStrings();
                named.removeString ("Reserved");
                // Long lists (the channel orders) would swamp the table: their ends say enough.
                if (named.size() > 12)
                    return juce::String (named.size()) + " choices, from " + named[0] + " to " + named[named.size() - 1];
                return named.isEmpty() ? juce::String ("a choice number") : named.joinIntoString (", ");
            }
            case KaParamKind::level:
            case KaParamKind::logFrequency:
            case KaParamKind::plain: break;
        }
        return p.valueToText (0.0f) + " to " + p.valueToText (1.0f);
    }

    juce::String markdownCell (juce::String text) { return text.trim().replace ("|", "\\|"); }
    juce::String htmlCell (juce::String text)
    {
        return text.trim().replace ("&", "&amp;").replace ("<", "&lt;").replace (">", "&gt;");
    }
}

int main (int argc, char** argv)
{
    const bool html = argc > 1 && juce::String (argv[1]) == "--html";
    const auto infos = UpmixerParam::createParameterInfos();
    juce::String text;
    if (html)
        text << "<table class=\"parameters\">\n<tr><th>Key</th><th>Name</th><th>Range</th><th>Default</th></tr>\n";
    else
        text << "# Every parameter\n\n"
             << "Every host parameter of Orrin Upmix: its key (for `orrin-upmix --set` and automation), its name as\n"
             << "the host shows it, its range and its default.\n\n"
             << "<!-- Written by tools/param-table from the parameter definitions: do not edit by hand. -->\n\n"
             << "| Key | Name | Range | Default |\n|---|---|---|---|\n";
    for (const auto& p : infos)
    {
        if (p.number >= UpmixerParam::numHostParameters)
            continue;
        const juce::String cells[] = { p.name, rangeOf (p), p.valueToText (p.defaultValue) };
        if (html)
            text << "<tr><td><code>" << p.key << "</code></td><td>" << htmlCell (cells[0]) << "</td><td>" << htmlCell (cells[1])
                 << "</td><td>" << htmlCell (cells[2]) << "</td></tr>\n";
        else
            text << "| `" << p.key << "` | " << markdownCell (cells[0]) << " | " << markdownCell (cells[1]) << " | "
                 << markdownCell (cells[2]) << " |\n";
    }
    if (html)
        text << "</table>\n";

    if (html && argc > 2)
        return juce::File (juce::String (argv[2])).replaceWithText (text) ? 0 : 1;
    std::printf ("%s", text.toRawUTF8());
    return 0;
}
