#include "editor/KaJuceOglFont.h"
#include "editor/KaOglComponent.h"
#include "processor/KaLog.h"

#include <BinaryData.h>
#include <juce_opengl/juce_opengl.h>

using namespace juce::gl;

std::optional<KaJuceOglFont::Table> KaJuceOglFont::parseTable (const juce::String& text)
{
    Table table;
    for (const auto& rawLine : juce::StringArray::fromLines (text))
    {
        const auto line = rawLine.trim();
        if (line.isEmpty() || line.startsWithChar ('#'))
            continue;
        auto tokens = juce::StringArray::fromTokens (line, " ", {});
        if (tokens[0] == "size" && tokens.size() == 9)
        {
            table.size = tokens[1].getIntValue();
            table.height = tokens[3].getIntValue();
            table.ascent = tokens[5].getIntValue();
            table.imageWidth = tokens[7].getIntValue();
            table.imageHeight = tokens[8].getIntValue();
            continue;
        }
        if (tokens.size() != 8 || ! tokens[0].containsOnly ("0123456789"))
            return std::nullopt;
        Glyph g;
        g.code = (juce::juce_wchar) tokens[0].getIntValue();
        g.source = { tokens[1].getIntValue(), tokens[2].getIntValue(), tokens[3].getIntValue(), tokens[4].getIntValue() };
        g.left = tokens[5].getIntValue();
        g.top = tokens[6].getIntValue();
        g.advance = tokens[7].getIntValue();
        const bool inside = g.source.getX() >= 0 && g.source.getY() >= 0 && g.source.getRight() <= table.imageWidth
                            && g.source.getBottom() <= table.imageHeight && g.source.getWidth() >= 0 && g.source.getHeight() >= 0;
        if (! inside || (! table.glyphs.empty() && table.glyphs.back().code >= g.code))
            return std::nullopt;
        table.glyphs.push_back (g);
    }
    if (table.size <= 0 || table.height <= 0 || table.glyphs.empty())
        return std::nullopt;
    return table;
}

KaJuceOglFont::KaJuceOglFont (KaOglComponent* frame, int pixelSize)
{
    m_latin1.fill (-1);
    const auto base = "FONT_FontText" + juce::String (pixelSize);
    int tableSize = 0, imageSize = 0;
    const char* tableData = BinaryData::getNamedResource ((base + "_glyphs").toRawUTF8(), tableSize);
    const char* imageData = BinaryData::getNamedResource ((base + "_png").toRawUTF8(), imageSize);
    auto table = tableData != nullptr ? parseTable (juce::String::fromUTF8 (tableData, tableSize)) : std::nullopt;
    const auto image = imageData != nullptr ? juce::ImageFileFormat::loadFrom (imageData, (size_t) imageSize) : juce::Image();
    if (! table || ! image.isValid() || image.getWidth() != table->imageWidth || image.getHeight() != table->imageHeight)
    {
        KaLog::write ("ERROR: KaJuceOglFont: the font " + base + " could not be read");
        return;
    }

    m_table = std::move (*table);
    for (size_t i = 0; i < m_table.glyphs.size(); ++i)
    {
        const auto code = m_table.glyphs[i].code;
        if (code < 256)
            m_latin1[(size_t) code] = (short) i;
        if (code == '?')
            m_nFallback = (int) i;
    }
    setImage (image);
    setSmoothing (0);  // glyphs are drawn at whole pixels, one texel per pixel
    setOglComponent (frame);
}

const KaJuceOglFont::Glyph& KaJuceOglFont::glyphFor (juce::juce_wchar c) const noexcept
{
    static const Glyph none;
    if (m_table.glyphs.empty())
        return none;
    if (c >= 0 && c < 256)
    {
        const int index = m_latin1[(size_t) c];
        return m_table.glyphs[(size_t) (index >= 0 ? index : m_nFallback)];
    }
    const auto it = std::lower_bound (m_table.glyphs.begin(), m_table.glyphs.end(), c,
                                      [] (const Glyph& g, juce::juce_wchar code) { return g.code < code; });
    return it != m_table.glyphs.end() && it->code == c ? *it : m_table.glyphs[(size_t) m_nFallback];
}

int KaJuceOglFont::getTextWidth (const juce::String& text) const noexcept
{
    int width = 0;
    for (auto p = text.getCharPointer(); ! p.isEmpty();)
        width += glyphFor (p.getAndAdvance()).advance;
    return width;
}

float KaJuceOglFont::drawText (const juce::String& text, float x, float y, juce::Colour colour)
{
    if (m_table.glyphs.empty() || ! bind())
        return x;
    // Whole pixels keep the one-texel-per-pixel glyphs sharp.
    float penX = std::round (x);
    const float top = std::round (y);
    glColor4ub (colour.getRed(), colour.getGreen(), colour.getBlue(), colour.getAlpha());
    glEnable (GL_TEXTURE_2D);
    glBegin (GL_QUADS);
    for (auto p = text.getCharPointer(); ! p.isEmpty();)
    {
        const auto& g = glyphFor (p.getAndAdvance());
        if (! g.source.isEmpty())
            emitPart (g.source, penX + (float) g.left, top + (float) g.top, (float) g.source.getWidth(), (float) g.source.getHeight());
        penX += (float) g.advance;
    }
    glEnd();
    glDisable (GL_TEXTURE_2D);
    return penX;
}

void KaJuceOglFont::drawWrappedText (const juce::String& text, int x, int y, int width, int lineGap, juce::Colour colour)
{
    juce::String line;
    for (const auto& word : juce::StringArray::fromTokens (text, " \n", {}))
    {
        const auto candidate = line.isEmpty() ? word : line + " " + word;
        if (getTextWidth (candidate) > width && line.isNotEmpty())
        {
            drawText (line, (float) x, (float) y, colour);
            y += getHeight() + lineGap;
            line = word;
        }
        else
            line = candidate;
    }
    drawText (line, (float) x, (float) y, colour);
}

void KaJuceOglFont::drawText (const juce::String& text, juce::Rectangle<int> area, juce::Justification justification, juce::Colour colour)
{
    const int width = getTextWidth (text);
    // Too wide: cut at a character boundary and end with "...". Rare, so the copy is fine.
    if (width > area.getWidth() && text.isNotEmpty())
    {
        const int dots = getTextWidth ("...");
        int used = 0, chars = 0;
        for (auto p = text.getCharPointer(); ! p.isEmpty(); ++chars)
        {
            const int advance = glyphFor (p.getAndAdvance()).advance;
            if (used + advance + dots > area.getWidth())
                break;
            used += advance;
        }
        drawText (text.substring (0, chars) + "...", area.withWidth (area.getWidth() + 1), justification, colour);
        return;
    }
    const auto placed = justification.appliedToRectangle (juce::Rectangle<int> (width, m_table.height), area);
    drawText (text, (float) placed.getX(), (float) placed.getY(), colour);
}

KaJuceOglFont* KaJuceOglFontUser::getOglFont (int pixelSize) const noexcept
{
    return m_pOglComponent != nullptr ? &m_pOglComponent->getFont (pixelSize) : nullptr;
}
