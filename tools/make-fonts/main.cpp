// make-fonts FONT_FILE OUT_DIR
//
// Bakes FONT_FILE into bitmap fonts for the editor's OpenGL text: for each pixel size in
// pixelSizes it writes OUT_DIR/FONT_FontText<size>.png and OUT_DIR/FONT_FontText<size>.glyphs.
// The output depends only on the font file (and the FreeType/libpng versions), so running it
// again gives byte-identical files.
//
// The PNG is RGBA, 8 bits per channel, top row first: RGB is white everywhere and alpha is the
// anti-aliased coverage (FreeType greyscale, light hinting). Each glyph has at least one fully
// transparent pixel around it, so that sampling with linear filtering never picks up a neighbour.
//
// The .glyphs file is text, fields separated by one space, lines ending in '\n':
//
//     # KaJuceOglFont glyph table 1
//     size <pixelSize> height <lineHeight> ascent <ascent> image <imageWidth> <imageHeight>
//     <codepoint> <x> <y> <w> <h> <left> <top> <advance>      (one line per glyph)
//
// All numbers are decimal integers. height is the line spacing and ascent the distance from the
// top of a line to its baseline, both in pixels. Glyph lines come in ascending codepoint order;
// a codepoint the font lacks has no line (draw '?' instead). x, y, w, h: the glyph's rectangle
// in the image, y counted down from the top row. left: offset from the pen position to the
// rectangle's left edge. top: offset from the top of the text line to the rectangle's top edge,
// so a line drawn at y puts each glyph at y + top (left and top may be negative). advance: how
// far the pen moves after the glyph. A glyph without ink (a space) has x = y = w = h = left =
// top = 0 and only an advance.
#include <ft2build.h>
#include FT_FREETYPE_H
#include <png.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace
{
constexpr int pixelSizes[] = { 10, 11, 12, 14, 18, 20, 22, 24, 28 };
constexpr int imageWidths[] = { 256, 512 };
constexpr int padding = 1;
constexpr const char* filePrefix = "FONT_FontText";

// The printable Latin-1 range plus the punctuation and symbols the editor's labels use.
std::vector<char32_t> wantedCodepoints()
{
    std::vector<char32_t> codepoints;
    for (char32_t c = 32; c <= 126; ++c)
        codepoints.push_back (c);
    for (char32_t c = 160; c <= 255; ++c)
        codepoints.push_back (c);
    for (char32_t c : { 0x2013, 0x2014, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2026, 0x2190, 0x2191,
                        0x2192, 0x2193, 0x2212, 0x221E, 0x2248, 0x2264, 0x2265, 0x25B2, 0x25B6, 0x25BC,
                        0x25C0, 0x2713 })
        codepoints.push_back (c);
    return codepoints;
}

int ceilPixels (FT_Pos value26Dot6) { return (int) ((value26Dot6 + 63) >> 6); }

struct Glyph
{
    char32_t codepoint = 0;
    int x = 0, y = 0, w = 0, h = 0, left = 0, top = 0, advance = 0;
    std::vector<std::uint8_t> coverage; // w * h, row by row from the top
};

class FontBaker
{
public:
    FontBaker (FT_Face faceIn, int pixelSizeIn) : m_face (faceIn), m_pixelSize (pixelSizeIn) {}

    bool bake (const std::filesystem::path& outDir, std::string& error)
    {
        if (FT_Set_Pixel_Sizes (m_face, 0, (FT_UInt) m_pixelSize) != 0)
            return fail (error, "cannot set pixel size " + std::to_string (m_pixelSize));

        const auto& metrics = m_face->size->metrics;
        m_lineHeight = ceilPixels (metrics.height);
        m_ascent = ceilPixels (metrics.ascender);

        for (char32_t c : wantedCodepoints())
            if (const auto index = FT_Get_Char_Index (m_face, c); index != 0)
                if (! renderGlyph (c, index, error))
                    return false;

        if (! pack())
            return fail (error, "glyphs too large for a " + std::to_string (imageWidths[std::size (imageWidths) - 1]) + " pixel wide image");

        const auto stem = outDir / (filePrefix + std::to_string (m_pixelSize));
        return writePng (stem.string() + ".png", error) && writeTable (stem.string() + ".glyphs", error);
    }

private:
    static bool fail (std::string& error, const std::string& message)
    {
        error = message;
        return false;
    }

    bool renderGlyph (char32_t c, FT_UInt index, std::string& error)
    {
        // Light hinting snaps only vertically, which keeps small sizes crisp without
        // distorting the shapes horizontally.
        if (FT_Load_Glyph (m_face, index, FT_LOAD_RENDER | FT_LOAD_TARGET_LIGHT) != 0)
            return fail (error, "cannot render U+" + std::to_string ((unsigned) c));

        const auto* slot = m_face->glyph;
        const auto& bitmap = slot->bitmap;
        if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY && bitmap.width * bitmap.rows != 0)
            return fail (error, "unexpected bitmap format for U+" + std::to_string ((unsigned) c));

        Glyph glyph;
        glyph.codepoint = c;
        glyph.advance = (int) ((slot->advance.x + 32) >> 6);
        if (bitmap.width > 0 && bitmap.rows > 0)
        {
            glyph.w = (int) bitmap.width;
            glyph.h = (int) bitmap.rows;
            glyph.left = slot->bitmap_left;
            glyph.top = m_ascent - slot->bitmap_top;
            glyph.coverage.resize ((size_t) (glyph.w * glyph.h));
            for (int row = 0; row < glyph.h; ++row)
                std::copy_n (bitmap.buffer + (std::ptrdiff_t) row * bitmap.pitch, glyph.w, glyph.coverage.begin() + row * glyph.w);
        }
        m_glyphs.push_back (std::move (glyph));
        return true;
    }

    // Shelf packing, tallest glyphs first so each shelf wastes little height. Takes the
    // narrowest width whose image is no taller than wide, or else the widest.
    bool pack()
    {
        std::vector<Glyph*> order;
        for (auto& g : m_glyphs)
            if (g.w > 0)
                order.push_back (&g);
        std::stable_sort (order.begin(), order.end(), [] (const Glyph* a, const Glyph* b) { return a->h != b->h ? a->h > b->h : a->w > b->w; });

        for (int width : imageWidths)
        {
            int x = 0, shelfTop = 0, shelfHeight = 0;
            bool fits = true;
            for (auto* g : order)
            {
                const int cellW = g->w + 2 * padding, cellH = g->h + 2 * padding;
                fits = fits && cellW <= width;
                if (x + cellW > width)
                {
                    shelfTop += shelfHeight;
                    x = shelfHeight = 0;
                }
                g->x = x + padding;
                g->y = shelfTop + padding;
                x += cellW;
                shelfHeight = std::max (shelfHeight, cellH);
            }
            m_imageWidth = width;
            m_imageHeight = std::max (4, (shelfTop + shelfHeight + 3) / 4 * 4);
            if (fits && m_imageHeight <= width)
                return true;
            if (width == imageWidths[std::size (imageWidths) - 1])
                return fits;
        }
        return false;
    }

    bool writePng (const std::string& path, std::string& error) const
    {
        std::vector<std::uint8_t> rgba ((size_t) (m_imageWidth * m_imageHeight * 4), 0);
        for (size_t i = 0; i < rgba.size(); i += 4)
            rgba[i] = rgba[i + 1] = rgba[i + 2] = 255;
        for (const auto& g : m_glyphs)
            for (int row = 0; row < g.h; ++row)
                for (int col = 0; col < g.w; ++col)
                    rgba[(size_t) (((g.y + row) * m_imageWidth + g.x + col) * 4 + 3)] = g.coverage[(size_t) (row * g.w + col)];

        // libpng's simplified API writes no time chunk, so the file depends only on the pixels.
        png_image image {};
        image.version = PNG_IMAGE_VERSION;
        image.width = (png_uint_32) m_imageWidth;
        image.height = (png_uint_32) m_imageHeight;
        image.format = PNG_FORMAT_RGBA;
        if (png_image_write_to_file (&image, path.c_str(), 0, rgba.data(), 0, nullptr) == 0)
            return fail (error, "cannot write '" + path + "': " + image.message);
        return true;
    }

    bool writeTable (const std::string& path, std::string& error) const
    {
        std::vector<const Glyph*> sorted;
        for (const auto& g : m_glyphs)
            sorted.push_back (&g);
        std::sort (sorted.begin(), sorted.end(), [] (const Glyph* a, const Glyph* b) { return a->codepoint < b->codepoint; });

        std::ofstream out (path, std::ios::binary);
        out << "# KaJuceOglFont glyph table 1\n"
            << "size " << m_pixelSize << " height " << m_lineHeight << " ascent " << m_ascent
            << " image " << m_imageWidth << ' ' << m_imageHeight << '\n';
        for (const auto* g : sorted)
            out << (unsigned long) g->codepoint << ' ' << g->x << ' ' << g->y << ' ' << g->w << ' ' << g->h << ' '
                << g->left << ' ' << g->top << ' ' << g->advance << '\n';
        out.close();
        if (! out)
            return fail (error, "cannot write '" + path + "'");
        return true;
    }

    FT_Face m_face;
    int m_pixelSize;
    int m_lineHeight = 0, m_ascent = 0, m_imageWidth = 0, m_imageHeight = 0;
    std::vector<Glyph> m_glyphs;
};

