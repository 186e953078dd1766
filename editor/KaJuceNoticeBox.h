#pragma once

#include "editor/KaJuceButton.h"
#include "processor/KaJuceProcessorBase.h"

#include <deque>

/** Shows the processor's warnings and questions inside the editor, one at a time, over a dimmed
    window: the title, the text and OK (and Cancel for a question). Message thread, but for
    render(). */
class KaJuceNoticeBox : public KaJuceControlWithHelpers
{
public:
    KaJuceNoticeBox();

    /** Queues notices; shows the first when none is showing. */
    void add (std::vector<KaNotice> notices);
    /** Answers the notice shown (true: OK) and moves to the next. */
    void answer (bool ok);
    bool isShowingNotice() const { return ! m_queue.empty(); }
    juce::String getShownText() const { return m_text.get(); }
    KaJuceButton& getOkButton() noexcept { return m_btnOk; }
    KaJuceButton& getCancelButton() noexcept { return m_btnCancel; }

    void render (double time) override;
    void resized() override;

private:
    void showFront();

    std::deque<KaNotice> m_queue;
    KaGuiText m_title, m_text;
    KaJuceButton m_btnOk { "OK", noParameter, KaJuceButton::Mode::push };
    KaJuceButton m_btnCancel { "Cancel", noParameter, KaJuceButton::Mode::push };
    juce::Rectangle<int> m_card;
};
