#pragma once

#include "editor/KaOglComponentTexture.h"

#include <array>
#include <optional>
#include <vector>

/** One bitmap font: a pre-rendered glyph image (white, coverage in alpha) and its glyph table,
    both embedded as binary data ("FONT_FontText<size>_png" and "FONT_FontText<size>_glyphs",
    made by tools/make-fonts). Text is drawn as one textured quad per glyph; nothing is
    rasterised at run time. Characters the table lacks are drawn as '?'. */
class KaJuceOglFont : public KaOglComponentTexture
{
public:
    struct Glyph
    {
        juce::juce_wchar code = 0;
        juce::Rectangle<int> source;  // in the image, top row first
        int left = 0, top = 0;        // from the pen position and the line's top
        int advance = 0;
    };

    struct Table
    {
        int size = 0, height = 0, ascent = 0, imageWidth = 0, imageHeight = 0;
        std::vector<Glyph> glyphs;  // ascending code points
    };

    /** Reads a glyph table (the format is described in tools/make-fonts); nothing when the
        text is not one. */
    static std::optional<Table> parseTable (const juce::String& text);

    /** Message thread: loads the embedded font of that pixel size. */
    KaJuceOglFont (KaOglComponent* frame, int pixelSize);

    int getPixelSize() const noexcept { return m_table.size; }
    int getHeight() const noexcept { return m_table.height; }
    int getAscent() const noexcept { return m_table.ascent; }
    bool isLoaded() const noexcept { return ! m_table.glyphs.empty(); }

    /** Any thread; no allocation. */
    const Glyph& glyphFor (juce::juce_wchar c) const noexcept;
    int getTextWidth (const juce::String& text) const noexcept;

    /** Render thread: draws text with its line's top-left at (x, y). Returns the pen's end. */
    float drawText (const juce::String& text, float x, float y, juce::Colour colour);
    /** Render thread: draws text placed in a rectangle, cut with "..." when it is too wide. */
    void drawText (const juce::String& text, juce::Rectangle<int> area, juce::Justification justification, juce::Colour colour);
    /** Render thread: draws text word-wrapped to width from the top-left (x, y), lineGap pixels
        between lines; words break at spaces and line feeds. Allocates (a few lines of a dialog). */
    void drawWrappedText (const juce::String& text, int x, int y, int width, int lineGap, juce::Colour colour);

private:
    Table m_table;
    std::array<short, 256> m_latin1 {};  // glyph index of each Latin-1 code, -1 when none
    int m_nFallback = 0;
};

/** Mixin for things that draw text: access to the frame's nine fonts. */
class KaJuceOglFontUser : public virtual KaOglComponentUser
{
public:
    /** The font nearest to pixelSize at or below it; null before the frame is known. */
    KaJuceOglFont* getOglFont (int pixelSize) const noexcept;
};
