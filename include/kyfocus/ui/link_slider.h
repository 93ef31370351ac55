/// Slider of a slider and edit pair. C++20, Qt 6 Widgets.
///
/// The value of the QSlider is the position that the edit field shows; a vertical slider has its highest value at the
/// top. What a user does by mouse, keys, wheel or an accessibility tool goes to the edit field, with stops SetPer apart
/// on a horizontal slider. Positions of this class's own operations count from the left, or from the top: a vertical
/// slider mirrors them.
///
/// The wheel turns a slider that has the focus, which Tab and a click give it. Without the focus it ignores the wheel,
/// so that a scroll area around it scrolls and no value changes unseen.
#ifndef KYFOCUS_UI_LINK_SLIDER_H
#define KYFOCUS_UI_LINK_SLIDER_H

#include <memory>

#include <QSlider>

#include <kyfocus/types.h>

class CKyfSliderEdit;
namespace kyfui {
class LinkSliderBody;
}

class KYF_API CKyfLinkSlider : public QSlider {
    Q_OBJECT

  public:
    /// Vertical, as a QSlider is.
    explicit CKyfLinkSlider(QWidget* parent = nullptr);
    explicit CKyfLinkSlider(Qt::Orientation orientation, QWidget* parent = nullptr);
    ~CKyfLinkSlider() override;

    /// The field that follows this slider, or null. CKyfSliderEdit::SetSlideLink links both ways.
    void SetEditLink(CKyfSliderEdit* edit);
    /// Distance between two stops in positions. With 0, as at first, every position is a stop.
    void SetPer(int per);
    /// Range of positions. A page is a fifth of it.
    void SetSlideRange(int min, int max);
    void GetSlideRange(int& min, int& max) const;
    /// Moves the slider to a value. The edit field does not follow.
    void SetSlidePos(int position);
    /// The last position that was set, shown or scrolled to. On a vertical slider it is mirrored after SetSlidePos or a
    /// change of the field.
    int GetSlidePos() const;

  protected:
    /// The user has moved the slider: `code` 0 and 1 by a line, 2 and 3 by a page, 5 anywhere; others mean nothing.
    void HScroll(int code, int position);
    void VScroll(int code, int position);
    void wheelEvent(QWheelEvent* event) override;

  private:
    friend class CKyfSliderEdit;
    void Scroll(int code);
    void ScrollOn(int code, int step);
    void OnAction(int action);
    void OnValueChanged(int value);

    std::unique_ptr<kyfui::LinkSliderBody> m_body;
};

#endif
