// KaJuceEditorBase: the profiling overlay. Its texts are made on the message thread (they read
// the processor and the component tree) and drawn on the render thread.
#include "editor/KaJuceEditorBase.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglDraw.h"
#include "engine/KaProfiler.h"

#include <cxxabi.h>

namespace
{
    constexpr int linePitch = 12;
    const juce::Colour overlayBack { 0xd0101418 };
    const juce::Colour overlayText { 0xffe0f0d0 };

    juce::String className (const juce::Component& c)
    {
        int status = 0;
        const char* mangled = typeid (c).name();
        std::unique_ptr<char, void (*) (void*)> demangled (abi::__cxa_demangle (mangled, nullptr, nullptr, &status), std::free);
        return status == 0 ? juce::String (demangled.get()) : juce::String (mangled);
    }

    void drawLines (KaJuceOglFont& font, const juce::String& text, int x, int y)
    {
        for (const auto& line : juce::StringArray::fromLines (text))
        {
            font.drawText (line, (float) x, (float) y, overlayText);
            y += linePitch;
        }
    }
}

juce::String KaJuceEditorBase::describeComponent (const juce::Component& c)
{
    juce::String text = c.getName().isNotEmpty() ? c.getName() : juce::String ("[no name]");
    if (! c.isVisible())
        text << " [hidden]";
    if (! c.isEnabled())
        text << " [disabled]";
    text << " (0x" << juce::String::toHexString ((juce::pointer_sized_int) &c) << ")";
    text << " [" << className (c) << "]";
    text << " Position: " << c.getX() << ", " << c.getY() << " Size: " << c.getWidth() << ", " << c.getHeight();
    return text;
}

juce::StringArray KaJuceEditorBase::componentTree (const juce::Component& c, const juce::Component* top)
{
    juce::Array<const juce::Component*> chain;
    for (auto* p = &c; p != nullptr; p = p->getParentComponent())
    {
        chain.insert (0, p);
        if (p == top)
            break;
    }
    juce::StringArray lines;
    juce::String indent;
    for (int depth = 0; depth < chain.size(); ++depth)
    {
        const auto* node = chain[depth];
        const auto* parent = node->getParentComponent();
        const bool last = parent == nullptr || depth == 0 || parent->getChildComponent (parent->getNumChildComponents() - 1) == node;
        lines.add (indent + (last ? "+- " : "|- ") + (node->getName().isNotEmpty() ? node->getName() : juce::String ("[no name]")));
        indent += last ? "    " : "|   ";
    }
    return lines;
}

void KaJuceEditorBase::prepareProfilingOverlay()
{
    const auto& block = m_processor.getBlockInfo();
    const int blockSize = block.blockSize.load();
    const double sampleRate = m_processor.getSampleRate();
    const double blockMs = sampleRate > 0.0 ? 1000.0 * blockSize / sampleRate : 0.0;

    juce::String column;
    column << "Transport time: " << juce::String (block.transportSeconds.load(), 3) << " s\n";
    column << "Block Size: " << blockSize << "\n";
    if (auto* profiler = m_processor.getProfiler())
    {
        // Each item is stamped when its stage starts; its time runs to the next stamp of the
        // same block (the last to the end of the block).
        struct Stamp { const char* name; double start; };
        std::vector<Stamp> stamps;
        for (int i = 0; i < KaProfiler::maxItems; ++i)
            if (const auto& item = profiler->item (i); item.name != nullptr)
                stamps.push_back ({ item.name, item.enabled.load() ? item.startMs.load() : 0.0 });
        auto sorted = stamps;
        std::sort (sorted.begin(), sorted.end(), [] (const Stamp& a, const Stamp& b) { return a.start < b.start; });
        const double blockEnd = block.processStartMs.load() + block.processMs.load();
        for (const auto& s : stamps)
        {
            double until = blockEnd;
            for (const auto& t : sorted)
                if (t.start > s.start) { until = juce::jmin (until, t.start); break; }
            const double ms = s.start > 0.0 && until > s.start ? until - s.start : 0.0;
            column << s.name << ": " << juce::String (ms, 3) << " ms\n";
        }
    }
    m_profileColumn.set (column);

    const double frameInterval = 1000.0 / guiTimerHz;
    m_fGuiLoad.store ((float) juce::jlimit (0.0, 1.0, (m_dGuiMs.load() + m_oglComponent.getLastFrameMs()) / frameInterval));
    m_fProcLoad.store ((float) juce::jlimit (0.0, 1.0, blockMs > 0.0 ? block.processMs.load() / blockMs : 0.0));

    juce::String mouse;
    if (auto* under = juce::Desktop::getInstance().getMainMouseSource().getComponentUnderMouse();
        under != nullptr && (under == this || isParentOf (under)))
    {
        mouse << describeComponent (*under) << "\n";
        mouse << componentTree (*under, this).joinIntoString ("\n");
    }
    m_profileMouse.set (mouse);

    juce::String host;
    host << "Sample Rate           : " << sampleRate << "\n";
    host << "Input Channels        : " << m_processor.getTotalNumInputChannels() << "\n";
    host << "Output Channels       : " << m_processor.getTotalNumOutputChannels() << "\n";
    host << "Block Size            : " << blockSize << "\n";
    host << "Latency               : " << m_processor.getLatencySamples() << "\n";
    host << "Transport Pos (smpls) : " << block.transportSamples.load();
    m_profileHost.set (host);
}

void KaJuceEditorBase::drawProfilingOverlay()
{
    auto* font = &m_oglComponent.getFont (10);
    const auto bounds = m_oglComponent.getRenderBounds();

    // Right-hand column: transport, block size, timing items, then the load bars.
    const int columnX = bounds.getRight() - 220;
    KaOglDraw::fillRect (juce::Rectangle<int> (columnX, 0, 220, bounds.getHeight()).toFloat(), overlayBack);
    const auto& column = m_profileColumn.forRender();
    drawLines (*font, column, columnX + 6, 6);
    int y = 6 + (juce::StringArray::fromLines (column).size() + 1) * linePitch;
    for (auto [label, load] : { std::pair { "GUI:", m_fGuiLoad.load() }, std::pair { "PROC:", m_fProcLoad.load() } })
    {
        font->drawText (label, (float) columnX + 6.0f, (float) y, overlayText);
        KaOglDraw::fillRect ({ (float) columnX + 50.0f, (float) y + 2.0f, 160.0f * load, 8.0f },
                             load < 0.5f ? KaJuceTheme::good : load < 0.8f ? KaJuceTheme::warning : KaJuceTheme::danger);
        y += linePitch;
    }

    // Host information box at the top left.
    KaOglDraw::fillRect ({ 0.0f, 0.0f, 220.0f, 92.0f }, overlayBack);
    drawLines (*font, m_profileHost.forRender(), 6, 6);

    // Mouse over, with the chain of parents, below it.
    const auto& mouse = m_profileMouse.forRender();
    if (mouse.isNotEmpty())
    {
        const int lines = juce::StringArray::fromLines (mouse).size() + 1;
        KaOglDraw::fillRect ({ 0.0f, 96.0f, 320.0f, (float) (lines * linePitch + 20) }, overlayBack);
        font->drawText ("Mouse Over:", 6.0f, 102.0f, overlayText);
        drawLines (*font, mouse, 6, 102 + linePitch);
    }
}
