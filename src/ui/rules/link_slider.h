/// The slider half of a slider and edit pair: turns what the user does to a slider into positions that its edit field
/// shows.
#ifndef KYFOCUS_UI_RULES_LINK_SLIDER_H
#define KYFOCUS_UI_RULES_LINK_SLIDER_H

#include <cstdint>
#include <limits>
#include <memory>

namespace kyfui {

class SliderEditRules;

/// What the rules need of a slider. Its positions run from left to right, or from top to bottom.
class SliderControl {
  public:
    virtual ~SliderControl() = default;
    virtual bool IsVertical() const = 0;
    virtual std::int32_t Position() const = 0;
    virtual void SetPosition(std::int32_t position) = 0;
    virtual void SetRange(std::int32_t min, std::int32_t max) = 0;
    virtual void SetTickFrequency(std::int32_t positions) = 0;
};

/// What a user has done to a slider. Codes that stand for nothing here are legal.
enum ScrollCode : std::int32_t {
    kLineBack = 0,
    kLineForward = 1,
    kPageBack = 2,
    kPageForward = 3,
    kThumbPosition = 4,
    kThumbTrack = 5,
};

class LinkSliderRules {
  public:
    explicit LinkSliderRules(SliderControl& control) : m_control(control) {}
    LinkSliderRules(const LinkSliderRules&) = delete;
    LinkSliderRules& operator=(const LinkSliderRules&) = delete;

    /// One way: the edit field does not learn of it.
    void SetEditLink(SliderEditRules* edit);
    /// Positions between two stops of a horizontal slider. With 0 every position is a stop.
    void SetPer(std::int32_t per) { m_per = per; }
    void SetSlideRange(std::int32_t min, std::int32_t max);
    void SetTickFrequency(std::int32_t positions) { m_control.SetTickFrequency(positions); }
    /// Moves the slider to the position of a value: counted from the bottom when it is vertical.
    void SetSlidePos(std::int32_t position);

    void HScroll(std::int32_t code, std::int32_t position);
    void VScroll(std::int32_t code, std::int32_t position);

    SliderEditRules* EditLink() const { return m_editLink.lock().get(); }
    std::int32_t RangeMin() const { return m_rangeMin; }
    std::int32_t RangeMax() const { return m_rangeMax; }
    std::int32_t Pos() const { return m_pos; }
    std::int32_t LastPos() const { return m_lastPos; }

  private:
    friend class SliderEditRules;
    std::int32_t Mirrored(std::int32_t position) const;
    std::int32_t Limited(std::int32_t position) const;
    std::int32_t Rounded(std::int32_t tested, std::int32_t position) const;
    void Show(std::int32_t position);

    SliderControl& m_control;
    std::shared_ptr<LinkSliderRules> m_alive{this, [](LinkSliderRules*) {}};
    std::weak_ptr<SliderEditRules> m_editLink;
    std::int32_t m_rangeMin = 0, m_rangeMax = 0;
    std::int32_t m_pos = std::numeric_limits<std::int32_t>::max();
    bool m_reversed = false; ///< the control is vertical: its position 0 is at the top, the highest value too
    std::int32_t m_lastPos = -1;
    std::int32_t m_per = 0;
};

} // namespace kyfui

#endif
