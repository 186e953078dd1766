#include "editor/KaJuceNoticeBox.h"
#include "editor/KaOglDraw.h"

KaJuceNoticeBox::KaJuceNoticeBox() : KaJuceControlWithHelpers ("m_noticeBox")
{
    addChildComponent (m_btnOk);
    addChildComponent (m_btnCancel);
    m_btnOk.onClick = [this] { answer (true); };
    m_btnCancel.onClick = [this] { answer (false); };
    setVisible (false);
}

void KaJuceNoticeBox::add (std::vector<KaNotice> notices)
{
    const bool wasEmpty = m_queue.empty();
    for (auto& n : notices)
        m_queue.push_back (std::move (n));
    if (wasEmpty && ! m_queue.empty())
        showFront();
}

void KaJuceNoticeBox::showFront()
{
    if (m_queue.empty())
    {
        setVisible (false);
        return;
    }
    const auto& notice = m_queue.front();
    m_title.set (notice.title.isNotEmpty() ? notice.title : juce::String ("Note"));
    m_text.set (notice.text);
    m_btnCancel.setVisible (notice.onAnswer != nullptr);
    m_btnOk.setVisible (true);
    toFront (false);
    setVisible (true);
    resized();
}

void KaJuceNoticeBox::answer (bool ok)
{
    if (m_queue.empty())
        return;
    auto notice = std::move (m_queue.front());
    m_queue.pop_front();
    if (notice.onAnswer)
        notice.onAnswer (ok);
    showFront();
}

void KaJuceNoticeBox::resized()
{
    KaJuceControlWithHelpers::resized();
    m_card = getLocalBounds().withSizeKeepingCentre (juce::jmin (520, getWidth() - 40), 190);
    auto buttons = m_card.reduced (16).removeFromBottom (26);
    m_btnOk.setBounds (buttons.removeFromRight (90));
    buttons.removeFromRight (8);
    m_btnCancel.setBounds (buttons.removeFromRight (90));
}

void KaJuceNoticeBox::render (double)
{
    KaOglDraw::drawModalCard (getLocalBounds().toFloat(), m_card.toFloat(), 0.55f, 6.0f, KaJuceTheme::panel.brighter (0.05f), KaJuceTheme::warning.withAlpha (0.8f));
    auto* title = getOglFont (KaJuceTheme::titleText);
    auto* body = getOglFont (KaJuceTheme::bodyText);
    if (title == nullptr || body == nullptr)
        return;
    auto area = m_card.reduced (16);
    title->drawText (m_title.forRender(), area.removeFromTop (22), juce::Justification::centredLeft, KaJuceTheme::warning);
    area.removeFromTop (6);
    body->drawWrappedText (m_text.forRender(), area.getX(), area.getY(), area.getWidth(), 3, KaJuceTheme::text);
}