int failWith (const std::string& message)
{
    std::fprintf (stderr, "make-fonts: error: %s\n", message.c_str());
    return 1;
}
} // namespace

int main (int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf (stderr, "usage: make-fonts FONT_FILE OUT_DIR\n");
        return 2;
    }
    const std::string fontPath = argv[1];
    const std::filesystem::path outDir = argv[2];

    FT_Library library = nullptr;
    if (FT_Init_FreeType (&library) != 0)
        return failWith ("cannot initialise FreeType");

    FT_Face face = nullptr;
    int result = 0;
    std::error_code ec;
    if (FT_New_Face (library, fontPath.c_str(), 0, &face) != 0 || FT_Select_Charmap (face, FT_ENCODING_UNICODE) != 0)
        result = failWith ("cannot read font '" + fontPath + "'");
    else if (std::filesystem::create_directories (outDir, ec); ec || ! std::filesystem::is_directory (outDir))
        result = failWith ("cannot create folder '" + outDir.string() + "'");

    for (int size : pixelSizes)
    {
        if (result != 0)
            break;
        std::string error;
        if (! FontBaker (face, size).bake (outDir, error))
            result = failWith (error);
    }

    if (face != nullptr)
        FT_Done_Face (face);
    FT_Done_FreeType (library);
    return result;
}
