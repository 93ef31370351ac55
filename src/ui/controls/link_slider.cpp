#include <kyfocus/ui/link_slider.h>

#include <algorithm>
#include <optional>
#include <string>

#include <QWheelEvent>

#include "filters/numbers.h"
#include "ui/controls/link_slider_body.h"
#include "ui/controls/slider_edit_body.h"

namespace kyfui {

namespace {

constexpr int kPagesOfRange = 5;

/// None for an action that moves nothing.
std::optional<std::int32_t> CodeOf(int action, bool vertical) {
    switch (action) {
    case QAbstractSlider::SliderSingleStepAdd: return vertical ? kLineBack : kLineForward;
    case QAbstractSlider::SliderSingleStepSub: return vertical ? kLineForward : kLineBack;
    case QAbstractSlider::SliderPageStepAdd: return vertical ? kPageBack : kPageForward;
    case QAbstractSlider::SliderPageStepSub: return vertical ? kPageForward : kPageBack;
    case QAbstractSlider::SliderToMinimum:
    case QAbstractSlider::SliderToMaximum:
    case QAbstractSlider::SliderMove: return kThumbTrack;
    default: return std::nullopt;
    }
}

} // namespace

std::int32_t LinkSliderBody::Turned(std::int32_t position) const {
    if (!m_vertical) return position;
    return kyf::WrappingDifference(kyf::WrappingSum(m_widget.minimum(), m_widget.maximum()), position);
}

void LinkSliderBody::BeginMove() {
    if (Rules.Pos() < Rules.RangeMin() || Rules.Pos() > Rules.RangeMax()) return; // nothing has been shown
    Rules.HScroll(kThumbPosition, Rules.Pos());
}

void LinkSliderBody::SetRange(std::int32_t min, std::int32_t max) {
    m_known = std::clamp(m_widget.value(), min, std::max(min, max));
    m_widget.setRange(min, max);
    m_widget.setPageStep(std::max(1, kyf::WrappingDifference(max, min) / kPagesOfRange));
}

void LinkSliderBody::SetTickFrequency(std::int32_t positions) { m_widget.setTickInterval(std::max(0, positions)); }

void LinkSliderBody::SetShown(int value) {
    m_known = std::clamp(value, m_widget.minimum(), m_widget.maximum());
    m_widget.setValue(m_known);
}

} // namespace kyfui

CKyfLinkSlider::CKyfLinkSlider(QWidget* parent) : CKyfLinkSlider(Qt::Vertical, parent) {}

CKyfLinkSlider::CKyfLinkSlider(Qt::Orientation orientation, QWidget* parent)
    : QSlider(orientation, parent), m_body(std::make_unique<kyfui::LinkSliderBody>(*this)) {
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QAbstractSlider::actionTriggered, this, &CKyfLinkSlider::OnAction);
    connect(this, &QAbstractSlider::valueChanged, this, &CKyfLinkSlider::OnValueChanged);
}

CKyfLinkSlider::~CKyfLinkSlider() = default;

void CKyfLinkSlider::SetEditLink(CKyfSliderEdit* edit) {
    m_body->Rules.SetEditLink(edit != nullptr ? &edit->m_body->Rules : nullptr);
}

void CKyfLinkSlider::SetPer(int per) { m_body->Rules.SetPer(per); }

void CKyfLinkSlider::SetSlideRange(int min, int max) { m_body->Rules.SetSlideRange(min, max); }

void CKyfLinkSlider::GetSlideRange(int& min, int& max) const {
    min = m_body->Rules.RangeMin();
    max = m_body->Rules.RangeMax();
}

void CKyfLinkSlider::SetSlidePos(int position) { m_body->Rules.SetSlidePos(position); }

int CKyfLinkSlider::GetSlidePos() const { return m_body->Rules.Pos(); }

void CKyfLinkSlider::HScroll(int code, int position) { m_body->Rules.HScroll(code, position); }

void CKyfLinkSlider::VScroll(int code, int position) { m_body->Rules.VScroll(code, position); }

/// Tells the rules that the thumb stands where the user has moved it, and brings it to what the field then shows.
void CKyfLinkSlider::Scroll(int code) {
    m_body->Rules.SetEditLink(m_body->Rules.EditLink()); // the orientation may have changed
    m_body->TakeAsKnown(sliderPosition());
    m_body->BeginMove();
    const int position = m_body->Position();
    if (orientation() == Qt::Vertical)
        VScroll(code, position);
    else
        HScroll(code, position);
    const kyfui::SliderEditRules* const edit = m_body->Rules.EditLink();
    if (edit != nullptr && edit->SlidePos() >= minimum() && edit->SlidePos() <= maximum())
        m_body->SetShown(edit->SlidePos());
}

/// A move that rounding takes back is made longer until the field shows something else: no key press or turn of the
/// wheel is in vain.
void CKyfLinkSlider::ScrollOn(int code, int step) {
    const kyfui::SliderEditRules* const edit = m_body->Rules.EditLink();
    const std::wstring before = edit != nullptr ? edit->ShownText() : std::wstring();
    for (int position = sliderPosition();; position += step) {
        setSliderPosition(position);
        Scroll(code);
        if (edit == nullptr || edit->ShownText() != before) return;
        if (step > 0 ? position >= maximum() : position <= minimum()) return;
    }
}

/// QAbstractSlider has moved the position already, the value not yet.
void CKyfLinkSlider::OnAction(int action) {
    const auto code = kyfui::CodeOf(action, orientation() == Qt::Vertical);
    if (!code) return;
    const bool goesToAPlace = *code == kyfui::kThumbTrack && !m_body->IsWheelTurning;
    if (goesToAPlace || sliderPosition() == value())
        Scroll(*code);
    else
        ScrollOn(*code, sliderPosition() > value() ? 1 : -1);
}

/// QAbstractSlider reports the wheel as it does the thumb, with SliderMove.
void CKyfLinkSlider::wheelEvent(QWheelEvent* event) {
    if (!hasFocus()) return event->ignore();
    m_body->IsWheelTurning = true;
    QSlider::wheelEvent(event);
    m_body->IsWheelTurning = false;
}

/// A value that comes neither from the rules nor from an action was set from outside, as accessibility tools do.
void CKyfLinkSlider::OnValueChanged(int value) {
    if (!m_body->IsKnown(value)) Scroll(kyfui::kThumbTrack);
}
