#pragma once

// Reads a shown component's window back from the X server, OpenGL child window included
// (JUCE's component snapshots cannot see what OpenGL drew). Shared by the editor screenshot
// tool and the host tests; include it after the JUCE headers.
#include <juce_gui_basics/juce_gui_basics.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#undef None
#undef Bool
#undef Status

namespace XWindowGrab
{
    /** A bare Xvfb has no window manager: JUCE's property calls then raise errors that would
        end the process. Install once, before the first window opens. */
    inline void tolerateXErrors() { XSetErrorHandler ([] (Display*, XErrorEvent*) { return 0; }); }

    inline juce::Image grab (juce::Component& c)
    {
        juce::Image image;
        auto* peer = c.getPeer();
        Display* display = XOpenDisplay (nullptr);
        if (peer == nullptr || display == nullptr)
            return image;
        const int w = c.getWidth(), h = c.getHeight();
        if (XImage* x = XGetImage (display, (Window) (juce::pointer_sized_int) peer->getNativeHandle(), 0, 0, (unsigned) w, (unsigned) h, AllPlanes, ZPixmap))
        {
            image = juce::Image (juce::Image::RGB, w, h, false);
            juce::Image::BitmapData pixels (image, juce::Image::BitmapData::writeOnly);
            for (int y = 0; y < h; ++y)
                for (int xx = 0; xx < w; ++xx)
                {
                    const auto p = XGetPixel (x, xx, y);
                    pixels.setPixelColour (xx, y, juce::Colour ((juce::uint8) (p >> 16), (juce::uint8) (p >> 8), (juce::uint8) p));
                }
            XDestroyImage (x);
        }
        XCloseDisplay (display);
        return image;
    }

    /** Pixels in an area for which `matches` holds. */
    template <typename Predicate>
    int countPixels (const juce::Image& image, juce::Rectangle<int> area, Predicate matches)
    {
        int n = 0;
        for (int y = area.getY(); y < area.getBottom(); ++y)
            for (int x = area.getX(); x < area.getRight(); ++x)
                n += matches (image.getPixelAt (x, y)) ? 1 : 0;
        return n;
    }

    inline bool writePng (const juce::Image& image, const juce::File& file)
    {
        if (! image.isValid() || ! file.getParentDirectory().createDirectory())
            return false;
        file.deleteFile();
        juce::FileOutputStream stream (file);
        return stream.openedOk() && juce::PNGImageFormat().writeImageToStream (image, stream);
    }
}
